#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The figures of trust, each read from the output of a run made now: what it is, the goal, what was measured.
# `failed` stands where the run failed or said nothing, and the result is then 1. Works on the presets' folders in
# build/, which ./run figures makes. A new figure is a `figure` line, and a `measure` line if its run is new.
# usage: figures.sh [quick]     (quick leaves out what takes longer than five minutes, and says so in the table)
set -eu
cd "$(dirname "$0")/.."
quick=${1:-}
release=build/release
debug=build/debug
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
trap 'exit 130' INT TERM
status=0

# measure NAME COMMAND...: runs it once and keeps what it says. NAME.failed is there when it failed.
measure()
{
    name=$1
    shift
    began=$(date +%s)
    if "$@" >"$logs/$name" 2>&1; then
        echo "$name: $(($(date +%s) - began)) s" >&2
    else
        touch "$logs/$name.failed"
        status=1
        echo "$name: failed after $(($(date +%s) - began)) s, its last lines:" >&2
        tail -n 20 "$logs/$name" >&2
    fi
}

measure_long()
{
    if [ "$quick" = quick ]; then
        touch "$logs/$1.left_out"
    else
        measure "$@"
    fi
}

# figure TEXT GOAL NAME SED: the first line that SED prints of what NAME said.
figure()
{
    if [ -e "$logs/$3.left_out" ]; then
        measured='left out: longer than five minutes'
    else
        measured=$(sed -n "$4" "$logs/$3" | head -n 1)
        [ -n "$measured" ] || { measured='failed'; status=1; }
        [ ! -e "$logs/$3.failed" ] || [ "$measured" = failed ] || measured="failed: $measured"
    fi
    printf '%-52s %-16s %s\n' "$1" "$2" "$measured"
}

# counted PATTERN COMMAND...: what it says, and how many lines of it match; one is a failure.
counted()
{
    pattern=$1
    shift
    result=0
    "$@" >"$logs/counted" 2>&1 || result=$?
    cat "$logs/counted"
    ! grep -qE "$pattern" "$logs/counted" || result=1
    echo "count: $(grep -cE "$pattern" "$logs/counted" || true)"
    return "$result"
}

analyse() { scripts/check_analysis.sh && scripts/check_tidy.sh build/clang routing-sw; }

# All that every suite said, of those that passed too: a process that a test starts may report and go unnoticed.
sanitize()
{
    result=0
    ctest --test-dir build/asan --no-tests=error --test-output-size-passed 100000000 -j2 >/dev/null || result=$?
    cat build/asan/Testing/Temporary/LastTest.log
    return "$result"
}

check_built()
{
    scripts/check_exports.sh "$release/routing-sw/libs/varn/libvarn_platform.so"
    scripts/check_headers.sh
    scripts/check_binary.sh "$release"
}

# A rule has its death test when one that names it ran and passed: these tests are shown to be there by their
# text, and to hold by the run.
death_tests()
{
    "$debug/tests/unit/unit_tests" --gtest_filter='*Misuse*' --gtest_brief=1 || return 1
    rules=$(sed -n 's/^#define RULE_.*"rule \([0-9]*\): .*/\1/p' routing-sw/libs/varn/varn/misuse.h)
    tested=0
    for rule in $rules; do
        ! cat tests/unit/*_tests.cpp | tr -s '\n ' ' ' | grep -qE "stop_of\([^)]*, $rule\)" ||
            tested=$((tested + 1))
    done
    all=$(echo "$rules" | wc -l)
    echo "rules: $tested of $all"
    [ "$tested" -eq "$all" ]
}

# Each target's own last words, and how many inputs it kept because they broke something.
fuzz_all()
{
    result=0
    rm -f build/fuzz/found/*.log
    scripts/fuzz.sh build/fuzz "${VARN_FUZZ_SECONDS:-20}" || result=$?
    for corpus in tests/fuzz/corpus/*; do
        target=${corpus##*/}
        log=build/fuzz/found/$target.log
        runs=$(sed -n 's/^Done \([0-9]* runs in [0-9]*\) second.*/\1 s/p' "$log")
        echo "$target: ${runs:-ended early}, $(grep -ac 'Test unit written to' "$log" || true) finds"
    done
    return "$result"
}

measure coverage scripts/coverage_library.sh "$release"
measure unit "$debug/tests/unit/unit_tests" --gtest_brief=1
measure misuse death_tests
measure faults "$debug/tests/faults/fault_tests" --gtest_brief=1
measure model env VARN_STEPS="${VARN_STEPS:-1000000}" "$release/tests/model/model_tests"
measure analysis counted '(error|warning|style|performance|portability):' analyse
measure binary counted . check_built
measure sanitizers counted 'runtime error:|ERROR: (Address|Leak)Sanitizer' sanitize
measure integers counted 'runtime error:' scripts/check_integers.sh "$debug"
measure cross scripts/cross.sh
measure_long pairs "$debug/tests/faults/fault_pairs" --gtest_brief=1
measure_long breaks scripts/break_library.py "$debug" "$release" \
    --breaks "${VARN_BREAKS:-300}" --seed "${VARN_SEED:-1}" --jobs "$(nproc)"
measure_long device scripts/coverage_device.sh build/coverage
measure_long fuzz fuzz_all
measure_long flakes scripts/flakes.sh "$release"

printf '%-52s %-16s %s\n' figure goal measured
figure 'line coverage of the library' '100 %' coverage 's/^line coverage: //p'
figure 'branch coverage' '100 %' coverage 's/^branch coverage: //p'
figure 'MC/DC coverage' '100 %' coverage 's,^MC/DC coverage: ,,p'
figure 'places left out of the coverage' 'at most 5' coverage 's/^places left out: //p'
figure 'line coverage of device and shell' 'at least 95 %' device 's/^line coverage of device and shell: //p'
figure 'branch coverage of device and shell' 'at least 85 %' device 's/^branch coverage of device and shell: //p'
figure 'unit tests that pass' 'all' unit 's/^\[  PASSED  \] \([0-9]*\) tests.*/\1/p'
figure 'rules for the caller with death tests' 'all' misuse 's/^rules: //p'
figure 'breaks that no test sees' 'under 2 %' breaks 's/^survivors: //p'
figure 'single faults survived as stated' 'all' faults 's/^single faults: //p'
figure 'allocations failed, once and for ever' 'all' faults 's/^failed allocations: //p'
figure 'pairs of faults survived as stated' 'all' pairs 's/^pairs of faults: //p'
figure 'random steps on which library and model agree' 'all' model 's/^library and model agree: \([0-9]* steps\).*/\1/p'
if [ "$quick" = quick ]; then
    figure 'fuzz' '0 finds' fuzz ''
else
    for corpus in tests/fuzz/corpus/*; do
        target=${corpus##*/}
        figure "fuzz: $target" '0 finds' fuzz "s/^$target: //p"
    done
fi
figure 'reports of the address and undefined sanitizers' '0' sanitizers 's/^count: //p'
figure 'reports of the integer sanitizer' '0' integers 's/^count: //p'
figure 'findings of static analysis (four programs)' '0' analysis 's/^count: //p'
figure 'what is wrong with the built library' '0' binary 's/^count: //p'
figure '32 bits' 'all' cross 's/^m32: \([0-9].*\)/\1/p'
figure 'big-endian, emulated' 'all' cross 's/^s390x: \([0-9].*\)/\1/p'
figure '64-bit ARM, emulated' 'all' cross 's/^aarch64: \([0-9].*\)/\1/p'
figure 'rounds in random order under load' 'all' flakes 's/^rounds in random order.*: //p'
exit $status

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Line and branch coverage of the device and the shell by their suites, the tests that start processes among them.
# BUILD is a folder of the preset `coverage`, which is built as far as needed. Counters live in shared memory
# (%c), so that a process that is killed counts up to its end. Fails when a test does, and below the goals.
# usage: coverage_device.sh BUILD... [--show]     (--show lists each file, and the lines that nothing runs)
set -eu
cd "$(dirname "$0")/.."
show=''
builds=''
for word in "$@"; do
    case "$word" in
    --show) show=--show ;;
    *) builds="$builds $(realpath "$word")" ;;
    esac
done
[ -n "$builds" ] || { echo "usage: coverage_device.sh BUILD... [--show]" >&2; exit 2; }
suffix=-19
ninja='nice ninja tests/device/all tests/device/runtime/all tests/contract/all'
profiles=''
objects=''
for build in $builds; do
    grep -qs 'CMAKE_CXX_FLAGS:.*-fprofile-list=' "$build/CMakeCache.txt" ||
        { echo "coverage_device.sh: $build is no build of the preset coverage" >&2; exit 2; }
    $ninja -C "$build" >"$build/coverage.log" 2>&1 || { tail -n 40 "$build/coverage.log"; exit 1; }
    rm -rf "$build/profiles"
    for tests in device device/runtime contract; do
        LLVM_PROFILE_FILE="$build/profiles/%m%c.profraw" \
            ctest --test-dir "$build/tests/$tests" --output-on-failure --no-tests=error >"$build/coverage.log" 2>&1 ||
            { cat "$build/coverage.log"; exit 1; }
    done
    profiles="$profiles $build/profiles"
    # Every program or library that carries a part of the device or the shell.
    for program in $(find "$build/device" "$build/shell" "$build/tests/device" "$build/tests/contract" -type f \
        '(' -perm -u+x -o -name '*.so.*' ')' -not -name '*.o'); do
        objects="$objects${objects:+ --object} $program"
    done
    last=$build
done
find $profiles -name '*.profraw' >"$last/profiles.list"
llvm-profdata$suffix merge --sparse -o "$last/coverage.profdata" --input-files="$last/profiles.list"
llvm-cov$suffix export $objects --format=text --instr-profile "$last/coverage.profdata" --sources \
    "$PWD/device" "$PWD/shell" >"$last/coverage.json"
python3 scripts/coverage_device_figures.py "$last/coverage.json" "$PWD" $show

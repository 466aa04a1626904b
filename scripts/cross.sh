#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The unit suite, the faults, the clients in C and a short run of the model with 32-bit pointers, on a big-endian
# machine and on ARM, the last two emulated, one beside the other. Only what is run is built. The device's runtime is
# left out: its tests limit the address space and look at when processes began, and the emulator has neither.
# usage: cross.sh [m32] [s390x] [aarch64]     (all)
set -eu
cd "$(dirname "$0")/.."
programs='unit_tests fault_tests model_tests c_client scripted_device_c_client'
suites='^(unit|faults|model|c_client|scripted_device_c_client)$'
steps=20000

# run_suites MACHINE JOBS
run_suites()
{
    began=$(date +%s)
    cmake --preset "$1"
    cmake --build --preset "$1" -j "$2" --target $programs
    built=$(date +%s)
    VARN_STEPS=$steps ctest --test-dir "build/$1" -R "$suites" --verbose --no-tests=error -j "$2" \
        >"build/$1.tests.log" || {
        cat "build/$1.tests.log"
        return 1
    }
    ended=$(date +%s)
    passed=$(sed -n 's/.*tests passed, 0 tests failed out of //p' "build/$1.tests.log")
    [ "$passed" = "$(echo $programs | wc -w)" ] || { echo "only $passed suites of: $programs"; return 1; }
    tests=$(awk '/\[  PASSED  \]/ { sum += $(NF - 1) } END { print sum }' "build/$1.tests.log")
    agreed=$(sed -n 's/.*library and model agree: \([0-9]*\) steps.*/\1/p' "build/$1.tests.log")
    echo "$1: $tests tests, model agrees for $agreed steps ($((built - began)) s to build, $((ended - built)) s to run)"
}

# Each machine in a session of its own, so that all of it ends with this script.
mkdir -p build
if [ "${1:-}" = --one ]; then
    run_suites "$2" "$3"
    exit
fi
[ $# -gt 0 ] || set -- m32 s390x aarch64
jobs=$(($(nproc) / $#))
running=''
trap 'for pair in $running; do kill -- "-${pair#*:}" 2>/dev/null || true; done' EXIT
trap 'exit 130' INT TERM
for machine; do
    setsid scripts/cross.sh --one "$machine" "$((jobs > 0 ? jobs : 1))" >"build/$machine.log" 2>&1 &
    running="$running $machine:$!"
done
status=0
for pair in $running; do
    machine=${pair%:*}
    if wait "${pair#*:}"; then
        tail -n 1 "build/$machine.log"
    else
        echo "$machine: failed, the end of build/$machine.log:"
        tail -n 60 "build/$machine.log"
        status=1
    fi
done
exit $status

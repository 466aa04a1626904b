#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The unit suite and the model over a library that tells of every integer overflow, unsigned ones too, of
# every value that changes in a conversion, and of undefined behaviour. Any report is a failure.
# usage: check_integers.sh BUILD_DIR      (its tests are used, and with those of a release no assertions)
set -eu
build=$(realpath "$1")
cd "$(dirname "$0")/.."
work=$(realpath -m build/integers)
clang=clang++-19
flags="-fsanitize=undefined,integer -shared-libsan"
! grep -q '^CMAKE_BUILD_TYPE:STRING=Release$' "$build/CMakeCache.txt" || flags="$flags -DNDEBUG"
cmake -G Ninja -S . -B "$work" -DCMAKE_BUILD_TYPE=Debug -DVARN_DEVICE=OFF -DVARN_TESTS=OFF -DVARN_BENCH=OFF \
    -DCMAKE_C_COMPILER=clang-19 -DCMAKE_CXX_COMPILER=$clang -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_SHARED_LINKER_FLAGS="$flags" >"$work.log" 2>&1 || { cat "$work.log"; exit 1; }
ninja -C "$work" varn_platform >"$work.log" 2>&1 || { cat "$work.log"; exit 1; }
runtime=$(dirname "$($clang --print-file-name=libclang_rt.ubsan_standalone-x86_64.so)")
export LD_LIBRARY_PATH="$work/routing-sw/libs/varn:$runtime" UBSAN_OPTIONS=print_stacktrace=0

run()
{
    program=$(find "$build/tests" -type f -name "$1")
    shift
    "$program" "$@" >>"$work.log" 2>&1 || { tail -n 40 "$work.log"; exit 1; }
}
: >"$work.log"
run unit_tests --gtest_brief=1
run model_tests
grep -q 'library and model agree' "$work.log" || { echo "check_integers: the model did not run"; exit 1; }
grep 'runtime error' "$work.log" | sort | uniq -c >"$work.found" || true
if [ -s "$work.found" ]; then
    cat "$work.found"
    exit 1
fi

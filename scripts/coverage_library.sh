#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Line, branch and MC/DC coverage of the library by the unit suite. The library is built once more,
# instrumented, as a release contains it (no assertions); the unit tests of BUILD_DIR, a release build
# too, run with it in place of their own. Fails below 100 % of any of the three. What is left out stands
# in tests/coverage/left_out.txt: at most five places, each with its reason.
# usage: coverage_library.sh BUILD_DIR [--show]     (--show lists what is not covered)
set -eu
build=$(realpath "$1")
show=${2:-}
cd "$(dirname "$0")/.."
work=$(realpath -m build/coverage-library)
suffix=-19
cmake -G Ninja -S . -B "$work" -DCMAKE_BUILD_TYPE=Debug -DVARN_DEVICE=OFF -DVARN_TESTS=OFF -DVARN_BENCH=OFF \
    -DCMAKE_C_COMPILER=clang$suffix -DCMAKE_CXX_COMPILER=clang++$suffix \
    -DCMAKE_CXX_FLAGS='-DNDEBUG -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc' \
    -DCMAKE_SHARED_LINKER_FLAGS='-fprofile-instr-generate' >"$work.log" 2>&1 || { cat "$work.log"; exit 1; }
ninja -C "$work" varn_platform >"$work.log" 2>&1 || { cat "$work.log"; exit 1; }
library=$work/routing-sw/libs/varn/libvarn_platform.so.1
tests=$(find "$build/tests" -type f -name unit_tests)

rm -f "$work"/*.profraw
LLVM_PROFILE_FILE="$work/unit.profraw" LD_LIBRARY_PATH=$(dirname "$library") "$tests" --gtest_brief=1 >"$work.log" 2>&1 ||
    { tail -n 40 "$work.log"; exit 1; }
llvm-profdata$suffix merge -o "$work/unit.profdata" "$work"/*.profraw
llvm-cov$suffix export --format=text --show-mcdc-summary --instr-profile "$work/unit.profdata" "$library" \
    >"$work/coverage.json"
python3 scripts/coverage_figures.py "$work/coverage.json" tests/coverage/left_out.txt $show

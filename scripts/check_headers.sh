#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# varn.h and each platform header compile alone, as C11 and as C++11 to C++20, for both data models.
set -eu
cd "$(dirname "$0")/.."
flags='-Wall -Wextra -Wpedantic -Werror -fsyntax-only -Iplatform'
for header in routing-sw/libs/varn/varn.h platform/*.h; do
    for model in -m64 -m32; do
        for compiler in gcc clang; do
            $compiler $model -std=c11 $flags -x c "$header"
        done
        for standard in c++11 c++14 c++17 c++20; do
            g++ $model -std=$standard $flags -x c++ "$header"
            clang++ $model -std=$standard $flags -x c++ "$header"
        done
    done
done

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# varn.h and each platform header compile alone, as C11 and as C++11 to C++20, for both data models (the second
# one by the cross compiler: what `gcc -m32` needs cannot be installed beside it).
set -eu
cd "$(dirname "$0")/.."
flags='-Wall -Wextra -Wpedantic -Werror -fsyntax-only -Iplatform'
for header in routing-sw/libs/varn/varn.h platform/*.h; do
    for model in '' i686-linux-gnu; do
        for compiler in "${model:+$model-}gcc" "clang ${model:+--target=$model}"; do
            $compiler -std=c11 $flags -x c "$header"
        done
        for standard in c++11 c++14 c++17 c++20; do
            for compiler in "${model:+$model-}g++" "clang++ ${model:+--target=$model}"; do
                $compiler -std=$standard $flags -x c++ "$header"
            done
        done
    done
done

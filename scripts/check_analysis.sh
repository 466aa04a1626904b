#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Static analysis of the library: g++ with its analyser, clang's, cppcheck. A finding is a failure. (The
# warnings of both compilers are errors in every build, and clang-tidy has a script of its own.)
set -eu
cd "$(dirname "$0")/.."
sources=$(find routing-sw/libs/varn -name '*.cpp' | sort)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

echo "g++ -fanalyzer"
echo "$sources" | xargs -P "$(nproc)" -I{} g++ -std=c++20 -O2 -fanalyzer -Wall -Wextra -Werror -fno-exceptions \
    -fno-rtti -Iplatform -c {} -o /dev/null || status=1

echo "clang++ --analyze"
echo "$sources" | xargs -P "$(nproc)" -I{} clang++ --analyze -Xclang -analyzer-werror -std=c++20 \
    -Xclang -analyzer-checker=core,cplusplus,deadcode,nullability,security.insecureAPI.UncheckedReturn,unix \
    -Xclang -analyzer-output=text -fno-exceptions -fno-rtti -Iplatform {} || status=1

# Two checks are off. invalidPrintfArgType_sint: the texts of the messages are given, and show unsigned
# numbers with %d. useStlAlgorithm: four elements in a loop need no <algorithm>. One is off in one file,
# passedByValue: by reference the outputs of the combined query are read again behind each probe, 20 instructions.
echo "cppcheck"
cppcheck --quiet --error-exitcode=1 --enable=warning,style,performance,portability --inconclusive --std=c++20 \
    --suppress=invalidPrintfArgType_sint --suppress=useStlAlgorithm \
    --suppress=passedByValue:routing-sw/libs/varn/varn/translations.cpp \
    -Iplatform -Irouting-sw/libs/varn routing-sw/libs/varn || status=1
exit $status

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The manual says what is so: docs/man, docs/operations.md and docs/differences.md against varn.h, varn.map,
# the texts in the code and the built programs, whose examples are compiled and run.
# usage: check_manual.sh BUILD    (a build folder with the device and the shell)
set -eu
build=$(realpath "$1")
cd "$(dirname "$0")/.."
lint=$(mandoc -T lint -W warning docs/man/* 2>&1 || true)
if [ -n "$lint" ]; then
    echo "mandoc complains:" >&2
    echo "$lint" >&2
    exit 1
fi
exec python3 -B scripts/check_manual.py "$build"

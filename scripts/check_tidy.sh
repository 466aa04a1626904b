#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# clang-tidy over the sources of the library, the device and the shell.
# usage: check_tidy.sh BUILD_DIR
set -eu
build=$(realpath "$1")
cd "$(dirname "$0")/.."
. scripts/sources.sh
list_sources | grep -E '^(routing-sw|device|shell)/.*\.cpp$' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet --warnings-as-errors='*' 2>/dev/null

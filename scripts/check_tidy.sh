#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# clang-tidy over the sources of the library, the device and the shell, or of the folders named.
# usage: check_tidy.sh BUILD_DIR [FOLDER ...]
set -eu
build=$(realpath "$1")
shift
[ $# -gt 0 ] || set -- routing-sw device shell
folders=$(IFS='|'; echo "$*")
cd "$(dirname "$0")/.."
. scripts/sources.sh
list_sources | grep -E "^($folders)/.*\.cpp$" |
    xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet --warnings-as-errors='*' 2>/dev/null

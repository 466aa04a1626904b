#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Every source file is as .clang-format lays it out. --apply makes it so.
set -eu
cd "$(dirname "$0")/.."
. scripts/sources.sh
if [ "${1:-}" = --apply ]; then
    list_sources | xargs clang-format -i
else
    list_sources | xargs clang-format --dry-run -Werror
fi

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# No source file has more than 500 lines. The public header is the manual and is exempt.
set -eu
cd "$(dirname "$0")/.."
. scripts/sources.sh
long=$(list_sources | grep -v '^routing-sw/libs/varn/varn\.h$' | xargs wc -l |
    awk '$2 != "total" && $1 > 500 { print "  " $2 ": " $1 " lines" }')
if [ -n "$long" ]; then
    echo "files of more than 500 lines:" >&2
    echo "$long" >&2
    exit 1
fi

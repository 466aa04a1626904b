#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Dependencies run one way: the product includes the platform headers and the standard library only,
# and nobody but the product includes its internal headers.
set -eu
cd "$(dirname "$0")/.."
. scripts/sources.sh
list=$(mktemp)
trap 'rm -f "$list"' EXIT
list_sources >"$list"

# file:line:#include "name" of every quoted include
quoted() { xargs grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' /dev/null || true; }

bad=$(
    # The product: own files, or a platform header.
    grep '^routing-sw/' "$list" | quoted | while IFS= read -r line; do
        file=${line%%:*}
        name=$(echo "$line" | sed 's/.*"\(.*\)".*/\1/')
        [ -f "platform/$name" ] || [ -f "$(dirname "$file")/$name" ] ||
            echo "$line  (neither the product's own nor of platform/)"
    done
    # The product: no system headers beyond C, C++ and strings.h, but for that of the probes in its one place.
    grep '^routing-sw/' "$list" | xargs grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*<' |
        grep -vE '<(std[a-z]+\.h|strings\.h|c[a-z]+|type_traits|utility|array)>' |
        grep -v '^routing-sw/libs/varn/varn/probes\.h:[0-9]*:#include <sys/sdt\.h>$' |
        sed 's/$/  (not a standard header)/' || true
    # platform/ and its implementers do not know the product, but for the records of notifications.
    grep -E '^(platform|device|tests/scripted_device)/' "$list" |
        grep -v '^device/client/records\.cpp$' | quoted | grep -E '"(.*/)?varn\.h"' |
        sed 's/$/  (the contract does not know the product)/' || true
    # Nobody else reaches behind varn.h.
    for internal in routing-sw/libs/varn/varn/*.h; do
        name=$(basename "$internal")
        grep -v '^routing-sw/' "$list" | quoted | grep -E "\"(varn|\.\./varn|.*libs/varn/varn)/$name\"" |
            sed 's/$/  (internal header of the product)/' || true
    done
)
if [ -n "$bad" ]; then
    echo "includes that go the wrong way:" >&2
    echo "$bad" >&2
    exit 1
fi

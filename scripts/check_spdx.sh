#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Every source, script and build file says in its first two lines under which licence it stands.
set -eu
cd "$(dirname "$0")/.."
bad=$(git ls-files --cached --others --exclude-standard -- '*.h' '*.hpp' '*.c' '*.cpp' '*.sh' '*.cmake' \
    '*CMakeLists.txt' run .ci/run | while read -r file; do
    [ -f "$file" ] || continue
    head -n 2 "$file" | grep -q 'SPDX-License-Identifier: Apache-2.0' || echo "  $file"
done)
if [ -n "$bad" ]; then
    echo "files without a licence line:" >&2
    echo "$bad" >&2
    exit 1
fi

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# What the built library exports is what varn.map lists and what varn.h declares, name for name; it needs
# nothing but libc and bears its SONAME.
# usage: check_exports.sh LIBRARY
set -eu
library=$(realpath "$1")
cd "$(dirname "$0")/../routing-sw/libs/varn"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

nm -D --defined-only "$library" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort >"$work/exported"
sed -n 's/^ *\([A-Za-z_0-9]*\);$/\1/p' varn.map | sort >"$work/listed"
# Declarations of functions and objects, from the header with its comments and macros taken out.
gcc -fpreprocessed -E -P -x c varn.h 2>/dev/null | grep -v '^#' | tr '\n' ' ' | tr ';' '\n' |
    grep -vE 'typedef' |
    grep -oE '\b(__)?varn_[a-z0-9_]+ *\(|extern .*' |
    sed 's/^extern .* \(varn[a-z_]*\).*/\1/; s/[[ (].*//; s/ *$//' | sort -u >"$work/declared"

status=0
diff "$work/listed" "$work/exported" >"$work/diff" ||
    { echo "varn.map (<) and the library (>) differ:"; cat "$work/diff"; status=1; }
diff "$work/declared" "$work/exported" >"$work/diff" ||
    { echo "varn.h (<) and the library (>) differ:"; cat "$work/diff"; status=1; }
if grep -vE '^(__)?varn' "$work/exported"; then
    echo "exported names that do not begin with varn"
    status=1
fi
needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
[ "$needed" = libc.so.6 ] || { echo "the library needs: $needed"; status=1; }
soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = libvarn_platform.so.1 ] || { echo "the SONAME is: $soname"; status=1; }
[ "$(wc -l <"$work/exported")" -gt 0 ] || { echo "nothing is exported"; status=1; }
exit $status

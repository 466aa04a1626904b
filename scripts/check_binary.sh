#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# How the release library is built: its relocations are read-only before the first call of it, its stack is
# not executable, its text is not relocated, its buffers are guarded, its writes into them are checked, and
# no object of it has a constructor. None of it stands on the way of a hit, where a probe is one nop. It has
# the probes that docs/operations.md tells of, each with three arguments.
# usage: check_binary.sh BUILD_DIR
set -eu
build=$(realpath "$1")
library=$build/routing-sw/libs/varn/libvarn_platform.so
objects=$(find "$build/routing-sw/libs/varn/CMakeFiles/varn_platform.dir" -name '*.o')
[ -n "$objects" ] || { echo "check_binary: no objects under $build" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readelf -dW "$library" >"$work/dynamic"
readelf -lW "$library" >"$work/segments"
nm -D --undefined-only "$library" >"$work/needs"
status=0
wrong()
{
    echo "$library: $1"
    status=1
}

grep -q GNU_RELRO "$work/segments" || wrong "no read-only relocations"
grep -q BIND_NOW "$work/dynamic" || wrong "symbols are bound lazily, so that relocations stay writable"
grep 'GNU_STACK' "$work/segments" | grep -q ' RW ' || wrong "the stack is executable"
if grep -q TEXTREL "$work/dynamic"; then wrong "the text is relocated"; fi
grep -q ' __stack_chk_fail' "$work/needs" || wrong "no stack guard"
grep -q '_chk' "$work/needs" || wrong "no checked buffer functions"
if grep -qE ' (snprintf|vsnprintf)(@|$)' "$work/needs"; then wrong "unchecked buffer functions"; fi
for object in $objects; do
    if readelf -SW "$object" | grep -qE '\.(init_array|ctors|preinit_array)'; then
        wrong "$(basename "$object") has a constructor"
    fi
done

# The code of a query, up to the next function.
objdump -d --no-show-raw-insn "$library" |
    awk '/^[0-9a-f]+ <varn_ifsvc_is_linkup>:$/ { inside = 1; next } /^[0-9a-f]+ </ { inside = 0 } inside' >"$work/query"
[ -s "$work/query" ] || wrong "varn_ifsvc_is_linkup is not there"
if grep -qE '__stack_chk_fail|%fs:' "$work/query"; then wrong "the stack guard stands on the way of a hit"; fi
[ "$(grep -c '[[:space:]]nop[lw]*$' "$work/query")" = 1 ] || wrong "not one nop on the way of a hit"

# "name number-of-arguments" of each kind of probe. Without the header <sys/sdt.h> a build has none.
readelf -nW "$library" | awk '
    /Provider:/ { provider = $NF }
    /Name:/ { name = $2 }
    /Arguments:/ { print provider ":" name, NF - 1 }' | sort -u >"$work/probes"
printf 'varn:%s 3\n' destroy hit miss notification refresh >"$work/wanted"
diff "$work/wanted" "$work/probes" >"$work/difference" ||
    { cat "$work/difference"; wrong "not the five probes"; }
exit $status

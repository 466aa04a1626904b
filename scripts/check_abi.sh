#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The binary interface of the built libraries is the one of packaging/abi: every exported function and object with
# their types, and every type and number that the installed headers define besides. The builds need debug
# information; presets abi and m32 have it.
# usage: check_abi.sh [--record] BUILD_DIR...
#   --record  writes what is only added, or the first record of a SONAME
set -eu
record=''
if [ "${1:-}" = --record ]; then
    record=yes
    shift
fi
[ $# -gt 0 ] || { echo "usage: check_abi.sh [--record] BUILD_DIR..." >&2; exit 2; }
builds=$(realpath "$@")
cd "$(dirname "$0")/.."
tree=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/headers"
cp routing-sw/libs/varn/varn.h platform/*.h device/client/varn_device.h "$work/headers"
status=0

machine_of()
{
    case $(readelf -h "$1" | sed -n 's/^ *Machine: *//p') in
    *X86-64) echo x86-64 ;;
    *80386) echo i686 ;;
    *) echo "check_abi.sh: $1: a machine that has no record" >&2 && exit 1 ;;
    esac
}

# describe LIBRARY OPTION...: without what depends on where it was built.
describe()
{
    library=$1
    shift
    readelf -S "$library" | grep -q '\.debug_info' || { echo "check_abi.sh: $library has no debug information" >&2; exit 1; }
    abidw --headers-dir "$work/headers" --drop-private-types --no-show-locs --no-corpus-path --no-comp-dir-path \
        --no-elf-needed --no-parameter-names --type-id-style hash "$@" --out-file "$work/now" "$library"
    sed -i "s,path='$tree/,path=',; s,path='$work/,path='," "$work/now"
}

# 4 and 8 are differences; 1 and 2 are abidiff's own trouble, and so is its end by a signal.
compare()
{
    code=0
    abidiff --no-show-locs $unnamed_too "$@" "$known" "$work/now" >"$work/report" 2>&1 || code=$?
    case $code in
    0 | 4 | 8 | 12) return $code ;;
    esac
    cat "$work/report"
    echo "check_abi.sh: abidiff failed on $known with $code" >&2
    exit 1
}

refuse()
{
    cat "$work/report"
    echo "$known: $1"
    status=1
}

# judge WHAT: what was described last, against the record of that name.
judge()
{
    known=packaging/abi/$1.abi
    if [ ! -f "$known" ] && [ -z "$record" ]; then
        : >"$work/report"
        refuse "there is no record: scripts/check_abi.sh --record writes one, when this SONAME is meant"
    elif [ ! -f "$known" ]; then
        cp "$work/now" "$known"
        echo "$known: recorded"
    elif compare --harmless; then
        echo "$1: as recorded"
    elif ! compare --no-added-syms; then
        refuse "programs that were built before break: this needs a new SONAME, or is a mistake"
    elif [ -n "$record" ]; then
        cp "$work/now" "$known"
        echo "$known: recorded"
    else
        compare --harmless || true
        refuse "something is new, and nothing old has changed: scripts/check_abi.sh --record takes it in"
    fi
}

judge_library()
{
    soname=$(readelf -d "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
    machine=$(machine_of "$1")
    unnamed_too=''
    describe "$1" --exported-interfaces-only
    judge "$soname.$machine"
}

# Types that no function names, and the numbers: a program has them from the headers, macros too.
judge_headers()
{
    cd "$work/headers"
    for header in *.h; do echo "#include \"$header\""; done >"$work/all.c"
    {
        echo 'enum macros {'
        gcc -E -dM -I. "$work/all.c" | sed -n 's/^#define \(VARN_[A-Z0-9_]*\) [^"].*/value_of_\1 = (\1),/p' | sort
        echo '} macros;'
    } >macros.h
    echo '#include "macros.h"' >>"$work/all.c"
    gcc -shared -fPIC -g -fno-eliminate-unused-debug-types -I. "$work/all.c" -o "$work/libheaders.so"
    cd "$OLDPWD"
    unnamed_too=--non-reachable-types
    describe "$work/libheaders.so" --load-all-types
    judge headers
}

for build in $builds; do
    [ -f "$build/routing-sw/libs/varn/libvarn_platform.so" ] || { echo "check_abi.sh: nothing built in $build" >&2; exit 1; }
    for library in "$build/routing-sw/libs/varn/libvarn_platform.so" "$build/device/client/libvarn_device.so"; do
        [ ! -f "$library" ] || judge_library "$library"
    done
done
judge_headers
exit $status

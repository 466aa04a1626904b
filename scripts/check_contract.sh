#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The contract suite over an own implementation of the platform headers, which may lie anywhere.
#   usage: check_contract.sh [--target NAME] [--complete] [--build DIR] PLATFORM_DIR [FILTER]
# PLATFORM_DIR has a CMakeLists.txt that defines the library target varn_port (or NAME) with every
# function of platform/, and beside it contract_world.c or contract_world.cpp with the hooks of
# tests/contract/contract_world.h. FILTER is one of GoogleTest. With --complete a test that was left out
# is a failure too. docs/porting.md tells all of it.
set -eu
export LC_ALL=C
usage='usage: ./run check-contract [--target NAME] [--complete] [--build DIR] PLATFORM_DIR [FILTER]'
fail()
{
    echo "check-contract: $1" >&2
    exit "${2:-1}"
}

target=varn_port
complete=''
build=''
while [ $# -gt 0 ]; do
    case "$1" in
    --target | --build)
        [ $# -ge 2 ] || fail "$1 wants a value
$usage" 2
        [ "$1" = --target ] && target=$2 || build=$2
        shift 2
        ;;
    --complete) complete=yes && shift ;;
    -*) fail "unknown option '$1'
$usage" 2 ;;
    *) break ;;
    esac
done
[ $# -ge 1 ] || fail "PLATFORM_DIR is missing
$usage" 2
[ -d "$1" ] || fail "'$1' is no folder"
port=$(realpath "$1")
[ -f "$port/CMakeLists.txt" ] || fail "there is no CMakeLists.txt in $port
check-contract: it has to define the library target '$target' with every function of platform/"
root=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "${build:=$root/build/contract-$(basename "$port")-$(echo "$port" | cksum | cut -d' ' -f1)}"
build=$(realpath "$build")
log=$build/check-contract.log

# What a compiler or CMake complains of, without the lines around it.
show_log()
{
    grep -E 'error|Error|multiple definition|undefined' -A4 "$log" | head -n 40 >&2 || tail -n 40 "$log" >&2
    echo "check-contract: all of it stands in $log" >&2
}

generator=''
command -v ninja >/dev/null 2>&1 && generator='-G Ninja'
cmake $generator -S "$root/tests/contract/port" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DPLATFORM_DIR="$port" \
    -DVARN_PORT_TARGET="$target" >"$log" 2>&1 ||
    {
        grep -q no-target-of-the-port "$log" && fail "$port/CMakeLists.txt defines no target '$target'"
        show_log
        fail "$port/CMakeLists.txt could not be configured"
    }

# The functions that nobody defines, each with the header that asks for it.
name_what_is_missing()
{
    sed -nE "s/.*undefined reference to [\`'\"]([A-Za-z0-9_]+)['\"].*/\1/p; s/.*undefined symbol: ([A-Za-z0-9_]+)$/\1/p" \
        "$log" | sort -u >"$build/undefined"
    while read -r name header; do
        grep -qx "$name" "$build/undefined" && echo "  $name  ($header)"
    done <"$build/functions.txt" >"$build/missing" || true
    [ -s "$build/missing" ] || return 1
    echo "check-contract: the target '$target' lacks $(wc -l <"$build/missing") of the" \
        "$(wc -l <"$build/functions.txt") functions of platform/:" >&2
    cat "$build/missing" >&2
    echo "check-contract: a C++ file must include the header, or its function has another name for the linker" >&2
}

cmake --build "$build" --target "$target" >"$log" 2>&1 || { show_log; fail "the target '$target' does not compile"; }
cmake --build "$build" --target port_link_check >"$log" 2>&1 || { name_what_is_missing && exit 1; } ||
    { show_log; fail "a program that needs nothing but '$target' cannot be linked"; }
echo "check-contract: all $(wc -l <"$build/functions.txt") functions of platform/ are there"
cmake --build "$build" --target port_contract_tests >"$log" 2>&1 ||
    { show_log; fail "the suite could not be built over '$target'; $port/contract_world.c or .cpp is part of it
check-contract: what calls the cache belongs to a second target '${target}_world', linked to the hooks"; }
[ -f "$port/contract_world.c" ] || [ -f "$port/contract_world.cpp" ] ||
    echo "check-contract: there is no contract_world.c or contract_world.cpp in $port: no request can be examined"

# A test that hangs is ended by the alarm clock of the suite, and one that dies is named.
verdict=0
(cd "$build" && ./port_contract_tests --gtest_color=no ${2:+--gtest_filter="$2"}) >"$log" 2>&1 || verdict=$?
awk '/^\[ RUN      \]/ { text = ""; next } /^\[  FAILED  \].*\([0-9]+ ms\)$/ { printf "%s%s\n", text, $0; next }
    /^\[ +(OK|SKIPPED) +\]/ { text = ""; next } { text = text $0 "\n" }' "$log"
skipped=$(grep -cE '^\[  SKIPPED \] .*\([0-9]+ ms\)$' "$log" || true)
if [ "$skipped" -gt 0 ]; then
    echo "check-contract: left out, by what the port cannot:"
    grep -h '^left out: ' "$log" | sed 's/^left out: //' | sort | uniq -c | sort -rn
fi
if ! grep -q '^\[==========\] .* ran\.' "$log"; then
    last=$(grep '^\[ RUN' "$log" | tail -n 1 | cut -c14-)
    [ $verdict -ne 142 ] || fail "the suite hangs in $last"
    tail -n 5 "$log" >&2
    fail "the suite died (exit $verdict) in $last"
fi
passed=$(grep -cE '^\[       OK \]' "$log" || true)
failed=$(grep -cE '^\[  FAILED  \] .*\([0-9]+ ms\)$' "$log" || true)
echo "check-contract: $passed passed, $failed failed, $skipped left out"
[ $verdict -eq 0 ] || exit 1
[ -z "$complete" ] || [ "$skipped" -eq 0 ] || fail "with --complete nothing may be left out"
[ "$passed" -gt 0 ] || fail "no test of that name passed"

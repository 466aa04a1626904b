#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# ./run check-contract tells an integrator what is wrong and where: each bad input, and what is said.
# usage: try_command.sh WORK_DIR
set -u
root=$(cd "$(dirname "$0")/../../.." && pwd)
work=$1/tried-command
rm -rf "$work"
mkdir -p "$work/empty" "$work/no-target" "$work/lacking" "$work/broken"
failed=0

# expect CODE TEXT ARGUMENT...: how it ends, and a line that it says.
expect()
{
    code=$1
    text=$2
    shift 2
    given=0
    "$root/scripts/check_contract.sh" --build "$work/build" "$@" >"$work/said" 2>&1 || given=$?
    if [ $given -ne "$code" ] || ! grep -qF "$text" "$work/said"; then
        echo "check-contract $*: wanted exit $code and '$text', had exit $given and:"
        cat "$work/said"
        failed=1
    fi
}

port=$root/examples/minimal-port
expect 2 'PLATFORM_DIR is missing'
expect 2 "unknown option '--wrong'" --wrong "$port"
expect 1 "'$work/nowhere' is no folder" "$work/nowhere"
expect 1 "there is no CMakeLists.txt in $work/empty" "$work/empty"

echo 'add_library(another INTERFACE)' >"$work/no-target/CMakeLists.txt"
expect 1 "$work/no-target/CMakeLists.txt defines no target 'varn_port'" "$work/no-target"

cp "$port"/*.cpp "$port"/*.h "$port/CMakeLists.txt" "$work/lacking"
sed -i '/^uint32_t ifsvc_get_if_mtu/d; /^void memacct_free/d' "$work/lacking"/*.cpp
expect 1 '  ifsvc_get_if_mtu  (platform/ifsvc.h)' "$work/lacking"
grep -qF 'lacks 2 of the' "$work/said" && grep -qF '  memacct_free  (platform/memacct.h)' "$work/said" ||
    { cat "$work/said"; failed=1; }

cp "$work/lacking"/* "$work/broken"
echo 'this is no C++' >>"$work/broken/ht.cpp"
expect 1 "the target 'varn_port' does not compile" "$work/broken"
[ $failed -ne 0 ] || echo 'check-contract: each bad input is told'
exit $failed

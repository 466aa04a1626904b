#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Installs a build into an empty prefix, builds the examples from what stands there (by pkg-config and
# by CMake, shared and static) and runs each of them beside the installed service.
# usage: try_installed.sh BUILD_DIR WORK_DIR
set -eu
build=$1
work=$2/tried
rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >"$work/install.log"
compiler()
{
    sed -n "s/^CMAKE_$1_COMPILER:[A-Z]*=//p" "$build/CMakeCache.txt"
}
cc=$(compiler C)
cxx=$(compiler CXX)
library_dir=$(dirname "$(find "$prefix" -name libvarn_platform.so)")
examples=$(dirname "$(find "$prefix" -name links.c)")
service=''
trap '[ -z "$service" ] || kill "$service"; [ ! -f "$work/service.log" ] || cat "$work/service.log"' EXIT
fail()
{
    echo "install: $1" >&2
    exit 1
}

export PKG_CONFIG_PATH="$library_dir/pkgconfig"
shared=$(pkg-config --cflags --libs varn-platform varn-device)
static="$(pkg-config --cflags varn-platform varn-device) -L$library_dir -Wl,-Bstatic -lvarn_platform -lvarn_device
    -Wl,-Bdynamic $(pkg-config --static --libs-only-l varn-device | sed 's/-lvarn_device//')"
mkdir "$work/by-pkg-config" "$work/by-cmake"
for kind in shared static; do
    [ $kind = shared ] && flags=$shared || flags=$static
    "$cc" -std=c11 -Wall -Wextra -Werror "$examples/links.c" $flags -o "$work/by-pkg-config/links-$kind"
    "$cxx" -std=c++20 -Wall -Wextra -Werror "$examples/watch.cpp" "$examples/follower.cpp" $flags \
        -o "$work/by-pkg-config/watch-$kind"
    cmake -S "$examples" -B "$work/by-cmake/$kind" -DCMAKE_PREFIX_PATH="$prefix" -DVARN_LINKAGE=$kind \
        -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" >"$work/cmake.log"
    cmake --build "$work/by-cmake/$kind" >>"$work/cmake.log" || { cat "$work/cmake.log"; exit 1; }
done

export VARN_DEVICE_SOCKET="$work/deviced.sock" VARN_HISTORY_DIR="$work" LD_LIBRARY_PATH="$library_dir"
"$prefix/sbin/varn-deviced" --source "$examples/inventory/three-ports.json" --socket "$VARN_DEVICE_SOCKET" \
    >"$work/service.log" 2>&1 &
service=$!
tries=100
until [ -S "$VARN_DEVICE_SOCKET" ]; do
    tries=$((tries - 1))
    [ $tries -gt 0 ] && kill -0 "$service" || fail "the installed service did not start"
    sleep 0.1
done

# What a program that uses the libraries of this prefix, or carries them, says.
for program in by-pkg-config/links-shared by-pkg-config/links-static by-cmake/shared/links by-cmake/static/links; do
    "$work/$program" >"$work/said"
    grep -q '^second round: .* links are up, 0 requests$' "$work/said" ||
        { cat "$work/said"; fail "$program: the second round was not free"; }
    needed=$(readelf -d "$work/$program" | sed -n 's/.*NEEDED.*\[libvarn_\(.*\)\.so.*/\1/p' | tr '\n' ' ')
    case "$program:$needed" in
    *shared*:"platform device " | *static*:"") ;;
    *) fail "$program needs: $needed" ;;
    esac
done
for program in by-pkg-config/watch-shared by-pkg-config/watch-static by-cmake/shared/watch by-cmake/static/watch; do
    : >"$work/said" # the last program's words are not this one's
    "$work/$program" 1 >"$work/said" &
    watcher=$!
    until grep -q '^watching' "$work/said"; do
        kill -0 "$watcher" || fail "$program ended at once"
        sleep 0.1
    done
    "$prefix/bin/varnctl" set port1 link down
    wait $watcher
    "$prefix/bin/varnctl" set port1 link up
    grep -qx 'port1 is down' "$work/said" || { cat "$work/said"; fail "$program: the change was not told"; }
done
kill "$service" && wait "$service" || true
service=''
rm "$work/service.log"

# The device in memory needs no service.
cmake -S "$examples/minimal-port" -B "$work/by-cmake/minimal-port" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" >"$work/cmake.log"
cmake --build "$work/by-cmake/minimal-port" >>"$work/cmake.log" || { cat "$work/cmake.log"; exit 1; }
"$work/by-cmake/minimal-port/minimal_port_client" >"$work/said"
grep -q '^told: port1 is up' "$work/said" || { cat "$work/said"; fail "the minimal port did not tell its change"; }
echo "install: shared and static, by pkg-config and by CMake: built and run"

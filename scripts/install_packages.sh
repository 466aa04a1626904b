#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages that a target of ./run needs and the machine lacks.
# usage: install_packages.sh build|check|coverage|kernel|bench
set -eu

build='cmake ninja-build gcc g++ pkg-config iproute2 libsystemd-dev libnl-route-3-dev libcli11-dev
    libfmt-dev nlohmann-json3-dev libedit-dev googletest libbenchmark-dev'
check="$build gcc-multilib g++-multilib clang clang-format clang-tidy libclang-rt-14-dev valgrind
    binutils python3-jsonschema python3-prometheus-client"
coverage="$check gcovr"
kernel="$build qemu-system-x86 busybox-static cpio kmod"
bench="$build libboost-dev libabsl-dev libglib2.0-dev liburcu-dev valgrind python3 python3-matplotlib"

case "$1" in
build) wanted=$build ;;
check) wanted=$check ;;
coverage) wanted=$coverage ;;
kernel) wanted=$kernel ;;
bench) wanted=$bench ;;
*)
    echo "usage: install_packages.sh build|check|coverage|kernel|bench" >&2
    exit 2
    ;;
esac

missing=''
for package in $wanted; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" -eq 0 ]; then
    as_root=''
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    as_root='sudo -n'
else
    echo "run: these packages are missing and may not be installed by this user:$missing" >&2
    exit 1
fi

echo "run: installing$missing"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
export DEBIAN_FRONTEND=noninteractive
if ! { $as_root apt-get -q update && $as_root apt-get -q -y --no-install-recommends install $missing; } >"$log" 2>&1
then
    cat "$log" >&2
    echo "run: could not install$missing" >&2
    exit 1
fi

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages that a target of ./run needs and the machine lacks.
# usage: install_packages.sh build|check|fuzz|coverage|deb|kernel|reference|bench|cross
set -eu

build='cmake ninja-build gcc g++ pkg-config iproute2 libsystemd-dev libnl-route-3-dev libcli11-dev
    libfmt-dev nlohmann-json3-dev libedit-dev googletest libbenchmark-dev systemtap-sdt-dev'
cross="$build g++-i686-linux-gnu g++-s390x-linux-gnu g++-aarch64-linux-gnu qemu-user"
check="$cross clang clang-format clang-tidy libclang-rt-14-dev clang-19 llvm-19 libclang-rt-19-dev valgrind
    gdb bpftrace binutils abigail-tools zsh fish cppcheck doxygen mandoc python3-jsonschema python3-prometheus-client"
fuzz="$build clang libclang-rt-14-dev"
coverage="$check"
deb="$build qemu-system-x86 cpio debhelper dpkg-dev fakeroot lintian debootstrap git"
kernel="$build qemu-system-x86 busybox-static cpio kmod"
reference='doxygen python3'
bench="$build libboost-dev libabsl-dev libglib2.0-dev liburcu-dev valgrind python3 python3-matplotlib"

case "$1" in
build) wanted=$build ;;
check) wanted=$check ;;
fuzz) wanted=$fuzz ;;
coverage) wanted=$coverage ;;
deb) wanted=$deb ;;
kernel) wanted=$kernel ;;
reference) wanted=$reference ;;
bench) wanted=$bench ;;
cross) wanted=$cross ;;
*)
    echo "usage: install_packages.sh build|check|fuzz|coverage|deb|kernel|reference|bench|cross" >&2
    exit 2
    ;;
esac

missing=''
for package in $wanted; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

# Debian has gcc-multilib and the cross compilers not beside each other. Nothing of a machine is removed for
# the project unasked: without gcc-multilib `gcc -m32` finds no headers of the kernel any more. A machine of
# continuous integration (CI is set) is there for this run, and there apt may take it away.
may_remove=--no-remove
case "$missing" in
*-linux-gnu*)
    if [ "$(dpkg-query -W -f '${db:Status-Status}' gcc-multilib 2>/dev/null || true)" != installed ]; then
        :
    elif [ -n "${CI:-}" ]; then
        may_remove=''
    else
        echo "run: Debian has gcc-multilib, which is installed here, not beside the cross compilers that are needed:" >&2
        echo "run: 'apt-get remove gcc-multilib' lets them in. Nothing here needs it: m32 has a compiler of its own" >&2
        exit 1
    fi
    ;;
esac

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
if ! { $as_root apt-get -q update && $as_root apt-get -q -y $may_remove --no-install-recommends install $missing; } >"$log" 2>&1
then
    cat "$log" >&2
    echo "run: could not install$missing" >&2
    exit 1
fi

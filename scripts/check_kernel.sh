#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs the tests of tests/kernel in a virtual machine of their own, with a kernel that has every kind
# of link. tests/kernel/README.md tells how it works.
#
# usage: check_kernel.sh BUILD_DIR [--without-guest | --shell] [ARGUMENT OF THE TEST PROGRAM ...]
#   --without-guest  do nothing, and say so: for a machine that cannot have the guest
#   --shell          a shell in the guest in place of the tests
set -eu
cd "$(dirname "$0")/.."
build=${1:?usage: $0 BUILD_DIR [--without-guest | --shell] [ARGUMENT ...]}
shift
seconds=600
folder=build/kernel-guest
image=$folder.image
log=$folder.log

fail()
{
    echo "kernel guest: $1" >&2
    exit 1
}

if [ "${1:-}" = --without-guest ]; then
    echo 'kernel guest: NOT RUN, as the command line asks: nothing was tested on bonds, VLANs, VRFs and tunnels'
    exit 0
fi
[ "$(uname -m)" = x86_64 ] || fail 'the guest is an x86-64 machine, and its programs come from this one, which is not'
for program in qemu-system-x86_64 busybox cpio ip bridge /sbin/modprobe /sbin/depmod apt-get dpkg-deb; do
    command -v "$program" >/dev/null || [ -x "/sbin/$program" ] ||
        fail "$program is missing: ./run check-kernel installs it, --without-guest leaves these tests out"
done
for program in device/service/varn-deviced tests/kernel/kernel_guest_tests; do
    [ -x "$build/$program" ] || fail "$build/$program is missing: build it first"
done

tests/kernel/guest/get_kernel.sh "$folder"
tests/kernel/guest/make_image.sh "$folder" "$build" "$image" "$@"

# Without the machine's own virtualisation, which may be there and not work.
guest()
{
    timeout --foreground "$seconds" qemu-system-x86_64 -M q35 -accel tcg -smp 1 -m 1536 \
        -kernel "$folder/vmlinuz" -initrd "$image" -append 'console=ttyS0 quiet panic=-1' \
        -nographic -no-reboot -nic none "$@"
}

if [ "${1:-}" = --shell ]; then
    seconds=0
    guest
    exit
fi

# What qemu's exit code says of what went on inside is nothing: the guest prints its verdict.
# The firmware's lines before it are not shown.
guest </dev/null 2>&1 | sed -u 's/\r$//' | tee "$log" | sed -un '/guest: begins$/,$p' || true
grep -qa '^guest: the tests ended with ' "$log" ||
    fail "it did not come to its end within $seconds seconds; its console is in $log"
grep -qax 'guest: the tests ended with 0' "$log" || fail 'tests failed'
! grep -qa '^guest: cannot load' "$log" || fail 'a module could not be loaded'
grep -qa '^\[  PASSED  \] [1-9][0-9]* test' "$log" || fail 'no test ran'
! grep -qa '^\[  SKIPPED \]' "$log" || fail 'tests were skipped'

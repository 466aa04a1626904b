#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Boots a system that has the packages in a virtual machine, with systemd as its init, and runs the tests there that
# need one: whether the service works under all that its unit takes away from it. Nothing is kept.
# usage: check_unit.sh ROOT WORK_DIR    (ROOT has systemd, the packages, and their tests in /packages/tests)
set -eu
root=$(realpath "$1")
work=$(realpath "$2")
cd "$(dirname "$0")/.."
kernel=build/kernel-guest
tests/kernel/guest/get_kernel.sh $kernel

cat >"$root/etc/systemd/system/package-tests.service" <<'END_OF_UNIT'
[Unit]
Description=Tests of the packages
After=varn-deviced.service
[Service]
Type=oneshot
ExecStart=/bin/sh -c 'for test in service unit; do sh -e /packages/tests/$test; echo "guest: $test ended with $?"; done'
ExecStopPost=/usr/bin/systemctl poweroff -ff
StandardOutput=tty
StandardError=tty
TTYPath=/dev/console
END_OF_UNIT
mkdir -p "$root/etc/systemd/system/multi-user.target.wants"
ln -sf ../package-tests.service "$root/etc/systemd/system/multi-user.target.wants/package-tests.service"
ln -sf /lib/systemd/systemd "$root/init"
(cd "$root" && find . -xdev \( -path ./usr/share/doc -o -path ./usr/share/man -o -path ./usr/share/locale -o \
    -path ./usr/share/zoneinfo -o -path ./var/cache -o -path ./var/lib/apt \) -prune -o -print |
    cpio --quiet -o -H newc) >"$work/image"
timeout --foreground 300 qemu-system-x86_64 -M q35 -accel tcg -smp 1 -m 1536 -kernel $kernel/vmlinuz \
    -initrd "$work/image" -append 'console=ttyS0 quiet panic=-1 systemd.show_status=0 systemd.unit=multi-user.target' \
    -nographic -no-reboot -nic none </dev/null 2>&1 | sed 's/\r$//' >"$work/console" || true
rm "$work/image"
for test in service unit; do
    grep -qax "guest: $test ended with 0" "$work/console" || { tail -n 60 "$work/console"; exit 1; }
done

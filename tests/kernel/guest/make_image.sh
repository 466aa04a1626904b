#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Packs everything that the guest needs into one initial file system.
# usage: make_image.sh KERNEL_FOLDER BUILD_DIR IMAGE [--shell] [ARGUMENT OF THE TEST PROGRAM ...]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
kernel=$(realpath "$1")
build=$(realpath "$2")
image=$(realpath -m "$3")
shift 3

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

# A program at its place in the guest, and its libraries in one folder, all but the loader, whose
# place stands in every program.
add_program()
{
    mkdir -p "$root$(dirname "$2")" "$root/guest/lib"
    cp -L "$1" "$root$2"
    ldd "$1" | sed -n 's/.* => \(\/[^ ]*\) .*/\1/p' | while read -r library; do
        cp -Lu "$library" "$root/guest/lib/"
    done
    loader=$(ldd "$1" | sed -n 's/^[[:space:]]*\(\/[^ ]*\) (.*/\1/p')
    mkdir -p "$root$(dirname "$loader")"
    cp -Lu "$loader" "$root$loader"
}

# The modules of the list with all that they stand on, in the order in which they are loaded, each
# with its parameters.
list_modules()
{
    release=$(cat "$kernel/release")
    grep -v '^#' "$here/modules" | while read -r module parameters; do
        /sbin/modprobe -d "$kernel/root" -S "$release" -C /dev/null --show-depends "$module" |
            sed -n 's/^insmod \([^ ]*\).*/\1/p' | while read -r file; do
            case "$file" in
            */"$module".ko) echo "$file $parameters" ;;
            *) echo "$file" ;;
            esac
        done
    done | awk '!seen[$1]++'
}

mkdir -p "$root/bin" "$root/proc" "$root/sys" "$root/dev" "$root/tmp" "$root/run" "$root/guest"
cp "$here/init" "$root/init"
chmod 755 "$root/init"
cp "$(command -v busybox)" "$root/bin/busybox"
add_program "$(command -v ip || echo /sbin/ip)" /sbin/ip
add_program "$(command -v bridge || echo /sbin/bridge)" /sbin/bridge
add_program "$build/device/service/varn-deviced" /guest/varn-deviced
add_program "$build/tests/kernel/kernel_guest_tests" /guest/kernel_guest_tests

list_modules >"$root/modules.list"
[ -s "$root/modules.list" ]
while read -r file parameters; do
    cp "$file" "$root/guest/"
    echo "/guest/$(basename "$file") $parameters"
done <"$root/modules.list" >"$root/guest/modules"
rm "$root/modules.list"

if [ "${1:-}" = --shell ]; then
    : >"$root/guest/shell"
    shift
fi
: >"$root/guest/arguments"
for word in "$@"; do
    printf "%s\n" "$word" >>"$root/guest/arguments"
done
(cd "$root" && find . | cpio -o -H newc --quiet) >"$image"

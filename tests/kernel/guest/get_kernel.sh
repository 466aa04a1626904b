#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Fetches the distribution's kernel for virtual machines and unpacks it, without installing it. It
# is kept: the second call does nothing.
# usage: get_kernel.sh FOLDER    afterwards there are FOLDER/release, FOLDER/vmlinuz, FOLDER/root
set -eu
folder=${1:?usage: $0 FOLDER}
[ ! -f "$folder/release" ] || exit 0

fail()
{
    echo "kernel guest: $1" >&2
    exit 1
}

# The package whose name has no version stands for the newest one that has it.
newest_package()
{
    apt-cache depends linux-image-cloud-amd64 2>/dev/null |
        sed -n 's/^ *Depends: \(linux-image-[0-9].*\)/\1/p' | head -n 1
}

update_lists()
{
    if [ "$(id -u)" -eq 0 ]; then
        apt-get -q update
    elif command -v sudo >/dev/null 2>&1; then
        sudo -n apt-get -q update
    fi
}

# Lists that are missing or too old to name a file that is still there are fetched once.
download()
{
    (cd "$folder" && apt-get -q download "$1")
}

rm -rf "$folder"
mkdir -p "$folder"
log=$folder/download.log
package=$(newest_package)
if [ -z "$package" ] || ! download "$package" >"$log" 2>&1; then
    update_lists >>"$log" 2>&1 || true
    package=$(newest_package)
    [ -n "$package" ] || fail 'the package lists have no linux-image-cloud-amd64'
    download "$package" >>"$log" 2>&1 || { cat "$log" >&2; fail "cannot download $package"; }
fi

dpkg-deb -x "$folder/$package"_*.deb "$folder/root" || fail "cannot unpack $package"
release=${package#linux-image-}
[ -d "$folder/root/lib/modules/$release" ] || fail "$package has no modules of $release"
mv "$folder/root/boot/vmlinuz-$release" "$folder/vmlinuz"
/sbin/depmod -b "$folder/root" "$release" || fail 'cannot work out what modules depend on'
rm -f "$folder/$package"_*.deb
echo "$release" >"$folder/release"

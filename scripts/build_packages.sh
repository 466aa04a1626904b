#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the Debian packages of what is committed, and has lintian look at them.
# usage: build_packages.sh OUTPUT_DIR
set -eu
output=$1
mkdir -p "$output"
output=$(realpath "$output")
cd "$(dirname "$0")/.."
version=$(sed -n '1s/.*(\(.*\)).*/\1/p' packaging/debian/changelog)
tree=$output/libvarn-platform-$version
rm -rf "$tree" "$output"/*.deb "$output"/*.changes "$output"/*.buildinfo
mkdir "$tree"
git archive HEAD | tar -x -C "$tree"
cp -r "$tree/packaging/debian" "$tree/debian"
install -m 644 "$tree/packaging/systemd/varn-deviced.service" "$tree/debian/varn-device.varn-deviced.service"
install -m 644 "$tree/packaging/systemd/varn.sysusers" "$tree/debian/varn-device.sysusers"
(cd "$tree" && dpkg-buildpackage -b -us -uc -rfakeroot) >"$output/build.log" 2>&1 || { tail -n 40 "$output/build.log"; exit 1; }
rm -rf "$tree"
lintian --fail-on error,warning --display-info "$output"/*.changes
ls "$output"/*.deb

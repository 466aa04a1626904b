#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the Debian packages of what is committed, and has lintian look at them.
# usage: build_packages.sh OUTPUT_DIR [--working-tree] [--twice]
#   --working-tree  what git would add now, in place of what is committed
#   --twice         build them again in another folder, time zone and locale: every package must be the same,
#                   byte for byte
set -eu
output=$1
shift
from=commit
again=''
for option in "$@"; do
    case "$option" in
    --working-tree) from=working-tree ;;
    --twice) again=yes ;;
    *) echo "build_packages.sh: unknown option $option" >&2 && exit 2 ;;
    esac
done
mkdir -p "$output"
output=$(realpath "$output")
cd "$(dirname "$0")/.."
name=libvarn-platform-$(sed -n '1s/.*(\(.*\)).*/\1/p' packaging/debian/changelog)

# Once: what two builds have in common.
case $from in
commit) git archive HEAD ;;
working-tree) git ls-files -z --cached --others --exclude-standard --deduplicate | tar -c --null --files-from=- ;;
esac >"$output/sources.tar"

# build_in FOLDER: the packages stand beside their tree, as Debian's tools want it.
build_in()
{
    rm -rf "$1/$name"
    rm -f "$1"/*.deb "$1"/*.changes "$1"/*.buildinfo "$1"/*.dsc "$1"/*.tar.xz
    mkdir -p "$1/$name"
    tar -x -f "$output/sources.tar" -C "$1/$name"
    cp -r "$1/$name/packaging/debian" "$1/$name/debian"
    (cd "$1/$name" && DEB_BUILD_OPTIONS=parallel=$(nproc) dpkg-buildpackage --build=full --no-sign --root-command=fakeroot) \
        >"$1/build.log" 2>&1 || { tail -n 40 "$1/build.log"; exit 1; }
    rm -rf "${1:?}/$name"
}

export LC_ALL=C.UTF-8
build_in "$output"
said=$(lintian --allow-root --fail-on error,warning --display-info "$output"/*.changes) && [ -z "$said" ] ||
    { echo "$said"; exit 1; }
echo 'lintian: nothing to say'

if [ -n "$again" ]; then
    second=$output/in-another-folder/of-another-depth
    (export TZ=Pacific/Chatham LC_ALL=C && umask 027 && build_in "$second")
    for package in "$output"/*.deb; do
        cmp "$package" "$second/$(basename "$package")"
    done
    rm -rf "$output/in-another-folder"
    echo 'built twice: the same bytes'
fi
rm "$output/sources.tar"
(cd "$output" && du -b -- *.deb)

#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Installs the built packages into a fresh minimal Debian of this machine's release, runs their tests there
# (packaging/debian/tests), purges them and looks at what is left. Mirror and proxy are those of this machine's apt.
# Only root can make such a system. It has no init, and the service runs without one; a copy of it is booted for
# the tests of the unit (check_unit.sh).
# usage: check_packages.sh PACKAGES_DIR WORK_DIR
set -eu
[ "$(id -u)" -eq 0 ] || { echo "check_packages.sh: a Debian of its own needs root" >&2; exit 1; }
packages=$(realpath "$1")
work=$2
mkdir -p "$work/downloads"
work=$(realpath "$work")
cd "$(dirname "$0")/.."
root=$work/root
rm -rf "$root" "$work/guest"
release=$(. /etc/os-release && echo "$VERSION_CODENAME")

proxy=$(apt-config dump Acquire::http::Proxy | sed -n 's/.*"\(.*\)";/\1/p')
[ -z "$proxy" ] || export http_proxy="$proxy"
sources=$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) main' 'Created-By: Packages' 'Origin: Debian' |
    grep " $release" | sort -u)
mirror=$(echo "$sources" | sed -n "s/^deb \(.*\) $release main$/\1/p" | head -n 1)
[ -n "$mirror" ] || { echo "check_packages.sh: apt knows no mirror of $release" >&2; exit 1; }

step()
{
    echo "-- $1"
    shift
    "$@" >"$work/log" 2>&1 || { tail -n 40 "$work/log"; exit 1; }
}

# A mount and a process namespace of its own: what is begun there ends with it.
inside()
{
    unshare --mount --pid --fork --kill-child sh -c 'root=$1 && shift && mount -t proc proc "$root/proc" &&
        mount --bind -o ro /sys "$root/sys" &&
        exec chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
            DEBIAN_FRONTEND=noninteractive ${http_proxy:+http_proxy="$http_proxy"} "$@"' sh "$root" "$@"
}

install_inside()
{
    inside apt-get -q -y --no-install-recommends install "$@"
}

install_all()
{
    inside sh -c 'apt-get -q -y --no-install-recommends install /packages/*.deb'
}

# What the packages need beside each other, as apt would add it.
other_packages()
{
    inside sh -c 'apt-get -s --no-install-recommends install /packages/*.deb' |
        awk '/^Inst/ { print $2 }' | grep -vxF "$(echo "$names" | tr ' ' '\n')" || true
}

# Every path of the system, and what is in the files of /etc; without what dpkg, apt and caches keep for themselves.
take_stock()
{
    (cd "$root" && find . -xdev \( -path ./packages -o -path ./proc -o -path ./sys -o -path ./tmp -o -path ./var/cache \
        -o -path ./var/log -o -path ./var/lib/apt -o -path ./var/lib/dpkg \) -prune -o -print | sort)
}

# A user stays: files of its own may, and would become those of the next one who gets the number.
compare_stocks()
{
    status=0
    diff "$work/before" "$work/after" || { echo 'paths that were not there before (>), or are gone (<)'; status=1; }
    diff -rq --no-dereference "$work/etc" "$root/etc" |
        grep -vE ' /?[^ ]*/(passwd|group|shadow|gshadow|ld\.so\.cache)-? differ$' && status=1
    added=$(diff "$work/etc/passwd" "$root/etc/passwd" | sed -n 's/^[<>] //p' | cut -d : -f 1 | tr '\n' ' ')
    [ "$added" = 'varn ' ] || { echo "users that came or went: $added"; status=1; }
    known=$(inside dpkg-query -W -f '${Package} ${db:Status-Abbrev}\n' | grep -F "$(echo "$names" | tr ' ' '\n')" || true)
    [ -z "$known" ] || { echo "dpkg still knows: $known"; status=1; }
    return $status
}

step "a minimal $release" debootstrap --variant=minbase --cache-dir="$work/downloads" "$release" "$root" "$mirror"
echo "$sources" >"$root/etc/apt/sources.list"
mkdir "$root/packages"
find "$packages" -maxdepth 1 -name '*.deb' ! -name '*-dbgsym_*' -exec cp -t "$root/packages" {} +
names=$(for package in "$root"/packages/*.deb; do dpkg-deb -f "$package" Package; done | tr '\n' ' ')
names=${names% }
cp -r packaging/debian/tests "$root/packages/tests"
step 'lists of packages' inside apt-get -q update
step 'what the packages depend on' install_inside $(other_packages)

cp -a "$root" "$work/guest"
fresh=$root
root=$work/guest
step 'a copy of it for systemd' install_all
step 'tests: service and unit, under systemd' scripts/check_unit.sh "$root" "$work"
rm -rf "$root"
root=$fresh

# Of the tests' own.
step 'a compiler, pkg-config and man' install_inside gcc libc6-dev pkg-config man-db
take_stock >"$work/before"
rm -rf "$work/etc"
cp -a "$root/etc" "$work/etc"

step "$names" install_all
take_stock >"$work/installed"
echo "   $(diff "$work/before" "$work/installed" | grep -c '^>') paths came with them"
for test in client service manual; do
    step "test: $test" inside sh -e "/packages/tests/$test"
    tail -n 2 "$work/log" | sed 's/^/   /'
done
step 'purge' inside apt-get -q -y purge $names
take_stock >"$work/after"
compare_stocks || { echo 'packages: something is left of them'; exit 1; }
rm -rf "$root"
echo 'packages: installed, tried, purged; nothing is left but the user varn'

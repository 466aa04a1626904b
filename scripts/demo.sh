#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
#
# Shows the cache at work on real interfaces: the service, a client process, and what a question
# costs. As root it builds a small network in a network namespace of its own, which disappears with
# the last process in it; otherwise it looks at this machine's interfaces and changes nothing.
#
#   scripts/demo.sh BUILD_DIR
set -eu

build=${1:?usage: $0 BUILD_DIR}
deviced=$build/device/service/varn-deviced
varnsh=$build/shell/varnsh
for program in "$deviced" "$varnsh"; do
    [ -x "$program" ] || { echo "$0: $program is missing: build it first" >&2; exit 1; }
done

if [ "${2:-}" != inside ] && [ "$(id -u)" = 0 ]; then
    if unshare --net true 2>/dev/null; then
        exec unshare --net sh "$0" "$build" inside
    fi
    echo "This machine does not let root make a network namespace: using its own interfaces."
fi

work=$(mktemp -d)
service=
clean_up() {
    if [ -n "$service" ]; then
        kill "$service" 2>/dev/null || true
        wait "$service" 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 1' HUP INT TERM
export VARN_DEVICE_SOCKET="$work/deviced.sock"
export VARN_HISTORY_DIR="$work/history"

# The kernel brings a bridge up a moment after its ports.
wait_for_bridge() {
    tries=0
    until ip link show br0 | grep -q 'state UP' || [ "$tries" -ge 60 ]; do
        tries=$((tries + 1))
        sleep 0.05
    done
}

# Both ends of each pair live here, so that a link has somebody to talk to. The bridge and the VLAN
# link are there where this kernel knows them.
build_network() {
    ip link set lo up
    ip link add uplink0 type veth peer name core0
    ip link add leaf1 type veth peer name host1
    ip link add leaf2 type veth peer name host2
    for name in uplink0 core0 leaf1 host1 leaf2 host2; do
        ip link set "$name" up
    done
    ip link set uplink0 mtu 9000
    if ip link add br0 type bridge 2>/dev/null; then
        ip link set leaf1 master br0
        ip link set leaf2 master br0
        ip link set br0 up
        wait_for_bridge
    fi
    if ip link add link uplink0 name uplink0.100 type vlan id 100 2>/dev/null; then
        ip link set uplink0.100 up
    fi
}

start_service() {
    : >"$work/deviced.log"
    "$deviced" --source kernel --socket "$VARN_DEVICE_SOCKET" 2>"$work/deviced.log" &
    service=$!
    tries=0
    until grep -q serving "$work/deviced.log"; do
        tries=$((tries + 1))
        if [ "$tries" -gt 100 ] || ! kill -0 "$service" 2>/dev/null; then
            echo "$0: the service did not start:" >&2
            cat "$work/deviced.log" >&2
            exit 1
        fi
        sleep 0.05
    done
    cat "$work/deviced.log"
}

# Nobody marks anything as stale here: the service tells the client what changed.
link_goes_down() {
    cat <<'END'
echo
echo == leaf1 is taken down. The service tells its clients, and each notice goes to its handler in the cache
echo == (PhysicalState to varn_update_phy_state, ...). On the right, what asking again for link, protocol
echo == and MTU costs afterwards. Of a port that went down the cache forgets everything:
! (sleep 0.3; ip link set leaf1 down) &
watch 1
echo
echo == The answers are the new ones, and come from the cache again:
query --json linkup leaf1
show interfaces
echo
echo == An MTU is changed. The handler asks for it at once, so the next query costs nothing:
! ip link set uplink0 mtu 4000
await mtu uplink0 4000
query --json mtu uplink0
END
}

link_stays() {
    echo 'echo'
    echo 'echo == Without a network namespace of its own this demo takes no link down: skipped.'
}

commands() {
    cat <<'END'
echo
echo == The interfaces, as the library answers for them. It has to ask the service for everything:
show interfaces
requests
echo
echo == The same once more, now from the cache:
show interfaces
requests
END
    if [ "$1" = inside ]; then link_goes_down; else link_stays; fi
    cat <<'END'
echo
echo == What the library holds of one interface (a * marks what will be asked again), and its statistics:
END
    if [ "$1" = inside ]; then echo 'show entry leaf1'; else echo 'show entry 1'; fi
    echo 'show stats'
    echo 'echo'
    echo 'echo == What an answer costs from the cache, and as a request to the service:'
    if [ "$1" = inside ]; then echo 'bench leaf1'; else echo 'bench'; fi
}

where=${2:-outside}
if [ "$where" = inside ]; then build_network; fi
start_service
commands "$where" >"$work/commands"
"$varnsh" <"$work/commands"

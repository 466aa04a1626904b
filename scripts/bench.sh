#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Starts the service on this machine's interfaces, and beside it the whole run of the benchmarks,
# everything pinned to one processor.
# usage: bench.sh BUILD_DIR [--quick] [--record]
set -eu
build=$(realpath "$1")
shift
root=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
service=''
trap '[ -z "$service" ] || kill "$service" 2>/dev/null; rm -rf "$work"' EXIT INT TERM

export VARN_DEVICE_SOCKET="$work/deviced.sock"
export VARN_HISTORY_DIR="$work"
taskset -c 0 "$build/device/service/varn-deviced" --source kernel --socket "$VARN_DEVICE_SOCKET" &
service=$!
tries=50
until [ -S "$VARN_DEVICE_SOCKET" ]; do
    tries=$((tries - 1))
    if [ "$tries" -eq 0 ] || ! kill -0 "$service" 2>/dev/null; then
        echo "bench: the service did not start" >&2
        exit 1
    fi
    sleep 0.1
done
taskset -c 0 /usr/bin/python3 "$root/bench/record.py" --build "$build" --service "$service" "$@"

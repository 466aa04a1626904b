#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The whole suite again and again, in another order each time, suites and the tests in them, on a machine that
# two busy loops keep from being idle. A test that passes only in its usual place or in time fails here.
# The first failure ends it, with the round, the seed of its order and the output of what failed.
# usage: flakes.sh BUILD_DIR [ROUNDS [SEED]]     (SEED of the first round, the next ones count on)
set -eu
build=$(realpath "$1")
rounds=${2:-3}
seed=${3:-$(($(date +%s) % 90000 + 1))} # GoogleTest takes 1 to 99999
log=$build/flakes.log
loops=''
end_loops()
{
    for loop in $loops; do kill "$loop" 2>/dev/null || true; done
}
trap end_loops EXIT
trap 'exit 130' INT TERM
for loop in 1 2; do
    sh -c 'while :; do :; done' &
    loops="$loops $!"
done

export GTEST_SHUFFLE=1
round=1
while [ "$round" -le "$rounds" ]; do
    began=$(date +%s)
    GTEST_RANDOM_SEED=$seed ctest --test-dir "$build" --schedule-random --stop-on-failure --output-on-failure \
        --no-tests=error -j2 >"$log" 2>&1 || {
        grep -v '^ *[0-9]*/[0-9]* .* Passed' "$log"
        echo "flakes: round $round of $rounds failed; the same order within the suites: ./run flakes 1 $seed"
        exit 1
    }
    suites=$(sed -n 's/.*tests passed, 0 tests failed out of //p' "$log")
    echo "round $round, seed $seed: $suites suites passed, $(($(date +%s) - began)) s"
    round=$((round + 1))
    seed=$((seed + 1))
done
echo "rounds in random order under load without a failure: $rounds"

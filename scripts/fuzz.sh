#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs the fuzz targets, two at a time, on their corpora and what earlier runs found (in BUILD/found).
# Fails when an input ends in a crash, and says which one and how to run it again.
# usage: fuzz.sh BUILD [SECONDS [TARGET]]
set -eu

run_one()
{
    build=$1 seconds=$2 target=$3
    program=$build/tests/fuzz/fuzz_$target
    corpus=tests/fuzz/corpus/$target
    words=tests/fuzz/dictionaries/$target.dict
    found=$build/found/$target
    log=$found.log
    mkdir -p "$found"
    [ -f "$words" ] && set -- "-dict=$words" || set --
    export ASAN_OPTIONS="malloc_context_size=8:quarantine_size_mb=32"
    export UBSAN_OPTIONS=print_stacktrace=1
    # Without weighing of inputs, which costs as much as the targets themselves. Leaks are looked for
    # where the corpus runs in the preset asan.
    if "$program" -entropic=0 -detect_leaks=0 -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 \
        -max_len=4096 \
        "-artifact_prefix=$found-" "$@" "$found" "$corpus" >"$log" 2>&1
    then
        printf '%-14s %s\n' "$target" "$(grep -a 'DONE' "$log" | tail -n 1)"
        return
    fi
    grep -avE '^#|^INFO|NEW_FUNC' "$log" | tail -n 60
    input=$(grep -ao "$found-[a-z]*-[0-9a-f]*" "$log" | tail -n 1)
    echo "fuzz: $target fails; again: $program ${input:-(no input was kept; see $log)}"
    return 1
}

if [ "$1" = --one ]; then
    run_one "$2" "$3" "$4"
    exit
fi

targets=${3:-$(ls tests/fuzz/corpus)}
for target in $targets; do
    [ -x "$1/tests/fuzz/fuzz_$target" ] || { echo "fuzz: no target $target" >&2; exit 2; }
done
printf '%s\n' $targets | xargs -P 2 -n 1 "$0" --one "$1" "${2:-20}"

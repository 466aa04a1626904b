#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Counts the instructions of each query's hit under callgrind and compares them with the baseline of
# this compiler: a hit that grew by more than one instruction fails. What makes or refreshes a whole
# entry is only told. With a compiler that has no baseline everything is only told.
# usage: check_instructions.sh BUILD_DIR [--record]
set -eu
build=$1
program="$build/bench/varn_instructions"
folder=$(dirname "$0")/../bench/baselines
if [ ! -x "$program" ]; then
    echo "check_instructions: no $program" >&2
    exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM

valgrind -q --tool=callgrind --collect-atstart=no --callgrind-out-file="$work/counted.%p" \
    "$program" >"$work/told"
rounds=$(sed -n 's/^rounds //p' "$work/told")
compiler=$(sed -n 's/^compiler //p' "$work/told")
baseline="$folder/$compiler.json"

# "name instructions": what the loop costs is what an operation of two instructions costs less two.
for dump in "$work"/counted.*.*; do
    sed -n 's/^desc: Trigger: Client Request: //p; s/^totals: //p' "$dump" | paste -d ' ' - -
done | awk -v rounds="$rounds" '
    { total[$1] = $2 }
    END {
        for (name in total)
            if (name != "nothing")
                printf "%s %.0f\n", name, (total[name] - total["nothing"]) / rounds + 2
    }' | sort >"$work/counts"
[ "$(wc -l <"$work/counts")" -gt 40 ] || { echo "check_instructions: nothing counted" >&2; exit 1; }

if [ "${2:-}" = --record ]; then
    {
        printf '{\n    "compiler": "%s",\n    "instructions": {\n' "$compiler"
        sed 's/^\([^ ]*\) \(.*\)$/        "\1": \2,/; $s/,$//' "$work/counts"
        printf '    }\n}\n'
    } >"$baseline"
    echo "check_instructions: recorded in bench/baselines/$compiler.json"
    exit 0
fi
if [ ! -f "$baseline" ]; then
    echo "check_instructions: no baseline for $compiler; counted:"
    cat "$work/counts"
    exit 0
fi
sed -n 's/^        "\([^"]*\)": \([0-9]*\),*$/\1 \2/p' "$baseline" | sort >"$work/known"
awk -v compiler="$compiler" '
    NR == FNR { known[$1] = $2; next }
    !($1 in known) { print "check_instructions: " $1 " is not in the baseline"; bad = 1; next }
    { left[$1] = 1 }
    $2 > known[$1] + 1 && $1 ~ /^varn_/ {
        print "check_instructions: " $1 " takes " $2 " instructions, not " known[$1]
        bad = 1
        next
    }
    $2 > known[$1] * 1.02 || $2 < known[$1] * 0.98 {
        print "check_instructions: " $1 ": " known[$1] " before, " $2 " now"
    }
    END {
        for (name in known)
            if (!(name in left)) {
                print "check_instructions: " name " was not counted"
                bad = 1
            }
        if (!bad)
            print "check_instructions: " FNR " operations hold their count (" compiler ")"
        exit bad
    }' "$work/known" "$work/counts"

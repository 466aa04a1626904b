#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The completions of bash, zsh and fish are those that write_completions.py would write now, and each shell, asked
# for what may stand at a place, offers every option and every command that the programs print.
# usage: check_completions.sh BUILD    (a build folder with the device and the shell)
set -eu
build=$(realpath "$1")
cd "$(dirname "$0")/.."
root=$(pwd)/packaging/completions
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
python3 -B scripts/write_completions.py "$build" "$work/new"
diff -r packaging/completions "$work/new" >"$work/diff" || {
    head -n 20 "$work/diff"
    echo "packaging/completions is not what the programs say: scripts/write_completions.py BUILD writes it anew"
    status=1
}

# ask_SHELL WORD...: what may stand in place of the last word, a line each, or FILES.
ask_bash()
{
    bash -c 'compopt() { :; }; . "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); eval "$(complete -p "$1" | sed "s/.*-F \([^ ]*\).*/\1/")"
        printf "%s\n" "${COMPREPLY[@]}"' "$root/bash/$1" "$@"
}
ask_zsh()
{
    zsh -fc 'compadd() { shift; print -rl -- $@ }; _files() { print FILES }
        _describe() { eval "local -a pairs=$@[-1]"; print -rl -- ${pairs%%:*} }
        file=$1; shift; words=("$@"); CURRENT=$#; . $file' zsh "$root/zsh/_$1" "$@"
}
ask_fish()
{
    fish --no-config -c 'set -l file $argv[1]; source $file; complete -C (string join " " -- $argv[2..])' "$root/fish/$1.fish" "$@" |
        cut -f 1
}

# offered SHELL WORD WORDS...: the word is offered in place of the last of the words.
offered()
{
    shell=$1
    wanted=$2
    shift 2
    "ask_$shell" "$@" >"$work/answer" 2>"$work/errors"
    if [ -s "$work/errors" ]; then
        cat "$work/errors"
        status=1
    fi
    if ! tr -d "\"'\\\\" <"$work/answer" | grep -qxF -e "$wanted"; then
        echo "$shell: '$*' does not offer: $wanted"
        status=1
    fi
    asked=$((asked + 1))
}

options_of()
{
    "$1" --help | sed -n '/^Options:/,/^$/s/^  \(-[^ ]*\).*/\1/p' | tr , '\n'
}

asked=0
for path in shell/varnsh device/control/varnctl device/service/varn-deviced; do
    program=${path##*/}
    bash -n "$root/bash/$program" && zsh -n "$root/zsh/_$program" && fish -n "$root/fish/$program.fish" || status=1
    for shell in bash zsh fish; do
        for option in $(options_of "$build/$path"); do
            case $option in
            --*) offered $shell "$option" "$program" -- ;;
            *) offered $shell "$option" "$program" - ;;
            esac
        done
    done
done
commands=$("$build/device/control/varnctl" --help | sed -n '/^Commands:/,$s/^  \([a-z]*\) .*/\1/p')
words=$("$build/shell/varnsh" -c help | sed -n '/^$/q; s/^\([a-z]*\).*/\1/p')
for shell in bash zsh fish; do
    for command in $commands; do
        offered $shell "$command" varnctl ''
        offered $shell "$command" varnctl --timeout 5 --json ''
    done
    for word in $words 'show interfaces' 'query mtu'; do
        offered $shell "$word" varnsh -c ''
    done
    offered $shell error varnctl history --level ''
    offered $shell remove varnctl --socket /s member bundle1 ''
    offered $shell mtu varnctl set port1 link down ''
    offered $shell port-channel varnctl add bundle1 ''
    offered $shell flood_index varnctl vlan 5 set ''
    offered $shell kernel varn-deviced --source ''
done
echo "completions: $asked questions to three shells"
exit $status

#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the completions of bash, zsh and fish from what the programs print (completion_words.py) into
packaging/completions. They are kept there, so that a package is built without running what it builds;
check_completions.sh holds them against the programs.

usage: write_completions.py BUILD [OUTPUT]"""
import os
import sys

import completion_words

HEAD = "# SPDX-License-Identifier: Apache-2.0\n# Written by scripts/write_completions.py from what {} prints.\n"


def quoted(word):
    return "'" + word.replace("'", "'\\''") + "'"


def where(name):
    """A function of fish has the program's name, in which it takes no '-'."""
    return name.replace("-", "_")


def with_value(program):
    """The options that take a word: the word behind them is none of the command's."""
    return [flag for each in program.options if each.value for flag in each.flags]


# bash and zsh: a `case` of what the word before it wants, then options, then the place.

WALK = """\
    for ((at = {first}; at < {here}; ++at)); do
        case {word} in
        {with_value}) ((++at)) ;;
        -*) ;;
        *) ((++place)) && : "${{command:={word}}}" ;;
        esac
    done
    case $command:$place in
"""


def arms(program, offer):
    """The arms for the places: commands first, then the words of each."""
    if program.commands:
        yield "    :1) " + offer["commands"] + " ;;"
    same = {}
    for (command, place), value in program.places.items():
        same.setdefault((tuple(value.words), value.files), []).append(f"{command}:{place}")
    for (words, files), keys in same.items():
        yield "    " + " | ".join(keys) + ") " + offer["value"](list(words), files) + " ;;"


def shell_function(program, offer, parts):
    lines = [f"{parts['name']}()", "{", *parts["begin"], f"    case {parts['before']} in"]
    for each in program.options:
        if each.value:
            does = offer["value"](each.value.words, each.value.files)
            lines.append(f"    {' | '.join(each.flags)}) {does + '; ' if does else ''}return ;;")
    lines += ["    esac", f"    if [[ {parts['current']} == -* ]]; then", f"        {offer['options']}",
              "        return", "    fi"]
    if program.commands:
        walk = WALK.format(first=parts["first"], here=parts["here"], word=parts["word"],
                           with_value=" | ".join(with_value(program)))
        lines += ["    local command='' place=1 at", walk.rstrip("\n"), *arms(program, offer), "    esac"]
    return "\n".join([*lines, "}"]) + "\n"


def bash(program):
    def value(words, files):
        does = ["_varn_files"] if files else []
        if words:
            does.append(" ".join(["_varn_words", *map(quoted, words)]))
        return "; ".join(does)

    offer = {"commands": value([word for word, _ in program.commands], False), "value": value,
             "options": value([flag for each in program.options for flag in each.flags], False)}
    parts = {"name": f"_{where(program.name)}", "current": "${COMP_WORDS[COMP_CWORD]}",
             "before": "${COMP_WORDS[COMP_CWORD - 1]}", "word": "${COMP_WORDS[at]}", "first": "1",
             "here": "COMP_CWORD", "begin": ["    COMPREPLY=()"]}
    return HEAD.format(program.name) + BASH_WORDS + shell_function(program, offer, parts) + \
        f"complete -F {parts['name']} {program.name}\n"


# A phrase of several words is one word to the shell: readline quotes it as it does a file's name. The quote
# that somebody began with stands in the word.
BASH_WORDS = """\
_varn_words()
{
    local word begun=${COMP_WORDS[COMP_CWORD]}
    begun=${begun#[\\'\\"]}
    for word; do
        [[ $word != "${begun//\\\\/}"* ]] || COMPREPLY+=("$word")
    done
    [[ $* != *' '* ]] || compopt -o filenames 2>/dev/null
}
_varn_files()
{
    mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
    compopt -o filenames 2>/dev/null
}
"""


def zsh(program):
    def value(words, files):
        does = ["_files"] if files else []
        if words:
            does.append(" ".join(["compadd --", *map(quoted, words)]))
        return "; ".join(does)

    def described(tag, pairs):
        return f"_describe {tag} '(" + " ".join(f'"{word}:{meaning}"'.replace("'", "'\\''").replace("$", "\\$")
                                               for word, meaning in pairs) + ")'"

    options = [(flag, each.meaning) for each in program.options for flag in each.flags]
    offer = {"commands": described("command", program.commands), "value": value,
             "options": described("-o option", options)}
    parts = {"name": f"_{program.name}", "current": "$words[CURRENT]", "before": "$words[CURRENT-1]",
             "word": "$words[at]", "first": "2", "here": "CURRENT", "begin": []}
    body = shell_function(program, offer, parts)
    return f"#compdef {program.name}\n" + HEAD.format(program.name) + body + f'{parts["name"]} "$@"\n'


FISH_PLACE = """\
function __{name}_at -a command place
    set -l given
    set -l skip 0
    for word in (commandline -opc)[2..-1]
        if test $skip = 1
            set skip 0
        else if contains -- $word {with_value}
            set skip 1
        else if not string match -q -- '-*' $word
            set -a given $word
        end
    end
    test (math (count $given) + 1) = $place; and test "$given[1]" = "$command"
end
"""


def fish(program):
    lines = [f"complete -c {program.name} -f"]

    def words_of(value):
        listed = " ".join("\\'" + word + "\\'" if " " in word else word for word in value.words)
        return (f" -a '{listed}'" if listed else "") + (" -F" if value.files else "")

    for each in program.options:
        flags = "".join(f" -l {flag[2:]}" if flag.startswith("--") else f" -s {flag[1:]}" for flag in each.flags)
        takes = "" if each.value is None else " -r" + (words_of(each.value) or " -f")
        lines.append(f"complete -c {program.name}{flags}{takes} -d {quoted(each.meaning)}")
    for word, meaning in program.commands:
        lines.append(f"complete -c {program.name} -n '__{where(program.name)}_at \"\" 1' -a {word} -d {quoted(meaning)}")
    for (command, place), value in program.places.items():
        lines.append(f"complete -c {program.name} -n '__{where(program.name)}_at {command} {place}'{words_of(value)}")
    place = FISH_PLACE.format(name=where(program.name), with_value=" ".join(with_value(program)))
    return HEAD.format(program.name) + (place if program.commands else "") + "\n".join(lines) + "\n"


def main(build, output):
    for program in completion_words.programs(build):
        for path, text in ((f"bash/{program.name}", bash(program)), (f"zsh/_{program.name}", zsh(program)),
                           (f"fish/{program.name}.fish", fish(program))):
            os.makedirs(os.path.dirname(os.path.join(output, path)), exist_ok=True)
            with open(os.path.join(output, path), "w", encoding="utf-8") as file:
                file.write(text)


if __name__ == "__main__":
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    main(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else os.path.join(root, "packaging/completions"))

# SPDX-License-Identifier: Apache-2.0
# Sourced by the checks: lists the C and C++ files of the project, tracked or new, one a line.
list_sources()
{
    git ls-files --cached --others --exclude-standard -- '*.h' '*.hpp' '*.c' '*.cpp' |
        while read -r file; do [ -f "$file" ] && echo "$file"; done
}

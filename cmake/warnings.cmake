# SPDX-License-Identifier: Apache-2.0
# The warnings of the house. Every target of the project links house_warnings; a warning is an error. Files that
# are compiled together may hide each other's names.
add_library(house_warnings INTERFACE)
target_compile_options(house_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wconversion -Wcast-align -Wformat=2 -Wundef
    -Wno-format-nonliteral
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>)

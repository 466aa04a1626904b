# SPDX-License-Identifier: Apache-2.0
# The warnings of the house. Every target of the project links house_warnings; a warning is an error.
add_library(house_warnings INTERFACE)
target_compile_options(house_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wcast-align -Wformat=2 -Wundef
    -Wno-format-nonliteral)

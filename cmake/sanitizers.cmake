# SPDX-License-Identifier: Apache-2.0
# Instrumentation of the whole build: what is linked together must be built alike.
if(VARN_SANITIZE)
    add_compile_options(-fsanitize=${VARN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VARN_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # For a program in C that links a library in C++.
        add_link_options(-fsanitize-link-c++-runtime)
        link_libraries(stdc++)
        if(VARN_SANITIZE MATCHES "address") # as g++ says it
            add_compile_definitions(__SANITIZE_ADDRESS__=1)
        endif()
    endif()
endif()

# What leads libFuzzer to new inputs. The product has it, and the targets themselves; other tests need not.
if(VARN_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

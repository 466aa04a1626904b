# SPDX-License-Identifier: Apache-2.0
# Instrumentation of the whole build: what is linked together must be built alike.
if(VARN_SANITIZE)
    add_compile_options(-fsanitize=${VARN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VARN_SANITIZE})
endif()

# SPDX-License-Identifier: Apache-2.0
# cmake --install: the pages of docs/man, and a page for each further name in a page's NAME section,
# which only leads to the page. Without the device its pages stay at home.
set(device_pages varn_device.3 varnsh.1 varnctl.1 varn-deviced.8 varn-inventory.5)
file(GLOB manual_pages CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/docs/man/*.[1-8]")

foreach(path IN LISTS manual_pages)
    get_filename_component(page "${path}" NAME)
    if(NOT VARN_DEVICE AND page IN_LIST device_pages)
        continue()
    endif()
    string(REGEX MATCH "[1-8]$" section "${page}")
    set(folder "${CMAKE_INSTALL_MANDIR}/man${section}")
    install(FILES "${path}" DESTINATION "${folder}")

    file(READ "${path}" text)
    string(REGEX MATCH "\n\\.Sh NAME\n.*\n\\.Nd " names "${text}")
    string(REGEX MATCHALL "\n\\.Nm [A-Za-z_0-9-]+" names "${names}")
    foreach(name IN LISTS names)
        string(REGEX REPLACE "^\n\\.Nm " "" name "${name}")
        set(link "${name}.${section}")
        if(NOT link STREQUAL page)
            file(WRITE "${CMAKE_BINARY_DIR}/man/${link}" ".so man${section}/${page}\n")
            install(FILES "${CMAKE_BINARY_DIR}/man/${link}" DESTINATION "${folder}")
        endif()
    endforeach()
endforeach()

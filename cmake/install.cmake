# SPDX-License-Identifier: Apache-2.0
# cmake --install: the library, its header beside those of the platform, the device where it was
# built, and what pkg-config and CMake need to find them.
include(CMakePackageConfigHelpers)

set_target_properties(varn_platform PROPERTIES EXPORT_NAME platform)
set_target_properties(varn_platform_static PROPERTIES EXPORT_NAME platform_static)
install(FILES routing-sw/libs/varn/varn.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varn)
install(DIRECTORY "${VARN_PLATFORM_DIR}/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varn
    FILES_MATCHING PATTERN "*.h")
set(pkgconfig_files varn-platform)

if(VARN_DEVICE)
    list(APPEND pkgconfig_files varn-device)
    set_target_properties(varn_device PROPERTIES EXPORT_NAME device)
    set_target_properties(varn_device_static PROPERTIES EXPORT_NAME device_static)
    install(TARGETS varn-deviced RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
    install(TARGETS varnctl varnsh RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES device/client/varn_device.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varn)
    install(FILES
        examples/CMakeLists.txt examples/links.c examples/watch.cpp shell/follower.h shell/follower.cpp
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
    install(DIRECTORY docs/examples/inventory DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)

    # Where bash and fish look; zsh looks elsewhere on each system.
    set(VARN_ZSH_COMPLETIONS "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" CACHE STRING
        "Folder of zsh's completions below the prefix")
    foreach(program varnsh varnctl varn-deviced)
        install(FILES packaging/completions/bash/${program}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
        install(FILES packaging/completions/zsh/_${program} DESTINATION ${VARN_ZSH_COMPLETIONS})
        install(FILES packaging/completions/fish/${program}.fish
            DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
    endforeach()
endif()

# A whole device to begin a port from; docs/porting.md goes through it.
install(DIRECTORY examples/minimal-port DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES tests/contract/contract_world.h docs/porting.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/minimal-port)

# Each library has an export of its own, so that a package may have one without the other.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/varn)
install(TARGETS platform_headers varn_platform varn_platform_static EXPORT varn-platform-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT varn-platform-targets NAMESPACE varn:: DESTINATION ${package_dir})
if(VARN_DEVICE)
    install(TARGETS varn_device varn_device_static EXPORT varn-device-targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(EXPORT varn-device-targets NAMESPACE varn:: DESTINATION ${package_dir})
endif()
configure_package_config_file(cmake/varn-config.cmake.in
    "${CMAKE_BINARY_DIR}/varn-config.cmake" INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${CMAKE_BINARY_DIR}/varn-config-version.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/varn-config.cmake" "${CMAKE_BINARY_DIR}/varn-config-version.cmake"
    DESTINATION ${package_dir})

# The folder may be moved, or the prefix be chosen as late as `cmake --install --prefix`: the files
# say where things lie from where they lie themselves.
file(RELATIVE_PATH prefix_from_pc
    "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
foreach(file IN LISTS pkgconfig_files)
    configure_file("packaging/pkgconfig/${file}.pc.in" "${CMAKE_BINARY_DIR}/${file}.pc" @ONLY)
    install(FILES "${CMAKE_BINARY_DIR}/${file}.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
include(cmake/manual.cmake)

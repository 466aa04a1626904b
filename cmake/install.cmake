# SPDX-License-Identifier: Apache-2.0
# cmake --install: the library, its header beside those of the platform, and the device where built.
install(TARGETS varn_platform varn_platform_static
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES routing-sw/libs/varn/varn.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varn)
install(DIRECTORY "${VARN_PLATFORM_DIR}/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varn
    FILES_MATCHING PATTERN "*.h")
if(VARN_DEVICE)
    install(TARGETS varn_device LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(TARGETS varn-deviced RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
    install(TARGETS varnctl varnsh RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES device/client/varn_device.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varn)
endif()

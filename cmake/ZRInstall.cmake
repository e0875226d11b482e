# SPDX-License-Identifier: MIT
set(ZR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZRKit)

install(TARGETS ZRPlatform ZRKit EXPORT ZRKitTargets)
if(TARGET ZRKitInterface)
  install(TARGETS ZRKitInterface EXPORT ZRKitTargets)
endif()
install(EXPORT ZRKitTargets NAMESPACE ZRKit:: DESTINATION ${ZR_CMAKE_DIR})
# Only what programs call, and the few headers that those need, whose names don't begin with NS or ZR.
install(DIRECTORY platform ZRKit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zrkit
        FILES_MATCHING
        REGEX "/(NS|ZR)[^/]*\\.h$"
        REGEX "/(AnyObject|ValueKind|WebFrameLoadDelegate|XPCDescriptor|XPCRemote)\\.h$"
        PATTERN "*Private.h" EXCLUDE)

configure_package_config_file(cmake/ZRKitConfig.cmake.in ZRKitConfig.cmake INSTALL_DESTINATION ${ZR_CMAKE_DIR})
write_basic_package_version_file(ZRKitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZRKitConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZRKitConfigVersion.cmake
        DESTINATION ${ZR_CMAKE_DIR})

file(RELATIVE_PATH ZR_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(component zrplatform zrkit)
  configure_file(cmake/${component}.pc.in ${component}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${component}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

install(FILES LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

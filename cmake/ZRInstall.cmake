# SPDX-License-Identifier: MIT
set(ZR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZRKit)

get_property(ZR_LIBRARIES GLOBAL PROPERTY ZR_LIBRARIES)
install(TARGETS ${ZR_LIBRARIES} EXPORT ZRKitTargets)
install(EXPORT ZRKitTargets NAMESPACE ZRKit:: DESTINATION ${ZR_CMAKE_DIR})

configure_package_config_file(cmake/ZRKitConfig.cmake.in ZRKitConfig.cmake INSTALL_DESTINATION ${ZR_CMAKE_DIR})
write_basic_package_version_file(ZRKitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZRKitConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZRKitConfigVersion.cmake
        DESTINATION ${ZR_CMAKE_DIR})

file(RELATIVE_PATH ZR_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# Everything that is installed, whatever else the build has.
add_custom_target(zr_installed DEPENDS zrpdf com.velmora.zrpdf zrkit-keeper)
# A linker reads archives from left to right: who uses comes before what it uses.
set(ZR_PC_LIBRARIES)
foreach(library IN LISTS ZR_LIBRARIES)
  get_target_property(type ${library} TYPE)
  if(NOT type STREQUAL INTERFACE_LIBRARY)
    string(PREPEND ZR_PC_LIBRARIES "-l${library} ")
    add_dependencies(zr_installed ${library})
  endif()
endforeach()
configure_file(cmake/zrkit.pc.in zrkit.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zrkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

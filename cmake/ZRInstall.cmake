# SPDX-License-Identifier: MIT
set(ZR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ZRKit)

# Everything that is installed, whatever else the build has.
add_custom_target(zr_installed DEPENDS zrpdf com.velmora.zrpdf zrkit-keeper)
if(ZR_BUILD_INTERFACE)
  add_dependencies(zr_installed zrpdf-desktop)
endif()
if(ZR_BUILD_SERVERS)
  add_dependencies(zr_installed zrpdf-serve)
endif()
file(RELATIVE_PATH ZR_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

# zr_install_component(COMPONENT FILE): the libraries of a component, or those of none, with their export file and a
# pkg-config file of that name.
function(zr_install_component component pc)
  get_property(libraries GLOBAL PROPERTY ZR_LIBRARIES${component})
  install(TARGETS ${libraries} EXPORT ZRKit${component}Targets)
  install(EXPORT ZRKit${component}Targets NAMESPACE ZRKit:: DESTINATION ${ZR_CMAKE_DIR})
  # A linker reads archives from left to right: who uses comes before what it uses.
  set(ZR_PC_LIBRARIES)
  foreach(library IN LISTS libraries)
    get_target_property(type ${library} TYPE)
    if(NOT type STREQUAL INTERFACE_LIBRARY)
      string(PREPEND ZR_PC_LIBRARIES "-l${library} ")
      add_dependencies(zr_installed ${library})
    endif()
  endforeach()
  configure_file(cmake/${pc}.pc.in ${pc}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
zr_install_component("" zrkit)
zr_install_component(Images zrkit-images)
zr_install_component(Storage zrkit-storage)
if(ZR_BUILD_SERVERS)
  zr_install_component(Queue zrkit-queue)
  add_dependencies(zr_installed zrpdf-broker zrpdf-worker)
endif()
if(ZR_BUILD_INTERFACE)
  zr_install_component(Interface zrkit-interface)
  add_dependencies(zr_installed zrkit_designer)
endif()

configure_package_config_file(cmake/ZRKitConfig.cmake.in ZRKitConfig.cmake INSTALL_DESTINATION ${ZR_CMAKE_DIR})
write_basic_package_version_file(ZRKitConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZRKitConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZRKitConfigVersion.cmake
        DESTINATION ${ZR_CMAKE_DIR})

install(FILES LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# SPDX-License-Identifier: MIT

# zr_library(NAME): a library of this project with its include root, alias and version.
function(zr_library name)
  add_library(${name})
  add_library(ZRKit::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES AUTOMOC ON VERSION ${PROJECT_VERSION}
                        SOVERSION ${PROJECT_VERSION_MAJOR})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zrkit>)
  target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch.h)
endfunction()

# zr_test(NAME [TIMEOUT seconds] [LABELS ...] [LIBS ...] SOURCES ...): one test program; each case is a CTest test.
function(zr_test name)
  cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LIBS;LABELS;DEPENDS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
  target_link_libraries(${name} PRIVATE ZRKit zr_test_support ${T_LIBS} GTest::gtest GTest::gmock)
  target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch.h)
  if(T_DEPENDS)
    add_dependencies(${name} ${T_DEPENDS})
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  # Tests fork children that use threads; the thread sanitizer asks to be told that this is meant.
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${T_LABELS}"
                                  ENVIRONMENT "TSAN_OPTIONS=die_after_fork=0")
endfunction()

# SPDX-License-Identifier: MIT

# What every target of this project is compiled with; never installed.
add_library(zr_options INTERFACE)
target_compile_features(zr_options INTERFACE cxx_std_20)
target_compile_options(zr_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wno-unused-parameter -Wnon-virtual-dtor)
target_compile_definitions(zr_options INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
if(ZR_SANITIZE)
  target_compile_options(zr_options INTERFACE
    -fsanitize=${ZR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(zr_options INTERFACE -fsanitize=${ZR_SANITIZE})
endif()

# One precompiled header for all targets: parsing Qt again for each would be a third of the build.
add_library(zr_pch OBJECT ${PROJECT_SOURCE_DIR}/cmake/pch.cpp)
target_link_libraries(zr_pch PRIVATE zr_options Qt6::Core)
target_precompile_headers(zr_pch PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch.h)

# zr_compile(TARGET): the project's options and its precompiled header for a target.
function(zr_compile target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zr_options>)
  target_precompile_headers(${target} REUSE_FROM zr_pch)
  set_target_properties(${target} PROPERTIES AUTOMOC ON)
endfunction()

# zr_include_root(VARIABLE NAME): a folder that holds nothing but the current source folder, under its path in the project.
# Only who has it as an include root can include from there.
function(zr_include_root variable name)
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE folder)
  set(root ${PROJECT_BINARY_DIR}/include/${name})
  cmake_path(GET folder PARENT_PATH parent)
  file(MAKE_DIRECTORY ${root}/${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${folder} SYMBOLIC)
  set(${variable} ${root} PARENT_SCOPE)
endfunction()

# zr_library(NAME [COMPONENT name] USES libraries... SOURCES... HEADERS installed headers...): the library of the current
# folder, with the alias ZRKit::NAME. It sees the headers of the libraries that it uses and no others. PRIVATE_USES are those
# that only its sources see. A library of a component is found by programs that ask for that component of the package.
function(zr_library name)
  cmake_parse_arguments(L "" "COMPONENT" "USES;SOURCES;HEADERS;PRIVATE_USES" ${ARGN})
  zr_include_root(root ${name})
  if(L_SOURCES)
    add_library(${name} ${L_SOURCES})
    zr_compile(${name})
    set(scope PUBLIC)
    target_link_libraries(${name} PRIVATE ${L_PRIVATE_USES})
  else()
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  add_library(ZRKit::${name} ALIAS ${name})
  target_compile_features(${name} ${scope} cxx_std_20)
  target_link_libraries(${name} ${scope} ${L_USES})
  target_include_directories(${name} ${scope} $<BUILD_INTERFACE:${root}>
                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zrkit>)
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE folder)
  install(FILES ${L_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zrkit/${folder})
  set_property(GLOBAL APPEND PROPERTY ZR_LIBRARIES${L_COMPONENT} ${name})
endfunction()

# zr_test(NAME [WHOLE] [TIMEOUT seconds] [LABELS ...] LIBS ... SOURCES ...): one test program; each case is a CTest test, or the
# whole program is one, because its cases share a server that takes seconds to start.
function(zr_test name)
  cmake_parse_arguments(T "WHOLE" "TIMEOUT" "SOURCES;LIBS;LABELS;DEPENDS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  zr_compile(${name})
  target_link_libraries(${name} PRIVATE ${T_LIBS} zr_test_support GTest::gtest GTest::gmock)
  if(T_DEPENDS)
    add_dependencies(${name} ${T_DEPENDS})
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  set(properties TIMEOUT ${T_TIMEOUT}
      ENVIRONMENT_MODIFICATION "TMPDIR=set:${ZR_TEST_FOLDER}" FIXTURES_REQUIRED test_folder)
  # An empty value would take the next property's name for its own.
  if(T_LABELS)
    list(APPEND properties LABELS ${T_LABELS})
  endif()
  if(T_WHOLE)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ${properties})
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
  endif()
endfunction()

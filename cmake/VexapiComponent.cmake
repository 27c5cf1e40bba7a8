# Helpers shared by the source folders: one object library per folder, all linked into the
# one shared library `vexapi`.

# Warnings and sanitizers for everything the project compiles itself.
add_library(vexapi_options INTERFACE)
target_compile_options(vexapi_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wno-unused-parameter>)
if(VEXAPI_SANITIZE)
  target_compile_options(vexapi_options INTERFACE
    -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(vexapi_options INTERFACE -fsanitize=address,undefined)
endif()

# The build tree sees the sources as <vexapi/FOLDER/header.h>, the way an installed
# application does.
set(VEXAPI_BUILD_INCLUDE ${CMAKE_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${VEXAPI_BUILD_INCLUDE})
if(NOT EXISTS ${VEXAPI_BUILD_INCLUDE}/vexapi)
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src ${VEXAPI_BUILD_INCLUDE}/vexapi
       COPY_ON_ERROR SYMBOLIC)
endif()

set(VEXAPI_COMPONENTS "" CACHE INTERNAL "object libraries that make up vexapi")

# vexapi_add_component(NAME SOURCES ... [LIBRARIES ...])
#   Builds src/NAME as the object library vexapi_NAME; its public headers (*.h beside the
#   sources) install under include/vexapi/NAME. LIBRARIES are linked privately into vexapi.
function(vexapi_add_component name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target vexapi_${name})
  add_library(${target} OBJECT ${ARG_SOURCES})
  target_compile_definitions(${target} PRIVATE VEXAPI_BUILDING)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${VEXAPI_BUILD_INCLUDE}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PRIVATE vexapi_options ${ARG_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY VEXAPI_COMPONENT_TARGETS ${target})
  set_property(GLOBAL APPEND PROPERTY VEXAPI_COMPONENT_LIBRARIES ${ARG_LIBRARIES})
  file(GLOB headers ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexapi/${name})
endfunction()

# vexapi_add_test(NAME SOURCES ...)
#   One GoogleTest executable per library target: test_NAME, registered with CTest as one
#   test that writes its results to test-results/NAME.xml for the summary.
function(vexapi_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target test_${name})
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE vexapi GTest::gtest GTest::gtest_main
                        vexapi_options ${ARG_LIBRARIES})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  add_test(NAME ${name}
           COMMAND ${target} --gtest_output=xml:test-results/${name}.xml
           WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

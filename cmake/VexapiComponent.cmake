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
if(VEXAPI_BUILD_FUZZ)
  # The library is instrumented for coverage; only the fuzz targets link libFuzzer's main.
  target_compile_options(vexapi_options INTERFACE -fsanitize=fuzzer-no-link)
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

# vexapi_add_component(NAME [SOURCES ...] [LIBRARIES ...])
#   Builds the folder as the object library vexapi_NAME, from SOURCES or else from every
#   *.cpp in it; its public headers (*.h beside the sources) install under
#   include/vexapi/<folder below src>. LIBRARIES are linked privately into vexapi.
function(vexapi_add_component name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target vexapi_${name})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  if(NOT ARG_SOURCES)
    return() # a folder that has no sources yet
  endif()
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
  add_library(${target} OBJECT ${ARG_SOURCES})
  target_compile_definitions(${target} PRIVATE VEXAPI_BUILDING)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${VEXAPI_BUILD_INCLUDE}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PRIVATE vexapi_options ${ARG_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY VEXAPI_COMPONENT_TARGETS ${target})
  set_property(GLOBAL APPEND PROPERTY VEXAPI_COMPONENT_LIBRARIES ${ARG_LIBRARIES})
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexapi/${folder})
endfunction()

# vexapi_add_test(NAME [SOURCES ...] [LIBRARIES ...])
#   One GoogleTest executable per library target: test_NAME, from SOURCES or else every
#   *.cpp in the folder, registered with CTest as one test that writes its results to
#   test-results/NAME.xml for the summary.
function(vexapi_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(target test_${name})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  if(NOT ARG_SOURCES)
    return()
  endif()
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE vexapi GTest::gtest GTest::gtest_main
                        vexapi_options ${ARG_LIBRARIES})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  add_test(NAME ${name}
           COMMAND ${target} --gtest_output=xml:test-results/${name}.xml
           WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

# The folders of the library, lowest layer first. A folder joins the build once it has a
# CMakeLists.txt; the platform folder is the one of the target system.
if(WIN32)
  set(VEXAPI_PLATFORM win32)
else()
  set(VEXAPI_PLATFORM posix)
endif()
set(VEXAPI_FOLDERS core platform/${VEXAPI_PLATFORM} orvcpp app datasource sql odbc format
    srcedit grid toolkit dataware shell designer trend)

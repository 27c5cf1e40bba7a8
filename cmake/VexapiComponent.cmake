# Components of the library and their layering. A component is one object library built
# from one source folder; all of them link into the one shared library `vexapi`.
#
# Layering is a fact of the build:
#  1. A component's public headers are in include/vexapi/<component>/; the headers beside
#     its sources are internal: never installed, never on another component's path.
#  2. A component names what it depends on (DEPENDS), each of which must have been declared
#     before it: the declaration order in the top-level CMakeLists.txt is the layer order.
#  3. A component compiles against a view that holds the public headers of itself and of
#     what it depends on (transitively), and nothing else: an upward include fails.
#  4. A platform component names the components whose seams it implements (IMPLEMENTS) and
#     sees their seam headers, src/<folder>/platform_<service>.h, as
#     <vexapi/<component>/platform_<service>.h>; no other internal header.
# The view is made of one-line forwarding headers generated at configure time (no links, so
# a Windows host behaves like Linux, and an edited header is seen at once).

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

set(VEXAPI_PUBLIC_INCLUDE ${PROJECT_SOURCE_DIR}/include)

# Writes the forwarding header `view`/vexapi/`relative` for `real`, and records it so that
# the stale ones of an earlier configure can be removed.
function(_vexapi_forward view relative real)
  set(out ${view}/vexapi/${relative})
  # Relative to the forwarder, so that two clones make the same text (the compiler cache
  # then serves one clone from the other's work).
  get_filename_component(out_dir ${out} DIRECTORY)
  file(RELATIVE_PATH target ${out_dir} ${real})
  file(CONFIGURE OUTPUT ${out} CONTENT "#include \"${target}\"\n" @ONLY)
  set_property(GLOBAL APPEND PROPERTY _VEXAPI_VIEW_FILES_${view} ${out})
endfunction()

# The view of component `name`: the public headers of `visible` and the seams of `seams`.
function(_vexapi_make_view name visible seams)
  set(view ${CMAKE_BINARY_DIR}/layers/${name})
  set_property(GLOBAL PROPERTY _VEXAPI_VIEW_FILES_${view} "")
  foreach(component IN LISTS visible)
    get_property(public_dir GLOBAL PROPERTY VEXAPI_PUBLIC_DIR_${component})
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${VEXAPI_PUBLIC_INCLUDE}/vexapi
         ${VEXAPI_PUBLIC_INCLUDE}/vexapi/${public_dir}/*.h)
    foreach(header IN LISTS headers)
      _vexapi_forward(${view} ${header} ${VEXAPI_PUBLIC_INCLUDE}/vexapi/${header})
    endforeach()
  endforeach()
  foreach(component IN LISTS seams)
    get_property(folder GLOBAL PROPERTY VEXAPI_FOLDER_${component})
    get_property(public_dir GLOBAL PROPERTY VEXAPI_PUBLIC_DIR_${component})
    file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/src/${folder}
         ${PROJECT_SOURCE_DIR}/src/${folder}/platform_*.h)
    foreach(header IN LISTS headers)
      _vexapi_forward(${view} ${public_dir}/${header} ${PROJECT_SOURCE_DIR}/src/${folder}/${header})
    endforeach()
  endforeach()
  # A header that left the view (made internal, removed) must not stay visible.
  get_property(wanted GLOBAL PROPERTY _VEXAPI_VIEW_FILES_${view})
  file(GLOB_RECURSE present ${view}/*)
  foreach(file IN LISTS present)
    if(NOT file IN_LIST wanted)
      file(REMOVE ${file})
    endif()
  endforeach()
  set(VEXAPI_VIEW ${view} PARENT_SCOPE)
endfunction()

# vexapi_add_component(NAME [PUBLIC_DIR dir] [DEPENDS component...]
#                      [IMPLEMENTS component...] [SOURCES ...] [LIBRARIES ...]
#                      [CHECK_ONLY])
#   Builds the current folder as the object library vexapi_NAME, from SOURCES or else from
#   every *.cpp in it. Its public headers are include/vexapi/PUBLIC_DIR (default NAME).
#   LIBRARIES are linked privately into vexapi. See the rules at the top of this file.
#   CHECK_ONLY: a component that tests the layering itself; built only when asked for, not
#   part of the library.
function(vexapi_add_component name)
  cmake_parse_arguments(ARG "CHECK_ONLY" "PUBLIC_DIR" "SOURCES;LIBRARIES;DEPENDS;IMPLEMENTS"
                        ${ARGN})
  set(target vexapi_${name})
  if(NOT ARG_PUBLIC_DIR)
    set(ARG_PUBLIC_DIR ${name})
  endif()
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
  set_property(GLOBAL PROPERTY VEXAPI_PUBLIC_DIR_${name} ${ARG_PUBLIC_DIR})
  set_property(GLOBAL PROPERTY VEXAPI_FOLDER_${name} ${folder})

  get_property(declared GLOBAL PROPERTY VEXAPI_DECLARED_COMPONENTS)
  set(visible ${name})
  foreach(dependency IN LISTS ARG_DEPENDS ARG_IMPLEMENTS)
    if(NOT dependency IN_LIST declared)
      message(FATAL_ERROR "component ${name} depends on ${dependency}, which is not declared "
                          "below it (see the layer order in the top-level CMakeLists.txt)")
    endif()
  endforeach()
  foreach(dependency IN LISTS ARG_DEPENDS)
    get_property(closure GLOBAL PROPERTY VEXAPI_CLOSURE_${dependency})
    list(APPEND visible ${closure})
  endforeach()
  list(REMOVE_DUPLICATES visible)
  set_property(GLOBAL PROPERTY VEXAPI_CLOSURE_${name} ${visible})
  set_property(GLOBAL APPEND PROPERTY VEXAPI_DECLARED_COMPONENTS ${name})

  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  if(NOT ARG_SOURCES)
    return() # a folder that has no sources yet
  endif()
  _vexapi_make_view(${name} "${visible}" "${ARG_IMPLEMENTS}")
  add_library(${target} OBJECT ${ARG_SOURCES})
  target_compile_definitions(${target} PRIVATE VEXAPI_BUILDING)
  target_include_directories(${target} PRIVATE ${VEXAPI_VIEW} ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE vexapi_options ${ARG_LIBRARIES})
  if(ARG_CHECK_ONLY)
    set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  set_property(GLOBAL APPEND PROPERTY VEXAPI_COMPONENT_TARGETS ${target})
  set_property(GLOBAL APPEND PROPERTY VEXAPI_COMPONENT_LIBRARIES ${ARG_LIBRARIES})
  if(EXISTS ${VEXAPI_PUBLIC_INCLUDE}/vexapi/${ARG_PUBLIC_DIR})
    install(DIRECTORY ${VEXAPI_PUBLIC_INCLUDE}/vexapi/${ARG_PUBLIC_DIR}/
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexapi/${ARG_PUBLIC_DIR}
            FILES_MATCHING PATTERN "*.h")
  endif()
endfunction()

# vexapi_add_test(NAME [INTERNALS folder...] [SOURCES ...] [LIBRARIES ...])
#   One GoogleTest executable per library target: test_NAME, from SOURCES or else every
#   *.cpp in the folder. A suite that uses only the public API links the shared library, so
#   it also checks what the library exports. A suite that reaches internal headers names the
#   source folders it reads (INTERNALS) and links the library's objects statically instead,
#   so internals never need exporting.
#   Each test case (or parameterised group) is one CTest test, named after it.
function(vexapi_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;INTERNALS" ${ARGN})
  set(target test_${name})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  if(NOT ARG_SOURCES)
    return()
  endif()
  add_executable(${target} ${ARG_SOURCES})
  if(ARG_INTERNALS)
    set(library vexapi_static)
    foreach(folder IN LISTS ARG_INTERNALS)
      target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src/${folder})
    endforeach()
  else()
    set(library vexapi)
  endif()
  target_link_libraries(${target} PRIVATE ${library} GTest::gtest GTest::gtest_main
                        vexapi_options ${ARG_LIBRARIES})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  vexapi_register_gtest(${name} ${target})
endfunction()

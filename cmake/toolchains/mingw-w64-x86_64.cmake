# Cross-compiling Vexapi for 64-bit Windows with Debian's MinGW-w64 (posix
# threading flavour). Pass it by absolute path:
#   cmake -DCMAKE_TOOLCHAIN_FILE=/path/to/cmake/toolchains/mingw-w64-x86_64.cmake
#
# Libraries are looked up in the prefix made by scripts/deps/mingw-deps
# (VEXAPI_MINGW_DEPS, by default <repo>/.deps/mingw) and in the MinGW sysroot.
# Test executables run under Wine through scripts/wine-run.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_vexapi_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_vexapi_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_vexapi_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${_vexapi_triplet}-windres)
# Used by projects that enable ASM_NASM (the SIMD code of libjpeg-turbo).
if(NOT CMAKE_ASM_NASM_COMPILER)
  set(CMAKE_ASM_NASM_COMPILER nasm)
endif()

get_filename_component(_vexapi_repo "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)

# The dependency prefix: -DVEXAPI_MINGW_DEPS=..., else the environment, else
# the tree's own cache. Kept absolute, so try_compile projects (which have
# another binary dir) see the same folder.
if(NOT VEXAPI_MINGW_DEPS)
  if(DEFINED ENV{VEXAPI_MINGW_DEPS} AND NOT "$ENV{VEXAPI_MINGW_DEPS}" STREQUAL "")
    set(VEXAPI_MINGW_DEPS "$ENV{VEXAPI_MINGW_DEPS}")
  else()
    set(VEXAPI_MINGW_DEPS "${_vexapi_repo}/.deps/mingw")
  endif()
endif()
get_filename_component(VEXAPI_MINGW_DEPS "${VEXAPI_MINGW_DEPS}" ABSOLUTE)

# Appended, so that a project can add its own roots (an installed vexapi, for instance)
# with -DCMAKE_FIND_ROOT_PATH=...
list(APPEND CMAKE_FIND_ROOT_PATH "${VEXAPI_MINGW_DEPS}" "/usr/${_vexapi_triplet}")
list(REMOVE_DUPLICATES CMAKE_FIND_ROOT_PATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config, where a project uses it, sees only the Windows prefixes.
set(ENV{PKG_CONFIG_LIBDIR}
    "${VEXAPI_MINGW_DEPS}/lib/pkgconfig:${VEXAPI_MINGW_DEPS}/share/pkgconfig:/usr/${_vexapi_triplet}/lib/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "")

# The sysroot ships zlib both as libz.a and as an import library for
# zlib1.dll; FindZLIB (and so FindPNG) must take the static one.
set(ZLIB_USE_STATIC_LIBS ON)

# CTest (and try_run) start Windows executables through Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR "${_vexapi_repo}/scripts/wine-run")

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
     VEXAPI_MINGW_DEPS CMAKE_ASM_NASM_COMPILER)

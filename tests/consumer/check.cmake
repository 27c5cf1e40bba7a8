# Installs the built library into a scratch prefix, builds the consumer against it with the
# same toolchain, and runs it (through the emulator on a cross build).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} --config ${CONFIG})

set(configure_args -S ${SOURCE_DIR}/tests/consumer -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=${CONFIG})
if(SANITIZE)
  # A library built with the sanitizers needs their runtime first in the application.
  list(APPEND configure_args "-DCMAKE_CXX_FLAGS=-fsanitize=address,undefined")
endif()
if(TOOLCHAIN)
  list(APPEND configure_args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_FIND_ROOT_PATH=${prefix})
endif()
run(${CMAKE_COMMAND} ${configure_args})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)

# What is installed is the public API exactly: every header of include/vexapi (the Windows
# platform's only on Windows) and nothing from beside the sources.
file(READ ${WORK_DIR}/build/installed_headers.txt installed)
file(GLOB_RECURSE public RELATIVE ${SOURCE_DIR}/include ${SOURCE_DIR}/include/vexapi/*.h)
if(NOT EMULATOR)
  list(FILTER public EXCLUDE REGEX "^vexapi/platform/win32/")
endif()
list(SORT installed)
list(SORT public)
if(NOT installed STREQUAL public)
  message(FATAL_ERROR "installed headers differ from include/vexapi:\n${installed}\n--\n${public}")
endif()

# The installed library finds its neighbours relative to itself, never in the build tree.
if(NOT EMULATOR)
  file(GLOB libraries ${prefix}/lib*/libvexapi*.so)
  foreach(library IN LISTS libraries)
    execute_process(COMMAND readelf -d ${library} OUTPUT_VARIABLE dynamic)
    if(NOT dynamic MATCHES "RUNPATH[^\n]*\\[\\$ORIGIN\\]" OR dynamic MATCHES "${BUILD_DIR}")
      message(FATAL_ERROR "${library}: RUNPATH is not $ORIGIN alone:\n${dynamic}")
    endif()
  endforeach()
endif()

if(EMULATOR)
  # The installed DLL beside the executable, as a user ships it.
  file(GLOB dlls ${prefix}/bin/*.dll)
  file(COPY ${dlls} DESTINATION ${WORK_DIR}/build)
  set(suffix .exe)
else()
  set(suffix "")
endif()
foreach(program consumer consumer_app)
  execute_process(COMMAND ${EMULATOR} ${WORK_DIR}/build/${program}${suffix}
                  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  message(STATUS "${out}")
  # The library's entry returns 0 whatever the application's exit code.
  if(NOT rc EQUAL 0 OR NOT out MATCHES "${program}: ok")
    message(FATAL_ERROR "${program} failed (${rc}):\n${out}\n${err}")
  endif()
endforeach()

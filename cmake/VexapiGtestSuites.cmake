# Registers a GoogleTest executable with CTest one test per test suite (TEST, TEST_F, and a
# parameterised or typed suite with each of its instantiations), so that a failure is named
# and ctest -j spreads the suites over the cores. Per case would be finer, but under Wine
# every test is a process start of about a second.
#
# Used two ways:
#  - included by the build: vexapi_register_gtest(NAME TARGET) lists the suites after each
#    link and points CTest at the generated list;
#  - run as a script (-P) after the link, with EXECUTABLE, EMULATOR, NAME, OUTPUT and
#    WORKING_DIRECTORY: asks the executable for its tests and writes the add_test calls.

if(CMAKE_SCRIPT_MODE_FILE)
  execute_process(COMMAND ${EMULATOR} ${EXECUTABLE} --gtest_list_tests
                  RESULT_VARIABLE rc OUTPUT_VARIABLE listing ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${EXECUTABLE} --gtest_list_tests failed (${rc}):\n${listing}\n${err}")
  endif()
  string(REPLACE "\r" "" listing "${listing}")
  string(REPLACE "\n" ";" lines "${listing}")
  set(content "# Generated from ${EXECUTABLE} --gtest_list_tests\n")
  foreach(line IN LISTS lines)
    # Suite lines start in column 0 and end in '.', perhaps followed by a comment.
    if(line MATCHES "^([^ #][^ ]*)\\.( .*)?$")
      set(suite ${CMAKE_MATCH_1})
      string(REPLACE "/" "_" test_name "${NAME}.${suite}")
      string(APPEND content
        "add_test([=[${test_name}]=] ${EMULATOR} [=[${EXECUTABLE}]=] "
        "[=[--gtest_filter=${suite}.*]=] "
        "[=[--gtest_output=xml:test-results/${test_name}.xml]=])\n"
        "set_tests_properties([=[${test_name}]=] PROPERTIES "
        "WORKING_DIRECTORY [=[${WORKING_DIRECTORY}]=] TIMEOUT 600 LABELS ${NAME})\n")
    endif()
  endforeach()
  file(WRITE ${OUTPUT} "${content}")
  return()
endif()

set(_VEXAPI_GTEST_SUITES_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

function(vexapi_register_gtest name target)
  set(list_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_suites.cmake)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND}
      -DEXECUTABLE=$<TARGET_FILE:${target}>
      "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
      -DNAME=${name}
      -DOUTPUT=${list_file}
      -DWORKING_DIRECTORY=${CMAKE_BINARY_DIR}
      -P ${_VEXAPI_GTEST_SUITES_SCRIPT}
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    BYPRODUCTS ${list_file}
    VERBATIM)
  # CTest reads the list when it runs; before the first build there is none.
  set(include_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_include.cmake)
  file(WRITE ${include_file}
    "if(EXISTS [=[${list_file}]=])\n  include([=[${list_file}]=])\n"
    "else()\n  add_test([=[${name}_NOT_BUILT]=] [=[${name}_NOT_BUILT]=])\nendif()\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include_file})
endfunction()

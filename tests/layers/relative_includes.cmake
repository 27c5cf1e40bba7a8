# Fails when a source of the library includes a header by a path with a folder in it
# ("../orvcpp/session.h"): such a path would bypass the layer views.
file(GLOB_RECURSE sources ${ROOT}/src/*.h ${ROOT}/src/*.cpp ${ROOT}/include/*.h)
set(bad "")
foreach(source IN LISTS sources)
  file(STRINGS ${source} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"[^\"]*/")
  foreach(line IN LISTS lines)
    string(APPEND bad "${source}: ${line}\n")
  endforeach()
endforeach()
if(bad)
  message(FATAL_ERROR "includes by relative path:\n${bad}")
endif()

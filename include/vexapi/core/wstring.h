// WString: the standard library's string of the 16-bit character, for code that builds text
// with the standard library. The library's own interfaces take WChar pointers.
#pragma once

#include <vexapi/core/types.h>

#include <string>

typedef std::basic_string<WChar> WString;

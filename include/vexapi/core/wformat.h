// printf-style formatting of 16-bit text (wsnprintf, wvsnprintf), the same on both builds:
// Linux has no vswprintf for the library's char16_t text, so the library formats it itself.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdarg>

// Formats into `dst`, a buffer of `size` units, and gives the number of units the whole
// result needs, the terminator not counted (as C99 vsnprintf does): a result >= size says
// the text was cut. Nothing is written at or past dst[size]; when size > 0 the result is
// always terminated. A null `dst` with size 0 measures. A null format gives -1.
//
// Supported, following the C library's printf:
//   flags       -  +  space  #  0
//   width       digits or *   (a negative * width means the - flag)
//   precision   .digits or .* (a negative * precision means none)
//   length      hh h l ll L z j t, and I64 I32 I (size_t) as on Windows
//   %d %i       signed integer          %u %o %x %X   unsigned integer
//   %f %F %e %E %g %G %a %A             double (long double with L)
//   %c %lc      a WChar (passed as int), a zero one included; %hc %C a narrow char
//   %s %ls      16-bit text (const WChar*); a null pointer prints "(null)"
//   %hs %S      narrow text (const char*) in the platform's 8-bit charset (getStdCharset)
//   %p          pointer                 %%  a percent sign
// Width and precision count units: for text the precision is the most units taken from the
// argument; a surrogate pair is never cut in half by it. %n is not supported, and any
// conversion not listed is copied to the output as it stands, consuming no argument.
VEXAPI_API int wvsnprintf(WChar* dst, int size, const WChar* format, va_list args);
VEXAPI_API int wsnprintf(WChar* dst, int size, const WChar* format, ...);

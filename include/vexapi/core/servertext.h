// Text conversions of the server's formats: its 8-bit CHAR text widened as Latin-1, and its
// 16-bit text (RCHAR), which has the library's width but may be byte-swapped.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Common rules:
//  1. `n` counts source units. With n >= 0 exactly n units are converted, zeros among them,
//     and no terminator is written: the caller holds the count (a server field, a line read
//     from a file). With n < 0 the source is read to its terminator, which is copied too.
//  2. The result is the number of units converted, the terminator not counted; 0 when
//     `dst` or `src` is null.
//  3. `swapped` says that the server's text is byte-swapped with respect to the host, so
//     each unit's two bytes change places on the way; false copies the units unchanged.

// Widens 8-bit server text as Latin-1: each byte becomes the unit of the same value. The
// mapping is fixed and lossless, whatever the locale; text in a named code page goes through
// mbs2wcs instead. `src` may be the start of `dst`'s own buffer (widening in place).
VEXAPI_API int CharToUnicode(WChar* dst, const char* src, int n);

// The server's 16-bit text to the library's. `dst` may be `src`.
VEXAPI_API int RCHARToUnicode(WChar* dst, const WChar* src, int n, bool swapped);

// The library's 16-bit text to the server's. `dst` may be `src`.
VEXAPI_API int UnicodeToRCHAR(WChar* dst, const WChar* src, int n, bool swapped);

// The platform's text collation behind compare(): one declaration, one implementation in
// each platform folder. Internal to the library.
#pragma once

#include <vexapi/core/types.h>

namespace VexAPI {
namespace platform {

// Three-way comparisons (negative, 0, positive) of two terminated texts of `aLen` and
// `bLen` units (terminator not counted), by the locale's collation:
//  - Linux: the C library under the process's LC_COLLATE (strcoll; wcscoll on the text
//    decoded from UTF-16 to the platform's 32-bit wchar_t, so a surrogate pair is one
//    character);
//  - Windows: CompareStringA/W with the user's locale, or code point order while the C
//    runtime's LC_COLLATE is "C", to match the C library's behaviour there.
// A 0 here may still be two different texts; compare() breaks such ties by code point.
int collateChar(const char* a, int aLen, const char* b, int bLen);
int collateText(const WChar* a, int aLen, const WChar* b, int bLen);


} // namespace platform
} // namespace VexAPI

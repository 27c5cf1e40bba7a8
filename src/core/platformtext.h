// The platform's 8-bit text as the string classes and the formatter see it: its charset and
// conversions of whole texts to and from 16-bit text. Internal to the library.
#pragma once

#include <vexapi/core/types.h>
#include <vexapi/core/wstring.h>

#include <string>

namespace VexAPI {
namespace detail {

// getStdCharset() when the conversions know it, else "UTF-8": a locale whose charset the
// table lacks ("EUC-JP") still gets its text converted rather than dropped.
const char* platformCharset();

// `n` bytes of platform text (to the terminator when n < 0; null is empty) as 16-bit text.
WString widenPlatformText(const char* text, int n);

// `n` units of 16-bit text (to the terminator when n < 0; null is empty) as platform
// text; a character the charset lacks becomes '?'.
std::string narrowPlatformText(const WChar* text, int n);

} // namespace detail
} // namespace VexAPI

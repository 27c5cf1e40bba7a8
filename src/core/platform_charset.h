// The charset seam: what a platform folder supplies to the charset conversions: the byte table of a single-byte
// code page and the name of the platform's 8-bit charset. Internal to the library.
#pragma once

#include <vexapi/core/charset.h>

#include <cstdint>

namespace VexAPI {
namespace platform {

// Marks a byte that the code page leaves unassigned in a table filled below.
const std::uint16_t kUnassigned = 0xFFFF;

// Fills `table` with the UTF-16 unit that each byte 0..255 of `charset` (a CharsetSingleByte
// entry) decodes to, kUnassigned where the platform rejects the byte or decodes it to more
// than one unit. Gives false when the platform does not know the code page at all.
bool decodeTable(const CharsetInfo& charset, std::uint16_t table[256]);

// The platform's 8-bit charset: a name (Linux) or a code page number (Windows); the other
// member is null or 0. The name is the platform's storage, valid until the locale changes.
struct StdCharset {
    const char* name;
    unsigned codePage;
};
StdCharset stdCharset();

} // namespace platform
} // namespace VexAPI

// Byte-for-byte conversions between the three Russian code pages: CP866 ("OEM", DOS),
// KOI8-R ("Koi") and CP1251 ("ANSI" or "Char", Windows).
#pragma once

#include <vexapi/core/api.h>

// Common rules:
//  1. Bytes below 128 pass unchanged; each byte of the upper half goes through a 128-byte
//     table made from the code pages' published mappings (the charset layer's tables, read
//     once at first use).
//  2. A character the target page lacks becomes '?'. AnsiToKoi and KoiToAnsi go through
//     CP866 byte by byte, so a character CP866 lacks is lost even when the target has it
//     (CP1251's copyright sign, which KOI8-R holds, comes out as '?').
//  3. A conversion reads from `src` and writes to `dst` (which may be `src`, converting in
//     place), stopping at a zero byte or after `limit` bytes. When it stopped at the zero
//     byte before the limit, `dst` is terminated there; when it reached the limit, nothing
//     is written at dst[limit]. Null `src` or `dst` converts nothing.
//  4. The result is the number of bytes converted, the terminator not counted.
//  5. Safe from any thread: the tables are built once under a lock, then only read.

VEXAPI_API int OemToKoi(const char* src, char* dst, unsigned short limit);
VEXAPI_API int KoiToOem(const char* src, char* dst, unsigned short limit);
VEXAPI_API int OemToCharA(const char* src, char* dst, unsigned short limit);
VEXAPI_API int CharToOemA(const char* src, char* dst, unsigned short limit);
VEXAPI_API int AnsiToKoi(const char* src, char* dst, unsigned short limit);
VEXAPI_API int KoiToAnsi(const char* src, char* dst, unsigned short limit);

enum CodePageConversion {
    CpOemToKoi,
    CpKoiToOem,
    CpOemToAnsi,
    CpAnsiToOem,
    CpAnsiToKoi,
    CpKoiToAnsi
};

// The conversion `how` under the rules above, with a limit of any size (the xCString
// members convert texts longer than 65535 bytes with it). A negative limit converts nothing.
VEXAPI_API int convertCodePage(CodePageConversion how, const char* src, char* dst, int limit);

// The 128-byte table of a one-step conversion (CpOemToKoi .. CpAnsiToOem): entry i is the
// byte that 128 + i becomes. Null for the two-step conversions.
VEXAPI_API const unsigned char* codePageTable(CodePageConversion how);

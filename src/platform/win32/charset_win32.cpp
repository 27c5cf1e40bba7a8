// The charset conversions' platform part on Windows: single-byte code page tables from
// MultiByteToWideChar, and the ANSI code page.
#include <vexapi/core/platform_charset.h>

#include <windows.h>

#include <cstdio>

namespace VexAPI {
namespace platform {

bool decodeTable(const CharsetInfo& charset, std::uint16_t table[256])
{
    const UINT cp = charset.codePage;
    if (!IsValidCodePage(cp))
        return false;
    for (int b = 0; b < 256; ++b) {
        const char in = static_cast<char>(b);
        WCHAR out[4];
        // MB_ERR_INVALID_CHARS makes an unassigned byte fail instead of turning into the
        // code page's default character; a few code pages refuse the flag itself.
        int n = MultiByteToWideChar(cp, MB_ERR_INVALID_CHARS, &in, 1, out, 4);
        if (n == 0 && GetLastError() == ERROR_INVALID_FLAGS)
            n = MultiByteToWideChar(cp, 0, &in, 1, out, 4);
        table[b] = n == 1 ? static_cast<std::uint16_t>(out[0]) : kUnassigned;
    }
    return true;
}

StdCharset stdCharset()
{
    // The name serves only a code page outside the library's table ("CP932").
    static thread_local char name[16];
    const UINT cp = GetACP();
    std::snprintf(name, sizeof(name), "CP%u", cp);
    return StdCharset{name, cp};
}

} // namespace platform
} // namespace VexAPI

// Conversions between the platform's 8-bit text and 16-bit text, over the charset layer.
#include "platformtext.h"

#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>
#include <vexapi/core/wtext.h>

#include <cstring>

namespace VexAPI {
namespace detail {

const char* platformCharset()
{
    const char* name = getStdCharset();
    return findCharset(name) ? name : "UTF-8";
}

WString widenPlatformText(const char* text, int n)
{
    if (!text)
        return WString();
    if (n < 0)
        n = static_cast<int>(std::strlen(text));
    // A count of 0 would mean "to the terminator" to the conversion: the empty text stops
    // here.
    if (n == 0)
        return WString();
    const char* cs = platformCharset();
    const int need = mbs2wcs(nullptr, text, cs, 0, n);
    if (need <= 0)
        return WString();
    WString out(static_cast<size_t>(need) + 1, WChar(0));
    const int got = mbs2wcs(&out[0], text, cs, need + 1, n);
    out.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return out;
}

std::string narrowPlatformText(const WChar* text, int n)
{
    if (!text)
        return std::string();
    if (n < 0)
        n = wstrlen(text);
    if (n == 0)
        return std::string();
    const char* cs = platformCharset();
    const int need = wcs2mbs(nullptr, text, cs, 0, n);
    if (need <= 0)
        return std::string();
    std::string out(static_cast<size_t>(need) + 1, '\0');
    const int got = wcs2mbs(&out[0], text, cs, need + 1, n);
    out.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return out;
}

} // namespace detail
} // namespace VexAPI

// 16-bit text from UTF-8 and back, for tests that write their texts as string literals.
#pragma once

#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>

#include <string>

namespace testtext {

inline WString W(const char* utf8)
{
    const int n = mbs2wcs(nullptr, utf8, "UTF-8", 0, 0);
    WString out(std::size_t(n) + 1, WChar(0));
    mbs2wcs(&out[0], utf8, "UTF-8", n + 1, 0);
    out.resize(std::size_t(n));
    return out;
}

inline WString W(const std::string& utf8) { return W(utf8.c_str()); }

inline std::string narrow(const WChar* w)
{
    const int n = wcs2mbs(nullptr, w, "UTF-8", 0, 0);
    std::string out(std::size_t(n) + 1, '\0');
    wcs2mbs(&out[0], w, "UTF-8", n + 1, 0);
    out.resize(std::size_t(n));
    return out;
}

inline std::string narrow(const WString& w) { return narrow(w.c_str()); }

} // namespace testtext

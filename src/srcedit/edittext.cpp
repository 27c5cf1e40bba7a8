// Small 16-bit text routines of the source editor's storage.
#include "edittext.h"

#include <cstring>

namespace CEditText {

int length(const WChar* text)
{
    if (!text)
        return 0;
    const WChar* p = text;
    while (*p)
        ++p;
    return int(p - text);
}

WChar* duplicate(const WChar* text, int n)
{
    if (!text)
        return nullptr;
    n = lengthOf(text, n);
    WChar* copy = new WChar[std::size_t(n) + 1];
    std::memcpy(copy, text, std::size_t(n) * sizeof(WChar));
    copy[n] = 0;
    return copy;
}

bool equal(const WChar* a, const WChar* b, int n)
{
    for (int i = 0; i < n; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

bool isWordSeparator(WChar c)
{
    static const char separators[] = " :;,.+-=*<>(){}[]\"'\\/|%?@&~\t\r\n";
    if (c == 0 || c > 0x7f)
        return false;
    return std::strchr(separators, char(c)) != nullptr;
}

WChar toUpper(WChar c)
{
    unsigned u = unsigned(c);
    if (u >= 'a' && u <= 'z')
        return WChar(u - 32);
    if (u < 0xb5)
        return c;
    if (u == 0xb5)
        return WChar(0x39c); // micro sign -> capital mu
    if (u >= 0xe0 && u <= 0xfe && u != 0xf7)
        return WChar(u - 32);
    if (u == 0xff)
        return WChar(0x178);
    // Latin Extended-A pairs capitals and small letters, the small letter one above; the
    // run from U+0139 to U+0148 and from U+0179 to U+017E pairs the other way round.
    if (u >= 0x100 && u <= 0x137)
        return WChar(u & ~1u);
    if ((u >= 0x139 && u <= 0x148) || (u >= 0x179 && u <= 0x17e))
        return (u & 1u) ? c : WChar(u - 1);
    if (u >= 0x14a && u <= 0x177)
        return WChar(u & ~1u);
    if (u == 0x17f)
        return WChar('S');
    // Greek: final sigma folds with sigma.
    if (u == 0x3c2)
        return WChar(0x3a3);
    if (u >= 0x3b1 && u <= 0x3cb)
        return WChar(u - 32);
    if (u == 0x3ac)
        return WChar(0x386);
    if (u >= 0x3ad && u <= 0x3af)
        return WChar(u - 37);
    if (u == 0x3cc)
        return WChar(0x38c);
    if (u == 0x3cd || u == 0x3ce)
        return WChar(u - 63);
    // Cyrillic.
    if (u >= 0x430 && u <= 0x44f)
        return WChar(u - 32);
    if (u >= 0x450 && u <= 0x45f)
        return WChar(u - 80);
    return c;
}

} // namespace CEditText

// The library's 16-bit text routines and the free text functions of the client layer.
#include <vexapi/core/wtext.h>

#include <cstring>

namespace {

const WChar kEmpty[1] = {0};

inline const WChar* orEmpty(const WChar* s) { return s ? s : kEmpty; }

// Compares at most `n` units, or without limit when `n` is negative (the public functions
// turn a negative count into 0 before they get here).
int compareUnits(const WChar* a, const WChar* b, int n, bool fold)
{
    a = orEmpty(a);
    b = orEmpty(b);
    for (int i = 0; n < 0 || i < n; ++i) {
        WChar ca = a[i], cb = b[i];
        if (fold) {
            ca = wtolower(wtoupper(ca));
            cb = wtolower(wtoupper(cb));
        }
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == 0)
            break;
    }
    return 0;
}

} // namespace

int wstrlen(const WChar* s)
{
    if (!s)
        return 0;
    const WChar* p = s;
    while (*p)
        ++p;
    return static_cast<int>(p - s);
}

WChar* wstrcpy(WChar* dst, const WChar* src)
{
    if (!dst)
        return nullptr;
    src = orEmpty(src);
    WChar* d = dst;
    while ((*d++ = *src++) != 0) {
    }
    return dst;
}

WChar* wstrncpy(WChar* dst, const WChar* src, int n)
{
    if (!dst)
        return nullptr;
    src = orEmpty(src);
    int i = 0;
    for (; i < n && src[i]; ++i)
        dst[i] = src[i];
    for (; i < n; ++i)
        dst[i] = 0;
    return dst;
}

int wstrlcpy(WChar* dst, const WChar* src, int size)
{
    const int len = wstrlen(src);
    if (!dst || size <= 0)
        return len;
    const int n = len < size - 1 ? len : size - 1;
    if (n > 0)
        std::memmove(dst, src, static_cast<size_t>(n) * sizeof(WChar));
    dst[n] = 0;
    return len;
}

WChar* wstrcat(WChar* dst, const WChar* src)
{
    if (!dst)
        return nullptr;
    wstrcpy(dst + wstrlen(dst), src);
    return dst;
}

WChar* wstrncat(WChar* dst, const WChar* src, int n)
{
    if (!dst)
        return nullptr;
    src = orEmpty(src);
    WChar* d = dst + wstrlen(dst);
    for (int i = 0; i < n && src[i]; ++i)
        *d++ = src[i];
    *d = 0;
    return dst;
}

int wstrcmp(const WChar* a, const WChar* b)
{
    return compareUnits(a, b, -1, false);
}

int wstrncmp(const WChar* a, const WChar* b, int n)
{
    return n <= 0 ? 0 : compareUnits(a, b, n, false);
}

int wstricmp(const WChar* a, const WChar* b)
{
    return compareUnits(a, b, -1, true);
}

int wstrnicmp(const WChar* a, const WChar* b, int n)
{
    return n <= 0 ? 0 : compareUnits(a, b, n, true);
}

const WChar* wstrchr(const WChar* s, WChar c)
{
    if (!s)
        return nullptr;
    for (;; ++s) {
        if (*s == c)
            return s;
        if (*s == 0)
            return nullptr;
    }
}

const WChar* wstrrchr(const WChar* s, WChar c)
{
    if (!s)
        return nullptr;
    const WChar* found = nullptr;
    for (;; ++s) {
        if (*s == c)
            found = s;
        if (*s == 0)
            return found;
    }
}

const WChar* wstrstr(const WChar* s, const WChar* needle)
{
    if (!s)
        return nullptr;
    if (!needle || !*needle)
        return s;
    for (; *s; ++s) {
        if (*s != *needle)
            continue;
        int i = 1;
        while (needle[i] && s[i] == needle[i])
            ++i;
        if (!needle[i])
            return s;
    }
    return nullptr;
}

WChar* wstrdup(const WChar* s)
{
    if (!s)
        return nullptr;
    const int len = wstrlen(s);
    WChar* copy = new WChar[static_cast<size_t>(len) + 1];
    std::memcpy(copy, s, (static_cast<size_t>(len) + 1) * sizeof(WChar));
    return copy;
}

// Case pairs come in three layouts: a block shifted by a constant (ASCII, Latin-1, basic
// Greek and Cyrillic), alternating pairs where the upper-case letter sits on an even or on
// an odd code (Latin Extended-A, the Cyrillic extensions), and a few single exceptions.
WChar wtoupper(WChar ch)
{
    const unsigned c = ch;
    if (c < 0x80)
        return (c >= 'a' && c <= 'z') ? WChar(c - 0x20) : ch;
    if (c < 0x100) {
        if (c >= 0xE0 && c <= 0xFE && c != 0xF7)
            return WChar(c - 0x20);
        return c == 0xFF ? WChar(0x178) : ch;
    }
    if (c < 0x180) {
        const bool odd = c & 1;
        if ((c <= 0x12F || (c >= 0x132 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) && odd)
            return WChar(c - 1);
        if (((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) && !odd)
            return WChar(c - 1);
        return ch;
    }
    if (c >= 0x3AC && c <= 0x3CE) {
        if (c == 0x3AC)
            return WChar(0x386);
        if (c <= 0x3AF)
            return WChar(c - 0x25);
        if (c == 0x3C2) // final sigma
            return WChar(0x3A3);
        if (c >= 0x3B1 && c <= 0x3CB)
            return WChar(c - 0x20);
        if (c == 0x3CC)
            return WChar(0x38C);
        if (c >= 0x3CD)
            return WChar(c - 0x3F);
        return ch;
    }
    if (c >= 0x430 && c <= 0x52F) {
        if (c <= 0x44F)
            return WChar(c - 0x20);
        if (c <= 0x45F)
            return WChar(c - 0x50);
        const bool odd = c & 1;
        if (((c >= 0x460 && c <= 0x481) || (c >= 0x48A && c <= 0x4BF) || c >= 0x4D0) && odd)
            return WChar(c - 1);
        if (c >= 0x4C1 && c <= 0x4CE && !odd)
            return WChar(c - 1);
        if (c == 0x4CF)
            return WChar(0x4C0);
    }
    return ch;
}

WChar wtolower(WChar ch)
{
    const unsigned c = ch;
    if (c < 0x80)
        return (c >= 'A' && c <= 'Z') ? WChar(c + 0x20) : ch;
    if (c < 0x100)
        return (c >= 0xC0 && c <= 0xDE && c != 0xD7) ? WChar(c + 0x20) : ch;
    if (c < 0x180) {
        const bool odd = c & 1;
        if ((c <= 0x12F || (c >= 0x132 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) && !odd)
            return WChar(c + 1);
        if (((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) && odd)
            return WChar(c + 1);
        return c == 0x178 ? WChar(0xFF) : ch;
    }
    if (c >= 0x386 && c <= 0x3AB) {
        if (c == 0x386)
            return WChar(0x3AC);
        if (c >= 0x388 && c <= 0x38A)
            return WChar(c + 0x25);
        if (c == 0x38C)
            return WChar(0x3CC);
        if (c == 0x38E || c == 0x38F)
            return WChar(c + 0x3F);
        if (c >= 0x391 && c != 0x3A2)
            return WChar(c + 0x20);
        return ch;
    }
    if (c >= 0x400 && c <= 0x52F) {
        if (c <= 0x40F)
            return WChar(c + 0x50);
        if (c <= 0x42F)
            return WChar(c + 0x20);
        const bool odd = c & 1;
        if (((c >= 0x460 && c <= 0x481) || (c >= 0x48A && c <= 0x4BF) || c >= 0x4D0) && !odd)
            return WChar(c + 1);
        if (c >= 0x4C1 && c <= 0x4CE && odd)
            return WChar(c + 1);
        if (c == 0x4C0)
            return WChar(0x4CF);
    }
    return ch;
}

bool wisspace(WChar c)
{
    return c == 0x20 || (c >= 0x09 && c <= 0x0D) || c == 0xA0;
}

WChar* assignString(WChar*& target, const WChar* source)
{
    // Copy before freeing: `source` may point into the string being replaced.
    WChar* copy = wstrdup(source);
    delete[] target;
    target = copy;
    return target;
}

WChar* str2upper(WChar* s)
{
    if (s)
        for (WChar* p = s; *p; ++p)
            *p = wtoupper(*p);
    return s;
}

WChar* str2lower(WChar* s)
{
    if (s)
        for (WChar* p = s; *p; ++p)
            *p = wtolower(*p);
    return s;
}

bool streq_nocase(const WChar* a, const WChar* b)
{
    return wstricmp(a, b) == 0;
}

WChar* LTrim(WChar* s, WChar ch)
{
    if (!s || ch == 0)
        return s;
    int skip = 0;
    while (s[skip] == ch)
        ++skip;
    if (skip > 0) {
        const int rest = wstrlen(s + skip);
        std::memmove(s, s + skip, (static_cast<size_t>(rest) + 1) * sizeof(WChar));
    }
    return s;
}

WChar* RTrim(WChar* s, WChar ch)
{
    if (!s || ch == 0)
        return s;
    int len = wstrlen(s);
    while (len > 0 && s[len - 1] == ch)
        --len;
    s[len] = 0;
    return s;
}

WChar* Trim(WChar* s, WChar ch)
{
    // Right first, so that LTrim moves no more than the kept text.
    return LTrim(RTrim(s, ch), ch);
}

WChar* removeSlash(WChar* dst, const WChar* src)
{
    if (!dst)
        return nullptr;
    src = orEmpty(src);
    // Writing never overtakes reading, so `dst == src` works in place.
    WChar* d = dst;
    while (*src) {
        if (*src == '\\' && src[1] != 0)
            ++src;
        *d++ = *src++;
    }
    *d = 0;
    return dst;
}

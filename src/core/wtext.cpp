// The library's 16-bit text routines and the free text functions of the client layer.
#include <vexapi/core/wtext.h>

#include <algorithm>
#include <cstddef>
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

// A run of units that map by one delta: every unit from `first` to `last`, or every other
// one (stride 2) where capitals and small letters alternate, as in Latin Extended-A.
struct CaseRun {
    unsigned short first;
    unsigned short last;
    int delta;
    unsigned char stride;
};

#include "casetable.inc"

// The runs are sorted and disjoint: the one that can hold `c` is the last that starts at or
// before it.
template <std::size_t N>
WChar mapCase(const CaseRun (&runs)[N], WChar c)
{
    const unsigned u = c;
    const CaseRun* run = std::upper_bound(runs, runs + N, u,
                                          [](unsigned v, const CaseRun& r) { return v < r.first; });
    if (run == runs)
        return c;
    --run;
    if (u > run->last || (u - run->first) % run->stride != 0)
        return c;
    return WChar(int(u) + run->delta);
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

int wstrnlen(const WChar* s, int max)
{
    int n = 0;
    if (s)
        while (n < max && s[n])
            ++n;
    return n;
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

WChar wtoupper(WChar c)
{
    return mapCase(kUpperRuns, c);
}

WChar wtolower(WChar c)
{
    return mapCase(kLowerRuns, c);
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

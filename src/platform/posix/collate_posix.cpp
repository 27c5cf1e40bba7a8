// Text collation on POSIX: strcoll for 8-bit text, and wcscoll on 16-bit text widened to
// the 32-bit wchar_t of the C library.
#include <vexapi/datasource/platform_collate.h>

#include <cstring>
#include <cwchar>
#include <memory>

namespace VexAPI {
namespace platform {

namespace {

// Decodes UTF-16 into `out` (room for len + 1): a surrogate pair becomes one character,
// a lone surrogate stays as it is.
void widen(const WChar* s, int len, wchar_t* out)
{
    int n = 0;
    for (int i = 0; i < len; ++i) {
        const unsigned c = s[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < len && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
            out[n++] = wchar_t(0x10000 + ((c - 0xD800) << 10) + (unsigned(s[i + 1]) - 0xDC00));
            ++i;
        } else {
            out[n++] = wchar_t(c);
        }
    }
    out[n] = 0;
}

} // namespace

int collateChar(const char* a, int, const char* b, int)
{
    return std::strcoll(a, b);
}

int collateText(const WChar* a, int aLen, const WChar* b, int bLen)
{
    // Short texts, the usual case, need no allocation.
    const int kStack = 128;
    wchar_t stackA[kStack + 1];
    wchar_t stackB[kStack + 1];
    std::unique_ptr<wchar_t[]> heapA, heapB;
    wchar_t* wa = stackA;
    wchar_t* wb = stackB;
    if (aLen > kStack) {
        heapA.reset(new wchar_t[std::size_t(aLen) + 1]);
        wa = heapA.get();
    }
    if (bLen > kStack) {
        heapB.reset(new wchar_t[std::size_t(bLen) + 1]);
        wb = heapB.get();
    }
    widen(a, aLen, wa);
    widen(b, bLen, wb);
    return std::wcscoll(wa, wb);
}

} // namespace platform
} // namespace VexAPI

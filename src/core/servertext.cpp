// Text conversions of the server's formats: 8-bit CHAR text widened as Latin-1, and 16-bit
// RCHAR text, possibly byte-swapped.
#include <vexapi/core/servertext.h>

#include <vexapi/core/wtext.h>

#include <cstring>

namespace {

int copyUnits(WChar* dst, const WChar* src, int n, bool swapped)
{
    if (!dst || !src)
        return 0;
    const bool terminated = n < 0;
    const int count = terminated ? wstrlen(src) : n;
    // Unit by unit in rising order: each unit is read before its own place is written, so
    // dst == src works.
    for (int i = 0; i < count; ++i) {
        const unsigned u = src[i];
        dst[i] = swapped ? WChar(((u & 0xFF) << 8) | (u >> 8)) : WChar(u);
    }
    if (terminated)
        dst[count] = 0;
    return count;
}

} // namespace

int CharToUnicode(WChar* dst, const char* src, int n)
{
    if (!dst || !src)
        return 0;
    const bool terminated = n < 0;
    const int count = terminated ? static_cast<int>(std::strlen(src)) : n;
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(src);
    // From the end down: unit i covers bytes 2i and 2i+1 of the buffer, at or after byte i,
    // so a source at the start of the destination is read before it is overwritten.
    if (terminated)
        dst[count] = 0;
    for (int i = count - 1; i >= 0; --i)
        dst[i] = WChar(bytes[i]);
    return count;
}

int RCHARToUnicode(WChar* dst, const WChar* src, int n, bool swapped)
{
    return copyUnits(dst, src, n, swapped);
}

int UnicodeToRCHAR(WChar* dst, const WChar* src, int n, bool swapped)
{
    return copyUnits(dst, src, n, swapped);
}

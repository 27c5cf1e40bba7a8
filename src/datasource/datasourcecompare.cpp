// compare(): the three-way comparison of two values of one type, with locale collation for
// text; and the code point order that breaks collation ties.
#include "platform_collate.h"
#include <vexapi/datasource/dsdefs.h>

#include <vexapi/core/wtext.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include "rawvalue.h"

#include <cstring>

using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace DataSourceAPI {

namespace detail {

// Code point order of two UTF-16 texts (a surrogate pair sorts after every BMP unit), the
// order the "C" locale gives on both platforms.
int codePointCompare(const WChar* a, int aLen, const WChar* b, int bLen)
{
    // In UTF-16 a surrogate (D800-DFFF) stands below E000-FFFF although the character it
    // starts lies above them: lift the units from E000 down by 0x800 and the surrogates up
    // by 0x2000, and unit order becomes code point order.
    const int n = aLen < bLen ? aLen : bLen;
    for (int i = 0; i < n; ++i) {
        unsigned x = a[i], y = b[i];
        if (x == y)
            continue;
        x = x >= 0xE000 ? x - 0x800 : x >= 0xD800 ? x + 0x2000 : x;
        y = y >= 0xE000 ? y - 0x800 : y >= 0xD800 ? y + 0x2000 : y;
        return x < y ? -1 : 1;
    }
    return aLen < bLen ? -1 : aLen > bLen ? 1 : 0;
}

} // namespace detail

namespace {

using detail::load;

// -1, 0 or 1 by plain comparison: unordered values (a NaN) count as different.
template <class T>
int plain(T a, T b)
{
    return a < b ? -1 : a == b ? 0 : 1;
}

int sign(int r)
{
    return r < 0 ? -1 : r > 0 ? 1 : 0;
}

} // namespace

int compare(const void* a, int aLen, const void* b, int bLen, Type type)
{
    switch (type) {
    case tInt: return plain(load<VLong>(a), load<VLong>(b));
    case tSmall: return plain(load<short>(a), load<short>(b));
    case tReal: return plain(load<float>(a), load<float>(b));
    case tDouble: return plain(load<double>(a), load<double>(b));
    case tDec: {
        const OrvDec x = load<OrvDec>(a), y = load<OrvDec>(b);
        return x < y ? -1 : x == y ? 0 : 1;
    }
    case tDate: {
        const OrvDate x = load<OrvDate>(a), y = load<OrvDate>(b);
        return x < y ? -1 : x == y ? 0 : 1;
    }
    case tChar: {
        const char* x = static_cast<const char*>(a);
        const char* y = static_cast<const char*>(b);
        const int r = VexAPI::platform::collateChar(x, int(std::strlen(x)), y, int(std::strlen(y)));
        // Texts the locale finds equal are still two texts: order them by their bytes, so
        // that 0 means identical and a change is never mistaken for none.
        return r != 0 ? sign(r) : sign(std::strcmp(x, y));
    }
    case tText: {
        const WChar* x = static_cast<const WChar*>(a);
        const WChar* y = static_cast<const WChar*>(b);
        const int xl = wstrlen(x), yl = wstrlen(y);
        const int r = VexAPI::platform::collateText(x, xl, y, yl);
        return r != 0 ? sign(r) : detail::codePointCompare(x, xl, y, yl);
    }
    case tByte: {
        const int n = aLen < bLen ? aLen : bLen;
        const int r = n > 0 ? std::memcmp(a, b, std::size_t(n)) : 0;
        if (r != 0)
            return sign(r);
        return aLen < bLen ? -1 : aLen > bLen ? 1 : 0;
    }
    default:
        // Blobs, objects and unknown codes are never different.
        return 0;
    }
}

} // namespace DataSourceAPI

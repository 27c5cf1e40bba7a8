// The charset table and the conversions wcs2mbs, mbs2wcs, mbs2mbs, getStdCharset: the
// contract (limits, termination, replacement) and the Unicode encodings live here; a
// single-byte code page's byte table comes from the platform folder.
#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>

#include "platform_charset.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>

using VexAPI::platform::kUnassigned;

namespace {

const std::uint32_t kReplacement = 0xFFFD;

// A byte whose platform mapping the library overrides, so that both builds agree.
struct Fixup {
    unsigned char byte;
    std::uint16_t unit;
};

struct Entry {
    CharsetInfo info;
    // The code page leaves some of 0x80-0x9F unassigned, and Windows decodes those bytes
    // to the C1 control of the same number; iconv rejects them. In such a page a byte that
    // decodes to "itself" is unassigned. (In ISO-8859-x the C1 controls are assigned.)
    bool c1Unassigned;
    const Fixup* fixups;
    int fixupCount;
};

// RFC 2319 box drawing; Windows' 21866 has U+045E and U+040E here.
const Fixup kKoi8uFixups[] = {{0xAE, 0x255D}, {0xBE, 0x256C}};
// Windows' table has the point holam haser for vav; glibc's leaves the byte unassigned.
const Fixup kCp1255Fixups[] = {{0xCA, 0x05BA}};

#define VEX_SB(name, aliases, iconvName, cp, c1) \
    {{name, aliases, iconvName, cp, CharsetSingleByte}, c1, nullptr, 0}
#define VEX_SB_FIX(name, aliases, iconvName, cp, c1, fixups) \
    {{name, aliases, iconvName, cp, CharsetSingleByte}, c1, fixups, \
     static_cast<int>(sizeof(fixups) / sizeof(fixups[0]))}

const Entry kTable[] = {
    {{"UTF-8", "UTF8|CP65001", "UTF-8", 65001, CharsetUtf8}, false, nullptr, 0},
    {{"UTF-16LE", "UTF16LE", "UTF-16LE", 1200, CharsetUtf16LE}, false, nullptr, 0},
    {{"UTF-16BE", "UTF16BE", "UTF-16BE", 1201, CharsetUtf16BE}, false, nullptr, 0},
    {{"US-ASCII", "ASCII|ANSI_X3.4-1968|ANSI_X3.4-1986|ISO646-US|US|CP20127", "US-ASCII",
      20127, CharsetAscii}, false, nullptr, 0},
    {{"ISO-8859-1", "ISO8859-1|ISO_8859-1|LATIN1|L1|CP28591", "ISO-8859-1", 28591,
      CharsetLatin1}, false, nullptr, 0},
    VEX_SB("ISO-8859-2", "ISO8859-2|ISO_8859-2|LATIN2|L2|CP28592", "ISO-8859-2", 28592, false),
    VEX_SB("ISO-8859-5", "ISO8859-5|ISO_8859-5|CYRILLIC|CP28595", "ISO-8859-5", 28595, false),
    VEX_SB("ISO-8859-15", "ISO8859-15|ISO_8859-15|LATIN-9|LATIN9|CP28605", "ISO-8859-15",
           28605, false),
    VEX_SB("CP1250", "WINDOWS-1250", "CP1250", 1250, true),
    VEX_SB("CP1251", "WINDOWS-1251", "CP1251", 1251, true),
    VEX_SB("CP1252", "WINDOWS-1252", "CP1252", 1252, true),
    VEX_SB("CP1253", "WINDOWS-1253", "CP1253", 1253, true),
    VEX_SB("CP1254", "WINDOWS-1254", "CP1254", 1254, true),
    VEX_SB_FIX("CP1255", "WINDOWS-1255", "CP1255", 1255, true, kCp1255Fixups),
    VEX_SB("CP1256", "WINDOWS-1256", "CP1256", 1256, true),
    VEX_SB("CP1257", "WINDOWS-1257", "CP1257", 1257, true),
    VEX_SB("CP1258", "WINDOWS-1258", "CP1258", 1258, true),
    VEX_SB("CP874", "WINDOWS-874", "CP874", 874, true),
    VEX_SB("CP866", "IBM866|866", "CP866", 866, false),
    VEX_SB("CP437", "IBM437|437", "CP437", 437, false),
    VEX_SB("CP850", "IBM850|850", "CP850", 850, false),
    VEX_SB("CP855", "IBM855|855", "CP855", 855, false),
    VEX_SB("KOI8-R", "KOI8R|CP20866", "KOI8-R", 20866, false),
    VEX_SB_FIX("KOI8-U", "KOI8U|CP21866", "KOI8-U", 21866, false, kKoi8uFixups),
};

#undef VEX_SB
#undef VEX_SB_FIX

const int kTableSize = static_cast<int>(sizeof(kTable) / sizeof(kTable[0]));

// ---- Single-byte code pages ----

// The decode table of one code page and its inverse, sorted by unit for binary search.
struct SingleByteTable {
    bool ok = false;
    std::uint16_t decode[256];
    struct Pair {
        std::uint16_t unit;
        unsigned char byte;
    };
    Pair encode[256];
    int encodeCount = 0;
};

SingleByteTable g_tables[kTableSize];
std::once_flag g_tableOnce[kTableSize];

void buildTable(const Entry& entry, SingleByteTable& t)
{
    if (!VexAPI::platform::decodeTable(entry.info, t.decode))
        return;
    for (int b = 0; b < 256; ++b) {
        std::uint16_t& u = t.decode[b];
        // A code page in the table assigns no private-use characters: Windows decodes some
        // unassigned bytes to them (CP1253 0xAA, CP1257 0xA1) where iconv rejects the byte.
        if (u >= 0xE000 && u <= 0xF8FF)
            u = kUnassigned;
        if (entry.c1Unassigned && b >= 0x80 && b <= 0x9F && u == b)
            u = kUnassigned;
        if (u == kReplacement)
            u = kUnassigned;
    }
    for (int i = 0; i < entry.fixupCount; ++i)
        t.decode[entry.fixups[i].byte] = entry.fixups[i].unit;

    // The inverse keeps the lowest byte of a unit that two bytes decode to.
    for (int b = 0; b < 256; ++b) {
        if (t.decode[b] == kUnassigned)
            continue;
        t.encode[t.encodeCount].unit = t.decode[b];
        t.encode[t.encodeCount].byte = static_cast<unsigned char>(b);
        ++t.encodeCount;
    }
    std::stable_sort(t.encode, t.encode + t.encodeCount,
                     [](const SingleByteTable::Pair& a, const SingleByteTable::Pair& b) {
                         return a.unit < b.unit;
                     });
    t.ok = true;
}

// ---- Names ----

bool sameName(const char* a, const char* b, size_t bLen)
{
    for (size_t i = 0; i < bLen; ++i) {
        char ca = a[i], cb = b[i];
        if (ca == 0)
            return false;
        if (ca >= 'a' && ca <= 'z')
            ca = char(ca - 32);
        if (cb >= 'a' && cb <= 'z')
            cb = char(cb - 32);
        if (ca != cb)
            return false;
    }
    return a[bLen] == 0;
}

int findIndex(const char* name)
{
    if (!name)
        return -1;
    for (int i = 0; i < kTableSize; ++i) {
        const CharsetInfo& info = kTable[i].info;
        if (sameName(name, info.name, std::strlen(info.name)))
            return i;
        for (const char* p = info.aliases; *p;) {
            const char* bar = std::strchr(p, '|');
            const size_t len = bar ? size_t(bar - p) : std::strlen(p);
            if (len > 0 && sameName(name, p, len))
                return i;
            p += len + (bar ? 1 : 0);
        }
    }
    return -1;
}

// A charset ready for conversion: its entry and, for a code page, its table.
struct Codec {
    CharsetKind kind;
    const SingleByteTable* table;
};

bool resolve(const char* name, Codec& codec)
{
    const int i = findIndex(name);
    if (i < 0)
        return false;
    codec.kind = kTable[i].info.kind;
    codec.table = nullptr;
    if (codec.kind == CharsetSingleByte) {
        std::call_once(g_tableOnce[i], [i] { buildTable(kTable[i], g_tables[i]); });
        if (!g_tables[i].ok)
            return false;
        codec.table = &g_tables[i];
    }
    return true;
}

// ---- Reading code points ----

const size_t kToTerminator = SIZE_MAX;

bool isHigh(std::uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLow(std::uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Reads 16-bit text as UTF-16. Ends at `count` units or at a zero unit.
struct WCharReader {
    const WChar* s;
    size_t count;
    size_t pos = 0;

    bool next(std::uint32_t& cp)
    {
        if (pos >= count || s[pos] == 0)
            return false;
        const std::uint32_t u = s[pos++];
        if (isHigh(u) && pos < count && isLow(s[pos])) {
            cp = 0x10000 + ((u - 0xD800) << 10) + (std::uint32_t(s[pos]) - 0xDC00);
            ++pos;
        } else {
            cp = (isHigh(u) || isLow(u)) ? kReplacement : u;
        }
        return true;
    }
};

// One UTF-8 character at `s`, `avail` bytes readable. Ill-formed input gives U+FFFD for
// each maximal ill-formed part (Unicode's "maximal subpart" practice): the lead byte and
// the continuation bytes that were valid so far. A zero byte is never a valid continuation,
// so a terminated text is never read past its terminator.
std::uint32_t decodeUtf8(const unsigned char* s, size_t avail, size_t& used)
{
    const unsigned b0 = s[0];
    used = 1;
    if (b0 < 0x80)
        return b0;
    int need;
    std::uint32_t cp;
    unsigned lo = 0x80, hi = 0xBF;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        need = 1;
        cp = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        cp = b0 & 0x0F;
        if (b0 == 0xE0)
            lo = 0xA0; // no overlong forms
        else if (b0 == 0xED)
            hi = 0x9F; // no surrogates
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        cp = b0 & 0x07;
        if (b0 == 0xF0)
            lo = 0x90; // no overlong forms
        else if (b0 == 0xF4)
            hi = 0x8F; // nothing past U+10FFFF
    } else {
        return kReplacement;
    }
    for (int i = 1; i <= need; ++i) {
        if (size_t(i) >= avail || s[i] < lo || s[i] > hi) {
            used = size_t(i);
            return kReplacement;
        }
        cp = (cp << 6) | (s[i] & 0x3F);
        lo = 0x80;
        hi = 0xBF;
    }
    used = size_t(need) + 1;
    return cp;
}

// Reads a byte string in a charset. Ends at `count` bytes or at a zero unit.
struct ByteReader {
    const unsigned char* s;
    size_t count;
    Codec codec;
    size_t pos = 0;

    std::uint32_t unit16(size_t at) const
    {
        return codec.kind == CharsetUtf16LE ? (s[at] | (std::uint32_t(s[at + 1]) << 8))
                                            : ((std::uint32_t(s[at]) << 8) | s[at + 1]);
    }

    bool next(std::uint32_t& cp)
    {
        if (pos >= count)
            return false;
        if (codec.kind == CharsetUtf16LE || codec.kind == CharsetUtf16BE)
            return next16(cp);
        const unsigned b = s[pos];
        if (b == 0)
            return false;
        switch (codec.kind) {
        case CharsetUtf8: {
            size_t used;
            cp = decodeUtf8(s + pos, count - pos, used);
            pos += used;
            return true;
        }
        case CharsetAscii:
            cp = b < 0x80 ? b : kReplacement;
            break;
        case CharsetLatin1:
            cp = b;
            break;
        default: {
            const std::uint16_t u = codec.table->decode[b];
            cp = u == kUnassigned ? kReplacement : u;
            break;
        }
        }
        ++pos;
        return true;
    }

    bool next16(std::uint32_t& cp)
    {
        if (count - pos < 2) {
            // An odd last byte of a counted text: half a unit.
            if (s[pos] == 0)
                return false;
            ++pos;
            cp = kReplacement;
            return true;
        }
        const std::uint32_t u = unit16(pos);
        if (u == 0)
            return false;
        pos += 2;
        if (isHigh(u) && count - pos >= 2 && isLow(unit16(pos))) {
            cp = 0x10000 + ((u - 0xD800) << 10) + (unit16(pos) - 0xDC00);
            pos += 2;
        } else {
            cp = (isHigh(u) || isLow(u)) ? kReplacement : u;
        }
        return true;
    }
};

// ---- Writing code points ----

int encodeUtf16(std::uint32_t cp, WChar* out)
{
    if (cp < 0x10000) {
        out[0] = WChar(cp);
        return 1;
    }
    cp -= 0x10000;
    out[0] = WChar(0xD800 + (cp >> 10));
    out[1] = WChar(0xDC00 + (cp & 0x3FF));
    return 2;
}

int encodeUtf8(std::uint32_t cp, char* out)
{
    if (cp < 0x80) {
        out[0] = char(cp);
        return 1;
    }
    if (cp < 0x800) {
        out[0] = char(0xC0 | (cp >> 6));
        out[1] = char(0x80 | (cp & 0x3F));
        return 2;
    }
    if (cp < 0x10000) {
        out[0] = char(0xE0 | (cp >> 12));
        out[1] = char(0x80 | ((cp >> 6) & 0x3F));
        out[2] = char(0x80 | (cp & 0x3F));
        return 3;
    }
    out[0] = char(0xF0 | (cp >> 18));
    out[1] = char(0x80 | ((cp >> 12) & 0x3F));
    out[2] = char(0x80 | ((cp >> 6) & 0x3F));
    out[3] = char(0x80 | (cp & 0x3F));
    return 4;
}

unsigned char encodeSingleByte(const SingleByteTable& t, std::uint32_t cp)
{
    if (cp < 0x10000) {
        const SingleByteTable::Pair* end = t.encode + t.encodeCount;
        const SingleByteTable::Pair* p =
            std::lower_bound(t.encode, end, cp, [](const SingleByteTable::Pair& a, std::uint32_t v) {
                return a.unit < v;
            });
        if (p != end && p->unit == cp)
            return p->byte;
    }
    return '?';
}

// The bytes of one code point in `codec`; at most 4.
int encodeBytes(const Codec& codec, std::uint32_t cp, char* out)
{
    switch (codec.kind) {
    case CharsetUtf8:
        return encodeUtf8(cp, out);
    case CharsetUtf16LE:
    case CharsetUtf16BE: {
        WChar units[2];
        const int n = encodeUtf16(cp, units);
        for (int i = 0; i < n; ++i) {
            const unsigned u = units[i];
            const bool le = codec.kind == CharsetUtf16LE;
            out[2 * i] = char(le ? (u & 0xFF) : (u >> 8));
            out[2 * i + 1] = char(le ? (u >> 8) : (u & 0xFF));
        }
        return 2 * n;
    }
    case CharsetAscii:
        out[0] = cp < 0x80 ? char(cp) : '?';
        return 1;
    case CharsetLatin1:
        out[0] = cp < 0x100 ? char(cp) : '?';
        return 1;
    default:
        out[0] = char(encodeSingleByte(*codec.table, cp));
        return 1;
    }
}

int terminatorUnits(const Codec& codec)
{
    return (codec.kind == CharsetUtf16LE || codec.kind == CharsetUtf16BE) ? 2 : 1;
}

// Collects whole characters into `dst` (or only counts them when `dst` is null) and
// terminates. T is WChar or char.
template <class T>
struct Writer {
    T* dst;
    int dstLen;
    int terminator; // units of the terminator
    size_t n = 0;
    bool full = false;

    // Takes the `k` units of one character, or refuses them all if they do not fit.
    bool put(const T* units, int k)
    {
        if (dst) {
            const size_t room = dstLen > terminator ? size_t(dstLen - terminator) : 0;
            if (n + size_t(k) > room)
                return false;
            std::memcpy(dst + n, units, size_t(k) * sizeof(T));
        }
        n += size_t(k);
        return true;
    }

    int finish()
    {
        if (dst)
            for (size_t i = n; i < n + size_t(terminator) && i < size_t(dstLen); ++i)
                dst[i] = 0;
        return n > size_t(INT32_MAX) ? INT32_MAX : int(n);
    }
};

size_t sourceCount(int srcLen)
{
    return srcLen > 0 ? size_t(srcLen) : kToTerminator;
}

// The common refusal: -1, with `dst` holding the empty text where it has room.
template <class T>
int refuse(T* dst, int dstLen, int terminator)
{
    if (dst)
        for (int i = 0; i < terminator && i < dstLen; ++i)
            dst[i] = 0;
    return -1;
}

template <class Reader, class T, class Encode>
int run(Reader& reader, Writer<T>& writer, Encode encode)
{
    std::uint32_t cp;
    T units[4];
    while (reader.next(cp)) {
        if (!writer.put(units, encode(cp, units)))
            break;
    }
    return writer.finish();
}

} // namespace

int charsetCount()
{
    return kTableSize;
}

const CharsetInfo* charsetAt(int i)
{
    return (i >= 0 && i < kTableSize) ? &kTable[i].info : nullptr;
}

const CharsetInfo* findCharset(const char* name)
{
    const int i = findIndex(name);
    return i < 0 ? nullptr : &kTable[i].info;
}

int wcs2mbs(char* dst, const WChar* src, const char* charset, int dstLen, int srcLen)
{
    Codec to;
    if (!resolve(charset, to))
        return refuse(dst, dstLen, 1);
    const int terminator = terminatorUnits(to);
    if (dst && dstLen < 0)
        return -1;
    static const WChar empty[1] = {0};
    WCharReader reader{src ? src : empty, sourceCount(srcLen)};
    Writer<char> writer{dst, dstLen, terminator};
    return run(reader, writer, [&to](std::uint32_t cp, char* out) { return encodeBytes(to, cp, out); });
}

int mbs2wcs(WChar* dst, const char* src, const char* charset, int dstLen, int srcLen)
{
    Codec from;
    if (!resolve(charset, from))
        return refuse(dst, dstLen, 1);
    if (dst && dstLen < 0)
        return -1;
    static const unsigned char empty[2] = {0, 0};
    ByteReader reader{src ? reinterpret_cast<const unsigned char*>(src) : empty,
                      sourceCount(srcLen), from};
    Writer<WChar> writer{dst, dstLen, 1};
    return run(reader, writer, [](std::uint32_t cp, WChar* out) { return encodeUtf16(cp, out); });
}

int mbs2mbs(char* dst, const char* src, const char* fromCharset, const char* toCharset,
            int dstLen, int srcLen)
{
    Codec from, to;
    if (!resolve(toCharset, to))
        return refuse(dst, dstLen, 1);
    if (!resolve(fromCharset, from))
        return refuse(dst, dstLen, terminatorUnits(to));
    if (dst && dstLen < 0)
        return -1;
    static const unsigned char empty[2] = {0, 0};
    ByteReader reader{src ? reinterpret_cast<const unsigned char*>(src) : empty,
                      sourceCount(srcLen), from};
    Writer<char> writer{dst, dstLen, terminatorUnits(to)};
    return run(reader, writer, [&to](std::uint32_t cp, char* out) { return encodeBytes(to, cp, out); });
}

const char* getStdCharset()
{
    const VexAPI::platform::StdCharset platform = VexAPI::platform::stdCharset();
    if (platform.codePage) {
        for (int i = 0; i < kTableSize; ++i)
            if (kTable[i].info.codePage == platform.codePage)
                return kTable[i].info.name;
    }
    if (platform.name) {
        const int i = findIndex(platform.name);
        return i >= 0 ? kTable[i].info.name : platform.name;
    }
    return kTable[0].info.name;
}

std::string utf8FromWide(const WChar* text, int n)
{
    const int need = wcs2mbs(nullptr, text, "UTF-8", 0, n);
    if (need <= 0)
        return std::string();
    std::string out(std::size_t(need) + 1, '\0');
    out.resize(std::size_t(wcs2mbs(&out[0], text, "UTF-8", need + 1, n)));
    return out;
}

WString wideFromUtf8(const char* text, int n)
{
    const int need = mbs2wcs(nullptr, text, "UTF-8", 0, n);
    if (need <= 0)
        return WString();
    WString out(std::size_t(need) + 1, WChar(0));
    out.resize(std::size_t(mbs2wcs(&out[0], text, "UTF-8", need + 1, n)));
    return out;
}

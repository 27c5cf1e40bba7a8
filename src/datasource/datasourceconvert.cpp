// The conversion matrix: every pair of value types, with the text forms of numbers,
// decimals and dates, hexadecimal bytes, and the code-page routes between text and blobs.
#include <vexapi/datasource/dsdefs.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/wtext.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include "rawvalue.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>
#include <string>

using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace DataSourceAPI {

namespace {

const char kHexDigits[] = "0123456789ABCDEF";

// ---- Reading sources ----

using detail::load;
using detail::store;

// A numeric source as one of three kinds, so each destination handles three cases.
struct Number {
    enum Kind { Integer, Floating, Decimal } kind;
    std::int64_t i;
    double d;
    OrvDec dec;
};

bool loadNumber(const void* src, Type type, Number& n)
{
    switch (type) {
    case tInt: n.kind = Number::Integer; n.i = load<VLong>(src); return true;
    case tSmall: n.kind = Number::Integer; n.i = load<short>(src); return true;
    case tReal: n.kind = Number::Floating; n.d = load<float>(src); return true;
    case tDouble: n.kind = Number::Floating; n.d = load<double>(src); return true;
    case tDec: n.kind = Number::Decimal; n.dec = load<OrvDec>(src); return true;
    default: return false;
    }
}

// The number as a double; false for a decimal that holds no number.
bool asDouble(const Number& n, double& d)
{
    switch (n.kind) {
    case Number::Integer: d = double(n.i); return true;
    case Number::Floating: d = n.d; return true;
    case Number::Decimal:
        if (!n.dec.isValid())
            return false;
        d = double(n.dec);
        return true;
    }
    return false;
}

// Truncation toward zero into [lo, hi]; false for a NaN or a value outside (the C++
// conversion would be undefined there, and a silently wrapped number is worse than none).
bool truncate(double d, double lo, double hi, std::int64_t& out)
{
    if (!(d > lo - 1.0 && d < hi + 1.0))
        return false;
    out = static_cast<std::int64_t>(d);
    return true;
}

// The 8-bit form of a text source, for the number and date parsers and for hex digits.
// 16-bit characters outside ASCII become '?', which no parser accepts.
std::string narrowAscii(const WChar* s)
{
    std::string out;
    const int n = wstrlen(s);
    out.reserve(std::size_t(n));
    for (int i = 0; i < n; ++i)
        out += s[i] < 0x80 ? char(s[i]) : '?';
    return out;
}

std::string textOf(const void* src, Type type)
{
    if (type == tChar)
        return std::string(static_cast<const char*>(src));
    return narrowAscii(static_cast<const WChar*>(src));
}

// Reads the longest leading match of T from the text, as a stream does; the classic locale
// keeps the decimal point a point whatever the application's global locale.
template <class T>
bool parse(const std::string& text, T& value)
{
    std::istringstream is(text);
    is.imbue(std::locale::classic());
    is >> value;
    return !is.fail();
}

// ---- Writing destinations ----

void setResult(VLong* resultLen, std::int64_t n)
{
    if (resultLen)
        *resultLen = n > std::numeric_limits<VLong>::max() ? std::numeric_limits<VLong>::max()
                                                           : VLong(n);
}

// An ASCII text of `len` characters into an 8-bit destination: cut and terminated.
void putChars(void* dst, int dstLen, const char* text, int len)
{
    if (dstLen <= 0)
        return;
    const int n = len < dstLen - 1 ? len : dstLen - 1;
    std::memmove(dst, text, std::size_t(n));
    static_cast<char*>(dst)[n] = 0;
    static_cast<char*>(dst)[dstLen - 1] = 0;
}

// The same into a 16-bit destination of dstLen bytes.
void putWide(void* dst, int dstLen, const char* text, int len)
{
    const int units = dstLen / 2;
    if (units <= 0)
        return;
    WChar* w = static_cast<WChar*>(dst);
    const int n = len < units - 1 ? len : units - 1;
    for (int i = 0; i < n; ++i)
        w[i] = WChar(static_cast<unsigned char>(text[i]));
    w[n] = 0;
    w[units - 1] = 0;
}

// Writes an ASCII text into a Char or Text destination with the matching resultLen.
bool putText(void* dst, int dstLen, Type dstType, const char* text, int len, VLong* resultLen)
{
    if (dstType == tChar) {
        putChars(dst, dstLen, text, len);
        setResult(resultLen, std::int64_t(len) + 1);
    } else {
        putWide(dst, dstLen, text, len);
        setResult(resultLen, 2 * std::int64_t(len) + 2);
    }
    return true;
}

// The text form of a numeric, decimal or date source; false when it has none.
bool printValue(const void* src, Type type, char* buf, int size, int& len)
{
    switch (type) {
    case tInt: len = std::snprintf(buf, std::size_t(size), "%ld", long(load<VLong>(src))); return true;
    case tSmall: len = std::snprintf(buf, std::size_t(size), "%d", int(load<short>(src))); return true;
    // Precision 15, as a stream with precision(15) writes it: %.15g.
    case tReal: len = std::snprintf(buf, std::size_t(size), "%.15g", double(load<float>(src))); return true;
    case tDouble: len = std::snprintf(buf, std::size_t(size), "%.15g", load<double>(src)); return true;
    case tDec:
        if (load<OrvDec>(src).toText(buf, size) != 0)
            return false;
        len = int(std::strlen(buf));
        return true;
    case tDate:
        if (load<OrvDate>(src).toText(buf, size) != 0)
            return false;
        len = int(std::strlen(buf));
        return true;
    default: return false;
    }
}

// Bytes as two upper-case hex digits each, as many whole bytes as fit.
bool putHex(void* dst, int dstLen, Type dstType, const unsigned char* src, int srcLen,
            VLong* resultLen)
{
    const int unit = dstType == tChar ? 1 : 2;
    const int units = dstLen / unit;
    setResult(resultLen, std::int64_t(srcLen) * 2 * unit);
    if (units <= 0)
        return true;
    int bytes = (units - 1) / 2;
    if (bytes > srcLen)
        bytes = srcLen;
    for (int i = 0; i < bytes; ++i) {
        const char hi = kHexDigits[src[i] >> 4];
        const char lo = kHexDigits[src[i] & 15];
        if (unit == 1) {
            static_cast<char*>(dst)[2 * i] = hi;
            static_cast<char*>(dst)[2 * i + 1] = lo;
        } else {
            static_cast<WChar*>(dst)[2 * i] = WChar(hi);
            static_cast<WChar*>(dst)[2 * i + 1] = WChar(lo);
        }
    }
    if (unit == 1) {
        static_cast<char*>(dst)[2 * bytes] = 0;
        static_cast<char*>(dst)[units - 1] = 0;
    } else {
        static_cast<WChar*>(dst)[2 * bytes] = 0;
        static_cast<WChar*>(dst)[units - 1] = 0;
    }
    return true;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Pairs of hex digits into bytes until the text or the destination ends; an odd last
// digit is dropped, the rest of the destination is zero-filled. A character that is no hex
// digit fails the conversion.
bool unhex(void* dst, int dstLen, const std::string& text, VLong* resultLen)
{
    unsigned char* out = static_cast<unsigned char*>(dst);
    const int len = int(text.size());
    int k = 0;
    for (; k < dstLen && 2 * k + 1 < len; ++k) {
        const int hi = hexValue(text[std::size_t(2 * k)]);
        const int lo = hexValue(text[std::size_t(2 * k + 1)]);
        if (hi < 0 || lo < 0)
            return false;
        out[k] = static_cast<unsigned char>(hi * 16 + lo);
    }
    if (k < dstLen)
        std::memset(out + k, 0, std::size_t(dstLen - k));
    setResult(resultLen, len / 2);
    return true;
}

// ---- The code-page routes between text and blobs ----

// The charset of a blob: the encoding narrowed to at most 1000 characters, or the process
// code page.
std::string charsetName(const WChar* encoding)
{
    if (!encoding || !*encoding)
        return std::string(getStdCharset());
    std::string name;
    for (int i = 0; encoding[i] && i < 1000; ++i)
        name += encoding[i] < 0x80 ? char(encoding[i]) : '?';
    return name;
}

// The size of a terminator in the charset: two zero bytes for UTF-16, else one. (The
// charset routines count byte strings in bytes, whatever their unit.)
int terminatorSize(const std::string& charset)
{
    const CharsetInfo* info = findCharset(charset.c_str());
    return info && (info->kind == CharsetUtf16LE || info->kind == CharsetUtf16BE) ? 2 : 1;
}

// Runs a charset routine that writes a terminated byte string into a blob destination of
// exactly dstLen bytes: the blob holds the text without a terminator, so a text that fills
// the destination exactly goes through a buffer with room for the terminator.
// `run(out, size)` writes at most size - term bytes and a terminator; `needed` is the
// measured length in bytes.
template <class Run>
void putEncoded(void* dst, int dstLen, int term, int needed, Run run)
{
    if (dstLen <= 0 || needed <= 0)
        return;
    if (needed + term <= dstLen) {
        run(static_cast<char*>(dst), dstLen);
    } else if (needed <= dstLen) {
        std::unique_ptr<char[]> tmp(new char[std::size_t(needed + term)]);
        run(tmp.get(), needed + term);
        std::memcpy(dst, tmp.get(), std::size_t(needed));
    } else {
        run(static_cast<char*>(dst), dstLen);
    }
}

bool blobFromText(void* dst, int dstLen, const void* src, Type srcType, VLong* resultLen,
                  const WChar* encoding)
{
    if (srcType == tChar && (!encoding || !*encoding)) {
        // No encoding: the bytes as they stand.
        const char* s = static_cast<const char*>(src);
        const int len = int(std::strlen(s));
        std::memcpy(dst, s, std::size_t(len < dstLen ? len : (dstLen > 0 ? dstLen : 0)));
        setResult(resultLen, len);
        return true;
    }
    const std::string target = charsetName(encoding);
    const int term = terminatorSize(target);
    int needed;
    if (srcType == tChar) {
        const std::string from(getStdCharset());
        const char* s = static_cast<const char*>(src);
        needed = mbs2mbs(nullptr, s, from.c_str(), target.c_str(), 0, 0);
        if (needed < 0)
            return false;
        putEncoded(dst, dstLen, term, needed, [&](char* out, int size) {
            mbs2mbs(out, s, from.c_str(), target.c_str(), size, 0);
        });
    } else {
        const WChar* s = static_cast<const WChar*>(src);
        needed = wcs2mbs(nullptr, s, target.c_str(), 0, 0);
        if (needed < 0)
            return false;
        putEncoded(dst, dstLen, term, needed, [&](char* out, int size) {
            wcs2mbs(out, s, target.c_str(), size, 0);
        });
    }
    setResult(resultLen, needed);
    return true;
}

bool textFromBlob(void* dst, int dstLen, Type dstType, const void* src, int srcLen,
                  VLong* resultLen, const WChar* encoding)
{
    const char* s = static_cast<const char*>(src);
    if (dstType == tChar && (!encoding || !*encoding)) {
        // No encoding: the bytes up to the first zero, as strncpy takes them.
        int len = 0;
        while (len < srcLen && s[len])
            ++len;
        std::string bytes(s, std::size_t(len));
        putChars(dst, dstLen, bytes.data(), len);
        setResult(resultLen, std::int64_t(len) + 1);
        return true;
    }
    const std::string from = charsetName(encoding);
    const int srcUnits = srcLen;
    if (dstType == tChar) {
        const std::string to(getStdCharset());
        const int needed = srcUnits > 0 ? mbs2mbs(nullptr, s, from.c_str(), to.c_str(), 0, srcUnits) : 0;
        if (needed < 0)
            return false;
        if (dstLen > 0) {
            if (srcUnits > 0)
                mbs2mbs(static_cast<char*>(dst), s, from.c_str(), to.c_str(), dstLen, srcUnits);
            else
                static_cast<char*>(dst)[0] = 0;
        }
        setResult(resultLen, std::int64_t(needed) + 1);
        return true;
    }
    // Text from Blob: the destination's room limits what is converted, and resultLen tells
    // what was written, 0 when nothing fits. (A long blob shown as text is thus cut to the
    // destination; callers that need all of it read the blob raw.)
    const int units = dstLen / 2;
    VLong written = 0;
    if (units > 0) {
        WChar* w = static_cast<WChar*>(dst);
        int n = 0;
        if (srcUnits > 0) {
            n = mbs2wcs(w, s, from.c_str(), units, srcUnits);
            if (n < 0)
                return false;
        } else {
            w[0] = 0;
        }
        written = 2 * VLong(n) + 2;
    }
    if (resultLen)
        *resultLen = written;
    return true;
}

// ---- Destinations ----

bool toInt(void* dst, const void* src, int srcLen, Type srcType, VLong* resultLen)
{
    Number n;
    std::int64_t v = 0;
    if (loadNumber(src, srcType, n)) {
        if (n.kind == Number::Integer) {
            v = n.i;
        } else {
            double d;
            if (!asDouble(n, d) || !truncate(d, -2147483648.0, 2147483647.0, v))
                return false;
        }
    } else if (srcType == tChar || srcType == tText) {
        int parsed;
        if (!parse(textOf(src, srcType), parsed))
            return false;
        v = parsed;
    } else if (srcType == tByte) {
        std::memset(dst, 0, 4);
        std::memcpy(dst, src, std::size_t(srcLen < 4 ? srcLen : 4));
        setResult(resultLen, 4);
        return true;
    } else {
        return false;
    }
    store(dst, VLong(v));
    setResult(resultLen, 4);
    return true;
}

bool toSmall(void* dst, const void* src, int srcLen, Type srcType, VLong* resultLen)
{
    Number n;
    short v = 0;
    if (loadNumber(src, srcType, n)) {
        if (srcType == tInt) {
            // The low 16 bits, deliberately: an int column read as small wraps.
            v = static_cast<short>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(n.i) & 0xFFFFu));
        } else if (n.kind == Number::Integer) {
            v = static_cast<short>(n.i);
        } else {
            double d;
            std::int64_t t;
            if (!asDouble(n, d) || !truncate(d, -32768.0, 32767.0, t))
                return false;
            v = static_cast<short>(t);
        }
    } else if (srcType == tChar || srcType == tText) {
        if (!parse(textOf(src, srcType), v))
            return false;
    } else if (srcType == tByte) {
        std::memset(dst, 0, 2);
        std::memcpy(dst, src, std::size_t(srcLen < 2 ? srcLen : 2));
        setResult(resultLen, 2);
        return true;
    } else {
        return false;
    }
    store(dst, v);
    setResult(resultLen, 2);
    return true;
}

template <class F>
bool toFloat(void* dst, const void* src, int srcLen, Type srcType, VLong* resultLen)
{
    Number n;
    F v = 0;
    if (loadNumber(src, srcType, n)) {
        double d;
        if (n.kind == Number::Integer) {
            v = F(n.i);
        } else if (!asDouble(n, d)) {
            return false;
        } else {
            // A finite double beyond the float range has no float value: fail rather than
            // turn it into an infinity.
            const double limit = double(std::numeric_limits<F>::max());
            if (std::isfinite(d) && (d > limit || d < -limit))
                return false;
            v = F(d);
        }
    } else if (srcType == tChar || srcType == tText) {
        if (!parse(textOf(src, srcType), v))
            return false;
    } else if (srcType == tByte) {
        std::memset(dst, 0, sizeof(F));
        std::memcpy(dst, src, std::size_t(srcLen < int(sizeof(F)) ? srcLen : int(sizeof(F))));
        setResult(resultLen, sizeof(F));
        return true;
    } else {
        return false;
    }
    store(dst, v);
    setResult(resultLen, sizeof(F));
    return true;
}

bool toDec(void* dst, const void* src, Type srcType, VLong* resultLen)
{
    OrvDec v;
    switch (srcType) {
    case tInt: v = OrvDec(load<VLong>(src)); break;
    case tSmall: v = OrvDec(VLong(load<short>(src))); break;
    case tReal: v = OrvDec(load<float>(src)); break;
    case tDouble: v = OrvDec(load<double>(src)); break;
    case tDec: v = load<OrvDec>(src); break;
    case tChar:
    case tText:
        if (!parse(textOf(src, srcType), v))
            return false;
        break;
    default: return false;
    }
    if (srcType != tDec && !v.isValid())
        return false;
    store(dst, v);
    setResult(resultLen, 16);
    return true;
}

bool toDate(void* dst, const void* src, Type srcType, VLong* resultLen)
{
    OrvDate v;
    if (srcType == tDate) {
        v = load<OrvDate>(src);
    } else if (srcType == tChar || srcType == tText) {
        if (!parse(textOf(src, srcType), v))
            return false;
    } else {
        return false;
    }
    store(dst, v);
    setResult(resultLen, 16);
    return true;
}

bool toString(void* dst, int dstLen, Type dstType, const void* src, int srcLen, Type srcType,
              VLong* resultLen, const WChar* encoding)
{
    switch (srcType) {
    case tChar:
        if (dstType == tChar) {
            const char* s = static_cast<const char*>(src);
            const int len = int(std::strlen(s));
            putChars(dst, dstLen, s, len);
            setResult(resultLen, std::int64_t(len) + 1);
        } else {
            const char* cs = getStdCharset();
            const int n = mbs2wcs(nullptr, static_cast<const char*>(src), cs, 0, 0);
            if (n < 0)
                return false;
            if (dstLen / 2 > 0)
                mbs2wcs(static_cast<WChar*>(dst), static_cast<const char*>(src), cs, dstLen / 2, 0);
            setResult(resultLen, 2 * std::int64_t(n) + 2);
        }
        return true;
    case tText:
        if (dstType == tText) {
            const WChar* s = static_cast<const WChar*>(src);
            const int len = wstrlen(s);
            const int units = dstLen / 2;
            if (units > 0) {
                WChar* w = static_cast<WChar*>(dst);
                const int n = len < units - 1 ? len : units - 1;
                std::memmove(w, s, std::size_t(n) * 2);
                w[n] = 0;
                w[units - 1] = 0;
            }
            setResult(resultLen, 2 * std::int64_t(len) + 2);
        } else {
            const char* cs = getStdCharset();
            const int n = wcs2mbs(nullptr, static_cast<const WChar*>(src), cs, 0, 0);
            if (n < 0)
                return false;
            if (dstLen > 0)
                wcs2mbs(static_cast<char*>(dst), static_cast<const WChar*>(src), cs, dstLen, 0);
            setResult(resultLen, std::int64_t(n) + 1);
        }
        return true;
    case tInt:
    case tSmall:
    case tReal:
    case tDouble:
    case tDec:
    case tDate: {
        char buf[64];
        int len = 0;
        if (!printValue(src, srcType, buf, int(sizeof buf), len))
            return false;
        return putText(dst, dstLen, dstType, buf, len, resultLen);
    }
    case tByte:
        return putHex(dst, dstLen, dstType, static_cast<const unsigned char*>(src), srcLen, resultLen);
    case tBlob:
        return textFromBlob(dst, dstLen, dstType, src, srcLen, resultLen, encoding);
    default:
        return false;
    }
}

} // namespace

bool convert(void* dst, int dstLen, Type dstType, const void* src, int srcLen, Type srcType,
             VLong* resultLen, const WChar* encoding)
{
    if (srcLen < sizeOf(srcType, 0) || dstLen < sizeOf(dstType, 0))
        return false;
    switch (dstType) {
    case tInt: return toInt(dst, src, srcLen, srcType, resultLen);
    case tSmall: return toSmall(dst, src, srcLen, srcType, resultLen);
    case tReal: return toFloat<float>(dst, src, srcLen, srcType, resultLen);
    case tDouble: return toFloat<double>(dst, src, srcLen, srcType, resultLen);
    case tDec: return toDec(dst, src, srcType, resultLen);
    case tDate: return toDate(dst, src, srcType, resultLen);
    case tChar:
    case tText: return toString(dst, dstLen, dstType, src, srcLen, srcType, resultLen, encoding);
    case tByte:
        if (srcType == tByte) {
            if (dstLen > srcLen) {
                std::memmove(dst, src, std::size_t(srcLen));
                std::memset(static_cast<char*>(dst) + srcLen, 0, std::size_t(dstLen - srcLen));
            } else {
                std::memmove(dst, src, std::size_t(dstLen));
            }
            setResult(resultLen, srcLen);
            return true;
        }
        if (srcType == tChar || srcType == tText)
            return unhex(dst, dstLen, textOf(src, srcType), resultLen);
        return false;
    case tBlob:
        if (srcType == tBlob) {
            const int n = dstLen < srcLen ? dstLen : srcLen;
            std::memmove(dst, src, std::size_t(n));
            setResult(resultLen, n);
            return true;
        }
        if (srcType == tChar || srcType == tText)
            return blobFromText(dst, dstLen, src, srcType, resultLen, encoding);
        return false;
    default:
        return false;
    }
}

} // namespace DataSourceAPI

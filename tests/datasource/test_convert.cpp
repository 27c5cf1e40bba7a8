// The conversion matrix: every destination type against every source type with a normal
// and a boundary value, a too-small destination and a null field; the code-page routes of
// blobs; compare() and addSQLValue().
#include "dstestutil.h"

#include <vexapi/core/wtext.h>
#include <vexapi/datasource/dsdefs.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

using namespace dstest;
using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace {

const VLong kUntouched = -7;

struct Cell {
    Type dst;
    Type src;
    const char* value;  // the source, as valueOf reads it
    int dstLen;         // 0: the usual room of the destination type
    const char* expect; // the result in the destination type; null: the conversion fails
    VLong resultLen;    // what resultLen receives (kUntouched on failure)
};

// clang-format off
const Cell kCells[] = {
    // ---- to Int ----
    {tInt, tInt, "1234", 0, "1234", 4},
    {tInt, tInt, "-2147483648", 0, "-2147483648", 4},
    {tInt, tSmall, "-32768", 0, "-32768", 4},
    {tInt, tChar, "42abc", 0, "42", 4},                  // the longest leading number
    {tInt, tChar, "2147483648", 0, nullptr, kUntouched}, // out of range
    {tInt, tChar, "x1", 0, nullptr, kUntouched},
    {tInt, tText, " -17", 0, "-17", 4},
    {tInt, tText, "-2147483648", 0, "-2147483648", 4},
    {tInt, tReal, "-3.75", 0, "-3", 4},                  // truncated
    {tInt, tReal, "3e9", 0, nullptr, kUntouched},
    {tInt, tDouble, "2147483647.9", 0, "2147483647", 4},
    {tInt, tDouble, "nan", 0, nullptr, kUntouched},
    {tInt, tDec, "-12.99", 0, "-12", 4},
    {tInt, tDec, "99999999999", 0, nullptr, kUntouched},
    {tInt, tDec, "!", 0, nullptr, kUntouched},
    {tInt, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tInt, tByte, "01020304", 0, "67305985", 4},         // 0x04030201
    {tInt, tByte, "ff", 0, "255", 4},                    // zero, then one byte
    {tInt, tBlob, "abcd", 0, nullptr, kUntouched},
    // ---- to Small ----
    {tSmall, tInt, "1234", 0, "1234", 2},
    {tSmall, tInt, "70000", 0, "4464", 2},               // the low 16 bits
    {tSmall, tInt, "-1", 0, "-1", 2},
    {tSmall, tSmall, "-32768", 0, "-32768", 2},
    {tSmall, tChar, "123", 0, "123", 2},
    {tSmall, tChar, "40000", 0, nullptr, kUntouched},
    {tSmall, tText, "-32768", 0, "-32768", 2},
    {tSmall, tText, "32768", 0, nullptr, kUntouched},
    {tSmall, tReal, "-2.5", 0, "-2", 2},
    {tSmall, tReal, "40000", 0, nullptr, kUntouched},
    {tSmall, tDouble, "32767.99", 0, "32767", 2},
    {tSmall, tDouble, "-32769", 0, nullptr, kUntouched},
    {tSmall, tDec, "7.9", 0, "7", 2},
    {tSmall, tDec, "-40000", 0, nullptr, kUntouched},
    {tSmall, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tSmall, tByte, "0102", 0, "513", 2},
    {tSmall, tByte, "01", 0, "1", 2},
    {tSmall, tBlob, "ab", 0, nullptr, kUntouched},
    // ---- to Char ----
    {tChar, tInt, "-1234", 0, "-1234", 6},
    {tChar, tInt, "-2147483648", 0, "-2147483648", 12},
    {tChar, tInt, "-1234", 4, "-12", 6},                 // cut, terminated, full size told
    {tChar, tSmall, "-32768", 0, "-32768", 7},
    {tChar, tSmall, "-32768", 1, "", 7},
    {tChar, tChar, "hello", 0, "hello", 6},
    {tChar, tChar, "", 0, "", 1},
    {tChar, tChar, "hello", 3, "he", 6},
    {tChar, tText, "hello", 0, "hello", 6},
    {tChar, tText, "hello", 3, "he", 6},
    {tChar, tReal, "0.5", 0, "0.5", 4},
    {tChar, tReal, "0.1", 0, "0.100000001490116", 18},   // precision 15 of the float
    {tChar, tDouble, "1e20", 0, "1e+20", 6},
    {tChar, tDouble, "0.333333333333333333", 0, "0.333333333333333", 18},
    {tChar, tDouble, "0.333333333333333333", 5, "0.33", 18},
    {tChar, tDec, "-12.50", 0, "-12.50", 7},
    {tChar, tDec, "!", 0, nullptr, kUntouched},
    {tChar, tDate, "2024-02-29 13:05:09.07", 0, "2024-02-29 13:05:09.07", 23},
    {tChar, tDate, "2024-02-29 13:05:09.07", 11, "2024-02-29", 23},
    {tChar, tByte, "00ff10", 0, "00FF10", 6},            // the terminator not counted
    {tChar, tByte, "00ff10", 4, "00", 6},                // whole bytes only
    {tChar, tBlob, "abc", 0, "abc", 4},
    {tChar, tBlob, "abc", 2, "a", 4},
    // ---- to Text ----
    {tText, tInt, "1234", 0, "1234", 10},
    {tText, tInt, "1234", 6, "12", 10},
    {tText, tSmall, "-7", 0, "-7", 6},
    {tText, tChar, "abc", 0, "abc", 8},
    {tText, tChar, "abc", 6, "ab", 8},
    {tText, tText, "hello", 0, "hello", 12},
    {tText, tText, "", 0, "", 2},
    {tText, tText, "h\xC3\xA9llo \xF0\x9F\x98\x80", 0, "h\xC3\xA9llo \xF0\x9F\x98\x80", 18},
    {tText, tText, "hello", 6, "he", 12},
    {tText, tReal, "-0.25", 0, "-0.25", 12},
    {tText, tDouble, "-1e-300", 0, "-1e-300", 16},
    {tText, tDec, "0.001", 0, "0.001", 12},
    {tText, tDate, "2024-02-29 13:05:09.07", 0, "2024-02-29 13:05:09.07", 46},
    {tText, tDate, "2024-02-29 13:05:09.07", 22, "2024-02-29", 46},
    {tText, tByte, "abcd", 0, "ABCD", 8},
    {tText, tByte, "abcd", 6, "AB", 8},
    {tText, tBlob, "hi", 0, "hi", 6},
    {tText, tBlob, "hi", 4, "h", 4},                     // what was written is told
    {tText, tBlob, "hi", 1, "", 0},                      // no room at all: 0
    // ---- to Real ----
    {tReal, tInt, "16777217", 0, "16777216", 4},
    {tReal, tSmall, "-32768", 0, "-32768", 4},
    {tReal, tChar, "1.5e3x", 0, "1500", 4},
    {tReal, tChar, "1e39", 0, nullptr, kUntouched},
    {tReal, tText, "-0.125", 0, "-0.125", 4},
    {tReal, tReal, "3.4e38", 0, "3.4e38", 4},
    {tReal, tDouble, "0.1", 0, "0.1", 4},
    {tReal, tDouble, "1e39", 0, nullptr, kUntouched},
    {tReal, tDec, "2.5", 0, "2.5", 4},
    {tReal, tDec, "!", 0, nullptr, kUntouched},
    {tReal, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tReal, tByte, "0000803f", 0, "1", 4},
    {tReal, tByte, "0000", 0, "0", 4},
    {tReal, tBlob, "abcd", 0, nullptr, kUntouched},
    // ---- to Double ----
    {tDouble, tInt, "-2147483648", 0, "-2147483648", 8},
    {tDouble, tSmall, "5", 0, "5", 8},
    {tDouble, tChar, "  2.5", 0, "2.5", 8},
    {tDouble, tChar, "abc", 0, nullptr, kUntouched},
    {tDouble, tText, "1e308", 0, "1e308", 8},
    {tDouble, tText, "1e309", 0, nullptr, kUntouched},
    {tDouble, tReal, "0.5", 0, "0.5", 8},
    {tDouble, tDouble, "-1.7976931348623157e308", 0, "-1.7976931348623157e308", 8},
    {tDouble, tDec, "1234.5678", 0, "1234.5678", 8},
    {tDouble, tDec, "!", 0, nullptr, kUntouched},
    {tDouble, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tDouble, tByte, "000000000000f03f", 0, "1", 8},
    {tDouble, tBlob, "abcdefgh", 0, nullptr, kUntouched},
    // ---- to Dec ----
    {tDec, tInt, "-2147483648", 0, "-2147483648", 16},
    {tDec, tSmall, "-32768", 0, "-32768", 16},
    {tDec, tChar, "12.50abc", 0, "12.50", 16},
    {tDec, tChar, "x", 0, nullptr, kUntouched},
    {tDec, tText, "-0.001", 0, "-0.001", 16},
    {tDec, tText, "1e40", 0, nullptr, kUntouched},
    {tDec, tReal, "0.1", 0, "0.1", 16},                  // the shortest decimal of the float
    {tDec, tDouble, "0.1", 0, "0.1", 16},
    {tDec, tDouble, "1e40", 0, nullptr, kUntouched},
    {tDec, tDouble, "nan", 0, nullptr, kUntouched},
    {tDec, tDec, "-0.000000000000000000000000000000001", 0, "-0.000000000000000000000000000000001", 16},
    {tDec, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tDec, tByte, "01", 0, nullptr, kUntouched},
    {tDec, tBlob, "1", 0, nullptr, kUntouched},
    // ---- to Date ----
    {tDate, tInt, "0", 0, nullptr, kUntouched},
    {tDate, tSmall, "0", 0, nullptr, kUntouched},
    {tDate, tChar, "2024-02-29 13:05", 0, "2024-02-29 13:05:00.00", 16},
    {tDate, tChar, "2023-02-29", 0, nullptr, kUntouched},
    {tDate, tText, "9999-12-31 23:59:59.99xyz", 0, "9999-12-31 23:59:59.99", 16},
    {tDate, tText, "", 0, nullptr, kUntouched},
    {tDate, tReal, "0", 0, nullptr, kUntouched},
    {tDate, tDouble, "0", 0, nullptr, kUntouched},
    {tDate, tDec, "0", 0, nullptr, kUntouched},
    {tDate, tDate, "0001-01-01 00:00:00.00", 0, "0001-01-01 00:00:00.00", 16},
    {tDate, tByte, "00", 0, nullptr, kUntouched},
    {tDate, tBlob, "2024-02-29", 0, nullptr, kUntouched},
    // ---- to Byte (four bytes of room) ----
    {tByte, tInt, "1", 0, nullptr, kUntouched},
    {tByte, tSmall, "1", 0, nullptr, kUntouched},
    {tByte, tChar, "0aFf", 0, "0AFF0000", 2},            // the rest zero-filled
    {tByte, tChar, "0A1", 0, "0A000000", 1},             // an odd last digit is dropped
    {tByte, tChar, "0G", 0, nullptr, kUntouched},
    {tByte, tChar, "0A0B", 1, "0A", 2},
    {tByte, tText, "DEADBEEF", 0, "DEADBEEF", 4},
    {tByte, tText, "DEADBEEF01", 0, "DEADBEEF", 5},
    {tByte, tReal, "1", 0, nullptr, kUntouched},
    {tByte, tDouble, "1", 0, nullptr, kUntouched},
    {tByte, tDec, "1", 0, nullptr, kUntouched},
    {tByte, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tByte, tByte, "0102", 0, "01020000", 2},
    {tByte, tByte, "0102030405", 0, "01020304", 5},
    {tByte, tBlob, "ab", 0, nullptr, kUntouched},
    // ---- to Blob (64 bytes of room) ----
    {tBlob, tInt, "1", 0, nullptr, kUntouched},
    {tBlob, tSmall, "1", 0, nullptr, kUntouched},
    {tBlob, tChar, "abc", 0, "abc", 3},                  // no terminator in a blob
    {tBlob, tChar, "abc", 2, "ab", 3},
    {tBlob, tText, "abc", 0, "abc", 3},
    {tBlob, tText, "abc", 3, "abc", 3},                  // exactly full
    {tBlob, tReal, "1", 0, nullptr, kUntouched},
    {tBlob, tDouble, "1", 0, nullptr, kUntouched},
    {tBlob, tDec, "1", 0, nullptr, kUntouched},
    {tBlob, tDate, "2024-02-29", 0, nullptr, kUntouched},
    {tBlob, tByte, "01", 0, nullptr, kUntouched},
    {tBlob, tBlob, "xyz", 0, "xyz", 3},
    {tBlob, tBlob, "xyz", 2, "xy", 2},                   // the copied size is told
};
// clang-format on

int defaultRoom(Type t)
{
    switch (t) {
    case tChar: return 64;
    case tText: return 128;
    case tByte: return 4;
    case tBlob: return 64;
    default: return sizeOf(t, 0);
    }
}

bool isFixed(Type t)
{
    return t != tChar && t != tText && t != tByte && t != tBlob;
}

std::string hexOf(const unsigned char* p, int n)
{
    std::string s;
    char buf[3];
    for (int i = 0; i < n; ++i) {
        std::snprintf(buf, sizeof buf, "%02X", p[i]);
        s += buf;
    }
    return s;
}

// The destination read back as the text a Cell expects.
std::string readBack(Type t, const unsigned char* dst, int dstLen, VLong resultLen)
{
    switch (t) {
    case tInt: {
        VLong v;
        std::memcpy(&v, dst, 4);
        return std::to_string(v);
    }
    case tSmall: {
        short v;
        std::memcpy(&v, dst, 2);
        return std::to_string(v);
    }
    case tDec: {
        char buf[OrvDec::TextSize];
        OrvDec v;
        std::memcpy(&v, dst, 16);
        return v.toText(buf, int(sizeof buf)) == 0 ? buf : "<invalid>";
    }
    case tDate: {
        char buf[OrvDate::TextSize];
        OrvDate v;
        std::memcpy(&v, dst, 16);
        return v.toText(buf, int(sizeof buf)) == 0 ? buf : "<invalid>";
    }
    case tChar: return dstLen < 1 ? std::string() : std::string(reinterpret_cast<const char*>(dst));
    case tText: return dstLen < 2 ? std::string() : narrow(reinterpret_cast<const WChar*>(dst));
    case tByte: return hexOf(dst, dstLen);
    case tBlob:
        return std::string(reinterpret_cast<const char*>(dst),
                           std::size_t(resultLen < dstLen ? resultLen : dstLen));
    default: return "?";
    }
}

// Runs one conversion into a poisoned buffer and checks value, result, resultLen, the
// terminator of a string, and that nothing past dstLen was written.
void runCell(const Cell& c, int dstLen, const char* expect, VLong expectLen)
{
    SCOPED_TRACE(std::string(typeName(c.dst)) + " <- " + typeName(c.src) + " \"" + c.value +
                 "\" room " + std::to_string(dstLen));
    const std::vector<unsigned char> src = valueOf(c.src, c.value);
    const int guard = 8;
    std::vector<unsigned char> dst(std::size_t(dstLen + guard), 0x5A);
    VLong resultLen = kUntouched;
    const bool ok = convert(dst.data(), dstLen, c.dst, src.data(), int(src.size()), c.src,
                            &resultLen, nullptr);
    for (int i = dstLen; i < dstLen + guard; ++i)
        ASSERT_EQ(dst[std::size_t(i)], 0x5A) << "written past the destination at " << i;
    EXPECT_EQ(resultLen, expectLen);
    if (!expect) {
        EXPECT_FALSE(ok);
        for (int i = 0; i < dstLen; ++i)
            ASSERT_EQ(dst[std::size_t(i)], 0x5A) << "a failed conversion wrote byte " << i;
        return;
    }
    ASSERT_TRUE(ok);
    if (c.dst == tReal || c.dst == tDouble) {
        const double got = c.dst == tReal ? double(*reinterpret_cast<float*>(dst.data()))
                                          : *reinterpret_cast<double*>(dst.data());
        const double want = c.dst == tReal ? double(std::stof(expect)) : std::stod(expect);
        EXPECT_EQ(got, want);
        return;
    }
    if (c.dst == tChar && dstLen > 0) {
        EXPECT_LT(std::strlen(reinterpret_cast<char*>(dst.data())), std::size_t(dstLen)) << "not terminated";
    }
    if (c.dst == tText && dstLen >= 2) {
        const WChar* w = reinterpret_cast<const WChar*>(dst.data());
        int n = 0;
        while (n < dstLen / 2 && w[n])
            ++n;
        EXPECT_LT(n, dstLen / 2) << "not terminated";
    }
    EXPECT_EQ(readBack(c.dst, dst.data(), dstLen, resultLen), expect);
}

} // namespace

TEST(ConversionMatrix, EveryCell)
{
    // Every pair of the ten value types has at least one row in the table.
    bool seen[11][11] = {};
    for (const Cell& c : kCells)
        seen[c.dst][c.src] = true;
    for (int d = tInt; d <= tBlob; ++d)
        for (int s = tInt; s <= tBlob; ++s)
            EXPECT_TRUE(seen[d][s]) << typeName(Type(d)) << " <- " << typeName(Type(s));

    for (const Cell& c : kCells) {
        const int room = c.dstLen ? c.dstLen : defaultRoom(c.dst);
        runCell(c, room, c.expect, c.resultLen);
        // A fixed destination one byte short is refused before anything is read or written.
        if (isFixed(c.dst) && c.expect && c.dstLen == 0)
            runCell(c, room - 1, nullptr, kUntouched);
    }
}

TEST(ConversionMatrix, ShortSourcesAndTypesOutsideTheMatrixAreRefused)
{
    const VLong v = 5;
    char out[64];
    VLong len = kUntouched;
    EXPECT_FALSE(convert(out, 64, tChar, &v, 3, tInt, &len, nullptr));
    EXPECT_FALSE(convert(out, 64, tChar, &v, 4, tObject, &len, nullptr));
    EXPECT_FALSE(convert(out, 64, tObject, &v, 4, tInt, &len, nullptr));
    EXPECT_FALSE(convert(out, 64, tNone, &v, 4, tInt, &len, nullptr));
    EXPECT_FALSE(convert(out, 64, tChar, &v, 4, tNone, &len, nullptr));
    EXPECT_FALSE(convert(out, 64, tChar, &v, -1, tChar, &len, nullptr));
    EXPECT_EQ(len, kUntouched);
    // resultLen is optional.
    EXPECT_TRUE(convert(out, 64, tChar, &v, 4, tInt, nullptr, nullptr));
    EXPECT_STREQ(out, "5");
}

TEST(ConversionMatrix, SizesOfTheTypes)
{
    const int fixed[][2] = {{tInt, 4}, {tSmall, 2}, {tReal, 4}, {tDouble, 8}, {tDec, 16}, {tDate, 16}};
    for (const auto& f : fixed)
        EXPECT_EQ(sizeOf(Type(f[0]), 99), f[1]) << typeName(Type(f[0]));
    for (Type t : {tChar, tText, tByte, tObject})
        EXPECT_EQ(sizeOf(t, 37), 37) << typeName(t);
    EXPECT_EQ(sizeOf(tBlob, 37), 0);
    EXPECT_EQ(sizeOf(tNone, 37), 0);
    EXPECT_EQ(sizeOf(Type(12), 37), 0);
}

// ---- The code-page routes between text and blobs ----

TEST(BlobEncoding, TextThroughAnEncodingAndBack)
{
    const WString text = W("h\xC3\xA9llo \xD0\xB6");
    struct Case {
        const char* encoding;
        std::string bytes;
    } cases[] = {
        {"UTF-8", "h\xC3\xA9llo \xD0\xB6"},
        {"UTF-16LE", std::string("h\0\xE9\0l\0l\0o\0 \0\x36\x04", 14)},
        {"CP1251", "h?llo \xE6"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.encoding);
        const WString enc = W(c.encoding);
        char blob[64];
        VLong len = kUntouched;
        ASSERT_TRUE(convert(blob, 64, tBlob, text.c_str(), int(text.size() + 1) * 2, tText, &len,
                            enc.c_str()));
        ASSERT_EQ(len, VLong(c.bytes.size()));
        EXPECT_EQ(std::string(blob, std::size_t(len)), c.bytes);

        WChar back[64];
        ASSERT_TRUE(convert(back, sizeof back, tText, blob, int(len), tBlob, &len, enc.c_str()));
        if (std::string(c.encoding) != "CP1251") {
            EXPECT_EQ(WString(back), text);
        }
        EXPECT_EQ(len, VLong(wstrlen(back)) * 2 + 2);
    }
}

TEST(BlobEncoding, AnExactlyFullBlobKeepsItsLastByte)
{
    // The charset routines always terminate; a blob has no terminator and may be full.
    const WString text = W("\xC3\xA9t\xC3\xA9");
    const WString enc = W("UTF-8");
    char blob[6 + 4];
    std::memset(blob, 0x5A, sizeof blob);
    VLong len = 0;
    ASSERT_TRUE(convert(blob, 5, tBlob, text.c_str(), 8, tText, &len, enc.c_str()));
    EXPECT_EQ(len, 5);
    EXPECT_EQ(std::string(blob, 5), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(blob[5], 0x5A);
    // One byte short: the text is cut at a whole character and the full size told.
    std::memset(blob, 0x5A, sizeof blob);
    ASSERT_TRUE(convert(blob, 4, tBlob, text.c_str(), 8, tText, &len, enc.c_str()));
    EXPECT_EQ(len, 5);
    EXPECT_EQ(std::string(blob, 3), "\xC3\xA9t");
    EXPECT_EQ(blob[4], 0x5A);
}

TEST(DynValue, GrowsOnceForALongValue)
{
    using namespace DataRepresentationWithNulls;
    ConvValue v;
    EXPECT_EQ(v.capacity(), 4096);
    const std::string longText(5000, 'x');
    ASSERT_TRUE(convert(v, tChar, longText.c_str(), 5001, tChar, nullptr));
    EXPECT_EQ(v.realLen, 5001);
    EXPECT_GE(v.capacity(), 5001);
    EXPECT_EQ(std::string(static_cast<char*>(v.data())), longText);

    // Hexadecimal text is reported without its terminator; the grown buffer still holds
    // every byte.
    std::vector<unsigned char> bytes(3000);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i);
    ConvValue h;
    ASSERT_TRUE(convert(h, tChar, bytes.data(), 3000, tByte, nullptr));
    EXPECT_EQ(h.realLen, 6000);
    EXPECT_EQ(std::strlen(static_cast<char*>(h.data())), 6000u);

    DynValue<> small;
    EXPECT_EQ(small.capacity(), 8);
    EXPECT_FALSE(small.alloc(8));
    EXPECT_TRUE(small.alloc(9));
    EXPECT_EQ(small.capacity(), 9);
    DynValue<> copy(small);
    EXPECT_EQ(copy.capacity(), 9);
    EXPECT_NE(copy.data(), small.data());
    EXPECT_FALSE(convert(small, tInt, "x", 2, tChar, nullptr));
}

// ---- Null fields through the typed read, for every pair ----

TEST(ConversionMatrix, ANullFieldGivesTrueAndLeavesTheBuffer)
{
    MemoryDataSource ds;
    const Type types[] = {tInt, tSmall, tChar, tText, tReal, tDouble, tDec, tDate, tByte, tBlob};
    for (Type t : types)
        ds.addCol(DataSource::ColInfo(W(typeName(t)).c_str(), t, t == tText ? 32 : 16));
    ds.initColumns();
    DataSource::Iterator row = ds.insertRow(ds.end());
    for (int col = 1; col <= ds.colCount(); ++col)
        ds.setNull(row, col, true);
    for (int col = 1; col <= ds.colCount(); ++col) {
        for (Type dst : types) {
            SCOPED_TRACE(std::string(typeName(dst)) + " <- null " + typeName(types[col - 1]));
            unsigned char buf[64];
            std::memset(buf, 0x5A, sizeof buf);
            bool isNull = false;
            VLong len = kUntouched;
            EXPECT_TRUE(ds.getField(row, col, buf, int(sizeof buf), dst, &isNull, &len));
            EXPECT_TRUE(isNull);
            for (unsigned char b : buf)
                ASSERT_EQ(b, 0x5A);
        }
    }
    bool isNull = false, ok = false;
    EXPECT_EQ(ds.getFieldInt(row, 1, &isNull, &ok), 0);
    EXPECT_TRUE(isNull);
    EXPECT_TRUE(ok);
    // A conversion the matrix refuses answers through ok, without raising.
    ds.setNull(row, 1, false);
    ds.getFieldDate(row, 1, &isNull, &ok);
    EXPECT_FALSE(ok);
}

TEST(TypedAccess, BytesShowAsHexTextAndComeBack)
{
    MemoryDataSource ds;
    ds.addCol(DataSource::ColInfo(WSTR("b"), tByte, 4));
    ds.addCol(DataSource::ColInfo(WSTR("blob"), tBlob, 0));
    ds.initColumns();
    DataSource::Iterator row = ds.insertRow(ds.end());
    const unsigned char bytes[] = {0x00, 0xAB, 0x10, 0xFF};
    ASSERT_TRUE(ds.setFieldByte(row, 1, bytes));
    WChar text[16];
    bool ok = false;
    ds.getFieldText(row, 1, text, sizeof text, nullptr, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(narrow(text), "00AB10FF");

    ASSERT_TRUE(ds.setFieldText(row, 1, WSTR("01fe")));
    unsigned char back[4];
    ds.getFieldByte(row, 1, back, 4);
    EXPECT_EQ(hexOf(back, 4), "01FE0000");
    ASSERT_TRUE(ds.setFieldText(row, 1, text));
    ds.getFieldByte(row, 1, back, 4);
    EXPECT_EQ(hexOf(back, 4), "00AB10FF");
    // Text that is no hex leaves the field as it was.
    EXPECT_FALSE(ds.setFieldText(row, 1, WSTR("zz")));
    ds.getFieldByte(row, 1, back, 4);
    EXPECT_EQ(hexOf(back, 4), "00AB10FF");

    // A blob column with an encoding keeps the text in it, and reads it back.
    ds.setBlobEncoding(2, WSTR("UTF-8"));
    const WString word = W("\xC3\xBC" "ber");
    ASSERT_TRUE(ds.setFieldText(row, 2, word.c_str()));
    char raw[16] = {};
    VLong len = 0;
    ds.getField(row, 2, raw, 16, nullptr, &len);
    EXPECT_EQ(std::string(raw, std::size_t(len)), "\xC3\xBC" "ber");
    ds.getFieldText(row, 2, text, sizeof text);
    EXPECT_EQ(WString(text), word);
}

// ---- compare ----

TEST(Compare, OrderOfEveryType)
{
    struct Case {
        Type type;
        const char* a;
        const char* b;
        int expect;
    } cases[] = {
        {tInt, "-5", "3", -1}, {tInt, "7", "7", 0}, {tInt, "2147483647", "-2147483648", 1},
        {tSmall, "-32768", "32767", -1},
        {tReal, "1.5", "1.5", 0}, {tReal, "nan", "1", 1}, {tReal, "1", "nan", 1},
        {tDouble, "-0.0", "0.0", 0}, {tDouble, "1e-300", "0", 1},
        {tDec, "1.5", "1.50", 0}, {tDec, "-2", "1", -1},
        {tDate, "2024-02-29", "2024-03-01", -1},
        {tChar, "abc", "abd", -1}, {tChar, "abc", "abc", 0},
        {tText, "abc", "ab", 1},
        {tByte, "0102", "0103", -1}, {tByte, "0102", "01", 1}, {tByte, "01", "0102", -1},
        {tBlob, "aaa", "zzz", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(typeName(c.type)) + " " + c.a + " ? " + c.b);
        const std::vector<unsigned char> a = valueOf(c.type, c.a);
        const std::vector<unsigned char> b = valueOf(c.type, c.b);
        EXPECT_EQ(compare(a.data(), int(a.size()), b.data(), int(b.size()), c.type), c.expect);
    }
    int dummy = 0;
    EXPECT_EQ(compare(&dummy, 4, &dummy, 4, tObject), 0);
    EXPECT_EQ(compare(&dummy, 4, &dummy, 4, tNone), 0);
}

// Restores the collation locale at the end of a test.
struct CollateLocale {
    std::string saved;
    CollateLocale() : saved(std::setlocale(LC_COLLATE, nullptr)) {}
    ~CollateLocale() { std::setlocale(LC_COLLATE, saved.c_str()); }
};

TEST(Compare, TheCLocaleOrdersByCodePoint)
{
    CollateLocale keep;
    ASSERT_TRUE(std::setlocale(LC_COLLATE, "C"));
    const WString upper = W("B"), lower = W("a");
    EXPECT_EQ(compare(upper.c_str(), 4, lower.c_str(), 4, tText), -1);
    EXPECT_EQ(compare("B", 2, "a", 2, tChar), -1);
    // A character beyond the 16-bit range sorts after U+FF5E, although its first UTF-16
    // unit is smaller.
    const WString wide = W("\xEF\xBD\x9E"), emoji = W("\xF0\x9F\x98\x80");
    EXPECT_EQ(compare(wide.c_str(), 4, emoji.c_str(), 6, tText), -1);
    EXPECT_EQ(compare(emoji.c_str(), 6, wide.c_str(), 4, tText), 1);
}

TEST(Compare, ALocaleCollatesAndTiesAreBrokenByCodePoint)
{
    CollateLocale keep;
    const char* names[] = {"en_US.UTF-8", "en_US.utf8", "de_DE.UTF-8", "English_United States.1252", ""};
    bool found = false;
    for (const char* name : names) {
        if (std::setlocale(LC_COLLATE, name) && std::strcoll("a", "B") < 0) {
            found = true;
            break;
        }
    }
    if (!found)
        GTEST_SKIP() << "no locale with a linguistic collation is installed";
    const WString a = W("a"), B = W("B"), A = W("A");
    EXPECT_EQ(compare(a.c_str(), 4, B.c_str(), 4, tText), -1);
    EXPECT_EQ(compare(B.c_str(), 4, a.c_str(), 4, tText), 1);
    EXPECT_EQ(compare("a", 2, "B", 2, tChar), -1);
    // Different texts never compare equal, whatever the locale thinks of them.
    EXPECT_NE(compare(a.c_str(), 4, A.c_str(), 4, tText), 0);
    EXPECT_EQ(compare(a.c_str(), 4, a.c_str(), 4, tText), 0);
}

// ---- addSQLValue ----

TEST(SQLValue, LiteralsOfEveryKind)
{
    struct Case {
        SQLValueType kind;
        Type type;
        const char* value;
        bool isNull;
        const char* expect;
    } cases[] = {
        {sqlQuoted, tInt, "42", true, "NULL"},
        {sqlPlain, tInt, "-42", false, "-42"},
        {sqlQuoted, tSmall, "7", false, "'7'"},
        {sqlPlain, tDouble, "2.5", false, "2.5"},
        {sqlPlain, tReal, "0.5", false, "0.5"},
        {sqlPlain, tDec, "-12.50", false, "-12.50"},
        {sqlDate, tDate, "2024-02-29 13:05:09.07", false, "'2024-02-29 13:05:09.07'"},
        {sqlQuoted, tText, "it's o''k", false, "'it''s o''''k'"},
        {sqlHex, tByte, "00ff1a", false, "hex('00FF1A')"},
        {sqlQuoted, tChar, "abc", false, "''"},
        {sqlPlain, tBlob, "abc", false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expect);
        const std::vector<unsigned char> v = valueOf(c.type, c.value);
        std::basic_ostringstream<WChar> os;
        addSQLValue(os, c.kind, c.type, int(v.size()), v.data(), c.isNull);
        EXPECT_EQ(narrow(os.str().c_str()), c.expect);
    }
    // The stream's precision decides the digits of a float, as its own operator would.
    const double third = 1.0 / 3;
    std::basic_ostringstream<WChar> os;
    os.precision(3);
    addSQLValue(os, sqlPlain, tDouble, 8, &third, false);
    EXPECT_EQ(narrow(os.str().c_str()), "0.333");
}

// Charset conversions (wcs2mbs, mbs2wcs, mbs2mbs) over every charset of the table, their
// limits, termination and replacement rules; getStdCharset; the server text conversions.
#include <vexapi/core/charset.h>
#include <vexapi/core/servertext.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {


// "cf f0 e8" -> the three bytes.
std::string hex(const char* text)
{
    std::string out;
    for (const char* p = text; *p;) {
        if (*p == ' ') {
            ++p;
            continue;
        }
        out += char(std::stoi(std::string(p, 2), nullptr, 16));
        p += 2;
    }
    return out;
}

std::string toBytes(const WString& text, const char* charset)
{
    const int need = wcs2mbs(nullptr, text.c_str(), charset, 0, int(text.size()));
    if (need < 0)
        return "<error>";
    std::string out(size_t(need) + 2, '\x7f');
    const int n = wcs2mbs(&out[0], text.c_str(), charset, need + 2, int(text.size()));
    EXPECT_EQ(n, need) << charset;
    out.resize(size_t(n));
    return out;
}

WString toText(const std::string& bytes, const char* charset)
{
    // A length of 0 would mean "to the terminator", which for UTF-16 is two zero bytes.
    if (bytes.empty())
        return WString();
    const int need = mbs2wcs(nullptr, bytes.data(), charset, 0, int(bytes.size()));
    if (need < 0)
        return WSTR("<error>");
    WString out(size_t(need) + 1, WChar(0x7f));
    const int n = mbs2wcs(&out[0], bytes.data(), charset, need + 1, int(bytes.size()));
    EXPECT_EQ(n, need) << charset;
    out.resize(size_t(n));
    return out;
}

// ---- The table ----

// First in the suite, so that its threads race for the first use of each code page's table.
TEST(CharsetTable, ConcurrentFirstUseBuildsEachTableOnce)
{
    const WString text = WSTR("Съешь же ещё этих мягких французских булок");
    std::vector<std::string> pages;
    for (int i = 0; i < charsetCount(); ++i)
        pages.push_back(charsetAt(i)->name);
    std::vector<std::vector<std::string>> results(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < results.size(); ++t)
        threads.emplace_back([&, t] {
            for (const std::string& page : pages) {
                char out[256];
                const int n = wcs2mbs(out, text.c_str(), page.c_str(), 256, -1);
                results[t].push_back(n < 0 ? "<error>" : std::string(out, size_t(n)));
            }
        });
    for (std::thread& t : threads)
        t.join();
    for (size_t t = 1; t < results.size(); ++t)
        EXPECT_EQ(results[t], results[0]);
    for (size_t i = 0; i < pages.size(); ++i)
        if (pages[i] == "CP1251") {
            EXPECT_EQ(results[0][i], toBytes(text, "CP1251"));
        }
}

TEST(CharsetTable, EveryNameAndAliasFindsItsEntryWithoutRegardToCase)
{
    ASSERT_GT(charsetCount(), 0);
    std::set<std::string> seen;
    for (int i = 0; i < charsetCount(); ++i) {
        const CharsetInfo* info = charsetAt(i);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(findCharset(info->name), info);
        std::string lower = info->name;
        for (char& c : lower)
            c = char(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(findCharset(lower.c_str()), info) << lower;
        EXPECT_TRUE(seen.insert(lower).second) << "duplicate " << lower;
        std::string aliases = info->aliases;
        for (size_t start = 0; start < aliases.size();) {
            size_t bar = aliases.find('|', start);
            if (bar == std::string::npos)
                bar = aliases.size();
            const std::string alias = aliases.substr(start, bar - start);
            EXPECT_EQ(findCharset(alias.c_str()), info) << alias;
            std::string low = alias;
            for (char& c : low)
                c = char(std::tolower(static_cast<unsigned char>(c)));
            EXPECT_TRUE(seen.insert(low).second) << "duplicate " << low;
            start = bar + 1;
        }
        // Every charset of the table converts on this build.
        char out[4];
        EXPECT_EQ(wcs2mbs(out, WSTR("A"), info->name, 4, -1), info->kind == CharsetUtf16LE ||
                                                                     info->kind == CharsetUtf16BE
                                                                 ? 2
                                                                 : 1)
            << info->name;
    }
    EXPECT_EQ(charsetAt(-1), nullptr);
    EXPECT_EQ(charsetAt(charsetCount()), nullptr);
    EXPECT_EQ(findCharset(nullptr), nullptr);
    EXPECT_EQ(findCharset(""), nullptr);
    EXPECT_EQ(findCharset("UTF-8X"), nullptr);
    EXPECT_EQ(findCharset("UTF-"), nullptr);
    EXPECT_STREQ(findCharset("windows-1251")->name, "CP1251");
    EXPECT_STREQ(findCharset("ANSI_X3.4-1968")->name, "US-ASCII");
    EXPECT_STREQ(findCharset("ibm866")->name, "CP866");
}

TEST(CharsetTable, StdCharsetIsTheCanonicalNameOfAKnownCharset)
{
    const char* name = getStdCharset();
    ASSERT_NE(name, nullptr);
    const CharsetInfo* info = findCharset(name);
    ASSERT_NE(info, nullptr) << name;
    EXPECT_STREQ(info->name, name);
    // The process's own 8-bit text converts both ways.
    char bytes[8];
    WChar back[8];
    ASSERT_EQ(wcs2mbs(bytes, WSTR("Ok"), name, 8, -1), 2);
    ASSERT_EQ(mbs2wcs(back, bytes, name, 8, -1), 2);
    EXPECT_EQ(WString(back), WString(WSTR("Ok")));
}

// ---- Normal text in each charset ----

struct Sample {
    const char* charset;
    const WChar* text;
    const char* bytes; // in hex
};

const Sample kSamples[] = {
    {"UTF-8", WSTR("Привет, €!"), "d0 9f d1 80 d0 b8 d0 b2 d0 b5 d1 82 2c 20 e2 82 ac 21"},
    {"UTF-16LE", WSTR("A€\xD83D\xDE00"), "41 00 ac 20 3d d8 00 de"},
    {"UTF-16BE", WSTR("A€\xD83D\xDE00"), "00 41 20 ac d8 3d de 00"},
    {"US-ASCII", WSTR("Tab\tend~"), "54 61 62 09 65 6e 64 7e"},
    {"ISO-8859-1", WSTR("Café ÿ"), "43 61 66 e9 20 ff"},
    {"ISO-8859-2", WSTR("Łódź"), "a3 f3 64 bc"},
    {"ISO-8859-5", WSTR("Привет"), "bf e0 d8 d2 d5 e2"},
    {"ISO-8859-15", WSTR("€Œ"), "a4 bc"},
    {"CP1250", WSTR("Łódź"), "a3 f3 64 9f"},
    {"CP1251", WSTR("Привет"), "cf f0 e8 e2 e5 f2"},
    {"CP1252", WSTR("Café €"), "43 61 66 e9 20 80"},
    {"CP1253", WSTR("Αθήνα"), "c1 e8 de ed e1"},
    {"CP1254", WSTR("İş"), "dd fe"},
    {"CP1255", WSTR("שלום"), "f9 ec e5 ed"},
    {"CP1256", WSTR("سلام"), "d3 e1 c7 e3"},
    {"CP1257", WSTR("Ąžuolas"), "c0 fe 75 6f 6c 61 73"},
    {"CP1258", WSTR("Đ"), "d0"},
    {"CP874", WSTR("ไทย"), "e4 b7 c2"},
    {"CP866", WSTR("Привет"), "8f e0 a8 a2 a5 e2"},
    {"CP437", WSTR("Ä½"), "8e ab"},
    {"CP850", WSTR("Øÿ"), "9d 98"},
    {"CP855", WSTR("Жук"), "ea e7 c6"},
    {"KOI8-R", WSTR("Привет"), "f0 d2 c9 d7 c5 d4"},
    {"KOI8-U", WSTR("Їжак"), "b7 d6 c1 cb"},
};

TEST(CharsetConversion, SampleTextOfEveryCharsetBothWays)
{
    std::set<std::string> covered;
    for (const Sample& s : kSamples) {
        SCOPED_TRACE(s.charset);
        covered.insert(findCharset(s.charset)->name);
        EXPECT_EQ(toBytes(s.text, s.charset), hex(s.bytes));
        EXPECT_EQ(toText(hex(s.bytes), s.charset), WString(s.text));
    }
    EXPECT_EQ(int(covered.size()), charsetCount()) << "a charset of the table has no sample";
}

TEST(CharsetConversion, CharactersATargetCannotHoldBecomeItsReplacement)
{
    // '?' in a single-byte target, U+FFFD in a Unicode one; a surrogate pair is one character.
    EXPECT_EQ(toBytes(WSTR("a€b"), "CP866"), "a?b");
    EXPECT_EQ(toBytes(WSTR("Жx"), "CP1252"), "?x");
    EXPECT_EQ(toBytes(WSTR("é"), "US-ASCII"), "?");
    EXPECT_EQ(toBytes(WSTR("Ā"), "ISO-8859-1"), "?");
    EXPECT_EQ(toBytes(WSTR("\xD83D\xDE00"), "CP1251"), "?");
    EXPECT_EQ(toBytes(WSTR("\xD800x"), "UTF-8"), hex("ef bf bd 78"));
    EXPECT_EQ(toBytes(WSTR("\xDC00"), "UTF-16LE"), hex("fd ff"));
    EXPECT_EQ(toBytes(WSTR("\xD800"), "KOI8-R"), "?");
}

// ---- The full byte range of each single-byte code page ----

struct CodePage {
    const char* charset;
    const char* unassigned; // the bytes the code page leaves unassigned, in hex
};

const CodePage kCodePages[] = {
    {"US-ASCII", nullptr}, // every byte from 0x80 up: checked apart
    {"ISO-8859-1", ""},
    {"ISO-8859-2", ""},
    {"ISO-8859-5", ""},
    {"ISO-8859-15", ""},
    {"CP1250", "81 83 88 90 98"},
    {"CP1251", "98"},
    {"CP1252", "81 8d 8f 90 9d"},
    {"CP1253", "81 88 8a 8c 8d 8e 8f 90 98 9a 9c 9d 9e 9f aa d2 ff"},
    {"CP1254", "81 8d 8e 8f 90 9d 9e"},
    {"CP1255", "81 8a 8c 8d 8e 8f 90 9a 9c 9d 9e 9f d9 da db dc dd de df fb fc ff"},
    {"CP1256", ""},
    {"CP1257", "81 83 88 8a 8c 90 98 9a 9c 9f a1 a5"},
    {"CP1258", "81 8a 8d 8e 8f 90 9a 9d 9e"},
    {"CP874", "81 82 83 84 86 87 88 89 8a 8b 8c 8d 8e 8f 90 98 99 9a 9b 9c 9d 9e 9f db dc dd de "
              "fc fd fe ff"},
    {"CP866", ""},
    {"CP437", ""},
    {"CP850", ""},
    {"CP855", ""},
    {"KOI8-R", ""},
    {"KOI8-U", ""},
};

TEST(CharsetConversion, EveryByteOfEachCodePageDecodesAndRoundTrips)
{
    int covered = 0;
    for (const CodePage& page : kCodePages) {
        SCOPED_TRACE(page.charset);
        ++covered;
        std::string unassigned;
        if (page.unassigned) {
            unassigned = hex(page.unassigned);
        } else {
            for (int b = 0x80; b < 0x100; ++b)
                unassigned += char(b);
        }
        std::set<WChar> units;
        for (int b = 1; b < 256; ++b) {
            const char byte = char(b);
            WChar unit[2] = {0x7f, 0x7f};
            ASSERT_EQ(mbs2wcs(unit, &byte, page.charset, 2, 1), 1) << "byte " << b;
            EXPECT_EQ(unit[1], 0);
            const bool isUnassigned = unassigned.find(byte) != std::string::npos;
            if (isUnassigned) {
                EXPECT_EQ(unit[0], 0xFFFD) << "byte " << b;
                continue;
            }
            EXPECT_NE(unit[0], 0xFFFD) << "byte " << b;
            EXPECT_TRUE(units.insert(unit[0]).second) << "two bytes give the same unit, byte " << b;
            if (b < 0x80) {
                EXPECT_EQ(unit[0], WChar(b)) << "the ASCII half passes unchanged";
            }
            char back[2] = {0x7f, 0x7f};
            ASSERT_EQ(wcs2mbs(back, unit, page.charset, 2, 1), 1);
            EXPECT_EQ(back[0], byte) << "byte " << b;
        }
        // The whole range in one call, unassigned bytes included.
        std::string all;
        for (int b = 1; b < 256; ++b)
            all += char(b);
        const WString text = toText(all, page.charset);
        ASSERT_EQ(text.size(), 255u);
        std::string expected = all;
        for (char& c : expected)
            if (unassigned.find(c) != std::string::npos)
                c = '?';
        EXPECT_EQ(toBytes(text, page.charset), expected);
    }
    int singleByte = 0;
    for (int i = 0; i < charsetCount(); ++i)
        if (charsetAt(i)->kind != CharsetUtf8 && charsetAt(i)->kind != CharsetUtf16LE &&
            charsetAt(i)->kind != CharsetUtf16BE)
            ++singleByte;
    EXPECT_EQ(covered, singleByte) << "a code page of the table is missing here";
}

TEST(CharsetConversion, AgreedBytesWherePlatformsDiffer)
{
    // Bytes where Windows and iconv disagree; the library answers the same on both.
    EXPECT_EQ(toText(hex("ae be"), "KOI8-U"), WString(WSTR("\x255D\x256C")));
    EXPECT_EQ(toText(hex("ca"), "CP1255"), WString(WSTR("\x05BA")));
    EXPECT_EQ(toText(hex("98"), "CP1251"), WString(WSTR("\xFFFD")));
    EXPECT_EQ(toBytes(WSTR("\x0098"), "CP1251"), "?");
    EXPECT_EQ(toText(hex("aa"), "CP1253"), WString(WSTR("\xFFFD")));
    EXPECT_EQ(toText(hex("e9"), "US-ASCII"), WString(WSTR("\xFFFD")));
}

// ---- Limits and termination ----

// The character boundaries of a full conversion: prefix lengths a cut may stop at.
struct LimitCase {
    const char* charset;
    const WChar* text;
};

const LimitCase kLimitCases[] = {
    {"UTF-8", WSTR("aЖ€\xD83D\xDE00z")}, // sequences of 1, 2, 3, 4 and 1 bytes
    {"UTF-16LE", WSTR("a\xD83D\xDE00" "b")},
    {"UTF-16BE", WSTR("\xD83D\xDE00\xD83D\xDE00")},
    {"CP1251", WSTR("Привет")},
    {"US-ASCII", WSTR("abc")},
};

// Prefix sizes, in target units, of each whole character of `text` in `charset`.
std::vector<int> boundaries(const WString& text, const char* charset)
{
    std::vector<int> ends{0};
    size_t i = 0;
    while (i < text.size()) {
        const size_t n = (text[i] >= 0xD800 && text[i] <= 0xDBFF) ? 2 : 1;
        i += n;
        ends.push_back(int(toBytes(text.substr(0, i), charset).size()));
    }
    return ends;
}

TEST(CharsetConversion, WideToBytesNeverWritesPastTheLimitAndAlwaysTerminates)
{
    for (const LimitCase& c : kLimitCases) {
        SCOPED_TRACE(c.charset);
        const WString text = c.text;
        const std::vector<int> ends = boundaries(text, c.charset);
        const int full = ends.back();
        const int term = findCharset(c.charset)->kind == CharsetUtf16LE ||
                                 findCharset(c.charset)->kind == CharsetUtf16BE
                             ? 2
                             : 1;
        for (int dstLen = 0; dstLen <= full + 3; ++dstLen) {
            SCOPED_TRACE(dstLen);
            std::vector<char> buf(size_t(dstLen) + 8, '\x5a');
            const int n = wcs2mbs(buf.data(), text.c_str(), c.charset, dstLen, -1);
            // The longest run of whole characters that leaves room for the terminator.
            int expected = 0;
            for (int e : ends)
                if (e + term <= dstLen)
                    expected = e;
            EXPECT_EQ(n, expected);
            for (int i = 0; i < term && n + i < dstLen; ++i)
                EXPECT_EQ(buf[size_t(n + i)], 0) << "terminated";
            for (size_t i = size_t(dstLen); i < buf.size(); ++i)
                ASSERT_EQ(buf[i], '\x5a') << "written past the limit at " << i;
            EXPECT_EQ(std::string(buf.data(), size_t(n)), toBytes(text, c.charset).substr(0, size_t(n)));
        }
    }
}

TEST(CharsetConversion, BytesToWideNeverWritesPastTheLimitNorSplitsAPair)
{
    const std::string utf8 = hex("61 f0 9f 98 80 d0 96 62"); // a, U+1F600, Ж, b
    const WString full = WSTR("a\xD83D\xDE00Жb");
    const int expectedAt[] = {0, 0, 1, 1, 3, 4, 5, 5};  // by dstLen 0..7
    for (int dstLen = 0; dstLen < 8; ++dstLen) {
        SCOPED_TRACE(dstLen);
        std::vector<WChar> buf(size_t(dstLen) + 4, WChar(0x5a5a));
        const int n = mbs2wcs(buf.data(), utf8.c_str(), "UTF-8", dstLen, -1);
        EXPECT_EQ(n, expectedAt[dstLen]);
        if (dstLen > 0) {
            EXPECT_EQ(buf[size_t(n)], 0);
        }
        for (size_t i = size_t(dstLen); i < buf.size(); ++i)
            ASSERT_EQ(buf[i], 0x5a5a) << "written past the limit at " << i;
        EXPECT_EQ(WString(buf.data(), size_t(n)), full.substr(0, size_t(n)));
    }
}

TEST(CharsetConversion, BytesToBytesKeepsTheTargetsTerminatorWithinTheLimit)
{
    // CP1251 to UTF-16LE: two-byte units and a two-byte terminator.
    const std::string src = hex("cf f0 e8");
    for (int dstLen = 0; dstLen <= 9; ++dstLen) {
        SCOPED_TRACE(dstLen);
        std::vector<char> buf(size_t(dstLen) + 4, '\x5a');
        const int n = mbs2mbs(buf.data(), src.c_str(), "CP1251", "UTF-16LE", dstLen, -1);
        const int expected = dstLen >= 2 ? std::min(6, (dstLen - 2) / 2 * 2) : 0;
        EXPECT_EQ(n, expected);
        for (int i = n; i < std::min(n + 2, dstLen); ++i)
            EXPECT_EQ(buf[size_t(i)], 0);
        for (size_t i = size_t(dstLen); i < buf.size(); ++i)
            ASSERT_EQ(buf[i], '\x5a');
    }
}

TEST(CharsetConversion, SourceLengthCountsUnitsAndStopsAtAZero)
{
    WChar out[16];
    // A counted prefix.
    EXPECT_EQ(mbs2wcs(out, "abcdef", "UTF-8", 16, 3), 3);
    EXPECT_EQ(WString(out), WString(WSTR("abc")));
    // 0 and negative lengths read to the terminator.
    for (int srcLen : {0, -1, -100}) {
        EXPECT_EQ(mbs2wcs(out, "abcdef", "CP1251", 16, srcLen), 6) << srcLen;
        char bytes[16];
        EXPECT_EQ(wcs2mbs(bytes, WSTR("xyz"), "KOI8-R", 16, srcLen), 3) << srcLen;
        EXPECT_EQ(mbs2mbs(bytes, "xyz", "CP866", "UTF-8", 16, srcLen), 3) << srcLen;
    }
    // A counted field padded with zeros ends at the first zero.
    const char padded[8] = {'a', 'b', 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(mbs2wcs(out, padded, "CP866", 16, 8), 2);
    const char padded16[8] = {'a', 0, 'b', 0, 0, 0, 'c', 0};
    EXPECT_EQ(mbs2wcs(out, padded16, "UTF-16LE", 16, 8), 2);
    const WChar wide[5] = {'a', 0, 'b', 0, 0};
    char bytes[8];
    EXPECT_EQ(wcs2mbs(bytes, wide, "UTF-8", 8, 5), 1);
    // A null source is the empty text.
    out[0] = 'x';
    EXPECT_EQ(mbs2wcs(out, nullptr, "UTF-8", 16, -1), 0);
    EXPECT_EQ(out[0], 0);
    bytes[0] = 'x';
    EXPECT_EQ(wcs2mbs(bytes, nullptr, "UTF-8", 8, 5), 0);
    EXPECT_EQ(bytes[0], 0);
}

TEST(CharsetConversion, NullDestinationMeasuresTheWholeConversion)
{
    const WString text = WSTR("Ж€\xD83D\xDE00");
    EXPECT_EQ(wcs2mbs(nullptr, text.c_str(), "UTF-8", 0, -1), 2 + 3 + 4);
    EXPECT_EQ(wcs2mbs(nullptr, text.c_str(), "UTF-16BE", 5, -1), 8);
    EXPECT_EQ(wcs2mbs(nullptr, text.c_str(), "CP1251", -1, -1), 3);
    EXPECT_EQ(mbs2wcs(nullptr, hex("f0 9f 98 80 41").c_str(), "UTF-8", 0, -1), 3);
    EXPECT_EQ(mbs2mbs(nullptr, "\xcf\xf0", "CP1251", "UTF-8", 0, -1), 4);
}

TEST(CharsetConversion, UnknownCharsetAndBadLimitAreRefused)
{
    char bytes[8];
    WChar wide[8];
    const char* bad[] = {"NO-SUCH-CHARSET", "", nullptr, "UTF-32"};
    for (const char* name : bad) {
        SCOPED_TRACE(name ? name : "(null)");
        std::memset(bytes, 'x', sizeof(bytes));
        EXPECT_EQ(wcs2mbs(bytes, WSTR("a"), name, 8, -1), -1);
        EXPECT_EQ(bytes[0], 0) << "left empty";
        wide[0] = 'x';
        EXPECT_EQ(mbs2wcs(wide, "a", name, 8, -1), -1);
        EXPECT_EQ(wide[0], 0);
        EXPECT_EQ(mbs2mbs(bytes, "a", name, "UTF-8", 8, -1), -1);
        EXPECT_EQ(mbs2mbs(bytes, "a", "UTF-8", name, 8, -1), -1);
        EXPECT_EQ(wcs2mbs(nullptr, WSTR("a"), name, 0, -1), -1);
    }
    // A refusal writes nothing at all when there is no room.
    bytes[0] = 'x';
    EXPECT_EQ(wcs2mbs(bytes, WSTR("a"), "NO-SUCH-CHARSET", 0, -1), -1);
    EXPECT_EQ(bytes[0], 'x');
    // A negative limit with a destination is refused, and nothing is written.
    EXPECT_EQ(wcs2mbs(bytes, WSTR("a"), "UTF-8", -1, -1), -1);
    EXPECT_EQ(bytes[0], 'x');
    EXPECT_EQ(mbs2wcs(wide, "a", "UTF-8", -5, -1), -1);
    EXPECT_EQ(mbs2mbs(bytes, "a", "UTF-8", "CP1251", -1, -1), -1);
    EXPECT_EQ(bytes[0], 'x');
}

// ---- Malformed source ----

struct Malformed {
    const char* bytes; // hex
    bool counted;      // counted by its size, else terminated
    const WChar* text;
};

// U+FFFD for each maximal ill-formed part, as the Unicode Standard recommends.
const Malformed kMalformedUtf8[] = {
    {"80", false, WSTR("\xFFFD")},
    {"c0 af", false, WSTR("\xFFFD\xFFFD")},          // overlong lead
    {"c1 bf", false, WSTR("\xFFFD\xFFFD")},
    {"e0 80 80", false, WSTR("\xFFFD\xFFFD\xFFFD")}, // overlong three-byte form
    {"ed a0 80", false, WSTR("\xFFFD\xFFFD\xFFFD")}, // an encoded surrogate
    {"f4 90 80 80", false, WSTR("\xFFFD\xFFFD\xFFFD\xFFFD")}, // past U+10FFFF
    {"f5 80", false, WSTR("\xFFFD\xFFFD")},
    {"ff fe", false, WSTR("\xFFFD\xFFFD")},
    {"e2 82", true, WSTR("\xFFFD")},                 // cut by the count
    {"e2 82 41", false, WSTR("\xFFFD" "A")},         // cut by another character
    {"f0 9f 98 41", false, WSTR("\xFFFD" "A")},
    {"61 c3", false, WSTR("a\xFFFD")},               // cut by the terminator
    {"e2 82 ac e2", true, WSTR("€\xFFFD")},
    {"c3 a9 80 c3 a9", false, WSTR("é\xFFFDé")},
};

TEST(CharsetConversion, IllFormedUtf8BecomesReplacementCharacters)
{
    for (const Malformed& m : kMalformedUtf8) {
        SCOPED_TRACE(m.bytes);
        const std::string bytes = hex(m.bytes);
        WChar out[16];
        const int n = mbs2wcs(out, bytes.c_str(), "UTF-8", 16, m.counted ? int(bytes.size()) : -1);
        EXPECT_EQ(WString(out, size_t(n > 0 ? n : 0)), WString(m.text));
        EXPECT_EQ(out[n], 0);
        // Recoding replaces them too: U+FFFD in UTF-8, '?' in a code page.
        char recoded[32];
        const int r = mbs2mbs(recoded, bytes.c_str(), "UTF-8", "CP1251", 32, m.counted ? int(bytes.size()) : -1);
        EXPECT_EQ(r, n);
        EXPECT_EQ(std::string(recoded, size_t(r)), toBytes(m.text, "CP1251"));
    }
}

TEST(CharsetConversion, IllFormedUtf16BytesBecomeReplacementCharacters)
{
    EXPECT_EQ(toText(hex("41 00 42"), "UTF-16LE"), WString(WSTR("A\xFFFD")));  // odd last byte
    EXPECT_EQ(toText(hex("00 d8 41 00"), "UTF-16LE"), WString(WSTR("\xFFFD" "A"))); // lone high
    EXPECT_EQ(toText(hex("dc 00 00 41"), "UTF-16BE"), WString(WSTR("\xFFFD" "A"))); // lone low
    EXPECT_EQ(toText(hex("d8 3d"), "UTF-16BE"), WString(WSTR("\xFFFD")));           // pair cut short
}

// ---- Surrogate pairs and random text ----

TEST(CharsetConversion, SurrogatePairIsOneFourByteSequenceInUtf8)
{
    const WString text = WSTR("x\xD83D\xDE00y\xDBFF\xDFFF");
    const std::string utf8 = toBytes(text, "UTF-8");
    EXPECT_EQ(utf8, hex("78 f0 9f 98 80 79 f4 8f bf bf"));
    EXPECT_EQ(toText(utf8, "UTF-8"), text);
    EXPECT_EQ(toText(hex("f0 90 80 80"), "UTF-8"), WString(WSTR("\xD800\xDC00")));
    // A pair split by the count of a counted source is two lone halves.
    char bytes[16];
    EXPECT_EQ(wcs2mbs(bytes, text.c_str(), "UTF-8", 16, 2), 4);
    EXPECT_EQ(std::string(bytes, 4), hex("78 ef bf bd"));
}

TEST(CharsetConversion, RandomTextRoundTripsThroughEveryUnicodeEncoding)
{
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<int> len(0, 40);
    std::uniform_int_distribution<int> kind(0, 9);
    std::uniform_int_distribution<int> any(1, 0xFFFF);
    std::uniform_int_distribution<int> surrogate(0xD800, 0xDFFF);
    const char* encodings[] = {"UTF-8", "UTF-16LE", "UTF-16BE"};
    for (int round = 0; round < 2000; ++round) {
        // Random units, with pairs and lone surrogates made likely.
        WString text;
        for (int i = len(rng); i > 0; --i) {
            const int k = kind(rng);
            if (k == 0) {
                text += WChar(0xD800 + (any(rng) & 0x3FF));
                text += WChar(0xDC00 + (any(rng) & 0x3FF));
            } else if (k == 1) {
                text += WChar(surrogate(rng));
            } else {
                text += WChar(any(rng));
            }
        }
        // The model: lone surrogates become U+FFFD, everything else stays.
        WString model;
        for (size_t i = 0; i < text.size(); ++i) {
            const WChar u = text[i];
            if (u >= 0xD800 && u <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
                text[i + 1] <= 0xDFFF) {
                model += u;
                model += text[++i];
            } else {
                model += (u >= 0xD800 && u <= 0xDFFF) ? WChar(0xFFFD) : u;
            }
        }
        for (const char* enc : encodings) {
            const std::string bytes = toBytes(text, enc);
            ASSERT_EQ(toText(bytes, enc), model) << enc << " round " << round;
        }
    }
}

// ---- Recoding between byte charsets ----

TEST(CharsetConversion, RecodesTheRussianAlphabetBetweenCodePages)
{
    WString alphabet;
    for (WChar c = 0x410; c <= 0x44F; ++c)
        alphabet += c;
    alphabet += WSTR("Ёё");
    const char* pages[] = {"CP1251", "CP866", "KOI8-R", "KOI8-U", "ISO-8859-5", "UTF-8", "UTF-16BE"};
    for (const char* from : pages) {
        const std::string src = toBytes(alphabet, from);
        for (const char* to : pages) {
            SCOPED_TRACE(std::string(from) + " -> " + to);
            std::vector<char> out(256, '\x5a');
            const int n = mbs2mbs(out.data(), src.data(), from, to, 256, int(src.size()));
            EXPECT_EQ(std::string(out.data(), size_t(n)), toBytes(alphabet, to));
        }
    }
    // The platform's own text to UTF-8, in the order the header shows.
    char utf8[8];
    EXPECT_EQ(mbs2mbs(utf8, "ok", getStdCharset(), "UTF-8", 8, -1), 2);
    // A character the target lacks becomes '?'.
    char out[8];
    EXPECT_EQ(mbs2mbs(out, "\x88", "CP1251", "CP866", 8, -1), 1); // the euro sign
    EXPECT_EQ(out[0], '?');
}

// ---- Server text ----

TEST(ServerText, CharToUnicodeWidensEachByteAsLatin1)
{
    char bytes[256];
    for (int b = 0; b < 256; ++b)
        bytes[b] = char(b);
    WChar wide[257];
    wide[256] = 0x5a5a;
    EXPECT_EQ(CharToUnicode(wide, bytes, 256), 256);
    for (int b = 0; b < 256; ++b)
        ASSERT_EQ(wide[b], WChar(b));
    EXPECT_EQ(wide[256], 0x5a5a) << "a counted conversion writes no terminator";

    // To the terminator, terminator copied; widening in place.
    WChar buffer[8];
    std::memcpy(buffer, "\xe9t\xe9", 4);
    EXPECT_EQ(CharToUnicode(buffer, reinterpret_cast<char*>(buffer), -1), 3);
    EXPECT_EQ(WString(buffer), WString(WSTR("été")));
    EXPECT_EQ(CharToUnicode(nullptr, "a", 1), 0);
    EXPECT_EQ(CharToUnicode(buffer, nullptr, 1), 0);
}

TEST(ServerText, RcharConversionsSwapOnlyWhenTold)
{
    const WChar host[] = {0x0041, 0x0416, 0xD83D, 0xDE00, 0};
    const WChar swapped[] = {0x4100, 0x1604, 0x3DD8, 0x00DE, 0};
    WChar out[5] = {1, 1, 1, 1, 0x5a5a};
    EXPECT_EQ(UnicodeToRCHAR(out, host, 4, true), 4);
    EXPECT_EQ(WString(out, 4), WString(swapped, 4));
    EXPECT_EQ(out[4], 0x5a5a);
    EXPECT_EQ(RCHARToUnicode(out, out, 4, true), 4) << "in place";
    EXPECT_EQ(WString(out, 4), WString(host, 4));
    EXPECT_EQ(RCHARToUnicode(out, host, -1, false), 4);
    EXPECT_EQ(out[4], 0) << "to the terminator, terminator copied";
    EXPECT_EQ(WString(out), WString(host));
    EXPECT_EQ(UnicodeToRCHAR(out, swapped, -1, true), 4);
    EXPECT_EQ(WString(out), WString(host));
    EXPECT_EQ(RCHARToUnicode(nullptr, host, 4, true), 0);
    EXPECT_EQ(UnicodeToRCHAR(out, nullptr, 4, true), 0);
}

} // namespace

// The CP866 / KOI8-R / CP1251 conversions: every byte of each page against the pages'
// characters, the bytes each page lacks, round trips, the loss through CP866 of the two-step
// conversions, and the limit and termination rules.
#include <vexapi/core/charset.h>
#include <vexapi/core/codepages.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

typedef int (*Conversion)(const char*, char*, unsigned short);

WChar decode(unsigned char byte, const char* charset)
{
    const char in = static_cast<char>(byte);
    WChar out[2] = {0, 0};
    return mbs2wcs(out, &in, charset, 2, 1) == 1 ? out[0] : WChar(0xFFFD);
}

unsigned char convertByte(Conversion f, unsigned char byte)
{
    const char in[2] = {static_cast<char>(byte), 0};
    char out[2] = {0, 0};
    EXPECT_EQ(f(in, out, 2), 1);
    return static_cast<unsigned char>(out[0]);
}

struct Direction {
    const char* name;
    Conversion to, back;
    const char *from, *target;
    // The upper-half bytes of `from` whose character `target` lacks, as the published
    // tables of the code pages have it.
    std::set<int> lacking;
};

std::set<int> range(int first, int last)
{
    std::set<int> out;
    for (int b = first; b <= last; ++b)
        out.insert(b);
    return out;
}

std::set<int> unite(std::set<int> a, const std::set<int>& b)
{
    a.insert(b.begin(), b.end());
    return a;
}

const Direction kDirections[] = {
    {"OemToKoi", OemToKoi, KoiToOem, "CP866", "KOI8-R",
     {0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xFC, 0xFD}},
    {"KoiToOem", KoiToOem, OemToKoi, "KOI8-R", "CP866",
     {0x93, 0x97, 0x98, 0x99, 0x9B, 0x9D, 0x9F, 0xBF}},
    // CP1251 has no box drawing.
    {"OemToCharA", OemToCharA, CharToOemA, "CP866", "CP1251",
     unite(range(0xB0, 0xDF), {0xF9, 0xFB, 0xFE})},
    {"CharToOemA", CharToOemA, OemToCharA, "CP1251", "CP866",
     unite(unite(range(0x80, 0x9F), {0xA3, 0xA5, 0xA6, 0xA7, 0xA9, 0xAB, 0xAC, 0xAD, 0xAE}),
           {0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xBB, 0xBC, 0xBD, 0xBE})},
};

// Each byte of the upper half becomes the target's byte for the same character, or '?' when
// the target lacks it; and a character both pages hold comes back to its byte.
TEST(CodePages, EveryByteOfEachPage)
{
    for (const Direction& d : kDirections) {
        SCOPED_TRACE(d.name);
        const unsigned char* table = nullptr;
        if (d.to == OemToKoi)
            table = codePageTable(CpOemToKoi);
        else if (d.to == KoiToOem)
            table = codePageTable(CpKoiToOem);
        else if (d.to == OemToCharA)
            table = codePageTable(CpOemToAnsi);
        else
            table = codePageTable(CpAnsiToOem);
        ASSERT_NE(table, nullptr);
        std::set<int> lost;
        for (int b = 0x80; b <= 0xFF; ++b) {
            SCOPED_TRACE(b);
            const unsigned char c = convertByte(d.to, static_cast<unsigned char>(b));
            EXPECT_EQ(c, table[b - 0x80]);
            if (c == '?') {
                lost.insert(b);
                continue;
            }
            EXPECT_EQ(decode(c, d.target), decode(static_cast<unsigned char>(b), d.from));
            EXPECT_EQ(convertByte(d.back, c), b);
        }
        EXPECT_EQ(lost, d.lacking);
    }
    EXPECT_EQ(codePageTable(CpAnsiToKoi), nullptr);
    EXPECT_EQ(codePageTable(CpKoiToAnsi), nullptr);
}

TEST(CodePages, PublishedValues)
{
    struct Case {
        Conversion f;
        unsigned char in, out;
    } cases[] = {
        {OemToKoi, 0x80, 0xE1},   {OemToKoi, 0xA0, 0xC1},   {OemToKoi, 0xF0, 0xB3},
        {OemToKoi, 0xF1, 0xA3},   {OemToKoi, 0xB0, 0x90},   {OemToKoi, 0xFF, 0x9A},
        {OemToKoi, 0x9F, 0xF1},   {OemToCharA, 0x80, 0xC0}, {OemToCharA, 0xEF, 0xFF},
        {OemToCharA, 0xF0, 0xA8}, {OemToCharA, 0xFC, 0xB9}, {OemToCharA, 0xFF, 0xA0},
        {CharToOemA, 0xB8, 0xF1}, {KoiToOem, 0xFF, 0x9A},   {AnsiToKoi, 0xC0, 0xE1},
        {KoiToAnsi, 0xA3, 0xB8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(convertByte(c.f, c.in), c.out);
    }
}

// The two-step conversions are the composition of their tables: what CP866 lacks is lost,
// even where the target holds it.
TEST(CodePages, TwoStepConversionsGoThroughCp866)
{
    for (int b = 0x80; b <= 0xFF; ++b) {
        SCOPED_TRACE(b);
        const unsigned char byte = static_cast<unsigned char>(b);
        EXPECT_EQ(convertByte(AnsiToKoi, byte), convertByte(OemToKoi, convertByte(CharToOemA, byte)));
        EXPECT_EQ(convertByte(KoiToAnsi, byte), convertByte(OemToCharA, convertByte(KoiToOem, byte)));
    }
    // The copyright sign: CP1251 0xA9 and KOI8-R 0xBF, but not in CP866.
    EXPECT_EQ(decode(0xA9, "CP1251"), decode(0xBF, "KOI8-R"));
    EXPECT_EQ(convertByte(AnsiToKoi, 0xA9), '?');
    EXPECT_EQ(convertByte(KoiToAnsi, 0xBF), '?');
}

TEST(CodePages, LowHalfPassesUnchanged)
{
    const Conversion all[] = {OemToKoi, KoiToOem, OemToCharA, CharToOemA, AnsiToKoi, KoiToAnsi};
    std::string low;
    for (int b = 1; b < 128; ++b)
        low += static_cast<char>(b);
    for (Conversion f : all) {
        char out[128];
        EXPECT_EQ(f(low.c_str(), out, 128), 127);
        EXPECT_EQ(std::string(out), low);
    }
}

TEST(CodePages, LimitAndTermination)
{
    const char* koi = "\xF0\xD2\xC9\xD7\xC5\xD4"; // "Привет"
    const std::string oem = "\x8F\xE0\xA8\xA2\xA5\xE2";

    // Stopped by the zero byte before the limit: terminated there.
    char out[16];
    std::fill(out, out + 16, 'Z');
    EXPECT_EQ(KoiToOem(koi, out, 16), 6);
    EXPECT_EQ(std::string(out), oem);
    EXPECT_EQ(out[7], 'Z');

    // Stopped by the limit: nothing is written at dst[limit].
    std::fill(out, out + 16, 'Z');
    EXPECT_EQ(KoiToOem(koi, out, 4), 4);
    EXPECT_EQ(std::string(out, 5), oem.substr(0, 4) + "Z");
    std::fill(out, out + 16, 'Z');
    EXPECT_EQ(KoiToOem(koi, out, 6), 6); // the limit reached exactly at the zero byte
    EXPECT_EQ(out[6], 'Z');
    out[0] = 'Z';
    EXPECT_EQ(KoiToOem(koi, out, 0), 0);
    EXPECT_EQ(out[0], 'Z');

    // In place.
    char text[] = "\xF0\xD2\xC9\xD7\xC5\xD4!";
    EXPECT_EQ(KoiToOem(text, text, sizeof text), 7);
    EXPECT_EQ(std::string(text), oem + "!");

    EXPECT_EQ(KoiToOem(nullptr, out, 4), 0);
    EXPECT_EQ(KoiToOem(koi, nullptr, 4), 0);
    EXPECT_EQ(convertCodePage(CpKoiToOem, koi, out, -1), 0);
    EXPECT_EQ(convertCodePage(static_cast<CodePageConversion>(99), koi, out, 4), 0);
}

} // namespace

// Formater driven like a grid cell: a template, a starting value and a key script give the
// shown text, the caret, the binary value read back and the colour; then the primary text,
// the binary value's edges, null values and the "maxSym" assertion.
#include "formatertest.h"

#include <vexapi/core/vexassert.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace formatertest;
using DataSourceAPI::Type;

namespace {

const char* const null = nullptr;

struct Case {
    const char* tmpl;
    Type type;
    const char* start; // the value put in first, null for a null value
    const char* keys;
    const char* text;  // getFormatText afterwards
    int caret;
    const char* value; // read back by getBinValue; "NULL" for null
    const char* colour; // "r,g,b" or "" for none, after the value was read back
};

std::ostream& operator<<(std::ostream& os, const Case& c)
{
    return os << "\"" << c.tmpl << "\" type " << int(c.type) << " start "
              << (c.start ? c.start : "null") << " keys \"" << c.keys << "\"";
}

const Case cases[] = {
    // Numbers: the first field aligned right, the decimals filled with zeros.
    {"###.##", DataSourceAPI::tDouble, null, "12.", " 12.00", 4, "12", ""},
    {"###.##", DataSourceAPI::tDouble, null, "12.5{H}", " 12.50", 0, "12.5", ""},
    {"###.##", DataSourceAPI::tDouble, null, "5{E}", "  5.00", 6, "5", ""},
    {"###.##", DataSourceAPI::tDouble, null, "1234567", "123.45", 6, "123.45", ""},
    {"##.#", DataSourceAPI::tReal, null, "1.5", " 1.5", 4, "1.5", ""},
    {"###", DataSourceAPI::tInt, null, "3.1", "31", 2, "31", ""},
    {"###", DataSourceAPI::tInt, null, "-5{H}", " -5", 0, "-5", ""},
    {"$###", DataSourceAPI::tInt, null, "-5{H}", "$ -5", 0, "-5", ""},
    {"###", DataSourceAPI::tInt, null, "007{H}", "  7", 0, "7", ""},
    {"###", DataSourceAPI::tInt, null, "-{H}", "  0", 0, "0", ""},
    {"#####", DataSourceAPI::tSmall, null, "-123{E}", " -123", 5, "-123", ""},
    // Typing at column 0 starts a zero over, and typing in the blanks before a number.
    {"###", DataSourceAPI::tInt, "0", "7", "7", 1, "7", ""},
    {"###", DataSourceAPI::tInt, "5", "7", "7", 1, "7", ""},
    {"###", DataSourceAPI::tInt, "123", "7", "723", 1, "723", ""},
    {"###", DataSourceAPI::tInt, "-4", "5", "5", 1, "5", ""},
    {"$###", DataSourceAPI::tInt, "-4", "5", "$5", 2, "5", ""},
    {"$###", DataSourceAPI::tInt, "0", "7", "$7", 2, "7", ""},
    {"$###", DataSourceAPI::tInt, "123", "7", "$723", 2, "723", ""},
    {"$###", DataSourceAPI::tInt, "123", "$7", "$723", 2, "723", ""},
    {"###.##", DataSourceAPI::tDouble, "2", "", "  2.00", 0, "2", ""},
    {"###.##", DataSourceAPI::tDouble, "2", "7", "7", 1, "7", ""},
    // A decimal keeps every digit of its integer part.
    {"####################.##", DataSourceAPI::tDec, null, "12345678901234567890.5",
     "12345678901234567890.50", 22, "12345678901234567890.50", ""},
    {"#####.##", DataSourceAPI::tDec, "-12.5", "", "  -12.50", 0, "-12.50", ""},
    // A negative fraction keeps its sign in front of the zero.
    {"###.##", DataSourceAPI::tDouble, "-0.5", "", " -0.50", 0, "-0.5", ""},
    {"###.##", DataSourceAPI::tDec, null, "-0.05{H}", " -0.05", 0, "-0.05", ""},
    {"###.##", DataSourceAPI::tDec, null, "-{H}", "  0.00", 0, "0.00", ""},
    // The colour by sign, from the head.
    {"<NEG:255 0 0>;###", DataSourceAPI::tInt, "-1", "", " -1", 0, "-1", "255,0,0"},
    {"<NEG:255 0 0>;###", DataSourceAPI::tInt, "1", "", "  1", 0, "1", ""},
    {"<NEG:1 2 3><ZERO:4 5 6><POS:7 8 9>;###.##", DataSourceAPI::tDec, null, "-12.5",
     "-12.50", 5, "-12.50", "1,2,3"},
    {"<NEG:1 2 3><ZERO:4 5 6><POS:7 8 9>;###.##", DataSourceAPI::tDec, null, "0{H}",
     "  0.00", 0, "0.00", "4,5,6"},
    {"<NEG:1 2 3><ZERO:4 5 6><POS:7 8 9>;###.##", DataSourceAPI::tDouble, "0.5", "",
     "  0.50", 0, "0.5", "7,8,9"},
    {"<ZERO:1 1 1>;***", DataSourceAPI::tText, null, "ab", "ab", 2, "ab", "1,1,1"},
    {"<ZERO:1 1 1>;DD.MM.YYYY", DataSourceAPI::tDate, "2026-01-05 00:00:00.00", "",
     "05.01.2026", 0, "2026-01-05 00:00:00.00", "1,1,1"},

    // Each element of the mask.
    {"AAA", DataSourceAPI::tText, null, "a1b2c", "abc", 3, "abc", ""},
    {"999", DataSourceAPI::tText, null, "a!1-", "a1", 2, "a1", ""},
    {"[az]", DataSourceAPI::tText, null, "azb", "b", 1, "b", ""},
    {"[az][09]", DataSourceAPI::tText, null, "m0m5", "m5", 2, "m5", ""},
    {"UUU-LLL", DataSourceAPI::tText, null, "abcDEF", "ABC-def", 7, "ABC-def", ""},
    {"\\A#", DataSourceAPI::tText, null, "5", "A5", 2, "A5", ""},
    {"'%'###", DataSourceAPI::tText, null, "123", "%123", 4, "123", ""},
    {"%###", DataSourceAPI::tText, null, "123", "%123", 4, "%123", ""},
    {"***", DataSourceAPI::tText, null, "a\tb\r", "ab", 2, "ab", ""},
    {"##-##", DataSourceAPI::tText, null, "1234", "12-34", 5, "12-34", ""},
    {"##-##", DataSourceAPI::tText, null, "1-23", "1 -23", 5, "1 -23", ""},
    {"##-##", DataSourceAPI::tText, null, "1/2", "12-", 3, "12-", ""},
    {"!(###!)", DataSourceAPI::tText, null, "1", "(1  )", 2, "(1  )", ""},
    {"!(###!)", DataSourceAPI::tText, null, "1{B}{B}", "(   )", 0, "(   )", ""},
    {"###!-", DataSourceAPI::tText, null, "1", "1  -", 1, "1  -", ""},

    // Caret keys.
    {"##-##", DataSourceAPI::tText, null, "12{L}{L}", "12-", 1, "12-", ""},
    {"##-##", DataSourceAPI::tText, null, "12{L}{L}{L}{L}", "12-", 0, "12-", ""},
    {"##-##", DataSourceAPI::tText, null, "12{U}{D}{D}", "12-", 3, "12-", ""},
    {"##-##", DataSourceAPI::tText, null, "1234{H}{R}{R}{R}", "12-34", 3, "12-34", ""},
    {"##", DataSourceAPI::tText, null, "12{R}{I}", "12", 2, "12", ""},
    {"##-##", DataSourceAPI::tText, null, "1234{P4}9", "12-39", 5, "12-39", ""},
    {"##-##", DataSourceAPI::tText, null, "12{P99}", "12-", 3, "12-", ""},
    {"##-##", DataSourceAPI::tText, null, "12{P-3}", "12-", 0, "12-", ""},
    {"$$##", DataSourceAPI::tText, null, "12{H}{R}", "$$12", 2, "$$12", ""},
    {"$$##", DataSourceAPI::tText, null, "12{P1}{L}", "$$12", 0, "$$12", ""},

    // Backspace and Delete, over literals and at both ends.
    {"##-##", DataSourceAPI::tText, null, "1234{B}{B}{B}", "1", 1, "1", ""},
    {"##-##", DataSourceAPI::tText, null, "1234{H}{B}", "12-34", 0, "12-34", ""},
    {"##-##", DataSourceAPI::tText, null, "1234{P2}{B}", "1 -34", 1, "1 -34", ""},
    {"(###) ###-####", DataSourceAPI::tText, null, "5551234567{H}{R}{X}", "(551) 234-567",
     1, "(551) 234-567", ""},
    {"(###) ###-####", DataSourceAPI::tText, null, "5551234567{P9}{X}", "(555) 123-4567", 9,
     "(555) 123-4567", ""},
    {"AA-##", DataSourceAPI::tText, null, "ab12{H}{X}", " b-12", 0, " b-12", ""},
    {"AA-##", DataSourceAPI::tText, null, "ab12{P4}{X}", "ab-1", 4, "ab-1", ""},
    {"AA-##", DataSourceAPI::tText, null, "ab12{X}", "ab-12", 5, "ab-12", ""},
    // All digits: Delete pulls the rest of the number left across the point.
    {"###.##", DataSourceAPI::tDouble, null, "12.5{H}{R}{X}", " 25.00", 1, "25", ""},
    {"###.AA", DataSourceAPI::tDouble, null, "12.{H}{R}{X}", "  2.  ", 1, "2", ""},

    // Null values and the null text.
    {"<NULLTEXT:(none)>;###", DataSourceAPI::tInt, null, "", "(none)", 0, "NULL", ""},
    {"<NULL:9 9 9><NULLTEXT:n/a>;###", DataSourceAPI::tInt, null, "", "n/a", 0, "NULL",
     "9,9,9"},
    {"<NULLTEXT:(none)>;###", DataSourceAPI::tInt, null, "5", "5", 1, "5", ""},
    {"<NULLTEXT:x>;###", DataSourceAPI::tInt, null, "{X}", "", 0, "0", ""},
    {"<NULLTEXT:x>;###", DataSourceAPI::tInt, null, "{B}", "", 0, "0", ""},
    {"<NULLTEXT:x>;###", DataSourceAPI::tInt, null, "{L}{R}{H}{E}{P2}", "x", 0, "NULL", ""},
    {"<NULLTEXT:x>;###", DataSourceAPI::tInt, null, "z", "", 0, "0", ""},
    {"<NULLTEXT:x>;!(##!)", DataSourceAPI::tText, null, "z", "(  )", 0, "(  )", ""},

    // Dates: fields by letter, month names, the year from the clock (2026 here).
    {"DD.MM.YYYY", DataSourceAPI::tDate, null, "05012026", "05.01.2026", 10,
     "2026-01-05 00:00:00.00", ""},
    {"DD MMM YYYY", DataSourceAPI::tDate, "2026-01-05 00:00:00.00", "", "05 Jan 2026", 0,
     "2026-01-05 00:00:00.00", ""},
    {"DD MMM YYYY", DataSourceAPI::tDate, null, "05jan2026", "05 jan 2026", 11,
     "2026-01-05 00:00:00.00", ""},
    {"DD MMM YYYY", DataSourceAPI::tDate, null, "05DEC2026", "05 DEC 2026", 11,
     "2026-12-05 00:00:00.00", ""},
    {"HH:MI:SS", DataSourceAPI::tDate, null, "123456", "12:34:56", 8,
     "2026-01-01 12:34:56.00", ""},
    {"DD.MM.YY", DataSourceAPI::tDate, null, "050107", "05.01.07", 8,
     "2007-01-05 00:00:00.00", ""},
    {"DD.MM.YYYY", DataSourceAPI::tDate, null, "31022026", "31.02.2026", 10,
     "2026-03-03 00:00:00.00", ""},
    {"DD.MM.YYYY HH:MI", DataSourceAPI::tDate, "2026-03-07 13:05:09.07", "",
     "07.03.2026 13:05", 0, "2026-03-07 13:05:00.00", ""},
    {"DD.MM.YYYY HH:MI:SS.FF", DataSourceAPI::tDate, "2024-02-29 23:59:59.99", "",
     "29.02.2024 23:59:59.99", 0, "2024-02-29 23:59:59.99", ""},
    {"YYYY-MM-DD", DataSourceAPI::tDate, "0987-06-05 00:00:00.00", "", "0987-06-05", 0,
     "0987-06-05 00:00:00.00", ""},
    {"****-**-** **:**:**.**", DataSourceAPI::tDate, "2026-03-07 13:05:09.07", "",
     "2026-03-07 13:05:09.07", 0, "2026-03-07 13:05:09.07", ""},

    // Text values.
    {"*****", DataSourceAPI::tChar, "abc", "", "abc", 0, "abc", ""},
    {"UUUUU", DataSourceAPI::tChar, "abcdefg", "", "ABCDE", 0, "ABCDE", ""},
    {"*****", DataSourceAPI::tText, "abc", "{E}de", "abcde", 5, "abcde", ""},
};

class FormaterCases : public ::testing::TestWithParam<Case> {};

TEST_P(FormaterCases, TextCaretValueAndColour)
{
    const Case& c = GetParam();
    WChar buffer[64];
    TestFormater f;
    f.reset(buffer, 64, c.type, W(c.tmpl).c_str());
    if (c.start) {
        std::vector<unsigned char> v = makeValue(c.type, c.start);
        EXPECT_TRUE(f.setBinValue(v.data(), false));
    }
    play(f, c.keys, [&] { ASSERT_EQ(f.checkInvariants(), 0) << N(f.getFormatText()); });
    EXPECT_EQ(N(f.getFormatText()), c.text);
    EXPECT_EQ(f.getFormatLen(), int(std::strlen(c.text)));
    EXPECT_EQ(f.getFormatPos(), c.caret);
    EXPECT_EQ(readBack(f), c.value);
    EXPECT_EQ(colourText(f), c.colour);
    EXPECT_EQ(f.checkInvariants(), 0);
}

INSTANTIATE_TEST_SUITE_P(Table, FormaterCases, ::testing::ValuesIn(cases));

// ---- The primary text ----

struct TextCase {
    const char* tmpl;
    Type type;
    const char* in;
    const char* shown;
    const char* primary;
};

TEST(FormaterPrimaryText, GoesThroughTheMask)
{
    const TextCase table[] = {
        // Integers take no fractions.
        {"###", DataSourceAPI::tInt, "3.14159", "  3", "  3"},
        {"###.##", DataSourceAPI::tDouble, "12.5", " 12.50", " 12.50"},
        {"###.##", DataSourceAPI::tDouble, "-1.5", " -1.50", " -1.50"},
        {"$#,###", DataSourceAPI::tInt, "1234", "$1,234", "$1,234"},
        {"$###", DataSourceAPI::tInt, "-5", "$ -5", "$ -5"},
        {"###", DataSourceAPI::tInt, "12345", "123", "123"},
        {"##-##", DataSourceAPI::tText, "1-23", "1 -23", "1 -23"},
        {"##-##", DataSourceAPI::tText, "1234", "12-34", "12-34"},
        {"##-##", DataSourceAPI::tText, "12345678", "12-34", "12-34"},
        {"##-##", DataSourceAPI::tText, "1x2", "1 -2", "1 -2"},
        // A literal shows behind the text only when it is important.
        {"'<'***'>'", DataSourceAPI::tText, "abc", "<abc", "abc"},
        {"'<'***'>'", DataSourceAPI::tText, "a", "<a", "a"},
        {"!'<'***!'>'", DataSourceAPI::tText, "a", "<a  >", "a  "},
        {"UU.LL", DataSourceAPI::tText, "ab.CD", "AB.cd", "AB.cd"},
        {"***", DataSourceAPI::tText, "", "", ""},
    };
    for (const TextCase& c : table) {
        SCOPED_TRACE(std::string(c.tmpl) + " <- " + c.in);
        WChar buffer[32];
        Formater f;
        f.reset(buffer, 32, c.type, W(c.tmpl).c_str());
        EXPECT_TRUE(f.setPrimaryText(W(c.in).c_str()));
        EXPECT_FALSE(f.isNull());
        EXPECT_EQ(N(f.getFormatText()), c.shown);
        EXPECT_EQ(f.getFormatPos(), 0);
        WChar primary[32];
        EXPECT_EQ(f.getPrimaryText(primary, 32), int(std::strlen(c.primary)));
        EXPECT_EQ(N(primary), c.primary);
        EXPECT_EQ(f.getPrimaryTextLen(), int(std::strlen(c.primary)));
        EXPECT_EQ(f.checkInvariants(), 0);
    }
}

TEST(FormaterPrimaryText, IsCutToTheCallersBuffer)
{
    WChar buffer[32];
    Formater f;
    f.reset(buffer, 32, DataSourceAPI::tText, W("'['#####").c_str());
    f.setPrimaryText(W("12345").c_str());
    WChar out[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(f.getPrimaryText(out, 4), 3);
    EXPECT_EQ(N(out), "123");
    EXPECT_EQ(out[4], 9);
    EXPECT_EQ(f.getPrimaryText(out, 1), 0);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(f.getPrimaryText(nullptr, 8), 0);
}

TEST(FormaterPrimaryText, AnOutsideCallerExchangesDatesInCanonicalForm)
{
    WChar buffer[32];
    TestFormater f;
    f.reset(buffer, 32, DataSourceAPI::tDate, W("DD.MM.YYYY").c_str());
    EXPECT_TRUE(f.setPrimaryText(W("2026-03-07 13:05:09.07").c_str(), fcOutside));
    EXPECT_EQ(N(f.getFormatText()), "07.03.2026");
    WChar out[32];
    f.getPrimaryText(out, 32, fcOutside);
    EXPECT_EQ(N(out), "2026-03-07 00:00:00.00");
    f.getPrimaryText(out, 32, fcGrid);
    EXPECT_EQ(N(out), "07.03.2026");

    // A text that is no date changes nothing; a blank one is null.
    EXPECT_FALSE(f.setPrimaryText(W("soon").c_str(), fcOutside));
    EXPECT_EQ(N(f.getFormatText()), "07.03.2026");
    EXPECT_TRUE(f.setPrimaryText(W("  ").c_str(), fcOutside));
    EXPECT_TRUE(f.isNull());
    EXPECT_EQ(f.getPrimaryText(out, 32, fcOutside), 0);

    // The grid's own path takes the mask's form.
    EXPECT_TRUE(f.setPrimaryText(W("24.12.2025").c_str(), fcGrid));
    EXPECT_EQ(readBack(f), "2025-12-24 00:00:00.00");
}

// ---- Binary values ----

TEST(FormaterValue, CopiesTheSmallerOfTheValueAndTheCallersSize)
{
    WChar buffer[32];
    Formater f;
    f.reset(buffer, 32, DataSourceAPI::tText, W("*****").c_str());
    std::vector<unsigned char> v = makeValue(DataSourceAPI::tText, "abc");
    f.setBinValue(v.data(), false);
    // setBinValue counts characters, calcValue bytes; getBinValue always recalculates.
    EXPECT_EQ(f.valueSize(), 4);
    unsigned char out[16];
    std::memset(out, 0xAA, sizeof out);
    bool isNull = true;
    EXPECT_TRUE(f.getBinValue(out, 3, isNull));
    EXPECT_FALSE(isNull);
    EXPECT_EQ(f.valueSize(), 8);
    EXPECT_EQ(out[0], 'a');
    EXPECT_EQ(out[2], 'b');
    EXPECT_EQ(out[3], 0xAA);

    // No value at all: the caller's bytes are zeroed.
    f.setBinValue(nullptr, true);
    std::memset(out, 0xAA, sizeof out);
    f.getBinValue(out, 16, isNull);
    EXPECT_TRUE(isNull);
    for (unsigned char b : out)
        EXPECT_EQ(b, 0);
}

TEST(FormaterValue, TextValuesHoldWhatTheirRoomAllows)
{
    std::vector<WChar> buffer(400);
    std::string mask(200, '*');
    std::string longText(180, 'x');

    Formater f;
    f.reset(buffer.data(), 400, DataSourceAPI::tText, W(mask).c_str());
    f.setPrimaryText(W(longText).c_str());
    EXPECT_EQ(f.getTextLen(), 180);
    EXPECT_EQ(readBack(f), std::string(Formater::TextValueChars - 1, 'x'));
    EXPECT_EQ(f.valueSize(), 2 * (Formater::TextValueChars - 1) + 2);

    f.reset(buffer.data(), 400, DataSourceAPI::tChar, W(mask).c_str());
    std::string chars(350, 'y');
    f.setBinValue(chars.c_str(), false);
    EXPECT_EQ(f.getTextLen(), 200);
    EXPECT_EQ(readBack(f), std::string(Formater::ValueRoom - 100, 'y'));
}

TEST(FormaterValue, ReportsTextThatIsNoValue)
{
    struct {
        const char* tmpl;
        Type type;
        const char* keys;
        bool ok;
        const char* value;
    } const table[] = {
        {"*****", DataSourceAPI::tInt, "x", false, "0"},
        {"#####", DataSourceAPI::tSmall, "40000", false, "32767"},
        {"######", DataSourceAPI::tSmall, "-40000", false, "-32768"},
        {"###########", DataSourceAPI::tInt, "99999999999", false, "2147483647"},
        {"*****", DataSourceAPI::tDouble, "1e999", false, "0"},
        {"*****", DataSourceAPI::tDec, "abc", false, "0"},
        {"$###", DataSourceAPI::tInt, "", true, "0"},
        {"**********", DataSourceAPI::tDate, "2026-13-01", false, ""},
        {"**********", DataSourceAPI::tDate, "2026-12-01", true, "2026-12-01 00:00:00.00"},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(std::string(c.tmpl) + " " + c.keys);
        WChar buffer[32];
        Formater f;
        f.reset(buffer, 32, c.type, W(c.tmpl).c_str());
        f.setNull(false);
        play(f, c.keys);
        unsigned char v[32];
        bool isNull = true;
        EXPECT_EQ(f.getBinValue(v, sizeof v, isNull), c.ok);
        EXPECT_FALSE(isNull);
        EXPECT_EQ(valueText(c.type, v), c.value);
    }
}

TEST(FormaterValue, ATypeWithoutValueShowsNothing)
{
    WChar buffer[16];
    Formater f;
    f.reset(buffer, 16, DataSourceAPI::tBlob, W("***").c_str());
    unsigned char blob[16] = {1, 2, 3};
    EXPECT_FALSE(f.setBinValue(blob, false));
    EXPECT_FALSE(f.isNull());
    EXPECT_EQ(f.getFormatLen(), 0);
    FormaterColor c;
    EXPECT_FALSE(f.specialColor(c));
}

TEST(FormaterValue, ValuesRoundTripThroughTheirMask)
{
    struct {
        const char* tmpl;
        Type type;
        const char* value;
    } const table[] = {
        {"###########", DataSourceAPI::tInt, "-2147483648"},
        {"######", DataSourceAPI::tSmall, "-32768"},
        {"#####.###", DataSourceAPI::tReal, "-1234.5"},
        {"###.###############", DataSourceAPI::tDouble, "0.1"},
        {"$ #####.##", DataSourceAPI::tDec, "-4711.05"},
        {"YYYY-MM-DD HH:MI:SS.FF", DataSourceAPI::tDate, "0001-01-01 00:00:00.00"},
        {"DD MMM YYYY HH:MI:SS.FF", DataSourceAPI::tDate, "9999-12-31 23:59:59.99"},
        {"*****************", DataSourceAPI::tChar, "Hello, world"},
        {"UUU", DataSourceAPI::tText, "ABC"},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(c.tmpl);
        WChar buffer[64];
        Formater f;
        f.reset(buffer, 64, c.type, W(c.tmpl).c_str());
        std::vector<unsigned char> v = makeValue(c.type, c.value);
        ASSERT_TRUE(f.setBinValue(v.data(), false));
        EXPECT_EQ(readBack(f), c.value) << N(f.getFormatText());
    }
}

// ---- Null ----

TEST(FormaterNull, TheNullTextIsCutToTheBufferAndTheFirstKeyClearsIt)
{
    WChar buffer[5];
    Formater f;
    f.reset(buffer, 5, DataSourceAPI::tInt, W("<NULLTEXT:no value>;###").c_str());
    EXPECT_TRUE(f.isNull());
    EXPECT_EQ(N(f.textOfNull()), "no value");
    EXPECT_EQ(N(f.getFormatText()), "no value");
    f.setBinValue(nullptr, true);
    EXPECT_EQ(N(buffer), "no v");
    EXPECT_EQ(f.getTextLen(), 4);
    EXPECT_EQ(f.checkInvariants(), 0);
    WChar primary[8];
    EXPECT_EQ(f.getPrimaryText(primary, 8), 0);

    f.OnChar('4');
    EXPECT_FALSE(f.isNull());
    EXPECT_EQ(N(f.getFormatText()), "4");
    EXPECT_EQ(f.checkInvariants(), 0);

    f.setNull(true);
    EXPECT_TRUE(f.isNull());
    EXPECT_EQ(readBack(f), "NULL");
    f.setNull(false);
    EXPECT_FALSE(f.isNull());
    EXPECT_EQ(f.getFormatLen(), 0);
    EXPECT_EQ(readBack(f), "0");
}

TEST(FormaterNull, TheColourFollowsTheLastBinaryValueOnly)
{
    WChar buffer[16];
    Formater f;
    f.reset(buffer, 16, DataSourceAPI::tInt, W("<NEG:1 0 0><POS:0 1 0>;####").c_str());
    std::vector<unsigned char> five = makeValue(DataSourceAPI::tInt, "5");
    f.setBinValue(five.data(), false);
    EXPECT_EQ(colourText(f), "0,1,0");
    play(f, "-3");
    EXPECT_EQ(N(f.getFormatText()), "-3");
    EXPECT_EQ(colourText(f), "0,1,0");
    EXPECT_EQ(readBack(f), "-3");
    EXPECT_EQ(colourText(f), "1,0,0");
}

// ---- Buffers and the "maxSym" assertion ----

struct Report {
    std::string expression, unit;
};
std::vector<Report> g_reports;
void collect(const char* expression, const char* unit, int) { g_reports.push_back({expression, unit}); }

TEST(FormaterAssertion, AMaskThatDoesNotFitReportsMaxSymFromFormater)
{
    VexAPI::AssertHandler previous = VexAPI::setAssertHandler(&collect);
    WChar buffer[6] = {7, 7, 7, 7, 7, 7};
    TestFormater f;
    f.reset(buffer, 5, DataSourceAPI::tInt, W("<NULLTEXT:-->;#####").c_str());
    EXPECT_EQ(f.getMaxSym(), 0);
    EXPECT_TRUE(g_reports.empty());

    const std::vector<std::function<void()>> calls = {
        [&] { EXPECT_TRUE(f.OnKeyDown(Formater::kEnd)); },
        [&] { EXPECT_TRUE(f.OnChar('1')); },
        [&] { f.VkDelete(); },
        [&] {
            WChar out[8];
            EXPECT_EQ(f.getPrimaryText(out, 8), 0);
        },
        [&] { EXPECT_FALSE(f.setPrimaryText(W("12").c_str())); },
    };
    for (const auto& call : calls) {
        g_reports.clear();
        call();
        ASSERT_EQ(g_reports.size(), 1u);
        EXPECT_EQ(g_reports[0].expression, "maxSym");
        EXPECT_EQ(g_reports[0].unit, "formater");
        EXPECT_EQ(f.checkInvariants(), 0);
        EXPECT_EQ(buffer[5], 7);
    }
    // The null value and its text need no mask.
    g_reports.clear();
    f.setBinValue(nullptr, true);
    EXPECT_EQ(N(buffer), "--");
    EXPECT_TRUE(g_reports.empty());
    VexAPI::setAssertHandler(previous);
}

TEST(FormaterAssertion, TheMaskFitsWhenTheBufferHoldsItAndItsTerminator)
{
    VexAPI::AssertHandler previous = VexAPI::setAssertHandler(&collect);
    g_reports.clear();
    struct {
        WChar* buffer;
        int capacity;
        const char* tmpl;
        int maxSym;
    } const table[] = {
        {nullptr, 0, "###", 0},
        {nullptr, 10, "###", 0},
        {new WChar[4], 4, "###", 3},
        {new WChar[3], 3, "###", 0},
        {new WChar[8], 8, "", 0},
        {new WChar[8], 8, "<NEG:1 1 1>;", 0},
        {new WChar[8], -1, "#", 0},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(c.tmpl);
        Formater f;
        f.reset(c.buffer, c.capacity, DataSourceAPI::tText, W(c.tmpl).c_str());
        EXPECT_EQ(f.getMaxSym(), c.maxSym);
        play(f, "12{X}{B}{L}{R}{H}{E}");
        EXPECT_EQ(f.checkInvariants(), 0);
        if (c.maxSym) {
            EXPECT_EQ(N(f.getFormatText()), "1");
        }
        delete[] c.buffer;
    }
    EXPECT_FALSE(g_reports.empty());
    VexAPI::setAssertHandler(previous);
}

TEST(FormaterTemplate, KeepsAtMostPatternLimitCharacters)
{
    std::string tmpl(5000, '#');
    std::vector<WChar> buffer(6000);
    Formater f;
    f.reset(buffer.data(), 6000, DataSourceAPI::tText, W(tmpl).c_str());
    EXPECT_EQ(f.getMaxSym(), Formater::PatternLimit);
    EXPECT_EQ(N(f.getPattern()), std::string(Formater::PatternLimit, '#'));
    EXPECT_EQ(f.getType(), DataSourceAPI::tText);
}

} // namespace

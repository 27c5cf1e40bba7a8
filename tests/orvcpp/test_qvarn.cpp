// The C-style decimal and date routines: every format element both ways, a bad text per
// element, the grid's two date formats, and the conventions callers rely on (status codes,
// untouched output on failure, null pointers, unaligned row images).
#include <vexapi/values/qvarn.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace {

WString widen(const std::string& s)
{
    WString w;
    for (char c : s)
        w.push_back(WChar(static_cast<unsigned char>(c)));
    return w;
}

std::string narrow(const WChar* s)
{
    std::string n;
    for (; *s; ++s)
        n.push_back(char(*s));
    return n;
}

std::string format(const OrvDate& d, const char* fmt)
{
    char buf[128];
    int rc = TICKTOSTRF(&d, fmt, buf, sizeof buf);
    EXPECT_EQ(rc, QV_OK) << fmt;
    // The 16-bit routine writes the same text.
    WChar wbuf[128];
    WString wfmt = widen(fmt);
    EXPECT_EQ(TICKTOSTRF(&d, wfmt.c_str(), wbuf, 128), QV_OK);
    EXPECT_EQ(narrow(wbuf), std::string(buf)) << fmt;
    return buf;
}

// Parses in both widths; both must agree on the result code and the date.
int parse(const char* text, const char* fmt, OrvDate& out)
{
    OrvDate n = out, w = out;
    int rc = STRTOTICKF(text, fmt, &n);
    WString wt = widen(text), wf = widen(fmt);
    EXPECT_EQ(STRTOTICKF(wt.c_str(), wf.c_str(), &w), rc) << text << " / " << fmt;
    EXPECT_EQ(n, w) << text << " / " << fmt;
    out = n;
    return rc;
}

const OrvDate kSample(2024, 2, 29, 13, 5, 9, 7);

TEST(TickFormat, EveryElementBothWays)
{
    struct Case {
        const char* format;
        const char* text;
        OrvDate parsed; // what the text reads back as (missing fields take their defaults)
    } cases[] = {
        {"yyyy", "2024", OrvDate(2024, 1, 1)},
        {"yy", "24", OrvDate(2024, 1, 1)},
        {"mm", "02", OrvDate(1, 2, 1)},
        {"dd", "29", OrvDate(1, 1, 29)},
        {"hh", "13", OrvDate(1, 1, 1, 13)},
        {"mi", "05", OrvDate(1, 1, 1, 0, 5)},
        {"ss", "09", OrvDate(1, 1, 1, 0, 0, 9)},
        {"ff", "07", OrvDate(1, 1, 1, 0, 0, 0, 7)},
        {"dd.mm.yyyy:hh:mi:ss.ff", "29.02.2024:13:05:09.07", kSample},
        {"mm/dd/yyyy:hh:mi:ss.ff", "02/29/2024:13:05:09.07", kSample},
        {"yyyy-mm-dd hh:mi:ss.ff", "2024-02-29 13:05:09.07", kSample},
        {"YYYY-MM-DD HH:MI:SS.FF", "2024-02-29 13:05:09.07", kSample},
        {"yyyymmddhhmissff", "2024022913050907", kSample},
        {"Date: dd/mm/yy", "Date: 29/02/24", OrvDate(2024, 2, 29)},
        {"hh'h' mi", "13'h' 05", OrvDate(1, 1, 1, 13, 5)},
        {"", "", OrvDate()},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(format(kSample, c.format), c.text) << c.format;
        OrvDate back(3);
        EXPECT_EQ(parse(c.text, c.format, back), QV_OK) << c.format;
        EXPECT_EQ(back, c.parsed) << c.format;
        // Formatting what was read gives the text again.
        EXPECT_EQ(format(back, c.format), c.text) << c.format;
    }
}

TEST(TickFormat, LenientReadingOfDigitsBlanksAndFractions)
{
    struct Case {
        const char* format;
        const char* text;
        OrvDate expected;
    } cases[] = {
        {"dd.mm.yyyy", "1.2.2024", OrvDate(2024, 2, 1)},
        {"dd.mm.yyyy", " 01.02.2024  ", OrvDate(2024, 2, 1)},
        {"yyyy", "987", OrvDate(987, 1, 1)},
        {"ss.ff", "09.5", OrvDate(1, 1, 1, 0, 0, 9, 50)},
        {"ss.ff", "09.05", OrvDate(1, 1, 1, 0, 0, 9, 5)},
        {"dd mm", "01    02", OrvDate(1, 2, 1)},
        {"dd  mm", "01 02", OrvDate(1, 2, 1)},
        {"dd\tmm", "01 02", OrvDate(1, 2, 1)},
        {"yy", "68", OrvDate(2068, 1, 1)},
        {"yy", "69", OrvDate(1969, 1, 1)},
        {"yy", "00", OrvDate(2000, 1, 1)},
        {"dd.mm.yyyy dd", "29.02.2024 29", OrvDate(2024, 2, 29)},
    };
    for (const Case& c : cases) {
        OrvDate d;
        EXPECT_EQ(parse(c.text, c.format, d), QV_OK) << c.text << " / " << c.format;
        EXPECT_EQ(d, c.expected) << c.text << " / " << c.format;
    }
}

TEST(TickFormat, BadTextPerElementIsRefusedAndLeavesTheDate)
{
    struct Case {
        const char* format;
        const char* text;
        int rc;
    } cases[] = {
        {"yyyy", "abcd", QV_ESYNTAX},       {"yyyy", "0000", QV_ERANGE},
        {"yyyy", "20245", QV_ESYNTAX},      {"yy", "x", QV_ESYNTAX},
        {"mm", "13", QV_ERANGE},            {"mm", "00", QV_ERANGE},
        {"mm", "-1", QV_ESYNTAX},           {"dd", "32", QV_ERANGE},
        {"dd", "", QV_ESYNTAX},             {"hh", "24", QV_ERANGE},
        {"hh", "1a", QV_ESYNTAX},           {"mi", "60", QV_ERANGE},
        {"mi", "+5", QV_ESYNTAX},           {"ss", "60", QV_ERANGE},
        {"ss", " ", QV_ESYNTAX},            {"ff", "x", QV_ESYNTAX},
        {"ff", "123", QV_ESYNTAX},          {"dd.mm.yyyy", "29.02.2023", QV_ERANGE},
        {"dd.mm.yyyy", "29.02.1900", QV_ERANGE},
        {"dd.mm.yyyy", "29.02.2100", QV_ERANGE},
        {"dd.mm.yyyy", "31.04.2024", QV_ERANGE},
        {"dd.mm.yyyy", "01/02/2024", QV_ESYNTAX},
        {"dd.mm.yyyy", "01.02.2024 10:00", QV_ESYNTAX},
        {"dd.mm.yyyy:hh:mi", "01.02.2024", QV_ESYNTAX},
        {"dd mm", "0102", QV_ESYNTAX},
        {"dd.mm.yyyy dd", "29.02.2024 28", QV_ESYNTAX},
        {"mm/dd", "02/29", QV_ERANGE}, // year 1 is no leap year
    };
    for (const Case& c : cases) {
        OrvDate d = kSample;
        EXPECT_EQ(parse(c.text, c.format, d), c.rc) << '"' << c.text << "\" / " << c.format;
        EXPECT_EQ(d, kSample) << c.text;
    }
}

// Random dates through a set of formats: formatting then parsing with the same format gives
// the date back, restricted to the fields the format holds.
TEST(TickFormat, RandomRoundTrips)
{
    struct Format {
        const char* text;
        bool date, time, hundredths;
    } formats[] = {
        {"dd.mm.yyyy:hh:mi:ss.ff", true, true, true},
        {"mm/dd/yyyy:hh:mi:ss.ff", true, true, true},
        {"yyyymmddhhmissff", true, true, true},
        {"dd.mm.yyyy", true, false, false},
        {"hh:mi:ss", false, true, false},
    };
    std::mt19937 rng(2100);
    for (int iter = 0; iter < 5000; ++iter) {
        int y = 1 + int(rng() % 9999), m = 1 + int(rng() % 12);
        int d = 1 + int(rng() % unsigned(OrvDate::daysInMonth(y, m)));
        int h = int(rng() % 24), mi = int(rng() % 60), s = int(rng() % 60), f = int(rng() % 100);
        OrvDate date(y, m, d, h, mi, s, f);
        for (const Format& fmt : formats) {
            char buf[64];
            ASSERT_EQ(TICKTOSTRF(&date, fmt.text, buf, sizeof buf), QV_OK);
            OrvDate back;
            ASSERT_EQ(STRTOTICKF(buf, fmt.text, &back), QV_OK) << buf;
            OrvDate expected(fmt.date ? y : 1, fmt.date ? m : 1, fmt.date ? d : 1,
                             fmt.time ? h : 0, fmt.time ? mi : 0, fmt.time ? s : 0,
                             fmt.hundredths ? f : 0);
            ASSERT_EQ(back, expected) << buf;
        }
    }
}

TEST(TickFormat, NullFormatIsTheCanonicalOne)
{
    char buf[32];
    ASSERT_EQ(TICKTOSTRF(&kSample, static_cast<const char*>(nullptr), buf, sizeof buf), QV_OK);
    EXPECT_STREQ(buf, "2024-02-29 13:05:09.07");
    OrvDate d;
    EXPECT_EQ(STRTOTICKF(buf, static_cast<const char*>(nullptr), &d), QV_OK);
    EXPECT_EQ(d, kSample);
}

TEST(TickFormat, OutputBufferAndInvalidDates)
{
    char buf[11];
    OrvDate d(2024, 2, 29);
    EXPECT_EQ(TICKTOSTRF(&d, "dd.mm.yyyy", buf, 11), QV_OK);
    EXPECT_STREQ(buf, "29.02.2024");
    std::strcpy(buf, "junk");
    EXPECT_EQ(TICKTOSTRF(&d, "dd.mm.yyyy", buf, 10), QV_EBUFFER);
    EXPECT_STREQ(buf, "");
    OrvDate bad = OrvDate::invalid();
    std::strcpy(buf, "junk");
    EXPECT_EQ(TICKTOSTRF(&bad, "dd.mm.yyyy", buf, 11), QV_EINVALID);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(TICKTOSTRF(static_cast<const OrvDate*>(nullptr), "dd", buf, 11), QV_EARG);
    EXPECT_EQ(STRTOTICKF(static_cast<const char*>(nullptr), "dd", &d), QV_EARG);
    EXPECT_EQ(STRTOTICKF("01", "dd", static_cast<OrvDate*>(nullptr)), QV_EARG);
    // A length shorter than the text limits it.
    EXPECT_EQ(STRTOTICKF("29.02.2024 junk", "dd.mm.yyyy", &d, 10), QV_OK);
    EXPECT_EQ(d, OrvDate(2024, 2, 29));
}

TEST(DecimalRoutines, TextRoundTripInBothWidths)
{
    OrvDec d;
    ASSERT_EQ(STRTODEC("-12.50", &d), QV_OK);
    char buf[OrvDec::TextSize];
    ASSERT_EQ(DECTOSTR(&d, buf, sizeof buf), QV_OK);
    EXPECT_STREQ(buf, "-12.50");
    WChar wbuf[OrvDec::TextSize];
    ASSERT_EQ(DECTOSTR(&d, wbuf, OrvDec::TextSize), QV_OK);
    EXPECT_EQ(narrow(wbuf), "-12.50");
    OrvDec w;
    ASSERT_EQ(STRTODEC(wbuf, &w), QV_OK);
    EXPECT_EQ(std::memcmp(&d, &w, 16), 0);
    // The first characters only, as callers that cut a long text do.
    ASSERT_EQ(STRTODEC("123456", &d, 3), QV_OK);
    EXPECT_EQ(d, OrvDec(123));
}

TEST(DecimalRoutines, DecimalsArgumentRoundsOrPads)
{
    OrvDec d("2.345");
    struct Case {
        int decimals;
        int rc;
        const char* text;
    } cases[] = {
        {-1, QV_OK, "2.345"}, {0, QV_OK, "2"},    {2, QV_OK, "2.35"},
        {5, QV_OK, "2.34500"}, {32, QV_OK, "2.34500000000000000000000000000000"},
        {33, QV_ERANGE, ""},  // one integer digit and 33 decimals are 34 digits
        {34, QV_EARG, ""},    {-2, QV_EARG, ""},
    };
    for (const Case& c : cases) {
        char buf[OrvDec::TextSize] = "";
        EXPECT_EQ(DECTOSTR(&d, buf, sizeof buf, c.decimals), c.rc) << c.decimals;
        EXPECT_STREQ(buf, c.text) << c.decimals;
    }
    OrvDec big = OrvDec::maxValue();
    char buf[OrvDec::TextSize] = "junk";
    EXPECT_EQ(DECTOSTR(&big, buf, sizeof buf, 1), QV_ERANGE);
    EXPECT_STREQ(buf, "");
}

// The grid's flow for a decimal cell: parse, copy on success, mark invalid on failure; the
// cell then prints nothing.
TEST(DecimalRoutines, FailedParseThenStatusThenPrint)
{
    unsigned char row[40];
    std::memset(row, 0xAB, sizeof row);
    OrvDec* cell = reinterpret_cast<OrvDec*>(row + 3); // a slot at an odd offset
    const char* inputs[] = {"1.5", "1e", "", "--1", "1234567890123456789012345678901234"};
    for (const char* input : inputs) {
        OrvDec parsed;
        int rc = STRTODEC(input, &parsed);
        if (rc == QV_OK)
            ASSERT_EQ(COPYDEC(cell, &parsed), QV_OK);
        else
            ASSERT_EQ(SETDECSTATUS(OrvDec::Invalid, cell), QV_OK);
        char buf[OrvDec::TextSize];
        int printed = DECTOSTR(cell, buf, sizeof buf);
        if (rc == QV_OK) {
            EXPECT_EQ(printed, QV_OK) << input;
            EXPECT_STREQ(buf, "1.5");
        } else {
            EXPECT_EQ(printed, QV_EINVALID) << input;
            EXPECT_STREQ(buf, "") << input;
            EXPECT_TRUE(std::isnan(DecToDbl(cell)));
        }
    }
    EXPECT_EQ(row[2], 0xAB); // nothing written around the slot
    EXPECT_EQ(row[19], 0xAB);
}

TEST(DecimalRoutines, StatusCodes)
{
    OrvDec d("7.5");
    EXPECT_EQ(SETDECSTATUS(OrvDec::Valid, &d), QV_OK);
    EXPECT_EQ(d, OrvDec("7.5")); // a valid value stays
    EXPECT_EQ(SETDECSTATUS(OrvDec::Overflow, &d), QV_OK);
    EXPECT_EQ(d.status(), OrvDec::Overflow);
    EXPECT_EQ(SETDECSTATUS(OrvDec::Valid, &d), QV_OK);
    EXPECT_TRUE(d.isValid());
    EXPECT_TRUE(d.isZero());
    EXPECT_EQ(SETDECSTATUS(0, &d), QV_OK);
    EXPECT_EQ(d.status(), OrvDec::Invalid);
    EXPECT_EQ(SETDECSTATUS(3, &d), QV_EARG);
    EXPECT_EQ(SETDECSTATUS(-1, &d), QV_EARG);
    EXPECT_EQ(SETDECSTATUS(1, nullptr), QV_EARG);
}

TEST(DecimalRoutines, CopyNormalisesBrokenImages)
{
    unsigned char broken[16] = {};
    broken[0] = 5;
    broken[14] = 40; // scale out of range
    OrvDec to("1");
    EXPECT_EQ(COPYDEC(&to, reinterpret_cast<const OrvDec*>(broken)), QV_OK);
    EXPECT_EQ(to.status(), OrvDec::Invalid);
    unsigned char expected[16] = {};
    expected[15] = 0x02; // the canonical image of an invalid value
    EXPECT_EQ(std::memcmp(&to, expected, 16), 0);

    unsigned char negZero[16] = {};
    negZero[15] = 1;
    EXPECT_EQ(COPYDEC(&to, reinterpret_cast<const OrvDec*>(negZero)), QV_OK);
    unsigned char zero[16] = {};
    EXPECT_EQ(std::memcmp(&to, zero, 16), 0);
    EXPECT_EQ(COPYDEC(nullptr, &to), QV_EARG);
}

TEST(Comparisons, SignOfFirstLessSecondWithNullsFirst)
{
    OrvDec one("1.0"), two(2), alsoOne(1);
    EXPECT_EQ(CMPDECIMAL(&one, &two), -1);
    EXPECT_EQ(CMPDECIMAL(&two, &one), 1);
    EXPECT_EQ(CMPDECIMAL(&one, &alsoOne), 0);
    EXPECT_EQ(CMPDECIMAL(nullptr, &one), -1);
    EXPECT_EQ(CMPDECIMAL(&one, nullptr), 1);
    EXPECT_EQ(CMPDECIMAL(static_cast<const OrvDec*>(nullptr), nullptr), 0);

    OrvDate early(2000, 2, 29), late(2000, 2, 29, 0, 0, 0, 1);
    EXPECT_EQ(CMPDATE(&early, &late), -1);
    EXPECT_EQ(CMPDATE(&late, &early), 1);
    EXPECT_EQ(CMPDATE(&late, &late), 0);
    EXPECT_EQ(CMPDATE(nullptr, &early), -1);
    OrvDate bad = OrvDate::invalid();
    EXPECT_EQ(CMPDATE(&bad, &early), -1);

    // Unaligned images in a row buffer compare like aligned ones.
    unsigned char row[48];
    std::memcpy(row + 1, &early, 16);
    std::memcpy(row + 17, &late, 16);
    EXPECT_EQ(CMPDATE(reinterpret_cast<const OrvDate*>(row + 1),
                      reinterpret_cast<const OrvDate*>(row + 17)),
              -1);
}

TEST(DecimalRoutines, DecToDbl)
{
    OrvDec d("-0.1");
    EXPECT_EQ(DecToDbl(&d), -0.1);
    EXPECT_TRUE(std::isnan(DecToDbl(nullptr)));
}

} // namespace

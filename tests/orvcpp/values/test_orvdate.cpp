// OrvDate: byte layout, field validation across leap years and month ends, the calendar
// against a day-by-day model, ordering, the canonical text and the stream operators.
#include <vexapi/values/orvdate.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include "streamtesting.h"

#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

using OrvCPP::OrvDate;

namespace {

using valuetesting::widen;

std::string text(const OrvDate& d)
{
    char buf[OrvDate::TextSize];
    if (d.toText(buf, sizeof buf) != QV_OK)
        return "<invalid>";
    return buf;
}

std::vector<int> fields(const OrvDate& d)
{
    std::vector<int> f(7);
    d.Decompos(&f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6]);
    return f;
}

TEST(OrvDateLayout, ZeroBytesAreTheFirstDayAndTicksAreLittleEndian)
{
    static_assert(alignof(OrvDate) == 1, "a value may sit at any offset of a row");
    unsigned char b[16] = {};
    OrvDate d;
    std::memcpy(&d, b, 16);
    EXPECT_TRUE(d.isValid());
    EXPECT_EQ(text(d), "0001-01-01 00:00:00.00");
    EXPECT_EQ(d, OrvDate());
    EXPECT_EQ(d, OrvDate::minValue());

    OrvDate later(1, 1, 2, 0, 0, 0, 1); // one day and one hundredth: 8640001 = 0x83D601
    std::memcpy(b, &later, 16);
    EXPECT_EQ(later.ticks(), 8640001);
    EXPECT_EQ(b[0], 0x01);
    EXPECT_EQ(b[1], 0xD6);
    EXPECT_EQ(b[2], 0x83);
    for (int i = 3; i < 16; ++i)
        EXPECT_EQ(b[i], 0) << i;

    OrvDate bad = OrvDate::invalid();
    std::memcpy(b, &bad, 16);
    EXPECT_EQ(b[8], 1);
}

TEST(OrvDateLayout, BrokenImagesReadAsInvalid)
{
    struct Case {
        const char* what;
        int byte;
        unsigned char value;
    } cases[] = {
        {"status byte", 8, 1},
        {"reserved byte", 12, 7},
        {"negative ticks", 7, 0x80},
        {"ticks past 9999", 6, 0x01},
    };
    for (const Case& c : cases) {
        unsigned char b[16] = {};
        b[c.byte] = c.value;
        OrvDate d;
        std::memcpy(&d, b, 16);
        EXPECT_FALSE(d.isValid()) << c.what;
    }
}

TEST(OrvDateFields, LeapYearsAndMonthEnds)
{
    struct Year {
        int year;
        bool leap;
    } years[] = {{1900, false}, {2000, true}, {2024, true}, {2100, false}, {2023, false},
                 {1, false},    {4, true},    {400, true},  {9999, false}};
    static const int days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (const Year& y : years) {
        EXPECT_EQ(OrvDate::isLeapYear(y.year), y.leap) << y.year;
        for (int m = 1; m <= 12; ++m) {
            int last = days[m - 1] + (m == 2 && y.leap ? 1 : 0);
            EXPECT_EQ(OrvDate::daysInMonth(y.year, m), last);
            EXPECT_TRUE(OrvDate(y.year, m, last).isValid()) << y.year << '-' << m;
            EXPECT_FALSE(OrvDate(y.year, m, last + 1).isValid()) << y.year << '-' << m;
            // The day after the last one of the month is the first of the next.
            if (y.year < 9999 || m < 12) {
                OrvDate next = m == 12 ? OrvDate(y.year + 1, 1, 1) : OrvDate(y.year, m + 1, 1);
                EXPECT_EQ(next.ticks() - OrvDate(y.year, m, last).ticks(),
                          OrvDate::TicksPerDay);
            }
        }
    }
}

TEST(OrvDateFields, OutOfRangeFieldsMakeAnInvalidDateThatDecomposesToZeros)
{
    const int bad[][7] = {
        {0, 1, 1, 0, 0, 0, 0},     {10000, 1, 1, 0, 0, 0, 0}, {-1, 1, 1, 0, 0, 0, 0},
        {2024, 0, 1, 0, 0, 0, 0},  {2024, 13, 1, 0, 0, 0, 0}, {2024, 1, 0, 0, 0, 0, 0},
        {2024, 1, 32, 0, 0, 0, 0}, {2024, 4, 31, 0, 0, 0, 0}, {2024, 1, 1, 24, 0, 0, 0},
        {2024, 1, 1, -1, 0, 0, 0}, {2024, 1, 1, 0, 60, 0, 0}, {2024, 1, 1, 0, 0, 60, 0},
        {2024, 1, 1, 0, 0, 0, 100}, {2024, 1, 1, 0, 0, 0, -1},
    };
    for (const auto& f : bad) {
        OrvDate d(f[0], f[1], f[2], f[3], f[4], f[5], f[6]);
        EXPECT_FALSE(d.isValid()) << f[0] << '-' << f[1] << '-' << f[2] << ' ' << f[3] << ':'
                                  << f[4] << ':' << f[5] << '.' << f[6];
        int y = 9, m = 9, day = 9, h = 9, mi = 9, s = 9, c = 9;
        EXPECT_FALSE(d.Decompos(&y, &m, &day, &h, &mi, &s, &c));
        EXPECT_EQ(std::make_tuple(y, m, day, h, mi, s, c), std::make_tuple(0, 0, 0, 0, 0, 0, 0));
        EXPECT_EQ(d, OrvDate::invalid());
        EXPECT_EQ(d.ticks(), 0);
    }
    // The extremes are valid.
    EXPECT_EQ(OrvDate(9999, 12, 31, 23, 59, 59, 99), OrvDate::maxValue());
    EXPECT_EQ(OrvDate::maxValue().ticks(), OrvDate::maxTicks());
    EXPECT_FALSE(OrvDate::fromTicks(OrvDate::maxTicks() + 1).isValid());
    EXPECT_FALSE(OrvDate::fromTicks(-1).isValid());
}

TEST(OrvDateFields, DecomposAcceptsNullPointers)
{
    OrvDate d(2024, 2, 29, 13, 5, 9, 7);
    int day = 0, hundredth = 0;
    EXPECT_TRUE(d.Decompos(nullptr, nullptr, &day, nullptr, nullptr, nullptr, &hundredth));
    EXPECT_EQ(day, 29);
    EXPECT_EQ(hundredth, 7);
}

// Every day from 0001-01-01 to 9999-12-31 against a model that counts days by hand: the
// ticks grow by one day each step and decompose to the model's fields.
TEST(OrvDateCalendar, EveryDayAgainstACountingModel)
{
    int y = 1, m = 1, d = 1;
    std::int64_t day = 0;
    for (;;) {
        OrvDate date(y, m, d, 12, 0, 0, 0);
        ASSERT_EQ(date.ticks(), day * OrvDate::TicksPerDay + 12 * 360000) << y << '-' << m << '-' << d;
        int fy, fm, fd;
        ASSERT_TRUE(OrvDate::fromTicks(day * OrvDate::TicksPerDay).Decompos(&fy, &fm, &fd));
        ASSERT_EQ(std::make_tuple(fy, fm, fd), std::make_tuple(y, m, d)) << day;
        if (y == 9999 && m == 12 && d == 31)
            break;
        ++day;
        bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
        int last = m == 2 ? (leap ? 29 : 28) : (m == 4 || m == 6 || m == 9 || m == 11) ? 30 : 31;
        if (++d > last) {
            d = 1;
            if (++m > 12) {
                m = 1;
                ++y;
            }
        }
    }
    EXPECT_EQ(day, 3652058);
}

TEST(OrvDateCalendar, UnixSecondsConstructor)
{
    struct Case {
        VLong seconds;
        const char* expected;
    } cases[] = {
        {0, "1970-01-01 00:00:00.00"},
        {-1, "1969-12-31 23:59:59.00"},
        {-86400, "1969-12-31 00:00:00.00"},
        {951782400, "2000-02-29 00:00:00.00"},
        {1709212509, "2024-02-29 13:15:09.00"},
        {2147483647, "2038-01-19 03:14:07.00"},
        {-2147483647 - 1, "1901-12-13 20:45:52.00"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(OrvDate(c.seconds)), c.expected) << c.seconds;
}

TEST(OrvDateOrder, HundredthsAndRandomFieldsOrderLikeTheirTuples)
{
    EXPECT_LT(OrvDate(2024, 12, 31, 23, 59, 59, 98), OrvDate(2024, 12, 31, 23, 59, 59, 99));
    EXPECT_LT(OrvDate(2024, 12, 31, 23, 59, 59, 99), OrvDate(2025, 1, 1));
    EXPECT_LT(OrvDate::invalid(), OrvDate::minValue());
    EXPECT_EQ(OrvDate::invalid(), OrvDate(2023, 2, 29));

    std::mt19937 rng(1900);
    auto randomDate = [&](std::vector<int>& f) {
        f = {1 + int(rng() % 9999), 1 + int(rng() % 12), 1, int(rng() % 24), int(rng() % 60),
             int(rng() % 60), int(rng() % 100)};
        f[2] = 1 + int(rng() % unsigned(OrvDate::daysInMonth(f[0], f[1])));
        // Often share a prefix, so that the later fields decide.
        return OrvDate(f[0], f[1], f[2], f[3], f[4], f[5], f[6]);
    };
    for (int iter = 0; iter < 20000; ++iter) {
        std::vector<int> fa, fb;
        OrvDate a = randomDate(fa), b = randomDate(fb);
        int share = int(rng() % 8);
        for (int i = 0; i < share; ++i)
            fb[std::size_t(i)] = fa[std::size_t(i)];
        if (fb[2] > OrvDate::daysInMonth(fb[0], fb[1]))
            fb[2] = 1;
        b = OrvDate(fb[0], fb[1], fb[2], fb[3], fb[4], fb[5], fb[6]);
        ASSERT_EQ(fields(a), fa);
        ASSERT_EQ(fields(b), fb);
        ASSERT_EQ(a < b, fa < fb);
        ASSERT_EQ(a == b, fa == fb);
        // The canonical text sorts like the date.
        ASSERT_EQ(text(a) < text(b), fa < fb);
    }
}

TEST(OrvDateText, CanonicalFormAndItsShortenings)
{
    EXPECT_STREQ(OrvDate::canonicalFormat(), "yyyy-mm-dd hh:mi:ss.ff");
    OrvDate d(2024, 2, 29, 13, 5, 9, 7);
    EXPECT_EQ(text(d), "2024-02-29 13:05:09.07");
    EXPECT_EQ(text(OrvDate(987, 6, 5)), "0987-06-05 00:00:00.00");

    struct Case {
        const char* input;
        int rc;
        const char* canonical;
    } cases[] = {
        {"2024-02-29 13:05:09.07", QV_OK, "2024-02-29 13:05:09.07"},
        {"  2024-02-29 13:05:09.07 ", QV_OK, "2024-02-29 13:05:09.07"},
        {"2024-02-29 13:05:09.5", QV_OK, "2024-02-29 13:05:09.50"},
        {"2024-02-29 13:05:09", QV_OK, "2024-02-29 13:05:09.00"},
        {"2024-02-29 13:05", QV_OK, "2024-02-29 13:05:00.00"},
        {"2024-02-29", QV_OK, "2024-02-29 00:00:00.00"},
        {"2000-02-29", QV_OK, "2000-02-29 00:00:00.00"},
        {"2023-02-29", QV_ERANGE, nullptr},
        {"1900-02-29 10:00", QV_ERANGE, nullptr},
        {"2100-02-29", QV_ERANGE, nullptr},
        {"2024-04-31", QV_ERANGE, nullptr},
        {"2024-02-03 24:00", QV_ERANGE, nullptr},
        {"2024-02-03 23:60:00", QV_ERANGE, nullptr},
        {"0000-01-01", QV_ERANGE, nullptr},
        {"2024-02-03 10", QV_ESYNTAX, nullptr},
        {"2024/02/03", QV_ESYNTAX, nullptr},
        {"2024-02-03T10:00:00", QV_ESYNTAX, nullptr},
        {"2024-02-03 10:00:00.123", QV_ESYNTAX, nullptr},
        {"2024-02-03 x", QV_ESYNTAX, nullptr},
        {"", QV_ESYNTAX, nullptr},
        {"10000-01-01", QV_ESYNTAX, nullptr},
    };
    for (const Case& c : cases) {
        OrvDate narrow(7), wide(7);
        EXPECT_EQ(OrvDate::fromText(c.input, -1, narrow), c.rc) << c.input;
        WString w = widen(c.input);
        EXPECT_EQ(OrvDate::fromText(w.c_str(), int(w.size()), wide), c.rc) << c.input;
        if (c.rc != QV_OK) {
            EXPECT_EQ(narrow, OrvDate(7)) << c.input; // untouched
            continue;
        }
        EXPECT_EQ(text(narrow), c.canonical) << c.input;
        EXPECT_EQ(narrow, wide) << c.input;
        WChar wbuf[OrvDate::TextSize];
        ASSERT_EQ(wide.toText(wbuf, OrvDate::TextSize), QV_OK);
        EXPECT_EQ(WString(wbuf), widen(c.canonical));
    }
}

TEST(OrvDateText, BufferMustHoldTheWholeText)
{
    OrvDate d(2024, 2, 29);
    char buf[OrvDate::TextSize];
    EXPECT_EQ(d.toText(buf, OrvDate::TextSize), QV_OK);
    EXPECT_EQ(d.toText(buf, OrvDate::TextSize - 1), QV_EBUFFER);
    EXPECT_STREQ(buf, "");
    std::strcpy(buf, "junk");
    EXPECT_EQ(OrvDate::invalid().toText(buf, sizeof buf), QV_EINVALID);
    EXPECT_STREQ(buf, "");
}

TEST(OrvDateStream, WritesCanonicalTextInBothWidths)
{
    OrvDate d(2024, 2, 29, 13, 5, 9, 7);
    std::ostringstream os;
    os << d << '|' << std::setw(24) << OrvDate(1, 1, 1);
    EXPECT_EQ(os.str(), "2024-02-29 13:05:09.07|  0001-01-01 00:00:00.00");
    std::basic_ostringstream<WChar> ws;
    ws << d;
    EXPECT_EQ(ws.str(), widen("2024-02-29 13:05:09.07"));

    std::ostringstream bad;
    bad << OrvDate::invalid();
    EXPECT_TRUE(bad.fail());
    EXPECT_EQ(bad.str(), "");
}

TEST(OrvDateStream, ReadsTheCanonicalShapeAndLeavesTheRest)
{
    const valuetesting::ReadCase cases[] = {
        {"2024-02-29 13:05:09.07rest", "2024-02-29 13:05:09.07", "rest"},
        {"  2024-02-29 13:05:09.07 next", "2024-02-29 13:05:09.07", " next"},
        {"2024-02-29", "2024-02-29 00:00:00.00", ""},
        {"2024-02-29,x", "2024-02-29 00:00:00.00", ",x"},
        {"2024-02-29 x", "2024-02-29 00:00:00.00", "x"},
        {"2024-02-29 13:05'", "2024-02-29 13:05:00.00", "'"},
        {"2023-02-29 10:00:00.00", nullptr, ""},
        {"x2024-02-29", nullptr, "x2024-02-29"},
        {"", nullptr, ""},
    };
    valuetesting::expectStreamReads(cases, OrvDate(5), [](const OrvDate& v) { return text(v); });
}

TEST(OrvDateStream, ReadsWhatItWrote)
{
    std::vector<OrvDate> dates = {OrvDate(2024, 2, 29, 13, 5, 9, 7), OrvDate::minValue(),
                                  OrvDate::maxValue(), OrvDate(1900, 3, 1)};
    std::stringstream ss;
    for (const OrvDate& d : dates)
        ss << d << ' ';
    for (const OrvDate& d : dates) {
        OrvDate r;
        ss >> r;
        ASSERT_FALSE(ss.fail());
        EXPECT_EQ(r, d);
    }
}

} // namespace

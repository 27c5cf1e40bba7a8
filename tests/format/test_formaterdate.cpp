// Formater with dates: where the date letters of a mask land, how dates are written into
// their fields and read back (month names, the year from the clock, fields that overflow).
#include "formatertest.h"

#include <gtest/gtest.h>

#include <string>

using namespace formatertest;

namespace {

TEST(FormaterDate, LettersBecomeFieldsAtTheirPositions)
{
    struct {
        const char* mask;
        const char* fields; // "field:offset+length" for each present field, in index order
    } const table[] = {
        {"DD.MM.YYYY", "0:6+4 1:3+2 2:0+2"},
        {"YYYY-MM-DD HH:MI:SS.FF", "0:0+4 1:5+2 2:8+2 3:11+2 4:14+2 5:17+2 6:20+2"},
        // MI is minutes, never a month.
        {"HH:MI", "3:0+2 4:3+2"},
        {"MMM", "1:0+3"},
        {"MMMM", "1:0+4"},
        // Lower case is no field; "!" and quotes move the positions.
        {"dd.mm.yyyy", ""},
        {"!DD.MM", "1:3+2 2:0+2"},
        {"'<'DD'>'", "2:1+2"},
        {"YY MI M", "0:0+2 1:6+1 4:3+2"},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(c.mask);
        WChar buffer[64];
        TestFormater f;
        f.reset(buffer, 64, DataSourceAPI::tDate, W(c.mask).c_str());
        std::string fields;
        for (int k = 0; k < Formater::DateFieldCount; ++k) {
            if (f.dateLength(k) == 0)
                continue;
            fields += (fields.empty() ? "" : " ") + std::to_string(k) + ":" +
                      std::to_string(f.dateOffset(k)) + "+" + std::to_string(f.dateLength(k));
        }
        EXPECT_EQ(fields, c.fields);
        EXPECT_EQ(f.hasDateFields(), !fields.empty());
        // The pattern stays as given; only the compiled mask changes.
        EXPECT_EQ(N(f.getPattern()), c.mask);
    }
}

TEST(FormaterDate, MonthNamesAreLetters)
{
    WChar buffer[32];
    TestFormater f;
    f.reset(buffer, 32, DataSourceAPI::tDate, W("DD MMM").c_str());
    const PatternProcessor& p = f.processor();
    EXPECT_EQ(p[0].kind, PatternProcessor::kDigit);
    EXPECT_EQ(p[3].kind, PatternProcessor::kLetter);
    EXPECT_EQ(p[5].kind, PatternProcessor::kLetter);
}

TEST(FormaterDate, WritesAndReadsFields)
{
    struct {
        const char* mask;
        int clockYear;
        const char* start; // canonical date, or null to start from a null value
        const char* keys;
        const char* text;
        const char* value;
    } const table[] = {
        // Short years take the clock's century; a missing year is the clock's year.
        {"DD.MM.YY", 1999, nullptr, "010226", "01.02.26", "1926-02-01 00:00:00.00"},
        {"DD.MM.Y", 2026, nullptr, "01027", "01.02.7", "2027-02-01 00:00:00.00"},
        {"DD.MM", 2031, nullptr, "0102", "01.02", "2031-02-01 00:00:00.00"},
        {"YYYYY", 2026, nullptr, "02026", "02026", "2026-01-01 00:00:00.00"},
        // Written: the rightmost digits of a long number, zeros in front of a short one.
        // (A short year reads back in the clock's century, whatever century it was.)
        {"DD.MM.YY", 2026, "1987-06-05 00:00:00.00", "", "05.06.87", "2087-06-05 00:00:00.00"},
        {"YYYYYY", 2026, "2026-01-01 00:00:00.00", "", "002026", "2026-01-01 00:00:00.00"},
        {"HH:MI:SS.FF", 2026, "2026-03-07 01:02:03.04", "", "01:02:03.04",
         "2026-01-01 01:02:03.04"},
        // Month names in any case; a name that is none, or a blank field, is January.
        {"DD MMM YYYY", 2026, nullptr, "01MAY2026", "01 MAY 2026", "2026-05-01 00:00:00.00"},
        {"DD MMM YYYY", 2026, nullptr, "01xyz2026", "01 xyz 2026", "2026-01-01 00:00:00.00"},
        {"DD MMM YYYY", 2026, "2026-12-24 00:00:00.00", "", "24 Dec 2026",
         "2026-12-24 00:00:00.00"},
        {"DD.MM.YYYY", 2026, nullptr, "..2026", "  .  .2026", "2026-01-01 00:00:00.00"},
        // Fields beyond their range carry over.
        {"DD.MM.YYYY", 2026, nullptr, "32122026", "32.12.2026", "2027-01-01 00:00:00.00"},
        {"DD.MM.YYYY", 2024, nullptr, "31022024", "31.02.2024", "2024-03-02 00:00:00.00"},
        {"DD.MM.YYYY", 2026, nullptr, "01132026", "01.13.2026", "2027-01-01 00:00:00.00"},
        {"HH:MI", 2026, nullptr, "2590", "25:90", "2026-01-02 02:30:00.00"},
        // Outside the calendar: the first day of year 1, the last moment of 9999.
        {"DD.MM.YYYY", 2026, nullptr, "01010000", "01.01.0000", "0001-01-01 00:00:00.00"},
        {"DD.MM.YYYY", 2026, nullptr, "31129999{P0}32", "32.12.9999",
         "9999-12-31 23:59:59.99"},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(std::string(c.mask) + " " + c.keys);
        WChar buffer[64];
        TestFormater f;
        f.year = c.clockYear;
        f.reset(buffer, 64, DataSourceAPI::tDate, W(c.mask).c_str());
        if (c.start) {
            std::vector<unsigned char> v = makeValue(DataSourceAPI::tDate, c.start);
            ASSERT_TRUE(f.setBinValue(v.data(), false));
        }
        play(f, c.keys);
        EXPECT_EQ(N(f.getFormatText()), c.text);
        EXPECT_EQ(readBack(f), c.value);
        EXPECT_EQ(f.checkInvariants(), 0);
    }
}

TEST(FormaterDate, AnInvalidDateShowsZerosAndReadsAsTheFirstDay)
{
    WChar buffer[32];
    TestFormater f;
    f.reset(buffer, 32, DataSourceAPI::tDate, W("DD.MM.YYYY").c_str());
    OrvCPP::OrvDate invalid = OrvCPP::OrvDate::invalid();
    EXPECT_TRUE(f.setBinValue(&invalid, false));
    EXPECT_EQ(N(f.getFormatText()), "00.00.0000");
    EXPECT_EQ(readBack(f), "0001-01-01 00:00:00.00");
}

TEST(FormaterDate, TheClockGivesThisYear)
{
    // The hook's default: a year that the calendar holds, and the one the date fields of
    // a mask without a year read.
    WChar buffer[16];
    Formater f;
    f.reset(buffer, 16, DataSourceAPI::tDate, W("DD.MM").c_str());
    play(f, "0101");
    const std::string value = readBack(f);
    const int year = std::stoi(value.substr(0, 4));
    EXPECT_GE(year, 2024);
    EXPECT_LE(year, 9999);
    EXPECT_EQ(value.substr(4), "-01-01 00:00:00.00");
}

} // namespace

// Decimals through SQLite: a bound decimal of any precision and scale reads back exactly at
// its column's scale, and SQL still sorts, compares and sums such a column.
#include "test_orvsupport.h"

#include <vexapi/orvcpp/orvstatement.h>
#include <vexapi/values/orvdec.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

using namespace OrvCPP;
using namespace orvtest;

namespace {

std::string textOf(const OrvDec& d)
{
    char t[OrvDec::TextSize];
    return d.toText(t, sizeof t) == 0 ? std::string(t) : std::string("<not valid>");
}

// A decimal of exactly `precision` digits (the first not 0), `scale` of them decimals.
OrvDec randomDecimal(std::mt19937_64& rng, int precision, int scale, bool allowNegative = true)
{
    std::string digits(1, char('1' + rng() % 9));
    while (int(digits.size()) < precision)
        digits += char('0' + rng() % 10);
    if (scale > 0)
        digits.insert(digits.size() - std::size_t(scale), ".");
    if (allowNegative && rng() % 2)
        digits.insert(0, "-");
    return OrvDec(digits.c_str());
}

class Decimals : public ::testing::Test {
protected:
    void SetUp() override { db.open("test", "", ":memory:"); }

    // A new table t(id, d `declared`) holding `values` in id order, each bound as a decimal.
    void write(const std::string& declared, const std::vector<OrvDec>& values)
    {
        exec(db, "drop table if exists t");
        exec(db, "create table t(id integer primary key, d " + declared + ")");
        OrvStatement ins(db, "insert into t (id, d) values (?, ?)");
        OrvCursor c(db, 0, "ins");
        VLong id = 0;
        OrvDec dec;
        char nulls[2] = {0, 0};
        BindMap map;
        map.bind(1, ValueInfo(&id, &nulls[0]));
        map.bind(2, ValueInfo(orvDecimal, &dec, 16, &nulls[1]));
        for (std::size_t i = 0; i < values.size(); ++i) {
            id = VLong(i + 1);
            dec = values[i];
            c.execute(ins, &map);
        }
    }

    // Column d of `select`, read once through a fetch with a bound form and once through
    // getData, both forms without a precision of their own; the two must agree.
    std::vector<OrvDec> read(const std::string& select)
    {
        OrvCursor c(db, 0, "read");
        c.execute(select.c_str());
        std::vector<OrvDec> out;
        OrvDec bound;
        char isNull = 0;
        BindMap cols;
        cols.bind(1, ValueInfo(orvDecimal, &bound, 16, &isNull));
        for (VLong r = 1; r <= c.selectRowCount(); ++r) {
            c.fetch(fetchAbsolute, r, &cols);
            OrvDec direct;
            c.getData(1, ValueInfo(orvDecimal, &direct, 16, &isNull));
            EXPECT_EQ(textOf(bound), textOf(direct)) << "row " << r;
            out.push_back(direct);
        }
        return out;
    }

    OrvConnect db;
};

} // namespace

TEST_F(Decimals, KnownValuesReadBackExactlyAtTheColumnsScale)
{
    struct Case {
        const char* declared;
        const char* written;
        const char* read;
    };
    const Case cases[] = {
        {"decimal(33,9)", "98765432109876.54", "98765432109876.540000000"},
        {"decimal(33,9)", "12345678901234567890.123456789", "12345678901234567890.123456789"},
        {"decimal(10,2)", "-12.50", "-12.50"},
        {"decimal(10,2)", "7", "7.00"},
        {"decimal(33,0)", "999999999999999999999999999999999", "999999999999999999999999999999999"},
        {"decimal(33,33)", "0.000000000000000000000000000000001", "0.000000000000000000000000000000001"},
        {"decimal(20,0)", "-9223372036854775808", "-9223372036854775808"},
        {"decimal(20,0)", "9223372036854775808", "9223372036854775808"},
        {"numeric", "0.1", "0.1"}, // no declared scale: the value keeps its own
    };
    for (const Case& c : cases) {
        write(c.declared, {OrvDec(c.written)});
        const std::vector<OrvDec> back = read("select d from t");
        ASSERT_EQ(back.size(), 1u);
        EXPECT_EQ(textOf(back[0]), c.read) << c.declared << " " << c.written;
    }
}

// Every precision 1..33 with every scale, through a column of that scale.
TEST_F(Decimals, RandomValuesOfEveryPrecisionAndScaleRoundTripExactly)
{
    std::mt19937_64 rng(20240229);
    for (int scale = 0; scale <= OrvDec::MaxScale; ++scale) {
        std::vector<OrvDec> values;
        for (int precision = std::max(scale, 1); precision <= OrvDec::MaxDigits; ++precision)
            for (int k = 0; k < 3; ++k)
                values.push_back(randomDecimal(rng, precision, scale));
        write("decimal(33," + std::to_string(scale) + ")", values);
        const std::vector<OrvDec> back = read("select d from t order by id");
        ASSERT_EQ(back.size(), values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            EXPECT_EQ(textOf(back[i]), textOf(values[i])) << "scale " << scale;
            EXPECT_EQ(back[i].scale(), scale);
        }
    }
}

// Values a double holds sort and compare by value on the bare column; the rest sort by
// value through d + 0, and sum() is the exact sum to a double's precision.
TEST_F(Decimals, SqlSortsComparesAndSumsTheColumn)
{
    std::mt19937_64 rng(7);
    std::vector<OrvDec> small;
    for (int i = 0; i < 60; ++i) {
        const int precision = 1 + int(rng() % 15);
        small.push_back(randomDecimal(rng, precision, int(rng() % unsigned(std::min(precision, 5) + 1))));
    }
    write("decimal(20,5)", small);
    std::vector<OrvDec> sorted = small;
    std::stable_sort(sorted.begin(), sorted.end());
    const std::vector<OrvDec> byColumn = read("select d from t order by d");
    ASSERT_EQ(byColumn.size(), sorted.size());
    for (std::size_t i = 0; i < sorted.size(); ++i)
        EXPECT_EQ(byColumn[i], sorted[i]) << i;
    const OrvDec bound("123.45");
    const long above = long(std::count_if(small.begin(), small.end(), [&](const OrvDec& d) { return d > bound; }));
    EXPECT_EQ(scalar(db, "select count(*) from t where d > 123.45"), std::to_string(above));

    std::vector<OrvDec> wide;
    OrvDec exactSum;
    for (int precision = 1; precision <= OrvDec::MaxDigits; ++precision) {
        wide.push_back(randomDecimal(rng, precision, std::min(precision, 9), false));
        exactSum += wide.back();
    }
    write("decimal(33,9)", wide);
    const std::vector<OrvDec> byValue = read("select d from t order by d + 0");
    ASSERT_EQ(byValue.size(), wide.size());
    for (std::size_t i = 1; i < byValue.size(); ++i)
        EXPECT_LE(double(byValue[i - 1]), double(byValue[i])) << i;

    OrvCursor c(db, 0, "sum");
    c.execute("select sum(d) from t");
    c.fetch(fetchAbsolute, 1);
    double sum = 0;
    char isNull = 0;
    c.getData(1, ValueInfo(orvDouble, &sum, 8, &isNull));
    EXPECT_NEAR(sum, double(exactSum), std::fabs(double(exactSum)) * 1e-12);
}

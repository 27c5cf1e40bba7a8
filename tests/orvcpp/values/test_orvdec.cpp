// OrvDec: byte layout, exact parse and print, rounding, overflow, ordering, conversions to
// and from binary floating point, and the stream operators in both widths.
#include <vexapi/values/orvdec.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include "streamtesting.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <vector>

using OrvCPP::OrvDec;

namespace {

using valuetesting::widen;

std::string text(const OrvDec& d)
{
    char buf[OrvDec::TextSize];
    if (d.toText(buf, sizeof buf) != QV_OK)
        return d.status() == OrvDec::Overflow ? "<overflow>" : "<invalid>";
    return buf;
}

OrvDec dec(const char* s)
{
    OrvDec d;
    int rc = OrvDec::fromText(s, -1, d);
    EXPECT_EQ(rc, QV_OK) << s;
    return d;
}

const std::string kNines(33, '9');

TEST(OrvDecLayout, SixteenBytesAnyAlignmentAndZeroBytesAreZero)
{
    static_assert(alignof(OrvDec) == 1, "a value may sit at any offset of a row");
    unsigned char zeros[16] = {};
    OrvDec d;
    std::memcpy(&d, zeros, 16);
    EXPECT_TRUE(d.isValid());
    EXPECT_TRUE(d.isZero());
    EXPECT_EQ(text(d), "0");
    OrvDec zero(0);
    EXPECT_EQ(std::memcmp(&d, &zero, 16), 0);
}

TEST(OrvDecLayout, CoefficientLittleEndianThenScaleThenFlags)
{
    OrvDec d = dec("-2.58"); // coefficient 258 = 0x0102
    unsigned char b[16];
    std::memcpy(b, &d, 16);
    EXPECT_EQ(b[0], 0x02);
    EXPECT_EQ(b[1], 0x01);
    for (int i = 2; i < 14; ++i)
        EXPECT_EQ(b[i], 0) << i;
    EXPECT_EQ(b[14], 2);    // scale
    EXPECT_EQ(b[15], 0x01); // negative, valid

    OrvDec big = OrvDec::maxValue(); // 10^33 - 1 needs 110 bits: reaches byte 13
    std::memcpy(b, &big, 16);
    EXPECT_NE(b[13], 0);
    EXPECT_EQ(b[14], 0);
    EXPECT_EQ(b[15], 0);
}

TEST(OrvDecLayout, BrokenImagesReadAsInvalid)
{
    struct Case {
        const char* what;
        int byte;
        unsigned char value;
    } cases[] = {
        {"scale 34", 14, 34},
        {"reserved flag bit", 15, 0x08},
        {"unknown status 3", 15, 0x06},
        {"coefficient of 2^111", 13, 0x80},
    };
    for (const Case& c : cases) {
        unsigned char b[16] = {};
        b[0] = 1;
        b[c.byte] = c.value;
        OrvDec d;
        std::memcpy(&d, b, 16);
        EXPECT_EQ(d.status(), OrvDec::Invalid) << c.what;
        EXPECT_EQ(text(d), "<invalid>") << c.what;
    }
}

TEST(OrvDecLayout, NegativeZeroImageEqualsZeroAndPrintsWithoutSign)
{
    unsigned char b[16] = {};
    b[14] = 2;
    b[15] = 1; // sign on a zero coefficient
    OrvDec negZero;
    std::memcpy(&negZero, b, 16);
    EXPECT_TRUE(negZero.isValid());
    EXPECT_FALSE(negZero.isNegative());
    EXPECT_EQ(text(negZero), "0.00");
    EXPECT_EQ(negZero, OrvDec(0));
    EXPECT_FALSE(negZero < OrvDec(0));
    EXPECT_FALSE(OrvDec(0) < negZero);
    EXPECT_EQ(text(-OrvDec(0)), "0");
    EXPECT_EQ(text(dec("-0.00")), "0.00");
    EXPECT_EQ(text(dec("1.5") - dec("1.5")), "0.0");
}

struct ParseCase {
    const char* input;
    int rc;
    const char* printed; // when rc is QV_OK
};

const ParseCase kParseCases[] = {
    {"0", QV_OK, "0"},
    {"-0", QV_OK, "0"},
    {"+1", QV_OK, "1"},
    {"007", QV_OK, "7"},
    {"1.", QV_OK, "1"},
    {".5", QV_OK, "0.5"},
    {"-.5", QV_OK, "-0.5"},
    {"  12.50\t", QV_OK, "12.50"},
    {"0.001", QV_OK, "0.001"},
    {"1.5e3", QV_OK, "1500"},
    {"15e-1", QV_OK, "1.5"},
    {"1E+2", QV_OK, "100"},
    {"1.23e1", QV_OK, "12.3"},
    {"-1.250e-2", QV_OK, "-0.01250"},
    {"1e32", QV_OK, "100000000000000000000000000000000"},
    {"999999999999999999999999999999999", QV_OK, "999999999999999999999999999999999"},
    {"-999999999999999999999999999999999", QV_OK, "-999999999999999999999999999999999"},
    {"0.000000000000000000000000000000001", QV_OK, "0.000000000000000000000000000000001"},
    {"00000000000000000000000000000000000000001.5", QV_OK, "1.5"},
    // Zeros at the end of the fraction that do not fit change nothing and are dropped.
    {"1.50000000000000000000000000000000000000000", QV_OK,
     "1.50000000000000000000000000000000"},
    {"0.50000000000000000000000000000000000000000", QV_OK,
     "0.500000000000000000000000000000000"},
    {"0e-50", QV_OK, "0.000000000000000000000000000000000"},
    {"0e99999999999999", QV_OK, "0"},
    // Too many digits, too big, too small.
    {"1000000000000000000000000000000000", QV_ERANGE, nullptr},
    {"1234567890123456789012345678901234", QV_ERANGE, nullptr},
    {"1.234567890123456789012345678901234", QV_ERANGE, nullptr},
    {"0.0000000000000000000000000000000001", QV_ERANGE, nullptr},
    {"1e33", QV_ERANGE, nullptr},
    {"1e99999999999999999999", QV_ERANGE, nullptr},
    {"1e-34", QV_ERANGE, nullptr},
    // Not numbers.
    {"", QV_ESYNTAX, nullptr},
    {"   ", QV_ESYNTAX, nullptr},
    {"1.2.3", QV_ESYNTAX, nullptr},
    {"--1", QV_ESYNTAX, nullptr},
    {"+-1", QV_ESYNTAX, nullptr},
    {"-", QV_ESYNTAX, nullptr},
    {".", QV_ESYNTAX, nullptr},
    {"1e", QV_ESYNTAX, nullptr},
    {"1e+", QV_ESYNTAX, nullptr},
    {"e5", QV_ESYNTAX, nullptr},
    {"1,5", QV_ESYNTAX, nullptr},
    {"1 2", QV_ESYNTAX, nullptr},
    {"0x10", QV_ESYNTAX, nullptr},
    {"nan", QV_ESYNTAX, nullptr},
    {"inf", QV_ESYNTAX, nullptr},
    {"12abc", QV_ESYNTAX, nullptr},
};

TEST(OrvDecText, ParseAndPrintInBothWidths)
{
    for (const ParseCase& c : kParseCases) {
        OrvDec narrow = OrvDec::fromInt64(42), wide = OrvDec::fromInt64(42);
        EXPECT_EQ(OrvDec::fromText(c.input, -1, narrow), c.rc) << '"' << c.input << '"';
        WString w = widen(c.input);
        EXPECT_EQ(OrvDec::fromText(w.c_str(), int(w.size()), wide), c.rc) << c.input;
        if (c.rc != QV_OK) {
            // Failure leaves the target alone.
            EXPECT_EQ(text(narrow), "42") << c.input;
            EXPECT_EQ(text(wide), "42") << c.input;
            continue;
        }
        EXPECT_EQ(text(narrow), c.printed) << c.input;
        EXPECT_EQ(std::memcmp(&narrow, &wide, 16), 0) << c.input;
        WChar wbuf[OrvDec::TextSize];
        ASSERT_EQ(wide.toText(wbuf, OrvDec::TextSize), QV_OK);
        EXPECT_EQ(WString(wbuf), widen(c.printed)) << c.input;
    }
}

TEST(OrvDecText, LengthLimitsTheText)
{
    OrvDec d;
    ASSERT_EQ(OrvDec::fromText("12.345", 4, d), QV_OK);
    EXPECT_EQ(text(d), "12.3");
    EXPECT_EQ(OrvDec::fromText("12.345", 0, d), QV_ESYNTAX);
    EXPECT_EQ(OrvDec::fromText(static_cast<const char*>(nullptr), -1, d), QV_EARG);
}

TEST(OrvDecText, BufferSizeIsExactAndTheLongestTextFits)
{
    OrvDec d = dec("-12.5");
    char buf[8];
    EXPECT_EQ(d.toText(buf, 6), QV_OK);
    EXPECT_STREQ(buf, "-12.5");
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(d.toText(buf, 5), QV_EBUFFER);
    EXPECT_STREQ(buf, "");

    // The longest text: a sign, "0.", 33 decimals.
    OrvDec longest = dec("-0.999999999999999999999999999999999");
    char big[OrvDec::TextSize];
    ASSERT_EQ(longest.toText(big, sizeof big), QV_OK);
    EXPECT_EQ(std::string(big), "-0.999999999999999999999999999999999");
}

TEST(OrvDecText, InvalidValuesPrintNothing)
{
    char buf[OrvDec::TextSize] = "junk";
    EXPECT_EQ(OrvDec::invalid().toText(buf, sizeof buf), QV_EINVALID);
    EXPECT_STREQ(buf, "");
    OrvDec over = OrvDec::maxValue() + OrvDec(1);
    std::strcpy(buf, "junk");
    EXPECT_EQ(over.toText(buf, sizeof buf), QV_EINVALID);
    EXPECT_STREQ(buf, "");
}

TEST(OrvDecText, CharConstructorTellsNoNumberFromTooBig)
{
    EXPECT_EQ(OrvDec("12.5"), dec("12.5"));
    EXPECT_EQ(OrvDec("abc").status(), OrvDec::Invalid);
    EXPECT_EQ(OrvDec(static_cast<const char*>(nullptr)).status(), OrvDec::Invalid);
    EXPECT_EQ(OrvDec("1e40").status(), OrvDec::Overflow);
}

// A model of the text form: random digit strings, with the expected print made by string
// operations alone.
TEST(OrvDecText, RandomDigitStringsRoundTrip)
{
    std::mt19937 rng(20240229);
    for (int iter = 0; iter < 20000; ++iter) {
        int digits = 1 + int(rng() % 33);
        int scale = int(rng() % 34);
        bool negative = rng() % 2;
        std::string coefficient;
        for (int i = 0; i < digits; ++i)
            coefficient.push_back(char('0' + rng() % 10));
        // Expected print: strip leading zeros, pad to scale + 1 digits, insert the point.
        std::string c = coefficient;
        c.erase(0, std::min(c.find_first_not_of('0'), c.size()));
        bool zero = c.empty();
        while (int(c.size()) < scale + 1)
            c.insert(c.begin(), '0');
        std::string expected = c;
        if (scale > 0)
            expected.insert(expected.size() - std::size_t(scale), ".");
        if (negative && !zero)
            expected.insert(expected.begin(), '-');
        // Input: the same digits with the point placed by an exponent half the time.
        std::string input = (negative ? "-" : "") + coefficient;
        if (rng() % 2) {
            input += "e-" + std::to_string(scale);
        } else if (scale > 0) {
            std::string padded = coefficient;
            while (int(padded.size()) < scale + 1)
                padded.insert(padded.begin(), '0');
            input = (negative ? "-" : "") + padded.insert(padded.size() - std::size_t(scale), ".");
        }
        OrvDec d;
        ASSERT_EQ(OrvDec::fromText(input.c_str(), -1, d), QV_OK) << input;
        ASSERT_EQ(text(d), expected) << input;
        ASSERT_EQ(d.scale(), scale) << input;
        OrvDec again;
        ASSERT_EQ(OrvDec::fromText(expected.c_str(), -1, again), QV_OK);
        ASSERT_EQ(std::memcmp(&d, &again, 16), 0) << expected;
    }
}

struct ArithCase {
    const char* a;
    char op;
    const char* b;
    const char* result; // "<overflow>" or "<invalid>" for those statuses
};

const std::string kThirds = "0." + std::string(33, '3');
const std::string kTwoThirds = "0." + std::string(32, '6') + "7";
const std::string kMinusTwoThirds = "-" + kTwoThirds;

TEST(OrvDecArithmetic, ExpectedResults)
{
    const ArithCase cases[] = {
        {"0.1", '+', "0.2", "0.3"},
        {"1.5", '+', "2.25", "3.75"},
        {"1.50", '+', "1", "2.50"},
        {"5", '-', "7.5", "-2.5"},
        {"-1.5", '+', "1.5", "0.0"},
        {"-3", '-', "-3", "0"},
        {"1.50", '*', "2.0", "3.000"},
        {"-2", '*', "0.5", "-1.0"},
        {"-2", '*', "-0.5", "1.0"},
        {"0", '*', "-5", "0"},
        {"1", '/', "3", kThirds.c_str()},
        {"2", '/', "3", kTwoThirds.c_str()},
        {"-2", '/', "3", kMinusTwoThirds.c_str()},
        {"1", '/', "4", "0.25"},
        {"1", '/', "8", "0.125"},
        {"10", '/', "4", "2.5"},
        {"6.00", '/', "2", "3.00"},
        {"100", '/', "0.01", "10000.00"},
        {"-7", '/', "7", "-1"},
        {"1", '/', "0", "<invalid>"},
        {"0", '/', "0.00", "<invalid>"},
        // Rounding at the last digit, half away from zero.
        {"0.000000000000000000000000000000001", '*', "0.5", "0.000000000000000000000000000000001"},
        {"-0.000000000000000000000000000000001", '*', "0.5", "-0.000000000000000000000000000000001"},
        {"0.000000000000000000000000000000001", '*', "0.4", "0.000000000000000000000000000000000"},
        {"0.111111111111111111111111111111111", '*', "0.111111111111111111111111111111111",
         "0.012345679012345679012345679012346"},
        {"123456789012345678901234567890.123", '*', "7.5", "925925917592592591759259259175.923"},
        {"999999999999999999999999999999999", '+', "0.4", "999999999999999999999999999999999"},
        {"999999999999999999999999999999999", '*', "1.0", "999999999999999999999999999999999"},
        // Rounding carries into a 34th digit: one decimal more goes.
        {"99999999999999999999999999999999.9", '+', "0.05", "100000000000000000000000000000000"},
        {"9999999999999999999999999999999.99", '+', "0.005", "10000000000000000000000000000000.0"},
        // Overflow: never wraps.
        {"999999999999999999999999999999999", '+', "1", "<overflow>"},
        {"999999999999999999999999999999999", '+', "0.5", "<overflow>"},
        {"-999999999999999999999999999999999", '-', "1", "<overflow>"},
        {"999999999999999999999999999999999", '*', "10", "<overflow>"},
        {"123456789012345678901234567890.123", '*', "123456789012345678901234567890.123",
         "<overflow>"},
        {"999999999999999999999999999999999", '/', "0.1", "<overflow>"},
        {"1", '/', "0.000000000000000000000000000000001", "<overflow>"}, // 10^33
    };
    for (const ArithCase& c : cases) {
        OrvDec a = dec(c.a), b = dec(c.b), r;
        switch (c.op) {
        case '+': r = a + b; break;
        case '-': r = a - b; break;
        case '*': r = a * b; break;
        default: r = a / b; break;
        }
        EXPECT_EQ(text(r), c.result) << c.a << ' ' << c.op << ' ' << c.b;
    }
}

TEST(OrvDecArithmetic, NonValidOperandsSpreadInvalidFirst)
{
    OrvDec inv = OrvDec::invalid();
    OrvDec over = OrvDec::maxValue() * OrvDec(2);
    ASSERT_EQ(over.status(), OrvDec::Overflow);
    OrvDec one(1);
    EXPECT_EQ((inv + one).status(), OrvDec::Invalid);
    EXPECT_EQ((one - over).status(), OrvDec::Overflow);
    EXPECT_EQ((over * inv).status(), OrvDec::Invalid);
    EXPECT_EQ((over / one).status(), OrvDec::Overflow);
    EXPECT_EQ((-inv).status(), OrvDec::Invalid);
    EXPECT_TRUE(std::isnan(static_cast<double>(inv)));
    EXPECT_TRUE(std::isnan(static_cast<double>(over)));
}

TEST(OrvDecArithmetic, CompoundAssignmentAndNegation)
{
    OrvDec d = dec("10.00");
    d += OrvDec(5);
    d -= dec("0.5");
    d *= OrvDec(2);
    d /= OrvDec(4);
    EXPECT_EQ(text(d), "7.25");
    EXPECT_EQ(text(-d), "-7.25");
    EXPECT_EQ(text((-d).abs()), "7.25");
    EXPECT_EQ(text(-OrvDec::maxValue()), text(OrvDec::minValue()));
}

// Sums, differences and products of small values against 64-bit integer arithmetic on the
// values scaled to a common scale; quotients through the identity (a * b) / b == a.
TEST(OrvDecArithmetic, RandomAgainstIntegerModel)
{
    std::mt19937_64 rng(7);
    auto randomValue = [&](std::int64_t& units, int& scale) {
        scale = int(rng() % 5);
        units = std::int64_t(rng() % 2000000001) - 1000000000;
        char buf[48];
        std::int64_t mag = units < 0 ? -units : units;
        std::string digits = std::to_string(mag);
        while (int(digits.size()) < scale + 1)
            digits.insert(digits.begin(), '0');
        if (scale)
            digits.insert(digits.size() - std::size_t(scale), ".");
        std::snprintf(buf, sizeof buf, "%s%s", units < 0 ? "-" : "", digits.c_str());
        return dec(buf);
    };
    // The model's result: `units` at `scale`, built from its parts.
    auto expectUnits = [](const OrvDec& d, std::int64_t units, int scale, const char* what) {
        std::uint64_t mag = units < 0 ? std::uint64_t(-units) : std::uint64_t(units);
        OrvDec expected = OrvDec::fromParts(mag, 0, scale, units < 0);
        EXPECT_EQ(std::memcmp(&d, &expected, 16), 0) << what << ": " << text(d);
    };
    static const std::int64_t p10[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000,
                                       100000000};
    for (int iter = 0; iter < 5000; ++iter) {
        std::int64_t ua, ub;
        int sa, sb;
        OrvDec a = randomValue(ua, sa), b = randomValue(ub, sb);
        int s = std::max(sa, sb);
        std::int64_t xa = ua * p10[s - sa], xb = ub * p10[s - sb];
        expectUnits(a + b, xa + xb, s, "sum");
        expectUnits(a - b, xa - xb, s, "difference");
        // |ua * ub| <= 10^18 fits 64 bits.
        OrvDec product = a * b;
        expectUnits(product, ua * ub, sa + sb, "product");
        if (!b.isZero()) {
            OrvDec back = product / b;
            EXPECT_EQ(back, a) << text(product) << " / " << text(b);
        }
        EXPECT_EQ(a < b, xa < xb);
        EXPECT_EQ(a == b, xa == xb);
    }
}

TEST(OrvDecRescale, RoundsHalfAwayFromZeroOrPads)
{
    struct Case {
        const char* value;
        int scale;
        const char* result;
    } cases[] = {
        {"2.5", 0, "3"},       {"-2.5", 0, "-3"},      {"2.49", 0, "2"},
        {"2.45", 1, "2.5"},    {"-2.45", 1, "-2.5"},   {"2.449", 1, "2.4"},
        {"0.999", 0, "1"},     {"-0.4", 0, "0"},       {"1.5", 3, "1.500"},
        {"7", 2, "7.00"},      {"9.95", 1, "10.0"},    {"0.000000000000000000000000000000005", 32,
                                                        "0.00000000000000000000000000000001"},
        {"999999999999999999999999999999999", 1, "<overflow>"},
        {"99999999999999999999999999999999.9", 0, "100000000000000000000000000000000"},
        {"1", 34, "<invalid>"},
        {"1", -1, "<invalid>"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(dec(c.value).rescale(c.scale)), c.result) << c.value << " @" << c.scale;
}

TEST(OrvDecOrder, TotalOrderAcrossStatusesSignsAndScales)
{
    unsigned char negZeroBytes[16] = {};
    negZeroBytes[15] = 1;
    OrvDec negZero;
    std::memcpy(&negZero, negZeroBytes, 16);
    // Groups in ascending order; members of a group are equal.
    std::vector<std::vector<OrvDec>> groups = {
        {OrvDec::invalid(), OrvDec("x")},
        {OrvDec::maxValue() + OrvDec(1), OrvDec::minValue() - OrvDec(1)},
        {OrvDec::minValue()},
        {dec("-1"), dec("-1.000")},
        {dec("-0.5")},
        {dec("-0.000000000000000000000000000000001")},
        {OrvDec(0), dec("0.00"), negZero, dec("-0")},
        {OrvDec::minPositive()},
        {dec("0.5"), dec("0.50"), OrvDec(0.5)},
        {OrvDec(1), dec("1.0"), dec("1e0"), dec("0.1e1")},
        {dec("1.00000000000000000000000000000001")},
        {dec("123456789012345678901234567890")},
        {OrvDec::maxValue()},
    };
    for (std::size_t i = 0; i < groups.size(); ++i)
        for (std::size_t j = 0; j < groups.size(); ++j)
            for (const OrvDec& a : groups[i])
                for (const OrvDec& b : groups[j]) {
                    int expected = i < j ? -1 : i > j ? 1 : 0;
                    ASSERT_EQ(OrvDec::compare(a, b), expected) << i << " vs " << j;
                    ASSERT_EQ(a < b, expected < 0);
                    ASSERT_EQ(a == b, expected == 0);
                    ASSERT_EQ(a >= b, expected >= 0);
                }
}

TEST(OrvDecConvert, IntegersExactly)
{
    EXPECT_EQ(text(OrvDec(VLong(-2147483647 - 1))), "-2147483648");
    EXPECT_EQ(text(OrvDec(INT64_MIN)), "-9223372036854775808");
    EXPECT_EQ(text(OrvDec(UINT64_MAX)), "18446744073709551615");
    EXPECT_EQ(text(OrvDec(static_cast<short>(-7))), "-7");
    EXPECT_EQ(OrvDec(5), dec("5"));
    EXPECT_EQ(OrvDec(3L) + 4, OrvDec(7)); // long and int convert alike on both builds
}

TEST(OrvDecConvert, FromBinaryGivesTheShortestDecimal)
{
    struct Case {
        double value;
        const char* printed;
    } cases[] = {
        {0.1, "0.1"},
        {-2.5, "-2.5"},
        {1.0 / 3.0, "0.3333333333333333"},
        {1e32, "100000000000000000000000000000000"},
        {123456789.125, "123456789.125"},
        {-0.0, "0"},
        {1e-20, "0.00000000000000000001"},
        {5e-34, "0.000000000000000000000000000000001"}, // half rounds away from zero
        {4e-34, "0.000000000000000000000000000000000"},
        {1e-300, "0.000000000000000000000000000000000"},
        {1e33, "<overflow>"},
        {-1e300, "<overflow>"},
        {std::nan(""), "<invalid>"},
        {HUGE_VAL, "<invalid>"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(text(OrvDec(c.value)), c.printed) << c.value;
    EXPECT_EQ(text(OrvDec(0.1f)), "0.1");
    EXPECT_EQ(text(OrvDec(16777217.0f)), "16777216");
}

TEST(OrvDecConvert, ToDoubleIsCorrectlyRounded)
{
    const char* texts[] = {"0.1",
                           "-12.5",
                           "0.3333333333333333",
                           "999999999999999999999999999999999",
                           "0.000000000000000000000000000000001",
                           "123456789012345678.901234567890123",
                           "9007199254740993", // 2^53 + 1: ties to even
                           "1.7976931348623157"};
    for (const char* t : texts)
        EXPECT_EQ(static_cast<double>(dec(t)), std::strtod(t, nullptr)) << t;
}

// Random doubles survive double -> decimal -> double where the decimal holds them without
// rounding (magnitudes from 10^-15 to 10^30); random decimals of up to 15 digits survive
// decimal -> double -> decimal by value.
TEST(OrvDecConvert, RandomRoundTripsThroughDouble)
{
    std::mt19937_64 rng(31337);
    std::uniform_real_distribution<double> exponent(-15, 30);
    for (int iter = 0; iter < 20000; ++iter) {
        double mantissa = std::uniform_real_distribution<double>(1, 10)(rng);
        double d = mantissa * std::pow(10.0, std::floor(exponent(rng)));
        if (rng() % 2)
            d = -d;
        OrvDec v(d);
        ASSERT_TRUE(v.isValid()) << d;
        ASSERT_EQ(static_cast<double>(v), d) << text(v);
    }
    for (int iter = 0; iter < 20000; ++iter) {
        std::int64_t units = std::int64_t(rng() % 1000000000000000ULL);
        int scale = int(rng() % 16);
        OrvDec v = OrvDec::fromParts(std::uint64_t(units), 0, scale, rng() % 2);
        OrvDec back(static_cast<double>(v));
        ASSERT_EQ(back, v) << text(v) << " came back as " << text(back);
    }
}

TEST(OrvDecStream, WritesTextWithWidthInBothWidths)
{
    std::ostringstream os;
    os << dec("-1.50") << '|' << std::setw(8) << dec("2.5") << '|' << std::left
       << std::setw(5) << std::setfill('*') << OrvDec(7) << '|' << OrvDec(8);
    EXPECT_EQ(os.str(), "-1.50|     2.5|7****|8");

    std::basic_ostringstream<WChar> ws;
    ws << dec("-1.50");
    ws.width(6);
    ws << OrvDec(3);
    EXPECT_EQ(ws.str(), widen("-1.50     3"));
}

TEST(OrvDecStream, InvalidOutputSetsFailbitAndWritesNothing)
{
    std::ostringstream os;
    os << OrvDec::invalid();
    EXPECT_TRUE(os.fail());
    EXPECT_EQ(os.str(), "");
}

TEST(OrvDecStream, ReadsTheLongestLeadingNumber)
{
    const valuetesting::ReadCase cases[] = {
        {"  12.5abc", "12.5", "abc"},
        {"1e5x", "100000", "x"},
        {"-.25;", "-0.25", ";"},
        {"7", "7", ""},
        {"3.e2 4", "300", " 4"},
        {"abc", nullptr, "abc"},
        {"-x", nullptr, "x"},
        {"1e+z", nullptr, "z"},
        {"1234567890123456789012345678901234 ", nullptr, " "},
        {"", nullptr, ""},
    };
    valuetesting::expectStreamReads(cases, OrvDec(99), [](const OrvDec& v) { return text(v); });
}

TEST(OrvDecStream, ReadsWhatItWrote)
{
    std::stringstream ss;
    std::vector<OrvDec> values = {dec("-1.50"), OrvDec::maxValue(), OrvDec::minPositive(),
                                  dec("0.00"), OrvDec::minValue()};
    for (const OrvDec& v : values)
        ss << v << ' ';
    for (const OrvDec& v : values) {
        OrvDec r;
        ss >> r;
        ASSERT_FALSE(ss.fail());
        EXPECT_EQ(std::memcmp(&r, &v, 16), 0) << text(v);
    }
    OrvDec end;
    ss >> end;
    EXPECT_TRUE(ss.eof());
}

} // namespace

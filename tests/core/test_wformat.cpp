// wsnprintf: numbers and their padding against the C library's narrow snprintf as the
// model, 16-bit and narrow text, characters, unknown conversions, measuring and cutting.
#include <vexapi/core/wformat.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace {


WString widen(const std::string& ascii)
{
    WString out;
    for (char c : ascii)
        out += WChar(static_cast<unsigned char>(c));
    return out;
}

template <class... A>
WString wide(const char* format, A... args)
{
    const WString f = widen(format);
    WChar buf[512];
    const int n = wsnprintf(buf, 512, f.c_str(), args...);
    EXPECT_GE(n, 0) << format;
    EXPECT_LT(n, 512) << format;
    return WString(buf, size_t(n));
}

template <class... A>
std::string narrow(const char* format, A... args)
{
    char buf[512];
    const int n = std::snprintf(buf, 512, format, args...);
    return std::string(buf, size_t(n));
}

// The padding, signs, prefixes and zero filling of every number conversion agree with
// printf's for the same format.
TEST(WFormat, NumbersMatchPrintf)
{
    const char* intFormats[] = {"%d", "%5d", "%-5d|", "%05d", "%+d", "% d", "%.3d", "%08.3d",
                                "%-08d|", "%+06d", "% 06d", "%i", "%.0d"};
    const int ints[] = {0, 7, -7, 12345, -123456, std::numeric_limits<int>::min(),
                        std::numeric_limits<int>::max()};
    for (const char* f : intFormats)
        for (int v : ints)
            EXPECT_EQ(wide(f, v), widen(narrow(f, v))) << f << " " << v;

    const char* uintFormats[] = {"%u", "%x", "%X", "%#x", "%#08x", "%08X", "%o", "%#o",
                                 "%-#10x|", "%.6x", "%#.6X"};
    const unsigned uints[] = {0u, 1u, 255u, 0xDEADBEEFu, std::numeric_limits<unsigned>::max()};
    for (const char* f : uintFormats)
        for (unsigned v : uints)
            EXPECT_EQ(wide(f, v), widen(narrow(f, v))) << f << " " << v;

    const char* floatFormats[] = {"%f", "%.0f", "%10.3f", "%-10.3f|", "%010.3f", "%+.2e",
                                  "%E", "%g", "%G", "%#g", "%+08.2f", "% .1f", "%#.0f"};
    const double doubles[] = {0.0, -0.0, 1.5, -2.25, 3.14159265, 1e-5, 6.02e23,
                              std::numeric_limits<double>::infinity(), -std::nan("")};
    for (const char* f : floatFormats)
        for (double v : doubles)
            EXPECT_EQ(wide(f, v), widen(narrow(f, v))) << f << " " << v;

    // Lengths: the argument is read at its size and narrowed as printf does.
    EXPECT_EQ(wide("%lld|%llu", -(1LL << 40), ~0ULL), widen(narrow("%lld|%llu", -(1LL << 40), ~0ULL)));
    EXPECT_EQ(wide("%hd|%hhd|%hu", 70000, 300, 70000), widen(narrow("%hd|%hhd|%hu", 70000, 300, 70000)));
    EXPECT_EQ(wide("%zu|%ld", size_t(1) << 33, -5L), widen(narrow("%zu|%ld", size_t(1) << 33, -5L)));
    EXPECT_EQ(wide("%I64d|%I64x|%I32d", 1LL << 40, 1ULL << 36, -3), WSTR("1099511627776|1000000000|-3"));
    EXPECT_EQ(wide("%.3Lf", 2.5L), WSTR("2.500"));
    EXPECT_EQ(wide("%*d|%-*d|%.*f", 5, 42, 4, 7, 2, 1.0), WSTR("   42|7   |1.00"));
    EXPECT_EQ(wide("%*d|", -4, 1), WSTR("1   |")); // a negative * width is the - flag
    EXPECT_EQ(wide("%.*d|", -1, 5), WSTR("5|"));  // a negative * precision is none
}

TEST(WFormat, TextAndCharacters)
{
    const WChar pair[] = {'a', 0xD83D, 0xDE00, 'b', 0}; // a, U+1F600, b
    struct Case {
        WString got, expected;
    } cases[] = {
        {wide("[%s]", WSTR("Ключ")), WSTR("[Ключ]")},
        {wide("[%ls]", WSTR("x")), WSTR("[x]")},
        {wide("[%6s]", WSTR("abc")), WSTR("[   abc]")},
        {wide("[%-6s]", WSTR("abc")), WSTR("[abc   ]")},
        {wide("[%.2s]", WSTR("abcdef")), WSTR("[ab]")},
        {wide("[%.2s]", pair), WSTR("[a]")},          // never half a surrogate pair
        {wide("[%.3s]", pair), WString(WSTR("[")) + WString(pair, 3) + WSTR("]")},
        {wide("[%s]", static_cast<const WChar*>(nullptr)), WSTR("[(null)]")},
        {wide("[%hs|%S]", "narrow", "too"), WSTR("[narrow|too]")},
        {wide("[%c%c]", int(0x416), int('z')), WSTR("[Жz]")},
        {wide("[%3c|%-3c]", int('a'), int('b')), WSTR("[  a|b  ]")},
        {wide("[%hc]", int('q')), WSTR("[q]")},
        {wide("100%%"), WSTR("100%")},
        // Unknown conversions and %n are copied as they stand.
        {wide("[%n|%q|%5k]"), WSTR("[%n|%q|%5k]")},
        {wide("tail %"), WSTR("tail %")},
        {wide("tail %-5"), WSTR("tail %-5")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(c.got, c.expected);
    }
    // A zero character is output like any other.
    const WString zero = wide("a%cb", 0);
    EXPECT_EQ(zero, WString(WSTR("a\0b"), 3));
    // The precision bounds the read: the argument needs no terminator.
    const WChar unterminated[3] = {'x', 'y', 'z'};
    EXPECT_EQ(wide("%.3s", unterminated), WSTR("xyz"));
}

TEST(WFormat, MeasuringAndCutting)
{
    const WChar* f = WSTR("%s-%d");
    EXPECT_EQ(wsnprintf(nullptr, 0, f, WSTR("abcdef"), 42), 9);

    WChar buf[8];
    for (int size : {0, 1, 4, 5}) {
        SCOPED_TRACE(size);
        for (WChar& c : buf)
            c = 'Z';
        EXPECT_EQ(wsnprintf(buf, size, f, WSTR("abcdef"), 42), 9);
        if (size > 0) {
            EXPECT_EQ(WString(buf), WString(WSTR("abcdef-42")).substr(0, size_t(size - 1)));
        }
        for (int i = size; i < 8; ++i)
            EXPECT_EQ(buf[i], 'Z') << "written past the buffer at " << i;
    }
    // A huge width is counted, never written past the buffer.
    EXPECT_EQ(wsnprintf(buf, 8, WSTR("%100000d"), 1), 100000);
    EXPECT_EQ(WString(buf), WString(7, ' '));
    EXPECT_EQ(wsnprintf(buf, 8, nullptr), -1);
    EXPECT_EQ(buf[0], 0);
}

} // namespace

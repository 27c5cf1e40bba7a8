// aCString and xCString: the members shared by both (typed tests), the buffer protocol,
// Mid's rules, Format's limit and assertion, aliasing, and a randomised run against
// std::basic_string; then what differs: conversions between widths and the code-page members.
#include <vexapi/core/acstring.h>
#include <vexapi/core/charset.h>
#include <vexapi/core/vexassert.h>
#include <vexapi/core/xcstring.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

using VexAPI::aCString;
using VexAPI::xCString;

namespace {

// ---- Assertion capture ----

struct Fired {
    std::string expression, unit;
    int line;
};
std::vector<Fired> g_fired;

void recordAssert(const char* expression, const char* unit, int line)
{
    g_fired.push_back(Fired{expression, unit, line});
}

// Installs the recording handler for one scope.
struct AssertCapture {
    VexAPI::AssertHandler previous;
    AssertCapture() : previous(VexAPI::setAssertHandler(&recordAssert)) { g_fired.clear(); }
    ~AssertCapture() { VexAPI::setAssertHandler(previous); }
};

// ---- The two classes side by side ----

template <class S>
struct Traits;
template <>
struct Traits<aCString> {
    typedef WChar Ch;
};
template <>
struct Traits<xCString> {
    typedef char Ch;
};

template <class Ch>
std::basic_string<Ch> lit(const char* ascii)
{
    std::basic_string<Ch> out;
    for (const char* p = ascii; *p; ++p)
        out += Ch(*p);
    return out;
}

template <class S>
std::basic_string<typename Traits<S>::Ch> textOf(const S& s)
{
    return std::basic_string<typename Traits<S>::Ch>(s.GetData(), size_t(s.GetLength()));
}

// The class's invariants outside the buffer state: no block for the empty string, and a
// terminator right after the text.
template <class S>
void expectSound(const S& s)
{
    EXPECT_EQ(s.data == nullptr, s.length == 0);
    if (s.data) {
        EXPECT_EQ(s.data[s.length], 0);
    }
    ASSERT_NE(s.GetData(), nullptr);
    EXPECT_EQ(s.GetData()[s.GetLength()], 0);
}

template <class S>
class CStringTest : public testing::Test {
public:
    typedef typename Traits<S>::Ch Ch;
    typedef std::basic_string<Ch> Text;
    static Text T(const char* ascii) { return lit<Ch>(ascii); }
    static S make(const char* ascii) { return S(lit<Ch>(ascii).c_str()); }
};

typedef testing::Types<aCString, xCString> Classes;
TYPED_TEST_SUITE(CStringTest, Classes);

TYPED_TEST(CStringTest, ConstructionAndEquality)
{
    typedef typename TestFixture::Ch Ch;
    const Ch withZero[] = {Ch('a'), Ch(0), Ch('b')};
    struct Case {
        TypeParam s;
        typename TestFixture::Text expected;
    } cases[] = {
        {TypeParam(), this->T("")},
        {this->make(""), this->T("")},
        {this->make("hello"), this->T("hello")},
        {TypeParam(this->T("hello").c_str(), 3), this->T("hel")},
        {TypeParam(this->T("hello").c_str(), 0), this->T("")},
        {TypeParam(this->T("hello").c_str(), -2), this->T("")},
        {TypeParam(withZero, 3), typename TestFixture::Text(withZero, 3)}, // counted: zeros kept
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << (&c - cases));
        expectSound(c.s);
        EXPECT_EQ(textOf(c.s), c.expected);
        EXPECT_EQ(c.s.IsEmpty(), c.expected.empty());
        EXPECT_TRUE(c.s == TypeParam(c.s));
    }
    // Equality compares the counted text, so a held zero makes a difference.
    EXPECT_FALSE(TypeParam(withZero, 3) == this->T("a").c_str());
    EXPECT_TRUE(TypeParam() == static_cast<const Ch*>(nullptr));
    EXPECT_TRUE(this->make("ab") != this->make("abc"));
    EXPECT_TRUE(this->T("ab").c_str() == this->make("ab"));
    EXPECT_EQ(this->make("")[0], 0);
}

TYPED_TEST(CStringTest, CopiesOwnTheirText)
{
    TypeParam original = this->make("shared");
    TypeParam copy(original);
    TypeParam assigned;
    assigned = original;
    EXPECT_NE(copy.data, original.data);
    EXPECT_NE(assigned.data, original.data);
    copy.SetAt(0, 'S');
    assigned += this->T("!").c_str();
    EXPECT_EQ(textOf(original), this->T("shared"));
    EXPECT_EQ(textOf(copy), this->T("Shared"));
    EXPECT_EQ(textOf(assigned), this->T("shared!"));

    TypeParam moved(std::move(copy));
    EXPECT_EQ(textOf(moved), this->T("Shared"));
    expectSound(copy);
    EXPECT_TRUE(copy.IsEmpty());

    original = original; // self-assignment keeps the text
    EXPECT_EQ(textOf(original), this->T("shared"));
}

TYPED_TEST(CStringTest, AppendingItsOwnText)
{
    TypeParam s = this->make("ab");
    s += s;
    EXPECT_EQ(textOf(s), this->T("abab"));
    s += s.GetData() + 3; // a pointer into the block that the append reallocates
    EXPECT_EQ(textOf(s), this->T("ababb"));
    s = s.GetData() + 2;
    EXPECT_EQ(textOf(s), this->T("abb"));
    expectSound(s);
    TypeParam sum = this->make("x") + this->make("yz");
    EXPECT_EQ(textOf(sum), this->T("xyz"));
}

TYPED_TEST(CStringTest, Substrings)
{
    const TypeParam s = this->make("abcde");
    struct Case {
        int first, count; // count -1: the one-argument Mid
        const char* expected;
    } cases[] = {
        {0, -1, "abcde"}, {2, -1, "cde"}, {4, -1, "e"}, {5, -1, ""}, {9, -1, ""},
        {-3, -1, "abcde"},
        // Mid(first, count) gives nothing for first 0: callers are written to that.
        {0, 3, ""}, {1, 3, "bcd"}, {4, 10, "e"}, {3, 2, "de"}, {1, 4, "bcde"},
        {5, 1, ""}, {1, 0, ""}, {2, -5, ""}, {-1, 2, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "Mid(" << c.first << ", " << c.count << ")");
        const TypeParam mid = c.count == -1 ? s.Mid(c.first) : s.Mid(c.first, c.count);
        EXPECT_EQ(textOf(mid), this->T(c.expected));
        expectSound(mid);
    }
    struct Side {
        int count;
        const char *left, *right;
    } sides[] = {{0, "", ""}, {-1, "", ""}, {2, "ab", "de"}, {5, "abcde", "abcde"},
                 {9, "abcde", "abcde"}};
    for (const Side& c : sides) {
        SCOPED_TRACE(c.count);
        EXPECT_EQ(textOf(s.Left(c.count)), this->T(c.left));
        EXPECT_EQ(textOf(s.Right(c.count)), this->T(c.right));
    }
    EXPECT_EQ(textOf(TypeParam().Mid(0)), this->T(""));
    EXPECT_EQ(textOf(TypeParam().Mid(1, 1)), this->T(""));
}

TYPED_TEST(CStringTest, FindAndReplace)
{
    const TypeParam s = this->make("abcabc");
    struct Find {
        const char* needle;
        int start, expected;
    } finds[] = {
        {"c", 0, 2}, {"c", 3, 5}, {"c", 6, -1}, {"bc", 2, 4}, {"abcabc", 0, 0},
        {"abcabcd", 0, -1}, {"z", 0, -1}, {"", 0, 0}, {"", 6, 6}, {"", 7, -1},
        {"a", -4, 0},
    };
    for (const Find& f : finds) {
        SCOPED_TRACE(testing::Message() << f.needle << " from " << f.start);
        EXPECT_EQ(s.Find(this->T(f.needle).c_str(), f.start), f.expected);
        if (std::strlen(f.needle) == 1) {
            EXPECT_EQ(s.Find(typename TestFixture::Ch(f.needle[0]), f.start), f.expected);
        }
    }
    EXPECT_EQ(s.ReverseFind('b'), 4);
    EXPECT_EQ(s.ReverseFind('z'), -1);
    EXPECT_EQ(TypeParam().Find('a'), -1);

    struct Replace {
        const char *text, *from, *to, *expected;
        int count;
    } replaces[] = {
        {"aXbXc", "X", "YY", "aYYbYYc", 2},
        {"aaa", "aa", "b", "ba", 1}, // left to right, no overlap
        {"abab", "ab", "abab", "abababab", 2}, // replaced text is not rescanned
        {"abc", "abc", "", "", 1},
        {"abc", "", "x", "abc", 0},
        {"abc", "z", "y", "abc", 0},
        {"", "a", "b", "", 0},
    };
    for (const Replace& r : replaces) {
        SCOPED_TRACE(r.text);
        TypeParam t = this->make(r.text);
        EXPECT_EQ(t.Replace(this->T(r.from).c_str(), this->T(r.to).c_str()), r.count);
        EXPECT_EQ(textOf(t), this->T(r.expected));
        expectSound(t);
    }
}

TYPED_TEST(CStringTest, Trimming)
{
    struct Case {
        const char *text, *both, *left, *right;
    } cases[] = {
        {"  a b \t", "a b", "a b \t", "  a b"},
        {"\r\n x\n", "x", "x\n", "\r\n x"},
        {" \t ", "", "", ""},
        {"", "", "", ""},
        {"ab", "ab", "ab", "ab"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        TypeParam both = this->make(c.text), left = both, right = both;
        EXPECT_EQ(textOf(both.Trim()), this->T(c.both));
        EXPECT_EQ(textOf(left.TrimLeft()), this->T(c.left));
        EXPECT_EQ(textOf(right.TrimRight()), this->T(c.right));
        expectSound(both);
        expectSound(left);
        expectSound(right);
    }
}

// GetBuffer gives exactly n units; ReleaseBuffer makes the text of them again.
TYPED_TEST(CStringTest, BufferProtocol)
{
    typedef typename TestFixture::Ch Ch;
    // A new buffer is zeroed.
    TypeParam s;
    Ch* p = s.GetBuffer(4);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(s.GetLength(), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(p[i], 0);
    p[0] = 'a';
    p[1] = 'b';
    s.ReleaseBuffer();
    EXPECT_EQ(textOf(s), this->T("ab"));
    expectSound(s);

    // Growing zeroes the new part, the old terminator included; the caller may fill the
    // whole buffer without a terminator, and the scan stops at the buffer's end.
    p = s.GetBuffer(5);
    EXPECT_EQ(s.GetLength(), 5);
    EXPECT_EQ(textOf(s), (typename TestFixture::Text(this->T("ab")) + Ch(0) + Ch(0) + Ch(0)));
    p[2] = 'c';
    p[3] = 'd';
    p[4] = 'e';
    s.ReleaseBuffer(-1);
    EXPECT_EQ(textOf(s), this->T("abcde"));
    expectSound(s);

    // Shrinking zeroes the last unit that stays.
    p = s.GetBufferSetLength(3);
    EXPECT_EQ(s.GetLength(), 3);
    EXPECT_EQ(p[0], 'a');
    EXPECT_EQ(p[1], 'b');
    EXPECT_EQ(p[2], 0);
    s.ReleaseBuffer();
    EXPECT_EQ(textOf(s), this->T("ab"));

    // The same length: the block loses its terminator's unit until the release.
    s.GetBuffer(2);
    EXPECT_EQ(s.GetLength(), 2);
    s.ReleaseBuffer();
    EXPECT_EQ(textOf(s), this->T("ab"));
    expectSound(s);

    // An explicit count; one past the buffer is cut to it.
    p = s.GetBuffer(10);
    std::memcpy(p, this->T("hello").c_str(), 5 * sizeof(Ch));
    s.ReleaseBuffer(3);
    EXPECT_EQ(textOf(s), this->T("hel"));
    p = s.GetBuffer(4);
    for (int i = 0; i < 4; ++i)
        p[i] = Ch('w' + i);
    s.ReleaseBuffer(20);
    EXPECT_EQ(textOf(s), this->T("wxyz"));
    expectSound(s);

    // Out of the buffer state, ReleaseBuffer just sets the length.
    s.ReleaseBuffer(1);
    EXPECT_EQ(textOf(s), this->T("w"));
    s.ReleaseBuffer();
    EXPECT_EQ(textOf(s), this->T("w"));

    // Zero and empty.
    s.ReleaseBuffer(0);
    EXPECT_TRUE(s.IsEmpty());
    expectSound(s);
    s = this->make("abc");
    EXPECT_EQ(s.GetBuffer(0), nullptr);
    EXPECT_TRUE(s.IsEmpty());
    expectSound(s);
    s.GetBuffer(3);
    s.ReleaseBuffer(); // nothing written: the empty text, with no block
    EXPECT_TRUE(s.IsEmpty());
    expectSound(s);
}

TYPED_TEST(CStringTest, IndexingOutOfRangeAsserts)
{
    AssertCapture capture;
    TypeParam s = this->make("ab");
    EXPECT_EQ(s[1], 'b');
    EXPECT_EQ(s[2], 0); // the terminator's place is a valid index
    EXPECT_TRUE(g_fired.empty());
    EXPECT_EQ(s[3], 0);
    EXPECT_EQ(s[-1], 0);
    s.SetAt(2, 'x');
    s.SetAt(-1, 'x');
    EXPECT_EQ(g_fired.size(), 4u);
    EXPECT_EQ(textOf(s), this->T("ab"));
}

TYPED_TEST(CStringTest, FormatLimit)
{
    typedef typename TestFixture::Ch Ch;
    const int max = TypeParam::MAX_FORMAT_BUFFER;
    EXPECT_EQ(max, 0x20000);
    const typename TestFixture::Text width = this->T("%*s");
    const typename TestFixture::Text none = this->T("");
    AssertCapture capture;

    TypeParam s;
    s.Format(width.c_str(), max - 1, none.c_str()); // fits with its terminator
    EXPECT_TRUE(g_fired.empty());
    EXPECT_EQ(s.GetLength(), max - 1);
    EXPECT_EQ(s[max - 2], ' ');
    expectSound(s);

    s.Format(width.c_str(), max, none.c_str()); // one unit too many
    ASSERT_EQ(g_fired.size(), 1u);
    EXPECT_EQ(g_fired[0].expression, "cnt <= MAX_FORMAT_BUFFER");
    EXPECT_EQ(s.GetLength(), max - 1);
    expectSound(s);

    g_fired.clear();
    s.Format(this->T("").c_str());
    EXPECT_TRUE(g_fired.empty());
    EXPECT_TRUE(s.IsEmpty());
    expectSound(s);

    // An argument that points into the string's own text.
    s = this->make("abc");
    s.Format(this->T("<%s>").c_str(), s.GetData() + 1);
    EXPECT_EQ(textOf(s), this->T("<bc>"));
    s.Format(this->T("%d|%-4d|%05.1f|%c").c_str(), -7, 12, 2.25, int(Ch('z')));
    EXPECT_EQ(textOf(s), this->T("-7|12  |002.2|z"));
}

// A randomised run of the changing members against std::basic_string.
TYPED_TEST(CStringTest, RandomisedAgainstModel)
{
    typedef typename TestFixture::Ch Ch;
    typedef typename TestFixture::Text Text;
    std::mt19937 rng(20240611);
    auto randomText = [&](size_t maxLength) {
        Text t(rng() % (maxLength + 1), Ch('a'));
        for (Ch& c : t)
            c = Ch("ab \t"[rng() % 4]);
        return t;
    };
    TypeParam s;
    Text model;
    for (int step = 0; step < 3000; ++step) {
        const int op = int(rng() % 8);
        const int len = int(model.size());
        switch (op) {
        case 0: {
            const Text t = randomText(6);
            s = t.c_str();
            model = t;
            break;
        }
        case 1: {
            const Text t = randomText(4);
            s += t.c_str();
            model += t;
            break;
        }
        case 2: {
            const int first = int(rng() % 8), count = int(rng() % 8);
            const TypeParam mid = s.Mid(first, count);
            const Text expected = (first >= 1 && count >= 1 && first < len)
                                      ? model.substr(size_t(first), size_t(count))
                                      : Text();
            ASSERT_EQ(textOf(mid), expected);
            break;
        }
        case 3: {
            const Text from = randomText(2), to = randomText(2);
            if (from.empty())
                break;
            s.Replace(from.c_str(), to.c_str());
            Text out;
            for (size_t i = 0; i < model.size();) {
                if (model.compare(i, from.size(), from) == 0) {
                    out += to;
                    i += from.size();
                } else {
                    out += model[i++];
                }
            }
            model = out;
            break;
        }
        case 4: {
            s.TrimRight();
            while (!model.empty() && (model.back() == ' ' || model.back() == '\t'))
                model.pop_back();
            break;
        }
        case 5: {
            // Fill a fresh buffer partly and release it to the written text.
            const int n = int(rng() % 6) + 1;
            const int fill = int(rng() % size_t(n + 1));
            Ch* p = s.GetBuffer(n);
            ASSERT_NE(p, nullptr);
            for (int i = 0; i < fill; ++i)
                p[i] = Ch('x');
            if (fill < n)
                p[fill] = 0;
            s.ReleaseBuffer();
            // Units the caller did not write keep the old text (up to the buffer's last
            // unit, zeroed when it shrank) or are zero: the text ends at the first zero.
            Text buffer = model;
            const bool shrinks = size_t(n) < buffer.size();
            buffer.resize(size_t(n), Ch(0));
            if (shrinks)
                buffer[size_t(n) - 1] = 0;
            for (int i = 0; i < fill; ++i)
                buffer[size_t(i)] = Ch('x');
            if (fill < n)
                buffer[size_t(fill)] = 0;
            model = buffer.substr(0, std::min(buffer.find(Ch(0)), buffer.size()));
            break;
        }
        case 6: {
            TypeParam copy(s);
            s = copy + s;
            model = model + model;
            if (model.size() > 64) {
                s = s.Mid(1, 10);
                model = model.substr(1, 10);
            }
            break;
        }
        default: {
            const int first = int(rng() % 8);
            s = s.Mid(first);
            model = first < len ? model.substr(size_t(first)) : Text();
            break;
        }
        }
        ASSERT_EQ(textOf(s), model) << "step " << step << " op " << op;
        expectSound(s);
    }
}

// ---- What differs between the two ----

std::string narrowOfOmega()
{
    // "aΩb" in the platform's 8-bit charset, which may or may not hold the Greek capital.
    char out[8];
    const WChar omega[] = {0x3A9, 0};
    const int n = wcs2mbs(out, omega, getStdCharset(), 8, 1);
    return "a" + (n > 0 ? std::string(out, size_t(n)) : std::string("?")) + "b";
}

TEST(CStringConversion, BetweenWidths)
{
    const aCString wide(WSTR("plain ASCII"));
    xCString narrow(wide);
    EXPECT_STREQ(narrow, "plain ASCII");
    aCString back("plain ASCII");
    EXPECT_TRUE(back == wide);

    xCString x;
    convertACtoXC(x, aCString(WSTR("aΩb")));
    if (findCharset(getStdCharset())) {
        EXPECT_EQ(std::string(x), narrowOfOmega());
    }
    aCString a;
    convertXCtoAC(a, xCString("text"));
    EXPECT_TRUE(a == WSTR("text"));

    // Assignment and appending across widths.
    aCString s;
    s = "ab";
    s += "cd";
    s += WSTR("ef");
    EXPECT_TRUE(s == WSTR("abcdef"));
    xCString t;
    t = WSTR("ab");
    t += WSTR("cd");
    t += "ef";
    EXPECT_TRUE(t == "abcdef");
    t = s;
    EXPECT_TRUE(t == "abcdef");
    EXPECT_TRUE(xCString(static_cast<const WChar*>(nullptr)).IsEmpty());
    EXPECT_TRUE(aCString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(CStringConversion, FormatOfWideText)
{
    aCString s;
    s.Format(WSTR("%s=%d (%hs) %x"), WSTR("Ключ"), 42, "narrow", 255u);
    EXPECT_TRUE(s == WSTR("Ключ=42 (narrow) ff"));
}

TEST(CStringConversion, CodePageMembers)
{
    // "Привет" in each of the three pages.
    const char* koi = "\xF0\xD2\xC9\xD7\xC5\xD4";
    const char* oem = "\x8F\xE0\xA8\xA2\xA5\xE2";
    const char* ansi = "\xCF\xF0\xE8\xE2\xE5\xF2";
    struct Case {
        void (xCString::*member)();
        const char *from, *to;
    } cases[] = {
        {&xCString::KoiToOem, koi, oem},  {&xCString::OemToKoi, oem, koi},
        {&xCString::OemToCharA, oem, ansi}, {&xCString::CharToOemA, ansi, oem},
        {&xCString::AnsiToKoi, ansi, koi}, {&xCString::KoiToAnsi, koi, ansi},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        xCString s(c.from);
        (s.*c.member)();
        EXPECT_STREQ(s, c.to);
        EXPECT_EQ(s.GetLength(), 6);
    }

    // The members convert the whole text, past the 16-bit limit of the plain functions.
    xCString big(std::string(70000, '\xE1').c_str()); // KOI8-R capital A
    big.KoiToOem();
    EXPECT_EQ(std::string(big), std::string(70000, '\x80'));

    // 16-bit text has no code page: the members leave it alone.
    aCString wide(WSTR("Привет, 123"));
    const aCString before(wide);
    wide.KoiToOem();
    wide.OemToKoi();
    wide.CharToOemA();
    wide.OemToCharA();
    wide.AnsiToKoi();
    wide.KoiToAnsi();
    EXPECT_TRUE(wide == before);
}

} // namespace

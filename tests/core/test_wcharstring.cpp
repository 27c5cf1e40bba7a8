// WCharString: construction, independent copies, aliasing assignment and appending, equality
// with held zeros, trim; a randomised run against std::basic_string as the model.
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/core/wtext.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>

namespace {


WString textOf(const WCharString& s)
{
    return WString(s.constData(), size_t(s.length()));
}

// Invariant 1 of the class: never null, always terminated after length() units.
void expectTerminated(const WCharString& s)
{
    ASSERT_NE(s.constData(), nullptr);
    EXPECT_EQ(s.constData()[s.length()], 0);
    EXPECT_EQ(s.empty(), s.length() == 0);
}

TEST(WCharStringTest, Construction)
{
    const WChar withZero[] = {'a', 0, 'b', 'c'};
    struct Case {
        WCharString s;
        WString expected;
    } cases[] = {
        {WCharString(), WString()},
        {WCharString(nullptr), WString()},
        {WCharString(nullptr, 5), WString()},
        {WCharString(WSTR("Привет")), WString(WSTR("Привет"))},
        {WCharString(WSTR("abcdef"), 3), WString(WSTR("abc"))},
        {WCharString(WSTR("abc"), -1), WString(WSTR("abc"))},
        {WCharString(WSTR("abc"), 0), WString()},
        {WCharString(withZero, 4), WString(withZero, 4)}, // a counted text keeps its zeros
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << (&c - cases));
        expectTerminated(c.s);
        EXPECT_EQ(textOf(c.s), c.expected);
    }
}

TEST(WCharStringTest, CopiesAreIndependent)
{
    WCharString original(WSTR("shared?"));
    WCharString copy(original);
    WCharString assigned;
    assigned = original;
    copy.data()[0] = 'S';
    assigned += WSTR(" no");
    EXPECT_EQ(original, WSTR("shared?"));
    EXPECT_EQ(copy, WSTR("Shared?"));
    EXPECT_EQ(assigned, WSTR("shared? no"));
    EXPECT_NE(original.constData(), copy.constData());

    WCharString moved(std::move(copy));
    EXPECT_EQ(moved, WSTR("Shared?"));
    original = std::move(moved);
    EXPECT_EQ(original, WSTR("Shared?"));
}

TEST(WCharStringTest, AssignmentFromItselfOrFromItsOwnText)
{
    WCharString s(WSTR("abcdef"));
    const WCharString& alias = s;
    s = alias;
    EXPECT_EQ(s, WSTR("abcdef"));
    s = s.constData() + 2; // the new text lies inside the old buffer
    EXPECT_EQ(s, WSTR("cdef"));
    s.assign(s.constData() + 1, 2);
    EXPECT_EQ(s, WSTR("de"));
    s = static_cast<const WChar*>(nullptr);
    EXPECT_TRUE(s.empty());
    expectTerminated(s);
}

TEST(WCharStringTest, AppendingGrows)
{
    WCharString s;
    WString model;
    for (int i = 0; i < 300; ++i) {
        const WChar c = WChar(0x410 + i % 32);
        s += c;
        model += c;
        if (i % 7 == 0) {
            s += WSTR("+€");
            model += WSTR("+€");
        }
    }
    EXPECT_EQ(textOf(s), model);
    expectTerminated(s);
    s += s; // appending itself
    EXPECT_EQ(textOf(s), model + model);
    s += static_cast<const WChar*>(nullptr);
    s += WCharString();
    EXPECT_EQ(s.length(), int(model.size() * 2));
    EXPECT_EQ(WCharString(WSTR("ab")) + WCharString(WSTR("cd")), WSTR("abcd"));
}

TEST(WCharStringTest, EqualityComparesEveryUnit)
{
    const WChar withZero[] = {'a', 0, 'b'};
    const WCharString counted(withZero, 3);
    EXPECT_FALSE(counted == WSTR("a")) << "a held zero is not the end of the text";
    EXPECT_FALSE(counted == WCharString(WSTR("a")));
    EXPECT_TRUE(counted == WCharString(withZero, 3));
    EXPECT_TRUE(WCharString() == static_cast<const WChar*>(nullptr));
    EXPECT_TRUE(WCharString() == WSTR(""));
    EXPECT_FALSE(WCharString(WSTR("a")) == static_cast<const WChar*>(nullptr));
    EXPECT_FALSE(WCharString(WSTR("ab")) == WSTR("abc"));
    EXPECT_FALSE(WCharString(WSTR("abc")) == WSTR("ab"));
    EXPECT_TRUE(WSTR("ab") == WCharString(WSTR("ab")));
    EXPECT_TRUE(WSTR("ab") != WCharString(WSTR("aB")));
}

TEST(WCharStringTest, TrimDropsTheGivenCharactersAtBothEnds)
{
    struct Case {
        const WChar* text;
        const WChar* chars;
        const WChar* expected;
    } cases[] = {
        {WSTR(" \t a b \r\n"), nullptr, WSTR("a b")},      // white space by default
        {WSTR("\xA0x\xA0"), nullptr, WSTR("x")},           // the no-break space too
        {WSTR("--+a-b+--"), WSTR("+-"), WSTR("a-b")},
        {WSTR("   "), nullptr, WSTR("")},
        {WSTR(""), WSTR("x"), WSTR("")},
        {WSTR("  a  "), WSTR(""), WSTR("  a  ")},           // an empty set drops nothing
        {WSTR("xax"), WSTR("y"), WSTR("xax")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << (&c - cases));
        WCharString s(c.text);
        EXPECT_EQ(&s.trim(c.chars), &s);
        EXPECT_EQ(s, c.expected);
        expectTerminated(s);
    }
}

int g_asserts = 0;
void countAssert(const char*, const char*, int) { ++g_asserts; }

TEST(WCharStringTest, IndexOutOfRangeAssertsAndReadsZero)
{
    VexAPI::AssertHandler previous = VexAPI::setAssertHandler(&countAssert);
    g_asserts = 0;
    const WCharString s(WSTR("ab"));
    EXPECT_EQ(s[1], 'b');
    EXPECT_EQ(s[2], 0) << "the terminator is readable";
    EXPECT_EQ(g_asserts, 0);
    EXPECT_EQ(s[3], 0);
    EXPECT_EQ(s[-1], 0);
    EXPECT_EQ(g_asserts, 2);
    VexAPI::setAssertHandler(previous);
}

TEST(WCharStringTest, RandomOperationsMatchTheModel)
{
    std::mt19937 rng(7321);
    std::uniform_int_distribution<int> op(0, 6);
    std::uniform_int_distribution<int> unit(0, 5);
    const WChar alphabet[] = {' ', 'a', 'b', 0x416, '\t', 'x'};
    WCharString s, other;
    WString model, otherModel;
    for (int step = 0; step < 5000; ++step) {
        switch (op(rng)) {
        case 0: {
            const WChar c = alphabet[unit(rng)];
            s += c;
            model += c;
            break;
        }
        case 1:
            if (model.size() + otherModel.size() < 512) { // copies and appends double fast
                s += other;
                model += otherModel;
            }
            break;
        case 2:
            std::swap(s, other);
            std::swap(model, otherModel);
            break;
        case 3:
            other = s;
            otherModel = model;
            break;
        case 4: {
            s.trim(WSTR(" x"));
            const size_t b = model.find_first_not_of(WSTR(" x"));
            model = b == WString::npos ? WString() : model.substr(b, model.find_last_not_of(WSTR(" x")) - b + 1);
            break;
        }
        case 5:
            if (model.size() > 64) {
                s.assign(s.constData() + 32, int(model.size()) - 40);
                model = model.substr(32, model.size() - 40);
            }
            break;
        case 6:
            if (!model.empty()) {
                s.data()[0] = 'q';
                model[0] = 'q';
            }
            break;
        }
        ASSERT_EQ(textOf(s), model) << "step " << step;
        ASSERT_EQ(textOf(other), otherModel) << "step " << step;
        ASSERT_EQ(s.constData()[s.length()], 0);
        ASSERT_EQ(s == other, model == otherModel);
    }
}

} // namespace

// The plain text functions: trimming, comments, Round, statement counting and borders (with
// positions on and around ';'), positions, line counts, low-byte case mapping, getdir,
// findParam and addExtention, with guards past the buffers they are given.
#include <vexapi/core/textfuncs.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {


TEST(TextFuncs, Trimming)
{
    struct Case {
        const char *text, *rtrim, *ltrim, *sym;
    } cases[] = {
        {"ab  ", "ab", "ab  ", "ab  "},
        {" \t ab \t", " \t ab", "ab \t", " "}, // a tab is below 32 too
        {"   ", "", "", "   "},
        {"", "", "", ""},
        {"a\tb\n", "a\tb\n", "a\tb\n", "a"},
        {"ab\x1f" "cd", "ab\x1f" "cd", "ab\x1f" "cd", "ab"},
        {"\xE9t\xE9 ", "\xE9t\xE9", "\xE9t\xE9 ", "\xE9t\xE9 "}, // high bytes are text
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::vector<char> r(c.text, c.text + std::strlen(c.text) + 1), l = r, s = r;
        EXPECT_STREQ(strrtrim(r.data()), c.rtrim);
        EXPECT_STREQ(strltrim(l.data()), c.ltrim);
        EXPECT_STREQ(strtosym(s.data()), c.sym);
        WString w;
        for (const char* p = c.text; *p; ++p)
            w += WChar(static_cast<unsigned char>(*p));
        WString wr;
        for (const char* p = c.rtrim; *p; ++p)
            wr += WChar(static_cast<unsigned char>(*p));
        EXPECT_EQ(WString(_tcsrtrim(&w[0])), wr);
    }
    EXPECT_EQ(strrtrim(nullptr), nullptr);
    EXPECT_EQ(strltrim(nullptr), nullptr);
    EXPECT_EQ(strtosym(nullptr), nullptr);
    EXPECT_EQ(_tcsrtrim(nullptr), nullptr);
}

TEST(TextFuncs, CommentsQueriesAndRounding)
{
    struct Comment {
        const char* text;
        bool comment;
    } comments[] = {{nullptr, true}, {"", true},   {"//", false},    {"//a", true},
                    {"// ", true},   {"/a/", false}, {"a//b", false}, {"/", false}};
    for (const Comment& c : comments) {
        SCOPED_TRACE(c.text ? c.text : "(null)");
        EXPECT_EQ(isComment(c.text), c.comment);
    }

    struct Query {
        const char* text;
        bool query;
    } queries[] = {{"12345", false}, {" a", true},       {"", false},
                   {nullptr, false}, {"1+2;", false},     {"select 1", true},
                   {"\xC0", true}};
    for (const Query& q : queries) {
        SCOPED_TRACE(q.text ? q.text : "(null)");
        EXPECT_EQ(isQuery(q.text), q.query);
    }

    struct Rounding {
        float value;
        int expected;
    } roundings[] = {{2.5f, 3},  {-2.5f, -2}, {2.49f, 2}, {-2.7f, -2}, {0.5f, 1},
                     {-0.4f, 0}, {3.0f, 3},   {1e20f, INT_MAX}, {-1e20f, INT_MIN}};
    for (const Rounding& r : roundings) {
        SCOPED_TRACE(r.value);
        EXPECT_EQ(Round(r.value), r.expected);
    }
}

TEST(TextFuncs, StatementCount)
{
    struct Case {
        const char* text;
        int count;
    } cases[] = {
        {"a;b;", 2}, {"a;b", 2}, {"", 0}, {nullptr, 0}, {";", 1}, {";;", 2}, {"a", 1},
        {"select ';' from t", 2}, // every ';' counts, inside literals too
        {"a;\n", 2},              // a text that ends in a line feed, not a ';'
        {"-- x;\nselect 1;", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text ? c.text : "(null)");
        EXPECT_EQ(getStatementCount(c.text), c.count);
    }
}

TEST(TextFuncs, StatementBorders)
{
    struct Case {
        const char* text;
        int position, start, end, number;
    } cases[] = {
        {"a;bb;c", 0, 0, 1, 1},
        {"a;bb;c", 1, 2, 4, 2}, // on a ';': the statement that follows
        {"a;bb;c", 2, 2, 4, 2},
        {"a;bb;c", 3, 2, 4, 2},
        {"a;bb;c", 4, 5, 5, 3},
        {"a;bb;c", 5, 5, 5, 3}, // in the last statement: the last index ends it
        {"a;bb;c", 100, 5, 5, 3},
        {"a;bb;c", -5, 0, 1, 1},
        {"a;bb;", 3, 2, 4, 2},
        {"a;bb;", 4, 2, 4, 3}, // on the final ';': no next index, a number past the count
        {";x", 0, 1, 1, 2},
        {"abc", 1, 0, 2, 1},
        {"", 0, 0, 0, 0},
        {nullptr, 3, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.text ? c.text : "(null)") << " at " << c.position);
        int start = 77, end = 77;
        EXPECT_EQ(getStatementBorders(c.text, c.position, start, end), c.number);
        EXPECT_EQ(start, c.start);
        EXPECT_EQ(end, c.end);
    }

    // Every position of a text with several statements: the statement found holds the
    // position (or starts right after the ';' it stands on), and its borders are those of
    // that statement as the ';' split it.
    const std::string text = "select 1;update t set a=2;;delete from t";
    for (int pos = 0; pos < int(text.size()); ++pos) {
        SCOPED_TRACE(pos);
        int start, end;
        const int number = getStatementBorders(text.c_str(), pos, start, end);
        int before = 0;
        for (int i = 0; i < pos; ++i)
            before += text[size_t(i)] == ';';
        const bool onSemicolon = text[size_t(pos)] == ';';
        EXPECT_EQ(number, before + 1 + (onSemicolon ? 1 : 0));
        EXPECT_LE(start, end);
        const size_t semicolon = text.find(';', size_t(start));
        EXPECT_EQ(end, semicolon == std::string::npos ? int(text.size()) - 1 : int(semicolon));
        EXPECT_TRUE(start == 0 || text[size_t(start) - 1] == ';');
        EXPECT_LE(number, getStatementCount(text.c_str()));
    }
}

TEST(TextFuncs, PositionsAndLines)
{
    const WString text = WSTR("ab\ncd\r\nef");
    struct Case {
        int line, column, pos;
    } cases[] = {{1, 0, 0}, {1, 2, 2}, {2, 0, 3}, {2, 1, 4}, {3, 1, 8},
                 {4, 0, 9}, {0, 3, 3}, {-1, 0, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.line << ":" << c.column);
        EXPECT_EQ(coords2pos(text.c_str(), c.line, c.column), c.pos);
    }
    EXPECT_EQ(coords2pos(nullptr, 3, 2), 2);

    struct Lines {
        const char* text;
        int feeds, separators;
    } lines[] = {{"a\nb\n", 2, 0},        {"a\r\nb\nc\r\n", 3, 2}, {"\nabc", 1, 1},
                 {"\r\n\n", 2, 1},         {"", 0, 0},              {nullptr, 0, 0},
                 {"\n\n", 2, 1}};
    for (const Lines& l : lines) {
        SCOPED_TRACE(l.text ? l.text : "(null)");
        EXPECT_EQ(getLineNum(l.text), l.feeds);
        EXPECT_EQ(getLineSeparators(l.text), l.separators);
    }
}

TEST(TextFuncs, LowByteCaseMappingLosesTheHighByte)
{
    struct Case {
        WChar in, upper, lower;
    } cases[] = {
        {'a', 'A', 'a'},       {'Z', 'Z', 'z'},     {'5', '5', '5'},
        {0x00E9, 0x00E9, 0x00E9}, // only the C locale's ASCII letters change
        {0x0430, '0', '0'},       // Cyrillic a: its low byte is '0'
        {0x0161, 'A', 'a'},       // s with caron: low byte 'a'
        {0x0141, 'A', 'a'},       // L with stroke: low byte 'A'
        {0x4E2D, '-', '-'},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(int(c.in));
        WChar up[2] = {c.in, 0}, down[2] = {c.in, 0};
        rstrtoupper(up);
        strtolower(down);
        EXPECT_EQ(up[0], c.upper);
        EXPECT_EQ(down[0], c.lower);
    }
    EXPECT_EQ(rstrtoupper(nullptr), nullptr);
    EXPECT_EQ(strtolower(nullptr), nullptr);
}

TEST(TextFuncs, DirectoryPart)
{
    struct Case {
        const WChar* path;
        int size;
        const WChar* dir;
    } cases[] = {
        {WSTR("C:\\dir\\file.txt"), 32, WSTR("C:\\dir")},
        {WSTR("file.txt"), 32, WSTR("")},
        {WSTR("C:/dir/file"), 32, WSTR("")}, // only a backslash counts
        {WSTR("\\file"), 32, WSTR("")},
        {WSTR("a\\b\\"), 32, WSTR("a\\b")},
        {WSTR("abcdef\\x"), 4, WSTR("abc")},
        {nullptr, 32, WSTR("")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<WChar> out(size_t(c.size) + 4, WChar('Z'));
        EXPECT_EQ(getdir(c.path, out.data(), c.size), out.data());
        EXPECT_EQ(WString(out.data()), WString(c.dir));
        for (size_t i = size_t(c.size); i < out.size(); ++i)
            EXPECT_EQ(out[i], 'Z');
    }
    EXPECT_EQ(getdir(WSTR("a\\b"), nullptr, 4), nullptr);
}

TEST(TextFuncs, FindParam)
{
    struct Case {
        std::vector<WString> args;
        const WChar* expected; // null: not found
        int argument;          // where the result points: the argument's index
    } cases[] = {
        {{WSTR("prog"), WSTR("-x"), WSTR("5")}, WSTR("5"), 2},
        {{WSTR("prog"), WSTR("-x=7")}, WSTR("7"), 1},
        {{WSTR("prog"), WSTR("-x=")}, WSTR(""), 1},
        {{WSTR("prog"), WSTR("-x="), WSTR("9")}, WSTR("9"), 2},
        {{WSTR("prog"), WSTR("-x")}, WSTR(""), 1},
        {{WSTR("prog"), WSTR("-xfoo")}, WSTR("foo"), 1},
        {{WSTR("prog"), WSTR("-x=1"), WSTR("-x=2")}, WSTR("2"), 2}, // the last wins
        {{WSTR("prog"), WSTR("-x"), WSTR("5"), WSTR("-x")}, WSTR(""), 3},
        {{WSTR("prog"), WSTR("a-xb")}, WSTR("b"), 1}, // contained anywhere
        {{WSTR("prog"), WSTR("-y")}, nullptr, -1},
        {{}, nullptr, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<WString> storage = c.args;
        std::vector<WChar*> argv;
        for (WString& a : storage)
            argv.push_back(&a[0]);
        const WChar* got = findParam(int(argv.size()), argv.data(), WSTR("-x"));
        if (!c.expected) {
            EXPECT_EQ(got, nullptr);
            continue;
        }
        ASSERT_NE(got, nullptr);
        EXPECT_EQ(WString(got), WString(c.expected));
        const WChar* begin = storage[size_t(c.argument)].c_str();
        EXPECT_TRUE(got >= begin && got <= begin + storage[size_t(c.argument)].size());
    }
    EXPECT_EQ(findParam(1, nullptr, WSTR("-x")), nullptr);
}

TEST(TextFuncs, AddExtension)
{
    struct Case {
        const WChar* name;
        int size;
        const WChar* expected;
    } cases[] = {
        {WSTR("a.txt"), 32, WSTR("a.txt")},
        {WSTR("a.txt.bak"), 32, WSTR("a.txt.bak.txt")},
        {WSTR("a"), 32, WSTR("a.txt")},
        {WSTR(""), 32, WSTR("")},
        {WSTR("a.TXT"), 32, WSTR("a.TXT.txt")}, // the comparison respects case
        {WSTR("a.txt.txt"), 32, WSTR("a.txt.txt")},
        {WSTR(".txt"), 32, WSTR(".txt")},
        {WSTR("ab"), 4, WSTR("ab.")},       // cut to the buffer
        {WSTR("abcdef"), 3, WSTR("abcdef")}, // longer than the size: left alone
        {WSTR("abc"), 3, WSTR("abc")},       // no room left
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<WChar> buf(40, WChar('Z'));
        WString name(c.name);
        std::copy(name.c_str(), name.c_str() + name.size() + 1, buf.begin());
        EXPECT_EQ(addExtention(buf.data(), c.size, WSTR(".txt")), buf.data());
        EXPECT_EQ(WString(buf.data()), WString(c.expected));
        const size_t guard = std::max(size_t(c.size), name.size() + 1);
        for (size_t i = guard; i < buf.size(); ++i)
            EXPECT_EQ(buf[i], 'Z') << i;
    }
}

} // namespace

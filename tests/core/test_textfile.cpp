// Text files: the line readers on \n, \r\n, a last line without a newline, an empty and a
// missing file; byte-order marks in both orders; UCS-2 lines; random 16-bit text through
// UTF-8 files and back, checked against a small UTF-8 encoder kept here; the assertions of
// writeln and readln; file names outside ASCII.
#include <vexapi/core/charset.h>
#include <vexapi/core/textfile.h>
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include "assertspy.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {


// The model: UTF-16 text to UTF-8, for well-formed text.
std::string utf8Of(const WString& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        std::uint32_t cp = text[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size())
            cp = 0x10000 + ((cp - 0xD800) << 10) + (std::uint32_t(text[++i]) - 0xDC00);
        if (cp < 0x80) {
            out += char(cp);
        } else if (cp < 0x800) {
            out += char(0xC0 | (cp >> 6));
            out += char(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += char(0xE0 | (cp >> 12));
            out += char(0x80 | ((cp >> 6) & 0x3F));
            out += char(0x80 | (cp & 0x3F));
        } else {
            out += char(0xF0 | (cp >> 18));
            out += char(0x80 | ((cp >> 12) & 0x3F));
            out += char(0x80 | ((cp >> 6) & 0x3F));
            out += char(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

// A folder of its own per test, removed afterwards; files are written and read back with
// the standard library, apart from the functions under test.
class TextFileTest : public testing::Test {
protected:
    void SetUp() override
    {
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        m_dir = fs::temp_directory_path() / ("vexapi-textfile-" + std::to_string(stamp));
        fs::create_directories(m_dir);
    }
    void TearDown() override
    {
        std::error_code ec;
        fs::remove_all(m_dir, ec);
    }

    fs::path path(const std::string& name) const { return m_dir / name; }

    static WString wide(const fs::path& p)
    {
        const std::u16string u = p.u16string();
        return WString(u.begin(), u.end());
    }

    void writeBytes(const std::string& name, const std::string& bytes)
    {
        std::ofstream out(path(name), std::ios::binary);
        out.write(bytes.data(), std::streamsize(bytes.size()));
    }

    std::string readBytes(const std::string& name)
    {
        std::ifstream in(path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    FILE* open(const std::string& name, const char* mode)
    {
        return wfopen(wide(path(name)).c_str(), mode);
    }

    fs::path m_dir;
};

// Reads lines with `read` until the stream reports its end.
template <class Ch, class Read>
std::vector<std::basic_string<Ch>> allLines(FILE* f, Read read)
{
    std::vector<std::basic_string<Ch>> lines;
    for (int guard = 0; guard < 100 && !std::feof(f); ++guard) {
        Ch buf[64];
        read(f, buf);
        lines.push_back(buf);
    }
    return lines;
}

typedef std::vector<std::string> Lines;

TEST_F(TextFileTest, NarrowLineReads)
{
    struct Case {
        const char* content;
        int size;
        Lines getline, getlinex; // getlinex with ';' as its delimiter
    } cases[] = {
        {"one\ntwo\r\nthree", 64, {"one", "two", "three"}, {"one\ntwo\r\nthree"}},
        {"a\n", 64, {"a", ""}, {"a\n"}}, // the end shows only on the read after the last line
        {"", 64, {""}, {""}},
        {"\n\n", 64, {"", "", ""}, {"\n\n"}},
        {"a\rb;c\r\n;", 64, {"ab;c", ";"}, {"a\rb", "c\r\n", ""}},
        {"abcdefg\n", 4, {"abc", "def", "g", ""}, {"abc", "def", "g\n"}}, // size - 1 chars
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        writeBytes("lines.txt", c.content);
        FILE* f = open("lines.txt", "rb");
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(allLines<char>(f, [&](FILE* s, char* b) { EXPECT_EQ(getline(s, b, c.size), 0); }),
                  c.getline);
        std::rewind(f);
        EXPECT_EQ(allLines<char>(f, [&](FILE* s, char* b) { EXPECT_EQ(getlinex(s, b, c.size, ';'), 0); }),
                  c.getlinex);
        std::rewind(f);
        // getlinew: the same lines, each byte widened into its unit.
        std::vector<WString> wideLines =
            allLines<WChar>(f, [&](FILE* s, WChar* b) { EXPECT_EQ(getlinew(s, b, c.size), 0); });
        ASSERT_EQ(wideLines.size(), c.getline.size());
        for (size_t i = 0; i < wideLines.size(); ++i)
            EXPECT_EQ(wideLines[i], WString(c.getline[i].begin(), c.getline[i].end()));
        std::fclose(f);
    }

    writeBytes("latin.txt", "\xE9t\xE9\n");
    FILE* f = open("latin.txt", "rb");
    WChar buf[8];
    EXPECT_EQ(getlinew(f, buf, 8), 0);
    EXPECT_EQ(WString(buf), WString(WSTR("\u00e9t\u00e9")));
    std::fclose(f);
}

// Fault cases sit together: a missing file, null arguments, and sizes too small to use.
TEST_F(TextFileTest, MissingFileAndBadArguments)
{
    const WString missing = wide(path("no such file.txt"));
    EXPECT_FALSE(fileExists(missing.c_str()));
    FILE* none = wfopen(missing.c_str(), "rb");
    EXPECT_EQ(none, nullptr);
    char buf[8];
    WChar wbuf[8];
    EXPECT_EQ(getline(none, buf, 8), 1);
    EXPECT_EQ(getlinew(none, wbuf, 8), 1);
    EXPECT_EQ(getlinex(none, buf, 8, ';'), 1);
    EXPECT_EQ(getlinexUCS2(none, wbuf, 8, '\n', false), -1);
    bool flag = true;
    EXPECT_EQ(isBackward(none, &flag), 1);
    EXPECT_TRUE(flag);
    EXPECT_EQ(writelnUCS2(none, WSTR("x")), -1);
    EXPECT_EQ(writeUTF8(none, WSTR("x")), -1);
    EXPECT_EQ(writeUTF8(none, "x", 1, false), -1);

    writeBytes("some.txt", "abc\n");
    FILE* f = open("some.txt", "rb");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(getline(f, nullptr, 8), 2);
    EXPECT_EQ(getline(f, buf, 0), 2);
    EXPECT_EQ(getlinew(f, nullptr, 8), 2);
    EXPECT_EQ(getlinex(f, buf, -1, ';'), 2);
    EXPECT_EQ(getlinexUCS2(f, wbuf, 0, '\n', false), -1);
    EXPECT_EQ(std::ftell(f), 0); // nothing was read
    EXPECT_EQ(getline(f, buf, 1), 0); // room for the terminator only
    EXPECT_STREQ(buf, "");
    std::fclose(f);

    EXPECT_TRUE(fileExists(wide(path("some.txt")).c_str()));
    EXPECT_FALSE(fileExists(wide(m_dir).c_str())); // a folder is not a file to read
    EXPECT_FALSE(fileExists(nullptr));
    EXPECT_FALSE(fileExists(WSTR("")));
    EXPECT_EQ(wfopen(wide(path("some.txt")).c_str(), nullptr), nullptr);
}

TEST_F(TextFileTest, FileNamesOutsideAscii)
{
    const fs::path name = m_dir / fs::path(u"Файл \u65e5\u672c \U0001F600.txt");
    {
        std::ofstream out(name, std::ios::binary);
        out << "x";
    }
    const WString wideName = wide(name);
    EXPECT_TRUE(fileExists(wideName.c_str()));
    FILE* f = wfopen((wide(m_dir) + WSTR("/new \u00e9.txt")).c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fputs("y", f);
    std::fclose(f);
    EXPECT_TRUE(fs::exists(m_dir / fs::path(u"new \u00e9.txt")));
}

TEST_F(TextFileTest, ByteOrderMark)
{
    struct Case {
        std::string content;
        int result;
        int flag; // -1: left as it was
        long position;
    } cases[] = {
        {"\xFF\xFE" "a\0", 0, 0, 2},
        {"\xFE\xFF\0a", 0, 1, 2},
        {"plain text", 1, -1, 2}, // the two bytes are read all the same
        {"\xFF", 1, -1, 1},
        {"", 1, -1, 0},
        {"\xEF\xBB\xBF", 1, -1, 2}, // a UTF-8 mark is not one of these
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        writeBytes("bom.txt", c.content);
        for (bool initial : {false, true}) {
            FILE* f = open("bom.txt", "rb");
            ASSERT_NE(f, nullptr);
            bool flag = initial;
            EXPECT_EQ(isBackward(f, &flag), c.result);
            EXPECT_EQ(flag, c.flag == -1 ? initial : c.flag == 1);
            EXPECT_EQ(std::ftell(f), c.position);
            std::fclose(f);
        }
    }
}

TEST_F(TextFileTest, Ucs2LinesInBothByteOrders)
{
    const WChar pair[] = {'x', 0xD83D, 0xDE00, 0};
    const std::vector<WString> lines = {WSTR("first"), WSTR(""), WSTR("Ключ = \u65e5"), pair};

    // writelnUCS2 writes little-endian units and a line feed unit.
    FILE* f = open("le.txt", "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite("\xFF\xFE", 1, 2, f);
    for (const WString& line : lines)
        EXPECT_EQ(writelnUCS2(f, line.c_str()), int(line.size()) + 1);
    std::fclose(f);
    const std::string bytes = readBytes("le.txt");
    EXPECT_EQ(bytes.substr(0, 10), std::string("\xFF\xFE" "f\0i\0r\0s\0", 10));
    EXPECT_EQ(bytes.substr(12, 4), std::string("\n\0\n\0", 4));

    f = open("le.txt", "rb");
    bool backward = true;
    ASSERT_EQ(isBackward(f, &backward), 0);
    EXPECT_FALSE(backward);
    for (const WString& line : lines) {
        WChar buf[64];
        EXPECT_EQ(getlinexUCS2(f, buf, 64, '\n', backward), int(line.size()));
        EXPECT_EQ(WString(buf), line);
    }
    WChar buf[64];
    EXPECT_EQ(getlinexUCS2(f, buf, 64, '\n', backward), 0);
    EXPECT_TRUE(std::feof(f));
    std::fclose(f);

    // A big-endian file: its text comes out in host order, but its line feed (00 0A) is no
    // delimiter and stays in the text; a unit stored as 0A 00 is taken for one.
    writeBytes("be.txt", std::string("\xFE\xFF\0A\0B\0\n\x04\x16\x0A\0\0C", 14));
    f = open("be.txt", "rb");
    ASSERT_EQ(isBackward(f, &backward), 0);
    EXPECT_TRUE(backward);
    EXPECT_EQ(getlinexUCS2(f, buf, 64, '\n', backward), 4);
    EXPECT_EQ(WString(buf), WString(WSTR("AB\n\u0416")));
    EXPECT_EQ(getlinexUCS2(f, buf, 64, '\n', backward), 1);
    EXPECT_EQ(WString(buf), WString(WSTR("C")));
    std::fclose(f);

    // The limit leaves the rest for the next read; a half unit at the end is dropped.
    writeBytes("odd.txt", std::string("A\0B\0C\0D\0E\0\n\0F\0G", 15));
    f = open("odd.txt", "rb");
    std::vector<WString> got;
    while (!std::feof(f)) {
        EXPECT_GE(getlinexUCS2(f, buf, 3, '\n', false), 0);
        got.push_back(buf);
    }
    std::fclose(f);
    EXPECT_EQ(got, (std::vector<WString>{WSTR("AB"), WSTR("CD"), WSTR("E"), WSTR("F")}));
}

// Random 16-bit text, surrogate pairs included, through UTF-8 files and back.
TEST_F(TextFileTest, RandomTextThroughUtf8)
{
    std::mt19937 rng(1604);
    auto randomUnit = [&]() -> WChar {
        static const std::uint32_t ranges[][2] = {
            {0x20, 0x7E}, {0xA0, 0xFF}, {0x400, 0x4FF}, {0x4E00, 0x9FFF}, {0xE000, 0xFFFD}};
        const auto& r = ranges[rng() % 5];
        return WChar(r[0] + rng() % (r[1] - r[0] + 1));
    };
    std::vector<WString> lines;
    for (int i = 0; i < 200; ++i) {
        WString line;
        const int length = int(rng() % 40);
        for (int j = 0; j < length; ++j) {
            if (rng() % 6 == 0) {
                line += WChar(0xD800 + rng() % 0x400);
                line += WChar(0xDC00 + rng() % 0x400);
            } else {
                line += randomUnit();
            }
        }
        lines.push_back(line);
    }

    // writeln: each line as UTF-8 and a line feed, exactly as the model encodes it.
    FILE* f = open("random.txt", "wb");
    ASSERT_NE(f, nullptr);
    std::string expected;
    for (const WString& line : lines) {
        const std::string utf8 = utf8Of(line);
        EXPECT_EQ(writeln(f, line.c_str()), int(utf8.size()) + 1);
        expected += utf8 + "\n";
    }
    std::fclose(f);
    EXPECT_EQ(readBytes("random.txt"), expected);

    f = open("random.txt", "rb");
    for (const WString& line : lines) {
        WChar buf[256];
        ASSERT_EQ(readln(f, buf, 256), int(line.size()));
        ASSERT_EQ(WString(buf), line);
    }
    WChar buf[256];
    EXPECT_EQ(readln(f, buf, 256), 0);
    EXPECT_TRUE(std::feof(f));
    std::fclose(f);

    // writeUTF8 without line ends: the concatenation.
    f = open("joined.txt", "wb");
    std::string joined;
    for (const WString& line : lines) {
        EXPECT_EQ(writeUTF8(f, line.c_str()), int(utf8Of(line).size()));
        joined += utf8Of(line);
    }
    std::fclose(f);
    EXPECT_EQ(readBytes("joined.txt"), joined);

    // A short buffer: each read takes the whole characters that fit, and the rest of the
    // line follows on the next reads. Model: greedy by characters over 5 bytes of room; a
    // read that filled the room exactly at the line's end leaves the line feed to the next
    // read, which gives an empty text.
    std::vector<WString> expectedReads;
    for (const WString& line : lines) {
        size_t i = 0;
        for (;;) {
            WString chunk;
            size_t taken = 0;
            while (i < line.size()) {
                const size_t units = (line[i] >= 0xD800 && line[i] <= 0xDBFF) ? 2 : 1;
                const size_t bytes = utf8Of(line.substr(i, units)).size();
                if (taken + bytes > 5)
                    break;
                chunk += line.substr(i, units);
                taken += bytes;
                i += units;
            }
            expectedReads.push_back(chunk);
            if (i == line.size()) {
                if (taken == 5)
                    expectedReads.push_back(WString());
                break;
            }
        }
    }
    f = open("random.txt", "rb");
    std::vector<WString> reads;
    for (size_t k = 0; k < expectedReads.size(); ++k) {
        WChar small[6];
        const int n = readln(f, small, 6);
        ASSERT_EQ(n, int(WString(small).size()));
        reads.push_back(small);
    }
    EXPECT_EQ(reads, expectedReads);
    WChar small[6];
    EXPECT_EQ(readln(f, small, 6), 0);
    EXPECT_TRUE(std::feof(f));
    std::fclose(f);
}

TEST_F(TextFileTest, ReadlnLines)
{
    struct Case {
        std::string content;
        int size;
        std::vector<WString> lines; // read until end of file
    } cases[] = {
        {"ab\r\ncd\r\n", 64, {WSTR("ab"), WSTR("cd"), WSTR("")}},
        {"\r\r x\n", 64, {WSTR(" x"), WSTR("")}},
        {"last", 64, {WSTR("last")}},
        {"", 64, {WSTR("")}},
        {"abcdef\n", 4, {WSTR("abc"), WSTR("def"), WSTR(""), WSTR("")}},
        // Ж does not fit the first read; "Жc" fills the second, which leaves the line feed.
        {"ab\xD0\x96" "c\n", 4, {WSTR("ab"), WSTR("\u0416c"), WSTR(""), WSTR("")}},
        {"\xFF" "a\n", 64, {WSTR("\ufffda"), WSTR("")}},
        {"a\rb\n", 64, {WSTR("a\rb"), WSTR("")}}, // only the CR before the LF goes
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        writeBytes("in.txt", c.content);
        FILE* f = open("in.txt", "rb");
        ASSERT_NE(f, nullptr);
        std::vector<WString> got;
        while (!std::feof(f) && got.size() < 10) {
            WChar buf[64];
            const int n = readln(f, buf, c.size);
            EXPECT_EQ(n, int(WString(buf).size()));
            got.push_back(buf);
        }
        std::fclose(f);
        EXPECT_EQ(got, c.lines);
    }
}

TEST_F(TextFileTest, Utf8FromPlatformText)
{
    // Trimming and counting.
    struct Case {
        const char* text;
        int length;
        bool trim;
        std::string written;
    } cases[] = {
        {"abc   ", -1, true, "abc"},
        {"abc \t", -1, false, "abc \t"},
        {"   ", -1, true, ""},
        {"   ", -1, false, "   "},
        {"abcdef", 3, false, "abc"},
        {"ab  cd", 4, true, "ab"},
        {"", -1, false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        FILE* f = open("narrow.txt", "wb");
        EXPECT_EQ(writeUTF8(f, c.text, c.length, c.trim), int(c.written.size()));
        std::fclose(f);
        EXPECT_EQ(readBytes("narrow.txt"), c.written);
    }

    // A byte of the upper half is platform text recoded into UTF-8: the character the
    // platform's charset gives it, as UTF-8 (U+FFFD where the charset has none).
    const char* charset = getStdCharset();
    if (!findCharset(charset))
        GTEST_SKIP() << "the conversions do not know the charset " << charset;
    const char e9 = '\xE9';
    WChar decoded[2] = {0, 0};
    ASSERT_EQ(mbs2wcs(decoded, &e9, charset, 2, 1), 1);
    FILE* f = open("narrow.txt", "wb");
    writeUTF8(f, "caf\xE9", 4, false);
    std::fclose(f);
    EXPECT_EQ(readBytes("narrow.txt"), "caf" + utf8Of(WString(1, decoded[0])));

    // writeUTF8 of 16-bit text with a small buffer: cut before a character that does not fit.
    struct Cut {
        int size;
        std::string written;
    } cuts[] = {{0, "a\xD0\x96" "b"}, {2, "a"}, {3, "a"}, {4, "a\xD0\x96"}, {5, "a\xD0\x96" "b"}};
    for (const Cut& c : cuts) {
        SCOPED_TRACE(c.size);
        f = open("cut.txt", "wb");
        EXPECT_EQ(writeUTF8(f, WSTR("a\u0416b"), c.size), int(c.written.size()));
        std::fclose(f);
        EXPECT_EQ(readBytes("cut.txt"), c.written);
    }
}

TEST_F(TextFileTest, WritelnAndReadlnAssertOnNullArguments)
{
    AssertSpy fired;
    FILE* f = open("assert.txt", "w+b");
    ASSERT_NE(f, nullptr);
    WChar buf[8];
    EXPECT_EQ(writeln(nullptr, WSTR("x")), -1);
    EXPECT_EQ(writeln(f, nullptr), -1);
    EXPECT_EQ(readln(nullptr, buf, 8), -1);
    EXPECT_EQ(readln(f, nullptr, 8), -1);
    EXPECT_EQ(readln(f, buf, 0), -1); // not a programming error the checks look for
    std::fclose(f);

    ASSERT_EQ(fired.count(), 4);
    const int lines[] = {748, 749, 764, 765};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(fired[i].unit, "routines");
        EXPECT_EQ(fired[i].line, lines[i]);
    }
    EXPECT_EQ(fired[0].expression, "stream");
    EXPECT_EQ(fired[1].expression, "text");
    EXPECT_EQ(fired[3].expression, "out");
    EXPECT_EQ(readBytes("assert.txt"), "");
}

} // namespace

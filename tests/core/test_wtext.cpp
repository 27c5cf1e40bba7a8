// The 16-bit text routines, case mapping, the free text functions of the client layer
// (trims, removeSlash, assignString, streq_nocase) and StrPtr's stream output.
#include <vexapi/core/strptr.h>
#include <vexapi/core/wtext.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {


TEST(WString, NullPointersReadAsTheEmptyText)
{
    WChar buf[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(wstrlen(nullptr), 0);
    EXPECT_EQ(wstrcpy(buf, nullptr), buf);
    EXPECT_EQ(buf[0], 0);
    EXPECT_EQ(wstrcpy(nullptr, WSTR("a")), nullptr);
    EXPECT_EQ(wstrcmp(nullptr, WSTR("")), 0);
    EXPECT_LT(wstrcmp(nullptr, WSTR("a")), 0);
    EXPECT_GT(wstricmp(WSTR("a"), nullptr), 0);
    EXPECT_EQ(wstrchr(static_cast<const WChar*>(nullptr), 'a'), nullptr);
    EXPECT_EQ(wstrstr(static_cast<const WChar*>(nullptr), WSTR("a")), nullptr);
    EXPECT_EQ(wstrdup(nullptr), nullptr);
    EXPECT_EQ(str2upper(nullptr), nullptr);
    EXPECT_EQ(Trim(nullptr), nullptr);
    EXPECT_EQ(LTrim(nullptr), nullptr);
    EXPECT_EQ(RTrim(nullptr), nullptr);
    EXPECT_EQ(removeSlash(nullptr, WSTR("a")), nullptr);
    EXPECT_EQ(wstrlcpy(nullptr, WSTR("abc"), 4), 3);
    EXPECT_TRUE(streq_nocase(nullptr, nullptr));
    EXPECT_TRUE(streq_nocase(nullptr, WSTR("")));
    EXPECT_FALSE(streq_nocase(nullptr, WSTR("a")));
}

TEST(WString, BoundedCopyTerminatesAndNeverWritesPastItsSize)
{
    const WChar* src = WSTR("hello");
    for (int size = 0; size <= 8; ++size) {
        SCOPED_TRACE(size);
        std::vector<WChar> buf(12, WChar(0x5a5a));
        EXPECT_EQ(wstrlcpy(buf.data(), src, size), 5);
        const int kept = size == 0 ? 0 : std::min(size - 1, 5);
        if (size > 0) {
            EXPECT_EQ(WString(buf.data()), WString(src, size_t(kept)));
        }
        for (size_t i = size_t(size); i < buf.size(); ++i)
            ASSERT_EQ(buf[i], 0x5a5a) << i;
    }
    // wstrncpy keeps wcsncpy's contract: zero padding, no terminator when the text fills n.
    WChar pad[6] = {9, 9, 9, 9, 9, 9};
    wstrncpy(pad, WSTR("ab"), 5);
    EXPECT_EQ(WString(pad, 6), WString(WSTR("ab\0\0\0\x9"), 6));
    wstrncpy(pad, WSTR("abcdefg"), 3);
    EXPECT_EQ(WString(pad, 4), WString(WSTR("abc\0"), 4));
    // wstrncat always terminates.
    WChar cat[8] = {'a', 0};
    wstrncat(cat, WSTR("bcdef"), 2);
    EXPECT_EQ(WString(cat), WString(WSTR("abc")));
    wstrcat(cat, WSTR("xy"));
    EXPECT_EQ(WString(cat), WString(WSTR("abcxy")));
}

TEST(WString, ComparisonIsByUnsignedUnitValue)
{
    struct Case {
        const WChar* a;
        const WChar* b;
        int sign;
    } cases[] = {
        {WSTR("abc"), WSTR("abc"), 0},
        {WSTR("ab"), WSTR("abc"), -1},
        {WSTR("abd"), WSTR("abc"), 1},
        {WSTR("\xFFFF"), WSTR("a"), 1}, // high units compare above ASCII: no sign troubles
        {WSTR("\x8000"), WSTR("\x7FFF"), 1},
        {WSTR("Z"), WSTR("a"), -1},
    };
    auto sign = [](int v) { return v < 0 ? -1 : v > 0 ? 1 : 0; };
    for (const Case& c : cases) {
        EXPECT_EQ(sign(wstrcmp(c.a, c.b)), c.sign);
        EXPECT_EQ(sign(wstrcmp(c.b, c.a)), -c.sign);
    }
    EXPECT_EQ(wstrncmp(WSTR("abX"), WSTR("abY"), 2), 0);
    EXPECT_NE(wstrncmp(WSTR("abX"), WSTR("abY"), 3), 0);
    EXPECT_EQ(wstrncmp(WSTR("a"), WSTR("b"), 0), 0);
    EXPECT_EQ(wstrncmp(WSTR("a"), WSTR("b"), -1), 0);
    EXPECT_EQ(wstricmp(WSTR("ПрИвЕт"), WSTR("привет")), 0);
    EXPECT_EQ(wstrnicmp(WSTR("ABCx"), WSTR("abcy"), 3), 0);
    EXPECT_LT(wstricmp(WSTR("a"), WSTR("B")), 0) << "folded before comparing";
}

TEST(WString, FindingUnitsAndTexts)
{
    const WChar* s = WSTR("aaab.ab");
    EXPECT_EQ(wstrchr(s, 'b'), s + 3);
    EXPECT_EQ(wstrrchr(s, 'b'), s + 6);
    EXPECT_EQ(wstrchr(s, 'z'), nullptr);
    EXPECT_EQ(wstrchr(s, 0), s + 7) << "the terminator is found, as strchr does";
    EXPECT_EQ(wstrrchr(s, 0), s + 7);
    EXPECT_EQ(wstrstr(s, WSTR("aab")), s + 1) << "after a false start";
    EXPECT_EQ(wstrstr(s, WSTR("ab")), s + 2);
    EXPECT_EQ(wstrstr(s, WSTR(".ab")), s + 4);
    EXPECT_EQ(wstrstr(s, WSTR("abc")), nullptr);
    EXPECT_EQ(wstrstr(s, WSTR("")), s);
    EXPECT_EQ(wstrstr(WSTR(""), WSTR("a")), nullptr);
    WChar mutableText[] = {'x', 'y', 0};
    WChar* found = wstrchr(mutableText, 'y');
    ASSERT_EQ(found, mutableText + 1);
    *found = 'z';
    EXPECT_EQ(WString(mutableText), WString(WSTR("xz")));

    WChar* copy = wstrdup(s);
    EXPECT_NE(copy, s);
    EXPECT_EQ(WString(copy), WString(s));
    delete[] copy;
}

// Upper and lower case pairs from the Unicode character database.
const WChar kCasePairs[][2] = {
    {'A', 'a'}, {'Z', 'z'},
    {0x00C0, 0x00E0}, {0x00D6, 0x00F6}, {0x00D8, 0x00F8}, {0x00DE, 0x00FE}, {0x0178, 0x00FF},
    {0x0100, 0x0101}, {0x012E, 0x012F}, {0x0132, 0x0133}, {0x0136, 0x0137}, {0x0139, 0x013A},
    {0x0147, 0x0148}, {0x014A, 0x014B}, {0x0160, 0x0161}, {0x0176, 0x0177}, {0x0179, 0x017A},
    {0x017D, 0x017E},
    {0x0386, 0x03AC}, {0x0388, 0x03AD}, {0x038A, 0x03AF}, {0x038C, 0x03CC}, {0x038E, 0x03CD},
    {0x038F, 0x03CE}, {0x0391, 0x03B1}, {0x03A1, 0x03C1}, {0x03A3, 0x03C3}, {0x03A9, 0x03C9},
    {0x03AA, 0x03CA}, {0x03AB, 0x03CB},
    {0x0400, 0x0450}, {0x0401, 0x0451}, {0x040E, 0x045E}, {0x040F, 0x045F}, {0x0410, 0x0430},
    {0x042F, 0x044F}, {0x0416, 0x0436}, {0x0460, 0x0461}, {0x0480, 0x0481}, {0x048A, 0x048B},
    {0x0490, 0x0491}, {0x04BE, 0x04BF}, {0x04C0, 0x04CF}, {0x04C1, 0x04C2}, {0x04CD, 0x04CE},
    {0x04D0, 0x04D1}, {0x04E8, 0x04E9}, {0x0500, 0x0501}, {0x052E, 0x052F},
};

// Units that have no simple one-to-one pair, or none at all.
const WChar kCaseless[] = {'0', '@', '[', '`', '{', 0x00D7, 0x00F7, 0x00DF, 0x0138, 0x0149,
                           0x0387, 0x03A2, 0x0482, 0x0489, 0x4E00, 0xFFFD, 0xD800};

// Mappings that are not round trips: the target maps back to another unit.
const WChar kOneWay[][3] = {
    // unit, its upper case, its lower case
    {0x00B5, 0x039C, 0x00B5}, // micro sign -> capital mu
    {0x0131, 'I', 0x0131},    // dotless i
    {0x0130, 0x0130, 'i'},    // capital I with dot above
    {0x017F, 'S', 0x017F},    // long s
    {0x03C2, 0x03A3, 0x03C2}, // final sigma
    {0x212A, 0x212A, 'k'},    // Kelvin sign
    {0x01C5, 0x01C4, 0x01C6}, // title-case digraph: both cases differ from it
};

TEST(WString, CaseMappingCoversLatinGreekAndCyrillic)
{
    for (const auto& pair : kCasePairs) {
        SCOPED_TRACE(testing::Message() << std::hex << unsigned(pair[0]));
        EXPECT_EQ(wtoupper(pair[1]), pair[0]);
        EXPECT_EQ(wtolower(pair[0]), pair[1]);
        EXPECT_EQ(wtoupper(pair[0]), pair[0]);
        EXPECT_EQ(wtolower(pair[1]), pair[1]);
    }
    for (WChar c : kCaseless) {
        SCOPED_TRACE(testing::Message() << std::hex << unsigned(c));
        EXPECT_EQ(wtoupper(c), c);
        EXPECT_EQ(wtolower(c), c);
    }
    for (const auto& row : kOneWay) {
        SCOPED_TRACE(testing::Message() << std::hex << unsigned(row[0]));
        EXPECT_EQ(wtoupper(row[0]), row[1]);
        EXPECT_EQ(wtolower(row[0]), row[2]);
    }
}

TEST(WString, CaseMappingIsStableOverEveryUnit)
{
    // Mapping twice changes nothing more, and the folding of the case-blind comparisons is
    // stable: a run whose parity or delta is off breaks one of these.
    auto fold = [](WChar c) { return wtolower(wtoupper(c)); };
    for (unsigned c = 0; c <= 0xFFFF; ++c) {
        const WChar u = wtoupper(WChar(c)), l = wtolower(WChar(c));
        ASSERT_EQ(wtoupper(u), u) << std::hex << c;
        ASSERT_EQ(wtolower(l), l) << std::hex << c;
        ASSERT_EQ(fold(fold(WChar(c))), fold(WChar(c))) << std::hex << c;
    }
}

// Where the character database is: Debian's unicode-data package, seen from Linux and from
// Wine (whose Z: drive is the Linux root).
std::ifstream openUnicodeData()
{
    for (const char* path : {"/usr/share/unicode/UnicodeData.txt",
                             "Z:/usr/share/unicode/UnicodeData.txt"}) {
        std::ifstream in(path);
        if (in)
            return in;
    }
    return std::ifstream();
}

TEST(WString, CaseMappingMatchesTheUnicodeCharacterDatabase)
{
    std::ifstream in = openUnicodeData();
    if (!in.is_open())
        GTEST_SKIP() << "UnicodeData.txt not found in /usr/share/unicode (install the Debian "
                        "package unicode-data: scripts/setup does)";
    // Units without an entry, or with an empty field, map to themselves; so do the few whose
    // mapping lies beyond the 16-bit plane.
    std::vector<unsigned> upper(0x10000), lower(0x10000);
    for (unsigned c = 0; c <= 0xFFFF; ++c)
        upper[c] = lower[c] = c;
    int entries = 0;
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> fields;
        std::istringstream split(line);
        for (std::string field; std::getline(split, field, ';');)
            fields.push_back(field);
        if (fields.size() < 14)
            continue;
        const unsigned long code = std::stoul(fields[0], nullptr, 16);
        if (code > 0xFFFF)
            continue;
        ++entries;
        for (auto [column, table] : {std::pair{12, &upper}, std::pair{13, &lower}}) {
            if (fields[size_t(column)].empty())
                continue;
            const unsigned long target = std::stoul(fields[size_t(column)], nullptr, 16);
            if (target <= 0xFFFF)
                (*table)[code] = unsigned(target);
        }
    }
    ASSERT_GT(entries, 10000) << "the file was not read whole";
    int wrong = 0;
    for (unsigned c = 0; c <= 0xFFFF && wrong < 20; ++c) {
        const unsigned u = wtoupper(WChar(c)), l = wtolower(WChar(c));
        if (u != upper[c] || l != lower[c]) {
            ++wrong;
            ADD_FAILURE() << std::hex << "U+" << c << ": upper " << u << " (expected "
                          << upper[c] << "), lower " << l << " (expected " << lower[c]
                          << "); a newer database wants scripts/gen-casetable run again";
        }
    }
}

TEST(WString, InPlaceCaseFunctionsAndCaseInsensitiveEquality)
{
    WChar text[] = {'s', 'e', 'l', 'e', 'c', 't', ' ', 0x0451, 0x00E9, 0x03C9, '1', 0};
    EXPECT_EQ(str2upper(text), text);
    EXPECT_EQ(WString(text), WString(WSTR("SELECT ЁÉΩ1")));
    EXPECT_EQ(str2lower(text), text);
    EXPECT_EQ(WString(text), WString(WSTR("select ёéω1")));

    struct Case {
        const WChar* a;
        const WChar* b;
        bool equal;
    } cases[] = {
        {WSTR("Привет"), WSTR("пРИВЕТ"), true},
        {WSTR("ÀÉÎ"), WSTR("àéî"), true},
        {WSTR("ΣΊΣΥΦΟΣ"), WSTR("σίσυφος"), true}, // the final sigma too
        {WSTR("abc"), WSTR("abd"), false},
        {WSTR("abc"), WSTR("ab"), false},
        {WSTR("Straße"), WSTR("STRASSE"), false}, // no length-changing mappings
        {WSTR(""), WSTR(""), true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(streq_nocase(c.a, c.b), c.equal);
        EXPECT_EQ(streq_nocase(c.b, c.a), c.equal);
    }
}

TEST(WString, TrimsDropTheGivenCharacterOnly)
{
    struct Case {
        const WChar* text;
        WChar ch;
        const WChar* left;
        const WChar* right;
        const WChar* both;
    } cases[] = {
        {WSTR("  a b  "), ' ', WSTR("a b  "), WSTR("  a b"), WSTR("a b")},
        {WSTR("   "), ' ', WSTR(""), WSTR(""), WSTR("")},
        {WSTR(""), ' ', WSTR(""), WSTR(""), WSTR("")},
        {WSTR("\t a\t"), ' ', WSTR("\t a\t"), WSTR("\t a\t"), WSTR("\t a\t")}, // tabs stay
        {WSTR("xxaxbxx"), 'x', WSTR("axbxx"), WSTR("xxaxb"), WSTR("axb")},
        {WSTR("ab"), 0, WSTR("ab"), WSTR("ab"), WSTR("ab")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << (&c - cases));
        WString l = c.text, r = c.text, b = c.text;
        EXPECT_EQ(LTrim(&l[0], c.ch), &l[0]);
        EXPECT_EQ(RTrim(&r[0], c.ch), &r[0]);
        EXPECT_EQ(Trim(&b[0], c.ch), &b[0]);
        EXPECT_EQ(WString(l.c_str()), WString(c.left));
        EXPECT_EQ(WString(r.c_str()), WString(c.right));
        EXPECT_EQ(WString(b.c_str()), WString(c.both));
    }
    WChar blanks[] = {' ', 'a', ' ', 0};
    EXPECT_EQ(WString(Trim(blanks)), WString(WSTR("a"))) << "a blank unless told";
}

TEST(WString, RemoveSlashDropsEscapingBackslashes)
{
    struct Case {
        const WChar* src;
        const WChar* expected;
    } cases[] = {
        {WSTR("n\\/a"), WSTR("n/a")},
        {WSTR("a\\>b\\<c"), WSTR("a>b<c")}, // the brackets of a template's sections
        {WSTR("\\\\"), WSTR("\\")},
        {WSTR("\\\\\\\\x"), WSTR("\\\\x")},
        {WSTR("\\n"), WSTR("n")},
        {WSTR("end\\"), WSTR("end\\")}, // nothing to escape: kept
        {WSTR("plain"), WSTR("plain")},
        {WSTR(""), WSTR("")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << (&c - cases));
        std::vector<WChar> dst(size_t(wstrlen(c.src)) + 1, WChar(0x5a5a));
        EXPECT_EQ(removeSlash(dst.data(), c.src), dst.data());
        EXPECT_EQ(WString(dst.data()), WString(c.expected));
        WString inPlace = c.src;
        removeSlash(&inPlace[0], inPlace.c_str());
        EXPECT_EQ(WString(inPlace.c_str()), WString(c.expected));
    }
    WChar out[2] = {'x', 'x'};
    removeSlash(out, nullptr);
    EXPECT_EQ(out[0], 0);
}

TEST(WString, AssignStringReplacesAnOwnedString)
{
    WChar* owned = nullptr;
    EXPECT_EQ(WString(assignString(owned, WSTR("first"))), WString(WSTR("first")));
    const WChar* before = owned;
    assignString(owned, WSTR("second"));
    EXPECT_EQ(WString(owned), WString(WSTR("second")));
    // From a part of itself: the copy is made before the old text is freed.
    assignString(owned, owned + 3);
    EXPECT_EQ(WString(owned), WString(WSTR("ond")));
    EXPECT_NE(before, nullptr);
    EXPECT_EQ(assignString(owned, nullptr), nullptr);
    EXPECT_EQ(owned, nullptr);
    assignString(owned, WSTR(""));
    ASSERT_NE(owned, nullptr);
    EXPECT_EQ(owned[0], 0);
    delete[] owned;
}

TEST(StrPtrTest, NarrowStreamsReceiveUtf8)
{
    std::ostringstream os;
    os << StrPtr(WSTR("Ж€\xD83D\xDE00!")) << '|' << StrPtr(WSTR("abcdef"), 3) << '|'
       << StrPtr(nullptr) << '|' << StrPtr(WSTR("x\xD800")) << '|';
    EXPECT_EQ(os.str(), "\xD0\x96\xE2\x82\xAC\xF0\x9F\x98\x80!|abc||x\xEF\xBF\xBD|");

    const WChar withZero[] = {'a', 0, 'b'};
    EXPECT_EQ(StrPtr(withZero, 3).length(), 1) << "ends at a zero unit";
    std::ostringstream os2;
    os2 << StrPtr(withZero, 3) << WCharString(WSTR("Ёж"));
    EXPECT_EQ(os2.str(), "a\xD0\x81\xD0\xB6");
}

TEST(StrPtrTest, WideStreamsReceiveTheUnitsUnchanged)
{
    std::basic_ostringstream<WChar> os;
    os << StrPtr(WSTR("Ж\xD800z")) << StrPtr(WSTR("abc"), 2) << WCharString(WSTR("!"));
    EXPECT_EQ(os.str(), WString(WSTR("Ж\xD800zab!")));
}

} // namespace

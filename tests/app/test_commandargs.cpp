// Command lines: splitting, joining, their one-block layout, and CommandArgs both ways.
#include "testtext.h"

#include <vexapi/app/commandargs.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>

namespace {

template <class T>
using Text = std::basic_string<T>;

template <class T>
Text<T> textOf(const char* ascii)
{
    Text<T> out;
    for (; *ascii; ++ascii)
        out += T(static_cast<unsigned char>(*ascii));
    return out;
}

// The two forms of the helpers behind one name, for typed tests.
template <class T>
struct Helpers;

template <>
struct Helpers<WChar> {
    static WChar** split(const WChar* line, int* argc) { return MakeArgcArgvW(line, argc); }
    static WChar* join(int argc, const WChar* const* argv) { return MakeCommandLineW(argc, argv); }
};

template <>
struct Helpers<char> {
    static char** split(const char* line, int* argc) { return MakeArgcArgvA(line, argc); }
    static char* join(int argc, const char* const* argv) { return MakeCommandLineA(argc, argv); }
};

struct FreeBlock {
    void operator()(void* p) const { std::free(p); }
};

// Splits and checks the layout of the block: the table, its null entry, then the text of
// each argument in order, inside the block.
template <class T>
std::vector<Text<T>> splitLine(const T* line, int seed = 0, int* total = nullptr)
{
    int argc = seed;
    std::unique_ptr<T*, FreeBlock> block(Helpers<T>::split(line, &argc));
    EXPECT_TRUE(block);
    if (total)
        *total = argc;
    std::vector<Text<T>> args;
    if (!block)
        return args;
    T** argv = block.get();
    int found = 0;
    while (argv[found])
        ++found;
    EXPECT_EQ(argc, seed + found);
    const T* textStart = reinterpret_cast<const T*>(argv + argc + 1);
    const T* previous = textStart;
    for (int i = 0; i < found; ++i) {
        EXPECT_GE(argv[i], previous) << "argument " << i << " lies outside the text part";
        args.emplace_back(argv[i]);
        previous = argv[i] + args.back().size() + 1;
    }
    return args;
}

template <class T>
Text<T> joinArgs(const std::vector<Text<T>>& args)
{
    std::vector<const T*> table;
    for (const auto& a : args)
        table.push_back(a.c_str());
    std::unique_ptr<T, FreeBlock> line(Helpers<T>::join(int(table.size()), table.data()));
    return line ? Text<T>(line.get()) : Text<T>();
}

template <class T>
class CommandLineTest : public ::testing::Test {};

typedef ::testing::Types<WChar, char> CharTypes;
TYPED_TEST_SUITE(CommandLineTest, CharTypes);

struct SplitCase {
    const char* line;
    std::vector<const char*> args;
};

TYPED_TEST(CommandLineTest, SplitsByTheQuotingRules)
{
    typedef TypeParam T;
    const SplitCase cases[] = {
        {"one \"two words\" three", {"one", "two words", "three"}},
        {"\"\"", {""}},
        {"a \"\" b", {"a", "", "b"}},
        {" \t\r\n  ", {}},
        {"", {}},
        {"  lead  and\ttrail \n", {"lead", "and", "trail"}},
        {"a\"b c\"d e", {"ab cd", "e"}},
        {"\\\"quoted\\\"", {"\"quoted\""}},
        {"a\\\\b", {"a\\b"}},
        {"a\\b c\\", {"a\\b", "c\\"}},
        {"\\\\\"a b\"", {"\\a b"}},
        {"\"open to the end", {"open to the end"}},
        {"\"tab\tand\nline\"", {"tab\tand\nline"}},
    };
    for (const SplitCase& c : cases) {
        std::vector<Text<T>> expected;
        for (const char* a : c.args)
            expected.push_back(textOf<T>(a));
        Text<T> line = textOf<T>(c.line);
        EXPECT_EQ(splitLine<T>(line.c_str()), expected) << "line: " << c.line;
    }
}

TYPED_TEST(CommandLineTest, SeedAddsToTheCount)
{
    typedef TypeParam T;
    int total = 0;
    Text<T> line = textOf<T>("x y");
    std::vector<Text<T>> args = splitLine<T>(line.c_str(), 2, &total);
    EXPECT_EQ(total, 4);
    EXPECT_EQ(args, (std::vector<Text<T>>{textOf<T>("x"), textOf<T>("y")}));
}

TYPED_TEST(CommandLineTest, NullLineAndNullCountAreAccepted)
{
    typedef TypeParam T;
    EXPECT_TRUE(splitLine<T>(nullptr).empty());
    Text<T> line = textOf<T>("a b");
    std::unique_ptr<T*, FreeBlock> block(Helpers<T>::split(line.c_str(), nullptr));
    ASSERT_TRUE(block);
    EXPECT_EQ(Text<T>(block.get()[1]), textOf<T>("b"));
    EXPECT_EQ(block.get()[2], nullptr);
}

TYPED_TEST(CommandLineTest, JoinQuotesAndEscapes)
{
    typedef TypeParam T;
    std::vector<Text<T>> args{textOf<T>("a b"), textOf<T>("\""), textOf<T>("\\"),
                              textOf<T>(""), textOf<T>("x\\\"y")};
    EXPECT_EQ(joinArgs<T>(args), textOf<T>("\"a b\" \"\\\"\" \"\\\\\" \"\" \"x\\\\\\\"y\""));
    EXPECT_EQ(joinArgs<T>({}), Text<T>());
    // A null entry counts as an empty argument.
    const T* withNull[] = {nullptr};
    std::unique_ptr<T, FreeBlock> line(Helpers<T>::join(1, withNull));
    EXPECT_EQ(Text<T>(line.get()), textOf<T>("\"\""));
}

// Random lists over the characters that matter to the rules, with a fixed seed.
template <class T>
std::vector<Text<T>> randomArgs(std::mt19937& random)
{
    static const unsigned alphabet[] = {'a', 'Z', '0', ' ', ' ', '\t', '\n', '"', '"', '\\',
                                        '\\', '\'', '*', 0xE9, 0x20AC};
    const std::size_t letters = sizeof(T) == 1 ? 13 : sizeof alphabet / sizeof alphabet[0];
    std::vector<Text<T>> args(random() % 7);
    for (auto& arg : args) {
        std::size_t length = random() % 9;
        for (std::size_t i = 0; i < length; ++i)
            arg += T(alphabet[random() % letters]);
    }
    return args;
}

TYPED_TEST(CommandLineTest, JoinThenSplitGivesTheListBack)
{
    typedef TypeParam T;
    std::mt19937 random(20240611);
    for (int round = 0; round < 2000; ++round) {
        std::vector<Text<T>> args = randomArgs<T>(random);
        Text<T> line = joinArgs<T>(args);
        ASSERT_EQ(splitLine<T>(line.c_str()), args) << "round " << round;
    }
}

TEST(CommandArgs, FromListGivesALineThatSplitsBack)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        std::vector<WString> args = randomArgs<WChar>(random);
        std::vector<const WChar*> table;
        for (const auto& a : args)
            table.push_back(a.c_str());
        table.push_back(nullptr); // as a program's argv is
        CommandArgs fromList(int(args.size()), table.data());
        ASSERT_EQ(fromList.argc(), int(args.size()));
        for (std::size_t i = 0; i < args.size(); ++i) {
            // A deep copy: the list owns its strings.
            EXPECT_NE(fromList.argv()[i], table[i]);
            EXPECT_EQ(WString(fromList.argv()[i]), args[i]);
        }
        EXPECT_EQ(fromList.argv()[args.size()], nullptr);
        ASSERT_NE(fromList.cmdLine(), nullptr);
        EXPECT_EQ(splitLine<WChar>(fromList.cmdLine()), args);
    }
}

TEST(CommandArgs, FromLineGivesAListThatJoinsBack)
{
    std::mt19937 random(11);
    const char pieces[] = {'a', ' ', '"', '\\', '\t', 'q'};
    for (int round = 0; round < 300; ++round) {
        WString line;
        for (std::size_t n = random() % 24; n > 0; --n)
            line += WChar(pieces[random() % sizeof pieces]);
        CommandArgs fromLine(line.c_str(), 0);
        EXPECT_EQ(WString(fromLine.cmdLine()), line);
        std::vector<WString> args;
        for (int i = 0; i < fromLine.argc(); ++i)
            args.emplace_back(fromLine.argv()[i]);
        EXPECT_EQ(args, splitLine<WChar>(line.c_str()));
        // The list made from the line joins into a line that splits to the same list.
        CommandArgs again(fromLine.argc(), fromLine.argv());
        EXPECT_EQ(splitLine<WChar>(again.cmdLine()), args) << "line: " << hexOf(line);
    }
}

TEST(CommandArgs, NeitherFormGivesZeroAndNull)
{
    CommandArgs noList(3, nullptr);
    EXPECT_EQ(noList.argc(), 0);
    EXPECT_EQ(noList.argv(), nullptr);
    EXPECT_EQ(noList.cmdLine(), nullptr);
    CommandArgs noLine(static_cast<const WChar*>(nullptr), 2);
    EXPECT_EQ(noLine.argc(), 0);
    EXPECT_EQ(noLine.argv(), nullptr);
    EXPECT_EQ(noLine.cmdLine(), nullptr);
}

TEST(CommandArgs, LineSeedCountsIntoArgc)
{
    CommandArgs args(W("p q").c_str(), 1);
    EXPECT_EQ(args.argc(), 3);
    EXPECT_EQ(WString(args.argv()[0]), W("p"));
    EXPECT_EQ(WString(args.argv()[1]), W("q"));
}

} // namespace

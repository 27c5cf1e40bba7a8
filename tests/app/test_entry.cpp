// The process entry, run for real: test programs built like applications of the library
// (a static Application object, the entry from vexapi_main), checked by their exit code and
// by what they write.
#include "testtext.h"

#include <gtest/gtest.h>

#include <random>

namespace {

typedef std::vector<std::string> Lines;

ProgramRun runApp(const char* scenario, std::vector<WString> more = {})
{
    more.insert(more.begin(), W(scenario));
    return runProgram(VEXAPI_TEST_APP_PROGRAM, more);
}

// The entry steps of the higher layers, then the application's first stage.
const Lines Prologue{"window layer", "fonts beside program", "init"};

Lines withPrologue(Lines rest)
{
    Lines all = Prologue;
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

TEST(ProcessEntry, WithoutAnApplicationObjectEndsAtOnceWithZero)
{
    ProgramRun run = runProgram(VEXAPI_TEST_NOAPP_PROGRAM, {});
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, "") << "an entry step ran without an application";
}

TEST(ProcessEntry, FalseInitSkipsTheLoopAndDeInit)
{
    ProgramRun run = runApp("init-false");
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(linesOf(run.output), withPrologue({"dtor"}));
}

TEST(ProcessEntry, QuitCodeIsKeptButTheProcessEndsWithZero)
{
    ProgramRun run = runApp("quit");
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(linesOf(run.output),
              withPrologue({"pump", "pump end, exit code 5", "deinit", "dtor"}));
}

TEST(ProcessEntry, WorkersEndTheLoopsOfTheRealEntry)
{
    ProgramRun run = runApp("loops");
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(linesOf(run.output), withPrologue({"enter_loop left", "wait 2", "pump",
                                                 "pump end, exit code 0", "deinit", "dtor"}));
}

TEST(ProcessEntry, ApplicationRemovesItsTemporaryFilesAtExit)
{
    ProgramRun run = runApp("tmpfile");
    ASSERT_TRUE(run.started);
    EXPECT_EQ(run.exitCode, 0);
    Lines lines = linesOf(run.output);
    ASSERT_GE(lines.size(), 4u) << run.output;
    const std::string prefix = "tmpfile ";
    ASSERT_EQ(lines[3].compare(0, prefix.size(), prefix), 0) << run.output;
    WString name = fromHex(lines[3].substr(prefix.size()));
    EXPECT_FALSE(name.empty());
    EXPECT_FALSE(fs::exists(toPath(name))) << "the file outlived the application object";
}

TEST(ProcessEntry, ArgumentsArriveAsGiven)
{
    // Blanks, quotes, backslashes before quotes and at the end, empty arguments, text
    // beyond 8 bits (one pair of surrogates): fixed lists and random ones, fixed seed.
    std::vector<std::vector<WString>> lists{
        {W("plain"), W("two words"), W("")},
        {W("\"quoted\""), W("back\\slash"), W("end\\"), W("\\\"both\\\"")},
        {W("\ttab"), W(" "), W(""), W("")},
        {WString{WChar(0xE9), WChar(0x20AC), WChar(0xD83D), WChar(0xDE00)}},
    };
    std::mt19937 random(4242);
    const char alphabet[] = {'a', 'b', ' ', '"', '\\', '\t', '\''};
    for (int n = 0; n < 4; ++n) {
        std::vector<WString> list(1 + random() % 5);
        for (WString& arg : list)
            for (std::size_t k = random() % 7; k > 0; --k)
                arg += WChar(alphabet[random() % sizeof alphabet]);
        lists.push_back(list);
    }
    for (const auto& list : lists) {
        ProgramRun run = runApp("args", list);
        ASSERT_TRUE(run.started);
        EXPECT_EQ(run.exitCode, 0);
        Lines lines = linesOf(run.output);
        ASSERT_EQ(lines.size(), Prologue.size() + 1 + list.size() + 4) << run.output;
        // The program's own name comes first.
        std::string first = lines[Prologue.size()];
        WString program = fromHex(first.substr(5));
        WString expectedName = W(VEXAPI_TEST_APP_PROGRAM);
        EXPECT_EQ(program.substr(program.size() - expectedName.size()), expectedName);
        for (std::size_t i = 0; i < list.size(); ++i)
            EXPECT_EQ(lines[Prologue.size() + 1 + i], "arg " + hexOf(list[i]))
                << "argument " << i << " of a list of " << list.size();
    }
}

} // namespace

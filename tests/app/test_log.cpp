// Log: start and end lines with their time stamps, bare messages, the two kinds of target.
#include "testtext.h"

#include <vexapi/app/log.h>

#include <gtest/gtest.h>

#include <regex>

namespace {

// The stamp as "%2d.%2d.%4d:%2d:%2d:%2d": narrow fields are padded with a blank.
const char* const Stamp = "[ 1-3][0-9]\\.[ 1][0-9]\\.[0-9]{4}:[ 12][0-9]:[ 0-5][0-9]:[ 0-5][0-9]";

bool isStampLine(const std::string& line, const char* what)
{
    return std::regex_match(line, std::regex(std::string(Stamp) + ": log " + what));
}

TEST(Log, NamedFileGetsStampedStartAndEndAndBareMessages)
{
    ScratchDir scratch;
    WString name = scratch.wpath("app.log");
    {
        Log log;
        log.setLogFile(name.c_str());
        EXPECT_FALSE(log.addLogMessage(W("too early").c_str()));
        EXPECT_FALSE(fs::exists(toPath(name))) << "nothing is written before startLog";
        ASSERT_TRUE(log.startLog());
        EXPECT_TRUE(log.startLog()) << "a second start is accepted and writes nothing";
        EXPECT_TRUE(log.addLogMessage(W("first").c_str()));
        EXPECT_TRUE(log.addLogMessage(W("second: 100%").c_str()));
        log.stopLog();
        EXPECT_FALSE(log.addLogMessage(W("after stop").c_str()));
        ASSERT_TRUE(log.startLog()) << "the file is appended to";
        // The destructor ends the started log.
    }
    std::vector<std::string> lines = linesOf(readFile(toPath(name)));
    ASSERT_EQ(lines.size(), 10u) << readFile(toPath(name));
    EXPECT_TRUE(isStampLine(lines[0], "started")) << lines[0];
    EXPECT_EQ(lines[1], "");
    EXPECT_EQ(lines[2], "first");
    EXPECT_EQ(lines[3], "second: 100%");
    EXPECT_TRUE(isStampLine(lines[4], "finished")) << lines[4];
    EXPECT_EQ(lines[5], "");
    EXPECT_TRUE(isStampLine(lines[6], "started")) << lines[6];
    EXPECT_EQ(lines[7], "");
    EXPECT_TRUE(isStampLine(lines[8], "finished")) << lines[8];
    EXPECT_EQ(lines[9], "");
}

TEST(Log, StampHoldsTheLocalDate)
{
    ScratchDir scratch;
    std::FILE* stream = std::fopen((scratch.path() / "stamp.log").string().c_str(), "w+");
    ASSERT_NE(stream, nullptr);
    Log log;
    log.setLogFile(stream);
    std::time_t before = std::time(nullptr);
    ASSERT_TRUE(log.startLog());
    std::time_t after = std::time(nullptr);
    log.stopLog();
    std::fclose(stream);
    std::string line = linesOf(readFile(scratch.path() / "stamp.log")).at(0);
    int day = 0, month = 0, year = 0, hour = 0, minute = 0, second = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%d.%d.%d:%d:%d:%d", &day, &month, &year, &hour,
                          &minute, &second),
              6)
        << line;
    std::tm stamp{};
    stamp.tm_mday = day;
    stamp.tm_mon = month - 1;
    stamp.tm_year = year - 1900;
    stamp.tm_hour = hour;
    stamp.tm_min = minute;
    stamp.tm_sec = second;
    stamp.tm_isdst = -1;
    std::time_t written = std::mktime(&stamp);
    EXPECT_GE(written, before - 1) << line;
    EXPECT_LE(written, after + 1) << line;
}

TEST(Log, GivenStreamStaysOpenAfterStop)
{
    ScratchDir scratch;
    fs::path file = scratch.path() / "stream.log";
    std::FILE* stream = std::fopen(file.string().c_str(), "w+");
    ASSERT_NE(stream, nullptr);
    {
        Log log;
        // A name set before is dropped by the stream.
        log.setLogFile(scratch.wpath("unused.log").c_str());
        log.setLogFile(stream);
        ASSERT_TRUE(log.startLog());
        EXPECT_TRUE(log.addLogMessage(W("via stream").c_str()));
        log.stopLog();
    }
    EXPECT_FALSE(fs::exists(scratch.path() / "unused.log"));
    EXPECT_GE(std::fputs("written by the owner\n", stream), 0);
    EXPECT_EQ(std::fflush(stream), 0) << "the Log closed a stream it was given";
    std::fclose(stream);
    std::vector<std::string> lines = linesOf(readFile(file));
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[2], "via stream");
    EXPECT_EQ(lines[5], "written by the owner");
}

TEST(Log, StartFailsWithoutAUsableTarget)
{
    ScratchDir scratch;
    Log nothingSet;
    EXPECT_FALSE(nothingSet.startLog());
    EXPECT_FALSE(nothingSet.addLogMessage(W("x").c_str()));

    Log missingFolder;
    missingFolder.setLogFile(scratch.wpath("no/such/folder.log").c_str());
    EXPECT_FALSE(missingFolder.startLog());
    EXPECT_FALSE(missingFolder.isStarted());
    EXPECT_FALSE(missingFolder.addLogMessage(W("x").c_str()));
    // A usable name given afterwards works.
    missingFolder.setLogFile(scratch.wpath("good.log").c_str());
    EXPECT_TRUE(missingFolder.startLog());
}

TEST(Log, MessageIsCutAt1024Bytes)
{
    ScratchDir scratch;
    WString name = scratch.wpath("long.log");
    WString text(3000, WChar('x'));
    {
        Log log;
        log.setLogFile(name.c_str());
        ASSERT_TRUE(log.startLog());
        EXPECT_TRUE(log.addLogMessage(text.c_str()));
        EXPECT_TRUE(log.addLogMessage(nullptr));
    }
    std::vector<std::string> lines = linesOf(readFile(toPath(name)));
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[2], std::string(1024, 'x'));
    EXPECT_EQ(lines[3], "");
}

} // namespace

// auto_caller serials and calls; MessageSubmission's switches.
#include <vexapi/core/autocaller.h>
#include <vexapi/core/messagesubmission.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

class Recorder : public AutoCallable {
public:
    void autoCall(VLong serial) override { serials.push_back(serial); }
    std::vector<VLong> serials;
};

TEST(AutoCaller, CallsWithItsSerialOnScopeExit)
{
    Recorder r;
    VLong first = 0, second = 0;
    {
        auto_caller a(&r);
        auto_caller b(&r);
        first = a.serial();
        second = b.serial();
        EXPECT_EQ(second, first + 1);
        EXPECT_GE(first, 1);
        EXPECT_TRUE(r.serials.empty());
    }
    // Destroyed in reverse order of construction.
    EXPECT_EQ(r.serials, (std::vector<VLong>{second, first}));
}

TEST(AutoCaller, NullTargetCallsNothingAndCopiesKeepTheSerial)
{
    Recorder r;
    {
        auto_caller none(nullptr);
        auto_caller a(&r);
        auto_caller copy(a);
        EXPECT_EQ(copy.serial(), a.serial());
        none = a; // assignment copies both fields
        EXPECT_EQ(none.target(), &r);
    }
    ASSERT_EQ(r.serials.size(), 3u);
    EXPECT_EQ(r.serials[0], r.serials[1]);
    EXPECT_EQ(r.serials[1], r.serials[2]);
}

TEST(MessageSubmissionTest, SwitchesStartOffAndKeepWhatIsSet)
{
    EXPECT_FALSE(MessageSubmission::isQuietMode());
    EXPECT_EQ(MessageSubmission::getLogger(), nullptr);
    MessageSubmission::setQuietMode(true);
    Log* fakeLogger = reinterpret_cast<Log*>(&fakeLogger);
    MessageSubmission::setLogger(fakeLogger);
    EXPECT_TRUE(MessageSubmission::isQuietMode());
    EXPECT_EQ(MessageSubmission::getLogger(), fakeLogger);
    MessageSubmission::setQuietMode(false);
    MessageSubmission::setLogger(nullptr);
}

} // namespace

// PMF identity: by virtual slot across translation units, by type between signatures, and
// the assertion on an adjusted left operand.
#include "pmf_shapes.h"

#include <vexapi/core/vexassert.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Fired {
    std::string expression, unit;
    int line;
};
std::vector<Fired> g_fired;

void recordAssertion(const char* expression, const char* unit, int line)
{
    g_fired.push_back(Fired{expression, unit, line});
}

class PmfTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_fired.clear();
        m_previous = VexAPI::setAssertHandler(&recordAssertion);
    }
    void TearDown() override { VexAPI::setAssertHandler(m_previous); }

private:
    VexAPI::AssertHandler m_previous = nullptr;
};

TEST_F(PmfTest, SameVirtualFunctionEqualAcrossUnitsOthersDiffer)
{
    const PMF move = PMF::make(&Shape::onMove);
    EXPECT_TRUE(move == otherUnitOnMove());
    EXPECT_TRUE(otherUnitOnMove() == move);
    EXPECT_TRUE(move != otherUnitOnResize());
    EXPECT_FALSE(move == PMF::make(&Shape::onResize));
    EXPECT_TRUE(move.isVirtual());
    EXPECT_NE(move.virtualSlot(), PMF::make(&Shape::onResize).virtualSlot());
    EXPECT_TRUE(g_fired.empty());
}

TEST_F(PmfTest, NonVirtualFunctionsByAddress)
{
    EXPECT_TRUE(PMF::make(&Shape::plainA) == otherUnitPlainA());
    EXPECT_FALSE(PMF::make(&Shape::plainA) == PMF::make(&Shape::plainB));
    EXPECT_FALSE(PMF::make(&Shape::plainA) == PMF::make(&Shape::onMove));
    EXPECT_EQ(PMF::make(&Shape::plainA).virtualSlot(), -1);
}

struct Other {
    virtual ~Other() = default;
    virtual bool onMove(int dx) { return dx != 0; } // same slot index as Shape::onMove
};

TEST_F(PmfTest, DifferentTypesNeverCompareEqual)
{
    const PMF a = PMF::make(&Shape::onMove);
    const PMF b = PMF::make(&Other::onMove);
    ASSERT_EQ(a.virtualSlot(), b.virtualSlot());
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(b == a);
}

TEST_F(PmfTest, RoundTripGivesACallableMemberPointer)
{
    const PMF p = PMF::make(&Shape::onResize);
    Shape s;
    auto m = p.get<bool (Shape::*)(int)>();
    EXPECT_TRUE((s.*m)(-1));
    EXPECT_FALSE((s.*m)(1));
}

struct First {
    virtual ~First() = default;
    int a = 0;
};
struct Second {
    virtual ~Second() = default;
    virtual bool act(int) { return true; }
};
struct Both : First, Second {
    virtual bool own(int) { return false; }
};

TEST_F(PmfTest, AdjustedLeftOperandReportsTheAssertion)
{
    typedef bool (Both::*BothAct)(int);
    const BothAct adjusted = &Second::act; // Second sits at a non-zero offset in Both
    const PMF left = PMF::make(adjusted);
    ASSERT_NE(left.thisAdjustment(), 0);

    EXPECT_TRUE(left == PMF::make(adjusted)); // the comparison still goes on
    ASSERT_EQ(g_fired.size(), 1u);
    EXPECT_EQ(g_fired[0].expression, "!l[1] && !l[2] && !l[3]");
    EXPECT_EQ(g_fired[0].unit, "pmf");
    EXPECT_EQ(g_fired[0].line, 47);

    // Only the left operand is checked.
    g_fired.clear();
    const BothAct plain = &Both::own;
    EXPECT_FALSE(PMF::make(plain) == left);
    EXPECT_TRUE(g_fired.empty());
}

} // namespace

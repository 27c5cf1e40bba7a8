// The assertion facility: the report's text, unit and line, and handler replacement.
#include <vexapi/core/vexassert.h>

#include <gtest/gtest.h>

#include <string>

namespace {

std::string g_expression, g_unit;
int g_line = 0;
int g_calls = 0;

void capture(const char* expression, const char* unit, int line)
{
    g_expression = expression;
    g_unit = unit;
    g_line = line;
    ++g_calls;
}

TEST(Assertion, ReportsExpressionUnitAndLineToTheInstalledHandler)
{
    VexAPI::AssertHandler previous = VexAPI::setAssertHandler(&capture);
    g_calls = 0;
    int value = 3;
    VEX_ASSERT(value == 3);
    EXPECT_EQ(g_calls, 0);
    const int line = __LINE__ + 1;
    VEX_ASSERT(value > 5 && value != 3);
    EXPECT_EQ(g_calls, 1);
    EXPECT_EQ(g_expression, "value > 5 && value != 3");
    EXPECT_EQ(g_unit, "test_assert");
    EXPECT_EQ(g_line, line);

    EXPECT_EQ(VexAPI::setAssertHandler(previous), &capture);
    EXPECT_EQ(VexAPI::getAssertHandler(), previous);
}

TEST(Assertion, NullHandlerRestoresTheDefault)
{
    VexAPI::AssertHandler original = VexAPI::getAssertHandler();
    VexAPI::setAssertHandler(&capture);
    VexAPI::setAssertHandler(nullptr);
    EXPECT_EQ(VexAPI::getAssertHandler(), original);
}

TEST(Assertion, UnitNameOfAPath)
{
    char out[16];
    EXPECT_STREQ(VexAPI::assertUnitName("src/core/pmf.cpp", out, 16), "pmf");
    EXPECT_STREQ(VexAPI::assertUnitName("C:\\work\\formater.cpp", out, 16), "formater");
    EXPECT_STREQ(VexAPI::assertUnitName("noext", out, 16), "noext");
    EXPECT_STREQ(VexAPI::assertUnitName("a/very_long_unit_name.cpp", out, 8), "very_lo");
}

} // namespace

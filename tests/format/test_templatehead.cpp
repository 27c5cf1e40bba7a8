// TemplateHead: the colour and null-text sections, in any order and case, and heads that
// are malformed in every way a hand-written template can be.
#include "formatertest.h"

#include <vexapi/format/templatehead.h>

#include <gtest/gtest.h>

#include <string>

using namespace formatertest;

namespace {

std::string colour(const FormaterColor& c)
{
    return std::to_string(c.red()) + "," + std::to_string(c.green()) + "," +
           std::to_string(c.blue());
}

TEST(TemplateHead, ParsesSections)
{
    struct {
        const char* tmpl;
        int flags;
        const char* neg;
        const char* zero;
        const char* pos;
        const char* null;
        const char* nullText;
    } const table[] = {
        {"###", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
        {";###", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
        {"<NEG:255 0 0><ZERO:0 255 0><POS:0 0 255><NULL:1 2 3><NULLTEXT:none>;#", 15,
         "255,0,0", "0,255,0", "0,0,255", "1,2,3", "none"},
        // Any order, any case, blanks and commas between the numbers.
        {"<nulltext:-><pos: 7, 8 ,9 ><Neg:1\t2\t3>;#", 5, "1,2,3", "0,0,0", "7,8,9",
         "0,0,0", "-"},
        // Backslashes escape; an escaped ">" does not end the section.
        {"<NULLTEXT:a\\>b\\\\c>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", "a>b\\c"},
        {"<NULLTEXT:>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
        {"<NULLTEXT:a:b c>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", "a:b c"},
        // Sections that do not read are skipped; the ones around them count.
        {"<NEG>< ZERO :1 1 1>;#", 2, "0,0,0", "1,1,1", "0,0,0", "0,0,0", ""},
        {"<FOO:1 1 1><POS:2 2 2>;#", 4, "0,0,0", "0,0,0", "2,2,2", "0,0,0", ""},
        {"<NEG:1 2><POS:1 2 3 4><NULL:256 0 0><ZERO:-1 0 0>;#", 0, "0,0,0", "0,0,0",
         "0,0,0", "0,0,0", ""},
        {"<NEG:1 2 x>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
        {"<NEG:1 2 3><NEG:4 5 6>;#", 1, "4,5,6", "0,0,0", "0,0,0", "0,0,0", ""},
        {"<NEG:1 2 3><NEG:bad>;#", 1, "1,2,3", "0,0,0", "0,0,0", "0,0,0", ""},
        {"junk<POS:5 5 5>junk;#", 4, "0,0,0", "0,0,0", "5,5,5", "0,0,0", ""},
        // The scan ends at a missing "<" or ">".
        {"<POS:5 5 5><NEG:1 1 1;#", 4, "0,0,0", "0,0,0", "5,5,5", "0,0,0", ""},
        {"<NEG:1 1 1;<POS:5 5 5>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
        {"<NULLTEXT:x\\>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
        {"<<<>>>;#", 0, "0,0,0", "0,0,0", "0,0,0", "0,0,0", ""},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(c.tmpl);
        TemplateHead h;
        // The mask begins behind the first ";".
        const int maskOffset = int(std::string(c.tmpl).find(';')) + 1;
        EXPECT_EQ(h.parse(W(c.tmpl).c_str()), maskOffset);
        EXPECT_EQ(TemplateHead::maskOffset(W(c.tmpl).c_str()), maskOffset);
        EXPECT_EQ(h.colorFlags(), c.flags);
        EXPECT_EQ(colour(h.negColor()), c.neg);
        EXPECT_EQ(colour(h.zeroColor()), c.zero);
        EXPECT_EQ(colour(h.posColor()), c.pos);
        EXPECT_EQ(colour(h.nullColor()), c.null);
        EXPECT_EQ(N(h.nullText().constData()), c.nullText);
    }
}

TEST(TemplateHead, AParseForgetsTheLastHead)
{
    TemplateHead h;
    h.parse(W("<NEG:1 1 1><NULLTEXT:x>;#").c_str());
    EXPECT_EQ(h.parse(W("#").c_str()), 0);
    EXPECT_EQ(h.colorFlags(), 0);
    EXPECT_EQ(h.negColor(), FormaterColor());
    EXPECT_TRUE(h.nullText().empty());
    // A counted template ends at its length: the ";" behind it is not seen.
    EXPECT_EQ(h.parse(W("<NEG:1 1 1>;#").c_str(), 11), 0);
    EXPECT_EQ(h.parse(nullptr), 0);
}

TEST(TemplateHead, ColourLayoutIsRedInTheLowByte)
{
    FormaterColor c(0x12, 0x34, 0x56);
    EXPECT_EQ(c.rgb, 0x563412u);
    EXPECT_EQ(c.red(), 0x12);
    EXPECT_EQ(c.green(), 0x34);
    EXPECT_EQ(c.blue(), 0x56);
    EXPECT_EQ(FormaterColor().rgb, 0u);
}

} // namespace

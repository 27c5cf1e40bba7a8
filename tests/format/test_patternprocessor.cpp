// PatternProcessor: what each piece of mask text compiles to, masks cut short, the fields'
// bounds on both sides, and what each element accepts.
#include "formatertest.h"

#include <vexapi/core/vexassert.h>
#include <vexapi/format/patternprocessor.h>

#include <gtest/gtest.h>

#include <string>

using namespace formatertest;

namespace {

// Elements written as kind, "!" when important, then the literal or the range:
// "0 1 6- 3az 7%".
std::string describe(const PatternProcessor& p)
{
    std::string out;
    for (int i = 0; i < p.count(); ++i) {
        const PatternProcessor::Element& e = p[i];
        if (i)
            out += ' ';
        out += std::to_string(e.kind);
        if (e.important)
            out += '!';
        if (e.kind == PatternProcessor::kLiteral || e.kind == PatternProcessor::kDisplay)
            out += N(&e.lo, 1);
        if (e.kind == PatternProcessor::kRange)
            out += N(&e.lo, 1) + N(&e.hi, 1);
    }
    return out;
}

TEST(PatternProcessor, CompilesEachElement)
{
    struct {
        const char* mask;
        const char* elements;
        const char* fieldStarts;
    } const table[] = {
        {"#A9ULX*", "0 1 2 4 5 6X 8", "0 6"},
        {"[az]", "3az", "0"},
        {"[az]#", "3az 0", "0"},
        {"[az)#", "3az 0", "0"}, // the closing place is not looked at
        {"\\##", "6# 0", "1"},
        {"\\\\", "6\\", ""},
        {"'%'#", "7% 0", "1"},
        {"'%x#", "7% 0", "1"},
        {"!-#!#", "6!- 0 0!", "1"},
        {"!!#", "0!", "0"},
        {"##.##", "0 0 6. 0 0", "0 3"},
        {"(###) ###-####", "6( 0 0 0 6) 6  0 0 0 6- 0 0 0 0", "1 6 10"},
        // The end of the text inside an element adds nothing.
        {"#[a", "0", "0"},
        {"#[ab", "0", "0"},
        {"#'c", "0", "0"},
        {"#\\", "0", "0"},
        {"#!", "0", "0"},
        {"", "", ""},
        {"---", "6- 6- 6-", ""},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(c.mask);
        PatternProcessor p;
        p.reset(W(c.mask).c_str());
        EXPECT_EQ(describe(p), c.elements);
        std::string starts;
        for (int f = 0; f < p.fieldCount(); ++f)
            starts += (f ? " " : "") + std::to_string(p.beginField(f));
        EXPECT_EQ(starts, c.fieldStarts);
    }
}

TEST(PatternProcessor, ACountedMaskEndsAtItsLengthOrANul)
{
    const WChar mask[] = {'#', '#', 0, '#', '#'};
    PatternProcessor p;
    p.reset(mask, 5);
    EXPECT_EQ(p.count(), 2);
    p.reset(mask, 1);
    EXPECT_EQ(p.count(), 1);
    p.reset(nullptr);
    EXPECT_EQ(p.count(), 0);
    EXPECT_EQ(p.fieldCount(), 0);
}

TEST(PatternProcessor, FieldBoundsOnBothSides)
{
    // Positions:  0 1 2 3 4 5 6 7
    //             $ # # . # # - -
    PatternProcessor p;
    p.reset(W("$##.##--").c_str());
    ASSERT_EQ(p.fieldCount(), 2);
    const int expectedField[] = {-1, 0, 0, 0, 1, 1, 1, 2};
    for (int pos = 0; pos < 8; ++pos) {
        SCOPED_TRACE(pos);
        EXPECT_EQ(p.curField(pos), expectedField[pos]);
    }
    EXPECT_EQ(p.curField(-5), -1);
    EXPECT_EQ(p.curField(100), 2);

    EXPECT_EQ(p.beginField(-1), 0);
    EXPECT_EQ(p.endField(-1), 0);
    EXPECT_EQ(p.beginField(0), 1);
    EXPECT_EQ(p.endField(0), 3);
    EXPECT_EQ(p.beginField(1), 4);
    EXPECT_EQ(p.endField(1), 6);
    EXPECT_EQ(p.beginField(2), 8);
    EXPECT_EQ(p.endField(2), 8);
    EXPECT_EQ(p.beginCurField(5), 4);
    EXPECT_EQ(p.endCurField(3), 3);

    // The last field without a literal behind it ends at the mask's end.
    p.reset(W("#.##").c_str());
    EXPECT_EQ(p.endField(1), 4);
    EXPECT_EQ(p.curField(4), 1);

    // Without fields every position lies behind them.
    p.reset(W("--").c_str());
    EXPECT_EQ(p.curField(0), p.fieldCount());
}

TEST(PatternProcessor, WhatEachElementAccepts)
{
    PatternProcessor p;
    // Positions: # A 9 [bf] U L \- '%' *
    p.reset(W("#A9[bf]UL\\-'%'*").c_str());
    ASSERT_EQ(p.count(), 9);
    struct {
        int pos;
        WChar c;
        bool valid;
        WChar stored;
    } const table[] = {
        {0, '7', true, '7'},   {0, 'a', false, 'a'},  {0, 0x0663, false, 0x0663},
        {1, 'q', true, 'q'},   {1, 0x00E9, true, 0x00E9}, {1, 0x0416, true, 0x0416},
        {1, 0x4E2D, true, 0x4E2D}, {1, '1', false, '1'}, {1, '_', false, '_'},
        {2, 'Z', true, 'Z'},   {2, '0', true, '0'},   {2, ' ', false, ' '},
        {3, 'b', false, 'b'},  {3, 'c', true, 'c'},   {3, 'e', true, 'e'},
        {3, 'f', false, 'f'},  {4, 'a', true, 'A'},   {4, 0x00E9, true, 0x00C9},
        {4, '5', true, '5'},   {5, 'Q', true, 'q'},   {5, 0x0416, true, 0x0436},
        {6, '-', true, '-'},   {6, '+', false, '+'},  {7, '%', true, '%'},
        {8, '~', true, '~'},   {8, '\t', false, '\t'}, {8, 0x7F, false, 0x7F},
        {8, 0, false, 0},      {9, 'x', false, 'x'},  {-1, 'x', false, 'x'},
    };
    for (const auto& c : table) {
        SCOPED_TRACE(std::to_string(c.pos) + " " + std::to_string(c.c));
        WChar ch = c.c;
        EXPECT_EQ(p.validChar(c.pos, ch), c.valid);
        EXPECT_EQ(ch, c.stored);
        EXPECT_EQ(p.holds(c.pos, c.c), c.valid && c.c == c.stored);
    }
    EXPECT_TRUE(p.isLiteral(6));
    EXPECT_TRUE(p.isLiteral(7));
    EXPECT_FALSE(p.isLiteral(8));
    EXPECT_FALSE(p.isLiteral(9));
}

TEST(PatternProcessor, SourceSpansTileTheMask)
{
    // "!#" "[az]" "\-" "'%'" "x": five elements over 12 characters.
    PatternProcessor p;
    p.reset(W("!#[az]\\-'%'x").c_str());
    ASSERT_EQ(p.count(), 5);
    const int begins[] = {0, 2, 6, 8, 11};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(p.sourceBegin(i), begins[i]);
        EXPECT_EQ(p.sourceEnd(i), i < 4 ? begins[i + 1] : 12);
    }
    const int elementOf[] = {0, 0, 1, 1, 1, 1, 2, 2, 3, 3, 3, 4};
    for (int offset = 0; offset < 12; ++offset)
        EXPECT_EQ(p.elementAt(offset), elementOf[offset]) << offset;
    EXPECT_EQ(p.elementAt(12), 5);
    EXPECT_EQ(p.elementAt(-1), 5);
}

TEST(PatternProcessor, ElementOutsideTheMaskIsReported)
{
    static int reports = 0;
    VexAPI::AssertHandler previous =
        VexAPI::setAssertHandler([](const char*, const char*, int) { ++reports; });
    PatternProcessor p;
    p.reset(W("#").c_str());
    reports = 0;
    const PatternProcessor::Element& none = p.element(1);
    EXPECT_EQ(none.lo, 0);
    EXPECT_EQ(none.kind, PatternProcessor::kLiteral);
    EXPECT_EQ(reports, 1);
    VexAPI::setAssertHandler(previous);
}

} // namespace

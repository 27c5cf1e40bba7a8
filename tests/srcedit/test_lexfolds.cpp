// Tests of colouring on rows with folds: the tags of a row's expansion cut at each label,
// the zero-length tags that carry a state over a fold, and folding through the editor.
#include "lextesting.h"

#include <gtest/gtest.h>

namespace {

// Folds through the editor and checks that the tags equal a full parse and that the
// editor's invariants hold; answers the tags of `row`.
std::string foldAndDump(CSrcEditLex& editor, int col1, int row1, int col2, int row2, int row)
{
    EXPECT_TRUE(editor.CollapseBlock(col1, row1, col2, row2, 1, nullptr));
    EXPECT_EQ(0, editor.checkInvariants());
    EXPECT_EQ(0, editor.GetDocument()->checkInvariants());
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
    return dumpTags(editor.GetTags(), row);
}

TEST(LexFolds, TagsAreCutAtTheLabel)
{
    // The label " ... " is 5 columns long; type 6 colours it.
    struct Case {
        const char* text;
        int col1, row1, col2, row2;
        const char* row0; // tags of row 0 afterwards
        const char* row1After;
    } cases[] = {
        // Plain code around a fold: runs behind the label move to visible columns.
        {"select a\nfrom b\nwhere c", 7, 0, 4, 1, "0:0+6/5.0 0:7+5/6.0", "1:0+5/5.0"},
        {"select a\nfrom b\nwhere c", 7, 0, 0, 1, "0:0+6/5.0 0:7+5/6.0 0:12+4/5.0", "1:0+5/5.0"},
        // A comment that opens in the hidden text and goes on behind the label.
        {"x\n/* a\nb", 1, 0, 2, 1, "0:1+5/6.0 0:6+2/2.1", "1:0+1/2.2"},
        // A comment wholly inside the hidden text: nothing of it shows.
        {"x /* a\nb */ y\nselect", 2, 0, 4, 1, "0:2+5/6.0", "1:0+6/5.0"},
        // A comment that opens before the fold and closes behind it is cut in two.
        {"/* a\nb\nc */ select", 3, 0, 1, 2, "0:0+3/2.0 0:3+5/6.0 0:8+3/2.0 0:12+6/5.0", ""},
        // A comment opened inside the hidden text and left open: a zero-length open tag
        // behind the label carries it to the next row.
        {"x\n/* a\nb", 1, 0, 4, 1, "0:1+5/6.0 0:6+0/2.1", "1:0+1/2.2"},
        // A comment begun above and closed inside the hidden text: a zero-length close
        // before the label.
        {"/* a\nb */ c\nd", 0, 1, 4, 1, "0:0+4/2.1", "1:0+0/2.4 1:0+5/6.0"},
        // A string opened before the fold runs on through it and past the row.
        {"'a b\nc\nd", 2, 0, 1, 1, "0:0+2/4.0~1 0:2+5/6.0 0:7+0/4.1~2", "1:0+1/4.2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        CSrcEditLex editor;
        load(editor, c.text);
        EXPECT_EQ(c.row0, foldAndDump(editor, c.col1, c.row1, c.col2, c.row2, 0));
        EXPECT_EQ(c.row1After, dumpTags(editor.GetTags(), 1));
    }
}

TEST(LexFolds, UnfoldingGivesBackTheTagsOfTheUnfoldedText)
{
    const char* texts[] = {
        "select a\nfrom b\nwhere c",
        "/* a\nb\nc */ select\nx",
        "'a\nb\nc' from\n-- d\ne",
        "x /* a\nb */ y /* c\nd */ z",
    };
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        CSrcEditLex editor;
        load(editor, text);
        std::string before = dumpTags(editor.GetTags());
        ASSERT_TRUE(editor.CollapseBlock(1, 0, 1, 1, 1, nullptr));
        std::string folded = dumpTags(editor.GetTags());
        EXPECT_EQ(folded, fullParse(editor));
        ASSERT_TRUE(editor.ExpandBlock(1, 0));
        EXPECT_EQ(before, dumpTags(editor.GetTags()));
        EXPECT_EQ(0, editor.checkInvariants());
    }
}

TEST(LexFolds, TwoFoldsOnOneRowAndAFoldInsideAFold)
{
    CSrcEditLex editor;
    load(editor, "a /* b\nc */ d\ne 'f\ng' h\ni");
    // Fold inside the string of rows 2..3 first, then from the comment of row 0 up to just
    // before that label: row 0 then holds both labels, "a /*" L "'" L "' h".
    ASSERT_TRUE(editor.CollapseBlock(3, 2, 1, 3, 1, nullptr));
    ASSERT_TRUE(editor.CollapseBlock(4, 0, 2, 2, 1, nullptr));
    EXPECT_EQ(1, editor.GetRowCount() - 1);
    EXPECT_EQ(2, editor.GetString(0)->SegmentsCount());
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
    EXPECT_EQ(0, editor.checkInvariants());
    // A fold inside a fold: fold the whole row with both labels.
    ASSERT_TRUE(editor.CollapseBlock(0, 0, 1, 1, 1, nullptr));
    incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
    EXPECT_EQ("0:0+5/6.0", incremental);
}

TEST(LexFolds, CollapseRefusesBadRanges)
{
    CSrcEditLex editor;
    load(editor, "abc\ndef");
    std::string before = dumpTags(editor.GetTags());
    EXPECT_FALSE(editor.CollapseBlock(0, 1, 0, 0, 1, nullptr)); // rows reversed
    EXPECT_FALSE(editor.CollapseBlock(0, 0, 1, 2, 1, nullptr)); // past the last row
    EXPECT_FALSE(editor.CollapseBlock(0, 0, 1, 1, 9, nullptr)); // no label for type 9
    EXPECT_FALSE(editor.CollapseBlock(0, 0, 9, 1, 1, nullptr)); // column past the row
    EXPECT_FALSE(editor.ExpandBlock(0, 0));                     // no fold there
    EXPECT_EQ(2, editor.GetRowCount());
    EXPECT_EQ(before, dumpTags(editor.GetTags()));
}

TEST(LexFolds, ExpandRowToAbsColumnOpensWhatHidesAPosition)
{
    CSrcEditLex editor;
    load(editor, "0123\nabcd\nefgh\nijkl");
    // Row 1 hides "bc" behind a label; row 0 then hides "23\r\na" and that label.
    ASSERT_TRUE(editor.CollapseBlock(1, 1, 3, 1, 1, nullptr));
    ASSERT_TRUE(editor.CollapseBlock(2, 0, 6, 1, 1, nullptr));
    ASSERT_EQ(3, editor.GetRowCount());
    // Absolute column 7 of row 0 is the 'b' of the inner fold: "01" "23\r\n" "a" "b".
    int row = 0, col = 7;
    ASSERT_TRUE(editor.ExpandRowToAbsColumn(row, col, 1, false));
    EXPECT_EQ(1, row);
    EXPECT_EQ(1, col);
    EXPECT_EQ("abcd", stored(editor.GetString(row)));
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
    EXPECT_FALSE(editor.ExpandRowToAbsColumn(row, col = 99, 0, false));
}

TEST(LexFolds, EnsureVisibleUnfoldsDownToARow)
{
    CSrcEditLex editor;
    load(editor, "r0\nr1\nr2\nr3\nr4");
    ASSERT_TRUE(editor.CollapseBlock(2, 2, 2, 3, 1, nullptr)); // r3 hidden in row 2
    ASSERT_TRUE(editor.CollapseBlock(2, 0, 2, 2, 1, nullptr)); // and that in row 0
    ASSERT_EQ(2, editor.GetRowCount());
    CEditString* r3 = editor.GetDocument()->GenRowId2String(3);
    ASSERT_NE(nullptr, r3);
    EXPECT_FALSE(r3->oBlock() == editor.GetDocument());
    // Unfolding may rebuild rows: the answer is the top-block row now holding that line.
    CEditString* shown = editor.EnsureVisible(r3, false);
    ASSERT_NE(nullptr, shown);
    EXPECT_EQ(editor.GetDocument(), shown->oBlock());
    EXPECT_EQ("r3", stored(shown));
    EXPECT_EQ(3, shown->GeneralId());
    EXPECT_EQ(shown, editor.EnsureVisible(shown, false)); // already visible
    EXPECT_EQ(nullptr, editor.EnsureVisible(nullptr, false));
    EXPECT_EQ(0, editor.checkInvariants());
}

// ---- The gutter sign.

TEST(LexFolds, GutterSignFollowsFoldsAndLinkedLexemes)
{
    CSrcEditLex editor;
    load(editor, "begin\nx\nend\nbegin end");
    CEditString* r0 = editor.GetString(0);
    CEditString* r2 = editor.GetString(2);
    CEditString* r3 = editor.GetString(3);
    CLexData* open = new CLexData(1, LT_OPEN, 0, 5, nullptr);
    CLexData* close = new CLexData(2, LT_CLOSE, 0, 3, nullptr);
    r0->InsLinkedLex(open);
    r2->InsLinkedLex(close);
    CLexData::link(open, close);
    CLexData* open3 = new CLexData(1, LT_OPEN, 0, 5, nullptr);
    CLexData* close3 = new CLexData(2, LT_CLOSE, 6, 3, nullptr);
    r3->InsLinkedLex(open3);
    r3->InsLinkedLex(close3);
    CLexData::link(open3, close3);

    EXPECT_EQ(LS_CAN_COLLAPSE, editor.refreshLayoutSign(0));
    EXPECT_EQ(LS_NONE, editor.refreshLayoutSign(1));
    EXPECT_EQ(LS_NONE, editor.refreshLayoutSign(3)); // closed on its own row
    EXPECT_TRUE(CSrcEditLex::closesForeignRange(r2));
    EXPECT_FALSE(CSrcEditLex::closesForeignRange(r3));
    ASSERT_TRUE(editor.CollapseBlock(5, 0, 0, 2, 1, nullptr));
    EXPECT_EQ(LS_COLLAPSED, editor.refreshLayoutSign(0));
    EXPECT_EQ(LS_COLLAPSED, editor.GetString(0)->layoutSign());
    EXPECT_EQ(LS_NONE, editor.refreshLayoutSign(99));
}

TEST(LexFolds, SignGeometryAndBlockTips)
{
    EXPECT_TRUE(CSrcEditLex::signShown(6, 6, 16));
    EXPECT_FALSE(CSrcEditLex::signShown(4, 6, 16));
    EXPECT_FALSE(CSrcEditLex::signShown(6, 18, 16));
    // A bar 15 wide, rows 16 high, a sign of 8: margins of 2 and 3 on the sides.
    EXPECT_TRUE(CSrcEditLex::pointOnSign(7, 8, 15, 16, 8, 8));
    EXPECT_TRUE(CSrcEditLex::pointOnSign(2, 3, 15, 16, 8, 8));
    EXPECT_FALSE(CSrcEditLex::pointOnSign(1, 8, 15, 16, 8, 8));
    EXPECT_FALSE(CSrcEditLex::pointOnSign(7, 13, 15, 16, 8, 8));

    CSrcEditLex editor;
    std::string lines = "head";
    for (int i = 0; i < 100; ++i)
        lines += "\nline " + std::to_string(i);
    load(editor, lines);
    ASSERT_TRUE(editor.CollapseBlock(4, 0, 6, 2, 1, nullptr));
    EXPECT_EQ("\r\nline 0\r\nline 1", A(CSrcEditLex::blockTipText(editor.GetString(0)->segmentAt(4))));
    ASSERT_TRUE(editor.CollapseBlock(4, 1, 7, 60, 1, nullptr));
    std::string tip = A(CSrcEditLex::blockTipText(editor.GetString(1)->segmentAt(4)));
    EXPECT_EQ(504u, tip.size());
    EXPECT_EQ(" ...", tip.substr(500));
    EXPECT_EQ("", A(CSrcEditLex::blockTipText(nullptr)));
}

} // namespace

namespace {

// ---- Paired lexemes, with simple lexemes placed by hand as a derived editor would.

TEST(LexPairs, HighlightFindsThePartnerThroughNesting)
{
    CSrcEditLex editor;
    load(editor, "( (\n) x\n)");
    EXPECT_EQ(-1, editor.AssignHighlightLexems(0, 0)); // no pairs yet
    EXPECT_EQ(1, editor.AddPairedLexems(1, 2));
    EXPECT_EQ(-1, editor.AddPairedLexems(2, 3)); // 2 already stands in a pair
    EXPECT_EQ(-1, editor.AddPairedLexems(4, 4));
    EXPECT_EQ(2, editor.AddPairedLexems(5, 6));
    auto put = [&](int row, int name, int col) {
        editor.GetString(row)->InsSimpleLex(new CLexData(name, LT_NONE, col, 1, nullptr));
    };
    put(0, 1, 0);
    put(0, 1, 2);
    put(1, 2, 0);
    put(2, 2, 0);
    struct Case {
        int col, row, answer, openRow, openCol;
    } cases[] = {
        {0, 0, 2, 0, 0},  // the outer open finds the last close
        {2, 0, 1, 0, 2},  // the inner one the close on row 1
        {0, 2, 0, 0, 0},  // and back from the last close
        {2, 1, -1, -1, -1}, // no lexeme at that column
        {0, 7, -1, -1, -1}, // no such row
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.answer, editor.AssignHighlightLexems(c.col, c.row)) << c.row << ":" << c.col;
        if (c.answer < 0) {
            EXPECT_EQ(nullptr, editor.GetHlOpen());
            EXPECT_EQ(nullptr, editor.GetHlClose());
        } else {
            EXPECT_EQ(c.openRow, editor.GetHlOpen()->owner->visRowId());
            EXPECT_EQ(c.openCol, editor.GetHlOpen()->col);
        }
    }
    // An open without its close has no partner.
    editor.GetString(2)->ClearSimpleLexes();
    EXPECT_EQ(-1, editor.AssignHighlightLexems(0, 0));
    editor.ClearPairedLexems();
    EXPECT_EQ(0, editor.CountPairedLexems());
    EXPECT_EQ(-1, editor.AssignHighlightLexems(2, 0));
}

} // namespace

// Tests of the incremental re-parse: only the changed rows are lexed, the range widens
// while the multi-line state differs, and the result equals a full parse.
#include "lextesting.h"

#include <gtest/gtest.h>

namespace {

// Counts the rows lexed, to see how far a re-parse went.
class CountingLexer : public CSrcEditLex {
public:
    CTagNode* LexProcString(CTagNode* prev, CEditString* row, int rowIndex, int& comment, int& string1,
                            int& string2) override
    {
        ++rowsLexed;
        return CSrcEditLex::LexProcString(prev, row, rowIndex, comment, string1, string2);
    }
    void ReDraw() override { ++redraws; }
    int rowsLexed = 0;
    int redraws = 0;
};

std::string rows(int n, const std::string& line)
{
    std::string s;
    for (int i = 0; i < n; ++i)
        s += (i ? "\n" : "") + line;
    return s;
}

// Types `text` at (col, row) and re-parses the row as the editing layer does; answers
// the last row lexed.
int type(CSrcEditLex& editor, int row, int col, const std::string& text)
{
    WString w = W(text);
    EXPECT_TRUE(editor.GetString(row)->InsertPlainText(w.c_str(), col));
    int from = row, to = row;
    editor.PerformParse(from, to);
    return to;
}

int erase(CSrcEditLex& editor, int row, int col, int n)
{
    EXPECT_TRUE(editor.GetString(row)->DeleteEditString(col, col + n));
    int from = row, to = row;
    editor.PerformParse(from, to);
    return to;
}

TEST(LexReparse, TypingAPlainCharacterLexesOneRow)
{
    CountingLexer editor;
    load(editor, rows(200, "select a from t where b = 'x';"));
    editor.rowsLexed = 0;
    EXPECT_EQ(100, type(editor, 100, 0, "x"));
    EXPECT_EQ(1, editor.rowsLexed);
    EXPECT_EQ(0, editor.redraws);
    EXPECT_EQ("from:5 where:5 =:7 'x':4 ;:7", coloured(editor, 100)); // "xselect" is no word
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
}

TEST(LexReparse, AnOpenedCommentWidensToTheNextCloseOfAnOldComment)
{
    CountingLexer editor;
    std::string text = rows(50, "select a;") + "\n/* old\ncomment */ x\n" + rows(50, "select b;");
    load(editor, text);
    editor.rowsLexed = 0;
    // Opening a comment at row 10 runs until row 51, where the old comment closed.
    EXPECT_EQ(51, type(editor, 10, 0, "/*"));
    EXPECT_EQ(42, editor.rowsLexed);
    EXPECT_EQ(1, editor.redraws);
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));

    // Closing it again on the same row gives back what was there.
    editor.rowsLexed = 0;
    EXPECT_EQ(51, type(editor, 10, 2, "*/"));
    std::string again = dumpTags(editor.GetTags());
    EXPECT_EQ(again, fullParse(editor));
}

TEST(LexReparse, DeletingACloseReparsesToTheNextCloseOrTheEnd)
{
    CountingLexer editor;
    // A comment opened at row 0 and closed at row 100; another comment at 150..152.
    std::string text = "/* start\n" + rows(99, "select a;") + "\nend */ select\n" + rows(49, "select b;") +
                       "\n/* x\ny\nz */\n" + rows(10, "select c;");
    load(editor, text);
    ASSERT_EQ("end */:2 select:5", coloured(editor, 100));
    editor.rowsLexed = 0;
    EXPECT_EQ(152, erase(editor, 100, 4, 2));
    EXPECT_EQ(53, editor.rowsLexed);
    EXPECT_EQ("end  select:2", coloured(editor, 100));
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));

    // With no close left behind it, the comment runs to the end of the document.
    CountingLexer open;
    load(open, "/* a\nb */\n" + rows(30, "select;"));
    EXPECT_EQ(31, erase(open, 1, 2, 2));
    std::string tags = dumpTags(open.GetTags());
    EXPECT_EQ(tags, fullParse(open));
}

TEST(LexReparse, AChangedStringRunsToTheEnd)
{
    CountingLexer editor;
    load(editor, rows(40, "select 'a' from t;"));
    editor.rowsLexed = 0;
    EXPECT_EQ(39, type(editor, 5, 0, "'"));
    EXPECT_EQ(35, editor.rowsLexed);
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
}

TEST(LexReparse, AnEmptyRowInACommentTakesTheStateFromItsNeighbours)
{
    CountingLexer editor;
    load(editor, "/* a\n\n\nb */ select");
    editor.rowsLexed = 0;
    // Row 2 had no tags; typing into it must still lex it inside the comment.
    EXPECT_EQ(2, type(editor, 2, 0, "select"));
    EXPECT_EQ(1, editor.rowsLexed);
    EXPECT_EQ("select:2", coloured(editor, 2));
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
}

TEST(LexReparse, InsertedAndDeletedRowsShiftTheTags)
{
    CSrcEditLex editor;
    load(editor, "select a;\nselect b;\nselect c;");
    // A new row between 0 and 1, as a line break makes it.
    WString w = W("from 'x'");
    ASSERT_TRUE(editor.GetDocument()->InsString(new CEditString(w.c_str()), 1));
    send(&editor, &CSrcEditLex::onInsertRow, 1, 1);
    EXPECT_EQ("select:5 ;:7", coloured(editor, 2));
    send(&editor, &CSrcEditLex::doParse, 1, 1);
    EXPECT_EQ("from:5 'x':4", coloured(editor, 1));
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));

    send(&editor, &CSrcEditLex::onDeleteRow, 0, 2);
    ASSERT_TRUE(editor.GetDocument()->DeleteBlock(0, 2, true));
    EXPECT_EQ("select:5 ;:7", coloured(editor, 0));
    send(&editor, &CSrcEditLex::doParse, 0, 0);
    EXPECT_EQ(0, editor.checkInvariants());
    incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));
}

TEST(LexReparse, RangesOutsideTheDocumentAreClamped)
{
    CountingLexer editor;
    load(editor, rows(5, "select;"));
    struct Case {
        int from, to;
        int wantFrom, wantTo;
    } cases[] = {{-1, -1, 0, 4}, {7, 2, 0, 2}, {3, 99, 3, 4}, {4, 1, 1, 4}};
    for (const Case& c : cases) {
        int from = c.from, to = c.to;
        EXPECT_TRUE(editor.PerformParse(from, to));
        EXPECT_EQ(c.wantFrom, from);
        EXPECT_EQ(c.wantTo, to);
    }
    EXPECT_EQ(0, editor.checkInvariants());
    CSrcEditLex empty;
    std::vector<tagCTextLex> table = testTable();
    empty.setTextLex(table.data(), int(table.size()));
    empty.GetDocument()->DelAllString();
    int from = -1, to = -1;
    EXPECT_TRUE(empty.PerformParse(from, to));
}

TEST(LexReparse, PrepareReparsedBlockReportsTheStatesAroundTheRegion)
{
    CSrcEditLex editor;
    load(editor, "x\n/* a\nb\nc */\n'd\ne'");
    bool pc = false, p1 = true, p2 = true, nc = false, n1 = true, n2 = true;
    CTagNode* before = editor.PrepareReparsedBlock(nullptr, 2, 2, &pc, &p1, &p2, &nc, &n1, &n2);
    ASSERT_NE(nullptr, before);
    EXPECT_EQ(1, before->row);
    EXPECT_TRUE(pc);
    EXPECT_FALSE(p1);
    EXPECT_FALSE(p2);
    EXPECT_TRUE(nc);
    EXPECT_FALSE(n1);
    EXPECT_FALSE(n2);
    EXPECT_EQ("", dumpTags(editor.GetTags(), 2));

    editor.PrepareReparsedBlock(nullptr, 5, 5, &pc, &p1, &p2, &nc, &n1, &n2);
    EXPECT_FALSE(pc);
    EXPECT_TRUE(p2);
    EXPECT_FALSE(nc || n1 || n2);
    // Null outputs are allowed.
    EXPECT_EQ(nullptr, editor.PrepareReparsedBlock(nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                   nullptr));
}

} // namespace

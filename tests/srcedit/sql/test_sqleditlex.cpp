// Tests of the SQL colouring and folding of the examples: the lexeme table, numbers, the
// block shapes the analysis must get right, paired highlighting and folding by block.
#include "../lextesting.h"

#include <sqleditlex.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

void loadSql(SqlEditLex& editor, const std::string& text)
{
    WString w = W(text);
    editor.setPlainText(w.c_str(), int(w.size()));
}

std::string kindName(int kind)
{
    switch (kind) {
    case SQL_BEGIN: return "BEGIN";
    case SQL_CASE: return "CASE";
    case SQL_IF: return "IF";
    case SQL_LOOP: return "LOOP";
    default: return "?";
    }
}

// The blocks as "KIND row:col-row:col", in the order of their opening keywords.
std::string blocksOf(const SqlEditLex& editor)
{
    std::string s;
    for (const SqlBlock& b : editor.blocks()) {
        if (!s.empty())
            s += ", ";
        s += kindName(b.kind) + " " + std::to_string(b.openRow) + ":" + std::to_string(b.openCol) + "-" +
             std::to_string(b.closeRow) + ":" + std::to_string(b.closeCol);
    }
    return s;
}

TEST(SqlColouring, KeywordsCommentsStringsNumbersAndOperators)
{
    SqlEditLex editor;
    loadSql(editor, "SELECT id, 'it''s' FROM t1 WHERE n >= 42; -- note\n"
                    "/* a\n b */ \"Name\" 1.5 3abc x2");
    EXPECT_EQ("SELECT:5 ,:7 'it':3 's':3 FROM:5 WHERE:5 >=:7 42:8 ;:7 -- note:2", coloured(editor, 0));
    EXPECT_EQ("/* a:2", coloured(editor, 1));
    EXPECT_EQ(" b */:2 \"Name\":4 1:8 .:7 5:8", coloured(editor, 2));
    EXPECT_EQ(0, editor.checkInvariants());
}

TEST(SqlBlocks, TheShapesAKeywordCounterGetsWrong)
{
    struct Case {
        const char* name;
        const char* text;
        const char* blocks;
    } cases[] = {
        {"a plain block", "BEGIN\n  x;\nEND;", "BEGIN 0:0-2:0"},
        {"the END of a CASE inside a BEGIN block",
         "BEGIN\n  y := CASE WHEN a THEN 1 ELSE 2 END;\nEND;", "BEGIN 0:0-2:0, CASE 1:7-1:33"},
        {"a CASE over rows inside a BEGIN block",
         "BEGIN\n  y := CASE\n    WHEN a THEN 1\n  END;\n  z;\nEND;", "BEGIN 0:0-5:0, CASE 1:7-3:2"},
        {"END IF is not a plain END", "BEGIN\n  IF a THEN\n    b;\n  END IF;\nEND;",
         "BEGIN 0:0-4:0, IF 1:2-3:2"},
        {"END LOOP and END CASE", "LOOP\n  CASE a WHEN 1 THEN x; END CASE;\nEND LOOP;",
         "LOOP 0:0-2:0, CASE 1:2-1:24"},
        {"nested blocks", "BEGIN\n BEGIN\n  BEGIN\n  END;\n END;\n BEGIN END;\nEND;",
         "BEGIN 0:0-6:0, BEGIN 1:1-4:1, BEGIN 2:2-3:2, BEGIN 5:1-5:7"},
        {"keywords inside strings and comments",
         "BEGIN\n  s := 'END';\n  -- END\n  /* END\n  CASE */ \"end\";\nEND;", "BEGIN 0:0-5:0"},
        {"transactions and IF EXISTS open nothing",
         "BEGIN TRANSACTION;\nDROP TABLE IF EXISTS t;\nBEGIN;\nCREATE TABLE IF NOT EXISTS u (a);\nCOMMIT;", ""},
        {"an END with nothing to close, an unclosed BEGIN", "END;\nBEGIN\n  x;", ""},
        {"an unclosed IF inside a block is dropped by its END", "BEGIN\n  IF a THEN\nEND;",
         "BEGIN 0:0-2:0"},
        {"keywords in other words", "SELECT ending, begins, cases FROM iffy;", ""},
        {"lower case", "begin\n  case when 1 then 2 end;\nend;", "BEGIN 0:0-2:0, CASE 1:2-1:21"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SqlEditLex editor;
        loadSql(editor, c.text);
        EXPECT_EQ(c.blocks, blocksOf(editor));
    }
}

TEST(SqlBlocks, PairedHighlightingMatchesEachEndWithItsOwnOpening)
{
    SqlEditLex editor;
    loadSql(editor, "BEGIN\n  y := CASE\n    WHEN a THEN 1\n  END;\n  BEGIN\n  END;\nEND;");
    struct Case {
        int col, row;
        int partnerRow;
        int openRow, closeRow;
    } cases[] = {
        {0, 0, 6, 0, 6},  // the outer BEGIN, past the CASE's END and the inner block
        {1, 6, 0, 0, 6},  // and back from its END
        {8, 1, 3, 1, 3},  // the CASE and its END
        {3, 3, 1, 1, 3},
        {2, 4, 5, 4, 5},  // the inner block
        {0, 2, -1, -1, -1}, // no paired lexeme there
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.partnerRow, editor.AssignHighlightLexems(c.col, c.row)) << c.row << ":" << c.col;
        if (c.partnerRow < 0) {
            EXPECT_EQ(nullptr, editor.GetHlOpen());
            continue;
        }
        ASSERT_NE(nullptr, editor.GetHlOpen());
        EXPECT_EQ(c.openRow, editor.GetHlOpen()->owner->visRowId());
        EXPECT_EQ(c.closeRow, editor.GetHlClose()->owner->visRowId());
    }
    // A pair reusing a name is refused.
    EXPECT_EQ(-1, editor.AddPairedLexems(SQL_BEGIN, 99));
    EXPECT_EQ(-1, editor.AddPairedLexems(7, 7));
    EXPECT_EQ(4, editor.CountPairedLexems());
    // The simple lexemes walk over the rows in order.
    int n = 0;
    for (CLexData* l = editor.GetFirstSimpleLex(); l; l = editor.GetNextSimpleLex(l))
        ++n;
    EXPECT_EQ(6, n);
    n = 0;
    for (CLexData* l = editor.GetLastSimpleLex(); l; l = editor.GetPrevSimpleLex(l))
        ++n;
    EXPECT_EQ(6, n);
}

TEST(SqlBlocks, FoldingABlockHidesItsBodyAndKeepsTheTagsRight)
{
    SqlEditLex editor;
    loadSql(editor, "SELECT 1;\nBEGIN\n  IF a THEN\n    b := 'x';\n  END IF;\nEND;\nSELECT 2;");
    EXPECT_EQ(LS_CAN_COLLAPSE, editor.refreshLayoutSign(1));
    EXPECT_EQ(LS_NONE, editor.refreshLayoutSign(0));
    EXPECT_TRUE(CSrcEditLex::closesForeignRange(editor.GetString(5)));

    // The sign of the IF folds the IF; the sign of the BEGIN then folds the block around it.
    ASSERT_TRUE(send(&editor, &CSrcEditLex::onSignPressed, 2));
    EXPECT_EQ(5, editor.GetRowCount());
    EXPECT_EQ("  IF if ... endif END IF;", stored(editor.GetString(2)));
    ASSERT_TRUE(editor.foldAt(1));
    EXPECT_EQ(3, editor.GetRowCount());
    EXPECT_EQ("BEGIN ... END;", stored(editor.GetString(1)));
    EXPECT_EQ(LS_COLLAPSED, editor.refreshLayoutSign(1));
    EXPECT_EQ("BEGIN:5  ... :6 END:5 ;:7", coloured(editor, 1));
    EXPECT_EQ("SELECT:5 2:8 ;:7", coloured(editor, 2));
    // Both blocks now open and close on one row: no sign of a foldable range remains.
    EXPECT_EQ("BEGIN 1:0-1:46, IF 1:9-1:37", blocksOf(editor));
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));

    // Unfolding by the sign gives back the text.
    ASSERT_TRUE(send(&editor, &CSrcEditLex::onSignPressed, 1));
    ASSERT_TRUE(editor.unfoldAt(2));
    EXPECT_EQ(7, editor.GetRowCount());
    EXPECT_EQ("    b := 'x';", stored(editor.GetString(3)));
    EXPECT_EQ("BEGIN 1:0-5:0, IF 2:2-4:2", blocksOf(editor));
    EXPECT_FALSE(editor.foldAt(0));
}

TEST(SqlBlocks, EditsKeepBlocksAndTagsInStep)
{
    SqlEditLex editor;
    std::string text;
    for (int i = 0; i < 20; ++i)
        text += "BEGIN\n  x := CASE WHEN a THEN 'END' END;\nEND;\n";
    loadSql(editor, text);
    ASSERT_EQ(40u, editor.blocks().size());
    // Opening a comment before the fifth block hides everything behind it.
    WString open = W("/*");
    editor.GetString(12)->InsertPlainText(open.c_str(), 0);
    send(&editor, &CSrcEditLex::doParse, 12, 12);
    EXPECT_EQ(8u, editor.blocks().size());
    std::string incremental = dumpTags(editor.GetTags());
    EXPECT_EQ(incremental, fullParse(editor));

    // Deferred analysis waits for the application's timer.
    editor.setDeferredLayout(true);
    editor.GetString(12)->DeleteEditString(0, 2);
    send(&editor, &CSrcEditLex::doParse, 12, 12);
    EXPECT_TRUE(editor.layoutDue());
    EXPECT_EQ(8u, editor.blocks().size());
    editor.analyseLayout();
    EXPECT_FALSE(editor.layoutDue());
    EXPECT_EQ(40u, editor.blocks().size());
}

} // namespace

namespace {

// Random edits of a SQL script with blocks, strings, comments and numbers; after each, the
// tags (numbers included) equal a full parse, and so do the blocks the analysis finds.
TEST(SqlRandomized, TagsAndBlocksFollowEveryEdit)
{
    std::mt19937 random(7031u);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random); };
    static const char* pieces[] = {"BEGIN", " ", "END", ";", "CASE", "IF", "END IF", "LOOP", "'", "\"", "--",
                                   "/*", "*/", "42", "x1", "WHEN", "TRANSACTION", "(", ")", "3.5"};
    auto piece = [&]() { return std::string(pieces[pick(0, int(sizeof pieces / sizeof *pieces) - 1)]); };
    SqlEditLex editor;
    std::string text;
    for (int i = 0; i < 30; ++i)
        text += (i ? "\n" : "") + piece() + " " + piece() + " " + piece();
    loadSql(editor, text);
    for (int step = 0; step < 1500; ++step) {
        CEditStringArray* doc = editor.GetDocument();
        const int row = pick(0, doc->GetRowCount() - 1);
        CEditString* r = doc->GetString(row);
        int col = pick(0, r->GetLength());
        if (r->ownerOf(col))
            col = 0;
        const int op = pick(0, 9);
        if (op < 5) {
            WString w = W(piece() + (pick(0, 1) ? " " : ""));
            r->InsertPlainText(w.c_str(), col);
            send(&editor, &CSrcEditLex::doParse, row, row);
        } else if (op < 7) {
            r->DeleteEditString(col, std::min(col + pick(1, 5), r->GetLength()));
            send(&editor, &CSrcEditLex::doParse, row, row);
        } else if (op < 8) {
            doc->InsString(r->CutEditString(col, r->GetLength()), row + 1);
            send(&editor, &CSrcEditLex::onInsertRow, row + 1, 1);
            send(&editor, &CSrcEditLex::doParse, row, row + 1);
        } else if (op < 9) {
            editor.foldAt(row);
        } else {
            editor.unfoldAt(row);
        }
        ASSERT_EQ(0, editor.checkInvariants()) << "step " << step;
        std::string incremental = dumpTags(editor.GetTags());
        std::string blocks = blocksOf(editor);
        ASSERT_EQ(incremental, fullParse(editor)) << "step " << step;
        ASSERT_EQ(blocks, blocksOf(editor)) << "step " << step;
    }
}

} // namespace

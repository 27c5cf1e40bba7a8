// Tests of the scanner: the lexeme table and its matching, word holding and cancelling,
// case folding, the multi-line states and word motion.
#include "lextesting.h"

#include <gtest/gtest.h>

namespace {

// ---- The table and its matching.

TEST(LexTable, MatchesTheLongestLexemeSharingAPrefix)
{
    CSrcEditLex editor;
    std::vector<tagCTextLex> table = testTable();
    ASSERT_TRUE(editor.setTextLex(table.data(), int(table.size())));
    EXPECT_TRUE(editor.lexReady());
    EXPECT_TRUE(editor.lexLoaded());

    struct Case {
        const char* text;
        int pos;
        int type;
        int matched;
    } cases[] = {
        {"--x", 0, TLT_LINE_COMMENT, 2}, {"-x", 0, TLT_OPERATOR, 1},    {"/*", 0, TLT_COMMENT_OPEN, 2},
        {"/x", 0, TLT_OPERATOR, 1},      {"ab   cd", 2, TLT_SEPARATOR, 3}, {"xxSELECT", 2, TLT_WORD, 6},
        {"sel", -1, 0, 0},               {"", -1, 0, 0},
    };
    for (const Case& c : cases) {
        WString w = W(c.text);
        int type = 0, lexLen = 0, matched = 0;
        const WChar* found = editor.GetLexType(w.c_str(), int(w.size()), type, lexLen, matched);
        SCOPED_TRACE(c.text);
        if (c.pos < 0) {
            EXPECT_EQ(nullptr, found);
            continue;
        }
        ASSERT_NE(nullptr, found);
        EXPECT_EQ(c.pos, found - w.c_str());
        EXPECT_EQ(c.type, type);
        EXPECT_EQ(c.matched, matched);
    }
}

TEST(LexTable, CaseFoldingFoldsTheTableOnLoad)
{
    CSrcEditLex editor;
    load(editor, "SELECT Select select\nUPPER upper Upper");
    // Every spelling matches the folded "select"; the entry "Upper" was folded too.
    EXPECT_EQ("SELECT:5 Select:5 select:5", coloured(editor, 0));
    EXPECT_EQ("UPPER:5 upper:5 Upper:5", coloured(editor, 1));
    EXPECT_EQ('a', editor.CaseConversion('A'));
    EXPECT_EQ(editor.MakeHash(W("S").c_str()), editor.MakeHash(W("s").c_str()));

    CSrcEditLex exact;
    exact.setCaseSensitive(true);
    load(exact, "SELECT select\nUPPER Upper");
    EXPECT_EQ("select:5", coloured(exact, 0));
    EXPECT_EQ("Upper:5", coloured(exact, 1));
    EXPECT_EQ('A', exact.CaseConversion('A'));

    // Switching installs the table again and colours the document anew.
    editor.setCaseSensitive(true);
    EXPECT_EQ("select:5", coloured(editor, 0));
    EXPECT_EQ("Upper:5", coloured(editor, 1));
    editor.setCaseSensitive(false);
    EXPECT_EQ("SELECT:5 Select:5 select:5", coloured(editor, 0));
}

TEST(LexTable, CaseSensitiveLexemesOfOneHashShareTheirBucket)
{
    // "Sa" and "sb" differ in hash only by case; sorted without case they interleave with
    // "SC", and all three must still be found.
    CSrcEditLex editor;
    editor.setCaseSensitive(true);
    std::vector<tagCTextLex> table =
        makeTable({{"Sa", TLT_WORD, 0}, {"sb", TLT_WORD, 0}, {"SC", TLT_WORD, 0}, {" ", TLT_SEPARATOR, -1}});
    editor.setTextLex(table.data(), int(table.size()));
    WString text = W("Sa sb SC");
    editor.setPlainText(text.c_str());
    EXPECT_EQ("Sa:5 sb:5 SC:5", coloured(editor, 0));
}

TEST(LexTable, NoTableMeansNoColouring)
{
    CSrcEditLex editor;
    load(editor, "select 'a'", false);
    EXPECT_FALSE(editor.lexReady());
    EXPECT_EQ(0, editor.GetTags().GetCount());
    int from = -1, to = -1;
    EXPECT_FALSE(editor.PerformParse(from, to));

    // A later table parses the text at once; an empty one turns colouring off again.
    std::vector<tagCTextLex> table = testTable();
    editor.setTextLex(table.data(), int(table.size()));
    EXPECT_EQ("select:5 'a':4", coloured(editor, 0));
    EXPECT_FALSE(editor.setTextLex(nullptr, 0));
    EXPECT_FALSE(editor.lexReady());
    EXPECT_EQ(0, editor.GetTags().GetCount());
}

// ---- Words: holding and cancelling.

TEST(LexWords, AWordCountsOnlyBetweenSeparators)
{
    struct Case {
        const char* row;
        const char* coloured;
    } cases[] = {
        {"select", "select:5"},                 // at the very end of the row
        {"select x", "select:5"},               // followed by a separator
        {"select;", "select:5 ;:7"},            // followed by an operator
        {"selectx", ""},                        // followed by a character that is no lexeme
        {"selection", ""},                      // the same, inside a longer word
        {"xselect", ""},                        // not behind a separator
        {"selectfrom", ""},                     // a word right behind a word cancels both
        {"selectfrom ", ""},                    // ... even when a separator follows
        {"a=select", "=:7 select:5"},           // an operator is a separator
        {"(select)", "(:7 select:5 ):7"},
        {"'select' select", "'select':4 select:5"}, // not in a string
    };
    for (const Case& c : cases) {
        CSrcEditLex editor;
        load(editor, c.row);
        EXPECT_EQ(c.coloured, coloured(editor, 0)) << c.row;
    }
}

// ---- Multi-line states.

TEST(LexStates, StringsAndCommentsCarryOverRows)
{
    struct Case {
        const char* text;
        const char* tags;
    } cases[] = {
        // A string of the first kind left open runs into the next rows.
        {"\"a\nb\nc\" x", "0:0+2/3.1 1:0+1/3.2 2:0+2/3.4"},
        // The same with the second kind.
        {"'a\nb'", "0:0+2/4.1 1:0+2/4.4"},
        // Two opens and one close leave the comment.
        {"/* /* */ select", "0:0+8/2.0 0:9+6/5.0"},
        {"/* a\n\nb */ x", "0:0+4/2.1 2:0+4/2.4"}, // an empty row keeps the state without a tag
        {"-- select /*\nselect", "0:0+12/2.0 1:0+6/5.0"},
        {"'a /* b' select", "0:0+8/4.0 0:9+6/5.0"},   // no comment inside a string
        {"/* 'a */ select", "0:0+8/2.0 0:9+6/5.0"},   // no string inside a comment
        {"/* \"a\n*/ x", "0:0+5/2.1 1:0+2/2.4"},      // nor across rows
        {"x */ y", ""},                               // a close without an open is nothing
    };
    for (const Case& c : cases) {
        CSrcEditLex editor;
        load(editor, c.text);
        EXPECT_EQ(c.tags, dumpTags(editor.GetTags())) << c.text;
        EXPECT_EQ(0, editor.checkInvariants()) << c.text;
    }
}

TEST(LexStates, LexProcStringHandsTheStatesOn)
{
    CSrcEditLex editor;
    load(editor, "x\n");
    WString text = W("a /* b");
    CEditString row(text.c_str());
    int comment = 0, string1 = 0, string2 = 0;
    CTagNode* last = editor.LexProcString(editor.GetTags().GetTail(), &row, 1, comment, string1, string2);
    EXPECT_EQ(1, comment);
    ASSERT_NE(nullptr, last);
    EXPECT_EQ("1:2+4/2.1", tagText(last));

    // A null row changes nothing and answers the tag it was given.
    EXPECT_EQ(last, editor.LexProcString(last, nullptr, 2, comment, string1, string2));
    EXPECT_EQ(1, comment);
}

// A lexer whose '#' starts a comment at the start of a row.
class HashCommentLexer : public CSrcEditLex {
public:
    bool startsLineComment(WChar c, CTagNode*, CEditString*, int) override { return c == '#'; }
};

TEST(LexStates, AnOperatorAtARowStartMayStartAComment)
{
    HashCommentLexer editor;
    std::vector<tagCTextLex> table = testTable();
    std::vector<tagCTextLex> more = makeTable({{"#", TLT_OPERATOR, 0}});
    table.insert(table.end(), more.begin(), more.end());
    editor.setTextLex(table.data(), int(table.size()));
    WString text = W("# select\nx # select");
    editor.setPlainText(text.c_str());
    EXPECT_EQ("# select:2", coloured(editor, 0));
    EXPECT_EQ("#:7 select:5", coloured(editor, 1));
}

// ---- Word motion.

TEST(LexWordMotion, StepsOverLexemeBoundaries)
{
    CSrcEditLex editor;
    load(editor, "select a,b   from t");
    WString row = W("select a,b   from t");
    const WChar* text = row.c_str();
    int n = int(row.size());
    struct Case {
        int pos;
        bool backward;
        int answer;
    } cases[] = {
        {0, false, 7},  {7, false, 8},   {8, false, 9},   {10, false, 13}, {13, false, 18},
        {19, false, 19}, {19, true, 18}, {18, true, 13},  {13, true, 9},   {9, true, 8},
        {0, true, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.answer, editor.GetNextLexPos(text, n, c.pos, c.backward))
            << c.pos << (c.backward ? " back" : " forth");

    // Without a table the position stays.
    CSrcEditLex bare;
    EXPECT_EQ(4, bare.GetNextLexPos(text, n, 4, false));
}

TEST(LexWordMotion, GetLexPosFindsTheWordUnderTheCaret)
{
    CSrcEditLex editor;
    load(editor, "select name,  total from t");
    WChar buffer[16];
    int start = 0, len = 15;
    // The word runs to the next word's start less the blanks: a comma right behind it
    // belongs to it.
    ASSERT_TRUE(editor.GetLexPos(9, 0, buffer, start, len));
    EXPECT_EQ(7, start);
    EXPECT_EQ(5, len);
    EXPECT_EQ("name,", A(buffer));

    len = 2; // the buffer takes only what it holds
    ASSERT_TRUE(editor.GetLexPos(16, 0, buffer, start, len));
    EXPECT_EQ(14, start);
    EXPECT_EQ(5, len);
    EXPECT_EQ("to", A(buffer, 2));

    EXPECT_FALSE(editor.GetLexPos(0, 5, nullptr, start, len));
}

} // namespace

// Tests of the editing engine, grouped by operation: loading, typing, line breaks,
// deleting, clipboard, indenting, search and replace, folds, bookmarks and the undo
// history itself.
#include "enginetesting.h"

#include <gtest/gtest.h>

namespace {

// ---- Loading.

TEST(EngineLoad, RowsFromText)
{
    struct Case {
        const char* text;
        std::vector<std::string> rows;
    } cases[] = {
        {"a\r\n", {"a"}},             // no empty row behind a final break
        {"a\nb", {"a", "b"}},
        {"a\r\nb\r\n\r\nc", {"a", "b", "\r", "c"}}, // a CR alone on its row stays
        {"", {""}},
        {"abc", {"abc"}},
        {"\n\n", {"", ""}},
    };
    for (const Case& c : cases) {
        CSrcEditEng e;
        load(e, c.text);
        ASSERT_EQ(e.GetRowCount(), int(c.rows.size())) << c.text;
        for (int i = 0; i < e.GetRowCount(); ++i)
            EXPECT_EQ(stored(e.GetString(i)), c.rows[std::size_t(i)]) << c.text;
        EXPECT_EQ(e.checkInvariants(), 0);
    }
    // The storage's own split keeps the empty row.
    std::unique_ptr<CEditStringArray> block(blockOf("a\r\n"));
    EXPECT_EQ(block->GetRowCount(), 2);
}

TEST(EngineLoad, NullTextIsOneRowOfALineFeed)
{
    CSrcEditEng e;
    e.setText(nullptr);
    ASSERT_EQ(e.GetRowCount(), 1);
    EXPECT_EQ(e.GetString(0)->GetLength(), 1);
    EXPECT_EQ(e.GetString(0)->GetData()[0], WChar('\n'));
}

TEST(EngineLoad, ClearsHistoryCaretAndBookmarksButNotModified)
{
    CSrcEditEng e;
    load(e, "one\ntwo");
    e.SetCaretPos(1, 1);
    type(e, "x");
    e.SetBookmark();
    EXPECT_TRUE(e.getModify());
    load(e, "new");
    EXPECT_EQ(e.undoArray().GetSize(), 0);
    EXPECT_EQ(e.GetStep(), 0);
    EXPECT_FALSE(e.isUndo());
    EXPECT_EQ(e.bookmarks().GetBookmarkCount(), 0);
    EXPECT_EQ(e.GetCaretRow(), 0);
    EXPECT_TRUE(e.getModify());
    WChar buffer[16];
    EXPECT_EQ(A(e.getText(buffer, 16)), "new");
}

// ---- Typing.

TEST(EngineTyping, InsertUndoRedo)
{
    RecordingEngine e;
    load(e, "ab");
    e.SetCaretPos(1, 0);
    EXPECT_TRUE(type(e, "xy"));
    EXPECT_EQ(text(e), "axyb");
    EXPECT_EQ(e.GetCaretCol(), 3);
    EXPECT_EQ(e.GetStep(), 2); // a character a step
    EXPECT_TRUE(e.undo());
    EXPECT_EQ(text(e), "axb");
    EXPECT_EQ(e.GetCaretCol(), 2);
    EXPECT_TRUE(e.isRedo());
    EXPECT_TRUE(e.redo());
    EXPECT_EQ(text(e), "axyb");
    EXPECT_EQ(e.GetCaretCol(), 3);
    EXPECT_FALSE(e.isRedo());
}

TEST(EngineTyping, TypingAfterUndoDropsRedo)
{
    CSrcEditEng e;
    load(e, "");
    type(e, "ab");
    e.undo();
    EXPECT_TRUE(e.isRedo());
    type(e, "c");
    EXPECT_FALSE(e.isRedo());
    EXPECT_FALSE(e.redo());
    EXPECT_EQ(text(e), "ac");
    e.undo();
    e.undo();
    EXPECT_EQ(text(e), "");
    EXPECT_FALSE(e.isUndo());
}

TEST(EngineTyping, OverwriteTabAndControlCharacters)
{
    CSrcEditEng e;
    load(e, "abcdefgh");
    e.setInsert(false);
    type(e, "XY");
    EXPECT_EQ(text(e), "XYcdefgh");
    e.SetCaretPos(7, 0);
    type(e, "12"); // runs past the end: the row grows
    EXPECT_EQ(text(e), "XYcdefg12");
    e.SetCaretPos(1, 0);
    WChar tab[] = {WChar('\t'), 0};
    EXPECT_TRUE(e.onChar(tab)); // only moves
    EXPECT_EQ(e.GetCaretCol(), 4);
    EXPECT_EQ(text(e), "XYcdefg12");
    for (int i = 0; i < 4; ++i)
        e.undo();
    EXPECT_EQ(text(e), "abcdefgh");

    e.setInsert(true);
    e.SetCaretPos(1, 0);
    e.onChar(tab); // tab as spaces: to the next stop
    EXPECT_EQ(text(e), "a   bcdefgh");
    EXPECT_EQ(e.GetCaretCol(), 4);
    e.setTabAsSpace(false);
    e.onChar(tab);
    EXPECT_EQ(text(e), "a   \tbcdefgh");
    WChar bell[] = {WChar(7), 0};
    WChar two[] = {WChar('a'), WChar('b'), 0};
    EXPECT_FALSE(e.onChar(bell));
    EXPECT_FALSE(e.onChar(two));
    e.setReadOnly(true);
    EXPECT_FALSE(type(e, "z"));
    EXPECT_EQ(text(e), "a   \tbcdefgh");
}

TEST(EngineTyping, LabelsAreNotEntered)
{
    CSrcEditEng e;
    load(e, "ab\ncd\nef");
    ASSERT_TRUE(e.CollapseBlock(1, 0, 1, 1, 1, nullptr)); // "a ... d"
    EXPECT_EQ(stored(e.GetString(0)), "a ... d");
    e.SetCaretPos(1, 0); // before the label: typing pushes it right
    type(e, "x");
    EXPECT_EQ(stored(e.GetString(0)), "ax ... d");
    e.setInsert(false);
    e.SetCaretPos(2, 0); // overwrite steps over the label
    type(e, "Q");
    EXPECT_EQ(stored(e.GetString(0)), "ax ... Q");
    EXPECT_EQ(text(e), "axb\r\ncQ\r\nef");
    EXPECT_EQ(e.checkInvariants(), 0);
}

TEST(EngineTyping, TabStepKeepsTheOddRepair)
{
    CSrcEditEng e;
    e.setTabStep(0); // the step in force (4) is good: 0 is stored
    EXPECT_EQ(e.getTabStep(), 0);
    e.setTabStep(8); // the step in force is bad: repaired to 4, 8 ignored
    EXPECT_EQ(e.getTabStep(), 4);
    e.setTabStep(8);
    EXPECT_EQ(e.getTabStep(), 8);
}

// ---- Line break.

TEST(EngineReturn, SplitsAndIndents)
{
    struct Case {
        const char* text;
        int col, row;
        bool indent;
        const char* expect;
        int caretCol;
    } cases[] = {
        {"abcd", 2, 0, true, "ab\r\ncd", 0},
        {"    abcd", 6, 0, true, "    ab\r\n    cd", 4},
        {"    abcd", 2, 0, true, "  \r\n    abcd", 2},        // caret inside the indent
        {"    x\n\nyz", 2, 2, true, "    x\r\n\r\nyz\r\n", 0}, // the row itself has text
        {"    x\n\n", 0, 1, true, "    x\r\n\r\n    ", 4},      // empty rows are passed
        {"  \tx", 4, 0, true, "  \tx\r\n  ", 2},              // a tab ends the count
        {"    abcd", 6, 0, false, "    ab\r\ncd", 0},
    };
    for (const Case& c : cases) {
        CSrcEditEng e;
        load(e, c.text);
        e.setIndent(c.indent);
        e.SetCaretPos(c.col, c.row);
        std::string before = text(e);
        ASSERT_TRUE(e.Return());
        EXPECT_EQ(text(e), c.expect) << c.text;
        EXPECT_EQ(e.GetCaretCol(), c.caretCol) << c.text;
        EXPECT_EQ(e.GetCaretRow(), c.row + 1);
        EXPECT_EQ(e.checkInvariants(), 0);
        e.undo();
        EXPECT_EQ(text(e), before);
        EXPECT_EQ(e.GetCaretCol(), c.col);
        e.redo();
        EXPECT_EQ(text(e), c.expect);
    }
}

TEST(EngineReturn, FoldBehindTheCaretMovesDownWithItsBookmark)
{
    CSrcEditEng e;
    load(e, "ab\nc1\nc2\nd");
    e.SetCaretPos(0, 2);
    e.SetBookmarkNum(3); // on "c2"
    ASSERT_TRUE(e.CollapseBlock(2, 0, 2, 2, 1, nullptr)); // "ab ... " + fold of "","c1","c2"
    std::string folded = picture(e.GetDocument());
    auto marksFolded = marks(e);
    e.SetCaretPos(1, 0);
    ASSERT_TRUE(e.Return());
    EXPECT_EQ(stored(e.GetString(1)), "b ... ");
    EXPECT_EQ(text(e), "a\r\nb\r\nc1\r\nc2\r\nd");
    auto m = marks(e);
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(std::get<0>(m[0]), 3); // "c2" is now line 3
    EXPECT_EQ(e.checkInvariants(), 0);
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
    EXPECT_EQ(marks(e), marksFolded);
}

// ---- BackSpace and Delete.

TEST(EngineDelete, BackSpaceAndDeleteCharacters)
{
    CSrcEditEng e;
    load(e, "abc\ndef");
    e.SetCaretPos(2, 0);
    EXPECT_TRUE(e.BackSpace());
    EXPECT_EQ(text(e), "ac\r\ndef");
    EXPECT_EQ(e.GetCaretCol(), 1);
    EXPECT_TRUE(e.Delete());
    EXPECT_EQ(text(e), "a\r\ndef");
    EXPECT_TRUE(e.Delete()); // at the end: joins
    EXPECT_EQ(text(e), "adef");
    EXPECT_EQ(e.GetCaretCol(), 1);
    e.SetCaretPos(4, 0);
    EXPECT_FALSE(e.Delete()); // end of the last row
    e.SetCaretPos(0, 0);
    EXPECT_FALSE(e.BackSpace());
    for (int i = 0; i < 3; ++i)
        e.undo();
    EXPECT_EQ(text(e), "abc\r\ndef");
    for (int i = 0; i < 3; ++i)
        e.redo();
    EXPECT_EQ(text(e), "adef");
}

TEST(EngineDelete, JoiningMovesTheBookmarkOnlyToARowWithout)
{
    for (bool upperHasOne : {false, true}) {
        CSrcEditEng e;
        load(e, "one\ntwo\nthree");
        if (upperHasOne) {
            e.SetCaretPos(0, 0);
            e.SetBookmarkNum(1);
        }
        e.SetCaretPos(0, 1);
        e.SetBookmarkNum(2);
        auto before = marks(e);
        ASSERT_TRUE(e.BackSpace());
        EXPECT_EQ(text(e), "onetwo\r\nthree");
        auto m = marks(e);
        ASSERT_EQ(m.size(), 1u);
        EXPECT_EQ(std::get<1>(m[0]), upperHasOne ? 1 : 2);
        EXPECT_EQ(std::get<0>(m[0]), 0);
        e.undo();
        EXPECT_EQ(marks(e), before);
        EXPECT_EQ(text(e), "one\r\ntwo\r\nthree");
        // The same from the other side.
        e.SetCaretPos(3, 0);
        ASSERT_TRUE(e.Delete());
        m = marks(e);
        ASSERT_EQ(m.size(), 1u);
        EXPECT_EQ(std::get<1>(m[0]), upperHasOne ? 1 : 2);
        e.undo();
        EXPECT_EQ(marks(e), before);
        EXPECT_EQ(e.checkInvariants(), 0);
    }
}

TEST(EngineDelete, LabelGoesWholeWithItsRowsAsOneStep)
{
    CSrcEditEng e;
    load(e, "ab\nc\nd\nef");
    e.SetCaretPos(0, 2);
    e.SetBookmark(); // on "d", to be hidden
    ASSERT_TRUE(e.CollapseBlock(1, 0, 1, 3, 1, nullptr)); // "a ... f"
    std::string folded = picture(e.GetDocument());
    auto foldedMarks = marks(e);
    ASSERT_EQ(foldedMarks.size(), 1u);
    int step = e.GetStep();
    e.SetCaretPos(6, 0); // behind the label
    ASSERT_TRUE(e.BackSpace());
    EXPECT_EQ(text(e), "af");
    EXPECT_EQ(e.GetStep(), step + 1);
    EXPECT_TRUE(marks(e).empty());
    EXPECT_EQ(e.checkInvariants(), 0);
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
    EXPECT_EQ(marks(e), foldedMarks);
    e.SetCaretPos(1, 0); // at the label's first column
    ASSERT_TRUE(e.Delete());
    EXPECT_EQ(text(e), "af");
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
    EXPECT_EQ(marks(e), foldedMarks);
}

TEST(EngineDelete, JoinSignalsAndParse)
{
    RecordingEngine e;
    load(e, "a\nb\nc");
    e.journal.clear();
    e.SetCaretPos(0, 2);
    e.BackSpace();
    EXPECT_EQ(e.journal, (std::vector<std::string>{"delete 2 1", "parse 1 1"}));
    e.journal.clear();
    e.undo();
    EXPECT_EQ(e.journal, (std::vector<std::string>{"insert 2 1", "parse 2 2", "parse 1 1", "undo"}));
}

// ---- Clipboard.

TEST(EngineClipboard, CopyCutPasteAsSingleSteps)
{
    CSrcEditEng e;
    MemoryClipboard clip;
    e.setClipboard(&clip);
    load(e, "one\ntwo\nthree");
    EXPECT_FALSE(e.ClipboardCopy());
    e.setSel(1, 0, 2, 1);
    EXPECT_TRUE(e.ClipboardCopy());
    EXPECT_EQ(A(clip.text), "ne\r\ntw");
    int step = e.GetStep();
    EXPECT_TRUE(e.ClipboardCut());
    EXPECT_EQ(text(e), "oo\r\nthree");
    EXPECT_EQ(e.GetStep(), step + 1);
    EXPECT_FALSE(e.isSel());
    e.SetCaretPos(5, 1);
    EXPECT_TRUE(e.ClipboardPaste());
    EXPECT_EQ(text(e), "oo\r\nthreene\r\ntw");
    EXPECT_EQ(e.GetCaretCol(), 2);
    EXPECT_EQ(e.GetCaretRow(), 2);
    EXPECT_EQ(e.GetStep(), step + 2);
    // Paste over a selection: still one step.
    clip.text = W("X");
    e.setSel(0, 0, 3, 1);
    EXPECT_TRUE(e.ClipboardPaste());
    EXPECT_EQ(text(e), "Xeene\r\ntw");
    EXPECT_EQ(e.GetStep(), step + 3);
    e.undo();
    EXPECT_EQ(text(e), "oo\r\nthreene\r\ntw");
    e.undo();
    e.undo();
    EXPECT_EQ(text(e), "one\r\ntwo\r\nthree");
    e.redo();
    e.redo();
    e.redo();
    EXPECT_EQ(text(e), "Xeene\r\ntw");
    clip.text.clear();
    EXPECT_FALSE(e.ClipboardPaste());
    EXPECT_EQ(e.checkInvariants(), 0);
}

TEST(EngineClipboard, DeleteKeepsTheFirstRowsBookmarkAndUndoGivesAllBack)
{
    CSrcEditEng e;
    load(e, "r0\nr1\nr2\nr3\nr4");
    for (int row : {1, 2, 3}) {
        e.SetCaretPos(0, row);
        e.SetBookmarkNum(row);
    }
    auto before = marks(e);
    e.setSel(1, 1, 1, 3);
    ASSERT_TRUE(e.ClipboardDelete());
    EXPECT_EQ(text(e), "r0\r\nr3\r\nr4");
    auto m = marks(e);
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(std::get<1>(m[0]), 1); // row1's own stays
    EXPECT_EQ(e.checkInvariants(), 0);
    e.undo();
    EXPECT_EQ(marks(e), before);
    EXPECT_EQ(text(e), "r0\r\nr1\r\nr2\r\nr3\r\nr4");
}

TEST(EngineClipboard, TabIndentsAndUnindentsRows)
{
    struct Case {
        const char* text;
        int c1, r1, c2, r2;
        bool back, spaces;
        const char* expect;
        int endCol, endRow;
    } cases[] = {
        {"a\nb\nc", 0, 0, 0, 2, false, true, "    a\r\n    b\r\nc", 1, 2}, // ends at column 0 of the last row
        {"a\nb\nc", 0, 0, 1, 1, false, true, "    a\r\n    b\r\nc", 0, 2},
        {"a\n\nc", 0, 0, 1, 2, false, true, "    a\r\n\r\n    c", 5, 2}, // last row of the document
        {"  a\n      b\nc", 0, 0, 1, 1, true, true, "a\r\n  b\r\nc", 0, 2},
        {"\ta\n\t\tb", 0, 0, 1, 1, true, false, "a\r\n\tb", 2, 1},
        {"a\nb", 0, 0, 1, 1, false, false, "\ta\r\n\tb", 2, 1},
    };
    for (const Case& c : cases) {
        CSrcEditEng e;
        load(e, c.text);
        e.setTabAsSpace(c.spaces);
        e.setSel(c.c1, c.r1, c.c2, c.r2);
        std::string before = text(e);
        ASSERT_TRUE(e.ClipboardTab(c.back)) << c.text;
        EXPECT_EQ(text(e), c.expect) << c.text;
        int c1, r1, c2, r2;
        ASSERT_TRUE(e.getSel(c1, r1, c2, r2));
        EXPECT_EQ(c1, 0);
        EXPECT_EQ(r1, c.r1);
        EXPECT_EQ(c2, c.endCol) << c.text;
        EXPECT_EQ(r2, c.endRow) << c.text;
        e.undo();
        EXPECT_EQ(text(e), before);
    }
    // Tab with a selection goes to ClipboardTab, Shift+Tab unindents.
    CSrcEditEng e;
    load(e, "  x\ny");
    e.setSel(0, 0, 1, 0);
    e.setBackTab(true);
    WChar tab[] = {WChar('\t'), 0};
    e.onChar(tab);
    EXPECT_EQ(text(e), "x\r\ny");
}

// ---- Search and replace.

TEST(EngineSearch, FindForwardAndBackward)
{
    RecordingEngine e;
    load(e, "abc abc\nxabc");
    e.setFindText(W("abc").c_str());
    EXPECT_TRUE(e.FindNext());
    int c1, r1, c2, r2;
    ASSERT_TRUE(e.getSel(c1, r1, c2, r2));
    EXPECT_EQ(std::make_tuple(c1, r1, c2, r2), std::make_tuple(0, 0, 3, 0));
    EXPECT_TRUE(e.FindTextW());
    EXPECT_EQ(e.searchState().lastCol, 4);
    EXPECT_TRUE(e.FindTextW());
    EXPECT_EQ(e.searchState().lastRow, 1);
    EXPECT_FALSE(e.FindTextW());
    EXPECT_EQ(e.notFound, 1);
    EXPECT_EQ(A(e.notFoundText()), "Cannot find the string 'abc'.");
    // Backward from the last match does not find it again.
    e.searchState().forward = false;
    EXPECT_TRUE(e.FindNext());
    EXPECT_EQ(std::make_pair(e.searchState().lastCol, e.searchState().lastRow), std::make_pair(4, 0));
    EXPECT_TRUE(e.FindNext());
    EXPECT_EQ(std::make_pair(e.searchState().lastCol, e.searchState().lastRow), std::make_pair(0, 0));
    EXPECT_FALSE(e.FindNext());
    e.searchState().wholeWord = true;
    e.searchState().forward = true;
    e.SetCaretPos(0, 1);
    EXPECT_FALSE(e.FindNext()); // "xabc" is no whole word
}

TEST(EngineSearch, ReplaceOneAndAll)
{
    CSrcEditEng e;
    load(e, "a.b a.b\na.b");
    e.setFindText(W("a.b").c_str());
    e.setReplaceText(W("Q").c_str());
    EXPECT_FALSE(e.ReplaceTextW()); // no selection
    EXPECT_TRUE(e.FindNext());
    EXPECT_TRUE(e.ReplaceTextW());
    EXPECT_EQ(text(e), "Q a.b\r\na.b");
    EXPECT_EQ(e.GetCaretCol(), 1);
    int step = e.GetStep();
    EXPECT_TRUE(e.ReplaceAll());
    EXPECT_EQ(text(e), "Q Q\r\nQ");
    EXPECT_EQ(e.GetStep(), step + 1);
    e.undo();
    EXPECT_EQ(text(e), "Q a.b\r\na.b");
    e.undo();
    EXPECT_EQ(text(e), "a.b a.b\r\na.b");
    e.setFindText(W("zz").c_str());
    EXPECT_FALSE(e.ReplaceAll());
    // Only the selection, when not the whole file.
    e.searchState().wholeFile = false;
    e.setFindText(W("a.b").c_str());
    e.setSel(2, 0, 7, 0);
    EXPECT_TRUE(e.ReplaceAll());
    EXPECT_EQ(text(e), "a.b Q\r\na.b");
}

TEST(EngineSearch, ReplaceAllUnfoldsHiddenMatchesAsAStepOfTheirOwn)
{
    CSrcEditEng e;
    load(e, "xx\nx(x\n)x\nxx");
    ASSERT_TRUE(e.CollapseBlock(1, 1, 1, 2, 6, nullptr)); // row 1: "x ( ... ) x"
    std::string folded = picture(e.GetDocument());
    e.setFindText(W("x").c_str());
    e.setReplaceText(W("y").c_str());
    int step = e.GetStep();
    EXPECT_TRUE(e.ReplaceAll());
    EXPECT_EQ(text(e), "yy\r\ny(y\r\n)y\r\nyy");
    EXPECT_EQ(e.GetRowCount(), 4);
    // The replacements up to the fold are one step; the unfolding opens the next, which
    // takes the rest.
    EXPECT_EQ(e.GetStep(), step + 2);
    e.undo();
    EXPECT_EQ(e.GetRowCount(), 3);
    EXPECT_EQ(stored(e.GetString(1)), "y ( ... ) x");
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
}

// Finds without unfolding, so that a match in hidden text stands at its label.
class FoldedFindEngine : public CSrcEditEng {
public:
    bool FindString(int& col, int& row, const WChar* text, bool wholeWord, bool matchCase, bool forward,
                    bool) override
    {
        if (!CSrcEditEng::FindString(col, row, text, wholeWord, matchCase, forward, true))
            return false;
        for (int i = 0; i < GetRowCount(); ++i)
            if (GetString(i)->GeneralId() == row) {
                col = GetString(i)->Abs2VisPos(col);
                row = i;
                return true;
            }
        return false;
    }
};

TEST(EngineSearch, ReplaceAllStopsAtALabelAndLeavesTheStepOpen)
{
    FoldedFindEngine e;
    load(e, "xx\nx(x\n)x\nxx");
    ASSERT_TRUE(e.CollapseBlock(1, 1, 1, 2, 6, nullptr));
    e.setFindText(W("x").c_str());
    e.setReplaceText(W("y").c_str());
    int step = e.GetStep();
    EXPECT_FALSE(e.ReplaceAll()); // the hidden "x" stands at the label
    EXPECT_EQ(e.GetStep(), step + 1);
    EXPECT_EQ(stored(e.GetString(0)), "yy");
    EXPECT_EQ(stored(e.GetString(1)), "y ( ... ) x");
    EXPECT_EQ(e.checkInvariants(), 0);
    e.undo();
    EXPECT_EQ(stored(e.GetString(0)), "xx");
    EXPECT_EQ(stored(e.GetString(1)), "x ( ... ) x");
}

// ---- Folds.

TEST(EngineFolds, CollapseExpandUndoRedo)
{
    RecordingEngine e;
    load(e, "a{\n b\n}c\nd");
    std::string flat = picture(e.GetDocument());
    e.journal.clear();
    ASSERT_TRUE(e.CollapseBlock(1, 0, 1, 2, 5, nullptr));
    EXPECT_EQ(e.journal.front(), "delete 1 2");
    EXPECT_EQ(stored(e.GetString(0)), "a { ... } c");
    EXPECT_EQ(e.GetRowCount(), 2);
    EXPECT_EQ(text(e), "a{\r\n b\r\n}c\r\nd");
    EXPECT_FALSE(e.getModify()); // folds do not modify the text
    std::string folded = picture(e.GetDocument());
    ASSERT_TRUE(e.ExpandBlock(3, 0));
    EXPECT_EQ(picture(e.GetDocument()), flat);
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), flat);
    e.redo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
    EXPECT_FALSE(e.getModify());
    // Bad ranges.
    EXPECT_FALSE(e.CollapseBlock(0, 1, 0, 5, 1, nullptr));
    EXPECT_FALSE(e.CollapseBlock(0, 0, 0, 1, 9, nullptr));
    EXPECT_FALSE(e.CollapseBlock(3, 0, 0, 1, 1, nullptr)); // starts inside the label
    EXPECT_FALSE(e.ExpandBlock(0, 0));
    EXPECT_EQ(e.checkInvariants(), 0);
}

TEST(EngineFolds, LabelsSurviveUndoAndRedo)
{
    CSrcEditEng e;
    load(e, "aa\nbb\ncc");
    const WString custom = W("<my block>");
    ASSERT_TRUE(e.CollapseBlock(1, 0, 1, 1, 8, custom.c_str()));
    UNDO* collapse = e.undoArray().GetUndo(e.undoArray().GetSize() - 1);
    ASSERT_EQ(collapse->action, UA_COLLAPSE_BLOCK);
    EXPECT_EQ(A(collapse->redoLabel), "<my block>");
    std::string folded = picture(e.GetDocument());
    e.undo();
    e.redo();
    EXPECT_EQ(picture(e.GetDocument()), folded);
    ASSERT_TRUE(e.ExpandBlock(1, 0));
    UNDO* expand = e.undoArray().GetUndo(e.undoArray().GetSize() - 1);
    ASSERT_EQ(expand->action, UA_EXPAND_BLOCK);
    EXPECT_EQ(A(expand->undoLabel), "<my block>");
    EXPECT_EQ(expand->type, 8);
    e.undo();
    EXPECT_EQ(picture(e.GetDocument()), folded);

    // A standard type keeps no label.
    load(e, "aa\nbb\ncc");
    ASSERT_TRUE(e.CollapseBlock(1, 0, 1, 1, 3, nullptr));
    ASSERT_TRUE(e.ExpandBlock(1, 0));
    expand = e.undoArray().GetUndo(e.undoArray().GetSize() - 1);
    EXPECT_EQ(expand->undoLabel, nullptr);
    e.undo();
    EXPECT_EQ(stored(e.GetString(0)), "a loop ... endloop b");
}

TEST(EngineFolds, BookmarkInsideSurvivesCollapseExpandAndTheirUndo)
{
    CSrcEditEng e;
    load(e, "r0\nr1\nr2\nr3");
    e.SetCaretPos(0, 2);
    e.SetBookmarkNum(5);
    auto original = marks(e);
    ASSERT_TRUE(e.CollapseBlock(1, 1, 1, 3, 1, nullptr));
    EXPECT_EQ(marks(e), original);
    CEditString* hidden = e.GetDocument()->GenRowId2String(2);
    ASSERT_NE(hidden, nullptr);
    EXPECT_FALSE(hidden->visible());
    EXPECT_NE(e.BookmarkAt(hidden), nullptr);
    ASSERT_TRUE(e.ExpandBlock(2, 1));
    EXPECT_EQ(marks(e), original);
    e.undo();
    EXPECT_EQ(marks(e), original);
    e.undo();
    EXPECT_EQ(marks(e), original);
    e.undo();
    EXPECT_TRUE(marks(e).empty());
    EXPECT_EQ(e.checkInvariants(), 0);
}

// ---- Bookmarks.

TEST(EngineBookmarks, ArrayRules)
{
    CBookmarkArray array;
    CEditString a, b;
    const WString f = W("f.sql"), g = W("g.sql");
    EXPECT_EQ(array.AddBookmark(f.c_str(), nullptr, 1), -1);
    EXPECT_EQ(array.AddBookmark(f.c_str(), &a, 1), 1);
    EXPECT_EQ(array.AddBookmark(f.c_str(), &a, 2), 1); // replaces: one a row and file
    EXPECT_EQ(array.AddBookmark(g.c_str(), &a, 3), 2);
    EXPECT_EQ(array.AddBookmark(nullptr, &b, 0), 3);
    EXPECT_EQ(A(array.GetAt(2)->fileName), "");
    int key = -5;
    EXPECT_EQ(array.GetBookmarkForStr(f.c_str(), &a, key), 0);
    EXPECT_EQ(key, 2);
    CEditString* row = nullptr;
    WString name;
    EXPECT_TRUE(array.GetBookmarkAtKey(3, row, &name));
    EXPECT_EQ(row, &a);
    EXPECT_EQ(A(name), "g.sql");
    EXPECT_FALSE(array.DelBookmarkForStr(f.c_str(), &a, 7));
    EXPECT_TRUE(array.DelBookmarkForStr(f.c_str(), &a, -1));
    // A dead entry goes when met.
    array.GetAt(0)->row = nullptr;
    EXPECT_EQ(array.GetBookmark(0), nullptr);
    EXPECT_EQ(array.GetBookmarkCount(), 1);
    EXPECT_TRUE(array.DelAllBookmark(nullptr));
    EXPECT_EQ(array.GetBookmarkCount(), 0);
    tagBOOKMARK x(&a, 1, nullptr), y(&a, 1, WSTR("")), z(&b, 1, nullptr);
    EXPECT_TRUE(x == y);
    EXPECT_FALSE(x == z);
}

TEST(EngineBookmarks, SetAndNumberedKeysAreUndoable)
{
    CSrcEditEng e;
    e.SetAssignedFileName(W("q.sql").c_str());
    load(e, "a\nb\nc");
    e.SetCaretPos(0, 0);
    EXPECT_TRUE(e.SetBookmark());
    ASSERT_NE(e.BookmarkAt(e.GetString(0)), nullptr);
    EXPECT_TRUE(e.SetBookmark()); // toggles off
    EXPECT_EQ(e.BookmarkAt(e.GetString(0)), nullptr);
    e.SetBookmarkNum(4);
    e.SetCaretPos(0, 2);
    e.SetBookmarkNum(4); // the key moves here
    auto m = marks(e);
    ASSERT_EQ(m.size(), 1u);
    EXPECT_EQ(m[0], std::make_tuple(2, 4, true));
    e.SetCaretPos(0, 1);
    EXPECT_TRUE(e.GoToBookmarkNum(4));
    EXPECT_EQ(e.GetCaretRow(), 2);
    e.undo();
    EXPECT_EQ(marks(e), (std::vector<std::tuple<int, int, bool>>{std::make_tuple(0, 4, true)}));
    e.undo();
    e.undo();
    e.undo();
    EXPECT_TRUE(marks(e).empty());
    EXPECT_FALSE(e.getModify());
    EXPECT_FALSE(e.SetBookmarkNum(10));
    EXPECT_FALSE(e.SetAssignedFileName(nullptr));
    EXPECT_FALSE(e.SetAssignedFileName(WString(261, WChar('n')).c_str()));
}

TEST(EngineBookmarks, OtherFilesAreLeftAlone)
{
    CSrcEditEng e;
    e.SetAssignedFileName(W("mine.sql").c_str());
    load(e, "a\nb");
    CEditString foreign;
    e.bookmarks().AddBookmark(W("other.sql").c_str(), &foreign, 7);
    e.SetCaretPos(0, 1);
    e.SetBookmarkNum(7); // key 7 of another file stays there
    EXPECT_EQ(e.bookmarks().GetBookmarkCount(), 2);
    load(e, "x");
    EXPECT_EQ(e.bookmarks().GetBookmarkCount(), 1);
    e.bookmarks().DelAllBookmark(nullptr);
}

// ---- The history itself.

TEST(EngineUndo, StepOfSeveralRecordsUndoesInReverse)
{
    RecordingEngine e;
    load(e, "x");
    e.SetCaretPos(1, 0);
    e.UndoNextStep();
    e.UndoStrInsert(0, W("a").c_str(), 1, 1);
    e.SetCaretPos(2, 0);
    e.UndoStrInsert(0, W("b").c_str(), 1, 2);
    e.SetCaretPos(3, 0);
    e.UndoStrInsert(0, W("c").c_str(), 1, 3);
    e.SetCaretPos(4, 0);
    e.UndoCommitStep();
    EXPECT_EQ(text(e), "xabc");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(e.undoArray().GetUndo(i)->caretColAfter, 4);
    // Undo of the middle record alone would leave "xac"; in reverse each finds its place.
    EXPECT_TRUE(e.undo());
    EXPECT_EQ(text(e), "x");
    EXPECT_EQ(e.GetCaretCol(), 1); // the first record's caret before
    int current, last;
    e.GetUndoInfo(current, last);
    EXPECT_EQ(current, 0);
    EXPECT_EQ(last, 1);
    EXPECT_EQ(e.GetAppliedCount(), 0);
    EXPECT_TRUE(e.redo());
    EXPECT_EQ(text(e), "xabc");
    EXPECT_EQ(e.GetCaretCol(), 4);
}

TEST(EngineUndo, OldestRecordsLeaveAtTheBound)
{
    CSrcEditEng e;
    load(e, "");
    for (int i = 0; i < CUndoArray::Limit; ++i) {
        e.UndoNextStep();
        e.InsertNoneUndo();
        e.UndoCommitStep();
    }
    EXPECT_EQ(e.undoArray().GetSize(), CUndoArray::Limit);
    EXPECT_EQ(e.undoArray().GetUndo(0)->step, 1);
    type(e, "a");
    EXPECT_EQ(e.undoArray().GetSize(), CUndoArray::Limit);
    EXPECT_EQ(e.undoArray().GetUndo(0)->step, 2);
    EXPECT_FALSE(e.isRedo());
    EXPECT_EQ(e.checkInvariants(), 0);
    EXPECT_TRUE(e.undo());
    EXPECT_EQ(text(e), "");
    EXPECT_TRUE(e.isRedo());
    EXPECT_TRUE(e.redo());
    EXPECT_FALSE(e.isRedo());
    EXPECT_EQ(text(e), "a");
    EXPECT_TRUE(e.undoArray().DelAllUndo());
    EXPECT_FALSE(e.undoArray().DelAllUndo());
}

TEST(EngineUndo, MakersRefuseBadPlacesWithoutRecording)
{
    CSrcEditEng e;
    load(e, "ab\ncd");
    ASSERT_TRUE(e.CollapseBlock(1, 0, 1, 1, 1, nullptr)); // "a ... d"
    int records = e.undoArray().GetSize();
    e.UndoNextStep();
    EXPECT_FALSE(e.UndoStrChange(0, W("zz").c_str(), 0, 2)); // meets the label
    EXPECT_FALSE(e.UndoStrChange(0, W("z").c_str(), 9, 1));
    EXPECT_FALSE(e.UndoStrInsert(0, W("z").c_str(), 1, 3)); // inside the label
    EXPECT_FALSE(e.UndoStrDelete(0, 2, 1));
    EXPECT_FALSE(e.UndoStrDelete(0, 0, 99));
    EXPECT_FALSE(e.UndoDelString(5));
    EXPECT_FALSE(e.UndoDelSmartText(0, 0, 0, 4));
    int ec, er;
    EXPECT_FALSE(e.UndoInsText(W("x").c_str(), 0, 7, ec, er));
    EXPECT_FALSE(e.UndoCollapseBlock(0, 0, 1, 0, 0, nullptr));
    EXPECT_FALSE(e.UndoInsertBookmark(nullptr, 1, false));
    CEditString loose;
    EXPECT_FALSE(e.UndoInsertBookmark(&loose, 1, false));
    EXPECT_EQ(e.undoArray().GetSize(), records);
    e.UndoCommitStep(); // the empty step gets its placeholder
    EXPECT_EQ(e.undoArray().GetSize(), records + 1);
    EXPECT_EQ(e.undoArray().GetUndo(records)->action, UA_NONE);
    EXPECT_TRUE(e.undo());
    EXPECT_TRUE(e.undo());
    EXPECT_EQ(stored(e.GetString(0)), "ab");
    EXPECT_EQ(e.checkInvariants(), 0);
}

} // namespace

// Tests of one row: edits around labels, the loss reports of raw edits, copies and moves
// of folds between rows, search, marks and lexeme lists.
#include "storagetesting.h"

#include <vexapi/srcedit/cbookmarklookup.h>
#include <vexapi/srcedit/clexdata.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

// A block holding one row "a ... bc": the label " ... " at column 1 hides the two rows
// "X" and "YZW", one character more than the label, so that columns shift by one. The
// block is the row's owner, so row counts can be watched.
struct LabelledRow {
    LabelledRow() : block(new CEditStringArray())
    {
        CEditString* label = CEditString::fromBlock(blockOf("X\r\nYZW"), 1);
        row = new CEditString(W("abc").c_str());
        row->InsertEditString(label, 1, 0, false);
        delete label;
        block->AddString(row);
    }
    std::unique_ptr<CEditStringArray> block;
    CEditString* row;
};

} // namespace

TEST(CEditString, LabelFirstColumnHasNoOwnerButHoldsTheSegment)
{
    LabelledRow f;
    ASSERT_EQ("a ... bc", stored(f.row));
    EXPECT_EQ(nullptr, f.row->ownerOf(1));
    EXPECT_NE(nullptr, f.row->segmentAt(1));
    EXPECT_NE(nullptr, f.row->ownerOf(2));
    EXPECT_NE(nullptr, f.row->ownerOf(5));
    EXPECT_EQ(nullptr, f.row->ownerOf(6)); // just behind the label
    EXPECT_EQ(nullptr, f.row->segmentAt(6));
    EXPECT_EQ(nullptr, f.row->segmentAt(0));
    EXPECT_TRUE(f.row->segmentsIntersect(5, 6));
    EXPECT_FALSE(f.row->segmentsIntersect(6, 8));
    EXPECT_FALSE(f.row->segmentsIntersect(0, 1));
    EXPECT_EQ(2, f.row->totalRows());
    EXPECT_EQ(0, f.block->checkInvariants());
}

TEST(CEditString, TypingAtTheLabelMovesItAndInsideIsRefused)
{
    SegmentsErrorRecorder errors;
    LabelledRow f;
    EXPECT_TRUE(f.row->InsertPlainText(W("Q").c_str(), 1));
    EXPECT_EQ("aQ ... bc", stored(f.row));
    EXPECT_EQ(2, f.row->segmentAt(2)->col());
    EXPECT_FALSE(f.row->InsertPlainText(W("Q").c_str(), 3));
    EXPECT_EQ("aQ ... bc", stored(f.row));
    EXPECT_EQ("aQX\r\nYZWbc", expanded(f.row));
    EXPECT_TRUE(errors.messages().empty());
    EXPECT_EQ(0, f.block->checkInvariants());
}

TEST(CEditString, RawEditsIntoALabelLoseTheFoldWithAReport)
{
    struct Case {
        int col, delta;
        const char* message; // null: the label survives
        int labelCol;
    } cases[] = {
        {2, 1, "SEGMENTS ERROR: INSERTION IN SEGMENT", -1},
        {3, -2, "SEGMENTS ERROR: INSERTION IN SEGMENT", -1},      // a deletion from inside
        {0, -2, "SEGMENTS ERROR: DELETION WITHOUT UNDO MANAGEMENT", -1},
        {1, -1, "SEGMENTS ERROR: DELETION WITHOUT UNDO MANAGEMENT", -1},
        {0, -1, nullptr, 0}, // ends at the label: the label moves left
        {1, 3, nullptr, 4},  // at the label's first column: it moves right
        {6, 4, nullptr, 1},  // behind it: nothing moves
        {3, 0, nullptr, 1},  // no change at all
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "col " << c.col << " delta " << c.delta);
        SegmentsErrorRecorder errors;
        LabelledRow f;
        f.row->manageSegmentsCols(c.col, c.delta);
        if (c.message) {
            ASSERT_EQ(1u, errors.messages().size());
            EXPECT_EQ(c.message, errors.messages()[0]);
            EXPECT_FALSE(f.row->hasSegments());
            // The hidden rows are gone from every count.
            EXPECT_EQ(1, f.row->totalRows());
            EXPECT_EQ(1, f.block->totalRows());
            EXPECT_EQ(0, f.block->subRows());
        } else {
            EXPECT_TRUE(errors.messages().empty());
            ASSERT_TRUE(f.row->hasSegments());
            EXPECT_EQ(c.labelCol, f.row->GetSegment(0)->col());
            EXPECT_EQ(2, f.block->totalRows());
        }
    }
}

TEST(CEditString, CopyAndCutNeverCutALabel)
{
    SegmentsErrorRecorder errors;
    struct Case {
        int from, to;
        const char* copied;
        int folds;
    } cases[] = {
        {2, 8, "bc", 0},     // from inside the label: moves to its end
        {0, 3, "a", 0},      // to inside the label: moves to its start
        {0, 6, "a ... ", 1}, // the whole label
        {1, -1, " ... bc", 1},
        {3, 4, "", 0}, // both ends in the label
        {5, 2, "", 0}, // invalid
        {0, 9, "", 0}, // beyond the row
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << ".." << c.to);
        LabelledRow f;
        std::unique_ptr<CEditString> copy(f.row->CopyEditString(c.from, c.to));
        EXPECT_EQ(c.copied, stored(copy.get()));
        EXPECT_EQ(c.folds, copy->SegmentsCount());
        EXPECT_EQ("a ... bc", stored(f.row));
        if (c.folds) {
            // A deep copy: its own block with the same text.
            EXPECT_NE(f.row->GetSegment(0)->block(), copy->GetSegment(0)->block());
            EXPECT_EQ("X\r\nYZW", expanded(copy->GetSegment(0)->block()));
            EXPECT_FALSE(copy->GetSegment(0)->block()->actual());
        }
        std::unique_ptr<CEditString> cut(f.row->CutEditString(c.from, c.to));
        EXPECT_EQ(c.copied, stored(cut.get()));
        EXPECT_EQ(c.folds, cut->SegmentsCount());
        EXPECT_EQ(2 - c.folds, f.block->totalRows());
        EXPECT_EQ(0, f.block->checkInvariants());
    }
    EXPECT_TRUE(errors.messages().empty());
}

TEST(CEditString, DeleteEditStringTakesWholeFoldsOnly)
{
    SegmentsErrorRecorder errors;
    LabelledRow f;
    EXPECT_TRUE(f.row->DeleteEditString(3, 7)); // from inside the label: only "b" goes
    EXPECT_EQ("a ... c", stored(f.row));
    EXPECT_EQ(2, f.block->totalRows());
    EXPECT_TRUE(f.row->DeleteEditString(0, 6));
    EXPECT_EQ("c", stored(f.row));
    EXPECT_EQ(1, f.block->totalRows());
    EXPECT_FALSE(f.row->DeleteEditString(0, 5));
    EXPECT_TRUE(errors.messages().empty());
    EXPECT_EQ(0, f.block->checkInvariants());
}

TEST(CEditString, CatAndInsertCarryFoldsByCopyOrMove)
{
    for (bool copy : {true, false}) {
        SCOPED_TRACE(copy ? "copy" : "move");
        LabelledRow f;
        CEditString* target = new CEditString(W("12").c_str());
        f.block->AddString(target);
        CTextSegment* before = f.row->GetSegment(0);
        EXPECT_FALSE(target->InsertEditString(f.row, 1, 3, copy)); // from inside the label
        EXPECT_FALSE(target->CatEditString(f.row, 9, copy));
        EXPECT_TRUE(target->InsertEditString(f.row, 1, 1, copy));
        EXPECT_EQ("1 ... bc2", stored(target));
        EXPECT_EQ(1, target->GetSegment(0)->col());
        EXPECT_EQ(copy ? "a ... bc" : "a", stored(f.row));
        if (copy)
            EXPECT_NE(before, target->GetSegment(0));
        else
            EXPECT_EQ(before, target->GetSegment(0)); // the same fold moved
        EXPECT_EQ(copy ? 4 : 3, f.block->totalRows());
        EXPECT_EQ(0, f.block->checkInvariants());
        EXPECT_FALSE(target->InsertEditString(target, 0, 0, copy));
    }
}

TEST(CEditString, ChangeOverwritesAndGrowsWithNul)
{
    CEditString row(W("abcdef").c_str());
    EXPECT_TRUE(row.Change(W("XY").c_str(), 2));
    EXPECT_EQ("abXYef", stored(&row));
    EXPECT_TRUE(row.Change(W("123").c_str(), 5));
    EXPECT_EQ(8, row.GetLength());
    EXPECT_EQ("abXYe123", stored(&row));
    EXPECT_TRUE(row.Change(W("Z").c_str(), 10));
    EXPECT_EQ(11, row.GetLength());
    EXPECT_EQ(0, row.GetData()[8]);
    EXPECT_EQ(0, row.GetData()[9]);
    EXPECT_EQ(WChar('Z'), row.GetData()[10]);
    EXPECT_EQ(0, row.GetData()[11]);
    EXPECT_FALSE(row.Change(nullptr, 0));
    EXPECT_FALSE(row.Change(W("a").c_str(), -1));
}

TEST(CEditString, TextConstructorsMarkTheFirstNonBlankColumn)
{
    EXPECT_EQ(-1, CEditString().inconsistentPos());
    EXPECT_EQ(4, CEditString(W(" \t\r x").c_str()).inconsistentPos());
    EXPECT_EQ(-1, CEditString(W("   ").c_str()).inconsistentPos());
    CEditString part(W("  ab").c_str(), 2);
    EXPECT_EQ(-1, part.inconsistentPos());
    EXPECT_EQ(2, part.GetLength());
    EXPECT_TRUE(part.consistent());
    CEditString row(W("  a b").c_str());
    EXPECT_EQ(4, row.hasText(3, -1));
    EXPECT_EQ(-1, row.hasText(3, 4));
    EXPECT_EQ(-1, row.hasText(4, 9));
}

TEST(CEditString, FindStrCases)
{
    struct Case {
        const char* text;
        const char* find;
        int pos;
        bool wholeWord, matchCase, forward;
        int expected;
    } cases[] = {
        {"abcabc", "abc", 3, false, true, false, 0}, // the match at 3 ends beyond pos
        {"abcabc", "abc", 6, false, true, false, 3},
        {"abcabc", "abc", 1, false, true, true, 3},
        {"abcabc", "abc", 4, false, true, true, -1},
        {"abcabc", "ABC", 0, false, false, true, 0},
        {"abcabc", "ABC", 0, false, true, true, -1},
        {"xab ab", "ab", 0, true, true, true, 4}, // "ab" inside "xab" is no word
        {"ab(ab)", "ab", 6, true, true, false, 3},
        {"abab ab", "ab", 4, true, true, false, -1},
        {"abab ab", "ab", 7, true, true, false, 5},
        {"a.b", "b", 0, true, true, true, 2},
        {"abc", "", 0, false, true, true, -1},
        {"", "a", 0, false, true, true, -1},
        {"abc", "a", 4, false, true, true, -1},
        {"ab", "abc", 0, false, true, true, -1},
        {"Привет мир", "МИР", 0, true, false, true, 7},
        {"Ünïcode", "üNÏ", 0, false, false, true, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.text << " / " << c.find << " from " << c.pos);
        CEditString row(W(c.text).c_str());
        EXPECT_EQ(c.expected, row.FindString(W(c.find).c_str(), c.pos, c.wholeWord, c.matchCase, c.forward));
    }
    EXPECT_EQ(-1, CEditString(W("abc").c_str()).FindString(nullptr, 0, false, true, true));
}

TEST(CEditString, StrStrScansBothWays)
{
    WString t = W("xyxyx");
    WString f = W("yx");
    EXPECT_EQ(1, CEditString::StrStr(t.data(), 5, f.data(), 2, true));
    EXPECT_EQ(3, CEditString::StrStr(t.data(), 5, f.data(), 2, false));
    EXPECT_EQ(-1, CEditString::StrStr(t.data(), 1, f.data(), 2, true));
}

TEST(CEditString, FindStringSearchesTheExpansionOfAFoldedRow)
{
    LabelledRow f;
    // "a ... bc" expands to "aX\r\nYZWbc".
    std::string flat = expanded(f.row);
    EXPECT_EQ(int(flat.find("YZ")), f.row->FindString(W("YZ").c_str(), 0, false, true, true));
    EXPECT_EQ(int(flat.find("bc")), f.row->FindString(W("bc").c_str(), 6, false, true, true));
    // From a visible column inside the label the search starts where its text starts.
    EXPECT_EQ(int(flat.find("X")), f.row->FindString(W("X").c_str(), 3, false, true, true));
    EXPECT_EQ(-1, f.row->FindString(W("a").c_str(), 1, false, true, true));
    EXPECT_EQ(-1, f.row->FindString(W("a").c_str(), 9, false, true, true));
    EXPECT_EQ(0, f.row->FindString(W("a").c_str(), 1, false, true, false));
}

TEST(CEditString, BitmapsIgnoreIndexesOutsideTheGutter)
{
    CEditString row;
    VexAPI::Bitmap* mark = reinterpret_cast<VexAPI::Bitmap*>(&row); // only kept, never used
    for (int i = -1; i <= CEditString::BitmapCount; ++i)
        row.SetBitmap(mark, i);
    EXPECT_EQ(nullptr, row.GetBitmap(-1));
    EXPECT_EQ(nullptr, row.GetBitmap(CEditString::BitmapCount));
    for (int i = 0; i < CEditString::BitmapCount; ++i)
        EXPECT_EQ(mark, row.GetBitmap(i));
}

TEST(CEditString, LinkedLexemesKeepColumnOrderAndCursorsFilterByType)
{
    CEditString row(W("if a then b endif").c_str());
    CLexData* open1 = new CLexData(1, LT_OPEN, 0, 2, nullptr);
    CLexData* close1 = new CLexData(2, LT_CLOSE, 12, 5, nullptr);
    CLexData* open2 = new CLexData(3, LT_OPEN, 5, 4, nullptr);
    CLexData* open3 = new CLexData(4, LT_OPEN, 5, 1, nullptr); // same column: goes behind
    row.InsLinkedLex(close1);
    row.InsLinkedLex(open1);
    row.InsLinkedLex(open2);
    row.InsLinkedLex(open3);
    std::vector<int> names;
    row.resetLIT();
    while (CLexData* l = row.GetNextLex())
        names.push_back(l->name);
    EXPECT_EQ((std::vector<int>{1, 3, 4, 2}), names);
    EXPECT_EQ(&row, open2->owner);

    names.clear();
    row.resetOpenLIT();
    while (CLexData* l = row.GetPrevOpenLex())
        names.push_back(l->name);
    EXPECT_EQ((std::vector<int>{4, 3, 1}), names);
    row.resetCloseLIT();
    EXPECT_EQ(close1, row.GetNextCloseLex());
    EXPECT_EQ(nullptr, row.GetNextCloseLex());
    EXPECT_EQ(close1, row.GetNextCloseLex()); // from the end the walk starts again

    // Deleting the lexeme under a cursor lets the walk go on with the next one.
    row.resetLIT();
    EXPECT_EQ(open1, row.GetNextLex());
    EXPECT_EQ(open2, row.GetNextLex());
    EXPECT_TRUE(row.DelLinkedLex(open2));
    EXPECT_EQ(open3, row.GetNextLex());
    CLexData stranger(9, LT_OPEN, 0, 0, nullptr);
    EXPECT_FALSE(row.DelLinkedLex(&stranger));

    EXPECT_EQ(close1, row.ContainsLexOfName(2));
    EXPECT_EQ(nullptr, row.ContainsLexOfName(2, LT_OPEN));
    EXPECT_EQ(open1, row.ContainsLexOfName(1, LT_OPEN));
}

TEST(CEditString, PartnersForgetADeletedLexeme)
{
    CEditString a, b;
    CLexData* open = new CLexData(1, LT_OPEN, 0, 1, nullptr);
    CLexData* close = new CLexData(2, LT_CLOSE, 0, 1, nullptr);
    a.InsLinkedLex(open);
    b.InsLinkedLex(close);
    CLexData::link(open, close);
    EXPECT_EQ(close, open->endLex);
    EXPECT_EQ(open, close->beginLex);
    b.ClearLinkedLexes();
    EXPECT_EQ(nullptr, open->endLex);
}

TEST(CEditString, SimpleLexemesSortOrAppendAndAreFoundThroughFolds)
{
    LabelledRow f; // "a ... bc" expands to "aX\r\nYZWbc": "bc" stands at absolute column 7
    CLexData* bc = new CLexData(7, LT_NONE, 7, 2, nullptr);
    CLexData* a = new CLexData(8, LT_NONE, 0, 1, nullptr);
    CLexData* tail = new CLexData(9, LT_NONE, 0, 1, nullptr);
    f.row->InsSimpleLex(bc);
    f.row->InsSimpleLex(a);
    f.row->InsSimpleLex(tail, true);
    std::vector<int> names;
    f.row->resetSimpleLIT();
    while (CLexData* l = f.row->GetNextSimpleLex())
        names.push_back(l->name);
    EXPECT_EQ((std::vector<int>{8, 7, 9}), names);
    EXPECT_EQ(bc, f.row->GetSimpleLexAtCol(6)); // visible 6 is absolute 7
    EXPECT_EQ(bc, f.row->GetSimpleLexAtCol(7));
    EXPECT_EQ(nullptr, f.row->GetSimpleLexAtCol(8));
    f.row->resetSimpleLIT(bc);
    EXPECT_EQ(tail, f.row->GetNextSimpleLex());
    CLexData foreign(1, LT_NONE, 0, 1, nullptr);
    f.row->resetSimpleLIT(&foreign);
    EXPECT_EQ(a, f.row->GetNextSimpleLex());
    EXPECT_TRUE(f.row->DelSimpleLex(a));
    EXPECT_FALSE(f.row->DelSimpleLex(&foreign));
}

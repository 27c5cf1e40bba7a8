// Tests of a block's row list and its editing across rows: adoption and release of rows,
// moving rows between blocks, the smart insert, delete and cut, and the life of folds'
// blocks.
#include "storagetesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

std::vector<std::string> rowsOf(const CEditStringArray* block)
{
    std::vector<std::string> rows;
    for (int i = 0; i < block->GetRowCount(); ++i)
        rows.push_back(stored(block->GetString(i)));
    return rows;
}

} // namespace

TEST(CEditStringArray, FromPlainTextSplitsAtLineFeeds)
{
    struct Case {
        const char* text;
        std::vector<std::string> rows;
    } cases[] = {
        {"", {""}},
        {"a\r\n", {"a", ""}},
        {"a\nb", {"a", "b"}},
        {"\r\n", {"", ""}},
        {"a\r\r\nb", {"a\r", "b"}}, // one CR only goes with the LF
        {"a\rb", {"a\rb"}},
        {"x\r\n\r\ny", {"x", "", "y"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::unique_ptr<CEditStringArray> block(blockOf(c.text));
        EXPECT_EQ(c.rows, rowsOf(block.get()));
        EXPECT_EQ(0, block->checkInvariants());
        EXPECT_EQ(int(c.rows.size()), block->totalRows());
    }
    std::unique_ptr<CEditStringArray> none(CEditStringArray::fromPlainText(nullptr));
    EXPECT_EQ(std::vector<std::string>{""}, rowsOf(none.get()));
    std::unique_ptr<CEditStringArray> part(CEditStringArray::fromPlainText(W("ab\ncd").c_str(), 4));
    EXPECT_EQ((std::vector<std::string>{"ab", "c"}), rowsOf(part.get()));
}

TEST(CEditStringArray, RowsAreAdoptedOnceAndReleasedWithoutDeletion)
{
    CEditStringArray block;
    CEditString* a = new CEditString(W("a").c_str());
    CEditString* b = new CEditString(W("bb").c_str());
    EXPECT_EQ(1, block.AddString(a));
    EXPECT_EQ(0, block.AddString(a)); // already in a block
    EXPECT_EQ(0, block.AddString(nullptr));
    EXPECT_FALSE(block.InsString(b, 2));
    EXPECT_TRUE(block.InsString(b, 0));
    EXPECT_EQ((std::vector<std::string>{"bb", "a"}), rowsOf(&block));
    EXPECT_EQ(&block, a->oBlock());
    EXPECT_EQ(1, a->absRowId());
    EXPECT_EQ(2, block.GetColCount());
    EXPECT_TRUE(block.DelString(b));
    EXPECT_EQ(nullptr, b->oBlock());
    EXPECT_EQ(-10, b->absRowId());
    EXPECT_EQ(0, a->absRowId());
    EXPECT_FALSE(block.DelString(b));
    EXPECT_FALSE(block.DelString(5));
    EXPECT_EQ(0, block.checkInvariants());
    delete b; // a free row is its own
    // A row deleted while in a block leaves it.
    delete a;
    EXPECT_EQ(0, block.GetRowCount());
}

TEST(CEditStringArray, GrowthKeepsOneFreePlaceInWholeSteps)
{
    CEditStringArray block;
    for (int i = 0; i < 49; ++i)
        block.AddString(new CEditString());
    EXPECT_EQ(50, block.Capacity());
    block.AddString(new CEditString());
    EXPECT_EQ(100, block.Capacity());
    EXPECT_TRUE(block.GrowUpBy(51));
    EXPECT_EQ(200, block.Capacity());
    std::unique_ptr<CEditStringArray> many(blockOf(std::string(120, '\n')));
    CEditStringArray target;
    ASSERT_TRUE(target.InsertBlock(many.get(), 0));
    ASSERT_TRUE(many->DeleteBlock(0, many->GetRowCount(), false));
    EXPECT_EQ(121, target.GetRowCount());
    EXPECT_GT(target.Capacity(), 121);
    EXPECT_EQ(0, target.Capacity() % target.GrowStep());
    EXPECT_EQ(0, target.checkInvariants());
}

TEST(CEditStringArray, InsertBlockMovesRowsAndTheSourceIsEmptiedApart)
{
    std::unique_ptr<CEditStringArray> target(blockOf("1\r\n2"));
    std::unique_ptr<CEditStringArray> source(blockOf("a\r\nb b\r\nc"));
    ASSERT_TRUE(collapse(source.get(), 1, 1, 3, 1)); // "b ... " hides " b" in row 1
    ASSERT_TRUE(target->InsertBlock(source.get(), 1));
    // Until it is emptied the source still lists rows that are no longer its own.
    EXPECT_EQ(2, source->checkInvariants());
    EXPECT_FALSE(target->InsertBlock(source.get(), 0));
    ASSERT_TRUE(source->DeleteBlock(0, source->GetRowCount(), false));
    EXPECT_EQ(0, source->checkInvariants());
    EXPECT_EQ(0, source->totalRows());
    EXPECT_EQ((std::vector<std::string>{"1", "a", "b ... ", "c", "2"}), rowsOf(target.get()));
    EXPECT_EQ(5, target->totalRows());
    EXPECT_EQ(0, target->checkInvariants());
    EXPECT_FALSE(target->InsertBlock(target.get(), 0));
    EXPECT_FALSE(target->InsertBlock(source.get(), 9));
    EXPECT_TRUE(target->DeleteBlock(1, 3, true));
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), rowsOf(target.get()));
    EXPECT_FALSE(target->DeleteBlock(1, 2, true));
    EXPECT_FALSE(target->DeleteBlock(-1, 1, true));
}

TEST(CEditStringArray, SmartInsertJoinsFirstAndLastRows)
{
    struct Case {
        const char* inserted;
        int col;
        const char* result;
        int endCol, endRow;
    } cases[] = {
        {"XY", 2, "abXYcd\r\nef", 4, 0},
        {"X\r\nY", 2, "abX\r\nYcd\r\nef", 1, 1},
        {"X\r\n1\r\n2\r\nY", 0, "X\r\n1\r\n2\r\nYabcd\r\nef", 1, 3},
        {"\r\n", 4, "abcd\r\n\r\nef", 0, 1},
        {"", 1, "abcd\r\nef", 1, 0},
    };
    for (bool copy : {true, false}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << c.inserted << " at " << c.col << (copy ? " copied" : " moved"));
            std::unique_ptr<CEditStringArray> doc(blockOf("abcd\r\nef"));
            std::unique_ptr<CEditStringArray> source(blockOf(c.inserted));
            int endCol = -1, endRow = -1;
            ASSERT_TRUE(doc->insSmartText(source.get(), copy, c.col, 0, endCol, endRow));
            EXPECT_EQ(c.result, expanded(doc.get()));
            EXPECT_EQ(c.endCol, endCol);
            EXPECT_EQ(c.endRow, endRow);
            EXPECT_EQ(copy ? c.inserted : "", expanded(source.get()));
            int lines = int(std::count(c.inserted, c.inserted + std::strlen(c.inserted), '\n')) + 1;
            EXPECT_EQ(copy ? lines : 0, source->GetRowCount());
            EXPECT_EQ(0, doc->checkInvariants());
            EXPECT_EQ(0, source->checkInvariants());
        }
    }
    std::unique_ptr<CEditStringArray> doc(blockOf("abcd"));
    std::unique_ptr<CEditStringArray> source(blockOf("x"));
    int endCol, endRow;
    EXPECT_FALSE(doc->insSmartText(nullptr, true, 0, 0, endCol, endRow));
    EXPECT_FALSE(doc->insSmartText(source.get(), true, 5, 0, endCol, endRow));
    EXPECT_FALSE(doc->insSmartText(source.get(), true, 0, 1, endCol, endRow));
    EXPECT_FALSE(doc->insSmartText(doc.get(), true, 0, 0, endCol, endRow));
    CEditStringArray empty;
    EXPECT_FALSE(doc->insSmartText(&empty, true, 0, 0, endCol, endRow));
}

TEST(CEditStringArray, SmartCutCopyAndDeleteAcrossRowsWithFolds)
{
    const char* text = "one\r\ntwo three\r\nfour\r\nfive";
    for (bool copy : {true, false}) {
        SCOPED_TRACE(copy ? "copy" : "cut");
        std::unique_ptr<CEditStringArray> doc(blockOf(text));
        ASSERT_TRUE(collapse(doc.get(), 3, 1, 2, 2)); // "two ... ur": hides " three\r\nfo"
        ASSERT_EQ((std::vector<std::string>{"one", "two ... ur", "five"}), rowsOf(doc.get()));
        CEditStringArray dest;
        ASSERT_TRUE(doc->getSmartText(&dest, copy, 1, 0, 2, 2));
        EXPECT_EQ((std::vector<std::string>{"ne", "two ... ur", "fi"}), rowsOf(&dest));
        EXPECT_EQ("ne\r\ntwo three\r\nfour\r\nfi", expanded(&dest));
        EXPECT_EQ(copy ? text : "ove", expanded(doc.get()));
        EXPECT_EQ(copy ? 4 : 1, doc->totalRows());
        EXPECT_EQ(4, dest.totalRows());
        EXPECT_EQ(0, doc->checkInvariants());
        EXPECT_EQ(0, dest.checkInvariants());
        EXPECT_FALSE(doc->getSmartText(&dest, copy, 0, 0, 1, 0)); // dest is not empty
    }
    std::unique_ptr<CEditStringArray> doc(blockOf(text));
    ASSERT_TRUE(collapse(doc.get(), 3, 1, 2, 2));
    CEditStringArray dest;
    EXPECT_FALSE(doc->getSmartText(&dest, true, 5, 1, 1, 2)); // starts inside the label
    EXPECT_FALSE(doc->getSmartText(&dest, true, 0, 1, 1, 3));
    EXPECT_FALSE(doc->delSmartText(0, 0, 5, 1));              // ends inside the label
    EXPECT_FALSE(doc->delSmartText(2, 0, 1, 0));
    EXPECT_TRUE(doc->delSmartText(2, 0, 8, 1)); // takes the fold along
    EXPECT_EQ("onur\r\nfive", expanded(doc.get()));
    EXPECT_EQ(2, doc->totalRows());
    EXPECT_TRUE(doc->delSmartText(1, 0, -1, 1));
    EXPECT_EQ("o", expanded(doc.get()));
    EXPECT_EQ(0, doc->checkInvariants());
}

TEST(CEditStringArray, CopyContentsIsDeep)
{
    std::unique_ptr<CEditStringArray> doc(blockOf("a b\r\nc\r\nd"));
    ASSERT_TRUE(collapse(doc.get(), 1, 0, 1, 1));
    std::unique_ptr<CEditStringArray> copy(CEditStringArray::copyContents(doc.get()));
    EXPECT_EQ(expanded(doc.get()), expanded(copy.get()));
    EXPECT_EQ(doc->totalRows(), copy->totalRows());
    EXPECT_NE(doc->GetString(0)->GetSegment(0)->block(), copy->GetString(0)->GetSegment(0)->block());
    EXPECT_EQ(nullptr, copy->oSegment());
    doc.reset();
    EXPECT_EQ("a b\r\nc\r\nd", expanded(copy.get()));
    EXPECT_EQ(0, copy->checkInvariants());
    std::unique_ptr<CEditStringArray> one(CEditStringArray::fromEditString(copy->GetString(0), 1, -1));
    EXPECT_EQ(" b\r\nc", expanded(one.get()));
    EXPECT_EQ(2, one->totalRows());
}

TEST(CTextSegment, ConstructionQualifiesOnlyWithABlockAndALabel)
{
    WString custom = W("<<proc>>");
    struct Case {
        bool block;
        int type;
        const WChar* label;
        bool wellFormed;
        const char* shortText;
        bool ownLabel;
    } cases[] = {
        {true, 1, nullptr, true, " ... ", false},
        {true, 7, nullptr, true, " [ ... ] ", false},
        {true, 8, nullptr, false, " ... ", false},
        {true, 0, nullptr, false, " ... ", false},
        {true, 8, custom.c_str(), true, "<<proc>>", true},
        {true, 3, custom.c_str(), true, "<<proc>>", false},
        {false, 2, nullptr, false, " ... ", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.type << (c.label ? " labelled" : ""));
        CEditStringArray* block = c.block ? blockOf("x") : nullptr;
        CTextSegment segment(block, c.type, c.label);
        EXPECT_EQ(c.wellFormed, segment.isWellFormed());
        EXPECT_EQ(c.shortText, A(segment.shortText()));
        EXPECT_EQ(int(std::string(c.shortText).size()), segment.shortLength());
        EXPECT_EQ(c.ownLabel, segment.hasOwnLabel());
        if (!c.wellFormed) {
            EXPECT_EQ(1, segment.type());
            EXPECT_EQ(nullptr, segment.block());
            delete block; // not taken: still the caller's
        } else {
            EXPECT_EQ(&segment, block->oSegment());
        }
    }
    std::unique_ptr<CEditStringArray> owned(blockOf("x"));
    CTextSegment first(owned.get(), 1);
    CTextSegment second(owned.get(), 1); // the block already has a fold
    EXPECT_FALSE(second.isWellFormed());
    first.setBlock(new CEditStringArray()); // release `owned` before it is deleted
    EXPECT_EQ(nullptr, owned->oSegment());
}

TEST(CTextSegment, SetBlockMovesTheRowCountsAndReleasesTheOldBlock)
{
    std::unique_ptr<CEditStringArray> doc(blockOf("a\r\nb\r\nc\r\nd"));
    ASSERT_TRUE(collapse(doc.get(), 1, 0, 1, 1)); // a ... : hides "\r\nb"
    CTextSegment* fold = doc->GetString(0)->GetSegment(0);
    ASSERT_EQ(4, doc->totalRows());
    std::unique_ptr<CEditStringArray> old(fold->block());
    int length = doc->textLength(); // counted now, so the swap must make it stale
    EXPECT_FALSE(fold->setBlock(nullptr));
    EXPECT_FALSE(fold->setBlock(old.get()));
    EXPECT_TRUE(fold->setBlock(blockOf("1\r\n2\r\n3")));
    EXPECT_EQ(nullptr, old->oSegment());
    EXPECT_EQ(5, doc->totalRows());
    EXPECT_EQ(3, doc->GetString(1)->absRowId());
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ(length - 3 + 7, doc->textLength());
    EXPECT_EQ("a1\r\n2\r\n3\r\nc\r\nd", expanded(doc.get()));
}

TEST(CTextSegment, AHiddenBlockDeletedDirectlyLeavesTheCountsRight)
{
    std::unique_ptr<CEditStringArray> doc(blockOf("a\r\nb\r\nc\r\nd"));
    ASSERT_TRUE(collapse(doc.get(), 1, 0, 1, 2)); // hides three rows
    CTextSegment* fold = doc->GetString(0)->GetSegment(0);
    CEditString* last = doc->GetString(1);
    ASSERT_EQ(3, last->GeneralId());
    delete fold->block();
    EXPECT_EQ(nullptr, fold->block());
    // A fold without a block counts no rows, not even the one of its label's row.
    EXPECT_EQ(0, fold->totalRows());
    EXPECT_EQ(0, doc->GetString(0)->totalRows());
    EXPECT_EQ(0, last->GeneralId());
    EXPECT_EQ(6, doc->checkInvariants()); // a fold without a block is not well formed
    EXPECT_TRUE(doc->GetString(0)->DelSegment(fold, true));
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ((std::vector<std::string>{"a", "d"}), rowsOf(doc.get()));
    EXPECT_EQ(1, last->GeneralId());
}

TEST(CEditString, FromBlockWrapsABlockInALabelRow)
{
    CEditStringArray* block = blockOf("x\r\ny");
    std::unique_ptr<CEditString> row(CEditString::fromBlock(block, 5));
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(" { ... } ", stored(row.get()));
    EXPECT_EQ("x\r\ny", expanded(row.get()));
    EXPECT_EQ(2, row->totalRows());
    EXPECT_EQ(row.get(), row->GetSegment(0)->oString());
    EXPECT_EQ(0, row->checkInvariants());
    CEditStringArray* other = blockOf("z");
    EXPECT_EQ(nullptr, CEditString::fromBlock(other, 9));
    delete other;
}

TEST(CEditString, InsSegmentChecksTheLabelInTheText)
{
    CEditString row(W("ab ... cd ... ").c_str());
    CTextSegment* wrongPlace = new CTextSegment(blockOf("x"), 1, nullptr, 1);
    EXPECT_FALSE(row.InsSegment(wrongPlace));
    wrongPlace->setCol(2);
    EXPECT_TRUE(row.InsSegment(wrongPlace));
    CTextSegment* overlap = new CTextSegment(blockOf("y"), 1, nullptr, 5);
    EXPECT_FALSE(row.InsSegment(overlap));
    overlap->setCol(9);
    EXPECT_TRUE(row.InsSegment(overlap));
    EXPECT_FALSE(row.InsSegment(overlap)); // already linked
    CTextSegment* beyond = new CTextSegment(blockOf("z"), 1, nullptr, 12);
    EXPECT_FALSE(row.InsSegment(beyond));
    delete beyond;
    EXPECT_EQ(2, row.SegmentsCount());
    EXPECT_EQ(wrongPlace, row.GetSegment(0));
    EXPECT_EQ(1, row.idOfSegment(overlap));
    EXPECT_EQ("abxcdy", expanded(&row));
    EXPECT_EQ(0, row.checkInvariants());
    EXPECT_EQ(2, row.delSegments(0, -1, true));
    EXPECT_EQ("abcd", stored(&row));
}

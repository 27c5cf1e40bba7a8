// Tests of the coordinate systems and row numbers on a document with nested folds, at
// its edges: first and last rows, columns inside labels, empty rows, empty documents.
#include "storagetesting.h"

#include <vexapi/srcedit/cbookmarklookup.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>

namespace {

const char* const kText = "begin\r\n"
                          "  if a then\r\n"
                          "    x := 1;\r\n"
                          "  endif;\r\n"
                          "  loop\r\n"
                          "    y := 2;\r\n"
                          "  endloop;\r\n"
                          "end;";

// The document above with three folds:
//   top row 0  "begin"
//   top row 1  "  " + B" ... " + L" loop ... endloop " + ";"
//                B hides  "if a then" + N" if ... endif " + ";"  and  "  loop"
//                         N hides  "", "    x := 1;", "  endif"
//                L hides  "", "    y := 2;", "  endloop"
//   top row 2  "end;"
class NestedFolds : public testing::Test {
protected:
    void SetUp() override
    {
        doc.reset(blockOf(kText));
        ASSERT_TRUE(collapse(doc.get(), 11, 1, 7, 3, 2));
        ASSERT_TRUE(collapse(doc.get(), 6, 2, 9, 4, 3));
        ASSERT_TRUE(collapse(doc.get(), 2, 1, 6, 2, 1));
        r1 = doc->GetString(1);
        B = r1->GetSegment(0);
        L = r1->GetSegment(1);
        N = B->block()->GetString(0)->GetSegment(0);
    }

    std::unique_ptr<CEditStringArray> doc;
    CEditString* r1 = nullptr;
    CTextSegment* B = nullptr;
    CTextSegment* L = nullptr;
    CTextSegment* N = nullptr;
};

} // namespace

TEST_F(NestedFolds, ShapeAndCounts)
{
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ(kText, expanded(doc.get()));
    EXPECT_EQ(3, doc->GetRowCount());
    EXPECT_EQ(8, doc->totalRows());
    EXPECT_EQ(5, doc->subRows());
    EXPECT_EQ("   ...  loop ... endloop ;", stored(r1));
    EXPECT_EQ(2, B->col());
    EXPECT_EQ(7, L->col());
    EXPECT_EQ(4, B->totalRows());
    EXPECT_EQ(2, B->GetRowCount());
    EXPECT_EQ(3, L->totalRows());
    EXPECT_EQ(6, r1->totalRows());
    EXPECT_EQ(0, r1->OffsetOfSegment(B));
    EXPECT_EQ(3, r1->OffsetOfSegment(L));
    EXPECT_EQ(-1, r1->OffsetOfSegment(N));
    EXPECT_EQ(B, r1->SegmentOfOffset(3)); // the line both share goes to the first
    EXPECT_EQ(L, r1->SegmentOfOffset(4));
    EXPECT_EQ(nullptr, r1->SegmentOfOffset(6));
}

TEST_F(NestedFolds, EveryLineHasOneRowThatStartsItWithItsThreeNumbers)
{
    struct Line {
        const char* text; // the stored text of the row that starts the line
        int visRow;       // index in its own block
        int absRow;       // rows before it in its block, hidden ones counted
        int depth;        // folds above it
    } lines[] = {
        {"begin", 0, 0, 0},
        {"   ...  loop ... endloop ;", 1, 1, 0},
        {"    x := 1;", 1, 1, 2},
        {"  endif", 2, 2, 2},
        {"  loop", 1, 3, 1},
        {"    y := 2;", 1, 1, 1},
        {"  endloop", 2, 2, 1},
        {"end;", 2, 7, 0},
    };
    for (int id = 0; id < 8; ++id) {
        SCOPED_TRACE(testing::Message() << "line " << id);
        CEditString* row = doc->GenRowId2String(id);
        ASSERT_NE(nullptr, row);
        EXPECT_EQ(lines[id].text, stored(row));
        EXPECT_EQ(id, row->GeneralId());
        EXPECT_EQ(lines[id].visRow, row->visRowId());
        EXPECT_EQ(lines[id].absRow, row->absRowId());
        EXPECT_EQ(lines[id].visRow, row->oBlock()->Abs2VisRowId(row->absRowId(), false));
        EXPECT_EQ(lines[id].absRow, row->oBlock()->Vis2AbsRowId(row->visRowId()));
        int depth = 0;
        for (CTextSegment* s = row->oBlock()->oSegment(); s; s = s->oString()->oBlock()->oSegment())
            ++depth;
        EXPECT_EQ(lines[id].depth, depth);
        // The row's text starts where its line starts in the unfolded document.
        std::string flat = kText;
        std::size_t start = 0;
        for (int k = 0; k < id; ++k)
            start = flat.find("\r\n", start) + 2;
        EXPECT_EQ(int(start), row->AbsPosInBlock(doc.get(), 0));
        CEditString* owner = id == 0 || id == 1 || id == 7 ? row : r1;
        EXPECT_EQ(owner, row->visibleOwnerString());
    }
    EXPECT_EQ(nullptr, doc->GenRowId2String(8));
    EXPECT_EQ(nullptr, doc->GenRowId2String(-1));
    // Rows that share a line with the row before them carry that line's number.
    EXPECT_EQ(1, B->block()->GetString(0)->GeneralId());
    EXPECT_EQ(1, N->block()->GetString(0)->GeneralId());
    EXPECT_EQ(4, L->block()->GetString(0)->GeneralId());
    EXPECT_EQ(1, B->GeneralId());
    EXPECT_EQ(4, L->GeneralId());
    EXPECT_EQ(B, N->block()->GetString(1)->visibleOwnerSegment());
    EXPECT_EQ(nullptr, doc->GetString(0)->visibleOwnerSegment());
    // A free row has no numbers.
    CEditString free;
    EXPECT_EQ(-10, free.absRowId());
    EXPECT_EQ(-10, free.visRowId());
    EXPECT_EQ(0, free.GeneralId());
    EXPECT_EQ(nullptr, free.visibleOwnerString());
}

TEST_F(NestedFolds, HiddenRowNumbersOnTheTopBlock)
{
    struct Case {
        int absRow;
        bool nearest;
        int expected;
    } cases[] = {
        {0, false, 0}, {1, false, 1}, {2, false, -10}, {2, true, 1}, {6, true, 1},
        {7, false, 2}, {7, true, 2},  {8, true, -10},  {-1, true, -10},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.absRow << (c.nearest ? " nearest" : ""));
        EXPECT_EQ(c.expected, doc->Abs2VisRowId(c.absRow, c.nearest));
    }
    EXPECT_EQ(-10, doc->Vis2AbsRowId(3));
    EXPECT_EQ(-10, doc->Vis2AbsRowId(-1));
}

TEST_F(NestedFolds, ColumnsOfARowWithTwoFolds)
{
    // B's text is 40 characters for a label of 5, L's 24 for 18: shifts of 35 and 6.
    ASSERT_EQ(40, B->textLength());
    ASSERT_EQ(24, L->textLength());
    struct Pair {
        int vis, abs;
    } visToAbs[] = {
        {0, 0}, {2, 2}, {4, 2}, {6, 2}, {7, 42}, {10, 42}, {24, 42}, {25, 66}, {26, 67},
    };
    for (const Pair& p : visToAbs)
        EXPECT_EQ(p.abs, r1->Vis2AbsPos(p.vis)) << "visible " << p.vis;
    Pair absToVis[] = {
        {0, 0}, {2, 2}, {2, 3}, {2, 41}, {7, 42}, {7, 65}, {25, 66}, {26, 67}, {-1, 68}, {-1, -1},
    };
    for (const Pair& p : absToVis)
        EXPECT_EQ(p.vis, r1->Abs2VisPos(p.abs)) << "absolute " << p.abs;
    EXPECT_EQ(67, r1->textLength());
    EXPECT_EQ(2 + 40, r1->textLength(0, 7));
    EXPECT_EQ(6 + 35, r1->textLength(1, 7)); // B's col lies in [1, 7)
    EXPECT_EQ(3, r1->textLength(3, 6));      // inside B's label: no fold starts there
    EXPECT_EQ(0, r1->textLength(5, 3));
    EXPECT_EQ(0, r1->textLength(0, 27));
    EXPECT_EQ(2, B->AbsPosInOString());
    EXPECT_EQ(42, L->AbsPosInOString());

    int* abs = r1->copyAbsCols();
    int* vis = r1->copyVisCols();
    int* lengths = r1->copyLengths();
    int* shorts = r1->copyShortLens(1);
    EXPECT_EQ(2, abs[0]);
    EXPECT_EQ(42, abs[1]);
    EXPECT_EQ(7, vis[1]);
    EXPECT_EQ(24, lengths[1]);
    EXPECT_EQ(5, shorts[0]);
    delete[] abs;
    delete[] vis;
    delete[] lengths;
    delete[] shorts;
    EXPECT_EQ(nullptr, doc->GetString(0)->copyAbsCols());
}

TEST_F(NestedFolds, EveryPositionOfTheTextFindsItsDeepestRow)
{
    std::string flat = kText;
    int n = int(flat.size());
    ASSERT_EQ(n, doc->textLength());
    for (int p = 0; p <= n; ++p) {
        SCOPED_TRACE(testing::Message() << "position " << p);
        int pos = p;
        CEditString* row = doc->AbsPos2String(pos);
        ASSERT_NE(nullptr, row);
        // No position lands strictly inside a fold of the row found.
        EXPECT_EQ(nullptr, row->ownerOf(row->Abs2VisPos(pos)));
        if (p > 0 && flat[std::size_t(p) - 1] == '\r') {
            // Between CR and LF: the end of the row.
            EXPECT_EQ(row->textLength(), pos);
            EXPECT_EQ(p - 1, row->AbsPosInBlock(doc.get(), pos));
        } else {
            EXPECT_EQ(p, row->AbsPosInBlock(doc.get(), pos));
        }
    }
    // The edges: the first position, a label's first column, the end and past it.
    int pos = 0;
    EXPECT_EQ(doc->GetString(0), doc->AbsPos2String(pos));
    pos = 9; // where B's text starts: the row holding the label, not the fold
    EXPECT_EQ(r1, doc->AbsPos2String(pos));
    EXPECT_EQ(2, pos);
    pos = 10;
    EXPECT_EQ(B->block()->GetString(0), doc->AbsPos2String(pos));
    EXPECT_EQ(1, pos);
    pos = n + 1;
    EXPECT_EQ(doc->GetString(2), doc->AbsPos2String(pos));
    EXPECT_EQ(4, pos);
    pos = n + 2;
    EXPECT_EQ(nullptr, doc->AbsPos2String(pos));
    pos = -1;
    EXPECT_EQ(nullptr, doc->AbsPos2String(pos));
    // On a row, positions up to the line break answer the row's end.
    pos = 69;
    EXPECT_EQ(r1, r1->AbsPos2String(pos));
    EXPECT_EQ(67, pos);
    pos = 70;
    EXPECT_EQ(nullptr, r1->AbsPos2String(pos));
}

TEST_F(NestedFolds, RangesOfTheBlockMatchTheUnfoldedText)
{
    std::string flat = kText;
    // Every pair of visible positions outside labels, over the three top rows.
    struct Place {
        int col, row;
    };
    std::vector<Place> places;
    for (int row = 0; row < doc->GetRowCount(); ++row)
        for (int col = 0; col <= doc->GetString(row)->GetLength(); ++col)
            if (!doc->GetString(row)->ownerOf(col))
                places.push_back({col, row});
    std::vector<WChar> buffer(flat.size() + 1);
    for (const Place& a : places) {
        for (const Place& b : places) {
            if (b.row < a.row || (b.row == a.row && b.col < a.col))
                continue;
            CEditString* ra = doc->GetString(a.row);
            CEditString* rb = doc->GetString(b.row);
            int from = ra->AbsPosInBlock(doc.get(), ra->Vis2AbsPos(a.col));
            int to = rb->AbsPosInBlock(doc.get(), rb->Vis2AbsPos(b.col));
            std::string expect = flat.substr(std::size_t(from), std::size_t(to - from));
            int written = doc->toPlainText(buffer.data(), a.col, a.row, b.col, b.row, int(buffer.size()));
            ASSERT_EQ(expect, A(buffer.data())) << a.col << "," << a.row << " - " << b.col << "," << b.row;
            EXPECT_EQ(int(expect.size()) + 1, written);
            EXPECT_EQ(int(expect.size()), doc->textLength(a.col, a.row, b.col, b.row));
        }
    }
    EXPECT_EQ(0, doc->textLength(0, 2, 0, 1));
    EXPECT_EQ(0, doc->textLength(0, -1, 0, 1));
    EXPECT_EQ(0, doc->textLength(0, 0, 0, 3));
    EXPECT_EQ(int(flat.size()) - 5, doc->textLength(5, 0, -1, 2));
}

TEST_F(NestedFolds, PlainTextStopsAtTheCapacity)
{
    WChar buffer[8];
    EXPECT_EQ(6, doc->toPlainText(buffer, 6));
    EXPECT_EQ("begin", A(buffer));
    EXPECT_EQ(6, doc->toPlainText(buffer, 6, false));
    EXPECT_EQ("begin\r", A(buffer, 6));
    EXPECT_EQ(0, doc->toPlainText(nullptr, 6));
    EXPECT_EQ(0, doc->toPlainText(buffer, 0));
    buffer[0] = 'x';
    EXPECT_EQ(1, r1->toPlainText(buffer, 8, 5, 2)); // an invalid range: an empty text
    EXPECT_EQ("", A(buffer));
    EXPECT_EQ(0, r1->toPlainText(buffer, 8, 5, 2, false));
    EXPECT_EQ(8, r1->toPlainText(buffer, 8, 1, -1));
    EXPECT_EQ(" if a t", A(buffer));
}

TEST_F(NestedFolds, FirstAndLastLinesOfFolds)
{
    struct Case {
        CTextSegment* fold;
        const char* first;
        const char* last;
    } cases[] = {
        {B, "if a then", "  loop"},
        {L, "", "  endloop"},
        {N, "", "  endif"},
    };
    for (const Case& c : cases) {
        WChar buffer[64];
        int length = 64;
        EXPECT_TRUE(c.fold->FirstString(buffer, length));
        EXPECT_EQ(c.first, A(buffer));
        EXPECT_EQ(int(std::string(c.first).size()), length);
        length = 64;
        EXPECT_TRUE(c.fold->LastString(buffer, length));
        EXPECT_EQ(c.last, A(buffer));
        EXPECT_EQ(int(std::string(c.last).size()), length);
    }
    // A buffer too short for the line: false, with what fitted.
    WChar small[4];
    int length = 4;
    EXPECT_FALSE(B->FirstString(small, length));
    EXPECT_EQ("if ", A(small));
    length = 4;
    EXPECT_FALSE(B->LastString(small, length));
    EXPECT_EQ("oop", A(small));
    // Fewer than three rows in all: no first and last line.
    std::unique_ptr<CEditStringArray> two(blockOf("ab\r\ncd"));
    ASSERT_TRUE(collapse(two.get(), 1, 0, 1, 1));
    WChar buffer[16];
    length = 16;
    EXPECT_FALSE(two->GetString(0)->GetSegment(0)->FirstString(buffer, length));
    EXPECT_FALSE(two->GetString(0)->GetSegment(0)->LastString(buffer, length));
}

TEST_F(NestedFolds, ForwardAndBackwardCopiesStopAtThePattern)
{
    std::string flat = kText;
    std::vector<WChar> buffer(flat.size() + 1);
    int pos = 0;
    WString then = W("then");
    EXPECT_TRUE(doc->forwardForText(buffer.data(), int(buffer.size()), pos, then.data(), 4));
    EXPECT_EQ(int(flat.find("then")) + 4, pos);
    EXPECT_EQ(flat.substr(0, std::size_t(pos)), A(buffer.data()));

    int end = int(buffer.size()) - 1;
    buffer[std::size_t(end)] = 0;
    pos = end;
    WString y = W("y :=");
    EXPECT_TRUE(doc->backwardForText(buffer.data(), pos, y.data(), 4));
    EXPECT_EQ(end - int(flat.size() - flat.rfind("y :=")), pos);
    EXPECT_EQ(flat.substr(flat.rfind("y :=")), A(buffer.data() + pos));

    // Not found: the whole text is copied, and no more than fits.
    pos = 0;
    WString none = W("#");
    EXPECT_FALSE(doc->forwardForText(buffer.data(), int(buffer.size()), pos, none.data(), 1));
    EXPECT_EQ(flat, A(buffer.data()));
    pos = 0;
    EXPECT_FALSE(r1->forwardForText(buffer.data(), 5, pos, none.data(), 1));
    EXPECT_EQ(4, pos);
    EXPECT_EQ("  if", A(buffer.data()));
}

TEST_F(NestedFolds, DeletingHiddenRowsRenumbersEveryLevelAbove)
{
    CEditStringArray* nested = N->block();
    CEditString* loopRow = B->block()->GetString(1);
    CEditString* last = doc->GetString(2);
    ASSERT_EQ(4, loopRow->GeneralId());
    ASSERT_TRUE(nested->DeleteBlock(1, 1, true)); // "    x := 1;"
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ(2, nested->GetRowCount());
    EXPECT_EQ(1, B->block()->subRows());
    EXPECT_EQ(3, B->totalRows());
    EXPECT_EQ(4, doc->subRows());
    EXPECT_EQ(7, doc->totalRows());
    EXPECT_EQ(3, loopRow->GeneralId());
    EXPECT_EQ(6, last->GeneralId());
    EXPECT_EQ(6, last->absRowId());
    std::string flat = kText;
    flat.erase(flat.find("    x := 1;\r\n"), 13);
    EXPECT_EQ(flat, expanded(doc.get()));

    // And adding rows raises them again, from the deepest level up.
    ASSERT_TRUE(L->block()->InsString(new CEditString(W("    z;").c_str()), 1));
    ASSERT_TRUE(nested->InsString(new CEditString(W("    w;").c_str()), 2));
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ(9, doc->totalRows());
    EXPECT_EQ(8, last->GeneralId());
    EXPECT_EQ(4, loopRow->GeneralId());
}

TEST_F(NestedFolds, ActualAndVisibleFollowTheTopBlock)
{
    EXPECT_FALSE(doc->actual());
    EXPECT_FALSE(N->block()->actual());
    int anchor = 0;
    doc->setEditor(reinterpret_cast<CSrcEdit*>(&anchor)); // kept, never used
    EXPECT_TRUE(doc->actual());
    EXPECT_TRUE(N->block()->actual());
    EXPECT_TRUE(N->block()->GetString(1)->actual());
    EXPECT_FALSE(N->block()->GetString(1)->visible());
    EXPECT_TRUE(r1->visible());
    EXPECT_EQ(0, doc->checkInvariants());
    // A fold cut out of the document is no longer actual, down to its deepest block.
    CEditStringArray cut;
    ASSERT_TRUE(doc->getSmartText(&cut, false, 0, 1, -1, 1));
    EXPECT_FALSE(cut.actual());
    EXPECT_FALSE(N->block()->actual());
    EXPECT_EQ(0, cut.checkInvariants());
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ(3, doc->totalRows());
    // And back in, it is again.
    int endCol, endRow;
    ASSERT_TRUE(doc->insSmartText(&cut, false, 0, 1, endCol, endRow));
    EXPECT_TRUE(N->block()->actual());
    EXPECT_EQ(kText, expanded(doc.get()));
    EXPECT_EQ(0, doc->checkInvariants());
}

namespace {

class KeyedRows : public CBookmarkLookup {
public:
    std::map<const CEditString*, int> keys;
    bool BookmarkKeyAt(const CEditString* row, int& key) const override
    {
        auto it = keys.find(row);
        if (it == keys.end())
            return false;
        key = it->second;
        return true;
    }
};

} // namespace

TEST_F(NestedFolds, BookmarkedRowsAreFoundThroughFolds)
{
    KeyedRows lookup;
    lookup.keys[doc->GetString(0)] = 10;               // line 0, the first row: kept
    lookup.keys[N->block()->GetString(1)] = 11;        // line 2, two folds deep
    lookup.keys[L->block()->GetString(2)] = 12;        // line 6
    lookup.keys[doc->GetString(2)] = 13;               // line 7
    VectorOf<int> ids, keys;
    EXPECT_EQ(4, doc->GetBookmarked(ids, keys, lookup));
    std::vector<std::pair<int, int>> found;
    for (int i = 0; i < ids.size(); ++i)
        found.push_back({ids[i], keys[i]});
    EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 10}, {2, 11}, {6, 12}, {7, 13}}), found);

    // Only the folds of a column range of one row.
    VectorOf<int> ids2, keys2;
    EXPECT_EQ(1, r1->GetBookmarked(ids2, keys2, lookup, 7, -1));
    EXPECT_EQ(6, ids2[0]);
    EXPECT_EQ(0, r1->GetBookmarked(ids2, keys2, lookup, 3, 7));

    // A row of line 0 inside a fold is not trusted; the first row of the top block is.
    std::unique_ptr<CEditStringArray> top(blockOf("begin\r\nend"));
    ASSERT_TRUE(collapse(top.get(), 2, 0, 1, 1));
    KeyedRows deep;
    CEditString* hidden = top->GetString(0)->GetSegment(0)->block()->GetString(0);
    ASSERT_EQ(0, hidden->GeneralId());
    deep.keys[hidden] = 1;
    deep.keys[top->GetString(0)] = 2;
    VectorOf<int> ids3, keys3;
    EXPECT_EQ(1, top->GetBookmarked(ids3, keys3, deep));
    EXPECT_EQ(2, keys3[0]);
}

TEST(Coordinates, EmptyDocumentAndEmptyRows)
{
    CEditStringArray empty;
    int pos = 0;
    EXPECT_EQ(0, empty.checkInvariants());
    EXPECT_EQ(0, empty.totalRows());
    EXPECT_EQ(0, empty.textLength());
    EXPECT_EQ(0, empty.GetColCount());
    EXPECT_EQ(-10, empty.Abs2VisRowId(0, true));
    EXPECT_EQ(-10, empty.Vis2AbsRowId(0));
    EXPECT_EQ(nullptr, empty.GenRowId2String(0));
    EXPECT_EQ(nullptr, empty.AbsPos2String(pos));
    WChar buffer[4] = {'x', 0, 0, 0};
    EXPECT_EQ(1, empty.toPlainText(buffer, 4));
    EXPECT_EQ(0, buffer[0]);

    // An empty text is one empty row.
    std::unique_ptr<CEditStringArray> one(CEditStringArray::fromPlainText(W("").c_str()));
    ASSERT_EQ(1, one->GetRowCount());
    EXPECT_EQ(one->GetString(0), one->GenRowId2String(0));
    EXPECT_EQ(nullptr, one->GenRowId2String(1));
    for (int p : {0, 1}) {
        pos = p;
        EXPECT_EQ(one->GetString(0), one->AbsPos2String(pos));
        EXPECT_EQ(0, pos);
    }
    pos = 2;
    EXPECT_EQ(nullptr, one->AbsPos2String(pos));

    // An empty row between two others.
    std::unique_ptr<CEditStringArray> doc(blockOf("a\r\n\r\nb"));
    CEditString* blank = doc->GetString(1);
    EXPECT_EQ(0, blank->textLength());
    EXPECT_EQ(0, blank->Vis2AbsPos(0));
    EXPECT_EQ(0, blank->Abs2VisPos(0));
    EXPECT_EQ(-1, blank->Abs2VisPos(1));
    EXPECT_EQ(-1, blank->hasText());
    EXPECT_EQ(3, blank->AbsPosInBlock(doc.get()));
    for (int p : {3, 4}) {
        pos = p;
        EXPECT_EQ(blank, doc->AbsPos2String(pos));
        EXPECT_EQ(0, pos);
    }
    pos = 5;
    EXPECT_EQ(doc->GetString(2), doc->AbsPos2String(pos));

    // A fold of nothing: its label stands for an empty row, and the one absolute
    // position of the row maps behind the label.
    ASSERT_TRUE(collapse(doc.get(), 0, 1, 0, 1));
    EXPECT_EQ(0, doc->checkInvariants());
    EXPECT_EQ(" ... ", stored(blank));
    EXPECT_EQ(0, blank->textLength());
    EXPECT_EQ(3, doc->totalRows());
    EXPECT_EQ(0, blank->Vis2AbsPos(3));
    EXPECT_EQ(0, blank->Vis2AbsPos(5));
    EXPECT_EQ(5, blank->Abs2VisPos(0));
    EXPECT_EQ("a\r\n\r\nb", expanded(doc.get()));
}

// Abs2VisRowId walks small blocks and bisects large ones; both must agree with the row
// numbers, whatever the size and wherever the fold.
TEST(Coordinates, HiddenRowLookupAgreesForEverySizeAndFoldPlace)
{
    for (int rows = 3; rows <= 9; ++rows) {
        for (int fold = 0; fold + 2 < rows; ++fold) {
            SCOPED_TRACE(testing::Message() << rows << " rows, fold at " << fold);
            std::string text;
            for (int i = 0; i < rows; ++i)
                text += (i ? "\r\nrow" : "row") + std::to_string(i);
            std::unique_ptr<CEditStringArray> doc(blockOf(text));
            ASSERT_TRUE(collapse(doc.get(), 4, fold, 4, fold + 2)); // folds two rows into one
            ASSERT_EQ(rows - 2, doc->GetRowCount());
            ASSERT_EQ(0, doc->checkInvariants());
            for (int abs = -1; abs <= rows + 1; ++abs) {
                int exact = -10, holder = -10;
                for (int i = 0; i < doc->GetRowCount(); ++i) {
                    int first = doc->Vis2AbsRowId(i);
                    if (abs == first)
                        exact = i;
                    if (abs >= first && abs < first + doc->GetString(i)->totalRows())
                        holder = i;
                }
                EXPECT_EQ(exact, doc->Abs2VisRowId(abs, false)) << "row " << abs;
                EXPECT_EQ(holder, doc->Abs2VisRowId(abs, true)) << "row " << abs << " nearest";
            }
            // The hidden rows, as lines, are found in the fold.
            EXPECT_EQ(-10, doc->Abs2VisRowId(fold + 1, false));
            CEditString* hidden = doc->GenRowId2String(fold + 1);
            ASSERT_NE(nullptr, hidden);
            EXPECT_EQ("row" + std::to_string(fold + 1), stored(hidden));
        }
    }
}

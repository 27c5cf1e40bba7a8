// Randomised test of the text storage against a flat model: text and rows are inserted
// and deleted at every depth, ranges are folded and unfolded, and after each step the
// document's expansion, row counts and a sample of coordinate conversions are compared
// with the model, and the structure checks its own invariants.
#include "storagetesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

namespace {

// The model: the unfolded document as one text, rows joined by "\r\n".
struct Model {
    WString text;

    std::vector<int> lineStarts() const
    {
        std::vector<int> starts{0};
        for (std::size_t i = 0; i + 1 < text.size(); ++i)
            if (text[i] == '\r' && text[i + 1] == '\n')
                starts.push_back(int(i) + 2);
        return starts;
    }
    int lineOf(int pos) const
    {
        std::vector<int> starts = lineStarts();
        return int(std::upper_bound(starts.begin(), starts.end(), pos) - starts.begin()) - 1;
    }
};

struct Place {
    CEditString* row = nullptr;
    CEditStringArray* block = nullptr;
    int index = -1; // visible row in `block`
    int col = -1;   // visible column in `row`
};

class StorageModelTest : public testing::Test {
protected:
    void SetUp() override
    {
        random.seed(20240611u);
        std::string text;
        for (int i = 0; i < 30; ++i)
            text += (i ? "\r\n" : "") + randomLine();
        doc.reset(blockOf(text));
        model.text = W(text);
        doc->setEditor(reinterpret_cast<CSrcEdit*>(&anchor)); // kept, never used
    }

    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random); }
    bool chance(int percent) { return pick(1, 100) <= percent; }

    std::string randomLine()
    {
        static const char alphabet[] = "abcxyz ;:=()";
        std::string s;
        for (int n = pick(0, 7); n > 0; --n)
            s += alphabet[pick(0, int(sizeof alphabet) - 2)];
        return s;
    }
    std::string randomText()
    {
        std::string s = randomLine();
        while (chance(30))
            s += "\r\n" + randomLine();
        return s;
    }

    // A position of the model that is not between CR and LF.
    int randomPosition()
    {
        int p = pick(0, int(model.text.size()));
        if (p > 0 && model.text[std::size_t(p) - 1] == '\r')
            --p;
        return p;
    }

    Place placeOf(int p)
    {
        Place place;
        int pos = p;
        place.row = doc->AbsPos2String(pos);
        if (!place.row)
            return place;
        place.block = place.row->oBlock();
        place.index = place.row->visRowId();
        place.col = place.row->Abs2VisPos(pos);
        return place;
    }

    int flatPosition(CEditString* row, int col) { return row->AbsPosInBlock(doc.get(), row->Vis2AbsPos(col)); }

    // Every row and every block of the document, depth first.
    void collect(CEditStringArray* block, std::vector<CEditString*>& rows, std::vector<CEditStringArray*>& blocks)
    {
        blocks.push_back(block);
        for (int i = 0; i < block->GetRowCount(); ++i) {
            CEditString* row = block->GetString(i);
            rows.push_back(row);
            for (int j = 0; j < row->SegmentsCount(); ++j)
                collect(row->GetSegment(j)->block(), rows, blocks);
        }
    }

    // ---- Operations; each answers whether it changed anything.

    bool insertText()
    {
        int p = randomPosition();
        Place at = placeOf(p);
        EXPECT_NE(nullptr, at.row);
        WString text = W(randomText());
        std::unique_ptr<CEditStringArray> source(CEditStringArray::fromPlainText(text.c_str()));
        int endCol = -1, endRow = -1;
        EXPECT_TRUE(at.block->insSmartText(source.get(), false, at.col, at.index, endCol, endRow));
        model.text.insert(std::size_t(p), text);
        EXPECT_EQ(p + int(text.size()), flatPosition(at.block->GetString(endRow), endCol));
        return true;
    }

    bool deleteText()
    {
        int p1 = randomPosition(), p2 = randomPosition();
        if (p1 > p2)
            std::swap(p1, p2);
        if (p2 - p1 > 40) // short ranges, so that the document does not melt away
            p2 = std::min(int(model.text.size()), p1 + pick(1, 40));
        if (p2 > 0 && p2 < int(model.text.size()) && model.text[std::size_t(p2) - 1] == '\r')
            --p2;
        Place a = placeOf(p1), b = placeOf(p2);
        if (p1 >= p2 || a.block != b.block)
            return false; // the ends lie on different levels of folding
        EXPECT_TRUE(a.block->delSmartText(a.col, a.index, b.col, b.index));
        model.text.erase(std::size_t(p1), std::size_t(p2 - p1));
        return true;
    }

    bool fold()
    {
        int p1 = randomPosition(), p2 = randomPosition();
        if (p1 > p2)
            std::swap(p1, p2);
        Place a = placeOf(p1), b = placeOf(p2);
        if (p1 >= p2 || a.block != b.block)
            return false;
        int type = pick(1, 8);
        WString label = W("<fold " + std::to_string(++folds) + ">");
        EXPECT_TRUE(collapse(a.block, a.col, a.index, b.col, b.index, type, type == 8 ? label.c_str() : nullptr));
        return true;
    }

    bool unfold()
    {
        std::vector<CEditString*> rows;
        std::vector<CEditStringArray*> blocks;
        collect(doc.get(), rows, blocks);
        std::vector<CTextSegment*> all;
        for (CEditString* r : rows)
            for (int j = 0; j < r->SegmentsCount(); ++j)
                all.push_back(r->GetSegment(j));
        if (all.empty())
            return false;
        CTextSegment* s = all[std::size_t(pick(0, int(all.size()) - 1))];
        CEditString* row = s->oString();
        int start = row->AbsPosInBlock(doc.get(), s->AbsPosInOString());
        int hidden = s->textLength();
        CEditStringArray* block = row->oBlock();
        int endCol = -1, endRow = -1;
        EXPECT_TRUE(expand(block, s->col(), row->visRowId(), &endCol, &endRow));
        EXPECT_EQ(start + hidden, flatPosition(block->GetString(endRow), endCol));
        return true;
    }

    bool deleteRows()
    {
        std::vector<CEditString*> rows;
        std::vector<CEditStringArray*> blocks;
        collect(doc.get(), rows, blocks);
        CEditStringArray* block = blocks[std::size_t(pick(0, int(blocks.size()) - 1))];
        int count = block->GetRowCount();
        if (count < 2)
            return false;
        int n = pick(1, std::min(3, count - 1));
        int i = pick(0, count - n);
        int from, to;
        if (i + n < count) {
            from = block->GetString(i)->AbsPosInBlock(doc.get(), 0);
            to = block->GetString(i + n)->AbsPosInBlock(doc.get(), 0);
        } else {
            CEditString* before = block->GetString(i - 1);
            CEditString* last = block->GetString(i + n - 1);
            from = before->AbsPosInBlock(doc.get(), before->textLength());
            to = last->AbsPosInBlock(doc.get(), last->textLength());
        }
        EXPECT_TRUE(block->DeleteBlock(i, n, true));
        model.text.erase(std::size_t(from), std::size_t(to - from));
        return true;
    }

    bool insertRow()
    {
        std::vector<CEditString*> rows;
        std::vector<CEditStringArray*> blocks;
        collect(doc.get(), rows, blocks);
        CEditStringArray* block = blocks[std::size_t(pick(0, int(blocks.size()) - 1))];
        int count = block->GetRowCount();
        int i = pick(0, count);
        WString text = W(randomLine());
        WString crlf = W("\r\n");
        if (i < count) {
            model.text.insert(std::size_t(block->GetString(i)->AbsPosInBlock(doc.get(), 0)), text + crlf);
        } else {
            CEditString* last = block->GetString(count - 1);
            model.text.insert(std::size_t(last->AbsPosInBlock(doc.get(), last->textLength())), crlf + text);
        }
        EXPECT_TRUE(block->InsString(new CEditString(text.c_str()), i));
        return true;
    }

    bool typeInRow()
    {
        std::vector<CEditString*> rows;
        std::vector<CEditStringArray*> blocks;
        collect(doc.get(), rows, blocks);
        CEditString* row = rows[std::size_t(pick(0, int(rows.size()) - 1))];
        int col = pick(0, row->GetLength());
        WString text = W(randomLine());
        if (row->ownerOf(col)) {
            std::string before = stored(row);
            EXPECT_FALSE(row->InsertPlainText(text.c_str(), col));
            EXPECT_EQ(before, stored(row));
            return false;
        }
        model.text.insert(std::size_t(flatPosition(row, col)), text);
        EXPECT_TRUE(row->InsertPlainText(text.c_str(), col));
        return true;
    }

    // How deep the deepest row lies in folds.
    int depthOfFolds()
    {
        std::vector<CEditString*> rows;
        std::vector<CEditStringArray*> blocks;
        collect(doc.get(), rows, blocks);
        int deepest = 0;
        for (CEditString* r : rows) {
            int depth = 0;
            for (CEditStringArray* b = r->oBlock(); b->oSegment(); b = b->oSegment()->oString()->oBlock())
                ++depth;
            deepest = std::max(deepest, depth);
        }
        return deepest;
    }

    // ---- The comparison with the model.

    void verify(bool everyRow)
    {
        ASSERT_EQ(0, doc->checkInvariants());
        ASSERT_EQ(A(model.text), expanded(doc.get()));
        std::vector<int> starts = model.lineStarts();
        ASSERT_EQ(int(model.text.size()), doc->textLength());
        ASSERT_EQ(int(starts.size()), doc->totalRows());

        for (int k = 0; k < 8; ++k) {
            int p = randomPosition();
            int pos = p;
            CEditString* row = doc->AbsPos2String(pos);
            ASSERT_NE(nullptr, row) << "position " << p;
            EXPECT_EQ(nullptr, row->ownerOf(row->Abs2VisPos(pos)));
            EXPECT_EQ(p, row->AbsPosInBlock(doc.get(), pos)) << "position " << p;
        }
        for (int k = 0; k < 8; ++k) {
            int line = pick(0, int(starts.size()) - 1);
            CEditString* row = doc->GenRowId2String(line);
            ASSERT_NE(nullptr, row) << "line " << line;
            EXPECT_EQ(line, row->GeneralId());
            EXPECT_EQ(starts[std::size_t(line)], row->AbsPosInBlock(doc.get(), 0)) << "line " << line;
            if (row->oBlock() != doc.get()) {
                EXPECT_EQ(-10, doc->Abs2VisRowId(line, false));
            }
            EXPECT_EQ(row->visibleOwnerString()->visRowId(), doc->Abs2VisRowId(line, true));
        }
        for (int i = 0; i < doc->GetRowCount(); ++i)
            EXPECT_EQ(i, doc->Abs2VisRowId(doc->Vis2AbsRowId(i), false));

        std::vector<CEditString*> rows;
        std::vector<CEditStringArray*> blocks;
        collect(doc.get(), rows, blocks);
        if (!everyRow) {
            std::vector<CEditString*> sample;
            for (int k = 0; k < 6; ++k)
                sample.push_back(rows[std::size_t(pick(0, int(rows.size()) - 1))]);
            rows = sample;
        }
        for (CEditString* row : rows) {
            int start = row->AbsPosInBlock(doc.get(), 0);
            EXPECT_EQ(model.lineOf(start), row->GeneralId());
            EXPECT_EQ(A(model.text.substr(std::size_t(start), std::size_t(row->textLength()))), expanded(row));
            for (int col = 0; col <= row->GetLength(); ++col) {
                if (row->ownerOf(col))
                    continue;
                CTextSegment* s = row->segmentAt(col);
                if (s && s->textLength() == 0)
                    continue; // an emptied fold: its one position maps behind the label
                EXPECT_EQ(col, row->Abs2VisPos(row->Vis2AbsPos(col))) << stored(row) << " col " << col;
            }
        }
    }

    std::mt19937 random;
    std::unique_ptr<CEditStringArray> doc;
    Model model;
    int anchor = 0;
    int folds = 0;
};

} // namespace

TEST_F(StorageModelTest, RandomEditsAndFoldsMatchTheFlatModel)
{
    SegmentsErrorRecorder errors;
    int done[7] = {};
    int deepest = 0;
    for (int step = 0; step < 3000; ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        int lines = doc->totalRows();
        int op = pick(0, 99);
        // Keep the document between a few dozen and a couple of hundred lines: below,
        // deletions turn into insertions, above, insertions into deletions.
        if (lines < 40 && ((op >= 22 && op < 44) || (op >= 74 && op < 82)))
            op = op < 44 ? op - 22 : op + 8;
        if (lines > 200 && (op < 22 || (op >= 82 && op < 90)))
            op = op < 22 ? op + 22 : op - 8;
        bool changed = false;
        int kind;
        if (op < 22)
            kind = 0, changed = insertText();
        else if (op < 44)
            kind = 1, changed = deleteText();
        else if (op < 62)
            kind = 2, changed = fold();
        else if (op < 74)
            kind = 3, changed = unfold();
        else if (op < 82)
            kind = 4, changed = deleteRows();
        else if (op < 90)
            kind = 5, changed = insertRow();
        else
            kind = 6, changed = typeInRow();
        if (changed)
            ++done[kind];
        verify(step % 50 == 0);
        if (HasFatalFailure())
            return;
        deepest = std::max(deepest, depthOfFolds());
    }
    // Every kind of step ran often enough to mean something.
    for (int kind = 0; kind < 7; ++kind)
        EXPECT_GT(done[kind], 100) << "kind " << kind;
    EXPECT_TRUE(errors.messages().empty());
    // Nesting happened: folds lay inside folds inside folds.
    EXPECT_GE(deepest, 3);
}

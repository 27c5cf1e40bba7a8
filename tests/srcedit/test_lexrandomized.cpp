// Randomised test of the incremental re-parse: a document is edited (typing, deleting,
// line breaks, joins, pasted blocks, folds and unfolds) and after every edit the tags
// kept up to date by re-lexing the changed rows must equal a full parse of the same text.
#include "lextesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

class LexRandomTest : public testing::Test {
protected:
    void SetUp() override
    {
        random.seed(19950811u);
        std::string text;
        for (int i = 0; i < 40; ++i)
            text += (i ? "\n" : "") + snippet() + snippet() + snippet();
        load(editor, text);
    }

    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random); }

    std::string snippet()
    {
        static const char* pieces[] = {"select", " ",  "from", "x", ";",  "/*", "*/", "'",   "\"", "--",
                                       "end",    "  ", "a=b",  "(", ")",  "*",  "/",  "\t", "case", "-"};
        return pieces[pick(0, int(sizeof pieces / sizeof *pieces) - 1)];
    }

    // A visible column of `row` that is not strictly inside a label.
    int freeCol(CEditString* row)
    {
        for (int tries = 0; tries < 10; ++tries) {
            int col = pick(0, row->GetLength());
            if (!row->ownerOf(col))
                return col;
        }
        return 0;
    }

    void parse(int from, int to) { send(&editor, &CSrcEditLex::doParse, from, to); }

    // One random edit, as the editing layer performs it: change the rows, shift the tags,
    // re-parse the rows touched.
    void edit()
    {
        CEditStringArray* doc = editor.GetDocument();
        const int rows = doc->GetRowCount();
        const int row = pick(0, rows - 1);
        CEditString* r = doc->GetString(row);
        const int op = pick(0, 99);
        if (op < 40) { // typing
            WString w = W(snippet());
            r->InsertPlainText(w.c_str(), freeCol(r));
            parse(row, row);
        } else if (op < 55) { // deleting a few characters
            int col = freeCol(r);
            r->DeleteEditString(col, std::min(col + pick(1, 4), r->GetLength()));
            parse(row, row);
        } else if (op < 65) { // a line break
            int col = freeCol(r);
            CEditString* tail = r->CutEditString(col, r->GetLength());
            doc->InsString(tail, row + 1);
            send(&editor, &CSrcEditLex::onInsertRow, row + 1, 1);
            parse(row, row + 1);
        } else if (op < 72 && row + 1 < rows) { // joining a row with the next
            CEditString* next = doc->GetString(row + 1);
            r->CatEditString(next, 0, false);
            send(&editor, &CSrcEditLex::onDeleteRow, row + 1, 1);
            doc->DeleteBlock(row + 1, 1, true);
            parse(row, row);
        } else if (op < 80) { // a pasted block of rows
            std::string text = snippet() + "\n" + snippet() + snippet() + "\n" + snippet();
            std::unique_ptr<CEditStringArray> block(blockOf(text));
            int endCol = 0, endRow = 0;
            if (doc->insSmartText(block.get(), false, freeCol(r), row, endCol, endRow)) {
                send(&editor, &CSrcEditLex::onInsertRow, row + 1, endRow - row);
                parse(row, endRow);
            }
        } else if (op < 90) { // folding
            int row2 = std::min(row + pick(0, 3), rows - 1);
            CEditString* r2 = doc->GetString(row2);
            int col1 = freeCol(r), col2 = freeCol(r2);
            if (row2 > row || col2 > col1)
                editor.CollapseBlock(col1, row, col2, row2, pick(1, 7), nullptr);
        } else { // unfolding
            if (r->hasSegments())
                editor.ExpandBlock(r->GetSegment(pick(0, r->SegmentsCount() - 1))->col(), row);
        }
    }

    std::mt19937 random;
    CSrcEditLex editor;
};

TEST_F(LexRandomTest, IncrementalTagsEqualAFullParseAfterEveryEdit)
{
    const int steps = 4000;
    for (int step = 0; step < steps; ++step) {
        edit();
        ASSERT_EQ(0, editor.GetDocument()->checkInvariants()) << "step " << step;
        ASSERT_EQ(0, editor.checkInvariants()) << "step " << step;
        std::string incremental = dumpTags(editor.GetTags());
        ASSERT_EQ(incremental, fullParse(editor)) << "step " << step;
        // Keep the document from growing without bound.
        if (editor.GetRowCount() > 80)
            editor.ExpandBlock(0, 0), editor.CollapseBlock(0, 10, 0, 40, 1, nullptr);
    }
}

} // namespace

// Randomised test of the editing engine: thousands of operations of every kind (typing in
// both modes, line breaks, deleting, the clipboard, indenting, replacing, folding and
// unfolding, bookmarks, undo and redo) from a fixed seed. After each operation the
// engine's invariants must hold; at the end, undoing every step must give back the
// original text, folds and bookmarks exactly, and redoing every step the final state. With
// a lexeme table loaded, the tags kept up by the engine's signals must after each operation
// equal a full parse.
#include "enginetesting.h"
#include "lextesting.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

namespace {

const int kOperations = 6000;

class Randomizer {
public:
    explicit Randomizer(unsigned seed) : m_random(seed) {}
    int num(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_random); }
    bool chance(int percent) { return num(0, 99) < percent; }

private:
    std::mt19937 m_random;
};

struct Stats {
    int folds = 0, expands = 0, marks = 0, undos = 0, redos = 0, edits = 0;
};

std::string initialText(Randomizer& r)
{
    static const char* words[] = {"select", "from", "ab", "x", "  ", "where", "(", ")", "\t", "a.b"};
    std::string out;
    for (int row = 0; row < 60; ++row) {
        int n = r.num(0, 6);
        for (int i = 0; i < n; ++i)
            out += words[r.num(0, 9)];
        out += row < 59 ? "\n" : "";
    }
    return out;
}

void placeCaret(CSrcEditEng& e, Randomizer& r)
{
    int row = r.num(0, e.GetRowCount() - 1);
    e.SetCaretPos(r.num(0, e.GetString(row)->GetLength()), row);
}

void select(CSrcEditEng& e, Randomizer& r)
{
    int row1 = r.num(0, e.GetRowCount() - 1);
    int row2 = std::min(e.GetRowCount() - 1, row1 + r.num(0, 3));
    int col1 = r.num(0, e.GetString(row1)->GetLength());
    int col2 = r.num(0, e.GetString(row2)->GetLength());
    e.setSel(col1, row1, col2, row2);
}

void operate(CSrcEditEng& e, MemoryClipboard& clip, Randomizer& r, Stats& stats)
{
    static const char* finds[] = {"ab", "x", "select", "a.b", " "};
    static const char* replacements[] = {"", "yy", "SELECT", "q\tq"};
    placeCaret(e, r);
    e.noSel();
    int what = r.num(0, 99);
    if (what < 22) {
        e.setInsert(r.chance(85));
        static const char alphabet[] = "abx (.)\t";
        WChar c[2] = {WChar(alphabet[r.num(0, int(sizeof alphabet) - 2)]), 0};
        e.setTabAsSpace(r.chance(70));
        e.onChar(c);
        e.setInsert(true);
        ++stats.edits;
    } else if (what < 30) {
        e.setIndent(r.chance(80));
        e.Return();
        ++stats.edits;
    } else if (what < 38) {
        e.BackSpace();
        ++stats.edits;
    } else if (what < 45) {
        e.Delete();
        ++stats.edits;
    } else if (what < 50) {
        select(e, r);
        if (r.chance(50))
            e.ClipboardCut();
        else
            e.ClipboardDelete();
        ++stats.edits;
    } else if (what < 56) {
        if (r.chance(30))
            select(e, r);
        if (clip.text.empty() || r.chance(20))
            clip.text = W(r.chance(50) ? "pa\r\nste" : "ins");
        e.ClipboardPaste();
        ++stats.edits;
    } else if (what < 59) {
        select(e, r);
        e.setTabAsSpace(r.chance(60));
        e.ClipboardTab(r.chance(50));
        ++stats.edits;
    } else if (what < 62) {
        e.setFindText(W(finds[r.num(0, 4)]).c_str());
        e.setReplaceText(W(replacements[r.num(0, 3)]).c_str());
        e.searchState().wholeWord = r.chance(30);
        e.searchState().matchCase = r.chance(50);
        if (r.chance(50)) {
            e.ReplaceAll();
        } else if (e.FindNext()) {
            e.ReplaceTextW();
        }
        ++stats.edits;
    } else if (what < 68) {
        int row1 = r.num(0, e.GetRowCount() - 1);
        int row2 = std::min(e.GetRowCount() - 1, row1 + r.num(0, 4));
        int col1 = r.num(0, e.GetString(row1)->GetLength());
        int col2 = r.num(0, e.GetString(row2)->GetLength());
        if (row1 == row2 && col1 > col2)
            std::swap(col1, col2);
        int type = r.num(1, 8);
        WString label = W(r.chance(50) ? "<fold>" : "{..}");
        if (e.CollapseBlock(col1, row1, col2, row2, type, type == 8 || r.chance(20) ? label.c_str() : nullptr))
            ++stats.folds;
    } else if (what < 78) { // unfold
        for (int tries = 0; tries < 5; ++tries) {
            int row = r.num(0, e.GetRowCount() - 1);
            CEditString* s = e.GetString(row);
            if (s->SegmentsCount() == 0)
                continue;
            CTextSegment* seg = s->GetSegment(r.num(0, s->SegmentsCount() - 1));
            if (e.ExpandBlock(seg->col() + r.num(0, seg->shortLength() - 1), row))
                ++stats.expands;
            break;
        }
    } else if (what < 86) {
        if (r.chance(50))
            e.SetBookmark();
        else
            e.SetBookmarkNum(r.num(1, 9));
        ++stats.marks;
    } else if (what < 95) {
        if (e.undo())
            ++stats.undos;
    } else {
        if (e.redo())
            ++stats.redos;
    }
}

TEST(EngineRandomized, EveryOperationKeepsInvariantsAndTheHistoryIsExact)
{
    for (unsigned seed : {7u, 20261124u}) {
        Randomizer r(seed);
        RecordingEngine e;
        MemoryClipboard clip;
        e.setClipboard(&clip);
        e.SetAssignedFileName(W("random.sql").c_str());
        std::vector<tagCTextLex> table = testTable();
        e.setTextLex(table.data(), int(table.size()));
        std::string start = initialText(r);
        load(e, start);
        const std::string originalPicture = picture(e.GetDocument());
        const auto originalMarks = marks(e);
        Stats stats;
        for (int i = 0; i < kOperations; ++i) {
            operate(e, clip, r, stats);
            ASSERT_EQ(e.checkInvariants(), 0) << "seed " << seed << ", operation " << i;
            // The tags kept up by the signals are those of a full parse.
            std::string kept = dumpTags(e.GetTags());
            ASSERT_EQ(kept, fullParse(e)) << "seed " << seed << ", operation " << i;
        }
        // Every kind really ran.
        EXPECT_GT(stats.folds, 100);
        EXPECT_GT(stats.expands, 50);
        EXPECT_GT(stats.undos, 100);
        EXPECT_GT(stats.redos, 20);
        // The history's end: what the last undos took back is redone first.
        while (e.isRedo() && e.redo())
            ASSERT_EQ(e.checkInvariants(), 0);
        const std::string finalPicture = picture(e.GetDocument());
        const auto finalMarks = marks(e);
        EXPECT_FALSE(finalMarks.empty());

        int steps = 0;
        while (e.isUndo() && e.undo()) {
            ++steps;
            ASSERT_EQ(e.checkInvariants(), 0) << "undo " << steps;
            std::string kept = dumpTags(e.GetTags());
            ASSERT_EQ(kept, fullParse(e)) << "undo " << steps;
        }
        EXPECT_EQ(e.GetStep(), 0);
        EXPECT_EQ(picture(e.GetDocument()), originalPicture) << "seed " << seed;
        EXPECT_EQ(marks(e), originalMarks);

        int redone = 0;
        while (e.isRedo() && e.redo()) {
            ++redone;
            ASSERT_EQ(e.checkInvariants(), 0) << "redo " << redone;
            std::string kept = dumpTags(e.GetTags());
            ASSERT_EQ(kept, fullParse(e)) << "redo " << redone;
        }
        EXPECT_EQ(redone, steps);
        EXPECT_EQ(picture(e.GetDocument()), finalPicture) << "seed " << seed;
        EXPECT_EQ(marks(e), finalMarks);
        RecordProperty("steps" + std::to_string(seed), steps);
        std::printf("seed %u: %d steps, %d edits, %d folds, %d expands, %d bookmark ops, %d undos, %d redos, %d rows (%d unfolded), %zu marks\n", seed, steps, stats.edits, stats.folds, stats.expands, stats.marks, stats.undos, stats.redos, e.GetRowCount(), e.GetTotalRowCount(), finalMarks.size());
    }
}

} // namespace

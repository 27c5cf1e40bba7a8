// CEditStringArray: a block of rows of the source editor: the document's top block, the
// hidden rows of a fold, or rows in transit between edits and undo records.
#pragma once

#include <vexapi/srcedit/ceditarray.h>
#include <vexapi/srcedit/ceditstring.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>

class CBookmarkLookup;
class CExpansionSink;
class CSrcEdit;
class CTextSegment;

// A block: an array of rows, each of which may hide further blocks in its folds. The
// block's plain text puts "\r\n" between rows. Rows are numbered three ways: the index in
// the block (visible row), `absRowId` (rows before it in the block, hidden rows counted)
// and GeneralId (the same through all levels: the unfolded document's line, less one).
//
// Ownership: the block owns its rows and deletes them, from the last to the first, in
// DelAllString and the destructor. `oSegment` is the fold that owns the block (null for
// the top block and for free blocks); `editor` is the control showing the top block,
// kept, never owned.
//
// Invariants (checked by checkInvariants, which gives the number of the first one
// broken):
//  1. count <= capacity; elements are pointers to rows, none of them null.
//  2. Every row's oBlock() is this block.
//  3. Row 0 has absRowId 0 and row i has absRowId(i-1) + totalRows(i-1).
//  4. subRows is the sum over the rows of `totalRows() - 1`; so totalRows() equals
//     count + subRows, and a fold owning the block counts exactly that.
//  5. Every row satisfies its own invariants (CEditString::checkInvariants).
//  6. Every fold's block satisfies 1..9 in turn and names its fold back.
//  7. When `oSegment` is set, its block() is this block and its row's actual() equals
//     this block's `actual`.
//  8. A block with an editor is a top block (no oSegment) and is actual.
//  9. No row appears twice, here or in any block below.
// 10. A known text length (kept so that columns convert across folds without walking
//     the hidden rows) equals the sum of the rows' expansions and the row gaps. A block
//     whose length is known has every block below known too, so a change that forgets
//     the length of a block forgets those above it, and stops where one is unknown.
class VEXAPI_API CEditStringArray : public CEditArray {
public:
    // An empty block; when `owner` is given and has no block yet, the block becomes its.
    explicit CEditStringArray(CTextSegment* owner = nullptr);
    // Releases the owning fold's link to the block, then deletes the rows.
    ~CEditStringArray() override;
    // A block owns its rows: it cannot share them as a shallow copy would.
    CEditStringArray(const CEditStringArray&) = delete;
    CEditStringArray& operator=(const CEditStringArray&) = delete;

    // ---- Factories; each gives a new free block.

    // A deep copy of `block`, folds included; an empty block for null.
    static CEditStringArray* copyContents(const CEditStringArray* block);
    // A block of one row: a copy of [from, to) of `row`.
    static CEditStringArray* fromEditString(CEditString* row, int from = 0, int to = -1);
    // Rows split at LF, with one CR before each LF dropped. The text behind the last LF is
    // always a row, so a text ending in a line break ends in an empty row, and an empty
    // text is one empty row. `n` of -1 reads up to the NUL.
    static CEditStringArray* fromPlainText(const WChar* text, int n = -1);

    // ---- Row list.

    // Row i, or null when i is out of range.
    CEditString* GetString(int i) const { return i >= 0 && i < count ? rows()[i] : nullptr; }
    int GetRowCount() const { return count; }
    // The longest row's length.
    int GetColCount() const;
    // Adopts a free row at the end; gives the new count, 0 for a null row, a row of
    // another block or a failed growth.
    int AddString(CEditString* row);
    // Adopts a free row before index i (i == count appends); false when i is out of range.
    bool InsString(CEditString* row, int i);
    // Takes the row out of the block without deleting it; false when it is not here.
    bool DelString(CEditString* row);
    bool DelString(int i);
    // Adopts every row of `block` before index i. The rows now belong to this block, but
    // `block` still lists them: the caller must empty it with
    // `block->DeleteBlock(0, block->GetRowCount(), false)` before using or deleting it.
    bool InsertBlock(CEditStringArray* block, int i);
    // Takes rows [i, i + n) out; with `destroy` they are deleted.
    bool DeleteBlock(int i, int n, bool destroy);
    // Deletes every row, from the last to the first.
    void DelAllString();
    // Adds room for n more rows, in whole steps of growStep.
    bool GrowUpBy(int n);

    // ---- Rows through folds.

    // count + subRows: rows of the block through every depth of folding.
    int totalRows() const { return count + m_subRows; }
    int subRows() const { return m_subRows; }
    // The index of the row whose absRowId is `absRow`. When no row starts there, with
    // `nearest` the row whose hidden rows hold `absRow`, else -10; -10 for an empty block
    // or a number outside the block.
    int Abs2VisRowId(int absRow, bool nearest) const;
    // absRowId of row i; -10 when i is out of range.
    int Vis2AbsRowId(int i) const;
    // The row starting unfolded line `generalId` of this block (counted from the block's
    // first row), descending into folds; null for a negative id or one past the block.
    CEditString* GenRowId2String(int generalId) const;
    // The deepest row holding position `pos` of the block's plain text; `pos` becomes the
    // absolute column in that row (see CEditString::AbsPos2String). Null when `pos` is
    // outside the text.
    CEditString* AbsPos2String(int& pos) const;
    // Renumbers absRowId from row `from` to the end.
    void refreshRowIDs(int from);

    // ---- Text.

    // Characters of the block's plain text: the rows' expansions and 2 per row gap.
    // Kept once counted, until a change below forgets it.
    int textLength() const;
    // The same for the range from (col1, row1) to (col2, row2), in visible columns, col2
    // of -1 meaning the end of row2; 0 for an invalid range.
    int textLength(int col1, int row1, int col2, int row2) const;
    // Writes the plain text into `buffer` (see CEditString::toPlainText for capacity and
    // termination); gives the characters written.
    int toPlainText(WChar* buffer, int capacity, bool terminate = true) const;
    int toPlainText(WChar* buffer, int col1, int row1, int col2, int row2, int capacity,
                    bool terminate = true) const;
    // As CEditString::forwardForText and backwardForText, over the whole block.
    bool forwardForText(WChar* buffer, int capacity, int& pos, const WChar* pattern, int n) const;
    bool backwardForText(WChar* buffer, int& pos, const WChar* pattern, int n) const;

    // ---- Multi-row editing. Columns are visible columns; a column strictly inside a
    // label is refused.

    // Inserts the rows of `source` at (col, row): its first row joins the text before
    // `col`, its last row the text behind it. With `copy` the source stays whole, else it
    // is emptied (its rows move). (endCol, endRow) is the end of the insertion. False when
    // `source` is null or empty, or the place is out of range.
    bool insSmartText(CEditStringArray* source, bool copy, int col, int row, int& endCol, int& endRow);
    // Deletes from (col1, row1) to (col2, row2), folds included.
    bool delSmartText(int col1, int row1, int col2, int row2);
    // Gives the range to the empty block `dest`, copied (`copy`) or cut out of this block.
    bool getSmartText(CEditStringArray* dest, bool copy, int col1, int row1, int col2, int row2);

    // ---- Ownership.

    CTextSegment* oSegment() const { return m_oSegment; }
    CSrcEdit* editor() const { return m_editor; }
    // Names the control showing this top block; a non-null editor makes the block actual.
    void setEditor(CSrcEdit* editor);
    bool actual() const { return m_actual; }
    // Sets `actual` and, when it changes, carries it down through every fold.
    void setActual(bool actual);

    // Appends the general id and key of each bookmarked row, through every fold; a row
    // with id -1 is left out, and so is one with id 0 other than the first row of a top
    // block (a row of id 0 deep in a fold shares the first line). Gives how many.
    int GetBookmarked(VectorOf<int>& ids, VectorOf<int>& keys, const CBookmarkLookup& lookup) const;

    // 0 when the invariants of the class comment hold for this block and every block
    // below, else the number of the first one broken.
    int checkInvariants() const;

private:
    friend class CEditString;
    friend class CTextSegment;

    CEditString** rows() const { return reinterpret_cast<CEditString**>(data); }
    // Adoption and release of rows: the bookkeeping shared by the row operations.
    void adopt(CEditString* row, int i);
    // A row's hidden row count changed by `delta`: renumber behind it and pass it up.
    void rowChanged(CEditString* row, int delta);
    // The block's total row count changed by `delta`: pass it to the owning fold.
    void passUp(int delta);
    // The plain text changed: forget the kept length here and in every block above.
    void textChanged();
    int countTextLength() const;
    int indexOf(const CEditString* row) const;
    bool walkForward(CExpansionSink& sink) const;
    bool walkBackward(CExpansionSink& sink) const;
    bool walkRange(int col1, int row1, int col2, int row2, CExpansionSink& sink) const;
    bool smartRange(int col1, int row1, int& col2, int row2) const;
    struct CheckState;
    int check(CheckState& state) const;

    // The raw element operations would bypass the rows' bookkeeping.
    using CEditArray::AddElement;
    using CEditArray::UpdElement;
    using CEditArray::InsElement;
    using CEditArray::DelElement;
    using CEditArray::Clear;

    int m_subRows;
    CTextSegment* m_oSegment;
    CSrcEdit* m_editor;
    bool m_actual;
    mutable int m_textLength; // -1 while not counted
};

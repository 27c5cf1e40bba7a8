// CEditString: one row of the source editor's text, with its folds (CTextSegment), its
// lexemes (CLexData), its gutter marks and its fold state.
#pragma once

#include <vexapi/srcedit/clexdata.h>
#include <vexapi/srcedit/ctextsegment.h>

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>

class CBookmarkLookup;
class CEditStringArray;
class CExpansionSink;
namespace VexAPI {
class Bitmap;
}

// The gutter sign of a row, written while the gutter is painted.
enum LayoutSign {
    LS_NONE = 0,
    LS_CAN_COLLAPSE = 1, // the row opens a range that could be folded
    LS_COLLAPSED = 2     // the row holds a fold
};

// A row: NUL-terminated 16-bit text without a line break, in which each fold stands as
// its label. Columns come in two kinds: a visible column (Vis) counts in the stored text,
// labels included; an absolute column (Abs) counts in the row's expansion, where each
// label is replaced by the plain text of its block (rows joined by "\r\n").
//
// Ownership: the row owns its text, its segments (and through them the hidden blocks)
// and both lexeme lists; the bitmaps are the application's. A block owns its rows, and
// `oBlock` names it. Deleting a row takes it out of its block first.
//
// Invariants (checked by checkInvariants, which gives the number of the first broken):
//  1. `text` is null or holds `length` characters and a NUL; `length` >= 0.
//  2. Segments lie within the text, do not overlap and are sorted by `col`; each one's
//     label is literally in the text at its `col`, and its `oString` is this row.
//  3. Every segment has a block that names the segment back, and that block is actual
//     exactly when this row is.
// And by construction: totalRows() is 1 plus the sum over the segments of
// `totalRows() - 1`. Edits may move a label but never enter it: an edit that would is
// refused, and a raw edit that does anyway loses the fold with a report (see
// manageSegmentsCols).
class VEXAPI_API CEditString {
public:
    static const int BitmapCount = 5;

    CEditString();
    // A row holding `n` characters of `text` (-1: up to its NUL).
    CEditString(const WChar* text, int n);
    explicit CEditString(const WChar* text);
    // Frees the text, takes the row out of its block, deletes the segments with their
    // blocks and both lexeme lists.
    virtual ~CEditString();
    CEditString(const CEditString&) = delete;
    CEditString& operator=(const CEditString&) = delete;

    // A new row holding only the label of a new fold over `block` at column 0. Null when
    // the fold cannot be made (see CTextSegment); the caller then keeps the block.
    static CEditString* fromBlock(CEditStringArray* block, int type, const WChar* label = nullptr);

    // ---- Text with care for segments. `to` of -1 always means the end of the row.

    // Overwrites `n` characters (-1: the text's length) from `at`, growing the row when
    // `at + n` passes its end and filling the new room with NUL. Segments are not looked
    // at: the caller keeps labels whole.
    bool Change(const WChar* text, int at, int n = -1);
    // Appends `source` from column `from` with its folds, copied (`copy`) or moved (the
    // range then leaves `source`). False when `from` is out of range or inside a label.
    bool CatEditString(CEditString* source, int from, bool copy);
    // Inserts `source` from `from` at column `at`, with its folds. False when `at` or
    // `from` is out of range or inside a label.
    bool InsertEditString(CEditString* source, int at, int from, bool copy);
    // A new free row holding [from, to) with deep copies of its folds. A range end inside
    // a label moves out of it (a start to the label's end, an end to its start), so that no
    // label is cut; an invalid range gives an empty row.
    CEditString* CopyEditString(int from = 0, int to = -1);
    // The same, but the range leaves this row, folds and all.
    CEditString* CutEditString(int from, int to);
    // Deletes [from, to) (tightened as above) with the folds in it.
    bool DeleteEditString(int from, int to);
    // Inserts `n` characters (-1: up to the NUL); false at a column out of range or inside
    // a label.
    bool InsertPlainText(const WChar* text, int at, int n = -1);
    bool CatPlainText(const WChar* text, int n = -1);
    // Removes the text and every fold.
    void Empty();

    // ---- Lengths and plain text.

    int GetLength() const { return length; }
    // The stored text; never null (an empty row gives an empty text).
    const WChar* GetData() const;
    bool IsEmpty() const { return length == 0; }
    // Characters of the expansion of the visible range [from, to): `to - from` plus each
    // fold's hidden text less its label, for the folds whose `col` lies in the range. 0 for
    // an invalid or empty range.
    int textLength(int from = 0, int to = -1) const;
    // Writes the expansion of [from, to) into `buffer`, stopping silently at `capacity`.
    // With `terminate` one place is kept for the final NUL, and the answer counts it.
    // An invalid range gives an empty text: 1 with `terminate`, else 0. A null buffer or
    // a capacity below 1 gives 0.
    int toPlainText(WChar* buffer, int capacity, int from = 0, int to = -1, bool terminate = true) const;
    // The first visible column of [from, to) that is not space, tab, LF or CR; -1 if none.
    int hasText(int from = 0, int to = -1) const;
    // The same over the expansion, in absolute columns.
    int strayAbsPos(int from = 0, int to = -1) const;
    // Copies the expansion of [from, to) into `buffer` at `pos`, one character at a time,
    // until the last `n` characters written equal `pattern`; then `pos` stands just behind
    // the match and the answer is true. The comparison only looks at characters written by
    // this call. The copy stops (false) at the end of the range or when the buffer, of
    // `capacity` characters, has one place left; the buffer is terminated at `pos`.
    bool forwardForText(WChar* buffer, int capacity, int& pos, const WChar* pattern, int n,
                        int from = 0, int to = -1) const;
    // The mirror: writes the expansion from its end towards lower addresses, decreasing
    // `pos` before each character, and stops with true when the `n` characters at `pos`
    // equal `pattern` (again only characters written by this call), or with false at the
    // start of the range or of the buffer. The caller terminates the buffer.
    bool backwardForText(WChar* buffer, int& pos, const WChar* pattern, int n,
                         int from = 0, int to = -1) const;

    // ---- Segments.

    // Links `segment` (well formed, in no row) at its column. False when its label is not
    // in the text there, or overlaps another label.
    bool InsSegment(CTextSegment* segment);
    // Unlinks and deletes `segment` with its block; with `removeText` its label leaves the
    // text too. False for a segment of another row.
    bool DelSegment(CTextSegment* segment, bool removeText = false);
    // The segment whose label holds `col` (from its first column).
    CTextSegment* segmentAt(int col) const;
    // The segment whose label holds `col` strictly inside; a caret may stand before a
    // label, so its first column has no owner.
    CTextSegment* ownerOf(int col) const;
    // Index of `segment` in the row, -1 when it is foreign.
    int idOfSegment(const CTextSegment* segment) const;
    // Hidden rows of the earlier segments: the sum of their `totalRows() - 1`; -1 when the
    // segment is foreign.
    int OffsetOfSegment(const CTextSegment* segment) const;
    // The first segment with `offset <= n < offset + totalRows()`.
    CTextSegment* SegmentOfOffset(int n) const;
    int SegmentsCount() const;
    bool hasSegments() const { return !segments.empty(); }
    // True when a label overlaps [from, to).
    bool segmentsIntersect(int from, int to) const;
    // The segment at index i, or null.
    CTextSegment* GetSegment(int i) const;
    // Deep copies of the segments with `from <= col < to` go to the end of `list`.
    int copySegments(ListOf<CTextSegment>& list, int from, int to) const;
    // The segments with `from <= col < to` leave the row (row counts follow) for `list`.
    int cutSegments(ListOf<CTextSegment>& list, int from, int to);
    // Deletes the segments with `from <= col < to` with their blocks; with `removeText`
    // their labels leave the text too. Gives how many went.
    int delSegments(int from, int to, bool removeText);
    // Moves each segment of `list` whose `col + shift` lies in the text into the row, at
    // `col + shift`; the others stay in the list.
    int takeSegments(ListOf<CTextSegment>& list, int shift);
    // Follows a raw edit at `col` of `delta` characters (inserted when positive, deleted
    // when negative): labels behind it move; a label the edit broke into is lost, with a
    // report through the segments error handler.
    void manageSegmentsCols(int col, int delta);
    // Where a segment at `col` goes in the list: before the first with a greater column.
    List::Iterator posForSegment(int col);

    // Arrays of one value per segment, in order, allocated with new[] for the caller to
    // free with delete[]; `n` of -1 means SegmentsCount(). Null for no segment.
    int* copyAbsCols(int n = -1) const;
    int* copyVisCols(int n = -1) const;
    int* copyLengths(int n = -1) const;
    int* copyShortLens(int n = -1) const;

    // ---- Coordinates.

    // The absolute column of visible column `col`; a column inside a label maps to the
    // start of its hidden text.
    int Vis2AbsPos(int col) const;
    // The visible column of absolute column `pos`: a position in hidden text maps to its
    // label's first column; -1 when `pos` is outside the expansion.
    int Abs2VisPos(int pos) const;
    // The deepest row holding absolute position `pos` of the expansion (descending into a
    // fold when `pos` lies strictly inside its hidden text); `pos` becomes the absolute
    // column in that row. A `pos` at or beyond textLength (up to textLength + 2, the line
    // break) is set to textLength. Null for a negative `pos` or one beyond that.
    CEditString* AbsPos2String(int& pos);
    // Position of absolute column `absCol` of this row in its block's plain text; -1
    // without a block.
    int AbsPosInOBlock(int absCol = 0) const;
    // Position of absolute column `absCol` of this row in the plain text of `block`, which
    // must hold the row at some depth; -1 otherwise.
    int AbsPosInBlock(const CEditStringArray* block, int absCol = 0) const;
    // The line number, less one, of the row's start in the unfolded document: absRowId
    // plus the GeneralId of the owning fold. 0 for a row in no block.
    int GeneralId() const;
    // Rows before this one in its block, hidden rows counted; -10 for a row in no block.
    int absRowId() const { return m_oBlock ? m_absRowId : -10; }
    void setAbsRowId(int id) { m_absRowId = id; }
    // Index in the block; -10 for a row in no block.
    int visRowId() const;
    // 1 plus the hidden rows of the folds.
    int totalRows() const;
    // Passes a change of the hidden row count up: to the block, which renumbers the rows
    // behind this one, and on through the fold that owns the block, to the top.
    void addSubRows(int delta);

    // ---- Ownership.

    CEditStringArray* oBlock() const { return m_oBlock; }
    // Names the block holding the row (rows join blocks through the block's own calls)
    // and refreshes `actual` of the folds.
    void setOBlock(CEditStringArray* block);
    // The row lies in the editor's top block.
    bool visible() const;
    // The row belongs to the document, shown or hidden.
    bool actual() const;
    // Makes the folds' blocks follow the row's `actual`.
    void refreshActual();
    // The row of the document's top block that holds this row (itself when it lies there);
    // null when the row is in no block.
    CEditString* visibleOwnerString();
    // The fold of that row that hides this one; null for a row of the top block.
    CTextSegment* visibleOwnerSegment();

    // ---- Search.

    // The column of `find` from `pos`: the visible column on a row without folds;
    // on a row with folds, the absolute column of a match in the expansion searched from
    // Vis2AbsPos(pos). -1 when not found or `pos` is out of range.
    int FindString(const WChar* find, int pos, bool wholeWord, bool matchCase, bool forward) const;
    // Searches the expansion from absolute column `pos`; answers an absolute column or -1.
    int FindInPlainText(const WChar* find, int pos, bool wholeWord, bool matchCase, bool forward) const;
    // Index of the first (forward) or last (backward) place where the `m` characters of
    // `find` stand in the `n` characters of `text`; -1 if none.
    static int StrStr(const WChar* text, int n, const WChar* find, int m, bool forward);

    // ---- Marks.

    // The mark of gutter column `index` (0..4); null beyond.
    VexAPI::Bitmap* GetBitmap(int index) const;
    // Sets the mark of gutter column `index`; an index outside 0..4 is ignored.
    void SetBitmap(VexAPI::Bitmap* bitmap, int index);
    // Appends the general id and key of each bookmarked row hidden in the folds whose
    // `col` lies in [from, to), through every depth. Gives how many were added.
    int GetBookmarked(VectorOf<int>& ids, VectorOf<int>& keys, const CBookmarkLookup& lookup,
                      int from = 0, int to = -1) const;

    // ---- Lexemes. The cursors stand at their list's end after a reset; stepping on from
    // the end reaches the first lexeme, and a walk ends with null back at the end.

    CLexData* GetNextLex();
    CLexData* GetPrevLex();
    CLexData* GetNextSimpleLex();
    CLexData* GetPrevSimpleLex();
    CLexData* GetNextOpenLex();
    CLexData* GetPrevOpenLex();
    CLexData* GetNextCloseLex();
    CLexData* GetPrevCloseLex();
    void resetLIT();
    void resetOpenLIT();
    void resetCloseLIT();
    // Places the simple cursor on `lex` when it is one of this row's simple lexemes, else
    // at the end.
    void resetSimpleLIT(CLexData* lex = nullptr);
    // Takes `lex` (made with new) into the linked lexemes, behind the last one whose
    // column is at or below its own; the row owns it from now on.
    void InsLinkedLex(CLexData* lex);
    bool DelLinkedLex(CLexData* lex);
    // Takes `lex` into the simple lexemes: at the end with `append`, else before the first
    // lexeme with a greater column.
    void InsSimpleLex(CLexData* lex, bool append = false);
    bool DelSimpleLex(CLexData* lex);
    void ClearLinkedLexes();
    void ClearSimpleLexes();
    // The first linked lexeme of that name and type (LT_ANY: either type), or null.
    CLexData* ContainsLexOfName(int name, int type = LT_ANY) const;
    // The simple lexeme covering visible column `col`, or null.
    CLexData* GetSimpleLexAtCol(int col) const;
    List::Iterator posForLinkedLex(int col);
    List::Iterator posForSimpleLex(int col);
    // Where a lexeme at `col` goes in `list`: walking from the end, behind the last lexeme
    // at or below `col` (`fromEnd`); else from the start, before the first one above it.
    static List::Iterator posForAList(ListOf<CLexData>& list, int col, bool fromEnd);
    ListOf<CLexData>& LinkedLexes() { return linkedLexes; }
    ListOf<CLexData>& SimpleLexes() { return simpleLexes; }

    bool consistent() const { return m_inconsistentPos == -1; }
    int inconsistentPos() const { return m_inconsistentPos; }
    void setInconsistent(int pos) { m_inconsistentPos = pos; }
    LayoutSign layoutSign() const { return m_layoutSign; }
    void setLayoutSign(LayoutSign sign) { m_layoutSign = sign; }

    // ---- Checks.

    // 0 when the row's invariants hold, else the number of the first one broken. Folds'
    // blocks are checked through CEditStringArray::checkInvariants.
    int checkInvariants() const;

private:
    friend class CEditStringArray;
    friend class CTextSegment;

    // Raw text: no care for segments beyond manageSegmentsCols.
    bool Insert(const WChar* text, int at, int n);
    bool Delete(int from, int to);
    int Copy(int from, int to, WChar* buffer) const;
    bool Cat(const WChar* text, int n);
    bool FindStr(const WChar* find, int& pos, bool wholeWord, bool matchCase, bool forward) const;

    // Sets the text to exactly `n` characters of room (plus the NUL); false, with the
    // row emptied, when memory runs out.
    bool resize(int n);
    // Clamps `to` (-1: the end) and checks the range.
    bool normalRange(int& from, int& to) const;
    // Moves range ends out of labels so that no label is cut.
    void tighten(int& from, int& to) const;
    // CopyEditString and CutEditString: a new row of [from, to) with copies of its folds,
    // or (cut) with the folds themselves and the range deleted from this row.
    CEditString* extractEditString(int from, int to, bool cut);
    // The row's expansion changed: the text lengths kept by the blocks above are stale.
    void textChanged();
    // Unlinks `segment` from the list and passes the loss of its rows up.
    void unlinkSegment(CTextSegment* segment);
    bool walkForward(int from, int to, CExpansionSink& sink) const;
    bool walkBackward(int from, int to, CExpansionSink& sink) const;
    // Puts a lexeme cursor on its list's end when it stands on `lex`, which is leaving.
    void releaseCursors(CLexData* lex);
    // The lists are walked from const members too; walking changes nothing.
    ListOf<CTextSegment>& segs() const { return const_cast<ListOf<CTextSegment>&>(segments); }

    WChar* text;
    int length;
    VexAPI::Bitmap* bitmaps[BitmapCount];
    int m_absRowId;
    ListOf<CTextSegment> segments;
    CEditStringArray* m_oBlock;
    List::Iterator openLIT;
    List::Iterator closeLIT;
    List::Iterator lexLIT;
    List::Iterator simpleLIT;
    ListOf<CLexData> linkedLexes;
    ListOf<CLexData> simpleLexes;
    int m_inconsistentPos;
    LayoutSign m_layoutSign;
};

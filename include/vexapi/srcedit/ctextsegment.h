// CTextSegment: a collapsed piece of a row, owning the block of rows it hides, shown in
// the row's text as a short label.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>
#include <vexapi/core/types.h>

class CEditString;
class CEditStringArray;

// A fold: a block of hidden rows standing in a row's stored text as a label of
// `shortLength` characters at column `col`. The segment is a node of its row's segment
// list (an iterator can be made from the segment itself).
//
// Ownership: the segment owns `block` and `customText`; its row owns the segment.
// `oString` names the row, and `block->oSegment()` names this segment back.
//
// Invariants (checked with the row's and the block's own checks):
//  1. A well-formed segment has a block, and either `type` in 1..7 or a custom label.
//     A segment that could not be built from its arguments has `type` 1 and no block.
//  2. The label is literally present in the row's text at `col`, `shortLength` long.
//  3. `block()->oSegment()` is this segment; the block is actual exactly when the row is.
//  4. totalRows() is the block's totalRows(), 0 without a block; a row counts its
//     segments' hidden rows as `totalRows() - 1` each.
class VEXAPI_API CTextSegment : public List::Node {
public:
    // Labels of the standard types 1..7; index 0 is unused (an empty text).
    static const WChar* const BlockTexts[8];
    static const int FirstCustomType = 8;

    // A segment of type 1 with no block: not well formed until given one.
    CTextSegment();
    // A segment hiding `block` (which must not belong to another segment) with the label
    // of `type`, or `label` when one is given. When the arguments do not qualify (no block,
    // a block owned elsewhere, or a type outside 1..7 without a label), the segment stays
    // at type 1 with no block and the caller keeps the block.
    CTextSegment(CEditStringArray* block, int type, const WChar* label = nullptr, int col = 0);
    // Deletes the block and the custom label.
    ~CTextSegment();
    CTextSegment(const CTextSegment&) = delete;
    CTextSegment& operator=(const CTextSegment&) = delete;

    // A deep copy: the same label, type and column, with a deep copy of the block; not
    // attached to any row.
    CTextSegment* clone() const;

    int col() const { return m_col; }
    void setCol(int col) { m_col = col; }
    int type() const { return m_type; }
    // The label: the custom text when there is one, else the type's standard label.
    const WChar* shortText() const;
    int shortLength() const { return m_shortLength; }
    const WChar* customText() const { return m_customText; }
    // True when the label must be kept with the fold in undo records: a custom label on a
    // type of 8 or more.
    bool hasOwnLabel() const { return m_customText && m_type >= FirstCustomType; }
    bool isWellFormed() const;

    CEditStringArray* block() const { return m_block; }
    // Puts `block` in place of the current block, moving the row counts of every level
    // above from the old block's to the new one's. The old block is released, not deleted:
    // it is the caller's from now on. A null block, the same block, or one owned by another
    // segment changes nothing (false).
    bool setBlock(CEditStringArray* block);
    CEditString* oString() const { return m_oString; }
    // Sets the owning row and refreshes `actual` of the block. The row's segment list is
    // not touched: rows call this when they link or unlink the segment.
    void setOString(CEditString* row);

    // True when the segment's row belongs to the document.
    bool actual() const;
    // Makes the block's `actual` follow the row's.
    void refreshActual();
    // Passes a change of the hidden row count on to the owning row.
    void addSubRows(int delta);

    // Characters of the block's plain text (rows joined by "\r\n"); 0 without a block.
    int textLength() const;
    // Rows of the block, not counting deeper folds; 0 without a block.
    int GetRowCount() const;
    // Rows of the block through every depth of folding; 0 without a block.
    int totalRows() const;
    // The absolute column in the owning row's expansion where the hidden text starts;
    // -1 without a row.
    int AbsPosInOString() const;
    // The line number, less one, of the block's first row in the unfolded document.
    int GeneralId() const;

    // Copy the first (last) line of the block's expansion into `buffer`. On entry
    // `length` is the buffer's capacity in characters, on return the line's length; the
    // line is NUL-terminated and starts at `buffer`. False when the block has fewer than 3
    // rows in all, or the line does not fit (the buffer then holds what did).
    bool FirstString(WChar* buffer, int& length) const;
    bool LastString(WChar* buffer, int& length) const;

private:
    friend class CEditStringArray;

    int m_type;
    int m_col;
    CEditStringArray* m_block;
    CEditString* m_oString;
    WChar* m_customText;
    int m_shortLength;
};

// Receives the report of an edit that broke into a fold without going through the
// editor's undo management: the fold is lost, and the report says so. The editor control
// installs a handler that shows a message box; the default writes to the standard error.
typedef void (*CSegmentsErrorHandler)(const WChar* title, const WChar* message);

// Installs `handler` (null restores the default) and gives the one it replaces.
VEXAPI_API CSegmentsErrorHandler setSegmentsErrorHandler(CSegmentsErrorHandler handler);
// Reports through the current handler.
VEXAPI_API void reportSegmentsError(const WChar* message);

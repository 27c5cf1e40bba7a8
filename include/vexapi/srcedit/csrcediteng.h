// CSrcEditEng: the source editor without a screen: the document with its undo history and
// bookmarks, and every editing operation (typing, line break, deleting, clipboard,
// indenting, search and replace, loading text).
#pragma once

#include <vexapi/srcedit/cbookmarkarray.h>
#include <vexapi/srcedit/cbookmarklookup.h>
#include <vexapi/srcedit/ceditclipboard.h>
#include <vexapi/srcedit/ceditstring.h>
#include <vexapi/srcedit/ceditstringarray.h>
#include <vexapi/srcedit/csrceditlex.h>
#include <vexapi/srcedit/ctextsegment.h>
#include <vexapi/srcedit/cundoarray.h>

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/wstring.h>

// The editing engine the editor control drives: the control adds painting and input.
//
// Every change of the document goes through undo records (CUndoArray): a user action is
// one step, made by one recipe:
//   1. UndoNextStep (drops the undone steps, raises currentStep);
//   2. the record makers (Undo...), in an order that leaves the document valid after
//      each: each performs its change and records it;
//   3. the signals: onInsertRow / onDeleteRow, doChange(true), doParse on the rows
//      touched;
//   4. the repaint (ReDrawRow for one row, ReDraw or ReShow when rows moved);
//   5. UndoCommitStep, with the caret at its final place, so that redo finds it.
// Undo plays a step's records last first, redo first first. Folds and bookmarks are
// undone like text, but do not set the modified flag.
//
// Bookmarks point at rows, so they follow edits and folds without bookkeeping. Whatever
// destroys a row that carries one (joining rows, breaking a row behind a fold, deleting a
// range) first takes the bookmark off through an undo record, and puts it back, where the
// row's line went, through another: so no bookmark ever points at a deleted row, and undo
// gives every one back.
//
// Undo state, between steps (checked by checkInvariants):
//   records [0, appliedCount) are in effect and carry steps <= currentStep; records
//   [appliedCount, count) were undone and carry steps > currentStep; steps never fall
//   along the array. undo:  currentStep -> step of the records before appliedCount, - 1;
//   redo: currentStep -> step of the record at appliedCount. A new step (UndoNextStep)
//   deletes the undone records first.
//
// The engine stands on the colouring layer (CSrcEditLex), which owns the document and
// keeps the tags; the signals it sends after each change (onInsertRow, onDeleteRow,
// doParse) keep the tags those of a full parse.
//
// Ownership: the engine owns the undo records and the bookmarks; the clipboard is the
// caller's.
//
// Invariants (checkInvariants gives the number of the first broken):
//  1. The document's own invariants hold.
//  2. The document has at least one row.
//  3. The caret lies on a row, at or before its end, not strictly inside a label.
//  4. 0 <= appliedCount <= records, currentStep >= 0.
//  5. Records carry steps >= 1 in non-decreasing order, and known actions.
//  6. The records in effect and the undone ones divide at appliedCount as above.
//  7. Every bookmark of this editor's file points at a row of the document, one a row.
//  8. The colouring layer's invariants hold (CSrcEditLex::checkInvariants).
class VEXAPI_API CSrcEditEng : public CSrcEditLex, public CBookmarkLookup {
public:
    enum { HistorySize = 16, HistoryText = 257 };

    // Search state: histories of the dialogs (entry 0 is the current text), the flags and
    // where the next search starts.
    struct SearchState {
        WChar findHistory[HistorySize][HistoryText];
        WChar replaceHistory[HistorySize][HistoryText];
        WChar goToHistory[HistorySize][HistoryText];
        WChar bookmarkHistory[HistorySize][HistoryText];
        int findCount, replaceCount, goToCount, bookmarkCount;
        bool wholeWord, matchCase, forward, wholeFile;
        int findCol, findRow;
        int lastCol, lastRow; // the last match; -1 after any other move of the caret
    };

    CSrcEditEng();
    ~CSrcEditEng() override;
    CSrcEditEng(const CSrcEditEng&) = delete;
    CSrcEditEng& operator=(const CSrcEditEng&) = delete;

    // ---- Text.

    // Loads a document: the caret, the undo history and this file's bookmarks go; rows
    // are split at LF, a CR before the LF dropped when the row has text before it. A
    // trailing line break makes no empty last row. A null text gives one row holding
    // a single LF, which callers test for.
    virtual bool setText(const WChar* text);
    // The plain text ("\r\n" between rows), cut at `capacity` with its NUL; gives `buffer`.
    virtual WChar* getText(WChar* buffer, int capacity);
    WChar* getText(WChar* buffer, int col1, int row1, int col2, int row2, int capacity);
    virtual int getTextLen();
    int getTextLen(int col1, int row1, int col2, int row2);

    // Row i of the document's top block (-1: the caret's row), or null.
    CEditString* GetString(int i) const;
    int GetColCount() const { return document.GetColCount(); }
    int GetTotalRowCount() const { return document.totalRows(); }
    int Abs2VisRowId(int absRow, bool nearest = true) const { return document.Abs2VisRowId(absRow, nearest); }
    int Vis2AbsRowId(int row) const { return document.Vis2AbsRowId(row); }
    // The file the bookmarks are kept under: at most 260 characters; false for null or
    // longer.
    bool SetAssignedFileName(const WChar* name);
    const WChar* GetAssignedFileName() const { return m_fileName.c_str(); }

    // ---- Modes.

    bool isInsert() const { return m_insert; }
    void setInsert(bool on) { m_insert = on; }
    bool isReadOnly() const { return m_readOnly; }
    void setReadOnly(bool on) { m_readOnly = on; }
    bool isIndent() const { return m_indent; }
    void setIndent(bool on) { m_indent = on; }
    bool getTabAsSpace() const { return m_tabAsSpace; }
    void setTabAsSpace(bool on) { m_tabAsSpace = on; }
    int getTabStep() const { return m_tabStep; }
    // Stores `n` when the step now in force lies in 1..32, else makes the step 4: a bad
    // step can be stored once and is repaired on the next call. Callers rely on this.
    void setTabStep(int n);
    bool getModify() const { return m_modified; }
    void setModify(bool on) { m_modified = on; }
    bool isVertBlock() const { return m_vertBlock; }
    void setVertBlock(bool on) { m_vertBlock = on; }

    // ---- Caret and selection (visible columns and rows of the top block).

    int GetCaretCol() const { return m_caretCol; }
    int GetCaretRow() const { return m_caretRow; }
    // Moves the caret, clamped to the document and out of labels; with `extendSelection`
    // the selection runs from its anchor (or the old caret) to here.
    void SetCaretPos(int col, int row, bool scroll = true, bool extendSelection = false);
    void MoveRight(int n);
    void MoveLeft(int n);
    // The selection from its start to its end, in document order; false without one.
    bool getSel(int& col1, int& row1, int& col2, int& row2) const;
    void setSel(int col1, int row1, int col2, int row2);
    void noSel() { m_hasSel = false; }
    bool isSel() const { return m_hasSel; }
    // Whether `row` is in the selection: `from`, `to` its selected columns, `all` true
    // when the whole row is.
    bool isSelRow(int row, int& from, int& to, bool& all) const;

    // ---- Editing. Each is one undo step; false when nothing was done.

    void setClipboard(CEditClipboard* clipboard) { m_clipboard = clipboard; }
    CEditClipboard* clipboard() const { return m_clipboard; }
    // Without a selection: the character before the caret (a whole label when it is one);
    // at column 0 the row joins the previous one. With one: ClipboardDelete.
    bool BackSpace();
    // The character at the caret (a whole label at its first column); at the row's end
    // the next row joins this one. With a selection: ClipboardDelete.
    bool Delete();
    // Breaks the row at the caret, the new row indented as the nearest row above with text.
    bool Return();
    // Typing one character (0x20 and above, or tab); `back` of ClipboardTab comes from
    // setBackTab (Shift+Tab).
    bool onChar(const WChar* text);
    void setBackTab(bool back) { m_backTab = back; }
    bool ClipboardCopy(int mode = 0);
    bool ClipboardCut(int mode = 0);
    bool ClipboardPaste(int mode = 0);
    bool ClipboardDelete();
    // Indents (`back` false) or unindents the selected rows by one tab step.
    bool ClipboardTab(bool back);
    // The document's insSmartText, then the caret to the insertion's end.
    bool insSmartText(CEditStringArray* source, bool copy, int col, int row, int& endCol, int& endRow);
    bool delSmartText(int col1, int row1, int col2, int row2);
    bool getSmartText(CEditStringArray* dest, bool copy, int col1, int row1, int col2, int row2);

    // ---- Search and replace.

    SearchState& searchState() { return *m_search; }
    const SearchState& searchState() const { return *m_search; }
    // Puts `text` first in the find (replace) history; at most 256 characters.
    void setFindText(const WChar* text);
    void setReplaceText(const WChar* text);
    bool FindFirst();
    bool FindNext();
    bool Replace();
    bool FindTextW();
    bool ReplaceTextW();
    bool ReplaceAll();
    // Searches the visible rows from (col, row), forward or backward, without wrapping. On
    // a hit `col`, `row` are the match's place: with `generalIds` the absolute column and
    // the row's general id, else its visible column and row.
    virtual bool FindString(int& col, int& row, const WChar* text, bool wholeWord, bool matchCase, bool forward,
                            bool generalIds);
    // The default text of the find dialogs (at most 256 characters into `buffer`, which
    // holds 257): a one-row selection, else the word behind the caret, else the last find
    // text. False when there is none.
    bool GetFindStr(WChar* buffer);
    // The dialogs; here they show nothing and answer false.
    virtual bool FindDlg();
    virtual bool ReplaceDlg();
    virtual void NotFindMsgBox();
    virtual int GetGoRowNumDlg();
    virtual int GetBookmarkRowNumDlg();
    // The text of NotFindMsgBox: "Cannot find the string '%s'." with the find text.
    WString notFoundText() const;

    // ---- Undo.

    CUndoArray& undoArray() { return m_undo; }
    const CUndoArray& undoArray() const { return m_undo; }
    int GetStep() const { return currentStep; }
    int GetAppliedCount() const { return appliedCount; }
    // `current` the step now in effect, `last` the highest step recorded.
    void GetUndoInfo(int& current, int& last) const;
    bool undo();
    bool redo();
    bool isUndo() const;
    bool isRedo() const;
    // Plays one record backward (forward); true when text changed.
    bool PlayUndo(UNDO* record);
    bool PlayRedo(UNDO* record);
    // Deletes the undone records (steps above currentStep) from the end.
    void RefreshUndo();
    void UndoNextStep();
    // Writes the caret into every record of the step; a step that recorded nothing gets
    // its empty record first, so the counters keep together.
    void UndoCommitStep();
    void InsertNoneUndo();
    // A record of `action` for `row` (-1: the caret's row) with the caret and the step.
    UNDO* GetDefaultUndo(int row, int action);
    UNDO* GetDefaultUndo(int row, int action, CEditString* undoString, CEditString* redoString);
    UNDO* GetDefaultUndo(int row, int action, CEditStringArray* undoBlock, CEditStringArray* redoBlock);

    // Record makers: each performs its change and records it; false (and no change) on a
    // bad row or range. `row` -1 is the caret's row.
    bool UndoInsText(const WChar* text, int col, int row, int& endCol, int& endRow);
    bool UndoDelSmartText(int col1, int row1, int col2, int row2);
    // Takes the free row `string` into the document at index i.
    bool UndoInsString(CEditString* string, int i);
    bool UndoDelString(int i);
    // Overwrites [col, col + n) with `text`; nothing when a label is in the way.
    bool UndoStrChange(int row, const WChar* text, int col, int n);
    bool UndoStrInsert(int row, CEditString* source, int col);
    bool UndoStrInsert(int row, const WChar* text, int n, int col);
    bool UndoStrDelete(int row, int from, int to);
    bool UndoCollapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label);
    bool UndoExpandBlock(CTextSegment* segment, int row, int& endCol, int& endRow);
    bool UndoInsertBookmark(CEditString* row, int key, bool ownStep);
    bool UndoDeleteBookmark(CEditString* row, int key, bool ownStep);

    // ---- Folds.

    // Folds the range into a label of `type` (1..7) or `label`, as one step with
    // `ownStep`; bookmarks inside survive.
    bool CollapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label,
                       bool ownStep = true) override;
    // Opens the fold whose label holds `col` on `row`.
    bool ExpandBlock(int col, int row, bool ownStep = true) override;

    // ---- Bookmarks.

    CBookmarkArray& bookmarks() { return m_bookmarks; }
    // Toggles the bookmark of the caret's row (one without a number).
    bool SetBookmark();
    // Sets bookmark `key` (1..9) on the caret's row, taking it from any other row; on a
    // row that has it, removes it.
    bool SetBookmarkNum(int key);
    bool GoToBookmark();
    bool GoToNextBookmark();
    bool GoToBookmarkNum(int key);
    // The first bookmark, of any file, on `row`.
    tagBOOKMARK* BookmarkAt(const CEditString* row);
    // Appends the general id and key of each bookmarked row of the range: the rows from
    // row1 to row2, with the folds within the columns on the first and last rows. Gives
    // how many.
    int GetBookmarksData(VectorOf<int>& ids, VectorOf<int>& keys, int col1, int row1, int col2, int row2);
    // Deletes the bookmarks of the range, except that of row1 itself.
    bool DeleteBookmarks(int col1, int row1, int col2, int row2, bool ownStep);
    bool insertBookmark(int id, int key);
    // Key 0 stands for any key.
    bool deleteBookmark(int id, int key);
    bool BookmarkKeyAt(const CEditString* row, int& key) const override;

    // ---- Signals (sent: subscribers run, then the member itself).

    // The document changed (`textChanged`) or only its folds or marks: sets modified,
    // resets the scroll bars, sends onChange.
    virtual bool doChange(bool textChanged);
    virtual bool onChange(bool textChanged);
    virtual bool onUndo();
    virtual bool onRedo();
    // A bookmark of another file was asked for.
    virtual bool onBookmark(const WChar* fileName, CEditString* row);
    // doParse, onInsertRow, onDeleteRow, onExpandBlock and onCollapseBlock are the
    // colouring layer's.

    // ---- Repaint and scrolling; nothing here, the control paints.

    virtual void ReDrawRow(int row);
    virtual void ReShow();
    virtual void ReDrawBmpBar();
    virtual void ResetScrollBars();

    int checkInvariants() const;

protected:
    // Bookmarks of rows hidden in folds, taken off before an edit destroys the folds'
    // rows (through copies) and given back afterwards where their lines went.
    struct FoldMarks {
        VectorOf<int> ids;
        VectorOf<int> keys;
    };
    void takeFoldMarks(int row, int from, int to, FoldMarks& marks);
    void giveFoldMarks(const FoldMarks& marks, int shift);
    // The bookmark of `from` moves to `to` unless `to` has one; `from` is about to go.
    void moveRowMark(CEditString* from, CEditString* to);
    // Adds a record to the history; false when it could not be kept.
    bool addRecord(UNDO* record);
    // Deletes the range through a cut, so that the folds behind it move rather than being
    // copied: bookmarks on their rows stay valid.
    bool cutRange(int col1, int row1, int col2, int row2);
    // Undo and redo of a whole row: a copy of `source` goes in at `row`; the row at `row`
    // goes out. Both send the row signals and re-parse around the row.
    bool replayInsertRow(CEditString* source, int row);
    bool replayDeleteRow(int row);
    // Moves a selection end out of a label: the start to the label's start, the end to its
    // end.
    void widenOutOfLabels(int& col1, int row1, int& col2, int row2) const;
    void setCaret(int col, int row);
    void repaintTyped(int col, int row);
    bool wordBehindCaret(WChar* buffer) const;
    // Unfolds what hides `row` and gives its visible index; -1 when it is not shown.
    int showBookmarkRow(CEditString* row);
    bool validMarkRow(const CEditString* row) const;

    CUndoArray m_undo;
    CBookmarkArray m_bookmarks;
    int currentStep;
    int appliedCount;
    int m_caretCol, m_caretRow;
    bool m_hasSel;
    int m_selCol1, m_selRow1, m_selCol2, m_selRow2; // anchor, then end
    bool m_insert, m_readOnly, m_indent, m_tabAsSpace, m_modified, m_vertBlock, m_backTab;
    int m_tabStep;
    int m_bookmarkIndex;
    WString m_fileName;
    CEditClipboard* m_clipboard;
    SearchState* m_search;
};

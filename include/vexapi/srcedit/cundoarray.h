// CUndoArray: the editor's flat list of undo records, and UNDO, one atomic record.
#pragma once

#include <vexapi/srcedit/ceditarray.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

class CEditString;
class CEditStringArray;

// The kinds of undo record (UNDO::action). Each record changes one thing; a user-level
// step is the set of records carrying the same `step`, undone last first and redone first
// first.
enum UndoAction {
    UA_NONE = 0,            // an empty step's placeholder; plays nothing
    UA_DEL_SMART_TEXT = 1,  // a range cut out: undoBlock, col1/row1-col2/row2
    UA_INS_TEXT = 2,        // a block inserted: redoBlock, col1/row1-col2/row2 (its end)
    UA_INS_STRING = 3,      // a row inserted at `row`: redoString
    UA_DEL_STRING = 4,      // row `row` deleted: undoString
    UA_STR_CHANGE = 5,      // overwritten at col1, row1 characters: undoString, redoString
    UA_STR_INSERT = 6,      // inserted at col1, row1 characters: redoString
    UA_STR_DELETE = 7,      // [col1, row1) deleted: undoString
    UA_COLLAPSE_BLOCK = 8,  // a fold made over the range: type, redoLabel
    UA_EXPAND_BLOCK = 9,    // the fold at col1, row1 opened up to col2, row2: type, undoLabel
    UA_DELETE_BOOKMARK = 10, // col1 general id, row1 key
    UA_INSERT_BOOKMARK = 11, // col1 general id, row1 key
    UA_LAST = UA_INSERT_BOOKMARK
};

// One atomic undo record. Rows and columns are visible rows and columns of the document's
// top block as they were when the record was made, ids are general ids; replaying the
// records in exact reverse brings the document back to those terms.
//
// Ownership: the record owns both labels (new[]) and the four strings and blocks, and
// deletes them.
struct VEXAPI_API UNDO {
    int row;
    int step;
    int action;
    int caretColBefore, caretRowBefore;
    int caretColAfter, caretRowAfter;
    int col1, row1, col2, row2;
    int type;
    WChar* undoLabel;
    WChar* redoLabel;
    CEditString* undoString;
    CEditString* redoString;
    CEditStringArray* undoBlock;
    CEditStringArray* redoBlock;

    UNDO();
    ~UNDO();
    UNDO(const UNDO&) = delete;
    UNDO& operator=(const UNDO&) = delete;
};

// Pointers to UNDO records, one pointer wide an element, growing by 50; the array owns
// the records.
//
// The array holds at most Limit records: adding one more deletes the oldest first. The
// step counters of the editor are not touched then, so the oldest step left may be only
// partly undoable; this is accepted, the alternative being an unbounded history.
class VEXAPI_API CUndoArray : public CEditPointerArray<UNDO> {
public:
    enum { Limit = 65536 };

    CUndoArray() : CEditPointerArray<UNDO>(50) {}
    // Deletes the records, from the last down.
    ~CUndoArray() override;
    CUndoArray(const CUndoArray&) = delete;
    CUndoArray& operator=(const CUndoArray&) = delete;

    // Takes `record` (made with new) at the end, first deleting the oldest record when
    // the array is full. Gives the new count; 0 when it could not grow, and the record is
    // then deleted.
    int AddUndo(UNDO* record);
    // Deletes the record at i; false when i is out of range.
    bool DelUndo(int i);
    // Deletes every record, from the last down; false when there was none.
    bool DelAllUndo();
    UNDO* GetUndo(int i) const { return GetAt(i); }
};

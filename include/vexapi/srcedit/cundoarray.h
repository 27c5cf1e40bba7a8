// CUndoArray: the editor's list of undo records, by pointer.
#pragma once

#include <vexapi/srcedit/ceditarray.h>

// One undo record of the editor; the undo layer defines it.
struct UNDO;

// Pointers to UNDO records, one pointer wide an element, growing by 50. The undo layer
// that fills it owns the records and deletes them.
class CUndoArray : public CEditPointerArray<UNDO> {
public:
    CUndoArray() : CEditPointerArray<UNDO>(50) {}
};

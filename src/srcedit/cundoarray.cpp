// CUndoArray and UNDO: the records of the editor's undo history and their bounded list.
#include <vexapi/srcedit/cundoarray.h>

#include <vexapi/srcedit/ceditstring.h>
#include <vexapi/srcedit/ceditstringarray.h>

UNDO::UNDO()
    : row(0), step(0), action(0), caretColBefore(0), caretRowBefore(0), caretColAfter(0), caretRowAfter(0),
      col1(0), row1(0), col2(0), row2(0), type(0), undoLabel(nullptr), redoLabel(nullptr),
      undoString(nullptr), redoString(nullptr), undoBlock(nullptr), redoBlock(nullptr)
{
}

UNDO::~UNDO()
{
    delete[] undoLabel;
    delete[] redoLabel;
    delete undoString;
    delete redoString;
    delete undoBlock;
    delete redoBlock;
}

CUndoArray::~CUndoArray()
{
    DelAllUndo();
}

int CUndoArray::AddUndo(UNDO* record)
{
    if (!record)
        return 0;
    if (count >= Limit)
        DelUndo(0);
    int n = Add(record);
    if (n == 0)
        delete record;
    return n;
}

bool CUndoArray::DelUndo(int i)
{
    UNDO* record = GetAt(i);
    if (!record)
        return false;
    Remove(i);
    delete record;
    return true;
}

bool CUndoArray::DelAllUndo()
{
    if (count == 0)
        return false;
    while (count > 0) {
        UNDO* record = items()[count - 1];
        --count;
        delete record;
    }
    return true;
}

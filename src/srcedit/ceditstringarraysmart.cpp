// CEditStringArray: editing across rows: inserting a block at a position, deleting a
// range and taking a range out, folds included.
#include <vexapi/srcedit/ceditstringarray.h>

#include <vector>

bool CEditStringArray::smartRange(int col1, int row1, int& col2, int row2) const
{
    if (row1 < 0 || row2 >= count || row1 > row2)
        return false;
    CEditString* first = rows()[row1];
    CEditString* last = rows()[row2];
    if (col2 == -1)
        col2 = last->GetLength();
    if (col1 < 0 || col1 > first->GetLength() || col2 < 0 || col2 > last->GetLength())
        return false;
    if (row1 == row2 && col1 > col2)
        return false;
    // A range end inside a label would cut the fold in two.
    return !first->ownerOf(col1) && !last->ownerOf(col2);
}

bool CEditStringArray::insSmartText(CEditStringArray* source, bool copy, int col, int row, int& endCol,
                                    int& endRow)
{
    if (!source || source == this || source->count == 0)
        return false;
    CEditString* target = GetString(row);
    if (!target || col < 0 || col > target->GetLength() || target->ownerOf(col))
        return false;
    int n = source->count;
    endRow = row + n - 1;
    endCol = col;

    // With more than one row the text behind `col` waits in a row of its own, to go
    // behind the last inserted row.
    CEditString* tail = nullptr;
    if (n > 1) {
        tail = new CEditString();
        tail->CatEditString(target, col, false);
        target->CatEditString(source->rows()[0], 0, copy);
    }
    if (n > 2) {
        int middle = n - 2;
        CEditStringArray transit;
        transit.GrowUpBy(middle);
        if (copy) {
            for (int k = 1; k <= middle; ++k)
                transit.AddString(source->rows()[k]->CopyEditString());
        } else {
            std::vector<CEditString*> moving(source->rows() + 1, source->rows() + 1 + middle);
            source->DeleteBlock(1, middle, false);
            for (CEditString* r : moving)
                transit.AddString(r);
        }
        InsertBlock(&transit, row + 1);
        transit.DeleteBlock(0, middle, false);
    }
    CEditString* last = source->rows()[source->count - 1];
    int lastLength = last->GetLength();
    if (!tail) {
        target->InsertEditString(last, col, 0, copy);
        endCol = col + lastLength;
    } else {
        tail->InsertEditString(last, 0, 0, copy);
        endCol = lastLength;
        InsString(tail, endRow);
    }
    // Moved rows leave the source emptied; what is left of it is only husks.
    if (!copy)
        source->DelAllString();
    return true;
}

bool CEditStringArray::delSmartText(int col1, int row1, int col2, int row2)
{
    if (!smartRange(col1, row1, col2, row2))
        return false;
    CEditString* first = rows()[row1];
    if (row1 == row2)
        return first->DeleteEditString(col1, col2);
    CEditString* last = rows()[row2];
    first->DeleteEditString(col1, -1);
    // The rest of the last row joins the first; it moves rather than copies, as the last
    // row is deleted next.
    first->CatEditString(last, col2, false);
    return DeleteBlock(row1 + 1, row2 - row1, true);
}

bool CEditStringArray::getSmartText(CEditStringArray* dest, bool copy, int col1, int row1, int col2, int row2)
{
    if (!dest || dest == this || dest->count != 0 || dest->oSegment() || !smartRange(col1, row1, col2, row2))
        return false;
    CEditString* first = rows()[row1];
    if (row1 == row2) {
        dest->AddString(copy ? first->CopyEditString(col1, col2) : first->CutEditString(col1, col2));
        return true;
    }
    CEditString* last = rows()[row2];
    dest->GrowUpBy(row2 - row1 + 1);
    if (copy) {
        dest->AddString(first->CopyEditString(col1, -1));
        for (int i = row1 + 1; i < row2; ++i)
            dest->AddString(rows()[i]->CopyEditString());
        dest->AddString(last->CopyEditString(0, col2));
        return true;
    }
    dest->AddString(first->CutEditString(col1, -1));
    first->CatEditString(last, col2, false);
    // The middle rows and what is left of the last row move to `dest` as they are.
    int n = row2 - row1;
    std::vector<CEditString*> moving(rows() + row1 + 1, rows() + row2 + 1);
    DeleteBlock(row1 + 1, n, false);
    for (CEditString* r : moving)
        dest->AddString(r);
    return true;
}

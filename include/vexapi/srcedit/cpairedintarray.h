// CPairedIntArray: pairs of lexeme names, an opening one and its closing one.
#pragma once

#include <vexapi/srcedit/ceditarray.h>

// An array of (open, close) pairs of ints, 8 bytes an element, growing by 10. It holds
// the names of paired lexemes and adds nothing to the fields of CEditArray.
class VEXAPI_API CPairedIntArray : public CEditArray {
public:
    CPairedIntArray();

    // Appends a pair; gives the new count, 0 when the array could not grow.
    int AddPair(int open, int close);
    // The open and close name of pair i; 0 when i is out of range.
    int Open(int i) const;
    int Close(int i) const;
    int Count() const { return count; }
    // Removes every pair; false when there was none.
    bool DeleteAll();
};

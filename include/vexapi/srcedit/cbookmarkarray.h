// CBookmarkArray: the editor's bookmarks, by pointer.
#pragma once

#include <vexapi/srcedit/ceditarray.h>

// One bookmark: a row, the user's key and a file name; the bookmark layer defines it.
struct tagBOOKMARK;

// Pointers to tagBOOKMARK records, one pointer wide an element, growing by 5. The
// bookmark layer that fills it owns the records and deletes them.
class CBookmarkArray : public CEditPointerArray<tagBOOKMARK> {
public:
    CBookmarkArray() : CEditPointerArray<tagBOOKMARK>(5) {}
};

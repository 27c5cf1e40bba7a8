// CBookmarkArray: the editor's bookmarks, and tagBOOKMARK, one bookmark.
#pragma once

#include <vexapi/srcedit/ceditarray.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wstring.h>

class CEditString;

// A bookmark points at a row (not at a row number), so that it survives edits and folds
// with no bookkeeping. `key` is the user's bookmark number (1..9) or 0. `fileName` is the
// file of the editor that set it (never null: an empty name when none is given), since
// one array may serve the editors of several files. An entry whose `row` is null is dead:
// whoever meets it during a walk deletes it.
struct VEXAPI_API tagBOOKMARK {
    CEditString* row;
    int key;
    WChar* fileName;

    tagBOOKMARK(CEditString* row, int key, const WChar* fileName);
    ~tagBOOKMARK();
    tagBOOKMARK(const tagBOOKMARK&) = delete;
    tagBOOKMARK& operator=(const tagBOOKMARK&) = delete;

    // Equal `key`, `row` and file name.
    bool operator==(const tagBOOKMARK& other) const;
    // The entry belongs to the file `name` (null: to any file).
    bool inFile(const WChar* name) const;
};

// Pointers to tagBOOKMARK records, one pointer wide an element, growing by 5; the array
// owns the records. One bookmark per row and file.
class VEXAPI_API CBookmarkArray : public CEditPointerArray<tagBOOKMARK> {
public:
    CBookmarkArray() : CEditPointerArray<tagBOOKMARK>(5) {}
    ~CBookmarkArray() override;
    CBookmarkArray(const CBookmarkArray&) = delete;
    CBookmarkArray& operator=(const CBookmarkArray&) = delete;

    // Sets a bookmark of `key` on `row` in `fileName`, replacing any bookmark of that row
    // and file. Gives the new count; -1 for a null row.
    int AddBookmark(const WChar* fileName, CEditString* row, int key);
    // Deletes the first bookmark of that file and row whose key is `key` (-1: any key);
    // dead entries met on the way go too. False when none was found.
    bool DelBookmarkForStr(const WChar* fileName, CEditString* row, int key);
    // Deletes every bookmark of `fileName` (null: of every file), walking from the end;
    // a null pointer entry stops the walk with false.
    bool DelAllBookmark(const WChar* fileName);
    // Entry i; null when i is out of range or the entry is dead (it is then deleted, so
    // the entries behind it move down by one).
    tagBOOKMARK* GetBookmark(int i);
    // The bookmark of `row` in `fileName`: its index, with its key in `key`; -1 if none.
    int GetBookmarkForStr(const WChar* fileName, const CEditString* row, int& key);
    // The first bookmark of `key` over all files: its row in `row`, its file name in
    // `fileName` when given. False when none is found.
    bool GetBookmarkAtKey(int key, CEditString*& row, WString* fileName = nullptr);
    // Deletes entry i; false when i is out of range.
    bool DelBookmarkAtPos(int i);
    int GetBookmarkCount() const { return GetSize(); }
};

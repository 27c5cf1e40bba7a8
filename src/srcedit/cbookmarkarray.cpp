// CBookmarkArray and tagBOOKMARK: bookmarks on rows, per file.
#include <vexapi/srcedit/cbookmarkarray.h>

#include <vexapi/core/wtext.h>

namespace {

bool sameName(const WChar* a, const WChar* b)
{
    if (!a)
        a = WSTR("");
    if (!b)
        b = WSTR("");
    return wstrcmp(a, b) == 0;
}

} // namespace

tagBOOKMARK::tagBOOKMARK(CEditString* row_, int key_, const WChar* fileName_)
    : row(row_), key(key_), fileName(wstrdup(fileName_ ? fileName_ : WSTR("")))
{
}

tagBOOKMARK::~tagBOOKMARK()
{
    delete[] fileName;
}

bool tagBOOKMARK::operator==(const tagBOOKMARK& other) const
{
    return key == other.key && row == other.row && sameName(fileName, other.fileName);
}

bool tagBOOKMARK::inFile(const WChar* name) const
{
    return !name || sameName(fileName, name);
}

CBookmarkArray::~CBookmarkArray()
{
    for (int i = count - 1; i >= 0; --i)
        delete items()[i];
    count = 0;
}

int CBookmarkArray::AddBookmark(const WChar* fileName, CEditString* row, int key)
{
    if (!row)
        return -1;
    // One bookmark per row and file, whatever its key.
    DelBookmarkForStr(fileName, row, -1);
    tagBOOKMARK* mark = new tagBOOKMARK(row, key, fileName);
    int n = Add(mark);
    if (n == 0) {
        delete mark;
        return GetSize();
    }
    return n;
}

bool CBookmarkArray::DelBookmarkForStr(const WChar* fileName, CEditString* row, int key)
{
    for (int i = 0; i < count;) {
        tagBOOKMARK* mark = items()[i];
        if (mark && !mark->row) {
            DelBookmarkAtPos(i);
            continue;
        }
        if (mark && mark->row == row && mark->inFile(fileName ? fileName : WSTR(""))
            && (key == -1 || mark->key == key)) {
            DelBookmarkAtPos(i);
            return true;
        }
        ++i;
    }
    return false;
}

bool CBookmarkArray::DelAllBookmark(const WChar* fileName)
{
    for (int i = count - 1; i >= 0; --i) {
        tagBOOKMARK* mark = items()[i];
        if (!mark)
            return false;
        if (mark->inFile(fileName))
            DelBookmarkAtPos(i);
    }
    return true;
}

tagBOOKMARK* CBookmarkArray::GetBookmark(int i)
{
    tagBOOKMARK* mark = GetAt(i);
    if (mark && !mark->row) {
        DelBookmarkAtPos(i);
        return nullptr;
    }
    return mark;
}

int CBookmarkArray::GetBookmarkForStr(const WChar* fileName, const CEditString* row, int& key)
{
    for (int i = 0; i < count; ++i) {
        tagBOOKMARK* mark = items()[i];
        if (mark && mark->row && mark->row == row && mark->inFile(fileName ? fileName : WSTR(""))) {
            key = mark->key;
            return i;
        }
    }
    return -1;
}

bool CBookmarkArray::GetBookmarkAtKey(int key, CEditString*& row, WString* fileName)
{
    for (int i = 0; i < count; ++i) {
        tagBOOKMARK* mark = items()[i];
        if (mark && mark->row && mark->key == key) {
            row = mark->row;
            if (fileName)
                *fileName = mark->fileName;
            return true;
        }
    }
    return false;
}

bool CBookmarkArray::DelBookmarkAtPos(int i)
{
    tagBOOKMARK* mark = GetAt(i);
    if (i < 0 || i >= count)
        return false;
    Remove(i);
    delete mark;
    return true;
}

// CBookmarkLookup: what the text storage asks the editor about bookmarks.
#pragma once

#include <vexapi/core/api.h>

class CEditString;

// The question the storage puts to whoever keeps the bookmarks (the editor control):
// does a row carry a bookmark, and under which key. The storage keeps no bookmarks of its
// own; `GetBookmarked` walks rows, through folds, and asks this.
class VEXAPI_API CBookmarkLookup {
public:
    virtual ~CBookmarkLookup();
    // True when `row` carries a bookmark; `key` is then the bookmark's key (0 for one
    // without a number).
    virtual bool BookmarkKeyAt(const CEditString* row, int& key) const = 0;
};

// CBookmarkLookup: the interface's out-of-line destructor, so that its type information
// lives in the library.
#include "cbookmarklookup.h"

CBookmarkLookup::~CBookmarkLookup() = default;

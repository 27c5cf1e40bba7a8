// CBookmarkLookup: the interface's out-of-line destructor, so that its type information
// lives in the library.
#include <vexapi/srcedit/cbookmarklookup.h>

CBookmarkLookup::~CBookmarkLookup() = default;

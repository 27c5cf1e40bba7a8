// CEditClipboard: what the source editor needs of a clipboard.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// The editor copies and pastes plain 16-bit text (rows joined by "\r\n") through this
// interface; the control implements it over the platform's clipboard, tests over memory.
// `mode` is passed through untouched (the platform may keep several selections).
class VEXAPI_API CEditClipboard {
public:
    virtual ~CEditClipboard();
    // Puts the `n` characters of `text` on the clipboard; false when it could not.
    virtual bool copyText(const WChar* text, int n, int mode) = 0;
    // Characters of the text on the clipboard; 0 when it holds none.
    virtual int textLength(int mode) = 0;
    // Writes at most `capacity - 1` characters of the text and a NUL into `buffer`; gives
    // the characters written.
    virtual int getText(WChar* buffer, int capacity, int mode) = 0;
};

// The input seam of the visual objects: keyboard state, key characters, the focus, the
// mouse capture and position, beeps and cursor shapes.
#pragma once

#include <vexapi/core/types.h>

class VisualObject;

namespace VexAPI {
namespace platform {

// The character of a key code with no modifiers (MapVirtualKeyW mode 2 on Windows); 0 when
// the key makes none. `fallback` is the key table's Latin character, for platforms without
// a keyboard layout of their own.
WChar keyCodeToChar(unsigned code, int fallback);
// Whether the key with this platform code is down now (the high bit of GetKeyState).
bool isKeyDown(unsigned code);
// The library's objects holding the focus and the capture, or null.
VisualObject* focusedObject();
VisualObject* captureObject();
void cursorPos(int* x, int* y);
bool messageBeep(int type);
// The native cursor of a system shape (Cursor::Type) or of a resource number (type < 0).
void* loadCursor(int type, int resourceId);

} // namespace platform
} // namespace VexAPI

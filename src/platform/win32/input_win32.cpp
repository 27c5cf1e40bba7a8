// The input seam on Windows: key state and characters, focus and capture holders mapped
// back to their objects, the cursor position, beeps and cursor shapes.
#include <vexapi/toolkit/platform_input.h>
#include <vexapi/toolkit/visualobject.h>

#include "wvisualobjectaccess.h"

#include <windows.h>

namespace VexAPI {
namespace platform {

WChar keyCodeToChar(unsigned code, int)
{
    return WChar(MapVirtualKeyW(code, MAPVK_VK_TO_CHAR) & 0xFFFF);
}

bool isKeyDown(unsigned code)
{
    return (GetKeyState(int(code)) & 0x8000) != 0;
}

VisualObject* focusedObject()
{
    return detail::objectOfWindow(GetFocus());
}

VisualObject* captureObject()
{
    return detail::objectOfWindow(GetCapture());
}

void cursorPos(int* x, int* y)
{
    POINT p = {0, 0};
    GetCursorPos(&p);
    if (x)
        *x = p.x;
    if (y)
        *y = p.y;
}

bool messageBeep(int type)
{
    static const UINT sounds[] = {MB_OK, MB_ICONASTERISK, MB_ICONEXCLAMATION, MB_ICONHAND,
                                  MB_ICONQUESTION};
    if (type < 0 || type > 4)
        type = 0;
    return MessageBeep(sounds[type]) != FALSE;
}

void* loadCursor(int type, int resourceId)
{
    if (type < 0)
        return LoadCursorW(detail::libraryModule(), MAKEINTRESOURCEW(resourceId));
    // IDC_ARROW, IDC_IBEAM, IDC_WAIT, IDC_CROSS, IDC_UPARROW, IDC_SIZENWSE, IDC_SIZENESW,
    // IDC_SIZEWE, IDC_SIZENS, IDC_SIZEALL, IDC_NO, IDC_HAND, IDC_APPSTARTING, IDC_HELP.
    static const int shapes[] = {32512, 32513, 32514, 32515, 32516, 32642, 32643,
                                 32644, 32645, 32646, 32648, 32649, 32650, 32651};
    if (type >= int(sizeof shapes / sizeof shapes[0]))
        type = 0;
    return LoadCursorW(nullptr, MAKEINTRESOURCEW(shapes[type]));
}

} // namespace platform
} // namespace VexAPI

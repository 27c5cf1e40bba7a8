// The input seam on Linux: there is no native window layer, so no object holds the focus
// or the capture, no key is down, and a key's character is the key table's Latin one.
#include <vexapi/toolkit/platform_input.h>

namespace VexAPI {
namespace platform {

WChar keyCodeToChar(unsigned, int fallback)
{
    return WChar(fallback > 0 ? fallback : 0);
}

bool isKeyDown(unsigned)
{
    return false;
}

VisualObject* focusedObject()
{
    return nullptr;
}

VisualObject* captureObject()
{
    return nullptr;
}

void cursorPos(int* x, int* y)
{
    if (x)
        *x = 0;
    if (y)
        *y = 0;
}

bool messageBeep(int)
{
    return false;
}

void* loadCursor(int, int)
{
    return nullptr;
}

} // namespace platform
} // namespace VexAPI

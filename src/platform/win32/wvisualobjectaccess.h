// Internal helpers the Win32 side of the toolkit shares between its files.
#pragma once

#include <windows.h>

class VisualObject;

namespace VexAPI {
namespace platform {
namespace detail {

// The library object behind a window of this process that runs the common window
// procedure, or null.
VisualObject* objectOfWindow(HWND window);
// The module of the library itself (vexapi.dll, or the program when linked statically).
HINSTANCE libraryModule();

} // namespace detail
} // namespace platform
} // namespace VexAPI

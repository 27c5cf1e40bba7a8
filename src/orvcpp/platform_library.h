// The library seam: loading a shared library and finding a symbol in it. Each platform
// folder implements it (library_<platform>.cpp); RTLibraryLoader keeps the cache and lock.
#pragma once

#include <vexapi/core/types.h>

namespace VexAPI {
namespace platform {

// Loads the library `file` (a name the platform's search finds, or a path): the handle, or
// null when it can't be loaded. Never shows a message box; the handle is never released.
void* openLibrary(const WChar* file);

// The address of `name` in a library that openLibrary gave, or null.
void* findSymbol(void* library, const char* name);

} // namespace platform
} // namespace VexAPI

// The library seam on Windows: LoadLibraryW and GetProcAddress.
#include <vexapi/orvcpp/platform_library.h>

#include <windows.h>

void* VexAPI::platform::openLibrary(const WChar* file)
{
    // No "cannot find DLL" box for a missing library: the caller is told by null. Set for
    // this thread only, since other threads may rely on the process's mode.
    DWORD oldMode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &oldMode);
    HMODULE handle = LoadLibraryW(file);
    SetThreadErrorMode(oldMode, nullptr);
    return reinterpret_cast<void*>(handle);
}

void* VexAPI::platform::findSymbol(void* library, const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

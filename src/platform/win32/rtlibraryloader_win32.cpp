// RTLibraryLoader on Windows: LoadLibraryW and GetProcAddress, with the handles kept for the
// process's life.
#include <vexapi/orvcpp/rtlibraryloader.h>
#include <vexapi/core/wstring.h>

#include <windows.h>

#include <map>
#include <mutex>
#include <string>

namespace {

// The libraries loaded so far, by the name they were asked for. Never freed: see the class.
struct Loaded {
    std::mutex lock;
    std::map<WString, HMODULE> handles;
};

Loaded& loaded()
{
    // Never destroyed, so that a call during the process's exit still finds it.
    static Loaded* table = new Loaded;
    return *table;
}

} // namespace

RTLibraryLoader::Function RTLibraryLoader::loadFunction(const WChar* library, const char* name)
{
    if (!library || !*library || !name || !*name)
        return nullptr;
    const WString file(library);
    Loaded& table = loaded();
    std::lock_guard<std::mutex> guard(table.lock);
    HMODULE& handle = table.handles[file];
    if (!handle) {
        // No "cannot find DLL" box for a missing library: the caller is told by null.
        // Set for this thread only, since other threads may rely on the process's mode.
        DWORD oldMode = 0;
        SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &oldMode);
        handle = LoadLibraryW(file.c_str());
        SetThreadErrorMode(oldMode, nullptr);
        if (!handle) {
            table.handles.erase(file);
            return nullptr;
        }
    }
    // FARPROC to the generic function type; void (*)() is the type any function pointer may
    // be cast to and back.
    return reinterpret_cast<Function>(GetProcAddress(handle, name));
}

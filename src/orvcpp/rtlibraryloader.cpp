// RTLibraryLoader: a process-wide cache of the libraries loaded by name, over the platform's
// library seam.
#include <vexapi/orvcpp/rtlibraryloader.h>
#include <vexapi/core/wstring.h>

#include "platform_library.h"

#include <map>
#include <mutex>

namespace {

// The libraries loaded so far, by the name they were asked for. Never released: a function
// pointer handed out must stay callable (see the class).
struct Loaded {
    std::mutex lock;
    std::map<WString, void*> handles;
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
    void* handle = nullptr;
    {
        std::lock_guard<std::mutex> guard(table.lock);
        auto found = table.handles.find(file);
        if (found != table.handles.end()) {
            handle = found->second;
        } else {
            // A library that fails to load is not remembered: a later call tries again.
            handle = VexAPI::platform::openLibrary(file.c_str());
            if (!handle)
                return nullptr;
            table.handles.emplace(file, handle);
        }
    }
    // The generic function type: any function pointer may be cast to it and back.
    return reinterpret_cast<Function>(VexAPI::platform::findSymbol(handle, name));
}

// RTLibraryLoader on POSIX: dlopen and dlsym, with the handles kept for the process's life.
#include <vexapi/orvcpp/rtlibraryloader.h>

#include <vexapi/core/charset.h>

#include <dlfcn.h>

#include <map>
#include <mutex>
#include <string>

namespace {

// The libraries loaded so far, by the name they were asked for. Never closed: see the class.
struct Loaded {
    std::mutex lock;
    std::map<std::string, void*> handles;
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
    const std::string file = utf8FromWide(library);
    Loaded& table = loaded();
    std::lock_guard<std::mutex> guard(table.lock);
    void*& handle = table.handles[file];
    if (!handle) {
        handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            table.handles.erase(file);
            return nullptr;
        }
    }
    // dlsym gives an object pointer; POSIX guarantees it converts to a function pointer.
    return reinterpret_cast<Function>(dlsym(handle, name));
}

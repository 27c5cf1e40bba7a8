// RTLibraryLoader on POSIX: dlopen and dlsym, with the handles kept for the process's life.
#include <vexapi/orvcpp/rtlibraryloader.h>

#include <dlfcn.h>

#include <map>
#include <mutex>
#include <string>

namespace {

// UTF-16 to UTF-8 for the file name dlopen takes; an unpaired surrogate becomes U+FFFD.
// (Private until the library's own text conversions take over.)
std::string toUtf8(const WChar* s)
{
    std::string out;
    for (; *s; ++s) {
        unsigned long c = *s;
        if (c >= 0xD800 && c <= 0xDBFF && s[1] >= 0xDC00 && s[1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<unsigned long>(s[1]) - 0xDC00);
            ++s;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD;
        }
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

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
    const std::string file = toUtf8(library);
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

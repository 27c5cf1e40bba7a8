// RTLibraryLoader: finding a function of a shared library at run time. The work is done by
// the platform layer (dlopen/dlsym on POSIX, LoadLibraryW/GetProcAddress on Windows).
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Loads libraries by name and looks functions up in them.
//
// A library, once loaded, stays loaded for the rest of the process: a function pointer that
// `loadFunction` gave must stay callable, and the loader can't know when its caller is done.
// Each library is loaded once; later calls with the same name reuse its handle. A library
// that fails to load is not remembered, so a later call tries again. Safe to call from any
// thread.
class VEXAPI_API RTLibraryLoader {
public:
    // The type of a function found at run time; cast it to its real signature.
    typedef void (*Function)();

    // The function `name` of the library `library` (a file name the platform's search
    // finds, "libm.so.6" or "kernel32.dll", or a path), or null when the library can't be
    // loaded or has no such function. Null or empty arguments give null.
    static Function loadFunction(const WChar* library, const char* name);

    // The same, cast to the caller's function type.
    template <class F>
    static F load(const WChar* library, const char* name)
    {
        return reinterpret_cast<F>(loadFunction(library, name));
    }
};

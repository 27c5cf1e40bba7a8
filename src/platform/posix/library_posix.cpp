// The library seam on POSIX systems: dlopen and dlsym; the name is encoded as UTF-8.
#include <vexapi/core/charset.h>
#include <vexapi/orvcpp/platform_library.h>

#include <dlfcn.h>

void* VexAPI::platform::openLibrary(const WChar* file)
{
    return dlopen(utf8FromWide(file).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* VexAPI::platform::findSymbol(void* library, const char* name)
{
    return dlsym(library, name);
}

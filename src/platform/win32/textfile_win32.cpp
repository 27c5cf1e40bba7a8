// Opening a file by a 16-bit name on Windows: the name goes to _wfopen as it is.
#include <vexapi/core/textfile.h>

#include <cerrno>
#include <cstdio>
#include <wchar.h>

FILE* wfopen(const WChar* path, const char* mode)
{
    if (!path || !mode) {
        errno = EINVAL;
        return nullptr;
    }
    // fopen's modes are ASCII: widened byte by byte.
    wchar_t wideMode[16];
    int i = 0;
    for (; mode[i] && i < 15; ++i)
        wideMode[i] = static_cast<wchar_t>(static_cast<unsigned char>(mode[i]));
    wideMode[i] = 0;
    return _wfopen(path, wideMode);
}

// The file seam on Windows: the 16-bit name goes to _wfopen as it is.
#include <vexapi/core/platform_file.h>

#include <cerrno>
#include <wchar.h>

std::FILE* VexAPI::platform::openFile(const WChar* path, const char* mode)
{
    // fopen's modes are ASCII: widened byte by byte.
    wchar_t wideMode[16];
    int i = 0;
    for (; mode[i] && i < 15; ++i)
        wideMode[i] = static_cast<wchar_t>(static_cast<unsigned char>(mode[i]));
    wideMode[i] = 0;
    return _wfopen(path, wideMode);
}

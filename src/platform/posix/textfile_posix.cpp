// Opening a file by a 16-bit name on POSIX systems: the name is encoded as UTF-8.
#include <vexapi/core/charset.h>
#include <vexapi/core/textfile.h>
#include <vexapi/core/wtext.h>

#include <sys/stat.h>

#include <cerrno>
#include <string>

FILE* wfopen(const WChar* path, const char* mode)
{
    if (!path || !mode) {
        errno = EINVAL;
        return nullptr;
    }
    const int length = wstrlen(path);
    if (length == 0) {
        errno = ENOENT;
        return nullptr;
    }
    // File names on Linux are bytes; UTF-8 is the convention every desktop follows.
    const int need = wcs2mbs(nullptr, path, "UTF-8", 0, length);
    if (need <= 0) {
        errno = EINVAL;
        return nullptr;
    }
    std::string name(static_cast<size_t>(need) + 1, '\0');
    wcs2mbs(&name[0], path, "UTF-8", need + 1, length);
    name.resize(static_cast<size_t>(need));
    FILE* f = std::fopen(name.c_str(), mode);
    if (!f)
        return nullptr;
    // glibc opens a directory for reading, and the reads fail later; Windows refuses it at
    // once. Refusing it here gives both builds the same answer.
    struct stat st;
    if (fstat(fileno(f), &st) == 0 && S_ISDIR(st.st_mode)) {
        std::fclose(f);
        errno = EISDIR;
        return nullptr;
    }
    return f;
}

// The file seam on POSIX systems: the 16-bit name is encoded as UTF-8, the file-name
// convention every Linux desktop follows.
#include <vexapi/core/charset.h>
#include <vexapi/core/platform_file.h>
#include <vexapi/core/wtext.h>

#include <sys/stat.h>

#include <cerrno>
#include <string>

std::FILE* VexAPI::platform::openFile(const WChar* path, const char* mode)
{
    const std::string name = utf8FromWide(path);
    if (name.empty()) {
        errno = EINVAL;
        return nullptr;
    }
    // Text and binary are one here; glibc's fopen has no "t".
    std::string plain;
    for (const char* m = mode; *m; ++m)
        if (*m != 't')
            plain += *m;
    std::FILE* f = std::fopen(name.c_str(), plain.c_str());
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

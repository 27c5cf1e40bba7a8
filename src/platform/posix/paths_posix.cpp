// The paths seam on Linux: the program's path from /proc, the XDG configuration folder,
// $TMPDIR, mkstemps, mkdir and remove; names encoded as UTF-8.
#include <vexapi/app/platform_paths.h>
#include <vexapi/core/charset.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string withoutTrailingSlashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

} // namespace

namespace VexAPI {
namespace platform {

WString programPath()
{
    char path[PATH_MAX + 1];
    const ssize_t n = readlink("/proc/self/exe", path, PATH_MAX);
    if (n <= 0)
        return WString();
    path[n] = 0;
    return wideFromUtf8(path);
}

WString userSettingsFolder()
{
    // The XDG base directory rules: $XDG_CONFIG_HOME when it is an absolute path (a relative
    // one is to be ignored), else $HOME/.config, made with mode 0700 when missing.
    std::string folder;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/') {
        folder = withoutTrailingSlashes(config);
    } else {
        const char* home = std::getenv("HOME");
        if (!home || home[0] != '/') {
            const passwd* user = getpwuid(getuid());
            home = user ? user->pw_dir : nullptr;
        }
        if (!home || home[0] != '/')
            return WString();
        folder = withoutTrailingSlashes(home);
        if (folder != "/")
            folder += '/';
        folder += ".config";
    }
    mkdir(folder.c_str(), 0700);
    return wideFromUtf8(folder.c_str());
}

WString tempFolder()
{
    const char* tmp = std::getenv("TMPDIR");
    std::string folder = tmp && tmp[0] == '/' ? withoutTrailingSlashes(tmp) : std::string("/tmp");
    if (folder != "/")
        folder += '/';
    return wideFromUtf8(folder.c_str());
}

WString createTempFile(const WChar* folder, const WChar* prefix)
{
    std::string name = utf8FromWide(folder) + utf8FromWide(prefix) + "XXXXXX.tmp";
    const int fd = mkstemps(&name[0], 4);
    if (fd < 0)
        return WString();
    ::close(fd);
    return wideFromUtf8(name.c_str());
}

int makeDirectory(const WChar* path, int* error)
{
    if (::mkdir(utf8FromWide(path).c_str(), 0777) == 0)
        return 1;
    if (error)
        *error = errno == EEXIST ? AlreadyExists : (errno ? errno : -1);
    return 0;
}

bool removeFile(const WChar* path)
{
    return path && std::remove(utf8FromWide(path).c_str()) == 0;
}

} // namespace platform
} // namespace VexAPI

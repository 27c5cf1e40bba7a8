// The application frame's system services on Linux: paths, folders, temporary files,
// narrowing, and the Application members that are bound to the platform.
#include <vexapi/app/application.h>
#include <vexapi/app/platform_services.h>
#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>
#include <vexapi/core/wtext.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
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

// ---- AppPlatform ----

int AppPlatform::maxPath()
{
    return PATH_MAX;
}

void AppPlatform::initApartment()
{
}

void AppPlatform::endApartment()
{
}

int AppPlatform::programPath(WChar* buffer, int size)
{
    char path[PATH_MAX + 1];
    ssize_t n = readlink("/proc/self/exe", path, PATH_MAX);
    if (n <= 0) {
        if (buffer && size > 0)
            buffer[0] = 0;
        return 0;
    }
    path[n] = 0;
    return wstrlcpy(buffer, wideFromUtf8(path).c_str(), size);
}

int AppPlatform::userSettingsFolder(WChar* buffer, int size)
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
            return 0;
        folder = withoutTrailingSlashes(home);
        if (folder != "/")
            folder += '/';
        folder += ".config";
    }
    mkdir(folder.c_str(), 0700);
    WString wide = wideFromUtf8(folder.c_str());
    if (!buffer || int(wide.size()) >= size)
        return 0;
    return wstrlcpy(buffer, wide.c_str(), size);
}

int AppPlatform::tempFolder(WChar* buffer, int size)
{
    const char* tmp = std::getenv("TMPDIR");
    std::string folder = tmp && tmp[0] == '/' ? withoutTrailingSlashes(tmp) : std::string("/tmp");
    if (folder != "/")
        folder += '/';
    WString wide = wideFromUtf8(folder.c_str());
    // Like GetTempPathW: a buffer too small receives nothing, and the length tells so.
    if (!buffer || int(wide.size()) >= size)
        return int(wide.size());
    return wstrlcpy(buffer, wide.c_str(), size);
}

bool AppPlatform::createTempFile(const WChar* folder, const WChar* prefix, WChar* buffer,
                                 int size)
{
    std::string name = utf8FromWide(folder) + utf8FromWide(prefix) + "XXXXXX.tmp";
    int fd = mkstemps(&name[0], 4);
    if (fd < 0)
        return false;
    ::close(fd);
    WString wide = wideFromUtf8(name.c_str());
    if (!buffer || int(wide.size()) >= size) {
        ::unlink(name.c_str());
        return false;
    }
    wstrlcpy(buffer, wide.c_str(), size);
    return true;
}

int AppPlatform::makeDirectory(const WChar* path, int* error)
{
    if (::mkdir(utf8FromWide(path).c_str(), 0777) == 0)
        return 1;
    if (error)
        *error = errno == EEXIST ? AlreadyExists : (errno ? errno : -1);
    return 0;
}

std::FILE* AppPlatform::openFile(const WChar* path, const char* mode)
{
    // Text and binary are one on Linux; fopen has no "t".
    std::string plain;
    for (const char* m = mode; m && *m; ++m)
        if (*m != 't')
            plain += *m;
    return std::fopen(utf8FromWide(path).c_str(), plain.c_str());
}

bool AppPlatform::removeFile(const WChar* path)
{
    return path && std::remove(utf8FromWide(path).c_str()) == 0;
}

int AppPlatform::narrow(const WChar* text, char* buffer, int size)
{
    if (!buffer || size <= 0)
        return 0;
    int written = 0;
    std::mbstate_t state{};
    char one[MB_LEN_MAX];
    for (const WChar* s = text; s && *s; ++s) {
        wchar_t c = wchar_t(*s);
        if (*s >= 0xD800 && *s <= 0xDBFF && s[1] >= 0xDC00 && s[1] <= 0xDFFF) {
            c = wchar_t(0x10000 + ((*s - 0xD800) << 10) + (s[1] - 0xDC00));
            ++s;
        }
        std::size_t n = std::wcrtomb(one, c, &state);
        if (n == std::size_t(-1)) {
            one[0] = '?';
            n = 1;
            state = std::mbstate_t{};
        }
        if (written + int(n) > size - 1)
            break;
        std::memcpy(buffer + written, one, n);
        written += int(n);
    }
    buffer[written] = 0;
    return written;
}

// ---- Application: the members bound to the platform ----

const _OSVERSIONINFOW* Application::WinVersion()
{
    // Linux has no Windows version record.
    return nullptr;
}

int Application::GetPID()
{
    return int(::getpid());
}

bool Application::fsEntryExist(const WChar* path)
{
    struct stat info;
    return path && ::stat(utf8FromWide(path).c_str(), &info) == 0;
}

bool Application::deleteFile(const WChar* path)
{
    // True when the file could not be deleted: callers rely on the inversion.
    return !(path && ::unlink(utf8FromWide(path).c_str()) == 0);
}

bool Application::isPathAbsolute(const WChar* path)
{
    return path && path[0] == WChar('/');
}

bool Application::isPathSep(int c)
{
    // A backslash is an ordinary character of a Linux file name.
    return c == '/';
}

WChar Application::pathSep()
{
    return WChar('/');
}

const WChar* Application::eoln()
{
    return WSTR("\n");
}

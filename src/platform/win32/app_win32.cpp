// The Application members that are bound to the platform, on Windows: the version record,
// process id, files, path syntax and line ends.
#include <vexapi/app/application.h>

#include <windows.h>
#include <shlwapi.h>

#include <cstring>
#include <cwchar>

static_assert(sizeof(OSVERSIONINFOW) == 276, "the version record is 276 bytes");

namespace {

bool s_versionKnown = false;
OSVERSIONINFOW s_version;

} // namespace

// ---- Application: the members bound to the platform ----

const _OSVERSIONINFOW* Application::WinVersion()
{
    if (s_versionKnown)
        return &s_version;
    OSVERSIONINFOW version;
    std::memset(&version, 0, sizeof version);
    version.dwOSVersionInfoSize = sizeof version;
    // GetVersionExW is deprecated in the SDK headers but is what the version record needs.
#if defined(__GNUC__)
#  pragma GCC diagnostic push
#  pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif
    BOOL read = GetVersionExW(&version);
#if defined(__GNUC__)
#  pragma GCC diagnostic pop
#endif
    if (!read)
        return nullptr;
    s_version = version;
    s_versionKnown = true;
    return &s_version;
}

int Application::GetPID()
{
    return int(GetCurrentProcessId());
}

bool Application::fsEntryExist(const WChar* path)
{
    if (!path)
        return false;
    const OSVERSIONINFOW* version = WinVersion();
    if (version && version->dwMajorVersion >= 5)
        return PathFileExistsW(path) != FALSE;
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

bool Application::deleteFile(const WChar* path)
{
    // True when the file could not be deleted: callers rely on the inversion.
    return !(path && DeleteFileW(path));
}

bool Application::isPathAbsolute(const WChar* path)
{
    // A drive letter makes a path absolute here; "\dir" and "\\server\share" do not count.
    if (!path)
        return false;
    for (; *path; ++path)
        if (*path == L':')
            return true;
    return false;
}

bool Application::isPathSep(int c)
{
    return c == '\\' || c == '/';
}

WChar Application::pathSep()
{
    return L'\\';
}

const WChar* Application::eoln()
{
    return L"\r\n";
}

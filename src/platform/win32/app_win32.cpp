// The application frame's system services on Windows: paths, shell folders, temporary
// files, COM, narrowing, and the Application members that are bound to the platform.
#include <vexapi/app/application.h>
#include <vexapi/app/platform_services.h>
#include <vexapi/core/wtext.h>

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <cstring>
#include <cwchar>
#include <string>

static_assert(sizeof(OSVERSIONINFOW) == 276, "the version record is 276 bytes");

namespace {

bool s_versionKnown = false;
OSVERSIONINFOW s_version;

} // namespace

// ---- AppPlatform ----

int AppPlatform::maxPath()
{
    return MAX_PATH;
}

void AppPlatform::initApartment()
{
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

void AppPlatform::endApartment()
{
    CoUninitialize();
}

int AppPlatform::programPath(WChar* buffer, int size)
{
    WChar path[MAX_PATH + 1];
    DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH) {
        if (buffer && size > 0)
            buffer[0] = 0;
        return 0;
    }
    return wstrlcpy(buffer, path, size); // GetModuleFileNameW terminated it
}

int AppPlatform::userSettingsFolder(WChar* buffer, int size)
{
    // Application data from Windows 2000 on; the documents folder before it, and when the
    // version is unknown.
    const OSVERSIONINFOW* version = Application::WinVersion();
    int folder = version && version->dwMajorVersion >= 5 ? CSIDL_APPDATA : CSIDL_PERSONAL;

    // The item-list pair is used rather than SHGetFolderPathW: an earlier Wine run reported
    // SHGetFolderPathW as unimplemented in its shell32, while this pair works on Wine 8
    // (checked) and on every Windows.
    LPITEMIDLIST items = nullptr;
    if (FAILED(SHGetSpecialFolderLocation(nullptr, folder, &items)) || !items)
        return 0;
    WChar path[MAX_PATH] = {0};
    BOOL found = items->mkid.cb != 0 && SHGetPathFromIDListW(items, path);
    CoTaskMemFree(items);
    int length = found ? lstrlenW(path) : 0;
    if (length <= 0 || length >= size)
        return 0;
    return wstrlcpy(buffer, path, size);
}

int AppPlatform::tempFolder(WChar* buffer, int size)
{
    return int(GetTempPathW(DWORD(size > 0 ? size : 0), buffer));
}

bool AppPlatform::createTempFile(const WChar* folder, const WChar* prefix, WChar* buffer,
                                 int size)
{
    // GetTempFileNameW writes up to MAX_PATH characters.
    if (size < MAX_PATH)
        return false;
    return GetTempFileNameW(folder, prefix, 0, buffer) != 0;
}

int AppPlatform::makeDirectory(const WChar* path, int* error)
{
    BOOL made = CreateDirectoryW(path, nullptr);
    if (!made && error)
        *error = int(GetLastError());
    return made;
}

std::FILE* AppPlatform::openFile(const WChar* path, const char* mode)
{
    WChar wideMode[16];
    int i = 0;
    for (; mode && mode[i] && i < 15; ++i)
        wideMode[i] = WChar(mode[i]);
    wideMode[i] = 0;
    return path ? _wfopen(path, wideMode) : nullptr;
}

bool AppPlatform::removeFile(const WChar* path)
{
    return path && _wremove(path) == 0;
}

int AppPlatform::narrow(const WChar* text, char* buffer, int size)
{
    if (!buffer || size <= 0)
        return 0;
    buffer[0] = 0;
    if (!text || !*text)
        return 0;
    // The ANSI code page, which the C runtime's multibyte functions use after
    // setlocale(LC_CTYPE, ""); characters it lacks become '?'.
    int needed = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, "?", nullptr);
    if (needed <= 0)
        return 0;
    std::string all(std::size_t(needed), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, -1, &all[0], needed, "?", nullptr);
    int n = needed - 1 < size - 1 ? needed - 1 : size - 1;
    std::memcpy(buffer, all.data(), std::size_t(n));
    buffer[n] = 0;
    return n;
}

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

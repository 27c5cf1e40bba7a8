// The paths seam on Windows: the module file name, the shell's application-data folder,
// GetTempPathW, GetTempFileNameW, CreateDirectoryW and _wremove.
#include <vexapi/app/application.h>
#include <vexapi/app/platform_paths.h>

#include <windows.h>
#include <objbase.h>
#include <shlobj.h>

#include <cwchar>

namespace VexAPI {
namespace platform {

WString programPath()
{
    WChar path[MAX_PATH + 1];
    const DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH)
        return WString();
    return WString(path, n);
}

WString userSettingsFolder()
{
    // Application data from Windows 2000 on; the documents folder before it, and when the
    // version is unknown.
    const OSVERSIONINFOW* version = Application::WinVersion();
    const int folder = version && version->dwMajorVersion >= 5 ? CSIDL_APPDATA : CSIDL_PERSONAL;

    // The item-list pair is used rather than SHGetFolderPathW: an earlier Wine run reported
    // SHGetFolderPathW as unimplemented in its shell32, while this pair works on Wine 8
    // (checked) and on every Windows.
    LPITEMIDLIST items = nullptr;
    if (FAILED(SHGetSpecialFolderLocation(nullptr, folder, &items)) || !items)
        return WString();
    WChar path[MAX_PATH] = {0};
    const BOOL found = items->mkid.cb != 0 && SHGetPathFromIDListW(items, path);
    CoTaskMemFree(items);
    return found ? WString(path) : WString();
}

WString tempFolder()
{
    WChar path[MAX_PATH + 1];
    const DWORD n = GetTempPathW(MAX_PATH + 1, path);
    if (n == 0 || n > MAX_PATH)
        return WString();
    return WString(path, n);
}

WString createTempFile(const WChar* folder, const WChar* prefix)
{
    // GetTempFileNameW writes up to MAX_PATH characters.
    WChar path[MAX_PATH];
    if (GetTempFileNameW(folder, prefix, 0, path) == 0)
        return WString();
    return WString(path);
}

int makeDirectory(const WChar* path, int* error)
{
    const BOOL made = CreateDirectoryW(path, nullptr);
    if (!made && error)
        *error = int(GetLastError());
    return made;
}

bool removeFile(const WChar* path)
{
    return path && _wremove(path) == 0;
}

} // namespace platform
} // namespace VexAPI

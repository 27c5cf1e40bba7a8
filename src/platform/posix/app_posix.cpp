// The Application members that are bound to the platform, on Linux: process id, files,
// path syntax and line ends.
#include <vexapi/app/application.h>
#include <vexapi/core/charset.h>

#include <sys/stat.h>
#include <unistd.h>

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

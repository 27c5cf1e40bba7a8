// MainMutex on Windows: an unnamed Win32 mutex, created unowned. A thread that owns it may
// take it again, which enter_loop relies on when a dispatched handler calls exit_loop.
#include <vexapi/app/platform_mainmutex.h>

#include <windows.h>

namespace VexAPI {
namespace platform {

namespace {

HANDLE s_mutex = nullptr;

} // namespace

bool MainMutex::create()
{
    if (!s_mutex)
        s_mutex = CreateMutexW(nullptr, FALSE, nullptr);
    return s_mutex != nullptr;
}

void MainMutex::close()
{
    if (s_mutex)
        CloseHandle(s_mutex);
    s_mutex = nullptr;
}

bool MainMutex::exists()
{
    return s_mutex != nullptr;
}

void MainMutex::lock()
{
    if (s_mutex)
        WaitForSingleObject(s_mutex, INFINITE);
}

void MainMutex::unlock()
{
    if (s_mutex)
        ReleaseMutex(s_mutex);
}

} // namespace platform
} // namespace VexAPI

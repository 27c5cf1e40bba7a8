// MainMutex on Linux: a recursive pthread mutex, as a Win32 mutex is recursive for the
// thread that owns it (enter_loop holds it while a dispatched handler may take it again).
#include <vexapi/app/platform_mainmutex.h>

#include <pthread.h>

namespace VexAPI {
namespace platform {

namespace {

pthread_mutex_t* s_mutex = nullptr;

} // namespace

bool MainMutex::create()
{
    if (s_mutex)
        return true;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_t* mutex = new pthread_mutex_t;
    bool made = pthread_mutex_init(mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    if (!made) {
        delete mutex;
        return false;
    }
    s_mutex = mutex;
    return true;
}

void MainMutex::close()
{
    if (!s_mutex)
        return;
    pthread_mutex_destroy(s_mutex);
    delete s_mutex;
    s_mutex = nullptr;
}

bool MainMutex::exists()
{
    return s_mutex != nullptr;
}

void MainMutex::lock()
{
    if (s_mutex)
        pthread_mutex_lock(s_mutex);
}

void MainMutex::unlock()
{
    if (s_mutex)
        pthread_mutex_unlock(s_mutex);
}

} // namespace platform
} // namespace VexAPI

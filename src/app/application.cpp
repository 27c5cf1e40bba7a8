// Application: the application object, the exit code and modal level, and the loops that
// run on the main thread (main loop, task events, enter_loop/exit_loop).
#include <vexapi/app/application.h>

#include "platform_mainqueue.h"

#include <vexapi/core/vexassert.h>
#include "platform_mainmutex.h"

using VexAPI::platform::MainQueue;
using VexAPI::platform::MainMutex;

namespace {

// The private thread message that ends enter_loop.
const unsigned ExitLoopMessage = 1039;

// The top of the stack of live applications (linked through m_below).
Application* s_app = nullptr;
int s_exitCode = -1;
int s_modalLevel = 0;
// Read and written under the main mutex only.
unsigned char s_asyncComplete = 0;

} // namespace

namespace VexAPI {
namespace detail {
// Forgets the cached savable folder of getSavableFile (applicationpaths.cpp): it belongs to
// the application whose virtual getSavablePath produced it.
void resetSavableFileCache();
} // namespace detail
} // namespace VexAPI

Application::Application() : m_tmpFileNames(50, 50), m_below(s_app)
{
    s_app = this;
    VexAPI::detail::resetSavableFileCache();
}

Application::~Application()
{
    clearTmpFileNames(true);
    // An application may die out of order: it leaves the stack wherever it is, and only
    // the top's departure changes getApp().
    if (s_app == this) {
        s_app = m_below;
        VexAPI::detail::resetSavableFileCache();
        return;
    }
    for (Application* a = s_app; a; a = a->m_below)
        if (a->m_below == this) {
            a->m_below = m_below;
            break;
        }
}

bool Application::initApplication(int argc, WChar** argv)
{
    return true;
}

void Application::messagePump()
{
    MainQueue::Message message;
    while (MainQueue::get(message) == MainQueue::Taken)
        MainQueue::dispatch(message);
}

void Application::deInitApplication()
{
}

int Application::getSavablePath(WChar* buffer, int size)
{
    return getSavablePath(buffer, size, WSTR("Application"));
}

void Application::post(void* pointer)
{
    MainQueue::postCall(this, pointer);
}

Application* Application::getApp()
{
    return s_app;
}

int Application::getExitCode()
{
    return s_exitCode;
}

void Application::quitApplication(int code)
{
    s_exitCode = code;
    MainQueue::postQuit(code);
}

void Application::procTaskEvents()
{
    MainQueue::Message message;
    for (;;) {
        MainQueue::Took took = MainQueue::peek(message);
        if (took == MainQueue::Nothing)
            return;
        if (took == MainQueue::Quit) {
            // Taking the quit request here would lose it: hand it back to the main loop.
            MainQueue::postQuit(int(message.wParam));
            return;
        }
        MainQueue::dispatch(message);
    }
}

void Application::enter_loop()
{
    VEX_ASSERT(MainQueue::isMainThread());
    MainQueue::Message message;
    bool quit = false;
    int quitCode = 0;
    for (;;) {
        // The exit request overtakes whatever input is queued before it.
        MainQueue::Took took = MainQueue::peek(message, ExitLoopMessage)
                                   ? MainQueue::Taken
                                   : MainQueue::get(message);
        MainMutex::lock();
        if (took == MainQueue::Quit) {
            // A quit request ends this loop and goes on to the main loop, which it is for.
            quit = true;
            quitCode = int(message.wParam);
            break;
        }
        bool exitRequest = message.id == ExitLoopMessage;
        // Held across the dispatch, so that a worker's setAsyncComplete or exit_loop waits
        // until the dispatch has ended.
        MainQueue::dispatch(message);
        if (s_asyncComplete || exitRequest)
            break; // with the mutex held
        MainMutex::unlock();
    }
    // Exit requests that came meanwhile belong to this loop, not to the next one.
    while (MainQueue::peek(message, ExitLoopMessage)) {
    }
    if (quit)
        MainQueue::postQuit(quitCode);
    MainMutex::unlock();
}

void Application::exit_loop()
{
    MainMutex::Lock lock;
    MainQueue::postThreadMessage(ExitLoopMessage);
}

int Application::asyncComplete()
{
    MainMutex::Lock lock;
    return s_asyncComplete;
}

void Application::setAsyncComplete(int value)
{
    MainMutex::Lock lock;
    s_asyncComplete = static_cast<unsigned char>(value);
}

void Application::incModalLevel()
{
    ++s_modalLevel;
}

void Application::decModalLevel()
{
    --s_modalLevel;
}

int Application::modalLevel()
{
    return s_modalLevel;
}

// OneLevelGUIWaiter: the single-level modal wait and its wake-up message.
#include <vexapi/app/onelevelguiwaiter.h>

#include "platform_mainqueue.h"

#include <vexapi/core/vexassert.h>

#include <atomic>

using VexAPI::platform::MainQueue;

namespace {

// The private thread message that wakes a running wait.
const unsigned WaitMessage = 1044;

// Written by other threads (Leave, Break) while the main thread waits. Sequentially
// consistent, so that a Leave racing with the start of a wait is seen by one side or the
// other: either the waiter finds the result set, or the worker finds the wait running and
// posts the wake-up message.
std::atomic<bool> s_exists{false};
std::atomic<int> s_result{0};

void wake()
{
    if (s_exists.load())
        MainQueue::postThreadMessage(WaitMessage);
}

} // namespace

bool OneLevelGUIWaiter::Init()
{
    if (s_exists.load())
        return false;
    s_result.store(0);
    return true;
}

OneLevelGUIWaiter::Result OneLevelGUIWaiter::Wait()
{
    if (s_exists.exchange(true))
        return AlreadyWaiting;
    VEX_ASSERT(MainQueue::isMainThread());

    // A result set before the wait began (a Leave between Init and Wait) ends the wait after
    // one message. That message is a wake-up of the wait's own, so the wait does not sit
    // blocked until some unrelated message happens to arrive.
    if (s_result.load() != 0)
        MainQueue::postThreadMessage(WaitMessage);

    MainQueue::Message message;
    bool quit = false;
    int quitCode = 0;
    do {
        MainQueue::Took took = MainQueue::peek(message, WaitMessage) ? MainQueue::Taken
                                                                     : MainQueue::get(message);
        if (took == MainQueue::Quit) {
            // The program is ending: the wait counts as broken off (unless the work was left
            // already), and the quit request goes on to the main loop.
            quit = true;
            quitCode = int(message.wParam);
            int none = 0;
            s_result.compare_exchange_strong(none, Broken);
            break;
        }
        MainQueue::dispatch(message);
    } while (s_result.load() == 0);

    while (MainQueue::peek(message, WaitMessage)) {
    }
    s_exists.store(false);
    if (quit)
        MainQueue::postQuit(quitCode);
    return Result(s_result.load());
}

void OneLevelGUIWaiter::Leave()
{
    s_result.store(Left);
    wake();
}

void OneLevelGUIWaiter::Break()
{
    // Leave outranks Break: a result of Left stays.
    int seen = s_result.load();
    while (seen != Left && !s_result.compare_exchange_weak(seen, Broken)) {
    }
    wake();
}

bool OneLevelGUIWaiter::exists()
{
    return s_exists.load();
}

bool OneLevelGUIWaiter::result()
{
    return s_result.load() != 0;
}

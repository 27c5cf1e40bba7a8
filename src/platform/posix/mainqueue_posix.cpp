// MainQueue on Linux: the main thread's message queue, kept by the library since the
// system has none, with the same rules as a Win32 thread queue.
#include <vexapi/app/platform_mainqueue.h>
#include <vexapi/core/object.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace VexAPI {
namespace platform {

namespace {

struct QueuedMessage {
    unsigned id;
    Object* target;
    void* pointer;
};

// Invariants:
//  1. `items` is empty and `quit` false while no main thread is attached.
//  2. A quit request is handed out only when `items` is empty, and then cleared, as
//     GetMessageW hands out WM_QUIT once after the posted messages.
struct Queue {
    std::mutex lock;
    std::condition_variable ready;
    std::deque<QueuedMessage> items;
    bool attached = false;
    std::thread::id mainThread;
    bool quit = false;
    int quitCode = 0;
};

// Never destroyed: a worker may still post while static destructors run.
Queue& queue()
{
    static Queue* q = new Queue;
    return *q;
}

void fill(MainQueue::Message& message, const QueuedMessage& item)
{
    message.id = item.id;
    message.wParam = 0;
    message.lParam = reinterpret_cast<std::intptr_t>(item.pointer);
    message.target = item.target;
}

void fillQuit(MainQueue::Message& message, int code)
{
    message.id = 0;
    message.wParam = std::uintptr_t(std::intptr_t(code));
    message.lParam = 0;
    message.target = nullptr;
}

// Takes the next message or the quit request; the caller holds the lock.
MainQueue::Took takeLocked(Queue& q, MainQueue::Message& message)
{
    if (!q.items.empty()) {
        fill(message, q.items.front());
        q.items.pop_front();
        return MainQueue::Taken;
    }
    if (q.quit) {
        q.quit = false;
        fillQuit(message, q.quitCode);
        return MainQueue::Quit;
    }
    return MainQueue::Nothing;
}

bool post(const QueuedMessage& item)
{
    Queue& q = queue();
    {
        std::lock_guard<std::mutex> guard(q.lock);
        if (!q.attached)
            return false;
        q.items.push_back(item);
    }
    q.ready.notify_one();
    return true;
}

} // namespace

bool MainQueue::attach()
{
    Queue& q = queue();
    std::lock_guard<std::mutex> guard(q.lock);
    if (q.attached)
        return false;
    q.attached = true;
    q.mainThread = std::this_thread::get_id();
    q.items.clear();
    q.quit = false;
    return true;
}

void MainQueue::detach()
{
    Queue& q = queue();
    std::lock_guard<std::mutex> guard(q.lock);
    q.attached = false;
    q.mainThread = std::thread::id();
    q.items.clear();
    q.quit = false;
}

bool MainQueue::isAttached()
{
    Queue& q = queue();
    std::lock_guard<std::mutex> guard(q.lock);
    return q.attached;
}

bool MainQueue::isMainThread()
{
    Queue& q = queue();
    std::lock_guard<std::mutex> guard(q.lock);
    return q.attached && q.mainThread == std::this_thread::get_id();
}

MainQueue::Took MainQueue::get(Message& message)
{
    Queue& q = queue();
    std::unique_lock<std::mutex> guard(q.lock);
    // With no main thread nothing could ever arrive: answer as if asked to quit.
    if (!q.attached) {
        fillQuit(message, 0);
        return Quit;
    }
    q.ready.wait(guard, [&q] { return !q.items.empty() || q.quit || !q.attached; });
    Took took = takeLocked(q, message);
    if (took == Nothing) {
        fillQuit(message, 0);
        return Quit;
    }
    return took;
}

MainQueue::Took MainQueue::peek(Message& message)
{
    Queue& q = queue();
    std::lock_guard<std::mutex> guard(q.lock);
    return takeLocked(q, message);
}

bool MainQueue::peek(Message& message, unsigned id)
{
    Queue& q = queue();
    std::lock_guard<std::mutex> guard(q.lock);
    for (auto it = q.items.begin(); it != q.items.end(); ++it) {
        if (it->id == id) {
            fill(message, *it);
            q.items.erase(it);
            return true;
        }
    }
    return false;
}

void MainQueue::dispatch(Message& message)
{
    // A thread message has no window to go to: only a posted call does something.
    if (message.id == PostMessageId && message.target)
        static_cast<Object*>(message.target)->onPost(reinterpret_cast<void*>(message.lParam));
}

bool MainQueue::postThreadMessage(unsigned id)
{
    return post(QueuedMessage{id, nullptr, nullptr});
}

bool MainQueue::postCall(Object* target, void* pointer)
{
    return post(QueuedMessage{PostMessageId, target, pointer});
}

void MainQueue::postQuit(int code)
{
    Queue& q = queue();
    {
        std::lock_guard<std::mutex> guard(q.lock);
        if (!q.attached)
            return;
        q.quit = true;
        q.quitCode = code;
    }
    q.ready.notify_one();
}

} // namespace platform
} // namespace VexAPI

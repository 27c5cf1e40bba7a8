// MainQueue on Windows: the main thread's own Win32 queue, and a message-only window that
// carries posted calls.
#include <vexapi/app/platform_mainqueue.h>
#include <vexapi/core/object.h>

#include <windows.h>

#include <atomic>
#include <cstring>

namespace VexAPI {
namespace platform {

static_assert(sizeof(MSG) <= sizeof(MainQueue::Message::native), "a MSG fits the record");

namespace {

const WChar* const PostWindowClass = L"VexapiMainQueuePost";

// Written by the main thread at attach and detach, read by posting threads.
std::atomic<DWORD> s_mainThread{0};
std::atomic<HWND> s_postWindow{nullptr};
ATOM s_postClass = 0;

HINSTANCE libraryInstance()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
                           | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&libraryInstance), &module);
    return module;
}

// Posted calls go through a window rather than as thread messages: the modal loops of
// Windows itself (message boxes, menus, window dragging) drop thread messages, but they
// dispatch window messages.
LRESULT CALLBACK postWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == MainQueue::PostMessageId) {
        if (wParam)
            reinterpret_cast<Object*>(wParam)->onPost(reinterpret_cast<void*>(lParam));
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

void store(MainQueue::Message& message, const MSG& msg)
{
    message.id = msg.message;
    message.wParam = msg.wParam;
    message.lParam = msg.lParam;
    message.target = msg.hwnd;
    std::memcpy(message.native, &msg, sizeof msg);
}

} // namespace

bool MainQueue::attach()
{
    if (s_mainThread)
        return false;
    // A thread gets its message queue on its first call to a message function; make it now,
    // so that a worker's PostThreadMessageW cannot fail before the loop first runs.
    MSG msg;
    PeekMessageW(&msg, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    s_mainThread.store(GetCurrentThreadId());

    WNDCLASSW windowClass;
    std::memset(&windowClass, 0, sizeof windowClass);
    windowClass.lpfnWndProc = postWindowProc;
    windowClass.hInstance = libraryInstance();
    windowClass.lpszClassName = PostWindowClass;
    s_postClass = RegisterClassW(&windowClass);
    s_postWindow.store(CreateWindowExW(0, PostWindowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                       nullptr, windowClass.hInstance, nullptr));
    return true;
}

void MainQueue::detach()
{
    if (HWND window = s_postWindow.exchange(nullptr))
        DestroyWindow(window);
    if (s_postClass)
        UnregisterClassW(PostWindowClass, libraryInstance());
    s_postClass = 0;
    s_mainThread.store(0);
}

bool MainQueue::isAttached()
{
    return s_mainThread != 0;
}

bool MainQueue::isMainThread()
{
    return s_mainThread != 0 && s_mainThread == GetCurrentThreadId();
}

MainQueue::Took MainQueue::get(Message& message)
{
    MSG msg;
    BOOL got = GetMessageW(&msg, nullptr, 0, 0);
    if (got == -1) {
        // Only an invalid window filter makes GetMessageW fail, and none is given; should it
        // happen all the same, answering quit ends the loop instead of spinning.
        std::memset(&msg, 0, sizeof msg);
        msg.message = WM_QUIT;
    }
    store(message, msg);
    return got > 0 ? Taken : Quit;
}

MainQueue::Took MainQueue::peek(Message& message)
{
    MSG msg;
    if (!PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        return Nothing;
    store(message, msg);
    return msg.message == WM_QUIT ? Quit : Taken;
}

bool MainQueue::peek(Message& message, unsigned id)
{
    MSG msg;
    if (!PeekMessageW(&msg, nullptr, id, id, PM_REMOVE))
        return false;
    if (msg.message == WM_QUIT && id != WM_QUIT) {
        // PeekMessageW hands out WM_QUIT whatever the filter says (seen under Wine, and so
        // documented). Taken here it would be lost: put it back for the next unfiltered take.
        PostQuitMessage(int(msg.wParam));
        return false;
    }
    store(message, msg);
    return true;
}

void MainQueue::dispatch(Message& message)
{
    MSG msg;
    std::memcpy(&msg, message.native, sizeof msg);
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
}

bool MainQueue::postThreadMessage(unsigned id)
{
    DWORD thread = s_mainThread.load();
    return thread && PostThreadMessageW(thread, id, 0, 0);
}

bool MainQueue::postCall(Object* target, void* pointer)
{
    HWND window = s_postWindow.load();
    return window && PostMessageW(window, PostMessageId, reinterpret_cast<WPARAM>(target),
                                  reinterpret_cast<LPARAM>(pointer));
}

void MainQueue::postQuit(int code)
{
    PostQuitMessage(code);
}

} // namespace platform
} // namespace VexAPI

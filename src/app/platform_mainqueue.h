// The main-queue seam: the main thread's message queue as the frame's loops use it. Each
// platform folder implements it (mainqueue_<platform>.cpp).
#pragma once

#include <vexapi/core/api.h>

#include <cstdint>

class Object;

namespace VexAPI {
namespace platform {

// The message queue of the main thread. On Windows it is the thread's own Win32 queue;
// on Linux the library keeps one, so that the same loops run on both builds.
//
// What the loops rely on:
//  1. Any thread can post a numbered message to the main thread (postThreadMessage).
//  2. The queue can be searched for one message number, which is then removed ahead of
//     everything queued before it (peek with a number).
//  3. A quit request is delivered only once the queue holds nothing else, and only once.
//  4. A posted call (postCall) runs target->onPost(pointer) when dispatched.
class MainQueue {
public:
    MainQueue() = delete;

    // The number of a posted call, the same as a visual object's post.
    enum { PostMessageId = 2025 };

    // One message taken from the queue: its number and parameters, and the platform's own
    // record of it (the MSG on Windows) for dispatching.
    struct Message {
        unsigned id;
        std::uintptr_t wParam; // for a quit request: the code given to postQuit
        std::intptr_t lParam;
        void* target;
        alignas(8) unsigned char native[64];
    };

    enum Took {
        Nothing = 0, // the queue was empty (only from the non-blocking peek)
        Taken = 1,   // a message was taken
        Quit = 2     // the quit request was taken; `wParam` holds its code
    };

    // Makes the calling thread the main thread and readies its queue. False when a main
    // thread is already attached.
    static bool attach();
    // Ends the attachment; messages still queued are dropped.
    static void detach();
    static bool isAttached();
    static bool isMainThread();

    // Waits for the next message (GetMessageW). On the main thread only.
    static Took get(Message& message);
    // Takes the next message if there is one (PeekMessageW with removal).
    static Took peek(Message& message);
    // Takes the first message with this number if there is one, ahead of all others.
    static bool peek(Message& message, unsigned id);
    // Translates and dispatches a message taken from the queue.
    static void dispatch(Message& message);

    // Posts message `id` (no parameters) to the main thread; callable from any thread.
    // False when no main thread is attached.
    static bool postThreadMessage(unsigned id);
    // Posts a call of target->onPost(pointer), made when the message is dispatched on the
    // main thread; callable from any thread. False when no main thread is attached.
    static bool postCall(Object* target, void* pointer);
    // Asks the main loop to end with `code` (PostQuitMessage).
    static void postQuit(int code);
};

} // namespace platform
} // namespace VexAPI

// The main-mutex seam: the main mutex that guards the frame's loop controls. Each platform
// folder implements it (mainmutex_<platform>.cpp).
#pragma once

namespace VexAPI {
namespace platform {

// The main mutex: recursive, unnamed, created unowned at entry. It guards the loop controls
// of the frame (asyncComplete, exit_loop) and is held across each dispatch of enter_loop.
// Before create() and after close(), lock and unlock do nothing.
class MainMutex {
public:
    MainMutex() = delete;

    static bool create();
    static void close();
    static bool exists();
    static void lock();
    static void unlock();

    // Holds the mutex for its scope.
    class Lock {
    public:
        Lock() { MainMutex::lock(); }
        ~Lock() { MainMutex::unlock(); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
    };
};

} // namespace platform
} // namespace VexAPI

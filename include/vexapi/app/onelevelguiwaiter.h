// OneLevelGUIWaiter: a single-level modal wait on the main thread that another thread ends.
#pragma once

#include <vexapi/core/api.h>

// Keeps the main thread's messages flowing until another thread calls Leave() (the work
// ended) or Break() (it was cancelled). Only one wait runs at a time: a second Wait() while
// one runs answers AlreadyWaiting at once. Init() before starting the work, so that a Leave
// that comes before Wait() is not lost.
//
// States (exists, result) and their edges:
//
//   state            event (caller)       function      next state
//   Idle (no, 0)     Init (main)          Init          Idle, result cleared
//   Idle (no, 0)     Leave/Break (any)    Leave/Break   Done (no, Left/Broken): not lost
//   Idle (no, 0)     Wait (main)          Wait          Waiting (yes, 0)
//   Done (no, r)     Wait (main)          Wait          returns r at once, stays Done
//   Done (no, r)     Init (main)          Init          Idle
//   Waiting (yes,0)  Leave (any)          Leave         Waiting (yes, Left) + wake-up
//   Waiting (yes,0)  Break (any)          Break         Waiting (yes, Broken) + wake-up
//   Waiting (yes,r)  wake-up dispatched   Wait          Done (no, r): Wait returns r
//   Waiting          Wait (main, nested)  Wait          unchanged; answers AlreadyWaiting
//   Waiting          Init (main, nested)  Init          unchanged; answers false
//   any (_, Left)    Break (any)          Break         unchanged: Left wins
//
// Invariants:
//  1. The result is 0 (none yet), Broken or Left; once Left, Break cannot change it.
//  2. exists() is true exactly while a Wait() runs.
//  3. When a Wait() returns, no wake-up message of its own is left in the queue.
class VEXAPI_API OneLevelGUIWaiter {
public:
    OneLevelGUIWaiter() = delete;

    enum Result {
        Broken = 1,        // broken off with Break()
        Left = 2,          // left with Leave()
        AlreadyWaiting = 3 // a wait is already running; this call did not wait
    };

    // Clears the result when no wait runs; gives true when no wait runs.
    static bool Init();
    // Runs the main thread's messages until the result is set (main thread only).
    static Result Wait();
    // Sets the result to Left and wakes the wait. Callable from any thread.
    static void Leave();
    // Sets the result to Broken unless it is Left, and wakes the wait. Any thread.
    static void Break();

    static bool exists();
    // Whether a result has been set.
    static bool result();
};

// Application: the program's one application object, its loops, and the process-wide
// services around it (modal level, paths, temporary files).
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>
#include <vexapi/core/object.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>

// The Windows version record (OSVERSIONINFOW); WinVersion() gives its address.
struct _OSVERSIONINFOW;

// The base of a program's application object. The program defines one static instance of
// a class derived from it; the library's process entry finds it through getApp() and calls
// initApplication, messagePump and deInitApplication on the main thread (see mainentry.h).
//
// Ownership: the object owns its table of temporary file names (owned copies), and the
// list of active forms links nodes that belong to the forms.
//
// Invariants:
//  1. getApp() is the most recently constructed Application still alive, or null.
//  2. The table of temporary names holds no two equal names.
//  3. Each node on activeForms() is an ActiveFormsPointer of a live form, in order of
//     creation unless a form moved its node.
//
// Everything here runs on the main thread, except exit_loop, asyncComplete and
// setAsyncComplete (any thread, under the main mutex) and post (any thread). The functions
// that give a path out of a process-wide buffer are not re-entrant.
class VEXAPI_API Application : public virtual Object {
public:
    Application();
    ~Application() override;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    // Where the program builds its first forms; false skips the loop and deInitApplication.
    virtual bool initApplication(int argc, WChar** argv);
    // Runs the main loop until quitApplication.
    virtual void messagePump();
    virtual void deInitApplication();
    // The folder for the files the program saves; by default
    // getSavablePath(buffer, size, "Application"). Gives its length.
    virtual int getSavablePath(WChar* buffer, int size);

    // Has onPost(pointer) called on the main thread from the message loop. Callable from
    // any thread: the way a worker hands a result to the program. Dropped when no main
    // thread exists (before the entry, or after it has ended).
    void post(void* pointer) override;

    static Application* getApp();
    // The code given to the last quitApplication; -1 before any.
    static int getExitCode();
    // Stores `code` and ends the main loop. The process still ends with 0: the code is
    // kept for getExitCode() only.
    static void quitApplication(int code);

    // Dispatches what is queued for the main thread, without waiting, and returns.
    static void procTaskEvents();
    // A nested loop on the main thread, left when exit_loop is called (from any thread) or
    // when a dispatched message finds asyncComplete set. The exit request overtakes queued
    // messages, and the main mutex is held across each dispatch.
    //
    //   state        event                            function    next
    //   Running      message taken                    enter_loop  Dispatching (mutex held)
    //   Running      exit request queued (exit_loop)  enter_loop  taken ahead of all else,
    //                                                             dispatched, then Left
    //   Dispatching  done, asyncComplete set          enter_loop  Left
    //   Dispatching  done, nothing set                enter_loop  Running (mutex released)
    //   Running      quit request taken               enter_loop  Left; the quit request is
    //                                                             posted again for the main
    //                                                             loop, whose it is
    //   Left         (on the way out)                 enter_loop  exit requests still queued
    //                                                             are dropped: they were
    //                                                             meant for this loop
    static void enter_loop();
    static void exit_loop();
    static int asyncComplete();
    static void setAsyncComplete(int value);

    static void incModalLevel();
    static void decModalLevel();
    static int modalLevel();

    // The Windows version, read once and cached; null when it cannot be read (and always on
    // Linux, which has no such record).
    static const _OSVERSIONINFOW* WinVersion();
    static int GetPID();

    // The folder of the running program, without a trailing separator. Writes at most
    // size - 1 characters and a terminator; gives the folder's whole length.
    static int getExecutablePath(WChar* buffer, int size);
    // The per-user folder for saved settings, "<user folder>/ORVANE_GUI_CFG/<subDir>", made
    // if missing. Writes at most size - 1 characters and a terminator and gives the whole
    // length. Falls back to getExecutablePath when the platform has no user folder.
    static int getSavablePath(WChar* buffer, int size, const WChar* subDir);
    // `name` in the savable folder (from the virtual getSavablePath), or `name` alone when
    // that folder is empty. The result lives in a process-wide buffer until the next call.
    const WChar* getSavableFile(const WChar* name);

    static bool fsEntryExist(const WChar* path);
    // True when the file could NOT be deleted. The inversion is deliberate and callers
    // rely on it.
    static bool deleteFile(const WChar* path);
    // Creates each folder of the relative `path` below the absolute `base` (never `base`
    // itself). Doubled and trailing separators in `path` are skipped; existing folders
    // are fine. False for an empty or relative argument or when a folder can't be made.
    static bool createDirectory(const WChar* base, const WChar* path);
    // Makes a new empty temporary file and gives its name, in a process-wide buffer; null
    // when none can be made.
    static WChar* getTemporaryFile();

    // The table of temporary names: files the program means to remove later.
    bool addTmpFileName(const WChar* name);
    bool delTmpFileName(const WChar* name, bool removeFile);
    // Takes every name out, last first, removing the files when asked; gives how many.
    int clearTmpFileNames(bool removeFiles);

    static bool isPathAbsolute(const WChar* path);
    static bool isPathSep(int c);
    static WChar pathSep();
    static const WChar* eoln();

    // The live forms, as ActiveFormsPointer nodes.
    List& activeForms() { return m_activeForms; }
    int tmpFileNameCount() const { return m_tmpFileNames.size(); }

private:
    List m_activeForms;
    VectorOf<WChar*> m_tmpFileNames;
    // The application that was getApp() when this one was constructed and is still alive:
    // the live applications form a stack through these links, getApp() at its top.
    Application* m_below;
};

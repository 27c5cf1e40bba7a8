// AppPlatform: the operating-system services under the application frame's portable code.
// Declared here once; src/platform/win32 and src/platform/posix each implement them.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdio>

// The primitives that Application's paths, temporary files and log are built on. The
// algorithms (what is tried first, what falls back to what) stay in src/app, so both
// builds behave alike; each function here is one system call or a few.
//
// Paths are 16-bit text: on Windows they go to the wide API as they are, on Linux they are
// converted to UTF-8, the encoding Linux file names use in practice.
class AppPlatform {
public:
    AppPlatform() = delete;

    // The longest path the platform's path calls take, in characters, terminator included:
    // MAX_PATH (260) on Windows, PATH_MAX (4096) on Linux.
    static int maxPath();

    // The calling thread's COM apartment (apartment-threaded). Linux has none: no-ops there.
    static void initApartment();
    static void endApartment();

    // The full path of the running program. Gives its length (which may exceed `size`);
    // the buffer gets at most size - 1 characters and a terminator. 0 when unknown.
    static int programPath(WChar* buffer, int size);

    // The per-user folder where programs keep their settings: the shell's application-data
    // folder on Windows, the XDG configuration folder on Linux. Gives its length, or 0 when
    // there is none or it does not fit in `size` - 1 characters.
    static int userSettingsFolder(WChar* buffer, int size);

    // The system's folder for temporary files, with a trailing separator. Gives its length
    // (which may exceed `size`, as GetTempPathW does), or 0.
    static int tempFolder(WChar* buffer, int size);

    // Creates a new, empty file with a unique name made of `prefix` in `folder` (which ends
    // in a separator) and writes its path to `buffer`. False when no file could be made.
    static bool createTempFile(const WChar* folder, const WChar* prefix, WChar* buffer,
                               int size);

    // The answer of makeDirectory for an entry that was already there (ERROR_ALREADY_EXISTS).
    enum { AlreadyExists = 183 };

    // Makes one directory, like CreateDirectoryW: non-zero on success, 0 on failure with
    // the reason in `*error` (AlreadyExists, or another non-zero code). `error` may be null.
    static int makeDirectory(const WChar* path, int* error);

    // fopen on a 16-bit path. Mode letters are the C ones; a "t" is honoured on Windows
    // and dropped elsewhere.
    static std::FILE* openFile(const WChar* path, const char* mode);

    // Removes a file, as remove() does. True when it is gone.
    static bool removeFile(const WChar* path);

    // Narrows text to the process's multibyte encoding (the one the locale selects),
    // writing at most size - 1 bytes and a terminator. A character the encoding lacks
    // becomes '?'. Gives the number of bytes written.
    static int narrow(const WChar* text, char* buffer, int size);
};

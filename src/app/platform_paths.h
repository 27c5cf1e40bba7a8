// The paths seam: the file-system services under the application frame's paths, folders and
// temporary files. Each platform folder implements it (paths_<platform>.cpp); the
// algorithms (what is tried first, what falls back to what, buffer limits) stay in the
// frame, so both builds behave alike. Paths are 16-bit text: on Windows they go to the wide
// API as they are, on Linux they are encoded as UTF-8.
#pragma once

#include <vexapi/core/wstring.h>

namespace VexAPI {
namespace platform {

// The full path of the running program; empty when unknown.
WString programPath();

// The per-user folder where programs keep their settings: the shell's application-data
// folder on Windows, the XDG configuration folder on Linux (made when missing); empty when
// there is none.
WString userSettingsFolder();

// The system's folder for temporary files, with a trailing separator; empty when none.
WString tempFolder();

// Creates a new, empty file with a unique name made of `prefix` in `folder` (which ends in
// a separator): its path, or empty when no file could be made.
WString createTempFile(const WChar* folder, const WChar* prefix);

// The error of makeDirectory for an entry that was already there (ERROR_ALREADY_EXISTS).
enum { AlreadyExists = 183 };

// Makes one directory, like CreateDirectoryW: non-zero on success, 0 on failure with the
// reason in `*error` (AlreadyExists, or another non-zero code). `error` may be null.
int makeDirectory(const WChar* path, int* error);

// Removes a file, as remove() does. True when it is gone.
bool removeFile(const WChar* path);

} // namespace platform
} // namespace VexAPI

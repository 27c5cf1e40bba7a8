// The file seam: opening a file by a 16-bit name, the one way the library does it. Each
// platform folder implements it (file_<platform>.cpp); wfopen is its public face.
#pragma once

#include <vexapi/core/types.h>

#include <cstdio>

namespace VexAPI {
namespace platform {

// fopen on a 16-bit path (not null, not empty: wfopen checks), with fopen's mode letters.
// A "t" is honoured on Windows and dropped elsewhere. A directory is refused on every
// platform, as Windows refuses it, rather than failing at the first read as glibc would.
std::FILE* openFile(const WChar* path, const char* mode);

} // namespace platform
} // namespace VexAPI

// The library's one assertion facility: a failed check reports its expression's text, the
// source unit and the line to a replaceable handler.
#pragma once

#include <vexapi/core/api.h>

namespace VexAPI {

// Receives a failed assertion. `unit` is the source file's base name without extension
// ("pmf" for pmf.cpp). When the handler returns, the code after the assertion goes on.
typedef void (*AssertHandler)(const char* expression, const char* unit, int line);

// Installs `handler` (null restores the default) and returns the one it replaces.
// The default handler writes the report to stderr and aborts the process.
VEXAPI_API AssertHandler setAssertHandler(AssertHandler handler);
VEXAPI_API AssertHandler getAssertHandler();

// Reports a failure through the current handler. `file` may be a path or a unit name.
VEXAPI_API void assertFailed(const char* expression, const char* file, int line);

// The unit name of a path: "src/core/pmf.cpp" -> "pmf". Writes into `out` (size `n`).
VEXAPI_API const char* assertUnitName(const char* file, char* out, int n);

} // namespace VexAPI

// Checked in every build configuration: the checks are cheap, and a violated rule must be
// seen by the application's handler rather than vanish in a release build.
#define VEX_ASSERT(expr) \
    ((expr) ? (void)0 : ::VexAPI::assertFailed(#expr, __FILE__, __LINE__))

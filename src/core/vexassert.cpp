// The assertion facility: handler registry and the default report.
#include <vexapi/core/vexassert.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace VexAPI {

namespace {

void defaultAssertHandler(const char* expression, const char* unit, int line)
{
    std::fprintf(stderr, "Assertion failed: %s, unit %s, line %d\n", expression, unit, line);
    std::fflush(stderr);
    std::abort();
}

std::atomic<AssertHandler> g_handler{&defaultAssertHandler};

} // namespace

AssertHandler setAssertHandler(AssertHandler handler)
{
    return g_handler.exchange(handler ? handler : &defaultAssertHandler);
}

AssertHandler getAssertHandler()
{
    return g_handler.load();
}

const char* assertUnitName(const char* file, char* out, int n)
{
    if (n <= 0)
        return out;
    const char* base = file;
    for (const char* p = file; *p; ++p)
        if (*p == '/' || *p == '\\')
            base = p + 1;
    const char* dot = std::strrchr(base, '.');
    std::size_t len = dot ? std::size_t(dot - base) : std::strlen(base);
    if (len >= std::size_t(n))
        len = std::size_t(n) - 1;
    std::memcpy(out, base, len);
    out[len] = '\0';
    return out;
}

void assertFailed(const char* expression, const char* file, int line)
{
    char unit[128];
    assertUnitName(file, unit, int(sizeof unit));
    g_handler.load()(expression, unit, line);
}

} // namespace VexAPI

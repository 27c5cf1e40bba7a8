// Text collation on Windows: CompareStringA/W in the user's locale, or code point order
// while the C runtime's collation locale is "C".
#include <vexapi/datasource/platform_collate.h>

#include <windows.h>

#include <clocale>
#include <cstring>

namespace VexAPI {
namespace platform {

namespace {

// strcoll and wcscoll of the C runtime compare by code unit until the program calls
// setlocale, and so does the C library on Linux: keep that order here, so that a program
// sorts alike on both platforms until it chooses a locale.
bool cLocale()
{
    const char* name = std::setlocale(LC_COLLATE, nullptr);
    return !name || std::strcmp(name, "C") == 0;
}

int fromCompareString(int r)
{
    return r == CSTR_LESS_THAN ? -1 : r == CSTR_GREATER_THAN ? 1 : 0;
}

} // namespace

int collateChar(const char* a, int aLen, const char* b, int bLen)
{
    if (!cLocale()) {
        const int r = CompareStringA(LOCALE_USER_DEFAULT, 0, a, aLen, b, bLen);
        if (r != 0)
            return fromCompareString(r);
    }
    return std::strcmp(a, b);
}

int collateText(const WChar* a, int aLen, const WChar* b, int bLen)
{
    if (!cLocale()) {
        const int r = CompareStringW(LOCALE_USER_DEFAULT, 0, a, aLen, b, bLen);
        if (r != 0)
            return fromCompareString(r);
    }
    // A tie: compare() breaks it by code point, the order the C runtime gives in "C".
    return 0;
}

} // namespace platform
} // namespace VexAPI

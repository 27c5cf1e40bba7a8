// Small 16-bit text routines of the source editor's storage.
#include "edittext.h"

#include <cstring>

namespace VexAPI {
namespace detail {

bool equal(const WChar* a, const WChar* b, int n)
{
    for (int i = 0; i < n; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

bool isWordSeparator(WChar c)
{
    static const char separators[] = " :;,.+-=*<>(){}[]\"'\\/|%?@&~\t\r\n";
    if (c == 0 || c > 0x7f)
        return false;
    return std::strchr(separators, char(c)) != nullptr;
}

} // namespace detail
} // namespace VexAPI

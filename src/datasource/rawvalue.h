// Reading and writing a value of a fixed-size type at an address that may not be aligned
// for it, as the values of a row's area and of a caller's buffer are. Internal.
#pragma once

#include <cstring>

namespace DataSourceAPI {
namespace detail {

template <class T>
T load(const void* p)
{
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

template <class T>
void store(void* p, const T& v)
{
    std::memcpy(p, &v, sizeof(T));
}

} // namespace detail
} // namespace DataSourceAPI

// The library's basic scalar types: its one 16-bit character type and its 32-bit integer.
#pragma once

#include <cstdint>

// All text inside the library is 16-bit. Windows gives wchar_t two bytes, so it is the
// native choice there; elsewhere wchar_t has four, and char16_t takes its place.
#if defined(_WIN32)
typedef wchar_t WChar;
#  define WSTR(s) L##s
#else
typedef char16_t WChar;
#  define WSTR(s) u##s
#endif

static_assert(sizeof(WChar) == 2, "the library's text is 16-bit");

// The library's `long`: 32 bits on every build. (`long` itself is 32 bits on Windows and
// 64 on Linux; row numbers, counts and tInt values keep 32 bits everywhere.)
typedef std::int32_t VLong;
typedef std::uint32_t VULong;

static_assert(sizeof(VLong) == 4, "VLong is the 32-bit integer");

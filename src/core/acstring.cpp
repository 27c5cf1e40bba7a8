// aCString: construction, assignment, the buffer protocol, substrings, search, trimming and
// Format.
#include <vexapi/core/acstring.h>

#include "cstringbuffer.h"
#include "platformtext.h"
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wformat.h>
#include <vexapi/core/wtext.h>
#include <vexapi/core/wstring.h>

#include <cstdarg>
#include <string>
#include <utility>

namespace VexAPI {

namespace B = CStringBuffer;

namespace {

const WChar kEmpty[1] = {0};

bool isBlank(WChar c) { return wisspace(c); }

} // namespace

aCString::aCString() : data(nullptr), length(0) {}

aCString::aCString(const WChar* text, int n) : data(nullptr), length(0)
{
    if (n > 0)
        B::assign(data, length, text, static_cast<size_t>(n));
}

aCString::aCString(const WChar* text) : data(nullptr), length(0)
{
    B::assign(data, length, text, B::textLength(text));
}

aCString::aCString(const aCString& other) : data(nullptr), length(0)
{
    B::assign<WChar>(data, length, other.data, other.length);
}

aCString::aCString(aCString&& other) noexcept : data(other.data), length(other.length)
{
    other.data = nullptr;
    other.length = 0;
}

aCString::aCString(const char* text) : data(nullptr), length(0)
{
    const WString wide = PlatformText::widen(text, -1);
    B::assign(data, length, wide.data(), wide.size());
}

aCString::~aCString()
{
    std::free(data);
}

aCString& aCString::operator=(const aCString& other)
{
    if (this != &other)
        B::assign<WChar>(data, length, other.data, other.length);
    return *this;
}

aCString& aCString::operator=(aCString&& other) noexcept
{
    if (this != &other) {
        std::free(data);
        data = other.data;
        length = other.length;
        other.data = nullptr;
        other.length = 0;
    }
    return *this;
}

aCString& aCString::operator=(const WChar* text)
{
    B::assign(data, length, text, B::textLength(text));
    return *this;
}

aCString& aCString::operator=(const char* text)
{
    const WString wide = PlatformText::widen(text, -1);
    B::assign(data, length, wide.data(), wide.size());
    return *this;
}

aCString& aCString::operator+=(const aCString& other)
{
    B::append<WChar>(data, length, other.data, other.length);
    return *this;
}

aCString& aCString::operator+=(const WChar* text)
{
    B::append(data, length, text, B::textLength(text));
    return *this;
}

aCString& aCString::operator+=(const char* text)
{
    const WString wide = PlatformText::widen(text, -1);
    B::append(data, length, wide.data(), wide.size());
    return *this;
}

bool aCString::operator==(const aCString& other) const
{
    return B::equals<WChar>(data, length, other.data, other.length);
}

bool aCString::operator==(const WChar* text) const
{
    return B::equals(data, length, text, B::textLength(text));
}

WChar aCString::operator[](int i) const
{
    VEX_ASSERT(i >= 0 && static_cast<VULong>(i) <= length);
    if (i < 0 || static_cast<VULong>(i) >= length)
        return 0;
    return data[i];
}

const WChar* aCString::GetData() const
{
    return data ? data : kEmpty;
}

void aCString::Empty()
{
    B::clear(data, length);
}

WChar* aCString::GetBuffer(int n)
{
    return B::getBuffer(data, length, n);
}

void aCString::ReleaseBuffer(int n)
{
    B::releaseBuffer(data, length, n);
}

void aCString::SetAt(int i, WChar c)
{
    VEX_ASSERT(i >= 0 && static_cast<VULong>(i) < length);
    if (i >= 0 && static_cast<VULong>(i) < length)
        data[i] = c;
}

aCString aCString::Mid(int first) const
{
    if (first < 0)
        first = 0;
    if (static_cast<VULong>(first) >= length)
        return aCString();
    return aCString(data + first, static_cast<int>(length) - first);
}

aCString aCString::Mid(int first, int count) const
{
    if (first < 1 || count < 1 || static_cast<VULong>(first) >= length)
        return aCString();
    const VULong rest = length - static_cast<VULong>(first);
    return aCString(data + first, static_cast<VULong>(count) < rest ? count : static_cast<int>(rest));
}

aCString aCString::Left(int count) const
{
    if (count <= 0)
        return aCString();
    return aCString(data, static_cast<VULong>(count) < length ? count : static_cast<int>(length));
}

aCString aCString::Right(int count) const
{
    if (count <= 0)
        return aCString();
    if (static_cast<VULong>(count) >= length)
        return *this;
    return aCString(data + (length - static_cast<VULong>(count)), count);
}

int aCString::Find(WChar c, int start) const
{
    return B::find(data, length, &c, 1, start);
}

int aCString::Find(const WChar* text, int start) const
{
    return B::find(data, length, text, B::textLength(text), start);
}

int aCString::ReverseFind(WChar c) const
{
    for (VULong i = length; i > 0; --i)
        if (data[i - 1] == c)
            return static_cast<int>(i - 1);
    return -1;
}

int aCString::Replace(const WChar* from, const WChar* to)
{
    return B::replace(data, length, from, B::textLength(from), to, B::textLength(to));
}

aCString& aCString::Trim()
{
    B::trim(data, length, true, true, isBlank);
    return *this;
}

aCString& aCString::TrimLeft()
{
    B::trim(data, length, true, false, isBlank);
    return *this;
}

aCString& aCString::TrimRight()
{
    B::trim(data, length, false, true, isBlank);
    return *this;
}

void aCString::Format(const WChar* format, ...)
{
    va_list ap;
    va_start(ap, format);
    va_list measure;
    va_copy(measure, ap);
    const int needed = wvsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    // cnt is what the result needs with its terminator; the buffer holds MAX_FORMAT_BUFFER.
    const long long cnt = needed < 0 ? 1 : static_cast<long long>(needed) + 1;
    VEX_ASSERT(cnt <= MAX_FORMAT_BUFFER);
    const int size = cnt <= MAX_FORMAT_BUFFER ? static_cast<int>(cnt) : MAX_FORMAT_BUFFER;
    // A separate block, so that arguments pointing into this string's text stay valid
    // until the formatting is done.
    WChar* block = B::allocate<WChar>(static_cast<size_t>(size));
    if (block) {
        wvsnprintf(block, size, format, ap);
        std::free(data);
        data = block;
        length = static_cast<VULong>(size);
        B::releaseBuffer(data, length, -1); // the text ends at its first zero unit
    }
    va_end(ap);
}

aCString operator+(const aCString& a, const aCString& b)
{
    aCString sum(a);
    sum += b;
    return sum;
}

} // namespace VexAPI

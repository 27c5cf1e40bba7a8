// xCString: the 8-bit string class, its code-page members, and the copies between aCString
// and xCString.
#include <vexapi/core/xcstring.h>

#include <vexapi/core/codepages.h>
#include "cstringbuffer.h"
#include "platformtext.h"
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wstring.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace VexAPI {

namespace B = CStringBuffer;

namespace {

const char kEmpty[1] = {0};

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

} // namespace

xCString::xCString() : data(nullptr), length(0) {}

xCString::xCString(const char* text, int n) : data(nullptr), length(0)
{
    if (n > 0)
        B::assign(data, length, text, static_cast<size_t>(n));
}

xCString::xCString(const char* text) : data(nullptr), length(0)
{
    B::assign(data, length, text, B::textLength(text));
}

xCString::xCString(const xCString& other) : data(nullptr), length(0)
{
    B::assign<char>(data, length, other.data, other.length);
}

xCString::xCString(xCString&& other) noexcept : data(other.data), length(other.length)
{
    other.data = nullptr;
    other.length = 0;
}

xCString::xCString(const WChar* text) : data(nullptr), length(0)
{
    const std::string narrow = PlatformText::narrow(text, -1);
    B::assign(data, length, narrow.data(), narrow.size());
}

xCString::xCString(const aCString& text) : data(nullptr), length(0)
{
    const std::string narrow = PlatformText::narrow(text.data, static_cast<int>(text.length));
    B::assign(data, length, narrow.data(), narrow.size());
}

xCString::~xCString()
{
    std::free(data);
}

xCString& xCString::operator=(const xCString& other)
{
    if (this != &other)
        B::assign<char>(data, length, other.data, other.length);
    return *this;
}

xCString& xCString::operator=(xCString&& other) noexcept
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

xCString& xCString::operator=(const char* text)
{
    B::assign(data, length, text, B::textLength(text));
    return *this;
}

xCString& xCString::operator=(const WChar* text)
{
    const std::string narrow = PlatformText::narrow(text, -1);
    B::assign(data, length, narrow.data(), narrow.size());
    return *this;
}

xCString& xCString::operator=(const aCString& text)
{
    const std::string narrow = PlatformText::narrow(text.data, static_cast<int>(text.length));
    B::assign(data, length, narrow.data(), narrow.size());
    return *this;
}

xCString& xCString::operator+=(const xCString& other)
{
    B::append<char>(data, length, other.data, other.length);
    return *this;
}

xCString& xCString::operator+=(const char* text)
{
    B::append(data, length, text, B::textLength(text));
    return *this;
}

xCString& xCString::operator+=(const WChar* text)
{
    const std::string narrow = PlatformText::narrow(text, -1);
    B::append(data, length, narrow.data(), narrow.size());
    return *this;
}

bool xCString::operator==(const xCString& other) const
{
    return B::equals<char>(data, length, other.data, other.length);
}

bool xCString::operator==(const char* text) const
{
    return B::equals(data, length, text, B::textLength(text));
}

char xCString::operator[](int i) const
{
    VEX_ASSERT(i >= 0 && static_cast<VULong>(i) <= length);
    if (i < 0 || static_cast<VULong>(i) >= length)
        return 0;
    return data[i];
}

const char* xCString::GetData() const
{
    return data ? data : kEmpty;
}

void xCString::Empty()
{
    B::clear(data, length);
}

char* xCString::GetBuffer(int n)
{
    return B::getBuffer(data, length, n);
}

void xCString::ReleaseBuffer(int n)
{
    B::releaseBuffer(data, length, n);
}

void xCString::SetAt(int i, char c)
{
    VEX_ASSERT(i >= 0 && static_cast<VULong>(i) < length);
    if (i >= 0 && static_cast<VULong>(i) < length)
        data[i] = c;
}

xCString xCString::Mid(int first) const
{
    if (first < 0)
        first = 0;
    if (static_cast<VULong>(first) >= length)
        return xCString();
    return xCString(data + first, static_cast<int>(length) - first);
}

xCString xCString::Mid(int first, int count) const
{
    if (first < 1 || count < 1 || static_cast<VULong>(first) >= length)
        return xCString();
    const VULong rest = length - static_cast<VULong>(first);
    return xCString(data + first, static_cast<VULong>(count) < rest ? count : static_cast<int>(rest));
}

xCString xCString::Left(int count) const
{
    if (count <= 0)
        return xCString();
    return xCString(data, static_cast<VULong>(count) < length ? count : static_cast<int>(length));
}

xCString xCString::Right(int count) const
{
    if (count <= 0)
        return xCString();
    if (static_cast<VULong>(count) >= length)
        return *this;
    return xCString(data + (length - static_cast<VULong>(count)), count);
}

int xCString::Find(char c, int start) const
{
    return B::find(data, length, &c, 1, start);
}

int xCString::Find(const char* text, int start) const
{
    return B::find(data, length, text, B::textLength(text), start);
}

int xCString::ReverseFind(char c) const
{
    for (VULong i = length; i > 0; --i)
        if (data[i - 1] == c)
            return static_cast<int>(i - 1);
    return -1;
}

int xCString::Replace(const char* from, const char* to)
{
    return B::replace(data, length, from, B::textLength(from), to, B::textLength(to));
}

xCString& xCString::Trim()
{
    B::trim(data, length, true, true, isBlank);
    return *this;
}

xCString& xCString::TrimLeft()
{
    B::trim(data, length, true, false, isBlank);
    return *this;
}

xCString& xCString::TrimRight()
{
    B::trim(data, length, false, true, isBlank);
    return *this;
}

void xCString::Format(const char* format, ...)
{
    if (!format) {
        Empty();
        return;
    }
    va_list ap;
    va_start(ap, format);
    // Most results are short: a small buffer first, the full-size one only when needed.
    char small[256];
    va_list first;
    va_copy(first, ap);
    const int n = std::vsnprintf(small, sizeof small, format, first);
    va_end(first);
    if (n >= 0 && n < static_cast<int>(sizeof small)) {
        B::assign(data, length, small, static_cast<size_t>(n));
    } else if (char* block = B::allocate<char>(MAX_FORMAT_BUFFER)) {
        const int full = std::vsnprintf(block, MAX_FORMAT_BUFFER, format, ap);
        // The msvcrt vsnprintf answers -1 for a result that does not fit: count it as one
        // past the buffer.
        const long long cnt = full < 0 ? MAX_FORMAT_BUFFER + 1LL : full + 1LL;
        VEX_ASSERT(cnt <= MAX_FORMAT_BUFFER);
        block[MAX_FORMAT_BUFFER - 1] = 0;
        std::free(data);
        data = block;
        length = MAX_FORMAT_BUFFER;
        B::releaseBuffer(data, length, -1);
    }
    va_end(ap);
}

void xCString::CharToOemA()
{
    convertCodePage(CpAnsiToOem, data, data, static_cast<int>(length));
}

void xCString::OemToCharA()
{
    convertCodePage(CpOemToAnsi, data, data, static_cast<int>(length));
}

void xCString::OemToKoi()
{
    convertCodePage(CpOemToKoi, data, data, static_cast<int>(length));
}

void xCString::KoiToOem()
{
    convertCodePage(CpKoiToOem, data, data, static_cast<int>(length));
}

void xCString::AnsiToKoi()
{
    convertCodePage(CpAnsiToKoi, data, data, static_cast<int>(length));
}

void xCString::KoiToAnsi()
{
    convertCodePage(CpKoiToAnsi, data, data, static_cast<int>(length));
}

xCString operator+(const xCString& a, const xCString& b)
{
    xCString sum(a);
    sum += b;
    return sum;
}

} // namespace VexAPI

void convertACtoXC(VexAPI::xCString& to, const VexAPI::aCString& from)
{
    to = from;
}

void convertXCtoAC(VexAPI::aCString& to, const VexAPI::xCString& from)
{
    const WString wide =
        VexAPI::PlatformText::widen(from.data, static_cast<int>(from.length));
    VexAPI::CStringBuffer::assign(to.data, to.length, wide.data(), wide.size());
}

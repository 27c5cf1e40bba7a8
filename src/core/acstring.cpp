// aCString: its members over the shared string implementation (cstringbuffer.h), the
// conversions from 8-bit text, and Format.
#include <vexapi/core/acstring.h>

#include "cstringbuffer.h"
#include "platformtext.h"
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wformat.h>
#include <vexapi/core/wtext.h>
#include <vexapi/core/wstring.h>

#include <cstdarg>
#include <string>

namespace VexAPI {

using Ops = detail::CStringOps<aCString, WChar, wisspace>;

aCString::aCString() : data(nullptr), length(0) {}

aCString::aCString(const WChar* text, int n) : data(nullptr), length(0)
{
    Ops::assignCounted(*this, text, n);
}

aCString::aCString(const WChar* text) : data(nullptr), length(0)
{
    Ops::assignText(*this, text);
}

aCString::aCString(const aCString& other) : data(nullptr), length(0)
{
    Ops::assignString(*this, other);
}

aCString::aCString(aCString&& other) noexcept : data(nullptr), length(0)
{
    Ops::take(*this, other);
}

aCString::aCString(const char* text) : data(nullptr), length(0)
{
    *this = text;
}

aCString::~aCString()
{
    std::free(data);
}

aCString& aCString::operator=(const aCString& other)
{
    Ops::assignString(*this, other);
    return *this;
}

aCString& aCString::operator=(aCString&& other) noexcept
{
    Ops::take(*this, other);
    return *this;
}

aCString& aCString::operator=(const WChar* text)
{
    Ops::assignText(*this, text);
    return *this;
}

aCString& aCString::operator=(const char* text)
{
    const WString wide = detail::widenPlatformText(text, -1);
    detail::assign(data, length, wide.data(), wide.size());
    return *this;
}

aCString& aCString::operator+=(const aCString& other)
{
    Ops::appendString(*this, other);
    return *this;
}

aCString& aCString::operator+=(const WChar* text)
{
    Ops::appendText(*this, text);
    return *this;
}

aCString& aCString::operator+=(const char* text)
{
    const WString wide = detail::widenPlatformText(text, -1);
    detail::append(data, length, wide.data(), wide.size());
    return *this;
}

bool aCString::operator==(const aCString& other) const { return Ops::equalsString(*this, other); }
bool aCString::operator==(const WChar* text) const { return Ops::equalsText(*this, text); }
WChar aCString::operator[](int i) const { return Ops::at(*this, i); }
const WChar* aCString::GetData() const { return Ops::text(*this); }
void aCString::Empty() { detail::clear(data, length); }
WChar* aCString::GetBuffer(int n) { return detail::getBuffer(data, length, n); }
void aCString::ReleaseBuffer(int n) { detail::releaseBuffer(data, length, n); }
void aCString::SetAt(int i, WChar c) { Ops::setAt(*this, i, c); }

aCString aCString::Mid(int first) const { return Ops::mid(*this, first); }
aCString aCString::Mid(int first, int count) const { return Ops::mid(*this, first, count); }
aCString aCString::Left(int count) const { return Ops::left(*this, count); }
aCString aCString::Right(int count) const { return Ops::right(*this, count); }

int aCString::Find(WChar c, int start) const { return Ops::findUnit(*this, c, start); }
int aCString::Find(const WChar* text, int start) const { return Ops::findText(*this, text, start); }
int aCString::ReverseFind(WChar c) const { return Ops::reverseFind(*this, c); }
int aCString::Replace(const WChar* from, const WChar* to) { return Ops::replaceText(*this, from, to); }

aCString& aCString::Trim() { return Ops::trimmed(*this, true, true); }
aCString& aCString::TrimLeft() { return Ops::trimmed(*this, true, false); }
aCString& aCString::TrimRight() { return Ops::trimmed(*this, false, true); }

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
    if (WChar* block = detail::allocate<WChar>(static_cast<size_t>(size))) {
        wvsnprintf(block, size, format, ap);
        Ops::adoptFormatted(*this, block, size);
    }
    va_end(ap);
}

aCString operator+(const aCString& a, const aCString& b)
{
    return Ops::concat(a, b);
}

} // namespace VexAPI

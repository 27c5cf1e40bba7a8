// xCString: its members over the shared string implementation (cstringbuffer.h), the
// conversions from 16-bit text, Format, the code-page members, and the copies between
// aCString and xCString.
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

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

} // namespace

using Ops = detail::CStringOps<xCString, char, isBlank>;

xCString::xCString() : data(nullptr), length(0) {}

xCString::xCString(const char* text, int n) : data(nullptr), length(0)
{
    Ops::assignCounted(*this, text, n);
}

xCString::xCString(const char* text) : data(nullptr), length(0)
{
    Ops::assignText(*this, text);
}

xCString::xCString(const xCString& other) : data(nullptr), length(0)
{
    Ops::assignString(*this, other);
}

xCString::xCString(xCString&& other) noexcept : data(nullptr), length(0)
{
    Ops::take(*this, other);
}

xCString::xCString(const WChar* text) : data(nullptr), length(0)
{
    *this = text;
}

xCString::xCString(const aCString& text) : data(nullptr), length(0)
{
    *this = text;
}

xCString::~xCString()
{
    std::free(data);
}

xCString& xCString::operator=(const xCString& other)
{
    Ops::assignString(*this, other);
    return *this;
}

xCString& xCString::operator=(xCString&& other) noexcept
{
    Ops::take(*this, other);
    return *this;
}

xCString& xCString::operator=(const char* text)
{
    Ops::assignText(*this, text);
    return *this;
}

xCString& xCString::operator=(const WChar* text)
{
    const std::string narrow = detail::narrowPlatformText(text, -1);
    detail::assign(data, length, narrow.data(), narrow.size());
    return *this;
}

xCString& xCString::operator=(const aCString& text)
{
    const std::string narrow = detail::narrowPlatformText(text.data, static_cast<int>(text.length));
    detail::assign(data, length, narrow.data(), narrow.size());
    return *this;
}

xCString& xCString::operator+=(const xCString& other)
{
    Ops::appendString(*this, other);
    return *this;
}

xCString& xCString::operator+=(const char* text)
{
    Ops::appendText(*this, text);
    return *this;
}

xCString& xCString::operator+=(const WChar* text)
{
    const std::string narrow = detail::narrowPlatformText(text, -1);
    detail::append(data, length, narrow.data(), narrow.size());
    return *this;
}

bool xCString::operator==(const xCString& other) const { return Ops::equalsString(*this, other); }
bool xCString::operator==(const char* text) const { return Ops::equalsText(*this, text); }
char xCString::operator[](int i) const { return Ops::at(*this, i); }
const char* xCString::GetData() const { return Ops::text(*this); }
void xCString::Empty() { detail::clear(data, length); }
char* xCString::GetBuffer(int n) { return detail::getBuffer(data, length, n); }
void xCString::ReleaseBuffer(int n) { detail::releaseBuffer(data, length, n); }
void xCString::SetAt(int i, char c) { Ops::setAt(*this, i, c); }

xCString xCString::Mid(int first) const { return Ops::mid(*this, first); }
xCString xCString::Mid(int first, int count) const { return Ops::mid(*this, first, count); }
xCString xCString::Left(int count) const { return Ops::left(*this, count); }
xCString xCString::Right(int count) const { return Ops::right(*this, count); }

int xCString::Find(char c, int start) const { return Ops::findUnit(*this, c, start); }
int xCString::Find(const char* text, int start) const { return Ops::findText(*this, text, start); }
int xCString::ReverseFind(char c) const { return Ops::reverseFind(*this, c); }
int xCString::Replace(const char* from, const char* to) { return Ops::replaceText(*this, from, to); }

xCString& xCString::Trim() { return Ops::trimmed(*this, true, true); }
xCString& xCString::TrimLeft() { return Ops::trimmed(*this, true, false); }
xCString& xCString::TrimRight() { return Ops::trimmed(*this, false, true); }

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
        detail::assign(data, length, small, static_cast<size_t>(n));
    } else if (char* block = detail::allocate<char>(MAX_FORMAT_BUFFER)) {
        const int full = std::vsnprintf(block, MAX_FORMAT_BUFFER, format, ap);
        // The msvcrt vsnprintf answers -1 for a result that does not fit: count it as one
        // past the buffer.
        const long long cnt = full < 0 ? MAX_FORMAT_BUFFER + 1LL : full + 1LL;
        VEX_ASSERT(cnt <= MAX_FORMAT_BUFFER);
        block[MAX_FORMAT_BUFFER - 1] = 0;
        Ops::adoptFormatted(*this, block, MAX_FORMAT_BUFFER);
    }
    va_end(ap);
}

// The code-page members: in place, over the whole text.
void xCString::CharToOemA() { convertCodePage(CpAnsiToOem, data, data, static_cast<int>(length)); }
void xCString::OemToCharA() { convertCodePage(CpOemToAnsi, data, data, static_cast<int>(length)); }
void xCString::OemToKoi() { convertCodePage(CpOemToKoi, data, data, static_cast<int>(length)); }
void xCString::KoiToOem() { convertCodePage(CpKoiToOem, data, data, static_cast<int>(length)); }
void xCString::AnsiToKoi() { convertCodePage(CpAnsiToKoi, data, data, static_cast<int>(length)); }
void xCString::KoiToAnsi() { convertCodePage(CpKoiToAnsi, data, data, static_cast<int>(length)); }

xCString operator+(const xCString& a, const xCString& b)
{
    return Ops::concat(a, b);
}

} // namespace VexAPI

void convertACtoXC(VexAPI::xCString& to, const VexAPI::aCString& from)
{
    to = from;
}

void convertXCtoAC(VexAPI::aCString& to, const VexAPI::xCString& from)
{
    const WString wide =
        VexAPI::detail::widenPlatformText(from.data, static_cast<int>(from.length));
    VexAPI::detail::assign(to.data, to.length, wide.data(), wide.size());
}

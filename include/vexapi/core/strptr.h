// StrPtr: a 16-bit text pointer wrapped for output to a stream, narrow (as UTF-8) or wide.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>

#include <iosfwd>

// Wraps text the caller owns, for `stream << StrPtr(text)`. The text ends at `length` units
// or at a zero unit, whichever comes first; a negative length reads to the terminator, and
// null is the empty text. The wrapper holds the pointer only: the text must outlive it.
class VEXAPI_API StrPtr {
public:
    explicit StrPtr(const WChar* text, int length = -1);
    explicit StrPtr(const WCharString& text);

    const WChar* text() const { return m_text; }
    // The units written: up to the limit or the first zero unit.
    int length() const;

private:
    const WChar* m_text;
    int m_limit;
};

// A narrow stream receives UTF-8: every character survives, and a lone surrogate becomes
// U+FFFD (the rules of wcs2mbs).
VEXAPI_API std::ostream& operator<<(std::ostream& os, const StrPtr& text);

// A wide stream of the library's character receives the units as they are. On Linux that is
// std::basic_ostream<char16_t>, for which the standard library has no locale facets: write
// text to it, not numbers.
VEXAPI_API std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os, const StrPtr& text);

inline std::ostream& operator<<(std::ostream& os, const WCharString& text)
{
    return os << StrPtr(text);
}

inline std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os, const WCharString& text)
{
    return os << StrPtr(text);
}

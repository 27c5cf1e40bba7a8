// Writing generated SQL: a 16-bit text stream and ASCII pieces put into it, and the UTF-8
// form the client layer runs.
#pragma once

#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>
#include <vexapi/orvcpp/sqltext.h>

#include <sstream>
#include <string>

namespace DataSourceAPI {

// ASCII text as 16-bit text.
inline WString u16(const char* ascii)
{
    WString s;
    for (; *ascii; ++ascii)
        s += WChar(static_cast<unsigned char>(*ascii));
    return s;
}

namespace sqlw {

// Only whole strings go into the stream (its character type has no number formatting).
inline void put(std::basic_ostream<WChar>& stream, const char* ascii)
{
    const WString s = u16(ascii);
    stream.write(s.data(), std::streamsize(s.size()));
}
inline void put(std::basic_ostream<WChar>& stream, const WString& text)
{
    stream.write(text.data(), std::streamsize(text.size()));
}

class Text : public std::basic_ostringstream<WChar> {
public:
    WString text() const { return str(); }
    std::string utf8() const
    {
        const WString s = str();
        return utf8FromWide(s.c_str(), int(s.size()));
    }
};

} // namespace sqlw
} // namespace DataSourceAPI

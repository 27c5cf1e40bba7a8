// StrPtr: a 16-bit text pointer wrapped for output to a stream, narrow (as UTF-8) or wide.
#include <vexapi/core/strptr.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/wtext.h>

#include <ostream>
#include <string>

StrPtr::StrPtr(const WChar* text, int length) : m_text(text), m_limit(length) {}

StrPtr::StrPtr(const WCharString& text) : m_text(text.constData()), m_limit(text.length()) {}

int StrPtr::length() const
{
    return m_limit < 0 ? wstrlen(m_text) : wstrnlen(m_text, m_limit);
}

std::ostream& operator<<(std::ostream& os, const StrPtr& text)
{
    const int n = text.length();
    if (n == 0)
        return os;
    // Measure, then convert: wcs2mbs never splits a character, so a guessed buffer that
    // turns out short would leave no clean place to go on from.
    const int size = wcs2mbs(nullptr, text.text(), "UTF-8", 0, n);
    std::string bytes(static_cast<size_t>(size) + 1, '\0');
    const int written = wcs2mbs(&bytes[0], text.text(), "UTF-8", size + 1, n);
    return os.write(bytes.data(), written);
}

std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os, const StrPtr& text)
{
    return os.write(text.text(), text.length());
}

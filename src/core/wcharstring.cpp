// WCharString: the library's counted 16-bit string with value semantics.
#include <vexapi/core/wcharstring.h>

#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>

WCharString::WCharString() = default;
WCharString::WCharString(const WCharString& other) = default;
WCharString::WCharString(WCharString&& other) noexcept = default;
WCharString::~WCharString() = default;

WCharString::WCharString(const WChar* text, int length)
{
    assign(text, length);
}

WCharString::WCharString(const WChar* text)
{
    assign(text, -1);
}

WCharString& WCharString::operator=(const WCharString& other) = default;
WCharString& WCharString::operator=(WCharString&& other) noexcept = default;

WCharString& WCharString::operator=(const WChar* text)
{
    return assign(text, -1);
}

WCharString& WCharString::assign(const WChar* text, int length)
{
    if (!text)
        m_text.clear();
    else
        // basic_string::assign copes with `text` pointing into m_text itself.
        m_text.assign(text, static_cast<size_t>(length < 0 ? wstrlen(text) : length));
    return *this;
}

WCharString& WCharString::operator+=(const WCharString& other)
{
    m_text += other.m_text;
    return *this;
}

WCharString& WCharString::operator+=(const WChar* text)
{
    if (text)
        m_text.append(text, static_cast<size_t>(wstrlen(text)));
    return *this;
}

WCharString& WCharString::operator+=(WChar c)
{
    m_text.push_back(c);
    return *this;
}

bool WCharString::operator==(const WCharString& other) const
{
    return m_text == other.m_text;
}

bool WCharString::operator==(const WChar* text) const
{
    if (!text)
        return m_text.empty();
    // Unit by unit, so that a held zero never equals the end of `text`.
    const size_t n = m_text.size();
    for (size_t i = 0; i < n; ++i)
        if (text[i] != m_text[i] || text[i] == 0)
            return false;
    return text[n] == 0;
}

WChar* WCharString::data()
{
    return &m_text[0];
}

const WChar* WCharString::constData() const
{
    return m_text.c_str();
}

bool WCharString::empty() const
{
    return m_text.empty();
}

int WCharString::length() const
{
    return static_cast<int>(m_text.size());
}

WChar WCharString::operator[](int i) const
{
    VEX_ASSERT(i >= 0 && i <= length());
    return (i >= 0 && i <= length()) ? m_text.c_str()[i] : WChar(0);
}

void WCharString::clear()
{
    m_text.clear();
}

WCharString& WCharString::trim(const WChar* chars)
{
    auto drop = [chars](WChar c) {
        if (!chars)
            return wisspace(c);
        for (const WChar* p = chars; *p; ++p)
            if (*p == c)
                return true;
        return false;
    };
    size_t end = m_text.size();
    while (end > 0 && drop(m_text[end - 1]))
        --end;
    size_t begin = 0;
    while (begin < end && drop(m_text[begin]))
        ++begin;
    // Shrinking never allocates, so this cannot throw.
    m_text.erase(end);
    m_text.erase(0, begin);
    return *this;
}

// TemplateHead: reading the colour and null-text sections of a template's head.
#include <vexapi/format/templatehead.h>

#include <vexapi/core/wtext.h>

#include <vector>

namespace {

bool isBlank(WChar c) { return c == ' ' || c == '\t'; }

// Three integers 0..255 separated by blanks or commas, nothing else around them.
bool readColor(const WChar* s, int n, FormaterColor& out)
{
    int values[3];
    int got = 0;
    int i = 0;
    while (true) {
        while (i < n && (isBlank(s[i]) || s[i] == ','))
            ++i;
        if (i >= n)
            break;
        if (got == 3 || s[i] < '0' || s[i] > '9')
            return false;
        int v = 0;
        while (i < n && s[i] >= '0' && s[i] <= '9') {
            v = v * 10 + (s[i] - '0');
            if (v > 255)
                return false;
            ++i;
        }
        values[got++] = v;
        if (i < n && !isBlank(s[i]) && s[i] != ',')
            return false;
    }
    if (got != 3)
        return false;
    out = FormaterColor(values[0], values[1], values[2]);
    return true;
}

bool nameIs(const WChar* name, int n, const char* expected)
{
    int i = 0;
    for (; i < n && expected[i]; ++i)
        if (wtoupper(name[i]) != WChar(expected[i]))
            return false;
    return i == n && expected[i] == 0;
}

} // namespace

TemplateHead::TemplateHead() : m_flags(0) {}

void TemplateHead::clear()
{
    m_neg = m_zero = m_pos = m_null = FormaterColor();
    m_flags = 0;
    m_nullText.clear();
}

int TemplateHead::maskOffset(const WChar* tmpl, int length)
{
    const int n = length < 0 ? wstrlen(tmpl) : wstrnlen(tmpl, length);
    for (int i = 0; i < n; ++i)
        if (tmpl[i] == ';')
            return i + 1;
    return 0;
}

int TemplateHead::parse(const WChar* tmpl, int length)
{
    clear();
    const int offset = maskOffset(tmpl, length);
    if (offset == 0)
        return 0;
    const int headLen = offset - 1;
    int i = 0;
    while (i < headLen) {
        while (i < headLen && tmpl[i] != '<')
            ++i;
        if (i >= headLen)
            break;
        const int open = i++;
        // The section ends at the first ">" that no backslash escapes.
        while (i < headLen && tmpl[i] != '>') {
            if (tmpl[i] == '\\' && i + 1 < headLen)
                ++i;
            ++i;
        }
        if (i >= headLen)
            break;
        parseSection(tmpl + open + 1, i - open - 1);
        ++i;
    }
    return offset;
}

void TemplateHead::parseSection(const WChar* s, int n)
{
    int colon = 0;
    while (colon < n && s[colon] != ':')
        ++colon;
    if (colon >= n)
        return;
    int nameBegin = 0, nameEnd = colon;
    while (nameBegin < nameEnd && isBlank(s[nameBegin]))
        ++nameBegin;
    while (nameEnd > nameBegin && isBlank(s[nameEnd - 1]))
        --nameEnd;
    const WChar* name = s + nameBegin;
    const int nameLen = nameEnd - nameBegin;
    const WChar* content = s + colon + 1;
    const int contentLen = n - colon - 1;

    if (nameIs(name, nameLen, "NULLTEXT")) {
        std::vector<WChar> text(content, content + contentLen);
        text.push_back(0);
        removeSlash(text.data(), text.data());
        m_nullText = text.data();
        return;
    }
    struct {
        const char* name;
        FormaterColor* color;
        unsigned char flag;
    } const colors[] = {
        {"NEG", &m_neg, cfNeg},
        {"ZERO", &m_zero, cfZero},
        {"POS", &m_pos, cfPos},
        {"NULL", &m_null, cfNull},
    };
    for (const auto& c : colors) {
        if (!nameIs(name, nameLen, c.name))
            continue;
        if (readColor(content, contentLen, *c.color))
            m_flags |= c.flag;
        return;
    }
}

// Plain text functions: trimming, statement counting and borders, positions, low-byte case
// mapping, directory part, command-line values and file extensions.
#include <vexapi/core/textfuncs.h>

#include <vexapi/core/wtext.h>

#include <climits>
#include <cmath>
#include <cstring>

namespace {

template <class Ch>
bool isBlank(Ch c)
{
    return c == Ch(' ') || c == Ch('\t');
}

template <class Ch>
Ch* rtrim(Ch* text)
{
    if (!text)
        return text;
    size_t n = 0;
    while (text[n])
        ++n;
    while (n > 0 && isBlank(text[n - 1]))
        --n;
    text[n] = 0;
    return text;
}

inline unsigned char asciiUpper(unsigned char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }
inline unsigned char asciiLower(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; }

} // namespace

char* strrtrim(char* text)
{
    return rtrim(text);
}

WChar* _tcsrtrim(WChar* text)
{
    return rtrim(text);
}

char* strltrim(char* text)
{
    if (!text)
        return text;
    size_t first = 0;
    while (isBlank(text[first]))
        ++first;
    if (first > 0)
        std::memmove(text, text + first, std::strlen(text + first) + 1);
    return text;
}

char* strtosym(char* text)
{
    if (!text)
        return text;
    for (char* p = text;; ++p)
        if (static_cast<unsigned char>(*p) < 32) {
            *p = 0;
            break;
        }
    return text;
}

bool isComment(const char* text)
{
    if (!text || !*text)
        return true;
    return std::strlen(text) >= 3 && text[0] == '/' && text[1] == '/';
}

int Round(float value)
{
    // Outside int's range the conversion below would be undefined.
    if (std::isnan(value))
        return 0;
    if (value <= -2147483648.0f)
        return INT_MIN;
    if (value >= 2147483647.0f)
        return INT_MAX;
    const int whole = static_cast<int>(value);
    return value - static_cast<float>(whole) >= 0.5f ? whole + 1 : whole;
}

int getStatementCount(const char* text)
{
    if (!text || !*text)
        return 0;
    int count = 0;
    size_t n = 0;
    for (; text[n]; ++n)
        if (text[n] == ';')
            ++count;
    return text[n - 1] == ';' ? count : count + 1;
}

int getStatementBorders(const char* text, int position, int& start, int& end)
{
    start = 0;
    end = -1;
    if (!text || !*text) {
        end = 0;
        return 0;
    }
    const int length = static_cast<int>(std::strlen(text));
    int before = 0; // statements ended before the position
    bool passed = false;
    for (int i = 0; i < length; ++i) {
        if (text[i] == ';') {
            if (passed) {
                end = i;
                break;
            }
            ++before;
            if (i + 1 < length)
                start = i + 1;
        }
        // Compared after the ';' test: a position on a ';' belongs to the next statement.
        if (i >= position)
            passed = true;
    }
    if (end < start || !passed)
        end = length - 1;
    return before + 1;
}

bool isQuery(const char* text)
{
    if (!text)
        return false;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p)
        if ((*p >= 'a' && *p <= 'z') || (*p >= 'A' && *p <= 'Z') || *p >= 0x80)
            return true;
    return false;
}

int coords2pos(const WChar* text, int line, int column)
{
    int pos = 0;
    if (text)
        for (int breaks = 1; breaks < line && text[pos]; ++pos)
            if (text[pos] == '\n')
                ++breaks;
    return pos + column;
}

int getLineNum(const char* text)
{
    int count = 0;
    if (text)
        for (const char* p = text; *p; ++p)
            if (*p == '\n')
                ++count;
    return count;
}

int getLineSeparators(const char* text)
{
    int count = 0;
    if (text)
        for (const char* p = text; *p; ++p)
            if (*p == '\n' && (p == text || p[-1] == '\r'))
                ++count;
    return count;
}

WChar* rstrtoupper(WChar* text)
{
    if (text)
        for (WChar* p = text; *p; ++p)
            *p = WChar(asciiUpper(static_cast<unsigned char>(*p & 0xFF)));
    return text;
}

WChar* strtolower(WChar* text)
{
    if (text)
        for (WChar* p = text; *p; ++p)
            *p = WChar(asciiLower(static_cast<unsigned char>(*p & 0xFF)));
    return text;
}

WChar* getdir(const WChar* path, WChar* out, int size)
{
    if (!out || size <= 0)
        return out;
    const WChar* slash = wstrrchr(path, WChar('\\'));
    const int n = slash ? static_cast<int>(slash - path) : 0;
    const int copy = n < size - 1 ? n : size - 1;
    for (int i = 0; i < copy; ++i)
        out[i] = path[i];
    out[copy] = 0;
    return out;
}

WChar* findParam(int argc, WChar** argv, const WChar* name)
{
    if (!argv || !name)
        return nullptr;
    const int nameLength = wstrlen(name);
    for (int i = argc - 1; i >= 0; --i) {
        WChar* hit = argv[i] ? wstrstr(argv[i], name) : nullptr;
        if (!hit)
            continue;
        WChar* behind = hit + nameLength;
        const bool hasNext = i + 1 < argc && argv[i + 1];
        if (*behind == '=') {
            ++behind;
            if (*behind == 0 && hasNext)
                return argv[i + 1];
            return behind;
        }
        if (*behind == 0 && hasNext)
            return argv[i + 1];
        return behind;
    }
    return nullptr;
}

WChar* addExtention(WChar* name, int size, const WChar* extension)
{
    if (!name || !extension || !*name)
        return name;
    const int length = wstrlen(name);
    if (length > size)
        return name;
    const int extLength = wstrlen(extension);
    const WChar* last = nullptr;
    for (const WChar* p = wstrstr(name, extension); p && *p; p = wstrstr(p + 1, extension))
        last = p;
    if (extLength == 0 || (last && last + extLength == name + length))
        return name;
    int at = length;
    for (int i = 0; i < extLength && at < size - 1; ++i)
        name[at++] = extension[i];
    if (at < size)
        name[at] = 0;
    return name;
}

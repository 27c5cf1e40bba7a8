// One cell value to text and back (DataToText, TextToData), and aCTime.
#include <vexapi/grid/accolumn.h>
#include <vexapi/grid/apstypes.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/wformat.h>
#include <vexapi/core/wtext.h>
#include <vexapi/values/qvarn.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>

namespace VexAPI {

namespace {

const int kMaxFormat = 80;

bool isIntConv(WChar c)
{
    return c == 'd' || c == 'i' || c == 'u' || c == 'o' || c == 'x' || c == 'X' || c == 'c';
}
bool isFloatConv(WChar c)
{
    return c == 'f' || c == 'F' || c == 'e' || c == 'E' || c == 'g' || c == 'G' || c == 'a' ||
           c == 'A';
}

// Rewrites `format` so that its one conversion reads exactly what is passed: for integers a
// long long ("ll", or an int for %c), for floats a double. False when the format has no
// conversion, more than one, a '*', or one of the wrong class; `out` then is unusable.
bool prepareFormat(const WChar* format, bool isFloat, WChar* out, int outSize, WChar& conv)
{
    int n = 0, conversions = 0;
    auto put = [&](WChar c) {
        if (n + 1 >= outSize)
            return false;
        out[n++] = c;
        return true;
    };
    for (const WChar* p = format; *p; ++p) {
        if (*p != '%') {
            if (!put(*p))
                return false;
            continue;
        }
        if (p[1] == '%') {
            if (!put('%') || !put('%'))
                return false;
            ++p;
            continue;
        }
        if (!put('%'))
            return false;
        ++p;
        while (*p == '-' || *p == '+' || *p == ' ' || *p == '#' || *p == '0')
            if (!put(*p++))
                return false;
        while (*p >= '0' && *p <= '9')
            if (!put(*p++))
                return false;
        if (*p == '.') {
            if (!put(*p++))
                return false;
            while (*p >= '0' && *p <= '9')
                if (!put(*p++))
                    return false;
        }
        // Length modifiers are dropped: the value's width is chosen here.
        for (;;) {
            if (*p == 'h' || *p == 'l' || *p == 'L' || *p == 'z' || *p == 'j' || *p == 't' ||
                *p == 'q') {
                ++p;
            } else if (*p == 'I') {
                ++p;
                if ((p[0] == '6' && p[1] == '4') || (p[0] == '3' && p[1] == '2'))
                    p += 2;
            } else {
                break;
            }
        }
        const WChar c = *p;
        if (!c)
            return false;
        if (isFloat ? !isFloatConv(c) : !isIntConv(c))
            return false;
        if (!isFloat && c != 'c' && (!put('l') || !put('l')))
            return false;
        if (!put(c))
            return false;
        conv = c;
        ++conversions;
    }
    out[n] = 0;
    return conversions == 1;
}

int formatNumber(const aCColumn* column, WChar* buffer, int size, bool isFloat, long long iv,
                 double dv)
{
    WChar fmt[kMaxFormat];
    WChar conv = 0;
    if (!prepareFormat(column->GetFormat(), isFloat, fmt, kMaxFormat, conv) &&
        !prepareFormat(GetDefTypeFormat(column->type), isFloat, fmt, kMaxFormat, conv)) {
        const WChar* builtin = isFloat ? WSTR("%.15g") : WSTR("%d");
        prepareFormat(builtin, isFloat, fmt, kMaxFormat, conv);
    }
    int n;
    if (isFloat)
        n = wsnprintf(buffer, size, fmt, dv);
    else if (conv == 'c')
        n = wsnprintf(buffer, size, fmt, int(iv));
    else
        n = wsnprintf(buffer, size, fmt, iv);
    return n < 0 ? 0 : (n >= size ? size - 1 : n);
}

int trimBlanks(WChar* buffer)
{
    int n = wstrlen(buffer);
    int start = 0;
    while (start < n && buffer[start] == ' ')
        ++start;
    while (n > start && buffer[n - 1] == ' ')
        --n;
    if (start > 0)
        std::memmove(buffer, buffer + start, std::size_t(n - start) * sizeof(WChar));
    buffer[n - start] = 0;
    return n - start;
}

int copyText(WChar* buffer, int size, const WChar* text, int maxChars)
{
    int n = 0;
    if (text)
        while (n < maxChars && n < size - 1 && text[n])
            ++n;
    if (n)
        std::memcpy(buffer, text, std::size_t(n) * sizeof(WChar));
    buffer[n] = 0;
    return n;
}

// A text slot may sit at any offset of a row image: read it unit by unit through memcpy.
WChar unitAt(const void* text, int i)
{
    WChar c;
    std::memcpy(&c, static_cast<const unsigned char*>(text) + std::size_t(i) * sizeof(WChar), sizeof c);
    return c;
}

void setUnit(void* text, int i, WChar c)
{
    std::memcpy(static_cast<unsigned char*>(text) + std::size_t(i) * sizeof(WChar), &c, sizeof c);
}

int copySlotText(WChar* buffer, int size, const void* slot, int maxChars)
{
    int n = 0;
    for (; n < maxChars && n < size - 1; ++n) {
        const WChar c = unitAt(slot, n);
        if (!c)
            break;
        buffer[n] = c;
    }
    buffer[n] = 0;
    return n;
}

template <class T>
T load(const void* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class T>
void store(void* p, T v)
{
    std::memcpy(p, &v, sizeof v);
}

// The first `max` characters of `text` as 8-bit text (other characters become '?').
void narrow(const WChar* text, char* out, int max)
{
    int n = 0;
    for (; text[n] && n < max; ++n)
        out[n] = text[n] < 128 ? char(text[n]) : '?';
    out[n] = 0;
}

// The text of a number narrowed to 8 bits, with its leading blanks and a '+' sign before
// the digits passed over: `start` is where from_chars begins, `end` the end of the text.
struct NumberText {
    char buf[101];
    const char* start;
    const char* end;
    explicit NumberText(const WChar* text)
    {
        narrow(text, buf, 100);
        start = buf;
        while (*start == ' ' || *start == '\t')
            ++start;
        if (*start == '+' && start[1] != '-')
            ++start;
        end = buf + std::strlen(buf);
    }
    NumberText(const NumberText&) = delete;
    NumberText& operator=(const NumberText&) = delete;
    // Whether nothing but blanks follows `stop`, where the number read ended.
    bool onlyBlanksFrom(const char* stop) const
    {
        while (*stop == ' ' || *stop == '\t')
            ++stop;
        return stop == end;
    }
};

// A base-10 integer with optional blanks around and a sign; false when the text is not
// wholly one. `value` holds what was read (0 when nothing).
bool parseInteger(const WChar* text, long long lo, long long hi, long long& value)
{
    NumberText t(text);
    long long v = 0;
    auto r = std::from_chars(t.start, t.end, v, 10);
    bool whole = r.ec == std::errc();
    if (r.ec == std::errc::result_out_of_range) {
        v = (*t.start == '-') ? lo : hi;
        whole = false;
    }
    if (!t.onlyBlanksFrom(r.ptr))
        whole = false;
    if (v < lo) { v = lo; whole = false; }
    if (v > hi) { v = hi; whole = false; }
    value = v;
    return whole;
}

bool parseDouble(const WChar* text, double& value)
{
    NumberText t(text);
    double v = 0;
    auto r = std::from_chars(t.start, t.end, v, std::chars_format::general);
    bool whole = r.ec == std::errc();
    if (!t.onlyBlanksFrom(r.ptr))
        whole = false;
    value = r.ec == std::errc() ? v : 0.0;
    return whole;
}

int countOf(const WChar* s, WChar c)
{
    int n = 0;
    for (; s && *s; ++s)
        n += *s == c;
    return n;
}

} // namespace

int DataToText(const aCColumn* column, WChar* buffer, const void* data, int size)
{
    if (!column || !buffer || size <= 0)
        return -1;
    buffer[0] = 0;
    if (!data)
        return -1;
    switch (column->type) {
    case apsChar:
        return copySlotText(buffer, size, data, column->size);
    case apsWide:
        return copySlotText(buffer, size, data, column->size / 2);
    case apsTextPtr:
        return copyText(buffer, size, load<const WChar*>(data), std::numeric_limits<int>::max());
    case apsShort:
        return formatNumber(column, buffer, size, false, load<std::int16_t>(data), 0);
    case apsLong:
        return formatNumber(column, buffer, size, false, load<std::int32_t>(data), 0);
    case apsByte:
        return formatNumber(column, buffer, size, false, load<std::uint8_t>(data), 0);
    case apsInt64:
        return formatNumber(column, buffer, size, false, load<std::int64_t>(data), 0);
    case apsFloat:
        return formatNumber(column, buffer, size, true, 0, double(load<float>(data)));
    case apsDouble:
        return formatNumber(column, buffer, size, true, 0, load<double>(data));
    case apsBool:
        return wsnprintf(buffer, size, WSTR("%s"),
                         load<std::uint8_t>(data) ? WSTR("TRUE") : WSTR("FALSE")) >= size
                   ? size - 1 : wstrlen(buffer);
    case apsDate: {
        const WChar* f = column->format.IsEmpty() ? GetDefTypeFormat(apsDate)
                                                  : column->format.GetData();
        ApsTICKTOSTRF(static_cast<const OrvCPP::OrvDate*>(data), f, buffer, size);
        return trimBlanks(buffer);
    }
    case apsDecimal:
        ApsDECTOSTR(static_cast<const OrvCPP::OrvDec*>(data), buffer, size, 10, 0);
        return trimBlanks(buffer);
    case apsBinary:
        if (column->size > 0)
            DumpToHexText(data, buffer, column->size, size);
        buffer[size - 1] = 0;
        return wstrlen(buffer);
    default: // apsBlob, apsNone: nothing in the row
        return 0;
    }
}

int TextToData(const aCColumn* column, void* data, const WChar* text, int size)
{
    if (!column || !data || !text)
        return -1;
    long long iv = 0;
    bool whole;
    switch (column->type) {
    case apsChar: {
        int i = 0;
        for (; i < size && text[i]; ++i)
            setUnit(data, i, text[i]);
        for (; i < size; ++i)
            setUnit(data, i, 0);
        return 0;
    }
    case apsWide:
    case apsTextPtr: {
        void* out = column->type == apsWide ? data : static_cast<void*>(load<WChar*>(data));
        if (!out || size <= 0)
            return 1; // a text pointer with no target has nowhere to take the text
        std::memset(out, 0, std::size_t(size) * sizeof(WChar));
        for (int i = 0; i < size - 1 && text[i]; ++i)
            setUnit(out, i, text[i]);
        return 0;
    }
    case apsShort:
        whole = parseInteger(text, INT16_MIN, INT16_MAX, iv);
        store(data, std::int16_t(iv));
        return whole ? 0 : 1;
    case apsLong:
        whole = parseInteger(text, INT32_MIN, INT32_MAX, iv);
        store(data, std::int32_t(iv));
        return whole ? 0 : 1;
    case apsByte:
        whole = parseInteger(text, 0, 255, iv);
        store(data, std::uint8_t(iv));
        return whole ? 0 : 1;
    case apsInt64:
        whole = parseInteger(text, INT64_MIN, INT64_MAX, iv);
        store(data, std::int64_t(iv));
        return whole ? 0 : 1;
    case apsFloat: {
        double d;
        whole = parseDouble(text, d);
        store(data, float(d));
        return whole ? 0 : 1;
    }
    case apsDouble: {
        double d;
        whole = parseDouble(text, d);
        store(data, d);
        return whole ? 0 : 1;
    }
    case apsBool:
        store(data, std::uint8_t(!wstrcmp(text, WSTR("TRUE")) || !wstrcmp(text, WSTR("true"))));
        return !wstrcmp(text, WSTR("TRUE")) || !wstrcmp(text, WSTR("true")) ||
                       !wstrcmp(text, WSTR("FALSE")) || !wstrcmp(text, WSTR("false"))
                   ? 0 : 1;
    case apsDecimal: {
        char buf[101];
        narrow(text, buf, 100);
        OrvCPP::OrvDec d;
        if (STRTODEC(buf, &d) == QV_OK) {
            COPYDEC(static_cast<OrvCPP::OrvDec*>(data), &d);
            return 0;
        }
        SETDECSTATUS(0, static_cast<OrvCPP::OrvDec*>(data));
        return 1;
    }
    case apsDate: {
        // A text with fewer parts than the format is read by the format's date or time half.
        const WChar* f = column->format.IsEmpty() ? GetDefTypeFormat(apsDate)
                                                  : column->format.GetData();
        WChar shortened[kMaxFormat];
        const WChar* colon = wstrchr(f, WChar(':'));
        if (countOf(f, '/') > 0 && countOf(text, ':') != countOf(f, ':') && colon) {
            int n = int(colon - f) < kMaxFormat - 1 ? int(colon - f) : kMaxFormat - 1;
            std::memcpy(shortened, f, std::size_t(n) * sizeof(WChar));
            shortened[n] = 0;
            f = shortened;
        } else if (colon && countOf(text, '/') != countOf(f, '/')) {
            f = colon;
        }
        OrvCPP::OrvDate d;
        if (ApsSTRTOTICKF(text, f, &d) != QV_OK)
            return 1;
        std::memcpy(data, &d, sizeof d);
        return 0;
    }
    case apsBinary:
        if (column->size <= 0)
            return 1;
        return HexTextToDump(text, data, wstrlen(text) ? wstrlen(text) : 1, column->size) ? 1 : 0;
    default:
        return 0;
    }
}

aCTime::aCTime(int year, int month, int day, int hour, int minute, int second)
{
    std::tm t{};
    t.tm_mday = day >= 1 && day <= 31 ? day : 1;
    t.tm_mon = month >= 1 && month <= 12 ? month - 1 : 0;
    // A year below 1900 gives the field 1970 itself (not 70): the year 3870.
    t.tm_year = year < 1900 ? 1970 : year - 1900;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = -1;
    m_time = static_cast<long long>(std::mktime(&t));
}

void aCTime::Format(const WChar* format, WChar* out, int size) const
{
    if (!out || size <= 0)
        return;
    out[0] = 0;
    if (!format)
        return;
    std::time_t value = static_cast<std::time_t>(m_time);
    std::tm* local = std::localtime(&value);
    if (!local)
        return;
    const std::string f = utf8FromWide(format);
    char buf[128 * 4];
    std::size_t n = std::strftime(buf, sizeof buf, f.c_str(), local);
    if (n == 0)
        return;
    WString w = wideFromUtf8(buf, int(n));
    if (w.size() > 127)
        return;
    copyText(out, size, w.c_str(), int(w.size()));
}

} // namespace VexAPI

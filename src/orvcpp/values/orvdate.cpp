// OrvDate: the calendar (days to fields and back), the format language in both character
// widths, the canonical text and the stream operators.
#include <vexapi/values/orvdate.h>
#include "qvstream.h"

#include <cstring>
#include <istream>
#include <ostream>
#include <string>

namespace OrvCPP {

namespace {

// Days from 0001-01-01 to 1970-01-01.
const std::int64_t kUnixEpochDay = 719162;
const std::int64_t kMaxDay = 3652058; // 9999-12-31

// Day number (0 = 0001-01-01) of a valid date, by counting whole 400-year eras of 146097
// days from 0000-03-01, so that the leap day ends a year of the count.
std::int64_t dayNumber(int year, int month, int day)
{
    std::int64_t y = year - (month <= 2 ? 1 : 0);
    std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    unsigned yearOfEra = unsigned(y - era * 400);
    unsigned m = unsigned(month);
    unsigned dayOfYear = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + unsigned(day) - 1;
    unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    // era * 146097 + dayOfEra counts from 0000-03-01; 306 days lead to 0001-01-01.
    return era * 146097 + std::int64_t(dayOfEra) - 306;
}

// The inverse of dayNumber.
void civilDate(std::int64_t dayNo, int& year, int& month, int& day)
{
    std::int64_t z = dayNo + 306;
    std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    unsigned dayOfEra = unsigned(z - era * 146097);
    unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    unsigned mp = (5 * dayOfYear + 2) / 153;
    day = int(dayOfYear - (153 * mp + 2) / 5 + 1);
    month = int(mp < 10 ? mp + 3 : mp - 9);
    year = int(std::int64_t(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0));
}

const std::int64_t kMaxTicks = (kMaxDay + 1) * OrvDate::TicksPerDay - 1;

struct Fields {
    int v[7]; // year, month, day, hour, minute, second, hundredth
};

// The ticks of seven fields, or -1 when a field is out of range.
std::int64_t ticksOf(const Fields& f)
{
    const int* v = f.v;
    if (v[0] < 1 || v[0] > 9999 || v[1] < 1 || v[1] > 12 || v[2] < 1 ||
        v[2] > OrvDate::daysInMonth(v[0], v[1]) || v[3] < 0 || v[3] > 23 || v[4] < 0 ||
        v[4] > 59 || v[5] < 0 || v[5] > 59 || v[6] < 0 || v[6] > 99)
        return -1;
    std::int64_t seconds = (std::int64_t(v[3]) * 60 + v[4]) * 60 + v[5];
    return dayNumber(v[0], v[1], v[2]) * OrvDate::TicksPerDay + seconds * 100 + v[6];
}

// Image <-> ticks; -1 stands for an invalid date.
std::int64_t load(const unsigned char* b)
{
    if (b[8] != 0)
        return -1;
    for (int i = 9; i < 16; ++i)
        if (b[i] != 0)
            return -1;
    std::uint64_t u = 0;
    for (int i = 7; i >= 0; --i)
        u = (u << 8) | b[i];
    std::int64_t t = std::int64_t(u);
    return t < 0 || t > kMaxTicks ? -1 : t;
}

void store(std::int64_t ticks, unsigned char* b)
{
    std::memset(b, 0, 16);
    if (ticks < 0 || ticks > kMaxTicks) {
        b[8] = 1;
        return;
    }
    for (int i = 0; i < 8; ++i)
        b[i] = static_cast<unsigned char>(std::uint64_t(ticks) >> (8 * i));
}

std::int64_t ticksOf(const OrvDate& d) { return load(reinterpret_cast<const unsigned char*>(&d)); }

OrvDate dateOf(std::int64_t ticks)
{
    OrvDate d;
    store(ticks, reinterpret_cast<unsigned char*>(&d));
    return d;
}

void fieldsOf(std::int64_t ticks, Fields& f)
{
    std::int64_t dayNo = ticks / OrvDate::TicksPerDay;
    std::int64_t rest = ticks % OrvDate::TicksPerDay;
    civilDate(dayNo, f.v[0], f.v[1], f.v[2]);
    f.v[6] = int(rest % 100);
    rest /= 100;
    f.v[5] = int(rest % 60);
    rest /= 60;
    f.v[4] = int(rest % 60);
    f.v[3] = int(rest / 60);
}

// ---------------------------------------------------------------------------------------
// The format language. A format is read one element at a time, without building a list, so
// that printing a grid cell costs no allocation.

enum Kind { Literal, Blanks, Year4, Year2, Month, Day, Hour, Minute, Second, Hundredth };

struct Token {
    Kind kind;
    unsigned ch; // the literal character
};

bool isBlank(unsigned c) { return c == ' ' || c == '\t'; }
bool isDigit(unsigned c) { return c >= '0' && c <= '9'; }
unsigned lower(unsigned c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }

template <class C>
Token nextToken(const C* f, std::size_t n, std::size_t& i)
{
    unsigned c0 = unsigned(f[i]);
    unsigned l0 = lower(c0);
    unsigned l1 = i + 1 < n ? lower(unsigned(f[i + 1])) : 0;
    Kind pair = Literal;
    if (isBlank(c0)) {
        while (i < n && isBlank(unsigned(f[i])))
            ++i;
        return Token{Blanks, c0};
    }
    if (l0 == 'y' && l1 == 'y') {
        if (i + 3 < n && lower(unsigned(f[i + 2])) == 'y' && lower(unsigned(f[i + 3])) == 'y') {
            i += 4;
            return Token{Year4, 0};
        }
        pair = Year2;
    } else if (l0 == 'm' && l1 == 'm') {
        pair = Month;
    } else if (l0 == 'm' && l1 == 'i') {
        pair = Minute;
    } else if (l0 == 'd' && l1 == 'd') {
        pair = Day;
    } else if (l0 == 'h' && l1 == 'h') {
        pair = Hour;
    } else if (l0 == 's' && l1 == 's') {
        pair = Second;
    } else if (l0 == 'f' && l1 == 'f') {
        pair = Hundredth;
    }
    if (pair != Literal) {
        i += 2;
        return Token{pair, 0};
    }
    ++i;
    return Token{Literal, c0};
}

// Field slot and digit width of a numeric element (only those reach here).
int slotOf(Kind k)
{
    switch (k) {
    case Month: return 1;
    case Day: return 2;
    case Hour: return 3;
    case Minute: return 4;
    case Second: return 5;
    case Hundredth: return 6;
    default: return 0; // the year
    }
}

int widthOf(Kind k) { return k == Year4 ? 4 : 2; }

template <class C>
std::size_t textLength(const C* text, int length)
{
    if (length >= 0)
        return std::size_t(length);
    std::size_t n = 0;
    while (text[n])
        ++n;
    return n;
}

template <class C>
void trimBlanks(const C*& s, std::size_t& n)
{
    while (n > 0 && isBlank(unsigned(s[0]))) {
        ++s;
        --n;
    }
    while (n > 0 && isBlank(unsigned(s[n - 1])))
        --n;
}

// The canonical format in the caller's character width, without allocation.
template <class C>
struct CanonicalFormat {
    C text[24];
    CanonicalFormat()
    {
        const char* c = OrvDate::canonicalFormat();
        int i = 0;
        for (; c[i]; ++i)
            text[i] = C(c[i]);
        text[i] = 0;
    }
};

template <class C>
int formatImpl(const OrvDate& date, const C* format, C* buffer, int size)
{
    if (!buffer || size < 0)
        return QV_EARG;
    std::int64_t ticks = ticksOf(date);
    if (ticks < 0) {
        if (size > 0)
            buffer[0] = 0;
        return QV_EINVALID;
    }
    Fields f;
    fieldsOf(ticks, f);
    CanonicalFormat<C> canonical;
    if (!format)
        format = canonical.text;
    std::size_t n = textLength(format, -1);
    int len = 0;
    auto put = [&](C c) {
        if (len + 1 < size)
            buffer[len] = c;
        ++len;
    };
    for (std::size_t i = 0; i < n;) {
        Token t = nextToken(format, n, i);
        if (t.kind == Literal) {
            put(C(t.ch));
            continue;
        }
        if (t.kind == Blanks) {
            // Blanks print as written: step back over the run and copy it.
            std::size_t j = i;
            while (j > 0 && isBlank(unsigned(format[j - 1])))
                --j;
            for (; j < i; ++j)
                put(format[j]);
            continue;
        }
        int value = f.v[slotOf(t.kind)];
        if (t.kind == Year2)
            value %= 100;
        char digits[4];
        int w = widthOf(t.kind);
        for (int k = w - 1; k >= 0; --k) {
            digits[k] = char('0' + value % 10);
            value /= 10;
        }
        for (int k = 0; k < w; ++k)
            put(C(digits[k]));
    }
    if (len + 1 > size) {
        if (size > 0)
            buffer[0] = 0;
        return QV_EBUFFER;
    }
    buffer[len] = 0;
    return QV_OK;
}

// Reads `text` by `format` into fields (not yet checked for range).
template <class C>
int scanImpl(const C* text, std::size_t tn, const C* format, std::size_t fn, Fields& out)
{
    trimBlanks(text, tn);
    trimBlanks(format, fn);
    bool set[7] = {};
    Fields f = {{1, 1, 1, 0, 0, 0, 0}};
    std::size_t ti = 0;
    for (std::size_t i = 0; i < fn;) {
        Token t = nextToken(format, fn, i);
        if (t.kind == Literal) {
            if (ti >= tn || unsigned(text[ti]) != t.ch)
                return QV_ESYNTAX;
            ++ti;
            continue;
        }
        if (t.kind == Blanks) {
            if (ti >= tn || !isBlank(unsigned(text[ti])))
                return QV_ESYNTAX;
            while (ti < tn && isBlank(unsigned(text[ti])))
                ++ti;
            continue;
        }
        int w = widthOf(t.kind), count = 0, value = 0;
        while (count < w && ti < tn && isDigit(unsigned(text[ti]))) {
            value = value * 10 + int(unsigned(text[ti]) - '0');
            ++ti;
            ++count;
        }
        if (count == 0)
            return QV_ESYNTAX;
        if (t.kind == Year2)
            value += value < 69 ? 2000 : 1900;
        if (t.kind == Hundredth && count == 1)
            value *= 10; // a fraction: ".5" is fifty hundredths
        int slot = slotOf(t.kind);
        if (set[slot] && f.v[slot] != value)
            return QV_ESYNTAX;
        set[slot] = true;
        f.v[slot] = value;
    }
    if (ti != tn)
        return QV_ESYNTAX;
    out = f;
    return QV_OK;
}

template <class C>
int parseImpl(const C* text, int length, const C* format, OrvDate& out)
{
    if (!text)
        return QV_EARG;
    CanonicalFormat<C> canonical;
    if (!format)
        format = canonical.text;
    Fields f;
    int rc = scanImpl(text, textLength(text, length), format, textLength(format, -1), f);
    if (rc != QV_OK)
        return rc;
    std::int64_t ticks = ticksOf(f);
    if (ticks < 0)
        return QV_ERANGE;
    out = dateOf(ticks);
    return QV_OK;
}

// The canonical text may end after the date, the minutes or the seconds.
const char* const kCanonicalForms[] = {"yyyy-mm-dd hh:mi:ss.ff", "yyyy-mm-dd hh:mi:ss",
                                       "yyyy-mm-dd hh:mi", "yyyy-mm-dd"};

template <class C>
int fromTextImpl(const C* text, int length, OrvDate& out)
{
    if (!text)
        return QV_EARG;
    std::size_t n = textLength(text, length);
    int result = QV_ESYNTAX;
    for (const char* form : kCanonicalForms) {
        C format[24];
        std::size_t k = 0;
        for (; form[k]; ++k)
            format[k] = C(form[k]);
        format[k] = 0;
        Fields f;
        if (scanImpl(text, n, format, k, f) != QV_OK)
            continue;
        std::int64_t ticks = ticksOf(f);
        if (ticks < 0) {
            result = QV_ERANGE;
            continue;
        }
        out = dateOf(ticks);
        return QV_OK;
    }
    return result;
}

template <class C>
std::basic_istream<C>& get(std::basic_istream<C>& is, OrvDate& value)
{
    typedef typename std::basic_istream<C>::traits_type Traits;
    typename std::basic_istream<C>::sentry ok(is, true); // blanks are skipped below
    if (!ok) {
        value = OrvDate::invalid();
        return is;
    }
    std::basic_streambuf<C>* sb = is.rdbuf();
    std::ios_base::iostate state = std::ios_base::goodbit;
    typename Traits::int_type c = detail::skipBlanks(is);
    // The canonical shape: digits and "-" of the date, then one blank and a time of digits,
    // ":" and ".". Anything else ends the text and stays in the stream.
    std::string text;
    bool blankSeen = false;
    for (;;) {
        if (Traits::eq_int_type(c, Traits::eof())) {
            state |= std::ios_base::eofbit;
            break;
        }
        unsigned ch = unsigned(Traits::to_char_type(c));
        if (isDigit(ch) || ch == '-' || (blankSeen && (ch == ':' || ch == '.'))) {
            text.push_back(char(ch));
            c = sb->snextc();
            continue;
        }
        if (ch == ' ' && !blankSeen && !text.empty()) {
            // One blank separates the time; it is part of the date only if a digit follows.
            blankSeen = true;
            c = sb->snextc();
            if (!Traits::eq_int_type(c, Traits::eof()) &&
                isDigit(unsigned(Traits::to_char_type(c)))) {
                text.push_back(' ');
                continue;
            }
            if (Traits::eq_int_type(c, Traits::eof()))
                state |= std::ios_base::eofbit;
        }
        break;
    }
    OrvDate d;
    if (fromTextImpl(text.c_str(), int(text.size()), d) != QV_OK) {
        value = OrvDate::invalid();
        state |= std::ios_base::failbit;
    } else {
        value = d;
    }
    is.setstate(state);
    return is;
}

template <class C>
std::basic_ostream<C>& put(std::basic_ostream<C>& os, const OrvDate& value)
{
    char text[OrvDate::TextSize];
    if (value.toText(text, sizeof text) != QV_OK)
        return detail::failOutput(os);
    return detail::putText(os, text, int(std::strlen(text)));
}

} // namespace

// ---------------------------------------------------------------------------------------

OrvDate::OrvDate() { std::memset(m_bytes, 0, sizeof m_bytes); }

OrvDate::OrvDate(VLong unixSeconds)
{
    store((std::int64_t(unixSeconds) + kUnixEpochDay * 86400) * 100, m_bytes);
}

OrvDate::OrvDate(int year, int month, int day, int hour, int minute, int second,
                 int hundredth)
{
    Fields f = {{year, month, day, hour, minute, second, hundredth}};
    store(ticksOf(f), m_bytes);
}

OrvDate OrvDate::invalid() { return dateOf(-1); }

OrvDate OrvDate::fromTicks(std::int64_t ticks) { return dateOf(ticks); }

std::int64_t OrvDate::maxTicks() { return kMaxTicks; }

OrvDate OrvDate::minValue() { return dateOf(0); }

OrvDate OrvDate::maxValue() { return dateOf(kMaxTicks); }

bool OrvDate::isLeapYear(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int OrvDate::daysInMonth(int year, int month)
{
    static const int days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1 || year > 9999 || month < 1 || month > 12)
        return 0;
    return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

const char* OrvDate::canonicalFormat() { return kCanonicalForms[0]; }

bool OrvDate::isValid() const { return load(m_bytes) >= 0; }

std::int64_t OrvDate::ticks() const
{
    std::int64_t t = load(m_bytes);
    return t < 0 ? 0 : t;
}

bool OrvDate::Decompos(int* year, int* month, int* day, int* hour, int* minute, int* second,
                       int* hundredth) const
{
    Fields f = {{0, 0, 0, 0, 0, 0, 0}};
    std::int64_t t = load(m_bytes);
    if (t >= 0)
        fieldsOf(t, f);
    int* out[7] = {year, month, day, hour, minute, second, hundredth};
    for (int i = 0; i < 7; ++i)
        if (out[i])
            *out[i] = f.v[i];
    return t >= 0;
}

int OrvDate::compare(const OrvDate& a, const OrvDate& b)
{
    std::int64_t ta = load(a.m_bytes), tb = load(b.m_bytes);
    return ta < tb ? -1 : ta > tb ? 1 : 0;
}

int OrvDate::toText(char* buffer, int size) const
{
    return formatImpl<char>(*this, nullptr, buffer, size);
}

int OrvDate::toText(WChar* buffer, int size) const
{
    return formatImpl<WChar>(*this, nullptr, buffer, size);
}

int OrvDate::fromText(const char* text, int length, OrvDate& out)
{
    return fromTextImpl(text, length, out);
}

int OrvDate::fromText(const WChar* text, int length, OrvDate& out)
{
    return fromTextImpl(text, length, out);
}

int OrvDate::format(const char* format, char* buffer, int size) const
{
    return formatImpl(*this, format, buffer, size);
}

int OrvDate::format(const WChar* format, WChar* buffer, int size) const
{
    return formatImpl(*this, format, buffer, size);
}

int OrvDate::parse(const char* text, int length, const char* format, OrvDate& out)
{
    return parseImpl(text, length, format, out);
}

int OrvDate::parse(const WChar* text, int length, const WChar* format, OrvDate& out)
{
    return parseImpl(text, length, format, out);
}

std::ostream& operator<<(std::ostream& os, const OrvDate& value) { return put(os, value); }

std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os, const OrvDate& value)
{
    return put(os, value);
}

std::istream& operator>>(std::istream& is, OrvDate& value) { return get(is, value); }

std::basic_istream<WChar>& operator>>(std::basic_istream<WChar>& is, OrvDate& value)
{
    return get(is, value);
}

} // namespace OrvCPP

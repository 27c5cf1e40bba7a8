// Formater: the date fields of a tDate mask (Y, M, MMM, D, H, MI, S, F), how a date is
// written into them and read back, and the clock that completes a short year.
#include <vexapi/format/formater.h>

#include <vexapi/core/wtext.h>
#include <vexapi/values/orvdate.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

using OrvCPP::OrvDate;

namespace {

const char* const monthNames[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// A field's number as wcstol reads it in base 10: blanks, a sign, digits; 0 when there are
// none. Clamped far inside the int range so that the arithmetic on fields cannot overflow.
long long fieldNumber(const WChar* s, int n)
{
    int i = 0;
    while (i < n && (s[i] == ' ' || s[i] == '\t'))
        ++i;
    bool negative = false;
    if (i < n && (s[i] == '+' || s[i] == '-'))
        negative = s[i++] == '-';
    long long v = 0;
    for (; i < n && s[i] >= '0' && s[i] <= '9'; ++i)
        v = std::min(v * 10 + (s[i] - '0'), 1000000000LL);
    return negative ? -v : v;
}

// 1..12 for a month's English short name (compared without regard to case), else 0.
int monthOfName(const WChar* s, int n)
{
    while (n > 0 && s[0] == ' ') {
        ++s;
        --n;
    }
    while (n > 0 && s[n - 1] == ' ')
        --n;
    if (n != 3)
        return 0;
    for (int m = 0; m < 12; ++m) {
        bool same = true;
        for (int k = 0; k < 3 && same; ++k)
            same = wtolower(s[k]) == wtolower(WChar(monthNames[m][k]));
        if (same)
            return m + 1;
    }
    return 0;
}

long long floorDiv(long long a, long long b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

} // namespace

// Marks the date letters of the mask as fields and turns them into input positions, before
// the mask is compiled. Offsets are in the mask text here; mapDateFields turns them into
// positions.
void Formater::scanDateFields(std::vector<WChar>& mask)
{
    const int n = int(mask.size());
    int i = 0;
    auto run = [&](int at, WChar letter) {
        int end = at;
        while (end < n && mask[std::size_t(end)] == letter)
            ++end;
        return end - at;
    };
    while (i < n) {
        const WChar c = mask[std::size_t(i)];
        int field = -1, len = 0;
        if (c == 'Y') {
            field = dfYear;
            len = run(i, 'Y');
        } else if (c == 'M' && i + 1 < n && mask[std::size_t(i + 1)] == 'I') {
            field = dfMinute;
            len = 2;
        } else if (c == 'M') {
            field = dfMonth;
            len = run(i, 'M');
        } else if (c == 'D' || c == 'H' || c == 'S' || c == 'F') {
            field = c == 'D' ? dfDay : c == 'H' ? dfHour : c == 'S' ? dfSecond : dfFraction;
            len = run(i, c);
        }
        if (field < 0) {
            ++i;
            continue;
        }
        m_dateOffsets[field] = i;
        m_dateLengths[field] = len;
        // Three M are a month name, typed as letters; every other run takes digits.
        const WChar fill = field == dfMonth && len == 3 ? WChar('A') : WChar('#');
        std::fill(mask.begin() + i, mask.begin() + i + len, fill);
        i += len;
    }
}

// Turns the fields' text offsets into positions of the compiled mask: a "!" or an escape
// before a field makes the two differ.
void Formater::mapDateFields()
{
    const int count = m_processor.count();
    for (int f = 0; f < DateFieldCount; ++f) {
        if (m_dateLengths[f] == 0)
            continue;
        const int first = m_processor.elementAt(m_dateOffsets[f]);
        const int last = m_processor.elementAt(m_dateOffsets[f] + m_dateLengths[f] - 1);
        if (first >= count) {
            m_dateOffsets[f] = m_dateLengths[f] = 0;
            continue;
        }
        m_dateOffsets[f] = first;
        m_dateLengths[f] = (last >= count ? count : last + 1) - first;
        m_hasDateFields = true;
    }
}

int Formater::dateOffset(int field) const
{
    return field >= 0 && field < DateFieldCount ? m_dateOffsets[field] : 0;
}

int Formater::dateLength(int field) const
{
    return field >= 0 && field < DateFieldCount ? m_dateLengths[field] : 0;
}

void Formater::writeDateFields(const void* date)
{
    if (!m_buffer || !m_maxSym || m_null)
        return;
    OrvDate d;
    std::memcpy(&d, date, sizeof d);
    int v[DateFieldCount];
    d.Decompos(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6]);
    for (int f = 0; f < DateFieldCount; ++f) {
        const int pos = m_dateOffsets[f], len = m_dateLengths[f];
        if (len == 0)
            continue;
        std::vector<WChar> text;
        if (f == dfMonth && len == 3 && v[f] >= 1 && v[f] <= 12) {
            text.assign(monthNames[v[f] - 1], monthNames[v[f] - 1] + 3);
        } else {
            // The number's rightmost digits when it is longer than the field, zeros on
            // the left when it is shorter.
            std::string digits = std::to_string(v[f]);
            if (int(digits.size()) > len)
                digits.erase(0, digits.size() - std::size_t(len));
            text.assign(std::size_t(len) - digits.size(), WChar('0'));
            for (char ch : digits)
                text.push_back(WChar(ch));
        }
        setTextLen(std::max(m_textLen, pos + len));
        for (int k = 0; k < len && pos + k < m_textLen; ++k)
            if (m_processor.holds(pos + k, text[std::size_t(k)]))
                m_buffer[pos + k] = text[std::size_t(k)];
    }
    FillAllStatics();
}

bool Formater::readDateFields(void* out) const
{
    long long v[DateFieldCount] = {0, 0, 0, 0, 0, 0, 0};
    for (int f = 0; f < DateFieldCount; ++f) {
        const int pos = m_dateOffsets[f];
        const int len = std::max(0, std::min(m_dateLengths[f], m_textLen - pos));
        if (m_buffer && len > 0)
            v[f] = fieldNumber(m_buffer + pos, len);
    }
    // A short year takes its century (or millennium) from the clock; a missing one is the
    // current year.
    long long scale = 1;
    for (int k = 0; k < m_dateLengths[dfYear] && scale <= 1000000000LL; ++k)
        scale *= 10;
    v[dfYear] += currentYear() / scale * scale;
    if (v[dfMonth] == 0 && m_buffer && m_dateLengths[dfMonth] > 0) {
        const int pos = m_dateOffsets[dfMonth];
        const int len = std::max(0, std::min(m_dateLengths[dfMonth], m_textLen - pos));
        v[dfMonth] = monthOfName(m_buffer + pos, len);
    }
    // A month or day that is blank (or not a name) is the first, not the last of the one
    // before.
    if (v[dfMonth] == 0)
        v[dfMonth] = 1;
    if (v[dfDay] == 0)
        v[dfDay] = 1;

    // Fields beyond their range carry over, so 31.02. is the 3rd of March (2nd in a leap
    // year) and 25:00 the next day at 1 o'clock. Before year 1 the date is the first day of
    // year 1, after 9999 the last moment of 9999.
    OrvDate date;
    const long long m0 = v[dfMonth] - 1;
    const long long year = v[dfYear] + floorDiv(m0, 12);
    const int month = int(m0 - floorDiv(m0, 12) * 12) + 1;
    if (year < 1) {
        date = OrvDate::minValue();
    } else if (year > 9999) {
        date = OrvDate::maxValue();
    } else {
        const std::int64_t ticks = OrvDate(int(year), month, 1).ticks() +
                                   (v[dfDay] - 1) * std::int64_t(OrvDate::TicksPerDay) +
                                   v[dfHour] * 360000LL + v[dfMinute] * 6000LL +
                                   v[dfSecond] * 100LL + v[dfFraction];
        if (ticks < 0)
            date = OrvDate::minValue();
        else if (ticks > OrvDate::maxTicks())
            date = OrvDate::maxValue();
        else
            date = OrvDate::fromTicks(ticks);
    }
    std::memcpy(out, &date, sizeof date);
    return true;
}

int Formater::currentYear() const
{
    // The calendar year of today in UTC, from the count of days since 1970-01-01 (the
    // civil-from-days conversion of the proleptic Gregorian calendar); UTC keeps it free
    // of the C library's non-reentrant local time.
    const long long days = floorDiv(static_cast<long long>(std::time(nullptr)), 86400);
    const long long z = days + 719468;
    const long long era = floorDiv(z, 146097);
    const long long doe = z - era * 146097;
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long long mp = (5 * doy + 2) / 153;
    const long long month = mp < 10 ? mp + 3 : mp - 9;
    return int(yoe + era * 400 + (month <= 2 ? 1 : 0));
}

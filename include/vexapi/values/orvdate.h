// OrvDate: the client layer's date and time to the hundredth of a second, a 16-byte value
// held inside records, with its canonical text form, its format language and its streams.
#pragma once

#include <vexapi/values/qvstatus.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdint>
#include <iosfwd>
#include <type_traits>

namespace OrvCPP {

// A date and time of the proleptic Gregorian calendar, from 0001-01-01 00:00:00.00 to
// 9999-12-31 23:59:59.99, to the hundredth of a second, with no time zone. A year is a leap
// year when divisible by 4 and not by 100, unless by 400 (2000 and 2024 are, 1900 and 2100
// are not).
//
// Layout (16 bytes, the same on every platform, alignment 1 so that a value may sit at any
// offset of a row image and be copied with memcpy):
//   bytes 0..7   ticks: hundredths of a second since 0001-01-01 00:00:00.00, a signed 64-bit
//                integer, least significant byte first
//   byte  8      status: 0 valid, 1 invalid
//   bytes 9..15  zero
// Sixteen zero bytes are 0001-01-01 00:00:00.00, so a zero-filled record holds a valid date.
//
// Bad fields give no exception: the seven-field constructor checks year 1..9999, month
// 1..12, day 1..days of the month, hour 0..23, minute and second 0..59, hundredth 0..99, and
// any field outside makes an invalid date (isValid() false). An invalid date decomposes to
// seven zeros, prints nothing, sorts before every valid date, and equals every other invalid
// date.
//
// Invariants (of every value made by this class; a raw image that breaks them reads as
// invalid):
//  1. A valid date's ticks lie in 0..maxTicks().
//  2. An invalid date has ticks 0; the zero bytes stay zero.
//
// Canonical text: "yyyy-mm-dd hh:mi:ss.ff", e.g. "2024-02-29 13:05:09.07". It is the one
// text form of the library: the stream operators write and read it, SQL literals carry it
// between quotes, format templates and the grid exchange it. It sorts as text in date
// order. toText() and fromText() are its only writer and reader.
//
// Format language (format() and parse(), and TICKTOSTRF/STRTOTICKF). Elements are matched
// case-insensitively ("DD.MM.YYYY" works too); every other character is a literal:
//
//   element  prints                         parses
//   -------  -----------------------------  ------------------------------------------------
//   yyyy     year, 4 digits ("0987")        1 to 4 digits, 1..9999
//   yy       year mod 100, 2 digits         1 to 2 digits: 69..99 -> 1969..1999,
//                                           00..68 -> 2000..2068 (the POSIX rule)
//   mm       month, 2 digits                1 to 2 digits, 1..12
//   dd       day, 2 digits                  1 to 2 digits, 1..days of the month
//   hh       hour, 2 digits                 1 to 2 digits, 0..23
//   mi       minute, 2 digits               1 to 2 digits, 0..59
//   ss       second, 2 digits               1 to 2 digits, 0..59
//   ff       hundredths, 2 digits           1 or 2 digits read as a fraction: "5" is 50
//                                           hundredths, "05" is 5
//   blanks   themselves                     a run of blanks matches one or more blanks
//   other    itself                         exactly that character
//
// Digits are read greedily up to the element's width, so formats without separators
// ("yyyymmdd") work both ways. Parsing ignores blanks at both ends of the text (and of the
// format), and the whole text must be used. Elements missing from the format take year 1,
// month 1, day 1 and zero time; an element given twice must read the same value twice.
// Formatting then parsing with the same format gives the same date back (with "yy", for
// years 1969..2068).
class VEXAPI_API OrvDate {
public:
    enum {
        TextSize = 23,           // the canonical text and its terminator
        TicksPerDay = 8640000    // hundredths of a second in a day
    };

    // 0001-01-01 00:00:00.00.
    OrvDate();
    // A count of seconds since 1970-01-01 00:00:00 (the Unix epoch, no time zone applied):
    // 0 is 1970-01-01 00:00:00.00, -86400 is 1969-12-31 00:00:00.00. Every 32-bit value is
    // a valid date (1901-12-13 20:45:52 to 2038-01-19 03:14:07).
    OrvDate(VLong unixSeconds);
    // The seven fields; a field out of range gives an invalid date (see above).
    OrvDate(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
            int hundredth = 0);

    static OrvDate invalid();
    // The date `ticks` hundredths of a second after 0001-01-01 00:00:00.00; invalid outside
    // 0..maxTicks().
    static OrvDate fromTicks(std::int64_t ticks);
    static std::int64_t maxTicks(); // 9999-12-31 23:59:59.99
    static OrvDate minValue();      // 0001-01-01 00:00:00.00
    static OrvDate maxValue();      // 9999-12-31 23:59:59.99
    // 1 to 31 for a valid month of a year in 1..9999, else 0.
    static int daysInMonth(int year, int month);
    static bool isLeapYear(int year);
    // "yyyy-mm-dd hh:mi:ss.ff", the format of the canonical text.
    static const char* canonicalFormat();

    bool isValid() const;
    // Ticks of a valid date, 0 for an invalid one.
    std::int64_t ticks() const;

    // The seven fields; any pointer may be null. An invalid date gives zeros and false.
    bool Decompos(int* year, int* month = nullptr, int* day = nullptr, int* hour = nullptr,
                  int* minute = nullptr, int* second = nullptr,
                  int* hundredth = nullptr) const;

    // -1, 0 or 1: invalid dates first, then by time.
    static int compare(const OrvDate& a, const OrvDate& b);

    // The canonical text and its terminator into `buffer` of `size` characters.
    // QV_EINVALID for an invalid date, QV_EBUFFER when it does not fit; both leave "".
    int toText(char* buffer, int size) const;
    int toText(WChar* buffer, int size) const;
    // Reads the canonical text (`length` characters, or up to the terminator when
    // negative). The time may be cut short after the minutes or the seconds, or left out
    // ("2024-02-29", "2024-02-29 13:05", "2024-02-29 13:05:09"); the hundredths may have
    // one digit. QV_ESYNTAX when the text does not fit, QV_ERANGE for a field out of range
    // ("2023-02-29"). On failure `out` is not changed.
    static int fromText(const char* text, int length, OrvDate& out);
    static int fromText(const WChar* text, int length, OrvDate& out);

    // Writes the date by `format` (the language above; null means the canonical format).
    // QV_EINVALID for an invalid date, QV_EBUFFER when the text does not fit; both leave "".
    int format(const char* format, char* buffer, int size) const;
    int format(const WChar* format, WChar* buffer, int size) const;
    // Reads `text` (`length` characters, or up to the terminator when negative) by
    // `format` (null means the canonical format). QV_ESYNTAX when the text does not fit the
    // format, QV_ERANGE for a field out of range; on failure `out` is not changed.
    static int parse(const char* text, int length, const char* format, OrvDate& out);
    static int parse(const WChar* text, int length, const WChar* format, OrvDate& out);

private:
    unsigned char m_bytes[16];
};

static_assert(sizeof(OrvDate) == 16, "OrvDate is a 16-byte value");
static_assert(std::is_trivially_copyable<OrvDate>::value, "OrvDate is copied with memcpy");

inline bool operator==(const OrvDate& a, const OrvDate& b) { return OrvDate::compare(a, b) == 0; }
inline bool operator!=(const OrvDate& a, const OrvDate& b) { return OrvDate::compare(a, b) != 0; }
inline bool operator<(const OrvDate& a, const OrvDate& b) { return OrvDate::compare(a, b) < 0; }
inline bool operator>(const OrvDate& a, const OrvDate& b) { return OrvDate::compare(a, b) > 0; }
inline bool operator<=(const OrvDate& a, const OrvDate& b) { return OrvDate::compare(a, b) <= 0; }
inline bool operator>=(const OrvDate& a, const OrvDate& b) { return OrvDate::compare(a, b) >= 0; }

// Output writes the canonical text (honouring the stream's width, padded with blanks on the
// 16-bit stream); an invalid date writes nothing and sets failbit.
// Input skips leading blanks (when skipws is set) and reads the longest leading text of the
// canonical shape: the date, then, after one blank, a time of digits, ":" and ".". The
// reading ends at the first other character, which is left in the stream (a blank after the
// date that no digit follows is consumed as a separator). A text that does
// not make a date sets failbit and stores an invalid date.
VEXAPI_API std::ostream& operator<<(std::ostream& os, const OrvDate& value);
VEXAPI_API std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os,
                                                 const OrvDate& value);
VEXAPI_API std::istream& operator>>(std::istream& is, OrvDate& value);
VEXAPI_API std::basic_istream<WChar>& operator>>(std::basic_istream<WChar>& is,
                                                 OrvDate& value);

} // namespace OrvCPP

// OrvDec: the client layer's exact fixed-point decimal, a 16-byte value held inside records,
// with its text form, arithmetic and stream operators.
#pragma once

#include <vexapi/values/qvstatus.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdint>
#include <iosfwd>
#include <type_traits>

namespace OrvCPP {

// An exact decimal number: an unsigned coefficient of up to 33 digits, a scale (the count of
// digits after the point, 0 to 33), a sign and a status. Its value is
// (-1)^sign * coefficient / 10^scale. It is not a binary floating point number: 0.1 is
// exactly 0.1, and every operation below is exact unless it says it rounds.
//
// Layout (16 bytes, the same on every platform, alignment 1 so that a value may sit at any
// offset of a row image and be copied with memcpy):
//   bytes 0..13  the coefficient, a 112-bit unsigned integer, least significant byte first
//   byte  14     the scale, 0..33
//   byte  15     flags: bit 0 negative, bits 1-2 status (0 valid, 1 invalid, 2 overflow),
//                bits 3-7 zero
// Sixteen zero bytes are the number 0, so a zero-filled record holds valid zeros.
//
// Range: the largest value is 10^33 - 1 (33 nines), the smallest -(10^33 - 1); the smallest
// positive value is 10^-33. A value keeps its scale: "1.50" prints as "1.50".
//
// Rounding: where a result has more digits than fit (a product's scale above 33, a quotient,
// a sum whose coefficient reaches 10^33, rescale() to fewer decimals, a double with digits
// below 10^-33), it is rounded half away from zero at the last digit kept: 2.5 -> 3,
// -2.5 -> -3, 2.49 -> 2.
//
// Overflow: a result whose integer part needs more than 33 digits is not wrapped or clamped:
// it becomes a value of status Overflow. A failed parse, a division by zero, a NaN or an
// infinity give status Invalid. Neither holds a number: both read as NaN through
// operator double(), print nothing, and spread through arithmetic (Invalid wins over
// Overflow).
//
// Invariants (of every value made by this class; a raw image that breaks them reads as
// Invalid):
//  1. The coefficient is below 10^33 and the scale is at most 33.
//  2. A value whose status is not Valid has a zero coefficient, scale 0 and no sign.
//  3. Results of operations never carry the sign on a zero coefficient. A raw image that does
//     (negative zero) compares equal to zero and prints without a sign.
//
// Order: Invalid < Overflow < every valid number; values of one non-valid status are equal.
// Valid numbers compare by value whatever their scales: 1.5 == 1.50.
class VEXAPI_API OrvDec {
public:
    // The status codes are those of SETDECSTATUS: 0 marks a value that holds no number.
    enum Status { Invalid = 0, Valid = 1, Overflow = 2 };
    enum {
        MaxDigits = 33, // significant digits of the coefficient
        MaxScale = 33,  // digits after the point
        TextSize = 40   // room for any value's text with its terminator
    };

    // Zero, scale 0.
    OrvDec();
    OrvDec(VLong value);
    // Any other integer type, exactly; a value of more than 33 digits gives Overflow.
    template <class I, typename std::enable_if<std::is_integral<I>::value &&
                                                   !std::is_same<I, bool>::value &&
                                                   !std::is_same<I, VLong>::value,
                                               int>::type = 0>
    OrvDec(I value)
    {
        if (std::is_signed<I>::value)
            *this = fromInt64(static_cast<std::int64_t>(value));
        else
            *this = fromUInt64(static_cast<std::uint64_t>(value));
    }
    // The shortest decimal that reads back as the same float or double: OrvDec(0.1) is 0.1,
    // not 0.1000000000000000055511151231257827. Digits below 10^-33 are rounded off; a
    // magnitude of 10^33 or more gives Overflow, a NaN or infinity Invalid.
    OrvDec(float value);
    OrvDec(double value);
    // Parses `text` exactly as fromText() does; a text that is not a number (or a null
    // pointer) gives Invalid, a number that does not fit gives Overflow.
    OrvDec(const char* text);

    // The nearest double (NaN when the status is not Valid).
    explicit operator double() const;

    static OrvDec fromInt64(std::int64_t value);
    static OrvDec fromUInt64(std::uint64_t value);
    // The value coefficient / 10^scale, made from the coefficient's two 64-bit halves;
    // Invalid when the coefficient reaches 10^33 or the scale is outside 0..33.
    static OrvDec fromParts(std::uint64_t coefficientLow, std::uint64_t coefficientHigh,
                            int scale, bool negative);
    static OrvDec maxValue();    // 10^33 - 1
    static OrvDec minValue();    // -(10^33 - 1)
    static OrvDec minPositive(); // 10^-33
    static OrvDec invalid();

    Status status() const;
    bool isValid() const { return status() == Valid; }
    // Sets the status: Invalid and Overflow clear the number; Valid turns a non-valid value
    // into 0 and leaves a valid one alone.
    void setStatus(Status status);

    int scale() const;
    bool isZero() const;     // a valid zero of any scale or sign
    bool isNegative() const; // below zero; negative zero is not
    // The coefficient's halves (the value's digits without point and sign).
    std::uint64_t coefficientLow() const;
    std::uint64_t coefficientHigh() const;
    // The number of digits of the coefficient, 1 for zero.
    int digits() const;

    // The same value with exactly `scale` decimals: fewer decimals round half away from
    // zero, more append zeros (Overflow if the coefficient then exceeds 33 digits). A scale
    // outside 0..33 gives Invalid.
    OrvDec rescale(int scale) const;
    OrvDec abs() const;
    OrvDec operator-() const;

    OrvDec& operator+=(const OrvDec& other);
    OrvDec& operator-=(const OrvDec& other);
    OrvDec& operator*=(const OrvDec& other);
    OrvDec& operator/=(const OrvDec& other);

    // -1, 0 or 1 in the order described above.
    static int compare(const OrvDec& a, const OrvDec& b);

    // Text form: an optional "-", the integer digits (at least "0"), and when the scale is
    // not 0 a "." and exactly `scale` digits: "-12.50", "0.001", "7". No exponent, no
    // blanks, no thousands separator. Writes the text and its terminator into `buffer` of
    // `size` characters. QV_EINVALID for a value that is not Valid, QV_EBUFFER when the text
    // does not fit; in both cases the buffer holds "" (if size > 0).
    int toText(char* buffer, int size) const;
    int toText(WChar* buffer, int size) const;

    // Parses a whole text (`length` characters, or up to the terminator when negative) into
    // `out`, exactly. Accepted: leading and trailing blanks, an optional sign, digits with an
    // optional "." ("1.", ".5"), and an optional exponent "e" or "E" with an optional sign
    // and digits ("1.5e3" is 1500, "15e-1" is 1.5). The scale is the number of decimals
    // written, less the exponent ("1.50" has scale 2, "1.5e3" scale 0).
    // QV_ESYNTAX for anything else ("", "1.2.3", "--1", "1e", "1,5"); QV_ERANGE for a
    // number that cannot be held exactly: more than 33 significant digits, an integer part
    // of 10^33 or more, or nonzero digits below 10^-33 (zeros at the end of the fraction
    // that do not fit are dropped, the value being the same). On failure `out` is not
    // changed.
    static int fromText(const char* text, int length, OrvDec& out);
    static int fromText(const WChar* text, int length, OrvDec& out);

private:
    unsigned char m_bytes[16];
};

static_assert(sizeof(OrvDec) == 16, "OrvDec is a 16-byte value");
static_assert(std::is_trivially_copyable<OrvDec>::value, "OrvDec is copied with memcpy");

// Sum, difference and product are exact while they fit: the scale of a sum is the larger
// scale, that of a product the sum of the scales (rounded off above 33 decimals or 33
// digits). A quotient is the exact quotient rounded at the 33rd significant digit (or the
// 33rd decimal), then stripped of trailing zeros down to the larger of the two scales:
// 1 / 3 = 0.333333333333333333333333333333333, 1 / 4 = 0.25, 6.00 / 2 = 3.00.
// Division by zero gives Invalid.
VEXAPI_API OrvDec operator+(const OrvDec& a, const OrvDec& b);
VEXAPI_API OrvDec operator-(const OrvDec& a, const OrvDec& b);
VEXAPI_API OrvDec operator*(const OrvDec& a, const OrvDec& b);
VEXAPI_API OrvDec operator/(const OrvDec& a, const OrvDec& b);

inline bool operator==(const OrvDec& a, const OrvDec& b) { return OrvDec::compare(a, b) == 0; }
inline bool operator!=(const OrvDec& a, const OrvDec& b) { return OrvDec::compare(a, b) != 0; }
inline bool operator<(const OrvDec& a, const OrvDec& b) { return OrvDec::compare(a, b) < 0; }
inline bool operator>(const OrvDec& a, const OrvDec& b) { return OrvDec::compare(a, b) > 0; }
inline bool operator<=(const OrvDec& a, const OrvDec& b) { return OrvDec::compare(a, b) <= 0; }
inline bool operator>=(const OrvDec& a, const OrvDec& b) { return OrvDec::compare(a, b) >= 0; }

// Output writes the text form (honouring the stream's width, padded with blanks on the
// 16-bit stream); a value that is not Valid writes nothing and sets failbit.
// Input reads the longest leading text of the number grammar of fromText (sign, digits,
// point, exponent), like the stream's own number input: "12.5abc" reads 12.5 and leaves
// "abc". A text that is no number (or too big) sets failbit and stores Invalid (Overflow).
VEXAPI_API std::ostream& operator<<(std::ostream& os, const OrvDec& value);
VEXAPI_API std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os,
                                                 const OrvDec& value);
VEXAPI_API std::istream& operator>>(std::istream& is, OrvDec& value);
VEXAPI_API std::basic_istream<WChar>& operator>>(std::basic_istream<WChar>& is, OrvDec& value);

} // namespace OrvCPP

// OrvDec: layout, exact parse and print, arithmetic on wide integers, rounding and the
// stream operators in both character widths.
#include <vexapi/values/orvdec.h>
#include "qvstream.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <istream>
#include <limits>
#include <ostream>
#include <string>

namespace OrvCPP {

namespace {

// ---------------------------------------------------------------------------------------
// A fixed-width unsigned integer of 384 bits in 32-bit limbs: room for a coefficient
// (< 2^110) scaled by 10^66 during alignment and division. Portable on purpose (no
// unsigned __int128), so that the library builds with any C++17 compiler.
const int kLimbs = 12;

struct Big {
    std::uint32_t w[kLimbs]; // least significant limb first
};

Big bigZero()
{
    Big b;
    std::memset(b.w, 0, sizeof b.w);
    return b;
}

Big bigFrom(std::uint64_t lo, std::uint64_t hi)
{
    Big b = bigZero();
    b.w[0] = std::uint32_t(lo);
    b.w[1] = std::uint32_t(lo >> 32);
    b.w[2] = std::uint32_t(hi);
    b.w[3] = std::uint32_t(hi >> 32);
    return b;
}

bool bigIsZero(const Big& a)
{
    for (int i = 0; i < kLimbs; ++i)
        if (a.w[i])
            return false;
    return true;
}

int bigCmp(const Big& a, const Big& b)
{
    for (int i = kLimbs - 1; i >= 0; --i)
        if (a.w[i] != b.w[i])
            return a.w[i] < b.w[i] ? -1 : 1;
    return 0;
}

// a += b; answers the carry out of the top limb.
bool bigAdd(Big& a, const Big& b)
{
    std::uint64_t carry = 0;
    for (int i = 0; i < kLimbs; ++i) {
        std::uint64_t s = std::uint64_t(a.w[i]) + b.w[i] + carry;
        a.w[i] = std::uint32_t(s);
        carry = s >> 32;
    }
    return carry != 0;
}

// a -= b, with a >= b.
void bigSub(Big& a, const Big& b)
{
    std::int64_t borrow = 0;
    for (int i = 0; i < kLimbs; ++i) {
        std::int64_t d = std::int64_t(a.w[i]) - b.w[i] - borrow;
        borrow = d < 0;
        a.w[i] = std::uint32_t(d + (borrow << 32));
    }
}

// a *= m; answers whether the product left the 384 bits.
bool bigMulSmall(Big& a, std::uint32_t m)
{
    std::uint64_t carry = 0;
    for (int i = 0; i < kLimbs; ++i) {
        std::uint64_t p = std::uint64_t(a.w[i]) * m + carry;
        a.w[i] = std::uint32_t(p);
        carry = p >> 32;
    }
    return carry != 0;
}

// a /= d; answers the remainder.
std::uint32_t bigDivSmall(Big& a, std::uint32_t d)
{
    std::uint64_t rem = 0;
    for (int i = kLimbs - 1; i >= 0; --i) {
        std::uint64_t cur = (rem << 32) | a.w[i];
        a.w[i] = std::uint32_t(cur / d);
        rem = cur % d;
    }
    return std::uint32_t(rem);
}

void bigIncrement(Big& a)
{
    for (int i = 0; i < kLimbs; ++i)
        if (++a.w[i] != 0)
            return;
}

// out = a * b; answers whether the product left the 384 bits.
bool bigMul(const Big& a, const Big& b, Big& out)
{
    std::uint32_t r[2 * kLimbs] = {};
    for (int i = 0; i < kLimbs; ++i) {
        if (!a.w[i])
            continue;
        std::uint64_t carry = 0;
        for (int j = 0; j < kLimbs; ++j) {
            std::uint64_t t = std::uint64_t(a.w[i]) * b.w[j] + r[i + j] + carry;
            r[i + j] = std::uint32_t(t);
            carry = t >> 32;
        }
        r[i + kLimbs] = std::uint32_t(carry);
    }
    for (int i = 0; i < kLimbs; ++i)
        out.w[i] = r[i];
    for (int i = kLimbs; i < 2 * kLimbs; ++i)
        if (r[i])
            return true;
    return false;
}

int bigBitLength(const Big& a)
{
    for (int i = kLimbs - 1; i >= 0; --i)
        if (a.w[i]) {
            int bits = 32;
            while (!(a.w[i] & (1u << (bits - 1))))
                --bits;
            return i * 32 + bits;
        }
    return 0;
}

// q = n / d, r = n % d by shift and subtract; d is not zero. Used by division only, where a
// few hundred steps are cheap next to the cost of getting a wrong digit.
void bigDivMod(const Big& n, const Big& d, Big& q, Big& r)
{
    q = bigZero();
    r = bigZero();
    for (int bit = bigBitLength(n) - 1; bit >= 0; --bit) {
        // r = r * 2 + bit
        std::uint32_t carry = (n.w[bit / 32] >> (bit % 32)) & 1u;
        for (int i = 0; i < kLimbs; ++i) {
            std::uint32_t next = r.w[i] >> 31;
            r.w[i] = (r.w[i] << 1) | carry;
            carry = next;
        }
        if (bigCmp(r, d) >= 0) {
            bigSub(r, d);
            q.w[bit / 32] |= 1u << (bit % 32);
        }
    }
}

const int kMaxPow10 = 115; // 10^115 < 2^384

const Big& pow10(int k)
{
    struct Table {
        Big p[kMaxPow10 + 1];
        Table()
        {
            p[0] = bigFrom(1, 0);
            for (int i = 1; i <= kMaxPow10; ++i) {
                p[i] = p[i - 1];
                bigMulSmall(p[i], 10);
            }
        }
    };
    static const Table table;
    return table.p[k];
}

// a *= 10^k; answers overflow of the 384 bits.
bool bigMulPow10(Big& a, int k)
{
    while (k > 0) {
        int step = std::min(k, 9);
        static const std::uint32_t small[10] = {1, 10, 100, 1000, 10000, 100000, 1000000,
                                                10000000, 100000000, 1000000000};
        if (bigMulSmall(a, small[step]))
            return true;
        k -= step;
    }
    return false;
}

// The number of decimal digits of a (1 for zero).
int bigDigits(const Big& a)
{
    int lo = 1, hi = kMaxPow10;
    // smallest k with a < 10^k
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (bigCmp(a, pow10(mid)) < 0)
            hi = mid;
        else
            lo = mid + 1;
    }
    return lo;
}

// a = a / 10^k rounded half away from zero (on the magnitude, so: up on a first dropped
// digit of 5 or more).
void bigRoundOff(Big& a, int k)
{
    if (k <= 0)
        return;
    int rest = k - 1;
    while (rest > 0) {
        int step = std::min(rest, 9);
        static const std::uint32_t small[10] = {1, 10, 100, 1000, 10000, 100000, 1000000,
                                                10000000, 100000000, 1000000000};
        bigDivSmall(a, small[step]);
        rest -= step;
    }
    std::uint32_t firstDropped = bigDivSmall(a, 10);
    if (firstDropped >= 5)
        bigIncrement(a);
}

// ---------------------------------------------------------------------------------------
// The unpacked form of a value.
struct Parts {
    std::uint64_t lo = 0, hi = 0; // coefficient, hi holds bits 64..111
    int scale = 0;
    bool negative = false;
    OrvDec::Status status = OrvDec::Valid;
};

// 10^33, the first coefficient that does not fit.
const Big& coefficientLimit() { return pow10(OrvDec::MaxDigits); }

bool isZeroCoefficient(const Parts& p) { return p.lo == 0 && p.hi == 0; }

// Gives a result: the coefficient in `c` at `scale` with `negative`, rounded so that at most
// 33 decimals and 33 digits remain; Overflow when the integer part does not fit.
Parts finish(Big c, int scale, bool negative)
{
    Parts p;
    int drop = 0;
    if (scale > OrvDec::MaxScale)
        drop = scale - OrvDec::MaxScale;
    int nd = bigDigits(c);
    if (nd - drop > OrvDec::MaxDigits)
        drop = nd - OrvDec::MaxDigits;
    if (drop > 0) {
        bigRoundOff(c, drop);
        scale -= drop;
        if (bigCmp(c, coefficientLimit()) >= 0) {
            // Rounding carried into a 34th digit: c is 10^33, drop one more (exactly).
            bigDivSmall(c, 10);
            --scale;
        }
    }
    if (scale < 0) {
        // The integer part needs more than 33 digits, even with every decimal gone.
        p.status = OrvDec::Overflow;
        return p;
    }
    p.lo = std::uint64_t(c.w[0]) | (std::uint64_t(c.w[1]) << 32);
    p.hi = std::uint64_t(c.w[2]) | (std::uint64_t(c.w[3]) << 32);
    p.scale = scale;
    p.negative = negative && !isZeroCoefficient(p);
    return p;
}

Parts nonValid(OrvDec::Status status)
{
    Parts p;
    p.status = status;
    return p;
}

// ---------------------------------------------------------------------------------------
// Parsing. A number is gathered as its significant digits, the count of decimals written and
// the exponent, and only then made into a coefficient and a scale.
bool isBlank(unsigned c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool isDigit(unsigned c) { return c >= '0' && c <= '9'; }

struct Scanned {
    std::string digits; // significant digits, no leading zeros ("" for zero)
    long long scale = 0; // decimals written less the exponent
    bool negative = false;
};

// Reads the whole text of `n` characters (of type C) by the grammar of fromText.
template <class C>
int scanNumber(const C* s, std::size_t n, Scanned& out)
{
    std::size_t i = 0;
    while (i < n && isBlank(unsigned(s[i])))
        ++i;
    if (i < n && (s[i] == C('+') || s[i] == C('-'))) {
        out.negative = s[i] == C('-');
        ++i;
    }
    bool anyDigit = false;
    long long decimals = 0;
    while (i < n && isDigit(unsigned(s[i]))) {
        anyDigit = true;
        if (!out.digits.empty() || s[i] != C('0'))
            out.digits.push_back(char(s[i]));
        ++i;
    }
    if (i < n && s[i] == C('.')) {
        ++i;
        while (i < n && isDigit(unsigned(s[i]))) {
            anyDigit = true;
            if (!out.digits.empty() || s[i] != C('0'))
                out.digits.push_back(char(s[i]));
            ++decimals;
            ++i;
        }
    }
    if (!anyDigit)
        return QV_ESYNTAX;
    long long exponent = 0;
    if (i < n && (s[i] == C('e') || s[i] == C('E'))) {
        ++i;
        bool negExp = false;
        if (i < n && (s[i] == C('+') || s[i] == C('-'))) {
            negExp = s[i] == C('-');
            ++i;
        }
        if (i >= n || !isDigit(unsigned(s[i])))
            return QV_ESYNTAX;
        while (i < n && isDigit(unsigned(s[i]))) {
            // Past a million the value is out of range anyway (or zero); stop counting
            // before the integer could wrap.
            if (exponent < 1000000)
                exponent = exponent * 10 + (unsigned(s[i]) - '0');
            ++i;
        }
        if (negExp)
            exponent = -exponent;
    }
    while (i < n && isBlank(unsigned(s[i])))
        ++i;
    if (i != n)
        return QV_ESYNTAX;
    out.scale = decimals - exponent;
    return QV_OK;
}

Big bigFromDigits(const std::string& digits)
{
    Big c = bigZero();
    for (char d : digits) {
        bigMulSmall(c, 10);
        Big one = bigFrom(std::uint64_t(d - '0'), 0);
        bigAdd(c, one);
    }
    return c;
}

// Makes an exact value of a scanned number: QV_ERANGE when it cannot be held exactly.
int exactParts(Scanned& sc, Parts& out)
{
    long long scale = sc.scale;
    if (sc.digits.empty()) {
        // Zero: keep the scale that was written, within 0..33.
        out = Parts();
        out.scale = int(std::max(0LL, std::min<long long>(scale, OrvDec::MaxScale)));
        return QV_OK;
    }
    // Zeros at the end of the fraction change nothing: drop those that do not fit.
    while (scale > 0 && sc.digits.back() == '0' &&
           (scale > OrvDec::MaxScale || sc.digits.size() > std::size_t(OrvDec::MaxDigits))) {
        sc.digits.pop_back();
        --scale;
    }
    if (scale > OrvDec::MaxScale)
        return QV_ERANGE;
    if (scale < 0) {
        if (static_cast<long long>(sc.digits.size()) - scale > OrvDec::MaxDigits)
            return QV_ERANGE;
        sc.digits.append(std::size_t(-scale), '0');
        scale = 0;
    }
    if (sc.digits.size() > std::size_t(OrvDec::MaxDigits))
        return QV_ERANGE;
    out = finish(bigFromDigits(sc.digits), int(scale), sc.negative);
    return QV_OK;
}

// Makes a value of a scanned number, rounding digits below 10^-33 (for binary floating
// point sources, whose shortest text may reach below that).
Parts roundedParts(Scanned& sc)
{
    long long scale = sc.scale;
    if (sc.digits.empty())
        return Parts();
    if (scale > OrvDec::MaxScale) {
        long long drop = scale - OrvDec::MaxScale;
        if (drop > static_cast<long long>(sc.digits.size())) // far below the last decimal
            return finish(bigZero(), OrvDec::MaxScale, false);
        std::size_t keep = sc.digits.size() - std::size_t(drop);
        bool up = sc.digits[keep] >= '5';
        sc.digits.resize(keep);
        Big c = bigFromDigits(sc.digits);
        if (up)
            bigIncrement(c);
        return finish(c, OrvDec::MaxScale, sc.negative);
    }
    if (scale < 0) {
        if (static_cast<long long>(sc.digits.size()) - scale > OrvDec::MaxDigits)
            return nonValid(OrvDec::Overflow);
        sc.digits.append(std::size_t(-scale), '0');
        scale = 0;
    }
    return finish(bigFromDigits(sc.digits), int(scale), sc.negative);
}

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

// ---------------------------------------------------------------------------------------
// Image <-> parts.

Parts load(const unsigned char* b)
{
    Parts p;
    for (int i = 7; i >= 0; --i)
        p.lo = (p.lo << 8) | b[i];
    for (int i = 13; i >= 8; --i)
        p.hi = (p.hi << 8) | b[i];
    p.scale = b[14];
    unsigned flags = b[15];
    unsigned status = (flags >> 1) & 3u;
    if ((flags & ~7u) || status == 3) // reserved bits or an unknown status
        return nonValid(OrvDec::Invalid);
    if (status != 0)
        return nonValid(status == 1 ? OrvDec::Invalid : OrvDec::Overflow);
    if (p.scale > OrvDec::MaxScale || bigCmp(bigFrom(p.lo, p.hi), coefficientLimit()) >= 0)
        return nonValid(OrvDec::Invalid);
    p.negative = (flags & 1u) != 0;
    return p;
}

void store(const Parts& p, unsigned char* b)
{
    std::memset(b, 0, 16);
    if (p.status != OrvDec::Valid) {
        b[15] = static_cast<unsigned char>((p.status == OrvDec::Invalid ? 1u : 2u) << 1);
        return;
    }
    for (int i = 0; i < 8; ++i)
        b[i] = static_cast<unsigned char>(p.lo >> (8 * i));
    for (int i = 0; i < 6; ++i)
        b[8 + i] = static_cast<unsigned char>(p.hi >> (8 * i));
    b[14] = static_cast<unsigned char>(p.scale);
    b[15] = static_cast<unsigned char>(p.negative && !isZeroCoefficient(p) ? 1u : 0u);
}

OrvDec make(const Parts& p)
{
    OrvDec d;
    store(p, reinterpret_cast<unsigned char*>(&d));
    return d;
}

Parts partsOf(const OrvDec& d) { return load(reinterpret_cast<const unsigned char*>(&d)); }

// The status of a result of two operands that are not both valid.
OrvDec::Status spread(const Parts& a, const Parts& b)
{
    if (a.status == OrvDec::Invalid || b.status == OrvDec::Invalid)
        return OrvDec::Invalid;
    return OrvDec::Overflow;
}

// The text of a valid value into `out` (at least OrvDec::TextSize chars); answers its length.
int formatParts(const Parts& p, char* out)
{
    char digits[48];
    int n = 0;
    Big c = bigFrom(p.lo, p.hi);
    do {
        digits[n++] = char('0' + bigDivSmall(c, 10));
    } while (!bigIsZero(c));
    while (n <= p.scale) // at least one integer digit
        digits[n++] = '0';
    int len = 0;
    if (p.negative && !isZeroCoefficient(p))
        out[len++] = '-';
    for (int i = n - 1; i >= 0; --i) {
        out[len++] = digits[i];
        if (i == p.scale && i != 0)
            out[len++] = '.';
    }
    out[len] = 0;
    return len;
}

template <class C>
int copyText(const char* text, int len, C* buffer, int size)
{
    if (len + 1 > size) {
        buffer[0] = 0;
        return QV_EBUFFER;
    }
    for (int i = 0; i <= len; ++i)
        buffer[i] = C(static_cast<unsigned char>(text[i]));
    return QV_OK;
}

template <class C>
int toTextImpl(const OrvDec& d, C* buffer, int size)
{
    if (!buffer || size < 0)
        return QV_EARG;
    if (size == 0)
        return d.isValid() ? QV_EBUFFER : QV_EINVALID;
    Parts p = partsOf(d);
    if (p.status != OrvDec::Valid) {
        buffer[0] = 0;
        return QV_EINVALID;
    }
    char text[OrvDec::TextSize];
    int len = formatParts(p, text);
    return copyText(text, len, buffer, size);
}

template <class C>
int fromTextImpl(const C* text, int length, OrvDec& out)
{
    if (!text)
        return QV_EARG;
    Scanned sc;
    int rc = scanNumber(text, textLength(text, length), sc);
    if (rc != QV_OK)
        return rc;
    Parts p;
    rc = exactParts(sc, p);
    if (rc != QV_OK)
        return rc;
    out = make(p);
    return QV_OK;
}

// A value from the shortest text of a binary floating point number.
template <class F>
OrvDec fromBinary(F value)
{
    if (!std::isfinite(value))
        return OrvDec::invalid();
    char text[64];
    std::to_chars_result r = std::to_chars(text, text + sizeof text, value);
    Scanned sc;
    if (r.ec != std::errc() || scanNumber(text, std::size_t(r.ptr - text), sc) != QV_OK)
        return OrvDec::invalid();
    return make(roundedParts(sc));
}

// Aligns both coefficients to the larger scale.
void align(const Parts& a, const Parts& b, Big& ca, Big& cb, int& scale)
{
    ca = bigFrom(a.lo, a.hi);
    cb = bigFrom(b.lo, b.hi);
    scale = std::max(a.scale, b.scale);
    bigMulPow10(ca, scale - a.scale);
    bigMulPow10(cb, scale - b.scale);
}

// Sum of two valid values, with b's sign given separately (for subtraction).
Parts addParts(const Parts& a, const Parts& b, bool bNegative)
{
    Big ca, cb;
    int scale;
    align(a, b, ca, cb, scale);
    bool aNeg = a.negative && !isZeroCoefficient(a);
    bool bNeg = bNegative && !isZeroCoefficient(b);
    if (aNeg == bNeg) {
        bigAdd(ca, cb);
        return finish(ca, scale, aNeg);
    }
    if (bigCmp(ca, cb) >= 0) {
        bigSub(ca, cb);
        return finish(ca, scale, aNeg);
    }
    bigSub(cb, ca);
    return finish(cb, scale, bNeg);
}

int magnitudeCompare(const Parts& a, const Parts& b)
{
    if (a.scale == b.scale) {
        if (a.hi != b.hi)
            return a.hi < b.hi ? -1 : 1;
        if (a.lo != b.lo)
            return a.lo < b.lo ? -1 : 1;
        return 0;
    }
    Big ca, cb;
    int scale;
    align(a, b, ca, cb, scale);
    return bigCmp(ca, cb);
}

int statusRank(OrvDec::Status s)
{
    return s == OrvDec::Invalid ? 0 : s == OrvDec::Overflow ? 1 : 2;
}

} // namespace

// ---------------------------------------------------------------------------------------

OrvDec::OrvDec() { std::memset(m_bytes, 0, sizeof m_bytes); }

OrvDec::OrvDec(VLong value) { *this = fromInt64(value); }

OrvDec::OrvDec(float value) { *this = fromBinary(value); }

OrvDec::OrvDec(double value) { *this = fromBinary(value); }

OrvDec::OrvDec(const char* text)
{
    std::memset(m_bytes, 0, sizeof m_bytes);
    if (!text) {
        setStatus(Invalid);
        return;
    }
    Scanned sc;
    if (scanNumber(text, textLength(text, -1), sc) != QV_OK) {
        setStatus(Invalid);
        return;
    }
    Parts p;
    if (exactParts(sc, p) != QV_OK) {
        setStatus(Overflow);
        return;
    }
    *this = make(p);
}

OrvDec::operator double() const
{
    Parts p = partsOf(*this);
    if (p.status != Valid)
        return std::numeric_limits<double>::quiet_NaN();
    double result;
    if (p.hi == 0 && p.lo < (std::uint64_t(1) << 53) && p.scale <= 22) {
        // Both operands are exact doubles, and IEEE division rounds correctly.
        static const double powers[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
        result = double(p.lo) / powers[p.scale];
    } else {
        // Digits and an exponent, read by the correctly rounding (and locale-free) parser.
        char text[64];
        int n = 0;
        char digits[48];
        int nd = 0;
        Big c = bigFrom(p.lo, p.hi);
        do {
            digits[nd++] = char('0' + bigDivSmall(c, 10));
        } while (!bigIsZero(c));
        while (nd > 0)
            text[n++] = digits[--nd];
        text[n++] = 'e';
        text[n++] = '-';
        text[n++] = char('0' + p.scale / 10);
        text[n++] = char('0' + p.scale % 10);
        result = 0;
        std::from_chars(text, text + n, result);
    }
    return p.negative ? -result : result;
}

OrvDec OrvDec::fromInt64(std::int64_t value)
{
    Parts p;
    p.negative = value < 0;
    // The magnitude without overflow for INT64_MIN.
    p.lo = p.negative ? std::uint64_t(0) - std::uint64_t(value) : std::uint64_t(value);
    return make(p);
}

OrvDec OrvDec::fromUInt64(std::uint64_t value)
{
    Parts p;
    p.lo = value;
    return make(p);
}

OrvDec OrvDec::fromParts(std::uint64_t coefficientLow, std::uint64_t coefficientHigh,
                         int scale, bool negative)
{
    if (scale < 0 || scale > MaxScale ||
        bigCmp(bigFrom(coefficientLow, coefficientHigh), coefficientLimit()) >= 0)
        return invalid();
    Parts p;
    p.lo = coefficientLow;
    p.hi = coefficientHigh;
    p.scale = scale;
    p.negative = negative;
    return make(p);
}

OrvDec OrvDec::maxValue()
{
    Big c = coefficientLimit();
    Big one = bigFrom(1, 0);
    bigSub(c, one);
    return make(finish(c, 0, false));
}

OrvDec OrvDec::minValue() { return -maxValue(); }

OrvDec OrvDec::minPositive() { return fromParts(1, 0, MaxScale, false); }

OrvDec OrvDec::invalid() { return make(nonValid(Invalid)); }

OrvDec::Status OrvDec::status() const { return partsOf(*this).status; }

void OrvDec::setStatus(Status status)
{
    if (status == Valid) {
        if (!isValid())
            *this = OrvDec();
        return;
    }
    *this = make(nonValid(status == Overflow ? Overflow : Invalid));
}

int OrvDec::scale() const { return partsOf(*this).scale; }

bool OrvDec::isZero() const
{
    Parts p = partsOf(*this);
    return p.status == Valid && isZeroCoefficient(p);
}

bool OrvDec::isNegative() const
{
    Parts p = partsOf(*this);
    return p.status == Valid && p.negative && !isZeroCoefficient(p);
}

std::uint64_t OrvDec::coefficientLow() const { return partsOf(*this).lo; }

std::uint64_t OrvDec::coefficientHigh() const { return partsOf(*this).hi; }

int OrvDec::digits() const
{
    Parts p = partsOf(*this);
    return bigDigits(bigFrom(p.lo, p.hi));
}

OrvDec OrvDec::rescale(int scale) const
{
    Parts p = partsOf(*this);
    if (p.status != Valid)
        return *this;
    if (scale < 0 || scale > MaxScale)
        return invalid();
    Big c = bigFrom(p.lo, p.hi);
    if (scale < p.scale) {
        bigRoundOff(c, p.scale - scale);
    } else {
        bigMulPow10(c, scale - p.scale);
    }
    if (bigCmp(c, coefficientLimit()) >= 0)
        return make(nonValid(Overflow));
    Parts r = finish(c, scale, p.negative);
    return make(r);
}

OrvDec OrvDec::abs() const
{
    Parts p = partsOf(*this);
    p.negative = false;
    return make(p);
}

OrvDec OrvDec::operator-() const
{
    Parts p = partsOf(*this);
    if (p.status == Valid)
        p.negative = !p.negative;
    return make(p);
}

OrvDec& OrvDec::operator+=(const OrvDec& other) { return *this = *this + other; }
OrvDec& OrvDec::operator-=(const OrvDec& other) { return *this = *this - other; }
OrvDec& OrvDec::operator*=(const OrvDec& other) { return *this = *this * other; }
OrvDec& OrvDec::operator/=(const OrvDec& other) { return *this = *this / other; }

int OrvDec::compare(const OrvDec& x, const OrvDec& y)
{
    Parts a = partsOf(x), b = partsOf(y);
    if (a.status != Valid || b.status != Valid) {
        int ra = statusRank(a.status), rb = statusRank(b.status);
        return ra < rb ? -1 : ra > rb ? 1 : 0;
    }
    bool aNeg = a.negative && !isZeroCoefficient(a);
    bool bNeg = b.negative && !isZeroCoefficient(b);
    if (aNeg != bNeg)
        return aNeg ? -1 : 1;
    int m = magnitudeCompare(a, b);
    return aNeg ? -m : m;
}

int OrvDec::toText(char* buffer, int size) const { return toTextImpl(*this, buffer, size); }

int OrvDec::toText(WChar* buffer, int size) const { return toTextImpl(*this, buffer, size); }

int OrvDec::fromText(const char* text, int length, OrvDec& out)
{
    return fromTextImpl(text, length, out);
}

int OrvDec::fromText(const WChar* text, int length, OrvDec& out)
{
    return fromTextImpl(text, length, out);
}

OrvDec operator+(const OrvDec& x, const OrvDec& y)
{
    Parts a = partsOf(x), b = partsOf(y);
    if (a.status != OrvDec::Valid || b.status != OrvDec::Valid)
        return make(nonValid(spread(a, b)));
    return make(addParts(a, b, b.negative));
}

OrvDec operator-(const OrvDec& x, const OrvDec& y)
{
    Parts a = partsOf(x), b = partsOf(y);
    if (a.status != OrvDec::Valid || b.status != OrvDec::Valid)
        return make(nonValid(spread(a, b)));
    return make(addParts(a, b, !b.negative));
}

OrvDec operator*(const OrvDec& x, const OrvDec& y)
{
    Parts a = partsOf(x), b = partsOf(y);
    if (a.status != OrvDec::Valid || b.status != OrvDec::Valid)
        return make(nonValid(spread(a, b)));
    Big product;
    bigMul(bigFrom(a.lo, a.hi), bigFrom(b.lo, b.hi), product); // < 2^220, never leaves
    return make(finish(product, a.scale + b.scale, a.negative != b.negative));
}

OrvDec operator/(const OrvDec& x, const OrvDec& y)
{
    Parts a = partsOf(x), b = partsOf(y);
    if (a.status != OrvDec::Valid || b.status != OrvDec::Valid)
        return make(nonValid(spread(a, b)));
    if (isZeroCoefficient(b))
        return OrvDec::invalid();
    bool negative = a.negative != b.negative;
    int preferred = std::max(a.scale, b.scale);
    // Quotient at 33 decimals: q = ca * 10^(33 - sa + sb) / cb, an exponent of 0..66.
    Big n = bigFrom(a.lo, a.hi);
    bigMulPow10(n, OrvDec::MaxScale - a.scale + b.scale);
    Big d = bigFrom(b.lo, b.hi);
    Big q, r;
    bigDivMod(n, d, q, r);
    int scale = OrvDec::MaxScale;
    int nd = bigDigits(q);
    if (nd > OrvDec::MaxDigits) {
        // Too many digits: round the truncated quotient. The remainder lies below one unit
        // of its last digit, so the first dropped digit alone decides half away from zero.
        int drop = nd - OrvDec::MaxDigits;
        if (drop > scale)
            return make(nonValid(OrvDec::Overflow));
        bigRoundOff(q, drop);
        scale -= drop;
    } else {
        // Round on the remainder: up when it is at least half the divisor.
        Big twice = r;
        bigAdd(twice, r);
        if (bigCmp(twice, d) >= 0)
            bigIncrement(q);
    }
    if (bigCmp(q, coefficientLimit()) >= 0) {
        if (scale == 0)
            return make(nonValid(OrvDec::Overflow));
        bigDivSmall(q, 10); // 10^33 -> 10^32, exact
        --scale;
    }
    // Trailing zeros go, down to the larger scale of the operands.
    while (scale > preferred) {
        Big t = q;
        if (bigDivSmall(t, 10) != 0)
            break;
        q = t;
        --scale;
    }
    return make(finish(q, scale, negative));
}

// ---------------------------------------------------------------------------------------
// Streams.

namespace {

template <class C>
std::basic_ostream<C>& put(std::basic_ostream<C>& os, const OrvDec& value)
{
    Parts p = partsOf(value);
    if (p.status != OrvDec::Valid)
        return detail::failOutput(os);
    char text[OrvDec::TextSize];
    int len = formatParts(p, text);
    return detail::putText(os, text, len);
}

template <class C>
std::basic_istream<C>& get(std::basic_istream<C>& is, OrvDec& value)
{
    typedef typename std::basic_istream<C>::traits_type Traits;
    typename std::basic_istream<C>::sentry ok(is, true); // blanks are skipped below
    if (!ok) {
        value = OrvDec::invalid();
        return is;
    }
    std::basic_streambuf<C>* sb = is.rdbuf();
    std::ios_base::iostate state = std::ios_base::goodbit;
    typename Traits::int_type c = detail::skipBlanks(is);
    // The longest leading text of the grammar: [sign] digits [. digits] [e [sign] digits].
    enum { Start, Sign, Int, Point, Frac, E, ESign, EDigits } st = Start;
    std::string text;
    for (;; c = sb->snextc()) {
        if (Traits::eq_int_type(c, Traits::eof())) {
            state |= std::ios_base::eofbit;
            break;
        }
        unsigned ch = unsigned(Traits::to_char_type(c));
        bool take = false;
        switch (st) {
        case Start:
            if (ch == '+' || ch == '-') { st = Sign; take = true; break; }
            [[fallthrough]];
        case Sign:
            if (isDigit(ch)) { st = Int; take = true; }
            else if (ch == '.') { st = Point; take = true; }
            break;
        case Int:
            if (isDigit(ch)) take = true;
            else if (ch == '.') { st = Frac; take = true; }
            else if (ch == 'e' || ch == 'E') { st = E; take = true; }
            break;
        case Point:
            if (isDigit(ch)) { st = Frac; take = true; }
            break;
        case Frac:
            if (isDigit(ch)) take = true;
            else if (ch == 'e' || ch == 'E') { st = E; take = true; }
            break;
        case E:
            if (ch == '+' || ch == '-') { st = ESign; take = true; }
            else if (isDigit(ch)) { st = EDigits; take = true; }
            break;
        case ESign:
        case EDigits:
            if (isDigit(ch)) { st = EDigits; take = true; }
            break;
        }
        if (!take)
            break;
        text.push_back(char(ch));
    }
    Scanned sc;
    Parts p;
    if (scanNumber(text.data(), text.size(), sc) != QV_OK) {
        value = OrvDec::invalid();
        state |= std::ios_base::failbit;
    } else if (exactParts(sc, p) != QV_OK) {
        value = make(nonValid(OrvDec::Overflow));
        state |= std::ios_base::failbit;
    } else {
        value = make(p);
    }
    is.setstate(state);
    return is;
}

} // namespace

std::ostream& operator<<(std::ostream& os, const OrvDec& value) { return put(os, value); }

std::basic_ostream<WChar>& operator<<(std::basic_ostream<WChar>& os, const OrvDec& value)
{
    return put(os, value);
}

std::istream& operator>>(std::istream& is, OrvDec& value) { return get(is, value); }

std::basic_istream<WChar>& operator>>(std::basic_istream<WChar>& is, OrvDec& value)
{
    return get(is, value);
}

} // namespace OrvCPP

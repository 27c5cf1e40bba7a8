// Formater: the binary value in and out (setBinValue, calcValue, getBinValue), the null
// state, and the colour by sign.
#include <vexapi/format/formater.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/wtext.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

using DataSourceAPI::Type;
using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace {

std::vector<WChar> widen(const char* s, std::size_t n)
{
    std::vector<WChar> w;
    for (std::size_t i = 0; i < n; ++i)
        w.push_back(WChar(static_cast<unsigned char>(s[i])));
    w.push_back(0);
    return w;
}

std::vector<WChar> integerText(long long v)
{
    std::string s = std::to_string(v);
    return widen(s.data(), s.size());
}

// "%f" and "%.15f" without the locale's decimal point: the template's point is ".".
std::vector<WChar> fixedText(double v, int decimals)
{
    char text[400];
    auto r = std::to_chars(text, text + sizeof text, v, std::chars_format::fixed, decimals);
    if (r.ec != std::errc())
        return widen("", 0);
    return widen(text, std::size_t(r.ptr - text));
}

// The leading integer of a text: sign and digits, clamped to [lo, hi]; a text that starts
// with "." has the integer 0. False when there is no number at all, or it is out of range.
bool readInteger(const std::string& s, long long lo, long long hi, long long& out)
{
    std::size_t i = 0;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
        negative = s[i++] == '-';
    long long v = 0;
    bool digits = false, inRange = true;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
        digits = true;
        if (v > (std::numeric_limits<long long>::max() - 9) / 10)
            inRange = false;
        else
            v = v * 10 + (s[i] - '0');
    }
    if (!digits && !(i < s.size() && s[i] == '.' && i + 1 < s.size() && s[i + 1] >= '0' &&
                     s[i + 1] <= '9')) {
        out = 0;
        return false;
    }
    if (negative)
        v = -v;
    if (v < lo || v > hi)
        inRange = false;
    out = std::max(lo, std::min(hi, v));
    return inRange;
}

template <class T>
bool readStream(const std::string& s, T& out)
{
    std::istringstream in(s);
    in.imbue(std::locale::classic());
    in >> out;
    return !in.fail();
}

} // namespace

void Formater::clearValue()
{
    std::memset(m_value, 0, sizeof m_value);
    m_valueSize = 0;
}

bool Formater::setBinValue(const void* value, bool isNull)
{
    clearValue();
    m_null = isNull || !value;
    m_caret = 0;
    m_textLen = 0;
    if (m_buffer)
        m_buffer[0] = 0;
    if (m_null) {
        const WCharString& nullText = m_head.nullText();
        if (m_buffer) {
            const int n = std::min(nullText.length(), m_capacity - 1);
            std::copy(nullText.constData(), nullText.constData() + n, m_buffer);
            m_buffer[n] = 0;
            m_textLen = n;
        }
        return true;
    }

    std::vector<WChar> text;
    switch (m_type) {
    case DataSourceAPI::tInt: {
        VLong v;
        std::memcpy(&v, value, sizeof v);
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 4;
        text = integerText(v);
        break;
    }
    case DataSourceAPI::tSmall: {
        std::int16_t v;
        std::memcpy(&v, value, sizeof v);
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 2;
        text = integerText(v);
        break;
    }
    case DataSourceAPI::tChar: {
        const char* s = static_cast<const char*>(value);
        int n = 0;
        while (n < ValueRoom - 1 && s[n] != 0)
            ++n;
        if (n > 0)
            std::memcpy(m_value, s, std::size_t(n));
        m_value[n] = 0;
        m_valueSize = n + 1;
        text.assign(std::size_t(n) + 1, WChar(0));
        int got = mbs2wcs(text.data(), s, getStdCharset(), n + 1, n);
        if (got < 0)
            text[0] = 0;
        break;
    }
    case DataSourceAPI::tText: {
        WChar s[TextValueChars];
        int n = 0;
        const unsigned char* src = static_cast<const unsigned char*>(value);
        // The caller's text may sit at any address of a record: read it unit by unit.
        while (n < TextValueChars - 1) {
            std::memcpy(&s[n], src + std::size_t(n) * sizeof(WChar), sizeof(WChar));
            if (s[n] == 0)
                break;
            ++n;
        }
        s[n] = 0;
        std::memcpy(m_value, s, std::size_t(n + 1) * sizeof(WChar));
        m_valueSize = n + 1;
        text.assign(s, s + n + 1);
        break;
    }
    case DataSourceAPI::tReal: {
        float v;
        std::memcpy(&v, value, sizeof v);
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 4;
        text = fixedText(v, 6);
        break;
    }
    case DataSourceAPI::tDouble: {
        double v;
        std::memcpy(&v, value, sizeof v);
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 8;
        text = fixedText(v, 15);
        break;
    }
    case DataSourceAPI::tDec: {
        OrvDec v;
        std::memcpy(&v, value, sizeof v);
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 16;
        char s[OrvDec::TextSize];
        if (v.toText(s, sizeof s) != 0)
            s[0] = 0;
        text = widen(s, std::strlen(s));
        break;
    }
    case DataSourceAPI::tDate: {
        OrvDate v;
        std::memcpy(&v, value, sizeof v);
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 16;
        if (m_hasDateFields) {
            // Zeros run through the digit positions; then each field is written in place.
            std::vector<WChar> zeros(30, WChar('0'));
            zeros.push_back(0);
            setPrimaryText(zeros.data(), fcGrid);
            writeDateFields(&v);
            m_caret = 0;
            return true;
        }
        char s[OrvDate::TextSize];
        if (v.toText(s, sizeof s) != 0)
            s[0] = 0;
        text = widen(s, std::strlen(s));
        break;
    }
    default:
        // A type the formater holds no value of: an empty text.
        m_null = false;
        if (m_maxSym)
            startOver();
        return false;
    }
    setPrimaryText(text.data(), fcGrid);
    return true;
}

void Formater::setNull(bool null)
{
    if (null)
        setBinValue(nullptr, true);
    else if (m_null)
        startOver();
}

// The number as the stream should read it: the characters of the input positions and of
// literal points; other literals ("$", ",") and blanks are left out, so that "$ 1,234.50"
// reads as 1234.50.
std::vector<char> Formater::numberText() const
{
    std::vector<char> s;
    for (int i = 0; i < m_textLen; ++i) {
        const WChar c = m_buffer[i];
        if (m_processor.isLiteral(i) && c != '.')
            continue;
        if (c == ' ')
            continue;
        s.push_back(c < 0x80 ? char(c) : '?');
    }
    return s;
}

bool Formater::readNumber()
{
    const std::vector<char> chars = numberText();
    const std::string s(chars.begin(), chars.end());
    bool ok = true;
    switch (m_type) {
    case DataSourceAPI::tInt: {
        long long v = 0;
        ok = s.empty() || readInteger(s, std::numeric_limits<VLong>::min(),
                                      std::numeric_limits<VLong>::max(), v);
        const VLong x = VLong(v);
        std::memcpy(m_value, &x, sizeof x);
        m_valueSize = 4;
        break;
    }
    case DataSourceAPI::tSmall: {
        long long v = 0;
        ok = s.empty() || readInteger(s, std::numeric_limits<std::int16_t>::min(),
                                      std::numeric_limits<std::int16_t>::max(), v);
        const std::int16_t x = std::int16_t(v);
        std::memcpy(m_value, &x, sizeof x);
        m_valueSize = 2;
        break;
    }
    case DataSourceAPI::tReal: {
        float v = 0;
        if (!s.empty() && !readStream(s, v)) {
            ok = false;
            v = 0;
        }
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 4;
        break;
    }
    case DataSourceAPI::tDouble: {
        double v = 0;
        if (!s.empty() && !readStream(s, v)) {
            ok = false;
            v = 0;
        }
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 8;
        break;
    }
    case DataSourceAPI::tDec: {
        OrvDec v;
        if (!s.empty() && !readStream(s, v)) {
            ok = false;
            v = OrvDec();
        }
        std::memcpy(m_value, &v, sizeof v);
        m_valueSize = 16;
        break;
    }
    default:
        break;
    }
    return ok;
}

bool Formater::readText()
{
    std::vector<WChar> text = primaryText();
    if (m_type == DataSourceAPI::tText) {
        const int n = std::min(int(text.size()), TextValueChars - 1);
        if (n > 0)
            std::memcpy(m_value, text.data(), std::size_t(n) * sizeof(WChar));
        const WChar nul = 0;
        std::memcpy(m_value + n * sizeof(WChar), &nul, sizeof nul);
        m_valueSize = 2 * n + 2;
        return true;
    }
    text.push_back(0);
    char* bytes = reinterpret_cast<char*>(m_value);
    int n = wcs2mbs(bytes, text.data(), getStdCharset(), ValueRoom, 0);
    if (n < 0) {
        bytes[0] = 0;
        n = 0;
    }
    m_valueSize = n + 1;
    return true;
}

bool Formater::readDate()
{
    m_valueSize = 16;
    if (m_hasDateFields)
        return readDateFields(m_value);
    std::string ascii;
    for (WChar c : primaryText())
        ascii.push_back(c < 0x80 ? char(c) : '?');
    OrvDate date;
    const bool ok = readStream(ascii, date);
    if (!ok)
        date = OrvDate::invalid();
    std::memcpy(m_value, &date, sizeof date);
    return ok;
}

bool Formater::calcValue()
{
    if (m_null)
        return true;
    clearValue();
    if (!m_buffer)
        return true;
    if (isNumeric())
        return readNumber();
    switch (m_type) {
    case DataSourceAPI::tChar:
    case DataSourceAPI::tText:
        return readText();
    case DataSourceAPI::tDate:
        return readDate();
    default:
        return true;
    }
}

bool Formater::getBinValue(void* buffer, int size, bool& isNull)
{
    const bool ok = calcValue();
    if (buffer && size > 0) {
        if (m_valueSize > 0)
            std::memcpy(buffer, m_value, std::size_t(std::min(size, m_valueSize)));
        else
            std::memset(buffer, 0, std::size_t(size));
    }
    isNull = m_null;
    return ok;
}

namespace {

double numericValue(Type type, const unsigned char* value)
{
    switch (type) {
    case DataSourceAPI::tInt: {
        VLong v;
        std::memcpy(&v, value, sizeof v);
        return v;
    }
    case DataSourceAPI::tSmall: {
        std::int16_t v;
        std::memcpy(&v, value, sizeof v);
        return v;
    }
    case DataSourceAPI::tReal: {
        float v;
        std::memcpy(&v, value, sizeof v);
        return v;
    }
    case DataSourceAPI::tDouble: {
        double v;
        std::memcpy(&v, value, sizeof v);
        return v;
    }
    case DataSourceAPI::tDec: {
        OrvDec v;
        std::memcpy(&v, value, sizeof v);
        return double(v);
    }
    default:
        return 0;
    }
}

} // namespace

// Zero in the value's own type. (A raw test of the first 32-bit word would call 2.0 zero,
// whose low word is 0, and a decimal of 2^32 too.)
bool Formater::valueIsZero() const { return numericValue(m_type, m_value) == 0; }

bool Formater::specialColor(FormaterColor& color) const
{
    const unsigned char flags = m_head.colorFlags();
    if (m_null) {
        if (!(flags & TemplateHead::cfNull))
            return false;
        color = m_head.nullColor();
        return true;
    }
    if (!isNumeric()) {
        if (!(flags & TemplateHead::cfZero))
            return false;
        color = m_head.zeroColor();
        return true;
    }
    const double v = numericValue(m_type, m_value);
    if (std::isnan(v))
        return false;
    if (v < 0) {
        if (!(flags & TemplateHead::cfNeg))
            return false;
        color = m_head.negColor();
    } else if (v == 0) {
        if (!(flags & TemplateHead::cfZero))
            return false;
        color = m_head.zeroColor();
    } else {
        if (!(flags & TemplateHead::cfPos))
            return false;
        color = m_head.posColor();
    }
    return true;
}

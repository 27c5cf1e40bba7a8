// Formater: reset, the editing keys and the caret, the layout of numeric fields, and the
// primary text in and out. The "maxSym" assertions of the editing calls live here.
#include <vexapi/format/formater.h>

#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>
#include <vexapi/values/orvdate.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <sstream>
#include <string>

using DataSourceAPI::Type;
using OrvCPP::OrvDate;

namespace {

bool isSign(WChar c) { return c == '+' || c == '-'; }

// The leading decimal number of an ASCII text, as wcstod reads it: an optional sign, then
// digits with an optional point and exponent; 0 when there is none.
double leadingNumber(const std::string& s)
{
    std::size_t i = 0;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
        negative = s[i] == '-';
        ++i;
    }
    if (i >= s.size() || s[i] == '+' || s[i] == '-')
        return 0;
    double v = 0;
    auto r = std::from_chars(s.data() + i, s.data() + s.size(), v, std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range)
        return negative ? -HUGE_VAL : HUGE_VAL;
    if (r.ec != std::errc())
        return 0;
    return negative ? -v : v;
}

// The whole-number form of a numeric field's characters (blanks already dropped): leading
// zeros go, an empty number is "0" (a lone sign too), a zero keeps its minus, and a number that is not just a sign and
// digits is read by its leading number and rounded. Empty when it has no whole form
// (infinite). A sign and digits are kept exactly, whatever their count: a double would
// change the digits of a long decimal.
std::vector<WChar> wholeNumber(const std::vector<WChar>& s)
{
    std::vector<WChar> out;
    std::size_t i = 0;
    bool negative = false;
    if (!s.empty() && isSign(s[0])) {
        negative = s[0] == '-';
        i = 1;
    }
    bool digitsOnly = true;
    for (std::size_t k = i; k < s.size(); ++k)
        if (s[k] < '0' || s[k] > '9')
            digitsOnly = false;
    if (digitsOnly) {
        const bool hasDigits = i < s.size();
        while (i < s.size() && s[i] == '0')
            ++i;
        if (i == s.size()) {
            // "-0" keeps its sign: it is the integer part of a negative fraction, -0.50.
            if (negative && hasDigits)
                out.push_back('-');
            out.push_back('0');
            return out;
        }
        if (negative)
            out.push_back('-');
        out.insert(out.end(), s.begin() + std::ptrdiff_t(i), s.end());
        return out;
    }
    std::string ascii;
    for (WChar c : s) {
        if (c >= 0x80)
            break;
        ascii.push_back(char(c));
    }
    const double v = leadingNumber(ascii);
    if (!std::isfinite(v))
        return out;
    char text[400];
    auto r = std::to_chars(text, text + sizeof text, v, std::chars_format::fixed, 0);
    if (r.ec != std::errc())
        return out;
    for (const char* p = text; p < r.ptr; ++p)
        out.push_back(WChar(*p));
    return out;
}

} // namespace

Formater::Formater()
    : m_buffer(nullptr), m_capacity(0), m_maxSym(0), m_fixedLen(0), m_type(DataSourceAPI::tNone),
      m_valueSize(0), m_null(true), m_textLen(0), m_caret(0), m_hasDateFields(false)
{
    std::memset(m_value, 0, sizeof m_value);
    for (int i = 0; i < DateFieldCount; ++i)
        m_dateOffsets[i] = m_dateLengths[i] = 0;
}

Formater::~Formater() {}

bool Formater::isNumeric() const
{
    switch (m_type) {
    case DataSourceAPI::tInt:
    case DataSourceAPI::tSmall:
    case DataSourceAPI::tReal:
    case DataSourceAPI::tDouble:
    case DataSourceAPI::tDec:
        return true;
    default:
        return false;
    }
}

void Formater::reset(WChar* buffer, int capacity, Type type, const WChar* pattern)
{
    m_buffer = capacity > 0 ? buffer : nullptr;
    m_capacity = m_buffer ? capacity : 0;
    m_type = type;
    m_null = true;
    clearValue();
    m_textLen = 0;
    m_caret = 0;
    if (m_buffer)
        m_buffer[0] = 0;

    const int n = wstrnlen(pattern, PatternLimit);
    m_pattern.assign(pattern, n);
    const WChar* tmpl = m_pattern.constData();
    const int maskStart = m_head.parse(tmpl, n);
    std::vector<WChar> mask(tmpl + maskStart, tmpl + n);

    for (int i = 0; i < DateFieldCount; ++i)
        m_dateOffsets[i] = m_dateLengths[i] = 0;
    m_hasDateFields = false;
    if (type == DataSourceAPI::tDate)
        scanDateFields(mask);
    m_processor.reset(mask.data(), int(mask.size()));
    if (type == DataSourceAPI::tDate)
        mapDateFields();

    const int count = m_processor.count();
    m_maxSym = m_capacity - 1 < count ? 0 : count;
    int lastImportant = -1;
    for (int i = 0; i < count; ++i)
        if (m_processor.isLiteral(i) && m_processor.element(i).important)
            lastImportant = i;
    m_fixedLen = m_maxSym ? std::min(lastImportant + 1, m_capacity) : 0;

    // Behind the null value the buffer holds the literals up to fixedLen; fields are laid
    // out once the value stops being null.
    setTextLen(m_fixedLen);
}

// ---- Text primitives ----

void Formater::setTextLen(int len)
{
    if (!m_buffer) {
        m_textLen = 0;
        return;
    }
    len = std::max(0, std::min(len, m_maxSym));
    // Positions that join the text start blank (or as their literal), never with what an
    // earlier text left there.
    for (int i = m_textLen; i < len; ++i)
        m_buffer[i] = m_processor.isLiteral(i) ? m_processor.element(i).lo : WChar(' ');
    m_textLen = len;
    m_buffer[len] = 0;
}

void Formater::putChar(int pos, WChar c)
{
    if (m_buffer && pos >= 0 && pos < m_textLen)
        m_buffer[pos] = c;
}

void Formater::startOver()
{
    m_null = false;
    m_textLen = 0;
    m_caret = 0;
    if (m_buffer)
        m_buffer[0] = 0;
    FillAllStatics();
}

void Formater::FillAllStatics()
{
    if (!m_buffer || m_null)
        return;
    setTextLen(std::max(m_textLen, m_fixedLen));
    for (int i = 0; i < m_textLen; ++i) {
        if (m_processor.isLiteral(i))
            m_buffer[i] = m_processor.element(i).lo;
        else if (m_buffer[i] == 0)
            m_buffer[i] = ' ';
    }
    // A sign belongs in front of the number: one that a character typed before it has put
    // inside the number is dropped.
    if (isNumeric()) {
        bool blanksOnly = true;
        const int end0 = std::min(m_processor.endField(0), m_textLen);
        for (int i = m_processor.beginField(0); i < end0; ++i) {
            if (isSign(m_buffer[i]) && !blanksOnly)
                m_buffer[i] = ' ';
            if (m_buffer[i] != ' ')
                blanksOnly = false;
        }
    }
}

bool Formater::ValidEx(int pos, WChar& c) const
{
    if (isNumeric() && isSign(c) && pos < m_maxSym && pos == m_processor.beginField(0) &&
        !m_processor.isLiteral(pos))
        return true;
    return m_processor.validChar(pos, c);
}

// Blanks, or the literals in front of the first field ("$" of "$###").
bool Formater::isBlankBelow(int pos) const
{
    const int first = m_processor.beginField(0);
    for (int i = 0; i < pos && i < m_textLen; ++i)
        if (m_buffer[i] != ' ' && i >= first)
            return false;
    return true;
}

bool Formater::holdsText(int pos, WChar c) const
{
    if (m_processor.isLiteral(pos))
        return c == m_processor.element(pos).lo;
    return c == ' ' || m_processor.holds(pos, c);
}

// Writes `text` from `begin` on when every character may stand where it lands; a sign is
// allowed where only blanks precede it in the first field of a numeric type. Otherwise
// nothing is written: a field keeps what it had rather than take what its mask refuses.
bool Formater::placeField(int begin, const std::vector<WChar>& text)
{
    const int first0 = m_processor.beginField(0), end0 = m_processor.endField(0);
    bool blanksOnly = true;
    for (std::size_t k = 0; k < text.size(); ++k) {
        const int pos = begin + int(k);
        if (pos >= m_textLen)
            return false;
        const WChar c = text[k];
        const bool sign = isNumeric() && isSign(c) && blanksOnly && pos >= first0 && pos < end0;
        if (!sign && !holdsText(pos, c))
            return false;
        if (c != ' ')
            blanksOnly = false;
    }
    for (std::size_t k = 0; k < text.size(); ++k)
        m_buffer[begin + int(k)] = text[k];
    return true;
}

void Formater::FormatField(int f)
{
    if (!isNumeric() || !m_buffer || m_null || f < 0 || f > 1 || f >= m_processor.fieldCount())
        return;
    const int b = m_processor.beginField(f), e = m_processor.endField(f);
    std::vector<WChar> chars;
    for (int i = b; i < e && i < m_textLen; ++i)
        if (m_buffer[i] != ' ')
            chars.push_back(m_buffer[i]);
    setTextLen(std::max(m_textLen, e));
    const std::size_t width = std::size_t(e - b);
    if (f == 0) {
        std::vector<WChar> number = wholeNumber(chars);
        if (!number.empty() && number.size() <= width) {
            std::vector<WChar> field(width - number.size(), WChar(' '));
            field.insert(field.end(), number.begin(), number.end());
            placeField(b, field);
        }
        if (m_processor.fieldCount() > 1)
            FormatField(1);
    } else if (chars.size() <= width) {
        chars.resize(width, WChar('0'));
        placeField(b, chars);
    }
    FillAllStatics();
}

// ---- Keys ----

bool Formater::OnKeyDown(int key)
{
    const int maxSym = m_maxSym;
    VEX_ASSERT(maxSym);
    if (!maxSym)
        return true;
    switch (key) {
    case kDelete:
        VkDelete();
        break;
    case kHome:
    case kEnd:
        // A null value shows its null text, which has no fields to walk.
        if (m_null)
            break;
        for (int f = 0; f < m_processor.fieldCount(); ++f)
            FormatField(f);
        FillAllStatics();
        m_caret = key == kHome ? 0 : m_textLen;
        break;
    case kLeft:
    case kUp:
        VkLeft();
        break;
    case kRight:
    case kDown:
        VkRight();
        break;
    default:
        break;
    }
    return true;
}

bool Formater::OnChar(int ch)
{
    const int maxSym = m_maxSym;
    VEX_ASSERT(maxSym);
    if (!maxSym || ch <= 0 || ch > 0xFFFF)
        return true;
    if (ch == 8)
        VkBackSpace();
    else
        NewChar(WChar(ch));
    return true;
}

bool Formater::OnChangePos(int pos)
{
    if (m_null || !m_buffer)
        return false;
    FormatField(m_processor.curField(m_caret));
    m_caret = std::max(0, std::min(pos, m_textLen));
    return false;
}

void Formater::NewChar(WChar c)
{
    if (!m_buffer)
        return;
    if (m_null)
        startOver();
    const int maxSym = m_maxSym;
    WChar x = c;
    // Where the character lands: at the caret, or behind the literal the caret stands on.
    int landing = m_caret;
    if (m_processor.isLiteral(m_caret))
        landing = c == m_processor.element(m_caret).lo
                      ? -1
                      : m_processor.beginField(m_processor.curField(m_caret) + 1);
    if (isNumeric() && landing >= 0 && ValidEx(landing, x)) {
        // Typing in the blanks in front of a number aligned right starts it over; so does
        // typing in front of its sign, which would otherwise end up inside the number.
        const bool nextBlank = landing + 1 < m_textLen &&
                               (m_buffer[landing + 1] == ' ' || isSign(m_buffer[landing + 1]));
        const bool onSign = landing < m_textLen && isSign(m_buffer[landing]);
        if ((valueIsZero() && landing == m_processor.beginField(0)) ||
            (isBlankBelow(landing) && landing + 1 < m_capacity && (nextBlank || onSign)))
            startOver();
    }
    const int f = m_processor.curField(m_caret);
    if (m_caret >= maxSym || f >= m_processor.fieldCount())
        return;

    if (!m_processor.isLiteral(m_caret)) {
        x = c;
        if (ValidEx(m_caret, x)) {
            setTextLen(std::max(m_textLen, m_caret + 1));
            putChar(m_caret, x);
            ++m_caret;
            if (m_caret >= m_processor.endField(f)) {
                FormatField(f);
                m_caret = m_processor.beginField(f + 1);
                setTextLen(std::max(m_textLen, m_caret));
            }
            FillAllStatics();
            return;
        }
        // A character that belongs to the literal behind the field, such as the "." after
        // an integer part, closes the field and moves on to the next one.
        const int end = m_processor.endField(f);
        x = c;
        if (end < maxSym && m_processor.validChar(end, x)) {
            FormatField(f);
            m_caret = std::min(m_processor.beginField(f + 1), maxSym);
            setTextLen(std::max(m_textLen, m_caret));
            FillAllStatics();
        }
        return;
    }

    // The caret stands on a literal: typing it steps over it; a character of the next
    // field goes there.
    FormatField(f);
    const int next = m_processor.beginField(f + 1);
    if (c == m_processor.element(m_caret).lo) {
        m_caret = next;
    } else {
        x = c;
        if (next < maxSym && ValidEx(next, x)) {
            setTextLen(std::max(m_textLen, next + 1));
            putChar(next, x);
            m_caret = next + 1;
        }
    }
    setTextLen(std::max(m_textLen, m_caret));
    FillAllStatics();
}

void Formater::VkBackSpace()
{
    if (!m_buffer)
        return;
    if (m_null) {
        startOver();
        return;
    }
    if (m_caret == 0)
        return;
    const bool atEnd = m_caret == m_textLen;
    const int fields = m_processor.fieldCount();
    int f = m_processor.curField(m_caret);
    auto blank = [this](int pos) {
        if (!m_processor.isLiteral(pos))
            putChar(pos, ' ');
    };
    if (fields == 0 || f < 0) {
        m_caret = 0;
    } else {
        const bool behindAll = f >= fields;
        if (behindAll)
            f = fields - 1;
        const int b = m_processor.beginField(f), e = m_processor.endField(f);
        if (!behindAll && m_caret == b) {
            FormatField(f);
            m_caret = std::max(m_processor.endField(f - 1) - 1, 0);
            if (f > 0)
                blank(m_caret);
        } else if (!behindAll && m_caret <= e) {
            --m_caret;
            blank(m_caret);
        } else {
            m_caret = e - 1;
            blank(m_caret);
        }
    }
    if (atEnd)
        setTextLen(m_caret);
    FillAllStatics();
    m_caret = std::min(m_caret, m_textLen);
}

void Formater::VkDelete()
{
    const int maxSym = m_maxSym;
    VEX_ASSERT(maxSym);
    if (!maxSym || !m_buffer)
        return;
    if (m_null) {
        startOver();
        return;
    }
    if (m_caret >= m_textLen)
        return;

    // A mask whose input positions are all alike (a phone number, a code) lets the text
    // flow left across its literals; a mixed one only blanks the position.
    bool uniform = true;
    const PatternProcessor::Element* model = nullptr;
    for (int i = 0; i < m_processor.count() && uniform; ++i) {
        if (m_processor.isLiteral(i))
            continue;
        const PatternProcessor::Element& e = m_processor.element(i);
        if (!model)
            model = &e;
        else if (e.kind != model->kind || e.lo != model->lo || e.hi != model->hi)
            uniform = false;
    }
    if (uniform) {
        if (m_processor.isLiteral(m_caret))
            return;
        int p = m_caret;
        while (p < m_textLen) {
            int q = p + 1;
            while (q < m_textLen && m_processor.isLiteral(q))
                ++q;
            if (q >= m_textLen) {
                m_buffer[p] = ' ';
                break;
            }
            m_buffer[p] = m_buffer[q];
            p = q;
        }
    } else if (!m_processor.isLiteral(m_caret)) {
        m_buffer[m_caret] = ' ';
    }

    int n = m_textLen;
    while (n > 0 && m_buffer[n - 1] == ' ')
        --n;
    m_textLen = n;
    m_buffer[n] = 0;
    m_caret = std::min(m_caret, m_textLen);
    for (int f = 0; f < m_processor.fieldCount(); ++f)
        FormatField(f);
    FillAllStatics();
}

void Formater::VkLeft()
{
    if (m_null || m_caret == 0)
        return;
    const int fields = m_processor.fieldCount();
    const int f = m_processor.curField(m_caret);
    if (fields == 0 || f < 0) {
        --m_caret;
    } else if (f >= fields) {
        m_caret = m_processor.endField(fields - 1);
    } else {
        const int b = m_processor.beginField(f), e = m_processor.endField(f);
        if (m_caret == b) {
            FormatField(f);
            m_caret = m_processor.endField(f - 1);
        } else if (m_caret <= e) {
            --m_caret;
        } else {
            m_caret = e;
        }
    }
    m_caret = std::max(0, std::min(m_caret, m_textLen));
}

void Formater::VkRight()
{
    if (m_null || m_caret >= m_maxSym)
        return;
    const int fields = m_processor.fieldCount();
    const int f = m_processor.curField(m_caret);
    if (fields == 0) {
        ++m_caret;
    } else if (m_caret >= m_processor.endField(f) || f >= fields) {
        FormatField(f);
        m_caret = m_processor.beginField(f + 1);
    } else {
        ++m_caret;
    }
    m_caret = std::max(0, std::min(m_caret, m_textLen));
}

// ---- Primary text ----

std::vector<WChar> Formater::primaryText() const
{
    std::vector<WChar> text;
    if (m_null || !m_buffer)
        return text;
    for (int i = 0; i < m_textLen; ++i)
        if (!(m_processor.isLiteral(i) &&
              m_processor.element(i).kind == PatternProcessor::kDisplay))
            text.push_back(m_buffer[i]);
    return text;
}

const WChar* Formater::getFormatText() const
{
    static const WChar empty[1] = {0};
    if (m_null)
        return m_head.nullText().constData();
    return m_buffer ? m_buffer : empty;
}

int Formater::getFormatLen() const { return m_null ? m_head.nullText().length() : m_textLen; }

int Formater::getPrimaryTextLen() const { return int(primaryText().size()); }

int Formater::getPrimaryText(WChar* buffer, int capacity, FormaterCaller caller)
{
    const int maxSym = m_maxSym;
    VEX_ASSERT(maxSym);
    if (!buffer || capacity <= 0)
        return 0;
    buffer[0] = 0;
    if (m_null)
        return 0;
    std::vector<WChar> text;
    if (caller != fcGrid && m_type == DataSourceAPI::tDate) {
        calcValue();
        OrvDate date;
        std::memcpy(&date, m_value, sizeof date);
        WChar canonical[OrvDate::TextSize];
        if (date.toText(canonical, OrvDate::TextSize) == 0)
            text.assign(canonical, canonical + wstrlen(canonical));
    } else {
        text = primaryText();
    }
    const int n = std::min(int(text.size()), capacity - 1);
    std::copy(text.begin(), text.begin() + n, buffer);
    buffer[n] = 0;
    return n;
}

bool Formater::hasLiteral(WChar c) const
{
    for (int i = 0; i < m_processor.count(); ++i)
        if (m_processor.isLiteral(i) && m_processor.element(i).lo == c)
            return true;
    return false;
}

bool Formater::setPrimaryText(const WChar* text, FormaterCaller caller)
{
    const int maxSym = m_maxSym;
    VEX_ASSERT(maxSym);
    if (!maxSym || !m_buffer)
        return false;
    if (caller != fcGrid && m_type == DataSourceAPI::tDate) {
        std::string ascii;
        for (int i = 0; text && text[i]; ++i)
            ascii.push_back(text[i] < 0x80 ? char(text[i]) : '?');
        if (ascii.find_first_not_of(" \t") == std::string::npos)
            return setBinValue(nullptr, true);
        std::istringstream in(ascii);
        in.imbue(std::locale::classic());
        OrvDate date;
        in >> date;
        if (in.fail())
            return false;
        return setBinValue(&date, false);
    }

    std::vector<WChar> chars;
    for (int i = 0; text && text[i]; ++i)
        chars.push_back(text[i]);
    // Integers take no fractions: without a "." in the mask the text ends at its point.
    if (isNumeric() && !hasLiteral('.')) {
        auto point = std::find(chars.begin(), chars.end(), WChar('.'));
        chars.erase(point, chars.end());
    }

    m_null = false;
    for (int i = 0; i < maxSym; ++i)
        m_buffer[i] = ' ';
    m_buffer[maxSym] = 0;
    m_textLen = 0;
    m_caret = 0;
    m_buffer[0] = 0;

    const int fields = m_processor.fieldCount();
    std::size_t k = 0;
    while (k < chars.size() && m_textLen < maxSym) {
        const WChar c = chars[k];
        WChar x = c;
        // A blank in an input position is a place left empty, as the formater's own texts
        // have them: it keeps the place, so that a text given back lines up again.
        if (c == ' ' && !m_processor.isLiteral(m_textLen)) {
            setTextLen(m_textLen + 1);
            ++k;
            continue;
        }
        if (ValidEx(m_textLen, x)) {
            setTextLen(m_textLen + 1);
            putChar(m_textLen - 1, x);
            ++k;
            continue;
        }
        // Display-only characters are not in a primary text: the text goes on behind them,
        // so that what getPrimaryText gave comes back in place.
        if (m_processor.element(m_textLen).kind == PatternProcessor::kDisplay) {
            setTextLen(m_textLen + 1);
            continue;
        }
        const int f = m_processor.curField(m_textLen);
        const int end = m_processor.endField(f);
        x = c;
        // The literal that ends this field, like the point of a number: the field is laid
        // out, and the character is taken again at the literal.
        if (f >= 0 && f < fields && end > m_textLen && end < maxSym &&
            m_processor.validChar(end, x)) {
            FormatField(f);
            setTextLen(end);
            m_textLen = end;
            m_buffer[end] = 0;
            continue;
        }
        // Between fields, a character of the next field goes to its start.
        const int next = m_processor.beginField(f + 1);
        x = c;
        if (f + 1 < fields && m_textLen >= end && ValidEx(next, x)) {
            FormatField(f);
            setTextLen(std::max(m_textLen, next + 1));
            putChar(next, x);
            setTextLen(next + 1);
            ++k;
            continue;
        }
        setTextLen(m_textLen + 1);
        ++k;
    }
    setTextLen(std::max(m_textLen, m_fixedLen));
    FillAllStatics();
    // Every numeric field is laid out, not only the one under the caret: behind a leading
    // literal ("$###") the caret at 0 stands on no field.
    for (int f = 0; f < fields; ++f)
        FormatField(f);
    OnChangePos(0);
    return true;
}

// ---- Consistency ----

int Formater::checkInvariants() const
{
    if (!m_buffer)
        return m_textLen == 0 && m_caret == 0 ? 0 : 1;
    if (m_textLen < 0 || m_textLen >= m_capacity || m_buffer[m_textLen] != 0)
        return 1;
    if (m_caret < 0 || m_caret > m_textLen)
        return 2;
    if (m_null)
        return 0;
    if (m_maxSym > 0 && (m_textLen > m_maxSym || m_fixedLen > m_textLen))
        return 3;
    const int first0 = m_processor.beginField(0), end0 = m_processor.endField(0);
    bool blanksOnly = true;
    for (int i = 0; i < m_textLen; ++i) {
        const WChar c = m_buffer[i];
        const bool inField0 = i >= first0 && i < end0;
        const bool sign = isNumeric() && isSign(c) && inField0 && blanksOnly;
        if (!sign && !holdsText(i, c))
            return 4;
        if (inField0 && c != ' ')
            blanksOnly = false;
    }
    if (m_maxSym == 0 && m_textLen != 0)
        return 5;
    return 0;
}

// PatternProcessor: compiling a mask into elements and fields, the fields' bounds, and what
// each element accepts.
#include <vexapi/format/patternprocessor.h>

#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>

#include <algorithm>

namespace {

// Ranges of letters that have no case, so that the case tables do not find them.
struct Range {
    WChar first, last;
};
const Range caselessLetters[] = {
    {0x00AA, 0x00AA}, {0x00BA, 0x00BA}, {0x00DF, 0x00DF}, {0x0138, 0x0138},
    {0x0149, 0x0149}, {0x0180, 0x024F}, {0x0250, 0x02AF}, {0x05D0, 0x05EA},
    {0x05F0, 0x05F2}, {0x0620, 0x064A}, {0x066E, 0x06D3}, {0x0E01, 0x0E30},
    {0x0E32, 0x0E33}, {0x0E40, 0x0E46}, {0x1E00, 0x1FFF}, {0x3041, 0x3096},
    {0x30A1, 0x30FA}, {0x3400, 0x4DBF}, {0x4E00, 0x9FFF}, {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},
};

bool isControl(WChar c) { return c < 0x20 || c == 0x7F; }

} // namespace

bool PatternProcessor::isDigit(WChar c) { return c >= '0' && c <= '9'; }

bool PatternProcessor::isLetter(WChar c)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))
        return true;
    if (c < 0x80)
        return false;
    if (wtoupper(c) != c || wtolower(c) != c)
        return true;
    for (const Range& r : caselessLetters)
        if (c >= r.first && c <= r.last)
            return true;
    return false;
}

PatternProcessor::PatternProcessor() { m_sourceBegin.push_back(0); }

void PatternProcessor::reset(const WChar* mask, int length)
{
    m_elements.clear();
    m_sourceBegin.assign(1, 0);
    m_fieldStarts.clear();
    m_fieldEnds.clear();

    // A NUL ends the mask even inside a counted text.
    const int n = length < 0 ? wstrlen(mask) : wstrnlen(mask, length);
    int i = 0;
    while (i < n) {
        Element e = {kLiteral, false, 0, 0};
        while (i < n && mask[i] == '!') {
            e.important = true;
            ++i;
        }
        if (i >= n)
            break;
        // `need` is how many characters the element spans from its main character on; an
        // element that the text ends inside adds nothing.
        int need = 1;
        switch (mask[i]) {
        case '#': e.kind = kDigit; break;
        case 'A': e.kind = kLetter; break;
        case '9': e.kind = kAlnum; break;
        case 'U': e.kind = kUpper; break;
        case 'L': e.kind = kLower; break;
        case '*': e.kind = kAny; break;
        case '[':
            // The closing bracket's place is taken without looking at what stands there.
            need = 4;
            e.kind = kRange;
            break;
        case '\\':
            need = 2;
            e.kind = kLiteral;
            break;
        case '\'':
            // The closing quote's place likewise.
            need = 3;
            e.kind = kDisplay;
            break;
        default:
            e.kind = kLiteral;
            e.lo = mask[i];
            break;
        }
        if (n - i < need)
            break;
        if (e.kind == kRange) {
            e.lo = mask[i + 1];
            e.hi = mask[i + 2];
        } else if (need > 1) {
            e.lo = mask[i + 1];
        }
        i += need;
        m_elements.push_back(e);
        m_sourceBegin.push_back(i);
    }

    for (int p = 0; p < count();) {
        if (isLiteral(p)) {
            ++p;
            continue;
        }
        m_fieldStarts.push_back(p);
        while (p < count() && !isLiteral(p))
            ++p;
        m_fieldEnds.push_back(p);
    }
}

const PatternProcessor::Element& PatternProcessor::element(int i) const
{
    static const Element none = {kLiteral, false, 0, 0};
    VEX_ASSERT(i >= 0 && i < count());
    if (i < 0 || i >= count())
        return none;
    return m_elements[std::size_t(i)];
}

bool PatternProcessor::isLiteral(int pos) const
{
    if (pos < 0 || pos >= count())
        return false;
    int kind = m_elements[std::size_t(pos)].kind;
    return kind == kLiteral || kind == kDisplay;
}

int PatternProcessor::curField(int pos) const
{
    const int fields = fieldCount();
    if (fields == 0)
        return 0;
    if (pos < m_fieldStarts[0])
        return -1;
    if (pos > m_fieldEnds[std::size_t(fields - 1)])
        return fields;
    // The last field whose start is at or before pos.
    auto it = std::upper_bound(m_fieldStarts.begin(), m_fieldStarts.end(), pos);
    return int(it - m_fieldStarts.begin()) - 1;
}

int PatternProcessor::beginField(int f) const
{
    if (f < 0)
        return 0;
    if (f >= fieldCount())
        return count();
    return m_fieldStarts[std::size_t(f)];
}

int PatternProcessor::endField(int f) const
{
    if (f < 0)
        return 0;
    if (f >= fieldCount())
        return count();
    return m_fieldEnds[std::size_t(f)];
}

bool PatternProcessor::validChar(int pos, WChar& c) const
{
    if (pos < 0 || pos >= count() || c == 0)
        return false;
    const Element& e = m_elements[std::size_t(pos)];
    if (e.kind == kLiteral || e.kind == kDisplay)
        return c == e.lo;
    if (isControl(c))
        return false;
    switch (e.kind) {
    case kDigit: return isDigit(c);
    case kLetter: return isLetter(c);
    case kAlnum: return isLetter(c) || isDigit(c);
    case kRange: return c > e.lo && c < e.hi;
    case kUpper: c = wtoupper(c); return true;
    case kLower: c = wtolower(c); return true;
    case kAny: return true;
    }
    return false;
}

bool PatternProcessor::holds(int pos, WChar c) const
{
    WChar folded = c;
    return validChar(pos, folded) && folded == c;
}

int PatternProcessor::sourceBegin(int i) const
{
    if (i < 0)
        return 0;
    return m_sourceBegin[std::size_t(std::min(i, count()))];
}

int PatternProcessor::sourceEnd(int i) const
{
    if (i < 0)
        return 0;
    return m_sourceBegin[std::size_t(std::min(i + 1, count()))];
}

int PatternProcessor::elementAt(int offset) const
{
    if (offset < 0 || offset >= m_sourceBegin.back())
        return count();
    auto it = std::upper_bound(m_sourceBegin.begin(), m_sourceBegin.end(), offset);
    return int(it - m_sourceBegin.begin()) - 1;
}

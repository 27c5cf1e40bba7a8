// CEditString: the row's expansion, its two kinds of column and three kinds of row
// number, its place in the tree of blocks, its search and its marks.
#include <vexapi/srcedit/ceditstring.h>

#include <vexapi/srcedit/cbookmarklookup.h>
#include <vexapi/srcedit/ceditstringarray.h>
#include <vexapi/core/wstring.h>
#include "cexpansionsink.h"
#include "edittext.h"

#include <string>
#include <vector>

// ---- The expansion.

bool CEditString::walkForward(int from, int to, CExpansionSink& sink) const
{
    int pos = from;
    for (CTextSegment& s : segs()) {
        if (s.col() < from)
            continue;
        if (s.col() >= to)
            break;
        if (s.col() > pos && !sink.put(text + pos, s.col() - pos))
            return false;
        if (s.block() && !s.block()->walkForward(sink))
            return false;
        pos = s.col() + s.shortLength();
    }
    if (pos < to && !sink.put(text + pos, to - pos))
        return false;
    return true;
}

bool CEditString::walkBackward(int from, int to, CExpansionSink& sink) const
{
    int end = to;
    for (List::Iterator it = segs().List::end(); it != segs().List::begin();) {
        --it;
        const CTextSegment& s = static_cast<const CTextSegment&>(*it);
        if (s.col() >= to)
            continue;
        if (s.col() < from)
            break;
        int labelEnd = s.col() + s.shortLength();
        if (labelEnd < end && !sink.put(text + labelEnd, end - labelEnd))
            return false;
        if (s.block() && !s.block()->walkBackward(sink))
            return false;
        end = s.col();
    }
    if (from < end && !sink.put(text + from, end - from))
        return false;
    return true;
}

int CEditString::textLength(int from, int to) const
{
    if (!normalRange(from, to))
        return 0;
    int n = to - from;
    for (CTextSegment& s : segs()) {
        if (s.col() >= to)
            break;
        if (s.col() >= from)
            n += s.textLength() - s.shortLength();
    }
    return n;
}

int CEditString::toPlainText(WChar* buffer, int capacity, int from, int to, bool terminate) const
{
    if (!buffer || capacity < 1)
        return 0;
    CExpansionWriter writer(buffer, terminate ? capacity - 1 : capacity);
    if (normalRange(from, to))
        walkForward(from, to, writer);
    if (!terminate)
        return writer.pos;
    buffer[writer.pos] = 0;
    return writer.pos + 1;
}

int CEditString::hasText(int from, int to) const
{
    if (!normalRange(from, to))
        return -1;
    for (int i = from; i < to; ++i)
        if (!VexAPI::detail::isBlank(text[i]))
            return i;
    return -1;
}

namespace {

// Finds the first character that is not blank within [from, to) of the expansion.
class StraySink final : public CExpansionSink {
public:
    StraySink(int from, int to) : m_from(from), m_to(to), pos(0), found(-1) {}
    bool put(const WChar* text, int n) override
    {
        for (int i = 0; i < n; ++i, ++pos) {
            if (pos >= m_to)
                return false;
            if (pos >= m_from && !VexAPI::detail::isBlank(text[i])) {
                found = pos;
                return false;
            }
        }
        return true;
    }

private:
    int m_from;
    int m_to;

public:
    int pos;
    int found;
};

// Collects the expansion in a string.
class CollectSink final : public CExpansionSink {
public:
    bool put(const WChar* text, int n) override
    {
        value.append(text, std::size_t(n));
        return true;
    }
    WString value;
};

} // namespace

int CEditString::strayAbsPos(int from, int to) const
{
    int total = textLength();
    if (to == -1)
        to = total;
    if (from < 0 || from > to || to > total)
        return -1;
    StraySink sink(from, to);
    walkForward(0, length, sink);
    return sink.found;
}

bool CEditString::forwardForText(WChar* buffer, int capacity, int& pos, const WChar* pattern, int n,
                                 int from, int to) const
{
    if (!buffer || !pattern || n < 1 || pos < 0 || pos >= capacity)
        return false;
    CForwardSearchSink sink(buffer, capacity - 1, pos, pattern, n);
    if (normalRange(from, to))
        walkForward(from, to, sink);
    pos = sink.pos;
    buffer[pos] = 0;
    return sink.found;
}

bool CEditString::backwardForText(WChar* buffer, int& pos, const WChar* pattern, int n, int from,
                                  int to) const
{
    if (!buffer || !pattern || n < 1 || pos < 0)
        return false;
    CBackwardSearchSink sink(buffer, pos, pattern, n);
    if (normalRange(from, to))
        walkBackward(from, to, sink);
    pos = sink.pos;
    return sink.found;
}

// ---- Coordinates.

int CEditString::Vis2AbsPos(int col) const
{
    if (segments.empty())
        return col;
    int shift = 0;
    for (CTextSegment& s : segs()) {
        if (s.col() > col)
            break;
        if (s.col() + s.shortLength() > col)
            return s.col() + shift; // the label holds the column
        shift += s.textLength() - s.shortLength();
    }
    return col + shift;
}

int CEditString::Abs2VisPos(int pos) const
{
    if (pos < 0)
        return -1;
    int shift = 0;
    for (CTextSegment& s : segs()) {
        if (pos < s.col() + shift)
            break;
        int hidden = s.textLength();
        if (pos < s.col() + shift + hidden)
            return s.col();
        shift += hidden - s.shortLength();
    }
    int col = pos - shift;
    return col <= length ? col : -1;
}

CEditString* CEditString::AbsPos2String(int& pos)
{
    if (pos < 0)
        return nullptr;
    int total = textLength();
    if (pos > total + 2)
        return nullptr;
    if (pos >= total) {
        pos = total;
        return this;
    }
    int shift = 0;
    for (CTextSegment& s : segments) {
        int start = s.col() + shift;
        if (pos <= start)
            break;
        int hidden = s.textLength();
        if (pos < start + hidden) {
            int inner = pos - start;
            CEditString* row = s.block() ? s.block()->AbsPos2String(inner) : nullptr;
            if (!row)
                return this;
            pos = inner;
            return row;
        }
        shift += hidden - s.shortLength();
    }
    return this;
}

int CEditString::AbsPosInOBlock(int absCol) const
{
    if (!m_oBlock)
        return -1;
    int i = visRowId();
    if (i < 0)
        return -1;
    int pos = absCol;
    for (int j = 0; j < i; ++j)
        pos += m_oBlock->GetString(j)->textLength() + 2;
    return pos;
}

int CEditString::AbsPosInBlock(const CEditStringArray* block, int absCol) const
{
    const CEditString* row = this;
    int col = absCol;
    while (row) {
        const CEditStringArray* holder = row->m_oBlock;
        if (!holder)
            return -1;
        int pos = row->AbsPosInOBlock(col);
        if (holder == block || pos < 0)
            return pos;
        const CTextSegment* fold = holder->oSegment();
        if (!fold || !fold->oString())
            return -1;
        col = fold->AbsPosInOString() + pos;
        row = fold->oString();
    }
    return -1;
}

int CEditString::GeneralId() const
{
    if (!m_oBlock)
        return 0;
    int id = m_absRowId;
    if (const CTextSegment* fold = m_oBlock->oSegment()) {
        int base = fold->GeneralId();
        if (base < 0)
            return -1;
        id += base;
    }
    return id;
}

int CEditString::visRowId() const
{
    return m_oBlock ? m_oBlock->indexOf(this) : -10;
}

int CEditString::totalRows() const
{
    int rows = 1;
    for (CTextSegment& s : segs())
        rows += s.totalRows() - 1;
    return rows;
}

void CEditString::addSubRows(int delta)
{
    if (delta != 0 && m_oBlock)
        m_oBlock->rowChanged(this, delta);
}

// ---- Ownership.

void CEditString::setOBlock(CEditStringArray* block)
{
    m_oBlock = block;
    if (!block)
        m_absRowId = -1;
    refreshActual();
}

bool CEditString::visible() const
{
    return m_oBlock && m_oBlock->editor();
}

bool CEditString::actual() const
{
    return m_oBlock && m_oBlock->actual();
}

void CEditString::refreshActual()
{
    for (CTextSegment& s : segments)
        s.refreshActual();
}

CEditString* CEditString::visibleOwnerString()
{
    CEditString* row = this;
    while (row->m_oBlock && row->m_oBlock->oSegment() && row->m_oBlock->oSegment()->oString())
        row = row->m_oBlock->oSegment()->oString();
    return row->m_oBlock ? row : nullptr;
}

CTextSegment* CEditString::visibleOwnerSegment()
{
    CEditString* row = this;
    CTextSegment* fold = nullptr;
    while (row->m_oBlock && row->m_oBlock->oSegment() && row->m_oBlock->oSegment()->oString()) {
        fold = row->m_oBlock->oSegment();
        row = fold->oString();
    }
    return row->m_oBlock ? fold : nullptr;
}

// ---- Search.

int CEditString::StrStr(const WChar* hay, int n, const WChar* find, int m, bool forward)
{
    if (!hay || !find || m < 1 || n < m)
        return -1;
    if (forward) {
        for (int i = 0; i <= n - m; ++i)
            if (VexAPI::detail::equal(hay + i, find, m))
                return i;
    } else {
        for (int i = n - m; i >= 0; --i)
            if (VexAPI::detail::equal(hay + i, find, m))
                return i;
    }
    return -1;
}

namespace {

bool wholeWordAt(const WChar* hay, int n, int at, int m)
{
    bool startOk = at == 0 || VexAPI::detail::isWordSeparator(hay[at - 1]);
    bool endOk = at + m == n || VexAPI::detail::isWordSeparator(hay[at + m]);
    return startOk && endOk;
}

// The search shared by the stored text and the expansion: forward in [pos, n), backward
// among the matches that end at or before `pos`, the last first.
bool searchText(const WChar* hay, int n, const WChar* find, int& pos, bool wholeWord, bool matchCase,
                bool forward)
{
    int m = wstrlen(find);
    if (m == 0 || n == 0 || !hay || pos < 0 || pos > n)
        return false;
    std::vector<WChar> foldedHay, foldedFind;
    if (!matchCase) {
        foldedHay.assign(hay, hay + n);
        foldedFind.assign(find, find + m);
        for (WChar& c : foldedHay)
            c = wtoupper(c);
        for (WChar& c : foldedFind)
            c = wtoupper(c);
        hay = foldedHay.data();
        find = foldedFind.data();
    }
    if (forward) {
        int start = pos;
        while (n - start >= m) {
            int at = CEditString::StrStr(hay + start, n - start, find, m, true);
            if (at < 0)
                return false;
            at += start;
            if (!wholeWord || wholeWordAt(hay, n, at, m)) {
                pos = at;
                return true;
            }
            start = at + 1;
        }
    } else {
        int limit = pos;
        while (limit >= m) {
            int at = CEditString::StrStr(hay, limit, find, m, false);
            if (at < 0)
                return false;
            if (!wholeWord || wholeWordAt(hay, n, at, m)) {
                pos = at;
                return true;
            }
            limit = at + m - 1;
        }
    }
    return false;
}

} // namespace

bool CEditString::FindStr(const WChar* find, int& pos, bool wholeWord, bool matchCase, bool forward) const
{
    if (!find || !*find || length == 0 || pos < 0 || pos > length)
        return false;
    return searchText(text, length, find, pos, wholeWord, matchCase, forward);
}

int CEditString::FindInPlainText(const WChar* find, int pos, bool wholeWord, bool matchCase,
                                 bool forward) const
{
    if (!find || !*find)
        return -1;
    CollectSink sink;
    walkForward(0, length, sink);
    int at = pos;
    if (!searchText(sink.value.data(), int(sink.value.size()), find, at, wholeWord, matchCase, forward))
        return -1;
    return at;
}

int CEditString::FindString(const WChar* find, int pos, bool wholeWord, bool matchCase, bool forward) const
{
    if (!hasSegments()) {
        int at = pos;
        return FindStr(find, at, wholeWord, matchCase, forward) ? at : -1;
    }
    if (pos < 0 || pos > length)
        return -1;
    return FindInPlainText(find, Vis2AbsPos(pos), wholeWord, matchCase, forward);
}

// ---- Marks.

VexAPI::Bitmap* CEditString::GetBitmap(int index) const
{
    return index >= 0 && index < BitmapCount ? bitmaps[index] : nullptr;
}

void CEditString::SetBitmap(VexAPI::Bitmap* bitmap, int index)
{
    if (index >= 0 && index < BitmapCount)
        bitmaps[index] = bitmap;
}

int CEditString::GetBookmarked(VectorOf<int>& ids, VectorOf<int>& keys, const CBookmarkLookup& lookup,
                               int from, int to) const
{
    if (to == -1)
        to = length;
    int n = 0;
    for (CTextSegment& s : segs()) {
        if (s.col() >= to)
            break;
        if (s.col() >= from && s.block())
            n += s.block()->GetBookmarked(ids, keys, lookup);
    }
    return n;
}

// CEditString: construction, raw and fold-aware text editing, and the row's folds.
#include <vexapi/srcedit/ceditstring.h>

#include <vexapi/srcedit/ceditstringarray.h>
#include "cexpansionsink.h"
#include "edittext.h"

#include <cstdlib>
#include <cstring>
#include <vector>

const WChar CEditLineBreak[2] = {WChar('\r'), WChar('\n')};

namespace {

CTextSegment* segmentOf(List::Iterator it)
{
    return static_cast<CTextSegment*>(it.node());
}

} // namespace

// ---- Construction.

CEditString::CEditString()
    : text(nullptr), length(0), bitmaps(), m_absRowId(-1), m_oBlock(nullptr),
      m_inconsistentPos(-1), m_layoutSign(LS_NONE)
{
    resetLIT();
    resetOpenLIT();
    resetCloseLIT();
    resetSimpleLIT();
}

CEditString::CEditString(const WChar* source, int n) : CEditString()
{
    n = VexAPI::detail::lengthOf(source, n);
    if (n > 0 && resize(n)) {
        std::memcpy(text, source, std::size_t(n) * sizeof(WChar));
        length = n;
        text[length] = 0;
    }
    m_inconsistentPos = hasText(0, -1);
}

CEditString::CEditString(const WChar* source) : CEditString(source, -1) {}

CEditString::~CEditString()
{
    std::free(text);
    text = nullptr;
    length = 0;
    if (m_oBlock)
        m_oBlock->DelString(this);
    // The row is out of its block: deleting the folds has nothing left to pass up.
    segments.clear();
    ClearLinkedLexes();
    ClearSimpleLexes();
}

CEditString* CEditString::fromBlock(CEditStringArray* block, int type, const WChar* label)
{
    CTextSegment* segment = new CTextSegment(block, type, label, 0);
    if (!segment->isWellFormed()) {
        delete segment;
        return nullptr;
    }
    CEditString* row = new CEditString(segment->shortText(), segment->shortLength());
    row->InsSegment(segment);
    return row;
}

// ---- Raw text.

bool CEditString::resize(int n)
{
    if (n == 0) {
        std::free(text);
        text = nullptr;
        return true;
    }
    WChar* grown = static_cast<WChar*>(std::realloc(text, (std::size_t(n) + 1) * sizeof(WChar)));
    if (grown) {
        text = grown;
        return true;
    }
    if (n <= length)
        return true; // a buffer that could not shrink still serves
    // Out of memory: the row loses its text, and with it the labels of its folds.
    while (!segments.empty()) {
        CTextSegment* segment = &*segments.begin();
        unlinkSegment(segment);
        delete segment;
    }
    std::free(text);
    text = nullptr;
    length = 0;
    textChanged();
    return false;
}

bool CEditString::normalRange(int& from, int& to) const
{
    if (to == -1)
        to = length;
    return from >= 0 && from <= to && to <= length;
}

bool CEditString::Insert(const WChar* source, int at, int n)
{
    if (!source || n < 0 || at < 0 || at > length)
        return false;
    if (n == 0)
        return true;
    // The text may come from this row's own buffer, which the growth may move.
    std::vector<WChar> own;
    if (text && source >= text && source <= text + length) {
        own.assign(source, source + n);
        source = own.data();
    }
    int old = length;
    if (!resize(old + n))
        return false;
    std::memmove(text + at + n, text + at, std::size_t(old - at) * sizeof(WChar));
    std::memcpy(text + at, source, std::size_t(n) * sizeof(WChar));
    length = old + n;
    text[length] = 0;
    textChanged();
    manageSegmentsCols(at, n);
    return true;
}

bool CEditString::Delete(int from, int to)
{
    if (!normalRange(from, to))
        return false;
    int n = to - from;
    if (n == 0)
        return true;
    std::memmove(text + from, text + to, std::size_t(length - to) * sizeof(WChar));
    length -= n;
    resize(length);
    if (text)
        text[length] = 0;
    textChanged();
    manageSegmentsCols(from, -n);
    return true;
}

int CEditString::Copy(int from, int to, WChar* buffer) const
{
    if (!buffer || !normalRange(from, to))
        return 0;
    std::memcpy(buffer, text + from, std::size_t(to - from) * sizeof(WChar));
    return to - from;
}

bool CEditString::Cat(const WChar* source, int n)
{
    return Insert(source, length, n);
}

// ---- Text with care for segments.

bool CEditString::Change(const WChar* source, int at, int n)
{
    n = VexAPI::detail::lengthOf(source, n);
    if (!source || at < 0)
        return false;
    std::vector<WChar> own;
    if (text && source >= text && source <= text + length) {
        own.assign(source, source + n);
        source = own.data();
    }
    if (at + n > length) {
        int old = length;
        if (!resize(at + n))
            return false;
        for (int i = old; i <= at + n; ++i)
            text[i] = 0;
        length = at + n;
    }
    if (n > 0)
        std::memcpy(text + at, source, std::size_t(n) * sizeof(WChar));
    textChanged();
    return true;
}

bool CEditString::CatEditString(CEditString* source, int from, bool copy)
{
    if (!source || source == this || from < 0 || from > source->length || source->ownerOf(from))
        return false;
    int n = source->length - from;
    if (n == 0)
        return true;
    int oldLength = length;
    if (!Cat(source->text + from, n))
        return false;
    ListOf<CTextSegment> moved;
    if (copy)
        source->copySegments(moved, from, -1);
    else
        source->cutSegments(moved, from, -1);
    takeSegments(moved, oldLength - from);
    if (!copy)
        source->Delete(from, -1);
    return true;
}

bool CEditString::InsertEditString(CEditString* source, int at, int from, bool copy)
{
    if (!source || source == this || at < 0 || at > length || ownerOf(at) || from < 0 ||
        from > source->length || source->ownerOf(from))
        return false;
    if (at == length)
        return CatEditString(source, from, copy);
    int n = source->length - from;
    if (n == 0)
        return true;
    if (!Insert(source->text + from, at, n))
        return false;
    ListOf<CTextSegment> moved;
    if (copy)
        source->copySegments(moved, from, -1);
    else
        source->cutSegments(moved, from, -1);
    takeSegments(moved, at - from);
    if (!copy)
        source->Delete(from, -1);
    return true;
}

void CEditString::tighten(int& from, int& to) const
{
    if (CTextSegment* s = ownerOf(from))
        from = s->col() + s->shortLength();
    if (CTextSegment* s = ownerOf(to))
        to = s->col();
}

CEditString* CEditString::extractEditString(int from, int to, bool cut)
{
    if (!normalRange(from, to))
        return new CEditString();
    tighten(from, to);
    if (from >= to)
        return new CEditString();
    CEditString* row = new CEditString(text + from, to - from);
    ListOf<CTextSegment> taken;
    if (cut)
        cutSegments(taken, from, to);
    else
        copySegments(taken, from, to);
    row->takeSegments(taken, -from);
    if (cut)
        Delete(from, to);
    return row;
}

CEditString* CEditString::CopyEditString(int from, int to)
{
    return extractEditString(from, to, false);
}

CEditString* CEditString::CutEditString(int from, int to)
{
    return extractEditString(from, to, true);
}

bool CEditString::DeleteEditString(int from, int to)
{
    if (!normalRange(from, to))
        return false;
    tighten(from, to);
    if (from >= to)
        return true;
    delSegments(from, to, false);
    return Delete(from, to);
}

bool CEditString::InsertPlainText(const WChar* source, int at, int n)
{
    n = VexAPI::detail::lengthOf(source, n);
    if (at < 0 || at > length || ownerOf(at))
        return false;
    if (n == 0)
        return true;
    return Insert(source, at, n);
}

bool CEditString::CatPlainText(const WChar* source, int n)
{
    return InsertPlainText(source, length, n);
}

void CEditString::Empty()
{
    while (!segments.empty()) {
        CTextSegment* segment = &*segments.begin();
        unlinkSegment(segment);
        delete segment;
    }
    std::free(text);
    text = nullptr;
    length = 0;
    textChanged();
}

const WChar* CEditString::GetData() const
{
    static const WChar empty[1] = {0};
    return text ? text : empty;
}

// ---- Segments.

void CEditString::textChanged()
{
    if (m_oBlock)
        m_oBlock->textChanged();
}

void CEditString::unlinkSegment(CTextSegment* segment)
{
    int hidden = segment->totalRows() - 1;
    List::remove(List::Iterator(segment));
    segment->setOString(nullptr);
    textChanged();
    addSubRows(-hidden);
}

bool CEditString::InsSegment(CTextSegment* segment)
{
    if (!segment || segment->isLinked() || !segment->isWellFormed() || segment->oString())
        return false;
    int col = segment->col();
    int n = segment->shortLength();
    if (col < 0 || col + n > length || segmentsIntersect(col, col + n) ||
        !VexAPI::detail::equal(text + col, segment->shortText(), n))
        return false;
    List::insert(segment, posForSegment(col));
    segment->setOString(this);
    textChanged();
    addSubRows(segment->totalRows() - 1);
    return true;
}

bool CEditString::DelSegment(CTextSegment* segment, bool removeText)
{
    if (!segment || segment->oString() != this || !segment->isLinked())
        return false;
    int col = segment->col();
    int n = segment->shortLength();
    unlinkSegment(segment);
    delete segment;
    if (removeText)
        Delete(col, col + n);
    return true;
}

CTextSegment* CEditString::segmentAt(int col) const
{
    for (CTextSegment& s : segs()) {
        if (s.col() > col)
            break;
        if (col < s.col() + s.shortLength())
            return &s;
    }
    return nullptr;
}

CTextSegment* CEditString::ownerOf(int col) const
{
    for (CTextSegment& s : segs()) {
        if (s.col() >= col)
            break;
        if (col < s.col() + s.shortLength())
            return &s;
    }
    return nullptr;
}

int CEditString::idOfSegment(const CTextSegment* segment) const
{
    int i = 0;
    for (CTextSegment& s : segs()) {
        if (&s == segment)
            return i;
        ++i;
    }
    return -1;
}

int CEditString::OffsetOfSegment(const CTextSegment* segment) const
{
    int offset = 0;
    for (CTextSegment& s : segs()) {
        if (&s == segment)
            return offset;
        offset += s.totalRows() - 1;
    }
    return -1;
}

CTextSegment* CEditString::SegmentOfOffset(int n) const
{
    int offset = 0;
    for (CTextSegment& s : segs()) {
        int rows = s.totalRows();
        if (offset <= n && n < offset + rows)
            return &s;
        offset += rows - 1;
    }
    return nullptr;
}

int CEditString::SegmentsCount() const
{
    return int(segments.size());
}

CTextSegment* CEditString::GetSegment(int i) const
{
    for (CTextSegment& s : segs())
        if (i-- == 0)
            return &s;
    return nullptr;
}

bool CEditString::segmentsIntersect(int from, int to) const
{
    for (CTextSegment& s : segs()) {
        if (s.col() >= to)
            break;
        if (from < s.col() + s.shortLength())
            return true;
    }
    return false;
}

int CEditString::copySegments(ListOf<CTextSegment>& list, int from, int to) const
{
    if (to == -1)
        to = length;
    int n = 0;
    for (CTextSegment& s : segs()) {
        if (s.col() >= to)
            break;
        if (s.col() >= from) {
            list.insert(s.clone(), list.end());
            ++n;
        }
    }
    return n;
}

int CEditString::cutSegments(ListOf<CTextSegment>& list, int from, int to)
{
    if (to == -1)
        to = length;
    int n = 0;
    for (List::Iterator it = segments.List::begin(); it != segments.List::end();) {
        CTextSegment* s = segmentOf(it);
        ++it;
        if (s->col() >= to)
            break;
        if (s->col() < from)
            continue;
        unlinkSegment(s);
        list.insert(s, list.end());
        ++n;
    }
    return n;
}

int CEditString::delSegments(int from, int to, bool removeText)
{
    if (to == -1)
        to = length;
    std::vector<CTextSegment*> doomed;
    for (CTextSegment& s : segs()) {
        if (s.col() >= to)
            break;
        if (s.col() >= from)
            doomed.push_back(&s);
    }
    // From the last to the first, so that removing a label's text leaves the columns of
    // the ones still to come as they were.
    for (auto it = doomed.rbegin(); it != doomed.rend(); ++it) {
        CTextSegment* s = *it;
        int col = s->col();
        int n = s->shortLength();
        unlinkSegment(s);
        delete s;
        if (removeText)
            Delete(col, col + n);
    }
    return int(doomed.size());
}

int CEditString::takeSegments(ListOf<CTextSegment>& list, int shift)
{
    int n = 0;
    for (List::Iterator it = list.List::begin(); it != list.List::end();) {
        CTextSegment* s = segmentOf(it);
        ++it;
        int col = s->col() + shift;
        if (col < 0 || col >= length)
            continue;
        List::remove(List::Iterator(s));
        s->setCol(col);
        if (InsSegment(s)) {
            ++n;
        } else {
            s->setCol(col - shift);
            List::insert(s, it);
        }
    }
    return n;
}

void CEditString::manageSegmentsCols(int col, int delta)
{
    for (List::Iterator it = segments.List::begin(); it != segments.List::end();) {
        CTextSegment* s = segmentOf(it);
        ++it;
        if (s->col() < col && col < s->col() + s->shortLength() && delta != 0) {
            unlinkSegment(s);
            delete s;
            reportSegmentsError(WSTR("INSERTION IN SEGMENT"));
        } else if (s->col() >= col && col - delta <= s->col()) {
            s->setCol(s->col() + delta);
        } else if (s->col() >= col) {
            unlinkSegment(s);
            delete s;
            reportSegmentsError(WSTR("DELETION WITHOUT UNDO MANAGEMENT"));
        }
    }
}

List::Iterator CEditString::posForSegment(int col)
{
    List::Iterator it = segments.List::begin();
    while (it != segments.List::end() && segmentOf(it)->col() <= col)
        ++it;
    return it;
}

namespace {

template <class F>
int* segmentArray(ListOf<CTextSegment>& segments, int n, F value)
{
    if (n < 0)
        n = int(segments.size());
    if (n == 0)
        return nullptr;
    int* values = new int[std::size_t(n)];
    int i = 0;
    for (CTextSegment& s : segments) {
        if (i == n)
            break;
        values[i++] = value(s);
    }
    for (; i < n; ++i)
        values[i] = 0;
    return values;
}

} // namespace

int* CEditString::copyAbsCols(int n) const
{
    return segmentArray(segs(), n, [](CTextSegment& s) { return s.AbsPosInOString(); });
}

int* CEditString::copyVisCols(int n) const
{
    return segmentArray(segs(), n, [](CTextSegment& s) { return s.col(); });
}

int* CEditString::copyLengths(int n) const
{
    return segmentArray(segs(), n, [](CTextSegment& s) { return s.textLength(); });
}

int* CEditString::copyShortLens(int n) const
{
    return segmentArray(segs(), n, [](CTextSegment& s) { return s.shortLength(); });
}

// ---- Checks.

int CEditString::checkInvariants() const
{
    if (length < 0 || (!text && length != 0) || (text && text[length] != 0))
        return 1;
    int end = 0;
    for (CTextSegment& s : segs()) {
        if (s.oString() != this || s.col() < end || s.col() + s.shortLength() > length ||
            !VexAPI::detail::equal(text + s.col(), s.shortText(), s.shortLength()))
            return 2;
        end = s.col() + s.shortLength();
        if (!s.block() || s.block()->oSegment() != &s || s.block()->actual() != actual())
            return 3;
    }
    return 0;
}

// CEditStringArray: the block's rows, their adoption and numbering, the block's plain
// text and its coordinate conversions, and the check of its invariants.
#include <vexapi/srcedit/ceditstringarray.h>

#include <vexapi/srcedit/cbookmarklookup.h>
#include "cexpansionsink.h"
#include <vexapi/srcedit/ctextsegment.h>
#include "edittext.h"

#include <cstring>
#include <unordered_set>
#include <vector>

CEditStringArray::CEditStringArray(CTextSegment* owner)
    : CEditArray(int(sizeof(CEditString*)), 50), m_subRows(0), m_oSegment(nullptr),
      m_editor(nullptr), m_actual(false), m_textLength(-1)
{
    if (owner && !owner->block())
        owner->setBlock(this);
}

CEditStringArray::~CEditStringArray()
{
    if (m_oSegment && m_oSegment->m_block == this)
        m_oSegment->m_block = nullptr;
    DelAllString();
    m_oSegment = nullptr;
}

// ---- Factories.

CEditStringArray* CEditStringArray::copyContents(const CEditStringArray* block)
{
    CEditStringArray* copy = new CEditStringArray();
    if (!block)
        return copy;
    copy->GrowUpBy(block->count);
    for (int i = 0; i < block->count; ++i)
        copy->AddString(block->rows()[i]->CopyEditString());
    return copy;
}

CEditStringArray* CEditStringArray::fromEditString(CEditString* row, int from, int to)
{
    CEditStringArray* block = new CEditStringArray();
    if (row)
        block->AddString(row->CopyEditString(from, to));
    return block;
}

CEditStringArray* CEditStringArray::fromPlainText(const WChar* text, int n)
{
    n = VexAPI::detail::lengthOf(text, n);
    CEditStringArray* block = new CEditStringArray();
    int breaks = 0;
    for (int i = 0; i < n; ++i)
        breaks += text[i] == '\n';
    block->GrowUpBy(breaks + 1);
    int start = 0;
    for (int i = 0; i < n; ++i) {
        if (text[i] != '\n')
            continue;
        int end = i;
        if (end > start && text[end - 1] == '\r')
            --end;
        block->AddString(new CEditString(text + start, end - start));
        start = i + 1;
    }
    block->AddString(new CEditString(text ? text + start : nullptr, n - start));
    return block;
}

// ---- Row list.

int CEditStringArray::GetColCount() const
{
    int widest = 0;
    for (int i = 0; i < count; ++i)
        if (rows()[i]->GetLength() > widest)
            widest = rows()[i]->GetLength();
    return widest;
}

void CEditStringArray::adopt(CEditString* row, int i)
{
    std::memmove(rows() + i + 1, rows() + i, std::size_t(count - i) * sizeof(CEditString*));
    rows()[i] = row;
    ++count;
    row->setOBlock(this);
    int total = row->totalRows();
    m_subRows += total - 1;
    textChanged();
    refreshRowIDs(i);
    passUp(total);
}

int CEditStringArray::AddString(CEditString* row)
{
    if (!row || row->oBlock())
        return 0;
    if (count + 1 >= capacity && !GrowUp())
        return 0;
    adopt(row, count);
    return count;
}

bool CEditStringArray::InsString(CEditString* row, int i)
{
    if (!row || row->oBlock() || i < 0 || i > count)
        return false;
    if (count + 1 >= capacity && !GrowUp())
        return false;
    adopt(row, i);
    return true;
}

int CEditStringArray::indexOf(const CEditString* row) const
{
    if (!row)
        return -1;
    if (row->oBlock() == this) {
        // Row numbers find it by bisection; rows that count no line (a fold without a
        // block, in transit) may share a number, so the neighbours are looked at too.
        int i = Abs2VisRowId(row->m_absRowId, false);
        if (i >= 0) {
            for (int j = i; j >= 0 && rows()[j]->m_absRowId == row->m_absRowId; --j)
                if (rows()[j] == row)
                    return j;
            for (int j = i + 1; j < count && rows()[j]->m_absRowId == row->m_absRowId; ++j)
                if (rows()[j] == row)
                    return j;
        }
    }
    for (int j = 0; j < count; ++j)
        if (rows()[j] == row)
            return j;
    return -1;
}

bool CEditStringArray::DelString(CEditString* row)
{
    int i = indexOf(row);
    return i >= 0 && DelString(i);
}

bool CEditStringArray::DelString(int i)
{
    return DeleteBlock(i, 1, false);
}

bool CEditStringArray::InsertBlock(CEditStringArray* block, int i)
{
    if (!block || block == this || i < 0 || i > count)
        return false;
    int n = block->count;
    if (n == 0)
        return true;
    for (int j = 0; j < n; ++j)
        if (block->rows()[j]->oBlock() != block)
            return false; // rows already given away: the block was not emptied
    if (count + n >= capacity && !GrowUpBy(count + n + 1 - capacity))
        return false;
    std::memmove(rows() + i + n, rows() + i, std::size_t(count - i) * sizeof(CEditString*));
    int total = 0;
    for (int j = 0; j < n; ++j) {
        CEditString* row = block->rows()[j];
        rows()[i + j] = row;
        row->setOBlock(this);
        total += row->totalRows();
    }
    count += n;
    m_subRows += total - n;
    textChanged();
    refreshRowIDs(i);
    passUp(total);
    return true;
}

bool CEditStringArray::DeleteBlock(int i, int n, bool destroy)
{
    if (i < 0 || n < 0 || i + n > count)
        return false;
    if (n == 0)
        return true;
    std::vector<CEditString*> leaving(rows() + i, rows() + i + n);
    int total = 0;
    for (CEditString* row : leaving)
        total += row->totalRows();
    std::memmove(rows() + i, rows() + i + n, std::size_t(count - i - n) * sizeof(CEditString*));
    count -= n;
    m_subRows -= total - n;
    // Rows that another block adopted (InsertBlock) keep their new block.
    for (CEditString* row : leaving)
        if (row->oBlock() == this)
            row->setOBlock(nullptr);
    textChanged();
    refreshRowIDs(i);
    passUp(-total);
    if (destroy)
        for (CEditString* row : leaving)
            if (!row->oBlock())
                delete row;
    return true;
}

void CEditStringArray::DelAllString()
{
    int total = totalRows();
    std::vector<CEditString*> leaving(rows(), rows() + count);
    count = 0;
    m_subRows = 0;
    textChanged();
    passUp(-total);
    for (auto it = leaving.rbegin(); it != leaving.rend(); ++it) {
        CEditString* row = *it;
        if (row->oBlock() != this)
            continue; // adopted by another block, which owns it now
        row->m_oBlock = nullptr;
        row->m_absRowId = -1;
        delete row;
    }
}

bool CEditStringArray::GrowUpBy(int n)
{
    if (n <= 0)
        return true;
    int steps = (n + growStep - 1) / growStep;
    return reserveFor(capacity + steps * growStep);
}

// ---- Rows through folds.

void CEditStringArray::refreshRowIDs(int from)
{
    if (from < 0)
        from = 0;
    if (from >= count)
        return;
    CEditString** r = rows();
    int id = from == 0 ? 0 : r[from - 1]->m_absRowId + r[from - 1]->totalRows();
    for (int i = from; i < count; ++i) {
        r[i]->m_absRowId = id;
        id += r[i]->totalRows();
    }
}

void CEditStringArray::rowChanged(CEditString* row, int delta)
{
    m_subRows += delta;
    int i = indexOf(row);
    refreshRowIDs(i + 1);
    passUp(delta);
}

void CEditStringArray::passUp(int delta)
{
    if (delta != 0 && m_oSegment)
        m_oSegment->addSubRows(delta);
}

void CEditStringArray::textChanged()
{
    // A block whose length is unknown has every block above it unknown as well.
    for (const CEditStringArray* block = this; block && block->m_textLength >= 0;) {
        block->m_textLength = -1;
        const CTextSegment* fold = block->m_oSegment;
        block = fold && fold->oString() ? fold->oString()->oBlock() : nullptr;
    }
}

int CEditStringArray::Abs2VisRowId(int absRow, bool nearest) const
{
    if (count == 0 || absRow < 0)
        return -10;
    CEditString** r = rows();
    int i; // the last row whose number is at or below absRow
    if (count < 5) {
        i = -1;
        while (i + 1 < count && r[i + 1]->m_absRowId <= absRow)
            ++i;
    } else {
        int lo = 0, hi = count; // the answer lies in [lo - 1, hi - 1]
        while (lo < hi) {
            int mid = lo + (hi - lo) / 2;
            if (r[mid]->m_absRowId <= absRow)
                lo = mid + 1;
            else
                hi = mid;
        }
        i = lo - 1;
    }
    if (i < 0)
        return -10;
    if (r[i]->m_absRowId == absRow)
        return i;
    if (!nearest)
        return -10;
    if (i == count - 1 && absRow >= r[i]->m_absRowId + r[i]->totalRows())
        return -10;
    return i;
}

int CEditStringArray::Vis2AbsRowId(int i) const
{
    CEditString* row = GetString(i);
    return row ? row->m_absRowId : -10;
}

CEditString* CEditStringArray::GenRowId2String(int generalId) const
{
    if (generalId < 0 || generalId >= totalRows())
        return nullptr;
    int i = Abs2VisRowId(generalId, true);
    if (i < 0)
        return nullptr;
    CEditString* row = rows()[i];
    int offset = generalId - row->m_absRowId;
    if (offset == 0)
        return row;
    CTextSegment* fold = row->SegmentOfOffset(offset);
    if (!fold || !fold->block())
        return nullptr;
    return fold->block()->GenRowId2String(offset - row->OffsetOfSegment(fold));
}

CEditString* CEditStringArray::AbsPos2String(int& pos) const
{
    if (pos < 0)
        return nullptr;
    int start = 0;
    for (int i = 0; i < count; ++i) {
        CEditString* row = rows()[i];
        int n = row->textLength() + 2;
        if (pos < start + n) {
            int inner = pos - start;
            CEditString* found = row->AbsPos2String(inner);
            if (found)
                pos = inner;
            return found;
        }
        start += n;
    }
    return nullptr;
}

// ---- Text.

bool CEditStringArray::walkForward(CExpansionSink& sink) const
{
    for (int i = 0; i < count; ++i) {
        if (i > 0 && !sink.put(CEditLineBreak, 2))
            return false;
        if (!rows()[i]->walkForward(0, rows()[i]->GetLength(), sink))
            return false;
    }
    return true;
}

bool CEditStringArray::walkBackward(CExpansionSink& sink) const
{
    for (int i = count - 1; i >= 0; --i) {
        if (!rows()[i]->walkBackward(0, rows()[i]->GetLength(), sink))
            return false;
        if (i > 0 && !sink.put(CEditLineBreak, 2))
            return false;
    }
    return true;
}

bool CEditStringArray::walkRange(int col1, int row1, int col2, int row2, CExpansionSink& sink) const
{
    CEditString** r = rows();
    if (row1 == row2)
        return r[row1]->walkForward(col1, col2, sink);
    if (!r[row1]->walkForward(col1, r[row1]->GetLength(), sink) || !sink.put(CEditLineBreak, 2))
        return false;
    for (int i = row1 + 1; i < row2; ++i)
        if (!r[i]->walkForward(0, r[i]->GetLength(), sink) || !sink.put(CEditLineBreak, 2))
            return false;
    return r[row2]->walkForward(0, col2, sink);
}

int CEditStringArray::countTextLength() const
{
    if (count == 0)
        return 0;
    int n = 2 * (count - 1);
    for (int i = 0; i < count; ++i)
        n += rows()[i]->textLength();
    return n;
}

int CEditStringArray::textLength() const
{
    if (m_textLength < 0)
        m_textLength = countTextLength();
    return m_textLength;
}

int CEditStringArray::textLength(int col1, int row1, int col2, int row2) const
{
    if (row1 < 0 || row2 >= count || row1 > row2)
        return 0;
    CEditString** r = rows();
    if (col2 == -1)
        col2 = r[row2]->GetLength();
    if (row1 == row2)
        return r[row1]->textLength(col1, col2);
    int n = r[row1]->textLength(col1, -1) + 2;
    for (int i = row1 + 1; i < row2; ++i)
        n += r[i]->textLength() + 2;
    return n + r[row2]->textLength(0, col2);
}

int CEditStringArray::toPlainText(WChar* buffer, int capacity, bool terminate) const
{
    if (!buffer || capacity < 1)
        return 0;
    CExpansionWriter writer(buffer, terminate ? capacity - 1 : capacity);
    walkForward(writer);
    if (!terminate)
        return writer.pos;
    buffer[writer.pos] = 0;
    return writer.pos + 1;
}

int CEditStringArray::toPlainText(WChar* buffer, int col1, int row1, int col2, int row2, int capacity,
                                  bool terminate) const
{
    if (!buffer || capacity < 1)
        return 0;
    CExpansionWriter writer(buffer, terminate ? capacity - 1 : capacity);
    if (row1 >= 0 && row2 < count && row1 <= row2) {
        if (col2 == -1)
            col2 = rows()[row2]->GetLength();
        bool valid = col1 >= 0 && col1 <= rows()[row1]->GetLength() && col2 >= 0 &&
                     col2 <= rows()[row2]->GetLength() && (row1 < row2 || col1 <= col2);
        if (valid)
            walkRange(col1, row1, col2, row2, writer);
    }
    if (!terminate)
        return writer.pos;
    buffer[writer.pos] = 0;
    return writer.pos + 1;
}

bool CEditStringArray::forwardForText(WChar* buffer, int capacity, int& pos, const WChar* pattern, int n) const
{
    if (!buffer || !pattern || n < 1 || pos < 0 || pos >= capacity)
        return false;
    CForwardSearchSink sink(buffer, capacity - 1, pos, pattern, n);
    walkForward(sink);
    pos = sink.pos;
    buffer[pos] = 0;
    return sink.found;
}

bool CEditStringArray::backwardForText(WChar* buffer, int& pos, const WChar* pattern, int n) const
{
    if (!buffer || !pattern || n < 1 || pos < 0)
        return false;
    CBackwardSearchSink sink(buffer, pos, pattern, n);
    walkBackward(sink);
    pos = sink.pos;
    return sink.found;
}

// ---- Ownership.

void CEditStringArray::setEditor(CSrcEdit* editor)
{
    m_editor = editor;
    if (editor)
        setActual(true);
}

void CEditStringArray::setActual(bool actual)
{
    if (m_actual == actual)
        return;
    m_actual = actual;
    for (int i = 0; i < count; ++i)
        rows()[i]->refreshActual();
}

int CEditStringArray::GetBookmarked(VectorOf<int>& ids, VectorOf<int>& keys, const CBookmarkLookup& lookup) const
{
    int n = 0;
    for (int i = 0; i < count; ++i) {
        CEditString* row = rows()[i];
        int key = 0;
        if (lookup.BookmarkKeyAt(row, key)) {
            int id = row->GeneralId();
            bool trusted = id > 0 || (id == 0 && i == 0 && !m_oSegment);
            if (trusted) {
                ids.add(id);
                keys.add(key);
                ++n;
            }
        }
        n += row->GetBookmarked(ids, keys, lookup);
    }
    return n;
}

// ---- Checks.

struct CEditStringArray::CheckState {
    std::unordered_set<const CEditString*> seen;
};

int CEditStringArray::checkInvariants() const
{
    CheckState state;
    return check(state);
}

int CEditStringArray::check(CheckState& state) const
{
    if (count < 0 || count > capacity || elementSize != int(sizeof(CEditString*)))
        return 1;
    if (m_oSegment) {
        if (m_oSegment->block() != this)
            return 7;
        bool expected = m_oSegment->oString() && m_oSegment->oString()->actual();
        if (m_actual != expected)
            return 7;
    }
    if (m_editor && (m_oSegment || !m_actual))
        return 8;
    int id = 0;
    int hidden = 0;
    for (int i = 0; i < count; ++i) {
        const CEditString* row = rows()[i];
        if (!row)
            return 1;
        if (row->m_oBlock != this)
            return 2;
        if (row->m_absRowId != id)
            return 3;
        if (!state.seen.insert(row).second)
            return 9;
        int total = row->totalRows();
        id += total;
        hidden += total - 1;
        // The row's own numbers: 1 and 2 are its text and labels, 3 its folds' links.
        if (int broken = row->checkInvariants())
            return broken == 3 ? 6 : 5;
        for (CTextSegment& fold : row->segs()) {
            if (int broken = fold.block()->check(state))
                return broken;
            // A known length rests on known lengths below.
            if (m_textLength >= 0 && fold.block()->m_textLength < 0)
                return 10;
        }
    }
    if (hidden != m_subRows)
        return 4;
    if (m_textLength >= 0 && m_textLength != countTextLength())
        return 10;
    return 0;
}

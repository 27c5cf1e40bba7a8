// aCDataSet: construction, the display records and attributes, the slot layout and sizes,
// stamps, null and empty tiles.
#include <vexapi/grid/acdataset.h>

#include "datasetlayout.h"

#include <vexapi/core/charset.h>
#include <vexapi/core/wtext.h>

#include <algorithm>
#include <memory>
#include <cstdlib>
#include <cstring>
#include <new>

namespace VexAPI {

namespace {
// A malloc block freed on every way out, a throw of aCDataFailure included.
struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
typedef std::unique_ptr<unsigned char, FreeDeleter> HeapBuffer;
} // namespace


aCDataSetOwner::~aCDataSetOwner() = default;

namespace {

// The captions, in CP1251 as the library has always kept them, converted once.
const char* const kCaptions1251[6] = {
    "\xCE\xF8\xE8\xE1\xEA\xE0 \xE2\xE2\xEE\xE4\xE0.",
    "\xD2\xE8\xEF:%d, \xD0\xE0\xE7\xEC\xE5\xF0:%ld",
    "OK",
    "\xC4\xEE\xE1\xE0\xE2\xE8\xF2\xFC",
    "\xCE\xF2\xEC\xE5\xED\xE8\xF2\xFC",
    "\xD3\xE4\xE0\xEB\xE8\xF2\xFC",
};
WChar g_captions[6][40];
bool g_captionsMade = false;

void makeCaptions()
{
    if (g_captionsMade)
        return;
    for (int i = 0; i < 6; ++i) {
        const int n = mbs2wcs(g_captions[i], kCaptions1251[i], "CP1251", 39,
                              int(std::strlen(kCaptions1251[i])));
        g_captions[i][n > 0 && n < 40 ? n : 0] = 0;
    }
    g_captionsMade = true;
}

const WChar kEmptyText[] = {0};

VLong NaturalSize(int type)
{
    switch (type) {
    case apsShort: return 2;
    case apsLong: case apsFloat: return 4;
    case apsDouble: case apsInt64: return 8;
    case apsDate: case apsDecimal: return 16;
    case apsByte: case apsBool: return 1;
    default: return 0;
    }
}

} // namespace

const WChar* aCDataSet::GetCaption(int i)
{
    makeCaptions();
    return i >= 0 && i < 6 ? g_captions[i] : kEmptyText;
}

aCDataSet::aCDataSet()
    : m_columns(new aCObjectArray), m_rows(new aCObjectArray), m_cells(new aCObjectArray),
      m_layout(new Layout), m_previous(new Layout)
{
    makeCaptions();
    aCColumn* defCol = new aCColumn;
    defCol->validationMessage = g_captions[0];
    m_columns->Add(defCol);
    m_rows->Add(new aCRow);
    for (int i = 0; i < 3; ++i)
        m_stamps[i] = WSTR("NULL");
    for (int i = 3; i < 6; ++i)
        m_stamps[i] = WSTR("DEFAULT");
}

aCDataSet::~aCDataSet()
{
    DeleteAllElements(m_cells, 0);
    DeleteAllElements(m_rows, 0);
    DeleteAllElements(m_columns, 0);
    delete m_cells;
    delete m_rows;
    delete m_columns;
    std::free(m_virtualBuf);
    std::free(m_cash);
    std::free(m_workRow);
    std::free(m_rawRow);
    std::free(m_block);
    delete m_layout;
    delete m_previous;
}

void aCDataSet::Fail(int code, bool always)
{
    if (always || m_exceptions)
        throw new aCDataFailure(static_cast<short>(code));
}

// ---------------------------------------------------------------- layout and sizes

void aCDataSet::InvalidateLayout() { m_layout->dirty = true; }

const WChar* aCDataSet::StampOf(VLong col, bool empty)
{
    const aCColumn* c = col >= 1 && col <= GetColCount()
                            ? static_cast<aCColumn*>(m_columns->GetAt(col)) : nullptr;
    const int type = c ? int(c->type) : int(apsNone);
    int i = IsTextType(type) ? 0 : type == apsDate ? 1 : 2;
    return m_stamps[i + (empty ? 3 : 0)];
}

VLong aCDataSet::TextLengthOf(const aCColumn* c, bool)
{
    // The current row's text of a text pointer column.
    if (c->type != apsTextPtr)
        return 0;
    VLong col = 0;
    for (VLong i = 1; i <= GetColCount(); ++i)
        if (m_columns->GetAt(i) == c)
            col = i;
    if (!col)
        return 0;
    const void* slot = GetNulledColData(col);
    if (!slot)
        return 0;
    const WChar* text;
    std::memcpy(&text, slot, sizeof text);
    return text ? wstrlen(text) : 0;
}

VLong aCDataSet::GetColSize(const aCColumn* c, int kind)
{
    if (!c || kind < szTextTiled || kind > szRealDataTiled)
        return 0;
    const VLong size = std::max<VLong>(0, c->size);
    VLong s;
    if (kind == szTextTiled || kind == szText) {
        switch (c->type) {
        case apsChar: s = size + 1; break;
        case apsFloat: case apsDouble: s = 320; break;
        case apsWide: s = size; break;
        case apsDate: s = 24; break;
        case apsBlob: s = 70; break;
        case apsTextPtr: s = TextLengthOf(c, true) + 1; break;
        case apsBinary: s = size * 2 + 1; break;
        default: s = 42; break;
        }
    } else if (kind == szRealData || kind == szRealDataTiled) {
        s = c->type == apsChar ? size * 2
            : c->type == apsTextPtr ? (TextLengthOf(c, true) + 1) * 2 : size;
    } else {
        s = c->type == apsChar ? size * 2 : size;
    }
    if (kind >= szDataTiled && c->type != apsTextPtr) {
        // A fixed-size value never gets a slot smaller than itself: reading it would run into
        // the next slot or past the image.
        const VLong natural = NaturalSize(c->type);
        if (s < natural)
            s = natural;
    } else if (kind == szDataTiled || kind == szData) {
        if (s < VLong(sizeof(void*)))
            s = VLong(sizeof(void*));
    }
    if (m_nullFlags && (kind == szTextTiled || kind == szDataTiled || kind == szRealDataTiled)) {
        if (c->type == apsChar || c->type == apsWide) {
            for (int i = 0; i < 2; ++i) {
                const int bit = i == 0 ? 0 : 3;
                const VLong stamp = m_stamps[bit].GetLength() + 1;
                if (s <= stamp)
                    s = stamp;
            }
        }
        s += 1; // the tile
    }
    return s;
}

VLong aCDataSet::GetColSize(VLong col, int kind)
{
    if (col < 1 || col > GetColCount())
        return 0;
    if (kind == szDataTiled || kind == szData) {
        const Layout& l = GetLayout();
        return kind == szDataTiled ? l.size3[std::size_t(col - 1)] : l.size4[std::size_t(col - 1)];
    }
    return GetColSize(static_cast<aCColumn*>(m_columns->GetAt(col)), kind);
}

const aCDataSet::Layout& aCDataSet::GetLayout()
{
    Layout& l = *m_layout;
    const VLong n = m_columns->GetSize() - 1;
    bool valid = l.built && !l.dirty && l.nullFlags == m_nullFlags && l.permuted == m_permuted &&
                 l.stampGeneration == m_stampGen && VLong(l.snap.size()) == n;
    if (valid) {
        // Columns are open records: their type, size and place are checked on every use.
        void* const* cols = m_columns->GetData();
        const aCDataSetLayoutData::Snap* snap = l.snap.data();
        for (VLong i = 0; i < n; ++i) {
            const aCColumn* c = static_cast<const aCColumn*>(static_cast<Object*>(cols[i + 1]));
            if (snap[i].column != c || snap[i].type != c->type || snap[i].size != c->size ||
                snap[i].phys != c->physIndex) {
                valid = false;
                break;
            }
        }
    }
    if (valid)
        return l;
    const VLong oldTotal3 = l.built ? l.total3 : -1;
    if (l.built)
        *m_previous = l;
    l.built = false;
    l.dirty = false;
    l.snap.assign(std::size_t(n), aCDataSetLayoutData::Snap{});
    l.order.assign(std::size_t(n), 0);
    l.off3.assign(std::size_t(n), 0);
    l.size3.assign(std::size_t(n), 0);
    l.off4.assign(std::size_t(n), 0);
    l.size4.assign(std::size_t(n), 0);
    for (VLong i = 0; i < n; ++i) {
        const aCColumn* c = static_cast<aCColumn*>(m_columns->GetAt(i + 1));
        l.snap[std::size_t(i)] = {c->type, c->size, c->physIndex, c};
        if (!m_permuted) {
            l.order[std::size_t(i)] = i + 1;
        } else {
            const VLong p = c->physIndex;
            if (p < 1 || p > n || l.order[std::size_t(p - 1)] != 0)
                Fail(apsFailSlotWalk, true); // a column without a physical index
            l.order[std::size_t(p - 1)] = i + 1;
        }
        // Sizes of kinds 3 and 4 never depend on the current row.
        l.size3[std::size_t(i)] = GetColSize(c, szDataTiled);
        l.size4[std::size_t(i)] = GetColSize(c, szData);
    }
    VLong o3 = 0, o4 = 0;
    for (VLong k = 0; k < n; ++k) {
        const std::size_t i = std::size_t(l.order[std::size_t(k)] - 1);
        l.off3[i] = o3;
        l.off4[i] = o4;
        o3 += l.size3[i];
        o4 += l.size4[i];
    }
    l.total3 = o3;
    l.total4 = o4;
    l.nullFlags = m_nullFlags;
    l.permuted = m_permuted;
    l.stampGeneration = m_stampGen;
    l.built = true;
    // Buffers sized by the old image are made again.
    if (oldTotal3 >= 0 && (oldTotal3 != l.total3 || l.off3 != m_previous->off3)) {
        m_previousValid = true;
        OnImageSizeChanged(oldTotal3, l.total3);
        m_previousValid = false;
    }
    if (oldTotal3 != l.total3) {
        std::free(m_workRow);
        std::free(m_rawRow);
        m_workRow = m_rawRow = nullptr;
        m_workSize = 0;
        if (m_cash)
            SetCash(m_entryCount);
    }
    return l;
}

VLong aCDataSet::GetDataSize(int kind)
{
    if (kind == szDataTiled || kind == szData) {
        const Layout& l = GetLayout();
        return kind == szDataTiled ? l.total3 : l.total4;
    }
    VLong s = 0;
    for (VLong i = 1; i <= GetColCount(); ++i)
        s += GetColSize(i, kind);
    return s;
}

VLong aCDataSet::GetNextColInRow(VLong k)
{
    const Layout& l = GetLayout();
    return k >= 0 && k < VLong(l.order.size()) ? l.order[std::size_t(k)] : 0;
}

VLong aCDataSet::GetColOffset(VLong col, int kind)
{
    if (col < 1 || col > GetColCount())
        return 0;
    const Layout& l = GetLayout();
    if (kind == szDataTiled)
        return l.off3[std::size_t(col - 1)];
    if (kind == szData)
        return l.off4[std::size_t(col - 1)];
    VLong off = 0;
    for (VLong k = 0; k < VLong(l.order.size()); ++k) {
        const VLong c = l.order[std::size_t(k)];
        if (c == col)
            break;
        off += GetColSize(c, kind);
    }
    return off;
}

unsigned char* aCDataSet::SlotOf(void* image, VLong col)
{
    if (!image || col < 1 || col > GetColCount())
        return nullptr;
    return static_cast<unsigned char*>(image) + GetLayout().off3[std::size_t(col - 1)];
}

unsigned char* aCDataSet::WorkRow(bool raw)
{
    const VLong need = std::max<VLong>(1, GetDataSize(szDataTiled));
    if (m_workSize < need) {
        std::free(m_workRow);
        std::free(m_rawRow);
        m_workRow = static_cast<unsigned char*>(std::calloc(std::size_t(need), 1));
        m_rawRow = static_cast<unsigned char*>(std::calloc(std::size_t(need), 1));
        if (!m_workRow || !m_rawRow)
            throw std::bad_alloc();
        m_workSize = need;
    }
    return raw ? m_rawRow : m_workRow;
}

VLong aCDataSet::TextBufferSize(VLong col) { return std::max<VLong>(51, GetColSize(col, szText)); }

void* aCDataSet::AllocData(VLong col, VLong* length, int kind)
{
    VLong len = GetColSize(col, kind);
    if (len < 50)
        len = 51;
    if (kind == szTextTiled || kind == szText)
        len *= 2;
    if (length)
        *length = len;
    // Room for the nulled slot too, whatever the kind asked.
    const VLong room = std::max({len, GetColSize(col, szDataTiled), GetColSize(col, szRealDataTiled)});
    void* p = std::calloc(std::size_t(room), 1);
    if (!p)
        throw std::bad_alloc();
    return p;
}

void* aCDataSet::AllocData(VLong col, int kind) { return AllocData(col, nullptr, kind); }

void aCDataSet::OnImageSizeChanged(VLong oldSize, VLong newSize)
{
    if (m_virtualBuf)
        m_virtualBuf = RelayImage(m_virtualBuf);
}

unsigned char* aCDataSet::RelayImage(unsigned char* image, bool release)
{
    const Layout& now = *m_layout;
    unsigned char* fresh =
        static_cast<unsigned char*>(std::calloc(std::size_t(std::max<VLong>(1, now.total3)), 1));
    if (!fresh)
        throw std::bad_alloc();
    if (m_previousValid && image) {
        const Layout& was = *m_previous;
        for (std::size_t i = 0; i < now.snap.size(); ++i)
            for (std::size_t j = 0; j < was.snap.size(); ++j) {
                if (was.snap[j].column != now.snap[i].column)
                    continue;
                // The value's bytes, then the tile when both images have one.
                const VLong n = std::min(was.size4[j], now.size4[i]);
                std::memcpy(fresh + now.off3[i], image + was.off3[j], std::size_t(n));
                if (was.nullFlags && now.nullFlags)
                    fresh[now.off3[i] + now.size3[i] - 1] = image[was.off3[j] + was.size3[j] - 1];
            }
    }
    if (release)
        std::free(image);
    return fresh;
}

// ---------------------------------------------------------------- records

VLong aCDataSet::GetColCount() { return m_columns->GetSize() - 1; }

aCColumn* aCDataSet::GetColInfo(VLong col)
{
    if (col < 0 || col > GetColCount())
        Fail(apsFailColumn, true);
    return static_cast<aCColumn*>(m_columns->GetAt(col));
}

aCColumn* aCDataSet::GetColumn(VLong col) { return GetColInfo(col); }

aCRow* aCDataSet::GetRowInfo(VLong row)
{
    if (row < 0 || row > GetRowCount())
        Fail(apsFailRow, true);
    aCRow* r = static_cast<aCRow*>(m_rows->GetAt(row));
    return r ? r : static_cast<aCRow*>(m_rows->GetAt(0));
}

VLong aCDataSet::GetCellIndex(VLong col, VLong row) { return (row - 1) * GetColCount() + col - 1; }

aCCellInfo* aCDataSet::GetCellInfo(VLong col, VLong row)
{
    const VLong n = GetColCount();
    if (col < 1 || col > n || row < 1 || GetCellIndex(col, row) >= GetRowCount() * n)
        Fail(apsFailCell, true);
    return static_cast<aCCellInfo*>(m_cells->GetAt(GetCellIndex(col, row)));
}

void aCDataSet::SetColInfo(VLong col, aCColumn* column)
{
    if (col < 0 || col > GetColCount())
        Fail(apsFailColumn, true);
    if (!column)
        return;
    aCColumn* old = static_cast<aCColumn*>(m_columns->GetAt(col));
    if (old == column)
        return;
    column->physIndex = old->physIndex;
    m_columns->SetAt(col, column);
    delete old;
}

void aCDataSet::SetRowInfo(VLong row, aCRow* info)
{
    if (row < 0 || row > GetRowCount())
        Fail(apsFailRow, true);
    if (!info)
        return;
    aCRow* old = static_cast<aCRow*>(m_rows->GetAt(row));
    if (old == info)
        return;
    m_rows->SetAtGrow(row, info);
    delete old;
}

void aCDataSet::SetCellInfo(VLong col, VLong row, aCCellInfo* info)
{
    GetCellInfo(col, row); // checks the address
    const VLong i = GetCellIndex(col, row);
    aCCellInfo* old = static_cast<aCCellInfo*>(m_cells->GetAt(i));
    if (old == info)
        return;
    m_cells->SetAtGrow(i, info);
    delete old;
}

VLong aCDataSet::AddColDef(aCColumn* column)
{
    if (!column)
        return 0;
    column->physIndex = m_columns->GetSize();
    if (column->format.IsEmpty())
        column->format = GetDefTypeFormat(column->type);
    const VLong oldCount = GetColCount();
    if (m_cells->GetSize() > 0 && oldCount > 0) {
        std::vector<VLong> map(static_cast<std::size_t>(oldCount));
        for (VLong i = 0; i < oldCount; ++i)
            map[std::size_t(i)] = i + 1;
        m_columns->Add(column);
        RelayCells(oldCount, oldCount + 1, map.data());
    } else {
        m_columns->Add(column);
    }
    InvalidateLayout();
    return GetColCount();
}

aCRow* aCDataSet::AddRowDef(VLong row, aCRow* info)
{
    if (row < 0 || row > GetRowCount())
        Fail(apsFailRow, true);
    aCRow* r = static_cast<aCRow*>(m_rows->GetAt(row));
    if (info && info != r) {
        SetRowInfo(row, info);
        return info;
    }
    if (!r) {
        r = new aCRow;
        m_rows->SetAtGrow(row, r);
    }
    return r;
}

aCCellInfo* aCDataSet::AddCellDef(VLong col, VLong row)
{
    aCCellInfo* c = GetCellInfo(col, row);
    if (!c) {
        c = new aCCellInfo(GetColInfo(col));
        m_cells->SetAtGrow(GetCellIndex(col, row), c);
    }
    return c;
}

void aCDataSet::DeleteCellDef(VLong col, VLong row)
{
    if (!GetCellInfo(col, row))
        return;
    const VLong i = GetCellIndex(col, row);
    delete m_cells->GetAt(i);
    m_cells->SetAt(i, nullptr);
}

void aCDataSet::RelayCells(VLong oldCount, VLong newCount, const VLong* map)
{
    if (m_cells->GetSize() == 0 || oldCount <= 0)
        return;
    const VLong rows = (m_cells->GetSize() + oldCount - 1) / oldCount;
    aCObjectArray* fresh = new aCObjectArray;
    for (VLong r = 0; r < rows; ++r)
        for (VLong c = 0; c < oldCount; ++c) {
            Object* e = m_cells->GetAt(r * oldCount + c);
            if (!e)
                continue;
            if (map[c] >= 1 && map[c] <= newCount)
                fresh->SetAtGrow(r * newCount + map[c] - 1, e);
            else
                delete e;
        }
    m_cells->SetSize(0);
    delete m_cells;
    m_cells = fresh;
}

void aCDataSet::DeleteColDef(VLong col)
{
    const VLong n = GetColCount();
    if (col < 1 || col > n)
        Fail(apsFailColumn, true);
    std::vector<VLong> map(static_cast<std::size_t>(n));
    for (VLong i = 1; i <= n; ++i)
        map[std::size_t(i - 1)] = i < col ? i : i == col ? 0 : i - 1;
    aCColumn* dead = static_cast<aCColumn*>(m_columns->GetAt(col));
    m_columns->RemoveAt(col);
    RelayCells(n, n - 1, map.data());
    for (VLong i = 1; i <= GetColCount(); ++i) {
        aCColumn* c = static_cast<aCColumn*>(m_columns->GetAt(i));
        if (c->physIndex > dead->physIndex)
            --c->physIndex;
    }
    if (GetColCount() == 0)
        m_permuted = false;
    InvalidateLayout();
    GetLayout(); // laid out again while the dead column's address cannot be reused
    delete dead;
}

void aCDataSet::DeleteRowDef(VLong row)
{
    if (row < 1 || row > GetRowCount())
        Fail(apsFailRow, true);
    aCRow* r = static_cast<aCRow*>(m_rows->GetAt(row));
    if (r) {
        m_rows->SetAt(row, nullptr);
        delete r;
    }
}

VLong aCDataSet::GetCellDefCount()
{
    VLong n = 0;
    for (VLong i = 0; i < m_cells->GetSize(); ++i)
        n += m_cells->GetAt(i) != nullptr;
    return n;
}

VLong aCDataSet::GetRowDefCount()
{
    VLong n = 0;
    for (VLong i = 1; i < m_rows->GetSize(); ++i)
        n += m_rows->GetAt(i) != nullptr;
    return n;
}

void aCDataSet::DeleteAllColumn()
{
    DeleteVirtualRow();
    DeleteAllElements(m_cells, 0);
    DeleteAllElements(m_columns, 1);
    m_permuted = false;
    InvalidateLayout();
    ClearCash();
}

void aCDataSet::DeleteAllRow()
{
    DeleteVirtualRow();
    DeleteAllElements(m_cells, 0);
    DeleteAllElements(m_rows, 1);
    if (m_countByCounter)
        m_rowCount = 0;
    ClearCash();
    m_curRow = m_physRow = 1;
}

void aCDataSet::ShiftRowDefs(VLong at, bool insert)
{
    if (at < 1 || at >= m_rows->GetSize())
        return;
    if (insert) {
        m_rows->InsertAt(at, nullptr);
    } else {
        delete m_rows->GetAt(at);
        m_rows->RemoveAt(at);
    }
}

void aCDataSet::ShiftCellsForRow(VLong at, bool insert)
{
    const VLong n = GetColCount();
    if (n <= 0 || at < 1)
        return;
    const VLong first = (at - 1) * n;
    if (first >= m_cells->GetSize())
        return;
    if (insert) {
        m_cells->InsertAt(first, nullptr, n);
    } else {
        for (VLong i = first; i < first + n && i < m_cells->GetSize(); ++i)
            delete m_cells->GetAt(i);
        m_cells->RemoveAt(first, n);
    }
}

bool aCDataSet::SwapCol(VLong a, VLong b)
{
    const VLong n = GetColCount();
    if (a < 1 || a > n || b < 1 || b > n)
        return false;
    if (a == b)
        return true;
    Object* ca = m_columns->GetAt(a);
    m_columns->SetAt(a, m_columns->GetAt(b));
    m_columns->SetAt(b, ca);
    if (m_cells->GetSize() > 0) {
        std::vector<VLong> map(static_cast<std::size_t>(n));
        for (VLong i = 1; i <= n; ++i)
            map[std::size_t(i - 1)] = i == a ? b : i == b ? a : i;
        RelayCells(n, n, map.data());
    }
    m_permuted = true;
    InvalidateLayout();
    return true;
}

bool aCDataSet::SwapRow(VLong a, VLong b)
{
    const VLong count = GetRowCount(), n = GetColCount();
    if (a < 1 || a > count || b < 1 || b > count)
        return false;
    if (a == b)
        return true;
    const VLong hi = std::max(a, b);
    if (m_rows->GetSize() > std::min(a, b)) {
        if (m_rows->GetSize() <= hi)
            m_rows->SetSize(hi + 1);
        Object* ra = m_rows->GetAt(a);
        m_rows->SetAt(a, m_rows->GetAt(b));
        m_rows->SetAt(b, ra);
    }
    if (n > 0 && m_cells->GetSize() > (std::min(a, b) - 1) * n) {
        if (m_cells->GetSize() < hi * n)
            m_cells->SetSize(hi * n);
        for (VLong c = 1; c <= n; ++c) {
            const VLong ia = GetCellIndex(c, a), ib = GetCellIndex(c, b);
            Object* e = m_cells->GetAt(ia);
            m_cells->SetAt(ia, m_cells->GetAt(ib));
            m_cells->SetAt(ib, e);
        }
    }
    return true;
}

// ---------------------------------------------------------------- attributes

VULong aCDataSet::GetColState(VLong col) { return GetColInfo(col)->state; }
bool aCDataSet::SetColState(VLong col, VULong state)
{
    GetColInfo(col)->state = state;
    return true;
}
short aCDataSet::GetColDisplaySize(VLong col) { return GetColInfo(col)->displaySize; }
bool aCDataSet::SetColDisplaySize(VLong col, short size)
{
    aCColumn* c = GetColInfo(col);
    if (size <= c->minDisplaySize)
        return false;
    c->displaySize = size;
    return true;
}
bool aCDataSet::SetRowDisplaySize(VLong row, short size)
{
    if (size <= GetRowInfo(row)->minDisplaySize)
        return false;
    AddRowDef(row)->displaySize = size;
    return true;
}
VULong aCDataSet::GetRowState(VLong row) { return GetRowInfo(row)->state; }
short aCDataSet::GetRowDisplaySize(VLong row) { return GetRowInfo(row)->displaySize; }
bool aCDataSet::SetRowState(VLong row, VULong state)
{
    AddRowDef(row)->state = state;
    return true;
}
const Font& aCDataSet::GetHeaderFont(VLong col) { return GetColInfo(col)->headerFont; }
void aCDataSet::SetHeaderFont(VLong col, const Font& font) { GetColInfo(col)->headerFont = font; }
const Font& aCDataSet::GetCellFont(VLong col, VLong row)
{
    if (row >= 1 && col >= 1)
        if (aCCellInfo* ci = GetCellInfo(col, row))
            return ci->font;
    return GetColInfo(col)->cellFont;
}
void aCDataSet::SetCellFont(VLong col, const Font& font) { GetColInfo(col)->cellFont = font; }
VULong aCDataSet::GetHeaderTextFormat(VLong col) { return GetColInfo(col)->headerTextFormat; }
VULong aCDataSet::GetCellTextFormat(VLong col, VLong row)
{
    if (row >= 1 && col >= 1)
        if (aCCellInfo* ci = GetCellInfo(col, row))
            return ci->cellTextFormat;
    return GetColInfo(col)->cellTextFormat;
}
void aCDataSet::SetHeaderTextFormat(VLong col, VULong f) { GetColInfo(col)->headerTextFormat = f; }
void aCDataSet::SetCellTextFormat(VLong col, VULong f) { GetColInfo(col)->cellTextFormat = f; }

VLong aCDataSet::GetColNum(const WChar* name, bool byHeader)
{
    if (!name)
        return 0;
    // Columns 1 to count - 1: the last column is left out of the scan on purpose.
    for (VLong i = 1; i < GetColCount(); ++i) {
        const aCColumn* c = static_cast<aCColumn*>(m_columns->GetAt(i));
        if ((byHeader ? c->name : c->colName) == name)
            return i;
    }
    return 0;
}

void aCDataSet::SetNameLineBreak(VLong col, bool on)
{
    aCString& name = GetColInfo(col)->name;
    if (on) {
        for (int i = 0; i < name.GetLength(); ++i)
            if (name[i] == ' ')
                name.SetAt(i, WChar('\n'));
    } else {
        const WChar lf[] = {'\n', 0}, none[] = {0};
        name.Replace(lf, none);
    }
}

void aCDataSet::SetAllNameLineBreak(bool on)
{
    for (VLong i = 1; i <= GetColCount(); ++i)
        SetNameLineBreak(i, on);
}

const WChar* aCDataSet::GetColName(VLong col) { return GetColInfo(col)->name; }
const WChar* aCDataSet::GetRowName(VLong row) { return GetRowInfo(row)->name; }
void aCDataSet::SetColName(VLong col, const WChar* name) { GetColInfo(col)->name = name; }
void aCDataSet::SetRowName(VLong row, const WChar* name) { AddRowDef(row)->name = name; }
void aCDataSet::SetCellItem(VLong col, VLong row, void* item) { AddCellDef(col, row)->userItem = item; }
void aCDataSet::SetColItem(VLong col, void* item) { GetColInfo(col)->userItem = item; }
void aCDataSet::SetRowItem(VLong row, void* item) { AddRowDef(row)->userItem = item; }

bool aCDataSet::IsUpdatable(VLong col)
{
    return col >= 0 && col <= GetColCount() && !(GetColInfo(col)->state & colNotUpdatable);
}

void aCDataSet::SetUpdatable(VLong col, bool on)
{
    aCColumn* c = GetColInfo(col);
    c->state = on ? (c->state & ~VULong(colNotUpdatable)) : (c->state | colNotUpdatable);
}

// ---------------------------------------------------------------- stamps, null and empty

bool aCDataSet::SetStampString(int mask, const WChar* text)
{
    if (!(mask & 63) || (text && wstrlen(text) >= 51))
        return false;
    for (int i = 0; i < 6; ++i)
        if (mask & (1 << i))
            m_stamps[i] = text ? text : kEmptyText;
    ++m_stampGen;
    return true;
}

bool aCDataSet::GetStampString(int bit, WChar* buffer, int size)
{
    if (!buffer || size <= 0)
        return false;
    for (int i = 0; i < 6; ++i)
        if (bit == (1 << i)) {
            wstrlcpy(buffer, m_stamps[i], size);
            return true;
        }
    buffer[0] = 0;
    return false;
}

void aCDataSet::SetNullFlags(bool on)
{
    if (on == m_nullFlags)
        return;
    m_nullFlags = on;
    InvalidateLayout();
}

bool aCDataSet::IsDataNull(VLong col, const void* slot)
{
    if (!m_nullFlags || !slot || !GoodCol(col))
        return false;
    return static_cast<const unsigned char*>(slot)[GetColSize(col, szDataTiled) - 1] & apsTileNull;
}

bool aCDataSet::IsDataEmpty(VLong col, const void* slot)
{
    if (!m_nullFlags || !slot || !GoodCol(col))
        return false;
    return static_cast<const unsigned char*>(slot)[GetColSize(col, szDataTiled) - 1] & apsTileEmpty;
}

// With null flags off a slot has no tile: the three writers then do nothing.
void aCDataSet::ClearTile(VLong col, void* slot)
{
    if (m_nullFlags && slot && GoodCol(col))
        static_cast<unsigned char*>(slot)[GetColSize(col, szDataTiled) - 1] = 0;
}

void aCDataSet::SetDataToNull(VLong col, void* slot)
{
    if (m_nullFlags && slot && GoodCol(col))
        static_cast<unsigned char*>(slot)[GetColSize(col, szDataTiled) - 1] = apsTileNull;
}

void aCDataSet::SetDataToEmpty(VLong col, void* slot)
{
    if (m_nullFlags && slot && GoodCol(col))
        static_cast<unsigned char*>(slot)[GetColSize(col, szDataTiled) - 1] = apsTileEmpty;
}

bool aCDataSet::IsTextNull(VLong col, const WChar* text)
{
    return m_nullFlags && m_textStamps && text && GoodCol(col) && wstrcmp(text, StampOf(col, false)) == 0;
}

bool aCDataSet::IsTextEmpty(VLong col, const WChar* text)
{
    if (!m_nullFlags || !m_textStamps || !text || !GoodCol(col))
        return false;
    if (wstrcmp(text, StampOf(col, true)) == 0)
        return true;
    const int type = GetColInfo(col)->type;
    return !*text && (IsNumberType(type) || type == apsDate);
}

void aCDataSet::SetTextToNull(VLong col, WChar* buffer, int size)
{
    if (buffer && size > 0)
        wstrlcpy(buffer, StampOf(col, false), size);
}

void aCDataSet::SetTextToEmpty(VLong col, WChar* buffer, int size)
{
    if (buffer && size > 0)
        wstrlcpy(buffer, StampOf(col, true), size);
}

void aCDataSet::DissolveNullFlag(const void* raw, void* nulled)
{
    if (!raw || !nulled)
        return;
    const Layout& l = GetLayout();
    if (!m_nullFlags) {
        std::memmove(nulled, raw, std::size_t(l.total4));
        return;
    }
    const unsigned char* in = static_cast<const unsigned char*>(raw);
    unsigned char* out = static_cast<unsigned char*>(nulled);
    for (std::size_t i = 0; i < l.order.size(); ++i) {
        const VLong col = VLong(i + 1);
        unsigned char* slot = out + l.off3[i];
        const unsigned char* rawSlot = in + l.off4[i];
        std::memset(slot, 0, std::size_t(l.size3[i]));
        std::memcpy(slot, rawSlot, std::size_t(l.size4[i]));
        unsigned char tile = 0;
        if (IsColumnNull(col, rawSlot))
            tile |= apsTileNull;
        if (IsColumnEmpty(col, rawSlot))
            tile |= apsTileEmpty;
        slot[l.size3[i] - 1] = tile;
    }
}

void aCDataSet::SublimateNullFlag(void* raw, const void* nulled)
{
    if (!raw || !nulled)
        return;
    const Layout& l = GetLayout();
    if (!m_nullFlags) {
        std::memmove(raw, nulled, std::size_t(l.total4));
        return;
    }
    const unsigned char* in = static_cast<const unsigned char*>(nulled);
    unsigned char* out = static_cast<unsigned char*>(raw);
    for (std::size_t i = 0; i < l.order.size(); ++i) {
        const VLong col = VLong(i + 1);
        const unsigned char* slot = in + l.off3[i];
        unsigned char* rawSlot = out + l.off4[i];
        std::memcpy(rawSlot, slot, std::size_t(l.size4[i]));
        const unsigned char tile = slot[l.size3[i] - 1];
        if (tile & apsTileNull)
            WriteNullMark(col, rawSlot);
        if (tile & apsTileEmpty)
            WriteEmptyMark(col, rawSlot);
    }
}

int aCDataSet::ToNull(VLong col)
{
    if (!m_nullFlags || !GoodCol(col))
        return 0;
    HeapBuffer buf(static_cast<unsigned char*>(AllocData(col, szDataTiled)));
    GetNulledColData(col, buf.get());
    SetDataToNull(col, buf.get());
    return SetNulledColData(col, buf.get());
}

int aCDataSet::ToEmpty(VLong col)
{
    if (!m_nullFlags || !GoodCol(col))
        return 0;
    HeapBuffer buf(static_cast<unsigned char*>(AllocData(col, szDataTiled)));
    GetNulledColData(col, buf.get());
    SetDataToEmpty(col, buf.get());
    return SetNulledColData(col, buf.get());
}

bool aCDataSet::IsNull(VLong col) { return m_nullFlags && IsDataNull(col, GetNulledColData(col)); }
bool aCDataSet::IsEmpty(VLong col) { return m_nullFlags && IsDataEmpty(col, GetNulledColData(col)); }

// ---------------------------------------------------------------- invariants

int aCDataSet::checkInvariants()
{
    if (!m_columns->GetAt(0) || !m_rows->GetAt(0))
        return 1;
    for (VLong i = 1; i <= GetColCount(); ++i)
        if (!m_columns->GetAt(i))
            return 1;
    if (m_permuted) {
        std::vector<bool> seen(std::size_t(GetColCount() + 1), false);
        for (VLong i = 1; i <= GetColCount(); ++i) {
            const VLong p = static_cast<aCColumn*>(m_columns->GetAt(i))->physIndex;
            if (p < 1 || p > GetColCount() || seen[std::size_t(p)])
                return 2;
            seen[std::size_t(p)] = true;
        }
    }
    if ((m_virtualRow != 0) != (m_virtualBuf != nullptr) || m_virtualRow < 0 ||
        m_virtualRow > GetRowCount())
        return 3;
    for (VLong e = 1; e <= m_entryCount; ++e) {
        const TCashEntryHeader* h = GetEntryHeader(e);
        if (h->row != 0 && ToEntry(h->row) != e)
            return 4;
    }
    return 0;
}

} // namespace VexAPI

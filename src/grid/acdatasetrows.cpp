// aCDataSet: the row cache, moves and the virtual row, reading and writing cells, and the
// text of cells.
#include <vexapi/grid/acdataset.h>

#include "datasetlayout.h"
#include "exceptionsoff.h"

#include <vexapi/core/wformat.h>
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

using detail::ExceptionsOff;

// ---------------------------------------------------------------- cache

bool aCDataSet::SetCash(VLong n)
{
    if (n < 0)
        return false;
    std::free(m_cash);
    m_cash = nullptr;
    m_entryCount = 0;
    if (n > 0) {
        const std::size_t bytes = std::size_t(n) * std::size_t(EntrySize());
        m_cash = static_cast<unsigned char*>(std::calloc(bytes ? bytes : 1, 1));
        if (!m_cash)
            throw std::bad_alloc();
        m_entryCount = n;
    }
    return true;
}

void aCDataSet::ClearCash()
{
    if (m_cash)
        std::memset(m_cash, 0, std::size_t(m_entryCount) * std::size_t(EntrySize()));
}

VLong aCDataSet::ToEntry(VLong row)
{
    if (row <= 0 || m_entryCount <= 0)
        return 0;
    return row % m_entryCount + 1;
}

TCashEntryHeader* aCDataSet::GetEntryHeader(VLong entry)
{
    if (!m_cash || entry < 1 || entry > m_entryCount)
        return nullptr;
    return reinterpret_cast<TCashEntryHeader*>(m_cash + std::size_t(entry - 1) * std::size_t(EntrySize()));
}

void* aCDataSet::GetEntry(VLong entry)
{
    TCashEntryHeader* h = GetEntryHeader(entry);
    return h ? reinterpret_cast<unsigned char*>(h) + sizeof(TCashEntryHeader) : nullptr;
}

void aCDataSet::SetEntryHeader(VLong entry, VLong status, VLong row)
{
    if (TCashEntryHeader* h = GetEntryHeader(entry)) {
        h->status = status;
        h->row = row;
    }
}

void aCDataSet::SetEntry(VLong entry, const void* image)
{
    void* e = GetEntry(entry);
    if (!e)
        return;
    if (image)
        std::memcpy(e, image, std::size_t(GetDataSize(szDataTiled)));
    else
        std::memset(e, 0, std::size_t(GetDataSize(szDataTiled)));
}

void aCDataSet::ClearEntry(VLong entry) { SetEntryHeader(entry, 0, 0); }

VLong aCDataSet::IsCashed(VLong row)
{
    const VLong e = ToEntry(row);
    const TCashEntryHeader* h = GetEntryHeader(e);
    return h && h->row == row ? e : 0;
}

int aCDataSet::WriteCash(VLong row, VLong count)
{
    ExceptionsOff off(this);
    int last = 0;
    for (VLong i = 0; i < count; ++i) {
        const VLong r = row + i;
        last = ToRow(ConvertDirection(i == 0 ? dirAbsolute : dirNext), r, false);
        const VLong e = ToEntry(r);
        if (!e)
            continue;
        SetEntry(e, last == 0 ? GetNulledData(0) : nullptr);
        SetEntryHeader(e, last, r);
    }
    return last ? 1 : 0;
}

bool aCDataSet::SetFullCash()
{
    VLong rows = GetRowCount() - (m_virtualRow ? 1 : 0);
    SetCash(std::max<VLong>(rows, 0));
    if (rows > 0)
        WriteCash(1, rows);
    return true;
}

const void* aCDataSet::ReadCash(VLong row, void* dest)
{
    if (row == 0 || !m_cash)
        return nullptr;
    VLong e = IsCashed(row);
    if (m_dataMode == 1 && m_entryCount < GetRowCount())
        SetFullCash(); // the entry found before is used after, as it stands
    if (!e) {
        WriteCash(row, 1);
        e = ToEntry(row);
    } else if (GetEntryHeader(e)->status != 0) {
        WriteCash(row, 1); // a row that failed is read again once
    }
    const TCashEntryHeader* h = GetEntryHeader(e);
    if (!h)
        return nullptr;
    m_lastError = h->status;
    const void* image = GetEntry(e);
    if (dest)
        std::memcpy(dest, image, std::size_t(GetDataSize(szDataTiled)));
    return image;
}

// ---------------------------------------------------------------- position

VLong aCDataSet::GetRowCount()
{
    if (m_countByCounter)
        return m_rowCount;
    if (m_dataMode == 2) {
        const VLong size = GetDataSize(szData);
        return size > 0 ? m_blockSize / size : 0;
    }
    return m_rows->GetSize() - 1 + (m_virtualRow ? 1 : 0);
}

int aCDataSet::CalcPosition(int direction, VLong row, VLong& logical, VLong& physical)
{
    const VLong count = GetRowCount();
    VLong target;
    switch (direction) {
    case dirNext:
    case dirPrev:
        target = m_curRow + (direction == dirNext ? 1 : -1);
        if (target > count || target < 1) {
            m_lastError = apsErrNoRow;
            Fail(apsFailMove);
            return 0;
        }
        break;
    case dirFirst:
        target = 1;
        break;
    case dirLast:
        target = count;
        break;
    case dirAbsolute:
        // Only a row both above the count and below 1 is refused here (never): a row past
        // the end is found out by ToRow. A row below 1 has no image at all and is refused.
        if (row > count && row < 1) {
            m_lastError = apsErrNoRow;
            return 0;
        }
        if (row < 1) {
            m_lastError = apsErrNoRow;
            return 0;
        }
        target = row;
        break;
    default:
        m_lastError = apsErrNoRow;
        return 0;
    }
    logical = target;
    physical = target;
    if (m_virtualRow) {
        if (target == m_virtualRow)
            return 2;
        if (target > m_virtualRow)
            physical = target - 1;
    }
    return 1;
}

int aCDataSet::MoveToRow(int direction, VLong row, bool useCache)
{
    m_lastError = 0;
    const VLong oldLogical = m_curRow, oldPhysical = m_physRow;
    if (GetRowCount() == 0 || GetColCount() == 0)
        return 0;
    VLong logical = m_curRow, physical = m_physRow;
    const int how = CalcPosition(direction, row, logical, physical);
    if (how == 0)
        return m_lastError;
    if (how == 2) {
        m_curRow = logical;
        m_physRow = physical;
        return 0;
    }
    if (!send(this, &aCDataSet::onPreMoving, logical, physical)) {
        send(this, &aCDataSet::onMoveRefused, logical, physical);
        return m_lastError;
    }
    int result;
    if (m_cash && useCache) {
        ReadCash(physical, nullptr);
        result = m_lastError;
    } else {
        result = ToRow(ConvertDirection(direction), physical, false);
        if (result && !m_lastError)
            m_lastError = result;
    }
    // A row that does not exist never becomes current; one that exists but failed to read
    // does (the view marks it).
    if (logical > GetRowCount()) {
        if (!m_lastError)
            m_lastError = apsErrNoRow;
        return m_lastError;
    }
    m_curRow = logical;
    m_physRow = physical;
    send(this, &aCDataSet::onPostMoving, oldLogical, oldPhysical);
    return result;
}

void aCDataSet::SyncPosition()
{
    const VLong count = GetRowCount();
    if (m_curRow > count)
        m_curRow = count;
    if (m_curRow < 1)
        m_curRow = 1;
    m_physRow = m_virtualRow && m_curRow > m_virtualRow ? m_curRow - 1 : m_curRow;
}

// ---------------------------------------------------------------- virtual row

int aCDataSet::SetVirtualRow(VLong at)
{
    if (m_virtualRow) {
        const int r = UnsetVirtualRow();
        if (r)
            return r;
    }
    if (GetColCount() == 0)
        return 0;
    const VLong count = GetRowCount();
    if (at == 0)
        at = count + 1;
    if (at < 1 || at > count + 1) {
        m_lastError = apsErrNoRow;
        return apsErrNoRow;
    }
    const VLong size = std::max<VLong>(1, GetDataSize(szDataTiled));
    unsigned char* buf = static_cast<unsigned char*>(std::calloc(std::size_t(size), 1));
    if (!buf)
        throw std::bad_alloc();
    m_virtualBuf = buf;
    m_virtualRow = at;
    for (VLong c = 1; c <= GetColCount(); ++c)
        SetDataToEmpty(c, SlotOf(buf, c));
    if (at < m_curRow)
        ++m_curRow;
    return 0;
}

int aCDataSet::UnsetVirtualRow()
{
    if (!m_virtualRow)
        return 0;
    unsigned char* buf = m_virtualBuf;
    const int r = AddRow(buf, m_virtualRow);
    if (r)
        return r;
    m_virtualBuf = nullptr; // the store has it now
    DeleteVirtualRow();
    return 0;
}

void aCDataSet::ReplaceVirtualBuffer(unsigned char* buffer)
{
    if (buffer == m_virtualBuf)
        return;
    std::free(m_virtualBuf);
    m_virtualBuf = buffer;
}

void aCDataSet::DeleteVirtualRow()
{
    if (!m_virtualRow)
        return;
    std::free(m_virtualBuf);
    m_virtualBuf = nullptr;
    const VLong v = m_virtualRow;
    m_virtualRow = 0;
    if (m_curRow > v)
        --m_curRow;
    SyncPosition();
}

// ---------------------------------------------------------------- row images

void* aCDataSet::GetData(bool useCache)
{
    GetLayout(); // a change of layout moves the images: before any pointer into one is taken
    if (GetRowCount() == 0 || GetColCount() == 0)
        return nullptr;
    if (m_virtualRow && m_curRow == m_virtualRow)
        return m_virtualBuf;
    if (useCache && m_cash)
        return const_cast<void*>(ReadCash(m_physRow, nullptr));
    return GetNulledData(0);
}

void* aCDataSet::GetNulledData(int form)
{
    if (form == 2 || (form == 0 && !m_nullFlags))
        return GetRowData();
    const void* raw = GetRowData();
    if (!raw)
        return nullptr;
    unsigned char* w = WorkRow(false);
    DissolveNullFlag(raw, w);
    return w;
}

int aCDataSet::SetNulledData(const void* image, int form)
{
    if (!image)
        return 0;
    if (form == 2 || (form == 0 && !m_nullFlags))
        return SetRowData(image);
    unsigned char* raw = WorkRow(true);
    SublimateNullFlag(raw, image);
    return SetRowData(raw);
}

int aCDataSet::SetData(void* image)
{
    if (!image)
        return 0;
    if (m_virtualRow && m_curRow == m_virtualRow) {
        // The image is copied into the virtual buffer rather than taken: a caller's buffer
        // may live anywhere, and the old buffer would otherwise be lost.
        if (image != m_virtualBuf)
            std::memcpy(m_virtualBuf, image, std::size_t(GetDataSize(szDataTiled)));
        return 0;
    }
    const int r = SetNulledData(image, 0);
    if (m_cash && IsCashed(m_physRow))
        WriteCash(m_physRow, 1);
    return r;
}

// ---------------------------------------------------------------- row changes (base)

int aCDataSet::AddRow(void* data, VLong at)
{
    if (!data && at == 0 && !m_noVirtualOnAdd)
        return SetVirtualRow(GetRowCount() + 1);
    std::free(data); // the base keeps no rows
    if (m_countByCounter)
        ++m_rowCount;
    return 0;
}

int aCDataSet::DeleteRow(VLong at)
{
    if (at == 0)
        at = m_curRow;
    if (m_virtualRow && at == m_virtualRow) {
        DeleteVirtualRow();
        return 0;
    }
    if (at < 1 || at > GetRowCount()) {
        m_lastError = apsErrNoRow;
        return apsErrNoRow;
    }
    ShiftRowDefs(at, false);
    ShiftCellsForRow(at, false);
    if (m_countByCounter && m_rowCount > 0)
        --m_rowCount;
    ClearCash();
    SyncPosition();
    return 0;
}

int aCDataSet::InsertColumn(aCColumn* column, VLong at)
{
    if (!column)
        return 1;
    const VLong n = GetColCount();
    if (at == 0 || at == n + 1) {
        AddColDef(column);
        return 0;
    }
    if (at < 1 || at > n) {
        Fail(apsFailColumn, true);
        return 1;
    }
    // In the column order at `at`; in the slot order where its physical index puts it.
    column->physIndex = m_permuted ? n + 1 : at;
    if (!m_permuted)
        for (VLong i = 1; i <= n; ++i) {
            aCColumn* c = static_cast<aCColumn*>(m_columns->GetAt(i));
            if (c->physIndex >= at)
                ++c->physIndex;
        }
    if (column->format.IsEmpty())
        column->format = GetDefTypeFormat(column->type);
    std::vector<VLong> map(static_cast<std::size_t>(n));
    for (VLong i = 1; i <= n; ++i)
        map[std::size_t(i - 1)] = i < at ? i : i + 1;
    m_columns->InsertAt(at, column);
    RelayCells(n, n + 1, map.data());
    InvalidateLayout();
    return 0;
}

int aCDataSet::DeleteColumn(VLong at)
{
    if (at < 1 || at > GetColCount()) {
        Fail(apsFailColumn, true);
        return 1;
    }
    DeleteColDef(at);
    return 0;
}

bool aCDataSet::GetLastErrorText(WChar* buffer, int size)
{
    if (buffer && size > 0)
        buffer[0] = 0;
    return false;
}

// ---------------------------------------------------------------- column access

const void* aCDataSet::GetFilter(VLong col, const void* slot)
{
    return m_owner ? m_owner->GetFilter(col, slot) : slot;
}

const void* aCDataSet::SetFilter(VLong col, const void* value)
{
    return m_owner ? m_owner->SetFilter(col, value) : value;
}

const void* aCDataSet::GetNulledColData(VLong col, void* dest)
{
    if (!GoodCol(col))
        return nullptr;
    unsigned char* data = static_cast<unsigned char*>(GetData(true));
    if (!data)
        return nullptr;
    // GetData has just checked the layout: its offsets stand for this image.
    const Layout& l = *m_layout;
    const void* slot = data + l.off3[std::size_t(col - 1)];
    if (m_filter)
        slot = GetFilter(col, slot);
    if (dest && slot) {
        // The real size of a text pointer's value is its text, not its slot: never copy
        // more than the slot.
        std::memcpy(dest, slot, std::size_t(l.size3[std::size_t(col - 1)]));
    }
    return slot;
}

const void* aCDataSet::GetColData(VLong col, void* dest)
{
    const void* slot = GetNulledColData(col);
    if (slot && dest)
        std::memcpy(dest, slot, std::size_t(GetColSize(col, szData)));
    return slot;
}

int aCDataSet::IntoCol(VLong col, const void* value)
{
    if (!GoodCol(col) || !value)
        return 0;
    const VLong n = GetColSize(col, szDataTiled);
    if (m_virtualRow && m_curRow == m_virtualRow) {
        std::memmove(SlotOf(m_virtualBuf, col), value, std::size_t(n));
        return 0;
    }
    unsigned char* image = static_cast<unsigned char*>(GetNulledData(1));
    if (!image)
        return 1;
    std::memmove(SlotOf(image, col), value, std::size_t(n));
    return SetData(image);
}

int aCDataSet::SetNulledColData(VLong col, const void* value)
{
    if (GetRowCount() == 0 || GetColCount() == 0)
        return 0;
    if (!GoodCol(col) || !value)
        return 0;
    if (!IsUpdatable(col))
        return 1;
    if (!IsValid(col, value)) {
        m_lastError = apsErrInvalidData;
        Fail(apsFailInvalidData);
        return 1;
    }
    if (m_filter)
        value = SetFilter(col, value);
    if (!(m_virtualRow && m_curRow == m_virtualRow) && m_cash) {
        int err;
        {
            ExceptionsOff off(this);
            err = ToRow(ConvertDirection(dirAbsolute), m_physRow, false);
        }
        if (err) {
            if (const VLong e = IsCashed(m_physRow)) {
                ClearEntry(e);
                SetEntryHeader(e, err, m_physRow);
            }
            m_lastError = err;
            return 1;
        }
    }
    return IntoCol(col, value);
}

int aCDataSet::SetColData(VLong col, const void* value)
{
    if (!GoodCol(col) || !value)
        return 0;
    HeapBuffer buf(static_cast<unsigned char*>(AllocData(col, szDataTiled)));
    std::memcpy(buf.get(), value, std::size_t(GetColSize(col, szData)));
    return SetNulledColData(col, buf.get());
}

bool aCDataSet::IsValid(VLong col, const void* value)
{
    if (!m_validate || !GoodCol(col))
        return true;
    return GetColInfo(col)->IsValid(value);
}

bool aCDataSet::IsTextValid(VLong col, const WChar* text)
{
    if (!m_validate || !GoodCol(col))
        return true;
    return GetColInfo(col)->IsTextValid(text);
}

void aCDataSet::SetCurrentBlobSize(VLong col, VULong size)
{
    if (GoodCol(col))
        GetColInfo(col)->blobSize = size;
}

VULong aCDataSet::GetBlobSize(VLong col) { return GoodCol(col) ? GetColInfo(col)->blobSize : 0; }

// ---------------------------------------------------------------- text

void aCDataSet::ApplyClip(WChar* buffer, int length)
{
    if (!buffer || m_spaceClip == 0)
        return;
    if (m_spaceClip == 1 || m_spaceClip == 3) {
        int n = length >= 0 ? length : wstrlen(buffer);
        while (n > 0 && wisspace(buffer[n - 1]))
            --n;
        buffer[n] = 0;
    }
    if (m_spaceClip == 1 || m_spaceClip == 2) {
        int s = 0;
        while (buffer[s] && wisspace(buffer[s]))
            ++s;
        if (s)
            std::memmove(buffer, buffer + s, std::size_t(wstrlen(buffer + s) + 1) * sizeof(WChar));
    }
}

int aCDataSet::DataToText(const aCColumn* column, WChar* buffer, const void* data, int size)
{
    const int n = VexAPI::DataToText(column, buffer, data, size);
    if (n >= 0)
        ApplyClip(buffer, n);
    return n;
}

int aCDataSet::TextToData(const aCColumn* column, void* data, const WChar* text, int size)
{
    return VexAPI::TextToData(column, data, text, size);
}

void aCDataSet::GetColDataAsText(VLong col, WChar* buffer)
{
    GetColDataAsText(col, buffer, GoodCol(col) ? int(TextBufferSize(col)) : 1);
}

void aCDataSet::GetColDataAsText(VLong col, WChar* buffer, int size)
{
    if (!buffer || size <= 0)
        return;
    buffer[0] = 0;
    if (GetRowCount() == 0 || GetColCount() == 0 || !GoodCol(col))
        return;
    aCColumn* c = GetColInfo(col);
    const bool comboSet = m_owner && m_owner->IsComboSetCol(col);
    if (comboSet || c->type == apsBlob) {
        VLong type = 0, length = 0;
        if (comboSet) {
            const bool onVirtual = m_virtualRow && m_curRow == m_virtualRow;
            m_owner->GetComboSetInfo(col, onVirtual ? 0 : m_curRow, type, length);
        } else {
            type = GetBlobType(col);
            length = VLong(GetBlobSize(col));
        }
        wsnprintf(buffer, size, GetCaption(1), int(type), long(length));
        return;
    }
    const void* slot = GetNulledColData(col);
    if (!slot)
        return;
    if (IsDataNull(col, slot)) {
        SetTextToNull(col, buffer, size);
        return;
    }
    if (IsDataEmpty(col, slot)) {
        SetTextToEmpty(col, buffer, size);
        return;
    }
    if (c->format.IsEmpty())
        c->format = GetDefTypeFormat(c->type);
    VLong limit = RealColSize(col);
    if (limit == 0)
        limit = GetColSize(col, szText);
    DataToText(c, buffer, slot, int(std::min<VLong>(limit, size)));
}

int aCDataSet::SetColDataFromText(VLong col, const WChar* text)
{
    if (GetRowCount() == 0 || GetColCount() == 0 || !GoodCol(col))
        return 0;
    if (!IsTextValid(col, text)) {
        m_lastError = apsErrInvalidText;
        Fail(apsFailInvalidText);
        return 1;
    }
    if (!text)
        return 0;
    aCColumn* c = GetColInfo(col);
    VLong length = 0;
    HeapBuffer holder(static_cast<unsigned char*>(AllocData(col, &length, szText)));
    unsigned char* buf = holder.get();
    if (IsTextNull(col, text)) {
        SetDataToNull(col, buf);
    } else if (IsTextEmpty(col, text)) {
        SetDataToEmpty(col, buf);
    } else {
        if (c->type == apsTextPtr) {
            // The text goes into the current value's own text: start from its pointer.
            if (const void* slot = GetNulledColData(col))
                std::memcpy(buf, slot, sizeof(WChar*));
        }
        // A fixed text column takes as many characters as its slot holds; the others their
        // text length. The tile is cleared after: text never marks NULL or EMPTY by spilling
        // into it.
        const int chars = int(c->type == apsChar ? c->size : GetColSize(col, szText));
        const int r = TextToData(c, buf, text, chars);
        ClearTile(col, buf);
        if (r != 0) {
            m_lastError = apsErrInvalidText;
            Fail(apsFailInvalidText);
            return 1;
        }
    }
    return SetNulledColData(col, buf);
}

int aCDataSet::GetColText(VLong col, WChar* buffer, int size)
{
    GetColDataAsText(col, buffer, size);
    return m_lastError;
}

int aCDataSet::SetColText(VLong col, const WChar* text) { return SetColDataFromText(col, text); }

// ---------------------------------------------------------------- cells

int aCDataSet::SetCellData(VLong col, VLong row, const void* value)
{
    if (row != 0) {
        if (const int err = MoveToRow(dirAbsolute, row, true))
            return err;
    }
    return SetColData(col, value);
}

const void* aCDataSet::GetCellData(VLong col, VLong row, void* dest)
{
    if (row != 0 && MoveToRow(dirAbsolute, row, true))
        return nullptr;
    return GetColData(col, dest);
}

int aCDataSet::SetCellText(VLong col, VLong row, const WChar* text)
{
    if (row != 0) {
        if (const int err = MoveToRow(dirAbsolute, row, true))
            return err;
    }
    return SetColDataFromText(col, text);
}

int aCDataSet::GetCellText(VLong col, VLong row, WChar* buffer)
{
    return GetCellText(col, row, buffer, GoodCol(col) ? int(TextBufferSize(col)) : 1);
}

int aCDataSet::GetCellText(VLong col, VLong row, WChar* buffer, int size)
{
    if (buffer && size > 0)
        buffer[0] = 0;
    if (row != 0) {
        if (const int err = MoveToRow(dirAbsolute, row, true))
            return err;
    }
    GetColDataAsText(col, buffer, size);
    return 0;
}

namespace {
template <class T>
T loadAs(const void* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
} // namespace

double aCDataSet::GetCellNumber(VLong col, VLong row, int& error)
{
    error = 1;
    if (!GoodCol(col))
        return 0.0;
    const void* slot = GetCellData(col, row);
    if (!slot)
        return 0.0;
    double v;
    switch (GetColInfo(col)->type) {
    case apsShort: v = loadAs<std::int16_t>(slot); break;
    case apsLong: v = loadAs<std::int32_t>(slot); break;
    case apsFloat: v = loadAs<float>(slot); break;
    case apsDouble: v = loadAs<double>(slot); break;
    case apsByte: case apsBool: v = loadAs<std::uint8_t>(slot); break;
    case apsInt64: v = double(loadAs<std::int64_t>(slot)); break;
    default: return 0.0;
    }
    error = 0;
    return v;
}

int aCDataSet::SetCellNumber(VLong col, VLong row, double value)
{
    if (!GoodCol(col))
        return 1;
    unsigned char buf[8] = {0};
    switch (GetColInfo(col)->type) {
    case apsShort: { std::int16_t v = std::int16_t(value); std::memcpy(buf, &v, 2); break; }
    case apsLong: { std::int32_t v = std::int32_t(value); std::memcpy(buf, &v, 4); break; }
    case apsFloat: { float v = float(value); std::memcpy(buf, &v, 4); break; }
    case apsDouble: std::memcpy(buf, &value, 8); break;
    case apsByte: buf[0] = std::uint8_t(value); break;
    case apsBool: buf[0] = value != 0.0; break;
    case apsInt64: { std::int64_t v = std::int64_t(value); std::memcpy(buf, &v, 8); break; }
    default: return 1;
    }
    if (GetColSize(col, szData) > VLong(sizeof buf))
        return 1; // a declared size larger than the type's value
    return SetCellData(col, row, buf);
}

} // namespace VexAPI

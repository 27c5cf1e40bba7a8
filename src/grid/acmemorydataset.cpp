// aCMemoryDataSet: rows as heap buffers holding nulled row images.
#include <vexapi/grid/acmemorydataset.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <vector>

namespace VexAPI {

aCMemoryDataSet::aCMemoryDataSet()
{
    m_buffers.Add(nullptr); // the placeholder: rows count from 1
    Uncached();
}

aCMemoryDataSet::~aCMemoryDataSet() { ReleaseAllRows(); }

void aCMemoryDataSet::ReleaseRow(void* row)
{
    const unsigned char* p = static_cast<const unsigned char*>(row);
    if (m_slab && p >= m_slab && p < m_slab + m_slabBytes)
        return;
    std::free(row);
}

void aCMemoryDataSet::ReleaseAllRows()
{
    for (VLong i = m_buffers.GetSize() - 1; i >= 1; --i) {
        ReleaseRow(m_buffers.GetAt(i));
        m_buffers.SetAt(i, nullptr);
    }
    if (m_buffers.GetSize() > 1)
        m_buffers.SetSize(1);
    std::free(m_slab);
    m_slab = nullptr;
    m_slabBytes = 0;
}

VLong aCMemoryDataSet::GetRowCount() { return m_buffers.GetSize() - 1 + (GetVirtualRow() ? 1 : 0); }

int aCMemoryDataSet::ToRow(int, VLong row, bool)
{
    if (row < 1 || row > GetStoredRowCount()) {
        m_lastError = apsErrNoRow;
        return apsErrNoRow;
    }
    m_current = static_cast<unsigned char*>(m_buffers.GetAt(row));
    return 0;
}

int aCMemoryDataSet::SetRowData(const void* data)
{
    if (!m_current || !data)
        return apsErrNoRow;
    std::memmove(m_current, data, std::size_t(GetDataSize(szDataTiled)));
    return 0;
}

void* aCMemoryDataSet::GetNulledData(int form)
{
    if (form == 2 && GetNullFlags() && m_current) {
        unsigned char* raw = WorkRow(true);
        SublimateNullFlag(raw, m_current);
        return raw;
    }
    return m_current; // the stored image is the nulled form already
}

int aCMemoryDataSet::SetNulledData(const void* image, int form)
{
    if (!image)
        return 0;
    if (!m_current)
        return apsErrNoRow;
    if (form == 2 && GetNullFlags()) {
        DissolveNullFlag(image, m_current);
        return 0;
    }
    std::memmove(m_current, image, std::size_t(GetDataSize(szDataTiled)));
    return 0;
}

int aCMemoryDataSet::IntoCol(VLong col, const void* value)
{
    if (GetVirtualRow() && GetCurRow() == GetVirtualRow())
        return aCDataSet::IntoCol(col, value);
    if (!GoodCol(col) || !value)
        return 0;
    void* row = GetRowBuffer(GetPhysRow());
    if (!row)
        return 1;
    const VLong n = GetColSize(col, szDataTiled);
    std::memmove(SlotOf(row, col), value, std::size_t(n));
    if (const VLong e = IsCashed(GetPhysRow()))
        SetEntry(e, row);
    return 0;
}

int aCMemoryDataSet::AddRow(void* data, VLong at)
{
    if (!data && at == 0 && !GetNoVirtualOnAdd())
        return SetVirtualRow(GetRowCount() + 1);
    const VLong stored = GetStoredRowCount();
    if (at == 0)
        at = stored + 1;
    if (at < 1 || at > stored + 1) {
        m_lastError = apsErrNoRow; // `data` stays the caller's
        return apsErrNoRow;
    }
    const bool storingVirtual = data && data == VirtualBufferPtr();
    void* buf = data;
    if (!buf) {
        buf = std::calloc(std::size_t(std::max<VLong>(1, GetDataSize(szDataTiled))), 1);
        if (!buf)
            throw std::bad_alloc();
    }
    m_buffers.InsertAt(at, buf);
    if (!storingVirtual) {
        // Records follow the view's numbering, where the virtual row counts.
        const VLong v = GetVirtualRow();
        const VLong logical = v && at >= v ? at + 1 : at;
        ShiftRowDefs(logical, true);
        ShiftCellsForRow(logical, true);
        if (v && logical <= v)
            SetVirtualRowNumber(v + 1);
    }
    ClearCash();
    return 0;
}

int aCMemoryDataSet::DeleteRow(VLong at)
{
    if (at == 0)
        at = GetCurRow();
    if (GetVirtualRow() && at == GetVirtualRow()) {
        DeleteVirtualRow();
        return 0;
    }
    if (const int err = MoveToRow(dirAbsolute, at, false))
        return err;
    const VLong phys = GetPhysRow();
    ReleaseRow(m_buffers.GetAt(phys));
    m_buffers.RemoveAt(phys);
    m_current = nullptr;
    ShiftRowDefs(at, false);
    ShiftCellsForRow(at, false);
    if (GetVirtualRow() > at)
        SetVirtualRowNumber(GetVirtualRow() - 1);
    ClearCash();
    SyncPosition();
    if (GetStoredRowCount() > 0 && !(GetVirtualRow() && GetCurRow() == GetVirtualRow()))
        ToRow(dirAbsolute, GetPhysRow(), false);
    return 0;
}

int aCMemoryDataSet::InsertColumn(aCColumn* column, VLong at)
{
    return ChangeColumns([&] { return aCDataSet::InsertColumn(column, at); }, nullptr);
}

int aCMemoryDataSet::DeleteColumn(VLong at)
{
    if (at < 1 || at > GetColCount())
        return aCDataSet::DeleteColumn(at);
    const aCColumn* dead = GetColInfo(at);
    return ChangeColumns([&] { return aCDataSet::DeleteColumn(at); }, dead);
}

int aCMemoryDataSet::ChangeColumns(const std::function<int()>& change, const aCColumn* dropped)
{
    struct OldSlot {
        const aCColumn* column;
        VLong offset;
        VLong size;
    };
    std::vector<OldSlot> old;
    for (VLong c = 1; c <= GetColCount(); ++c)
        old.push_back({GetColInfo(c), GetColOffset(c, szDataTiled), GetColSize(c, szDataTiled)});
    m_columnChange = true;
    const int r = change();
    if (r) {
        m_columnChange = false;
        return r;
    }
    const VLong newSize = std::max<VLong>(1, GetDataSize(szDataTiled));
    auto rebuild = [&](void* image, bool freeOld) -> void* {
        unsigned char* fresh = static_cast<unsigned char*>(std::calloc(std::size_t(newSize), 1));
        if (!fresh)
            throw std::bad_alloc();
        for (VLong c = 1; c <= GetColCount(); ++c) {
            const aCColumn* col = GetColInfo(c);
            for (const OldSlot& s : old)
                if (s.column == col && s.column != dropped)
                    std::memcpy(fresh + GetColOffset(c, szDataTiled),
                                static_cast<unsigned char*>(image) + s.offset,
                                std::size_t(std::min(s.size, GetColSize(c, szDataTiled))));
        }
        if (freeOld)
            ReleaseRow(image);
        return fresh;
    };
    for (VLong i = 1; i < m_buffers.GetSize(); ++i)
        m_buffers.SetAt(i, rebuild(m_buffers.GetAt(i), true));
    if (VirtualBufferPtr())
        ReplaceVirtualBuffer(static_cast<unsigned char*>(rebuild(VirtualBufferPtr(), false)));
    m_current = GetPhysRow() >= 1 ? static_cast<unsigned char*>(m_buffers.GetAt(GetPhysRow())) : nullptr;
    m_columnChange = false;
    ClearCash();
    return 0;
}

void aCMemoryDataSet::DeleteAllRow()
{
    aCDataSet::DeleteAllRow();
    ReleaseAllRows();
    m_current = nullptr;
}

bool aCMemoryDataSet::SwapRow(VLong a, VLong b)
{
    const VLong v = GetVirtualRow();
    if (v && (a == v || b == v))
        return false; // the virtual row has no place in the store yet
    if (!aCDataSet::SwapRow(a, b))
        return false;
    const VLong pa = v && a > v ? a - 1 : a, pb = v && b > v ? b - 1 : b;
    void* t = m_buffers.GetAt(pa);
    m_buffers.SetAt(pa, m_buffers.GetAt(pb));
    m_buffers.SetAt(pb, t);
    ClearCash();
    if (GetPhysRow() >= 1 && GetPhysRow() <= GetStoredRowCount())
        m_current = static_cast<unsigned char*>(m_buffers.GetAt(GetPhysRow()));
    return true;
}

int aCMemoryDataSet::InitFromArray(const void* block, VLong n)
{
    if (n < 0 || (n > 0 && !block))
        return 1;
    DeleteAllRow();
    const VLong size = GetDataSize(szDataTiled);
    if (n == 0 || size <= 0)
        return 0;
    m_slabBytes = std::size_t(n) * std::size_t(size);
    m_slab = static_cast<unsigned char*>(std::malloc(m_slabBytes));
    if (!m_slab)
        throw std::bad_alloc();
    std::memcpy(m_slab, block, m_slabBytes);
    m_buffers.SetSize(n + 1);
    for (VLong i = 0; i < n; ++i)
        m_buffers.SetAt(i + 1, m_slab + std::size_t(i) * std::size_t(size));
    return 0;
}

void aCMemoryDataSet::OnImageSizeChanged(VLong oldSize, VLong newSize)
{
    if (m_columnChange)
        return; // InsertColumn / DeleteColumn lay the images out themselves
    aCDataSet::OnImageSizeChanged(oldSize, newSize);
    for (VLong i = 1; i < m_buffers.GetSize(); ++i) {
        void* old = m_buffers.GetAt(i);
        m_buffers.SetAt(i, RelayImage(static_cast<unsigned char*>(old), false));
        ReleaseRow(old);
    }
    m_current = GetPhysRow() >= 1 && GetPhysRow() <= GetStoredRowCount()
                    ? static_cast<unsigned char*>(m_buffers.GetAt(GetPhysRow())) : nullptr;
}

int aCMemoryDataSet::checkInvariants()
{
    if (const int r = aCDataSet::checkInvariants())
        return r;
    if (m_buffers.GetSize() < 1 || m_buffers.GetAt(0))
        return 10;
    bool currentFound = m_current == nullptr;
    for (VLong i = 1; i < m_buffers.GetSize(); ++i) {
        if (!m_buffers.GetAt(i))
            return 10;
        currentFound = currentFound || m_buffers.GetAt(i) == m_current;
    }
    return currentFound ? 0 : 11;
}

} // namespace VexAPI

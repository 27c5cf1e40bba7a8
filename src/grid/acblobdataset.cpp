// aCBlobDataSet: the blob of another data set's row read as fixed records.
#include <vexapi/grid/acblobdataset.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace VexAPI {

aCBlobDataSet::aCBlobDataSet() = default;

aCBlobDataSet::~aCBlobDataSet()
{
    std::free(m_rowBuffer);
    if (m_ownSource)
        delete m_source;
}

void aCBlobDataSet::SetSourceDataSet(aCDataSet* source, VLong column)
{
    if (m_ownSource && m_source != source)
        delete m_source;
    m_source = source;
    m_blobCol = column;
    m_dataMode = source ? source->GetDataMode() : 0;
    std::free(m_rowBuffer);
    m_rowBuffer = nullptr;
    m_rowBufferSize = 0;
    std::free(m_block);
    m_block = nullptr;
    m_blockSize = 0;
    m_currentRecord = 0;
    if (m_dataMode != 2) {
        m_rowBufferSize = std::max<VLong>(1, GetDataSize(szData));
        m_rowBuffer = static_cast<unsigned char*>(std::calloc(std::size_t(m_rowBufferSize), 1));
        if (!m_rowBuffer)
            throw std::bad_alloc();
    }
}

VULong aCBlobDataSet::BlobSize() { return m_source ? m_source->GetBlobSize(m_blobCol) : 0; }

int aCBlobDataSet::MoveToBlob(VLong row, bool read)
{
    if (!m_source || row <= 0 || row > m_source->GetRowCount())
        return 1;
    const bool old = m_source->GetExceptionFlag();
    m_source->SetExceptionFlag(false);
    const int err = m_source->ToRow(m_source->ConvertDirection(dirAbsolute), row, false);
    m_source->SetExceptionFlag(old);
    if (err)
        return 1;
    if (!GetPhysicalBlobSize())
        m_source->SetCurrentBlobSize(m_blobCol, m_source->GetFisicalBlobSize(m_blobCol));
    const VLong rowSize = GetDataSize(szData);
    ClearCash();
    SetPositions(1, 1);
    m_currentRecord = 0;
    if (m_dataMode == 2) {
        std::free(m_block);
        m_block = nullptr;
        m_blockSize = 0;
        if (rowSize <= 0)
            return 0;
        const VLong rows = VLong((BlobSize() + VULong(rowSize) - 1) / VULong(rowSize));
        m_blockSize = rows * rowSize;
        m_block = static_cast<unsigned char*>(std::calloc(std::size_t(std::max<VLong>(1, m_blockSize)), 1));
        if (!m_block)
            throw std::bad_alloc();
        if (read && m_blockSize > 0) {
            VLong length = VLong(std::min<VULong>(BlobSize(), VULong(m_blockSize)));
            m_source->GetBlob(m_blobCol, m_block, &length, 1);
        }
    } else if (read && m_dataMode == 1) {
        SetFullCash();
    }
    return 0;
}

VLong aCBlobDataSet::RowToBlobOffset(VLong row)
{
    const VLong rowSize = GetDataSize(szData);
    if (row < 1 || rowSize <= 0)
        return 0;
    const long long offset = (long long)rowSize * (row - 1) + 1;
    return offset > (long long)BlobSize() ? 0 : VLong(offset);
}

VLong aCBlobDataSet::GetRowCount()
{
    if (m_dataMode == 2)
        return aCDataSet::GetRowCount();
    const VLong rowSize = GetDataSize(szData);
    if (!m_source || rowSize <= 0)
        return 0;
    return VLong((BlobSize() + VULong(rowSize) - 1) / VULong(rowSize));
}

int aCBlobDataSet::ToRow(int, VLong row, bool)
{
    const VLong rowSize = GetDataSize(szData);
    if (m_dataMode == 2) {
        if (row < 1 || row > GetRowCount()) {
            m_lastError = apsErrNoRow;
            return apsErrNoRow;
        }
        m_currentRecord = row;
        return 0;
    }
    const VLong offset = RowToBlobOffset(row);
    if (!offset || !m_source) {
        m_lastError = apsErrNoRow;
        return apsErrNoRow;
    }
    if (m_rowBufferSize < rowSize) {
        std::free(m_rowBuffer);
        m_rowBuffer = static_cast<unsigned char*>(std::calloc(std::size_t(rowSize), 1));
        if (!m_rowBuffer)
            throw std::bad_alloc();
        m_rowBufferSize = rowSize;
    }
    std::memset(m_rowBuffer, 0, std::size_t(m_rowBufferSize));
    VLong length = rowSize; // capacity in, bytes read out
    m_source->GetBlob(m_blobCol, m_rowBuffer, &length, offset);
    m_currentRecord = row;
    return 0;
}

void* aCBlobDataSet::GetRowData()
{
    if (m_dataMode == 2) {
        const VLong rowSize = GetDataSize(szData);
        if (!m_block || m_currentRecord < 1 || m_currentRecord * rowSize > m_blockSize)
            return nullptr;
        return m_block + std::size_t(m_currentRecord - 1) * std::size_t(rowSize);
    }
    return m_currentRecord ? m_rowBuffer : nullptr;
}

int aCBlobDataSet::SetRowData(const void* data)
{
    if (!data || !m_source || m_source->GetTrimMode() != 2)
        return 0;
    void* row = GetRowData();
    if (!row)
        return apsErrNoRow;
    const VLong rowSize = GetDataSize(szData);
    std::memmove(row, data, std::size_t(rowSize));
    const VLong offset = RowToBlobOffset(m_currentRecord);
    if (!offset)
        return apsErrNoRow;
    return m_source->SetBlob(m_blobCol, row, rowSize, offset);
}

} // namespace VexAPI

// aCMemoryDataSet: a grid model whose rows are buffers in memory, each a nulled row image.
#pragma once

#include <vexapi/grid/acdataset.h>

#include <functional>

namespace VexAPI {

// Rows are heap buffers of GetDataSize(szDataTiled) bytes (malloc, or cut from the block of
// InitFromArray), one per row, in an
// aCPointerArray whose element 0 is a placeholder; the data set owns them. The row count is
// the array's length less one, plus one while a virtual row exists. Nothing else is kept per
// row. The cached flag is off: the rows need no cache.
//
// Invariants (checkInvariants, after those of aCDataSet):
//  10. Element 0 of the row buffers is null and every other element is a buffer.
//  11. The current row pointer is null or one of the buffers.
class VEXAPI_API aCMemoryDataSet : public aCDataSet {
public:
    aCMemoryDataSet();
    ~aCMemoryDataSet() override;

    int ToRow(int direction, VLong row, bool keep) override;
    void* GetRowData() override { return m_current; }
    // Copies a nulled image into the current row.
    int SetRowData(const void* data) override;
    void* GetNulledData(int form = 0) override;
    int SetNulledData(const void* image, int form = 0) override;
    int AddRow(void* data = nullptr, VLong at = 0) override;
    int DeleteRow(VLong at = 0) override;
    int InsertColumn(aCColumn* column, VLong at = 0) override;
    int DeleteColumn(VLong at) override;
    int IntoCol(VLong col, const void* value) override;
    VLong GetRowCount() override;
    void DeleteAllRow() override;
    bool SwapRow(VLong a, VLong b) override;
    // Drops every row and adds n rows cut from `block` by GetDataSize(szDataTiled). The rows
    // live in one copy of the block, so that they cost their images and a pointer each.
    virtual int InitFromArray(const void* block, VLong n);
    // The stored rows, the virtual row not counted.
    VLong GetStoredRowCount() const { return m_buffers.GetSize() - 1; }
    // The buffer of stored row `row`, or null.
    void* GetRowBuffer(VLong row) const { return row >= 1 ? m_buffers.GetAt(row) : nullptr; }
    int checkInvariants();

protected:
    // Every stored image is laid out again, each value moved to its new place.
    void OnImageSizeChanged(VLong oldSize, VLong newSize) override;

private:
    aCPointerArray m_buffers;
    unsigned char* m_current = nullptr;
    // Frees a row buffer, unless it lies in the block of InitFromArray.
    void ReleaseRow(void* row);
    void ReleaseAllRows();
    // Runs `change` (a column inserted or deleted) and, when it succeeds, lays every row
    // image, the virtual row's too, out again: each column but `dropped` keeps its value.
    int ChangeColumns(const std::function<int()>& change, const aCColumn* dropped);

    unsigned char* m_slab = nullptr; // the rows of InitFromArray, one block
    std::size_t m_slabBytes = 0;
    bool m_columnChange = false; // InsertColumn / DeleteColumn lay the images out themselves
};

} // namespace VexAPI

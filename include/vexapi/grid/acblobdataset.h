// aCBlobDataSet: one blob column of another data set shown as a table of fixed records.
#pragma once

#include <vexapi/grid/acdataset.h>

namespace VexAPI {

// The blob of the source's current blob row is cut into records of GetDataSize(szData)
// bytes; record r starts at byte RowToBlobOffset(r) (counted from 1). In data mode 2 the
// whole blob is read into the block once; in other modes each ToRow reads one record. The
// source is not owned unless the own-source flag is set.
class VEXAPI_API aCBlobDataSet : public aCDataSet {
public:
    aCBlobDataSet();
    ~aCBlobDataSet() override;

    // Takes the source's data mode; outside mode 2 a one-record row buffer is made.
    virtual void SetSourceDataSet(aCDataSet* source, VLong column);
    // Moves the source to `row` and, with `read`, reads the blob whole (mode 2) or sizes a
    // full cache (mode 1). 0 on success, 1 refused.
    virtual int MoveToBlob(VLong row, bool read = true);
    // 1-based byte offset of a record in the blob, 0 past its end.
    virtual VLong RowToBlobOffset(VLong row);
    virtual VLong GetBlobCol() { return m_blobCol; }
    virtual void SetBlobCol(VLong col) { m_blobCol = col; }
    virtual bool onOpen() { return true; }
    virtual bool onClose() { return true; }

    int ToRow(int direction, VLong row, bool keep) override;
    void* GetRowData() override;
    // Writes the record back through the source's SetBlob when its trim mode byte is 2.
    int SetRowData(const void* data) override;
    VLong GetRowCount() override;

    void SetOwnSource(bool own) { m_ownSource = own; }
    aCDataSet* GetSourceDataSet() const { return m_source; }

private:
    VULong BlobSize();

    aCDataSet* m_source = nullptr;
    VLong m_blobCol = 0;
    unsigned char* m_rowBuffer = nullptr;
    VLong m_rowBufferSize = 0;
    VLong m_currentRecord = 0;
    bool m_ownSource = false;
};

} // namespace VexAPI

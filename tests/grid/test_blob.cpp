// The blob data set: a source's blob read as fixed records, in data modes 0, 1 and 2.
#include "gridtest.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

// A memory data set whose column 1 is a blob kept per stored row.
class BlobSource : public aCMemoryDataSet {
public:
    BlobSource()
    {
        AddColDef(new aCColumn(W("blob").c_str(), apsBlob));
        for (int i = 0; i < 3; ++i)
            AddRow();
    }
    int ToRow(int d, VLong row, bool keep) override
    {
        const int r = aCMemoryDataSet::ToRow(d, row, keep);
        if (!r)
            current = row;
        return r;
    }
    VULong GetBlobSize(VLong) override { return VULong(blobs[current].size()); }
    int GetBlobType(VLong) override { return 2; }
    int GetBlob(VLong, void* buffer, VLong* length, VLong offset) override
    {
        const std::vector<unsigned char>& b = blobs[current];
        ++blobReads;
        if (offset < 1 || VULong(offset) > b.size()) {
            *length = 0;
            return 1;
        }
        const VLong n = std::min<VLong>(*length, VLong(b.size()) - offset + 1);
        std::memcpy(buffer, b.data() + offset - 1, std::size_t(n));
        *length = n;
        return 0;
    }
    int SetBlob(VLong, const void* data, VLong length, VLong offset) override
    {
        std::vector<unsigned char>& b = blobs[current];
        if (b.size() < std::size_t(offset - 1 + length))
            b.resize(std::size_t(offset - 1 + length));
        std::memcpy(b.data() + offset - 1, data, std::size_t(length));
        return 0;
    }
    std::map<VLong, std::vector<unsigned char>> blobs;
    VLong current = 0;
    int blobReads = 0;
};

// Records of (short, long): six bytes each.
std::vector<unsigned char> records(int n)
{
    std::vector<unsigned char> out;
    for (int i = 1; i <= n; ++i) {
        const std::int16_t s = std::int16_t(i);
        const std::int32_t l = i * 1000;
        const unsigned char* p = reinterpret_cast<const unsigned char*>(&s);
        out.insert(out.end(), p, p + 2);
        p = reinterpret_cast<const unsigned char*>(&l);
        out.insert(out.end(), p, p + 4);
    }
    return out;
}

void addRecordColumns(aCBlobDataSet& b)
{
    b.AddColDef(new aCColumn(W("s").c_str(), apsShort));
    b.AddColDef(new aCColumn(W("l").c_str(), apsLong));
}

} // namespace

TEST(GridBlob, RecordsReadOneAtATime)
{
    BlobSource src;
    src.blobs[2] = records(5);
    src.blobs[2].push_back(0x7f); // a partial last record
    aCBlobDataSet b;
    addRecordColumns(b);
    b.SetSourceDataSet(&src, 1);
    EXPECT_EQ(b.MoveToBlob(0), 1);
    EXPECT_EQ(b.MoveToBlob(4), 1);
    ASSERT_EQ(b.MoveToBlob(2), 0);
    EXPECT_EQ(b.GetRowCount(), 6);
    EXPECT_EQ(b.RowToBlobOffset(1), 1);
    EXPECT_EQ(b.RowToBlobOffset(6), 31);
    EXPECT_EQ(b.RowToBlobOffset(7), 0);
    ASSERT_EQ(b.MoveToRow(dirAbsolute, 3), 0);
    EXPECT_EQ(cellText(b, 1), "3");
    EXPECT_EQ(cellText(b, 2), "3000");
    ASSERT_EQ(b.MoveToRow(dirLast), 0);
    EXPECT_EQ(cellText(b, 1), "127"); // the partial record is filled with zeros
    EXPECT_EQ(cellText(b, 2), "0");
    b.SetExceptionFlag(false);
    EXPECT_EQ(b.MoveToRow(dirNext), apsErrNoRow);
    EXPECT_EQ(cellText(src, 1), "\xD0\xA2\xD0\xB8\xD0\xBF:2, \xD0\xA0\xD0\xB0\xD0\xB7\xD0\xBC\xD0\xB5\xD1\x80:31");
}

TEST(GridBlob, BlockModeReadsTheBlobOnce)
{
    BlobSource src;
    src.SetDataMode(2);
    src.blobs[1] = records(4);
    aCBlobDataSet b;
    addRecordColumns(b);
    b.SetSourceDataSet(&src, 1);
    ASSERT_EQ(b.MoveToBlob(1), 0);
    EXPECT_EQ(src.blobReads, 1);
    EXPECT_EQ(b.GetRowCount(), 4);
    for (VLong r = 4; r >= 1; --r) {
        ASSERT_EQ(b.MoveToRow(dirAbsolute, r), 0);
        EXPECT_EQ(cellText(b, 2), std::to_string(r * 1000));
    }
    EXPECT_EQ(src.blobReads, 1);
}

TEST(GridBlob, WritesBackOnlyWithTrimModeTwo)
{
    BlobSource src;
    src.blobs[1] = records(3);
    aCBlobDataSet b;
    addRecordColumns(b);
    b.SetSourceDataSet(&src, 1);
    b.MoveToBlob(1);
    b.MoveToRow(dirAbsolute, 2);
    b.SetColDataFromText(2, W("42").c_str());
    EXPECT_EQ(records(3), src.blobs[1]); // read-only: nothing written back
    src.SetTrimMode(2);
    b.MoveToRow(dirAbsolute, 2);
    EXPECT_EQ(b.SetColDataFromText(2, W("42").c_str()), 0);
    std::int32_t l;
    std::memcpy(&l, src.blobs[1].data() + 8, 4);
    EXPECT_EQ(l, 42);
    b.MoveToRow(dirAbsolute, 1);
    b.MoveToRow(dirAbsolute, 2);
    EXPECT_EQ(cellText(b, 2), "42");
}

TEST(GridBlob, DataModeOneCachesEveryRecord)
{
    BlobSource src;
    src.SetDataMode(1);
    src.blobs[3] = records(7);
    aCBlobDataSet b;
    addRecordColumns(b);
    b.SetSourceDataSet(&src, 1);
    b.SetCash(2);
    ASSERT_EQ(b.MoveToBlob(3), 0);
    EXPECT_EQ(b.GetCashCount(), 7);
    const int reads = src.blobReads;
    for (VLong r = 1; r <= 7; ++r) {
        b.MoveToRow(dirAbsolute, r);
        EXPECT_EQ(cellText(b, 1), std::to_string(r));
    }
    EXPECT_EQ(src.blobReads, reads);
}

// The direct-mapped row cache: mapping, eviction, read errors, the full cache of data mode 1.
#include "gridtest.h"

#include <gtest/gtest.h>

TEST(GridCache, DirectMappingAndEviction)
{
    FunctionDataSet ds(100);
    ASSERT_TRUE(ds.SetCash(10));
    EXPECT_EQ(ds.ToEntry(0), 0);
    EXPECT_EQ(ds.ToEntry(10), 1);
    EXPECT_EQ(ds.ToEntry(20), 1);
    EXPECT_EQ(ds.ToEntry(7), 8);
    EXPECT_EQ(ds.IsCashed(0), 0); // row 0 is never cached

    ASSERT_EQ(ds.MoveToRow(dirAbsolute, 10), 0);
    EXPECT_EQ(ds.IsCashed(10), 1);
    EXPECT_EQ(longAt(ds.GetData(), 0), 10);
    const long reads = ds.reads;
    ds.MoveToRow(dirAbsolute, 10);
    EXPECT_EQ(ds.reads, reads); // a hit reads nothing
    ds.MoveToRow(dirAbsolute, 20);
    EXPECT_EQ(ds.IsCashed(10), 0); // row 20 evicted row 10
    EXPECT_EQ(ds.IsCashed(20), 1);
    EXPECT_EQ(longAt(ds.GetData(), 4), 60);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(GridCache, ReadErrorsAreStoredAndReadAgainOnce)
{
    FunctionDataSet ds(50);
    ds.bad = 7;
    ds.SetCash(5);
    ds.SetExceptionFlag(true);
    EXPECT_EQ(ds.MoveToRow(dirAbsolute, 7), apsErrDatabase);
    EXPECT_EQ(ds.GetError(), apsErrDatabase);
    // A row that exists but failed becomes current, for the view to mark it.
    EXPECT_EQ(ds.GetCurRow(), 7);
    const TCashEntryHeader* h = ds.GetEntryHeader(ds.ToEntry(7));
    EXPECT_EQ(h->status, apsErrDatabase);
    EXPECT_EQ(h->row, 7);
    ds.bad = -1;
    const long reads = ds.reads;
    EXPECT_EQ(ds.MoveToRow(dirAbsolute, 7), 0); // the failed entry is read again
    EXPECT_EQ(ds.reads, reads + 1);
    EXPECT_EQ(longAt(ds.GetData(), 0), 7);
    EXPECT_TRUE(ds.GetExceptionFlag()); // restored after WriteCash
}

TEST(GridCache, WriteCashReadsARun)
{
    FunctionDataSet ds(30);
    ds.SetCash(8);
    EXPECT_EQ(ds.WriteCash(3, 4), 0);
    for (VLong r = 3; r <= 6; ++r)
        EXPECT_NE(ds.IsCashed(r), 0) << r;
    EXPECT_EQ(ds.WriteCash(29, 3), 1); // row 31 does not exist
    EXPECT_EQ(ds.GetEntryHeader(ds.ToEntry(31))->status, apsErrNoRow);
    unsigned char copy[8];
    EXPECT_NE(ds.ReadCash(4, copy), nullptr);
    EXPECT_EQ(longAt(copy, 4), 12);
    EXPECT_EQ(ds.ReadCash(0), nullptr);
    ds.SetCash(0);
    EXPECT_EQ(ds.ReadCash(4), nullptr);
}

TEST(GridCache, DataModeOneGrowsToOneEntryPerRow)
{
    FunctionDataSet ds(40);
    ds.SetDataMode(1);
    ds.SetCash(4);
    ds.MoveToRow(dirAbsolute, 9);
    EXPECT_EQ(ds.GetCashCount(), 40);
    for (VLong r = 1; r <= 40; ++r)
        ASSERT_NE(ds.IsCashed(r), 0) << r;
    const long reads = ds.reads;
    for (VLong r = 40; r >= 1; --r) {
        ds.MoveToRow(dirAbsolute, r);
        EXPECT_EQ(longAt(ds.GetData(), 0), r);
    }
    EXPECT_EQ(ds.reads, reads);
}

TEST(GridCache, WritesGoThroughTheStoreAndRefreshTheEntry)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    for (int i = 0; i < 6; ++i)
        ds.AddRow();
    ds.SetCash(3);
    ds.MoveToRow(dirAbsolute, 4);
    std::int32_t v = 44;
    ASSERT_EQ(ds.SetColData(1, &v), 0);
    EXPECT_EQ(cellText(ds, 1), "44");
    ds.MoveToRow(dirAbsolute, 1); // evicts row 4 (3 entries: 4 and 1 share entry 2)
    EXPECT_EQ(ds.IsCashed(4), 0);
    ds.MoveToRow(dirAbsolute, 4);
    EXPECT_EQ(cellText(ds, 1), "44");
    ds.SetCash(0);
    ds.MoveToRow(dirAbsolute, 4);
    EXPECT_EQ(cellText(ds, 1), "44");
}

TEST(GridCache, LayoutChangeRemakesTheCache)
{
    FunctionDataSet ds(20);
    ds.SetCash(4);
    ds.MoveToRow(dirAbsolute, 2);
    ds.GetColumn(2)->type = apsInt64; // the image grows: the cache is made again, empty
    ds.GetColumn(2)->size = 8;
    EXPECT_EQ(ds.GetDataSize(szDataTiled), 12);
    EXPECT_EQ(ds.IsCashed(2), 0);
    EXPECT_EQ(ds.GetCashCount(), 4);
}

// DataBuffer: runs split around iterators and merge back, row numbers, zombi entries and
// renumbering of cursor rows.
#include "assertspy.h"

#include <vexapi/sql/databuffer.h>

#include <gtest/gtest.h>

#include <vector>

using DataSourceAPI::DataBuffer;

namespace {

TEST(DataBufferTest, IteratorSplitsTheRunAndLeavingMergesIt)
{
    struct Case {
        int row;
        int entries; // while the iterator lives
        bool atEnd;
    };
    const Case cases[] = {{500, 3, false}, {1, 2, false}, {1000, 2, false}, {2, 3, false},
                          {999, 3, false}, {0, 1, true},  {1001, 1, true},  {-3, 1, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.row);
        DataBuffer b;
        b.reset(1000);
        ASSERT_EQ(b.entryCount(), 1);
        {
            DataBuffer::Iterator it = b.getIterator(c.row);
            EXPECT_EQ(b.entryCount(), c.entries);
            EXPECT_EQ(b.checkInvariants(), 0);
            EXPECT_EQ(it == b.end(), c.atEnd);
            if (!c.atEnd) {
                EXPECT_EQ(b.row(it), c.row);
                EXPECT_EQ(DataBuffer::getDBRow(it), c.row);
            }
        }
        EXPECT_EQ(b.entryCount(), 1);
        EXPECT_EQ(b.checkInvariants(), 0);
    }
}

TEST(DataBufferTest, WalksBothWaysKeepFewEntries)
{
    DataBuffer b;
    b.reset(50);
    EXPECT_EQ(b.row(b.end()), 0);
    int n = 0;
    for (DataBuffer::Iterator it = b.begin(); it != b.end(); ++it) {
        ++n;
        EXPECT_EQ(b.row(it), n);
        EXPECT_EQ(DataBuffer::getDBRow(it), n);
        EXPECT_LE(b.entryCount(), 3);
        ASSERT_EQ(b.checkInvariants(), 0);
    }
    EXPECT_EQ(n, 50);
    DataBuffer::Iterator it = b.end();
    for (--it; it != b.end(); --it) {
        EXPECT_EQ(DataBuffer::getDBRow(it), n--);
        EXPECT_LE(b.entryCount(), 3);
    }
    EXPECT_EQ(n, 0);
    EXPECT_EQ(b.entryCount(), 1);
}

TEST(DataBufferTest, TwoIteratorsOnOneRowAndCopies)
{
    DataBuffer b;
    b.reset(10);
    DataBuffer::Iterator a = b.getIterator(4);
    DataBuffer::Iterator c = b.getIterator(4);
    EXPECT_TRUE(a == c);
    EXPECT_EQ(b.entryCount(), 3);
    DataBuffer::Iterator d = a;
    d = b.getIterator(7); // a second carved row
    EXPECT_EQ(b.entryCount(), 5);
    d = c;
    EXPECT_EQ(b.entryCount(), 3);
    a = DataBuffer::Iterator();
    c = DataBuffer::Iterator();
    EXPECT_EQ(b.entryCount(), 3);
    d = DataBuffer::Iterator();
    EXPECT_EQ(b.entryCount(), 1);
    EXPECT_EQ(b.checkInvariants(), 0);
}

TEST(DataBufferTest, InsertedRowsSplitRunsForGood)
{
    DataBuffer b;
    b.reset(10);
    { DataBuffer::Iterator n = b.insertRow(b.getIterator(6)); EXPECT_EQ(b.row(n), 6); }
    EXPECT_EQ(b.rowCount(), 11);
    EXPECT_EQ(b.entryCount(), 3); // 1-5, the new row, 6-10
    EXPECT_EQ(DataBuffer::getDBRow(b.getIterator(7)), 6);
    { DataBuffer::Iterator n = b.insertRow(b.end()); EXPECT_EQ(b.row(n), 12); }
    b.deleteRow(b.getIterator(6));
    EXPECT_EQ(b.entryCount(), 2); // the run is whole again
    EXPECT_EQ(b.rowCount(), 11);
    EXPECT_EQ(b.checkInvariants(), 0);
}

TEST(DataBufferTest, ZombiLivesWhileHeldAndRefusesToStep)
{
    DataBuffer b;
    b.reset(5);
    DataBuffer::Iterator held = b.getIterator(3);
    b.deleteRow(b.getIterator(3));
    EXPECT_EQ(DataBuffer::entry(held)->type, DataBuffer::Entry::zombi);
    EXPECT_EQ(b.rowCount(), 4);
    EXPECT_EQ(b.row(held), 0);
    EXPECT_EQ(b.checkInvariants(), 0);
    {
        AssertSpy spy;
        ++held;
        --held;
        DataBuffer::nextRecord(held);
        b.insertRow(held);
        ASSERT_EQ(spy.count(), 4);
        EXPECT_EQ(spy[0].expression, "cur->type != Entry::zombi");
        EXPECT_EQ(spy[0].unit, "databuffer");
        EXPECT_EQ(spy[2].expression, "it.cur->type != Entry::zombi");
        EXPECT_EQ(DataBuffer::entry(held)->type, DataBuffer::Entry::zombi);
    }
    b.deleteRow(b.getIterator(1)); // no one holds it: freed at once
    {
        AssertSpy spy;
        b.deleteRow(held);
        EXPECT_EQ(spy.lastExpression(), "it.cur->type != Entry::zombi && p != head");
    }
    EXPECT_EQ(b.rowCount(), 4); // the one inserted at the zombi went to the end
    held = DataBuffer::Iterator(); // frees the zombi (AddressSanitizer watches)
    EXPECT_EQ(b.checkInvariants(), 0);
}

TEST(DataBufferTest, NextRecordSkipsRunsAndBareRows)
{
    DataBuffer b;
    b.reset(100);
    int tags[3];
    const int rows[3] = {10, 11, 90};
    std::vector<DataBuffer::Iterator> pins;
    for (int i = 0; i < 3; ++i) {
        pins.push_back(b.getIterator(rows[i]));
        DataBuffer::setRecord(pins.back(), &tags[i]);
    }
    DataBuffer::Iterator bare = b.getIterator(50); // carved, no record
    DataBuffer::Iterator it = b.end();
    for (int i = 0; i < 3; ++i) {
        DataBuffer::nextRecord(it);
        ASSERT_EQ(DataBuffer::getRecord(it), &tags[i]);
        EXPECT_EQ(b.row(it), rows[i]);
    }
    DataBuffer::nextRecord(it);
    EXPECT_TRUE(it == b.end());
    for (auto& p : pins)
        DataBuffer::setRecord(p, nullptr);
}

TEST(DataBufferTest, RenumberShiftsCursorRowsOnly)
{
    struct Case {
        int from, count, delta;
        int expect[8]; // dbRow of rows 1..8 afterwards
    };
    const Case cases[] = {
        {3, 3, 100, {1, 2, 103, 104, 105, 6, 0, 7}},
        {1, 8, -0, {1, 2, 3, 4, 5, 6, 0, 7}},
        {6, 2, 1, {1, 2, 3, 4, 5, 7, 0, 8}},
        {5, 1, 10, {1, 2, 3, 4, 15, 6, 0, 7}},
        {8, 5, 1, {1, 2, 3, 4, 5, 6, 0, 7}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.from);
        DataBuffer b;
        b.reset(7);
        { DataBuffer::Iterator n = b.insertRow(b.getIterator(7)); } // row 7 is not in the cursor
        b.renumDBRows(c.from, c.count, c.delta);
        EXPECT_EQ(b.checkInvariants(), 0);
        for (int r = 1; r <= 8; ++r)
            EXPECT_EQ(DataBuffer::getDBRow(b.getIterator(r)), c.expect[r - 1]) << "row " << r;
    }
    DataBuffer b;
    b.reset(10);
    b.renumDBRows(4, 3, 100);
    EXPECT_EQ(b.entryCount(), 3);
    b.renumDBRows(104, 3, -100);
    EXPECT_EQ(b.entryCount(), 1); // contiguous again: merged
}

TEST(DataBufferTest, ResetLeavesHeldEntriesAsZombis)
{
    DataBuffer b;
    b.reset(20);
    DataBuffer::Iterator held = b.getIterator(5);
    b.reset(3);
    EXPECT_EQ(b.entryCount(), 1);
    EXPECT_EQ(b.rowCount(), 3);
    EXPECT_EQ(DataBuffer::entry(held)->type, DataBuffer::Entry::zombi);
    b.reset(0);
    EXPECT_EQ(b.entryCount(), 0);
    EXPECT_TRUE(b.begin() == b.end());
}

} // namespace

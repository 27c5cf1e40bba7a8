// Moves, their last errors and notifications, the exception flag and the virtual row.
#include "gridtest.h"

#include "signalspy.h"

#include <gtest/gtest.h>

namespace {

void fill(aCMemoryDataSet& ds, int rows)
{
    for (int i = 1; i <= rows; ++i) {
        ds.AddRow();
        ds.MoveToRow(dirLast);
        std::int32_t v = i;
        ds.SetColData(1, &v);
    }
}

std::int32_t idOf(aCDataSet& ds)
{
    std::int32_t v = 0;
    ds.GetColData(1, &v);
    return v;
}

} // namespace

TEST(GridMoves, DirectionsAndLastErrors)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    EXPECT_EQ(ds.MoveToRow(dirNext), 0); // no rows: nothing to do
    fill(ds, 5);
    ds.SetExceptionFlag(false);
    EXPECT_EQ(ds.MoveToRow(dirFirst), 0);
    EXPECT_EQ(idOf(ds), 1);
    EXPECT_EQ(ds.MoveToRow(dirPrev), apsErrNoRow);
    EXPECT_EQ(ds.GetCurRow(), 1);
    EXPECT_EQ(ds.MoveToRow(dirNext), 0);
    EXPECT_EQ(ds.GetError(), 0);
    EXPECT_EQ(idOf(ds), 2);
    EXPECT_EQ(ds.MoveToRow(dirLast), 0);
    EXPECT_EQ(ds.MoveToRow(dirNext), apsErrNoRow);
    EXPECT_EQ(ds.GetError(), apsErrNoRow);
    EXPECT_EQ(ds.GetCurRow(), 5); // the position stays
    // Absolute past the end gets through CalcPosition and is found out by ToRow.
    VLong logical = 0, physical = 0;
    EXPECT_EQ(ds.CalcPosition(dirAbsolute, 10, logical, physical), 1);
    EXPECT_EQ(ds.MoveToRow(dirAbsolute, 10), apsErrNoRow);
    EXPECT_EQ(ds.GetCurRow(), 5);
    EXPECT_EQ(ds.MoveToRow(dirAbsolute, 0), apsErrNoRow);
    EXPECT_EQ(ds.MoveToRow(dirAbsolute, 3), 0);
    EXPECT_EQ(idOf(ds), 3);
}

TEST(GridMoves, ExceptionFlagThrowsOnMovesPastTheEnds)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    fill(ds, 2);
    ds.MoveToRow(dirLast);
    EXPECT_EQ(failureOf([&] { ds.MoveToRow(dirNext); }), apsFailMove);
    EXPECT_EQ(ds.GetError(), apsErrNoRow);
    ds.SetExceptionFlag(false);
    EXPECT_EQ(failureOf([&] { ds.MoveToRow(dirNext); }), 0);
    // Record numbers outside the table throw whatever the flag says.
    EXPECT_EQ(failureOf([&] { ds.GetRowInfo(3); }), apsFailRow);
    EXPECT_EQ(failureOf([&] { ds.GetColInfo(6); }), apsFailColumn);
    EXPECT_EQ(failureOf([&] { ds.GetCellInfo(5, 3); }), apsFailCell);
    EXPECT_EQ(failureOf([&] { ds.AddRowDef(-1); }), apsFailRow);
    EXPECT_EQ(failureOf([&] { ds.GetCellInfo(5, 2); }), 0);
}

class Vetoer : public virtual Object {
public:
    SlotResult veto(Object*, VLong row, VLong) { return row == 4 ? SlotStopFalse : SlotContinue; }
};

TEST(GridMoves, NotificationsCarryNewAndOldPositions)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    fill(ds, 5);
    ds.MoveToRow(dirAbsolute, 2);
    SignalSpy<VLong, VLong> pre(&ds, &aCDataSet::onPreMoving);
    SignalSpy<VLong, VLong> post(&ds, &aCDataSet::onPostMoving);
    SignalSpy<VLong, VLong> refused(&ds, &aCDataSet::onMoveRefused);
    ds.MoveToRow(dirAbsolute, 3);
    ASSERT_EQ(pre.count(), 1);
    EXPECT_EQ(std::get<0>(pre.calls[0]), 3);
    ASSERT_EQ(post.count(), 1);
    EXPECT_EQ(std::get<0>(post.calls[0]), 2);
    Vetoer v;
    subscribe(&ds, &aCDataSet::onPreMoving, &v, &Vetoer::veto, 1);
    ds.MoveToRow(dirNext);
    EXPECT_EQ(ds.GetCurRow(), 3); // vetoed
    EXPECT_EQ(refused.count(), 1);
    EXPECT_EQ(post.count(), 1);
}

TEST(GridVirtualRow, InsertStoreAndDiscard)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    fill(ds, 3);
    ds.SetNoVirtualOnAdd(false);
    ds.MoveToRow(dirAbsolute, 3);
    ASSERT_EQ(ds.SetVirtualRow(2), 0);
    EXPECT_EQ(ds.GetVirtualRow(), 2);
    EXPECT_EQ(ds.GetRowCount(), 4);
    EXPECT_EQ(ds.GetCurRow(), 4); // the current row moved up with the insertion
    EXPECT_EQ(idOf(ds), 3);
    VLong logical, physical;
    EXPECT_EQ(ds.CalcPosition(dirAbsolute, 2, logical, physical), 2);
    EXPECT_EQ(ds.CalcPosition(dirAbsolute, 4, logical, physical), 1);
    EXPECT_EQ(physical, 3);
    ASSERT_EQ(ds.MoveToRow(dirAbsolute, 2), 0);
    EXPECT_EQ(ds.GetData(), ds.GetData(false));
    std::int32_t v = 99;
    ds.SetColData(1, &v);
    EXPECT_EQ(ds.GetStoredRowCount(), 3); // not stored yet
    ASSERT_EQ(ds.UnsetVirtualRow(), 0);
    EXPECT_EQ(ds.GetVirtualRow(), 0);
    EXPECT_EQ(ds.GetStoredRowCount(), 4);
    ds.MoveToRow(dirAbsolute, 2);
    EXPECT_EQ(idOf(ds), 99);
    ds.MoveToRow(dirAbsolute, 3);
    EXPECT_EQ(idOf(ds), 2);

    // AddRow without data starts a virtual row at the end; DeleteRow on it discards it.
    ASSERT_EQ(ds.AddRow(), 0);
    EXPECT_EQ(ds.GetVirtualRow(), 5);
    EXPECT_EQ(ds.DeleteRow(5), 0);
    EXPECT_EQ(ds.GetVirtualRow(), 0);
    EXPECT_EQ(ds.GetRowCount(), 4);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(GridVirtualRow, StartsEmptyWithNullFlags)
{
    aCMemoryDataSet ds;
    ds.SetNullFlags(true);
    addTypicalColumns(ds);
    ds.SetVirtualRow();
    ds.MoveToRow(dirLast);
    for (VLong c = 1; c <= 5; ++c)
        EXPECT_TRUE(ds.IsEmpty(c)) << c;
    EXPECT_EQ(cellText(ds, 1), "DEFAULT");
    // SetData on the virtual row copies: the caller keeps its own buffer.
    std::vector<unsigned char> image(std::size_t(ds.GetDataSize(szDataTiled)), 0);
    EXPECT_EQ(ds.SetData(image.data()), 0);
    EXPECT_FALSE(ds.IsEmpty(1));
    EXPECT_EQ(ds.SetVirtualRow(9), apsErrNoRow); // stores the first one, refuses row 9
    EXPECT_EQ(ds.GetStoredRowCount(), 1);
}

TEST(GridVirtualRow, SecondVirtualRowStoresTheFirst)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    fill(ds, 2);
    ds.SetVirtualRow(1);
    ds.SetVirtualRow(0);
    EXPECT_EQ(ds.GetStoredRowCount(), 3);
    EXPECT_EQ(ds.GetVirtualRow(), 4);
}

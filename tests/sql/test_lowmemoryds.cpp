// LowMemoryDS: eviction and re-reading, states and counts, blobs and calculated values on
// demand, the journal of a write that commits or fails, and the column tables.
#include "assertspy.h"
#include "stubreader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace sqltest;

namespace {

TEST(LowMemoryDSTest, ResetMakesOneRunAndVisitsMaterialiseOnlyTheRow)
{
    StubDS ds;
    ds.reset(1000);
    EXPECT_EQ(ds.rowCount(), 1000);
    EXPECT_EQ(ds.buffer().entryCount(), 1);
    {
        LowMemoryDS::Iterator it = ds.row2iterator(500);
        EXPECT_EQ(ds.buffer().entryCount(), 3);
        EXPECT_EQ(ds.id(it), 500);
        EXPECT_EQ(ds.iterator2row(it), 500);
        EXPECT_EQ(ds.rowReads, 1);
    }
    EXPECT_EQ(ds.cacheSize(), 1); // kept in the pool, so its entry stays apart
    EXPECT_EQ(ds.buffer().entryCount(), 3);
    EXPECT_EQ(ds.iterator2row(ds.end()), 0);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, PoolEvictsLeastRecentlyUnlockedAndReReads)
{
    StubDS ds;
    ds.reset(400);
    for (int r = 1; r <= LowMemoryDS::cacheLimit; ++r)
        EXPECT_EQ(ds.id(ds.row2iterator(r)), r);
    EXPECT_EQ(ds.cacheSize(), LowMemoryDS::cacheLimit);
    ds.id(ds.row2iterator(1)); // row 1 is now the most recent
    EXPECT_EQ(ds.rowReads, LowMemoryDS::cacheLimit);
    ds.id(ds.row2iterator(151)); // evicts row 2, the oldest
    EXPECT_EQ(ds.cacheSize(), LowMemoryDS::cacheLimit);
    EXPECT_EQ(ds.checkInvariants(), 0);
    const int reads = ds.rowReads;
    ds.id(ds.row2iterator(1));
    EXPECT_EQ(ds.rowReads, reads); // still cached
    EXPECT_EQ(ds.id(ds.row2iterator(2)), 2);
    EXPECT_EQ(ds.rowReads, reads + 1); // re-read after eviction
    EXPECT_EQ(ds.checkInvariants(), 0);
    // Evicted rows merge back into runs: a full walk leaves few entries behind.
    for (LowMemoryDS::Iterator it = ds.begin(); it != ds.end(); ++it)
        ds.id(it);
    EXPECT_LE(ds.buffer().entryCount(), 2 * LowMemoryDS::cacheLimit + 1);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, ChangedAndLockedRowsAreNeverEvicted)
{
    StubDS ds;
    ds.reset(1000);
    LowMemoryDS::Iterator changed = ds.row2iterator(10);
    ds.setId(changed, -10);
    LowMemoryDS::Iterator locked = ds.row2iterator(20);
    ds.lock(locked, 0);
    LowMemoryDS::Iterator added = ds.insertRow(ds.row2iterator(30));
    ds.lock(added, StubDS::colId);
    writeInt(ds(added, StubDS::colId), 77);
    ds.unlock(added);
    changed = added = locked = LowMemoryDS::Iterator();
    for (int r = 100; r <= 1000; ++r)
        ds.id(ds.row2iterator(r));
    const int reads = ds.rowReads;
    EXPECT_EQ(ds.id(ds.row2iterator(10)), -10);
    EXPECT_EQ(ds.id(ds.row2iterator(30)), 77);
    ds.unlock(ds.row2iterator(20));
    EXPECT_EQ(ds.rowReads, reads);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, StatesAndCountsPerOperation)
{
    struct Case {
        const char* name;
        void (*op)(StubDS&);
        int ins, upd, del, rows;
        RowState stateOfRow5;
    };
    const Case cases[] = {
        {"modify", [](StubDS& ds) { ds.setId(ds.row2iterator(5), 1); }, 0, 1, 0, 10, Modified},
        {"modify twice", [](StubDS& ds) { ds.setId(ds.row2iterator(5), 1); ds.setId(ds.row2iterator(5), 2); },
         0, 1, 0, 10, Modified},
        {"insert", [](StubDS& ds) { ds.insertRow(ds.row2iterator(5)); }, 1, 0, 0, 11, Inserted},
        {"insert, modify", [](StubDS& ds) { ds.setId(ds.insertRow(ds.row2iterator(5)), 3); },
         1, 0, 0, 11, Inserted},
        {"insert, delete", [](StubDS& ds) { ds.deleteRow(ds.insertRow(ds.row2iterator(5))); },
         0, 0, 0, 10, Original},
        {"delete", [](StubDS& ds) { ds.deleteRow(ds.row2iterator(5)); }, 0, 0, 1, 9, Original},
        {"modify, delete", [](StubDS& ds) { ds.setId(ds.row2iterator(5), 1); ds.deleteRow(ds.row2iterator(5)); },
         0, 0, 1, 9, Original},
        {"modify calculated", [](StubDS& ds) {
             LowMemoryDS::Iterator it = ds.row2iterator(5);
             ds.lock(it, 0); ds.setModify(it, StubDS::colTwice); ds.unlock(it); },
         0, 0, 0, 10, Original},
        {"modify, back to original", [](StubDS& ds) {
             LowMemoryDS::Iterator it = ds.row2iterator(5);
             ds.setId(it, 1); ds.setRowToOriginal(it); },
         0, 0, 0, 10, Original},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        StubDS ds;
        ds.reset(10);
        c.op(ds);
        EXPECT_EQ(ds.insCount(), c.ins);
        EXPECT_EQ(ds.updCount(), c.upd);
        EXPECT_EQ(ds.delCount(), c.del);
        EXPECT_EQ(ds.rowCount(), c.rows);
        EXPECT_EQ(ds.isModify(), c.ins + c.upd + c.del > 0);
        EXPECT_EQ(ds.rowState(ds.row2iterator(5)), c.stateOfRow5);
        EXPECT_EQ(ds.checkInvariants(), 0);
    }
}

TEST(LowMemoryDSTest, DeletedRecordsKeepTheOriginals)
{
    StubDS ds;
    ds.reset(10);
    ds.setId(ds.row2iterator(3), -3); // current value changes, original stays 3
    ds.deleteRow(ds.row2iterator(3));
    ds.deleteRow(ds.row2iterator(6)); // was cursor row 7
    ASSERT_EQ(ds.delCount(), 2);
    EXPECT_EQ(ds.deletedDBRow(1), 3);
    EXPECT_EQ(readInt(ds.deletedOrgField(1, 1)), 3);
    EXPECT_EQ(ds.deletedDBRow(2), 7);
    EXPECT_EQ(readInt(ds.deletedOrgField(2, 1)), 7);
    EXPECT_EQ(ds.deletedOrgRealLen(2, 1), 4);
    EXPECT_FALSE(ds.deletedOrgField(3, 1).valid());
    ds.setDeletedDBRow(1, 33);
    EXPECT_EQ(ds.deletedDBRow(1), 33);
    ds.delDeletedRow(1);
    EXPECT_EQ(ds.delCount(), 1);
    EXPECT_EQ(ds.deletedDBRow(1), 7);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, NextRowWalksFindChangesByState)
{
    StubDS ds;
    ds.reset(100000);
    ds.setId(ds.row2iterator(70000), 1);
    ds.insertRow(ds.row2iterator(20));
    ds.setId(ds.row2iterator(5), 1);
    for (int r = 40; r < 60; ++r)
        ds.id(ds.row2iterator(r)); // clean cached rows are skipped
    auto collect = [&](void (LowMemoryDS::*next)(LowMemoryDS::Iterator&) const) {
        std::vector<int> rows;
        LowMemoryDS::Iterator it = ds.end();
        for ((ds.*next)(it); it != ds.end(); (ds.*next)(it))
            rows.push_back(ds.iterator2row(it));
        return rows;
    };
    EXPECT_EQ(collect(&LowMemoryDS::nextChangedRow), (std::vector<int>{5, 20, 70001}));
    EXPECT_EQ(collect(&LowMemoryDS::nextModifiedRow), (std::vector<int>{5, 70001}));
    EXPECT_EQ(collect(&LowMemoryDS::nextInsertedRow), (std::vector<int>{20}));
}

TEST(LowMemoryDSTest, BlobIsReadOnlyWhenItsColumnIsLocked)
{
    StubDS ds;
    ds.reset(10);
    LowMemoryDS::Iterator it = ds.row2iterator(4);
    ds.lock(it, 0);
    ds.lock(it, StubDS::colId);
    EXPECT_EQ(ds.blobReads, 0);
    EXPECT_EQ(ds.realLen(it, StubDS::colDoc), 0);
    ds.lock(it, StubDS::colDoc);
    EXPECT_EQ(ds.blobReads, 1);
    EXPECT_EQ(ds.realLen(it, StubDS::colDoc), 4);
    EXPECT_EQ(std::string(static_cast<char*>(ds(it, StubDS::colDoc).blob()->data()), 4), "doc4");
    ds.lock(it, StubDS::colDoc);
    EXPECT_EQ(ds.blobReads, 1);
    for (int i = 0; i < 4; ++i)
        ds.unlock(it);
    // A null blob and an inserted row's blob are never fetched.
    LowMemoryDS::Iterator added = ds.insertRow(it);
    ds.lock(added, StubDS::colDoc);
    ds.unlock(added);
    ds.lock(it, 0);
    ds(it, StubDS::colDoc).blob()->clear();
    ds(it, StubDS::colDoc).setNull(true);
    ds.lock(it, StubDS::colDoc);
    ds.unlock(it);
    ds.unlock(it);
    EXPECT_EQ(ds.blobReads, 1);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, CalculatedValueComputedWhenStale)
{
    StubDS ds;
    ds.reset(10);
    LowMemoryDS::Iterator it = ds.row2iterator(3);
    ds.lock(it, 0);
    EXPECT_EQ(ds.calcs, 0);
    ds.lock(it, StubDS::colTwice);
    EXPECT_EQ(ds.calcs, 1);
    EXPECT_EQ(readInt(ds(it, StubDS::colTwice)), 6);
    ds.lock(it, StubDS::colTwice);
    EXPECT_EQ(ds.calcs, 1);
    ds.unlock(it); ds.unlock(it); ds.unlock(it);
    ds.setId(it, 5);
    ds.setModifyCol(StubDS::colTwice);
    EXPECT_EQ(ds.rowState(it), Modified); // a calculated column does not change the state
    ds.lock(it, StubDS::colTwice);
    EXPECT_EQ(ds.calcs, 2);
    EXPECT_EQ(readInt(ds(it, StubDS::colTwice)), 10);
    EXPECT_TRUE(ds.getModify(it, StubDS::colId));
    EXPECT_FALSE(ds.getModify(it, StubDS::colTwice));
    ds.unlock(it);
    ds.setModifyAll();
    EXPECT_TRUE(ds.getModify(it, StubDS::colTwice));
    EXPECT_EQ(ds.updCount(), 1);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, FailedWriteRollsBackToTheSameChanges)
{
    for (int failAfter : {0, 1, 2}) { // two rows and a deleted record to write
        SCOPED_TRACE(failAfter);
        StubDS ds;
        ds.reset(500);
        ds.setId(ds.row2iterator(2), 20);
        ds.setId(ds.insertRow(ds.row2iterator(4)), 40);
        ds.deleteRow(ds.row2iterator(9));
        EXPECT_FALSE(writeChanges(ds, failAfter));
        ds.rollbackDS();
        EXPECT_EQ(ds.checkInvariants(), 0);
        for (int r = 100; r <= 500; ++r) // plenty of traffic through the pool
            ds.id(ds.row2iterator(r));
        EXPECT_EQ(ds.updCount(), 1);
        EXPECT_EQ(ds.insCount(), 1);
        EXPECT_EQ(ds.delCount(), 1);
        EXPECT_EQ(ds.id(ds.row2iterator(2)), 20);
        EXPECT_EQ(ds.id(ds.row2iterator(4)), 40);
        EXPECT_FALSE(ds.journalIsInfo(ds.row2iterator(2)));
        EXPECT_FALSE(ds.journalIsDeletedInfo(1));
        LowMemoryDS::Iterator it = ds.row2iterator(2);
        ds.lock(it, 0);
        EXPECT_EQ(readInt(ds.orgField(it, 1)), 2); // originals untouched by the journal
        ds.unlock(it);
        // Sent again, it goes through.
        ASSERT_TRUE(writeChanges(ds, -1));
        ds.commitDS();
        EXPECT_FALSE(ds.isModify());
        EXPECT_EQ(ds.checkInvariants(), 0);
    }
}

TEST(LowMemoryDSTest, CommitMakesRowsOriginalWithTheirNewOriginals)
{
    StubDS ds;
    ds.reset(500);
    ds.setId(ds.row2iterator(2), 20);
    ds.setId(ds.insertRow(ds.row2iterator(4)), 40);
    ds.deleteRow(ds.row2iterator(9));
    ds.deleteRow(ds.row2iterator(9));
    ASSERT_TRUE(writeChanges(ds, -1));
    ds.journalChangeDeletedInfo(2, false); // this one was not sent
    ds.db[2] = 20;
    ds.commitDS();
    EXPECT_EQ(ds.updCount(), 0);
    EXPECT_EQ(ds.insCount(), 0);
    EXPECT_EQ(ds.delCount(), 1);
    EXPECT_EQ(ds.deletedDBRow(1), 9); // rows 9 and 10 were cursor rows 8 and 9
    LowMemoryDS::Iterator it = ds.row2iterator(2);
    EXPECT_EQ(ds.rowState(it), Original);
    ds.lock(it, 0);
    EXPECT_EQ(readInt(ds.orgField(it, 1)), 20);
    EXPECT_FALSE(ds.getModify(it, StubDS::colId));
    ds.unlock(it);
    it = LowMemoryDS::Iterator();
    for (int r = 100; r <= 400; ++r) // row 2 is clean now: it may be evicted and re-read
        ds.id(ds.row2iterator(r));
    EXPECT_EQ(ds.id(ds.row2iterator(2)), 20);
    EXPECT_EQ(ds.id(ds.row2iterator(4)), 40); // inserted, not in the cursor: kept
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, ReadFailureLeavesNoHalfRow)
{
    StubDS ds;
    ds.reset(10);
    ds.failOnRow = 6;
    LowMemoryDS::Iterator it = ds.row2iterator(6);
    EXPECT_THROW(ds.lock(it, 0), std::runtime_error);
    EXPECT_EQ(DataBuffer::getRecord(it), nullptr);
    EXPECT_EQ(ds.checkInvariants(), 0);
    ds.failOnRow = 0;
    EXPECT_EQ(ds.id(it), 6);
}

TEST(LowMemoryDSTest, MisuseIsReportedAndRefused)
{
    StubDS ds;
    ds.reset(10);
    AssertSpy spy;
    LowMemoryDS::Iterator it = ds.row2iterator(3);
    ds.unlock(it); // never locked
    EXPECT_EQ(spy.lastExpression(), "rec && !rec->m_inCache");
    ds.id(it); // now cached
    ds.unlock(it);
    EXPECT_EQ(spy.lastExpression(), "rec && !rec->m_inCache");
    ds.lock(it, 0);
    ds.journalChangeInfo(it, true); // an Original row has nothing to write
    EXPECT_EQ(spy.lastExpression(), "rec && rec->lockCount > 0 && rec->state != Original");
    EXPECT_FALSE(ds.journalIsInfo(it));
    ds.unlock(it);
    EXPECT_EQ(spy.count(), 3);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(LowMemoryDSTest, LayoutOfRecords)
{
    StubDS ds;
    EXPECT_EQ(ds.sizeOfRecord() % 8, 0);
    EXPECT_EQ(ds.sizeOfRecord1(), 8);
    EXPECT_GE(ds.getColOffset(1), int(sizeof(LowMemoryRecord)));
    EXPECT_EQ(ds.getColOffset(2), ds.getColOffset(1) + 8);
    EXPECT_EQ(ds.getColOffset(3), ds.getColOffset(2) + 8);
    EXPECT_EQ(ds.sizeOfRecord(), ds.getColOffset(3) + TypicalColsForDBDS::round8(8 + int(sizeof(DSBlob))));
}

TEST(TypicalColsTest, TablesAreOneBasedAndSearchable)
{
    TypicalColsForDBDSWithParams t;
    EXPECT_EQ(t.addCol(DataSource::ColInfo(W("a").c_str(), tInt, 4)), 1);
    EXPECT_EQ(t.insertCol(1, DataSource::ColInfo(W("b").c_str(), tText, 20)), 1);
    EXPECT_EQ(t.colIndexByName(W("a").c_str()), 2);
    EXPECT_EQ(t.colIndexByName(W("zz").c_str()), 0);
    EXPECT_EQ(t.colInfo(1).type(), tText);
    EXPECT_EQ(t.colInfo(3).type(), tNone);
    t.setColDBLink(2, 7, true);
    EXPECT_EQ(t.col(2)->dbCol, 7);
    t.removeCol(1);
    EXPECT_EQ(t.colCount(), 1);

    t.addOrgCol(DataSource::ColInfo(W("k").c_str(), tInt, 4));
    t.setOrgColDBLink(1, 3);
    t.setOrgColAsKey(1, true);
    EXPECT_EQ(t.orgColIndexByDBCol(3), 1);
    EXPECT_TRUE(t.orgCol(1)->isKey);

    t.addParam(DataSource::ColInfo(W("p").c_str(), tText, 10));
    t.addParam(DataSource::ColInfo(W("q").c_str(), tBlob, 0));
    t.addParam(DataSource::ColInfo(W("n").c_str(), tDouble, 0));
    EXPECT_FALSE(t.param(1).valid()); // before initParams
    t.initParams();
    EXPECT_EQ(t.paramIndexByName(W("q").c_str()), 2);
    EXPECT_EQ(t.paramInfo(3).len(), 8);
    bool null = true;
    EXPECT_EQ(t.realParamLen(1, &null), 2); // zeroed: an empty text with its terminator
    EXPECT_FALSE(null);
    t.param(2).blob()->alloc(5);
    EXPECT_EQ(t.realParamLen(2, nullptr), 5);
    t.param(1).setNull(true);
    EXPECT_EQ(t.realParamLen(1, &null), 0);
    EXPECT_TRUE(null);
    t.initParams(); // frees the blob of the old block (AddressSanitizer watches)
    EXPECT_EQ(t.realParamLen(2, nullptr), 0);
}

} // namespace

namespace {

TEST(LowMemoryDSTest, IndexCostFollowsVisitedAndChangedRowsNotRowCount)
{
    StubDS ds;
    const int rows = 10000000;
    ds.reset(rows);
    std::mt19937 rng(7);
    for (int i = 0; i < 1000; ++i)
        ds.id(ds.row2iterator(1 + int(rng() % unsigned(rows))));
    // Evicted rows went back into their runs; only the pool holds entries of its own.
    EXPECT_LE(ds.buffer().entryCount(), 2 * LowMemoryDS::cacheLimit + 1);
    for (int i = 0; i < 200; ++i)
        ds.setId(ds.row2iterator(1 + int(rng() % unsigned(rows))), -i);
    EXPECT_LE(ds.buffer().entryCount(), 2 * (LowMemoryDS::cacheLimit + 200) + 1);
    EXPECT_EQ(ds.updCount(), 200);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

} // namespace

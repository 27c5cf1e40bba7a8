// The cursor's fetched rows: a walk over several read-ahead blocks compared value by value
// with a plain SQLite read, what a fetched row shows after writes through the same and
// through another connection, and the read-ahead's bounds.
#include "test_orvsupport.h"

#include "rowbuffer.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <cstring>
#include <string>
#include <vector>

using namespace OrvCPP;
using namespace orvtest;

namespace {

// More rows than one block holds, of every storage class, some null; `x` has no declared
// type, so its values keep the class they were given.
const int kRows = 700;

void makeWalkTable(const OrvConnect& c)
{
    exec(c, "create table w(id integer primary key, n integer, r real, t text, nt nvarchar(20), x, b blob)");
    exec(c, "with recursive s(i) as (select 1 union all select i + 1 from s where i < " + std::to_string(kRows) +
                ") insert into w select 2 * i, case when i % 7 = 0 then null else i * 1000003 end, "
                "case when i % 11 = 0 then null else i / 3.0 end, 'text ' || i || printf('%.*c', i % 40, 'x'), "
                "'Ж' || i, case i % 4 when 0 then i when 1 then i * 0.5 when 2 then 'v' || i else null end, "
                "case when i % 3 = 0 then randomblob(i % 50) end from s");
    OrvCursor k(c, 0, "commit");
    k.commit();
}

struct WalkKind {
    const char* name;
    const char* layerSql;
    const char* plainSql; // the same rows in the same order
    bool snapshot;
};

// The keyset, a copy with keys, and a copy of a select that has none.
const WalkKind kWalkKinds[] = {
    {"keyset", "select id, n, r, t, nt, x, b from w", "select id, n, r, t, nt, x, b from w order by id", false},
    {"snapshot", "select id, n, r, t, nt, x, b from w", "select id, n, r, t, nt, x, b from w order by id", true},
    {"orderedCopy", "select id, n, r, t, nt, x, b from w order by t desc",
     "select id, n, r, t, nt, x, b from w order by t desc", false},
    {"joinCopy", "select a.id, a.n, a.r, a.t, a.nt, a.x, a.b from w a join w b on b.id = a.id order by a.id",
     "select id, n, r, t, nt, x, b from w order by id", false},
};

void PrintTo(const WalkKind& k, std::ostream* os) { *os << k.name; }

class WalkTable : public ::testing::Test {
protected:
    void SetUp() override
    {
        path = dir.file("walk.db");
        db.open("test", "", path.c_str());
        makeWalkTable(db);
        ASSERT_EQ(sqlite3_open(path.c_str(), &plain), SQLITE_OK);
    }
    void TearDown() override { sqlite3_close(plain); }
    ScratchDir dir;
    std::string path;
    OrvConnect db;
    sqlite3* plain = nullptr;
};

class RowBufferWalk : public WalkTable, public ::testing::WithParamInterface<WalkKind> {};

// Every value of every row, in the text, number and wide forms, as SQLite's own conversions
// give them: the copy a fetch makes must convert exactly as the statement would.
TEST_P(RowBufferWalk, AWalkOverSeveralBlocksMatchesAPlainRead)
{
    OrvCursor c(db, 0, "c", GetParam().snapshot);
    c.execute(GetParam().layerSql);
    ASSERT_EQ(c.selectRowCount(), kRows);
    sqlite3_stmt* st = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(plain, GetParam().plainSql, -1, &st, nullptr), SQLITE_OK);
    VLong row = 0;
    while (sqlite3_step(st) == SQLITE_ROW) {
        c.fetch(fetchNext, 0);
        ASSERT_EQ(c.currentRow(), ++row);
        for (short col = 1; col <= 7; ++col) {
            SCOPED_TRACE("row " + std::to_string(row) + " column " + std::to_string(col));
            const int type = sqlite3_column_type(st, col - 1);
            char buffer[256];
            char isNull = 0;
            VLong len = 0;
            c.getData(col, ValueInfo(orvBinary, buffer, VLong(sizeof buffer), &isNull, &len));
            ASSERT_EQ(isNull != 0, type == SQLITE_NULL);
            if (type == SQLITE_NULL)
                continue;
            const void* bytes = type == SQLITE_BLOB ? sqlite3_column_blob(st, col - 1) : sqlite3_column_text(st, col - 1);
            const int n = sqlite3_column_bytes(st, col - 1);
            ASSERT_EQ(len, n);
            EXPECT_EQ(std::memcmp(buffer, bytes, std::size_t(n)), 0);
            if (type == SQLITE_BLOB)
                continue;
            EXPECT_EQ(text(c, col), reinterpret_cast<const char*>(sqlite3_column_text(st, col - 1)));
            WChar wide[128];
            c.getData(col, ValueInfo(orvWideChar, wide, VLong(sizeof wide), &isNull, &len));
            ASSERT_EQ(len, sqlite3_column_bytes16(st, col - 1));
            EXPECT_EQ(std::memcmp(wide, sqlite3_column_text16(st, col - 1), std::size_t(len)), 0);
            if (type != SQLITE_TEXT) {
                double d = 0;
                c.getData(col, ValueInfo(orvDouble, &d, 8, &isNull));
                EXPECT_EQ(d, sqlite3_column_double(st, col - 1));
            }
        }
        ASSERT_EQ(c.checkInvariants(), 0);
    }
    sqlite3_finalize(st);
    EXPECT_EQ(row, kRows);
    EXPECT_THROW(c.fetch(fetchNext, 0), OrvX);
}

INSTANTIATE_TEST_SUITE_P(Results, RowBufferWalk, ::testing::ValuesIn(kWalkKinds),
                         [](const ::testing::TestParamInfo<WalkKind>& i) { return std::string(i.param.name); });

// What a keyset walk shows of writes (a copy shows the rows as they were at execute):
// through its own connection at the next fetch of the row; through another connection from
// the next block read, or at once after an absolute fetch, which drops the read-ahead.
TEST_F(WalkTable, WritesAreSeenFromTheNextFetchOrBlock)
{
    OrvCursor c(db, 0, "c");
    c.execute(kWalkKinds[0].layerSql);
    c.fetch(fetchNext, 0);
    c.fetch(fetchNext, 0); // row 2: rows after it are read ahead now
    exec(db, "update w set t = 'own' where id in (4, 6)");
    exec(db, "commit");
    // The current row is the copy fetched; the next fetch sees the write.
    EXPECT_EQ(text(c, 4), "text 2xx");
    c.fetch(fetchNext, 0);
    EXPECT_EQ(text(c, 4), "own");

    auto other = [&](const char* sql) { ASSERT_EQ(sqlite3_exec(plain, sql, nullptr, nullptr, nullptr), SQLITE_OK); };
    // Another connection's write inside the block read at row 3 is not seen by the walk ...
    other("update w set t = 'other' where id = 10");
    c.fetch(fetchNext, 0);
    c.fetch(fetchNext, 0);
    EXPECT_EQ(c.currentRow(), 5);
    EXPECT_EQ(text(c, 4), "text 5xxxxx");
    // ... until an absolute fetch drops the read-ahead: the walk after it reads anew.
    c.fetch(fetchAbsolute, 3);
    c.fetch(fetchNext, 0);
    c.fetch(fetchNext, 0);
    EXPECT_EQ(c.currentRow(), 5);
    EXPECT_EQ(text(c, 4), "other");
    // Past the block, the next block read sees it.
    c.fetch(fetchAbsolute, 400);
    c.fetch(fetchNext, 0); // reads rows 401 .. on in one block
    other("update w set t = 'later' where id in (1000, 1400)"); // rows 500 and 700
    while (c.currentRow() < 500)
        c.fetch(fetchNext, 0);
    EXPECT_EQ(text(c, 4), "text 500" + std::string(500 % 40, 'x'));
    while (c.currentRow() < 700)
        c.fetch(fetchNext, 0);
    EXPECT_EQ(text(c, 4), "later");
    EXPECT_EQ(c.checkInvariants(), 0);
}

// Rows far wider than the byte bound divided by the row bound: blocks end at the byte bound,
// and no block holds more than its bounds whatever the result's size.
TEST(RowBufferBounds, TheReadAheadHoldsAtMostItsBlock)
{
    OrvConnect db("test", "", ":memory:");
    const int wide = 3000;
    const int rows = 2 * detail::RowBuffer::kMaxBytes / wide + 3 * detail::RowBuffer::kMaxRows;
    exec(db, "create table wide(id integer primary key, t text)");
    // The first rows are wide, the rest narrow, so that both bounds are met.
    exec(db, "with recursive s(i) as (select 1 union all select i + 1 from s where i < " + std::to_string(rows) +
                 ") insert into wide select i, i || ':' || case when i <= " +
                 std::to_string(2 * detail::RowBuffer::kMaxBytes / wide) + " then printf('%.*c', " +
                 std::to_string(wide) + ", 'w') else 'n' end from s");
    for (bool snapshot : {false, true}) {
        SCOPED_TRACE(snapshot ? "copy" : "keyset");
        OrvCursor c(db, 0, "c", snapshot);
        c.execute("select id, t from wide");
        for (VLong r = 1; r <= rows; ++r) {
            c.fetch(fetchNext, 0);
            ASSERT_EQ(integer(c, 1), r);
            char head[16];
            char isNull = 0;
            VLong len = 0;
            c.getData(2, ValueInfo(head, VLong(sizeof head), &isNull, &len));
            ASSERT_EQ(std::string(head).substr(0, std::string(head).find(':')), std::to_string(r));
            ASSERT_EQ(c.checkInvariants(), 0) << "row " << r;
        }
    }
}

} // namespace

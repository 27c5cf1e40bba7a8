// The copy of a select that is no single-table keyset is made as far as it is read: the row
// count comes from the server at execute, rows are copied on first reading, a rollback in
// the middle of the copy does not lose its place.
#include "test_orvsupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace OrvCPP;
using namespace orvtest;

namespace {

// a(k, v): 3000 rows; b(k, w): two rows per row of a.
void makeTables(const OrvConnect& c)
{
    exec(c, "create table a(k integer primary key, v text)");
    exec(c, "create table b(id integer primary key, k integer, w integer)");
    exec(c, "with recursive s(i) as (select 1 union all select i + 1 from s where i < 3000) "
            "insert into a(k, v) select i, 'v' || i from s");
    exec(c, "insert into b(k, w) select k, k * 2 from a union all select k, k * 2 + 1 from a");
    exec(c, "commit");
}

TEST(LazyCopy, CountAtExecuteRowsOnReading)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeTables(c);
    OrvCursor cur(c, 0, "join");
    cur.execute("select a.k, b.w from a join b on b.k = a.k order by b.w");
    EXPECT_EQ(cur.selectRowCount(), 6000);
    // The last row first, then back to the start: every row is where the order puts it.
    for (VLong row : {6000, 1, 2, 3001, 5999}) {
        cur.fetch(fetchAbsolute, row);
        EXPECT_EQ(integer(cur, 2), row - 1 + 2) << row;
    }
    EXPECT_THROW(cur.fetch(fetchAbsolute, 6001), OrvX);
}

TEST(LazyCopy, ARowThatFailsIsReachedOnlyWhenRead)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeTables(c);
    OrvCursor cur(c, 0, "late");
    // abs() of the smallest integer overflows: row 2000 fails when it is computed.
    cur.execute("select a.k, abs(-9223372036854775807 - (a.k = 2000)) from a join b on b.id = a.k");
    EXPECT_EQ(cur.selectRowCount(), 3000);
    cur.fetch(fetchAbsolute, 1);
    EXPECT_EQ(integer(cur, 1), 1);
    cur.fetch(fetchAbsolute, 1500);
    EXPECT_EQ(integer(cur, 1), 1500);
    EXPECT_THROW(cur.fetch(fetchAbsolute, 2500), OrvX);
}

TEST(LazyCopy, ARollbackInTheMiddleOfTheCopyKeepsItsPlace)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeTables(c);
    OrvCursor cur(c, 0, "copy");
    cur.execute("select k, v from a order by v");
    cur.fetch(fetchAbsolute, 10);
    const std::string tenth = text(cur, 2);
    exec(c, "insert into b(k, w) values (1, 1)");
    OrvCursor other(c, 0, "other");
    other.rollback();
    // Rows past the copied part, after the select was ended by the rollback.
    std::string last;
    cur.fetch(fetchAbsolute, 3000);
    last = text(cur, 2);
    EXPECT_EQ(last, "v999");
    cur.fetch(fetchAbsolute, 10);
    EXPECT_EQ(text(cur, 2), tenth);
    EXPECT_EQ(tenth, "v1006");
    cur.fetch(fetchAbsolute, 11);
    EXPECT_EQ(text(cur, 2), "v1007");
}

} // namespace

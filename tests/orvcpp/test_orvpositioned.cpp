// Positioned writes ("where current of") checked by reading the table back, the cursor's row
// numbers after a positioned delete, and a randomised walk of fetches and deletes over a
// keyset cursor against a simple model, with the index's invariants checked after each step.
#include "test_orvsupport.h"

#include <vexapi/orvcpp/orvstatement.h>
#include "resultset.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace OrvCPP;
using namespace orvtest;

namespace {

// t: keys 10, 20, ..., 10 n with v = "v<key>".
void makeTable(const OrvConnect& c, int n, const char* extra = "")
{
    exec(c, std::string("create table t(k integer primary key, v text") + extra + ")");
    exec(c, "with recursive s(i) as (select 1 union all select i + 1 from s where i < " + std::to_string(n) +
                ") insert into t(k, v) select 10 * i, 'v' || (10 * i) from s");
    exec(c, "commit");
}

std::vector<std::int64_t> keys(const OrvConnect& c, const char* sql = "select k from t order by k")
{
    OrvCursor r(c, 0, "readback", true);
    r.execute(sql);
    std::vector<std::int64_t> out;
    for (VLong i = 1; i <= r.selectRowCount(); ++i) {
        r.fetch(fetchAbsolute, i);
        out.push_back(integer(r, 1));
    }
    return out;
}

struct Kind {
    const char* name;
    const char* select;
    bool snapshot;
};

// The same rows read live by key, copied with their keys, and copied in another order.
const Kind kKinds[] = {
    {"keyset", "select k, v from t", false},
    {"snapshot", "select k, v from t", true},
    {"orderedCopy", "select k, v from t order by v desc", false},
};

void PrintTo(const Kind& k, std::ostream* os) { *os << k.name; }

class Positioned : public ::testing::TestWithParam<Kind> {
protected:
    void SetUp() override
    {
        db.open("test", "", ":memory:");
        makeTable(db, 50);
    }
    OrvConnect db;
};

TEST_P(Positioned, UpdateActsOnTheRowTheNamedCursorStandsOn)
{
    OrvCursor c(db, 0, "C1", GetParam().snapshot);
    c.execute(GetParam().select);
    c.fetch(fetchAbsolute, 7);
    const std::int64_t key = integer(c, 1);
    OrvCursor w(db, 0, "writer");
    w.execute("update t set v = 'changed' where current of \"C1\"");
    EXPECT_EQ(w.rowCount(), 1);
    EXPECT_EQ(scalar(db, "select group_concat(k) from t where v = 'changed'"), std::to_string(key));
    // The cursor keeps the row at its place and shows its new value.
    EXPECT_EQ(c.currentRow(), 7);
    EXPECT_EQ(text(c, 2), "changed");
    c.fetch(fetchAbsolute, 7);
    EXPECT_EQ(text(c, 2), "changed");
    EXPECT_EQ(c.selectRowCount(), 50);
    EXPECT_EQ(c.checkInvariants(), 0);
}

// A walk's rows read ahead are dropped by a positioned delete: the walk goes on with the
// rows after the deleted one moved up, none skipped and none twice.
TEST_P(Positioned, APositionedDeleteDropsTheReadAhead)
{
    OrvCursor c(db, 0, "C1", GetParam().snapshot);
    c.execute(GetParam().select);
    std::vector<std::int64_t> model;
    for (VLong r = 1; r <= 50; ++r) {
        c.fetch(fetchNext, 0);
        model.push_back(integer(c, 1));
    }
    c.fetch(fetchAbsolute, 1);
    for (VLong r = 2; r <= 5; ++r)
        c.fetch(fetchNext, 0);
    OrvCursor w(db, 0, "writer");
    w.execute("delete from t where current of C1");
    EXPECT_EQ(w.rowCount(), 1);
    model.erase(model.begin() + 4);
    EXPECT_EQ(c.currentRow(), 0);
    c.fetch(fetchAbsolute, 5);
    EXPECT_EQ(integer(c, 1), model[4]);
    c.fetch(fetchNext, 0);
    EXPECT_EQ(integer(c, 1), model[5]);
    c.fetch(fetchFirst, 0);
    for (VLong r = 2; r <= 49; ++r) {
        c.fetch(fetchNext, 0);
        ASSERT_EQ(c.currentRow(), r);
        EXPECT_EQ(integer(c, 1), model[std::size_t(r - 1)]);
    }
    EXPECT_THROW(c.fetch(fetchNext, 0), OrvX);
    EXPECT_EQ(c.selectRowCount(), 49);
    EXPECT_EQ(c.checkInvariants(), 0);
}

TEST_P(Positioned, DeletesTakeRowsOutAndTheRowsAfterMoveUp)
{
    OrvCursor c(db, 0, "C1", GetParam().snapshot);
    c.execute(GetParam().select);
    std::vector<std::int64_t> model;
    for (VLong r = 1; r <= 50; ++r) {
        c.fetch(fetchAbsolute, r);
        model.push_back(integer(c, 1));
    }
    OrvCursor w(db, 0, "writer");
    // Rows 5 and 2, the later first, as the row cache deletes.
    for (VLong row : {VLong(5), VLong(2)}) {
        c.fetch(fetchAbsolute, row);
        w.execute("delete from t where current of C1");
        EXPECT_EQ(w.rowCount(), 1);
        model.erase(model.begin() + (row - 1));
        EXPECT_EQ(c.currentRow(), 0) << "the deleted row is no current row";
        EXPECT_EQ(c.checkInvariants(), 0);
    }
    // Without a current row, "current of" finds no cursor.
    EXPECT_THROW(w.execute("delete from t where current of C1"), OrvX);
    EXPECT_EQ(c.selectRowCount(), 48);
    for (VLong r = 1; r <= 48; ++r) {
        c.fetch(fetchAbsolute, r);
        EXPECT_EQ(integer(c, 1), model[std::size_t(r - 1)]) << "row " << r;
    }
    std::vector<std::int64_t> remaining = model;
    std::sort(remaining.begin(), remaining.end());
    EXPECT_EQ(keys(db), remaining);
    w.rollback();
    EXPECT_EQ(keys(db).size(), 50u) << "the deletes were part of the transaction";
}

INSTANTIATE_TEST_SUITE_P(Results, Positioned, ::testing::ValuesIn(kKinds),
                         [](const ::testing::TestParamInfo<Kind>& i) { return std::string(i.param.name); });

TEST(PositionedRules, TheMostRecentlyPositionedCursorOfTheNameIsMeant)
{
    OrvConnect db("test", "", ":memory:");
    makeTable(db, 20);
    // Two unnamed cursors are both "CURSOR", as the database grid's are.
    OrvCursor a(db, 0, nullptr), b(db, 0, nullptr);
    a.execute("select k from t");
    b.execute("select k from t order by k desc");
    a.fetch(fetchAbsolute, 1); // k 10
    b.fetch(fetchAbsolute, 1); // k 200
    OrvCursor w(db, 0, "w");
    w.execute("DELETE FROM \"main\".\"t\"  WHERE CURRENT OF CURSOR;");
    EXPECT_EQ(scalar(db, "select max(k) from t"), "190");
    a.fetch(fetchAbsolute, 2); // k 20
    w.execute("UPDATE \"main\".\"t\" SET \"v\"='x' WHERE CURRENT OF CURSOR;");
    EXPECT_EQ(scalar(db, "select k from t where v = 'x'"), "20");
}

TEST(PositionedRules, CursorsWhoseRowsAreNoTableRowsRefuse)
{
    OrvConnect db("test", "", ":memory:");
    makeTable(db, 20);
    exec(db, "create table other(k integer primary key)");
    struct Case {
        const char* select;
        const char* write;
        short code;
    };
    const Case cases[] = {
        {"select count(*), v from t group by v", "delete from t where current of g", orvapiNotUpdatable},
        {"select a.k from t a join t b on a.k = b.k", "delete from t where current of g", orvapiNotUpdatable},
        {"select k from t", "delete from other where current of g", orvapiNotUpdatable},
        {"select k from t", "delete from t where current of nobody", orvapiNoCursor},
    };
    for (const Case& k : cases) {
        OrvCursor g(db, 0, "g");
        g.execute(k.select);
        g.fetch(fetchAbsolute, 1);
        OrvCursor w(db, 0, "w");
        try {
            w.execute(k.write);
            ADD_FAILURE() << k.select << " / " << k.write;
        } catch (const OrvX& x) {
            EXPECT_EQ(x.orvapiError(), k.code) << x.text();
            EXPECT_STREQ(x.query(), k.write);
        }
    }
    EXPECT_EQ(keys(db).size(), 20u);
}

TEST(PositionedRules, APreparedPositionedStatementRunsWithParameters)
{
    OrvConnect db("test", "", ":memory:");
    makeTable(db, 10);
    OrvCursor c(db, 0, "C");
    c.execute("select k, v from t where k > 30");
    OrvStatement s(db, "update t set v = ? where current of C");
    EXPECT_EQ(s.queryType(), queryPositionedUpdate);
    EXPECT_EQ(s.paramCount(), 1) << "the layer's key is no parameter of the caller";
    char value[8] = "p";
    char isNull = 0;
    BindMap map;
    map.bind(1, ValueInfo(value, sizeof value, &isNull, nullptr));
    OrvCursor w(db, 0, "w");
    for (VLong r : {VLong(1), VLong(3)}) {
        c.fetch(fetchAbsolute, r);
        value[1] = char('0' + r);
        w.execute(s, &map);
    }
    EXPECT_EQ(scalar(db, "select group_concat(k || '=' || v) from t where v like 'p%'"), "40=p1,60=p3");
}

// Fetches, block reads and positioned deletes at random over a keyset cursor with a
// condition and keys with gaps, against a vector of the keys it should show. The index is
// made small (stride 4, at most 8 checkpoints) so that thinning and stride doubling happen.
TEST(PositionedRules, RandomWalkMatchesTheModel)
{
    detail::setKeysetLimits(4, 8);
    struct Restore {
        ~Restore() { detail::setKeysetLimits(0, 0); }
    } restore;
    OrvConnect db("test", "", ":memory:");
    makeTable(db, 600);
    exec(db, "delete from t where k % 70 = 0");
    exec(db, "commit");
    std::vector<std::int64_t> model;
    for (int i = 1; i <= 600; ++i)
        if ((10 * i) % 70 != 0 && (10 * i) % 3 != 0)
            model.push_back(10 * i);

    OrvCursor c(db, 0, "R");
    c.execute("select k, v from t where k % 3 <> 0");
    ASSERT_EQ(c.selectRowCount(), VLong(model.size()));
    OrvCursor w(db, 0, "w");
    std::mt19937 rng(20240229);
    for (int step = 0; step < 1500; ++step) {
        const VLong n = VLong(model.size());
        ASSERT_EQ(c.selectRowCount(), n);
        const VLong row = VLong(rng() % std::uint32_t(n)) + 1;
        ASSERT_GT(n, 0);
        switch (rng() % 8) {
        case 0:
        case 1:
        case 2:
        case 3:
            c.fetch(fetchAbsolute, row);
            ASSERT_EQ(integer(c, 1), model[std::size_t(row - 1)]) << "step " << step << " row " << row;
            break;
        case 4:
        case 5:
        case 6: {
            // Value and flag side by side, every buffer stepped by the record's size.
            struct Record {
                std::int64_t key;
                char isNull;
            } got[16];
            BindMap map;
            map.bind(1, ValueInfo(orvBigInt, &got[0].key, 8, &got[0].isNull));
            const VLong want = std::min<VLong>(16, n - row + 1);
            ASSERT_EQ(c.multiFetch(row, 16, &map, VLong(sizeof(Record))), want);
            for (VLong i = 0; i < want; ++i)
                ASSERT_EQ(got[i].key, model[std::size_t(row - 1 + i)]) << "step " << step << " row " << row + i;
            break;
        }
        default:
            c.fetch(fetchAbsolute, row);
            w.execute("delete from t where current of R");
            model.erase(model.begin() + (row - 1));
            break;
        }
        ASSERT_EQ(c.checkInvariants(), 0) << "step " << step;
    }
}

} // namespace

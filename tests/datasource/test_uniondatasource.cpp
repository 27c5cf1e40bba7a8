// UnionDataSource: the walk from a union row to its member, reads through the members,
// member management, the read-only writes and the following of the members' events.
#include "dstestutil.h"
#include "../signalspy.h"

#include <vexapi/datasource/uniondatasource.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace dstest;

namespace {

typedef DataSource::Iterator Iterator;

// Members of 3 and 2 rows: ids 1..3 and 4..5.
struct ThreeTwo {
    PeopleTable a, b;
    UnionDataSource u;

    ThreeTwo()
    {
        for (int i = 1; i <= 3; ++i)
            a.addRow(i, "a", 1);
        for (int i = 4; i <= 5; ++i)
            b.addRow(i, "b", 2);
        u.rdsAdd(&a);
        u.rdsAdd(&b);
        u.create();
        u.retrieve();
    }
};

// The ids of the union's rows, each read in its member: a union whose first member is
// null has no columns of its own.
std::vector<int> memberIds(const UnionDataSource& u)
{
    std::vector<int> out;
    for (int r = 1; r <= u.rowCount(); ++r) {
        const UnionDataSource::RowLocation at = u.location(r);
        out.push_back(int(at.ds->getFieldInt(at.ds->row2iterator(at.row), 1)));
    }
    return out;
}

} // namespace

TEST(Union, RowsAreFoundByWalkingTheMembers)
{
    ThreeTwo t;
    EXPECT_EQ(t.u.rowCount(), 5);
    EXPECT_EQ(column(t.u), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(t.u.getCurRow(), 1);
    struct Case {
        int row;
        DataSource* ds;
        int memberRow;
        int index;
    } cases[] = {
        {1, &t.a, 1, 0}, {3, &t.a, 3, 0}, {4, &t.b, 1, 1}, {5, &t.b, 2, 1},
        {6, nullptr, 0, -1}, {0, nullptr, 0, -1}, {-1, nullptr, 0, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.row);
        const UnionDataSource::RowLocation at = t.u.location(c.row);
        EXPECT_EQ(at.ds, c.ds);
        if (c.ds) {
            EXPECT_EQ(at.row, c.memberRow);
        }
        EXPECT_EQ(t.u.rdsIndexByRow(c.row), c.index);
        EXPECT_EQ(t.u.location(t.u.iter(c.row)).ds, c.ds);
    }
    EXPECT_EQ(t.u.rdsStartPos(0), 0);
    EXPECT_EQ(t.u.rdsStartPos(1), 3);
    EXPECT_EQ(t.u.rdsStartPos(2), 5);
    EXPECT_EQ(textAt(t.u, t.u.iter(4), 2), "b");
    EXPECT_EQ(t.u.iterator2row(t.u.row2iterator(4)), 4);
    // Reads in any order: backwards, the same row twice, skipping ahead.
    for (int r : {5, 4, 4, 2, 3, 5, 1}) {
        SCOPED_TRACE(r);
        EXPECT_EQ(t.u.getFieldInt(t.u.iter(r), 1), r);
    }
    // Steps go from one member into the next.
    Iterator it = t.u.iter(3);
    ++it;
    EXPECT_EQ(t.u.getFieldInt(it, 1), 4);
    EXPECT_EQ(t.u.checkInvariants(), 0);
}

TEST(Union, ColumnsAreTheFirstMembersAndMissingFieldsReadNothing)
{
    PeopleTable wide;
    wide.addRow(1, "w", 7);
    MemoryDataSource narrowOne;
    narrowOne.addCol(DataSource::ColInfo(WSTR("id"), tInt, 4));
    narrowOne.initColumns();
    narrowOne.setFieldInt(narrowOne.insertRow(narrowOne.end()), 1, 2);

    UnionDataSource u;
    u.rdsAdd(&wide);
    u.rdsAdd(&narrowOne);
    u.create();
    u.retrieve();
    EXPECT_EQ(u.colCount(), 3);
    EXPECT_EQ(u.indexByName(WSTR("grp")), 3);
    EXPECT_EQ(u.colInfo(2).type(), tText);
    EXPECT_EQ(column(u), (std::vector<int>{1, 2}));
    // Row 2 has no column 3: outputs untouched, null, length 0.
    VLong out = 42;
    bool isNull = false;
    u.getField(u.iter(2), 3, &out, 4, &isNull, nullptr);
    EXPECT_EQ(out, 42);
    EXPECT_FALSE(isNull);
    EXPECT_TRUE(u.getNull(u.iter(2), 3));
    EXPECT_EQ(u.realLen(u.iter(2), 3, &isNull), 0);
    EXPECT_TRUE(isNull);
    // A typed read of a missing field: done, nothing written.
    bool ok = false;
    isNull = false;
    EXPECT_EQ(u.getFieldInt(u.iter(2), 3, &isNull, &ok), 0);
    EXPECT_TRUE(ok);
    EXPECT_FALSE(isNull);
    // A typed read converts from the member's own type: a text "12" reads as 12.
    MemoryDataSource texts;
    texts.addCol(DataSource::ColInfo(WSTR("id"), tText, 16));
    texts.initColumns();
    const WString twelve = W("12");
    texts.setField(texts.insertRow(texts.end()), 1, twelve.c_str(), 6, tText, false);
    u.rdsAdd(&texts);
    EXPECT_EQ(u.getFieldInt(u.iter(3), 1), 12);
    u.rdsRemove(2);
    // Past the end and on end(): nothing.
    u.getField(u.iter(3), 1, &out, 4, &isNull, nullptr);
    u.getField(u.end(), 1, &out, 4, &isNull, nullptr);
    EXPECT_EQ(out, 42);

    // No members at all.
    UnionDataSource none;
    none.create();
    none.retrieve();
    EXPECT_EQ(none.rowCount(), 0);
    EXPECT_EQ(none.colCount(), 0);
    EXPECT_EQ(none.colInfo(1).name(), nullptr);
    EXPECT_EQ(none.getCurRow(), 0);
    EXPECT_TRUE(none.begin() == none.end());
    EXPECT_EQ(none.paramCount(), 0);
    EXPECT_EQ(none.indexByParamName(WSTR("x")), 0);
    EXPECT_EQ(narrow(none.paramInfo(1).name()), "");
    EXPECT_EQ(none.paramInfo(1).type(), tNone);
    EXPECT_EQ(none.paramInfo(1).len(), 0);
}

TEST(Union, EveryMemberChangeClosesIt)
{
    ThreeTwo t;
    PeopleTable c;
    c.addRow(6, "c", 3);
    struct Step {
        const char* what;
        std::function<void()> change;
        std::vector<int> ids;
        int count;
    } steps[] = {
        {"add", [&] { EXPECT_EQ(t.u.rdsAdd(&c), 2); }, {1, 2, 3, 4, 5, 6}, 3},
        {"insert first", [&] { t.u.rdsInsert(0, &c); }, {6, 1, 2, 3, 4, 5, 6}, 4},
        {"a null member counts as none", [&] { t.u.rdsInsert(1, nullptr); }, {6, 1, 2, 3, 4, 5, 6}, 5},
        {"set", [&] { t.u.rdsSet(2, &t.b); }, {6, 4, 5, 4, 5, 6}, 5},
        {"remove", [&] { t.u.rdsRemove(0); }, {4, 5, 4, 5, 6}, 4},
        {"remove out of range changes nothing", [&] { t.u.rdsRemove(9); }, {4, 5, 4, 5, 6}, 4},
        {"remove all", [&] { t.u.rdsRemoveAll(); }, {}, 0},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        t.u.create();
        t.u.retrieve();
        s.change();
        if (std::string(s.what) != "remove out of range changes nothing") {
            EXPECT_FALSE(t.u.isCreated());
            EXPECT_EQ(t.u.getCurRow(), 0);
        }
        EXPECT_EQ(t.u.rdsCount(), s.count);
        EXPECT_EQ(memberIds(t.u), s.ids);
        EXPECT_EQ(t.u.colCount(), t.u.rds(0) ? 3 : 0);
        EXPECT_EQ(t.u.checkInvariants(), 0);
    }
    // Once unlisted, a member's events no longer reach the union.
    SignalSpy<> change(&t.u, &DataSource::onChange);
    send(&t.a, &DataSource::onChange);
    send(&c, &DataSource::onChange);
    EXPECT_EQ(change.count(), 0);
}

TEST(Union, WritesRaiseItsError)
{
    ThreeTwo t;
    UnionDataSource& u = t.u;
    const Iterator it = u.begin();
    const std::function<void()> writes[] = {
        [&] { u.insertCol(1, DataSource::ColInfo(WSTR("x"), tInt, 4)); },
        [&] { u.setCol(1, DataSource::ColInfo(WSTR("x"), tInt, 4)); },
        [&] { u.removeCol(1); },
        [&] { u.insertRow(it); },
        [&] { u.deleteRow(it); },
        [&] { u.setFieldInt(it, 1, 5); },
        [&] { u.setNull(it, 1, true); },
        [&] { u.clear(); },
    };
    for (const auto& write : writes)
        EXPECT_THROW(write(), UnionDataSource::Error);
    EXPECT_EQ(column(t.a), (std::vector<int>{1, 2, 3}));
    // The operations that do nothing.
    u.update();
    u.commitDS();
    u.rollbackDB();
    u.setFilter(DataSource::FilterInfo());
    EXPECT_FALSE(u.isModified());
}

TEST(Union, FollowsItsMembers)
{
    ThreeTwo t;
    SignalSpy<> change(&t.u, &DataSource::onChange);
    SignalSpy<> full(&t.u, &DataSource::onFullChange);
    struct Step {
        const char* what;
        std::function<void()> edit;
        std::vector<int> ids;
    } steps[] = {
        {"a row inserted in the second member",
         [&] { send(&t.b, &DataSource::onInsert, t.b.addRow(7, "b", 2, 1)); },
         {1, 2, 3, 7, 4, 5}},
        {"a row deleted from the first",
         [&] {
             t.a.deleteRow(t.a.row2iterator(2));
             send(&t.a, &DataSource::onDelete, 2);
         },
         {1, 3, 7, 4, 5}},
        {"a field written",
         [&] {
             const Iterator it = t.b.row2iterator(3);
             t.b.setFieldInt(it, 1, 50);
             send(&t.b, &DataSource::onFieldChanged, it, 1);
         },
         {1, 3, 7, 4, 50}},
        {"a move in a member",
         [&] {
             t.a.setCurRow(2);
             send(&t.a, &DataSource::onCurPosChanged, t.a.getCurIterator());
         },
         {1, 3, 7, 4, 50}},
    };
    int changes = 0;
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        t.u.setCurRow(4);
        s.edit();
        EXPECT_EQ(column(t.u), s.ids);
        EXPECT_EQ(t.u.getCurRow(), 1);
        EXPECT_EQ(change.count(), ++changes);
        EXPECT_EQ(t.u.checkInvariants(), 0);
    }
    send(&t.b, &DataSource::onFullChange);
    EXPECT_EQ(full.count(), 1);
    EXPECT_EQ(t.u.getCurRow(), 1);

    // A member emptied: the current row follows to 0 with the last row gone.
    t.u.rdsRemove(1);
    while (t.a.rowCount() > 0)
        t.a.deleteRow(t.a.begin());
    send(&t.a, &DataSource::onChange);
    EXPECT_EQ(t.u.getCurRow(), 0);
}

TEST(Union, TheLossOfAMemberClosesIt)
{
    PeopleTable a;
    a.addRow(1, "a", 1);
    std::unique_ptr<PeopleTable> b(new PeopleTable);
    b->addRow(2, "b", 1);
    UnionDataSource u;
    u.rdsAdd(b.get());
    u.rdsAdd(&a);
    u.rdsAdd(b.get()); // listed twice: both entries go
    u.create();
    u.retrieve();
    EXPECT_EQ(column(u), (std::vector<int>{2, 1, 2}));
    b.reset();
    EXPECT_FALSE(u.isCreated());
    EXPECT_EQ(u.rdsCount(), 1);
    EXPECT_EQ(u.rds(0), &a);
    EXPECT_EQ(u.checkInvariants(), 0);
    EXPECT_EQ(column(u), (std::vector<int>{1}));
    u.create();
    EXPECT_TRUE(u.isCreated());
}

// DataSourceLink over real sources: reset and copies, the destruction of either partner,
// the destruction orders of lookups and unions, and a three-level master/detail/detail
// cascade run at random beside a model.
#include "dstestutil.h"
#include "../signalspy.h"

#include <vexapi/datasource/datasourcelink.h>
#include <vexapi/datasource/lookupdatasource.h>
#include <vexapi/datasource/treedatasource.h>
#include <vexapi/datasource/uniondatasource.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <type_traits>

using namespace dstest;

namespace {

typedef DataSource::Iterator Iterator;

static_assert(std::is_base_of<DataSource, TreeDataSource>::value, "a tree source is a source");

// A lookup over its own table, narrowed by "grp" = :g: the detail of a link.
struct Detail {
    PeopleTable table;
    LookupDataSource view;

    Detail()
    {
        view.setDataSource(&table);
        view.create();
        DataSource::FilterInfo f;
        f.add(WSTR("grp"), WSTR("g"), false);
        view.setFilter(f);
    }
};

bool paramNull(const DataSource& ds, int p = 1)
{
    bool isNull = false;
    VLong v;
    ds.getParam(p, &v, 4, &isNull, nullptr);
    return isNull;
}

VLong paramInt(const DataSource& ds, int p = 1)
{
    VLong v = 0;
    ds.getParam(p, &v, 4, nullptr, nullptr);
    return v;
}

void moveTo(DataSource& ds, int row)
{
    ds.setCurRow(row);
    send(&ds, &DataSource::onCurPosChanged, ds.getCurIterator());
}

} // namespace

TEST(LinkLife, ThePairsAndTheirLookups)
{
    DataSourceLink link;
    EXPECT_EQ(link.add(WSTR("a"), WSTR("x")), 0);
    EXPECT_EQ(link.add(WSTR("b"), WSTR("y")), 1);
    link.set(1, WSTR("c"), WSTR("z"));
    link.set(5, WSTR("q"), WSTR("q")); // out of range: ignored
    EXPECT_EQ(link.colCount(), 2);
    EXPECT_EQ(link.findByPriCol(WSTR("c")), 1);
    EXPECT_EQ(link.findBySecCol(WSTR("x")), 0);
    EXPECT_EQ(link.findByPriCol(WSTR("b")), -1);
    EXPECT_EQ(link.findBySecCol(WSTR("X")), -1); // exact comparison
    EXPECT_EQ(link.priColName(2), nullptr);
    link.clear();
    EXPECT_EQ(link.colCount(), 0);
    EXPECT_EQ(link.checkInvariants(), 0);
}

TEST(LinkLife, EachDestructionOrderLeavesNoDanglingPartner)
{
    enum Gone { Primary, Secondary, TheLink };
    for (Gone gone : {Primary, Secondary, TheLink}) {
        SCOPED_TRACE(int(gone));
        std::unique_ptr<PeopleTable> master(new PeopleTable);
        master->addRow(1, "m", 10);
        master->addRow(2, "m", 20);
        std::unique_ptr<Detail> detail(new Detail);
        detail->table.addRow(5, "d", 20);
        std::unique_ptr<DataSourceLink> link(new DataSourceLink(master.get(), &detail->view));
        link->add(WSTR("grp"), WSTR("g"));
        moveTo(*master, 2);
        ASSERT_EQ(column(detail->view), (std::vector<int>{5}));
        EXPECT_EQ(link->checkInvariants(), 0);

        switch (gone) {
        case Primary:
            master.reset();
            EXPECT_EQ(link->priDS(), nullptr);
            EXPECT_EQ(link->colCount(), 0);
            // The detail keeps its last parameter and rows.
            EXPECT_EQ(paramInt(detail->view), 20);
            EXPECT_EQ(detail->view.rowCount(), 1);
            EXPECT_FALSE(detail->view.setLinkParams());
            break;
        case Secondary:
            detail.reset();
            EXPECT_EQ(link->secDS(), nullptr);
            EXPECT_EQ(link->colCount(), 0);
            // The master's events reach nobody.
            moveTo(*master, 1);
            break;
        case TheLink:
            link.reset();
            EXPECT_EQ(detail->view.linkCount(), 0);
            moveTo(*master, 1);
            EXPECT_EQ(paramInt(detail->view), 20);
            break;
        }
        if (link) {
            EXPECT_EQ(link->checkInvariants(), 0);
        }
        // The rest goes in the other order, also under the sanitizers.
    }
}

TEST(LinkLife, ResetCopyAndAssignment)
{
    PeopleTable m1, m2;
    m1.addRow(1, "m", 10);
    m2.addRow(2, "m", 20);
    m1.toFirst();
    m2.toFirst();
    Detail d1, d2;

    DataSourceLink link(&m1, &d1.view);
    link.add(WSTR("grp"), WSTR("g"));
    send(&m1, &DataSource::onChange);
    EXPECT_EQ(paramInt(d1.view), 10);

    // Only the primary changes: the detail follows the new one, not the old.
    link.reset(&m2, &d1.view);
    EXPECT_EQ(link.checkInvariants(), 0);
    EXPECT_EQ(d1.view.linkCount(), 1);
    send(&m2, &DataSource::onChange);
    EXPECT_EQ(paramInt(d1.view), 20);
    d1.view.setParam(1, nullptr, 0, true);
    send(&m1, &DataSource::onChange);
    EXPECT_TRUE(paramNull(d1.view));

    // The secondary replaced: the new one is listed and follows; the old one is no longer
    // listed, yet still hears the primary (kept so: applications rely on it). It copies
    // nothing, having no link to read.
    link.reset(&m1, &d2.view);
    EXPECT_EQ(d1.view.linkCount(), 0);
    EXPECT_EQ(d2.view.linkCount(), 1);
    SignalSpy<> oldHears(&d1.view, &DataSource::onChange);
    send(&m1, &DataSource::onChange);
    EXPECT_EQ(paramInt(d2.view), 10);
    EXPECT_EQ(oldHears.count(), 1);
    EXPECT_TRUE(paramNull(d1.view));

    // A copy is a second link on the same partners with the same pairs.
    {
        DataSourceLink copy(link);
        EXPECT_EQ(d2.view.linkCount(), 2);
        EXPECT_EQ(copy.colCount(), 1);
        EXPECT_EQ(copy.priDS(), &m1);
        EXPECT_EQ(copy.checkInvariants(), 0);
        DataSourceLink other(&m2, &d1.view);
        other = link;
        EXPECT_EQ(d1.view.linkCount(), 0);
        EXPECT_EQ(d2.view.linkCount(), 3);
        EXPECT_EQ(other.findBySecCol(WSTR("g")), 0);
    }
    EXPECT_EQ(d2.view.linkCount(), 1);
    EXPECT_EQ(link.checkInvariants(), 0);
}

TEST(LinkLife, LookupAndUnionDestructionOrders)
{
    enum Gone { SourceFirst, ViewFirst };
    for (Gone gone : {SourceFirst, ViewFirst}) {
        SCOPED_TRACE(int(gone));
        std::unique_ptr<PeopleTable> a(new PeopleTable), b(new PeopleTable);
        a->addRow(1, "a", 1);
        b->addRow(2, "b", 1);
        std::unique_ptr<LookupDataSource> lookup(new LookupDataSource);
        std::unique_ptr<UnionDataSource> u(new UnionDataSource);
        lookup->setDataSource(a.get());
        lookup->create();
        lookup->retrieve();
        // A union over the lookup and a table: a chain of watchers.
        u->rdsAdd(lookup.get());
        u->rdsAdd(b.get());
        u->create();
        u->retrieve();
        ASSERT_EQ(column(*u), (std::vector<int>{1, 2}));
        if (gone == SourceFirst) {
            a.reset();
            EXPECT_EQ(lookup->getDataSource(), nullptr);
            EXPECT_EQ(lookup->rowCount(), 0);
            EXPECT_EQ(lookup->checkInvariants(), 0);
            // The table's death was not the union's event: it still walks the empty lookup,
            // which now has no columns, and so neither has the union.
            EXPECT_EQ(u->rowCount(), 1);
            EXPECT_EQ(u->location(1).ds, b.get());
            EXPECT_EQ(u->colCount(), 0);
            lookup.reset();
            EXPECT_EQ(u->rdsCount(), 1);
            EXPECT_FALSE(u->isCreated());
            b.reset();
            EXPECT_EQ(u->rdsCount(), 0);
            EXPECT_EQ(u->rowCount(), 0);
            EXPECT_EQ(u->checkInvariants(), 0);
        } else {
            u.reset();
            lookup.reset();
            send(a.get(), &DataSource::onChange);
            send(b.get(), &DataSource::onChange);
        }
    }
}

// ---- The cascade: a master table, a detail lookup, and a detail of the detail ----

namespace {

// The model: each source's rows as (id, key), the two lookups' parameters and current rows.
struct Model {
    std::vector<int> master;                     // ids, which are the detail's keys
    std::vector<std::pair<int, int>> middle;     // (id, master id) of the middle table
    std::vector<std::pair<int, int>> leaf;       // (id, middle id) of the leaf table
    int masterCur = 0;
    bool dNull = true, gNull = true;
    int dParam = 0, gParam = 0;
    std::vector<int> dRows, gRows;               // ids shown
    int dCur = 0;

    void retrieveD()
    {
        dRows.clear();
        if (!dNull)
            for (const auto& r : middle)
                if (r.second == dParam)
                    dRows.push_back(r.first);
        dCur = dRows.empty() ? 0 : 1;
    }
    void retrieveG()
    {
        gRows.clear();
        if (!gNull)
            for (const auto& r : leaf)
                if (r.second == gParam)
                    gRows.push_back(r.first);
    }
    // The middle's onChange reaches the leaf: the parameter follows the middle's row; with
    // no row it turns null without a change, so the leaf keeps its rows.
    void followD()
    {
        if (dCur == 0) {
            gNull = true;
            return;
        }
        const int v = dRows[std::size_t(dCur - 1)];
        if (gNull || gParam != v) {
            gNull = false;
            gParam = v;
            retrieveG();
        }
    }
    void followMaster()
    {
        const int v = master[std::size_t(masterCur - 1)];
        if (dNull || dParam != v) {
            dNull = false;
            dParam = v;
            retrieveD();
        }
        followD();
    }
};

} // namespace

TEST(Cascade, ThreeLevelsFollowRandomMovesAndEdits)
{
    PeopleTable master, middle, leaf;
    LookupDataSource d, g;
    const auto open = [](LookupDataSource& l, DataSource& ds) {
        l.setDataSource(&ds);
        l.create();
        DataSource::FilterInfo f;
        f.add(WSTR("grp"), WSTR("key"), false);
        l.setFilter(f);
    };
    open(d, middle);
    open(g, leaf);
    DataSourceLink toMiddle(&master, &d), toLeaf(&d, &g);
    toMiddle.add(WSTR("id"), WSTR("key"));
    toLeaf.add(WSTR("id"), WSTR("key"));

    Model m;
    std::mt19937 rng(20261124);
    const auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    int nextId = 100;
    for (int i = 1; i <= 4; ++i) {
        master.addRow(i, "m", 0);
        m.master.push_back(i);
    }
    for (int i = 0; i < 12; ++i) {
        const int id = nextId++, key = pick(1, 5);
        middle.addRow(id, "d", key);
        m.middle.emplace_back(id, key);
    }
    for (int i = 0; i < 30; ++i) {
        const int id = nextId++, key = pick(100, 111);
        leaf.addRow(id, "l", key);
        m.leaf.emplace_back(id, key);
    }

    const auto check = [&](int step) {
        SCOPED_TRACE(step);
        ASSERT_EQ(column(d), m.dRows);
        ASSERT_EQ(d.getCurRow(), m.dCur);
        ASSERT_EQ(paramNull(d), m.dNull);
        if (!m.dNull) {
            ASSERT_EQ(paramInt(d), m.dParam);
        }
        ASSERT_EQ(column(g), m.gRows);
        ASSERT_EQ(paramNull(g), m.gNull);
        if (!m.gNull) {
            ASSERT_EQ(paramInt(g), m.gParam);
        }
        ASSERT_EQ(d.checkInvariants(), 0);
        ASSERT_EQ(g.checkInvariants(), 0);
        ASSERT_EQ(master.checkInvariants(), 0);
        ASSERT_EQ(middle.checkInvariants(), 0);
        ASSERT_EQ(toMiddle.checkInvariants(), 0);
        ASSERT_EQ(toLeaf.checkInvariants(), 0);
    };

    m.masterCur = 1;
    moveTo(master, 1);
    m.followMaster();
    check(0);

    for (int step = 1; step <= 600; ++step) {
        switch (pick(0, 7)) {
        case 0: { // the master moves
            m.masterCur = pick(1, int(m.master.size()));
            moveTo(master, m.masterCur);
            m.followMaster();
            break;
        }
        case 1: { // a master key rewritten (maybe not the current row's)
            const int row = pick(1, int(m.master.size())), v = pick(1, 6);
            const Iterator it = master.row2iterator(row);
            master.setFieldInt(it, 1, v);
            m.master[std::size_t(row - 1)] = v;
            send(&master, &DataSource::onFieldChanged, it, 1);
            m.followMaster();
            break;
        }
        case 2: { // the middle lookup moves
            if (m.dRows.empty())
                break;
            m.dCur = pick(1, int(m.dRows.size()));
            moveTo(d, m.dCur);
            m.followD();
            break;
        }
        case 3: { // a middle row inserted
            const int id = nextId++, key = pick(1, 6);
            const int before = pick(0, int(m.middle.size()));
            const Iterator it = middle.addRow(id, "d", key, before);
            m.middle.insert(before > 0 ? m.middle.begin() + (before - 1) : m.middle.end(),
                            std::make_pair(id, key));
            send(&middle, &DataSource::onInsert, it);
            m.retrieveD();
            m.followD();
            break;
        }
        case 4: { // a middle row deleted
            if (m.middle.empty())
                break;
            const int row = pick(1, int(m.middle.size()));
            middle.deleteRow(middle.row2iterator(row));
            m.middle.erase(m.middle.begin() + (row - 1));
            send(&middle, &DataSource::onDelete, row);
            m.retrieveD();
            m.followD();
            break;
        }
        case 5: { // a middle row moves to another master
            if (m.middle.empty())
                break;
            const int row = pick(1, int(m.middle.size())), key = pick(1, 6);
            const Iterator it = middle.row2iterator(row);
            middle.setFieldInt(it, 3, key);
            m.middle[std::size_t(row - 1)].second = key;
            send(&middle, &DataSource::onFieldChanged, it, 3);
            m.retrieveD();
            m.followD();
            break;
        }
        case 6: { // a leaf row moves to another middle row
            const int row = pick(1, int(m.leaf.size())), key = pick(100, nextId - 1);
            const Iterator it = leaf.row2iterator(row);
            leaf.setFieldInt(it, 3, key);
            m.leaf[std::size_t(row - 1)].second = key;
            send(&leaf, &DataSource::onRowChanged, it);
            m.retrieveG();
            break;
        }
        case 7: { // a leaf row inserted for the current middle row
            const int key = m.dRows.empty() ? pick(100, nextId - 1) : m.dRows[0];
            const int id = nextId++;
            send(&leaf, &DataSource::onInsert, leaf.addRow(id, "l", key));
            m.leaf.emplace_back(id, key);
            m.retrieveG();
            break;
        }
        }
        check(step);
        if (HasFatalFailure())
            return;
    }
}

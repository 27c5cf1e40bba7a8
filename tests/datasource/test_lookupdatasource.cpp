// LookupDataSource: the pattern rules, parameters made by the filter, the exchange sort,
// the read-only writes, and the rebuild after every event of the source.
#include "dstestutil.h"
#include "../signalspy.h"

#include <vexapi/datasource/lookupdatasource.h>

#include <gtest/gtest.h>

#include <functional>

using namespace dstest;

namespace {

typedef DataSource::Iterator Iterator;

void setTextParam(DataSource& ds, int param, const char* text)
{
    const WString w = W(text);
    ds.setParam(param, w.c_str(), int((w.size() + 1) * sizeof(WChar)), tText, false, nullptr);
}

void setIntParam(DataSource& ds, int param, VLong v)
{
    ds.setParam(param, &v, 4, tInt, false, nullptr);
}

// A lookup over `table` with the conditions name = :p (LIKE when asked) or grp = :g.
struct View {
    PeopleTable table;
    LookupDataSource lookup;

    void open(DataSource::FilterInfo filter)
    {
        lookup.setDataSource(&table);
        lookup.create();
        lookup.setFilter(filter);
    }
};

DataSource::FilterInfo byName(bool useLike)
{
    DataSource::FilterInfo f;
    f.add(WSTR("name"), WSTR("p"), useLike);
    return f;
}

DataSource::FilterInfo byGroup()
{
    DataSource::FilterInfo f;
    f.add(WSTR("grp"), WSTR("g"), false);
    return f;
}

} // namespace

TEST(Lookup, PatternRules)
{
    struct Case {
        const char* pattern;
        bool useLike;
        const char* field;
        bool shown;
    } cases[] = {
        {"AB%", true, "ABC", true},
        {"AB%", true, "AB", true},
        {"AB%", true, "A", false},
        {"AB%", true, "XAB", false},
        {"%", true, "anything", true},
        {"%", true, "", true},
        // A '%' before the last one is an ordinary character...
        {"A%B%", true, "A%BC", true},
        {"A%B%", true, "AXBC", false},
        // ...and a last '%' preceded by another one is literal, with the text compared whole.
        {"A%%", true, "A%%", true},
        {"A%%", true, "A%%B", false},
        {"A%%", true, "AB", false},
        // Only the last '%' cuts: "A%B" is the prefix "A".
        {"A%B", true, "AQ", true},
        // Without '%' or without useLike the whole text must be equal.
        {"AB", true, "AB", true},
        {"AB", true, "ABC", false},
        {"AB%", false, "ABC", false},
        {"AB%", false, "AB%", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.pattern) + " / " + c.field);
        View v;
        v.table.addRow(1, c.field, 0);
        v.open(byName(c.useLike));
        ASSERT_EQ(v.lookup.paramCount(), 1);
        setTextParam(v.lookup, 1, c.pattern);
        v.lookup.retrieve();
        EXPECT_EQ(v.lookup.rowCount(), c.shown ? 1 : 0);
        EXPECT_EQ(v.lookup.getCurRow(), c.shown ? 1 : 0);
        EXPECT_EQ(v.lookup.checkInvariants(), 0);
    }
}

TEST(Lookup, NullsShowNothing)
{
    View v;
    v.table.addRow(1, "a", 5);
    v.table.addRow(2, nullptr, 5);
    v.table.addRow(3, "b", 6);
    v.open(byName(true));
    // A parameter never set is null: nothing is shown.
    v.lookup.retrieve();
    EXPECT_EQ(v.lookup.rowCount(), 0);
    EXPECT_EQ(v.lookup.getCurRow(), 0);
    EXPECT_TRUE(v.lookup.begin() == v.lookup.end());
    // "%" matches every text, and still never a null field.
    setTextParam(v.lookup, 1, "%");
    v.lookup.retrieve();
    EXPECT_EQ(column(v.lookup), (std::vector<int>{1, 3}));
    // Back to null.
    v.lookup.setParam(1, nullptr, 0, true);
    v.lookup.retrieve();
    EXPECT_EQ(v.lookup.rowCount(), 0);
}

TEST(Lookup, FilterMakesParametersFromKnownColumns)
{
    View v;
    DataSource::FilterInfo f;
    f.add(WSTR("grp"), WSTR("g"), false);
    f.add(WSTR("nope"), WSTR("x"), false);
    f.add(WSTR("name"), WSTR("n"), true);
    v.open(f);
    ASSERT_EQ(v.lookup.paramCount(), 2);
    EXPECT_EQ(v.lookup.indexByParamName(WSTR("g")), 1);
    EXPECT_EQ(v.lookup.indexByParamName(WSTR("n")), 2);
    EXPECT_EQ(v.lookup.indexByParamName(WSTR("x")), 0);
    EXPECT_EQ(v.lookup.paramInfo(2).type(), tText);
    EXPECT_EQ(v.lookup.paramInfo(2).len(), 40);
    EXPECT_EQ(narrow(v.lookup.paramInfo(1).name()), "g");
    EXPECT_EQ(v.lookup.paramInfo(3).name(), nullptr);

    // A typed write converts to the column's type; a text longer than the column is cut.
    const WString seven = W("7");
    v.lookup.setParam(1, seven.c_str(), 4, tText, false, nullptr);
    VLong g = 0;
    bool isNull = true;
    v.lookup.getParam(1, &g, 4, &isNull, nullptr);
    EXPECT_FALSE(isNull);
    EXPECT_EQ(g, 7);
    setTextParam(v.lookup, 2, "abcdefghijklmnopqrstuvwxyz");
    WChar back[64];
    v.lookup.getParam(2, back, int(sizeof back), &isNull, nullptr);
    EXPECT_EQ(narrow(back), "abcdefghijklmnopqrs"); // 19 characters and a terminator

    // The same columns again: the values stay, the names follow the new filter.
    DataSource::FilterInfo same;
    same.add(WSTR("grp"), WSTR("g2"), false);
    same.add(WSTR("name"), WSTR("n2"), true);
    v.lookup.setFilter(same);
    EXPECT_EQ(v.lookup.indexByParamName(WSTR("g2")), 1);
    v.lookup.getParam(1, &g, 4, &isNull, nullptr);
    EXPECT_FALSE(isNull);
    // Other columns: new parameters, all null.
    v.lookup.setFilter(byGroup());
    ASSERT_EQ(v.lookup.paramCount(), 1);
    v.lookup.getParam(1, &g, 4, &isNull, nullptr);
    EXPECT_TRUE(isNull);
    EXPECT_EQ(v.lookup.checkInvariants(), 0);

    // Not created: the filter is not taken.
    LookupDataSource idle;
    idle.setDataSource(&v.table);
    idle.setFilter(f);
    EXPECT_EQ(idle.paramCount(), 0);
}

TEST(Lookup, SortIsStableBothWays)
{
    View v;
    const struct {
        int id;
        const char* name;
    } rows[] = {{1, "c"}, {2, "a"}, {3, "b"}, {4, "a"}, {5, nullptr}, {6, "c"}};
    for (const auto& r : rows)
        v.table.addRow(r.id, r.name, 1);
    struct Case {
        bool ascending;
        std::vector<int> ids;
    } cases[] = {
        {true, {5, 2, 4, 3, 1, 6}}, // a null sorts first, ties keep the source order
        {false, {1, 6, 3, 2, 4, 5}},
    };
    for (const Case& c : cases) {
        DataSource::FilterInfo f = byGroup();
        f.addSort(WSTR("unknown")); // passed over
        f.addSort(WSTR("name"));
        f.setOrder(c.ascending);
        v.open(f);
        setIntParam(v.lookup, 1, 1);
        v.lookup.retrieve();
        EXPECT_EQ(column(v.lookup), c.ids);
        EXPECT_EQ(v.lookup.getCurRow(), 1);
        EXPECT_EQ(v.lookup.checkInvariants(), 0);
    }
}

TEST(Lookup, WritesRaiseItsError)
{
    View v;
    v.table.addRow(1, "a", 1);
    v.open(byGroup());
    setIntParam(v.lookup, 1, 1);
    v.lookup.retrieve();
    LookupDataSource& l = v.lookup;
    const Iterator it = l.begin();
    const std::function<void()> writes[] = {
        [&] { l.insertCol(1, DataSource::ColInfo(WSTR("x"), tInt, 4)); },
        [&] { l.setCol(1, DataSource::ColInfo(WSTR("x"), tInt, 4)); },
        [&] { l.removeCol(1); },
        [&] { l.insertRow(it); },
        [&] { l.deleteRow(it); },
        [&] { l.setFieldInt(it, 1, 5); },
        [&] { l.setNull(it, 1, true); },
        [&] { l.clear(); },
    };
    for (const auto& write : writes) {
        try {
            write();
            ADD_FAILURE() << "no error";
        } catch (const LookupDataSource::Error& e) {
            WChar msg[8] = {WChar('x')};
            e.getMessage(msg, 8);
            EXPECT_EQ(msg[0], 0);
        }
    }
    // Nothing changed underneath.
    EXPECT_EQ(v.table.rowCount(), 1);
    EXPECT_EQ(v.table.getFieldInt(v.table.begin(), 1), 1);
}

TEST(Lookup, ReadsGoThroughTheSourcePositions)
{
    View v;
    for (int i = 1; i <= 5; ++i)
        v.table.addRow(i, i % 2 ? "odd" : "even", i % 2);
    v.open(byGroup());
    setIntParam(v.lookup, 1, 1);
    v.lookup.retrieve();
    ASSERT_EQ(column(v.lookup), (std::vector<int>{1, 3, 5}));
    EXPECT_EQ(v.lookup.colCount(), 3);
    EXPECT_EQ(v.lookup.indexByName(WSTR("name")), 2);
    EXPECT_EQ(textAt(v.lookup, v.lookup.iter(2), 2), "odd");
    EXPECT_FALSE(v.lookup.getNull(v.lookup.iter(2), 2));
    bool isNull = true;
    EXPECT_EQ(v.lookup.realLen(v.lookup.iter(2), 2, &isNull), 8);
    // The ds position is the table's own row.
    EXPECT_EQ(v.table.iterator2row(v.lookup.dsiter(3)), 5);
    EXPECT_TRUE(v.lookup.dsiter(4).empty());
    // Positions: out of range is end(); setCurRow keeps to the rows.
    EXPECT_TRUE(v.lookup.iter(4) == v.lookup.end());
    EXPECT_TRUE(v.lookup.iter(0) == v.lookup.end());
    v.lookup.setCurRow(3);
    EXPECT_EQ(v.lookup.iterator2row(v.lookup.getCurIterator()), 3);
    v.lookup.setCurRow(4);
    EXPECT_EQ(v.lookup.getCurRow(), 3);
    // A walk ends on end() in both directions.
    Iterator back = v.lookup.end();
    --back;
    EXPECT_EQ(v.lookup.iterator2row(back), 3);
    Iterator last = v.lookup.iter(3);
    ++last;
    EXPECT_TRUE(last == v.lookup.end());
    v.lookup.setCurIterator(v.lookup.iter(2));
    EXPECT_EQ(v.lookup.getCurRow(), 2);
    // A read past the end leaves the outputs alone.
    VLong out = 42;
    isNull = false;
    v.lookup.getField(v.lookup.end(), 1, &out, 4, &isNull, nullptr);
    EXPECT_EQ(out, 42);
    EXPECT_FALSE(isNull);

    // Without a source: no columns, no rows, outputs untouched.
    LookupDataSource empty;
    empty.create();
    empty.retrieve();
    EXPECT_EQ(empty.colCount(), 0);
    EXPECT_EQ(empty.rowCount(), 0);
    EXPECT_EQ(empty.colInfo(1).name(), nullptr);
    empty.getField(empty.begin(), 1, &out, 4, &isNull, nullptr);
    EXPECT_EQ(out, 42);
    EXPECT_EQ(empty.checkInvariants(), 0);
}

TEST(Lookup, FollowsEveryEventOfItsSource)
{
    View v;
    for (int i = 1; i <= 4; ++i)
        v.table.addRow(i, "n", i <= 2 ? 1 : 2);
    v.open(byGroup());
    setIntParam(v.lookup, 1, 1);
    v.lookup.retrieve();
    v.lookup.setCurRow(2);
    SignalSpy<> change(&v.lookup, &DataSource::onChange);
    SignalSpy<> full(&v.lookup, &DataSource::onFullChange);

    // Each step edits the table as a caller would and sends its event; the view is
    // rebuilt, back on its first row, and tells its own subscribers.
    struct Step {
        const char* what;
        std::function<void()> edit;
        std::vector<int> ids;
    } steps[] = {
        {"a matching row inserted",
         [&] { send(&v.table, &DataSource::onInsert, v.table.addRow(9, "n", 1, 2)); },
         {1, 9, 2}},
        {"a row that does not match",
         [&] { send(&v.table, &DataSource::onInsert, v.table.addRow(8, "n", 3)); },
         {1, 9, 2}},
        {"a field moves a row in",
         [&] {
             const Iterator it = v.table.row2iterator(4);
             v.table.setFieldInt(it, 3, 1);
             send(&v.table, &DataSource::onFieldChanged, it, 3);
         },
         {1, 9, 2, 3}},
        {"a row deleted",
         [&] {
             v.table.deleteRow(v.table.row2iterator(1));
             send(&v.table, &DataSource::onDelete, 1);
         },
         {9, 2, 3}},
        {"a mere move of the table's own row",
         [&] {
             v.table.setCurRow(3);
             send(&v.table, &DataSource::onCurPosChanged, v.table.getCurIterator());
         },
         {9, 2, 3}},
        {"a row change",
         [&] {
             const Iterator it = v.table.row2iterator(1);
             v.table.setFieldInt(it, 3, 2);
             send(&v.table, &DataSource::onRowChanged, it);
         },
         {2, 3}},
    };
    int expectedChanges = 0;
    for (const Step& s : steps) {
        SCOPED_TRACE(s.what);
        v.lookup.setCurRow(v.lookup.rowCount());
        s.edit();
        EXPECT_EQ(column(v.lookup), s.ids);
        EXPECT_EQ(v.lookup.getCurRow(), 1);
        EXPECT_EQ(change.count(), ++expectedChanges);
        EXPECT_EQ(v.lookup.checkInvariants(), 0);
    }

    // A full change drops the filter's parameters: with none, every row shows.
    send(&v.table, &DataSource::onFullChange);
    EXPECT_EQ(full.count(), 1);
    EXPECT_EQ(v.lookup.paramCount(), 0);
    EXPECT_EQ(v.lookup.rowCount(), v.table.rowCount());
    EXPECT_EQ(v.lookup.checkInvariants(), 0);

    // close drops the rows; a closed view does not retrieve.
    v.lookup.close();
    EXPECT_FALSE(v.lookup.isCreated());
    send(&v.table, &DataSource::onChange);
    EXPECT_EQ(v.lookup.rowCount(), 0);
}

TEST(Lookup, ChangingTheSourceMovesTheSubscriptions)
{
    PeopleTable a, b;
    a.addRow(1, "x", 1);
    b.addRow(2, "y", 1);
    b.addRow(3, "y", 1);
    LookupDataSource l;
    l.setDataSource(&a);
    l.create();
    l.setFilter(byGroup());
    setIntParam(l, 1, 1);
    l.retrieve();
    EXPECT_EQ(column(l), (std::vector<int>{1}));
    l.setDataSource(&b);
    EXPECT_EQ(l.rowCount(), 0); // the old positions were a's
    l.retrieve();
    EXPECT_EQ(column(l), (std::vector<int>{2, 3}));
    SignalSpy<> change(&l, &DataSource::onChange);
    send(&a, &DataSource::onChange);
    EXPECT_EQ(change.count(), 0);
    send(&b, &DataSource::onChange);
    EXPECT_EQ(change.count(), 1);
    EXPECT_EQ(l.checkInvariants(), 0);
}

// The statement face: filters and sort orders mapped to database columns and spliced into
// the select, change detection, the created-state check, the base org columns with their
// typed reads, and SQLDS's column links.
#include "assertspy.h"
#include "sqltestutil.h"

#include <vexapi/core/wtext.h>
#include <vexapi/datasource/memorydatasource.h>
#include <vexapi/sql/sqlds.h>
#include <vexapi/sql/sqlstatement.h>

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <sstream>
#include <string>
#include <vector>

using namespace DataSourceAPI;
using sqltest::narrow;
using sqltest::W;

namespace {

// A statement over a memory table whose database side is a list of column names.
class FakeStatement : public MemoryDataSource, public SQLStatement {
public:
    std::vector<WString> dbCols;
    std::vector<WString> dbTables;
    WString mainTable;
    std::vector<UpdateProps> props; // per column
    WString quote = W("\"");
    int recreated = 0;

    FakeStatement()
    {
        // Columns: ID, NAME, CALC (no database column), CITY (database column "city").
        addCol(ColInfo(W("ID").c_str(), tInt, 4));
        addCol(ColInfo(W("NAME").c_str(), tText, 40));
        addCol(ColInfo(W("CALC").c_str(), tInt, 4));
        addCol(ColInfo(W("CITY").c_str(), tText, 40));
        props = {UpdateProps(W("ID").c_str(), false), UpdateProps(W("NAME").c_str(), true),
                 UpdateProps(), UpdateProps(W("city").c_str(), true)};
        dbCols = {W("ID"), W("NAME"), W("city"), W("NOTE")};
        dbTables = {W("people")};
        mainTable = W("people");
    }

    void create() override
    {
        MemoryDataSource::create();
        created = true;
    }
    bool isCreated() override { return created; }
    bool created = false;

    // As a concrete statement does: recreate with the filtered text when the lists changed.
    void setFilter(const FilterInfo& filter) override
    {
        if (isCreated() && refreshWhereOrderInfo(filter))
            ++recreated;
    }
    bool refresh(const FilterInfo& filter) { return refreshWhereOrderInfo(filter); }
    std::string filteredSelect() const
    {
        std::basic_ostringstream<WChar> s;
        makeFilterSelect(s);
        return narrow(s.str());
    }
    void clearFilter() { clearFilterInfo(); }

    int dbTableCount() const override { return int(dbTables.size()); }
    WChar* dbTableName(int i, WChar* buf, int len) const override
    {
        return copy(dbTables, i, buf, len);
    }
    int dbColCount() const override { return int(dbCols.size()); }
    WChar* dbColName(int i, WChar* buf, int len) const override { return copy(dbCols, i, buf, len); }
    DBColInfo dbColInfo(int i) const override
    {
        DBColInfo info;
        if (i >= 1 && i <= dbColCount())
            info.name = dbCols[std::size_t(i - 1)];
        return info;
    }
    void setMainTable(const WChar* table) override { mainTable = table ? table : WString(); }
    const WChar* getMainTable() const override { return mainTable.c_str(); }
    void setUpdateProps(int col, const UpdateProps& p) override
    {
        if (col >= 1 && col <= int(props.size()))
            props[std::size_t(col - 1)] = p;
    }
    UpdateProps getUpdateProps(int col) const override
    {
        return col >= 1 && col <= int(props.size()) ? props[std::size_t(col - 1)] : UpdateProps();
    }
    const WChar* quoteChar() const override { return quote.c_str(); }

private:
    static WChar* copy(const std::vector<WString>& names, int i, WChar* buf, int len)
    {
        if (i < 1 || i > int(names.size()) || len < 1)
            return nullptr;
        wstrlcpy(buf, names[std::size_t(i - 1)].c_str(), len);
        return buf;
    }
};

struct Cond {
    const char* col;
    const char* param;
    bool like;
};

DataSource::FilterInfo makeFilter(const std::vector<Cond>& conds, const std::vector<const char*>& sorts,
                      bool ascending = true)
{
    DataSource::FilterInfo f;
    for (const Cond& c : conds)
        f.add(W(c.col).c_str(), W(c.param).c_str(), c.like);
    for (const char* s : sorts)
        f.addSort(W(s).c_str());
    f.setOrder(ascending);
    return f;
}

TEST(SQLStatementFilterTest, ConditionsAndSortsSplicedIntoTheSelect)
{
    struct Case {
        const char* select;
        std::vector<Cond> conds;
        std::vector<const char*> sorts;
        bool ascending;
        const char* mainTable;
        const char* expected;
    };
    const Case cases[] = {
        {"SELECT id, name FROM people", {{"ID", "p", false}, {"NAME", "q", true}}, {}, true,
         "",
         "SELECT id, name FROM people WHERE \"ID\" = :p AND \"NAME\" LIKE :q"},
        {"SELECT id, name FROM people", {}, {"ID", "NAME"}, false, "",
         "SELECT id, name FROM people ORDER BY \"ID\", \"NAME\" DESC"},
        {"SELECT id, name FROM people", {}, {"NAME"}, true, "",
         "SELECT id, name FROM people ORDER BY \"NAME\" ASC"},
        // The main table qualifies each column, each part quoted.
        {"SELECT id FROM app.people", {{"ID", "p", false}}, {"CITY"}, true, "app.people",
         "SELECT id FROM app.people WHERE \"app\".\"people\".\"ID\" = :p "
         "ORDER BY \"app\".\"people\".\"city\" ASC"},
        // An existing condition keeps its precedence; an existing order is replaced.
        {"SELECT id FROM people WHERE a = 1 OR b = 2 ORDER BY id LIMIT 5",
         {{"NAME", "n", true}}, {"ID"}, true, "",
         "SELECT id FROM people WHERE (a = 1 OR b = 2) AND (\"NAME\" LIKE :n) "
         "ORDER BY \"ID\" ASC LIMIT 5"},
        {"SELECT id FROM people GROUP BY id", {{"ID", "p", false}}, {}, true, "",
         "SELECT id FROM people WHERE \"ID\" = :p GROUP BY id"},
        // Unknown columns, a column without database name, and one whose name no database
        // column has, are left out without a word.
        {"SELECT id FROM people", {{"NOPE", "x", false}, {"CALC", "c", false}}, {"CALC"}, true,
         "", "SELECT id FROM people"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        FakeStatement s;
        s.mainTable = W(c.mainTable);
        s.setSQLSelect(W(c.select).c_str());
        s.create();
        s.setFilter(makeFilter(c.conds, c.sorts, c.ascending));
        EXPECT_EQ(s.filteredSelect(), c.expected);
        EXPECT_EQ(narrow(s.getSQLSelect()), c.select); // the user's text stays
    }
}

TEST(SQLStatementFilterTest, ListsRecordTheDatabaseColumns)
{
    FakeStatement s;
    s.dbCols = {W("NOTE"), W("city"), W("NAME"), W("ID")};
    s.create();
    ASSERT_TRUE(s.refresh(makeFilter({{"CITY", "c", true}, {"ID", "i", false}}, {"NAME"})));
    ASSERT_EQ(s.whereList().size(), 2);
    EXPECT_EQ(narrow(s.whereList()[0].colText.constData()), "\"people\".\"city\"");
    EXPECT_EQ(narrow(s.whereList()[0].paramName.constData()), "c");
    EXPECT_TRUE(s.whereList()[0].useLike);
    EXPECT_EQ(s.whereList()[0].dbCol, 2);
    EXPECT_EQ(s.whereList()[1].dbCol, 4);
    ASSERT_EQ(s.orderList().size(), 1);
    EXPECT_EQ(s.orderList()[0].dbCol, 3);

    // The database name must match exactly: "City" is not "city", and a longer database
    // name that starts with it is no match either.
    s.props[3] = SQLStatement::UpdateProps(W("City").c_str(), true);
    EXPECT_TRUE(s.refresh(makeFilter({{"CITY", "c", true}}, {})));
    EXPECT_TRUE(s.whereList().empty());
    s.props[3] = SQLStatement::UpdateProps(W("cit").c_str(), true);
    EXPECT_FALSE(s.refresh(makeFilter({{"CITY", "c", true}}, {})));
    EXPECT_TRUE(s.whereList().empty());
}

TEST(SQLStatementFilterTest, ChangeDetection)
{
    FakeStatement s;
    s.setSQLSelect(W("SELECT id FROM people").c_str());
    s.create();
    struct Step {
        std::vector<Cond> conds;
        std::vector<const char*> sorts;
        bool ascending;
        bool changed;
    };
    const Step steps[] = {
        {{}, {}, true, false},                                   // nothing to nothing
        {{{"ID", "p", false}}, {}, true, true},                  // a condition
        {{{"ID", "p", false}}, {}, true, false},                 // the same again
        {{{"ID", "p", false}, {"NOPE", "x", false}}, {}, true, false}, // unknown: dropped
        {{{"ID", "q", false}}, {}, true, true},                  // parameter name
        {{{"ID", "q", true}}, {}, true, true},                   // LIKE
        {{{"ID", "q", true}}, {"ID"}, true, true},               // a sort column
        {{{"ID", "q", true}}, {"ID"}, false, false},             // the direction alone
        {{{"ID", "q", true}}, {"NAME"}, false, true},
        {{{"NOPE", "q", true}}, {}, false, true},                // all unknown: emptied
        {{{"NOPE", "q", true}}, {}, false, false},
    };
    for (std::size_t i = 0; i < sizeof steps / sizeof *steps; ++i) {
        SCOPED_TRACE(i);
        const Step& st = steps[i];
        EXPECT_EQ(s.refresh(makeFilter(st.conds, st.sorts, st.ascending)), st.changed);
        EXPECT_EQ(s.ascending(), st.ascending); // taken in any case
    }
    // The direction change that made no difference is still applied at the next recreate.
    s.refresh(makeFilter({}, {"ID"}, false));
    EXPECT_EQ(s.filteredSelect(), "SELECT id FROM people ORDER BY \"people\".\"ID\" DESC");

    s.clearFilter();
    EXPECT_TRUE(s.whereList().empty());
    EXPECT_TRUE(s.orderList().empty());
    EXPECT_TRUE(s.ascending());
    EXPECT_EQ(s.filteredSelect(), "SELECT id FROM people");
}

TEST(SQLStatementFilterTest, FilteringNeedsTheStatementCreated)
{
    FakeStatement s;
    s.setSQLSelect(W("SELECT id FROM people").c_str());
    AssertSpy spy;
    EXPECT_FALSE(s.refresh(makeFilter({{"ID", "p", false}}, {})));
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy[0].expression, "isCreated()");
    EXPECT_EQ(spy[0].unit, "sqlstatement");
    EXPECT_TRUE(s.whereList().empty());
    // The concrete statement's setFilter asks first and so reports nothing.
    s.setFilter(makeFilter({{"ID", "p", false}}, {}));
    EXPECT_EQ(spy.count(), 1);
}

TEST(SQLStatementFilterTest, QuotingFollowsTheStatement)
{
    FakeStatement s;
    s.quote = W("`");
    s.props[1] = SQLStatement::UpdateProps(W("na`me").c_str(), true);
    s.dbCols[1] = W("na`me");
    s.setSQLSelect(W("SELECT * FROM people").c_str());
    s.create();
    s.refresh(makeFilter({{"NAME", "n", false}}, {"NAME"}));
    EXPECT_EQ(s.filteredSelect(),
              "SELECT * FROM people WHERE `people`.`na``me` = :n ORDER BY `people`.`na``me` ASC");
}

TEST(SQLStatementFilterTest, FilteredSelectsPrepareInSQLite)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "CREATE TABLE people(ID INTEGER, NAME TEXT, city TEXT, NOTE TEXT);",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    const char* selects[] = {
        "SELECT ID, NAME FROM people",
        "SELECT * FROM people WHERE NOTE IS NULL ORDER BY 1 LIMIT 3",
        "SELECT ID FROM people GROUP BY ID HAVING count(*) > 0",
        "SELECT ID FROM people -- trailing comment",
    };
    for (const char* sel : selects) {
        SCOPED_TRACE(sel);
        FakeStatement s;
        s.setSQLSelect(W(sel).c_str());
        s.create();
        s.refresh(makeFilter({{"ID", "p", false}, {"CITY", "c", true}}, {"NAME", "ID"}, false));
        const std::string text = s.filteredSelect();
        sqlite3_stmt* stmt = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, text.c_str(), -1, &stmt, nullptr), SQLITE_OK)
            << text << ": " << sqlite3_errmsg(db);
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
}

// ---- Org columns of the base ----

// A statement with one org column of text whose raw read gives "42".
class OrgStatement : public FakeStatement {
public:
    int orgColCount() const override { return 1; }
    OrgColInfo orgColInfo(int col) const override
    {
        return col == 1 ? OrgColInfo(3, W("CITY").c_str(), tText, 40, true)
                        : SQLStatement::orgColInfo(col);
    }
    void getOrgField(Iterator, int col, void* buf, int bufLen, bool* isNull,
                     VLong* realLen) const override
    {
        const WString value = W(null ? "" : "42");
        if (isNull)
            *isNull = null || col != 1;
        if (realLen)
            *realLen = VLong((value.size() + 1) * sizeof(WChar));
        if (!null && bufLen >= int((value.size() + 1) * sizeof(WChar)))
            wstrcpy(static_cast<WChar*>(buf), value.c_str());
    }
    using SQLStatement::getOrgField;
    bool null = false;
};

TEST(SQLStatementOrgColsTest, BaseAndTypedReads)
{
    FakeStatement base;
    const SQLStatement::OrgColInfo none = base.orgColInfo(1);
    EXPECT_EQ(none.dbCol(), 0);
    EXPECT_FALSE(none.isKey());
    EXPECT_EQ(none.type(), tNone);
    EXPECT_EQ(none.len(), 0);
    ASSERT_NE(none.name(), nullptr);
    EXPECT_EQ(none.name()[0], 0);
    EXPECT_EQ(base.orgColCount(), 0);
    EXPECT_EQ(base.orgColIndexByName(W("CITY").c_str()), 0);
    EXPECT_EQ(base.getConnect(), nullptr);
    EXPECT_EQ(narrow(base.quoteChar()), "\"");
    EXPECT_EQ(narrow(static_cast<const SQLStatement&>(base).SQLStatement::quoteChar()), "\"");

    OrgStatement s;
    s.create();
    bool isNull = true, ok = false;
    EXPECT_EQ(s.getOrgFieldInt(s.end(), 1, &isNull, &ok), 42);
    EXPECT_TRUE(ok);
    EXPECT_FALSE(isNull);
    EXPECT_DOUBLE_EQ(s.getOrgFieldDouble(s.end(), 1, &isNull, &ok), 42.0);
    WChar text[8] = {0};
    s.getOrgFieldText(s.end(), 1, text, int(sizeof text), &isNull, &ok);
    EXPECT_EQ(narrow(text), "42");
    s.null = true;
    EXPECT_EQ(s.getOrgFieldInt(s.end(), 1, &isNull, &ok), 0);
    EXPECT_TRUE(isNull);
    EXPECT_TRUE(ok);
}

TEST(SQLStatementOrgColsTest, UpdateProps)
{
    SQLStatement::UpdateProps none;
    EXPECT_EQ(none.dbColName(), nullptr);
    EXPECT_FALSE(none.updateable);
    SQLStatement::UpdateProps p(W("NAME").c_str(), true);
    EXPECT_EQ(narrow(p.dbColName()), "NAME");
    SQLStatement::UpdateProps copy = p;
    p.setDBColName(nullptr);
    EXPECT_EQ(p.dbColName(), nullptr);
    EXPECT_EQ(narrow(copy.dbColName()), "NAME");
    EXPECT_TRUE(copy.updateable);
}

// ---- SQLDS ----

TEST(SQLDSTest, LinksStayParallelToTheColumns)
{
    SQLDS ds;
    // Each step, then the expected (name:dbCol:updateable) of every column.
    ds.add(W("A").c_str(), tInt, 4);
    ds.add(W("B").c_str(), tText, 20);
    ds.setUpdProps(1, 7, true);
    ds.setUpdProps(2, 8, false);
    ds.insert(1, W("C").c_str(), tInt, 4); // a new column starts unlinked
    ds.insert(99, W("D").c_str(), tInt, 4);
    ds.set(2, W("A2").c_str(), tSmall, 2); // set keeps the link
    auto state = [&ds]() {
        std::string out;
        for (int c = 1; c <= ds.colCount(); ++c)
            out += narrow(ds.name(c)) + ":" + std::to_string(ds.dbCol(c)) +
                   (ds.isUpdateable(c) ? "u " : " ");
        return out;
    };
    EXPECT_EQ(state(), "C:0 A2:7u B:8 D:0 ");
    ds.remove(1);
    EXPECT_EQ(state(), "A2:7u B:8 D:0 ");
    ds.remove(0);
    ds.remove(4);
    ds.setUpdProps(9, 1, true);
    EXPECT_EQ(state(), "A2:7u B:8 D:0 ");
    EXPECT_EQ(ds.dbCol(0), 0);
    EXPECT_FALSE(ds.isUpdateable(4));
    EXPECT_EQ(ds.checkInvariants(), 0);
    ds.clear();
    EXPECT_EQ(ds.colCount(), 0);
    EXPECT_EQ(ds.dbCol(1), 0);
    EXPECT_EQ(ds.checkInvariants(), 0);

    EXPECT_EQ(narrow(ds.getSql()), "");
    ds.setSql(W("SELECT 1").c_str());
    ds.setMainTable(W("t").c_str());
    EXPECT_EQ(narrow(ds.getSql()), "SELECT 1");
    EXPECT_EQ(narrow(ds.getMainTable()), "t");
    ds.setSql(nullptr);
    EXPECT_EQ(narrow(ds.getSql()), "");
}

} // namespace

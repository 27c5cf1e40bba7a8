// OrvaneStatement: the DataSource face of the cursor-backed source: typed reads and writes,
// positions, the main table of its select, errors as Error, filters.
#include "orvanesupport.h"

#include <vexapi/sql/orvanestatement.h>

namespace orvanetest {
namespace {

struct Fixture {
    OrvConnect c{nullptr, nullptr, ":memory:"};
    unsigned short handle = 0;
    OrvaneStatement st;
    explicit Fixture(const char* select, int rows = 30, bool shortNames = false)
    {
        makeItems(c, rows);
        handle = c;
        st.setConnect(&handle);
        st.setIgnoreOwnerMode(shortNames);
        st.setIgnoreTableMode(shortNames);
        st.setSQLSelect(W(select).c_str());
        st.create();
    }
};

TEST(OrvaneStatementFace, BrowseEditAndWriteBack)
{
    Fixture f("select id, name, qty from items order by id");
    f.st.retrieve();
    EXPECT_EQ(f.st.rowCount(), 30);
    EXPECT_EQ(f.st.getCurRow(), 1);
    // The first table of the FROM list, as the server names it.
    EXPECT_EQ(narrow(f.st.getMainTable()), "main.items");
    DataSource::Iterator it = f.st.row2iterator(7);
    EXPECT_EQ(f.st.getFieldInt(it, 1), 7);
    WChar name[32];
    f.st.getFieldText(it, 2, name, sizeof name);
    EXPECT_EQ(narrow(name), "item7");
    // Typed writes convert to the column's type.
    EXPECT_TRUE(f.st.setFieldText(it, 3, W("77").c_str()));
    EXPECT_TRUE(f.st.setFieldInt(it, 2, 123));
    f.st.deleteRow(f.st.row2iterator(1));
    EXPECT_EQ(f.st.getCurRow(), 1); // the position moved on to the next row
    EXPECT_EQ(f.st.getFieldInt(f.st.getCurIterator(), 1), 2);
    DataSource::Iterator n = f.st.insertRow(f.st.end());
    f.st.setFieldText(n, 2, W("added").c_str());
    f.st.setFieldInt(n, 3, 5);
    EXPECT_TRUE(f.st.isModified());
    EXPECT_EQ(f.st.checkInvariants(), 0);
    f.st.update();
    f.st.commitDB();
    f.st.commitDS();
    EXPECT_FALSE(f.st.isModified());
    const std::vector<Item> items = tableItems(f.c);
    ASSERT_EQ(items.size(), 30u);
    EXPECT_EQ(items[0], Item(2, "item2", 20));
    EXPECT_EQ(items[5], Item(7, "123", 77));
    EXPECT_EQ(items.back(), Item(31, "added", 5));
    // A walk from begin to end.
    int rows = 0;
    for (DataSource::Iterator i = f.st.begin(); i != f.st.end(); ++i)
        ++rows;
    EXPECT_EQ(rows, 30);
    f.st.setCurRow(30);
    EXPECT_EQ(f.st.iterator2row(f.st.getCurIterator()), 30);
}

TEST(OrvaneStatementFace, FailuresAreErrorsWithTheirText)
{
    Fixture f("select 1 + 1 as x from items");
    f.st.retrieve();
    f.st.setFieldInt(f.st.insertRow(f.st.end()), 1, 3);
    try {
        f.st.update();
        FAIL();
    } catch (const OrvaneStatement::Error& e) {
        WChar buf[64];
        static_cast<const DataSource::Error&>(e).getMessage(buf, 64);
        EXPECT_EQ(narrow(buf), "Incorrect main table");
        EXPECT_EQ(e.code(), 1);
    }
    OrvaneStatement bad;
    unsigned short h = f.c;
    bad.setConnect(&h);
    bad.setSQLSelect(W("select nothing from nowhere").c_str());
    EXPECT_THROW(bad.create(), OrvaneStatement::Error);
}

TEST(OrvaneStatementFace, FilterRunsANewTextAndKeepsTheUsersSelect)
{
    Fixture f("select id, name, qty from items", 30, true);
    EXPECT_EQ(narrow(f.st.getMainTable()), "items");
    DataSource::FilterInfo filter;
    filter.add(W("name").c_str(), W("pat").c_str(), true);
    filter.addSort(W("id").c_str());
    filter.setOrder(false);
    f.st.setFilter(filter);
    EXPECT_EQ(narrow(f.st.getSQLSelect()), "select id, name, qty from items");
    ASSERT_EQ(f.st.paramCount(), 1);
    const int p = f.st.indexByParamName(W("pat").c_str());
    ASSERT_EQ(p, 1);
    const WString pattern = W("item2%");
    f.st.setParam(p, pattern.c_str(), int((pattern.size() + 1) * sizeof(WChar)), false);
    f.st.retrieve();
    ASSERT_EQ(f.st.rowCount(), 11); // item2, item20 .. item29
    EXPECT_EQ(f.st.getFieldInt(f.st.begin(), 1), 29);
    EXPECT_EQ(f.st.getFieldInt(f.st.row2iterator(11), 1), 2);
}

TEST(OrvaneStatementFace, TheStatementsDescriptionOrgColumnsAndStates)
{
    Fixture f("select id, name, qty * 2 as twice from items", 10, true);
    SQLStatement& sql = f.st;
    ASSERT_EQ(sql.dbColCount(), 3);
    WChar buf[32];
    EXPECT_EQ(narrow(sql.dbColName(2, buf, 32)), "name");
    EXPECT_EQ(narrow(sql.dbTableName(1, buf, 32)), "items");
    EXPECT_EQ(narrow(sql.dbColInfo(3).name), "twice");
    EXPECT_EQ(sql.dbColInfo(3).tableIndex, 0);
    // Update properties: the expression has no database column to write.
    EXPECT_TRUE(sql.getUpdateProps(2).updateable);
    EXPECT_EQ(sql.getUpdateProps(3).dbColName(), nullptr);
    sql.setUpdateProps(2, SQLStatement::UpdateProps(W("name").c_str(), false));
    EXPECT_FALSE(sql.getUpdateProps(2).updateable);
    sql.setUpdateProps(2, SQLStatement::UpdateProps(W("name").c_str(), true));
    // Org columns: the values as read, beside the edited ones.
    sql.addOrgCol(1);
    sql.addOrgCol(2);
    ASSERT_EQ(sql.orgColCount(), 2);
    EXPECT_EQ(sql.orgColIndexByDBCol(2), 2);
    f.st.retrieve();
    DataSource::Iterator it = f.st.row2iterator(4);
    f.st.setFieldText(it, 2, W("changed").c_str());
    EXPECT_EQ(sql.rowState(it), Modified);
    EXPECT_TRUE(sql.isFieldModified(it, 2));
    EXPECT_FALSE(sql.isFieldModified(it, 1));
    EXPECT_EQ(narrow(sql.getOrgFieldText(it, 2, buf, 64)), "item4");
    EXPECT_EQ(sql.getOrgFieldInt(it, 1), 4);
    EXPECT_EQ(sql.updCount(), 1);
    f.st.setUpdateMode(OrvaneDS::byKey);
    sql.removeAllOrgCols();
    sql.addOrgCol(SQLStatement::OrgColInfo(1, W("id").c_str(), tInt, 4, true));
    f.st.retrieve();
    f.st.setFieldText(f.st.row2iterator(4), 2, W("changed").c_str());
    sql.updateUpdated();
    f.st.commitDB();
    f.st.commitDS();
    EXPECT_EQ(tableItems(f.c)[3], Item(4, "changed", 40));
}

} // namespace
} // namespace orvanetest

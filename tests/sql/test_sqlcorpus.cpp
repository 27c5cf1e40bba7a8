// The corpus run: every SELECT of PostgreSQL's regression scripts and of SQLite's own test
// scripts through the analysis; those that prepare on a small SQLite schema get a filter
// and a sort order spliced in by the statement layer, and must still prepare. The corpus is
// fetched by scripts/deps/sql-corpus; without it the tests skip.
#include "sqlcorpus.h"
#include "sqltestutil.h"

#include <vexapi/core/wtext.h>
#include <vexapi/datasource/memorydatasource.h>
#include <vexapi/sql/sqlanalysis.h>
#include <vexapi/sql/sqlstatement.h>

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using namespace DataSourceAPI;
using sqltest::narrow;
using sqltest::W;

namespace {

// A small schema under the names the two test suites use most.
const char* kSchema =
    "CREATE TABLE t0(a, b, c, d, e, x, y, z, c0, c1, c2, r, w);"
    "CREATE TABLE t1(a, b, c, d, e, x, y, z, c0, c1, c2, r, w);"
    "CREATE TABLE t2(a, b, c, d, e, x, y, z, c0, c1, c2, r, w);"
    "CREATE TABLE t3(a, b, c, d, e, x, y, z, c0, c1, c2, r, w);"
    "CREATE TABLE t4(a, b, c, d, e, x, y, z, c0, c1, c2, r, w);"
    "CREATE TABLE t5(a, b, c, d, e, x, y, z, c0, c1, c2, r, w);"
    "CREATE TABLE tenk1(unique1, unique2, two, four, ten, twenty, hundred, thousand,"
    " twothousand, fivethous, tenthous, odd, even, stringu1, stringu2, string4);"
    "CREATE TABLE tenk2(unique1, unique2, two, four, ten, twenty, hundred, thousand,"
    " twothousand, fivethous, tenthous, odd, even, stringu1, stringu2, string4);"
    "CREATE TABLE onek(unique1, unique2, two, four, ten, twenty, hundred, thousand,"
    " twothousand, fivethous, tenthous, odd, even, stringu1, stringu2, string4);"
    "CREATE TABLE int4_tbl(f1); CREATE TABLE int8_tbl(q1, q2); CREATE TABLE int2_tbl(f1);"
    "CREATE TABLE float8_tbl(f1); CREATE TABLE float4_tbl(f1); CREATE TABLE text_tbl(f1);"
    "CREATE TABLE char_tbl(f1); CREATE TABLE varchar_tbl(f1);"
    "CREATE TABLE aggtest(a, b); CREATE TABLE emp(name, age, location, salary, manager);"
    "CREATE TABLE person(name, age, location); CREATE TABLE student(name, age, gpa);"
    "CREATE TABLE road(name, thepath); CREATE TABLE a(aa); CREATE TABLE b(aa, bb);"
    "CREATE TABLE j1_tbl(i, j, t); CREATE TABLE j2_tbl(i, k);";

// The statement face over the prepared select's own result description.
class CorpusStatement : public MemoryDataSource, public SQLStatement {
public:
    std::vector<WString> dbCols;
    std::vector<UpdateProps> props;
    WString mainTable;

    void setFilter(const FilterInfo&) override {}
    bool apply(const FilterInfo& filter) { return refreshWhereOrderInfo(filter); }
    void clearFilter() { clearFilterInfo(); }
    std::string filtered() const
    {
        std::basic_ostringstream<WChar> s;
        makeFilterSelect(s);
        return narrow(s.str());
    }

    int dbTableCount() const override { return 0; }
    WChar* dbTableName(int, WChar*, int) const override { return nullptr; }
    int dbColCount() const override { return int(dbCols.size()); }
    WChar* dbColName(int i, WChar* buf, int len) const override
    {
        if (i < 1 || i > dbColCount() || len < 1)
            return nullptr;
        wstrlcpy(buf, dbCols[std::size_t(i - 1)].c_str(), len);
        return buf;
    }
    DBColInfo dbColInfo(int) const override { return DBColInfo(); }
    void setMainTable(const WChar* t) override { mainTable = t ? t : WString(); }
    const WChar* getMainTable() const override { return mainTable.c_str(); }
    void setUpdateProps(int, const UpdateProps&) override {}
    UpdateProps getUpdateProps(int col) const override
    {
        return col >= 1 && col <= int(props.size()) ? props[std::size_t(col - 1)] : UpdateProps();
    }
};

struct Counts {
    int selects = 0;
    int analysed = 0;
    std::map<int, int> failures; // by SQLParseFailure
    int prepared = 0;            // prepare as they stand on the schema
    int filterable = 0;          // of those: a result column of a table the analysis lists
    // Per variant (filter, sort, both): the spliced select prepares with the columns
    // qualified by the main table (or its alias); with them unqualified; one or the other.
    int qualified[3] = {0, 0, 0};
    int byName[3] = {0, 0, 0}; // of those, by the table's own name
    int unqualified[3] = {0, 0, 0};
    int either[3] = {0, 0, 0};
    std::vector<std::string> spliceFailures;
};

bool prepares(sqlite3* db, const std::string& text, std::string* error = nullptr)
{
    sqlite3_stmt* stmt = nullptr;
    const int rc = sqlite3_prepare_v2(db, text.c_str(), int(text.size()), &stmt, nullptr);
    if (rc != SQLITE_OK && error)
        *error = sqlite3_errmsg(db);
    sqlite3_finalize(stmt);
    return rc == SQLITE_OK && stmt != nullptr;
}

// Where the select's own FROM list names `table`: found, and the alias it gives it (empty
// without one).
bool findTable(const SQLQueryDesc& d, const char* table, WString& alias)
{
    for (int i = 0; i < d.tables.size(); ++i) {
        const SQLQueryDesc::Table& t = d.tables[i];
        if (t.isSubquery || t.path.empty() ||
            !streq_nocase(t.path[t.path.size() - 1].constData(), W(table).c_str()))
            continue;
        alias.clear();
        for (int k = 0; k < t.alias.size(); ++k) {
            if (k)
                alias += WChar('.');
            alias += t.alias[k].constData();
        }
        return true;
    }
    return false;
}

void runCorpus(const std::string& name, Counts& c)
{
    const std::vector<std::string> selects = sqlcorpus::loadSelects(name);
    if (selects.empty())
        return;
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, kSchema, nullptr, nullptr, nullptr), SQLITE_OK);

    for (const std::string& text : selects) {
        ++c.selects;
        SQLQueryDesc d;
        const WString wide = W(text);
        if (!parseSelect(wide.c_str(), d)) {
            ++c.failures[d.failure()];
            EXPECT_TRUE(d.columns.empty() && d.tables.empty());
            continue;
        }
        ++c.analysed;

        sqlite3_stmt* stmt = nullptr;
        const char* tail = nullptr;
        if (sqlite3_prepare_v2(db, text.c_str(), int(text.size()), &stmt, &tail) != SQLITE_OK ||
            !stmt) {
            sqlite3_finalize(stmt);
            continue;
        }
        ++c.prepared;
        // The first result column read from a table of the select's own FROM list is
        // filtered and sorted on. The main table is that table's name, as a concrete
        // statement takes it from the database's description of the result.
        CorpusStatement s;
        const int n = sqlite3_column_count(stmt);
        int filterCol = 0;
        WString alias;
        for (int i = 0; i < n; ++i) {
            const char* origin = sqlite3_column_origin_name(stmt, i);
            const char* table = sqlite3_column_table_name(stmt, i);
            const WString colName = W("C" + std::to_string(i + 1));
            s.addCol(DataSource::ColInfo(colName.c_str(), tInt, 4));
            s.dbCols.push_back(W(origin ? origin : ""));
            s.props.push_back(origin ? SQLStatement::UpdateProps(W(origin).c_str(), true)
                                     : SQLStatement::UpdateProps());
            if (!filterCol && origin && table && findTable(d, table, alias)) {
                filterCol = i + 1;
                s.mainTable = W(table);
            }
        }
        sqlite3_finalize(stmt);
        if (!filterCol)
            continue;
        ++c.filterable;
        s.setSQLSelect(wide.c_str());
        s.create();
        const WString col = W("C" + std::to_string(filterCol));
        const WString mainTable = s.mainTable;
        for (int v = 0; v < 3; ++v) {
            DataSource::FilterInfo f;
            if (v != 1) {
                f.add(col.c_str(), W("p1").c_str(), false);
                f.add(col.c_str(), W("p2").c_str(), true);
            }
            if (v != 0)
                f.addSort(col.c_str());
            f.setOrder(false);
            std::string error;
            // Qualified by the main table, or by its alias where the select renames it.
            s.mainTable = mainTable;
            s.clearFilter();
            s.apply(f);
            bool q = prepares(db, s.filtered(), &error);
            c.byName[v] += q;
            // By the alias the analysis found for it, where the select renames the table.
            if (!q && !alias.empty()) {
                s.mainTable = alias;
                s.clearFilter();
                s.apply(f);
                q = prepares(db, s.filtered(), &error);
            }
            s.mainTable.clear();
            s.clearFilter();
            s.apply(f);
            const std::string plain = s.filtered();
            const bool u = prepares(db, plain, &error);
            c.qualified[v] += q;
            c.unqualified[v] += u;
            c.either[v] += q || u;
            if (!q && !u && c.spliceFailures.size() < 400)
                c.spliceFailures.push_back(error + " | " + plain.substr(0, 300));
        }
    }
    sqlite3_close(db);
}

void report(const std::string& name, const Counts& c)
{
    std::printf("corpus %s: %d selects, %d analysed, failures:", name.c_str(), c.selects,
                c.analysed);
    for (const auto& f : c.failures)
        std::printf(" [%d]=%d", f.first, f.second);
    std::printf("\ncorpus %s: %d analysed selects prepare on the schema, %d with a column of "
                "a table\n", name.c_str(), c.prepared, c.filterable);
    const char* variants[] = {"filter", "sort", "filter+sort"};
    for (int v = 0; v < 3; ++v)
        std::printf("corpus %s: %-11s spliced selects that prepare: %d qualified by the main "
                    "table or its alias (%d by its name), %d unqualified, %d either way, of %d\n",
                    name.c_str(), variants[v], c.qualified[v], c.byName[v], c.unqualified[v], c.either[v], c.filterable);
    if (std::getenv("VEXAPI_SQL_CORPUS_VERBOSE"))
        for (const std::string& s : c.spliceFailures)
            std::printf("  splice: %s\n", s.c_str());
}

class SQLCorpusTest : public ::testing::TestWithParam<const char*> {};

TEST_P(SQLCorpusTest, EverySelectAnalysedAndSplicedSelectsPrepare)
{
    const std::string name = GetParam();
    if (sqlcorpus::loadSelects(name).empty())
        GTEST_SKIP() << "the SQL corpus is not cached (" << sqlcorpus::dir() << "/" << name
                     << ".selects): run scripts/deps/sql-corpus";
    Counts c;
    runCorpus(name, c);
    report(name, c);
    EXPECT_GT(c.analysed, c.selects / 4);
    EXPECT_GT(c.filterable, 0);
    // A filter, a sort order, or both, spliced into a select that prepared, prepares.
    for (int v = 0; v < 3; ++v)
        EXPECT_EQ(c.either[v], c.filterable) << "variant " << v;
    for (std::size_t i = 0; i < c.spliceFailures.size() && i < 10; ++i)
        ADD_FAILURE() << c.spliceFailures[i];
}

INSTANTIATE_TEST_SUITE_P(Corpora, SQLCorpusTest, ::testing::Values("postgresql", "sqlite"));

} // namespace

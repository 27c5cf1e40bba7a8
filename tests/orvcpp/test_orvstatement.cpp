// OrvStatement: the kinds, the descriptions of columns (server types from declared types and
// values, names of origin blank-padded to 66) and of parameters by position and by name.
#include "test_orvsupport.h"

#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/orvcpp/orvstatement.h>
#include <vexapi/orvcpp/paramdesc.h>
#include <vexapi/values/servertypes.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

using namespace OrvCPP;
using namespace orvtest;

namespace {

std::string trimmed(const char* field)
{
    std::string s(field);
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
}

class Statement : public ::testing::Test {
protected:
    void SetUp() override
    {
        db.open("test", "", ":memory:");
        exec(db, "create table kinds(id integer primary key, flag boolean, big bigint, small smallint, n int, "
                 "c char(8), nc nchar(4), nv nvarchar(12), nt ntext, v varchar(40), t text, cl clob, "
                 "bin binary(6), vb varbinary(9), b blob, d decimal(12, 3), num numeric, money money, "
                 "dt date, ts timestamp, f4 float4, r real, dbl double precision, odd geometry, untyped)");
        exec(db, "insert into kinds(id, untyped) values (1, 2.5)");
    }
    OrvConnect db;
};

TEST_F(Statement, KindsOfStatements)
{
    exec(db, "create table t(a)");
    exec(db, "commit");
    struct Case {
        const char* sql;
        VLong kind;
    };
    const Case cases[] = {
        {"select * from t", querySelect},
        {"values (1), (2)", querySelect},
        {"with c(x) as (select 1) select x from c", querySelect},
        {"pragma table_info(t)", querySelect},
        {"explain select 1", querySelect},
        {"insert into t values (1)", queryInsert},
        {"with c(x) as (select 1) insert into t select x from c", queryInsert},
        {"update t set a = 2", queryUpdate},
        {"delete from t", queryDelete},
        {"update t set a = 2 where current of c", queryPositionedUpdate},
        {"delete from t where current of c", queryPositionedDelete},
        {"create index ta on t(a)", queryDefinition},
        {"drop table t", queryDefinition},
        {"begin", queryTransaction},
        {"pragma user_version = 3", queryOther},
        {"vacuum", queryOther},
    };
    for (const Case& c : cases) {
        OrvStatement s(db, c.sql);
        EXPECT_EQ(s.queryType(), c.kind) << c.sql;
    }
    // A text of two statements, an empty text and bad SQL fail.
    EXPECT_THROW(OrvStatement(db, "select 1; select 2"), OrvX);
    EXPECT_THROW(OrvStatement(db, "  -- nothing\n"), OrvX);
    EXPECT_THROW(OrvStatement(db, "selec 1"), OrvX);
}

TEST_F(Statement, ColumnTypesFromDeclaredTypesAndValues)
{
    struct Case {
        const char* column;
        int type;
        int length;
        int precision;
        int scale;
    };
    const Case cases[] = {
        {"id", orvInteger, 4, 10, 0},      {"flag", orvBoolean, 1, 1, 0},    {"big", orvBigInt, 8, 19, 0},
        {"small", orvSmallInt, 2, 5, 0},   {"n", orvInteger, 4, 10, 0},      {"c", orvChar, 8, 0, 0},
        {"nc", orvWideChar, 8, 0, 0},      {"nv", orvWideVarChar, 24, 0, 0}, {"nt", orvWideVarChar, 510, 0, 0},
        {"v", orvVarChar, 40, 0, 0},       {"t", orvVarChar, 255, 0, 0},     {"cl", orvVarChar, 255, 0, 0},
        {"bin", orvBinary, 6, 0, 0},       {"vb", orvVarBinary, 9, 0, 0},    {"b", orvBlob, 0, 0, 0},
        {"d", orvDecimal, 16, 12, 3},      {"num", orvDecimal, 16, 18, 0},   {"money", orvDecimal, 16, 18, 0},
        {"dt", orvDate, 16, 0, 0},         {"ts", orvDate, 16, 0, 0},        {"f4", orvFloat, 4, 7, 0},
        {"r", orvDouble, 8, 15, 0},        {"dbl", orvDouble, 8, 15, 0},     {"odd", orvVarChar, 255, 0, 0},
        {"untyped", orvDouble, 8, 15, 0}, // no declared type: the first value's
    };
    std::string list;
    for (const Case& c : cases)
        list += (list.empty() ? "" : ", ") + std::string(c.column);
    OrvStatement s(db, ("select " + list + " from kinds").c_str());
    ASSERT_EQ(s.columnCount(), VLong(sizeof cases / sizeof cases[0]));
    for (short i = 1; i <= s.columnCount(); ++i) {
        const Case& c = cases[i - 1];
        t_ParamDesc d;
        s.answerDesc(i, &d);
        EXPECT_EQ(d.type, c.type) << c.column;
        EXPECT_EQ(d.length, c.length) << c.column;
        EXPECT_EQ(d.precision, c.precision) << c.column;
        EXPECT_EQ(d.scale, c.scale) << c.column;
        EXPECT_EQ(trimmed(d.owner), "main");
        EXPECT_EQ(trimmed(d.table), "kinds");
        EXPECT_EQ(trimmed(d.column), c.column);
    }
    EXPECT_THROW(s.answerDesc(0, nullptr), OrvX);
    t_ParamDesc d;
    EXPECT_THROW(s.answerDesc(short(s.columnCount() + 1), &d), OrvX);
}

TEST_F(Statement, NamesArePaddedToTheirFieldsAndExpressionsHaveNoOrigin)
{
    const std::string longName(80, 'L');
    exec(db, "create table \"" + longName + "\"(x int)");
    OrvStatement s(db, ("select x as alias, x + 1, 'text' || x from \"" + longName + "\"").c_str());
    t_ParamDesc d;
    s.answerDesc(1, &d);
    EXPECT_EQ(std::strlen(d.owner), 65u);
    EXPECT_EQ(d.owner[65], 0);
    EXPECT_EQ(trimmed(d.owner), "main");
    EXPECT_EQ(std::string(d.table), std::string(65, 'L')) << "cut to the field";
    EXPECT_EQ(trimmed(d.column), "x");
    EXPECT_STREQ(d.alias, "alias");
    s.answerDesc(2, &d);
    EXPECT_EQ(trimmed(d.owner), "");
    EXPECT_EQ(trimmed(d.table), "");
    EXPECT_EQ(trimmed(d.column), "x + 1");
    // No rows to look at: an expression is text.
    EXPECT_EQ(d.type, orvVarChar);
}

TEST_F(Statement, ParametersByPositionAndNameWithTheirColumns)
{
    OrvStatement s(db, "select id from kinds where d > ? and :when = dt and v like @pattern and ? is not null "
                       "and id in (select id from kinds where n = ?9)");
    ASSERT_EQ(s.paramCount(), 9);
    struct Case {
        short n;
        int type;
        const char* column;
        const char* alias;
    };
    const Case cases[] = {
        {1, orvDecimal, "d", ""},   {2, orvDate, "dt", ":when"},      {3, orvVarChar, "v", "@pattern"},
        {4, orvVarChar, "", ""},    {9, orvInteger, "n", "?9"},
    };
    for (const Case& c : cases) {
        t_ParamDesc d;
        s.paramDesc(c.n, &d);
        EXPECT_EQ(d.type, c.type) << c.n;
        EXPECT_EQ(trimmed(d.column), c.column) << c.n;
        EXPECT_STREQ(d.alias, c.alias) << c.n;
    }
    EXPECT_EQ(s.paramIndex(":when"), 2);
    EXPECT_EQ(s.paramIndex("when"), 2);
    EXPECT_EQ(s.paramIndex("pattern"), 3);
    EXPECT_EQ(s.paramIndex("nothing"), 0);
    t_ParamDesc d;
    try {
        s.paramDesc(10, &d);
        ADD_FAILURE();
    } catch (const OrvX& x) {
        EXPECT_EQ(x.badParamNum(), 10);
    }

    OrvStatement insert(db, "insert into kinds (id, dt, nv) values (?, ?, ?)");
    const int types[] = {orvInteger, orvDate, orvWideVarChar};
    for (short i = 1; i <= 3; ++i) {
        insert.paramDesc(i, &d);
        EXPECT_EQ(d.type, types[i - 1]) << i;
    }
    OrvStatement update(db, "update kinds set d = ? where id = ?");
    update.paramDesc(1, &d);
    EXPECT_EQ(d.type, orvDecimal);
    EXPECT_EQ(d.scale, 3);
}

TEST_F(Statement, APreparedStatementRunsAgainWithNewParameters)
{
    OrvStatement ins(db, "insert into kinds (id, v, d, dt) values (?, ?, ?, ?)");
    OrvCursor c(db, 0, "c");
    VLong id;
    char v[41];
    OrvDec dec;
    OrvDate when;
    char nulls[4] = {0, 0, 0, 0};
    BindMap map;
    map.bind(1, ValueInfo(&id, &nulls[0]));
    map.bind(2, ValueInfo(v, sizeof v, &nulls[1], nullptr));
    map.bind(3, ValueInfo(orvDecimal, &dec, 16, &nulls[2]));
    map.bind(4, ValueInfo(orvDate, &when, 16, &nulls[3]));
    for (int i = 10; i < 15; ++i) {
        id = i;
        std::snprintf(v, sizeof v, "row %d", i);
        dec = OrvDec("1.005") * OrvDec(VLong(i));
        when = OrvDate(2024, 1, i);
        nulls[3] = i == 12;
        c.execute(ins, &map);
        EXPECT_EQ(c.rowCount(), 1);
    }
    EXPECT_EQ(scalar(db, "select group_concat(v || '/' || d || '/' || coalesce(dt, '-'), ';') from kinds where id >= 10"),
              "row 10/10.05/2024-01-10 00:00:00.00;row 11/11.055/2024-01-11 00:00:00.00;row 12/12.06/-;"
              "row 13/13.065/2024-01-13 00:00:00.00;row 14/14.07/2024-01-14 00:00:00.00");
    // A parameter number the statement doesn't have.
    BindMap extra;
    extra.bind(5, ValueInfo(&id, &nulls[0]));
    try {
        c.execute(ins, &extra);
        ADD_FAILURE();
    } catch (const OrvX& x) {
        EXPECT_EQ(x.badParamNum(), 5);
    }
}

} // namespace

// The server's dialect: each form as text in and the text SQLite runs, the statement kinds,
// the mapping of positions back to the caller's text, what the rewritten forms do when run,
// and the shape analysis of selects.
#include "test_orvsupport.h"

#include "dialect.h"
#include <vexapi/orvcpp/orvstatement.h>
#include "selectshape.h"

#include <gtest/gtest.h>

#include <string>

using namespace OrvCPP;
using namespace OrvCPP::detail;
using namespace orvtest;

namespace {

struct Form {
    const char* in;
    const char* out;
};

// Input and the text SQLite runs, kept side by side.
const Form kForms[] = {
    // catalog names and owner
    {"select $$$S23 from ORVANE_SYSTEM_USER.$$$ATTRI", "select \"$$$S23\" from temp.\"$$$ATTRI\""},
    {"select x from $$$SYSRL where $$$s13 = 'a'", "select x from \"$$$SYSRL\" where \"$$$s13\" = 'a'"},
    {"select '$$$S23', \"$$$S23\" -- $$$S1", "select '$$$S23', \"$$$S23\" -- $$$S1"},
    // casts without parentheses
    {"select cast a + 1 as int as x", "select CAST(a + 1 AS int) as x"},
    {"select CAST GetByte($$$S24,8) AS int as \"Indexed\"", "select CAST(GetByte(\"$$$S24\",8) AS int) as \"Indexed\""},
    {"select cast cast a as text as int", "select CAST(CAST(a AS text) AS int)"},
    {"select cast a as decimal(10, 2) as d", "select CAST(a AS decimal(10, 2)) as d"},
    {"select cast(a as int) as x", "select cast(a as int) as x"},
    {"select f(cast x as int), 2", "select f(CAST(x AS int)), 2"},
    // binary literals
    {"insert into t(b) values (hex('0AFF'))", "insert into t(b) values (X'0AFF')"},
    {"update t set b = Hex( '' ) where b = HEX('00')", "update t set b = X'' where b = X'00'"},
    {"select hex('abc'), hex(b), 'hex(''00'')'", "select hex('abc'), hex(b), 'hex(''00'')'"},
    // wide text into NCHAR/NVARCHAR columns (w is one in the test's oracle)
    {"update t set w = hex('004100420416') where w = hex('0041')",
     "update t set w = 'ABЖ' where w = 'A'"},
    {"insert into t (b, w) values (hex('0041'), hex('0041'))", "insert into t (b, w) values (X'0041', 'A')"},
    // booleans and dates
    {"select true, false", "select true, false"},
    {"select '2024-02-29 13:05:09.07'", "select '2024-02-29 13:05:09.07'"},
    {"insert into t values ('02/29/2024:13:05:09.07')", "insert into t values ('2024-02-29 13:05:09.07')"},
    {"select '12/31/1999:23:59:59'", "select '1999-12-31 23:59:59.00'"},
    {"select '13/31/1999:23:59:59'", "select '13/31/1999:23:59:59'"},
    // default values
    {"insert into t (a, b, c) values (DEFAULT, 1, default)", "insert into t (b) values (1)"},
    {"insert into \"main\".\"t\" (a) values (DEFAULT)", "insert into \"main\".\"t\" DEFAULT VALUES"},
    {"insert into t () values ()", "insert into t DEFAULT VALUES"},
    {"insert into t (a) values (1), (DEFAULT)", "insert into t (a) values (1), (DEFAULT)"},
    // positioned writes
    {"update t set a = 1 where current of \"C1\"", "update t set a = 1 where rowid = :vx_current_key"},
    {"DELETE FROM \"main\".\"t\"  WHERE CURRENT OF CURSOR;",
     "DELETE FROM \"main\".\"t\"  WHERE rowid = :vx_current_key"},
    // parameters
    {"select ? + ?5 + ? + :a + ? + :a", "select ?1 + ?5 + ?6 + :a + ?8 + :a"},
    // procedure calls
    {"call p(1, ?, 'x')", "SELECT 1, ?1, 'x'"},
    {"CALL p", ""},
};

class DialectForms : public ::testing::TestWithParam<Form> {};

TEST_P(DialectForms, TranslatesTo)
{
    const WideColumnTest wide = [](const std::string&, const std::string& table, const std::string& column) {
        return table == "t" && column == "w";
    };
    EXPECT_EQ(translateDialect(GetParam().in, wide).sql, GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(Forms, DialectForms, ::testing::ValuesIn(kForms));

TEST(Dialect, KindsTargetsAndNames)
{
    struct Case {
        const char* sql;
        int kind;
        const char* table;
    };
    const Case cases[] = {
        {"select 1", kindSelect, ""},
        {"  values (1)", kindSelect, ""},
        {"with c as (select 1) select * from c", kindSelect, ""},
        {"with c as (select 1) insert into t select * from c", kindInsert, "t"},
        {"insert or replace into \"s\".\"T x\" values (1)", kindInsert, "T x"},
        {"replace into t values (1)", kindInsert, "t"},
        {"update or ignore t set a = 1", kindUpdate, "t"},
        {"delete from t", kindDelete, "t"},
        {"update t set a = 1 where current of c", kindPositionedUpdate, "t"},
        {"delete from t where current of c", kindPositionedDelete, "t"},
        {"create table t(a)", kindDefinition, ""},
        {"DROP view v", kindDefinition, ""},
        {"commit", kindTransaction, ""},
        {"savepoint a", kindTransaction, ""},
        {"pragma table_info(t)", kindOther, ""},
        {"call p()", kindProcedure, ""},
    };
    for (const Case& c : cases) {
        DialectText d = translateDialect(c.sql);
        EXPECT_EQ(d.kind, c.kind) << c.sql;
        EXPECT_EQ(d.targetTable, c.table) << c.sql;
    }
    DialectText d = translateDialect("select ?, :name, ?7");
    ASSERT_EQ(d.paramNames.size(), 8u);
    EXPECT_EQ(d.paramNames[1], "");
    EXPECT_EQ(d.paramNames[2], ":name");
    EXPECT_EQ(d.paramNames[7], "?7");
    EXPECT_TRUE(translateDialect("select 1; select 2").extraStatement);
    EXPECT_FALSE(translateDialect("select 1; -- done\n;").extraStatement);
    EXPECT_EQ(translateDialect("call \"My Proc\"(1)").procedure, "My Proc");
}

TEST(Dialect, PositionsMapBackToTheCallersText)
{
    // The rewritten text is longer before the error; the error's place is the caller's.
    const std::string sql = "select cast a as int, hex('00'),\n  $$$S1 frm t";
    DialectText d = translateDialect(sql);
    const std::size_t at = d.sql.find("frm");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(d.sourceOffset(int(at)), int(sql.find("frm")));
    EXPECT_EQ(d.sourceOffset(int(at) + 2), int(sql.find("frm")) + 2);
}

TEST(Dialect, RewrittenFormsRunAsTheServerWouldRunThem)
{
    OrvConnect db("test", "", ":memory:");
    exec(db, "create table t(id integer primary key, b blob, w nvarchar(10), d date, f boolean, "
             "n integer default 42, s text default 'x')");
    exec(db, "insert into t(id, b, w, d, f) values (1, hex('00FF10'), hex('04160041'), '02/29/2024:13:05:09.07', "
             "true)");
    exec(db, "insert into t(id, b, n, s) values (2, DEFAULT, DEFAULT, DEFAULT)");
    exec(db, "insert into t () values ()");
    EXPECT_EQ(scalar(db, "select hex(b) || '|' || w || '|' || d || '|' || f from t where id = 1"),
              "00FF10|ЖA|2024-02-29 13:05:09.07|1");
    EXPECT_EQ(scalar(db, "select count(*) from t where n = 42 and s = 'x'"), "3");
    EXPECT_EQ(scalar(db, "select cast '12' as int + 1"), "13");
    EXPECT_EQ(scalar(db, "select id from t where w = hex('04160041') and b = hex('00FF10')"), "1");
    EXPECT_EQ(scalar(db, "select count(*) from t where d < '2024-03-01 00:00:00.00' and f = true"), "1");
}

TEST(SelectShapes, SingleTableSelectsAreTold)
{
    struct Case {
        const char* sql;
        bool single;
        const char* table;
        const char* qualifier;
        const char* where;
        const char* orderColumn;
        bool descending;
    };
    const Case cases[] = {
        {"select * from t", true, "t", "t", "", "", false},
        {"SELECT a, b FROM main.t x WHERE a > 1 ORDER BY x.id DESC;", true, "t", "x", "a > 1", "id", true},
        {"select a from \"My T\" as m where (select count(*) from u) > 0 order by a, b", true, "My T", "m",
         "(select count(*) from u) > 0", "", false},
        {"select a from t limit 5", true, "t", "t", "", "", false},
        {"select distinct a from t", false, "", "", "", "", false},
        {"select count(*) from t", false, "", "", "", "", false},
        {"select a from t, u", false, "", "", "", "", false},
        {"select a from t join u on t.id = u.id", false, "", "", "", "", false},
        {"select a from t group by a", false, "", "", "", "", false},
        {"select a from t union select b from u", false, "", "", "", "", false},
        {"select a, row_number() over () from t", false, "", "", "", "", false},
        {"select a from pragma_table_info('t')", false, "", "", "", "", false},
        {"select 1", false, "", "", "", "", false},
        {"with c as (select 1) select * from c", false, "", "", "", "", false},
    };
    for (const Case& c : cases) {
        SelectShape s = analyseSelect(c.sql);
        EXPECT_EQ(s.single, c.single) << c.sql;
        if (!c.single || !s.single)
            continue;
        EXPECT_EQ(s.table, c.table) << c.sql;
        EXPECT_EQ(s.qualifier, c.qualifier) << c.sql;
        EXPECT_EQ(s.whereText, c.where) << c.sql;
        EXPECT_EQ(s.orderColumn, c.orderColumn) << c.sql;
        EXPECT_EQ(s.orderDescending, c.descending) << c.sql;
    }
    EXPECT_TRUE(analyseSelect("select a from t limit 5").hasLimit);
    EXPECT_EQ(analyseSelect("select a from main.t").schema, "main");
}

TEST(Dialect, WideHexIsFourDigitsPerCharacter)
{
    std::string out;
    EXPECT_TRUE(wideHexToUtf8("00410416D83DDE00", out));
    EXPECT_EQ(out, "A\xD0\x96\xF0\x9F\x98\x80");
    EXPECT_FALSE(wideHexToUtf8("004", out));
    EXPECT_FALSE(wideHexToUtf8("00G1", out));
}

} // namespace

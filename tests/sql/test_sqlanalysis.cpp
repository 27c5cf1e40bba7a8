// The select analysis: column paths, aliases and quoting, the table list, where the scan
// ends, the failures of the analysis and its limits, and the scanner's tokens.
#include "sqlscanner.h"
#include "sqltestutil.h"

#include <vexapi/sql/sqlanalysis.h>

#include <gtest/gtest.h>

#include <string>

using namespace DataSourceAPI;
using sqltest::describe;
using sqltest::W;

namespace {

struct Case {
    const char* text;
    const char* expected; // describe() of the result
};

void expectAnalysed(const Case* cases, std::size_t n)
{
    for (std::size_t i = 0; i < n; ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE(c.text);
        SQLQueryDesc d;
        ASSERT_TRUE(parseSelect(W(c.text).c_str(), d)) << "failure " << d.failure() << " at "
                                                        << d.failureOffset();
        EXPECT_EQ(d.failure(), sqlParseOk);
        EXPECT_EQ(describe(d), c.expected);
    }
}

TEST(SQLAnalysisTest, ColumnPaths)
{
    const Case cases[] = {
        {"SELECT * FROM t", "* FROM T"},
        {"SELECT t.* FROM t", "T.* FROM T"},
        {"select a, b.c, s.t.u from x", "A, B.C, S.T.U FROM X"},
        {"SELECT (a), ((t.b)) FROM t", "A, T.B FROM T"},
        {"SELECT DISTINCT a FROM t", "A FROM T"},
        {"SELECT ALL a FROM t", "A FROM T"},
        // Anything but a plain reference is no column of a table.
        {"SELECT a + b, -a, 1, 'x', f(a, b), count(*), now(), (a) * 2 FROM t",
         "?, ?, ?, ?, ?, ?, ?, ? FROM T"},
        {"SELECT CAST(a AS int), CAST(b AS varchar(10)), CAST(c AS numeric(10, 2)) FROM t",
         "?, ?, ? FROM T"},
        {"SELECT (SELECT max(x) FROM u WHERE u.k = t.k), a FROM t", "?, A FROM T"},
        {"SELECT a FROM t WHERE x IN (SELECT y FROM u) AND b LIKE 'x%'", "A FROM T"},
        {"SELECT :p, a FROM t", "?, A FROM T"},
    };
    expectAnalysed(cases, sizeof cases / sizeof *cases);
}

TEST(SQLAnalysisTest, AliasesAndQuoting)
{
    const Case cases[] = {
        {"SELECT a AS x, b y, c FROM t", "A AS X, B AS Y, C FROM T"},
        // A quoted name keeps its case and blanks; an unquoted one comes out in upper case.
        {"SELECT a.b \"Nice Name\" FROM t", "A.B AS Nice Name FROM T"},
        {"SELECT \"MixedCase\".\"Col\" AS \"x\" FROM \"Tab\"", "MixedCase.Col AS x FROM Tab"},
        {"SELECT count(*) AS n FROM t", "? AS N FROM T"},
        {"SELECT 'it''s' s FROM t", "? AS S FROM T"},
        {"SELECT имя AS \"Имя\", _x$1 FROM таблица", "ИМЯ AS Имя, _X$1 FROM ТАБЛИЦА"},
        // No escape inside a quoted name: "a""b" is the name a with the alias b.
        {"SELECT \"a\"\"b\" FROM t", "a AS b FROM T"},
    };
    expectAnalysed(cases, sizeof cases / sizeof *cases);
}

TEST(SQLAnalysisTest, TableList)
{
    const Case cases[] = {
        {"SELECT a FROM s.t x, u AS v, w AS o.p", "A FROM S.T AS X, U AS V, W AS O.P"},
        {"SELECT a FROM t LEFT JOIN u", "A FROM T, U"},
        {"SELECT a FROM t RIGHT JOIN u INNER JOIN v", "A FROM T, U, V"},
        // ON and OUTER are names here: the first name after a table is its alias, and the
        // one after that ends the list.
        {"SELECT a FROM t LEFT OUTER JOIN u ON t.id = u.id", "A FROM T AS OUTER, U AS ON"},
        {"SELECT a FROM t GROUP BY a", "A FROM T AS GROUP"},
        {"SELECT a FROM (SELECT b FROM u) s", "A FROM (B FROM U) AS S"},
        {"SELECT a FROM ((SELECT b FROM u)) s", "A FROM (B FROM U)"},
        {"(SELECT a FROM t)", "A FROM T"},
        {"((SELECT a FROM t) UNION (SELECT b FROM u))", "A FROM T"},
        // The later members of a union are read and dropped.
        {"SELECT a FROM t UNION SELECT b FROM u", "A FROM T"},
        {"SELECT a FROM t WHERE b = 1 UNION ALL SELECT c FROM u ORDER BY 1", "A FROM T"},
        {"SELECT a FROM t HAVING count(*) = 1 ORDER BY a", "A FROM T"},
    };
    expectAnalysed(cases, sizeof cases / sizeof *cases);
}

TEST(SQLAnalysisTest, WhereTheScanEnds)
{
    const Case cases[] = {
        {"SELECT 1 FROM t WHERE a < 1", "? FROM T"},
        {"SELECT a FROM t WHERE a <> 'unterminated", "A FROM T"},
        {"SELECT a FROM t WHERE a != ? AND b = 2", "A FROM T"},
        {"SELECT a FROM t; DELETE FROM t", "A FROM T"},
        {"SELECT a FROM t;", "A FROM T"},
        {"SELECT a FROM t LIMIT 10", "A FROM T AS LIMIT"},
        {"SELECT a FROM t WHERE a = 1.5", "A FROM T"},
        // Comments are blanks.
        {"SELECT a -- the key\n, b /* the value */ FROM t -- end", "A, B FROM T"},
        {"SELECT a /* unterminated", " FROM "},
    };
    // The last one: an unterminated comment runs to the end, so FROM is missing.
    expectAnalysed(cases, sizeof cases / sizeof *cases - 1);
    SQLQueryDesc d;
    EXPECT_FALSE(parseSelect(W(cases[sizeof cases / sizeof *cases - 1].text).c_str(), d));
}

std::string repeat(const std::string& s, int n)
{
    std::string out;
    for (int i = 0; i < n; ++i)
        out += s;
    return out;
}

struct FailureCase {
    std::string text;
    SQLParseFailure failure;
    int offset; // -1: not checked
};

TEST(SQLAnalysisTest, FailuresOfTheAnalysis)
{
    const std::string longName(sqlMaxTokenLength + 1, 'n');
    const FailureCase cases[] = {
        {"", sqlParseSyntax, 0},
        {"   ", sqlParseSyntax, 3},
        {"UPDATE t SET a = 1", sqlParseSyntax, 0},
        {"SELECT a", sqlParseSyntax, 8},       // no FROM
        {"SELECT 1", sqlParseSyntax, 8},
        {"SELECT a, FROM t", sqlParseSyntax, 10},
        {"SELECT a < b FROM t", sqlParseSyntax, 9},
        {"SELECT 1.5 FROM t", sqlParseSyntax, 8}, // integers only: "1" "." "5"
        {"SELECT count (*) FROM t", sqlParseSyntax, 13},
        {"SELECT a FROM f(1)", sqlParseSyntax, 14},
        {"SELECT a FROM t WHERE a IN (1, 2)", sqlParseSyntax, 29},
        {"WITH x AS (SELECT a FROM t) SELECT * FROM x", sqlParseSyntax, -1},
        {"SELECT a AS FROM t", sqlParseSyntax, 12},
        {"SELECT CAST(a) FROM t", sqlParseSyntax, 13},
        {"SELECT (a FROM t", sqlParseSyntax, 10},
        {"SELECT a FROM (SELECT b FROM u", sqlParseSyntax, 30},
        {"SELECT 'abc FROM t", sqlParseUnterminated, 7},
        {"SELECT \"abc FROM t", sqlParseUnterminated, 7},
        {"SELECT " + longName + " FROM t", sqlParseTokenTooLong, 7},
        {"SELECT '" + longName + "' FROM t", sqlParseTokenTooLong, 7},
        {"SELECT \"" + longName + "\" FROM t", sqlParseTokenTooLong, 7},
        {"SELECT a FROM t WHERE a = " + std::string(3000, '7'), sqlParseTokenTooLong, 26},
        {"SELECT " + std::string(1000, '(') + "a" + std::string(1000, ')') + " FROM t",
         sqlParseTooDeep, -1},
        {"SELECT " + repeat("- ", 1000) + "a FROM t", sqlParseTooDeep, -1},
        {"\x01\x02garbage", sqlParseSyntax, 0},
    };
    for (const FailureCase& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 60));
        SQLQueryDesc d;
        d.columns.add(SQLQueryDesc::Column()); // left over from before: must go
        EXPECT_FALSE(parseSelect(W(c.text).c_str(), d));
        EXPECT_EQ(d.failure(), c.failure);
        if (c.offset >= 0) {
            EXPECT_EQ(d.failureOffset(), c.offset);
        }
        EXPECT_TRUE(d.columns.empty());
        EXPECT_TRUE(d.tables.empty());
    }
}

TEST(SQLAnalysisTest, LimitsAreInclusive)
{
    const std::string name(sqlMaxTokenLength, 'n');
    SQLQueryDesc d;
    ASSERT_TRUE(parseSelect(W("SELECT " + name + " FROM t").c_str(), d));
    EXPECT_EQ(d.columns[0].path[0].length(), sqlMaxTokenLength);
    ASSERT_TRUE(parseSelect(W("SELECT '" + name + "' AS \"" + name + "\" FROM t").c_str(), d));
    EXPECT_EQ(d.columns[0].alias[0].length(), sqlMaxTokenLength);
    // Nesting within the limit.
    ASSERT_TRUE(parseSelect(
        W("SELECT " + std::string(100, '(') + "a" + std::string(100, ')') + " FROM t").c_str(), d));
    EXPECT_EQ(describe(d), "A FROM T");

    // A statement of exactly the longest length is read; one character more is refused
    // before anything is scanned.
    WString text = W("SELECT a FROM t");
    text.resize(sqlMaxStatementLength, WChar(' '));
    ASSERT_TRUE(parseSelect(text.c_str(), d));
    text.push_back(WChar(' '));
    EXPECT_FALSE(parseSelect(text.c_str(), d));
    EXPECT_EQ(d.failure(), sqlParseStatementTooLong);

    EXPECT_FALSE(parseSelect(nullptr, d));
    EXPECT_EQ(d.failure(), sqlParseNoText);
}

TEST(SQLAnalysisTest, SelectsAllAndAliasAccessor)
{
    struct AllCase {
        const char* text;
        bool all;
    };
    const AllCase all[] = {{"SELECT * FROM t", true},
                           {"SELECT a, * FROM t", true},
                           {"SELECT (*) FROM t", true},
                           {"SELECT t.* FROM t", false},
                           {"SELECT count(*) FROM t", false},
                           {"SELECT a FROM t", false}};
    for (const AllCase& c : all) {
        SCOPED_TRACE(c.text);
        SQLQueryDesc d;
        ASSERT_TRUE(parseSelect(W(c.text).c_str(), d));
        EXPECT_EQ(d.selectsAll(), c.all);
    }

    SQLQueryDesc d;
    ASSERT_TRUE(parseSelect(W("SELECT a AS first, b, c \"Long Alias\" FROM t").c_str(), d));
    WChar buf[8];
    ASSERT_TRUE(columnAlias(d, 0, buf, 8));
    EXPECT_EQ(sqltest::narrow(buf), "FIRST");
    EXPECT_FALSE(columnAlias(d, 1, buf, 8)); // no alias
    ASSERT_TRUE(columnAlias(d, 2, buf, 5));  // cut to fit, terminated
    EXPECT_EQ(sqltest::narrow(buf), "Long");
    EXPECT_FALSE(columnAlias(d, 3, buf, 8));
    EXPECT_FALSE(columnAlias(d, -1, buf, 8));
    EXPECT_FALSE(columnAlias(d, 0, buf, 0));
    EXPECT_FALSE(columnAlias(d, 0, nullptr, 8));
}

TEST(SQLAnalysisTest, DescriptionsCopyDeep)
{
    SQLQueryDesc d;
    ASSERT_TRUE(parseSelect(W("SELECT a FROM (SELECT b FROM (SELECT c FROM v) x) y").c_str(), d));
    SQLQueryDesc copy(d);
    d.clear();
    EXPECT_EQ(describe(copy), "A FROM (B FROM (C FROM V) AS X) AS Y");
    SQLQueryDesc assigned;
    assigned = copy;
    copy.tables[0].subquery->clear();
    EXPECT_EQ(describe(assigned), "A FROM (B FROM (C FROM V) AS X) AS Y");
}

// ---- The scanner ----

// Token codes and texts: "1 11:A , 8:12 0".
std::string tokens(const WString& text)
{
    detail::SQLScanner s(text.c_str(), int(text.size()));
    std::string out;
    for (int guard = 0; guard < 100; ++guard) {
        const int t = s.next();
        if (!out.empty())
            out += ' ';
        if (t == '(' || t == ')' || t == ',' || t == '.')
            out += char(t);
        else
            out += std::to_string(t);
        if (s.textLength() > 0)
            out += ":" + sqltest::narrow(s.text());
        if (t == 0)
            break;
    }
    return out;
}

TEST(SQLScannerTest, Tokens)
{
    const Case cases[] = {
        {"SELECT a, \"b c\" FROM t1", "1 11:A , 11:b c 2 11:T1 0"},
        {"select Cast as join union where having order", "1 3 4 5 6 7 7 7 0"},
        {"all distinct by with prior left right inner", "0"},
        {"a AND b or c In d like e", "11:A 10:AND 11:B 10:OR 11:C 10:IN 11:D 10:LIKE 11:E 0"},
        {"* + - / : =", "10:* 10:+ 10:- 10:/ 10:: 10:= 0"},
        {"f(x) f (x)", "9:f ( 11:X ) 11:F ( 11:X ) 0"},
        {"12.5e3 0x1F", "8:12 . 8:5 11:E3 8:0 11:X1F 0"},
        {"'it''s' ''", "8:it's 8 0"},
        {"a < b", "11:A 0"},
        {"a ; b", "11:A 0"},
        {"a ? b", "11:A 0"},
        {"a -- c\n/* d */ b /* e", "11:A 11:B 0"},
        {"$x _y x$", "11:$X 11:_Y 11:X$ 0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(tokens(W(c.text)), c.expected);
    }
}

TEST(SQLScannerTest, EndIsSticky)
{
    // Once the scan has ended, it stays ended: a parser that reads on sees the end again.
    const WString text = W("a < b");
    detail::SQLScanner s(text.c_str(), int(text.size()));
    EXPECT_EQ(s.next(), detail::tkName);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(s.next(), detail::tkEnd);
    // The text need not be terminated: the scanner stops at its length.
    const WChar raw[] = {'a', 'b', 'c', 'd'};
    detail::SQLScanner t(raw, 2);
    EXPECT_EQ(t.next(), detail::tkName);
    EXPECT_EQ(sqltest::narrow(t.text()), "AB");
    EXPECT_EQ(t.next(), detail::tkEnd);
}

} // namespace

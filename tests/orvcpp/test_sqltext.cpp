// SQL text helpers against tables of input and expected text: quoting of names, keyword
// search past strings, names, comments and parentheses, and WHERE / ORDER BY splicing.
#include <vexapi/orvcpp/sqltext.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <iterator>
#include <memory>
#include <sstream>
#include <string>

namespace {

typedef std::basic_ostringstream<WChar> WStream;

// UTF-8 test text to 16-bit text and back (the tables hold some Cyrillic; BMP only).
WString W(const char* s)
{
    WString out;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s); *p;) {
        unsigned c = *p++;
        if (c >= 0xE0) {
            c = ((c & 0x0F) << 12) | ((p[0] & 0x3F) << 6) | (p[1] & 0x3F);
            p += 2;
        } else if (c >= 0xC0) {
            c = ((c & 0x1F) << 6) | (p[0] & 0x3F);
            p += 1;
        }
        out += WChar(c);
    }
    return out;
}

std::string N(const WString& s)
{
    std::string out;
    for (WChar wc : s) {
        unsigned c = wc;
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

struct NameCase {
    const char* name;
    const char* quote;
    const char* expected;
};

TEST(SqlText, PutColNameQuotesAndDoublesTheQuote)
{
    const NameCase cases[] = {
        {"Name", "\"", "\"Name\""},
        {"a\"b", "\"", "\"a\"\"b\""},
        {"\"\"", "\"", "\"\"\"\"\"\""},
        {"", "\"", "\"\""},
        {"it's", "'", "'it''s'"},
        {"Name", "", "Name"},
        {"x``y", "``", "``x````y``"},
        {"имя", "\"", "\"имя\""},
    };
    for (const NameCase& c : cases) {
        WStream s;
        putColName(s, W(c.name).c_str(), W(c.quote).c_str());
        EXPECT_EQ(N(s.str()), c.expected) << c.name;
    }
    WStream s;
    putColName(s, nullptr, W("\"").c_str());
    putColName(s, W("a").c_str(), nullptr);
    EXPECT_EQ(N(s.str()), "\"\"a");
}

TEST(SqlText, PutFullNameQuotesEachPart)
{
    const NameCase cases[] = {
        {"table", "\"", "\"table\""},
        {"owner.table", "\"", "\"owner\".\"table\""},
        {"a.b.c", "\"", "\"a\".\"b\".\"c\""},
        {"ORVANE_SYSTEM_USER.$$$SYSRL", "\"", "\"ORVANE_SYSTEM_USER\".\"$$$SYSRL\""},
        {"a\"x.b", "\"", "\"a\"\"x\".\"b\""},
        {"a..b", "\"", "\"a\".\"\".\"b\""},
        {"owner.", "\"", "\"owner\".\"\""},
        // An already quoted part keeps its dots and quotes.
        {"\"my.schema\".tab", "\"", "\"my.schema\".\"tab\""},
        {"own.\"T \"\"1\"\"\"", "\"", "\"own\".\"T \"\"1\"\"\""},
        {"owner.table", "", "owner.table"},
        {"", "\"", "\"\""},
    };
    for (const NameCase& c : cases) {
        WStream s;
        putFullName(s, W(c.name).c_str(), W(c.quote).c_str());
        EXPECT_EQ(N(s.str()), c.expected) << c.name;
    }
}

TEST(SqlText, DupSymbolDoublesOnlyTheSymbol)
{
    struct Case {
        const char* text;
        char symbol;
        const char* expected;
    };
    const Case cases[] = {{"it's", '\'', "it''s"},      {"''", '\'', "''''"},
                          {"abc", '\'', "abc"},         {"", '\'', ""},
                          {"a\"b'c", '"', "a\"\"b'c"},  {"'x'", '\'', "''x''"}};
    for (const Case& c : cases) {
        WStream s;
        DupSymbol(s, W(c.text).c_str(), WChar(c.symbol));
        EXPECT_EQ(N(s.str()), c.expected) << c.text;
    }
    WStream s;
    DupSymbol(s, nullptr, WChar('\''));
    EXPECT_TRUE(s.str().empty());
}

TEST(SqlText, FindSQLKeywordFindsTopLevelWholeWordsOnly)
{
    struct Case {
        const char* text;
        const char* keyword;
        int expected; // offset of the match, -1 for none
    };
    const Case cases[] = {
        {"select a from t where b", "WHERE", 16},
        {"select a from t WHERE b", "where", 16},
        {"select a from t", "where", -1},
        {"select 'where' from t", "where", -1},
        {"select 'it''s where' from t", "where", -1},
        {"select \"where\" from t", "where", -1},
        {"select a -- where\nfrom t", "where", -1},
        {"select a -- where\nfrom t where", "where", 25},
        {"select a /* where */ from t where", "where", 28},
        {"select (select b from u where c) from t", "where", -1},
        {"select a from t where x in (select 1 where 2)", "where", 16},
        {"select (a) from t where", "where", 18},
        {"select nowhere, where_x, where$ from t", "where", -1},
        {"select a from t order   by a", "order by", 16},
        {"select a from t order/*c*/by a", "ORDER BY", 16},
        {"select a from t order\n-- x\nby a", "order by", 16},
        {"select a from t order a", "order by", -1},
        {"select a from t where", "wher", -1},
        {"select a from t) where", "where", 17}, // a surplus ')' doesn't hide the rest
        {"select /* where", "where", -1},
        {"select 'abc where", "where", -1},
        {"select \"abc where", "where", -1},
        {"", "where", -1},
        {"select a from t where", "", -1},
        {"select a from t where", "   ", -1},
        {"select имя from т where x", "where", 18},
        {"select a from твhere", "where", -1},
        // SQLite's other two quoted-name forms.
        {"select [where] from t where", "where", 22},
        {"select `where` from t where", "where", 22},
        {"select `a``where` from t", "where", -1},
        {"select [a b] from t where", "where", 20},
        {"select [where", "where", -1},
    };
    for (const Case& c : cases) {
        WString text = W(c.text);
        const WChar* found = FindSQLKeyword(static_cast<const WChar*>(text.c_str()),
                                            W(c.keyword).c_str());
        EXPECT_EQ(found ? int(found - text.c_str()) : -1, c.expected)
            << "\"" << c.text << "\" / " << c.keyword;
    }
    // The mutable form points into the caller's own buffer.
    WString buffer = W("update t set a = 1 where b = 2");
    WChar* at = FindSQLKeyword(&buffer[0], W("where").c_str());
    ASSERT_NE(at, nullptr);
    EXPECT_EQ(at, &buffer[19]);
    EXPECT_EQ(FindSQLKeyword(static_cast<WChar*>(nullptr), W("where").c_str()), nullptr);
    EXPECT_EQ(FindSQLKeyword(&buffer[0], nullptr), nullptr);
}

struct SpliceCase {
    const char* select;
    const char* addition;
    const char* expected;
};

const SpliceCase whereCases[] = {
    // Nothing to add.
    {"select a from t", "", "select a from t"},
    {"select a from t where b = 1", "  \t", "select a from t where b = 1"},
    // A new WHERE at the end or before the first later clause.
    {"select a from t", "x = 1", "select a from t WHERE x = 1"},
    {"select a from t", "  x = 1  ", "select a from t WHERE x = 1"},
    {"select a from t;", "x = 1", "select a from t WHERE x = 1;"},
    {"select a from t ; ", "x = 1", "select a from t WHERE x = 1 ; "},
    {"select a, count(*) from t group by a having count(*) > 1", "a > 0",
     "select a, count(*) from t WHERE a > 0 group by a having count(*) > 1"},
    {"select a from t having a > 1", "a < 9", "select a from t WHERE a < 9 having a > 1"},
    {"select a from t order by a desc", "c = 1", "select a from t WHERE c = 1 order by a desc"},
    {"select a from t limit 10", "a > 1", "select a from t WHERE a > 1 limit 10"},
    {"select a\nfrom t\norder\n  by a", "c = 1", "select a\nfrom t WHERE c = 1\norder\n  by a"},
    {"select a from(t)order by a", "c = 1", "select a from(t) WHERE c = 1 order by a"},
    {"update t set a = 1", "b = 2", "update t set a = 1 WHERE b = 2"},
    // An existing WHERE: both conditions in parentheses, joined by AND.
    {"select a from t where b = 2", "x = 1", "select a from t where (b = 2) AND (x = 1)"},
    {"select a from t where b = 2 or c = 3 order by a", "x = 1 or y = 2",
     "select a from t where (b = 2 or c = 3) AND (x = 1 or y = 2) order by a"},
    {"SeLeCt a FrOm t WhErE b=1", "c=2", "SeLeCt a FrOm t WhErE (b=1) AND (c=2)"},
    {"select a from t where a = 1 for update", "b = 2",
     "select a from t where (a = 1) AND (b = 2) for update"},
    {"select a from t where a = 1 group by a;", "b = 2",
     "select a from t where (a = 1) AND (b = 2) group by a;"},
    {"select a from t where", "c = 1", "select a from t where c = 1"},
    {"select a from t where order by a", "c = 1", "select a from t where c = 1 order by a"},
    // Subselects: their clauses are not the statement's.
    {"select a from t where b in (select b from u where c = 1) order by a", "d = 2",
     "select a from t where (b in (select b from u where c = 1)) AND (d = 2) order by a"},
    {"select * from (select a from t where a > 1 group by a) x", "x.a < 5",
     "select * from (select a from t where a > 1 group by a) x WHERE x.a < 5"},
    {"select a, (select max(b) from u where u.k = t.k order by b) m from t", "a = 1",
     "select a, (select max(b) from u where u.k = t.k order by b) m from t WHERE a = 1"},
    {"select row_number() over (order by a) from t", "a > 1",
     "select row_number() over (order by a) from t WHERE a > 1"},
    {"with c as (select a from t where a > 0) select a from c", "a < 9",
     "with c as (select a from t where a > 0) select a from c WHERE a < 9"},
    // Strings, quoted names, comments.
    {"select 'where' as w, \"order by\" from t", "a = 1",
     "select 'where' as w, \"order by\" from t WHERE a = 1"},
    {"select a from t where b = 'it''s where) order by'", "c = 1",
     "select a from t where (b = 'it''s where) order by') AND (c = 1)"},
    {"select \"GROUP\" from t group by \"GROUP\"", "c = 1",
     "select \"GROUP\" from t WHERE c = 1 group by \"GROUP\""},
    {"select a from t -- where x\n", "c = 1", "select a from t WHERE c = 1 -- where x\n"},
    {"select a from t -- note", "c = 1", "select a from t WHERE c = 1 -- note"},
    {"select a /* from x where y */ from t", "c = 1",
     "select a /* from x where y */ from t WHERE c = 1"},
    {"select a from t/*c*/", "c = 1", "select a from t WHERE c = 1 /*c*/"},
    {"select a from t -- c\n order by a", "b = 1", "select a from t WHERE b = 1 -- c\n order by a"},
    {"select wherever, order_by from t_where", "c = 1",
     "select wherever, order_by from t_where WHERE c = 1"},
    // A condition ending in a line comment can't swallow what follows.
    {"select a from t order by a", "c = 1 -- keep", "select a from t WHERE c = 1 -- keep\n order by a"},
    {"select a from t where b = 1", "c = 1 -- keep",
     "select a from t where (b = 1) AND (c = 1 -- keep\n)"},
    // A compound select: the first member is filtered.
    {"select a from t union select a from u", "a > 1",
     "select a from t WHERE a > 1 union select a from u"},
    {"select a from t where a < 5 union all select a from u where a > 1", "a <> 3",
     "select a from t where (a < 5) AND (a <> 3) union all select a from u where a > 1"},
    // Text in other scripts.
    {"select имя from таблица where возраст > 1", "город = 'Москва'",
     "select имя from таблица where (возраст > 1) AND (город = 'Москва')"},
};

TEST(SqlText, AppendWhere)
{
    for (const SpliceCase& c : whereCases) {
        WStream s;
        AppendWhere(s, W(c.select).c_str(), W(c.addition).c_str());
        EXPECT_EQ(N(s.str()), c.expected) << "select: " << c.select << "\ncondition: " << c.addition;
    }
    WStream s;
    AppendWhere(s, W("select a from t").c_str(), nullptr);
    AppendWhere(s, nullptr, W("a = 1").c_str());
    EXPECT_EQ(N(s.str()), "select a from t");
}

const SpliceCase orderCases[] = {
    // No order given: the select keeps its own.
    {"select a from t", "", "select a from t"},
    {"select a from t order by b", " ", "select a from t order by b"},
    // A new ORDER BY.
    {"select a from t", "a DESC", "select a from t ORDER BY a DESC"},
    {"select a from t;", "a", "select a from t ORDER BY a;"},
    {"select a from t limit 5", "a", "select a from t ORDER BY a limit 5"},
    {"select a from t where b = 1 for update", "a",
     "select a from t where b = 1 ORDER BY a for update"},
    {"select a from t -- sorted later", "a", "select a from t ORDER BY a -- sorted later"},
    {"select \"order by\" from t where x = 'order by'", "a",
     "select \"order by\" from t where x = 'order by' ORDER BY a"},
    {"select a from (select a from t order by a) x", "a desc",
     "select a from (select a from t order by a) x ORDER BY a desc"},
    {"select a from t union select a from u", "a", "select a from t union select a from u ORDER BY a"},
    // Replacing an existing one, keyword and list.
    {"select a from t order by b, c", "a", "select a from t ORDER BY a"},
    {"select a from t order by b limit 5", "a", "select a from t ORDER BY a limit 5"},
    {"select a from t Order\n By b desc;", "a", "select a from t ORDER BY a;"},
    {"select a from t order by b; -- end", "a", "select a from t ORDER BY a; -- end"},
    {"select a from t order by b for update", "a", "select a from t ORDER BY a for update"},
    {"select a from t order by", "a", "select a from t ORDER BY a"},
    {"select a from t order by f(b, (c)) desc", "a", "select a from t ORDER BY a"},
    {"select a from t union select a from u order by 1", "a",
     "select a from t union select a from u ORDER BY a"},
    // An order ending in a line comment.
    {"select a from t limit 3", "a -- x", "select a from t ORDER BY a -- x\n limit 3"},
};

TEST(SqlText, AppendOrderBy)
{
    for (const SpliceCase& c : orderCases) {
        WStream s;
        AppendOrderBy(s, W(c.select).c_str(), W(c.addition).c_str());
        EXPECT_EQ(N(s.str()), c.expected) << "select: " << c.select << "\norder: " << c.addition;
    }
}

// Names that look like keywords, WINDOW clauses, and each quoting form; every result must
// also be SQL that SQLite accepts against kSchema (SqlText.SplicedSelectsAreValidSQLite).
const char* const kSchema =
    "create table t(a, q1, minus, plus, window, \"order by\", [group], [where], `limit`);"
    "create table u(a, minus);";

const SpliceCase keywordLikeWhereCases[] = {
    // MINUS is an ordinary name in SQLite, not a compound operator.
    {"SELECT q1 AS plus, -q1 AS minus FROM t", "1 = 1",
     "SELECT q1 AS plus, -q1 AS minus FROM t WHERE 1 = 1"},
    {"select a from t where minus > 0 order by a", "a > 1",
     "select a from t where (minus > 0) AND (a > 1) order by a"},
    {"select minus from t union select a from u where minus = 2", "a > 1",
     "select minus from t WHERE a > 1 union select a from u where minus = 2"},
    {"select a from t except select minus from u", "a > 1",
     "select a from t WHERE a > 1 except select minus from u"},
    // WINDOW: the condition goes before it; a column named window is a name.
    {"select a, sum(a) over w from t window w as (order by a)", "a > 0",
     "select a, sum(a) over w from t WHERE a > 0 window w as (order by a)"},
    {"select a, sum(a) over w from t where a < 9 window w as (order by a) order by a", "a > 0",
     "select a, sum(a) over w from t where (a < 9) AND (a > 0) window w as (order by a) order by a"},
    {"select a, count(*) over w from t group by a having a > 1 window w as (partition by a)",
     "a > 0",
     "select a, count(*) over w from t WHERE a > 0 group by a having a > 1 window w as (partition by a)"},
    {"select a, sum(a) over \"w\" from t window \"w\" as (order by a) limit 3", "a > 0",
     "select a, sum(a) over \"w\" from t WHERE a > 0 window \"w\" as (order by a) limit 3"},
    {"select a from t where window > 0", "a > 1", "select a from t where (window > 0) AND (a > 1)"},
    {"select window from t window window as (order by a)", "window > 0",
     "select window from t WHERE window > 0 window window as (order by a)"},
    // Each quoting form hides keywords.
    {"select 'order by', \"group\" from t", "a = 1", "select 'order by', \"group\" from t WHERE a = 1"},
    {"select [order by], `limit` from t", "a = 1", "select [order by], `limit` from t WHERE a = 1"},
    {"select [where] from t where [group] = 1", "a = 1",
     "select [where] from t where ([group] = 1) AND (a = 1)"},
    {"select `where` from t where `limit` = 1 order by a", "a = 1",
     "select `where` from t where (`limit` = 1) AND (a = 1) order by a"},
    {"select a from t -- where minus\n", "a = 1", "select a from t WHERE a = 1 -- where minus\n"},
    {"select a from t /* window w as () */ group by a", "a > 1",
     "select a from t WHERE a > 1 /* window w as () */ group by a"},
};

const SpliceCase keywordLikeOrderCases[] = {
    {"select a from t where minus > 0", "a", "select a from t where minus > 0 ORDER BY a"},
    {"select a from t minus", "a", "select a from t minus ORDER BY a"},
    {"select a, sum(a) over w from t window w as (order by a)", "a desc",
     "select a, sum(a) over w from t window w as (order by a) ORDER BY a desc"},
    {"select a, sum(a) over w from t window w as (order by a) order by q1 limit 2", "a",
     "select a, sum(a) over w from t window w as (order by a) ORDER BY a limit 2"},
    {"select [order by] from t", "a", "select [order by] from t ORDER BY a"},
    {"select `limit` from t order by `limit`", "a", "select `limit` from t ORDER BY a"},
    {"select \"order by\" from t where [where] = 'order by'", "a",
     "select \"order by\" from t where [where] = 'order by' ORDER BY a"},
    {"select a from t -- order by x\n", "a", "select a from t ORDER BY a -- order by x\n"},
    {"select a from t /* limit 1 */", "a", "select a from t ORDER BY a /* limit 1 */"},
};

TEST(SqlText, KeywordLikeNamesWindowsAndQuotes)
{
    for (const SpliceCase& c : keywordLikeWhereCases) {
        WStream s;
        AppendWhere(s, W(c.select).c_str(), W(c.addition).c_str());
        EXPECT_EQ(N(s.str()), c.expected) << "select: " << c.select << "\ncondition: " << c.addition;
    }
    for (const SpliceCase& c : keywordLikeOrderCases) {
        WStream s;
        AppendOrderBy(s, W(c.select).c_str(), W(c.addition).c_str());
        EXPECT_EQ(N(s.str()), c.expected) << "select: " << c.select << "\norder: " << c.addition;
    }
}

// Proves the tables above hold real SQL: each input and each result prepares in SQLite.
TEST(SqlText, SplicedSelectsAreValidSQLite)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> guard(db, sqlite3_close);
    ASSERT_EQ(sqlite3_exec(db, kSchema, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    auto prepares = [db](const std::string& sql) {
        sqlite3_stmt* st = nullptr;
        const int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr);
        sqlite3_finalize(st);
        return rc == SQLITE_OK ? std::string("ok") : sql + ": " + sqlite3_errmsg(db);
    };
    for (const SpliceCase* table : {keywordLikeWhereCases, keywordLikeOrderCases}) {
        const std::size_t n = table == keywordLikeWhereCases ? std::size(keywordLikeWhereCases)
                                                             : std::size(keywordLikeOrderCases);
        for (std::size_t i = 0; i < n; ++i) {
            EXPECT_EQ(prepares(table[i].select), "ok");
            WStream s;
            if (table == keywordLikeWhereCases)
                AppendWhere(s, W(table[i].select).c_str(), W(table[i].addition).c_str());
            else
                AppendOrderBy(s, W(table[i].select).c_str(), W(table[i].addition).c_str());
            EXPECT_EQ(prepares(N(s.str())), "ok");
        }
    }
}

// The filtered select of a statement: AppendWhere into a temporary text, then AppendOrderBy
// from it, with column texts written by putFullName and putColName.
TEST(SqlText, FilterAndSortPipeline)
{
    WStream col;
    putFullName(col, W("own.T").c_str(), W("\"").c_str());
    col.put(WChar('.'));
    putColName(col, W("B").c_str(), W("\"").c_str());
    const WString column = col.str();

    const WString where = column + W(" LIKE :p1");
    const WString order = column + W(" DESC");
    WStream tmp;
    AppendWhere(tmp, W("select a, b from own.t where a > 0 order by b").c_str(), where.c_str());
    WStream out;
    AppendOrderBy(out, tmp.str().c_str(), order.c_str());
    EXPECT_EQ(N(out.str()), "select a, b from own.t where (a > 0) AND (\"own\".\"T\".\"B\" LIKE :p1) "
                            "ORDER BY \"own\".\"T\".\"B\" DESC");
}

} // namespace

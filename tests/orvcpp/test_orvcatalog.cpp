// The key catalog select, as the cursor-backed statements send it, answered from SQLite's
// schema for tables with a single, a composite and no primary key; and the catalog
// functions on their own.
#include "test_orvsupport.h"

#include <vexapi/orvcpp/orvstatement.h>
#include <vexapi/orvcpp/paramdesc.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace OrvCPP;
using namespace orvtest;

namespace {

const char kCatalogSelect[] =
    "\t  Select  $$$S23 as COLUMN_NAME,       GetBits(GetLong($$$S24,60),0,9,1) as PRIMARY_KEY,       "
    "GetBits(GetLong($$$S24,18),0,4,4) as RAL,       GetBits(GetLong($$$S24,18),0,0,4) as WAL, \t  "
    "GetLong($$$S24,32)+1 as \"InitAutoinc\",       cast GetBits(GetLong($$$s24,60),0,10,1) as int as "
    "\"IsUnique\", \t  CAST GetByte($$$S24,8) AS int as \"Indexed\" \t  From ORVANE_SYSTEM_USER.$$$SYSRL, "
    "ORVANE_SYSTEM_USER.$$$ATTRI, ORVANE_SYSTEM_USER.$$$USR \t  Where $$$S12 = $$$S31 and $$$S11 = $$$S21 and "
    "$$$S32 = 0";

struct Column {
    int primaryKey;
    int ral, wal;
    long long initAutoinc;
    int isUnique;
    int indexed;
};

// Runs the catalog select for owner and table as the statement layer does: the names from
// the first column's description of "select * from <table>", then the catalog rows read by
// a block fetch of name (100 bytes) and key flag into a record of 104 bytes.
std::map<std::string, Column> catalog(const OrvConnect& db, const std::string& table)
{
    OrvStatement probe(db, ("select * from \"" + table + "\";").c_str());
    t_ParamDesc d;
    probe.answerDesc(1, &d);
    std::string owner(d.owner), name(d.table);
    owner.erase(owner.find_last_not_of(' ') + 1);
    name.erase(name.find_last_not_of(' ') + 1);
    EXPECT_EQ(owner, "main");
    EXPECT_EQ(name, table);

    const std::string sql = std::string(kCatalogSelect) + " and $$$S34='" + owner + "' and $$$S13='" + name + "';";
    OrvCursor c(db, 0, "catalog");
    c.execute(sql.c_str());
    struct Record {
        char name[100];
        VLong key;
    };
    static_assert(sizeof(Record) == 104, "the record of the statement layer");
    Record rows[16];
    char nulls[16][104];
    BindMap map;
    map.bind(1, ValueInfo(orvCString, rows[0].name, 100, &nulls[0][0]));
    map.bind(2, ValueInfo(&rows[0].key, &nulls[0][1]));
    const VLong n = c.multiFetch(1, 16, &map, 104);
    EXPECT_EQ(n, c.selectRowCount());

    std::map<std::string, Column> out;
    for (VLong r = 1; r <= n; ++r) {
        c.fetch(fetchAbsolute, r);
        Column col;
        col.primaryKey = int(integer(c, 2));
        EXPECT_EQ(col.primaryKey, rows[r - 1].key);
        col.ral = int(integer(c, 3));
        col.wal = int(integer(c, 4));
        col.initAutoinc = integer(c, 5);
        col.isUnique = int(integer(c, 6));
        col.indexed = int(integer(c, 7));
        out[rows[r - 1].name] = col;
    }
    return out;
}

TEST(Catalog, KeyColumnsOfRealTablesComeBackFlagged)
{
    OrvConnect db("test", "", ":memory:");
    exec(db, "create table single(id integer primary key autoincrement, code text unique, note text)");
    exec(db, "create table pair(a int, b text, c real, primary key (b, a))");
    exec(db, "create table nokey(x int, y int)");
    exec(db, "create index nokey_y on nokey(y, x)");
    exec(db, "insert into single(code) values ('a'), ('b'), ('c')");

    auto s = catalog(db, "single");
    ASSERT_EQ(s.size(), 3u);
    EXPECT_EQ(s["id"].primaryKey, 1);
    EXPECT_EQ(s["id"].initAutoinc, 4) << "the next key after 3 rows";
    EXPECT_EQ(s["id"].isUnique, 1);
    EXPECT_EQ(s["id"].indexed, 1);
    EXPECT_EQ(s["code"].primaryKey, 0);
    EXPECT_EQ(s["code"].isUnique, 1);
    EXPECT_EQ(s["note"].primaryKey, 0);
    EXPECT_EQ(s["note"].isUnique, 0);
    EXPECT_EQ(s["note"].initAutoinc, 1);
    EXPECT_EQ(s["note"].ral, 15);
    EXPECT_EQ(s["note"].wal, 15);

    auto p = catalog(db, "pair");
    ASSERT_EQ(p.size(), 3u);
    EXPECT_EQ(p["a"].primaryKey, 1);
    EXPECT_EQ(p["b"].primaryKey, 1);
    EXPECT_EQ(p["c"].primaryKey, 0);
    EXPECT_EQ(p["a"].isUnique, 0) << "part of a composite key is not unique alone";
    EXPECT_EQ(p["b"].indexed, 1) << "b leads the key's index";

    auto n = catalog(db, "nokey");
    ASSERT_EQ(n.size(), 2u);
    EXPECT_EQ(n["x"].primaryKey + n["y"].primaryKey, 0);
    EXPECT_EQ(n["y"].indexed, 1);
    EXPECT_EQ(n["x"].indexed, 0);
}

TEST(Catalog, AnUnknownTableHasNoRowsAndOtherCatalogsFail)
{
    OrvConnect db("test", "", ":memory:");
    const std::string sql = std::string(kCatalogSelect) + " and $$$S34='main' and $$$S13='missing';";
    OrvCursor c(db, 0, "c");
    c.execute(sql.c_str());
    EXPECT_EQ(c.selectRowCount(), 0);
    // The designer's test for a comments table: it must fail with OrvX here.
    EXPECT_THROW(c.execute("select * from \"SYSTEM\".\"$$$COMMENTS\""), OrvX);
    // The views survive a rolled back transaction: they are made again on use.
    exec(db, "create table t(a)");
    c.rollback();
    c.execute(sql.c_str());
    EXPECT_EQ(c.selectRowCount(), 0);
}

TEST(Catalog, FunctionsReadTheAttributeRecord)
{
    OrvConnect db("test", "", ":memory:");
    struct Case {
        const char* expr;
        const char* value;
    };
    const Case cases[] = {
        {"GetLong(x'0100000002000000', 0)", "1"},
        {"GetLong(x'0100000002000000', 4)", "2"},
        {"GetLong(x'FFFFFFFF', 0)", "-1"},
        {"GetLong(x'010203', 0)", "<null>"},
        {"GetByte(x'0102', 1)", "2"},
        {"GetByte(x'0102', 2)", "<null>"},
        {"GetBits(512, 0, 9, 1)", "1"},
        {"GetBits(512, 0, 10, 1)", "0"},
        {"GetBits(1536, 0, 9, 2)", "3"},
        {"GetBits(240, 0, 4, 4)", "15"},
        {"GetBits(4294967296, 1, 0, 1)", "1"},
        {"GetBits(null, 0, 0, 1)", "<null>"},
    };
    for (const Case& k : cases)
        EXPECT_EQ(scalar(db, std::string("select ") + k.expr), k.value) << k.expr;
}

} // namespace

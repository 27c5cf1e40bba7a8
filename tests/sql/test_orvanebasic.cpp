// Cursor-backed source: column description, key discovery, reading, each write mode read
// back from the table, the batch rule, blobs, procedures and the error texts.
#include "orvanesupport.h"

#include <vexapi/orvcpp/procedures.h>

#include <condition_variable>
#include <mutex>

namespace orvanetest {
namespace {

using OrvCPP::FaultInjection;
using OrvCPP::OrvX;

std::vector<std::string> colNames(OrvaneDS& ds)
{
    std::vector<std::string> out;
    for (int c = 1; c <= ds.colCount(); ++c)
        out.push_back(narrow(ds.colInfo(c).name()));
    return out;
}

// ---- Column description ----

TEST(OrvaneColumns, NamesByAliasTableOwnerAndRepeats)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    run(c, "create table t(a integer, b varchar(10))");
    struct Case {
        const char* select;
        bool ignoreOwner, ignoreTable;
        std::vector<std::string> names;
    } cases[] = {
        {"select a, b from t", false, false, {"main.t.a", "main.t.b"}},
        {"select a, b from t", true, false, {"t.a", "t.b"}},
        {"select a, b from t", true, true, {"a", "b"}},
        {"select a, a, a from t", true, true, {"a", "a(1)", "a(2)"}},
        {"select a as x, b, a + 1 as y from t", false, false, {"x", "main.t.b", "y"}},
        // A "*" in the list: the columns stay, the aliases go.
        {"select *, a as z from t", true, false, {"t.a", "t.b", "t.a(1)"}},
        {"select t.*, b as z from t", true, true, {"a", "b", "b(1)"}},
        {"select 'it''s, *' as q, a from t", true, true, {"q", "a"}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.select);
        OrvaneDS ds;
        ds.setIgnoreOwnerMode(k.ignoreOwner);
        ds.setIgnoreTableMode(k.ignoreTable);
        ds.create(c, W(k.select).c_str());
        EXPECT_EQ(colNames(ds), k.names);
        EXPECT_EQ(ds.checkInvariants(), 0);
        // The full name is always the qualified one.
        for (int col = 1; col <= ds.dbColCount(); ++col) {
            if (ds.dbCol(col).tableIndex) {
                EXPECT_EQ(narrow(ds.dbCol(col).fullColName), "main.t." + narrow(ds.dbCol(col).realColName));
            }
        }
    }
}

TEST(OrvaneColumns, TypesLengthsAndTheReadAheadBlock)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    run(c, "create table t(i integer primary key, s smallint, v varchar(20), n nvarchar(10), d double, "
           "r float4, m decimal(12,2), dt date, b blob, x binary(6))");
    OrvaneDS ds;
    ds.create(c, W("select i, s, v, n, d, r, m, dt, b, x from t").c_str());
    const Type types[] = {tInt, tSmall, tText, tText, tDouble, tReal, tDec, tDate, tBlob, tByte};
    const int lens[] = {4, 2, 42, 22, 8, 4, 16, 16, 0, 6};
    int sum = 0;
    for (int col = 1; col <= 10; ++col) {
        EXPECT_EQ(ds.colInfo(col).type(), types[col - 1]) << col;
        EXPECT_EQ(ds.dbCol(col).dsLen, lens[col - 1]) << col;
        sum += ds.dbCol(col).length;
    }
    EXPECT_EQ(ds.blockRecords(), 8192 / sum);
    // The row key is filled by the server: no column a write may set.
    EXPECT_TRUE(ds.dbCol(1).isAutoKey);
    EXPECT_FALSE(ds.dbCol(1).updateable());
    EXPECT_TRUE(ds.dbCol(3).updateable());
}

TEST(OrvaneRead, ValuesOfEveryTypeAndBlobsOnTheirOwn)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    run(c, "create table t(i integer primary key, v varchar(20), d double, m decimal(12,2), dt date, b blob)");
    run(c, "insert into t values (1, 'h\xc3\xa9llo', 2.5, 12.25, '2024-02-03 04:05:06.00', x'00ff10')");
    run(c, "insert into t values (2, null, null, null, null, null)");
    commit(c);
    OrvaneDS ds;
    ds.create(c, W("select i, v, d, m, dt, b from t").c_str());
    ds.retrieve();
    ASSERT_EQ(ds.rowCount(), 2);
    LowMemoryDS::Iterator it = ds.row2iterator(1);
    std::vector<WChar> text(32);
    bool null = true;
    VLong len = 0;
    ds.getFieldRaw(it, 2, text.data(), 64, &null, &len);
    EXPECT_FALSE(null);
    EXPECT_EQ(text[1], WChar(0xE9));
    double d = 0;
    ds.getFieldRaw(it, 3, &d, 8, &null, &len);
    EXPECT_EQ(d, 2.5);
    OrvCPP::OrvDec m;
    ds.getFieldRaw(it, 4, &m, 16, &null, &len);
    char mt[OrvCPP::OrvDec::TextSize];
    m.toText(mt, sizeof mt);
    EXPECT_STREQ(mt, "12.25");
    OrvCPP::OrvDate dt;
    ds.getFieldRaw(it, 5, &dt, 16, &null, &len);
    char dtt[OrvCPP::OrvDate::TextSize];
    dt.toText(dtt, sizeof dtt);
    EXPECT_STREQ(dtt, "2024-02-03 04:05:06.00");
    // The blob is not in the row until its column is asked for.
    ds.lock(it, 0);
    EXPECT_EQ(ds(it, 6).blob()->data(), nullptr);
    ds.unlock(it);
    unsigned char b[8] = {};
    ds.getFieldRaw(it, 6, b, 8, &null, &len);
    EXPECT_EQ(len, 3);
    EXPECT_EQ(b[1], 0xff);
    LowMemoryDS::Iterator it2 = ds.row2iterator(2);
    for (int col = 2; col <= 6; ++col) {
        ds.getFieldRaw(it2, col, b, 8, &null, &len);
        EXPECT_TRUE(null) << col;
    }
}

TEST(OrvaneRead, TheBlockReadsAheadFromTheRowAskedFor)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 1000);
    OrvaneDS ds;
    ds.create(c, W("select id, name, qty from items").c_str());
    ds.retrieve();
    const int block = ds.blockRecords();
    ASSERT_GT(block, 10);
    EXPECT_EQ(getInt(ds, 500, 1), 500);
    EXPECT_EQ(ds.blockStart(), 500);
    EXPECT_EQ(ds.blockCount(), block);
    EXPECT_EQ(getInt(ds, 500 + block - 1, 1), 500 + block - 1);
    EXPECT_EQ(ds.blockStart(), 500);
    EXPECT_EQ(getInt(ds, 499, 1), 499);
    EXPECT_EQ(ds.blockStart(), 499);
    // Near the end the block holds what is left.
    EXPECT_EQ(getInt(ds, 1000, 3), 10000);
    EXPECT_EQ(ds.blockCount(), 1);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

// ---- Keys ----

TEST(OrvaneKeys, SingleCompositeMissingAndPartial)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    run(c, "create table single(id integer primary key, v text)");
    run(c, "create table lines(order_id integer, line integer, product text, primary key (order_id, line))");
    run(c, "create table nokey(a integer, b text)");
    struct Case {
        const char* select;
        std::vector<std::string> keys;
    } cases[] = {
        {"select id, v from single", {"id"}},
        {"select v, id from single", {"id"}},
        {"select product, line, order_id from lines", {"order_id", "line"}},
        {"select order_id, product from lines", {"order_id"}}, // line is missing: stop there
        {"select line, product from lines", {}},                // order_id is missing
        {"select a, b from nokey", {}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.select);
        OrvaneDS ds;
        ds.setIgnoreOwnerMode(true);
        ds.setIgnoreTableMode(true);
        ds.create(c, W(k.select).c_str());
        ASSERT_EQ(ds.dbTableCount(), 1);
        std::vector<std::string> keys;
        for (int i = 1; i <= ds.priKeysCount(1); ++i)
            keys.push_back(narrow(ds.dbCol(ds.priKeyIndex(1, i)).name));
        EXPECT_EQ(keys, k.keys);
        ds.setPrimaryKeysAsKey();
        EXPECT_EQ(ds.orgColCount(), int(k.keys.size()));
    }
}

TEST(OrvaneKeys, RowidAsKey)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    run(c, "create table nokey(a integer, b text)");
    run(c, "insert into nokey values (1, 'x'), (2, 'y')");
    commit(c);
    OrvaneDS ds;
    ds.create(c, W("select rowid, a, b from nokey").c_str());
    ASSERT_TRUE(ds.dbCol(1).isRowid);
    EXPECT_FALSE(ds.dbCol(1).updateable());
    ds.setRowidAsKey();
    ds.setUpdateMode(OrvaneDS::byKey);
    ds.retrieve();
    setText(ds, ds.row2iterator(2), 3, "z");
    ds.update();
    ds.commitDB();
    ds.commitDS();
    OrvCursor r(c, 0, "r");
    r.execute("select b from nokey where a = 2");
    r.fetch(OrvCPP::fetchAbsolute, 1);
    char b[8];
    char n = 0;
    VLong len = 0;
    r.getData(1, OrvCPP::ValueInfo(b, 8, &n, &len));
    EXPECT_STREQ(b, "z");
}

// ---- Writes read back from the table, in each mode ----

class OrvaneWrites : public ::testing::TestWithParam<OrvaneDS::UpdateMode> {};

TEST_P(OrvaneWrites, UpdatesDeletesInsertsReadBack)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 10);
    OrvaneDS ds;
    ds.create(c, W("select id, name, qty from items").c_str());
    ds.setUpdateMode(GetParam());
    ds.setPrimaryKeysAsKey();
    ds.retrieve();
    setText(ds, ds.row2iterator(2), 2, "it's two");
    setInt(ds, ds.row2iterator(2), 3, 22);
    ds.setFieldRaw(ds.row2iterator(3), 3, nullptr, 0, true);
    ds.deleteRow(ds.row2iterator(5));
    ds.deleteRow(ds.row2iterator(2 + 0)); // the updated row 2 goes as well: a delete wins
    LowMemoryDS::Iterator ins = ds.insertRow(ds.row2iterator(1));
    setText(ds, ins, 2, "first");
    ds.update();
    ds.commitDB();
    ds.commitDS();
    std::vector<Item> expected = {Item(1, "item1", 10),  Item(3, "item3", -1),  Item(4, "item4", 40),
                                  Item(6, "item6", 60),  Item(7, "item7", 70),  Item(8, "item8", 80),
                                  Item(9, "item9", 90),  Item(10, "item10", 100), Item(11, "first", -1)};
    EXPECT_EQ(tableItems(c), expected);
    EXPECT_EQ(ds.rowCount(), 9);
    EXPECT_EQ(getText(ds, 1, 2), "first");
    EXPECT_EQ(getInt(ds, 2, 1), 1);
    EXPECT_EQ(getInt(ds, 3, 1), 3);
    EXPECT_EQ(getInt(ds, 4, 1), 4);
    EXPECT_EQ(getInt(ds, 5, 1), 6);
    EXPECT_EQ(getInt(ds, 9, 1), 10);
    EXPECT_FALSE(ds.isModify());
}

TEST_P(OrvaneWrites, DeletingRowsTwoAndFiveClosesBothGaps)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 8);
    OrvaneDS ds;
    ds.create(c, W("select id, name, qty from items").c_str());
    ds.setUpdateMode(GetParam());
    ds.setPrimaryKeysAsKey();
    ds.retrieve();
    ds.deleteRow(ds.row2iterator(5));
    ds.deleteRow(ds.row2iterator(2));
    ds.update();
    ds.commitDB();
    ds.commitDS();
    const int ids[] = {1, 3, 4, 6, 7, 8};
    for (int r = 1; r <= 6; ++r) {
        EXPECT_EQ(getInt(ds, r, 1), ids[r - 1]);
        EXPECT_EQ(ds.getDBRow(ds.row2iterator(r)), r);
    }
}

TEST_P(OrvaneWrites, BlobsWrittenThroughParameters)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    run(c, "create table docs(id integer primary key, title varchar(20), body blob)");
    run(c, "insert into docs values (1, 'a', x'0102'), (2, 'b', null)");
    commit(c);
    OrvaneDS ds;
    ds.create(c, W("select id, title, body from docs").c_str());
    ds.setUpdateMode(GetParam());
    ds.setPrimaryKeysAsKey();
    ds.retrieve();
    const unsigned char bytes[] = {9, 8, 7, 0, 6};
    ds.setFieldRaw(ds.row2iterator(2), 3, bytes, 5, false);
    setText(ds, ds.row2iterator(2), 2, "bb");
    LowMemoryDS::Iterator ins = ds.insertRow(ds.end());
    ds.setFieldRaw(ins, 3, bytes, 3, false);
    ds.update();
    ds.commitDB();
    ds.commitDS();
    OrvCursor r(c, 0, "r");
    r.execute("select hex(body), title from docs order by id");
    ASSERT_EQ(r.selectRowCount(), 3);
    const char* want[] = {"0102", "0908070006", "090807"};
    for (int i = 1; i <= 3; ++i) {
        r.fetch(OrvCPP::fetchAbsolute, i);
        char h[32];
        char n = 0;
        VLong len = 0;
        r.getData(1, OrvCPP::ValueInfo(h, 32, &n, &len));
        EXPECT_STREQ(h, want[i - 1]);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, OrvaneWrites, ::testing::Values(OrvaneDS::currentOf, OrvaneDS::byKey),
                         [](const ::testing::TestParamInfo<OrvaneDS::UpdateMode>& info) {
                             return std::string(info.param == OrvaneDS::byKey ? "ByKey" : "CurrentOf");
                         });

// ---- The batch rule: small batches as text, large ones through one prepared statement ----

TEST(OrvaneBatch, PreparedStatementsFromFourRowsOn)
{
    struct Case {
        const char* what;
        OrvaneDS::UpdateMode mode;
        const char* table;
        int inserts, deletes, updates;
        VLong prepares;
    } cases[] = {
        {"three inserts", OrvaneDS::currentOf, "items", 3, 0, 0, 0},
        {"four inserts", OrvaneDS::currentOf, "items", 4, 0, 0, 1},
        {"three deletes through the cursor", OrvaneDS::currentOf, "items", 0, 3, 0, 0},
        {"four deletes through the cursor", OrvaneDS::currentOf, "items", 0, 4, 0, 1},
        {"four deletes by a single integer key", OrvaneDS::byKey, "items", 0, 4, 0, 0},
        {"four deletes by a text key", OrvaneDS::byKey, "named", 0, 4, 0, 1},
        {"three updates by key", OrvaneDS::byKey, "items", 0, 0, 3, 0},
        {"four updates by key", OrvaneDS::byKey, "items", 0, 0, 4, 1},
        {"four updates through the cursor", OrvaneDS::currentOf, "items", 0, 0, 4, 1},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.what);
        OrvConnect c(nullptr, nullptr, ":memory:");
        makeItems(c, 10);
        run(c, "create table named(id text primary key, name varchar(20), qty integer)");
        run(c, "insert into named select 'k' || id, name, qty from items");
        commit(c);
        OrvaneDS ds;
        ds.create(c, (W("select id, name, qty from ") + W(k.table)).c_str());
        ds.setUpdateMode(k.mode);
        ds.setPrimaryKeysAsKey();
        ds.retrieve();
        for (int i = 0; i < k.inserts; ++i)
            setText(ds, ds.insertRow(ds.end()), 2, "new");
        for (int i = 0; i < k.deletes; ++i)
            ds.deleteRow(ds.row2iterator(2));
        for (int i = 0; i < k.updates; ++i)
            setInt(ds, ds.row2iterator(1 + i), 3, 1000 + i);
        FaultInjection::arm(1000000, OrvX::client(OrvCPP::orvapiServer, "never"), OrvCPP::faultPrepare);
        ds.update();
        const VLong prepares = FaultInjection::calls();
        FaultInjection::disarm();
        ds.commitDB();
        ds.commitDS();
        EXPECT_EQ(prepares, k.prepares);
        OrvCursor r(c, 0, "r");
        r.execute((std::string("select count(*) from ") + k.table).c_str());
        r.fetch(OrvCPP::fetchAbsolute, 1);
        VLong n = 0;
        char nl = 0;
        r.getData(1, OrvCPP::ValueInfo(&n, &nl));
        EXPECT_EQ(n, 10 + k.inserts - k.deletes);
        r.execute((std::string("select count(*) from ") + k.table + " where qty >= 1000").c_str());
        r.fetch(OrvCPP::fetchAbsolute, 1);
        r.getData(1, OrvCPP::ValueInfo(&n, &nl));
        EXPECT_EQ(n, k.updates);
    }
}

// ---- Error texts ----

TEST(OrvaneErrors, EachCodeWithItsText)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 5);
    run(c, "create table nokey(a integer, b text)");
    run(c, "insert into nokey values (1, 'x')");
    run(c, "create table tk(a varchar(5) primary key, b integer)");
    run(c, "insert into tk values (null, 1)");
    commit(c);

    auto expectError = [](OrvaneDS& ds, int code, const char* text) {
        try {
            ds.update();
            ADD_FAILURE() << "no error, expected " << text;
        } catch (const OrvaneDS::OrvaneDSError& e) {
            EXPECT_EQ(e.code(), code);
            EXPECT_EQ(message(e), text);
        }
        ds.rollbackDB();
        ds.rollbackDS();
    };
    {
        // No table behind the columns: nothing to write is no error, a write is.
        OrvaneDS ds;
        ds.create(c, W("select 1 + 1 as x").c_str());
        ds.retrieve();
        EXPECT_NO_THROW(ds.update());
        LowMemoryDS::Iterator it = ds.insertRow(ds.end());
        setInt(ds, it, 1, 3);
        expectError(ds, 1, "Incorrect main table");
    }
    {
        OrvaneDS ds;
        ds.create(c, W("select a, b from nokey").c_str());
        ds.setUpdateMode(OrvaneDS::byKey);
        ds.setPrimaryKeysAsKey();
        ds.retrieve();
        setText(ds, ds.row2iterator(1), 2, "y");
        expectError(ds, 2, "Missing unique keys");
    }
    {
        // A row inserted and written has no cursor row until the select runs again.
        OrvaneDS ds;
        ds.create(c, W("select id, name, qty from items").c_str());
        ds.retrieve();
        LowMemoryDS::Iterator it = ds.insertRow(ds.end());
        setText(ds, it, 2, "new");
        ds.update();
        ds.commitDB();
        ds.commitDS();
        setText(ds, it, 2, "newer");
        expectError(ds, 3, "Row not found in cursor");
    }
    {
        OrvaneDS ds;
        ds.create(c, W("select a, b from tk").c_str());
        ds.setUpdateMode(OrvaneDS::byKey);
        ds.setPrimaryKeysAsKey();
        ds.retrieve();
        setInt(ds, ds.row2iterator(1), 2, 7);
        expectError(ds, 4, "Row not found in table");
    }
    {
        // A server failure: the text built from the OrvX.
        OrvaneDS ds;
        try {
            ds.create(c, W("select id,\nfrom items").c_str());
            ADD_FAILURE() << "no error";
        } catch (const OrvaneDS::OrvaneDSError& e) {
            EXPECT_EQ(e.code(), 0);
            const std::string m = message(e);
            EXPECT_NE(m.find("\nErrType = 1 ApiErr = 1 OrvErr = 1 SysErr = 0\nQUERY:\n"), std::string::npos) << m;
            EXPECT_NE(m.find(">>>>"), std::string::npos) << m;
            EXPECT_NE(m.find("SYNTAX ERROR: LINE = 2, POS = "), std::string::npos) << m;
        }
        EXPECT_FALSE(ds.isCreated());
    }
}

TEST(OrvaneErrors, MessageLayout)
{
    OrvX x(5, 1, 1, 1, "select\nfrom x", "near \"from\": syntax error");
    x.setSyntaxError(2, 3);
    x.setBadParamNum(2);
    char buf[512];
    OrvaneDataSource::getMessage(x, buf, sizeof buf);
    EXPECT_STREQ(buf, "near \"from\": syntax error\nErrType = 1 ApiErr = 1 OrvErr = 1 SysErr = 5\nQUERY:\n"
                      "select\nfr>>>>om x\nSYNTAX ERROR: LINE = 2, POS = 3\nINVALID PARAMETER 2\n");
    OrvX plain(0, 0, 4, 2, nullptr, "bad argument");
    OrvaneDataSource::getMessage(plain, buf, sizeof buf);
    EXPECT_STREQ(buf, "bad argument\nErrType = 2 ApiErr = 4 OrvErr = 0 SysErr = 0\n");
    // Cut to the buffer, terminated.
    OrvaneDataSource::getMessage(x, buf, 8);
    EXPECT_STREQ(buf, "near \"f");
}

// ---- Parameters and procedures ----

TEST(OrvaneParams, ParametersBoundAtEveryRetrieve)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 50);
    OrvaneDS ds;
    ds.create(c, W("select id, name from items where qty > :least order by id").c_str());
    ASSERT_EQ(ds.paramCount(), 1);
    EXPECT_EQ(ds.indexByDBParamName(W("least").c_str()), 1);
    // The parameter takes the type of the column it is compared with.
    ASSERT_EQ(ds.paramInfo(1).type(), tInt);
    VLong v = 450;
    ds.setParamRaw(1, &v, 4, false);
    ds.retrieve();
    ASSERT_EQ(ds.rowCount(), 5);
    EXPECT_EQ(getInt(ds, 1, 1), 46);
    v = 480;
    ds.setParamRaw(1, &v, 4, false);
    ds.retrieve();
    EXPECT_EQ(ds.rowCount(), 2);
}

TEST(OrvaneParams, ProcedureWithACursorAndAnOutput)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 20);
    OrvCPP::Procedures::add("items_over", [](OrvCPP::ProcedureContext& call) {
        const long least = call.isNull(1) ? 0 : long(call.intArg(1));
        call.setOutput(2, std::int64_t(least * 2));
        OrvCursor result(call.connection(), 0, "result");
        result.execute(("select id, name from items where qty > " + std::to_string(least) + " order by id").c_str());
        call.returnCursor(result);
    });
    OrvaneDS ds;
    ds.create(c, W("call items_over(?, ?)").c_str());
    ASSERT_TRUE(ds.isProcedure());
    ASSERT_EQ(ds.colCount(), 2);
    EXPECT_EQ(ds.paramCount(), 2);
    // The first retrieve shows the run made by create, with null parameters.
    ds.retrieve();
    EXPECT_EQ(ds.rowCount(), 20);
    const WString v = W("150");
    ds.setParamRaw(1, v.c_str(), int((v.size() + 1) * 2), false);
    ds.retrieve();
    ASSERT_EQ(ds.rowCount(), 5);
    EXPECT_EQ(getInt(ds, 1, 1), 16);
    const FieldRef out = ds.param(2);
    EXPECT_FALSE(out.isNull());
    EXPECT_EQ(narrow(static_cast<const WChar*>(out.data())), "300");
    // And again: the procedure's cursor is replaced by a new one.
    ds.retrieve();
    EXPECT_EQ(ds.rowCount(), 5);
    OrvCPP::Procedures::remove("items_over");
}

TEST(OrvaneLife, TerminateWithoutQueryModeLeavesTheCursorAlone)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 400);
    OrvaneDS ds;
    ds.create(c, W("select id, name, qty from items").c_str());
    ds.retrieve();
    EXPECT_EQ(getInt(ds, 1, 1), 1);
    ds.terminate();
    EXPECT_EQ(getInt(ds, 300, 1), 300);
    ds.retrieve0();
    EXPECT_EQ(ds.rowCount(), 0);
    ds.close();
    EXPECT_FALSE(ds.isCreated());
}

} // namespace
} // namespace orvanetest

namespace orvanetest {
namespace {

// A query mode that runs each call on the connection's worker and waits for its end.
class WaitingMode : public OrvaneQueryMode, public OrvCursor::Handler {
public:
    OrvCursor::Handler* handler() override { return this; }
    void complete(short code, VLong) override
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_done = true;
        m_code = code;
        m_cv.notify_all();
    }
    void wait() override
    {
        std::unique_lock<std::mutex> g(m_mutex);
        m_cv.wait(g, [this] { return m_done; });
        m_done = false;
        ++waits;
        if (m_code != 0)
            throw OrvCPP::OrvX::client(m_code, "the call failed");
    }
    void terminate() override { ++terminates; }
    int waits = 0;
    int terminates = 0;

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_done = false;
    short m_code = 0;
};

TEST(OrvaneLife, AQueryModeCarriesEveryCall)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 500);
    WaitingMode mode;
    OrvaneDS ds;
    ds.setQueryModeOf(&mode);
    ds.create(c, W("select id, name, qty from items").c_str());
    ds.setUpdateMode(OrvaneDS::currentOf);
    ds.retrieve();
    EXPECT_EQ(ds.rowCount(), 500);
    EXPECT_EQ(getInt(ds, 1, 1), 1);
    EXPECT_EQ(getInt(ds, 498, 3), 4980);
    setInt(ds, ds.row2iterator(498), 3, 7);
    ds.deleteRow(ds.row2iterator(2));
    ds.update();
    ds.commitDB();
    ds.commitDS();
    EXPECT_GT(mode.waits, 4);
    EXPECT_EQ(getInt(ds, 497, 3), 7);
    EXPECT_EQ(tableItems(c)[496], Item(498, "item498", 7));
    ds.terminate();
    EXPECT_EQ(mode.terminates, 1);
    ds.setQueryModeOf(nullptr);
}

} // namespace
} // namespace orvanetest

// Failures: OrvX with the server's text and codes, the statement and the syntax error's
// place (also through rewritten text), constraint violations, a database locked by a
// second connection, the error report, ORVANE_Error; and the fault switch.
#include "test_orvsupport.h"

#include <vexapi/orvcpp/faultinjection.h>
#include <vexapi/orvcpp/orvapi.h>
#include <vexapi/orvcpp/orvstatement.h>

#include <gtest/gtest.h>

#include <string>

using namespace OrvCPP;
using namespace orvtest;

namespace {

TEST(Errors, SyntaxErrorsTellLineAndPositionInTheCallersText)
{
    OrvConnect db("", "", ":memory:");
    exec(db, "create table t(a, b)");
    struct Case {
        const char* sql;
        const char* at; // the text the error points at
    };
    const Case cases[] = {
        {"selec a from t", "selec"},
        {"select a,\n  b frm t", "t"},
        {"select cast a as int, hex('00'),\n\tb from t where a = = 1", "= 1"},
        {"update t set a = hex('00')\n whre a = 1", "whre"},
    };
    for (const Case& k : cases) {
        const std::string sql = k.sql;
        const std::size_t at = sql.rfind(k.at);
        int line = 1;
        std::size_t lineStart = 0;
        for (std::size_t i = 0; i < at; ++i)
            if (sql[i] == '\n') {
                ++line;
                lineStart = i + 1;
            }
        for (int viaStatement = 0; viaStatement < 2; ++viaStatement) {
            try {
                if (viaStatement)
                    OrvStatement s(db, k.sql);
                else
                    exec(db, k.sql);
                ADD_FAILURE() << k.sql;
            } catch (const OrvX& x) {
                EXPECT_EQ(x.orvapiError(), orvapiServer);
                EXPECT_EQ(x.orvapiErrorType(), orvErrorServer);
                EXPECT_EQ(x.orvaneError(), 1) << "SQLITE_ERROR";
                EXPECT_STREQ(x.query(), k.sql);
                EXPECT_EQ(x.syntaxErrorLine(), line) << k.sql;
                EXPECT_EQ(x.syntaxErrorPos(), int(at - lineStart) + 1) << k.sql;
                const std::string report = x.message();
                EXPECT_NE(report.find(sql.substr(0, at) + ">>>>" + sql.substr(at)), std::string::npos) << report;
                EXPECT_NE(report.find("SYNTAX ERROR: LINE = " + std::to_string(line)), std::string::npos) << report;
            }
        }
    }
}

TEST(Errors, ConstraintViolationsCarryTheServersCode)
{
    OrvConnect db("", "", ":memory:");
    exec(db, "create table t(id integer primary key, u text unique, n text not null, c int check (c > 0))");
    exec(db, "insert into t values (1, 'a', 'x', 1)");
    struct Case {
        const char* sql;
        short code; // SQLite's extended result code
    };
    const Case cases[] = {
        {"insert into t values (2, 'a', 'x', 1)", 2067},  // UNIQUE
        {"insert into t values (1, 'b', 'x', 1)", 1555},  // PRIMARY KEY
        {"insert into t values (3, 'c', null, 1)", 1299}, // NOT NULL
        {"insert into t values (4, 'd', 'x', 0)", 275},   // CHECK
    };
    OrvCursor c(db, 0, "c");
    for (const Case& k : cases) {
        try {
            c.execute(k.sql);
            ADD_FAILURE() << k.sql;
        } catch (const OrvX& x) {
            EXPECT_EQ(x.orvaneError(), k.code) << x.text();
            EXPECT_EQ(x.orvapiError(), orvapiServer);
            EXPECT_EQ(x.syntaxErrorLine(), 0) << "a run-time failure has no position";
            EXPECT_NE(std::string(x.text()).find("constraint failed"), std::string::npos) << x.text();
            EXPECT_STREQ(x.query(), k.sql);
            OrvX last;
            EXPECT_TRUE(c.lastError(last));
            EXPECT_EQ(last.orvaneError(), k.code);
        }
    }
    // The failed statements left the transaction and the first row as they were.
    EXPECT_EQ(scalar(db, "select count(*) from t"), "1");
    VLong code = 0;
    char text[64];
    EXPECT_EQ(ORVANE_Error(c, &code, text, sizeof text), orvapiServer);
    EXPECT_EQ(code, 275);
    EXPECT_NE(std::string(text).find("CHECK"), std::string::npos) << text;
    EXPECT_EQ(ORVANE_Error(0, &code, text, 4), orvapiServer) << "the thread's last failure";
    EXPECT_EQ(std::string(text).size(), 3u) << "cut to the buffer";
}

TEST(Errors, ALockedDatabaseFailsAfterTheBusyTimeout)
{
    ScratchDir dir;
    const std::string file = dir.file("shared.db");
    OrvConnect a("", "", file.c_str());
    exec(a, "create table t(x)");
    exec(a, "commit");
    OrvConnect b("", "", file.c_str(), 0, false, "busy_timeout=50");
    OrvCursor ca(a, 0, "a"), cb(b, 0, "b");
    ca.execute("insert into t values (1)"); // a holds the write lock until it commits
    try {
        cb.execute("insert into t values (2)");
        ADD_FAILURE() << "b wrote while a held the lock";
    } catch (const OrvX& x) {
        EXPECT_EQ(x.orvaneError() & 0xFF, 5) << "SQLITE_BUSY: " << x.text();
        EXPECT_NE(std::string(x.text()).find("locked"), std::string::npos) << x.text();
    }
    cb.rollback();
    ca.commit();
    cb.execute("insert into t values (2)");
    cb.commit();
    EXPECT_EQ(scalar(a, "select group_concat(x) from t"), "1,2");
}

TEST(Errors, TheReportOfAnOrvX)
{
    OrvX x(17, 1, orvapiServer, orvErrorServer, "select a\nfrom t whre", "near \"whre\": syntax error");
    x.setSyntaxError(2, 8);
    x.setBadParamNum(3);
    EXPECT_EQ(x.message(), "near \"whre\": syntax error\n"
                           "ErrType = 1 ApiErr = 1 OrvErr = 1 SysErr = 17\n"
                           "QUERY:\n"
                           "select a\nfrom t >>>>whre\n"
                           "SYNTAX ERROR: LINE = 2, POS = 8\n"
                           "INVALID PARAMETER 3\n");
    char small[12];
    EXPECT_EQ(x.getMessage(small, sizeof small), 11);
    EXPECT_STREQ(small, "near \"whre\"");
    OrvX copy = x;
    EXPECT_EQ(copy.message(), x.message());
    OrvX none;
    EXPECT_EQ(none.orvapiErrorType(), orvErrorNone);
    EXPECT_EQ(none.query(), nullptr);
    // A code without a reporter still reads as an error.
    EXPECT_NE(OrvX(0, 0, orvapiNoRow, 0, nullptr, "x").orvapiErrorType(), orvErrorNone);
    char cut[4];
    OrvX utf(0, 0, orvapiConversion, orvErrorClient, nullptr, "a\xD0\x96\xD0\x96");
    EXPECT_STREQ(utf.errorText(cut, sizeof cut), "a\xD0\x96");
}

// Fault tests sit together: the switch fails the Nth call of the chosen kinds.
class Faults : public ::testing::Test {
protected:
    void SetUp() override
    {
        db.open("", "", ":memory:");
        exec(db, "create table t(x)");
        exec(db, "insert into t values (1), (2), (3)");
    }
    void TearDown() override { FaultInjection::disarm(); }
    OrvConnect db;
};

TEST_F(Faults, TheNthCallOfTheArmedKindsFailsBeforeDoingAnything)
{
    OrvCursor c(db, 0, "c");
    c.execute("select x from t");
    const OrvX injected(0, 10, orvapiServer, orvErrorServer, nullptr, "disk I/O error (injected)");
    FaultInjection::arm(2, injected, faultExecute);
    EXPECT_TRUE(FaultInjection::isArmed());
    c.fetch(fetchAbsolute, 1); // a fetch is not counted
    c.execute("select x from t where x > 1");
    EXPECT_EQ(c.selectRowCount(), 2);
    try {
        c.execute("delete from t");
        ADD_FAILURE();
    } catch (const OrvX& x) {
        EXPECT_STREQ(x.text(), "disk I/O error (injected)");
        EXPECT_EQ(x.orvaneError(), 10);
    }
    // Nothing happened: the rows and the cursor's result are as before.
    EXPECT_EQ(c.selectRowCount(), 2);
    EXPECT_EQ(scalar(db, "select count(*) from t"), "3");
    EXPECT_EQ(FaultInjection::calls(), 3) << "the two executes and scalar's";
    EXPECT_EQ(FaultInjection::failures(), 1);
    c.execute("delete from t where x = 3"); // only the second call failed
    EXPECT_EQ(c.rowCount(), 1);
}

// A fetch counts once however many rows it reads ahead; one that fails leaves the walk on
// its row, and the walk goes on from there.
TEST_F(Faults, AFailedFetchLeavesAWalkWhereItWas)
{
    exec(db, "create table many(i integer primary key)");
    exec(db, "with recursive s(i) as (select 1 union all select i + 1 from s where i < 600) "
             "insert into many select i from s");
    OrvCursor c(db, 0, "c");
    c.execute("select i from many");
    FaultInjection::arm(300, OrvX::client(orvapiInterrupted, "injected"), faultFetch);
    for (VLong r = 1; r < 300; ++r)
        c.fetch(fetchNext, 0);
    EXPECT_THROW(c.fetch(fetchNext, 0), OrvX);
    EXPECT_EQ(FaultInjection::calls(), 300);
    EXPECT_EQ(c.currentRow(), 299);
    EXPECT_EQ(integer(c, 1), 299);
    FaultInjection::disarm();
    for (VLong r = 300; r <= 600; ++r) {
        c.fetch(fetchNext, 0);
        ASSERT_EQ(integer(c, 1), r);
    }
    EXPECT_EQ(c.checkInvariants(), 0);
}

TEST_F(Faults, RepeatingFailuresAndEveryKind)
{
    const OrvX injected = OrvX::client(orvapiInterrupted, "injected");
    struct Site {
        int site;
        std::function<void(OrvCursor&)> call;
    };
    const Site sites[] = {
        {faultExecute, [](OrvCursor& c) { c.execute("select x from t"); }},
        {faultFetch, [](OrvCursor& c) { c.fetch(fetchAbsolute, 1); }},
        {faultRead, [](OrvCursor& c) { c.getBlobLen(1); }},
        {faultTransaction, [](OrvCursor& c) { c.commit(); }},
    };
    for (const Site& s : sites) {
        OrvCursor c(db, 0, "c");
        c.execute("select x from t");
        c.fetch(fetchAbsolute, 1);
        FaultInjection::arm(1, injected, s.site, true);
        for (int i = 0; i < 3; ++i)
            EXPECT_THROW(s.call(c), OrvX) << "site " << s.site;
        EXPECT_EQ(FaultInjection::failures(), 3);
        FaultInjection::disarm();
        EXPECT_NO_THROW(s.call(c)) << "site " << s.site;
    }
    FaultInjection::arm(1, injected, faultPrepare);
    EXPECT_THROW(OrvStatement(db, "select 1"), OrvX);
    FaultInjection::arm(1, injected, faultConnect);
    EXPECT_THROW(OrvConnect("", "", ":memory:"), OrvX);
}

TEST_F(Faults, AnAsynchronousCallReportsTheInjectedFailureThroughItsHandler)
{
    OrvCursor c(db, 0, "c");
    FaultInjection::arm(1, OrvX::client(orvapiNotSupported, "injected"), faultExecute);
    WaitHandler h;
    c.execute("delete from t", &h);
    ASSERT_TRUE(h.wait());
    EXPECT_EQ(h.code(), orvapiNotSupported);
    EXPECT_EQ(h.rows(), -1);
    OrvX x;
    ASSERT_TRUE(c.lastError(x));
    EXPECT_STREQ(x.text(), "injected");
    EXPECT_EQ(scalar(db, "select count(*) from t"), "3");
}

} // namespace

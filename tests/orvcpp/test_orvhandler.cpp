// The Handler path: a cursor call with a Handler returns at once, runs on the connection's
// worker and tells its end on that thread; calls keep their order; close and interrupt stop
// what runs and cancel what waits; a Handler and a procedure may call the layer.
#include "test_orvsupport.h"

#include "session.h"

#include <vexapi/orvcpp/procedures.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace OrvCPP;
using namespace orvtest;

namespace {

// A select that never ends by itself. Its first row calls test_gate(), so the test knows
// when the select runs inside SQLite and decides when it goes on.
const char kEndlessSelect[] =
    "with recursive c(i) as (select test_gate() union all select i + 1 from c) select count(*) from c";

// The SQL function test_gate() of one connection: the caller's statement reports that it
// started, then waits until the test opens the gate. An interrupt given after `waitStarted`
// meets a running statement, which SQLite stops at its next step: no timing is involved.
class Gate {
public:
    explicit Gate(const OrvConnect& connection)
    {
        std::shared_ptr<detail::ConnectionState> c = detail::openConnection(connection);
        detail::ConnectionLock l(*c);
        sqlite3_create_function_v2(c->db(), "test_gate", 0, SQLITE_UTF8, this, &call, nullptr, nullptr, nullptr);
    }
    // Waits until a statement entered the gate; false after 30 s (the test then fails).
    bool waitStarted()
    {
        std::unique_lock<std::mutex> g(m_mutex);
        return m_cv.wait_for(g, std::chrono::seconds(30), [this] { return m_started; });
    }
    void open()
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_open = true;
        m_cv.notify_all();
    }

private:
    static void call(sqlite3_context* context, int, sqlite3_value**)
    {
        Gate& gate = *static_cast<Gate*>(sqlite3_user_data(context));
        std::unique_lock<std::mutex> g(gate.m_mutex);
        gate.m_started = true;
        gate.m_cv.notify_all();
        gate.m_cv.wait(g, [&gate] { return gate.m_open; });
        sqlite3_result_int(context, 1);
    }

    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_started = false;
    bool m_open = false;
};

class Handlers : public ::testing::Test {
protected:
    void SetUp() override
    {
        db.open("", "", ":memory:");
        exec(db, "create table t(n integer primary key, v text)");
        exec(db, "with recursive s(i) as (select 1 union all select i + 1 from s where i < 5000) "
                 "insert into t select i, 'v' || i from s");
        exec(db, "commit");
    }
    OrvConnect db;
};

TEST_F(Handlers, TheEndIsToldOnAnotherThread)
{
    OrvCursor c(db, 0, "c");
    WaitHandler h;
    c.execute("select n, v from t where n > 1000", &h);
    ASSERT_TRUE(h.wait());
    EXPECT_EQ(h.code(), 0);
    EXPECT_EQ(h.rows(), 4000);
    EXPECT_NE(h.thread(), std::this_thread::get_id());
    EXPECT_EQ(c.selectRowCount(), 4000);

    // fetch and multiFetch fill the caller's buffers on the worker.
    VLong n = 0;
    char isNull = 1;
    BindMap one;
    one.bind(1, ValueInfo(&n, &isNull));
    WaitHandler f;
    c.fetch(fetchAbsolute, 2500, &one, &f);
    ASSERT_TRUE(f.wait());
    EXPECT_EQ(f.code(), 0);
    EXPECT_EQ(n, 3500);
    EXPECT_EQ(c.currentRow(), 2500);

    struct Record {
        VLong n;
        char isNull;
    } block[10];
    BindMap map;
    map.bind(1, ValueInfo(&block[0].n, &block[0].isNull));
    WaitHandler m;
    EXPECT_EQ(c.multiFetch(3995, 10, &map, VLong(sizeof(Record)), &m), 0) << "the count comes to the Handler";
    ASSERT_TRUE(m.wait());
    EXPECT_EQ(m.rows(), 6);
    EXPECT_EQ(block[5].n, 5000);

    // A failure comes the same way, with the OrvX kept on the cursor.
    WaitHandler e;
    c.execute("select nothing from t", &e);
    ASSERT_TRUE(e.wait());
    EXPECT_EQ(e.code(), orvapiServer);
    EXPECT_EQ(e.rows(), -1);
    OrvX x;
    ASSERT_TRUE(c.lastError(x));
    EXPECT_NE(std::string(x.text()).find("nothing"), std::string::npos);
}

TEST_F(Handlers, CallsRunInTheOrderTheyWereMade)
{
    OrvCursor w(db, 0, "w");
    std::vector<std::unique_ptr<WaitHandler>> handlers;
    for (int i = 0; i < 20; ++i) {
        handlers.emplace_back(new WaitHandler);
        const std::string sql = "update t set v = v || '," + std::to_string(i) + "' where n = 1";
        w.execute(sql.c_str(), handlers.back().get());
    }
    WaitHandler commit;
    w.commit(&commit);
    // A synchronous call waits until the queued ones have ended.
    EXPECT_EQ(scalar(db, "select v from t where n = 1"), "v1,0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19");
    for (auto& h : handlers) {
        EXPECT_TRUE(h->done());
        EXPECT_EQ(h->code(), 0);
        EXPECT_EQ(h->rows(), 1);
    }
    ASSERT_TRUE(commit.wait());
    EXPECT_FALSE(db.inTransaction());
}

TEST_F(Handlers, CloseInterruptsTheRunningCallAndCancelsTheQueuedOnes)
{
    auto c = std::make_unique<OrvCursor>(db, 0, "c");
    Gate gate(db);
    WaitHandler running, queued1, queued2;
    c->execute(kEndlessSelect, &running);
    c->execute("select 1", &queued1);
    c->fetch(fetchAbsolute, 1, nullptr, &queued2);
    ASSERT_TRUE(gate.waitStarted());
    gate.open(); // the select runs on, and only close can end it
    c->close();
    for (WaitHandler* h : {&running, &queued1, &queued2}) {
        ASSERT_TRUE(h->wait());
        EXPECT_EQ(h->code(), orvapiInterrupted);
        EXPECT_EQ(h->rows(), -1);
    }
    // The connection goes on.
    EXPECT_EQ(scalar(db, "select count(*) from t"), "5000");
}

TEST_F(Handlers, InterruptStopsASynchronousCallFromAnotherThread)
{
    OrvCursor c(db, 0, "c");
    Gate gate(db);
    std::thread stopper([&c, &gate] {
        if (gate.waitStarted())
            c.interrupt(); // while the select waits at the gate
        gate.open();
    });
    try {
        c.execute(kEndlessSelect);
        ADD_FAILURE() << "the select ran to its end";
    } catch (const OrvX& x) {
        EXPECT_EQ(x.orvapiError(), orvapiInterrupted);
    }
    stopper.join();
    c.interrupt(); // nothing runs: nothing happens
    c.execute("select count(*) from t");
    c.fetch(fetchAbsolute, 1);
    EXPECT_EQ(integer(c, 1), 5000);
}

// A Handler that reads the cursor from within complete, on the worker thread.
class ReadingHandler : public WaitHandler {
public:
    explicit ReadingHandler(OrvCursor& c) : m_cursor(c) {}
    void complete(short code, VLong rows) override
    {
        m_seen = m_cursor.selectRowCount();
        WaitHandler::complete(code, rows);
    }
    VLong seen() const { return m_seen; }

private:
    OrvCursor& m_cursor;
    VLong m_seen = -1;
};

TEST_F(Handlers, AHandlerMayCallTheLayerWhileCallsAreQueued)
{
    OrvCursor c(db, 0, "c");
    ReadingHandler first(c);
    WaitHandler second;
    c.execute("select n from t where n <= 10", &first);
    c.execute("select n from t where n <= 20", &second);
    ASSERT_TRUE(first.wait());
    ASSERT_TRUE(second.wait());
    EXPECT_EQ(first.seen(), 10);
    EXPECT_EQ(c.selectRowCount(), 20);
}

TEST_F(Handlers, AProcedureRunsItsStatementsOnTheWorker)
{
    std::thread::id ranOn;
    Procedures::add("renumber", [&ranOn](ProcedureContext& call) {
        ranOn = std::this_thread::get_id();
        OrvCursor w(call.connection(), 0, "inner");
        w.execute(("update t set v = 'p' where n <= " + std::to_string(call.intArg(1))).c_str());
        OrvCursor r(call.connection(), 0, "result");
        r.execute("select n from t where v = 'p'");
        call.returnCursor(r);
    });
    OrvCursor c(db, 0, "c");
    WaitHandler h;
    c.execute("call renumber(7)", &h);
    ASSERT_TRUE(h.wait());
    EXPECT_EQ(h.code(), 0);
    EXPECT_EQ(h.rows(), 7);
    EXPECT_NE(ranOn, std::this_thread::get_id());
    EXPECT_TRUE(c.isProcCursor());
    unsigned short handle = 0;
    char isNull = 0;
    c.getData(0, ValueInfo(&handle, &isNull));
    OrvCursor result;
    result.attach(handle, true);
    EXPECT_EQ(result.selectRowCount(), 7);
    Procedures::remove("renumber");
}

TEST_F(Handlers, ClosingTheConnectionEndsEverything)
{
    OrvConnect other("", "", ":memory:");
    OrvCursor c(other, 0, "c");
    Gate gate(other);
    WaitHandler running, queued;
    c.execute(kEndlessSelect, &running);
    c.execute("select 1", &queued);
    ASSERT_TRUE(gate.waitStarted());
    gate.open();
    other.close();
    ASSERT_TRUE(running.wait());
    ASSERT_TRUE(queued.wait());
    EXPECT_EQ(running.code(), orvapiInterrupted);
    EXPECT_EQ(queued.code(), orvapiInterrupted);
    EXPECT_EQ(static_cast<unsigned short>(c), 0);
    EXPECT_THROW(c.execute("select 1", &queued), OrvX) << "a closed cursor can't queue";
}

} // namespace

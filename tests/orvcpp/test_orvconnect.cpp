// OrvConnect and the channel handles: opening files and ":memory:", the options, handles
// shared by attach with and without ownership, detaching, and what closing a connection
// does to its statements and cursors.
#include "test_orvsupport.h"

#include <vexapi/orvcpp/orvstatement.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

using namespace OrvCPP;
using namespace orvtest;

namespace {

TEST(Connect, FilesAndMemoryGiveDistinctNonZeroHandles)
{
    ScratchDir dir;
    OrvConnect a("alice", "secret", dir.file("a.db").c_str(), 7);
    OrvConnect b("bob", "", ":memory:");
    OrvConnect c;
    EXPECT_EQ(static_cast<unsigned short>(c), 0) << "constructed closed";
    EXPECT_NE(static_cast<unsigned short>(a), 0);
    EXPECT_NE(static_cast<unsigned short>(b), 0);
    EXPECT_NE(static_cast<unsigned short>(a), static_cast<unsigned short>(b));
    EXPECT_EQ(a.mode(), 7);
    a.setMode(9);
    EXPECT_EQ(a.mode(), 9);
    EXPECT_EQ(a.mode(true), 7);
    char buffer[256];
    EXPECT_STREQ(a.user(buffer, sizeof buffer), "alice");
    EXPECT_EQ(std::string(a.node(buffer, sizeof buffer)), dir.file("a.db"));

    // The file is a database that a second connection sees after commit.
    exec(a, "create table t(x)");
    exec(a, "insert into t values (1)");
    exec(a, "commit");
    OrvConnect again("", "", dir.file("a.db").c_str(), 0, true);
    EXPECT_EQ(scalar(again, "select count(*) from t"), "1");
    EXPECT_THROW(exec(again, "insert into t values (2)"), OrvX) << "opened read-only";
}

TEST(Connect, BadNodesAndOptionsFailWithOrvX)
{
    ScratchDir dir;
    {
        std::ofstream junk(dir.file("junk.db"), std::ios::binary);
        junk << std::string(4096, 'x');
    }
    struct Case {
        std::string node;
        const char* options;
        short apiError;
        int serverCode; // SQLite's primary code, or 0 for a layer error
    };
    const Case cases[] = {
        {dir.file("missing/dir/x.db"), nullptr, orvapiServer, 14},
        {dir.file("junk.db"), nullptr, orvapiServer, 26},
        {dir.file("new.db"), "create=0", orvapiServer, 14},
        {dir.file("new.db"), "bogus=1", orvapiBadArgument, 0},
        {dir.file("new.db"), "busy_timeout=abc", orvapiBadArgument, 0},
        {"", nullptr, orvapiBadArgument, 0},
    };
    for (const Case& k : cases) {
        OrvConnect c;
        try {
            c.open("u", "p", k.node.c_str(), 0, false, k.options);
            ADD_FAILURE() << k.node << " opened";
        } catch (const OrvX& x) {
            EXPECT_EQ(x.orvapiError(), k.apiError) << k.node;
            EXPECT_EQ(x.orvaneError() & 0xFF, k.serverCode) << k.node << ": " << x.text();
            if (k.serverCode) {
                EXPECT_NE(std::string(x.text()).find(k.node), std::string::npos) << x.text();
            }
        }
        EXPECT_EQ(static_cast<unsigned short>(c), 0);
    }
    // A failed open leaves an open connection of the object as it was.
    OrvConnect keep("", "", ":memory:");
    const unsigned short h = keep;
    EXPECT_THROW(keep.open("", "", dir.file("junk.db").c_str()), OrvX);
    EXPECT_EQ(static_cast<unsigned short>(keep), h);
}

TEST(Connect, AttachWithAndWithoutOwnership)
{
    OrvConnect owner("", "", ":memory:");
    const unsigned short h = owner;
    {
        OrvConnect borrower;
        borrower.attach(h, false);
        EXPECT_EQ(static_cast<unsigned short>(borrower), h);
        exec(borrower, "create table t(x)");
    } // the borrower goes, the connection stays
    EXPECT_EQ(static_cast<unsigned short>(owner), h);
    EXPECT_EQ(scalar(owner, "select count(*) from t"), "0");

    // attach(0, false) detaches without closing, even an owned connection: the handle is
    // handed on to whoever attaches it with ownership.
    owner.attach(0, false);
    EXPECT_EQ(static_cast<unsigned short>(owner), 0);
    OrvConnect heir;
    heir.attach(h, true);
    EXPECT_EQ(scalar(heir, "select count(*) from t"), "0");
    heir.close();
    EXPECT_EQ(static_cast<unsigned short>(heir), 0);

    // The handle is closed now: attaching it fails and changes nothing.
    OrvConnect late;
    try {
        late.attach(h, false);
        ADD_FAILURE();
    } catch (const OrvX& x) {
        EXPECT_EQ(x.orvapiError(), orvapiBadHandle);
    }
    EXPECT_EQ(static_cast<unsigned short>(late), 0);
    late.close(); // closing a closed object does nothing
}

TEST(Connect, ClosingAConnectionClosesItsStatementsAndCursors)
{
    OrvConnect db("", "", ":memory:");
    exec(db, "create table t(x)");
    OrvStatement s(db, "select x from t");
    OrvCursor c(db, 0, "c");
    c.execute("select x from t");
    OrvCursor borrowed;
    borrowed.attach(c, false);
    EXPECT_NE(static_cast<unsigned short>(borrowed), 0);
    db.close();
    EXPECT_EQ(static_cast<unsigned short>(s), 0);
    EXPECT_EQ(static_cast<unsigned short>(c), 0);
    EXPECT_EQ(static_cast<unsigned short>(borrowed), 0);
    EXPECT_THROW(c.execute("select 1"), OrvX);
    EXPECT_THROW(s.queryType(), OrvX);
    // Their own closing later is harmless.
    c.close();
    s.close();
}

TEST(Connect, ChannelHandlesComeFromOneTable)
{
    OrvConnect db("", "", ":memory:");
    std::set<unsigned short> seen{static_cast<unsigned short>(db)};
    {
        OrvStatement s1(db, "select 1"), s2(db, "select 2");
        OrvCursor c1(db, 0, "a"), c2(db, 0, "b");
        for (unsigned short h : {static_cast<unsigned short>(s1), static_cast<unsigned short>(s2),
                                 static_cast<unsigned short>(c1), static_cast<unsigned short>(c2)})
            EXPECT_TRUE(seen.insert(h).second) << h;
        // A handle of one kind does not attach as another.
        OrvCursor wrong;
        EXPECT_THROW(wrong.attach(s1, false), OrvX);
        OrvConnect wrongConnection;
        EXPECT_THROW(wrongConnection.attach(c1, false), OrvX);
    }
    // Closed numbers are not given out again at once.
    OrvCursor next(db, 0, "n");
    EXPECT_EQ(seen.count(static_cast<unsigned short>(next)), 0u);
}

} // namespace

// OrvCursor: the row count before any fetch, absolute positioning with and without a
// BindMap, block fetch into Kort arrays, the value forms of getData, blobs, write counts,
// transactions, procedures and the column options; for every kind of result.
#include "test_orvsupport.h"

#include <vexapi/values/kort.h>
#include <vexapi/orvcpp/orvapi.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/orvcpp/procedures.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <functional>
#include <string>
#include <vector>

using namespace OrvCPP;
using namespace orvtest;

// The test binary's operator new counts the allocations of a thread while it asks to (the
// read-loop test below); it allocates with malloc, and its delete frees, so that it pairs
// the same way with and without AddressSanitizer's own operators. Every unaligned form is
// replaced (plain, array, nothrow), since each delete below frees what any of them gave:
// std::stable_sort, for one, takes its buffer with the nothrow form.
namespace {
thread_local bool t_countAllocations = false;
thread_local long t_allocations = 0;
} // namespace

void* operator new(std::size_t n)
{
    if (t_countAllocations)
        ++t_allocations;
    if (void* p = std::malloc(n ? n : 1))
        return p;
    throw std::bad_alloc();
}
// GCC takes a free() of what operator new gave for a mismatch; here new is malloc.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new[](std::size_t n)
{
    return operator new(n);
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept
{
    if (t_countAllocations)
        ++t_allocations;
    return std::malloc(n ? n : 1);
}
void* operator new[](std::size_t n, const std::nothrow_t& tag) noexcept
{
    return operator new(n, tag);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace {

// items: ids 3, 6, ..., 3 * kItems (so keys have gaps), names "item<i>".
const int kItems = 2500;

void makeItems(const OrvConnect& c)
{
    exec(c, "create table items(id integer primary key, name varchar(20), price decimal(10,2), made date, "
            "weight double, qty integer, data blob, title nvarchar(10))");
    exec(c, "with recursive n(i) as (select 1 union all select i + 1 from n where i < " + std::to_string(kItems) +
                ") insert into items select i * 3, 'item' || i, i * 1.25, "
                "printf('2024-%02d-%02d 10:00:00.00', 1 + i % 12, 1 + i % 28), i / 4.0, "
                "case when i % 10 = 0 then null else i end, case when i % 5 = 0 then randomblob(i % 300) end, "
                "'Ж' || i from n");
    OrvCursor k(c, 0, "commit");
    k.commit();
}

struct Shape {
    const char* name;
    const char* sql;
    bool snapshot;
    // The item numbers i (id = 3 i) in result order.
    std::function<std::vector<int>()> model;
};

std::vector<int> allItems()
{
    std::vector<int> v;
    for (int i = 1; i <= kItems; ++i)
        v.push_back(i);
    return v;
}

std::vector<int> evenIdsDescending()
{
    std::vector<int> v;
    for (int i = kItems; i >= 1; --i)
        if ((3 * i) % 2 == 0)
            v.push_back(i);
    return v;
}

std::vector<int> byName()
{
    std::vector<int> v = allItems();
    std::sort(v.begin(), v.end(), [](int a, int b) { return "item" + std::to_string(a) < "item" + std::to_string(b); });
    return v;
}

const Shape kShapes[] = {
    {"keyset", "select id, name, price from items", false, allItems},
    {"keysetWhereDescending", "select id, name, price from items where id % 2 = 0 order by id desc", false,
     evenIdsDescending},
    {"snapshot", "select id, name, price from items", true, allItems},
    {"orderedCopy", "select id, name, price from items order by name", false, byName},
    {"joinCopy", "select a.id, a.name, b.price from items a join items b on b.id = a.id order by a.id", false,
     allItems},
};

void PrintTo(const Shape& s, std::ostream* os) { *os << s.name; }

class CursorShapes : public ::testing::TestWithParam<Shape> {
protected:
    void SetUp() override
    {
        db.open("test", "", ":memory:");
        makeItems(db);
        model = GetParam().model();
    }
    OrvConnect db;
    std::vector<int> model;
};

TEST_P(CursorShapes, RowCountIsKnownAfterExecuteBeforeAnyFetch)
{
    OrvCursor c(db, 0, "c", GetParam().snapshot);
    c.execute(GetParam().sql);
    EXPECT_EQ(c.selectRowCount(), VLong(model.size()));
    EXPECT_EQ(c.rowCount(), VLong(model.size()));
    EXPECT_EQ(c.currentRow(), 0);
    EXPECT_EQ(c.columnCount(), 3);
    EXPECT_EQ(c.checkInvariants(), 0);
}

TEST_P(CursorShapes, AbsoluteFetchReadsTheRowWithOrWithoutBindMap)
{
    OrvCursor c(db, 0, "c", GetParam().snapshot);
    c.execute(GetParam().sql);
    const VLong n = VLong(model.size());
    // Both ends, stride boundaries of the keyset index, and a walk back.
    const VLong rows[] = {1, 2, 17, 1023, 1024, 1025, 1026, n - 1, n, n / 2, 3, 1000, 2, 1};
    for (VLong r : rows) {
        VLong id = -1;
        char isNull = 1;
        BindMap map;
        map.bind(1, ValueInfo(&id, &isNull));
        c.fetch(fetchAbsolute, r, &map);
        EXPECT_EQ(isNull, 0);
        EXPECT_EQ(id, 3 * model[std::size_t(r - 1)]) << "row " << r;
        EXPECT_EQ(c.currentRow(), r);
        // Positioning only: getData reads the same row.
        c.fetch(fetchFirst, 0);
        c.fetch(fetchAbsolute, r);
        EXPECT_EQ(text(c, 2), "item" + std::to_string(model[std::size_t(r - 1)])) << "row " << r;
        EXPECT_EQ(c.checkInvariants(), 0);
    }
}

TEST_P(CursorShapes, DirectionsAndRowsOutsideTheResult)
{
    OrvCursor c(db, 0, "c", GetParam().snapshot);
    c.execute(GetParam().sql);
    const VLong n = VLong(model.size());
    c.fetch(fetchLast, 0);
    EXPECT_EQ(c.currentRow(), n);
    c.fetch(fetchPrior, 0);
    EXPECT_EQ(c.currentRow(), n - 1);
    c.fetch(fetchFirst, 0);
    c.fetch(fetchNext, 0);
    c.fetch(fetchRelative, 10);
    EXPECT_EQ(c.currentRow(), 12);
    EXPECT_EQ(integer(c, 1), 3 * model[11]);
    for (VLong bad : {VLong(0), VLong(-1), n + 1}) {
        try {
            c.fetch(fetchAbsolute, bad);
            ADD_FAILURE() << "row " << bad << " was fetched";
        } catch (const OrvX& x) {
            EXPECT_EQ(x.orvapiError(), orvapiNoRow);
        }
        EXPECT_EQ(c.currentRow(), 12) << "a failed fetch moved the cursor";
    }
    EXPECT_THROW(c.fetch(9, 1), OrvX);
}

TEST_P(CursorShapes, MultiFetchFillsAKortArrayStepByRecordSize)
{
    OrvCursor c(db, 0, "c", GetParam().snapshot);
    c.execute(GetParam().sql);
    KortDesc desc;
    desc.add(orvInteger, 4);
    desc.add(orvCString, 21);
    desc.add(orvDecimal, 16);
    desc.init();
    const int block = 64;
    Kort* array = desc.newKortArray(block);
    Kort& first = desc.arrayElem(array, 0);
    BindMap map;
    map.bind(1, ValueInfo(orvInteger, first[0].data(), 4, first[0].nullFlag));
    map.bind(2, ValueInfo(orvCString, first[1].data(), 21, first[1].nullFlag));
    map.bind(3, ValueInfo(orvDecimal, first[2].data(), 16, first[2].nullFlag, nullptr, 10, 2));
    const VLong n = VLong(model.size());
    // A block in the middle, one running past the end, one past the end.
    const VLong starts[] = {1, 1000, n - 10, n + 1};
    for (VLong start : starts) {
        const VLong got = c.multiFetch(start, block, &map, desc.sizeOf());
        const VLong want = std::max<VLong>(0, std::min<VLong>(block, n - start + 1));
        ASSERT_EQ(got, want) << "start " << start;
        for (VLong i = 0; i < got; ++i) {
            Kort& k = desc.arrayElem(array, int(i));
            const int item = model[std::size_t(start - 1 + i)];
            EXPECT_EQ(k[0].get<VLong>(), 3 * item);
            EXPECT_STREQ(static_cast<const char*>(k[1].data()), ("item" + std::to_string(item)).c_str());
            char price[40];
            k[2].get<OrvDec>().toText(price, sizeof price);
            EXPECT_EQ(OrvDec(price), OrvDec(item * 1.25));
            EXPECT_EQ(k[2].get<OrvDec>().scale(), 2) << "the decimal takes the bound scale";
        }
    }
    desc.deleteKortArray(array);
    EXPECT_EQ(c.checkInvariants(), 0);
}

INSTANTIATE_TEST_SUITE_P(Results, CursorShapes, ::testing::ValuesIn(kShapes),
                         [](const ::testing::TestParamInfo<Shape>& i) { return std::string(i.param.name); });

class Cursor : public ::testing::Test {
protected:
    void SetUp() override
    {
        db.open("test", "", ":memory:");
        makeItems(db);
    }
    OrvConnect db;
};

TEST_F(Cursor, GetDataGivesEachFetchForm)
{
    OrvCursor c(db, 0, "c");
    c.execute("select id, name, price, made, weight, qty, title from items where id = 30");
    c.fetch(fetchAbsolute, 1);
    char isNull = 1;
    VLong len = 0;

    OrvDate made;
    c.getData(4, ValueInfo(orvDate, &made, 16, &isNull));
    EXPECT_EQ(made, OrvDate(2024, 11, 11, 10, 0, 0, 0));

    double weight = 0;
    c.getData(5, ValueInfo(orvDouble, &weight, 8, &isNull));
    EXPECT_DOUBLE_EQ(weight, 2.5);

    OrvDec price;
    c.getData(3, ValueInfo(orvDecimal, &price, 16, &isNull, nullptr, 10, 2));
    char t[40];
    price.toText(t, sizeof t);
    EXPECT_STREQ(t, "12.50");

    VLong qty = 0;
    c.getData(6, ValueInfo(&qty, &isNull));
    EXPECT_EQ(isNull, 1) << "qty of item 10 is null";

    // Wide text: UTF-16 with its byte length; 8-bit text is UTF-8.
    WChar wide[16];
    c.getData(7, ValueInfo(orvWideChar, wide, sizeof wide, &isNull, &len));
    EXPECT_EQ(isNull, 0);
    EXPECT_EQ(wide[0], WChar(0x416));
    EXPECT_EQ(len, 6);
    EXPECT_EQ(text(c, 7), "\xD0\x96" "10");

    // A cut text keeps whole characters and reports the full length.
    char small[3];
    c.getData(7, ValueInfo(small, 3, &isNull, &len));
    EXPECT_STREQ(small, "\xD0\x96");
    EXPECT_EQ(len, 4);
    EXPECT_THROW(c.getData(8, ValueInfo(small, 3, &isNull, &len)), OrvX);
}

TEST_F(Cursor, ValuesThatDoNotFitTheFormFailClearly)
{
    OrvCursor c(db, 0, "c");
    c.execute("select 5000000000, 'abc', 70000, '2024-99-01', 'x1.5'");
    c.fetch(fetchAbsolute, 1);
    char isNull = 0;
    VLong v;
    unsigned short small;
    const std::pair<short, ValueInfo> failing[] = {
        {1, ValueInfo(&v, &isNull)}, {2, ValueInfo(&v, &isNull)}, {3, ValueInfo(&small, &isNull)}};
    for (const auto& f : failing) {
        try {
            c.getData(f.first, f.second);
            ADD_FAILURE() << "column " << f.first << " converted";
        } catch (const OrvX& x) {
            EXPECT_EQ(x.orvapiError(), orvapiConversion);
            EXPECT_NE(std::string(x.text()).find("column " + std::to_string(f.first)), std::string::npos) << x.text();
        }
    }
    // Dates and decimals have an invalid value of their own.
    OrvDate d;
    c.getData(4, ValueInfo(orvDate, &d, 16, &isNull));
    EXPECT_FALSE(d.isValid());
    OrvDec dec;
    c.getData(5, ValueInfo(orvDecimal, &dec, 16, &isNull));
    EXPECT_FALSE(dec.isValid());
}

TEST_F(Cursor, BlobsAreReadOnTheirOwnAfterPositioning)
{
    OrvCursor c(db, 0, "c");
    c.execute("select id, data from items where id in (15, 30, 3) order by id");
    ASSERT_EQ(c.selectRowCount(), 3);
    t_ParamDesc d;
    c.answerDesc(2, &d);
    EXPECT_EQ(d.type, orvBlob);
    // Row 1 (id 3) has a null blob, row 2 (id 15, item 5) 5 bytes, row 3 (item 10) 10.
    const VLong sizes[] = {0, 5, 10};
    for (VLong r = 1; r <= 3; ++r) {
        c.fetch(fetchAbsolute, r);
        EXPECT_EQ(c.getBlobLen(2), sizes[r - 1]);
    }
    char bytes[32];
    char isNull = 1;
    VLong len = 0;
    c.fetch(fetchAbsolute, 3);
    c.getData(2, ValueInfo(orvBlob, bytes, sizeof bytes, &isNull, &len));
    EXPECT_EQ(len, 10);
    const char more[] = {1, 2, 3};
    c.appendBlob(2, more, 3);
    EXPECT_EQ(c.getBlobLen(2), 13);
    char after[32];
    c.getData(2, ValueInfo(orvBlob, after, sizeof after, &isNull, &len));
    EXPECT_EQ(0, std::memcmp(after, bytes, 10));
    EXPECT_EQ(0, std::memcmp(after + 10, more, 3));
    // Appending to a null blob makes it those bytes.
    c.fetch(fetchAbsolute, 1);
    c.appendBlob(2, more, 3);
    EXPECT_EQ(c.getBlobLen(2), 3);
}

TEST_F(Cursor, RowCountOfWritesAndTransactions)
{
    OrvCursor w(db, 0, "w");
    w.execute("update items set qty = 0 where id <= 30");
    EXPECT_EQ(w.rowCount(), 10);
    EXPECT_TRUE(db.inTransaction()) << "the first write begins a transaction";
    w.rollback();
    EXPECT_FALSE(db.inTransaction());
    EXPECT_EQ(scalar(db, "select count(*) from items where qty = 0"), "0");

    w.execute("delete from items where id > 7000");
    EXPECT_EQ(w.rowCount(), VLong(kItems - 2333));
    w.execute("insert into items(id, name) values (1, 'one'), (2, 'two')");
    EXPECT_EQ(w.rowCount(), 2);
    w.execute("create table t(a)");
    EXPECT_EQ(w.rowCount(), 0);
    w.commit();
    EXPECT_FALSE(db.inTransaction());
    w.commit(); // nothing open: nothing happens
    EXPECT_EQ(scalar(db, "select count(*) from items"), std::to_string(2333 + 2));
}

TEST_F(Cursor, ProceduresRunStatementsWriteOutputsAndReturnCursors)
{
    Procedures::add("items_over", [](ProcedureContext& call) {
        // Marks the items over a price, tells how many, returns them as a cursor.
        OrvCursor w(call.connection(), 0, "w");
        std::string limit = call.textArg(1);
        w.execute(("update items set qty = -1 where price > " + limit).c_str());
        call.setOutput(2, std::int64_t(w.rowCount()));
        OrvCursor result(call.connection(), 0, "result");
        result.execute(("select id, name from items where price > " + limit + " order by id").c_str());
        call.returnCursor(result);
    });
    OrvStatement s(db, "call items_over(?, ?)");
    EXPECT_EQ(s.queryType(), queryProcedure);
    EXPECT_EQ(s.paramCount(), 2);
    double limit = 3100;
    VLong marked = 0;
    char n1 = 0, n2 = 0;
    BindMap params;
    params.bind(1, ValueInfo(orvDouble, &limit, 8, &n1));
    params.bind(2, ValueInfo(&marked, &n2));
    OrvCursor c(db, 0, "c");
    c.execute(s, &params);
    EXPECT_TRUE(c.isProcCursor());
    EXPECT_EQ(marked, kItems - 2480);
    EXPECT_EQ(c.rowCount(), kItems - 2480);
    unsigned short handle = 0;
    char isNull = 1;
    c.getData(0, ValueInfo(&handle, &isNull));
    ASSERT_NE(handle, 0);
    OrvCursor inner;
    inner.attach(handle, true);
    EXPECT_EQ(inner.selectRowCount(), kItems - 2480);
    inner.fetch(fetchAbsolute, 1);
    EXPECT_EQ(integer(inner, 1), 3 * 2481);
    inner.close();
    EXPECT_EQ(static_cast<unsigned short>(inner), 0);

    // Running something else clears the procedure's cursor.
    c.execute("select 1");
    EXPECT_FALSE(c.isProcCursor());

    // A procedure's failure reaches the caller as it is.
    Procedures::add("fails", [](ProcedureContext&) { throw OrvX::client(orvapiNotSupported, "no way"); });
    try {
        c.execute("call fails()");
        ADD_FAILURE();
    } catch (const OrvX& x) {
        EXPECT_STREQ(x.text(), "no way");
    }
    Procedures::remove("fails");
    try {
        OrvStatement missing(db, "call fails()");
        ADD_FAILURE();
    } catch (const OrvX& x) {
        EXPECT_EQ(x.orvapiError(), orvapiNoProcedure);
    }
    Procedures::remove("items_over");
}

TEST_F(Cursor, RowsAddedAfterExecuteStayOutOfAKeysetResult)
{
    OrvCursor c(db, 0, "c");
    c.execute("select id from items where id > 7000");
    const VLong n = c.selectRowCount();
    ASSERT_EQ(n, kItems - 2333);
    // New rows get keys after the old ones, as the row cache's inserts do.
    exec(db, "insert into items(name) values ('new 1'), ('new 2')");
    c.fetch(fetchLast, 0);
    EXPECT_EQ(integer(c, 1), 3 * kItems);
    struct Record {
        std::int64_t id;
        char isNull;
    } rows[4];
    BindMap map;
    map.bind(1, ValueInfo(orvBigInt, &rows[0].id, 8, &rows[0].isNull));
    EXPECT_EQ(c.multiFetch(n - 1, 4, &map, VLong(sizeof(Record))), 2);
    EXPECT_EQ(rows[1].id, 3 * kItems);
    EXPECT_EQ(c.selectRowCount(), n);
    c.execute("select id from items where id > 7000");
    EXPECT_EQ(c.selectRowCount(), n + 2) << "running it again sees them";
}

TEST_F(Cursor, ColumnOptionsFlagAutoKeysAndTestNulls)
{
    exec(db, "create table seq(n integer primary key autoincrement, code integer unique, v text)");
    exec(db, "insert into seq(code, v) values (7, null)");
    OrvCursor c(db, 0, "c");
    c.execute("select n, code, v, rowid from seq");
    OrvStatement s(db, "select rowid, id, name from items");
    struct Case {
        unsigned short handle;
        VLong option;
        VLong column;
        VLong expected;
    };
    const Case cases[] = {
        {c, ORVANE_OPT_CURSOR_AUTOKEY, 1, 1},     {c, ORVANE_OPT_CURSOR_AUTOKEY, 2, 0},
        {c, ORVANE_OPT_CURSOR_AUTOKEY, 3, 0},     {c, ORVANE_OPT_CURSOR_AUTOKEY, 4, 1},
        {s, ORVANE_OPT_STATEMENT_AUTOKEY, 1, 1},  {s, ORVANE_OPT_STATEMENT_AUTOKEY, 2, 1},
        {s, ORVANE_OPT_STATEMENT_AUTOKEY, 3, 0},
    };
    for (const Case& k : cases) {
        VLong v = -1, size = 4;
        const VLong rc = k.option == ORVANE_OPT_STATEMENT_AUTOKEY
                             ? ORVANE_GetStatementOption(k.handle, k.option, k.column, &v, &size)
                             : ORVANE_GetCursorOption(k.handle, k.option, k.column, &v, &size);
        EXPECT_EQ(rc, 0);
        EXPECT_EQ(v != 0, k.expected != 0) << "option " << k.option << " column " << k.column;
    }
    VLong v = 0;
    EXPECT_EQ(ORVANE_GetCursorOption(c, ORVANE_OPT_NULL_TEST, 3, &v, nullptr), orvapiNoRow);
    c.fetch(fetchAbsolute, 1);
    EXPECT_EQ(ORVANE_GetCursorOption(c, ORVANE_OPT_NULL_TEST, 3, &v, nullptr), 0);
    EXPECT_EQ(v, 1);
    EXPECT_EQ(ORVANE_GetCursorOption(c, ORVANE_OPT_NULL_TEST, 2, &v, nullptr), 0);
    EXPECT_EQ(v, 0);
    EXPECT_EQ(ORVANE_GetCursorOption(c, 999, 1, &v, nullptr), orvapiBadArgument);
    EXPECT_EQ(ORVANE_GetCursorOption(c, ORVANE_OPT_CURSOR_AUTOKEY, 9, &v, nullptr), orvapiBadArgument);
    EXPECT_EQ(ORVANE_GetCursorOption(s, ORVANE_OPT_CURSOR_AUTOKEY, 1, &v, nullptr), orvapiBadHandle);
}

} // namespace

namespace {

// The loop a program writes to read a result, fetch next and getData of every column in
// each fetch form, allocates nothing once its first rows are read: for both kinds of
// result, with nulls and the fault switch off.
TEST_F(Cursor, AReadLoopAllocatesNothing)
{
    const char* selects[] = {
        "select id, name, price, made, weight, qty, title from items",             // keyset
        "select id, name, price, made, weight, qty, title from items order by name" // a copy
    };
    for (const char* sql : selects) {
        SCOPED_TRACE(sql);
        OrvCursor c(db, 0, "c");
        c.execute(sql);
        VLong id = 0, qty = 0, len = 0;
        char name[24], isNull = 0;
        OrvDec price;
        OrvDate made;
        double weight = 0;
        WChar title[16];
        const ValueInfo columns[] = {
            ValueInfo(&id, &isNull),
            ValueInfo(name, VLong(sizeof name), &isNull, &len),
            ValueInfo(orvDecimal, &price, 16, &isNull, nullptr, 10, 2),
            ValueInfo(orvDate, &made, 16, &isNull),
            ValueInfo(orvDouble, &weight, 8, &isNull),
            ValueInfo(&qty, &isNull),
            ValueInfo(orvWideChar, title, VLong(sizeof title), &isNull, &len),
        };
        auto readRow = [&] {
            c.fetch(fetchNext, 0);
            for (short col = 1; col <= 7; ++col)
                c.getData(col, columns[col - 1]);
        };
        for (int r = 0; r < 10; ++r)
            readRow(); // prepares the statements the loop uses
        long sum = 0;
        t_allocations = 0;
        t_countAllocations = true;
        for (int r = 10; r < kItems; ++r) {
            readRow();
            sum += id;
        }
        t_countAllocations = false;
        EXPECT_EQ(t_allocations, 0);
        EXPECT_EQ(c.currentRow(), kItems);
        EXPECT_GT(sum, 0);
        EXPECT_EQ(c.checkInvariants(), 0);
    }
}

} // namespace

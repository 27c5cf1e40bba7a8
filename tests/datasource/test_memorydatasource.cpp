// The memory source and its layers: record layout and copies, the column table, row
// numbers and the current position, calculated fields, object columns and inner sources,
// blobs, and sorting.
#include "dstestutil.h"

#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>
#include <vexapi/datasource/dskort.h>
#include <vexapi/datasource/tableds.h>

#include <gtest/gtest.h>

#include "assertspy.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

using namespace dstest;
using DataRepresentationWithNulls::DSValue;

namespace {

typedef DataSource::Iterator Iterator;

std::uintptr_t addr(const void* p)
{
    return reinterpret_cast<std::uintptr_t>(p);
}

MemoryDataSource::ColInfo col(const char* name, Type type, int len = 0)
{
    return MemoryDataSource::ColInfo(W(name).c_str(), type, len);
}

} // namespace

// ---- Records ----

TEST(DSKort, LayoutFollowsTheRealSizesOfThePlatform)
{
    const std::size_t P = sizeof(void*);
    DSKortDesc d;
    const struct {
        Type type;
        int declared;
        int slot;
    } cols[] = {{tInt, 0, 4}, {tSmall, 9, 2}, {tChar, 5, 5}, {tText, 22, 22}, {tReal, 0, 4},
                {tDouble, 0, 8}, {tDec, 0, 16}, {tDate, 3, 16}, {tByte, 3, 3},
                {tBlob, 0, int(sizeof(DSBlob))}, {tObject, 0, int(sizeof(DSObject))}};
    for (const auto& c : cols)
        d.add(c.type, c.declared);
    d.init();
    ASSERT_EQ(d.layoutCount(), 11);
    int expectSize = 0;
    for (int i = 0; i < 11; ++i) {
        SCOPED_TRACE(typeName(cols[i].type));
        EXPECT_EQ(d.layout(i).len, cols[i].slot);
        EXPECT_EQ(d.layout(i).offset % 8, 0);
        if (i > 0) {
            EXPECT_EQ(d.layout(i).offset,
                      d.layout(i - 1).offset + ((d.layout(i - 1).len + 7) & ~7) + int(P));
        }
        expectSize += (cols[i].slot + 7) & ~7;
    }
    EXPECT_EQ(d.size(), expectSize + 11 * int(P));
    EXPECT_EQ(d.type(3), tText); // the declared array keeps what was given
    EXPECT_EQ(d.len(1), 9);
    EXPECT_EQ(d.len(11), -1);

    DSKort* k = d.newKort();
    EXPECT_EQ(k->desc(), &d);
    EXPECT_EQ(k->sizeOf(), d.size() + int(P));
    const char* base = reinterpret_cast<const char*>(k);
    for (int i = 0; i < 11; ++i) {
        DSValue& v = (*k)[i];
        EXPECT_EQ(addr(&v), addr(base + P + std::size_t(d.layout(i).offset)));
        EXPECT_EQ(addr(v.Bin()) % 8, 0u);
        EXPECT_EQ(v.nullFlag, base + P + std::size_t(d.size()) + std::size_t(i));
        EXPECT_FALSE(v.isNull());
        // A new record holds zeros.
        for (int b = 0; b < cols[i].slot; ++b)
            ASSERT_EQ(static_cast<const unsigned char*>(v.Bin())[b], 0);
    }
    d.deleteKort(k);
}

TEST(DSKort, CopyAssignAndEquality)
{
    DSKortDesc d;
    d.add(tInt, 4);
    d.add(tChar, 8);
    d.add(tBlob, 0);
    d.init();
    DSKort* a = d.newKort();
    DSKort* b = d.newKort();
    EXPECT_TRUE(DSKortDesc::isEqual(*a, *b));

    const VLong five = 5;
    std::memcpy((*a)[0].Bin(), &five, 4);
    std::strcpy(static_cast<char*>((*a)[1].Bin()), "ab");
    EXPECT_FALSE(DSKortDesc::isEqual(*a, *b));
    *b = *a;
    EXPECT_TRUE(DSKortDesc::isEqual(*a, *b));
    // Text compares as text: bytes behind the terminator do not count.
    static_cast<char*>((*b)[1].Bin())[5] = 'z';
    EXPECT_TRUE(DSKortDesc::isEqual(*a, *b));
    // Null flags decide first; two nulls are equal whatever their bytes.
    (*b)[0].setNull(true);
    EXPECT_FALSE(DSKortDesc::isEqual(*a, *b));
    (*a)[0].setNull(true);
    std::memset((*a)[0].Bin(), 0x11, 4);
    EXPECT_TRUE(DSKortDesc::isEqual(*a, *b));

    // A blob is copied shallowly: the copy refers to the block, the source keeps owning it.
    DSBlob* blobA = (*a)[2].value().Blob();
    blobA->alloc(3);
    std::memcpy(blobA->data(), "xyz", 3);
    *b = *a;
    const DSBlob* blobB = (*b)[2].value().Blob();
    EXPECT_EQ(blobB->data(), blobA->data());
    EXPECT_FALSE(blobB->own());
    EXPECT_TRUE(DSKortDesc::isEqual(*a, *b));
    // The same contents in another block are another blob.
    DSKort* c = d.newKort();
    DSKortDesc::copy(*c, *a);
    (*c)[2].value().Blob()->alloc(3);
    std::memcpy((*c)[2].value().Blob()->data(), "xyz", 3);
    EXPECT_FALSE(DSKortDesc::isEqual(*a, *c));
    EXPECT_FALSE(d.isEqual(0, (*a)[0], (*a)[0])); // the per-value forms are placeholders

    // Records of another description are not assigned.
    DSKortDesc other;
    other.add(tInt, 4);
    other.init();
    DSKort* o = other.newKort();
    {
        AssertSpy asserts;
        *o = *a;
        EXPECT_EQ(asserts.count(), 1);
        EXPECT_EQ(asserts.lastExpression(), "d == src.d");
    }
    EXPECT_FALSE(DSKortDesc::isEqual(*a, *o));
    other.deleteKort(o);
    d.deleteKort(c);
    d.deleteKort(b); // borrowed: frees nothing of a's
    d.deleteKort(a);
}

TEST(DSBlob, OwnershipRules)
{
    DSBlob b;
    EXPECT_EQ(b.data(), nullptr);
    b.alloc(4);
    EXPECT_TRUE(b.own());
    EXPECT_EQ(b.size(), 4);
    std::memcpy(b.data(), "abcd", 4);
    b.realloc(8); // grows into a new block, keeping the bytes
    EXPECT_EQ(b.size(), 8);
    EXPECT_EQ(std::string(static_cast<char*>(b.data()), 4), "abcd");
    void* block = b.data();
    b.realloc(2); // shrinking only sets the size
    EXPECT_EQ(b.data(), block);
    EXPECT_EQ(b.size(), 2);
    b.clear();
    EXPECT_EQ(b.data(), nullptr);
    EXPECT_EQ(b.size(), 0);
    EXPECT_TRUE(b.own()); // clear keeps the flag

    char outside[4] = "xyz";
    b.set(outside, 3);
    EXPECT_FALSE(b.own());
    b.realloc(10); // not owned: nothing happens
    EXPECT_EQ(b.data(), static_cast<void*>(outside));
    EXPECT_EQ(b.size(), 3);
    b.clear(); // and nothing is freed
    EXPECT_STREQ(outside, "xyz");
}

TEST(TableDS, ColumnsCountFromOneAndOutOfRangeIsHarmless)
{
    TableDS t;
    EXPECT_EQ(t.add(WSTR("a"), tInt, 4), 1);
    EXPECT_EQ(t.add(WSTR("c"), tText, 20), 2);
    EXPECT_EQ(t.insert(2, WSTR("b"), tDouble, 8), 2);
    EXPECT_EQ(t.insert(99, WSTR("d"), tChar, 5), 4);
    EXPECT_EQ(t.insert(-3, WSTR("z"), tSmall, 2), 1);
    EXPECT_EQ(t.colCount(), 5);
    EXPECT_EQ(narrow(t.name(3)), "b");
    EXPECT_EQ(t.indexByName(WSTR("c")), 4);
    EXPECT_EQ(t.indexByName(WSTR("C")), 0); // exact case
    EXPECT_EQ(t.indexByName(WSTR("nope")), 0);
    EXPECT_EQ(t.type(4), tText);
    EXPECT_EQ(t.len(4), 20);
    for (int bad : {0, 6, -1}) {
        EXPECT_EQ(t.name(bad), nullptr);
        EXPECT_EQ(t.type(bad), tNone);
        EXPECT_EQ(t.len(bad), -1);
        EXPECT_FALSE(t.isCalculated(bad));
        EXPECT_EQ(t.getFactory(bad), nullptr);
        t.setCalculated(bad, true);
        t.remove(bad);
    }
    EXPECT_EQ(t.colCount(), 5);
    t.setCalculated(2, true);
    DSFactory* factory = reinterpret_cast<DSFactory*>(&t);
    t.setFactory(2, factory);
    t.remove(1);
    EXPECT_TRUE(t.isCalculated(1)); // the flags move with their columns
    EXPECT_EQ(t.getFactory(1), factory);
    EXPECT_FALSE(t.isCalculated(2));
}

// ---- Rows and the current position ----

namespace {

// A memory source with `n` rows whose column "n" holds 1..n.
void fill(MemoryDataSource& ds, int n)
{
    if (ds.colCount() == 0) {
        ds.addCol(col("n", tInt, 4));
        ds.initColumns();
    }
    for (int i = 1; i <= n; ++i)
        ds.setFieldInt(ds.insertRow(ds.end()), 1, i);
}

std::vector<int> values(const MemoryDataSource& ds, int column = 1)
{
    std::vector<int> out;
    const Iterator stop = ds.end();
    for (Iterator it = ds.begin(); it != stop; ++it)
        out.push_back(ds.getNull(it, column) ? -1 : ds.getFieldInt(it, column));
    return out;
}

} // namespace

TEST(MemoryDataSource, InsertBeforeTheFirstRowRenumbers)
{
    MemoryDataSource ds;
    fill(ds, 3);
    ds.setCurRow(1);
    Iterator fresh = ds.insertRow(ds.begin());
    EXPECT_EQ(ds.iterator2row(fresh), 1);
    EXPECT_EQ(ds.getCurRow(), 2); // the same row, now second
    EXPECT_EQ(ds.getFieldInt(ds.getCurIterator(), 1), 1);
    // A fresh row reads as zeros that are not null.
    bool isNull = true;
    EXPECT_EQ(ds.getFieldInt(fresh, 1, &isNull), 0);
    EXPECT_FALSE(isNull);
    EXPECT_EQ(values(ds), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(MemoryDataSource, DeletingMovesTheCurrentPosition)
{
    MemoryDataSource ds;
    fill(ds, 4);
    ds.setCurRow(2);
    ds.deleteRow(ds.getCurIterator()); // a middle row: to the next one
    EXPECT_EQ(ds.getCurRow(), 2);
    EXPECT_EQ(ds.getFieldInt(ds.getCurIterator(), 1), 3);
    ds.setCurRow(3);
    ds.deleteRow(ds.getCurIterator()); // the last row: to the new last one
    EXPECT_EQ(ds.getCurRow(), 2);
    EXPECT_EQ(ds.getFieldInt(ds.getCurIterator(), 1), 3);
    ds.deleteRow(ds.begin()); // another row: the current one follows
    EXPECT_EQ(ds.getCurRow(), 1);
    ds.deleteRow(ds.end()); // end() is no row
    EXPECT_EQ(ds.rowCount(), 1);
    ds.deleteRow(ds.getCurIterator()); // the only row
    EXPECT_EQ(ds.getCurRow(), 0);
    EXPECT_TRUE(ds.getCurIterator() == ds.end());
    EXPECT_EQ(ds.checkInvariants(), 0);

    // With no current row, a delete comes to rest on the last row.
    fill(ds, 3);
    ds.setCurIterator(ds.end());
    ds.deleteRow(ds.begin());
    EXPECT_EQ(ds.getCurRow(), 2);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(MemoryDataSource, SetCurRowOutOfRangeLeavesThePosition)
{
    MemoryDataSource ds;
    fill(ds, 3);
    ds.setCurRow(2);
    ds.setCurRow(0);
    EXPECT_EQ(ds.getCurRow(), 2);
    ds.setCurRow(4);
    EXPECT_EQ(ds.getCurRow(), 2);
    ds.setCurIterator(ds.row2iterator(3));
    EXPECT_EQ(ds.getCurRow(), 3);
    ds.setCurIterator(ds.end());
    EXPECT_EQ(ds.getCurRow(), 0);
}

TEST(MemoryDataSource, RetrieveKeepsRowsAndClearDropsThem)
{
    MemoryDataSource ds;
    fill(ds, 3);
    ds.setCurRow(3);
    ds.retrieve();
    EXPECT_EQ(ds.getCurRow(), 1);
    EXPECT_EQ(values(ds), (std::vector<int>{1, 2, 3}));
    ds.clear();
    EXPECT_EQ(ds.rowCount(), 0);
    EXPECT_EQ(ds.getCurRow(), 0);
    ds.retrieve();
    EXPECT_EQ(ds.getCurRow(), 0);
}

TEST(MemoryDataSource, RedefiningColumnsDropsRowsAndKeepsTheRowNumber)
{
    MemoryDataSource ds;
    fill(ds, 3);
    ds.setCurRow(2);
    ds.removeAllCols();
    EXPECT_EQ(ds.colCount(), 0);
    ds.addCol(col("t", tText, 10));
    ds.initColumns();
    EXPECT_EQ(ds.rowCount(), 0);
    EXPECT_EQ(ds.getCurRow(), 2); // kept as it was: the next move sets it
    EXPECT_TRUE(ds.getCurIterator() == ds.end());
    EXPECT_EQ(ds.checkInvariants(), 0);
    ds.insertRow(ds.end());
    EXPECT_EQ(ds.getCurRow(), 0);
    // The base form removes column 1 as often as there are columns.
    EXPECT_EQ(ds.addCol(col("u", tInt)), 2);
    ds.DataSource::removeAllCols();
    EXPECT_EQ(ds.colCount(), 0);
}

TEST(MemoryDataSource, DescriptionAndNoParameters)
{
    MemoryDataSource ds;
    ds.addCol(col("a", tInt));
    ds.addCol(col("b", tText, 20));
    EXPECT_EQ(ds.insertCol(2, col("mid", tDouble)), 2);
    ds.setCol(3, col("bb", tText, 30));
    ds.initColumns();
    EXPECT_EQ(ds.indexByName(WSTR("bb")), 3);
    const DataSource::ColInfo info = ds.colInfo(3);
    EXPECT_EQ(narrow(info.name()), "bb");
    EXPECT_EQ(info.type(), tText);
    EXPECT_EQ(info.len(), 30);
    const DataSource::ColInfo none = ds.colInfo(4);
    EXPECT_EQ(none.name(), nullptr);
    EXPECT_EQ(none.type(), tNone);
    EXPECT_EQ(none.len(), -1);
    const DataSource::ColInfo param = ds.paramInfo(1);
    ASSERT_NE(param.name(), nullptr);
    EXPECT_EQ(param.name()[0], 0);
    EXPECT_EQ(param.type(), tNone);
    EXPECT_EQ(param.len(), 0);
    EXPECT_EQ(ds.paramCount(), 0);
    EXPECT_TRUE(ds.isCreated());
    EXPECT_FALSE(ds.isModified());
    ds.removeCol(2);
    EXPECT_EQ(ds.colCount(), 2);
}

TEST(MemoryDataSource, StringsAreCutToTheBufferAndTheColumn)
{
    MemoryDataSource ds;
    ds.addCol(col("c", tChar, 6));
    ds.addCol(col("t", tText, 8));
    ds.initColumns();
    Iterator row = ds.insertRow(ds.end());
    EXPECT_TRUE(ds.setFieldChar(row, 1, "abcdefgh")); // cut to the column: 5 and a terminator
    EXPECT_TRUE(ds.setFieldText(row, 2, WSTR("wxyz")));
    char c[8];
    VLong len = 0;
    ds.getFieldChar(row, 1, c, 8, nullptr, nullptr, &len);
    EXPECT_STREQ(c, "abcde");
    EXPECT_EQ(len, 6);
    // A short buffer loses a character to the terminator.
    ds.getFieldChar(row, 1, c, 3, nullptr, nullptr, &len);
    EXPECT_STREQ(c, "ab");
    EXPECT_EQ(len, 6);
    WChar t[8];
    ds.getFieldText(row, 2, t, 16, nullptr, nullptr, &len);
    EXPECT_EQ(narrow(t), "wxy");
    EXPECT_EQ(len, 8);
    ds.getFieldText(row, 2, t, 4, nullptr, nullptr, &len);
    EXPECT_EQ(narrow(t), "w");
    bool isNull = true;
    EXPECT_EQ(ds.realLen(row, 1, &isNull), 6);
    EXPECT_FALSE(isNull);

    // A null write keeps the old bytes; clearing the flag brings them back.
    ds.setFieldChar(row, 1, nullptr, true);
    EXPECT_EQ(ds.realLen(row, 1, &isNull), 0);
    EXPECT_TRUE(isNull);
    ds.setNull(row, 1, false);
    ds.getFieldChar(row, 1, c, 8);
    EXPECT_STREQ(c, "abcde");
}

TEST(MemoryDataSource, BlobsOwnTheirData)
{
    MemoryDataSource ds;
    ds.addCol(col("b", tBlob));
    ds.initColumns();
    Iterator row = ds.insertRow(ds.end());
    std::string big(10000, 'q');
    ds.setField(row, 1, big.data(), int(big.size()), false);
    bool isNull = true;
    EXPECT_EQ(ds.realLen(row, 1, &isNull), 10000);
    DataRepresentationWithNulls::ConvValue v;
    DataRepresentationWithNulls::getField(&ds, row, 1, v);
    EXPECT_FALSE(v.isNull);
    EXPECT_EQ(v.realLen, 10000);
    EXPECT_EQ(std::string(static_cast<char*>(v.data()), 10000), big);
    // Writing a blob from its own bytes.
    DSValue* field = ds.internalDS().field(ds.internalDS().begin(), 1);
    const char* own = static_cast<const char*>(field->value().Blob()->data());
    ds.setField(row, 1, own + 1, 5, false);
    char out[8] = {};
    ds.getField(row, 1, out, 8, nullptr, nullptr);
    EXPECT_EQ(std::string(out, 5), "qqqqq");
    ds.deleteRow(row);
}

// ---- Calculated fields ----

namespace {

// Column 2 is calculated as twice column 1; a negative column 1 gives a null.
class CalcSource : public MemoryDataSource {
public:
    CalcSource()
    {
        addCol(col("n", tInt));
        addCol(col("twice", tInt));
        setCalculated(2, true);
        initColumns();
    }
    bool calcField(Iterator it, int column, void* buf, int, bool* isNull) const override
    {
        ++calls;
        const VLong n = getFieldInt(it, 1);
        *isNull = n < 0;
        const VLong v = 2 * n;
        std::memcpy(buf, &v, 4);
        (void)column;
        return true;
    }
    mutable int calls = 0;
};

} // namespace

TEST(MemoryDataSource, ACalculatedFieldIsComputedOnceUntilInvalidated)
{
    CalcSource ds;
    Iterator row = ds.insertRow(ds.end());
    ds.setFieldInt(row, 1, 21);
    EXPECT_EQ(ds.getFieldInt(row, 2), 42);
    EXPECT_EQ(ds.getFieldInt(row, 2), 42);
    EXPECT_EQ(ds.calls, 1);

    ds.setFieldInt(row, 1, 5); // nothing tells the source: the old value stands
    EXPECT_EQ(ds.getFieldInt(row, 2), 42);
    ds.invalidateField(row, 2);
    EXPECT_EQ(ds.getFieldInt(row, 2), 10);
    EXPECT_EQ(ds.getFieldInt(row, 2), 10);
    EXPECT_EQ(ds.calls, 2);

    ds.setFieldInt(row, 1, -1);
    ds.invalidateRow(row);
    bool isNull = false;
    EXPECT_TRUE(ds.getNull(row, 2));
    ds.getFieldInt(row, 2, &isNull);
    EXPECT_TRUE(isNull);
    EXPECT_EQ(ds.calls, 3);

    // retrieve recomputes every calculated value and keeps the rows.
    Iterator second = ds.insertRow(ds.end());
    ds.setFieldInt(second, 1, 4);
    ds.setFieldInt(row, 1, 1);
    ds.retrieve();
    EXPECT_EQ(ds.rowCount(), 2);
    EXPECT_EQ(values(ds, 2), (std::vector<int>{2, 8}));
    EXPECT_EQ(ds.calls, 5);
    ds.invalidateCol(2);
    ds.invalidate();
    EXPECT_EQ(values(ds, 2), (std::vector<int>{2, 8}));
    EXPECT_EQ(ds.calls, 7);
}

// ---- Object columns and inner sources ----

namespace {

// Column 2 holds an inner memory source per row; the hooks are counted.
class ParentSource : public MemoryDataSource {
public:
    ParentSource()
    {
        addCol(col("n", tInt));
        addCol(col("inner", tObject));
        initColumns();
    }
    ~ParentSource() override { clear(); }

    void newObject(Iterator it, int column, void*& object) const override
    {
        ++made;
        auto* inner = new MemoryDataSource;
        inner->bindToParent(const_cast<ParentSource*>(this), it, column);
        object = static_cast<DataSource*>(inner);
    }
    void deleteObject(Iterator, int, void*& object) const override
    {
        ++destroyed;
        delete static_cast<DataSource*>(object);
        object = nullptr;
    }
    void lockObject(Iterator, int, void*&) const override { ++locks; }
    void unlockObject(Iterator, int, void*&) const override { ++unlocks; }

    mutable int made = 0, destroyed = 0, locks = 0, unlocks = 0;
};

} // namespace

TEST(MemoryDataSource, ObjectColumnsFollowTheRows)
{
    ParentSource ds;
    Iterator a = ds.insertRow(ds.end());
    Iterator b = ds.insertRow(ds.end());
    EXPECT_EQ(ds.made, 2);

    bool isNull = true, ok = false;
    DataSource* inner = ds.getInnerDS(a, 2, &isNull, &ok);
    ASSERT_NE(inner, nullptr);
    EXPECT_TRUE(ok);
    EXPECT_FALSE(isNull);
    EXPECT_EQ(inner->getParentDS(), static_cast<DataSource*>(&ds));
    EXPECT_TRUE(inner->getParentIterator() == a);
    EXPECT_EQ(inner->getParentCol(), 2);
    ok = true;
    EXPECT_EQ(ds.getInnerDS(a, 1, nullptr, &ok), nullptr); // not an object column
    EXPECT_FALSE(ok);

    // A read locks and unlocks; getNull keeps its lock until unlockInnerDS.
    char raw[8];
    ds.getField(a, 2, raw, 8, nullptr, nullptr);
    EXPECT_EQ(ds.locks, 1);
    EXPECT_EQ(ds.unlocks, 1);
    EXPECT_FALSE(ds.getNull(a, 2));
    EXPECT_EQ(ds.locks, 2);
    EXPECT_EQ(ds.unlocks, 1);
    ds.unlockInnerDS(a, 2);
    EXPECT_EQ(ds.unlocks, 2);

    // The current inner source stays pinned.
    EXPECT_EQ(ds.getCurInnerDS(), static_cast<DataSource*>(&ds));
    ds.setCurInnerDS(inner);
    EXPECT_EQ(ds.locks, 3);
    ds.setCurInnerDS(inner);
    EXPECT_EQ(ds.locks, 3);
    DataSource* other = ds.getInnerDS(b, 2, nullptr, &ok);
    ds.setCurInnerDS(other);
    EXPECT_EQ(ds.locks, 4);
    EXPECT_EQ(ds.unlocks, 3);
    ds.setCurInnerDS(&ds);
    EXPECT_EQ(ds.unlocks, 4);

    ds.setNull(a, 2, true);
    EXPECT_EQ(ds.getInnerDS(a, 2, &isNull, &ok), nullptr);
    EXPECT_TRUE(isNull);
    EXPECT_TRUE(ok);
    ds.deleteRow(a);
    EXPECT_EQ(ds.destroyed, 1);
    ds.clear();
    EXPECT_EQ(ds.destroyed, 2);
}

// ---- Sorting ----

TEST(MemoryDataSource, SortIsStableWithNullsFirst)
{
    MemoryDataSource ds;
    ds.addCol(col("k", tInt));
    ds.addCol(col("tag", tInt));
    ds.addCol(col("name", tText, 20));
    ds.initColumns();
    const int keys[] = {3, -1, 1, 3, 2, 1};
    const char* names[] = {"b", "a", "z", "a", "c", "y"};
    for (int i = 0; i < 6; ++i) {
        Iterator it = ds.insertRow(ds.end());
        ds.setFieldInt(it, 1, keys[i], keys[i] < 0);
        ds.setFieldInt(it, 2, i);
        ds.setFieldText(it, 3, W(names[i]).c_str());
    }
    ds.setCurRow(4); // key 3, tag 3
    ds.sort(1);
    EXPECT_EQ(values(ds, 2), (std::vector<int>{1, 2, 5, 4, 0, 3}));
    EXPECT_EQ(ds.getCurRow(), 6);
    EXPECT_EQ(ds.getFieldInt(ds.getCurIterator(), 2), 3);
    ds.sort(1, false);
    EXPECT_EQ(values(ds, 2), (std::vector<int>{0, 3, 4, 2, 5, 1}));
    EXPECT_EQ(ds.checkInvariants(), 0);

    const int byKeyThenName[] = {1, 3};
    ds.sort(byKeyThenName, 2);
    EXPECT_EQ(values(ds, 2), (std::vector<int>{1, 5, 2, 4, 3, 0}));

    DataSource::FilterInfo filter;
    filter.addSort(WSTR("nope"));
    filter.addSort(WSTR("name"));
    filter.setOrder(false);
    ds.sort(filter);
    EXPECT_EQ(values(ds, 2), (std::vector<int>{2, 5, 4, 0, 1, 3}));
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(FilterInfo, ConditionsAndSortNames)
{
    DataSource::FilterInfo f;
    EXPECT_TRUE(f.order());
    for (int i = 0; i < 120; ++i)
        f.add(W(("c" + std::to_string(i)).c_str()).c_str(), WSTR("p"), i % 2 == 0);
    f.addSort(WSTR("s"));
    EXPECT_EQ(f.colCount(), 120);
    EXPECT_EQ(narrow(f.colName(119)), "c119");
    EXPECT_TRUE(f.useLike(118));
    EXPECT_FALSE(f.useLike(119));
    EXPECT_EQ(f.colName(120), nullptr);
    EXPECT_EQ(f.sortName(-1), nullptr);
    DataSource::FilterInfo copy = f;
    f.clear();
    EXPECT_EQ(f.colCount() + f.sortCount(), 0);
    EXPECT_EQ(copy.colCount(), 120);
    EXPECT_EQ(narrow(copy.sortName(0)), "s");
}

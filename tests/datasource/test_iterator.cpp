// The Iterator handle: sharing, copy on step, equality across kinds, and the walking and
// navigation idioms over a memory source.
#include "dstestutil.h"

#include <gtest/gtest.h>

#include <vector>

using namespace dstest;

namespace {

typedef DataSource::Iterator Iterator;
typedef DataSource::IteratorInt IteratorInt;

// A position that counts what happens to it.
struct Journal {
    int live = 0;
    int clones = 0;
    int compares = 0;
};

class CountingPos : public IteratorInt {
public:
    CountingPos(Journal* j, int v) : j(j), v(v) { ++j->live; }
    ~CountingPos() override { --j->live; }
    IteratorInt* clone() const override
    {
        ++j->clones;
        return new CountingPos(j, v);
    }
    bool operator==(const IteratorInt& o) const override
    {
        ++j->compares;
        return v == static_cast<const CountingPos&>(o).v;
    }
    void operator++(int) override { ++v; }
    void operator--(int) override { --v; }

    Journal* j;
    int v;
};

// Another kind of position with the same value.
class OtherPos : public CountingPos {
public:
    using CountingPos::CountingPos;
    IteratorInt* clone() const override { return new OtherPos(j, v); }
};

// Opens the protected bridges for the tests.
struct Bridge : MemoryDataSource {
    static Iterator wrap(IteratorInt* p) { return makeIterator(p); }
    static CountingPos* raw(const Iterator& it) { return static_cast<CountingPos*>(getIterator(it)); }
};

} // namespace

TEST(Iterator, CopiesShareAndTheLastOneDeletes)
{
    Journal j;
    {
        Iterator a = Bridge::wrap(new CountingPos(&j, 1));
        EXPECT_EQ(a.useCount(), 1);
        {
            Iterator b = a;
            Iterator c;
            c = b;
            EXPECT_EQ(a.useCount(), 3);
            EXPECT_EQ(Bridge::raw(c), Bridge::raw(a));
            c = a; // the same position again: nothing changes
            EXPECT_EQ(a.useCount(), 3);
            Iterator moved(std::move(c));
            EXPECT_TRUE(c.empty());
            EXPECT_EQ(a.useCount(), 3);
        }
        EXPECT_EQ(a.useCount(), 1);
        EXPECT_EQ(j.live, 1);
        a = Iterator();
        EXPECT_EQ(j.live, 0);
        EXPECT_TRUE(a.empty());
    }
    EXPECT_EQ(j.live, 0);
}

TEST(Iterator, SteppingACopyClonesAndLeavesTheOriginal)
{
    Journal j;
    Iterator a = Bridge::wrap(new CountingPos(&j, 10));
    Iterator b = a;
    ++b;
    EXPECT_EQ(j.clones, 1);
    EXPECT_EQ(Bridge::raw(a)->v, 10);
    EXPECT_EQ(Bridge::raw(b)->v, 11);
    EXPECT_EQ(a.useCount(), 1);
    EXPECT_EQ(b.useCount(), 1);

    // The sole holder steps in place.
    --b;
    --b;
    EXPECT_EQ(j.clones, 1);
    EXPECT_EQ(Bridge::raw(b)->v, 9);

    // Postfix: the old position comes back and the handle moves; the returned copy shares
    // the old position, so the step had to clone.
    Iterator old = a++;
    EXPECT_EQ(Bridge::raw(old)->v, 10);
    EXPECT_EQ(Bridge::raw(a)->v, 11);
    EXPECT_EQ(j.clones, 2);
    EXPECT_EQ(j.live, 3);
}

TEST(Iterator, Equality)
{
    Journal j;
    Iterator none1, none2;
    EXPECT_FALSE(none1 == none2);
    EXPECT_TRUE(none1 != none2);
    EXPECT_FALSE(none1 == none1);

    ++none1; // an empty handle stays empty
    --none1;
    EXPECT_TRUE(none1.empty());

    Iterator a = Bridge::wrap(new CountingPos(&j, 5));
    Iterator b = Bridge::wrap(new CountingPos(&j, 5));
    Iterator c = Bridge::wrap(new CountingPos(&j, 6));
    Iterator other = Bridge::wrap(new OtherPos(&j, 5));
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a != c);
    EXPECT_EQ(j.compares, 2);
    EXPECT_FALSE(a == none1);
    EXPECT_FALSE(none1 == a);
    // Another kind of position is unequal without being asked.
    EXPECT_FALSE(a == other);
    EXPECT_FALSE(other == a);
    EXPECT_EQ(j.compares, 2);
}

TEST(Iterator, WalkingAndRowNumbers)
{
    MemoryDataSource ds;
    ds.addCol(DataSource::ColInfo(WSTR("n"), tInt, 4));
    ds.initColumns();
    EXPECT_TRUE(ds.begin() == ds.end());
    for (int i = 1; i <= 5; ++i)
        ds.setFieldInt(ds.insertRow(ds.end()), 1, i * 10);

    std::vector<int> seen;
    const Iterator stop = ds.end();
    for (Iterator it = ds.begin(); it != stop; ++it) {
        seen.push_back(ds.getFieldInt(it, 1));
        EXPECT_EQ(ds.iterator2row(it), int(seen.size()));
        EXPECT_TRUE(ds.row2iterator(int(seen.size())) == it);
    }
    EXPECT_EQ(seen, (std::vector<int>{10, 20, 30, 40, 50}));
    // end() is a real position: one step back is the last row, one step on the first.
    Iterator it = ds.end();
    --it;
    EXPECT_EQ(ds.getFieldInt(it, 1), 50);
    it = ds.end();
    ++it;
    EXPECT_EQ(ds.getFieldInt(it, 1), 10);
    EXPECT_EQ(ds.iterator2row(ds.end()), 0);
    EXPECT_TRUE(ds.row2iterator(0) == ds.end());
    EXPECT_TRUE(ds.row2iterator(6) == ds.end());
    // An empty handle reads as no row.
    EXPECT_EQ(ds.iterator2row(Iterator()), 0);
    bool isNull = false;
    ds.getFieldInt(Iterator(), 1, &isNull);
    EXPECT_TRUE(isNull);
}

TEST(Iterator, NavigationNeverLandsOnEnd)
{
    MemoryDataSource ds;
    ds.addCol(DataSource::ColInfo(WSTR("n"), tInt, 4));
    ds.initColumns();
    ds.toFirst();
    ds.toLast();
    ds.toNext();
    ds.toPrev();
    EXPECT_EQ(ds.getCurRow(), 0);
    EXPECT_TRUE(ds.getCurIterator() == ds.end());

    for (int i = 0; i < 3; ++i)
        ds.insertRow(ds.end());
    ds.toFirst();
    EXPECT_EQ(ds.getCurRow(), 1);
    ds.toPrev();
    EXPECT_EQ(ds.getCurRow(), 1);
    ds.toNext();
    ds.toNext();
    EXPECT_EQ(ds.getCurRow(), 3);
    ds.toNext();
    EXPECT_EQ(ds.getCurRow(), 3);
    ds.toLast();
    EXPECT_EQ(ds.getCurRow(), 3);
    ds.toPrev();
    EXPECT_EQ(ds.getCurRow(), 2);
    EXPECT_EQ(ds.checkInvariants(), 0);
}

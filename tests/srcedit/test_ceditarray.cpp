// Tests of the growing arrays under the editor's lists: construction values, growth,
// bounds, the shared buffer of shallow copies, and the paired int array.
#include <vexapi/srcedit/cbookmarkarray.h>
#include <vexapi/srcedit/ceditarray.h>
#include <vexapi/srcedit/ceditstringarray.h>
#include <vexapi/srcedit/cpairedintarray.h>
#include <vexapi/srcedit/cundoarray.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

int intAt(const CEditArray& a, int i)
{
    int v;
    std::memcpy(&v, a.GetElement(i), sizeof v);
    return v;
}

} // namespace

TEST(CEditArray, TypedArraysStartWithTheirConstructionValues)
{
    struct Case {
        const char* name;
        std::unique_ptr<CEditArray> array;
        int elementSize;
        int growStep;
    };
    Case cases[] = {
        {"CEditStringArray", std::unique_ptr<CEditArray>(new CEditStringArray()), int(sizeof(void*)), 50},
        {"CUndoArray", std::unique_ptr<CEditArray>(new CUndoArray()), int(sizeof(void*)), 50},
        {"CBookmarkArray", std::unique_ptr<CEditArray>(new CBookmarkArray()), int(sizeof(void*)), 5},
        {"CPairedIntArray", std::unique_ptr<CEditArray>(new CPairedIntArray()), 2 * int(sizeof(int)), 10},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.elementSize, c.array->ElementSize());
        EXPECT_EQ(c.growStep, c.array->GrowStep());
        EXPECT_EQ(c.growStep, c.array->Capacity()); // capacity starts at one step
        EXPECT_EQ(0, c.array->GetSize());
    }
}

TEST(CEditArray, GrowsOneStepWhenTheNextElementWouldFillIt)
{
    CEditArray a(int(sizeof(int)), 4);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(i + 1, a.AddElement(&i));
    EXPECT_EQ(4, a.Capacity());
    int v = 3;
    EXPECT_EQ(4, a.AddElement(&v)); // count + 1 reaches 4: growth first
    EXPECT_EQ(8, a.Capacity());
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(i, intAt(a, i));
}

TEST(CEditArray, ElementOperationsKeepTheirBounds)
{
    CEditArray a(int(sizeof(int)), 10);
    int values[] = {10, 20, 30};
    for (int v : values)
        a.AddElement(&v);
    int x = 99;
    EXPECT_FALSE(a.UpdElement(&x, 3)); // at count
    EXPECT_TRUE(a.UpdElement(&x, 2));
    EXPECT_EQ(99, intAt(a, 2));
    EXPECT_FALSE(a.InsElement(&x, 4)); // beyond count
    int y = 5;
    EXPECT_TRUE(a.InsElement(&y, 3)); // at count: appends
    EXPECT_TRUE(a.InsElement(&y, 0));
    EXPECT_EQ(5, a.GetSize());
    EXPECT_EQ(5, intAt(a, 0));
    EXPECT_EQ(10, intAt(a, 1));
    EXPECT_TRUE(a.DelElement(0));
    EXPECT_EQ(10, intAt(a, 0));
    // Out of range: still true, and nothing moves.
    EXPECT_TRUE(a.DelElement(7));
    EXPECT_TRUE(a.DelElement(-1));
    EXPECT_EQ(4, a.GetSize());
    int capacity = a.Capacity();
    a.Clear();
    EXPECT_EQ(0, a.GetSize());
    EXPECT_EQ(capacity, a.Capacity());
    EXPECT_EQ(10, intAt(a, 0)); // Clear leaves the elements in place
}

TEST(CEditArray, ShallowCopySharesTheBufferAndOutlivesTheOriginal)
{
    std::unique_ptr<CEditArray> original(new CEditArray(int(sizeof(int)), 4));
    int v = 1;
    original->AddElement(&v);
    CEditArray copy(*original);
    EXPECT_EQ(original->GetElement(0), copy.GetElement(0));
    EXPECT_EQ(2, copy.ShareCount());
    // A write through one is seen through the other: the copy is shallow.
    int w = 7;
    original->UpdElement(&w, 0);
    EXPECT_EQ(7, intAt(copy, 0));
    original.reset();
    EXPECT_EQ(1, copy.ShareCount());
    EXPECT_EQ(7, intAt(copy, 0));

    CEditArray assigned(int(sizeof(int)), 2);
    assigned = copy;
    EXPECT_EQ(copy.GetElement(0), assigned.GetElement(0));
    EXPECT_EQ(2, copy.ShareCount());
}

TEST(CEditArray, GrowingCopyTakesItsOwnBuffer)
{
    CEditArray original(int(sizeof(int)), 2);
    int v = 1;
    original.AddElement(&v);
    CEditArray copy(original);
    int w = 2;
    copy.AddElement(&w); // count + 1 reaches 2: grows, and so detaches
    EXPECT_NE(original.GetElement(0), copy.GetElement(0));
    EXPECT_EQ(1, original.ShareCount());
    EXPECT_EQ(1, copy.ShareCount());
    EXPECT_EQ(1, original.GetSize());
    EXPECT_EQ(1, intAt(original, 0));
    EXPECT_EQ(1, intAt(copy, 0));
    EXPECT_EQ(2, intAt(copy, 1));
}

TEST(CPairedIntArray, HoldsPairsAndReportsEmptiness)
{
    CPairedIntArray pairs;
    EXPECT_FALSE(pairs.DeleteAll());
    for (int i = 0; i < 25; ++i)
        EXPECT_EQ(i + 1, pairs.AddPair(i, 100 + i));
    EXPECT_EQ(25, pairs.Count());
    EXPECT_EQ(30, pairs.Capacity());
    EXPECT_EQ(24, pairs.Open(24));
    EXPECT_EQ(124, pairs.Close(24));
    EXPECT_EQ(0, pairs.Open(25));
    EXPECT_EQ(0, pairs.Close(-1));
    EXPECT_TRUE(pairs.DeleteAll());
    EXPECT_EQ(0, pairs.Count());
}

TEST(CEditPointerArray, GivesTypedAccessWithinBounds)
{
    CEditPointerArray<int> a(2);
    int x = 1, y = 2;
    a.Add(&x);
    a.Insert(&y, 0);
    EXPECT_EQ(&y, a.GetAt(0));
    EXPECT_EQ(&x, a.GetAt(1));
    EXPECT_EQ(nullptr, a.GetAt(2));
    EXPECT_EQ(1, a.IndexOf(&x));
    EXPECT_TRUE(a.Remove(0));
    EXPECT_FALSE(a.Remove(1));
    EXPECT_EQ(-1, a.IndexOf(&y));
}

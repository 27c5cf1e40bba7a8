// Fetch records: the layout relations of KortDesc, records alone and in arrays, copying,
// the guarded misuses; and BindMap lookups with the ValueInfo forms.
#include <vexapi/core/vexassert.h>
#include <vexapi/values/bindmap.h>
#include <vexapi/values/kort.h>

#include <gtest/gtest.h>

#include "assertspy.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

using namespace OrvCPP;

namespace {

std::uintptr_t addr(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

struct Col {
    int type;
    int len;
};

// Checks every layout rule on one record: alignment, sizes, no overlap, flags in place.
void checkRecord(const KortDesc& d, Kort& k)
{
    const std::uintptr_t base = addr(&k);
    const std::uintptr_t limit = base + std::uintptr_t(d.sizeOf());
    EXPECT_EQ(base % 8, 0u);
    EXPECT_EQ(k.desc(), &d);
    // Byte ranges used by the record: the header, then per column the value header and area.
    std::vector<std::pair<std::uintptr_t, std::uintptr_t>> used;
    used.emplace_back(base, base + sizeof(Kort));
    for (int i = 0; i < d.colCount(); ++i) {
        OrvValue& v = k[i];
        const std::uintptr_t area = addr(v.data());
        EXPECT_EQ(area % 8, 0u) << "column " << i;
        EXPECT_EQ(area, addr(&v) + sizeof(OrvValue));
        used.emplace_back(addr(&v), area + std::uintptr_t(d.len(i)));
        // The flag is this record's own, outside every value area.
        const std::uintptr_t flag = addr(v.nullFlag);
        EXPECT_EQ(flag, base + std::uintptr_t(d.nullFlagsOffset() + i)) << "column " << i;
        EXPECT_LT(flag, limit);
    }
    used.emplace_back(base + std::uintptr_t(d.nullFlagsOffset()),
                      base + std::uintptr_t(d.nullFlagsOffset() + d.colCount()));
    for (std::size_t a = 0; a < used.size(); ++a) {
        EXPECT_LE(used[a].second, limit) << "range " << a << " leaves the record";
        for (std::size_t b = a + 1; b < used.size(); ++b)
            EXPECT_TRUE(used[a].second <= used[b].first || used[b].second <= used[a].first)
                << "ranges " << a << " and " << b << " overlap";
    }
}

const std::vector<Col>& mixedColumns()
{
    static const std::vector<Col> cols = {
        {orvCString, 11}, {orvInteger, 4}, {orvDouble, 8},   {orvSmallInt, 2},
        {orvDate, 16},    {orvBinary, 3},  {orvDecimal, 16}, {orvWideChar, 42},
        {orvFloat, 4},    {orvCString, 1}, {orvBoolean, 1},  {orvBigInt, 8}};
    return cols;
}

TEST(KortDesc, LayoutOfMixedColumnsKeepsEveryRule)
{
    KortDesc d;
    for (const Col& c : mixedColumns())
        d.add(c.type, c.len);
    d.init();
    ASSERT_EQ(d.colCount(), int(mixedColumns().size()));
    EXPECT_EQ(d.sizeOf() % 8, 0);
    EXPECT_EQ(d.offset(0), int(sizeof(Kort)));
    for (int i = 0; i + 1 < d.colCount(); ++i) {
        const int rounded = (d.len(i) + 7) / 8 * 8;
        EXPECT_EQ(d.offset(i + 1), d.offset(i) + int(sizeof(OrvValue)) + rounded) << i;
    }
    EXPECT_GE(d.sizeOf(), d.nullFlagsOffset() + d.colCount());
    EXPECT_LT(d.sizeOf(), d.nullFlagsOffset() + d.colCount() + 8);
    Kort* k = d.newKort();
    checkRecord(d, *k);
    d.deleteKort(k);
    EXPECT_EQ(d.liveBlocks(), 0);
}

// Random shapes against the rules, so that no particular mix of lengths escapes them.
TEST(KortDesc, RandomLayoutsKeepEveryRuleAlsoInArrays)
{
    std::mt19937 rng(20240611);
    const int types[] = {orvCString, orvInteger, orvDouble, orvSmallInt, orvDate,
                         orvBinary,  orvDecimal, orvWideChar, orvFloat, orvBoolean};
    for (int round = 0; round < 60; ++round) {
        KortDesc d;
        const int cols = int(rng() % 9);
        for (int i = 0; i < cols; ++i)
            d.add(types[rng() % 10], int(rng() % 40));
        d.init();
        const int n = 1 + int(rng() % 5);
        Kort* a = d.newKortArray(n);
        ASSERT_NE(a, nullptr);
        for (int r = 0; r < n; ++r) {
            Kort& k = d.arrayElem(a, r);
            EXPECT_EQ(addr(&k) - addr(a), std::uintptr_t(r) * std::uintptr_t(d.sizeOf()));
            checkRecord(d, k);
        }
        d.deleteKortArray(a);
    }
}

TEST(KortDesc, FixedTypesTakeTheirFetchSizeOthersTheDeclaredLength)
{
    struct Case {
        int type, declared, expected;
    };
    const Case cases[] = {
        {orvInteger, 0, int(sizeof(VLong))}, {orvInteger, 99, int(sizeof(VLong))},
        {orvSmallInt, 8, 2},                 {orvDouble, 1, int(sizeof(double))},
        {orvFloat, 0, int(sizeof(float))},   {orvDate, 4, 16},
        {orvDecimal, 0, 16},                 {orvBigInt, 4, 8},
        {orvCString, 101, 101},              {orvWideChar, 66, 66},
        {orvBinary, 5, 5},                   {orvCString, -3, 0},
        {99, 7, 7}};
    KortDesc d;
    for (const Case& c : cases)
        d.add(c.type, c.declared);
    for (int i = 0; i < d.colCount(); ++i) {
        EXPECT_EQ(d.type(i), cases[i].type) << i;
        EXPECT_EQ(d.len(i), cases[i].expected) << "type " << cases[i].type;
    }
    EXPECT_EQ(d.type(-1), 0);
    EXPECT_EQ(d.type(d.colCount()), 0);
    EXPECT_EQ(d.len(d.colCount()), -1);
}

TEST(KortDesc, RecordsPer4KIsTheLargestCountThatFits)
{
    for (int len : {0, 1, 7, 8, 9, 100, 1000, 2040, 2041, 4000, 5000}) {
        KortDesc d;
        d.add(orvCString, len);
        d.add(orvInteger, 4);
        d.init();
        const int n = d.recordsPer4K();
        EXPECT_LE(n * d.sizeOf(), 4096) << len;
        EXPECT_GT((n + 1) * d.sizeOf(), 4096) << len;
    }
}

TEST(KortDesc, NewRecordsAreZeroAndNotNull)
{
    KortDesc d;
    d.add(orvInteger, 4);
    d.add(orvCString, 20);
    d.add(orvDouble, 8);
    d.init();
    Kort* a = d.newKortArray(3);
    for (int r = 0; r < 3; ++r)
        for (int i = 0; i < d.colCount(); ++i) {
            const OrvValue& v = d.arrayElem(a, r)[i];
            EXPECT_FALSE(v.isNull());
            const unsigned char* p = static_cast<const unsigned char*>(v.data());
            for (int b = 0; b < d.len(i); ++b)
                ASSERT_EQ(p[b], 0) << "record " << r << " column " << i;
        }
    d.deleteKortArray(a);
}

// A block fetch writes each record through the first record's buffers stepped by sizeOf():
// every value and flag must land in its own record and leave the neighbours alone.
TEST(KortDesc, SteppingTheFirstRecordsBuffersReachesEachRecord)
{
    KortDesc d;
    d.add(orvInteger, 4);
    d.add(orvCString, 13);
    d.add(orvDouble, 8);
    d.init();
    const int n = 6;
    Kort* a = d.newKortArray(n);
    char* intBuf = static_cast<char*>((*a)[0].data());
    char* textBuf = static_cast<char*>((*a)[1].data());
    char* dblBuf = static_cast<char*>((*a)[2].data());
    char* textFlag = (*a)[1].nullFlag;
    for (int r = 0; r < n; ++r) {
        const std::size_t step = std::size_t(r) * std::size_t(d.sizeOf());
        VLong iv = 1000 + r;
        double dv = r / 4.0;
        std::memcpy(intBuf + step, &iv, sizeof iv);
        std::memset(textBuf + step, 'a' + r, std::size_t(d.len(1)) - 1);
        std::memcpy(dblBuf + step, &dv, sizeof dv);
        textFlag[step] = char(r % 2);
    }
    for (int r = 0; r < n; ++r) {
        Kort& k = d.arrayElem(a, r);
        EXPECT_EQ(k[0].get<VLong>(), 1000 + r);
        EXPECT_EQ(k[2].get<double>(), r / 4.0);
        EXPECT_EQ(static_cast<const char*>(k[1].data()), std::string(12, char('a' + r)));
        EXPECT_EQ(k[1].isNull(), r % 2 == 1);
        EXPECT_FALSE(k[0].isNull());
        EXPECT_FALSE(k[2].isNull());
    }
    d.deleteKortArray(a);
}

TEST(KortDesc, CopyTakesValuesAndFlagsButKeepsEachRecordsPointers)
{
    KortDesc d;
    d.add(orvInteger, 4);
    d.add(orvCString, 9);
    d.init();
    Kort* a = d.newKortArray(2);
    Kort& src = d.arrayElem(a, 1);
    src[0].set<VLong>(-77);
    std::strcpy(static_cast<char*>(src[1].data()), "12345678");
    src[1].setNull(true);
    Kort* dst = d.newKort();
    d.copy(*dst, src);
    EXPECT_EQ((*dst)[0].get<VLong>(), -77);
    EXPECT_STREQ(static_cast<const char*>((*dst)[1].data()), "12345678");
    EXPECT_TRUE((*dst)[1].isNull());
    EXPECT_FALSE((*dst)[0].isNull());
    checkRecord(d, *dst); // the flag pointers still point into dst
    (*dst)[1].setNull(false);
    EXPECT_TRUE(src[1].isNull());
    d.deleteKort(dst);
    d.deleteKortArray(a);
}

TEST(KortDesc, ClearAndReinitGiveANewLayout)
{
    KortDesc d;
    d.add(orvCString, 100);
    d.init();
    const int big = d.sizeOf();
    d.clear();
    EXPECT_EQ(d.colCount(), 0);
    EXPECT_FALSE(d.isInitialized());
    d.init(); // no columns: records are the header alone
    EXPECT_EQ(d.sizeOf(), int(sizeof(Kort)));
    Kort* header = d.newKort();
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->desc(), &d);
    d.deleteKort(header);
    EXPECT_EQ(d.newKortArray(0), nullptr);
    d.add(orvSmallInt, 2);
    d.init();
    EXPECT_LT(d.sizeOf(), big);
    Kort* k = d.newKort();
    checkRecord(d, *k);
    d.deleteKort(k);
}

TEST(KortDesc, MisusesAreAsserted)
{
    AssertSpy asserts;
    {
        KortDesc d;
        d.add(orvInteger, 4);
        EXPECT_EQ(d.newKort(), nullptr); // before init
        EXPECT_EQ(asserts.count(), 1);
        d.init();
        Kort* k = d.newKort();
        d.add(orvInteger, 4); // layout change while a record lives
        EXPECT_EQ(asserts.count(), 2);
        (*k)[5];              // column out of range
        EXPECT_EQ(asserts.count(), 3);
        KortDesc other;
        other.init();
        other.deleteKort(k); // freed by the wrong description
        EXPECT_GE(asserts.count(), 4);
        const int before = asserts.count();
        d.deleteKort(k);
        EXPECT_EQ(asserts.count(), before);
        EXPECT_EQ(d.liveBlocks(), 0);
    }
}

// The convenience forms stand for fixed server types and sizes that the cursor relies on.
TEST(ValueInfo, ConvenienceFormsCarryTheirServerTypeAndSize)
{
    VLong iv = 0;
    unsigned short sv = 0;
    char text[32];
    char flag = 0;
    VLong realLen = 0;
    struct Case {
        ValueInfo info;
        short type;
        VLong len;
        void* buffer;
    };
    const Case cases[] = {{ValueInfo(&iv, &flag), orvInteger, VLong(sizeof(VLong)), &iv},
                          {ValueInfo(&sv, &flag), orvSmallInt, 2, &sv},
                          {ValueInfo(text, 32, &flag, &realLen), orvCString, 32, text},
                          {ValueInfo(), orvNone, 0, nullptr}};
    for (const Case& c : cases) {
        EXPECT_EQ(c.info.type(), c.type);
        EXPECT_EQ(c.info.len(), c.len);
        EXPECT_EQ(c.info.buffer(), c.buffer);
        EXPECT_FALSE(c.info.isNull());
    }
    EXPECT_EQ(cases[2].info.realLen(), &realLen);
    flag = 1;
    EXPECT_TRUE(cases[0].info.isNull());
    EXPECT_FALSE(cases[3].info.isNull()); // no flag: never null
}

TEST(BindMap, LookupRebindAndOrderAgainstAModel)
{
    // Random binds and unbinds against a plain array of what each number holds.
    std::mt19937 rng(77);
    BindMap map;
    VLong buffers[40];
    char flags[40];
    int model[40]; // -1 unbound, else the buffer index bound
    for (int& m : model)
        m = -1;
    for (int step = 0; step < 600; ++step) {
        short n = short(rng() % 40);
        if (rng() % 4 == 0) {
            EXPECT_EQ(map.unbind(n), model[n] >= 0);
            model[n] = -1;
        } else {
            int b = int(rng() % 40);
            map.bind(n, ValueInfo(&buffers[b], &flags[b]));
            model[n] = b;
        }
        if (step % 50 == 0 || step == 599) {
            int bound = 0;
            short last = -1;
            for (short k = 0; k < 40; ++k) {
                const ValueInfo* v = map.find(k);
                if (model[k] < 0) {
                    EXPECT_EQ(v, nullptr) << k;
                    continue;
                }
                ++bound;
                last = k;
                ASSERT_NE(v, nullptr) << k;
                EXPECT_EQ(v->buffer(), &buffers[model[k]]);
                EXPECT_EQ(v->nullFlag(), &flags[model[k]]);
            }
            EXPECT_EQ(map.count(), bound);
            EXPECT_EQ(map.maxNumber(), last);
            for (int i = 1; i < map.count(); ++i)
                EXPECT_LT(map.numberAt(i - 1), map.numberAt(i));
        }
    }
    EXPECT_EQ(map.find(-1), nullptr);
    EXPECT_EQ(map.find(1000), nullptr);
    map.clear();
    EXPECT_EQ(map.count(), 0);
    EXPECT_EQ(map.maxNumber(), -1);
}

// The way the statement layer binds a fetch block: every column of the first record.
TEST(BindMap, BindsTheColumnsOfAFetchRecord)
{
    KortDesc d;
    d.add(orvCString, 21);
    d.add(orvInteger, 4);
    d.add(orvDouble, 8);
    d.init();
    Kort* a = d.newKortArray(4);
    BindMap map;
    for (int i = d.colCount() - 1; i >= 0; --i)
        map.bind(short(i + 1), ValueInfo(short(d.type(i)), (*a)[i].data(), d.len(i),
                                         (*a)[i].nullFlag));
    ASSERT_EQ(map.count(), 3);
    for (int i = 0; i < map.count(); ++i) {
        EXPECT_EQ(map.numberAt(i), i + 1);
        EXPECT_EQ(map.infoAt(i).buffer(), (*a)[i].data());
        EXPECT_EQ(map.infoAt(i).len(), d.len(i));
        EXPECT_EQ(map.infoAt(i).type(), d.type(i));
    }
    d.deleteKortArray(a);
}

} // namespace

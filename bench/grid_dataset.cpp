// The grid model over 1,000,000 memory rows of (long, double, date, decimal, 40-character
// text): heap bytes per row against the raw row image, and every cell read as text through
// the model next to a loop over a std::vector of structs calling the same formatting (the
// floor). Then a cache hit and a cache miss on 10,000,000 rows computed from their number.
#include <vexapi/grid/acmemorydataset.h>

#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <vector>

using namespace VexAPI;
using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace {

const int kRows = 1000000;
const int kText = 40;

std::size_t heapInUse()
{
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

struct PlainRow {
    std::int32_t id;
    double amount;
    OrvDate when;
    OrvDec price;
    WChar note[kText];
};

PlainRow makeRow(int i)
{
    PlainRow r;
    r.id = i;
    r.amount = i * 1.25;
    r.when = OrvDate(VLong(1600000000 + i * 37));
    r.price = OrvDec::fromInt64(i * 7 + 3) / OrvDec(100);
    r.price = r.price.rescale(2);
    char buf[kText + 8];
    std::snprintf(buf, sizeof buf, "customer %07d, street %d and some more text", i, i % 997);
    for (int k = 0; k < kText; ++k)
        r.note[k] = WChar(buf[k]);
    return r;
}

const WChar kNames[5][8] = {{'i', 'd', 0}, {'a', 'm', 't', 0}, {'w', 'h', 'e', 'n', 0},
                            {'p', 'r', 'i', 'c', 'e', 0}, {'n', 'o', 't', 'e', 0}};

void addColumns(aCDataSet& ds)
{
    ds.AddColDef(new aCColumn(kNames[0], apsLong));
    ds.AddColDef(new aCColumn(kNames[1], apsDouble));
    ds.AddColDef(new aCColumn(kNames[2], apsDate));
    ds.AddColDef(new aCColumn(kNames[3], apsDecimal));
    ds.AddColDef(new aCColumn(kNames[4], apsChar, kText));
}

struct ModelTable {
    aCMemoryDataSet ds;
    double bytesPerRow = 0;
    double rawBytes = 0;
    ModelTable()
    {
        ds.SetExceptionFlag(false);
        addColumns(ds);
        const VLong size = ds.GetDataSize(szDataTiled);
        std::vector<unsigned char> block(std::size_t(size) * kRows);
        for (int i = 0; i < kRows; ++i) {
            const PlainRow r = makeRow(i + 1);
            unsigned char* p = block.data() + std::size_t(i) * std::size_t(size);
            std::memcpy(p + ds.GetColOffset(1, szDataTiled), &r.id, 4);
            std::memcpy(p + ds.GetColOffset(2, szDataTiled), &r.amount, 8);
            std::memcpy(p + ds.GetColOffset(3, szDataTiled), &r.when, 16);
            std::memcpy(p + ds.GetColOffset(4, szDataTiled), &r.price, 16);
            std::memcpy(p + ds.GetColOffset(5, szDataTiled), r.note, sizeof r.note);
        }
        const std::size_t before = heapInUse();
        ds.InitFromArray(block.data(), kRows);
        bytesPerRow = double(heapInUse() - before) / kRows;
        rawBytes = double(ds.GetDataSize(szData));
    }
};

ModelTable& model()
{
    static ModelTable t;
    return t;
}

struct PlainTable {
    std::vector<PlainRow> rows;
    aCColumn columns[5];
    PlainTable()
    {
        rows.reserve(kRows);
        for (int i = 0; i < kRows; ++i)
            rows.push_back(makeRow(i + 1));
        aCMemoryDataSet shape;
        addColumns(shape);
        for (int c = 0; c < 5; ++c)
            shape.GetColumn(c + 1)->CopyTo(&columns[c]);
    }
};

PlainTable& plain()
{
    static PlainTable t;
    return t;
}

// ---- Memory per row ----

void BM_RawRowImage(benchmark::State& state)
{
    ModelTable& t = model();
    for (auto _ : state) {
        double v = t.rawBytes;
        benchmark::DoNotOptimize(v);
    }
    state.counters["bytes_per_row"] = t.rawBytes;
}
BENCHMARK(BM_RawRowImage);

void BM_MemoryDataSetHeap(benchmark::State& state)
{
    ModelTable& t = model();
    for (auto _ : state) {
        double v = t.bytesPerRow;
        benchmark::DoNotOptimize(v);
    }
    state.counters["bytes_per_row"] = t.bytesPerRow;
    state.counters["x_raw_image"] = t.bytesPerRow / t.rawBytes;
}
BENCHMARK(BM_MemoryDataSetHeap);

// ---- Every cell of a row as text; one iteration is one row, wrapping at the end ----

void BM_PlainVectorText(benchmark::State& state)
{
    PlainTable& t = plain();
    std::size_t i = 0;
    WChar buf[400];
    for (auto _ : state) {
        const PlainRow& r = t.rows[i];
        DataToText(&t.columns[0], buf, &r.id, 42);
        benchmark::DoNotOptimize(buf);
        DataToText(&t.columns[1], buf, &r.amount, 320);
        benchmark::DoNotOptimize(buf);
        DataToText(&t.columns[2], buf, &r.when, 24);
        benchmark::DoNotOptimize(buf);
        DataToText(&t.columns[3], buf, &r.price, 42);
        benchmark::DoNotOptimize(buf);
        DataToText(&t.columns[4], buf, r.note, kText + 1);
        benchmark::DoNotOptimize(buf);
        if (++i == t.rows.size())
            i = 0;
    }
}
BENCHMARK(BM_PlainVectorText);

void BM_MemoryDataSetText(benchmark::State& state)
{
    aCMemoryDataSet& ds = model().ds;
    ds.MoveToRow(dirFirst);
    WChar buf[400];
    for (auto _ : state) {
        for (VLong c = 1; c <= 5; ++c) {
            ds.GetColDataAsText(c, buf, 400);
            benchmark::DoNotOptimize(buf);
        }
        if (ds.MoveToRow(dirNext))
            ds.MoveToRow(dirFirst);
    }
    state.SetLabel("ratio-to:BM_PlainVectorText");
}
BENCHMARK(BM_MemoryDataSetText);

// ---- Cache hit and miss over 10,000,000 rows made from their number ----

const VLong kBigRows = 10000000;

class FunctionDataSet : public aCDataSet {
public:
    FunctionDataSet()
    {
        AddColDef(new aCColumn(kNames[0], apsLong));
        AddColDef(new aCColumn(kNames[1], apsDouble));
        SetExceptionFlag(false);
        SetCash(200); // a few screens, as the view sizes it
    }
    VLong GetRowCount() override { return kBigRows; }
    int ToRow(int, VLong row, bool) override
    {
        if (row < 1 || row > kBigRows)
            return apsErrNoRow;
        const double amount = row * 0.5;
        std::memcpy(m_image, &row, 4);
        std::memcpy(m_image + 4, &amount, 8);
        return 0;
    }
    void* GetRowData() override { return m_image; }

private:
    unsigned char m_image[12] = {};
};

void BM_CacheHit(benchmark::State& state)
{
    FunctionDataSet ds;
    VLong row = kBigRows / 2;
    ds.MoveToRow(dirAbsolute, row);
    ds.MoveToRow(dirAbsolute, row + 1);
    for (auto _ : state) {
        ds.MoveToRow(dirAbsolute, row);
        benchmark::DoNotOptimize(ds.GetColData(1));
        row = row == kBigRows / 2 ? row + 1 : row - 1;
    }
}
BENCHMARK(BM_CacheHit);

void BM_CacheMiss(benchmark::State& state)
{
    FunctionDataSet ds;
    // Rows 200 apart share an entry: every move evicts the row before.
    VLong row = kBigRows / 2;
    for (auto _ : state) {
        ds.MoveToRow(dirAbsolute, row);
        benchmark::DoNotOptimize(ds.GetColData(1));
        row = row == kBigRows / 2 ? row + 200 : kBigRows / 2;
    }
    state.SetLabel("ratio-to:BM_CacheHit");
}
BENCHMARK(BM_CacheMiss);

} // namespace

BENCHMARK_MAIN();

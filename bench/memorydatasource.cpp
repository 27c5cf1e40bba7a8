// A memory source of 1,000,000 rows of (tInt, tText of 40 characters, tDouble, tDate),
// walked with iterators and read through the typed getters and through getFieldText, next
// to the same walk over a std::vector of plain structs: the memory-layout floor. One
// iteration is one row; the walk wraps around at the end.
#include <vexapi/datasource/memorydatasource.h>
#include <vexapi/values/orvdate.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace DataSourceAPI;
using OrvCPP::OrvDate;

namespace {

const int kRows = 1000000;
const int kTextChars = 40;

// The heap in use, to tell what a million rows cost.
std::size_t heapInUse()
{
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

// The text of row i: 20 to 40 characters.
void rowText(int i, WChar* out)
{
    char buf[kTextChars + 1];
    std::snprintf(buf, sizeof buf, "customer %07d, street %d", i, i % 997);
    int n = 0;
    const int len = 20 + i % 21;
    for (; n < len && buf[n]; ++n)
        out[n] = WChar(buf[n]);
    for (; n < len; ++n)
        out[n] = WChar('x');
    out[n] = 0;
}

OrvDate rowDate(int i)
{
    return OrvDate(VLong(1600000000 + i * 37));
}

// ---- The floor ----

struct PlainRow {
    VLong id;
    WChar text[kTextChars + 1];
    double amount;
    OrvDate date;
};

struct PlainTable {
    std::vector<PlainRow> rows;
    double bytesPerRow;

    PlainTable()
    {
        const std::size_t before = heapInUse();
        rows.resize(kRows);
        for (int i = 0; i < kRows; ++i) {
            rows[std::size_t(i)].id = i;
            rowText(i, rows[std::size_t(i)].text);
            rows[std::size_t(i)].amount = i * 0.25;
            rows[std::size_t(i)].date = rowDate(i);
        }
        bytesPerRow = double(heapInUse() - before) / kRows;
    }
};

PlainTable& plain()
{
    static PlainTable table;
    return table;
}

// ---- The memory source ----

struct SourceTable {
    MemoryDataSource ds;
    double bytesPerRow;

    SourceTable()
    {
        ds.addCol(MemoryDataSource::ColInfo(WSTR("id"), tInt, 4));
        ds.addCol(MemoryDataSource::ColInfo(WSTR("name"), tText, 2 * (kTextChars + 1)));
        ds.addCol(MemoryDataSource::ColInfo(WSTR("amount"), tDouble, 8));
        ds.addCol(MemoryDataSource::ColInfo(WSTR("date"), tDate, 16));
        ds.initColumns();
        const std::size_t before = heapInUse();
        const DataSource::Iterator end = ds.end();
        WChar text[kTextChars + 1];
        for (int i = 0; i < kRows; ++i) {
            DataSource::Iterator it = ds.insertRow(end);
            ds.setFieldInt(it, 1, i);
            rowText(i, text);
            ds.setFieldText(it, 2, text);
            ds.setFieldDouble(it, 3, i * 0.25);
            ds.setFieldDate(it, 4, rowDate(i));
        }
        bytesPerRow = double(heapInUse() - before) / kRows;
    }
};

SourceTable& source()
{
    static SourceTable table;
    return table;
}

void BM_PlainVectorTyped(benchmark::State& state)
{
    PlainTable& t = plain();
    std::size_t i = 0;
    WChar text[kTextChars + 1];
    for (auto _ : state) {
        const PlainRow& r = t.rows[i];
        VLong id = r.id;
        const std::size_t n = std::char_traits<WChar>::length(r.text);
        std::memcpy(text, r.text, (n + 1) * sizeof(WChar));
        double amount = r.amount;
        OrvDate date = r.date;
        benchmark::DoNotOptimize(id);
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(amount);
        benchmark::DoNotOptimize(date);
        if (++i == t.rows.size())
            i = 0;
    }
    state.counters["bytes_per_row"] = t.bytesPerRow;
}
BENCHMARK(BM_PlainVectorTyped);

void BM_MemoryDSTyped(benchmark::State& state)
{
    SourceTable& t = source();
    const DataSource& ds = t.ds;
    const DataSource::Iterator end = ds.end();
    DataSource::Iterator it = ds.begin();
    WChar text[kTextChars + 1];
    for (auto _ : state) {
        VLong id = ds.getFieldInt(it, 1);
        ds.getFieldText(it, 2, text, sizeof text);
        double amount = ds.getFieldDouble(it, 3);
        OrvDate date = ds.getFieldDate(it, 4);
        benchmark::DoNotOptimize(id);
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(amount);
        benchmark::DoNotOptimize(date);
        if (++it == end)
            it = ds.begin();
    }
    state.counters["bytes_per_row"] = t.bytesPerRow;
    state.SetLabel("ratio-to:BM_PlainVectorTyped");
}
BENCHMARK(BM_MemoryDSTyped);

// Every field as text, as the data-aware controls show them.
void BM_PlainVectorAsText(benchmark::State& state)
{
    PlainTable& t = plain();
    std::size_t i = 0;
    char buf[64];
    WChar text[4][kTextChars + 1];
    for (auto _ : state) {
        const PlainRow& r = t.rows[i];
        int n = std::snprintf(buf, sizeof buf, "%ld", long(r.id));
        for (int k = 0; k <= n; ++k)
            text[0][k] = WChar(buf[k]);
        const std::size_t len = std::char_traits<WChar>::length(r.text);
        std::memcpy(text[1], r.text, (len + 1) * sizeof(WChar));
        n = std::snprintf(buf, sizeof buf, "%.15g", r.amount);
        for (int k = 0; k <= n; ++k)
            text[2][k] = WChar(buf[k]);
        r.date.toText(text[3], kTextChars + 1);
        benchmark::DoNotOptimize(text);
        if (++i == t.rows.size())
            i = 0;
    }
    state.counters["bytes_per_row"] = t.bytesPerRow;
}
BENCHMARK(BM_PlainVectorAsText);

void BM_MemoryDSAsText(benchmark::State& state)
{
    SourceTable& t = source();
    const DataSource& ds = t.ds;
    const DataSource::Iterator end = ds.end();
    DataSource::Iterator it = ds.begin();
    WChar text[4][kTextChars + 1];
    for (auto _ : state) {
        for (int col = 1; col <= 4; ++col)
            ds.getFieldText(it, col, text[col - 1], sizeof text[0]);
        benchmark::DoNotOptimize(text);
        if (++it == end)
            it = ds.begin();
    }
    state.counters["bytes_per_row"] = t.bytesPerRow;
    state.SetLabel("ratio-to:BM_PlainVectorAsText,BM_MemoryDSTyped");
}
BENCHMARK(BM_MemoryDSAsText);

// The walk alone: stepping and comparing with end(), no field read.
void BM_PlainVectorStep(benchmark::State& state)
{
    PlainTable& t = plain();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&t.rows[i]);
        if (++i == t.rows.size())
            i = 0;
    }
}
BENCHMARK(BM_PlainVectorStep);

void BM_MemoryDSStep(benchmark::State& state)
{
    SourceTable& t = source();
    const DataSource& ds = t.ds;
    const DataSource::Iterator end = ds.end();
    DataSource::Iterator it = ds.begin();
    for (auto _ : state) {
        benchmark::DoNotOptimize(&it);
        if (++it == end)
            it = ds.begin();
    }
    state.SetLabel("ratio-to:BM_PlainVectorStep");
}
BENCHMARK(BM_MemoryDSStep);

} // namespace

BENCHMARK_MAIN();

// The row cache over 10,000,000 rows made from their row number: the index's size after
// 1,000 scattered visits, a visit to a cached and to an uncached row, an eviction, and a
// sequential walk, next to the same work on a std::vector of the same records (the floor).
#include <vexapi/sql/lowmemoryds.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <random>
#include <vector>

using namespace DataSourceAPI;

namespace {

const int kRows = 10000000;

struct PlainRow {
    int id;
    int amount;
};

// Two tInt columns; a row reads id = its cursor row, amount = 3 * id.
class StubReaderDS : public LowMemoryDS {
public:
    StubReaderDS()
    {
        const WChar id[] = {'i', 'd', 0}, amount[] = {'a', 0};
        addCol(DataSource::ColInfo(id, tInt, 4));
        addCol(DataSource::ColInfo(amount, tInt, 4));
        addOrgCol(DataSource::ColInfo(id, tInt, 4));
        initColumns();
        reset(kRows);
    }
    int read(const Iterator& it)
    {
        lock(it, 1);
        int v;
        std::memcpy(&v, (*this)(it, 1).data(), 4);
        unlock(it);
        return v;
    }

protected:
    void readRowFromDB(const Iterator& it) override
    {
        const int row = getDBRow(it), amount = 3 * row;
        std::memcpy((*this)(it, 1).data(), &row, 4);
        std::memcpy((*this)(it, 2).data(), &amount, 4);
        std::memcpy(accessOrgField(it, 1).data(), &row, 4);
    }
};

const std::vector<PlainRow>& plainRows()
{
    static const std::vector<PlainRow> rows = [] {
        std::vector<PlainRow> v(kRows);
        for (int i = 0; i < kRows; ++i)
            v[std::size_t(i)] = PlainRow{i + 1, 3 * (i + 1)};
        return v;
    }();
    return rows;
}

std::vector<int> scatteredRows(int n)
{
    std::mt19937 rng(42);
    std::vector<int> rows(std::size_t(n), 0);
    for (int& r : rows)
        r = 1 + int(rng() % unsigned(kRows));
    return rows;
}

void BM_IndexAfterScatteredVisits(benchmark::State& state)
{
    const std::vector<int> rows = scatteredRows(1000);
    for (auto _ : state) {
        StubReaderDS ds;
        for (int r : rows)
            benchmark::DoNotOptimize(ds.read(ds.row2iterator(r)));
        const double entries = ds.buffer().entryCount();
        state.counters["entries"] = entries;
        state.counters["index_bytes_per_row"] = entries * sizeof(DataBuffer::Entry) / kRows;
        state.counters["pool_bytes_per_row"] =
            double(ds.cacheSize()) * (ds.sizeOfRecord() + ds.sizeOfRecord1()) / kRows;
    }
}
BENCHMARK(BM_IndexAfterScatteredVisits)->Iterations(3)->Unit(benchmark::kMillisecond);

// ---- One visit: the floor, a pooled row, a row read again ----

void BM_PlainVectorVisit(benchmark::State& state)
{
    const std::vector<PlainRow>& v = plainRows();
    const std::vector<int> rows = scatteredRows(1000);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(v[std::size_t(rows[i] - 1)].id);
        i = (i + 1) % rows.size();
    }
}
BENCHMARK(BM_PlainVectorVisit);

// Iterators held on 100 rows: every visit finds its record in the pool.
void BM_RowCacheVisitCached(benchmark::State& state)
{
    StubReaderDS ds;
    std::vector<LowMemoryDS::Iterator> its;
    for (int r : scatteredRows(100))
        its.push_back(ds.row2iterator(r));
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ds.read(its[i]));
        i = (i + 1) % its.size();
    }
    state.SetLabel("ratio-to:BM_PlainVectorVisit");
}
BENCHMARK(BM_RowCacheVisitCached);

// Iterators held on 1,000 rows visited in turn: each has left the pool of 150 by its next
// turn, so every visit makes the record, reads the row and evicts the oldest.
void BM_RowCacheVisitUncached(benchmark::State& state)
{
    StubReaderDS ds;
    std::vector<LowMemoryDS::Iterator> its;
    for (int r : scatteredRows(1000))
        its.push_back(ds.row2iterator(r));
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ds.read(its[i]));
        i = (i + 1) % its.size();
    }
    state.SetLabel("ratio-to:BM_PlainVectorVisit,BM_RowCacheVisitCached");
}
BENCHMARK(BM_RowCacheVisitUncached);

// The unlock that pushes the oldest row out of a full pool, timed alone.
void BM_RowCacheEvict(benchmark::State& state)
{
    StubReaderDS ds;
    std::vector<LowMemoryDS::Iterator> its;
    for (int r : scatteredRows(1000))
        its.push_back(ds.row2iterator(r));
    std::size_t i = 0;
    for (auto _ : state) {
        ds.lock(its[i], 0);
        const auto start = std::chrono::steady_clock::now();
        ds.unlock(its[i]);
        const auto stop = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
        i = (i + 1) % its.size();
    }
}
BENCHMARK(BM_RowCacheEvict)->UseManualTime();

// ---- Sequential walk, one row per iteration, wrapping at the end ----

void BM_PlainVectorWalk(benchmark::State& state)
{
    const std::vector<PlainRow>& v = plainRows();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(v[i].id);
        if (++i == v.size())
            i = 0;
    }
}
BENCHMARK(BM_PlainVectorWalk);

void BM_RowCacheWalk(benchmark::State& state)
{
    StubReaderDS ds;
    LowMemoryDS::Iterator it = ds.begin();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ds.read(it));
        ++it;
        if (it == ds.end())
            it = ds.begin();
    }
    state.counters["entries"] = ds.buffer().entryCount();
    state.SetLabel("ratio-to:BM_PlainVectorWalk");
}
BENCHMARK(BM_RowCacheWalk);

} // namespace

BENCHMARK_MAIN();

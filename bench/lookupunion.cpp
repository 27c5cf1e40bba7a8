// A lookup over a 1,000,000-row memory source narrowed by one parameter, and a walk of a
// union of ten 100,000-row members, each beside a hand loop over the same memory sources:
// the floor. One iteration is one whole retrieve, or one whole walk.
#include <vexapi/datasource/lookupdatasource.h>
#include <vexapi/datasource/memorydatasource.h>
#include <vexapi/datasource/uniondatasource.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace DataSourceAPI;
typedef DataSource::Iterator Iterator;

namespace {

const int kRows = 1000000;
const int kGroups = 100; // the parameter keeps one row in a hundred
const int kMembers = 10;
const int kMemberRows = 100000;

// Columns "id" and "grp", both tInt; grp is id % kGroups.
std::unique_ptr<MemoryDataSource> makeTable(int rows, int firstId)
{
    std::unique_ptr<MemoryDataSource> t(new MemoryDataSource);
    t->addCol(DataSource::ColInfo(WSTR("id"), tInt, 4));
    t->addCol(DataSource::ColInfo(WSTR("grp"), tInt, 4));
    t->initColumns();
    for (int i = 0; i < rows; ++i) {
        const Iterator it = t->insertRow(t->end());
        t->setFieldInt(it, 1, firstId + i);
        t->setFieldInt(it, 2, (firstId + i) % kGroups);
    }
    return t;
}

MemoryDataSource& big()
{
    static std::unique_ptr<MemoryDataSource> t = makeTable(kRows, 0);
    return *t;
}

std::vector<std::unique_ptr<MemoryDataSource>>& members()
{
    static std::vector<std::unique_ptr<MemoryDataSource>> m = [] {
        std::vector<std::unique_ptr<MemoryDataSource>> out;
        for (int i = 0; i < kMembers; ++i)
            out.push_back(makeTable(kMemberRows, i * kMemberRows));
        return out;
    }();
    return m;
}

// ---- Lookup ----

void BM_HandFilter(benchmark::State& state)
{
    MemoryDataSource& t = big();
    std::vector<Iterator> rows;
    rows.reserve(kRows / kGroups + 1);
    for (auto _ : state) {
        rows.clear();
        const Iterator last = t.end();
        for (Iterator it = t.begin(); it != last; ++it)
            if (t.getFieldInt(it, 2) == 42)
                rows.push_back(it);
        benchmark::DoNotOptimize(rows.data());
    }
    state.counters["rows"] = double(rows.size());
}
BENCHMARK(BM_HandFilter)->Unit(benchmark::kMillisecond);

void BM_LookupRetrieve(benchmark::State& state)
{
    LookupDataSource l;
    l.setDataSource(&big());
    l.create();
    DataSource::FilterInfo f;
    f.add(WSTR("grp"), WSTR("g"), false);
    l.setFilter(f);
    VLong g = 42;
    l.setParam(1, &g, 4, tInt, false, nullptr);
    for (auto _ : state) {
        l.retrieve();
        benchmark::DoNotOptimize(l.rowCount());
    }
    state.counters["rows"] = double(l.rowCount());
    state.SetLabel("ratio-to:BM_HandFilter");
}
BENCHMARK(BM_LookupRetrieve)->Unit(benchmark::kMillisecond);

// ---- Union ----

void BM_HandWalkMembers(benchmark::State& state)
{
    std::vector<std::unique_ptr<MemoryDataSource>>& m = members();
    for (auto _ : state) {
        VLong sum = 0;
        for (const auto& t : m) {
            const Iterator last = t->end();
            for (Iterator it = t->begin(); it != last; ++it)
                sum += t->getFieldInt(it, 1);
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_HandWalkMembers)->Unit(benchmark::kMillisecond);

void BM_UnionWalk(benchmark::State& state)
{
    UnionDataSource u;
    for (const auto& t : members())
        u.rdsAdd(t.get());
    u.create();
    u.retrieve();
    for (auto _ : state) {
        VLong sum = 0;
        const Iterator last = u.end();
        for (Iterator it = u.begin(); it != last; ++it)
            sum += u.getFieldInt(it, 1);
        benchmark::DoNotOptimize(sum);
    }
    state.SetLabel("ratio-to:BM_HandWalkMembers");
}
BENCHMARK(BM_UnionWalk)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

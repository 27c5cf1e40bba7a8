// The scrollable cursor over the sample readings table at 1,000,000 and 10,000,000 rows: the
// row count, the first screen, random absolute fetches and the last row, next to plain
// sqlite3 calls on the same file (count(*), LIMIT/OFFSET, keyset paging by id), and the walk
// of every row with fetch and getData of each column next to sqlite3_step and
// sqlite3_column_*, with the peak resident memory of each benchmark.
//
// Data: build/bench/data/readings-<rows>.db (or $VEXAPI_BENCH_DATA), made once by the
// sample generator and reused. Peak memory is VmHWM of /proc/self/status, reset before each
// benchmark by writing "5" to /proc/self/clear_refs.
#include "benchutil.h"

#include <vexapi/values/kort.h>
#include <vexapi/orvcpp/orvcursor.h>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace OrvCPP;
using benchutil::finish;
using benchutil::readingsFile;
using benchutil::resetPeak;

namespace {

const char kSelect[] = "select id, taken, sensor, temperature, pressure, humidity, flow, status from readings";
const int kScreen = 50;

// One row's buffers: the eight columns in their fetch forms, stepped as a Kort array.
struct Screen {
    KortDesc desc;
    Kort* array = nullptr;
    BindMap map;
    explicit Screen(int rows)
    {
        desc.add(orvInteger, 4);
        desc.add(orvCString, 24);
        desc.add(orvSmallInt, 2);
        for (int i = 0; i < 4; ++i)
            desc.add(orvDouble, 8);
        desc.add(orvSmallInt, 2);
        desc.init();
        array = desc.newKortArray(rows);
        Kort& k = desc.arrayElem(array, 0);
        for (int i = 0; i < desc.colCount(); ++i)
            map.bind(short(i + 1), ValueInfo(short(desc.type(i)), k[i].data(), desc.len(i), k[i].nullFlag));
    }
    ~Screen() { desc.deleteKortArray(array); }
};

std::vector<VLong> randomRows(long long rows, int n)
{
    std::mt19937 rng(42);
    std::uniform_int_distribution<long long> pick(1, rows);
    std::vector<VLong> out;
    for (int i = 0; i < n; ++i)
        out.push_back(VLong(pick(rng)));
    return out;
}

// A raw sqlite3 connection with prepared statements.
struct Raw : benchutil::RawConnection {
    explicit Raw(const std::string& path) : RawConnection(path) {}
    // Steps a statement, reading every column as the layer would; returns rows.
    static int drain(sqlite3_stmt* st)
    {
        int rows = 0;
        while (sqlite3_step(st) == SQLITE_ROW) {
            for (int c = 0; c < sqlite3_column_count(st); ++c) {
                if (sqlite3_column_type(st, c) == SQLITE_TEXT)
                    benchmark::DoNotOptimize(sqlite3_column_text(st, c));
                else
                    benchmark::DoNotOptimize(sqlite3_column_double(st, c));
            }
            ++rows;
        }
        sqlite3_reset(st);
        return rows;
    }
    long long count()
    {
        sqlite3_stmt* st = prepare("select count(*) from readings");
        sqlite3_step(st);
        const long long n = sqlite3_column_int64(st, 0);
        sqlite3_finalize(st);
        return n;
    }
};

// Iteration counts are fixed where a run would otherwise take minutes or where the mean
// must cover a known number of calls (the fresh cursor's first 1000 fetches).
const std::map<std::string, int> kIterations = {
    {"BM_Raw_OffsetFetch", 20}, {"BM_Raw_KeysetFetch", 1000}, {"BM_Layer_RandomFetch", 1000},
    {"BM_Layer_RandomFetchWarm", 1000}, {"BM_Raw_OffsetLast", 5}, {"BM_Raw_KeysetLast", 1000},
    {"BM_Layer_LastRow", 5}, {"BM_Raw_Walk", 3}, {"BM_Layer_Walk", 3}};

// The full name Google Benchmark gives a run, for the report's ratios.
std::string name(const char* base, long long rows)
{
    std::string n = std::string(base) + "/" + std::to_string(rows);
    auto it = kIterations.find(base);
    if (it != kIterations.end())
        n += "/iterations:" + std::to_string(it->second);
    return n + "/real_time";
}

// ---- the row count ----

void BM_Raw_Count(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    resetPeak();
    for (auto _ : state)
        benchmark::DoNotOptimize(raw.count());
    finish(state, "");
}

void BM_Layer_SelectRowCount(benchmark::State& state)
{
    OrvConnect db("bench", "", readingsFile(state.range(0)).c_str(), 0, true);
    OrvCursor c(db, 0, "bench");
    resetPeak();
    for (auto _ : state) {
        c.execute(kSelect);
        benchmark::DoNotOptimize(c.selectRowCount());
    }
    finish(state, name("BM_Raw_Count", state.range(0)));
}

// ---- the first screen: the count and 50 rows ----

void BM_Raw_FirstScreen(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    sqlite3_stmt* page = raw.prepare(std::string(kSelect) + " order by id limit 50");
    resetPeak();
    for (auto _ : state) {
        benchmark::DoNotOptimize(raw.count());
        benchmark::DoNotOptimize(Raw::drain(page));
    }
    sqlite3_finalize(page);
    finish(state, name("BM_Raw_Count", state.range(0)));
}

void BM_Layer_FirstScreen(benchmark::State& state)
{
    OrvConnect db("bench", "", readingsFile(state.range(0)).c_str(), 0, true);
    OrvCursor c(db, 0, "bench");
    Screen screen(kScreen);
    resetPeak();
    for (auto _ : state) {
        c.execute(kSelect);
        benchmark::DoNotOptimize(c.selectRowCount());
        benchmark::DoNotOptimize(c.multiFetch(1, kScreen, &screen.map, screen.desc.sizeOf()));
    }
    finish(state, name("BM_Raw_FirstScreen", state.range(0)) + "," + name("BM_Raw_Count", state.range(0)));
}

// ---- random absolute fetches: one per iteration ----

// A fresh cursor: the first fetches build the sparse index, and their cost is in the mean.
void BM_Layer_RandomFetch(benchmark::State& state)
{
    OrvConnect db("bench", "", readingsFile(state.range(0)).c_str(), 0, true);
    OrvCursor c(db, 0, "bench");
    c.execute(kSelect);
    Screen row(1);
    const std::vector<VLong> rows = randomRows(c.selectRowCount(), 1000);
    std::size_t i = 0;
    resetPeak();
    for (auto _ : state)
        c.fetch(fetchAbsolute, rows[i++ % rows.size()], &row.map);
    finish(state, name("BM_Raw_OffsetFetch", state.range(0)) + "," + name("BM_Raw_KeysetFetch", state.range(0)));
}

// The same after the index was built by 1000 untimed fetches.
void BM_Layer_RandomFetchWarm(benchmark::State& state)
{
    OrvConnect db("bench", "", readingsFile(state.range(0)).c_str(), 0, true);
    OrvCursor c(db, 0, "bench");
    c.execute(kSelect);
    Screen row(1);
    for (VLong r : randomRows(c.selectRowCount(), 1000))
        c.fetch(fetchAbsolute, r, &row.map);
    const std::vector<VLong> rows = randomRows(c.selectRowCount() - 1, 1000);
    std::size_t i = 0;
    resetPeak();
    for (auto _ : state)
        c.fetch(fetchAbsolute, rows[i++ % rows.size()] + 1, &row.map);
    finish(state, name("BM_Raw_OffsetFetch", state.range(0)) + "," + name("BM_Raw_KeysetFetch", state.range(0)));
}

void BM_Raw_OffsetFetch(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    sqlite3_stmt* st = raw.prepare(std::string(kSelect) + " order by id limit 1 offset ?");
    const std::vector<VLong> rows = randomRows(state.range(0), 1000);
    std::size_t i = 0;
    resetPeak();
    for (auto _ : state) {
        sqlite3_bind_int64(st, 1, rows[i++ % rows.size()] - 1);
        benchmark::DoNotOptimize(Raw::drain(st));
    }
    sqlite3_finalize(st);
    finish(state, "");
}

// Keyset paging needs the key of the row: the ids are dense here, so row n is id n.
void BM_Raw_KeysetFetch(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    sqlite3_stmt* st = raw.prepare(std::string(kSelect) + " where id >= ? order by id limit 1");
    const std::vector<VLong> rows = randomRows(state.range(0), 1000);
    std::size_t i = 0;
    resetPeak();
    for (auto _ : state) {
        sqlite3_bind_int64(st, 1, rows[i++ % rows.size()]);
        benchmark::DoNotOptimize(Raw::drain(st));
    }
    sqlite3_finalize(st);
    finish(state, "");
}

// ---- the last row, on a fresh result ----

// Each iteration reads the last row of a result of its own, executed before the timing
// (pausing the timer costs more than the fetch).
void BM_Layer_LastRow(benchmark::State& state)
{
    OrvConnect db("bench", "", readingsFile(state.range(0)).c_str(), 0, true);
    std::vector<std::unique_ptr<OrvCursor>> cursors;
    for (int i = 0; i < kIterations.at("BM_Layer_LastRow"); ++i) {
        cursors.emplace_back(new OrvCursor(db, 0, "bench"));
        cursors.back()->execute(kSelect);
    }
    Screen row(1);
    std::size_t i = 0;
    resetPeak();
    for (auto _ : state)
        cursors[i++]->fetch(fetchLast, 0, &row.map);
    finish(state, name("BM_Raw_OffsetLast", state.range(0)) + "," + name("BM_Raw_KeysetLast", state.range(0)));
}

void BM_Raw_OffsetLast(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    sqlite3_stmt* st = raw.prepare(std::string(kSelect) + " order by id limit 1 offset ?");
    const long long n = raw.count();
    resetPeak();
    for (auto _ : state) {
        sqlite3_bind_int64(st, 1, n - 1);
        benchmark::DoNotOptimize(Raw::drain(st));
    }
    sqlite3_finalize(st);
    finish(state, "");
}

void BM_Raw_KeysetLast(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    sqlite3_stmt* st = raw.prepare(std::string(kSelect) + " order by id desc limit 1");
    resetPeak();
    for (auto _ : state)
        benchmark::DoNotOptimize(Raw::drain(st));
    sqlite3_finalize(st);
    finish(state, "");
}

// ---- the walk: every row, every column, in the loop a program writes ----

// One row's buffers in the columns' fetch forms.
struct RowBuffers {
    std::int32_t id = 0;
    char taken[24] = {};
    std::int16_t sensor = 0;
    double measures[4] = {};
    std::int16_t status = 0;
    char isNull[8] = {};
    VLong takenLen = 0;
    // A sum over the row, so that nothing read is optimised away.
    double sum() const
    {
        return id + sensor + status + measures[0] + measures[1] + measures[2] + measures[3] + taken[0];
    }
};

void BM_Raw_Walk(benchmark::State& state)
{
    Raw raw(readingsFile(state.range(0)));
    sqlite3_stmt* st = raw.prepare(std::string(kSelect) + " order by id");
    RowBuffers b;
    resetPeak();
    long long rows = 0;
    for (auto _ : state) {
        double sum = 0;
        while (sqlite3_step(st) == SQLITE_ROW) {
            b.id = sqlite3_column_int(st, 0);
            const unsigned char* t = sqlite3_column_text(st, 1);
            const int n = std::min(sqlite3_column_bytes(st, 1), int(sizeof b.taken) - 1);
            std::memcpy(b.taken, t ? t : reinterpret_cast<const unsigned char*>(""), std::size_t(t ? n : 0));
            b.taken[t ? n : 0] = 0;
            b.sensor = std::int16_t(sqlite3_column_int(st, 2));
            for (int i = 0; i < 4; ++i)
                b.measures[i] = sqlite3_column_double(st, 3 + i);
            b.status = std::int16_t(sqlite3_column_int(st, 7));
            sum += b.sum();
            ++rows;
        }
        sqlite3_reset(st);
        benchmark::DoNotOptimize(sum);
    }
    sqlite3_finalize(st);
    state.SetItemsProcessed(rows);
    finish(state, "");
}

void BM_Layer_Walk(benchmark::State& state)
{
    OrvConnect db("bench", "", readingsFile(state.range(0)).c_str(), 0, true);
    OrvCursor c(db, 0, "bench");
    RowBuffers b;
    const ValueInfo columns[8] = {
        ValueInfo(orvInteger, &b.id, 4, &b.isNull[0]),
        ValueInfo(orvCString, b.taken, VLong(sizeof b.taken), &b.isNull[1], &b.takenLen),
        ValueInfo(orvSmallInt, &b.sensor, 2, &b.isNull[2]),
        ValueInfo(orvDouble, &b.measures[0], 8, &b.isNull[3]),
        ValueInfo(orvDouble, &b.measures[1], 8, &b.isNull[4]),
        ValueInfo(orvDouble, &b.measures[2], 8, &b.isNull[5]),
        ValueInfo(orvDouble, &b.measures[3], 8, &b.isNull[6]),
        ValueInfo(orvSmallInt, &b.status, 2, &b.isNull[7]),
    };
    resetPeak();
    long long rows = 0;
    for (auto _ : state) {
        c.execute(kSelect);
        const VLong n = c.selectRowCount();
        double sum = 0;
        for (VLong r = 0; r < n; ++r) {
            c.fetch(fetchNext, 0);
            for (short col = 1; col <= 8; ++col)
                c.getData(col, columns[col - 1]);
            sum += b.sum();
            ++rows;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(rows);
    finish(state, name("BM_Raw_Walk", state.range(0)));
}

const long long kSizes[] = {1000000, 10000000};

void sizes(benchmark::internal::Benchmark* b)
{
    for (long long n : kSizes)
        b->Arg(n);
    b->Unit(benchmark::kMicrosecond)->UseRealTime();
}

#define FIXED_BENCHMARK(f) BENCHMARK(f)->Apply(sizes)->Iterations(kIterations.at(#f))

BENCHMARK(BM_Raw_Count)->Apply(sizes);
BENCHMARK(BM_Layer_SelectRowCount)->Apply(sizes);
BENCHMARK(BM_Raw_FirstScreen)->Apply(sizes);
BENCHMARK(BM_Layer_FirstScreen)->Apply(sizes);
FIXED_BENCHMARK(BM_Raw_OffsetFetch);
FIXED_BENCHMARK(BM_Raw_KeysetFetch);
FIXED_BENCHMARK(BM_Layer_RandomFetch);
FIXED_BENCHMARK(BM_Layer_RandomFetchWarm);
FIXED_BENCHMARK(BM_Raw_OffsetLast);
FIXED_BENCHMARK(BM_Raw_KeysetLast);
FIXED_BENCHMARK(BM_Layer_LastRow);
// The walk at 1,000,000 rows only: at 10,000,000 it would take minutes and tell the same.
BENCHMARK(BM_Raw_Walk)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(kIterations.at("BM_Raw_Walk"));
BENCHMARK(BM_Layer_Walk)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(kIterations.at("BM_Layer_Walk"));

} // namespace

BENCHMARK_MAIN();

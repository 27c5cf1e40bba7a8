// OrvaneStatement over the sample readings table (1,000,000 rows, and 10,000,000 when
// VEXAPI_BENCH_10M is set) and over a join of orders and order lines scaled to about
// 1,000,000 rows: the first screen (create + retrieve + 50 rows), 1,000 random row visits and
// the last row, each with the peak resident memory, next to plain sqlite3 on the same file
// (count(*) plus one page: the floor of a first screen). Then 10,000 edited rows written by
// update() and commitDB(), by key and through the cursor, next to a hand-written loop of one
// prepared statement in one transaction.
//
// Data: build/bench/data/readings-<rows>.db and orders-<lines>.db (or $VEXAPI_BENCH_DATA),
// made once by the sample generator and reused.
#include "benchutil.h"

#include <vexapi/orvcpp/orvcursor.h>
#include <vexapi/sql/orvanestatement.h>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace OrvCPP;
using namespace DataSourceAPI;
using benchutil::complete;
using benchutil::dataDir;
using benchutil::finish;
using benchutil::readingsFile;
using benchutil::resetPeak;
using benchutil::warm;

namespace {

const char kReadings[] = "select id, taken, sensor, temperature, pressure, humidity, flow, status from readings";
const char kJoin[] = "select o.id, o.status, o.ordered, l.line, l.product, l.quantity, l.price "
                     "from orders o join order_lines l on l.order_id = o.id";
const char kJoinCount[] = "select count(*) from orders o join order_lines l on l.order_id = o.id";
const int kScreen = 50;
const long long kJoinLines = 1000000;

WString W(const char* ascii)
{
    WString s;
    for (; *ascii; ++ascii)
        s += WChar(static_cast<unsigned char>(*ascii));
    return s;
}

// Customers, orders and about a million order lines (3.5 lines an order on average).
std::string ordersFile()
{
    static std::string made;
    if (!made.empty())
        return made;
    std::filesystem::create_directories(dataDir());
    const std::string path = dataDir() + "/orders-" + std::to_string(kJoinLines) + ".db";
    if (!complete(path, "select count(*) from order_lines", kJoinLines * 9 / 10)) {
        std::fprintf(stderr, "making %s (once) ...\n", path.c_str());
        std::filesystem::remove(path);
        OrvConnect db("bench", "", path.c_str());
        sample::Sizes sizes;
        sizes.customers = 5000;
        sizes.orders = int(kJoinLines * 2 / 7);
        sizes.readings = 0;
        sample::create(db, sizes);
    }
    warm(path, "order_lines");
    return made = path;
}

std::string runName(const char* base, long long arg)
{
    return std::string(base) + "/" + std::to_string(arg) + "/real_time";
}

// Reads every column of a row through the typed access a control uses.
double readRow(OrvaneStatement& st, const DataSource::Iterator& it)
{
    double sum = 0;
    WChar text[64];
    for (int c = 1; c <= st.colCount(); ++c) {
        if (st.colType(c) == tText)
            sum += st.getFieldText(it, c, text, sizeof text)[0];
        else
            sum += st.getFieldDouble(it, c);
    }
    return sum;
}

struct Raw : benchutil::RawConnection {
    using RawConnection::RawConnection;
    long long scalar(sqlite3_stmt* st)
    {
        long long n = 0;
        if (sqlite3_step(st) == SQLITE_ROW)
            n = sqlite3_column_int64(st, 0);
        sqlite3_reset(st);
        return n;
    }
    // Steps a statement, reading every column; returns the rows.
    static int drain(sqlite3_stmt* st)
    {
        int rows = 0;
        double sum = 0;
        while (sqlite3_step(st) == SQLITE_ROW) {
            for (int i = 0; i < sqlite3_column_count(st); ++i)
                sum += sqlite3_column_type(st, i) == SQLITE_TEXT ? sqlite3_column_text(st, i)[0]
                                                                : sqlite3_column_double(st, i);
            ++rows;
        }
        sqlite3_reset(st);
        benchmark::DoNotOptimize(sum);
        return rows;
    }
};

std::string fileOf(long long arg)
{
    return arg == 0 ? ordersFile() : readingsFile(arg);
}
const char* selectOf(long long arg)
{
    return arg == 0 ? kJoin : kReadings;
}
const char* countOf(long long arg)
{
    return arg == 0 ? kJoinCount : "select count(*) from readings";
}

// ---- The floor: count(*) and one page ----

// Arg: the readings' rows, or 0 for the join.
void BM_Raw_CountPage(benchmark::State& state)
{
    Raw raw(fileOf(state.range(0)));
    sqlite3_stmt* count = raw.prepare(countOf(state.range(0)));
    sqlite3_stmt* page = raw.prepare(std::string(selectOf(state.range(0))) + " limit 50");
    resetPeak();
    for (auto _ : state) {
        benchmark::DoNotOptimize(raw.scalar(count));
        benchmark::DoNotOptimize(Raw::drain(page));
    }
    sqlite3_finalize(count);
    sqlite3_finalize(page);
    finish(state, "");
}

// ---- The statement ----

// Each iteration readies a statement afresh over the select of the benchmark's argument
// (created and retrieved) and runs `visit` on it; the floor is the count and page of the same
// argument.
template <class Visit>
void timeStatement(benchmark::State& state, Visit visit)
{
    OrvConnect db("bench", "", fileOf(state.range(0)).c_str(), 0, true);
    unsigned short handle = db;
    resetPeak();
    for (auto _ : state) {
        OrvaneStatement st;
        st.setConnect(&handle);
        st.setSQLSelect(W(selectOf(state.range(0))).c_str());
        st.create();
        st.retrieve();
        benchmark::DoNotOptimize(visit(st));
    }
    finish(state, runName("BM_Raw_CountPage", state.range(0)));
}

void BM_Stmt_FirstScreen(benchmark::State& state)
{
    timeStatement(state, [](OrvaneStatement& st) {
        double sum = 0;
        int rows = 0;
        for (DataSource::Iterator it = st.begin(); rows < kScreen && it != st.end(); ++it, ++rows)
            sum += readRow(st, it);
        return sum;
    });
}

// 1,000 visits of random rows of one statement (the first ones build the cursor's index,
// or for the join copy the result as far as the rows visited).
void BM_Stmt_RandomVisits(benchmark::State& state)
{
    timeStatement(state, [](OrvaneStatement& st) {
        std::mt19937 rng(42);
        std::uniform_int_distribution<int> pick(1, st.rowCount());
        double sum = 0;
        for (int i = 0; i < 1000; ++i)
            sum += readRow(st, st.row2iterator(pick(rng)));
        return sum;
    });
}

void BM_Stmt_LastRow(benchmark::State& state)
{
    timeStatement(state, [](OrvaneStatement& st) { return readRow(st, st.row2iterator(st.rowCount())); });
}

// ---- Writing 10,000 edited rows ----

const int kEdited = 10000;

// A writable copy of the readings table of 100,000 rows, made once.
std::string writableFile()
{
    static std::string made;
    if (!made.empty())
        return made;
    std::filesystem::create_directories(dataDir());
    made = dataDir() + "/writable.db";
    std::filesystem::remove(made);
    OrvConnect db("bench", "", made.c_str());
    sample::createReadings(db, 100000);
    return made;
}

// Arg: 0 through the cursor, 1 by key. Each iteration writes new values into rows 1, 11, 21,
// ...; the edits are made with the timer paused.
void BM_Stmt_Update(benchmark::State& state)
{
    OrvConnect db("bench", "", writableFile().c_str());
    unsigned short handle = db;
    OrvaneStatement st;
    st.setConnect(&handle);
    st.setSQLSelect(W("select id, temperature, status from readings").c_str());
    st.create();
    st.setUpdateMode(state.range(0) ? OrvaneDS::byKey : OrvaneDS::currentOf);
    st.setPrimaryKeysAsKey();
    st.retrieve();
    double value = 1;
    resetPeak();
    for (auto _ : state) {
        state.PauseTiming();
        value += 1;
        for (int i = 0; i < kEdited; ++i) {
            DataSource::Iterator it = st.row2iterator(1 + 10 * i);
            st.setFieldDouble(it, 2, value + i);
        }
        state.ResumeTiming();
        st.update();
        st.commitDB();
        st.commitDS();
    }
    finish(state, "BM_Raw_PreparedUpdate/real_time");
}

void BM_Raw_PreparedUpdate(benchmark::State& state)
{
    Raw raw(writableFile(), false);
    sqlite3_stmt* up = raw.prepare("update readings set temperature = ? where id = ?");
    double value = 1;
    resetPeak();
    for (auto _ : state) {
        value += 1;
        sqlite3_exec(raw.db, "begin", nullptr, nullptr, nullptr);
        for (int i = 0; i < kEdited; ++i) {
            sqlite3_bind_double(up, 1, value + i);
            sqlite3_bind_int(up, 2, 1 + 10 * i);
            sqlite3_step(up);
            sqlite3_reset(up);
        }
        sqlite3_exec(raw.db, "commit", nullptr, nullptr, nullptr);
    }
    sqlite3_finalize(up);
    finish(state, "");
}

void sizes(benchmark::internal::Benchmark* b)
{
    b->Arg(1000000);
    if (std::getenv("VEXAPI_BENCH_10M"))
        b->Arg(10000000);
    b->Arg(0);
}

BENCHMARK(BM_Raw_CountPage)->Apply(sizes)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stmt_FirstScreen)->Apply(sizes)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stmt_RandomVisits)->Apply(sizes)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
BENCHMARK(BM_Stmt_LastRow)->Apply(sizes)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
BENCHMARK(BM_Raw_PreparedUpdate)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stmt_Update)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();

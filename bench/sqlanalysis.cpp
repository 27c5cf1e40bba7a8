// The select analysis against the floor of reading SQL: sqlite3_prepare_v2 of the same text
// on one connection. Both read every select of the corpus (scripts/deps/sql-corpus: the
// PostgreSQL regression selects, then SQLite's test selects); without it, a generated set.
// Items are statements, bytes the UTF-8 text: per statement and per MB.
#include "sqlcorpus.h"

#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>
#include <vexapi/sql/sqlanalysis.h>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace DataSourceAPI;

namespace {

struct Corpus {
    std::string name;
    std::vector<std::string> utf8;
    std::vector<WString> wide;
    std::size_t bytes = 0;
};

// Selects in the shapes applications write, for a machine without the corpus.
std::vector<std::string> generated()
{
    std::vector<std::string> out;
    for (int i = 0; i < 2000; ++i) {
        const std::string n = std::to_string(i);
        switch (i % 4) {
        case 0:
            out.push_back("SELECT a, b AS b" + n + ", c FROM t1 WHERE a = " + n + " ORDER BY b");
            break;
        case 1:
            out.push_back("SELECT t1.a, t2.x \"Name " + n + "\", count(*) FROM t1 LEFT JOIN t2 "
                          "ON t1.a = t2.a WHERE t1.b LIKE 'x" + n + "%' GROUP BY t1.a, t2.x");
            break;
        case 2:
            out.push_back("SELECT * FROM (SELECT a, b FROM t3 WHERE c IN (SELECT c FROM t4)) s "
                          "WHERE a > " + n);
            break;
        default:
            out.push_back("SELECT CAST(a AS int) AS ai, b + c * 2 total FROM t1 UNION ALL "
                          "SELECT x, y FROM t2 ORDER BY 1 LIMIT " + n);
        }
    }
    return out;
}

WString wide(const std::string& utf8)
{
    const int n = mbs2wcs(nullptr, utf8.c_str(), "UTF-8", 0, 0);
    WString out(std::size_t(n) + 1, WChar(0));
    mbs2wcs(&out[0], utf8.c_str(), "UTF-8", n + 1, 0);
    out.resize(std::size_t(n));
    return out;
}

const std::vector<Corpus>& corpora()
{
    static std::vector<Corpus> all = [] {
        std::vector<Corpus> c(2);
        c[0].name = "postgresql";
        c[1].name = "sqlite";
        for (Corpus& k : c) {
            k.utf8 = sqlcorpus::loadSelects(k.name);
            if (k.utf8.empty()) {
                k.name = "generated";
                k.utf8 = generated();
            }
            for (const std::string& s : k.utf8) {
                k.wide.push_back(wide(s));
                k.bytes += s.size();
            }
        }
        return c;
    }();
    return all;
}

void setCounters(benchmark::State& state, const Corpus& c)
{
    state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(c.utf8.size()));
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(c.bytes));
}

void BM_Analysis(benchmark::State& state)
{
    const Corpus& c = corpora()[std::size_t(state.range(0))];
    SQLQueryDesc d;
    int analysed = 0;
    for (auto _ : state) {
        analysed = 0;
        for (const WString& text : c.wide)
            analysed += parseSelect(text.c_str(), d);
        benchmark::DoNotOptimize(analysed);
    }
    setCounters(state, c);
    state.counters["statements"] = double(c.utf8.size());
    state.counters["analysed"] = double(analysed);
    state.SetLabel("ratio-to:BM_Prepare/" + std::to_string(state.range(0)));
}

void BM_Prepare(benchmark::State& state)
{
    const Corpus& c = corpora()[std::size_t(state.range(0))];
    sqlite3* db = nullptr;
    sqlite3_open(":memory:", &db);
    sqlite3_exec(db,
                 "CREATE TABLE t1(a, b, c, d, x, y); CREATE TABLE t2(a, b, c, d, x, y);"
                 "CREATE TABLE t3(a, b, c, d, x, y); CREATE TABLE t4(a, b, c, d, x, y);"
                 "CREATE TABLE tenk1(unique1, unique2, two, four, ten, twenty, hundred,"
                 " thousand, twothousand, fivethous, tenthous, odd, even, stringu1,"
                 " stringu2, string4);",
                 nullptr, nullptr, nullptr);
    int prepared = 0;
    for (auto _ : state) {
        prepared = 0;
        for (const std::string& text : c.utf8) {
            sqlite3_stmt* stmt = nullptr;
            prepared += sqlite3_prepare_v2(db, text.c_str(), int(text.size()), &stmt, nullptr) ==
                        SQLITE_OK;
            sqlite3_finalize(stmt);
        }
        benchmark::DoNotOptimize(prepared);
    }
    sqlite3_close(db);
    setCounters(state, c);
    state.counters["statements"] = double(c.utf8.size());
    state.counters["prepared"] = double(prepared);
}

} // namespace

// 0: the PostgreSQL selects, 1: SQLite's (or the generated set for either).
BENCHMARK(BM_Prepare)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Analysis)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();

// What the benchmarks over the sample database share: the data folder and its files, made
// once and reused, and the peak resident memory each benchmark reports beside its ratios.
//
// Peak memory is VmHWM of /proc/self/status, reset before a benchmark by writing "5" to
// /proc/self/clear_refs.
#pragma once

#include "sampledb.h"

#include <vexapi/orvcpp/orvcursor.h>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace benchutil {

// build/bench/data, or $VEXAPI_BENCH_DATA.
inline std::string dataDir()
{
    const char* env = std::getenv("VEXAPI_BENCH_DATA");
    return env && *env ? env : "build/bench/data";
}

// Whether the file exists and the first column `sql` gives is at least `want`.
inline bool complete(const std::string& path, const char* sql, long long want)
{
    sqlite3* db = nullptr;
    bool ok = false;
    if (std::ifstream(path) && sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, sql, -1, &st, nullptr) == SQLITE_OK && sqlite3_step(st) == SQLITE_ROW)
            ok = sqlite3_column_int64(st, 0) >= want;
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
    return ok;
}

// Reads a table once, so that every benchmark meets the file in the system's file cache.
inline void warm(const std::string& path, const char* table)
{
    sqlite3* db = nullptr;
    sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_exec(db, (std::string("select count(*) from ") + table).c_str(), nullptr, nullptr, nullptr);
    sqlite3_close(db);
}

// The file with `rows` readings, made when missing or incomplete (its bench_info table holds
// the row count, written last).
inline std::string readingsFile(long long rows)
{
    static std::map<long long, std::string> made;
    auto it = made.find(rows);
    if (it != made.end())
        return it->second;
    std::filesystem::create_directories(dataDir());
    const std::string path = dataDir() + "/readings-" + std::to_string(rows) + ".db";
    if (!complete(path, "select rows from bench_info", rows)) {
        std::fprintf(stderr, "making %s (%lld readings, once) ...\n", path.c_str(), rows);
        std::filesystem::remove(path);
        const auto start = std::chrono::steady_clock::now();
        OrvCPP::OrvConnect db("bench", "", path.c_str());
        sample::createReadings(db, rows);
        OrvCPP::OrvCursor c(db, 0, "info");
        c.execute("create table bench_info(rows integer)");
        c.execute(("insert into bench_info values (" + std::to_string(rows) + ")").c_str());
        c.commit();
        std::fprintf(stderr, "made in %.0f s\n",
                     std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    warm(path, "readings");
    return made[rows] = path;
}

// Peak resident memory since the last reset, in MB.
inline void resetPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}
inline double peakMB()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.compare(0, 6, "VmHWM:") == 0)
            return std::atof(line.c_str() + 6) / 1024.0;
    return 0;
}

// Reports the peak memory, and the runs this one is measured against ("a,b"), if any.
inline void finish(benchmark::State& state, const std::string& peers)
{
    state.counters["peak_rss_MB"] = peakMB();
    if (!peers.empty())
        state.SetLabel("ratio-to:" + peers);
}

// A plain sqlite3 connection to a file: the raw floor the library is measured against.
struct RawConnection {
    sqlite3* db = nullptr;
    explicit RawConnection(const std::string& path, bool readOnly = true)
    {
        sqlite3_open_v2(path.c_str(), &db, readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE, nullptr);
    }
    ~RawConnection() { sqlite3_close_v2(db); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;
    // A prepared statement, or null (the error said on stderr).
    sqlite3_stmt* prepare(const std::string& sql)
    {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK)
            std::fprintf(stderr, "raw: %s\n", sqlite3_errmsg(db));
        return st;
    }
};

} // namespace benchutil

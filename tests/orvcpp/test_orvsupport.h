// Helpers of the client layer's tests: a scratch folder for database files, running a text,
// reading one value, and a Handler that a test waits on with a condition variable.
#pragma once

#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/orvcursor.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <random>
#include <string>
#include <thread>

namespace orvtest {

// A folder of its own under the system's temporary folder, removed with its files.
class ScratchDir {
public:
    ScratchDir()
    {
        std::random_device rd;
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        m_path = std::filesystem::temp_directory_path() /
                 ("vexapi-orv-" + std::to_string(rd()) + "-" + std::to_string(stamp));
        std::filesystem::create_directories(m_path);
    }
    ~ScratchDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    std::string file(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

inline void exec(OrvCPP::OrvCursor& c, const std::string& sql) { c.execute(sql.c_str()); }

// Runs `sql` on a throwaway cursor of `connection`.
inline void exec(const OrvCPP::OrvConnect& connection, const std::string& sql)
{
    OrvCPP::OrvCursor c(connection, 0, "exec");
    c.execute(sql.c_str());
}

// Column `col` of the current row as text; "<null>" for null.
inline std::string text(OrvCPP::OrvCursor& c, short col)
{
    char buffer[4096];
    char isNull = 0;
    VLong len = 0;
    c.getData(col, OrvCPP::ValueInfo(buffer, VLong(sizeof buffer), &isNull, &len));
    return isNull ? std::string("<null>") : std::string(buffer);
}

// Column `col` of the current row as a 64-bit integer.
inline std::int64_t integer(OrvCPP::OrvCursor& c, short col)
{
    std::int64_t v = 0;
    char isNull = 0;
    c.getData(col, OrvCPP::ValueInfo(OrvCPP::orvBigInt, &v, 8, &isNull));
    return isNull ? -999999 : v;
}

// The value of a one-row, one-column select, as text.
inline std::string scalar(const OrvCPP::OrvConnect& connection, const std::string& sql)
{
    OrvCPP::OrvCursor c(connection, 0, "scalar");
    c.execute(sql.c_str());
    if (c.selectRowCount() < 1)
        return "<no row>";
    c.fetch(OrvCPP::fetchAbsolute, 1);
    return text(c, 1);
}

// A Handler that records the end and the thread it came on; the test waits for it.
class WaitHandler : public OrvCPP::OrvCursor::Handler {
public:
    void complete(short code, VLong rows) override
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_code = code;
        m_rows = rows;
        m_thread = std::this_thread::get_id();
        m_done = true;
        m_cv.notify_all();
    }
    // Waits up to `seconds`; false on timeout.
    bool wait(int seconds = 30)
    {
        std::unique_lock<std::mutex> g(m_mutex);
        return m_cv.wait_for(g, std::chrono::seconds(seconds), [this] { return m_done; });
    }
    bool done()
    {
        std::lock_guard<std::mutex> g(m_mutex);
        return m_done;
    }
    short code() const { return m_code; }
    VLong rows() const { return m_rows; }
    std::thread::id thread() const { return m_thread; }

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_done = false;
    short m_code = -1;
    VLong m_rows = -2;
    std::thread::id m_thread;
};

} // namespace orvtest

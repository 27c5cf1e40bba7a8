// The channel table, the connection's lock and worker, opening and closing the database, and
// the server's errors as OrvX.
#include "session.h"

#include "catalog.h"
#include "dialect.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>

namespace OrvCPP {
namespace detail {

ChannelState::~ChannelState() = default;

// ---- ChannelTable ----

ChannelTable::ChannelTable() : m_slots(65536), m_next(1), m_count(0) {}

ChannelTable& ChannelTable::instance()
{
    // Never destroyed: channels left open at exit must not be closed by a static destructor
    // that runs after the threads or the library they need have gone.
    static ChannelTable* table = new ChannelTable;
    return *table;
}

unsigned short ChannelTable::add(const std::shared_ptr<ChannelState>& state)
{
    std::lock_guard<std::mutex> g(m_mutex);
    for (unsigned tries = 0; tries < 65535; ++tries) {
        unsigned h = m_next;
        m_next = m_next >= 65535 ? 1 : m_next + 1;
        if (!m_slots[h]) {
            m_slots[h] = state;
            state->handle = static_cast<unsigned short>(h);
            ++m_count;
            return state->handle;
        }
    }
    throw OrvX::client(orvapiHandlesExhausted, "all 65535 channel handles are in use");
}

void ChannelTable::remove(unsigned short handle)
{
    std::shared_ptr<ChannelState> gone; // destroyed outside the table's mutex
    std::lock_guard<std::mutex> g(m_mutex);
    if (handle && m_slots[handle]) {
        gone.swap(m_slots[handle]);
        --m_count;
    }
}

std::shared_ptr<ChannelState> ChannelTable::find(unsigned short handle) const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return handle ? m_slots[handle] : nullptr;
}

int ChannelTable::openCount() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_count;
}

std::shared_ptr<ConnectionState> openConnection(unsigned short handle)
{
    auto c = ChannelTable::instance().find<ConnectionState>(handle, ChannelState::Connection);
    if (!c || !c->isOpen())
        throw OrvX::client(handle ? orvapiBadHandle : orvapiNotOpen,
                           handle ? "handle " + std::to_string(handle) + " is no open connection"
                                  : std::string("the connection is not open"));
    return c;
}

// ---- ConnectionState ----

ConnectionState::ConnectionState() : ChannelState(Connection) {}

ConnectionState::~ConnectionState()
{
    close();
}

void ConnectionState::open(const std::string& userName, const std::string& nodeName, VLong m,
                           bool ro, const std::string& options)
{
    bool create = true;
    int busy = 2000;
    // "key=value;key=value"
    std::size_t at = 0;
    while (at < options.size()) {
        std::size_t end = options.find(';', at);
        if (end == std::string::npos)
            end = options.size();
        std::string item = options.substr(at, end - at);
        at = end + 1;
        item.erase(0, item.find_first_not_of(' '));
        item.erase(item.find_last_not_of(' ') + 1);
        if (item.empty())
            continue;
        std::size_t eq = item.find('=');
        std::string key = item.substr(0, eq);
        std::string value = eq == std::string::npos ? std::string() : item.substr(eq + 1);
        char* bad = nullptr;
        long number = std::strtol(value.c_str(), &bad, 10);
        if (value.empty() || *bad)
            throw OrvX::client(orvapiBadArgument, "option '" + item + "' needs a number");
        if (key == "create")
            create = number != 0;
        else if (key == "busy_timeout")
            busy = int(std::max(0L, number));
        else
            throw OrvX::client(orvapiBadArgument, "unknown connection option '" + key + "'");
    }
    if (nodeName.empty())
        throw OrvX::client(orvapiBadArgument, "no database named: give a file path or :memory:");

    const int flags = ro ? SQLITE_OPEN_READONLY
                         : SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0);
    sqlite3* handle = nullptr;
    int rc = sqlite3_open_v2(nodeName.c_str(), &handle, flags, nullptr);
    if (rc == SQLITE_OK) {
        sqlite3_extended_result_codes(handle, 1);
        sqlite3_busy_timeout(handle, busy);
        // Reading the schema reads the file's header: a file that is no database (or can't
        // be read) fails here, not at the first query.
        rc = sqlite3_exec(handle, "SELECT count(*) FROM sqlite_schema", nullptr, nullptr, nullptr);
    }
    if (rc != SQLITE_OK) {
        OrvX x = handle ? serverError(handle, rc, std::string(), nullptr)
                        : OrvX(0, short(rc), orvapiServer, orvErrorServer, nullptr, sqlite3_errstr(rc));
        std::string text = std::string(x.text()) + ": " + nodeName;
        OrvX y(x.systemError(), x.orvaneError(), x.orvapiError(), x.orvapiErrorType(), nullptr, text.c_str());
        sqlite3_close_v2(handle);
        throw y;
    }
    registerCatalogFunctions(handle);
    db = handle;
    user = userName;
    node = nodeName;
    initialMode = mode = m;
    readOnly = ro;
}

sqlite3* ConnectionState::scratchDb()
{
    if (!m_scratch) {
        // "" is a private temporary file that SQLite deletes on close; its pages live in a
        // small cache, so a large copied result costs disk, not memory.
        sqlite3* s = nullptr;
        int rc = sqlite3_open_v2("", &s, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
        if (rc != SQLITE_OK) {
            OrvX x = s ? serverError(s, rc, std::string(), nullptr)
                       : OrvX(0, short(rc), orvapiServer, orvErrorServer, nullptr, sqlite3_errstr(rc));
            sqlite3_close_v2(s);
            throw x;
        }
        sqlite3_exec(s, "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-2048",
                     nullptr, nullptr, nullptr);
        m_scratch = s;
    }
    return m_scratch;
}

sqlite3_stmt* ConnectionState::cachedStatement(const std::string& sql, const std::string& query)
{
    auto it = m_cacheIndex.find(sql);
    if (it != m_cacheIndex.end()) {
        m_cache.splice(m_cache.begin(), m_cache, it->second);
        return it->second->second;
    }
    sqlite3_stmt* st = nullptr;
    int rc = sqlite3_prepare_v3(db, sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT, &st, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(st);
        throw serverError(db, rc, query, nullptr);
    }
    const std::size_t capacity = 64;
    if (m_cache.size() >= capacity) {
        sqlite3_finalize(m_cache.back().second);
        m_cacheIndex.erase(m_cache.back().first);
        m_cache.pop_back();
    }
    m_cache.emplace_front(sql, st);
    m_cacheIndex[sql] = m_cache.begin();
    return st;
}

std::string ConnectionState::nextScratchName()
{
    return "r" + std::to_string(++m_scratchSerial);
}

void ConnectionState::close() noexcept
{
    {
        std::unique_lock<std::mutex> g(m_mutex);
        if (!db && !m_worker.joinable())
            return;
        m_closing = true;
        for (auto& job : m_jobs)
            job->cancelled = true;
        if (m_runningJob && db) {
            m_interrupt = true;
            sqlite3_interrupt(db);
        }
    }
    std::vector<unsigned short> children;
    {
        ConnectionLock l(*this);
        {
            std::lock_guard<std::mutex> g(m_mutex);
            children.swap(m_children);
        }
        for (unsigned short h : children) {
            if (auto child = ChannelTable::instance().find(h))
                child->release();
            ChannelTable::instance().remove(h);
        }
        for (auto& entry : m_cache)
            sqlite3_finalize(entry.second);
        m_cache.clear();
        m_cacheIndex.clear();
        if (m_scratch)
            sqlite3_close_v2(m_scratch);
        m_scratch = nullptr;
        if (db)
            sqlite3_close_v2(db); // rolls back an open transaction
        db = nullptr;
    }
    std::thread worker;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_stop = true;
        worker.swap(m_worker);
    }
    m_jobCv.notify_all();
    if (worker.joinable()) {
        // Closing from a Handler runs on the worker itself, which can't wait for itself.
        if (worker.get_id() == std::this_thread::get_id())
            worker.detach();
        else
            worker.join();
    }
}

void ConnectionState::lock(bool asWorker)
{
    std::unique_lock<std::mutex> g(m_mutex);
    const std::thread::id self = std::this_thread::get_id();
    if (m_owner == self) {
        ++m_depth;
        return;
    }
    // A Handler runs on the worker, which must not wait for the jobs queued behind it.
    asWorker = asWorker || self == m_workerId;
    m_cv.wait(g, [&] { return m_depth == 0 && (asWorker || m_pending == 0); });
    m_owner = self;
    m_depth = 1;
}

void ConnectionState::unlock()
{
    {
        std::lock_guard<std::mutex> g(m_mutex);
        if (--m_depth > 0)
            return;
        m_owner = std::thread::id();
    }
    m_cv.notify_all();
}

std::thread::id ConnectionState::owner() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_owner;
}

int ConnectionState::pending() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_pending;
}

void ConnectionState::submit(Job job)
{
    std::lock_guard<std::mutex> g(m_mutex);
    if (m_closing || !db)
        throw OrvX::client(orvapiNotOpen, "the connection is closing");
    m_jobs.push_back(std::make_shared<Job>(std::move(job)));
    ++m_pending;
    if (!m_worker.joinable()) {
        // The worker keeps the state alive for as long as it runs.
        std::shared_ptr<ConnectionState> self = shared_from_this();
        m_worker = std::thread([self] { self->workerLoop(); });
        m_workerId = m_worker.get_id();
    }
    m_jobCv.notify_one();
}

void ConnectionState::workerLoop()
{
    for (;;) {
        std::shared_ptr<Job> job;
        {
            std::unique_lock<std::mutex> g(m_mutex);
            m_jobCv.wait(g, [&] { return m_stop || !m_jobs.empty(); });
            if (m_jobs.empty())
                return;
            job = m_jobs.front();
            m_jobs.pop_front();
        }
        OrvX error;
        bool failed = false;
        VLong rows = 0;
        lock(true);
        {
            std::lock_guard<std::mutex> g(m_mutex);
            m_runningJob = job;
            if (m_closing)
                job->cancelled = true;
        }
        if (job->cancelled) {
            error = OrvX::client(orvapiInterrupted, "the call was cancelled: its cursor or connection closed");
            failed = true;
        } else {
            try {
                rows = job->body();
            } catch (const OrvX& x) {
                error = x;
                failed = true;
            } catch (const std::exception& x) {
                error = OrvX::client(orvapiServer, x.what());
                failed = true;
            }
        }
        {
            std::lock_guard<std::mutex> g(m_mutex);
            m_runningJob.reset();
        }
        unlock();
        {
            std::lock_guard<std::mutex> g(m_mutex);
            --m_pending;
        }
        m_cv.notify_all();
        if (job->report)
            job->report(failed ? &error : nullptr, failed ? -1 : rows);
    }
}

void ConnectionState::cancel(unsigned short cursor)
{
    std::lock_guard<std::mutex> g(m_mutex);
    for (auto& job : m_jobs)
        if (job->cursor == cursor)
            job->cancelled = true;
    if (m_running == cursor && cursor != 0 && db) {
        m_interrupt = true;
        sqlite3_interrupt(db);
    }
}

void ConnectionState::interrupt(unsigned short cursor)
{
    std::lock_guard<std::mutex> g(m_mutex);
    if (db && m_running != 0 && (cursor == 0 || m_running == cursor)) {
        m_interrupt = true;
        sqlite3_interrupt(db);
    }
}

void ConnectionState::setRunning(unsigned short cursor)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_running = cursor;
    m_interrupt = false;
}

bool ConnectionState::interruptRequested() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_interrupt;
}

void ConnectionState::addChild(unsigned short handle)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_children.push_back(handle);
}

void ConnectionState::removeChild(unsigned short handle)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_children.erase(std::remove(m_children.begin(), m_children.end(), handle), m_children.end());
}

std::vector<unsigned short> ConnectionState::children() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_children;
}

RunningCall::RunningCall(ConnectionState& c, unsigned short cursor) : m_c(c)
{
    m_c.setRunning(cursor);
}

RunningCall::~RunningCall()
{
    m_c.setRunning(0);
}

// ---- errors ----

void linePosition(const std::string& text, int offset, int& line, int& pos)
{
    line = 1;
    int start = 0;
    const int end = std::min(offset, int(text.size()));
    for (int i = 0; i < end; ++i)
        if (text[std::size_t(i)] == '\n') {
            ++line;
            start = i + 1;
        }
    pos = end - start + 1;
}

OrvX serverError(sqlite3* db, int rc, const std::string& query, const DialectText* dialect)
{
    const int ext = db ? sqlite3_extended_errcode(db) : rc;
    const char* text = db && ext != SQLITE_OK ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    OrvX x(db ? VLong(sqlite3_system_errno(db)) : 0, short(ext != SQLITE_OK ? ext : rc), orvapiServer,
           orvErrorServer, query.empty() ? nullptr : query.c_str(), text);
    if (db && !query.empty()) {
        int offset = sqlite3_error_offset(db);
        if (offset >= 0) {
            if (dialect)
                offset = dialect->sourceOffset(offset);
            offset = std::max(0, std::min(offset, int(query.size())));
            int line, pos;
            linePosition(query, offset, line, pos);
            x.setSyntaxError(line, pos);
        }
    }
    if ((ext & 0xFF) == SQLITE_INTERRUPT)
        x = OrvX(0, short(ext), orvapiInterrupted, orvErrorClient, query.empty() ? nullptr : query.c_str(),
                 "the call was interrupted");
    return x;
}

} // namespace detail
} // namespace OrvCPP

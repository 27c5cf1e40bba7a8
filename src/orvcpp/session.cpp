// The channel table, the parts of a connection (its database, lock, worker, children,
// statement cache, scratch store) and how they work together, and the server's errors as OrvX.
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

ChannelTable::ChannelTable() : m_slots(new Slot[65536]), m_next(1), m_count(0) {}

ChannelTable& ChannelTable::instance()
{
    // Never destroyed: channels left open at exit must not be closed by a static destructor
    // that runs after the threads or the library they need have gone.
    static ChannelTable* table = new ChannelTable;
    return *table;
}

void ChannelTable::Slot::lock() const
{
    // Held for a pointer copy: a waiter spins briefly, then lets the holder run.
    for (int spins = 0; busy.test_and_set(std::memory_order_acquire); ++spins)
        if (spins >= 64)
            std::this_thread::yield();
}

unsigned short ChannelTable::add(const std::shared_ptr<ChannelState>& state)
{
    std::lock_guard<std::mutex> g(m_mutex);
    for (unsigned tries = 0; tries < 65535; ++tries) {
        unsigned h = m_next;
        m_next = m_next >= 65535 ? 1 : m_next + 1;
        Slot& slot = m_slots[h];
        slot.lock();
        const bool free = !slot.state;
        if (free) {
            state->handle = static_cast<unsigned short>(h);
            slot.state = state;
        }
        slot.unlock();
        if (free) {
            m_count.fetch_add(1, std::memory_order_relaxed);
            return static_cast<unsigned short>(h);
        }
    }
    throw OrvX::client(orvapiHandlesExhausted, "all 65535 channel handles are in use");
}

void ChannelTable::remove(unsigned short handle)
{
    if (!handle)
        return;
    std::shared_ptr<ChannelState> gone; // destroyed outside the table's locks
    std::lock_guard<std::mutex> g(m_mutex);
    Slot& slot = m_slots[handle];
    slot.lock();
    gone.swap(slot.state);
    slot.unlock();
    if (gone)
        m_count.fetch_sub(1, std::memory_order_relaxed);
}

std::shared_ptr<ChannelState> ChannelTable::find(unsigned short handle) const
{
    if (!handle)
        return nullptr;
    const Slot& slot = m_slots[handle];
    slot.lock();
    std::shared_ptr<ChannelState> s = slot.state;
    slot.unlock();
    return s;
}

int ChannelTable::checkInvariants() const
{
    int filled = 0;
    for (unsigned h = 0; h < 65536; ++h) {
        std::shared_ptr<ChannelState> s = find(static_cast<unsigned short>(h));
        if (h == 0 && m_slots[0].state)
            return 1;
        if (s && s->handle != h)
            return 1;
        filled += s ? 1 : 0;
    }
    if (m_next < 1 || m_next > 65535)
        return 2;
    return filled == openCount() ? 0 : 3;
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

// ---- Database ----

void Database::open(const std::string& userName, const std::string& nodeName, VLong m, bool ro,
                    const std::string& options)
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

void Database::close() noexcept
{
    if (db)
        sqlite3_close_v2(db); // rolls back an open transaction
    db = nullptr;
}

// ---- CallLock ----

void CallLock::acquire(std::unique_lock<std::mutex>& g, bool mayPassQueue, const std::atomic<int>& pending)
{
    const std::thread::id self = std::this_thread::get_id();
    if (m_owner == self) {
        ++m_depth;
        return;
    }
    auto free = [&] { return m_depth == 0 && (mayPassQueue || pending.load() == 0); };
    if (!free()) {
        ++m_waiters;
        m_cv.wait(g, free);
        --m_waiters;
    }
    m_owner = self;
    m_depth = 1;
}

bool CallLock::release()
{
    if (--m_depth > 0)
        return false;
    m_owner = std::thread::id();
    return m_waiters > 0;
}

void CallLock::lock(bool mayPassQueue, const std::atomic<int>& pending)
{
    std::unique_lock<std::mutex> g(m_mutex);
    acquire(g, mayPassQueue, pending);
}

void CallLock::unlock()
{
    bool wake;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        wake = release();
    }
    if (wake)
        m_cv.notify_all();
}

void CallLock::lockRunning(bool mayPassQueue, const std::atomic<int>& pending, unsigned short cursor)
{
    std::unique_lock<std::mutex> g(m_mutex);
    acquire(g, mayPassQueue, pending);
    m_running = cursor;
    m_interrupt.store(false, std::memory_order_relaxed);
}

void CallLock::unlockRunning()
{
    bool wake;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_running = 0;
        wake = release();
    }
    if (wake)
        m_cv.notify_all();
}

std::thread::id CallLock::owner() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_owner;
}

int CallLock::depth() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_depth;
}

void CallLock::wake()
{
    // Taking the mutex orders the fall of the count before a waiter's look at it.
    bool waiters;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        waiters = m_waiters > 0;
    }
    if (waiters)
        m_cv.notify_all();
}

void CallLock::setRunning(unsigned short cursor)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_running = cursor;
    m_interrupt.store(false, std::memory_order_relaxed);
}

unsigned short CallLock::running() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_running;
}

void CallLock::interrupt(sqlite3* db, unsigned short cursor, bool any)
{
    std::lock_guard<std::mutex> g(m_mutex);
    if (db && (any || (m_running != 0 && (cursor == 0 || m_running == cursor)))) {
        m_interrupt.store(true, std::memory_order_relaxed);
        sqlite3_interrupt(db);
    }
}

int CallLock::checkInvariants() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    if ((m_depth > 0) != (m_owner != std::thread::id()) || m_depth < 0)
        return 1;
    if (m_running != 0 && m_depth == 0)
        return 2;
    return 0;
}

// ---- WorkQueue ----

bool WorkQueue::push(Job job, const std::function<std::thread()>& start)
{
    std::lock_guard<std::mutex> g(m_mutex);
    if (m_closing)
        return false;
    m_jobs.push_back(std::make_shared<Job>(std::move(job)));
    ++m_pending;
    if (!m_thread.joinable()) {
        m_thread = start();
        m_workerId.store(m_thread.get_id(), std::memory_order_release);
    }
    m_cv.notify_one();
    return true;
}

std::shared_ptr<Job> WorkQueue::next()
{
    std::unique_lock<std::mutex> g(m_mutex);
    m_cv.wait(g, [&] { return m_stop || !m_jobs.empty(); });
    if (m_jobs.empty())
        return nullptr;
    std::shared_ptr<Job> job = m_jobs.front();
    m_jobs.pop_front();
    ++m_taken;
    return job;
}

void WorkQueue::begin(const std::shared_ptr<Job>& job)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_runningJob = job;
    if (job && m_closing)
        job->cancelled = true;
}

void WorkQueue::end()
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_runningJob.reset();
    --m_taken;
    --m_pending;
}

void WorkQueue::cancel(unsigned short cursor)
{
    std::lock_guard<std::mutex> g(m_mutex);
    for (auto& job : m_jobs)
        if (job->cursor == cursor)
            job->cancelled = true;
}

bool WorkQueue::beginClose()
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_closing = true;
    for (auto& job : m_jobs)
        job->cancelled = true;
    return m_runningJob != nullptr;
}

std::thread WorkQueue::stop()
{
    std::thread t;
    {
        std::lock_guard<std::mutex> g(m_mutex);
        m_stop = true;
        t.swap(m_thread);
    }
    m_cv.notify_all();
    return t;
}

bool WorkQueue::hasThread() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_thread.joinable();
}

int WorkQueue::checkInvariants() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    if (m_pending.load() != int(m_jobs.size()) + m_taken || m_taken < 0 || m_taken > 1)
        return 1;
    if (m_closing)
        for (const auto& job : m_jobs)
            if (!job->cancelled)
                return 2;
    if (m_thread.joinable() != (workerId() != std::thread::id()) && !m_stop)
        return 3;
    return 0;
}

// ---- ChildRegistry ----

void ChildRegistry::add(unsigned short handle)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_handles.push_back(handle);
}

void ChildRegistry::remove(unsigned short handle)
{
    std::lock_guard<std::mutex> g(m_mutex);
    m_handles.erase(std::remove(m_handles.begin(), m_handles.end(), handle), m_handles.end());
}

std::vector<unsigned short> ChildRegistry::list() const
{
    std::lock_guard<std::mutex> g(m_mutex);
    return m_handles;
}

std::vector<unsigned short> ChildRegistry::take()
{
    std::vector<unsigned short> out;
    std::lock_guard<std::mutex> g(m_mutex);
    out.swap(m_handles);
    return out;
}

// ---- StatementCache ----

sqlite3_stmt* StatementCache::get(sqlite3* db, const std::string& sql, const std::string& query)
{
    auto it = m_index.find(sql);
    if (it != m_index.end()) {
        m_list.splice(m_list.begin(), m_list, it->second);
        return it->second->second;
    }
    sqlite3_stmt* st = nullptr;
    int rc = sqlite3_prepare_v3(db, sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT, &st, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(st);
        throw serverError(db, rc, query, nullptr);
    }
    if (m_list.size() >= kCapacity) {
        sqlite3_finalize(m_list.back().second);
        ++m_generation;
        m_index.erase(m_list.back().first);
        m_list.pop_back();
    }
    m_list.emplace_front(sql, st);
    m_index[sql] = m_list.begin();
    return st;
}

void StatementCache::clear() noexcept
{
    for (auto& entry : m_list)
        sqlite3_finalize(entry.second);
    if (!m_list.empty())
        ++m_generation;
    m_list.clear();
    m_index.clear();
}

int StatementCache::checkInvariants() const
{
    if (m_index.size() != m_list.size() || m_list.size() > kCapacity)
        return 1;
    for (auto it = m_list.begin(); it != m_list.end(); ++it) {
        auto found = m_index.find(it->first);
        if (found == m_index.end() || found->second != it)
            return 1;
    }
    return 0;
}

// ---- ScratchStore ----

sqlite3* ScratchStore::db()
{
    if (!m_db) {
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
        m_db = s;
    }
    return m_db;
}

std::string ScratchStore::nextName()
{
    return "r" + std::to_string(++m_serial);
}

void ScratchStore::close() noexcept
{
    if (m_db)
        sqlite3_close_v2(m_db);
    m_db = nullptr;
}

// ---- ConnectionState ----

ConnectionState::ConnectionState() : ChannelState(Connection) {}

ConnectionState::~ConnectionState()
{
    close();
}

void ConnectionState::open(const std::string& user, const std::string& node, VLong mode, bool readOnly,
                           const std::string& options)
{
    m_database.open(user, node, mode, readOnly, options);
}

void ConnectionState::close() noexcept
{
    if (!m_database.db && !m_queue.hasThread())
        return;
    if (m_queue.beginClose())
        m_lock.interrupt(m_database.db, 0, true);
    {
        ConnectionLock l(*this);
        for (unsigned short h : m_children.take()) {
            if (auto child = ChannelTable::instance().find(h))
                child->release();
            ChannelTable::instance().remove(h);
        }
        m_cache.clear();
        m_scratch.close();
        m_database.close();
    }
    std::thread worker = m_queue.stop();
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
    // A Handler runs on the worker, which must not wait for the jobs queued behind it.
    m_lock.lock(asWorker || std::this_thread::get_id() == m_queue.workerId(), m_queue.pending());
}

void ConnectionState::lockRunning(unsigned short cursor)
{
    m_lock.lockRunning(std::this_thread::get_id() == m_queue.workerId(), m_queue.pending(), cursor);
}

void ConnectionState::submit(Job job)
{
    if (!m_database.db)
        throw OrvX::client(orvapiNotOpen, "the connection is closing");
    // The worker keeps the state alive for as long as it runs.
    const bool queued = m_queue.push(std::move(job), [this] {
        std::shared_ptr<ConnectionState> self = shared_from_this();
        return std::thread([self] { self->workerLoop(); });
    });
    if (!queued)
        throw OrvX::client(orvapiNotOpen, "the connection is closing");
}

void ConnectionState::workerLoop()
{
    while (std::shared_ptr<Job> job = m_queue.next()) {
        OrvX error;
        bool failed = false;
        VLong rows = 0;
        lock(true);
        m_queue.begin(job);
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
        m_queue.begin(nullptr);
        unlock();
        m_queue.end();
        m_lock.wake();
        if (job->report)
            job->report(failed ? &error : nullptr, failed ? -1 : rows);
    }
}

void ConnectionState::cancel(unsigned short cursor)
{
    m_queue.cancel(cursor);
    if (cursor != 0)
        m_lock.interrupt(m_database.db, cursor);
}

unsigned short ConnectionState::addChild(const std::shared_ptr<ChildState>& child)
{
    child->connection = shared_from_this();
    const unsigned short h = ChannelTable::instance().add(child);
    m_children.add(h);
    return h;
}

int ConnectionState::checkInvariants() const
{
    if (!m_database.db && m_cache.size() != 0)
        return 5;
    if (m_lock.checkInvariants())
        return 2;
    if (m_queue.checkInvariants())
        return 3;
    if (m_cache.checkInvariants())
        return 5;
    return 0;
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

std::uint64_t ConnectionState::dataStamp() const
{
    // Both parts only rise, so their sum moves whenever either does.
    return m_writes + std::uint64_t(sqlite3_total_changes64(m_database.db));
}

} // namespace detail
} // namespace OrvCPP

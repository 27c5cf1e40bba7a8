// The layer's process-wide table of channels (connections, statements, cursors) by 16-bit
// handle, and the state of an open connection: its SQLite handles, the lock that serialises
// its calls, and the worker thread that runs its asynchronous calls.
#pragma once

#include <vexapi/orvcpp/orvx.h>

#include <vexapi/core/types.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <list>
#include <unordered_map>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace OrvCPP {
namespace detail {

struct DialectText;

// One entry of the channel table.
struct ChannelState {
    enum Kind { Connection, Statement, Cursor };
    explicit ChannelState(Kind k) : kind(k) {}
    virtual ~ChannelState();
    // Drops the channel's SQLite statements; its connection is closing.
    virtual void release() noexcept {}
    const Kind kind;
    unsigned short handle = 0;
};

class ConnectionState;

// The table of open channels, shared by the whole process.
//
// Invariants:
//  1. Handle 0 is never given out; a handle names one channel from `add` until `remove`.
//  2. Handles are given out round the table (the next free number after the last one
//     given), so that a closed channel's number is not reused before all others were: an
//     object holding a stale number meets "closed", not a stranger, for as long as possible.
// Thread-safe.
class ChannelTable {
public:
    static ChannelTable& instance();
    // The new channel's handle; OrvX orvapiHandlesExhausted when all are in use.
    unsigned short add(const std::shared_ptr<ChannelState>& state);
    void remove(unsigned short handle);
    std::shared_ptr<ChannelState> find(unsigned short handle) const;
    template <class T>
    std::shared_ptr<T> find(unsigned short handle, ChannelState::Kind kind) const
    {
        std::shared_ptr<ChannelState> s = find(handle);
        return s && s->kind == kind ? std::static_pointer_cast<T>(s) : nullptr;
    }
    int openCount() const;

private:
    ChannelTable();
    mutable std::mutex m_mutex;
    std::vector<std::shared_ptr<ChannelState>> m_slots;
    unsigned m_next;
    int m_count;
};

// An open connection.
//
// Threading design: SQLite lets one connection be used from several threads only one call
// at a time, and a connection's statements belong to it. So every call of the layer that
// touches a connection (through any of its statements and cursors) holds the connection's
// lock (`ConnectionLock`) for its whole run; calls from different threads take turns.
// Asynchronous calls (a cursor call with a Handler) are queued to the connection's one
// worker thread, started on the first such call, and run there in order, each holding the
// lock. A synchronous call waits until the queue is empty before it takes the lock, so the
// calls of a connection run in the order they were made. The lock is re-entrant on one
// thread, so that a registered procedure may run statements on its caller's connection.
// Handlers are told after the lock is released, so a Handler may call the layer.
//
// Invariants:
//  1. `db` is open from `open` until `close`; `scratch` (the private store for copied
//     results) is open from its first use until `close`.
//  2. owner() is the thread that holds the lock, or no thread; depth() > 0 exactly when
//     some thread holds it.
//  3. pending() counts the asynchronous calls queued or running; a thread other than the
//     worker takes the lock only while pending() is 0.
//  4. After `close` begins no call is queued; queued ones end with orvapiInterrupted.
class ConnectionState : public ChannelState, public std::enable_shared_from_this<ConnectionState> {
public:
    ConnectionState();
    ~ConnectionState() override;

    // Opens the database; OrvX on failure (the state stays closed).
    void open(const std::string& user, const std::string& node, VLong mode, bool readOnly,
              const std::string& options);
    // Interrupts and cancels what runs or waits, closes every child channel and the
    // database. Never throws.
    void close() noexcept;
    bool isOpen() const { return db != nullptr; }

    // The private store for copied results, opened on first use.
    sqlite3* scratchDb();

    // The lock (see the class comment). `asWorker` is the worker's own taking, which
    // doesn't wait for the queue.
    void lock(bool asWorker = false);
    void unlock();
    std::thread::id owner() const;

    // Queues `job` for the worker. The job runs with the lock held and returns the rows to
    // tell; an OrvX it throws is its failure. `report` is then called without the lock,
    // with the code and rows. OrvX orvapiNotOpen once closing.
    struct Job {
        unsigned short cursor = 0; // the cursor the job belongs to, for interrupt and close
        std::function<VLong()> body;
        std::function<void(const OrvX* error, VLong rows)> report;
        bool cancelled = false;
    };
    void submit(Job job);
    // Cancels the queued jobs of `cursor` and interrupts its running call, if any.
    void cancel(unsigned short cursor);
    // Interrupts the running call of `cursor` (0: any), from any thread.
    void interrupt(unsigned short cursor);
    int pending() const;

    // The cursor whose call runs now (for interrupt), set by `RunningCall`.
    void setRunning(unsigned short cursor);
    // Whether an interrupt was asked for the running call; long loops test it between steps
    // (SQLite forgets an interrupt that comes between two of its statements).
    bool interruptRequested() const;

    // Children, for closing them with the connection.
    void addChild(unsigned short handle);
    void removeChild(unsigned short handle);
    std::vector<unsigned short> children() const;

    // A number that rises with every positioning of a cursor of this connection.
    std::uint64_t nextPositionSerial() { return ++m_positionSerial; }
    // The layer's own statements (a cursor's derived selects), prepared once per text and
    // kept in a small cache of the connection, least recently used out. The pointer is the
    // cache's: use it, reset it, and ask again next time. OrvX naming `query` on failure.
    // The lock is held.
    sqlite3_stmt* cachedStatement(const std::string& sql, const std::string& query);

    // A fresh name for a table in the scratch store.
    std::string nextScratchName();

    sqlite3* db = nullptr;
    std::string user;
    std::string node;
    VLong initialMode = 0;
    VLong mode = 0;
    bool readOnly = false;

private:
    void workerLoop();

    mutable std::mutex m_mutex;
    std::condition_variable m_cv;    // the lock changed hands, or pending fell
    std::condition_variable m_jobCv; // a job was queued, or the worker must stop
    std::thread::id m_owner;
    int m_depth = 0;
    int m_pending = 0;
    std::deque<std::shared_ptr<Job>> m_jobs;
    std::shared_ptr<Job> m_runningJob;
    std::thread m_worker;
    std::thread::id m_workerId;
    bool m_stop = false;
    bool m_closing = false;
    unsigned short m_running = 0;
    bool m_interrupt = false;
    std::vector<unsigned short> m_children;
    sqlite3* m_scratch = nullptr;
    std::uint64_t m_positionSerial = 0;
    std::list<std::pair<std::string, sqlite3_stmt*>> m_cache; // most recently used first
    std::unordered_map<std::string, std::list<std::pair<std::string, sqlite3_stmt*>>::iterator> m_cacheIndex;
    unsigned m_scratchSerial = 0;
};

// Holds a connection's lock for a scope.
class ConnectionLock {
public:
    explicit ConnectionLock(ConnectionState& c) : m_c(c) { m_c.lock(); }
    ~ConnectionLock() { m_c.unlock(); }
    ConnectionLock(const ConnectionLock&) = delete;
    ConnectionLock& operator=(const ConnectionLock&) = delete;

private:
    ConnectionState& m_c;
};

// Marks the cursor whose call runs, for a scope (the connection's lock held).
class RunningCall {
public:
    RunningCall(ConnectionState& c, unsigned short cursor);
    ~RunningCall();

private:
    ConnectionState& m_c;
};

// The connection behind a handle; OrvX orvapiBadHandle when it names no open connection.
std::shared_ptr<ConnectionState> openConnection(unsigned short handle);

// The server's failure of the last call on `db`, with the statement the caller gave and,
// when SQLite reports where a syntax error is, its line and position in that statement
// (mapped through `dialect` when the layer rewrote it).
OrvX serverError(sqlite3* db, int rc, const std::string& query, const DialectText* dialect);

// Line and position (from 1) of byte `offset` of `text`.
void linePosition(const std::string& text, int offset, int& line, int& pos);

} // namespace detail
} // namespace OrvCPP

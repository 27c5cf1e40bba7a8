// The layer's process-wide table of channels (connections, statements, cursors) by 16-bit
// handle, and an open connection as the parts it is made of: its database handle, call lock,
// worker, child channels, statement cache, scratch store and position serial.
#pragma once

#include <vexapi/orvcpp/orvx.h>

#include <vexapi/core/types.h>

#include <atomic>
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
class ConnectionState;

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

// A channel that lives on a connection (a statement or a cursor). It keeps its connection
// alive; the connection closes it when it closes itself.
struct ChildState : ChannelState {
    explicit ChildState(Kind k) : ChannelState(k) {}
    std::shared_ptr<ConnectionState> connection;
};

// The table of open channels, shared by the whole process.
//
// Invariants:
//  1. Handle 0 is never given out; a handle names one channel from `add` until `remove`.
//  2. Handles are given out round the table (the next free number after the last one
//     given), so that a closed channel's number is not reused before all others were: an
//     object holding a stale number meets "closed", not a stranger, for as long as possible.
//  3. openCount() is the number of filled slots.
// Thread-safe. `find`, which every call of the layer makes, takes no lock of the table: each
// slot has a spin lock of its own, held only to copy its pointer, so threads working on
// different channels never meet. `add` and `remove` also take the table's mutex, which keeps
// the round order.
class ChannelTable {
public:
    static ChannelTable& instance();
    // The new channel's handle; OrvX orvapiHandlesExhausted when all are in use.
    unsigned short add(const std::shared_ptr<ChannelState>& state);
    void remove(unsigned short handle);
    std::shared_ptr<ChannelState> find(unsigned short handle) const;
    // The same, cast to T when it is of `kind`. The cast is taken inside the slot's lock, so
    // that the pointer is copied once: every call of a read loop looks its channel up.
    template <class T>
    std::shared_ptr<T> find(unsigned short handle, ChannelState::Kind kind) const
    {
        if (!handle)
            return nullptr;
        const Slot& slot = m_slots[handle];
        slot.lock();
        std::shared_ptr<T> s =
            slot.state && slot.state->kind == kind ? std::static_pointer_cast<T>(slot.state) : nullptr;
        slot.unlock();
        return s;
    }
    int openCount() const { return m_count.load(std::memory_order_relaxed); }
    // 0 when the invariants hold, else the number of the first broken one. Walks the table.
    int checkInvariants() const;

private:
    struct Slot {
        mutable std::atomic_flag busy = ATOMIC_FLAG_INIT;
        std::shared_ptr<ChannelState> state;
        void lock() const;
        void unlock() const { busy.clear(std::memory_order_release); }
    };

    ChannelTable();
    std::mutex m_mutex; // add and remove
    std::unique_ptr<Slot[]> m_slots;
    unsigned m_next;
    std::atomic<int> m_count;
};

// ---- The parts of an open connection ----

// The SQLite handle of the database and what it was opened with.
//
// Invariants:
//  1. `db` is open from `open` until `close`; `user` and `node` are those of the last open.
// Owned by its connection; `db` is used with the connection's lock held.
struct Database {
    // Opens the database; OrvX on failure (the handle stays closed).
    void open(const std::string& user, const std::string& node, VLong mode, bool readOnly,
              const std::string& options);
    // Closes the handle (rolling back an open transaction). The lock is held.
    void close() noexcept;

    sqlite3* db = nullptr;
    std::string user;
    std::string node;
    VLong initialMode = 0;
    VLong mode = 0;
    bool readOnly = false;
};

// The connection's re-entrant lock, and the cursor whose call runs under it (for interrupt).
//
// Invariants:
//  1. owner() is the thread that holds the lock, or no thread; depth() > 0 exactly when
//     some thread holds it.
//  2. running() is not 0 only while some thread holds the lock.
// Thread-safe. The waiting side looks at the worker's count of pending calls (see
// ConnectionState), which the worker lowers before it calls `wake`.
class CallLock {
public:
    // Takes the lock; a thread that holds it already takes it again. Unless `mayPassQueue`,
    // waits until `pending` is 0 too.
    void lock(bool mayPassQueue, const std::atomic<int>& pending);
    void unlock();
    // lock and setRunning(cursor), and setRunning(0) and unlock, each in one step: a call of
    // the layer takes the mutex twice instead of four times.
    void lockRunning(bool mayPassQueue, const std::atomic<int>& pending, unsigned short cursor);
    void unlockRunning();
    std::thread::id owner() const;
    int depth() const;
    // Wakes the threads waiting in `lock`: the count of pending calls fell.
    void wake();

    // The cursor whose call runs now; setting it forgets an earlier interrupt.
    void setRunning(unsigned short cursor);
    unsigned short running() const;
    // Interrupts the call of `cursor` (0: any) when one runs on `db`. `any` interrupts
    // whatever runs, for closing.
    void interrupt(sqlite3* db, unsigned short cursor, bool any = false);
    // Whether an interrupt was asked for the running call; long loops test it between steps
    // (SQLite forgets an interrupt that comes between two of its statements).
    bool interruptRequested() const { return m_interrupt.load(std::memory_order_relaxed); }

    // 0 when the invariants hold, else the number of the first broken one.
    int checkInvariants() const;

private:
    mutable std::mutex m_mutex;
    // Takes the lock with m_mutex held in `g`.
    void acquire(std::unique_lock<std::mutex>& g, bool mayPassQueue, const std::atomic<int>& pending);
    // Gives one level of the lock back with m_mutex held; true when waiters must be woken.
    bool release();

    std::condition_variable m_cv; // the lock changed hands, or pending fell
    std::thread::id m_owner;
    int m_depth = 0;
    int m_waiters = 0; // threads waiting in lock: nobody to wake when 0
    unsigned short m_running = 0;
    std::atomic<bool> m_interrupt{false};
};

// A call queued for the worker.
struct Job {
    unsigned short cursor = 0; // the cursor the job belongs to, for interrupt and close
    std::function<VLong()> body;
    std::function<void(const OrvX* error, VLong rows)> report;
    bool cancelled = false;
};

// The worker's queue of asynchronous calls and the thread that runs them.
//
// Invariants:
//  1. pending() counts the jobs queued or taken by `next` and not yet ended (at most one).
//  2. After `beginClose` no job is queued; those queued then are cancelled.
//  3. The thread exists from the first `push` until `stop`; workerId() is its id meanwhile.
// Thread-safe. The loop that runs the jobs is the connection's (it needs the lock).
class WorkQueue {
public:
    // Queues `job`; false (nothing queued) once closing. `start` runs when the thread must be
    // made, with the queue's mutex held; it returns the thread.
    bool push(Job job, const std::function<std::thread()>& start);
    // The next job, waiting for one; null when the queue stops.
    std::shared_ptr<Job> next();
    // Marks `job` as running (null: none runs now); it is cancelled if closing began.
    void begin(const std::shared_ptr<Job>& job);
    // The job taken by `next` ended: pending() falls.
    void end();
    // Cancels the queued jobs of `cursor`.
    void cancel(unsigned short cursor);
    // Cancels every queued job and refuses new ones; true when a job runs now.
    bool beginClose();
    // Stops the loop once the queue is empty; the thread, for its owner to join.
    std::thread stop();
    bool hasThread() const;
    std::thread::id workerId() const { return m_workerId.load(std::memory_order_acquire); }
    const std::atomic<int>& pending() const { return m_pending; }

    // 0 when the invariants hold, else the number of the first broken one.
    int checkInvariants() const;

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_cv; // a job was queued, or the loop must stop
    std::deque<std::shared_ptr<Job>> m_jobs;
    std::shared_ptr<Job> m_runningJob; // the job that runs now, for close to interrupt
    int m_taken = 0;
    std::atomic<int> m_pending{0};
    std::thread m_thread;
    std::atomic<std::thread::id> m_workerId{std::thread::id()};
    bool m_stop = false;
    bool m_closing = false;
};

// The handles of the connection's statements and cursors, for closing them with it.
// Thread-safe.
class ChildRegistry {
public:
    void add(unsigned short handle);
    void remove(unsigned short handle);
    std::vector<unsigned short> list() const;
    // Empties the registry and returns what it held.
    std::vector<unsigned short> take();

private:
    mutable std::mutex m_mutex;
    std::vector<unsigned short> m_handles;
};

// The layer's own statements (a cursor's derived selects), prepared once per text, least
// recently used out.
//
// Invariants:
//  1. The index names every entry of the list once, by its text; size() <= kCapacity.
//  2. generation() rises whenever a statement is finalized: a pointer obtained at one
//     generation stays valid while the generation is the same.
// Used with the connection's lock held.
class StatementCache {
public:
    enum { kCapacity = 64 };
    ~StatementCache() { clear(); }
    // The statement for `sql` on `db`, prepared on first use. The pointer is the cache's: use
    // it, reset it, and ask again next time. OrvX naming `query` on failure.
    sqlite3_stmt* get(sqlite3* db, const std::string& sql, const std::string& query);
    void clear() noexcept;
    std::uint64_t generation() const { return m_generation; }
    std::size_t size() const { return m_list.size(); }

    // 0 when the invariants hold, else the number of the first broken one.
    int checkInvariants() const;

private:
    typedef std::list<std::pair<std::string, sqlite3_stmt*>> List; // most recently used first
    List m_list;
    std::unordered_map<std::string, List::iterator> m_index;
    std::uint64_t m_generation = 0;
};

// The private store for copied results: a temporary database of the connection's own,
// opened on first use, and the names of its tables.
// Used with the connection's lock held.
class ScratchStore {
public:
    ~ScratchStore() { close(); }
    // The store, opened on first use; OrvX on failure.
    sqlite3* db();
    // A fresh name for a table in the store.
    std::string nextName();
    void close() noexcept;

private:
    sqlite3* m_db = nullptr;
    unsigned m_serial = 0;
};

// A number that rises with every positioning of a cursor of the connection: the most
// recently positioned cursor of a name is the one with the highest number.
// Used with the connection's lock held.
class PositionSerial {
public:
    std::uint64_t next() { return ++m_value; }

private:
    std::uint64_t m_value = 0;
};

// An open connection: the parts above, and the rules by which they work together.
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
// States and events (a job is one asynchronous call):
//
//   state      event                  function                     next state
//   ---------  ---------------------  ---------------------------  -----------------
//   CLOSED     open succeeds          open                         OPEN
//   CLOSED     open fails             open (throws)                CLOSED
//   OPEN       synchronous call       lock ... unlock              OPEN
//   OPEN       call with a Handler    submit (starts the worker)   WORKING
//   WORKING    call with a Handler    submit                       WORKING
//   WORKING    synchronous call       lock waits for pending == 0  WORKING, then OPEN
//   WORKING    job ends, queue empty  workerLoop: end, wake        OPEN (worker idle)
//   WORKING    cancel / interrupt     cancel, interrupt            WORKING
//   OPEN       close                  close                        CLOSED
//   WORKING    close                  close: beginClose cancels    CLOSED (jobs end with
//                                     the queue, interrupts the    orvapiInterrupted; the
//                                     running job, joins worker    worker is joined)
//   any        close from a Handler   close: worker detached       CLOSED
//
// Invariants:
//  1. database.db is open from `open` until `close`; the scratch store is open from its
//     first use until `close`.
//  2. The lock's invariants (CallLock) hold.
//  3. The queue's invariants (WorkQueue) hold; a thread other than the worker takes the lock
//     only while pending() is 0.
//  4. After `close` begins no call is queued; queued ones end with orvapiInterrupted.
//  5. The statement cache's invariants (StatementCache) hold; it is empty when closed.
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
    bool isOpen() const { return m_database.db != nullptr; }
    sqlite3* db() const { return m_database.db; }
    Database& database() { return m_database; }
    const Database& database() const { return m_database; }

    // The private store for copied results, opened on first use.
    sqlite3* scratchDb() { return m_scratch.db(); }
    // A fresh name for a table in the scratch store.
    std::string nextScratchName() { return m_scratch.nextName(); }

    // The lock (see the class comment). `asWorker` is the worker's own taking, which
    // doesn't wait for the queue.
    void lock(bool asWorker = false);
    void unlock() { m_lock.unlock(); }
    // lock and setRunning(cursor) in one step, and the reverse (see CallScope).
    void lockRunning(unsigned short cursor);
    void unlockRunning() { m_lock.unlockRunning(); }
    std::thread::id owner() const { return m_lock.owner(); }

    // Queues `job` for the worker. The job runs with the lock held and returns the rows to
    // tell; an OrvX it throws is its failure. `report` is then called without the lock,
    // with the code and rows. OrvX orvapiNotOpen once closing.
    typedef detail::Job Job;
    void submit(Job job);
    // Cancels the queued jobs of `cursor` and interrupts its running call, if any.
    void cancel(unsigned short cursor);
    // Interrupts the running call of `cursor` (0: any), from any thread.
    void interrupt(unsigned short cursor) { m_lock.interrupt(m_database.db, cursor); }
    int pending() const { return m_queue.pending().load(); }

    // The cursor whose call runs now (for interrupt), set by `RunningCall`.
    void setRunning(unsigned short cursor) { m_lock.setRunning(cursor); }
    bool interruptRequested() const { return m_lock.interruptRequested(); }

    // Registers a new statement or cursor of this connection: gives it a handle in the
    // channel table and closes it with the connection. The lock is held.
    unsigned short addChild(const std::shared_ptr<ChildState>& child);
    void removeChild(unsigned short handle) { m_children.remove(handle); }
    std::vector<unsigned short> children() const { return m_children.list(); }

    std::uint64_t nextPositionSerial() { return m_positionSerial.next(); }
    // Tells the connection's cursors that the layer ran something that may change data
    // (a write, a commit or rollback, a procedure): their fetched rows are read again.
    // The lock is held.
    void noteWrite() { ++m_writes; }
    // A number that moves whenever data may have changed through this connection: the
    // layer's writes and SQLite's own change count (which also sees writes a procedure
    // made on the handle). The lock is held.
    std::uint64_t dataStamp() const;
    // A statement of the layer's own from the connection's cache (see StatementCache::get).
    // The lock is held.
    sqlite3_stmt* cachedStatement(const std::string& sql, const std::string& query)
    {
        return m_cache.get(m_database.db, sql, query);
    }
    const StatementCache& statementCache() const { return m_cache; }

    // 0 when the invariants hold, else the number of the first broken one. The lock is held.
    int checkInvariants() const;

private:
    void workerLoop();

    Database m_database;
    CallLock m_lock;
    WorkQueue m_queue;
    ChildRegistry m_children;
    StatementCache m_cache;
    ScratchStore m_scratch;
    PositionSerial m_positionSerial;
    std::uint64_t m_writes = 0;
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

// Holds a connection's lock and marks the cursor whose call runs, for the scope of a
// synchronous call (a ConnectionLock and a RunningCall, taken in one step).
class CallScope {
public:
    CallScope(ConnectionState& c, unsigned short cursor) : m_c(c) { m_c.lockRunning(cursor); }
    ~CallScope() { m_c.unlockRunning(); }
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

private:
    ConnectionState& m_c;
};

// Marks the cursor whose call runs, for a scope (the connection's lock held).
class RunningCall {
public:
    RunningCall(ConnectionState& c, unsigned short cursor) : m_c(c) { m_c.setRunning(cursor); }
    ~RunningCall() { m_c.setRunning(0); }
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;

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

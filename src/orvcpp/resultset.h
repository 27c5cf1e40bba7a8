// The result of a cursor's select, read by absolute row number without copying its rows
// into client memory: a keyset read live from one table, or a copy in the connection's
// private temporary store.
#pragma once

#include "selectshape.h"
#include "statementstate.h"
#include "valueconv.h"

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace OrvCPP {
namespace detail {

// How a cursor reaches row N of a select.
//
// 1. KeysetResult, for a select that reads one table row by row (SelectShape::single, no
//    LIMIT) in the order of the table's row key (no ORDER BY, or ORDER BY the key, ASC or
//    DESC; without ORDER BY the cursor orders by the key, so row numbers are stable). The
//    rows stay in the table:
//    - execute runs "SELECT count(*) FROM <table> WHERE <condition>": the row count, at the
//      cost of SQLite's own count;
//    - a sparse index of checkpoints (the key of row 1 + i * stride) is built on demand:
//      reaching row N past the indexed part adds checkpoints by "... WHERE key >= k ORDER BY
//      key LIMIT 1 OFFSET stride" steps, which skip rows inside SQLite; a sequential read
//      adds them for free as it passes;
//    - row N is then one indexed seek to the nearest checkpoint and a skip of fewer than
//      `stride` rows ("... LIMIT 1 OFFSET d"), or, near the end, a skip back from the last
//      row; a block of rows is a seek to row N's key and `count` steps forward;
//    - memory: at most kMaxCheckpoints checkpoints of 16 bytes (1 MB); when a result needs
//      more, every second one is dropped and the stride doubles, so the index is bounded
//      whatever the row count and a seek skips at most `stride` rows.
//    Costs: execute = one count; the first reach of row N = N / stride small queries (about
//    the time of scanning N keys); afterwards any row = a seek plus a skip of < stride rows.
//    The table is read live, bounded by the key of the result's last row at execute: rows
//    added since (their keys come after) stay out of the result; a positioned delete through
//    the layer is accounted for (the rows after it move up); rows deleted or given keys
//    inside the range by other statements shift the numbering until the cursor runs the
//    select again. Changed values are seen by the reads made after the change: a cursor
//    reads rows in blocks (rowbuffer.h) and shows each row as of its fetch or its block's
//    read; a write through the same connection drops the rows a cursor read ahead, so the
//    next fetch reads them again, while another connection's write is seen from the next
//    block.
//
// 2. MaterialisedResult, for every other select (joins, grouping, DISTINCT, aggregates,
//    compound selects, LIMIT, an ORDER BY of other columns, PRAGMA), and for any select of a
//    cursor made with `snapshot`: the result is copied, row by row, into a table of the
//    connection's scratch database (a private temporary file, outside the connection's
//    transactions), whose rowid is the row number, as far as it is read. Row N is then one
//    rowid seek. When the select reads one table row by row, the copy keeps each row's key
//    beside it, so that positioned writes work and an updated row's copy is refreshed.
//    - execute runs "SELECT count(*) FROM (<select>)" for the row count and starts the
//      select; no row is copied yet. A statement that can't be a subselect (a PRAGMA) is
//      copied whole at execute instead.
//    - reading row N first copies the rows up to N that are not copied yet, stepping the
//      running select on; rows before stay where they are.
//    Costs: execute = the server's count of the result (for a join or a grouping, the work
//    of running it once without keeping anything); the first read of row N = the select up
//    to N plus one insert per new row; afterwards any copied row = a seek. Memory is bounded
//    by the scratch database's page cache of 2 MB. The count is the result's size: when the
//    select gives fewer rows by the time they are copied (the tables changed in between),
//    the result ends where they end; rows beyond the count are not copied. A rollback on the
//    connection ends the running select: it then runs again and skips the rows copied,
//    which assumes it gives them in the same order (an ORDER BY makes sure of it).
//    While a copy is partial its select stays open, and so the connection holds a read
//    lock on the database files it reads: in a rollback journal, another connection's
//    commit waits for it (busy_timeout) until the copy is complete or the cursor closes.
//    A positioned delete removes the copy's row and notes its number, so the rows after
//    it move up.
//
// A cursor reads rows from either kind through `read`, a block at a time, and keeps them
// in its RowBuffer (rowbuffer.h); the current row is then set with setCurrent, without a
// second read. readCurrent serves what the buffer leaves out (blobs).
//
// Column numbers given to a RowSink: the result's columns at 0 .. columnCount() - 1; a key,
// when the result has one, is not among them.
// A call taking the row a statement stands on and its index, passed down without being
// kept: a reference to the caller's callable, so that reading a row allocates nothing.
class RowSinkRef {
public:
    template <class F, class = typename std::enable_if<!std::is_same<typename std::decay<F>::type, RowSinkRef>::value>::type>
    RowSinkRef(const F& f)
        : m_object(&f), m_call([](const void* o, sqlite3_stmt* row, VLong index) { (*static_cast<const F*>(o))(row, index); })
    {
    }
    void operator()(sqlite3_stmt* row, VLong index) const { m_call(m_object, row, index); }

private:
    const void* m_object;
    void (*m_call)(const void*, sqlite3_stmt*, VLong);
};

class ResultSet {
public:
    typedef RowSinkRef RowSink;

    virtual ~ResultSet();

    virtual VLong rowCount() const = 0;
    // Calls `sink` for rows first .. first + count - 1 that exist (index 0 for the first),
    // and returns how many it read. `blobs` false allows leaving blob columns out (null).
    virtual VLong read(VLong first, VLong count, bool blobs, const RowSink& sink) = 0;
    // Reads the current row; OrvX orvapiNoRow when there is none or it is gone.
    virtual void readCurrent(const RowSink& sink) = 0;
    // The byte size of column `col` (from 0) of the current row.
    virtual VLong valueLength(int col) = 0;
    // Whether a read without blobs gives column `col` as null instead of its value.
    virtual bool leavesOut(int col) const = 0;
    // The key of the row `row` stands on, as `read` passes it (0 for a result without keys).
    virtual std::int64_t rowKey(sqlite3_stmt* row) const = 0;
    // Makes `row`, just read by `read` with key `key`, the current row without reading it
    // again.
    virtual void setCurrent(VLong row, std::int64_t key) = 0;
    // OrvX orvapiNoRow when `row` is outside 1 .. rowCount().
    void checkRow(VLong row) const;

    VLong currentRow() const { return m_currentRow; }
    // Whether rows are rows of one table with a key (positioned writes work).
    bool hasKey() const { return m_hasKey; }
    std::int64_t currentKey() const { return m_currentKey; }
    const std::string& baseSchema() const { return m_schema; }
    const std::string& baseTable() const { return m_table; }

    // The current row was deleted from its table by a positioned delete: it leaves the
    // result, the rows after it move up.
    virtual void currentDeleted() = 0;
    // The current row was updated by a positioned update.
    virtual void currentUpdated() = 0;

    // Checks the invariants of the structure (tests call it after each change): 0 when all
    // hold, else the number of the first broken one in the class comment (and a VEX_ASSERT).
    virtual int checkInvariants() const = 0;

protected:
    VLong m_currentRow = 0;
    std::int64_t m_currentKey = 0;
    bool m_hasKey = false;
    std::string m_schema;
    std::string m_table;
};

// The keyset's initial stride and its most checkpoints (by default kInitialStride and
// kMaxCheckpoints), for tests that exercise the index on small tables; for results made
// afterwards. 0 restores a default.
void setKeysetLimits(VLong initialStride, int maxCheckpoints);

// Builds the result of running `statement` (a select) with `values` on its connection:
// a KeysetResult where the shape allows and `snapshot` is false, else a MaterialisedResult.
// OrvX on failure. The connection's lock is held.
std::unique_ptr<ResultSet> makeResult(const std::shared_ptr<StatementState>& statement,
                                      const std::vector<SqlValue>& values, bool snapshot);

// The keyset over one table (1. above).
//
// Invariants:
//  1. checkpoints[i].second (rows before the checkpoint's row) strictly rise with i, and
//     checkpoints[0] is (key of row 1, 0) once the index exists.
//  2. The row numbered checkpoints[i].second + 1 is the first row (in the cursor's order)
//     whose key is not before checkpoints[i].first.
//  3. checkpoints.size() <= the most checkpoints; the stride is a power of two, at least
//     the initial stride (setKeysetLimits).
//  4. The hint, when set, is an exact (row, key) pair, as is the current row.
//  5. 0 <= the row count; the current row is 0 (none) or one of 1 .. the row count.
class KeysetResult : public ResultSet {
public:
    enum { kInitialStride = 1024, kMaxCheckpoints = 65536 };

    KeysetResult(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values,
                 const SelectShape& shape, const TableKey& key);
    ~KeysetResult() override;

    // Counts the rows; OrvX on failure.
    void open();

    VLong rowCount() const override { return m_count; }
    VLong read(VLong first, VLong count, bool blobs, const RowSink& sink) override;
    void readCurrent(const RowSink& sink) override;
    VLong valueLength(int col) override;
    bool leavesOut(int col) const override;
    std::int64_t rowKey(sqlite3_stmt* row) const override;
    void setCurrent(VLong row, std::int64_t key) override;
    void currentDeleted() override;
    void currentUpdated() override {}
    int checkInvariants() const override;

    // For tests and the benchmark.
    int checkpointCount() const { return int(m_checkpoints.size()); }
    VLong stride() const { return m_stride; }

private:
    // A known key at or before row `row` (a checkpoint, the hint, or the key itself near
    // the end) and how many rows `row` lies after it; `exact` false when the key is only a
    // lower bound of the base row's key (a checkpoint). False when the table has fewer rows.
    bool baseOf(VLong row, std::int64_t& key, VLong& offset, bool& exact);
    // The derived statement `which`, from the connection's cache.
    sqlite3_stmt* statement(int which);
    sqlite3_stmt* statementFromCache(int which);
    // The key `offset` rows after the first row at or after `from`.
    bool keyAt(std::int64_t from, VLong offset, std::int64_t& key);
    bool keyFromEnd(VLong offset, std::int64_t& key);
    void extendTo(VLong row);
    void addCheckpoint(std::int64_t key, VLong before);
    void bindCommon(sqlite3_stmt* st);
    void check(int rc, sqlite3_stmt* st);

    std::shared_ptr<StatementState> m_statement;
    std::vector<SqlValue> m_values;
    sqlite3* m_db;
    std::string m_from;       // FROM clause
    std::string m_where;      // "(condition) AND " or ""
    std::string m_key;        // the qualified key expression
    std::string m_list;       // the select list (built from the columns where possible)
    std::string m_listNoBlobs; // the same with blob columns as NULL, or "" when not built
    std::vector<std::string> m_originColumns; // per result column, "" for an expression
    bool m_descending;
    VLong m_count;
    VLong m_stride;
    VLong m_initialStride;
    std::size_t m_maxCheckpoints;
    std::vector<std::pair<std::int64_t, VLong>> m_checkpoints;
    VLong m_hintRow = 0;
    std::int64_t m_hintKey = 0;
    std::int64_t m_lastKey = 0; // the key of the result's last row at execute
    std::string m_sql[7]; // the derived statements' texts, built on first use
    // The derived statements as last taken from the connection's cache, and the cache's
    // generation then: valid while it is the same.
    sqlite3_stmt* m_stmt[7] = {};
    std::uint64_t m_stmtGeneration[7] = {};
};

// A copy of the result in the scratch database (2. above).
//
// Invariants:
//  1. The copy's rows have rowids 1 .. copied, less the rowids in `gaps` (deleted rows),
//     which is sorted and without repeats; rowCount() == total - gaps.size(), copied <=
//     total, and copied == total once the select ended.
//  2. Row N of the result is the N-th smallest rowid of the copy.
class MaterialisedResult : public ResultSet {
public:
    // `keySql`, when not empty, is the select with the key appended as its last column,
    // and `refreshSql` selects one row of it by ":vx_k".
    MaterialisedResult(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values,
                       const std::string& keySql, const std::string& refreshSql, const std::string& schema,
                       const std::string& table);
    ~MaterialisedResult() override;

    // Runs the select and copies it; OrvX on failure.
    void open();

    VLong rowCount() const override { return m_total - VLong(m_gaps.size()); }
    VLong read(VLong first, VLong count, bool blobs, const RowSink& sink) override;
    // Rows copied so far (for tests and the benchmark).
    VLong copiedRows() const { return m_copied; }
    void readCurrent(const RowSink& sink) override;
    VLong valueLength(int col) override;
    bool leavesOut(int) const override { return false; }
    std::int64_t rowKey(sqlite3_stmt* row) const override;
    void setCurrent(VLong row, std::int64_t key) override;
    void currentDeleted() override;
    void currentUpdated() override;
    int checkInvariants() const override;

private:
    std::int64_t rowidOf(VLong row) const;
    // Copies rows of the running select until the copy holds rowid `rowid` or the result
    // ends.
    void copyUpTo(std::int64_t rowid);

    std::shared_ptr<StatementState> m_statement;
    std::vector<SqlValue> m_values;
    std::string m_keySql;
    std::string m_refreshSql;
    sqlite3* m_scratch;
    std::string m_name;
    int m_columns;
    VLong m_copied = 0;
    VLong m_total = 0;   // the result's size: the count, or the rows copied once it ended
    bool m_done = false; // the select ran to its end (or to the count)
    int m_sourceColumns = 0;
    sqlite3_stmt* m_src = nullptr; // the running select
    sqlite3_stmt* m_ins = nullptr; // the insert into the copy
    std::vector<std::int64_t> m_gaps;
    std::int64_t m_currentRowid = 0;
    sqlite3_stmt* m_read = nullptr;
    sqlite3_stmt* m_one = nullptr;
};

} // namespace detail
} // namespace OrvCPP

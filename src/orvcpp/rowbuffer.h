// A cursor's fetched rows: the current row, copied to the client when it is fetched, and
// the rows read ahead of it while fetches walk forward.
#pragma once

#include "resultset.h"
#include "valueconv.h"

#include <vexapi/core/types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvCPP {
namespace detail {

// Rows first .. first + held - 1 of a result, copied out of SQLite in one statement, so
// that getData reads the current row with no SQLite call and a forward walk costs one
// statement per block instead of one per row and column. Owned by its CursorState and
// used with the connection's lock held.
//
// A block is a snapshot: of the rows as they were when it was read. `stamp` is the
// connection's data stamp at that read; the cursor reads a new block when the stamp
// has moved (a write through the connection), so that a change made through the
// connection is seen at the next fetch. Blob values, and the columns a result leaves
// out of a block read (ResultSet::leavesOut), are not copied: they are read from the
// result when asked for (they may be large).
//
// Memory: at most kMaxRows rows, and rows are added to a block only while its bytes are
// under kMaxBytes, so the buffer holds at most kMaxBytes plus one row's bytes whatever
// the result's size. Its vectors keep their capacity from block to block: a walk
// allocates nothing once they have grown to their largest block.
//
// Invariants:
//  1. 0 <= held <= kMaxRows; values holds held * columns entries (its size may be more).
//  2. Every copied text or blob lies inside `bytes`; bytes.size() < kMaxBytes, or the last
//     row alone took it past.
//  3. current is -1 (no row) or one of 0 .. held - 1.
class RowBuffer {
public:
    enum { kMaxRows = 256, kMaxBytes = 64 * 1024 };

    // Forgets every row.
    void clear()
    {
        m_held = 0;
        m_current = -1;
    }
    // Reads rows first .. first + count - 1 of `result` (fewer at the end or past
    // kMaxBytes); `stamp` is the connection's data stamp now. Returns the rows held.
    // On failure the buffer is empty.
    VLong fill(ResultSet& result, int columns, VLong first, VLong count, std::uint64_t stamp);

    bool holds(VLong row, std::uint64_t stamp) const
    {
        return m_held > 0 && stamp == m_stamp && row >= m_first && row < m_first + m_held;
    }
    // Makes `row` (held) the current row.
    void select(VLong row) { m_current = row - m_first; }
    // The row number of the current row, 0 for none.
    VLong currentRow() const { return m_current < 0 ? 0 : m_first + m_current; }
    std::int64_t currentKey() const { return m_keys[std::size_t(m_current)]; }
    // Column `col` (from 0) of the current row; null when it is not copied.
    const BufferedValue* value(int col) const
    {
        const BufferedValue& v = m_values[std::size_t(m_current) * std::size_t(m_columns) + std::size_t(col)];
        return v.type == kNotCopied ? nullptr : &v;
    }
    const char* bytes() const { return m_bytes.data(); }

    // How many rows a forward walk reads next: kMaxRows, or fewer when the last block's
    // rows were wide.
    VLong blockRows() const { return m_blockRows; }
    VLong held() const { return m_held; }

    // 0 when the invariants hold, else the number of the first broken one.
    int checkInvariants() const;

private:
    enum { kNotCopied = 0 }; // not a SQLite type code

    void store(ResultSet& result, sqlite3_stmt* st);

    int m_columns = 0;
    std::vector<BufferedValue> m_values;
    std::vector<std::int64_t> m_keys;
    std::vector<char> m_bytes;
    VLong m_first = 0;
    VLong m_held = 0;
    VLong m_current = -1;
    VLong m_blockRows = kMaxRows;
    std::uint64_t m_stamp = 0;
};

} // namespace detail
} // namespace OrvCPP

// A cursor's fetched rows: one block read, the copy of its values, the read-ahead bounds.
#include "rowbuffer.h"

#include <vexapi/core/vexassert.h>

#include <sqlite3.h>

#include <algorithm>
#include <cstring>

namespace OrvCPP {
namespace detail {

VLong RowBuffer::fill(ResultSet& result, int columns, VLong first, VLong count, std::uint64_t stamp)
{
    clear();
    m_columns = columns;
    m_first = first;
    m_stamp = stamp;
    m_bytes.clear();
    count = std::min<VLong>(std::max<VLong>(count, 1), kMaxRows);
    if (m_values.size() < std::size_t(count) * std::size_t(columns))
        m_values.resize(std::size_t(count) * std::size_t(columns));
    if (m_keys.size() < std::size_t(count))
        m_keys.resize(std::size_t(count));
    // A walk's byte store takes its bound at once (and room for the row that passes it),
    // rather than growing by doublings while the walk runs.
    if (count > 1 && m_bytes.capacity() < std::size_t(2 * kMaxBytes))
        m_bytes.reserve(std::size_t(2 * kMaxBytes));
    try {
        // Rows past the byte bound are stepped over, not kept: the statement reads them
        // anyway, and the next block starts after the last row kept.
        result.read(first, count, false, [&](sqlite3_stmt* st, VLong) {
            if (m_held == 0 || m_bytes.size() < std::size_t(kMaxBytes))
                store(result, st);
        });
    } catch (...) {
        clear();
        throw;
    }
    // The next block of a walk is sized so that it stays near the byte bound.
    const std::size_t perRow = m_held > 0 ? m_bytes.size() / std::size_t(m_held) + 1 : 1;
    m_blockRows = std::max<VLong>(1, std::min<VLong>(kMaxRows, VLong(std::size_t(kMaxBytes) / perRow)));
    return m_held;
}

void RowBuffer::store(ResultSet& result, sqlite3_stmt* st)
{
    BufferedValue* row = &m_values[std::size_t(m_held) * std::size_t(m_columns)];
    for (int c = 0; c < m_columns; ++c) {
        BufferedValue& v = row[c];
        v.type = sqlite3_column_type(st, c);
        if (result.leavesOut(c) || v.type == SQLITE_BLOB) {
            v.type = kNotCopied;
            continue;
        }
        switch (v.type) {
        case SQLITE_INTEGER:
            v.i = sqlite3_column_int64(st, c);
            break;
        case SQLITE_FLOAT:
            v.d = sqlite3_column_double(st, c);
            break;
        case SQLITE_TEXT: {
            const char* t = reinterpret_cast<const char*>(sqlite3_column_text(st, c));
            const std::size_t n = std::size_t(sqlite3_column_bytes(st, c));
            v.offset = std::uint32_t(m_bytes.size());
            v.length = std::uint32_t(n);
            m_bytes.insert(m_bytes.end(), t, t + n);
            m_bytes.push_back(0);
            break;
        }
        default:
            break;
        }
    }
    m_keys[std::size_t(m_held)] = result.rowKey(st);
    ++m_held;
}

int RowBuffer::checkInvariants() const
{
    int broken = 0;
    if (m_held < 0 || m_held > kMaxRows || m_values.size() < std::size_t(m_held) * std::size_t(m_columns))
        broken = 1;
    if (!broken) {
        std::size_t lastRowStart = 0;
        for (VLong r = 0; !broken && r < m_held; ++r)
            for (int c = 0; c < m_columns; ++c) {
                const BufferedValue& v = m_values[std::size_t(r) * std::size_t(m_columns) + std::size_t(c)];
                if ((v.type == SQLITE_TEXT || v.type == SQLITE_BLOB) &&
                    std::size_t(v.offset) + v.length > m_bytes.size())
                    broken = 2;
                if (r == m_held - 1 && c == 0)
                    lastRowStart = m_bytes.size();
                if (r == m_held - 1 && (v.type == SQLITE_TEXT || v.type == SQLITE_BLOB))
                    lastRowStart = std::min(lastRowStart, std::size_t(v.offset));
            }
        if (!broken && m_held > 1 && lastRowStart >= std::size_t(kMaxBytes))
            broken = 2;
    }
    if (!broken && (m_current < -1 || (m_current >= 0 && m_current >= m_held)))
        broken = 3;
    VEX_ASSERT(broken == 0);
    return broken;
}

} // namespace detail
} // namespace OrvCPP

// The two kinds of cursor result: the live keyset over one table and the copy in the
// scratch database.
#include "resultset.h"

#include <vexapi/values/servertypes.h>
#include "sqltokens.h"

#include <vexapi/core/vexassert.h>

#include <sqlite3.h>

#include <algorithm>
#include <limits>

namespace OrvCPP {
namespace detail {

namespace {

enum { stmtCount, stmtKeyAt, stmtKeyFromEnd, stmtBlock, stmtBlockNoBlobs, stmtRow, stmtLastKey };

// Resets a statement when the scope ends, however it ends.
struct ResetGuard {
    sqlite3_stmt* st;
    ~ResetGuard()
    {
        if (st)
            sqlite3_reset(st);
    }
};

void bindNamed(sqlite3_stmt* st, const char* name, std::int64_t v)
{
    const int i = sqlite3_bind_parameter_index(st, name);
    if (i > 0)
        sqlite3_bind_int64(st, i, v);
}

OrvX noRow(VLong row, VLong count)
{
    return OrvX::client(orvapiNoRow, "row " + std::to_string(row) + " is outside the result (1.." +
                                         std::to_string(count) + ")");
}

bool isRowidName(const std::string& name)
{
    return equalNoCase(name, "rowid") || equalNoCase(name, "_rowid_") || equalNoCase(name, "oid");
}

} // namespace

namespace {
VLong g_initialStride = KeysetResult::kInitialStride;
int g_maxCheckpoints = KeysetResult::kMaxCheckpoints;
} // namespace

void setKeysetLimits(VLong initialStride, int maxCheckpoints)
{
    VEX_ASSERT(initialStride >= 0 && (initialStride & (initialStride - 1)) == 0 && maxCheckpoints >= 0);
    g_initialStride = initialStride > 0 ? initialStride : VLong(KeysetResult::kInitialStride);
    g_maxCheckpoints = maxCheckpoints > 1 ? maxCheckpoints : int(KeysetResult::kMaxCheckpoints);
}

ResultSet::~ResultSet() = default;

void ResultSet::checkRow(VLong row) const
{
    if (row < 1 || row > rowCount())
        throw noRow(row, rowCount());
}

std::unique_ptr<ResultSet> makeResult(const std::shared_ptr<StatementState>& statement,
                                      const std::vector<SqlValue>& values, bool snapshot)
{
    sqlite3* db = statement->connection->db();
    SelectShape shape = analyseSelect(statement->dialect.sql);
    TableKey key;
    if (shape.single)
        key = tableKey(db, shape.schema, shape.table);
    if (shape.single && key.rowidTable) {
        const std::string k = shape.qualifier + "." + key.keyName;
        const bool byKey =
            shape.orderText.empty() ||
            (!shape.orderColumn.empty() &&
             (key.keyColumn.empty() ? isRowidName(shape.orderColumn) && equalNoCase(shape.orderColumn, key.keyName)
                                    : equalNoCase(shape.orderColumn, key.keyColumn) || isRowidName(shape.orderColumn)));
        if (!snapshot && !shape.hasLimit && byKey) {
            std::unique_ptr<KeysetResult> r(new KeysetResult(statement, values, shape, key));
            r->open();
            return std::unique_ptr<ResultSet>(r.release());
        }
        const std::string keySql = "SELECT " + shape.listText + ", " + k + " FROM " + shape.fromText +
                                   (shape.tailText.empty() ? std::string() : " " + shape.tailText);
        const std::string refreshSql =
            "SELECT " + shape.listText + ", " + k + " FROM " + shape.fromText + " WHERE " + k + " = :vx_k";
        std::unique_ptr<MaterialisedResult> r(new MaterialisedResult(
            statement, values, keySql, refreshSql, shape.schema.empty() ? "main" : shape.schema, shape.table));
        r->open();
        return std::unique_ptr<ResultSet>(r.release());
    }
    std::unique_ptr<MaterialisedResult> r(
        new MaterialisedResult(statement, values, std::string(), std::string(), std::string(), std::string()));
    r->open();
    return std::unique_ptr<ResultSet>(r.release());
}

// ---- KeysetResult ----

KeysetResult::KeysetResult(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values,
                           const SelectShape& shape, const TableKey& key)
    : m_statement(statement), m_values(values), m_db(statement->connection->db()), m_from(shape.fromText),
      m_descending(false), m_count(0), m_stride(g_initialStride), m_initialStride(g_initialStride),
      m_maxCheckpoints(std::size_t(g_maxCheckpoints))
{
    m_hasKey = true;
    m_schema = shape.schema.empty() ? "main" : shape.schema;
    m_table = shape.table;
    m_key = shape.qualifier + "." + key.keyName;
    if (!shape.whereText.empty())
        m_where = "(" + shape.whereText + ") AND ";
    m_descending = !shape.orderText.empty() && shape.orderDescending;
    // A select list of plain columns of the table is written out again by the layer, so
    // that a block read may leave the blobs out.
    bool plain = !statement->columns.empty();
    std::string list, noBlobs;
    for (const ColumnDesc& c : statement->columns) {
        m_originColumns.push_back(c.table.empty() ? std::string() : c.column);
        if (c.table.empty() || !equalNoCase(c.table, m_table) || !equalNoCase(c.owner, m_schema)) {
            plain = false;
            continue;
        }
        const std::string ref = shape.qualifier + "." + quoteName(c.column);
        list += (list.empty() ? "" : ", ") + ref;
        noBlobs += (noBlobs.empty() ? "" : ", ") + (c.type.type == orvBlob ? std::string("NULL") : ref);
    }
    if (plain) {
        m_list = list;
        m_listNoBlobs = noBlobs == list ? std::string() : noBlobs;
    } else {
        m_list = shape.listText;
    }
}

KeysetResult::~KeysetResult() = default;

sqlite3_stmt* KeysetResult::statement(int which)
{
    ConnectionState& c = *m_statement->connection;
    const std::uint64_t generation = c.statementCache().generation();
    if (m_stmt[which] && m_stmtGeneration[which] == generation)
        return m_stmt[which];
    m_stmt[which] = statementFromCache(which);
    m_stmtGeneration[which] = c.statementCache().generation();
    return m_stmt[which];
}

sqlite3_stmt* KeysetResult::statementFromCache(int which)
{
    if (!m_sql[which].empty())
        return m_statement->connection->cachedStatement(m_sql[which], m_statement->text);
    const std::string order = std::string(" ORDER BY ") + m_key + (m_descending ? " DESC" : "");
    // Every read stops at the last row of the result as it was at execute, so that rows
    // added to the table since (new keys come after the old ones) stay out of it.
    const std::string bound = " AND " + m_key + (m_descending ? " >= :vx_last" : " <= :vx_last");
    const std::string from =
        " FROM " + m_from + " WHERE " + m_where + m_key + (m_descending ? " <= :vx_k" : " >= :vx_k") + bound;
    const std::string where = m_where.empty() ? std::string() : " WHERE " + m_where.substr(0, m_where.size() - 5);
    std::string sql;
    switch (which) {
    case stmtCount:
        sql = "SELECT count(*) FROM " + m_from +
              (m_where.empty() ? std::string() : " WHERE " + m_where.substr(0, m_where.size() - 5));
        break;
    case stmtKeyAt:
        sql = "SELECT " + m_key + from + order + " LIMIT 1 OFFSET :vx_o";
        break;
    case stmtKeyFromEnd:
        sql = "SELECT " + m_key + " FROM " + m_from + " WHERE " + m_where + m_key +
              (m_descending ? " >= :vx_last" : " <= :vx_last") + " ORDER BY " + m_key +
              (m_descending ? " ASC" : " DESC") + " LIMIT 1 OFFSET :vx_o";
        break;
    case stmtLastKey:
        sql = "SELECT " + m_key + " FROM " + m_from + where + " ORDER BY " + m_key +
              (m_descending ? " ASC" : " DESC") + " LIMIT 1";
        break;
    case stmtBlock:
        sql = "SELECT " + m_list + ", " + m_key + from + order + " LIMIT :vx_n OFFSET :vx_o";
        break;
    case stmtBlockNoBlobs:
        sql = "SELECT " + m_listNoBlobs + ", " + m_key + from + order + " LIMIT :vx_n OFFSET :vx_o";
        break;
    default:
        sql = "SELECT " + m_list + ", " + m_key + " FROM " + m_from + " WHERE " + m_where + m_key + " = :vx_k";
        break;
    }
    m_sql[which] = sql;
    return m_statement->connection->cachedStatement(sql, m_statement->text);
}

void KeysetResult::bindCommon(sqlite3_stmt* st)
{
    // The statement is shared through the connection's cache: no binding of another
    // result may stay.
    sqlite3_clear_bindings(st);
    int rc = m_statement->bindValues(st, m_values);
    if (rc != SQLITE_OK)
        throw serverError(m_db, rc, m_statement->text, nullptr);
    bindNamed(st, ":vx_last", m_lastKey);
}

void KeysetResult::check(int rc, sqlite3_stmt* st)
{
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        (void)st;
        throw serverError(m_db, rc, m_statement->text, nullptr);
    }
}

void KeysetResult::open()
{
    // The last key and the count are read in one snapshot of the database.
    int rc = sqlite3_exec(m_db, "SAVEPOINT vx_open", nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK)
        throw serverError(m_db, rc, m_statement->text, nullptr);
    struct Release {
        sqlite3* db;
        ~Release() { sqlite3_exec(db, "RELEASE vx_open", nullptr, nullptr, nullptr); }
    } release{m_db};
    {
        sqlite3_stmt* st = statement(stmtLastKey);
        ResetGuard g{st};
        bindCommon(st);
        rc = sqlite3_step(st);
        check(rc, st);
        if (rc == SQLITE_ROW)
            m_lastKey = sqlite3_column_int64(st, 0);
    }
    sqlite3_stmt* st = statement(stmtCount);
    ResetGuard g{st};
    bindCommon(st);
    rc = sqlite3_step(st);
    check(rc, st);
    const std::int64_t n = rc == SQLITE_ROW ? sqlite3_column_int64(st, 0) : 0;
    if (n > std::numeric_limits<VLong>::max())
        throw OrvX::client(orvapiNotSupported, "the select has more than 2^31 - 1 rows", m_statement->text.c_str());
    m_count = VLong(n);
    // A forward walk adds a checkpoint every stride rows as it passes: their room is taken
    // now (up to 64 KB), so that the walk allocates nothing.
    m_checkpoints.reserve(std::min<std::size_t>({std::size_t(m_count / m_stride) + 2, m_maxCheckpoints, 4096}));
}

bool KeysetResult::keyAt(std::int64_t from, VLong offset, std::int64_t& key)
{
    sqlite3_stmt* st = statement(stmtKeyAt);
    ResetGuard g{st};
    bindCommon(st);
    bindNamed(st, ":vx_k", from);
    bindNamed(st, ":vx_o", offset);
    int rc = sqlite3_step(st);
    check(rc, st);
    if (rc != SQLITE_ROW)
        return false;
    key = sqlite3_column_int64(st, 0);
    return true;
}

bool KeysetResult::keyFromEnd(VLong offset, std::int64_t& key)
{
    sqlite3_stmt* st = statement(stmtKeyFromEnd);
    ResetGuard g{st};
    bindCommon(st);
    bindNamed(st, ":vx_o", offset);
    int rc = sqlite3_step(st);
    check(rc, st);
    if (rc != SQLITE_ROW)
        return false;
    key = sqlite3_column_int64(st, 0);
    return true;
}

void KeysetResult::addCheckpoint(std::int64_t key, VLong before)
{
    m_checkpoints.emplace_back(key, before);
    if (m_checkpoints.size() > m_maxCheckpoints) {
        // Keep every second one: the index stays bounded, a seek skips up to twice as far.
        std::size_t j = 0;
        for (std::size_t i = 0; i < m_checkpoints.size(); i += 2)
            m_checkpoints[j++] = m_checkpoints[i];
        m_checkpoints.resize(j);
        m_stride *= 2;
    }
}

void KeysetResult::extendTo(VLong row)
{
    if (m_checkpoints.empty()) {
        std::int64_t first;
        const std::int64_t extreme =
            m_descending ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
        if (!keyAt(extreme, 0, first))
            return;
        addCheckpoint(first, 0);
    }
    ConnectionState& c = *m_statement->connection;
    while (m_checkpoints.back().second + m_stride <= row - 1) {
        if (c.interruptRequested())
            throw OrvX::client(orvapiInterrupted, "the call was interrupted", m_statement->text.c_str());
        const std::pair<std::int64_t, VLong> last = m_checkpoints.back();
        std::int64_t next;
        if (!keyAt(last.first, m_stride, next))
            break;
        addCheckpoint(next, last.second + m_stride);
    }
}

bool KeysetResult::baseOf(VLong row, std::int64_t& key, VLong& offset, bool& exact)
{
    if (row < 1 || row > m_count)
        return false;
    exact = true;
    if (m_hintRow > 0 && row >= m_hintRow && row - m_hintRow <= m_stride) {
        key = m_hintKey;
        offset = row - m_hintRow;
        return true;
    }
    if (m_count - row < m_stride) {
        offset = 0;
        return keyFromEnd(m_count - row, key);
    }
    extendTo(row);
    if (m_checkpoints.empty())
        return false;
    // The last checkpoint whose row is at or before `row`.
    auto it = std::upper_bound(m_checkpoints.begin(), m_checkpoints.end(), row - 1,
                               [](VLong r, const std::pair<std::int64_t, VLong>& c) { return r < c.second; });
    --it;
    VLong baseRow = it->second + 1;
    std::int64_t baseKey = it->first;
    // A checkpoint's key is a lower bound (its row may have been deleted), the hint exact.
    exact = false;
    if (m_hintRow > 0 && m_hintRow <= row && m_hintRow > baseRow) {
        baseRow = m_hintRow;
        baseKey = m_hintKey;
        exact = true;
    }
    key = baseKey;
    offset = row - baseRow;
    return true;
}

VLong KeysetResult::read(VLong first, VLong count, bool blobs, const RowSink& sink)
{
    if (first < 1 || first > m_count || count <= 0)
        return 0;
    count = std::min(count, m_count - first + 1);
    // One statement: a seek to the base's key, a skip to `first` inside SQLite, the rows.
    std::int64_t key;
    VLong offset;
    bool exact;
    if (!baseOf(first, key, offset, exact))
        return 0;
    sqlite3_stmt* st = statement(blobs || m_listNoBlobs.empty() ? stmtBlock : stmtBlockNoBlobs);
    ResetGuard g{st};
    bindCommon(st);
    bindNamed(st, ":vx_k", key);
    bindNamed(st, ":vx_n", count);
    bindNamed(st, ":vx_o", offset);
    const int keyColumn = sqlite3_column_count(st) - 1;
    VLong i = 0;
    int rc;
    while (i < count && (rc = sqlite3_step(st)) == SQLITE_ROW) {
        const std::int64_t k = sqlite3_column_int64(st, keyColumn);
        const VLong r = first + i;
        // A sequential read extends the index for free as it passes a stride boundary.
        if (m_checkpoints.empty() ? r == 1 : m_checkpoints.back().second + m_stride == r - 1)
            addCheckpoint(k, r - 1);
        m_hintRow = r;
        m_hintKey = k;
        sink(st, i);
        ++i;
    }
    if (i < count)
        check(rc, st);
    return i;
}

void KeysetResult::readCurrent(const RowSink& sink)
{
    if (m_currentRow <= 0)
        throw OrvX::client(orvapiNoRow, "the cursor stands on no row");
    sqlite3_stmt* st = statement(stmtRow);
    ResetGuard g{st};
    bindCommon(st);
    bindNamed(st, ":vx_k", m_currentKey);
    int rc = sqlite3_step(st);
    check(rc, st);
    if (rc != SQLITE_ROW)
        throw OrvX::client(orvapiNoRow, "the current row was deleted");
    sink(st, 0);
}

VLong KeysetResult::valueLength(int col)
{
    if (m_currentRow <= 0)
        throw OrvX::client(orvapiNoRow, "the cursor stands on no row");
    if (col >= 0 && std::size_t(col) < m_originColumns.size() && !m_originColumns[std::size_t(col)].empty()) {
        // A plain column: SQLite tells its size without reading it.
        sqlite3_blob* blob = nullptr;
        if (sqlite3_blob_open(m_db, m_schema.c_str(), m_table.c_str(), m_originColumns[std::size_t(col)].c_str(),
                              m_currentKey, 0, &blob) == SQLITE_OK) {
            const VLong n = sqlite3_blob_bytes(blob);
            sqlite3_blob_close(blob);
            return n;
        }
        sqlite3_blob_close(blob);
    }
    VLong n = 0;
    readCurrent([&](sqlite3_stmt* st, VLong) { n = sqlite3_column_bytes(st, col); });
    return n;
}

bool KeysetResult::leavesOut(int col) const
{
    return !m_listNoBlobs.empty() && col >= 0 && std::size_t(col) < m_statement->columns.size() &&
           m_statement->columns[std::size_t(col)].type.type == orvBlob;
}

std::int64_t KeysetResult::rowKey(sqlite3_stmt* row) const
{
    // A block read gives the key as its last column.
    return sqlite3_column_int64(row, sqlite3_column_count(row) - 1);
}

void KeysetResult::setCurrent(VLong row, std::int64_t key)
{
    m_currentRow = row;
    m_currentKey = key;
}

void KeysetResult::currentDeleted()
{
    const VLong r = m_currentRow;
    if (r <= 0)
        return;
    // Checkpoints of rows after the deleted one move up; two that then name the same row
    // keep the later key (either is a valid lower bound for it).
    std::size_t first = m_checkpoints.size();
    for (std::size_t i = 0; i < m_checkpoints.size(); ++i)
        if (m_checkpoints[i].second >= r) {
            if (first == m_checkpoints.size())
                first = i;
            --m_checkpoints[i].second;
        }
    if (first > 0 && first < m_checkpoints.size() && m_checkpoints[first].second == m_checkpoints[first - 1].second)
        m_checkpoints.erase(m_checkpoints.begin() + std::ptrdiff_t(first - 1));
    --m_count;
    if (m_hintRow == r)
        m_hintRow = 0;
    else if (m_hintRow > r)
        --m_hintRow;
    m_currentRow = 0;
}

int KeysetResult::checkInvariants() const
{
    int broken = 0;
    for (std::size_t i = 0; !broken && i < m_checkpoints.size(); ++i)
        if (i == 0 ? m_checkpoints[0].second != 0 : m_checkpoints[i].second <= m_checkpoints[i - 1].second)
            broken = 1;
    if (!broken && (m_checkpoints.size() > m_maxCheckpoints || m_stride < m_initialStride ||
                    (m_stride & (m_stride - 1)) != 0))
        broken = 3;
    if (!broken && (m_count < 0 || m_currentRow < 0 || m_currentRow > m_count))
        broken = 5;
    VEX_ASSERT(broken == 0);
    return broken;
}

// ---- MaterialisedResult ----

MaterialisedResult::MaterialisedResult(const std::shared_ptr<StatementState>& statement,
                                       const std::vector<SqlValue>& values, const std::string& keySql,
                                       const std::string& refreshSql, const std::string& schema,
                                       const std::string& table)
    : m_statement(statement), m_values(values), m_keySql(keySql), m_refreshSql(refreshSql), m_scratch(nullptr),
      m_columns(int(statement->columns.size()))
{
    m_hasKey = !keySql.empty();
    m_schema = schema;
    m_table = table;
}

MaterialisedResult::~MaterialisedResult()
{
    sqlite3_finalize(m_src);
    sqlite3_finalize(m_ins);
    sqlite3_finalize(m_read);
    sqlite3_finalize(m_one);
    if (m_scratch && !m_name.empty())
        sqlite3_exec(m_scratch, ("DROP TABLE IF EXISTS " + m_name).c_str(), nullptr, nullptr, nullptr);
}

void MaterialisedResult::open()
{
    ConnectionState& c = *m_statement->connection;
    sqlite3* db = c.db();
    const std::string& query = m_statement->text;
    m_scratch = c.scratchDb();
    std::string name = c.nextScratchName();

    const std::string sourceSql = m_hasKey ? m_keySql : m_statement->dialect.sql;
    m_src = prepareOrThrow(db, sourceSql, query);
    if (!m_src)
        throw OrvX::client(orvapiNotSupported, "the statement returns no rows", query.c_str());
    m_sourceColumns = sqlite3_column_count(m_src);
    m_columns = m_hasKey ? m_sourceColumns - 1 : m_sourceColumns;

    std::string create = "CREATE TABLE " + name + "(";
    std::string insert = "INSERT INTO " + name + " VALUES (";
    for (int i = 0; i < m_sourceColumns; ++i) {
        create += (i ? ", " : "") + (m_hasKey && i == m_columns ? std::string("k") : "c" + std::to_string(i + 1));
        insert += i ? ", ?" : "?";
    }
    create += ")";
    insert += ")";
    if (m_sourceColumns == 0)
        create = "CREATE TABLE " + name + "(c1)";
    int rc = sqlite3_exec(m_scratch, create.c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK)
        throw serverError(m_scratch, rc, query, nullptr);
    m_name = name;
    m_ins = prepareOrThrow(m_scratch, insert, query);

    rc = m_statement->bindValues(m_src, m_values);
    if (rc != SQLITE_OK)
        throw serverError(db, rc, query, nullptr);

    // The size from the server: a count over the select, without copying it. A statement
    // that can't be a subselect (a PRAGMA) is copied whole instead.
    std::string inner = sourceSql;
    while (!inner.empty() && (inner.back() == ';' || inner.back() == ' ' || inner.back() == '\n' ||
                              inner.back() == '\t' || inner.back() == '\r'))
        inner.pop_back();
    sqlite3_stmt* count = nullptr;
    if (sqlite3_prepare_v2(db, ("SELECT count(*) FROM (" + inner + "\n)").c_str(), -1, &count, nullptr) == SQLITE_OK &&
        count) {
        StmtGuard guard(count);
        rc = m_statement->bindValues(count, m_values);
        if (rc != SQLITE_OK)
            throw serverError(db, rc, query, nullptr);
        rc = sqlite3_step(count);
        if (rc != SQLITE_ROW)
            throw serverError(db, rc, query, &m_statement->dialect);
        const std::int64_t n = sqlite3_column_int64(count, 0);
        if (n >= std::int64_t(std::numeric_limits<VLong>::max()))
            throw OrvX::client(orvapiNotSupported, "the select has more than 2^31 - 1 rows", query.c_str());
        m_total = VLong(n);
    } else {
        sqlite3_finalize(count);
        m_total = std::numeric_limits<VLong>::max() - 1;
        copyUpTo(m_total);
    }
}

void MaterialisedResult::copyUpTo(std::int64_t rowid)
{
    if (m_done || m_copied >= rowid)
        return;
    ConnectionState& c = *m_statement->connection;
    sqlite3* db = c.db();
    const std::string& query = m_statement->text;
    sqlite3_exec(m_scratch, "BEGIN", nullptr, nullptr, nullptr);
    try {
        while (m_copied < rowid && m_copied < m_total) {
            int rc = sqlite3_step(m_src);
            if (rc == SQLITE_ABORT_ROLLBACK || rc == SQLITE_ABORT) {
                // A rollback on the connection ended the running select: it runs again
                // and skips the rows copied so far.
                sqlite3_reset(m_src);
                VLong skip = m_copied;
                while (skip > 0 && (rc = sqlite3_step(m_src)) == SQLITE_ROW)
                    --skip;
                if (skip > 0 && rc != SQLITE_DONE)
                    throw serverError(db, rc, query, &m_statement->dialect);
                if (skip > 0)
                    rc = SQLITE_DONE;
                else
                    rc = sqlite3_step(m_src);
            }
            if (rc == SQLITE_DONE) {
                // Fewer rows than counted (the table changed since): the result ends here.
                m_total = m_copied;
                break;
            }
            if (rc != SQLITE_ROW)
                throw serverError(db, rc, query, &m_statement->dialect);
            for (int i = 0; i < m_sourceColumns; ++i)
                sqlite3_bind_value(m_ins, i + 1, sqlite3_column_value(m_src, i));
            rc = sqlite3_step(m_ins);
            sqlite3_reset(m_ins);
            if (rc != SQLITE_DONE)
                throw serverError(m_scratch, rc, query, nullptr);
            if (++m_copied % 4096 == 0 && c.interruptRequested())
                throw OrvX::client(orvapiInterrupted, "the call was interrupted", query.c_str());
        }
        sqlite3_exec(m_scratch, "COMMIT", nullptr, nullptr, nullptr);
    } catch (...) {
        sqlite3_exec(m_scratch, "COMMIT", nullptr, nullptr, nullptr);
        throw;
    }
    if (m_copied >= m_total) {
        m_done = true;
        m_total = m_copied;
        sqlite3_reset(m_src);
    }
}

std::int64_t MaterialisedResult::rowidOf(VLong row) const
{
    std::int64_t rowid = row;
    for (std::int64_t gap : m_gaps) {
        if (gap > rowid)
            break;
        ++rowid;
    }
    return rowid;
}

VLong MaterialisedResult::read(VLong first, VLong count, bool, const RowSink& sink)
{
    const VLong rows = rowCount();
    if (first < 1 || first > rows || count <= 0)
        return 0;
    count = std::min(count, rows - first + 1);
    copyUpTo(rowidOf(first + count - 1));
    count = std::min(count, rowCount() - first + 1);
    if (count <= 0)
        return 0;
    if (!m_read)
        m_read = prepareOrThrow(m_scratch, "SELECT * FROM " + m_name + " WHERE rowid >= ?1 ORDER BY rowid LIMIT ?2",
                                m_statement->text);
    ResetGuard g{m_read};
    sqlite3_bind_int64(m_read, 1, rowidOf(first));
    sqlite3_bind_int64(m_read, 2, count);
    VLong i = 0;
    int rc = SQLITE_DONE;
    while (i < count && (rc = sqlite3_step(m_read)) == SQLITE_ROW) {
        sink(m_read, i);
        ++i;
    }
    if (i < count && rc != SQLITE_DONE)
        throw serverError(m_scratch, rc, m_statement->text, nullptr);
    return i;
}

void MaterialisedResult::readCurrent(const RowSink& sink)
{
    if (m_currentRow <= 0)
        throw OrvX::client(orvapiNoRow, "the cursor stands on no row");
    if (!m_one)
        m_one = prepareOrThrow(m_scratch, "SELECT * FROM " + m_name + " WHERE rowid = ?1", m_statement->text);
    ResetGuard g{m_one};
    sqlite3_bind_int64(m_one, 1, m_currentRowid);
    int rc = sqlite3_step(m_one);
    if (rc != SQLITE_ROW)
        throw OrvX::client(orvapiNoRow, "the current row is gone");
    sink(m_one, 0);
}

VLong MaterialisedResult::valueLength(int col)
{
    if (m_currentRow <= 0)
        throw OrvX::client(orvapiNoRow, "the cursor stands on no row");
    sqlite3_blob* blob = nullptr;
    const std::string column = "c" + std::to_string(col + 1);
    VLong n = 0;
    if (sqlite3_blob_open(m_scratch, "main", m_name.c_str(), column.c_str(), m_currentRowid, 0, &blob) == SQLITE_OK)
        n = sqlite3_blob_bytes(blob);
    else
        readCurrent([&](sqlite3_stmt* st, VLong) { n = sqlite3_column_bytes(st, col); });
    sqlite3_blob_close(blob);
    return n;
}

std::int64_t MaterialisedResult::rowKey(sqlite3_stmt* row) const
{
    return m_hasKey ? sqlite3_column_int64(row, m_columns) : 0;
}

void MaterialisedResult::setCurrent(VLong row, std::int64_t key)
{
    m_currentRow = row;
    m_currentRowid = rowidOf(row);
    m_currentKey = key;
}

void MaterialisedResult::currentDeleted()
{
    if (m_currentRow <= 0)
        return;
    sqlite3_exec(m_scratch, ("DELETE FROM " + m_name + " WHERE rowid = " + std::to_string(m_currentRowid)).c_str(),
                 nullptr, nullptr, nullptr);
    m_gaps.insert(std::upper_bound(m_gaps.begin(), m_gaps.end(), m_currentRowid), m_currentRowid);
    m_currentRow = 0;
}

void MaterialisedResult::currentUpdated()
{
    if (m_currentRow <= 0 || !m_hasKey)
        return;
    sqlite3* db = m_statement->connection->db();
    StmtGuard src(prepareOrThrow(db, m_refreshSql, m_statement->text));
    m_statement->bindValues(src.st, m_values);
    bindNamed(src.st, ":vx_k", m_currentKey);
    if (sqlite3_step(src.st) != SQLITE_ROW)
        return; // the row left the table: the copy keeps what it had
    std::string update = "UPDATE " + m_name + " SET ";
    for (int i = 0; i < m_columns; ++i)
        update += (i ? ", c" : "c") + std::to_string(i + 1) + " = ?" + std::to_string(i + 1);
    update += " WHERE rowid = ?" + std::to_string(m_columns + 1);
    StmtGuard up(prepareOrThrow(m_scratch, update, m_statement->text));
    for (int i = 0; i < m_columns; ++i)
        sqlite3_bind_value(up.st, i + 1, sqlite3_column_value(src.st, i));
    sqlite3_bind_int64(up.st, m_columns + 1, m_currentRowid);
    int rc = sqlite3_step(up.st);
    if (rc != SQLITE_DONE)
        throw serverError(m_scratch, rc, m_statement->text, nullptr);
}

int MaterialisedResult::checkInvariants() const
{
    const bool ok = std::is_sorted(m_gaps.begin(), m_gaps.end()) &&
                    std::adjacent_find(m_gaps.begin(), m_gaps.end()) == m_gaps.end() && rowCount() >= 0 &&
                    (m_gaps.empty() || (m_gaps.front() >= 1 && m_gaps.back() <= m_copied)) &&
                    m_copied <= m_total && (!m_done || m_copied == m_total);
    VEX_ASSERT(ok);
    return ok ? 0 : 1;
}

} // namespace detail
} // namespace OrvCPP

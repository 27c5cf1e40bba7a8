// OrvCursor: running statements and reading their rows, synchronously or through the
// connection's worker with a Handler.
#include <vexapi/orvcpp/orvcursor.h>

#include "cursorstate.h"
#include <vexapi/orvcpp/faultinjection.h>
#include <vexapi/values/servertypes.h>
#include "sqltokens.h"
#include "statementstate.h"

#include <sqlite3.h>

#include <memory>

namespace OrvCPP {

using detail::ConnectionLock;
using detail::CursorState;

OrvCursor::Handler::~Handler() = default;

namespace {

// Runs `body` for `cursor`: at once with the connection's lock held, or, with a handler,
// queued to the connection's worker. The fault switch counts the call here, in the order
// calls are made. Returns the body's result (0 when queued). A template, so that the
// synchronous path (every getData and fetch of a read loop) takes the body as it is, with
// no std::function to allocate.
template <class Body>
VLong runCall(const std::shared_ptr<CursorState>& cursor, OrvCursor::Handler* handler, int site, Body&& body)
{
    OrvX fault;
    const bool fails = detail::injectFault(site, fault);
    detail::ConnectionState& c = *cursor->connection;
    const unsigned short handle = cursor->handle;
    if (!handler) {
        detail::CallScope scope(c, handle);
        try {
            if (fails)
                throw fault;
            return body();
        } catch (const OrvX& x) {
            cursor->setError(x);
            detail::rememberError(x);
            throw;
        }
    }
    detail::ConnectionState::Job job;
    job.cursor = handle;
    job.body = [cursor, fails, fault, body, handle]() -> VLong {
        detail::RunningCall running(*cursor->connection, handle);
        if (fails)
            throw fault;
        return body();
    };
    job.report = [cursor, handler](const OrvX* error, VLong rows) {
        if (error)
            cursor->setError(*error);
        handler->complete(error ? error->orvapiError() : short(orvapiOk), rows);
    };
    c.submit(std::move(job));
    return 0;
}

void checkResult(const CursorState& s)
{
    if (!s.result)
        throw OrvX::client(orvapiNotOpen, "the cursor has no result to read");
}

void checkColumn(const CursorState& s, short col)
{
    if (col < 1 || std::size_t(col) > s.columns.size())
        throw OrvX::client(orvapiBadArgument, "column " + std::to_string(col) + " does not exist");
}

// Stores column `col` (from 1) of the current row: from the fetched copy, or, for a value
// the copy leaves out (a blob), read from the result.
void storeCurrent(CursorState& s, short col, const ValueInfo& info)
{
    // A decimal column's values are read at its declared scale.
    const int scale = detail::readScale(s.columns[std::size_t(col - 1)].type);
    if (s.rowFetched()) {
        if (const detail::BufferedValue* v = s.rows.value(col - 1)) {
            detail::storeValue(*v, s.rows.bytes(), info, 0, col, scale);
            return;
        }
    }
    s.result->readCurrent([&](sqlite3_stmt* st, VLong) {
        detail::storeValue(sqlite3_column_value(st, col - 1), info, 0, col, scale);
    });
}

// Stores the bound columns of one row.
void storeRow(const CursorState& s, sqlite3_stmt* st, const BindMap& map, std::ptrdiff_t step)
{
    for (int i = 0; i < map.count(); ++i) {
        const short n = map.numberAt(i);
        if (n == 0)
            continue;
        checkColumn(s, n);
        detail::storeValue(sqlite3_column_value(st, n - 1), map.infoAt(i), step, n,
                           detail::readScale(s.columns[std::size_t(n - 1)].type));
    }
}

} // namespace

OrvCursor::OrvCursor() = default;

OrvCursor::OrvCursor(const OrvConnect& connection, VLong mode, const char* name, bool snapshot)
{
    create(connection, mode, name, snapshot);
}

OrvCursor::~OrvCursor()
{
    closeChannel();
}

void OrvCursor::create(const OrvConnect& connection, VLong mode, const char* name, bool snapshot)
{
    try {
        std::shared_ptr<detail::ConnectionState> c = detail::openConnection(connection);
        auto state = std::make_shared<CursorState>();
        state->name = name && *name ? name : "CURSOR";
        state->mode = mode;
        state->snapshot = snapshot;
        unsigned short h;
        {
            ConnectionLock l(*c);
            h = c->addChild(state);
        }
        closeChannel();
        setHandle(h, true);
    } catch (const OrvX& x) {
        detail::rememberError(x);
        throw;
    }
}

void OrvCursor::attach(unsigned short handle, bool owning)
{
    if (handle)
        detail::openCursor(handle);
    setHandle(handle, handle && owning);
}

void OrvCursor::close() noexcept
{
    closeChannel();
}

void OrvCursor::execute(const char* sql, Handler* handler)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    if (!sql)
        throw OrvX::client(orvapiBadArgument, "no statement text");
    const std::string text = sql;
    runCall(s, handler, faultExecute, [s, text]() -> VLong {
        auto statement = std::make_shared<detail::StatementState>();
        statement->prepare(s->connection, text, false);
        return s->run(statement, statement->values(nullptr), nullptr);
    });
}

void OrvCursor::execute(const OrvStatement& statement, const BindMap* params, Handler* handler)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    std::shared_ptr<detail::StatementState> st = detail::openStatement(statement);
    if (st->connection != s->connection)
        throw OrvX::client(orvapiBadArgument, "the statement belongs to another connection");
    // The map itself may go when an asynchronous call returns; its buffers may not.
    std::shared_ptr<BindMap> map = params ? std::make_shared<BindMap>(*params) : nullptr;
    runCall(s, handler, faultExecute,
            [s, st, map]() -> VLong { return s->run(st, st->values(map.get()), map.get()); });
}

void OrvCursor::fetch(short how, VLong row, const BindMap* columns, Handler* handler)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    // A queued call reads into the map's buffers later: it keeps a copy, as the map itself
    // may go when this returns. A call made at once uses the caller's.
    std::shared_ptr<BindMap> copy = columns && handler ? std::make_shared<BindMap>(*columns) : nullptr;
    const BindMap* map = handler ? copy.get() : columns;
    runCall(s, handler, faultFetch, [s, how, row, copy, map]() -> VLong {
        checkResult(*s);
        const VLong target = s->target(how, row);
        s->fetchRow(target, how == fetchNext);
        if (map)
            for (int i = 0; i < map->count(); ++i) {
                const short n = map->numberAt(i);
                if (n == 0)
                    continue;
                checkColumn(*s, n);
                storeCurrent(*s, n, map->infoAt(i));
            }
        return 1;
    });
}

VLong OrvCursor::multiFetch(VLong startRow, VLong count, const BindMap* columns, VLong recordSize, Handler* handler)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    if (!columns)
        throw OrvX::client(orvapiBadArgument, "multiFetch needs a BindMap");
    if (count > 1 && recordSize <= 0)
        throw OrvX::client(orvapiBadArgument, "multiFetch of several rows needs a record size");
    std::shared_ptr<BindMap> map = std::make_shared<BindMap>(*columns);
    return runCall(s, handler, faultFetch, [s, startRow, count, map, recordSize]() -> VLong {
        checkResult(*s);
        bool blobs = false;
        for (int i = 0; i < map->count(); ++i) {
            const short n = map->numberAt(i);
            checkColumn(*s, n);
            blobs = blobs || map->infoAt(i).type() == orvBlob || s->columns[std::size_t(n - 1)].type.type == orvBlob;
        }
        return s->result->read(startRow, count, blobs, [&](sqlite3_stmt* st, VLong i) {
            storeRow(*s, st, *map, std::ptrdiff_t(i) * recordSize);
        });
    });
}

void OrvCursor::getData(short col, const ValueInfo& value)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    runCall(s, nullptr, faultRead, [&]() -> VLong {
        if (col == 0) {
            if (!s->procCursor)
                throw OrvX::client(orvapiBadArgument, "column 0 is only the cursor a procedure returned");
            detail::SqlValue v;
            v.type = detail::SqlValue::Integer;
            v.i = s->procResult;
            detail::storeValue(v, value, 0, 0);
            return 0;
        }
        checkResult(*s);
        checkColumn(*s, col);
        storeCurrent(*s, col, value);
        return 0;
    });
}

VLong OrvCursor::getBlobLen(short col)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    return runCall(s, nullptr, faultRead, [&]() -> VLong {
        checkResult(*s);
        checkColumn(*s, col);
        return s->result->valueLength(col - 1);
    });
}

void OrvCursor::appendBlob(short col, const void* data, VLong len)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    runCall(s, nullptr, faultRead, [&]() -> VLong {
        checkResult(*s);
        checkColumn(*s, col);
        if (len < 0 || (len > 0 && !data))
            throw OrvX::client(orvapiBadArgument, "appendBlob needs data");
        detail::ResultSet& r = *s->result;
        const detail::ColumnDesc& d = s->columns[std::size_t(col - 1)];
        if (!r.hasKey() || d.table.empty() || !detail::equalNoCase(d.table, r.baseTable()))
            throw OrvX::client(orvapiNotUpdatable, "column " + std::to_string(col) + " is no column of the cursor's table");
        if (r.currentRow() <= 0)
            throw OrvX::client(orvapiNoRow, "the cursor stands on no row");
        detail::ConnectionState& c = *s->connection;
        const detail::TableKey key = detail::tableKey(c.db(), r.baseSchema(), r.baseTable());
        const std::string table = detail::quoteName(r.baseSchema()) + "." + detail::quoteName(r.baseTable());
        const std::string column = detail::quoteName(d.column);
        std::string bytes;
        {
            detail::StmtGuard read(detail::prepareOrThrow(
                c.db(), "SELECT " + column + " FROM " + table + " WHERE " + key.keyName + " = ?1", s->statement->text));
            sqlite3_bind_int64(read.st, 1, r.currentKey());
            if (sqlite3_step(read.st) != SQLITE_ROW)
                throw OrvX::client(orvapiNoRow, "the current row was deleted");
            const void* old = sqlite3_column_blob(read.st, 0);
            const int n = sqlite3_column_bytes(read.st, 0);
            if (old && n > 0)
                bytes.assign(static_cast<const char*>(old), std::size_t(n));
        }
        if (len > 0)
            bytes.append(static_cast<const char*>(data), std::size_t(len));
        const std::string sql = "UPDATE " + table + " SET " + column + " = ?1 WHERE " + key.keyName + " = ?2";
        detail::StmtGuard write(detail::prepareOrThrow(c.db(), sql, sql));
        if (sqlite3_get_autocommit(c.db())) {
            int rc = sqlite3_exec(c.db(), "BEGIN", nullptr, nullptr, nullptr);
            if (rc != SQLITE_OK)
                throw detail::serverError(c.db(), rc, sql, nullptr);
        }
        c.noteWrite();
        sqlite3_bind_blob(write.st, 1, bytes.data(), int(bytes.size()), SQLITE_STATIC);
        sqlite3_bind_int64(write.st, 2, r.currentKey());
        int rc = sqlite3_step(write.st);
        if (rc != SQLITE_DONE)
            throw detail::serverError(c.db(), rc, sql, nullptr);
        r.currentUpdated();
        s->refetchCurrent();
        return 0;
    });
}

VLong OrvCursor::rowCount() const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    return s->result ? s->result->rowCount() : s->rowCount;
}

VLong OrvCursor::selectRowCount() const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    return s->result ? s->result->rowCount() : 0;
}

VLong OrvCursor::currentRow() const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    return s->result ? s->result->currentRow() : 0;
}

VLong OrvCursor::columnCount() const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    return VLong(s->columns.size());
}

void OrvCursor::answerDesc(short col, t_ParamDesc* desc) const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    if (!desc)
        throw OrvX::client(orvapiBadArgument, "no description to fill");
    checkColumn(*s, col);
    const detail::ColumnDesc& d = s->columns[std::size_t(col - 1)];
    detail::fillDesc(desc, d.owner, d.table, d.column, d.alias, d.type);
}

void OrvCursor::commit(Handler* handler)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    runCall(s, handler, faultTransaction, [s]() -> VLong {
        sqlite3* db = s->connection->db();
        s->connection->noteWrite();
        if (!sqlite3_get_autocommit(db)) {
            int rc = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
            if (rc != SQLITE_OK)
                throw detail::serverError(db, rc, "COMMIT", nullptr);
        }
        return 0;
    });
}

void OrvCursor::rollback(Handler* handler)
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    runCall(s, handler, faultTransaction, [s]() -> VLong {
        sqlite3* db = s->connection->db();
        s->connection->noteWrite();
        if (!sqlite3_get_autocommit(db)) {
            int rc = sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
            if (rc != SQLITE_OK)
                throw detail::serverError(db, rc, "ROLLBACK", nullptr);
        }
        return 0;
    });
}

bool OrvCursor::isProcCursor() const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    return s->procCursor;
}

bool OrvCursor::lastError(OrvX& error) const
{
    std::shared_ptr<detail::ChannelState> c = detail::ChannelTable::instance().find(rawHandle());
    if (!c || c->kind != detail::ChannelState::Cursor)
        return false;
    return std::static_pointer_cast<CursorState>(c)->error(error);
}

int OrvCursor::checkInvariants() const
{
    std::shared_ptr<CursorState> s = detail::openCursor(rawHandle());
    ConnectionLock l(*s->connection);
    return s->checkInvariants();
}

void OrvCursor::interrupt()
{
    std::shared_ptr<detail::ChannelState> c = detail::ChannelTable::instance().find(rawHandle());
    if (c && c->kind == detail::ChannelState::Cursor)
        std::static_pointer_cast<CursorState>(c)->connection->interrupt(rawHandle());
}

} // namespace OrvCPP

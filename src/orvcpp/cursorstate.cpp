// Running statements on a cursor: selects into a result, writes in the connection's
// transaction, positioned writes through another cursor's row, and procedure calls.
#include "cursorstate.h"

#include "dialect.h"
#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/procedures.h>
#include "sqltokens.h"

#include <sqlite3.h>

namespace OrvCPP {
namespace detail {

namespace {

thread_local OrvX t_lastError;
thread_local bool t_hasError = false;

} // namespace

void rememberError(const OrvX& error)
{
    t_lastError = error;
    t_hasError = true;
}

bool lastThreadError(OrvX& out)
{
    if (t_hasError)
        out = t_lastError;
    return t_hasError;
}

namespace {

// The open channel of kind `kind` behind `handle`, or an OrvX naming what it is not.
template <class State>
std::shared_ptr<State> openChannel(unsigned short handle, ChannelState::Kind kind, const char* noun)
{
    auto c = ChannelTable::instance().find<State>(handle, kind);
    if (!c || !c->connection || !c->connection->isOpen())
        throw OrvX::client(handle ? orvapiBadHandle : orvapiNotOpen,
                           handle ? "handle " + std::to_string(handle) + " is no open " + noun
                                  : "the " + std::string(noun) + " is not open");
    return c;
}

} // namespace

std::shared_ptr<CursorState> openCursor(unsigned short handle)
{
    return openChannel<CursorState>(handle, ChannelState::Cursor, "cursor");
}

std::shared_ptr<StatementState> openStatement(unsigned short handle)
{
    return openChannel<StatementState>(handle, ChannelState::Statement, "statement");
}

void closeChannel(unsigned short handle) noexcept
{
    std::shared_ptr<ChannelState> s = ChannelTable::instance().find(handle);
    if (!s)
        return;
    if (s->kind == ChannelState::Connection) {
        std::static_pointer_cast<ConnectionState>(s)->close();
        ChannelTable::instance().remove(handle);
        return;
    }
    if (std::shared_ptr<ConnectionState> c = std::static_pointer_cast<ChildState>(s)->connection) {
        if (s->kind == ChannelState::Cursor)
            c->cancel(handle);
        ConnectionLock l(*c);
        s->release();
        c->removeChild(handle);
    }
    ChannelTable::instance().remove(handle);
}

void beginIfWriting(ConnectionState& c, const StatementState& s)
{
    if (s.readOnly || s.queryType == kindTransaction || !sqlite3_get_autocommit(c.db()))
        return;
    int rc = sqlite3_exec(c.db(), "BEGIN", nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK)
        throw serverError(c.db(), rc, s.text, nullptr);
}

CursorState::CursorState() : ChildState(Cursor) {}

CursorState::~CursorState()
{
    release();
}

void CursorState::release() noexcept
{
    rows.clear();
    result.reset();
    statement.reset();
    columns.clear();
}

void CursorState::setError(const OrvX& e)
{
    std::lock_guard<std::mutex> g(m_errorMutex);
    m_error = e;
    m_hasError = true;
}

bool CursorState::error(OrvX& out) const
{
    std::lock_guard<std::mutex> g(m_errorMutex);
    if (m_hasError)
        out = m_error;
    return m_hasError;
}

int CursorState::checkInvariants() const
{
    if (result ? !statement || columns.size() != statement->columns.size() : !columns.empty())
        return 1;
    if (procResult != 0 && !procCursor)
        return 2;
    // 3 is a rule of the callers, not a state to check.
    if (result && result->checkInvariants() != 0)
        return 4;
    if (rows.checkInvariants() != 0 || (!result && rows.held() != 0))
        return 5;
    return 0;
}

void CursorState::dropResult()
{
    rows.clear();
    result.reset();
    columns.clear();
    rowCount = 0;
    procCursor = false;
    procResult = 0;
}

VLong CursorState::run(const std::shared_ptr<StatementState>& s, const std::vector<SqlValue>& values,
                       const BindMap* params)
{
    dropResult();
    statement = s;
    if (s->queryType != kindSelect)
        connection->noteWrite();
    if (s->isProcedure())
        return rowCount = runProcedure(s, values, params);
    if (s->queryType == kindPositionedUpdate || s->queryType == kindPositionedDelete)
        return rowCount = runPositioned(s, values);
    if (s->queryType != kindSelect)
        return rowCount = runWrite(s, values);

    result = makeResult(s, values, snapshot);
    columns = s->columns;
    // Expressions take the type of their first value.
    bool undeclared = false;
    for (const ColumnDesc& c : columns)
        undeclared = undeclared || !c.declared;
    if (undeclared && result->rowCount() > 0)
        result->read(1, 1, false, [&](sqlite3_stmt* st, VLong) {
            for (std::size_t i = 0; i < columns.size(); ++i)
                if (!columns[i].declared)
                    columns[i].type = typeFromValue(sqlite3_column_type(st, int(i)), sqlite3_column_bytes(st, int(i)));
        });
    return rowCount = result->rowCount();
}

VLong CursorState::runWrite(const std::shared_ptr<StatementState>& s, const std::vector<SqlValue>& values)
{
    ConnectionState& c = *connection;
    beginIfWriting(c, *s);
    sqlite3_stmt* st = s->stmt;
    struct Reset {
        sqlite3_stmt* st;
        ~Reset()
        {
            sqlite3_reset(st);
            sqlite3_clear_bindings(st);
        }
    } reset{st};
    int rc = s->bindValues(st, values);
    if (rc != SQLITE_OK)
        throw serverError(c.db(), rc, s->text, nullptr);
    // Rows a RETURNING clause gives are passed over: a write's result is its count.
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    }
    if (rc != SQLITE_DONE)
        throw serverError(c.db(), rc, s->text, &s->dialect);
    const bool counts = s->queryType == kindInsert || s->queryType == kindUpdate || s->queryType == kindDelete;
    return counts ? VLong(sqlite3_changes(c.db())) : 0;
}

VLong CursorState::runPositioned(const std::shared_ptr<StatementState>& s, const std::vector<SqlValue>& values)
{
    ConnectionState& c = *connection;
    const std::string& name = s->dialect.cursorName;
    // The most recently positioned cursor of that name that stands on a row.
    std::shared_ptr<CursorState> target;
    for (unsigned short h : c.children()) {
        auto cs = ChannelTable::instance().find<CursorState>(h, ChannelState::Cursor);
        if (!cs || !equalNoCase(cs->name, name) || !cs->result || cs->result->currentRow() <= 0)
            continue;
        if (!target || cs->positioned > target->positioned)
            target = cs;
    }
    if (!target)
        throw OrvX::client(orvapiNoCursor, "no cursor named '" + name + "' stands on a row", s->text.c_str());
    ResultSet& r = *target->result;
    if (!r.hasKey())
        throw OrvX::client(orvapiNotUpdatable,
                           "the rows of cursor '" + name + "' are not rows of one table", s->text.c_str());
    const bool sameTable = equalNoCase(r.baseTable(), s->dialect.targetTable) &&
                           (s->dialect.targetSchema.empty() || equalNoCase(r.baseSchema(), s->dialect.targetSchema));
    if (!sameTable)
        throw OrvX::client(orvapiNotUpdatable,
                           "cursor '" + name + "' reads " + r.baseTable() + ", not " + s->dialect.targetTable,
                           s->text.c_str());
    beginIfWriting(c, *s);
    sqlite3_stmt* st = s->stmt;
    struct Reset {
        sqlite3_stmt* st;
        ~Reset()
        {
            sqlite3_reset(st);
            sqlite3_clear_bindings(st);
        }
    } reset{st};
    int rc = s->bindValues(st, values);
    if (rc == SQLITE_OK) {
        const int k = sqlite3_bind_parameter_index(st, kCurrentKeyParam);
        rc = sqlite3_bind_int64(st, k, r.currentKey());
    }
    if (rc != SQLITE_OK)
        throw serverError(c.db(), rc, s->text, nullptr);
    while ((rc = sqlite3_step(st)) == SQLITE_ROW) {
    }
    if (rc != SQLITE_DONE)
        throw serverError(c.db(), rc, s->text, &s->dialect);
    const VLong changed = sqlite3_changes(c.db());
    if (changed > 0) {
        if (s->queryType == kindPositionedDelete)
            r.currentDeleted();
        else {
            r.currentUpdated();
            target->refetchCurrent();
        }
    }
    return changed;
}

VLong CursorState::runProcedure(const std::shared_ptr<StatementState>& s, const std::vector<SqlValue>& values,
                                const BindMap* params)
{
    ConnectionState& c = *connection;
    Procedure procedure = findProcedure(s->dialect.procedure);
    if (!procedure)
        throw OrvX::client(orvapiNoProcedure, "no procedure is registered as '" + s->dialect.procedure + "'",
                           s->text.c_str());
    std::vector<SqlValue> args;
    if (sqlite3_stmt* st = s->stmt) {
        struct Reset {
            sqlite3_stmt* st;
            ~Reset()
            {
                sqlite3_reset(st);
                sqlite3_clear_bindings(st);
            }
        } reset{st};
        int rc = s->bindValues(st, values);
        if (rc == SQLITE_OK)
            rc = sqlite3_step(st);
        if (rc != SQLITE_ROW)
            throw serverError(c.db(), rc, s->text, &s->dialect);
        for (int i = 0; i < sqlite3_column_count(st); ++i)
            args.push_back(valueFromSqlite(sqlite3_column_value(st, i)));
    }
    OrvConnect caller;
    caller.attach(c.handle, false);
    CallData data;
    data.connection = &caller;
    data.args = &args;
    data.params = params;
    ProcedureContext context(&data);
    const sqlite3_int64 before = sqlite3_total_changes64(c.db());
    try {
        procedure(context);
    } catch (const OrvX&) {
        throw;
    } catch (const std::exception& e) {
        throw OrvX::client(orvapiServer, std::string("procedure ") + s->dialect.procedure + ": " + e.what(),
                           s->text.c_str());
    }
    procCursor = data.resultCursor != 0;
    procResult = data.resultCursor;
    return data.rowCount >= 0 ? data.rowCount : VLong(sqlite3_total_changes64(c.db()) - before);
}

void CursorState::refetchCurrent()
{
    if (!rowFetched())
        return;
    const VLong row = result->currentRow();
    // A row that can't be read again (gone from the table) keeps no copy: getData then
    // reads the result, which tells that the row is gone.
    try {
        if (rows.fill(*result, int(columns.size()), row, 1, connection->dataStamp()) == 1)
            rows.select(row);
    } catch (const OrvX&) {
        rows.clear();
    }
}

VLong CursorState::target(short how, VLong row) const
{
    const VLong current = result ? result->currentRow() : 0;
    const VLong count = result ? result->rowCount() : 0;
    switch (how) {
    case 1:
        return 1;
    case 2:
        return current + 1;
    case 3:
        return current - 1;
    case 4:
        return count;
    case 5:
        return row;
    case 6:
        return current + row;
    default:
        throw OrvX::client(orvapiNotSupported, "fetch direction " + std::to_string(how) + " is not supported");
    }
}

void CursorState::fetchRow(VLong row, bool forward)
{
    if (!result)
        throw OrvX::client(orvapiNotOpen, "the cursor has no result to fetch from");
    result->checkRow(row);
    const std::uint64_t stamp = connection->dataStamp();
    if (!forward || !rows.holds(row, stamp)) {
        const VLong count = forward ? rows.blockRows() : 1;
        if (rows.fill(*result, int(columns.size()), row, count, stamp) == 0)
            throw OrvX::client(orvapiNoRow, "row " + std::to_string(row) + " is no longer in the table");
    }
    rows.select(row);
    result->setCurrent(row, rows.currentKey());
    positioned = connection->nextPositionSerial();
}


} // namespace detail
} // namespace OrvCPP

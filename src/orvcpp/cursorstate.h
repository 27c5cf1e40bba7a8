// The state of an open cursor: its connection, name, current result and position, and the
// running of statements on it (selects, writes, positioned writes, procedure calls).
#pragma once

#include <vexapi/orvcpp/orvx.h>
#include "resultset.h"
#include "rowbuffer.h"
#include "session.h"
#include "statementstate.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace OrvCPP {
namespace detail {

// An open cursor.
//
// States and events (the row is the result's current row):
//
//   state      event                          function                      next state
//   ---------  -----------------------------  ----------------------------  ----------
//   (none)     OrvCursor::create              ConnectionState::addChild     IDLE
//   IDLE       execute a select               run -> makeResult             RESULT
//   IDLE       execute any other statement    run -> runWrite,              IDLE
//                                             runPositioned, runProcedure
//   RESULT     fetch inside the result        target, fetchRow              ON_ROW
//   ON_ROW     fetch inside the result        target, fetchRow              ON_ROW
//   RESULT,    fetch outside the result       target, locate: orvapiNoRow   unchanged
//   ON_ROW
//   ON_ROW     positioned delete of its row   ResultSet::currentDeleted     RESULT
//              (through another cursor)
//   RESULT,    execute anything               run: dropResult first         RESULT or
//   ON_ROW                                                                  IDLE
//   any        a call fails (or is failed by  setError; the state is as     unchanged
//              the fault switch)              the call left it
//   any        close, or the connection's     release                       (none)
//              close
// getData, getBlobLen and appendBlob read or write the row in ON_ROW and fail with
// orvapiNoRow in RESULT and orvapiNotOpen in IDLE; they do not move the cursor.
//
// Invariants:
//  1. `result` is set only after a select ran; `columns` then describe it (one per result
//     column); after any other statement both are empty.
//  2. procResult is not 0 only when procCursor is true.
//  3. Every member but the error is changed only with the connection's lock held.
//  4. The result, when there is one, keeps its own invariants (its checkInvariants tells
//     which broke).
//  5. The row buffer keeps its invariants (rowbuffer.h), and holds rows only of `result`.
class CursorState : public ChildState {
public:
    CursorState();
    ~CursorState() override;
    void release() noexcept override;

    // Runs `statement` with `values`; `params` receives a procedure's output parameters.
    // Returns the row count. The lock is held.
    VLong run(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values,
              const BindMap* params);

    // Positions: the row number for a direction; OrvX orvapiNoRow outside the result.
    VLong target(short how, VLong row) const;
    // Positions on `row` and fetches it into `rows`: from the read-ahead when `forward`
    // (a fetch of the next row) finds it there and nothing was written through the
    // connection since, else by a new block read (of blockRows() rows when `forward`,
    // of the one row otherwise, which drops the read-ahead).
    void fetchRow(VLong row, bool forward);
    // Reads the current row's copy again after a write to that row through this cursor's
    // position (a positioned update, appendBlob), which the cursor shows at once.
    void refetchCurrent();
    // The current row's copy, when the cursor stands on the row `rows` holds as current.
    bool rowFetched() const { return result && rows.currentRow() > 0 && rows.currentRow() == result->currentRow(); }

    void setError(const OrvX& error);
    bool error(OrvX& out) const;

    // 0 when the invariants hold, else the number of the first broken one. The lock is held.
    int checkInvariants() const;

    std::string name;
    VLong mode = 0;
    bool snapshot = false;
    std::shared_ptr<StatementState> statement;
    std::unique_ptr<ResultSet> result;
    RowBuffer rows; // the fetched rows of `result`
    std::vector<ColumnDesc> columns;
    VLong rowCount = 0;
    std::uint64_t positioned = 0; // the connection's position serial at the last fetch
    bool procCursor = false;
    unsigned short procResult = 0;

private:
    VLong runWrite(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values);
    VLong runPositioned(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values);
    VLong runProcedure(const std::shared_ptr<StatementState>& statement, const std::vector<SqlValue>& values,
                       const BindMap* params);
    void dropResult();

    mutable std::mutex m_errorMutex;
    OrvX m_error;
    bool m_hasError = false;
};

// Begins the connection's transaction if none is open and `statement` writes.
void beginIfWriting(ConnectionState& connection, const StatementState& statement);

// The cursor behind a handle; OrvX orvapiBadHandle when it names no open cursor.
std::shared_ptr<CursorState> openCursor(unsigned short handle);
std::shared_ptr<StatementState> openStatement(unsigned short handle);

// Closes the channel behind `handle` of any kind: a cursor's running call is interrupted
// and its queued calls cancelled first; a connection closes its children. Never throws.
void closeChannel(unsigned short handle) noexcept;

// The calling thread's last failure, for ORVANE_Error.
void rememberError(const OrvX& error);
bool lastThreadError(OrvX& out);

} // namespace detail
} // namespace OrvCPP

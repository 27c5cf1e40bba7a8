// OrvCursor: a scrollable cursor of the client layer that runs statements and reads their
// rows by absolute position, alone or in blocks; and its Handler, told the end of a call
// that runs on the connection's worker thread.
#pragma once

#include <vexapi/values/bindmap.h>
#include <vexapi/orvcpp/orvchannel.h>
#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/orvstatement.h>
#include <vexapi/orvcpp/orvx.h>
#include <vexapi/orvcpp/paramdesc.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace OrvCPP {

// Fetch directions of `fetch`.
enum OrvFetch : short {
    fetchFirst = 1,
    fetchNext = 2,
    fetchPrior = 3,
    fetchLast = 4,
    fetchAbsolute = 5, // the row number given
    fetchRelative = 6  // the current row plus the number given
};

// A cursor on a connection. `execute` runs a statement; a select's rows are then read by
// number (from 1) with `fetch`, `multiFetch` and `getData`, in any order. A select's row
// count is known as soon as `execute` returns (`selectRowCount`), before any fetch.
//
// Rows stay in the server: a select is not copied into client memory, so browsing a result
// of any size keeps the client's memory bounded (resultset.h tells how, with its costs).
// A select that reads one table row by row (no join, grouping, DISTINCT or aggregate) reads
// that table live by its row key; every other select, and any select on a cursor created
// with `snapshot` true, is copied into the connection's private temporary store as far as
// its rows are read: execute counts the result ("SELECT count(*) FROM (<select>)", the cost
// of running it once without keeping rows) and the first read of row N copies the rows up
// to N. So the first screen of a join over a million rows costs about a count and a page,
// and the last row the whole copy. While a copy is partial its select stays open on the
// connection (a read lock on the files it reads). A statement that can't be counted so (a
// PRAGMA) is copied whole at execute.
//
// Fetched rows: `fetch` copies the row it positions on to the client, and getData reads
// that copy (a blob is read from the result when asked for, as it may be large). A fetched
// row is a snapshot of the row as of its fetch. While fetches walk forward (fetchNext after
// fetchNext), the cursor reads a block of the following rows in one go (up to 256 rows or
// about 64 KB), and those rows are snapshots as of that block's read; the block's memory is
// bounded, whatever the result's size. Any other fetch, an execute, a positioned write, and
// any write, commit or rollback through the same connection drop the rows read ahead, so
// that changes made through the connection are seen by the next fetch (a positioned update
// or appendBlob of the current row shows at once). Changes made by other connections are
// seen from the next block read, or at once by a fetch that is not a fetchNext.
//
// Positioned writes: "update <table> set ... where current of <name>" and "delete from
// <table> where current of <name>", run on any cursor of the connection, act on the row
// that the cursor named <name> stands on (its last fetch). Among several cursors of that
// name the most recently positioned one is meant; an unnamed cursor is named "CURSOR". A
// positioned delete takes the row out of that cursor: the rows after it move up by one and
// selectRowCount falls by one. Only rows of a single table's select can be written so.
//
// Asynchronous calls: execute, fetch, multiFetch, commit and rollback take a Handler. With
// a Handler the call returns at once and runs on the connection's worker thread; when it
// ends, the Handler is told on that thread (Handler::complete). Calls on one connection are
// serialised in the order they were made, asynchronous or not: a synchronous call waits
// until the queued ones have ended. The buffers of a BindMap given to an asynchronous call
// must stay valid until the Handler is told; the BindMap object itself may go at once.
// A call that can't start (a closed cursor) throws at once instead.
//
// Procedures: executing "call name(...)" runs the registered procedure (procedures.h). If
// it returned a cursor, isProcCursor() is true and getData(0, ValueInfo(&handle, &null))
// gives that cursor's handle, to attach with `owning` true.
class VEXAPI_API OrvCursor : public OrvChannel {
public:
    // The end of an asynchronous call, told on the connection's worker thread. `code` is 0
    // on success, otherwise the failure's orvapiError (the OrvX itself is lastError()); `rows`
    // is the call's row count (execute: rowCount(); multiFetch: rows read; fetch: 1), or -1
    // on failure. The layer does not touch the Handler after calling complete, so the
    // waiter may delete it as soon as it sees the end.
    class VEXAPI_API Handler {
    public:
        virtual ~Handler();
        virtual void complete(short code, VLong rows) = 0;
    };

    OrvCursor();
    // `name` is the cursor's name for "current of" (null or "" gives "CURSOR"); `snapshot`
    // true copies every select's result at execute (see above).
    OrvCursor(const OrvConnect& connection, VLong mode, const char* name = nullptr,
              bool snapshot = false);
    ~OrvCursor() override;

    void create(const OrvConnect& connection, VLong mode, const char* name = nullptr,
                bool snapshot = false);
    void attach(unsigned short handle, bool owning);
    // Ends a running call of this cursor (interrupting it), drops its result and closes it
    // if owned. Never throws.
    void close() noexcept;

    // Runs a text (UTF-8), replacing the cursor's previous result.
    void execute(const char* sql, Handler* handler = nullptr);
    // Runs a prepared statement of the same connection, with parameters from `params` (by
    // number; null binds nothing, so every parameter is null). Procedure output parameters
    // are written back into `params`' buffers.
    void execute(const OrvStatement& statement, const BindMap* params = nullptr,
                 Handler* handler = nullptr);

    // Positions (OrvFetch) and fetches the row (see "Fetched rows" above); with a BindMap it
    // also stores the row's columns into its buffers, else getData reads them. OrvX when the
    // row is outside 1..selectRowCount(); the cursor then stays on its row.
    void fetch(short how, VLong row, const BindMap* columns = nullptr, Handler* handler = nullptr);
    // Reads up to `count` rows from `startRow` into the buffers of `columns`, each buffer,
    // null flag and length result stepped by `recordSize` bytes per row. The current row
    // stays where it was. Returns the number read (0 past the end; 0 when asynchronous).
    VLong multiFetch(VLong startRow, VLong count, const BindMap* columns, VLong recordSize,
                     Handler* handler = nullptr);
    // The value of column `col` (from 1) of the current row as it was fetched; column 0 of
    // a procedure's cursor gives the handle of the cursor it returned.
    void getData(short col, const ValueInfo& value);
    // The size in bytes of column `col` of the current row (a blob, or text); 0 for null.
    VLong getBlobLen(short col);
    // Appends `len` bytes to the blob in column `col` of the current row (a null blob
    // becomes those bytes), in the row's table.
    void appendBlob(short col, const void* data, VLong len);

    // The last statement's rows: those written by a write, the result size of a select.
    VLong rowCount() const;
    // The size of the current select's result, known after execute without fetching.
    VLong selectRowCount() const;
    // The current row (from 1), 0 for none.
    VLong currentRow() const;
    VLong columnCount() const;
    void answerDesc(short col, t_ParamDesc* desc) const;

    // End the connection's transaction (nothing happens when none is open).
    void commit(Handler* handler = nullptr);
    void rollback(Handler* handler = nullptr);

    // The last executed procedure returned a cursor.
    bool isProcCursor() const;

    // The failure of the last call of this cursor that failed (also asynchronous ones);
    // false when none failed.
    bool lastError(OrvX& error) const;

    // Checks the invariants of the cursor and its result structure; tests call it after
    // each change. 0 when all hold, else the number of the first broken one (cursorstate.h
    // numbers them).
    int checkInvariants() const;

    // Stops the call of this cursor that is running now, from any thread: it ends with
    // orvapiInterrupted. Does nothing when none runs.
    void interrupt();
};

} // namespace OrvCPP

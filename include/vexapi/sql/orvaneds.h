// The cursor-backed source: OrvaneDataStore (statement, cursor, column description, key
// discovery, value conversion, block read-ahead), TypicalOrvaneDS1 (parameters and keys),
// OrvaneDS (the row cache over a cursor and the generated writes), the query-mode interface
// and the OrvaneDataSource mixin shared by the statements.
#pragma once

#include <vexapi/sql/dbcolinfo.h>
#include <vexapi/sql/lowmemoryds.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wstring.h>
#include <vexapi/datasource/datasource.h>
#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/orvcursor.h>
#include <vexapi/orvcpp/orvstatement.h>
#include <vexapi/orvcpp/orvx.h>
#include <vexapi/values/bindmap.h>
#include <vexapi/values/kort.h>

#include <string>
#include <vector>

namespace DataSourceAPI {

// How calls of a source run: a query mode supplies the Handler its cursor calls take and
// waits for their end (asynchronous cursors); without one every call is synchronous.
// `wait()` returns when the call has ended and throws the call's OrvX when it failed.
class VEXAPI_API OrvaneQueryMode {
public:
    virtual ~OrvaneQueryMode();
    virtual OrvCPP::OrvCursor::Handler* handler() = 0;
    virtual void wait() = 0;
    // Not used by the cursor-backed source.
    virtual void reserved();
    // Stops the running call.
    virtual void terminate() = 0;
};

struct VEXAPI_API DBParamInfo {
    WString name;
    int type = 0;
    int length = 0;
    int precision = 0;
    int scale = 0;
    int fetchType = 0;
    int fetchLen = 0;
    Type dsType = tNone;
    int dsLen = 0;
};

struct VEXAPI_API DBTableInfo {
    WString name;          // the table as written in generated SQL: "owner.table" or "table"
    WString owner;         // as the server named it ("" in ignore-owner mode)
    WString table;
    bool isLoaded = false; // priKeys read
    int rowidCol = 0;      // the column holding its ROWID, 0 for none
    std::vector<int> priKeys; // result column numbers of its primary key
};

// The server side of the source: the statement, its main cursor, the description of its
// columns, parameters and tables, and an 8 KB read-ahead block of fetched rows.
//
// Reading: a value of cursor row R is served from the block when R lies in
// [blockStart, blockStart + rows in the block); otherwise one multiFetch reads the block
// forward from R (blockRecords rows, as many as fit in 8192 bytes of column lengths). Blobs
// never travel in the block: getBlobSize and getBlob position the cursor and read one.
//
// Invariants (checkInvariants):
//  1. The fetch description has one column per result column, and the block, when there
//     is one, holds blockRecords records of it.
//  2. blockCount() <= blockRecords(), and blockStart() is 0 exactly when the block is empty.
//  3. Every column's tableIndex is 0 or a table of the list, and column names are unique.
class VEXAPI_API OrvaneDataStore {
public:
    OrvaneDataStore();
    virtual ~OrvaneDataStore();
    OrvaneDataStore(const OrvaneDataStore&) = delete;
    OrvaneDataStore& operator=(const OrvaneDataStore&) = delete;

    // Prepares `select` (at most 10000 characters are kept) on the open connection
    // `connection` and describes its columns, parameters and tables. A procedure call is
    // run once here with null parameters. OrvX on failure (the store is then closed).
    void create(unsigned short connection, const WChar* select);
    // Releases the cursors, frees the block and empties the descriptions. Never throws.
    void close() noexcept;
    bool isCreated() const { return m_created; }

    // Runs the statement with `params` on the main cursor (opening it if needed).
    void execute(const OrvCPP::BindMap* params);
    // The value of column `col` of cursor row `row`, from the read-ahead block; the pointer
    // stays valid until the next read that misses the block. OrvX past the result's end.
    const OrvCPP::OrvValue& getColumnData(int row, int col, bool* isNull);
    VLong getBlobSize(int row, int col, bool* isNull);
    void getBlob(int row, int col, void* buffer, int size, bool* isNull);
    // Closes the main and second cursors and empties the block. Never throws.
    void releaseCursors() noexcept;
    void clearCache();

    int indexByDBColName(const WChar* name) const;
    int indexByDBParamName(const WChar* name) const;
    int indexByDBTableName(const WChar* name) const;
    // The primary key of table `table` (1-based), read from the catalog once per table:
    // the number of its key columns found among the result columns, and the i-th of them
    // (from 1) as a result column number.
    int priKeysCount(int table);
    int priKeyIndex(int table, int i);

    int dbColCount() const { return int(m_cols.size()); }
    const DBColInfo& dbCol(int col) const { return m_cols[std::size_t(col - 1)]; }
    int dbParamCount() const { return int(m_params.size()); }
    const DBParamInfo& dbParam(int param) const { return m_params[std::size_t(param - 1)]; }
    int dbTableCount() const { return int(m_tables.size()); }
    const DBTableInfo& dbTable(int table) const { return m_tables[std::size_t(table - 1)]; }

    // The server type and length of a column (type table) and its fetch form.
    static Type orvane2dsType(int serverType, int serverLen, int* dsLen);
    static void substType(int serverType, int serverLen, int* fetchType, int* fetchLen);

    // A value of the source (`type`, `len`) into the fetch form `fetchType` in `buffer` of
    // `size` bytes, for binding; `*realLen` gets the bytes used. False when it can't be.
    static bool convertToOrvane(const FieldRef& value, int len, int fetchType, void* buffer, int size,
                                VLong* realLen);
    // A fetched value (its form and the bytes) into the source's field `value` of `len`.
    static void convertFromOrvane(int fetchType, const void* data, int dataLen, const FieldRef& value,
                                  int len);
    // The value as an SQL literal for a column of server type `serverType`.
    static void convertToOrvaneSQL(SQLStream& stream, int serverType, const FieldRef& value, int len);

    // Stops a running call through the query mode and closes the cursor; without a query
    // mode nothing happens.
    void terminate();
    OrvaneQueryMode* queryMode() const { return m_queryMode; }
    void setQueryModeOf(OrvaneQueryMode* mode) { m_queryMode = mode; }

    void setIgnoreOwnerMode(bool on) { m_ignoreOwner = on; }
    bool ignoreOwnerMode() const { return m_ignoreOwner; }
    void setIgnoreTableMode(bool on) { m_ignoreTable = on; }
    bool ignoreTableMode() const { return m_ignoreTable; }

    const WString& sqlSelect() const { return m_sqlSelect; }
    const std::string& cursorName() const { return m_cursorName; }
    unsigned short connection() const { return m_connect; }
    int blockRecords() const { return m_blockRecords; }
    int blockStart() const { return m_blockStart; }
    int blockCount() const { return m_blockCount; }
    // The main cursor's result size.
    int selectRowCount() const;
    bool isProcedure() const { return m_queryType == OrvCPP::queryProcedure; }
    // Whether the column names may use the select's aliases (no plain "*" in its list).
    bool parsedSelect() const { return m_parsed; }
    int checkInvariants() const;

protected:
    // Whether the select can be analysed and its list is free of "*" (so aliases name the
    // columns).
    virtual bool analyseSelect(const WString& select);
    void loadPriKeys(int table);
    // After a procedure ran: when it returned a cursor, that cursor becomes the main one
    // and the own cursor waits in the second.
    void attachProcCursor();
    void wait();
    OrvCPP::OrvCursor::Handler* handler() const;

    OrvCPP::OrvConnect m_connect;
    WString m_sqlSelect;
    OrvCPP::OrvStatement m_statement;
    OrvCPP::OrvCursor m_cursor;      // the main cursor
    OrvCPP::OrvCursor m_savedCursor; // the main cursor while a procedure's cursor replaces it
    OrvCPP::OrvCursor m_writer;      // generated writes and catalog reads
    bool m_ignoreOwner = false;
    bool m_ignoreTable = false;
    std::vector<DBParamInfo> m_params;
    std::vector<DBColInfo> m_cols;
    std::vector<DBTableInfo> m_tables;
    int m_blockRecords = 0;
    OrvCPP::KortDesc m_kortDesc;
    OrvCPP::Kort* m_korts = nullptr;
    int m_blockStart = 0;
    int m_blockCount = 0;
    OrvaneQueryMode* m_queryMode = nullptr;
    std::string m_cursorName;
    VLong m_queryType = 0;
    bool m_created = false;
    bool m_parsed = false;
    bool m_firstExecuted = false; // a procedure already ran in create
    bool m_procCursor = false;    // m_cursor is a procedure's cursor, m_savedCursor the own
};

// The parameters and the key columns of a cursor-backed source.
class VEXAPI_API TypicalOrvaneDS1 : public OrvaneDataStore {
public:
    // Binds every parameter linked to a database parameter, runs the statement, and reads
    // the procedure's output parameters back.
    virtual void execute();

protected:
    // The column tables the source keeps (LowMemoryDS's).
    virtual TypicalColsForDBDSWithParams& colTables() = 0;
};

// The row cache over a cursor, with generated writes.
//
// Modes of update(): `currentOf` writes each row through the main cursor ("where current
// of"), `byKey` by the values of its key columns (the original columns marked as keys).
//
// Writing: update() generates the deletes, updates and inserts inside the connection's
// transaction and journals each row it wrote. The caller then ends it: commitDB() and
// commitDS() after success, rollbackDB() and rollbackDS() after a failure, which leave every
// change pending, so that a second update() writes it all again.
//
// The batch rule: up to three rows of a kind go as a literal text each; from four on one
// prepared statement serves them (inserts, deletes except by a single integer key, and
// updates, one statement for each set of changed columns). A row holding a blob always
// goes through parameters.
//
// Cursor rows: the index keeps each row's row in the cursor. A delete through the cursor
// takes the row out of the cursor at once, so the index closes its gap at once; after a
// failed write rollbackDB() opens the gaps again and the select runs again before the next
// read, when the table holds those rows again. Deletes by key leave the cursor alone: after
// their commit the index closes the gaps and the select runs again before the next read.
// That keeps every row on its cursor row for a select read live by key, and for a copied
// select whose order the batch did not change; rows that a batch moved in the order of a
// copied select (changed sort columns, inserted rows sorting before others) show in the old
// places until retrieve(). Inserted rows have no cursor row until retrieve(): a change to
// one after its commit raises "Row not found in cursor" (current of) or, as its key the
// server gave is not known, "Row not found in table" (by key).
//
// Failures: OrvX of any call becomes OrvaneDSError code 0; an update by key that finds no
// row raises code 4, so that no change is dropped without a word.
class VEXAPI_API OrvaneDS : public TypicalOrvaneDS1, public LowMemoryDS {
public:
    enum UpdateMode { currentOf = 0, byKey = 1 };

    // The source's error: code 0 wraps the OrvX of a failed call; 1 to 4 come from the
    // generated writes (see getMessage).
    class VEXAPI_API OrvaneDSError {
    public:
        enum Code { server = 0, badMainTable = 1, missingKeys = 2, notInCursor = 3, notInTable = 4 };
        explicit OrvaneDSError(const OrvCPP::OrvX& error) : m_code(0), m_error(error) {}
        explicit OrvaneDSError(int code) : m_code(code) {}
        virtual ~OrvaneDSError();
        int code() const { return m_code; }
        const OrvCPP::OrvX& orvaneError() const { return m_error; }
        // The message, terminated, into `buffer` of `size` characters.
        void getMessage(WChar* buffer, int size) const;
        WString message() const;

    private:
        int m_code;
        OrvCPP::OrvX m_error;
    };

    OrvaneDS();
    ~OrvaneDS() override;

    // Creates the store over `select` and the source's columns and parameters from it (each
    // column linked to its database column). OrvX becomes OrvaneDSError.
    void create(unsigned short connection, const WChar* select);
    void close() noexcept;
    // Runs the select and resets the rows to its result.
    void retrieve();
    // Releases the cursors and resets to no rows.
    void retrieve0();

    // A new row before `it`, every field null (a database row starts without values).
    Iterator insertRow(const Iterator& it);

    // The three steps of update(), each doing nothing when it has nothing to write. They
    // throw OrvX (update() turns it into OrvaneDSError code 0) and OrvaneDSError.
    void updateDeleted();
    void updateUpdated();
    void updateInserted();
    void update();
    void commitDB();
    void rollbackDB();
    void commitDS();
    void rollbackDS();

    void setUpdateMode(UpdateMode mode) { m_updateMode = mode; }
    UpdateMode getUpdateMode() const { return m_updateMode; }
    // The table generated writes go to; empty means the table of the first column that has
    // one. Matched against the table list by its name, with or without its owner.
    void setMainTable(const WString& table) { m_mainTable = table; }
    virtual WString getMainTable() const;

    // The original (key) columns: the main table's primary key, or its rowid column.
    // Both lay the records out again, so rows read before are dropped.
    void setPrimaryKeysAsKey();
    void setRowidAsKey();
    void addKey(int dbCol);

    // Raw field access on row `it`, column `col` of the source (locks the row).
    void getFieldRaw(const Iterator& it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen);
    void setFieldRaw(const Iterator& it, int col, const void* data, int len, bool isNull);
    void setParamRaw(int param, const void* data, int len, bool isNull);

    // 0, the number of the row cache's first broken invariant, or 10 plus the store's.
    int checkInvariants() const;

protected:
    TypicalColsForDBDSWithParams& colTables() override { return *this; }
    void readRowFromDB(const Iterator& it) override;
    void readColumnFromDB(const Iterator& it, int col) override;

    // The table list index of the main table; OrvaneDSError 1 when there is none.
    int mainTableIndex() const;
    // The key original columns of table `table` (by key mode); OrvaneDSError 2 for none.
    std::vector<int> keyOrgCols(int table) const;
    // Runs a text on the write cursor.
    void runText(const WString& text);
    // Positions the main cursor on `dbRow` for a write "where current of".
    void positionOn(int dbRow);

public:
    // One column per result column, each linked to its database column, and the
    // parameters; lays the records out again.
    void buildColumns();

private:
    // Runs the select again when a write left the cursor's numbering behind the index's.
    void refreshCursor();
    // Undoes the renumbering of the index for deletes that a failed write took back.
    void restoreDeletedNumbering();

    UpdateMode m_updateMode = currentOf;
    WString m_mainTable;
    bool m_cursorStale = false;   // the cursor lost rows the database got back
    bool m_deletesByKey = false;  // deletes by key wait for the commit to renumber
};

// The mixin of the statements over the cursor-backed source: the query mode, terminate,
// and the message text of an OrvX.
class VEXAPI_API OrvaneDataSource {
public:
    virtual ~OrvaneDataSource();
    virtual OrvaneQueryMode* getQueryMode() const;
    virtual void setQueryMode(OrvaneQueryMode* mode);
    // Stops the running call; the base does nothing.
    virtual void terminate();
    // The report of `error` into `buffer` of `size` bytes (terminated): its text, the codes,
    // the query with ">>>>" at a known syntax error position, the position, a bad parameter.
    static void getMessage(const OrvCPP::OrvX& error, char* buffer, int size);
};

} // namespace DataSourceAPI

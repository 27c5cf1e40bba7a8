// The state of a prepared statement: the text as given and as SQLite runs it, the SQLite
// statement, its kind, and the descriptions of its columns and parameters.
#pragma once

#include <vexapi/values/bindmap.h>
#include "dialect.h"
#include "session.h"
#include "valueconv.h"

#include <memory>
#include <string>
#include <vector>

struct sqlite3_stmt;

namespace OrvCPP {
namespace detail {

// A column or parameter as the layer describes it.
struct ColumnDesc {
    std::string owner, table, column, alias;
    ColumnType type;
    bool declared = false; // the type came from a declared type, not from a value
    bool autoKey = false;  // the table's row key (INTEGER PRIMARY KEY, rowid) or AUTOINCREMENT
};

// The row key of a table: whether it has one, and the column that names it.
struct TableKey {
    bool rowidTable = false;  // a table with a rowid (not a view, not WITHOUT ROWID)
    std::string keyColumn;    // the INTEGER PRIMARY KEY column, or "" when only rowid names it
    std::string keyName;      // how to name the key in SQL: the column, or rowid/_rowid_/oid
};
TableKey tableKey(sqlite3* db, const std::string& schema, const std::string& table);

// A prepared statement. Used as a channel (OrvStatement) and privately by a cursor that runs
// a text.
//
// Invariants:
//  1. `stmt` is prepared from `dialect.sql` on the connection's database, or null for a
//     procedure call without arguments, or after `release`.
//  2. paramCount is the number of parameters of `stmt` (0 without one); params has that many
//     entries, columns one per result column of `stmt` (none for a procedure call).
class StatementState : public ChildState {
public:
    StatementState();
    ~StatementState() override;
    void release() noexcept override;

    // Translates, prepares and describes; OrvX on failure. The connection's lock is held.
    void prepare(const std::shared_ptr<ConnectionState>& connection, const std::string& text,
                 bool peekTypes);

    // The parameter values of a BindMap (stepped by `step` bytes), one per parameter; a
    // parameter the map leaves out is null. OrvX for a number out of range or a bad value.
    std::vector<SqlValue> values(const BindMap* map, std::ptrdiff_t step = 0) const;
    // Binds `values` to the parameters of `st`, a statement derived from this one's text:
    // its parameters are matched by name (the layer's own, named ":vx_...", are left to
    // the caller). A SQLite result code.
    int bindValues(sqlite3_stmt* st, const std::vector<SqlValue>& values) const;

    bool isProcedure() const { return queryType == kindProcedure; }

    std::string text;
    DialectText dialect;
    sqlite3_stmt* stmt = nullptr;
    int queryType = kindOther;
    int paramCount = 0;
    bool readOnly = true;
    std::vector<ColumnDesc> columns;
    std::vector<ColumnDesc> params;

private:
    void describeColumns(bool peekTypes);
    void describeParams();
};

// Finalizes a statement when it goes out of scope.
struct StmtGuard {
    sqlite3_stmt* st = nullptr;
    StmtGuard() = default;
    explicit StmtGuard(sqlite3_stmt* s) : st(s) {}
    ~StmtGuard();
    StmtGuard(const StmtGuard&) = delete;
    StmtGuard& operator=(const StmtGuard&) = delete;
};

// Prepares `sql` on `db`; OrvX naming `query` on failure.
sqlite3_stmt* prepareOrThrow(sqlite3* db, const std::string& sql, const std::string& query);

} // namespace detail
} // namespace OrvCPP

// OrvStatement: a prepared statement of the client layer, with its kind, the descriptions
// of its result columns and parameters.
#pragma once

#include <vexapi/orvcpp/orvchannel.h>
#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/orvx.h>
#include <vexapi/orvcpp/paramdesc.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace OrvCPP {

// The statement kinds `queryType()` gives. 12 and 30 are the server's own numbers; the
// others are this layer's.
enum OrvQueryType {
    queryInsert = 1,            // INSERT, REPLACE
    queryUpdate = 2,            // UPDATE
    queryDelete = 3,            // DELETE
    queryPositionedUpdate = 4,  // UPDATE ... WHERE CURRENT OF <cursor>
    queryPositionedDelete = 5,  // DELETE ... WHERE CURRENT OF <cursor>
    queryDefinition = 6,        // CREATE, DROP, ALTER
    queryTransaction = 7,       // BEGIN, COMMIT, END, ROLLBACK, SAVEPOINT, RELEASE
    queryOther = 8,             // PRAGMA without rows, ATTACH, DETACH, VACUUM, ANALYZE, ...
    querySelect = 12,           // a statement that returns rows: SELECT, VALUES, WITH ...
                                // SELECT, and a PRAGMA or EXPLAIN that returns rows
    queryProcedure = 30         // CALL of a registered procedure (procedures.h)
};

// A statement prepared on a connection, in the server's dialect (dialect.h translates it).
// Run it with OrvCursor::execute(statement, bindMap); a statement may be run again and
// again, by several cursors of its connection.
//
// Parameters are "?" (numbered from 1 in order), "?NNN", or named ":name", "@name",
// "$name"; paramCount() is the highest number, and paramIndex() finds a named one.
// The kinds and descriptions are the server's answer at create time: a schema change later
// may make a run fail with OrvX.
//
// create(connection, sql, peekTypes): with `peekTypes` true, result columns that have no
// declared type (expressions) are described by the type of their value in the first row,
// which runs the select up to its first row, with null parameters; with false they are
// described as text. Declared columns never need it.
class VEXAPI_API OrvStatement : public OrvChannel {
public:
    OrvStatement();
    OrvStatement(const OrvConnect& connection, const char* sql, bool peekTypes = true);
    ~OrvStatement() override;

    // Prepares `sql` (UTF-8) on the connection; a statement this object owns is closed
    // first. OrvX for a closed connection, a syntax error (with its position), an unknown
    // table or procedure, or a text of more than one statement.
    void create(const OrvConnect& connection, const char* sql, bool peekTypes = true);
    // Binds to an open statement handle (0 detaches); see OrvChannel.
    void attach(unsigned short handle, bool owning);
    // Closes the statement if owned, and detaches. Never throws.
    void close() noexcept;

    VLong queryType() const;
    VLong columnCount() const;
    // Column `col` (from 1); OrvX out of range.
    void answerDesc(short col, t_ParamDesc* desc) const;
    VLong paramCount() const;
    // Parameter `n` (from 1); OrvX out of range. The type is inferred where the parameter
    // is compared with or assigned to a table's column ("id = ?", "insert into t (a)
    // values (?)", "set a = ?"): that column's type and origin; otherwise text (11, 255).
    void paramDesc(short n, t_ParamDesc* desc) const;
    // The number of the parameter named `name` (":id" or "id"), or 0.
    short paramIndex(const char* name) const;
    // The text as given, into `buffer` of `size` bytes.
    const char* sql(char* buffer, int size) const;
};

} // namespace OrvCPP

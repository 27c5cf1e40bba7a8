// The one place where the Orvane server's SQL dialect is rewritten into SQLite's: every form
// that the library's generated SQL and its users' SQL may hold and SQLite would refuse or
// read differently, with the statement's kind and what the layer must do around it.
#pragma once

#include <vexapi/core/api.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace OrvCPP {
namespace detail {

// What is translated (input -> what SQLite runs). Strings, quoted names and comments are
// never looked into, so a form inside them stays as it is.
//
//  form                               input                              SQLite runs
//  ---------------------------------  ---------------------------------  ---------------------------------
//  catalog names                      $$$S23, $$$SYSRL                   "$$$S23", "$$$SYSRL"
//  catalog owner                      ORVANE_SYSTEM_USER.$$$ATTRI        temp."$$$ATTRI" (the layer's views
//                                                                        of SQLite's schema, made on use)
//  catalog functions                  GetBits(v,w,f,n) GetLong(b,o)      unchanged: functions of the layer
//                                     GetByte(b,o)                       (catalog.h)
//  cast without parentheses           cast X as int                      CAST(X AS int)
//                                     CAST GetByte(a,8) AS int as "I"    CAST(GetByte(a,8) AS int) as "I"
//  binary literal                     hex('0AFF')                        X'0AFF'
//  wide text literal, where the       name = hex('00410042')             name = 'AB'
//  column is NCHAR/NVARCHAR           insert ... (name) values           insert ... (name) values ('AB')
//                                     (hex('00410042'))
//  boolean literal                    true, false                        unchanged (SQLite knows them)
//  date literal, canonical            '2024-02-29 13:05:09.07'           unchanged (dates are stored as
//                                                                        this text)
//  date literal, grid form            '02/29/2024:13:05:09.07'           '2024-02-29 13:05:09.07'
//  default values                     insert into t (a, b) values        insert into t (b) values (1)
//                                     (DEFAULT, 1)
//                                     insert into t (a) values (DEFAULT) insert into t DEFAULT VALUES
//                                     insert into t () values ()         insert into t DEFAULT VALUES
//  positioned update and delete       ... where current of "C1"          ... where rowid = :vx_current_key
//                                     (also CURRENT OF CURSOR)           (the key of the row the named
//                                                                        cursor stands on, bound by the
//                                                                        layer)
//  anonymous parameters               a = ? and b = ?                    a = ?1 and b = ?2 (the numbers
//                                                                        SQLite would give, written out so
//                                                                        that derived statements keep them)
//  procedure call                     call name(1, ?)                    select 1, ?1 (the arguments; the
//                                                                        layer calls the registered
//                                                                        procedure with their values)
//
// Statement kinds (`queryType`), decided here from the first keyword:
//   12 SELECT, VALUES, WITH ... SELECT (and a PRAGMA or EXPLAIN that returns rows, which the
//      statement decides once SQLite has prepared it; otherwise 8)
//    1 INSERT, REPLACE       2 UPDATE       3 DELETE
//    4 UPDATE ... WHERE CURRENT OF          5 DELETE ... WHERE CURRENT OF
//    6 CREATE, DROP, ALTER   7 BEGIN, COMMIT, END, ROLLBACK, SAVEPOINT, RELEASE
//    8 anything else (PRAGMA, ATTACH, DETACH, VACUUM, ANALYZE, REINDEX)
//   30 CALL of a procedure
// A WITH prefix takes the kind of the statement it precedes.

enum QueryKind {
    kindInsert = 1,
    kindUpdate = 2,
    kindDelete = 3,
    kindPositionedUpdate = 4,
    kindPositionedDelete = 5,
    kindDefinition = 6,
    kindTransaction = 7,
    kindOther = 8,
    kindSelect = 12,
    kindProcedure = 30
};

// The name under which the layer binds the key of a positioned statement's row.
extern const char* const kCurrentKeyParam;

// The result of translating one statement.
struct DialectText {
    std::string sql; // what SQLite runs (for a procedure call: the arguments' select, or "")
    // (offset in `sql`, offset in the original text) at the start of every token of `sql`,
    // in ascending order of the first.
    std::vector<std::pair<int, int>> offsets;
    int kind = kindOther;
    bool usesCatalog = false;   // names the catalog views, which must exist before preparing
    bool extraStatement = false; // the text holds a second statement after a ';'
    std::string cursorName;     // for kinds 4 and 5: the cursor named by CURRENT OF
    std::string targetSchema;   // INSERT INTO / UPDATE / DELETE FROM: the table's schema,
    std::string targetTable;    // unquoted ("" when none)
    std::string procedure;      // for kind 30: the procedure's name, unquoted
    // Per parameter number (index 0 unused): its name as written (":id", "?3"), "" for "?".
    std::vector<std::string> paramNames;

    // The offset in the original text of the byte at `offset` of `sql`.
    int sourceOffset(int offset) const;
};

// Says whether a column is of a wide text type (NCHAR, NVARCHAR): then a hex literal
// assigned to it or compared with it is text of four digits per character.
typedef std::function<bool(const std::string& schema, const std::string& table,
                           const std::string& column)>
    WideColumnTest;

// Translates `text` (UTF-8). Never fails: what SQLite refuses it reports when preparing.
DialectText translateDialect(const std::string& text, const WideColumnTest& isWide = nullptr);

// Decodes a hex literal's digits as wide text of four digits per character (UTF-16 code
// units, most significant digit first) into UTF-8; false if the digits are not a multiple
// of 4 or not hex.
bool wideHexToUtf8(const std::string& digits, std::string& out);

} // namespace detail
} // namespace OrvCPP

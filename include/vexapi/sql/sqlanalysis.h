// The analysis of a select: the result columns (their name paths and aliases) and the
// tables of the FROM list, read by a small scanner and a recursive-descent parser. Every
// database source runs it once when a statement is created.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/wcharstring.h>

#include <memory>

namespace DataSourceAPI {

// A dotted name split into its parts: t.* is "T", "*". Unquoted parts are upper case,
// quoted ones keep their case and blanks.
typedef VectorOf<WCharString> SQLNamePath;

// Why an analysis failed. The analysis never raises: a failure only means that the
// statement can't be analysed, and the sources then describe it without the analysis.
enum SQLParseFailure {
    sqlParseOk = 0,
    sqlParseNoText,           // a null text
    sqlParseSyntax,           // a token the grammar does not allow there (no SELECT, no FROM...)
    sqlParseStatementTooLong, // more than sqlMaxStatementLength characters
    sqlParseTokenTooLong,     // a name, string or number over sqlMaxTokenLength characters
    sqlParseUnterminated,     // a string or a quoted name without its closing quote
    sqlParseTooDeep,          // parentheses and subqueries nested over sqlMaxNesting
    sqlParseOutOfMemory
};

enum {
    sqlMaxTokenLength = 2048,          // characters of one name, string or number
    sqlMaxStatementLength = 1 << 20,   // characters of a statement
    sqlMaxNesting = 512                // recursion levels: about two per parenthesis
};

// The description of a select that parseSelect fills: its result columns and the tables of
// its (first) FROM list, in the order of the text. Subqueries of the FROM list keep their own
// description; those inside expressions and the later members of a UNION are read and
// dropped.
//
// Ownership: a table owns its subquery; copies are deep.
class VEXAPI_API SQLQueryDesc {
public:
    struct VEXAPI_API Column {
        Column() : simple(true), path(4, 4), alias(2, 2) {}
        // A plain column reference (a name path, possibly in parentheses); its path is empty
        // when it is not simple.
        bool simple;
        SQLNamePath path;
        // Empty without an alias.
        SQLNamePath alias;
    };

    struct VEXAPI_API Table {
        Table() : isSubquery(false), path(4, 4), alias(2, 2) {}
        Table(const Table& other);
        Table& operator=(const Table& other);
        Table(Table&& other) noexcept;
        Table& operator=(Table&& other) noexcept;
        ~Table();

        bool isSubquery;
        SQLNamePath path;                   // empty for a subquery
        std::unique_ptr<SQLQueryDesc> subquery; // set for a subquery only
        SQLNamePath alias;
    };

    SQLQueryDesc() : columns(50, 50), tables(50, 50), m_failure(sqlParseOk), m_failureOffset(0) {}

    void clear();
    // Whether a simple column's path starts with "*": the statement selects every column
    // of its tables, so its columns can't be matched to the list.
    bool selectsAll() const;

    // Why the last parseSelect into this description failed, and the character offset in
    // the text where it stopped; sqlParseOk and 0 after a success.
    SQLParseFailure failure() const { return m_failure; }
    int failureOffset() const { return m_failureOffset; }

    VectorOf<Column> columns;
    VectorOf<Table> tables;

private:
    friend VEXAPI_API bool parseSelect(const WChar*, SQLQueryDesc&);
    SQLParseFailure m_failure;
    int m_failureOffset;
};

// Analyses the select `text` into `desc`. False when the text can't be analysed; `desc` is
// then empty and says why (failure(), failureOffset()). Never raises.
//
// How the text is read, deliberately narrow: only the select list and the FROM list
// matter. The scan ends without error at a ";" and at any character outside the grammar,
// "<" and ">" among them, so "SELECT a FROM t WHERE b < 1" is analysed: what follows such a
// character can't change the lists. Comments count as white space. Re-entrant: each call
// keeps its own scanner state.
VEXAPI_API bool parseSelect(const WChar* text, SQLQueryDesc& desc);

// Writes the first part of the alias of result column `index` (0-based) into `buffer` of
// `len` characters, terminated (cut to fit), and answers true; false for an index outside
// the columns, a column without alias, or no room (len < 1).
VEXAPI_API bool columnAlias(const SQLQueryDesc& desc, int index, WChar* buffer, int len);

} // namespace DataSourceAPI

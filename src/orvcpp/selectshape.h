// The shape of a select as the scrollable cursor needs it: whether it reads a single table
// row by row (so that each result row is one row of that table, found again by its key),
// and the clauses from which the cursor builds its own statements.
#pragma once

#include <vexapi/core/api.h>

#include <string>

namespace OrvCPP {
namespace detail {

// A select of the form
//   SELECT <list> FROM <table> [[AS] <alias>] [WHERE <condition>] [ORDER BY <terms>] [LIMIT ...]
// with no DISTINCT, join, GROUP BY, HAVING, window, compound, aggregate function in the list
// or the order, or table-valued function. Anything else is not `single`.
struct SelectShape {
    bool single = false;
    std::string schema;     // unquoted; "" when the text names none
    std::string table;      // unquoted
    std::string fromText;   // the FROM clause as written, table and alias
    std::string qualifier;  // the name that qualifies the table's columns: alias or table
    std::string listText;   // the select list as written
    std::string whereText;  // the condition as written, "" for none
    std::string orderText;  // the order terms as written, "" for none
    std::string tailText;   // everything after the FROM clause as written (WHERE ... LIMIT)
    bool hasLimit = false;
    // When the order is one plain column name (optionally qualified) with ASC or DESC:
    std::string orderColumn; // unquoted, "" otherwise
    bool orderDescending = false;
};

SelectShape analyseSelect(const std::string& sql);

} // namespace detail
} // namespace OrvCPP

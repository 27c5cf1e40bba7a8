// Helpers of the statement layer's tests: 16-bit text from UTF-8 and back, and a select's
// description written as one short line.
#pragma once

#include "utf8text.h"

#include <vexapi/sql/sqlanalysis.h>

#include <string>

namespace sqltest {

using testtext::narrow;
using testtext::W;

inline std::string joinPath(const DataSourceAPI::SQLNamePath& path)
{
    std::string out;
    for (int i = 0; i < path.size(); ++i)
        out += (i ? "." : "") + narrow(path[i].constData());
    return out;
}

// "A, T.B AS X, ? FROM T AS U, (C FROM V)": a simple column by its path, any other as "?",
// each alias after AS; the tables after FROM, a subquery in parentheses.
inline std::string describe(const DataSourceAPI::SQLQueryDesc& d)
{
    std::string out;
    for (int i = 0; i < d.columns.size(); ++i) {
        const DataSourceAPI::SQLQueryDesc::Column& c = d.columns[i];
        out += (i ? ", " : "") + (c.simple ? joinPath(c.path) : std::string("?"));
        if (!c.alias.empty())
            out += " AS " + joinPath(c.alias);
    }
    out += " FROM ";
    for (int i = 0; i < d.tables.size(); ++i) {
        const DataSourceAPI::SQLQueryDesc::Table& t = d.tables[i];
        out += i ? ", " : "";
        out += t.isSubquery ? "(" + describe(*t.subquery) + ")" : joinPath(t.path);
        if (!t.alias.empty())
            out += " AS " + joinPath(t.alias);
    }
    return out;
}

} // namespace sqltest

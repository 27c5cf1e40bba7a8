// Preparing and describing statements: translation, preparation, column and parameter
// descriptions, and binding parameter values.
#include "statementstate.h"

#include "catalog.h"
#include <vexapi/orvcpp/procedures.h>
#include <vexapi/values/servertypes.h>
#include "sqltokens.h"

#include <sqlite3.h>

#include <cstdlib>
#include <cstring>

namespace OrvCPP {
namespace detail {

StmtGuard::~StmtGuard()
{
    sqlite3_finalize(st);
}

sqlite3_stmt* prepareOrThrow(sqlite3* db, const std::string& sql, const std::string& query)
{
    sqlite3_stmt* st = nullptr;
    int rc = sqlite3_prepare_v3(db, sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT, &st, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(st);
        throw serverError(db, rc, query, nullptr);
    }
    return st;
}

TableKey tableKey(sqlite3* db, const std::string& schema, const std::string& table)
{
    TableKey k;
    const std::string name = (schema.empty() ? std::string() : quoteName(schema) + ".") + quoteName(table);
    // A table's type: views and WITHOUT ROWID tables have no rowid.
    {
        sqlite3_stmt* st = nullptr;
        std::string sql = "SELECT type, sql FROM " + (schema.empty() ? std::string() : quoteName(schema) + ".") +
                          "sqlite_schema WHERE name = ?1 COLLATE NOCASE";
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) {
            sqlite3_finalize(st);
            return k;
        }
        StmtGuard g(st);
        sqlite3_bind_text(st, 1, table.c_str(), -1, SQLITE_TRANSIENT);
        if (sqlite3_step(st) != SQLITE_ROW)
            return k;
        const char* type = reinterpret_cast<const char*>(sqlite3_column_text(st, 0));
        if (!type || std::strcmp(type, "table") != 0)
            return k;
    }
    // The column that "rowid" names; a table whose rowid is hidden by its own columns (or
    // that has none) fails to prepare with each name, and has no usable key.
    static const char* const names[] = {"rowid", "_rowid_", "oid"};
    for (const char* n : names) {
        sqlite3_stmt* st = nullptr;
        std::string sql = std::string("SELECT ") + n + " FROM " + name + " LIMIT 0";
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) {
            sqlite3_finalize(st);
            continue;
        }
        StmtGuard g(st);
        const char* origin = sqlite3_column_origin_name(st, 0);
        const char* decl = sqlite3_column_decltype(st, 0);
        if (!origin)
            continue;
        // A column that is really called rowid shadows the key: its declared type is its
        // own, not the key's INTEGER.
        const bool isKey = sqlite3_stricmp(origin, n) != 0 || (decl && sqlite3_stricmp(decl, "INTEGER") == 0);
        if (sqlite3_stricmp(origin, n) == 0) {
            int notNull = 0, pk = 0, autoinc = 0;
            const char* d = nullptr;
            const char* coll = nullptr;
            // A real column of that name reports its metadata; the hidden rowid does too,
            // but as INTEGER primary key.
            if (sqlite3_table_column_metadata(db, schema.empty() ? nullptr : schema.c_str(), table.c_str(), n, &d,
                                              &coll, &notNull, &pk, &autoinc) == SQLITE_OK &&
                !pk)
                continue;
        }
        if (!isKey)
            continue;
        k.rowidTable = true;
        if (sqlite3_stricmp(origin, n) != 0) {
            k.keyColumn = origin;
            k.keyName = quoteName(origin);
        } else {
            k.keyName = n;
        }
        return k;
    }
    return k;
}

StatementState::StatementState() : ChildState(Statement) {}

StatementState::~StatementState()
{
    release();
}

void StatementState::release() noexcept
{
    if (stmt)
        sqlite3_finalize(stmt);
    stmt = nullptr;
}

void StatementState::prepare(const std::shared_ptr<ConnectionState>& c, const std::string& sqlText,
                             bool peekTypes)
{
    connection = c;
    text = sqlText;
    sqlite3* db = c->db();
    dialect = translateDialect(text, [db](const std::string& schema, const std::string& table,
                                          const std::string& column) {
        const char* decl = nullptr;
        const char* coll = nullptr;
        int notNull = 0, pk = 0, autoinc = 0;
        if (sqlite3_table_column_metadata(db, schema.empty() ? nullptr : schema.c_str(), table.c_str(),
                                          column.c_str(), &decl, &coll, &notNull, &pk, &autoinc) != SQLITE_OK)
            return false;
        const int t = typeFromDeclared(decl).type;
        return t == orvWideChar || t == orvWideVarChar;
    });
    if (dialect.extraStatement)
        throw OrvX::client(orvapiNotSupported, "the text holds more than one statement", text.c_str());
    if (dialect.usesCatalog) {
        int rc = ensureCatalogViews(db);
        if (rc != SQLITE_OK)
            throw serverError(db, rc, text, nullptr);
    }
    queryType = dialect.kind;
    if (queryType == kindProcedure) {
        if (!findProcedure(dialect.procedure))
            throw OrvX::client(orvapiNoProcedure, "no procedure is registered as '" + dialect.procedure + "'",
                               text.c_str());
        if (dialect.sql.empty()) {
            paramCount = 0;
            return;
        }
    }
    if (skipBlank(tokenize(dialect.sql), 0) == tokenize(dialect.sql).size())
        throw OrvX::client(orvapiBadArgument, "the statement is empty", text.c_str());
    sqlite3_stmt* st = nullptr;
    int rc = sqlite3_prepare_v3(db, dialect.sql.c_str(), int(dialect.sql.size()), SQLITE_PREPARE_PERSISTENT, &st,
                                nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(st);
        throw serverError(db, rc, text, &dialect);
    }
    stmt = st;
    readOnly = sqlite3_stmt_readonly(st) != 0;
    paramCount = sqlite3_bind_parameter_count(st);
    // The key of a positioned write is the layer's own parameter, always the last one.
    if (queryType == kindPositionedUpdate || queryType == kindPositionedDelete)
        paramCount = sqlite3_bind_parameter_index(st, kCurrentKeyParam) - 1;
    if (queryType == kindOther && sqlite3_column_count(st) > 0 && readOnly)
        queryType = kindSelect;
    if (queryType != kindProcedure)
        describeColumns(peekTypes);
    describeParams();
}

void StatementState::describeColumns(bool peekTypes)
{
    sqlite3* db = connection->db();
    const int n = sqlite3_column_count(stmt);
    columns.assign(std::size_t(n), ColumnDesc());
    bool undeclared = false;
    for (int i = 0; i < n; ++i) {
        ColumnDesc& d = columns[std::size_t(i)];
        const char* owner = sqlite3_column_database_name(stmt, i);
        const char* table = sqlite3_column_table_name(stmt, i);
        const char* origin = sqlite3_column_origin_name(stmt, i);
        const char* name = sqlite3_column_name(stmt, i);
        const char* decl = sqlite3_column_decltype(stmt, i);
        d.alias = name ? name : "";
        if (table && origin) {
            d.owner = owner ? owner : "";
            d.table = table;
            d.column = origin;
            TableKey key = tableKey(db, d.owner, d.table);
            int notNull = 0, pk = 0, autoinc = 0;
            const char* dd = nullptr;
            const char* coll = nullptr;
            sqlite3_table_column_metadata(db, d.owner.c_str(), table, origin, &dd, &coll, &notNull, &pk, &autoinc);
            d.autoKey = autoinc != 0 ||
                        (key.rowidTable && (key.keyColumn.empty() ? sqlite3_stricmp(origin, key.keyName.c_str()) == 0
                                                                  : sqlite3_stricmp(origin, key.keyColumn.c_str()) == 0));
        } else {
            d.column = d.alias;
        }
        if (decl && *decl) {
            d.type = typeFromDeclared(decl);
            d.declared = true;
        } else {
            d.type = typeFromValue(SQLITE_NULL, 0);
            undeclared = true;
        }
    }
    // Expressions take the type of their first value, when asked and when running the
    // select up to its first row has no effect.
    if (undeclared && peekTypes && readOnly) {
        if (sqlite3_step(stmt) == SQLITE_ROW)
            for (int i = 0; i < n; ++i)
                if (!columns[std::size_t(i)].declared)
                    columns[std::size_t(i)].type =
                        typeFromValue(sqlite3_column_type(stmt, i), sqlite3_column_bytes(stmt, i));
        sqlite3_reset(stmt);
    }
}

namespace {

struct TableRef {
    std::string schema, table, alias;
};

bool isReserved(const SqlToken& t)
{
    static const char* const words[] = {"where", "on", "using", "join", "set", "values", "select", "left",
                                        "right", "inner", "cross", "natural", "full", "outer", "group",
                                        "order", "limit", "having", "union", "default", "as", "returning"};
    for (const char* w : words)
        if (t.isWord(w))
            return true;
    return false;
}

// The tables a statement names after FROM, JOIN, INTO and UPDATE, with their aliases.
std::vector<TableRef> tablesOf(const SqlTokens& t)
{
    std::vector<TableRef> out;
    for (std::size_t i = 0; i < t.size(); ++i) {
        if (!(t[i].isWord("from") || t[i].isWord("join") || t[i].isWord("into") || t[i].isWord("update")))
            continue;
        std::size_t k = skipBlank(t, i + 1);
        for (;;) {
            if (k >= t.size() || !t[k].isName() || isReserved(t[k]))
                break;
            TableRef r;
            r.table = nameValue(t[k]);
            std::size_t n = skipBlank(t, k + 1);
            if (n < t.size() && t[n].isPunct(".")) {
                std::size_t s = skipBlank(t, n + 1);
                if (s < t.size() && t[s].isName()) {
                    r.schema = r.table;
                    r.table = nameValue(t[s]);
                    n = skipBlank(t, s + 1);
                }
            }
            if (n < t.size() && t[n].isWord("as"))
                n = skipBlank(t, n + 1);
            if (n < t.size() && t[n].isName() && !isReserved(t[n])) {
                r.alias = nameValue(t[n]);
                n = skipBlank(t, n + 1);
            }
            out.push_back(r);
            if (n < t.size() && t[n].isPunct(",") && t[i].isWord("from")) {
                k = skipBlank(t, n + 1);
                continue;
            }
            break;
        }
    }
    return out;
}

bool isComparison(const SqlToken& t)
{
    static const char* const ops[] = {"=", "==", "<>", "!=", "<", "<=", ">", ">="};
    for (const char* op : ops)
        if (t.isPunct(op))
            return true;
    return t.isWord("like") || t.isWord("glob") || t.isWord("is");
}

// A column reference ending at token `end` (inclusive): (qualifier, column); false if none.
bool columnBefore(const SqlTokens& t, std::size_t end, std::string& qualifier, std::string& column)
{
    if (!t[end].isName() || isReserved(t[end]))
        return false;
    column = nameValue(t[end]);
    qualifier.clear();
    if (end >= 2) {
        std::size_t dot = end - 1;
        while (dot > 0 && t[dot].isBlank())
            --dot;
        if (t[dot].isPunct(".") && dot > 0) {
            std::size_t q = dot - 1;
            while (q > 0 && t[q].isBlank())
                --q;
            if (t[q].isName())
                qualifier = nameValue(t[q]);
        }
    }
    return true;
}

} // namespace

void StatementState::describeParams()
{
    params.assign(std::size_t(paramCount), ColumnDesc());
    for (int i = 1; i <= paramCount; ++i) {
        ColumnDesc& d = params[std::size_t(i - 1)];
        const char* name = stmt ? sqlite3_bind_parameter_name(stmt, i) : nullptr;
        std::string written = std::size_t(i) < dialect.paramNames.size() ? dialect.paramNames[std::size_t(i)] : "";
        d.alias = written.empty() && name && name[0] != '?' ? name : written;
        d.type = typeFromDeclared("VARCHAR");
    }
    if (!stmt || paramCount == 0)
        return;
    const SqlTokens t = tokenize(dialect.sql);
    const std::vector<TableRef> tables = tablesOf(t);
    sqlite3* db = connection->db();
    auto resolve = [&](const std::string& qualifier, const std::string& column, ColumnDesc& d) {
        for (const TableRef& r : tables) {
            if (!qualifier.empty() && !equalNoCase(qualifier, r.alias) && !equalNoCase(qualifier, r.table))
                continue;
            const char* decl = nullptr;
            const char* coll = nullptr;
            int notNull = 0, pk = 0, autoinc = 0;
            const std::string schema = r.schema.empty() ? "main" : r.schema;
            if (sqlite3_table_column_metadata(db, schema.c_str(), r.table.c_str(), column.c_str(), &decl, &coll,
                                              &notNull, &pk, &autoinc) != SQLITE_OK)
                continue;
            d.owner = schema;
            d.table = r.table;
            d.column = column;
            d.type = decl && *decl ? typeFromDeclared(decl) : typeFromDeclared("VARCHAR");
            d.declared = decl && *decl;
            return true;
        }
        return false;
    };
    auto paramNumber = [&](const SqlToken& tok) { return sqlite3_bind_parameter_index(stmt, tok.text.c_str()); };

    // INSERT INTO t (a, b) VALUES (?, ?): by position.
    if (queryType == kindInsert && !tables.empty()) {
        std::size_t open = 0;
        while (open < t.size() && !t[open].isPunct("("))
            ++open;
        std::size_t values = open;
        while (values < t.size() && !t[values].isWord("values"))
            ++values;
        if (values < t.size()) {
            std::vector<std::string> cols;
            int depth = 0;
            for (std::size_t k = open + 1; k < values; ++k) {
                if (t[k].isPunct("("))
                    ++depth;
                else if (t[k].isPunct(")"))
                    --depth;
                else if (depth == 0 && t[k].isName())
                    cols.push_back(nameValue(t[k]));
            }
            std::size_t position = 0;
            depth = 0;
            for (std::size_t k = values + 1; k < t.size(); ++k) {
                if (t[k].isPunct("(")) {
                    if (++depth == 1)
                        position = 0;
                } else if (t[k].isPunct(")")) {
                    --depth;
                } else if (depth == 1 && t[k].isPunct(",")) {
                    ++position;
                } else if (depth == 1 && t[k].is(SqlToken::Param) && position < cols.size()) {
                    int n = paramNumber(t[k]);
                    if (n > 0 && n <= paramCount) {
                        ColumnDesc& d = params[std::size_t(n - 1)];
                        std::string alias = d.alias;
                        TableRef only = tables.front();
                        if (resolve(only.alias.empty() ? only.table : only.alias, cols[position], d))
                            d.alias = alias;
                    }
                }
            }
        }
    }
    // "column op ?" and "? op column".
    for (std::size_t k = 0; k < t.size(); ++k) {
        if (!t[k].is(SqlToken::Param))
            continue;
        const int n = paramNumber(t[k]);
        if (n <= 0 || n > paramCount || params[std::size_t(n - 1)].declared)
            continue;
        ColumnDesc& d = params[std::size_t(n - 1)];
        const std::string alias = d.alias;
        std::string qualifier, column;
        bool found = false;
        std::size_t p = k;
        while (p > 0 && t[p - 1].isBlank())
            --p;
        if (p > 0 && isComparison(t[p - 1])) {
            std::size_t c = p - 1;
            while (c > 0 && t[c - 1].isBlank())
                --c;
            if (c > 0 && columnBefore(t, c - 1, qualifier, column))
                found = resolve(qualifier, column, d);
        }
        if (!found) {
            std::size_t op = skipBlank(t, k + 1);
            if (op < t.size() && isComparison(t[op])) {
                std::size_t c = skipBlank(t, op + 1);
                std::size_t end = c;
                if (c < t.size() && t[c].isName()) {
                    std::size_t dot = skipBlank(t, c + 1);
                    if (dot < t.size() && t[dot].isPunct(".")) {
                        std::size_t second = skipBlank(t, dot + 1);
                        if (second < t.size() && t[second].isName())
                            end = second;
                    }
                    if (columnBefore(t, end, qualifier, column))
                        found = resolve(qualifier, column, d);
                }
            }
        }
        d.alias = alias;
    }
}

std::vector<SqlValue> StatementState::values(const BindMap* map, std::ptrdiff_t step) const
{
    std::vector<SqlValue> out(static_cast<std::size_t>(paramCount));
    if (!map)
        return out;
    for (int i = 0; i < map->count(); ++i) {
        const short n = map->numberAt(i);
        if (n < 1 || n > paramCount) {
            OrvX x = OrvX::client(orvapiBadArgument,
                                  "parameter " + std::to_string(n) + " does not exist (the statement has " +
                                      std::to_string(paramCount) + ")",
                                  text.c_str());
            x.setBadParamNum(n);
            throw x;
        }
        out[std::size_t(n - 1)] = valueFromInfo(map->infoAt(i), step, n);
    }
    return out;
}

int StatementState::bindValues(sqlite3_stmt* st, const std::vector<SqlValue>& vals) const
{
    const int count = sqlite3_bind_parameter_count(st);
    for (int i = 1; i <= count; ++i) {
        const char* name = sqlite3_bind_parameter_name(st, i);
        int n = 0;
        if (!name)
            n = i;
        else if (std::strncmp(name, ":vx_", 4) == 0)
            continue;
        else if (name[0] == '?')
            n = std::atoi(name + 1);
        else if (stmt)
            n = sqlite3_bind_parameter_index(stmt, name);
        if (n < 1 || std::size_t(n) > vals.size())
            continue;
        int rc = bindValue(st, i, vals[std::size_t(n - 1)]);
        if (rc != SQLITE_OK)
            return rc;
    }
    return SQLITE_OK;
}

} // namespace detail
} // namespace OrvCPP

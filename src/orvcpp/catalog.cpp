// The catalog views and functions of the client layer on SQLite.
#include "catalog.h"

#include <sqlite3.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace OrvCPP {
namespace detail {

namespace {

void putLong(unsigned char* record, int offset, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        record[offset + i] = static_cast<unsigned char>(v >> (8 * i));
}

// A statement run on the function's own connection for one value.
std::int64_t queryInt(sqlite3* db, const std::string& sql, const char* a, const char* b, bool& found)
{
    sqlite3_stmt* st = nullptr;
    found = false;
    std::int64_t v = 0;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK) {
        if (a)
            sqlite3_bind_text(st, 1, a, -1, SQLITE_TRANSIENT);
        if (b)
            sqlite3_bind_text(st, 2, b, -1, SQLITE_TRANSIENT);
        if (sqlite3_step(st) == SQLITE_ROW && sqlite3_column_type(st, 0) != SQLITE_NULL) {
            v = sqlite3_column_int64(st, 0);
            found = true;
        }
    }
    sqlite3_finalize(st);
    return v;
}

std::string quoted(const char* name)
{
    std::string out = "\"";
    for (const char* p = name; *p; ++p) {
        out += *p;
        if (*p == '"')
            out += '"';
    }
    return out + "\"";
}

// vx_colattr(schema, table, column): the attribute record of a column.
void colattr(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc != 3 || sqlite3_value_type(argv[0]) == SQLITE_NULL ||
        sqlite3_value_type(argv[1]) == SQLITE_NULL || sqlite3_value_type(argv[2]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    sqlite3* db = sqlite3_context_db_handle(ctx);
    const char* schema = reinterpret_cast<const char*>(sqlite3_value_text(argv[0]));
    const std::string schemaName = schema;
    const std::string table = reinterpret_cast<const char*>(sqlite3_value_text(argv[1]));
    const std::string column = reinterpret_cast<const char*>(sqlite3_value_text(argv[2]));

    unsigned char record[64];
    std::memset(record, 0, sizeof record);
    putLong(record, 18, 0xFF);

    int notNull = 0, primaryKey = 0, autoinc = 0;
    const char* declared = nullptr;
    const char* collation = nullptr;
    if (sqlite3_table_column_metadata(db, schemaName.c_str(), table.c_str(), column.c_str(), &declared,
                                      &collation, &notNull, &primaryKey, &autoinc) != SQLITE_OK) {
        sqlite3_result_blob(ctx, record, sizeof record, SQLITE_TRANSIENT);
        return;
    }
    std::uint32_t flags = 0;
    if (primaryKey)
        flags |= 1u << 9;
    const std::string qs = quoted(schemaName.c_str());
    // The schema as the last argument of the table-valued pragmas.
    std::string ls = ", '";
    for (char c : schemaName)
        ls += c == '\'' ? std::string("''") : std::string(1, c);
    ls += "'";

    // The row key column: the one that "SELECT rowid" names.
    bool isRowKey = false;
    {
        sqlite3_stmt* st = nullptr;
        std::string sql = "SELECT rowid FROM " + qs + "." + quoted(table.c_str()) + " LIMIT 0";
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) == SQLITE_OK) {
            const char* origin = sqlite3_column_origin_name(st, 0);
            isRowKey = origin && sqlite3_stricmp(origin, column.c_str()) == 0;
        }
        sqlite3_finalize(st);
    }

    bool found = false;
    // Unique on its own: a unique index of this one column (the primary key counts).
    std::int64_t unique = queryInt(
        db,
        "SELECT count(*) FROM pragma_index_list(?1" + ls + ") il WHERE il.\"unique\" AND "
        "(SELECT count(*) FROM pragma_index_info(il.name" + ls + ")) = 1 AND "
        "(SELECT name FROM pragma_index_info(il.name" + ls + ")) = ?2 COLLATE NOCASE",
        table.c_str(), column.c_str(), found);
    std::int64_t pkColumns = queryInt(db, "SELECT count(*) FROM pragma_table_info(?1" + ls + ") WHERE pk > 0",
                                      table.c_str(), nullptr, found);
    if (unique > 0 || isRowKey || (primaryKey && pkColumns == 1))
        flags |= 1u << 10;
    putLong(record, 60, flags);

    std::int64_t leads = queryInt(
        db,
        "SELECT count(*) FROM pragma_index_list(?1" + ls + ") il WHERE "
        "(SELECT name FROM pragma_index_info(il.name" + ls + ") WHERE seqno = 0) = ?2 COLLATE NOCASE",
        table.c_str(), column.c_str(), found);
    record[8] = leads > 0 || isRowKey ? 1 : 0;

    if (isRowKey) {
        std::int64_t last = 0;
        if (autoinc)
            last = queryInt(db, "SELECT seq FROM " + qs + ".sqlite_sequence WHERE name = ?1", table.c_str(),
                            nullptr, found);
        else
            last = queryInt(db, "SELECT max(rowid) FROM " + qs + "." + quoted(table.c_str()), nullptr,
                            nullptr, found);
        putLong(record, 32, static_cast<std::uint32_t>(last));
    }
    sqlite3_result_blob(ctx, record, sizeof record, SQLITE_TRANSIENT);
}

// GetLong(record, offset) and GetByte(record, offset).
void getField(sqlite3_context* ctx, int argc, sqlite3_value** argv, int width)
{
    if (argc != 2 || sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const unsigned char* b = static_cast<const unsigned char*>(sqlite3_value_blob(argv[0]));
    const int n = sqlite3_value_bytes(argv[0]);
    const std::int64_t offset = sqlite3_value_int64(argv[1]);
    if (!b || offset < 0 || offset + width > n) {
        sqlite3_result_null(ctx);
        return;
    }
    if (width == 1) {
        sqlite3_result_int(ctx, b[offset]);
        return;
    }
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v |= std::uint32_t(b[offset + i]) << (8 * i);
    sqlite3_result_int64(ctx, std::int32_t(v));
}

void getLong(sqlite3_context* ctx, int argc, sqlite3_value** argv) { getField(ctx, argc, argv, 4); }
void getByte(sqlite3_context* ctx, int argc, sqlite3_value** argv) { getField(ctx, argc, argv, 1); }

void getBits(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    for (int i = 0; i < argc; ++i)
        if (sqlite3_value_type(argv[i]) == SQLITE_NULL) {
            sqlite3_result_null(ctx);
            return;
        }
    const std::uint64_t value = static_cast<std::uint64_t>(sqlite3_value_int64(argv[0]));
    const std::int64_t shift = 32 * sqlite3_value_int64(argv[1]) + sqlite3_value_int64(argv[2]);
    const std::int64_t n = sqlite3_value_int64(argv[3]);
    if (shift < 0 || shift >= 64 || n <= 0) {
        sqlite3_result_int(ctx, 0);
        return;
    }
    const std::uint64_t mask = n >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << n) - 1;
    sqlite3_result_int64(ctx, std::int64_t((value >> shift) & mask));
}

} // namespace

void registerCatalogFunctions(sqlite3* db)
{
    const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
    sqlite3_create_function(db, "GetLong", 2, flags, nullptr, getLong, nullptr, nullptr);
    sqlite3_create_function(db, "GetByte", 2, flags, nullptr, getByte, nullptr, nullptr);
    sqlite3_create_function(db, "GetBits", 4, flags, nullptr, getBits, nullptr, nullptr);
    // Reads the schema, so it is not deterministic.
    sqlite3_create_function(db, "vx_colattr", 3, SQLITE_UTF8, nullptr, colattr, nullptr, nullptr);
}

int ensureCatalogViews(sqlite3* db)
{
    static const char* const views =
        "CREATE TEMP VIEW IF NOT EXISTS \"$$$USR\" AS "
        "SELECT seq AS \"$$$S31\", 0 AS \"$$$S32\", name AS \"$$$S34\" FROM pragma_database_list;"
        "CREATE TEMP VIEW IF NOT EXISTS \"$$$SYSRL\" AS "
        "SELECT rowid AS \"$$$S11\", 0 AS \"$$$S12\", name AS \"$$$S13\", type AS \"$$$S14\", "
        "'main' AS \"$$$S15\" FROM main.sqlite_schema "
        "WHERE type IN ('table', 'view') AND name NOT LIKE 'sqlite!_%' ESCAPE '!' "
        "UNION ALL "
        "SELECT 1099511627776 + rowid, 1, name, type, 'temp' FROM temp.sqlite_schema "
        "WHERE type IN ('table', 'view') AND name NOT LIKE '$$$%';"
        "CREATE TEMP VIEW IF NOT EXISTS \"$$$ATTRI\" AS "
        "SELECT r.\"$$$S11\" AS \"$$$S21\", p.cid + 1 AS \"$$$S22\", p.name AS \"$$$S23\", "
        "vx_colattr(r.\"$$$S15\", r.\"$$$S13\", p.name) AS \"$$$S24\", p.type AS \"$$$S25\" "
        "FROM \"$$$SYSRL\" r, pragma_table_info(r.\"$$$S13\", r.\"$$$S15\") p;";
    return sqlite3_exec(db, views, nullptr, nullptr, nullptr);
}

} // namespace detail
} // namespace OrvCPP

// DBColInfo: one result column of a statement as the database described it.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/wstring.h>
#include <vexapi/datasource/dsdefs.h>

namespace DataSourceAPI {

// Filled by the concrete statement when it describes its result; SQLStatement::dbColInfo
// hands it out.
struct VEXAPI_API DBColInfo {
    WString name;        // the name the source shows (alias, or built; unique)
    WString fullColName; // owner.table.column
    WString tableName;
    WString ownerName;
    WString realColName; // the column of its table
    int tableIndex = 0;  // 1-based in the table list, 0 for none
    int type = 0;        // server type, precision, scale and length as given
    int precision = 0;
    int scale = 0;
    int length = 0;
    bool isRowid = false;
    bool isAutoKey = false;
    bool reserved = false;
    int fetchType = 0; // the form the value is fetched in
    int fetchLen = 0;
    Type dsType = tNone; // the column's type in the source
    int dsLen = 0;
    // Whether generated writes may set it: it has a table, is no rowid and no auto key.
    bool updateable() const { return tableIndex > 0 && !isRowid && !isAutoKey; }
};

} // namespace DataSourceAPI

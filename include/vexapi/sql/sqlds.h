// SQLDS: the column table of a statement source that keeps its rows as records: TableDS
// plus the select text, the main table and each column's link to the database.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/datasource/tableds.h>

#include <vector>

namespace DataSourceAPI {

// Per column the database column it reads (0: none, a calculated or unbound column) and
// whether generated writes may set it. Its add, insert, set, remove and clear hide
// TableDS's, so that the links stay parallel to the columns; a new column starts unlinked
// and not updateable, and set keeps the column's link.
//
// Invariants (checkInvariants):
//  1. There is one link per column.
class VEXAPI_API SQLDS : public virtual TableDS {
public:
    SQLDS();

    int insert(int pos, const WChar* name, Type type, int len);
    int add(const WChar* name, Type type, int len) { return insert(colCount() + 1, name, type, len); }
    void set(int pos, const WChar* name, Type type, int len) { TableDS::set(pos, name, type, len); }
    void remove(int pos);
    void clear();

    void setSql(const WChar* sql);
    // Never null: empty until set.
    const WChar* getSql() const { return m_sql.constData(); }
    void setMainTable(const WChar* table);
    const WChar* getMainTable() const { return m_mainTable.constData(); }

    // Out of range: setUpdProps changes nothing, dbCol gives 0, isUpdateable false.
    void setUpdProps(int col, short dbCol, bool updateable);
    short dbCol(int col) const;
    bool isUpdateable(int col) const;

    int checkInvariants() const;

private:
    struct Link {
        short dbCol;
        bool updateable;
    };
    bool inRange(int col) const { return col >= 1 && col <= int(m_links.size()); }

    WCharString m_sql;
    WCharString m_mainTable;
    std::vector<Link> m_links;
};

} // namespace DataSourceAPI

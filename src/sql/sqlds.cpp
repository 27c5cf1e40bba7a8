// SQLDS: the column table with the select text, the main table and the columns' links to
// the database, kept parallel to the columns.
#include <vexapi/sql/sqlds.h>

namespace DataSourceAPI {

namespace {
const WChar kEmpty[1] = {0};
}

SQLDS::SQLDS() = default;

int SQLDS::insert(int pos, const WChar* name, Type type, int len)
{
    const int at = TableDS::insert(pos, name, type, len);
    m_links.insert(m_links.begin() + (at - 1), Link{0, false});
    return at;
}

void SQLDS::remove(int pos)
{
    if (!inRange(pos))
        return;
    TableDS::remove(pos);
    m_links.erase(m_links.begin() + (pos - 1));
}

void SQLDS::clear()
{
    TableDS::clear();
    m_links.clear();
}

void SQLDS::setSql(const WChar* sql)
{
    m_sql = sql ? sql : kEmpty;
}

void SQLDS::setMainTable(const WChar* table)
{
    m_mainTable = table ? table : kEmpty;
}

void SQLDS::setUpdProps(int col, short dbCol, bool updateable)
{
    if (!inRange(col))
        return;
    m_links[std::size_t(col - 1)] = Link{dbCol, updateable};
}

short SQLDS::dbCol(int col) const
{
    return inRange(col) ? m_links[std::size_t(col - 1)].dbCol : short(0);
}

bool SQLDS::isUpdateable(int col) const
{
    return inRange(col) && m_links[std::size_t(col - 1)].updateable;
}

int SQLDS::checkInvariants() const
{
    if (int(m_links.size()) != colCount())
        return 1;
    return 0;
}

} // namespace DataSourceAPI

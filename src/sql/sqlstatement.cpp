// SQLStatement: the base behaviour of the statement face, the typed read of org columns,
// and the filter and sort order turned into lists and spliced into the select.
#include <vexapi/sql/sqlstatement.h>

#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>
#include <vexapi/datasource/dsvalue.h>

#include <algorithm>
#include <sstream>
#include <vector>

namespace DataSourceAPI {

namespace {

const WChar kEmpty[1] = {0};
const WChar kDoubleQuote[2] = {'"', 0};

void putAscii(WOStream& stream, const char* text)
{
    WChar buf[16];
    int n = 0;
    for (; text[n]; ++n)
        buf[n] = WChar(text[n]);
    stream.write(buf, n);
}

template <class T>
bool sameList(const VectorOf<T>& a, const VectorOf<T>& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

} // namespace

SQLStatement::SQLStatement() : m_whereList(50, 50), m_orderList(50, 50), m_ascending(true) {}

SQLStatement::~SQLStatement() = default;

// ---- Base behaviour of the virtual operations ----

void SQLStatement::setConnect(void*) {}
void* SQLStatement::getConnect() { return nullptr; }
bool SQLStatement::getIgnoreOwnerMode() const { return false; }
void SQLStatement::setIgnoreOwnerMode(bool) {}
bool SQLStatement::getIgnoreTableMode() const { return false; }
void SQLStatement::setIgnoreTableMode(bool) {}
void SQLStatement::autoCreateColumns() {}
void SQLStatement::updateInserted() {}
void SQLStatement::updateUpdated() {}
void SQLStatement::updateDeleted() {}
SQLStatement::RowState SQLStatement::rowState(Iterator) { return Original; }
bool SQLStatement::isFieldModified(Iterator, int) { return false; }
int SQLStatement::insCount() { return 0; }
int SQLStatement::updCount() { return 0; }
int SQLStatement::delCount() { return 0; }
void SQLStatement::removeAllOrgCols() {}
void SQLStatement::addOrgCol(int) {}
void SQLStatement::addOrgCol(const OrgColInfo&) {}
int SQLStatement::orgColCount() const { return 0; }

SQLStatement::OrgColInfo SQLStatement::orgColInfo(int) const
{
    return OrgColInfo(0, kEmpty, tNone, 0, false);
}

int SQLStatement::orgColIndexByDBCol(int) const { return 0; }
int SQLStatement::orgColIndexByName(const WChar*) const { return 0; }

VLong SQLStatement::orgRealLen(Iterator, int, bool* isNull) const
{
    if (isNull)
        *isNull = true;
    return 0;
}

bool SQLStatement::orgGetNull(Iterator, int) const { return false; }

void SQLStatement::getOrgField(Iterator, int, void*, int, bool* isNull, VLong* realLen) const
{
    if (isNull)
        *isNull = true;
    if (realLen)
        *realLen = 0;
}

bool SQLStatement::getOrgField(Iterator it, int col, void* buf, int bufLen, Type type,
                               bool* isNull) const
{
    const Type own = orgColInfo(col).type();
    if (type == own) {
        getOrgField(it, col, buf, bufLen, isNull, nullptr);
        return true;
    }
    // Read whole, growing once when the value is longer than the inline room, then convert.
    DataRepresentationWithNulls::ConvValue value;
    bool null = true;
    VLong len = 0;
    getOrgField(it, col, value.data(), value.capacity(), &null, &len);
    if (!null && value.alloc(int(len))) {
        getOrgField(it, col, value.data(), value.capacity(), &null, &len);
    }
    if (isNull)
        *isNull = null;
    if (null)
        return true;
    const int filled = int(std::min<VLong>(len, value.capacity()));
    return convert(buf, bufLen, type, value.data(), filled, own, nullptr, nullptr);
}

const WChar* SQLStatement::quoteChar() const
{
    return kDoubleQuote;
}

// ---- Select text, filter and sort ----

void SQLStatement::setSQLSelect(const WChar* text)
{
    m_sqlSelect = text ? text : kEmpty;
}

bool SQLStatement::filterColumn(const WChar* colName, WString& text, int* dbCol) const
{
    const int col = indexByName(colName);
    if (col <= 0)
        return false;
    const UpdateProps props = getUpdateProps(col);
    const WChar* name = props.dbColName();
    if (!name)
        return false;
    // Room for one character more than `name`: a longer database name comes back cut to
    // that length and so can't compare equal.
    const int nameLen = wstrlen(name);
    std::vector<WChar> buf(std::size_t(nameLen) + 2, WChar(0));
    const int count = dbColCount();
    int found = 0;
    for (int i = 1; i <= count && !found; ++i) {
        buf[0] = 0;
        const WChar* dbName = dbColName(i, buf.data(), int(buf.size()));
        buf.back() = 0;
        if (dbName && wstrcmp(dbName, name) == 0)
            found = i;
    }
    if (!found)
        return false;
    std::basic_ostringstream<WChar> stream;
    const WChar* mainTable = getMainTable();
    if (mainTable && *mainTable) {
        putFullName(stream, mainTable, quoteChar());
        putAscii(stream, ".");
    }
    putColName(stream, name, quoteChar());
    text = stream.str();
    *dbCol = found;
    return true;
}

bool SQLStatement::refreshWhereOrderInfo(const FilterInfo& filter)
{
    if (!isCreated()) {
        VexAPI::assertFailed("isCreated()", __FILE__, __LINE__);
        return false;
    }
    VectorOf<WhereParam> where(50, 50);
    VectorOf<Pair> order(50, 50);
    WString text;
    int dbCol = 0;
    for (int i = 0; i < filter.colCount(); ++i) {
        if (!filterColumn(filter.colName(i), text, &dbCol))
            continue;
        const WChar* param = filter.paramName(i);
        where.add(WhereParam(WCharString(text.c_str(), int(text.size())),
                             WCharString(param ? param : kEmpty), filter.useLike(i), dbCol));
    }
    for (int i = 0; i < filter.sortCount(); ++i) {
        if (!filterColumn(filter.sortName(i), text, &dbCol))
            continue;
        order.add(Pair(WCharString(text.c_str(), int(text.size())), WCharString(), dbCol));
    }
    m_ascending = filter.order();
    if (sameList(where, m_whereList) && sameList(order, m_orderList))
        return false;
    m_whereList = std::move(where);
    m_orderList = std::move(order);
    return true;
}

void SQLStatement::makeFilterSelect(WOStream& stream) const
{
    std::basic_ostringstream<WChar> where;
    for (int i = 0; i < m_whereList.size(); ++i) {
        const WhereParam& w = m_whereList[i];
        if (i > 0)
            putAscii(where, " AND ");
        where.write(w.colText.constData(), w.colText.length());
        putAscii(where, w.useLike ? " LIKE :" : " = :");
        where.write(w.paramName.constData(), w.paramName.length());
    }
    std::basic_ostringstream<WChar> order;
    for (int i = 0; i < m_orderList.size(); ++i) {
        const Pair& p = m_orderList[i];
        if (i > 0)
            putAscii(order, ", ");
        order.write(p.first.constData(), p.first.length());
    }
    // One direction for the whole list, written after its last column.
    if (!m_orderList.empty())
        putAscii(order, m_ascending ? " ASC" : " DESC");

    std::basic_ostringstream<WChar> withWhere;
    AppendWhere(withWhere, getSQLSelect(), where.str().c_str());
    AppendOrderBy(stream, withWhere.str().c_str(), order.str().c_str());
}

void SQLStatement::clearFilterInfo()
{
    m_whereList.clear();
    m_orderList.clear();
    m_ascending = true;
}

} // namespace DataSourceAPI

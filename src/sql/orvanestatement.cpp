// OrvaneStatement: DataSource over OrvaneDS, its positions, fields, life cycle, filter and the
// main table of its select.
#include <vexapi/sql/orvanestatement.h>

#include "sqlwriter.h"

#include <vexapi/orvcpp/sqltext.h>

#include <cstring>

namespace DataSourceAPI {

namespace {

bool isWordChar(WChar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$' ||
           c == '#' || c == '@' || c >= 0x80;
}

// The first table after the select's top-level FROM: a name, possibly dotted, possibly
// quoted; empty when the select has none (or starts with a subselect).
WString firstTable(const WString& select)
{
    const WChar* from = FindSQLKeyword(select.c_str(), u16("FROM").c_str());
    if (!from)
        return WString();
    const WChar* p = from + 4;
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
        ++p;
    WString name;
    for (;;) {
        if (*p == '"' || *p == '`' || *p == '[') {
            const WChar close = *p == '[' ? WChar(']') : *p;
            const WChar* q = p + 1;
            while (*q && *q != close)
                ++q;
            name.append(p + 1, q);
            p = *q ? q + 1 : q;
        } else {
            const WChar* q = p;
            while (isWordChar(*q))
                ++q;
            name.append(p, q);
            p = q;
        }
        if (*p != '.')
            break;
        name += WChar('.');
        ++p;
    }
    return name;
}

} // namespace

// ---- Nested classes ----

void OrvaneStatement::Error::getMessage(WChar* buffer, int size) const
{
    OrvaneDS::OrvaneDSError::getMessage(buffer, size);
}

void OrvaneStatement::RIterator::operator++(int)
{
    ++m_it;
}

void OrvaneStatement::RIterator::operator--(int)
{
    --m_it;
}

WString OrvaneStatement::InternalDS::getMainTable() const
{
    const WString own = m_owner->getMainTable();
    return own.empty() ? OrvaneDS::getMainTable() : own;
}

void OrvaneStatement::InternalDS::calcColumn(const Iterator& it, int col)
{
    const Col* c = this->col(col);
    if (!c || c->type == tBlob)
        return;
    const FieldRef f = (*this)(it, col);
    bool null = false;
    if (m_owner->calcField(m_owner->wrap(it), col, f.data(), sizeOf(c->type, c->len), &null))
        f.setNull(null);
    else
        f.setNull(true);
}

// ---- Life cycle ----

OrvaneStatement::OrvaneStatement() : m_ds(this), m_curRow(0), m_connection(0) {}

OrvaneStatement::~OrvaneStatement()
{
    m_cur = LowMemoryDS::Iterator();
    m_ds.close();
}

template <class F>
auto OrvaneStatement::guarded(F f) const -> decltype(f())
{
    try {
        return f();
    } catch (const OrvaneDS::OrvaneDSError& e) {
        throw Error(e);
    } catch (const OrvCPP::OrvX& x) {
        throw Error(OrvaneDS::OrvaneDSError(x));
    }
}

void OrvaneStatement::setConnect(void* connection)
{
    m_connection = connection ? *static_cast<unsigned short*>(connection) : 0;
}

void OrvaneStatement::setSQLSelect(const WChar* select)
{
    m_select = select ? WString(select) : WString();
}

void OrvaneStatement::setMainTable(const WChar* table)
{
    m_mainTable = table ? WString(table) : WString();
}

WString OrvaneStatement::getMainTable() const
{
    return m_mainTable.empty() ? firstTable(m_select) : m_mainTable;
}

void OrvaneStatement::clearFilterInfo() {}

void OrvaneStatement::create()
{
    clearFilterInfo();
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    guarded([&] { m_ds.create(m_connection, getSQLSelect()); });
    DataSource::initColumns();
}

void OrvaneStatement::close()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    m_ds.close();
}

void OrvaneStatement::retrieve()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    guarded([&] { m_ds.retrieve(); });
    m_cur = m_ds.begin();
    m_curRow = m_cur == m_ds.end() ? 0 : 1;
}

void OrvaneStatement::clear()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    m_ds.retrieve0();
}

void OrvaneStatement::update()
{
    guarded([&] { m_ds.update(); });
}

void OrvaneStatement::commitDS()
{
    m_ds.commitDS();
}

void OrvaneStatement::rollbackDS()
{
    m_ds.rollbackDS();
}

void OrvaneStatement::commitDB()
{
    guarded([&] { m_ds.commitDB(); });
}

void OrvaneStatement::rollbackDB()
{
    guarded([&] { m_ds.rollbackDB(); });
}

void OrvaneStatement::setRowidAsKey()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    m_ds.setRowidAsKey();
}

void OrvaneStatement::setPrimaryKeysAsKey()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    guarded([&] { m_ds.setPrimaryKeysAsKey(); });
}

// ---- Columns ----

int OrvaneStatement::insertCol(int before, const ColInfo& info)
{
    const int col = m_ds.insertCol(before, info);
    m_ds.initColumns();
    return col;
}

void OrvaneStatement::setCol(int col, const ColInfo& info)
{
    m_ds.setCol(col, info);
    m_ds.initColumns();
}

void OrvaneStatement::removeCol(int col)
{
    m_ds.removeCol(col);
    m_ds.initColumns();
}

int OrvaneStatement::indexByName(const WChar* name) const
{
    return m_ds.colIndexByName(name);
}

int OrvaneStatement::indexByParamName(const WChar* name) const
{
    if (int p = m_ds.paramIndexByName(name))
        return p;
    const int db = m_ds.indexByDBParamName(name);
    for (int p = 1; db && p <= m_ds.paramCount(); ++p)
        if (m_ds.paramDef(p)->dbParam == db)
            return p;
    return 0;
}

// ---- Positions ----

LowMemoryDS::Iterator OrvaneStatement::cacheIterator(const Iterator& it) const
{
    IteratorInt* p = getIterator(it);
    RIterator* r = dynamic_cast<RIterator*>(p);
    return r ? r->it() : m_ds.end();
}

DataSource::Iterator OrvaneStatement::getCurIterator() const
{
    return wrap(m_cur.isNull() ? m_ds.end() : m_cur);
}

void OrvaneStatement::setCurIterator(Iterator it)
{
    m_cur = cacheIterator(it);
    m_curRow = m_ds.iterator2row(m_cur);
}

void OrvaneStatement::setCurRow(int row)
{
    if (row < 1 || row > m_ds.rowCount())
        return;
    m_cur = m_ds.row2iterator(row);
    m_curRow = row;
}

DataSource::Iterator OrvaneStatement::row2iterator(int row) const
{
    return wrap(m_ds.row2iterator(row));
}

int OrvaneStatement::iterator2row(Iterator it) const
{
    return m_ds.iterator2row(cacheIterator(it));
}

DataSource::Iterator OrvaneStatement::begin() const
{
    return wrap(m_ds.begin());
}

DataSource::Iterator OrvaneStatement::end() const
{
    return wrap(m_ds.end());
}

DataSource::Iterator OrvaneStatement::insertRow(Iterator before)
{
    LowMemoryDS::Iterator it = guarded([&] { return m_ds.insertRow(cacheIterator(before)); });
    m_curRow = m_cur.isNull() ? 0 : m_ds.iterator2row(m_cur);
    return wrap(it);
}

void OrvaneStatement::deleteRow(Iterator it)
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    if (row == m_ds.end())
        return;
    if (!m_cur.isNull() && row == m_cur) {
        // The current row goes: the position moves on to the next one.
        ++m_cur;
    }
    guarded([&] { m_ds.deleteRow(row); });
    m_curRow = m_cur.isNull() ? 0 : m_ds.iterator2row(m_cur);
}

// ---- Fields ----

VLong OrvaneStatement::realLen(Iterator it, int col, bool* isNull) const
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    if (row == m_ds.end() || !m_ds.col(col)) {
        if (isNull)
            *isNull = true;
        return 0;
    }
    return guarded([&] {
        m_ds.lock(row, col);
        const FieldRef f = m_ds(row, col);
        const bool null = f.isNull();
        const VLong n = TypicalColsForDBDS::valueLength(f, m_ds.col(col)->len);
        m_ds.unlock(row);
        if (isNull)
            *isNull = null;
        return n;
    });
}

void OrvaneStatement::getField(Iterator it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen) const
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    if (row == m_ds.end()) {
        if (isNull)
            *isNull = true;
        if (realLen)
            *realLen = 0;
        return;
    }
    guarded([&] { m_ds.getFieldRaw(row, col, buf, bufLen, isNull, realLen); });
}

void OrvaneStatement::setField(Iterator it, int col, const void* data, int len, bool isNull)
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    if (row == m_ds.end())
        return;
    guarded([&] { m_ds.setFieldRaw(row, col, data, len, isNull); });
}

void OrvaneStatement::setNull(Iterator it, int col, bool isNull)
{
    if (isNull)
        setField(std::move(it), col, nullptr, 0, true);
}

void OrvaneStatement::getParam(int param, void* buf, int bufLen, bool* isNull, VLong* realLen) const
{
    const FieldRef f = m_ds.param(param);
    const TypicalColsForDBDS::Param* def = m_ds.paramDef(param);
    if (!f.valid() || !def) {
        if (isNull)
            *isNull = true;
        return;
    }
    if (isNull)
        *isNull = f.isNull();
    const int n = TypicalColsForDBDS::valueLength(f, def->len);
    if (realLen)
        *realLen = n;
    if (!f.isNull() && buf && bufLen > 0)
        std::memcpy(buf, f.data(), std::size_t(n < bufLen ? n : bufLen));
}

void OrvaneStatement::setParam(int param, const void* data, int len, bool isNull)
{
    m_ds.setParamRaw(param, data, len, isNull);
}

// ---- Filter ----

void OrvaneStatement::setFilter(const FilterInfo& filter)
{
    if (!isCreated())
        return;
    // The conditions "column = :param" (or LIKE) joined by AND, and the sort columns.
    sqlw::Text cond;
    for (int i = 0; i < filter.colCount(); ++i) {
        if (i)
            sqlw::put(cond, " AND ");
        sqlw::put(cond, WString(filter.colName(i)));
        sqlw::put(cond, filter.useLike(i) ? " LIKE :" : " = :");
        sqlw::put(cond, WString(filter.paramName(i)));
    }
    sqlw::Text order;
    for (int i = 0; i < filter.sortCount(); ++i) {
        if (i)
            sqlw::put(order, ", ");
        sqlw::put(order, WString(filter.sortName(i)));
        sqlw::put(order, filter.order() ? " ASC" : " DESC");
    }
    sqlw::Text withWhere;
    AppendWhere(withWhere, m_select.c_str(), cond.text().c_str());
    sqlw::Text text;
    AppendOrderBy(text, withWhere.text().c_str(), order.text().c_str());
    if (text.text() == m_ds.sqlSelect())
        return;
    // The links of the columns survive the new text.
    std::vector<std::pair<int, bool>> links;
    for (int c = 1; c <= m_ds.colCount(); ++c)
        links.emplace_back(m_ds.col(c)->dbCol, m_ds.col(c)->updateable);
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    guarded([&] { m_ds.create(m_connection, text.text().c_str()); });
    for (int c = 1; c <= m_ds.colCount() && c <= int(links.size()); ++c)
        m_ds.setColDBLink(c, links[std::size_t(c - 1)].first, links[std::size_t(c - 1)].second);
}

int OrvaneStatement::checkInvariants() const
{
    const int row = m_cur.isNull() ? 0 : m_ds.iterator2row(m_cur);
    if (row != m_curRow)
        return 1;
    if (int n = m_ds.checkInvariants())
        return 10 + n;
    return 0;
}

} // namespace DataSourceAPI

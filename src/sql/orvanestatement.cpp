// OrvaneStatement: DataSource over OrvaneDS, its positions, fields, life cycle, filter and the
// main table of its select.
#include <vexapi/sql/orvanestatement.h>

#include "sqlwriter.h"

#include <vexapi/orvcpp/sqltext.h>
#include <vexapi/sql/sqlanalysis.h>

#include <cstring>

namespace DataSourceAPI {

namespace {

// `text` into `buf` of `len` characters, terminated and cut.
WChar* copyName(const WString& text, WChar* buf, int len)
{
    if (!buf || len <= 0)
        return buf;
    const std::size_t n = text.size() < std::size_t(len - 1) ? text.size() : std::size_t(len - 1);
    std::memcpy(buf, text.data(), n * sizeof(WChar));
    buf[n] = 0;
    return buf;
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
    return m_owner->getMainTable();
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

void OrvaneStatement::setMainTable(const WChar* table)
{
    m_mainTable = table ? WString(table) : WString();
}

WString OrvaneStatement::defaultMainTable() const
{
    if (!m_parsedTable.empty()) {
        const int t = m_ds.indexByDBTableName(m_parsedTable.c_str());
        return t ? m_ds.dbTable(t).name : m_parsedTable;
    }
    return m_ds.OrvaneDS::getMainTable();
}

const WChar* OrvaneStatement::getMainTable() const
{
    m_mainTableShown = m_mainTable.empty() ? defaultMainTable() : m_mainTable;
    return m_mainTableShown.c_str();
}

void OrvaneStatement::create()
{
    clearFilterInfo();
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    // The first table of the FROM list, by the analysis of the text.
    m_parsedTable.clear();
    SQLQueryDesc desc;
    if (parseSelect(getSQLSelect(), desc) && desc.tables.size() > 0 && !desc.tables[0].isSubquery) {
        const SQLNamePath& path = desc.tables[0].path;
        for (int i = 0; i < path.size(); ++i) {
            if (i)
                m_parsedTable += WChar('.');
            m_parsedTable.append(path[i].constData(), std::size_t(path[i].length()));
        }
    }
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
    if (!isCreated() || !refreshWhereOrderInfo(filter))
        return;
    sqlw::Text text;
    makeFilterSelect(text);
    // The links of the columns survive the new text; the user's select stays.
    std::vector<std::pair<int, bool>> links;
    for (int c = 1; c <= m_ds.colCount(); ++c)
        links.emplace_back(m_ds.col(c)->dbCol, m_ds.col(c)->updateable);
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    guarded([&] { m_ds.create(m_connection, text.text().c_str()); });
    for (int c = 1; c <= m_ds.colCount() && c <= int(links.size()); ++c)
        m_ds.setColDBLink(c, links[std::size_t(c - 1)].first, links[std::size_t(c - 1)].second);
}

// ---- The database's description and the org columns ----

WChar* OrvaneStatement::dbTableName(int i, WChar* buf, int len) const
{
    return copyName(i >= 1 && i <= m_ds.dbTableCount() ? m_ds.dbTable(i).name : WString(), buf, len);
}

WChar* OrvaneStatement::dbColName(int i, WChar* buf, int len) const
{
    return copyName(i >= 1 && i <= m_ds.dbColCount() ? m_ds.dbCol(i).realColName : WString(), buf, len);
}

DBColInfo OrvaneStatement::dbColInfo(int i) const
{
    return i >= 1 && i <= m_ds.dbColCount() ? m_ds.dbCol(i) : DBColInfo();
}

void OrvaneStatement::setUpdateProps(int col, const UpdateProps& props)
{
    if (!m_ds.col(col))
        return;
    int db = 0;
    if (const WChar* name = props.dbColName())
        for (int i = 1; i <= m_ds.dbColCount() && !db; ++i)
            if (m_ds.dbCol(i).realColName == name)
                db = i;
    m_ds.setColDBLink(col, db, db && props.updateable);
}

SQLStatement::UpdateProps OrvaneStatement::getUpdateProps(int col) const
{
    const TypicalColsForDBDS::Col* c = m_ds.col(col);
    // An expression has no column of a table to write or to filter on.
    if (!c || c->dbCol < 1 || c->dbCol > m_ds.dbColCount() || c->calculated || m_ds.dbCol(c->dbCol).tableIndex == 0)
        return UpdateProps();
    return UpdateProps(m_ds.dbCol(c->dbCol).realColName.c_str(), c->updateable);
}

void OrvaneStatement::autoCreateColumns()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    m_ds.buildColumns();
    DataSource::initColumns();
}

void OrvaneStatement::updateInserted()
{
    guarded([&] { m_ds.updateInserted(); });
}

void OrvaneStatement::updateUpdated()
{
    guarded([&] { m_ds.updateUpdated(); });
}

void OrvaneStatement::updateDeleted()
{
    guarded([&] { m_ds.updateDeleted(); });
}

RowState OrvaneStatement::rowState(Iterator it)
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    return row == m_ds.end() ? Original : guarded([&] { return m_ds.rowState(row); });
}

bool OrvaneStatement::isFieldModified(Iterator it, int col)
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    if (row == m_ds.end() || !m_ds.col(col))
        return false;
    return guarded([&] {
        m_ds.lock(row, 0);
        const bool modified = m_ds.getModify(row, col);
        m_ds.unlock(row);
        return modified;
    });
}

void OrvaneStatement::removeAllOrgCols()
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    m_ds.clearOrgCols();
    m_ds.initColumns();
}

void OrvaneStatement::addOrgCol(int dbCol)
{
    if (dbCol < 1 || dbCol > m_ds.dbColCount())
        return;
    const DBColInfo& d = m_ds.dbCol(dbCol);
    addOrgCol(OrgColInfo(dbCol, d.name.c_str(), d.dsType, d.dsLen, false));
}

void OrvaneStatement::addOrgCol(const OrgColInfo& info)
{
    m_cur = LowMemoryDS::Iterator();
    m_curRow = 0;
    const int o = m_ds.addOrgCol(info);
    m_ds.setOrgColDBLink(o, info.dbCol());
    m_ds.setOrgColAsKey(o, info.isKey());
    m_ds.initColumns();
}

SQLStatement::OrgColInfo OrvaneStatement::orgColInfo(int col) const
{
    const TypicalColsForDBDS::OrgCol* o = m_ds.orgCol(col);
    if (!o)
        return OrgColInfo();
    return OrgColInfo(o->dbCol, o->name.c_str(), o->type, o->len, o->isKey);
}

VLong OrvaneStatement::orgRealLen(Iterator it, int col, bool* isNull) const
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    const TypicalColsForDBDS::OrgCol* o = m_ds.orgCol(col);
    if (row == m_ds.end() || !o) {
        if (isNull)
            *isNull = true;
        return 0;
    }
    return guarded([&] {
        m_ds.lock(row, 0);
        const FieldRef f = m_ds.orgField(row, col);
        if (isNull)
            *isNull = f.isNull();
        const VLong n = TypicalColsForDBDS::valueLength(f, o->len);
        m_ds.unlock(row);
        return n;
    });
}

bool OrvaneStatement::orgGetNull(Iterator it, int col) const
{
    bool null = true;
    orgRealLen(std::move(it), col, &null);
    return null;
}

void OrvaneStatement::getOrgField(Iterator it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen) const
{
    const LowMemoryDS::Iterator row = cacheIterator(it);
    const TypicalColsForDBDS::OrgCol* o = m_ds.orgCol(col);
    if (row == m_ds.end() || !o) {
        if (isNull)
            *isNull = true;
        if (realLen)
            *realLen = 0;
        return;
    }
    guarded([&] {
        m_ds.lock(row, 0);
        const FieldRef f = m_ds.orgField(row, col);
        const int n = TypicalColsForDBDS::valueLength(f, o->len);
        if (isNull)
            *isNull = f.isNull();
        if (realLen)
            *realLen = n;
        if (!f.isNull() && buf && bufLen > 0)
            std::memcpy(buf, f.data(), std::size_t(n < bufLen ? n : bufLen));
        m_ds.unlock(row);
    });
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

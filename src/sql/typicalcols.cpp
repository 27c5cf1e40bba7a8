// TypicalColsForDBDS and TypicalColsForDBDSWithParams: the column, original column and
// parameter tables of a database source and the block of parameter values.
#include <vexapi/sql/lowmemoryds.h>

#include <vexapi/datasource/dsdefs.h>

#include <cstdlib>
#include <cstring>

namespace DataSourceAPI {

namespace {

std::basic_string<WChar> nameOf(const DataSource::ColInfo& info)
{
    return info.name() ? std::basic_string<WChar>(info.name()) : std::basic_string<WChar>();
}

template <class T>
int indexByName(const std::vector<T>& table, const WChar* name)
{
    if (!name)
        return 0;
    for (std::size_t i = 0; i < table.size(); ++i)
        if (table[i].name == name)
            return int(i) + 1;
    return 0;
}

template <class T>
DataSource::ColInfo infoOf(const std::vector<T>& table, int i)
{
    if (i < 1 || i > int(table.size()))
        return DataSource::ColInfo();
    const T& c = table[std::size_t(i - 1)];
    return DataSource::ColInfo(c.name.c_str(), c.type, c.len);
}

template <class T>
int insertInto(std::vector<T>& table, int before, const T& value)
{
    if (before < 1 || before > int(table.size()) + 1)
        before = int(table.size()) + 1;
    if (table.size() == table.capacity())
        table.reserve(table.size() + 50);
    table.insert(table.begin() + (before - 1), value);
    return before;
}

} // namespace

TypicalColsForDBDS::TypicalColsForDBDS()
{
    m_cols.reserve(50);
    m_orgCols.reserve(50);
    m_params.reserve(50);
}

int TypicalColsForDBDS::slotSize(Type type, int len)
{
    switch (type) {
    case tInt:
    case tReal: return 8;
    case tSmall: return 6;
    case tChar:
    case tText:
    case tByte: return len + 4;
    case tDouble: return 12;
    case tObject: return 4 + int(sizeof(void*));
    case tDec:
    case tDate: return 20;
    // The DSBlob holds two pointers' worth: it starts at 8 so that they are aligned.
    case tBlob: return 8 + int(sizeof(DSBlob));
    default: return 0;
    }
}

int TypicalColsForDBDS::valueLength(const FieldRef& f, int len)
{
    if (!f.valid() || f.isNull())
        return 0;
    switch (f.type()) {
    case tChar: return int(strnlen(static_cast<const char*>(f.data()), std::size_t(len))) + 1;
    case tText: {
        const WChar* s = static_cast<const WChar*>(f.data());
        int n = 0;
        while (n < len / 2 && s[n])
            ++n;
        return 2 * n + 2;
    }
    case tBlob: return int(f.blob()->size());
    case tObject: return int(sizeof(void*));
    default: return sizeOf(f.type(), len);
    }
}

// ---- Columns ----

int TypicalColsForDBDS::insertCol(int before, const ColInfo& info)
{
    return insertInto(m_cols, before, Col{nameOf(info), info.type(), info.len(), 0, false, false, 0});
}

void TypicalColsForDBDS::setCol(int col, const ColInfo& info)
{
    if (!inRange(col, colCount()))
        return;
    Col& c = m_cols[std::size_t(col - 1)];
    c.name = nameOf(info);
    c.type = info.type();
    c.len = info.len();
}

void TypicalColsForDBDS::removeCol(int col)
{
    if (inRange(col, colCount()))
        m_cols.erase(m_cols.begin() + (col - 1));
}

int TypicalColsForDBDS::colIndexByName(const WChar* name) const { return indexByName(m_cols, name); }
DataSource::ColInfo TypicalColsForDBDS::colInfo(int col) const { return infoOf(m_cols, col); }

void TypicalColsForDBDS::setColDBLink(int col, int dbCol, bool updateable)
{
    if (!inRange(col, colCount()))
        return;
    m_cols[std::size_t(col - 1)].dbCol = dbCol;
    m_cols[std::size_t(col - 1)].updateable = updateable;
}

void TypicalColsForDBDS::setColCalc(int col, bool calculated)
{
    if (inRange(col, colCount()))
        m_cols[std::size_t(col - 1)].calculated = calculated;
}

void TypicalColsForDBDS::setColOffset(int col, int offset)
{
    if (inRange(col, colCount()))
        m_cols[std::size_t(col - 1)].offset = offset;
}

int TypicalColsForDBDS::getColOffset(int col) const
{
    return inRange(col, colCount()) ? m_cols[std::size_t(col - 1)].offset : 0;
}

// ---- Original columns ----

int TypicalColsForDBDS::insertOrgCol(int before, const ColInfo& info)
{
    return insertInto(m_orgCols, before, OrgCol{nameOf(info), info.type(), info.len(), 0, false, 0});
}

void TypicalColsForDBDS::setOrgCol(int col, const ColInfo& info)
{
    if (!inRange(col, orgColCount()))
        return;
    OrgCol& c = m_orgCols[std::size_t(col - 1)];
    c.name = nameOf(info);
    c.type = info.type();
    c.len = info.len();
}

void TypicalColsForDBDS::removeOrgCol(int col)
{
    if (inRange(col, orgColCount()))
        m_orgCols.erase(m_orgCols.begin() + (col - 1));
}

int TypicalColsForDBDS::orgColIndexByName(const WChar* name) const { return indexByName(m_orgCols, name); }

int TypicalColsForDBDS::orgColIndexByDBCol(int dbCol) const
{
    for (std::size_t i = 0; i < m_orgCols.size(); ++i)
        if (m_orgCols[i].dbCol == dbCol)
            return int(i) + 1;
    return 0;
}

DataSource::ColInfo TypicalColsForDBDS::orgColInfo(int col) const { return infoOf(m_orgCols, col); }

void TypicalColsForDBDS::setOrgColDBLink(int col, int dbCol)
{
    if (inRange(col, orgColCount()))
        m_orgCols[std::size_t(col - 1)].dbCol = dbCol;
}

void TypicalColsForDBDS::setOrgColAsKey(int col, bool isKey)
{
    if (inRange(col, orgColCount()))
        m_orgCols[std::size_t(col - 1)].isKey = isKey;
}

void TypicalColsForDBDS::setOrgColOffset(int col, int offset)
{
    if (inRange(col, orgColCount()))
        m_orgCols[std::size_t(col - 1)].offset = offset;
}

int TypicalColsForDBDS::getOrgColOffset(int col) const
{
    return inRange(col, orgColCount()) ? m_orgCols[std::size_t(col - 1)].offset : 0;
}

// ---- Parameters ----

int TypicalColsForDBDS::insertParam(int before, const ColInfo& info)
{
    return insertInto(m_params, before, Param{nameOf(info), info.type(), info.len(), 0, 0});
}

void TypicalColsForDBDS::setParam(int param, const ColInfo& info)
{
    if (!inRange(param, paramCount()))
        return;
    Param& p = m_params[std::size_t(param - 1)];
    p.name = nameOf(info);
    p.type = info.type();
    p.len = info.len();
}

void TypicalColsForDBDS::removeParam(int param)
{
    if (inRange(param, paramCount()))
        m_params.erase(m_params.begin() + (param - 1));
}

int TypicalColsForDBDS::paramIndexByName(const WChar* name) const { return indexByName(m_params, name); }
DataSource::ColInfo TypicalColsForDBDS::paramInfo(int param) const { return infoOf(m_params, param); }

void TypicalColsForDBDS::setParamDBLink(int param, int dbParam)
{
    if (inRange(param, paramCount()))
        m_params[std::size_t(param - 1)].dbParam = dbParam;
}

void TypicalColsForDBDS::setParamOffset(int param, int offset)
{
    if (inRange(param, paramCount()))
        m_params[std::size_t(param - 1)].offset = offset;
}

int TypicalColsForDBDS::getParamOffset(int param) const
{
    return inRange(param, paramCount()) ? m_params[std::size_t(param - 1)].offset : 0;
}

// ---- Parameter values ----

TypicalColsForDBDSWithParams::~TypicalColsForDBDSWithParams()
{
    freeParams();
}

void TypicalColsForDBDSWithParams::freeParams()
{
    if (!m_paramBlock)
        return;
    for (int i = 1; i <= paramCount(); ++i)
        if (m_params[std::size_t(i - 1)].type == tBlob)
            param(i).blob()->clear();
    std::free(m_paramBlock);
    m_paramBlock = nullptr;
}

void TypicalColsForDBDSWithParams::initParams()
{
    freeParams();
    int size = 0;
    for (Param& p : m_params) {
        if (p.type != tChar && p.type != tText && p.type != tByte)
            p.len = sizeOf(p.type, p.len);
        p.offset = size;
        size += round8(slotSize(p.type, p.len));
    }
    // The all-zero bytes are a valid empty DSBlob, so zeroing constructs the blobs.
    m_paramBlock = static_cast<char*>(std::calloc(std::size_t(size > 0 ? size : 8), 1));
}

FieldRef TypicalColsForDBDSWithParams::param(int i) const
{
    if (!m_paramBlock || !inRange(i, paramCount()))
        return FieldRef();
    const Param& p = m_params[std::size_t(i - 1)];
    return FieldRef(m_paramBlock + p.offset, p.type);
}

int TypicalColsForDBDSWithParams::realParamLen(int i, bool* isNull) const
{
    FieldRef f = param(i);
    const bool null = !f.valid() || f.isNull();
    if (isNull)
        *isNull = null;
    if (null)
        return 0;
    return valueLength(f, m_params[std::size_t(i - 1)].len);
}

} // namespace DataSourceAPI

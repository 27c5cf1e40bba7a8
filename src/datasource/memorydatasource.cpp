// MemoryDataSource: the DataSource operations over the InternalDS rows, the current
// position rules, inner sources, and the hooks sent on to the owner.
#include <vexapi/datasource/memorydatasource.h>

#include <typeinfo>

namespace {

// Asks the cache for a row's block: its links, bits and the start of its values.
inline void prefetchRow(const void* row)
{
#if defined(__GNUC__)
    __builtin_prefetch(row);
    __builtin_prefetch(static_cast<const char*>(row) + 64);
    __builtin_prefetch(static_cast<const char*>(row) + 128);
    __builtin_prefetch(static_cast<const char*>(row) + 192);
#else
    (void)row;
#endif
}

} // namespace

void DataSourceAPI::MemoryDataSource::RIterator::operator++(int)
{
    ++m_it;
    prefetchRow(m_it.base().node()->next);
}

void DataSourceAPI::MemoryDataSource::RIterator::operator--(int)
{
    --m_it;
    prefetchRow(m_it.base().node()->prev);
}

namespace DataSourceAPI {

using DataRepresentationWithNulls::DSValue;

// ---- InternalDS: hooks to the owner, each with a new position ----

void MemoryDataSource::InternalDS::calculate(iterator it, int col, void* buf, int len, bool* isNull)
{
    m_owner->calcField(m_owner->wrap(it), col, buf, len, isNull);
}

void MemoryDataSource::InternalDS::newObject(iterator it, int col, void*& object)
{
    m_owner->newObject(m_owner->wrap(it), col, object);
}

void MemoryDataSource::InternalDS::deleteObject(iterator it, int col, void*& object)
{
    m_owner->deleteObject(m_owner->wrap(it), col, object);
}

void MemoryDataSource::InternalDS::lockObject(iterator it, int col, void*& object)
{
    m_owner->lockObject(m_owner->wrap(it), col, object);
}

void MemoryDataSource::InternalDS::unlockObject(iterator it, int col, void*& object)
{
    m_owner->unlockObject(m_owner->wrap(it), col, object);
}

// ---- MemoryDataSource ----

MemoryDataSource::MemoryDataSource()
    : m_ds(this), m_cur(m_ds.end()), m_curRow(0), m_parentDS(nullptr), m_parentCol(0),
      m_curInnerDS(this), m_directReads(false)
{
    m_end = makeIterator(new RIterator(m_ds.end()));
}

MemoryDataSource::~MemoryDataSource()
{
    m_ds.clearData();
}

// ---- Columns ----

void MemoryDataSource::removeAllCols()
{
    m_ds.clear();
}

int MemoryDataSource::insertCol(int before, const ColInfo& info)
{
    return m_ds.insert(before, info.name(), info.type(), info.len());
}

void MemoryDataSource::setCol(int col, const ColInfo& info)
{
    m_ds.set(col, info.name(), info.type(), info.len());
}

void MemoryDataSource::removeCol(int col)
{
    m_ds.remove(col);
}

void MemoryDataSource::initColumns()
{
    m_ds.clearData();
    m_ds.init();
    m_cur = m_ds.begin();
    // curRow keeps its value here, as it always has; the next move or insert sets it.
    DataSource::initColumns();
    // Known only now that the object is whole (a constructor sees its own class).
    m_directReads = typeid(*this) == typeid(MemoryDataSource);
}

int MemoryDataSource::colCount() const
{
    return m_ds.colCount();
}

int MemoryDataSource::indexByName(const WChar* name) const
{
    return m_ds.indexByName(name);
}

DataSource::ColInfo MemoryDataSource::colInfo(int col) const
{
    if (col < 1 || col > m_ds.colCount())
        return ColInfo(nullptr, tNone, -1);
    return ColInfo(m_ds.name(col), m_ds.type(col), m_ds.len(col));
}

Type MemoryDataSource::colType(int col) const
{
    // The type the records are laid out with, which the raw operations use.
    if (col >= 1 && col <= m_ds.layoutCount())
        return m_ds.layout(col - 1).type;
    return m_ds.type(col);
}

bool MemoryDataSource::isCalculated(int col) const
{
    return m_ds.isCalculated(col);
}

void MemoryDataSource::setCalculated(int col, bool calculated)
{
    m_ds.setCalculated(col, calculated);
}

void MemoryDataSource::setColFactory(int col, DSFactory* factory)
{
    m_ds.setFactory(col, factory);
}

DSFactory* MemoryDataSource::getColFactory(int col) const
{
    return m_ds.getFactory(col);
}

// ---- Positions ----

DataSource::Iterator MemoryDataSource::getCurIterator() const
{
    return m_cur == m_ds.end() ? m_end : wrap(m_cur);
}

int MemoryDataSource::getCurRow() const
{
    return m_curRow;
}

void MemoryDataSource::setCurIterator(Iterator it)
{
    m_cur = listIterator(it);
    m_curRow = m_cur == m_ds.end() ? 0 : m_ds.row(m_cur);
}

void MemoryDataSource::setCurRow(int row)
{
    if (row < 1 || row > m_ds.rowCount())
        return;
    m_curRow = row;
    m_cur = m_ds.getIterator(row);
}

DataSource::Iterator MemoryDataSource::row2iterator(int row) const
{
    if (row < 1 || row > m_ds.rowCount())
        return m_end;
    return wrap(m_ds.getIterator(row));
}

int MemoryDataSource::iterator2row(Iterator it) const
{
    return m_ds.row(listIterator(it));
}

DataSource::Iterator MemoryDataSource::begin() const
{
    return m_ds.rowCount() == 0 ? m_end : wrap(m_ds.begin());
}

DataSource::Iterator MemoryDataSource::end() const
{
    return m_end;
}

int MemoryDataSource::rowCount() const
{
    return m_ds.rowCount();
}

DataSource::Iterator MemoryDataSource::insertRow(Iterator before)
{
    MemoryDS::iterator row = m_ds.insertRow(listIterator(before));
    // The current record is the same; an insert before it moved its number.
    m_curRow = m_ds.row(m_cur);
    return wrap(row);
}

void MemoryDataSource::deleteRow(Iterator it)
{
    const MemoryDS::iterator victim = listIterator(it);
    if (victim == m_ds.end())
        return;
    if (victim == m_cur)
        ++m_cur;
    m_ds.deleteRow(victim);
    // Also when the position was already on end(): the source then comes to rest on its
    // last row. Long-standing behaviour that grids rely on after deleting the last row.
    if (m_cur == m_ds.end())
        --m_cur;
    m_curRow = m_ds.row(m_cur);
}

// ---- Fields ----

VLong MemoryDataSource::realLen(Iterator it, int col, bool* isNull) const
{
    const MemoryDS::iterator row = listIterator(it);
    DSValue* v = m_ds.field(row, col);
    if (!v || v->isNull()) {
        if (isNull)
            *isNull = true;
        return 0;
    }
    if (isNull)
        *isNull = false;
    m_ds.lock(row, col);
    const VLong len = m_ds.realLen(row, col);
    m_ds.unlock(row, col);
    return len;
}

namespace {

// The read through a conversion, out of line so that the direct read keeps a light frame.
[[gnu::noinline]] bool convertedRead(const MemoryDataSource* ds, DataSource::Iterator& it,
                                     int col, void* buf, int bufLen, Type type, bool* isNull,
                                     VLong* realLen)
{
    return ds->DataSource::getField(std::move(it), col, buf, bufLen, type, isNull, realLen);
}

} // namespace

bool MemoryDataSource::getField(Iterator it, int col, void* buf, int bufLen, Type type,
                                bool* isNull, VLong* realLen) const
{
    // The column's own type reads straight from the record, but only for this very class:
    // a subclass may override the raw getField, and every typed read must see what that
    // answers. Any subclass takes the frame's path through the virtual raw read.
    if (type != tNone && m_directReads &&
        m_ds.readAs(listIterator(it), col, type, buf, bufLen, isNull, realLen))
        return true;
    return convertedRead(this, it, col, buf, bufLen, type, isNull, realLen);
}

void MemoryDataSource::getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                                VLong* realLen) const
{
    m_ds.getField(listIterator(it), col, buf, bufLen, isNull, realLen);
}

void MemoryDataSource::setField(Iterator it, int col, const void* data, int len, bool isNull)
{
    m_ds.setField(listIterator(it), col, data, len, isNull);
}

void MemoryDataSource::setNull(Iterator it, int col, bool isNull)
{
    m_ds.setNull(listIterator(it), col, isNull);
}

bool MemoryDataSource::getNull(Iterator it, int col) const
{
    return m_ds.getNull(listIterator(it), col);
}

// ---- Life cycle ----

void MemoryDataSource::create() {}

bool MemoryDataSource::isCreated()
{
    return true;
}

void MemoryDataSource::retrieve()
{
    m_ds.setModifyAll();
    m_cur = m_ds.begin();
    m_curRow = m_ds.row(m_cur);
}

void MemoryDataSource::clear()
{
    m_ds.clearData();
    m_cur = m_ds.end();
    m_curRow = 0;
}

void MemoryDataSource::update() {}
void MemoryDataSource::commitDS() {}
void MemoryDataSource::rollbackDS() {}
void MemoryDataSource::commitDB() {}
void MemoryDataSource::rollbackDB() {}

bool MemoryDataSource::isModified()
{
    return false;
}

// ---- Parameters ----

int MemoryDataSource::paramCount() const
{
    return 0;
}

int MemoryDataSource::indexByParamName(const WChar*) const
{
    return 0;
}

DataSource::ColInfo MemoryDataSource::paramInfo(int) const
{
    return ColInfo(WSTR(""), tNone, 0);
}

void MemoryDataSource::getParam(int, void*, int, bool*, VLong*) const {}
void MemoryDataSource::setParam(int, const void*, int, bool) {}
void MemoryDataSource::setFilter(const FilterInfo&) {}

// ---- Inner sources ----

DataSource* MemoryDataSource::getParentDS() const
{
    return m_parentDS;
}

DataSource::Iterator MemoryDataSource::getParentIterator() const
{
    return m_parentDS ? m_parentIterator : m_end;
}

int MemoryDataSource::getParentCol() const
{
    return m_parentCol;
}

DataSource* MemoryDataSource::getCurInnerDS()
{
    return m_curInnerDS;
}

void MemoryDataSource::setCurInnerDS(DataSource* ds)
{
    if (ds == m_curInnerDS)
        return;
    if (ds && ds->getParentDS())
        ds->getParentDS()->lockInnerDS(ds->getParentIterator(), ds->getParentCol());
    if (m_curInnerDS && m_curInnerDS->getParentDS())
        m_curInnerDS->getParentDS()->unlockInnerDS(m_curInnerDS->getParentIterator(),
                                                   m_curInnerDS->getParentCol());
    m_curInnerDS = ds;
}

DataSource* MemoryDataSource::getInnerDS(Iterator it, int col, bool* isNull, bool* ok)
{
    VEX_ASSERT(ok);
    bool okFlag;
    bool& result = ok ? *ok : okFlag;
    DSValue* v = m_ds.field(listIterator(it), col);
    if (!v || m_ds.layout(col - 1).type != tObject) {
        result = false;
        return nullptr;
    }
    if (isNull)
        *isNull = v->isNull();
    result = true;
    // The object field holds the inner source as a DataSource*.
    return v->isNull() ? nullptr : static_cast<DataSource*>(v->value().Object()->object);
}

void MemoryDataSource::lockInnerDS(Iterator it, int col)
{
    m_ds.lock(listIterator(it), col);
}

void MemoryDataSource::unlockInnerDS(Iterator it, int col)
{
    m_ds.unlock(listIterator(it), col);
}

void MemoryDataSource::bindToParent(DataSource* parent, Iterator it, int col)
{
    if (m_parentDS)
        return;
    m_parentDS = parent;
    m_parentIterator = it;
    m_parentCol = col;
}

// ---- Calculated values ----

void MemoryDataSource::invalidateField(Iterator it, int col)
{
    m_ds.setModify(listIterator(it), col);
}

void MemoryDataSource::invalidateRow(Iterator it)
{
    m_ds.setModifyRow(listIterator(it));
}

void MemoryDataSource::invalidateCol(int col)
{
    m_ds.setModifyCol(col);
}

void MemoryDataSource::invalidate()
{
    m_ds.setModifyAll();
}

// ---- Sorting ----

void MemoryDataSource::sort(const int* cols, int n, bool ascending)
{
    m_ds.sort(cols, n, ascending);
    m_curRow = m_ds.row(m_cur);
}

void MemoryDataSource::sort(const FilterInfo& filter)
{
    VectorOf<int> cols;
    for (int i = 0; i < filter.sortCount(); ++i) {
        const int col = indexByName(filter.sortName(i));
        if (col > 0)
            cols.add(col);
    }
    sort(cols.begin(), cols.size(), filter.order());
}

int MemoryDataSource::checkInvariants() const
{
    int rows = 0;
    bool curFound = m_cur == m_ds.end();
    for (MemoryDS::iterator it = m_ds.begin(); it != m_ds.end(); ++it) {
        ++rows;
        if (it == m_cur)
            curFound = true;
    }
    if (rows != m_ds.rowCount())
        return 1;
    if (!curFound)
        return 2;
    // After initColumns the table is empty and curRow may keep its old number.
    if (m_curRow != m_ds.row(m_cur) && !(m_ds.rowCount() == 0 && m_cur == m_ds.end()))
        return 3;
    return 0;
}

} // namespace DataSourceAPI

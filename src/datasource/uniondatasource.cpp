// UnionDataSource: the member list, the walk from a union row to its member and row, the
// reads passed to the member, and the following of the members' events and destruction.
#include <vexapi/datasource/uniondatasource.h>

#include <typeinfo>

namespace DataSourceAPI {

UnionDataSource::UnionDataSource()
    : m_members(50, 50), m_curRow(0), m_created(false), m_retrieved(false), m_cacheDS(nullptr),
      m_cacheRow(0), m_cacheStart(0)
{
}

DataSource::Iterator UnionDataSource::memberIterator(const RowLocation& at) const
{
    if (m_cacheDS == at.ds && !m_cacheIt.empty()) {
        if (m_cacheRow == at.row)
            return m_cacheIt;
        if (m_cacheRow + 1 == at.row) {
            ++m_cacheIt;
            m_cacheRow = at.row;
            return m_cacheIt;
        }
    }
    m_cacheRow = at.row;
    m_cacheIt = at.ds->row2iterator(at.row);
    return m_cacheIt;
}

void UnionDataSource::forget() const
{
    m_cacheDS = nullptr;
    m_cacheRow = 0;
    m_cacheStart = 0;
    m_cacheIt = Iterator();
}

UnionDataSource::~UnionDataSource()
{
    while (!m_connected.empty())
        disconnectDS(m_connected.back().ds);
}

void UnionDataSource::readOnly()
{
    throw Error();
}

// ---- Members ----

int UnionDataSource::occurrences(const DataSource* ds) const
{
    int n = 0;
    for (DataSource* m : m_members)
        if (m == ds)
            ++n;
    return n;
}

int UnionDataSource::rdsAdd(DataSource* ds)
{
    close();
    const int i = m_members.add(ds);
    if (ds && occurrences(ds) == 1)
        connectDS(ds);
    return i;
}

void UnionDataSource::rdsInsert(int index, DataSource* ds)
{
    close();
    index = index < 0 ? 0 : index > rdsCount() ? rdsCount() : index;
    m_members.insert(index, ds);
    if (ds && occurrences(ds) == 1)
        connectDS(ds);
}

void UnionDataSource::rdsSet(int index, DataSource* ds)
{
    if (index < 0 || index >= rdsCount())
        return;
    close();
    DataSource* old = m_members[index];
    m_members[index] = ds;
    if (old && old != ds && occurrences(old) == 0)
        disconnectDS(old);
    if (ds && old != ds && occurrences(ds) == 1)
        connectDS(ds);
}

void UnionDataSource::rdsRemove(int index)
{
    if (index < 0 || index >= rdsCount())
        return;
    close();
    DataSource* old = m_members[index];
    m_members.remove(index);
    if (old && occurrences(old) == 0)
        disconnectDS(old);
}

void UnionDataSource::rdsRemoveAll()
{
    close();
    while (!m_members.empty())
        rdsRemove(rdsCount() - 1);
}

DataSource* UnionDataSource::rds(int index) const
{
    return index >= 0 && index < rdsCount() ? m_members[index] : nullptr;
}

int UnionDataSource::rdsStartPos(int index) const
{
    int pos = 0;
    for (int i = 0; i < index && i < rdsCount(); ++i)
        if (m_members[i])
            pos += m_members[i]->rowCount();
    return pos;
}

int UnionDataSource::rdsIndexByRow(int row) const
{
    if (row < 1)
        return -1;
    for (int i = 0; i < rdsCount(); ++i) {
        const int n = m_members[i] ? m_members[i]->rowCount() : 0;
        if (row <= n)
            return i;
        row -= n;
    }
    return -1;
}

UnionDataSource::RowLocation UnionDataSource::location(int row) const
{
    // Row 0 (end) and negative rows live nowhere: the walk would answer the first member.
    if (row < 1)
        return RowLocation{nullptr, 0};
    // The member read last answers without the walk when the row is one of its own.
    if (m_cacheDS && row > m_cacheStart && row - m_cacheStart <= m_cacheDS->rowCount())
        return RowLocation{m_cacheDS, row - m_cacheStart};
    const int asked = row;
    for (DataSource* m : m_members) {
        const int n = m ? m->rowCount() : 0;
        if (row <= n) {
            if (m_cacheDS != m || m_cacheStart != asked - row) {
                m_cacheDS = m;
                m_cacheStart = asked - row;
                m_cacheRow = 0;
                m_cacheIt = Iterator();
            }
            return RowLocation{m, row};
        }
        row -= n;
    }
    return RowLocation{nullptr, 0};
}

UnionDataSource::RowLocation UnionDataSource::location(const Iterator& it) const
{
    return location(row(it));
}

// ---- Read-only ----

int UnionDataSource::insertCol(int, const ColInfo&) { readOnly(); }
void UnionDataSource::setCol(int, const ColInfo&) { readOnly(); }
void UnionDataSource::removeCol(int) { readOnly(); }
DataSource::Iterator UnionDataSource::insertRow(Iterator) { readOnly(); }
void UnionDataSource::deleteRow(Iterator) { readOnly(); }
void UnionDataSource::setField(Iterator, int, const void*, int, bool) { readOnly(); }
void UnionDataSource::setNull(Iterator, int, bool) { readOnly(); }
void UnionDataSource::clear() { readOnly(); }

// ---- Columns ----

int UnionDataSource::colCount() const
{
    DataSource* first = rds(0);
    return first ? first->colCount() : 0;
}

int UnionDataSource::indexByName(const WChar* name) const
{
    DataSource* first = rds(0);
    return first ? first->indexByName(name) : 0;
}

DataSource::ColInfo UnionDataSource::colInfo(int col) const
{
    DataSource* first = rds(0);
    return first ? first->colInfo(col) : ColInfo();
}

Type UnionDataSource::colType(int col) const
{
    DataSource* first = rds(0);
    return first ? first->colType(col) : tNone;
}

bool UnionDataSource::isCalculated(int col) const
{
    DataSource* first = rds(0);
    return first ? first->isCalculated(col) : false;
}

// ---- Positions ----

int UnionDataSource::row(const Iterator& it) const
{
    // typeid rather than dynamic_cast: this runs at every read of a walk.
    const IteratorInt* p = getIterator(it);
    return p && typeid(*p) == typeid(RIterator) ? static_cast<const RIterator*>(p)->m_row : 0;
}

DataSource::Iterator UnionDataSource::iter(int row) const
{
    return makeIterator(new RIterator(row, rowCount()));
}

void UnionDataSource::setCurIterator(Iterator it)
{
    m_curRow = row(it);
}

DataSource::Iterator UnionDataSource::begin() const
{
    return iter(rowCount() > 0 ? 1 : 0);
}

int UnionDataSource::rowCount() const
{
    int n = 0;
    for (DataSource* m : m_members)
        if (m)
            n += m->rowCount();
    return n;
}

// ---- Fields ----

VLong UnionDataSource::realLen(Iterator it, int col, bool* isNull) const
{
    const RowLocation at = location(it);
    if (!at.ds || col < 1 || col > at.ds->colCount()) {
        if (isNull)
            *isNull = true;
        return 0;
    }
    return at.ds->realLen(memberIterator(at), col, isNull);
}

bool UnionDataSource::getField(Iterator it, int col, void* buf, int bufLen, Type type,
                               bool* isNull, VLong* realLen) const
{
    const RowLocation at = location(it);
    if (!at.ds || col < 1 || col > at.ds->colCount())
        return true;
    return at.ds->getField(memberIterator(at), col, buf, bufLen, type, isNull, realLen);
}

void UnionDataSource::getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                               VLong* realLen) const
{
    const RowLocation at = location(it);
    if (!at.ds || col < 1 || col > at.ds->colCount())
        return;
    at.ds->getField(memberIterator(at), col, buf, bufLen, isNull, realLen);
}

bool UnionDataSource::getNull(Iterator it, int col) const
{
    const RowLocation at = location(it);
    if (!at.ds || col < 1 || col > at.ds->colCount())
        return true;
    return at.ds->getNull(memberIterator(at), col);
}

// ---- Life cycle ----

void UnionDataSource::create()
{
    DataSource::initColumns();
    m_created = true;
}

void UnionDataSource::close()
{
    forget();
    m_curRow = 0;
    m_created = false;
    m_retrieved = false;
}

void UnionDataSource::retrieve()
{
    forget();
    m_curRow = rowCount() > 0 ? 1 : 0;
    m_retrieved = true;
}

DataSource::ColInfo UnionDataSource::paramInfo(int) const
{
    return ColInfo(WSTR(""), tNone, 0);
}

// ---- Calculated values ----

void UnionDataSource::invalidateField(Iterator it, int col)
{
    const RowLocation at = location(it);
    if (at.ds)
        at.ds->invalidateField(memberIterator(at), col);
}

void UnionDataSource::invalidateRow(Iterator it)
{
    const RowLocation at = location(it);
    if (at.ds)
        at.ds->invalidateRow(memberIterator(at));
}

void UnionDataSource::invalidateCol(int col)
{
    for (const Watched& m : m_connected)
        if (col >= 1 && col <= m.ds->colCount())
            m.ds->invalidateCol(col);
}

void UnionDataSource::invalidate()
{
    for (const Watched& m : m_connected)
        m.ds->invalidate();
}

// ---- Following the members ----

void UnionDataSource::connectDS(DataSource* ds)
{
    m_connected.push_back(Watched{ds, ds});
    subscribe(ds, &Object::onDtor, this, &UnionDataSource::onDSDtor);
    subscribe(ds, &DataSource::onCurPosChanged, this, &UnionDataSource::onDSCurPosChanged);
    subscribe(ds, &DataSource::onInsert, this, &UnionDataSource::onDSInsert);
    subscribe(ds, &DataSource::onDelete, this, &UnionDataSource::onDSDelete);
    subscribe(ds, &DataSource::onFieldChanged, this, &UnionDataSource::onDSFieldChanged);
    subscribe(ds, &DataSource::onRowChanged, this, &UnionDataSource::onDSRowChanged);
    subscribe(ds, &DataSource::onChange, this, &UnionDataSource::onDSChange);
    subscribe(ds, &DataSource::onFullChange, this, &UnionDataSource::onDSFullChange);
}

void UnionDataSource::disconnectDS(DataSource* ds)
{
    for (std::size_t i = 0; i < m_connected.size(); ++i)
        if (m_connected[i].ds == ds) {
            m_connected.erase(m_connected.begin() + std::ptrdiff_t(i));
            break;
        }
    unsubscribe(ds, &Object::onDtor, this, &UnionDataSource::onDSDtor);
    unsubscribe(ds, &DataSource::onCurPosChanged, this, &UnionDataSource::onDSCurPosChanged);
    unsubscribe(ds, &DataSource::onInsert, this, &UnionDataSource::onDSInsert);
    unsubscribe(ds, &DataSource::onDelete, this, &UnionDataSource::onDSDelete);
    unsubscribe(ds, &DataSource::onFieldChanged, this, &UnionDataSource::onDSFieldChanged);
    unsubscribe(ds, &DataSource::onRowChanged, this, &UnionDataSource::onDSRowChanged);
    unsubscribe(ds, &DataSource::onChange, this, &UnionDataSource::onDSChange);
    unsubscribe(ds, &DataSource::onFullChange, this, &UnionDataSource::onDSFullChange);
}

// The dying member is past its own destructors: every entry of it goes, untouched, so no
// walk can reach it again; its subscriptions die with it.
SlotResult UnionDataSource::onDSDtor(Object* sender)
{
    close();
    for (std::size_t w = 0; w < m_connected.size(); ++w) {
        if (m_connected[w].object != sender)
            continue;
        DataSource* dead = m_connected[w].ds;
        m_connected.erase(m_connected.begin() + std::ptrdiff_t(w));
        for (int i = rdsCount() - 1; i >= 0; --i)
            if (m_members[i] == dead)
                m_members.remove(i);
        break;
    }
    return SlotContinue;
}

SlotResult UnionDataSource::onDSCurPosChanged(Object* sender, Iterator) { return onDSChange(sender); }
SlotResult UnionDataSource::onDSInsert(Object* sender, Iterator) { return onDSChange(sender); }
SlotResult UnionDataSource::onDSDelete(Object* sender, int) { return onDSChange(sender); }
SlotResult UnionDataSource::onDSFieldChanged(Object* sender, Iterator, int) { return onDSChange(sender); }
SlotResult UnionDataSource::onDSRowChanged(Object* sender, Iterator) { return onDSChange(sender); }

SlotResult UnionDataSource::onDSChange(Object*)
{
    retrieve();
    send(this, &DataSource::onChange);
    return SlotContinue;
}

SlotResult UnionDataSource::onDSFullChange(Object*)
{
    m_curRow = 0;
    initColumns();
    retrieve();
    send(this, &DataSource::onFullChange);
    return SlotContinue;
}

int UnionDataSource::checkInvariants() const
{
    const auto watched = [this](const DataSource* ds) {
        int n = 0;
        for (const Watched& w : m_connected)
            if (w.ds == ds)
                ++n;
        return n;
    };
    for (DataSource* m : m_members)
        if (m && watched(m) == 0)
            return 1;
    for (const Watched& w : m_connected)
        if (!w.ds || occurrences(w.ds) == 0 || watched(w.ds) != 1)
            return 2;
    return 0;
}

} // namespace DataSourceAPI

// LookupDataSource: the read-only view over another source's positions, its parameters,
// the filter and exchange sort of retrieve, and the rebuild on every event of the source.
#include <vexapi/datasource/lookupdatasource.h>

#include <vexapi/core/wtext.h>

#include <algorithm>
#include <cstring>

namespace DataSourceAPI {

using namespace DataRepresentationWithNulls;

namespace {

// The bytes of a value that are filled: its length, bounded by its buffer.
int filledBytes(const DynValueBase& v)
{
    return int(v.realLen < v.capacity() ? v.realLen : v.capacity());
}

// A parameter's slot: the width of its column's type, never less than one 8-byte unit so
// that a text column declared without a length still holds a terminator.
int slotBytes(Type type, int len)
{
    const int n = std::max(sizeOf(type, len), 8);
    return (n + 7) & ~7;
}

} // namespace

LookupDataSource::LookupDataSource()
    : m_ds(nullptr), m_paramSize(0), m_curRow(0), m_created(false), m_ascending(true)
{
    m_rows.reserve(50);
    m_sortCols.reserve(50);
}

LookupDataSource::~LookupDataSource()
{
    disconnectDS(m_ds);
}

void LookupDataSource::readOnly()
{
    throw Error();
}

void LookupDataSource::setDataSource(DataSource* ds)
{
    if (ds == m_ds)
        return;
    disconnectDS(m_ds);
    // The old positions belong to the old source.
    m_rows.clear();
    m_curRow = 0;
    m_ds = ds;
    connectDS(m_ds);
}

// ---- Read-only ----

int LookupDataSource::insertCol(int, const ColInfo&) { readOnly(); }
void LookupDataSource::setCol(int, const ColInfo&) { readOnly(); }
void LookupDataSource::removeCol(int) { readOnly(); }
DataSource::Iterator LookupDataSource::insertRow(Iterator) { readOnly(); }
void LookupDataSource::deleteRow(Iterator) { readOnly(); }
void LookupDataSource::setField(Iterator, int, const void*, int, bool) { readOnly(); }
void LookupDataSource::setNull(Iterator, int, bool) { readOnly(); }
void LookupDataSource::clear() { readOnly(); }

// ---- Columns ----

int LookupDataSource::colCount() const { return m_ds ? m_ds->colCount() : 0; }

int LookupDataSource::indexByName(const WChar* name) const
{
    return m_ds ? m_ds->indexByName(name) : 0;
}

DataSource::ColInfo LookupDataSource::colInfo(int col) const
{
    return m_ds ? m_ds->colInfo(col) : ColInfo();
}

bool LookupDataSource::isCalculated(int col) const
{
    return m_ds ? m_ds->isCalculated(col) : false;
}

Type LookupDataSource::colType(int col) const
{
    return m_ds ? m_ds->colType(col) : tNone;
}

// ---- Positions ----

int LookupDataSource::row(const Iterator& it) const
{
    const IteratorInt* p = getIterator(it);
    const RIterator* r = dynamic_cast<const RIterator*>(p);
    return r ? r->m_row : 0;
}

DataSource::Iterator LookupDataSource::iter(int row) const
{
    if (row < 1 || row > rowCount())
        return end();
    return makeIterator(new RIterator(row, rowCount()));
}

DataSource::Iterator LookupDataSource::dsiter(int row) const
{
    if (row < 1 || row > rowCount())
        return Iterator();
    return m_rows[std::size_t(row - 1)];
}

DataSource::Iterator LookupDataSource::getCurIterator() const
{
    return m_curRow == 0 ? end() : iter(m_curRow);
}

void LookupDataSource::setCurRow(int row)
{
    if (row >= 0 && row <= rowCount())
        m_curRow = row;
}

void LookupDataSource::setCurIterator(Iterator it)
{
    setCurRow(row(it));
}

DataSource::Iterator LookupDataSource::begin() const
{
    return m_rows.empty() ? end() : iter(1);
}

// ---- Fields ----

VLong LookupDataSource::realLen(Iterator it, int col, bool* isNull) const
{
    const Iterator d = dsiter(it);
    if (!m_ds || d.empty())
        return 0;
    return m_ds->realLen(d, col, isNull);
}

void LookupDataSource::getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                                VLong* realLen) const
{
    const Iterator d = dsiter(it);
    if (m_ds && !d.empty())
        m_ds->getField(d, col, buf, bufLen, isNull, realLen);
}

bool LookupDataSource::getNull(Iterator it, int col) const
{
    const Iterator d = dsiter(it);
    return m_ds && !d.empty() ? m_ds->getNull(d, col) : true;
}

// ---- Life cycle ----

void LookupDataSource::create()
{
    DataSource::initColumns();
    m_created = true;
}

void LookupDataSource::close()
{
    m_created = false;
    m_rows.clear();
    m_curRow = 0;
}


void LookupDataSource::retrieve()
{
    if (!m_created || !m_ds)
        return;
    m_rows.clear();
    m_curRow = 0;
    for (const Param& p : m_params)
        if (p.isNull)
            return;

    // What each parameter is compared with, prepared once: a LIKE prefix is cut here.
    struct Probe {
        int col;
        Type type;
        const void* data;
        int len;
        int prefix; // characters of a LIKE prefix, -1 for a plain comparison
    };
    std::vector<Probe> probes;
    probes.reserve(m_params.size());
    for (const Param& p : m_params) {
        const Type type = m_ds->colType(p.col);
        Probe probe{p.col, type, m_values.data() + p.offset, int(p.len), -1};
        if (p.useLike && type == tText) {
            const WChar* text = static_cast<const WChar*>(probe.data);
            const WChar* pct = wstrrchr(text, WChar('%'));
            if (pct && (pct == text || pct[-1] != WChar('%')))
                probe.prefix = int(pct - text);
        }
        probes.push_back(probe);
    }
    std::vector<WChar> cut;

    ConvValue field;
    const Iterator last = m_ds->end();
    for (Iterator it = m_ds->begin(); it != last; ++it) {
        bool match = true;
        for (const Probe& probe : probes) {
            // Typed in the column's own type: the same bytes as the raw read, and the
            // direct path of a source that has one.
            DataRepresentationWithNulls::getField(m_ds, it, probe.col, probe.type, field);
            if (field.isNull) {
                match = false;
                break;
            }
            int r;
            if (probe.prefix >= 0) {
                // The pattern without its '%' against the field cut to the same length.
                cut.assign(static_cast<const WChar*>(probe.data),
                           static_cast<const WChar*>(probe.data) + probe.prefix);
                cut.push_back(0);
                WChar* text = static_cast<WChar*>(field.data());
                const int chars = filledBytes(field) / int(sizeof(WChar));
                if (probe.prefix < chars)
                    text[probe.prefix] = 0;
                r = compare(text, filledBytes(field), cut.data(), int(cut.size() * sizeof(WChar)), tText);
            } else {
                r = compare(field.data(), filledBytes(field), probe.data, probe.len, probe.type);
            }
            if (r != 0) {
                match = false;
                break;
            }
        }
        if (match)
            m_rows.push_back(it);
    }
    m_curRow = m_rows.empty() ? 0 : 1;

    if (m_sortCols.empty())
        return;
    // An exchange sort: stable, and a lookup's lists are short.
    const int n = int(m_rows.size());
    for (int i = 0; i < n - 1; ++i)
        for (int j = n - 1; j > i; --j) {
            const int c = compareRows(m_rows[std::size_t(j - 1)], m_rows[std::size_t(j)]);
            if (m_ascending ? c > 0 : c < 0)
                std::swap(m_rows[std::size_t(j - 1)], m_rows[std::size_t(j)]);
        }
}

int LookupDataSource::compareRows(const Iterator& a, const Iterator& b) const
{
    DynValue<64> x, y;
    for (int col : m_sortCols) {
        // An unknown sort name left a 0: there is no such column to read.
        if (col < 1)
            continue;
        // A null is compared as the zero bytes of an empty value, so that it sorts first.
        std::memset(x.data(), 0, std::size_t(x.capacity()));
        std::memset(y.data(), 0, std::size_t(y.capacity()));
        DataRepresentationWithNulls::getField(m_ds, a, col, x);
        DataRepresentationWithNulls::getField(m_ds, b, col, y);
        const int c = compare(x.data(), x.isNull ? 0 : filledBytes(x), y.data(),
                              y.isNull ? 0 : filledBytes(y), m_ds->colType(col));
        if (c != 0)
            return c;
    }
    return 0;
}

// ---- Parameters ----

int LookupDataSource::indexByParamName(const WChar* name) const
{
    if (!name)
        return 0;
    for (std::size_t i = 0; i < m_params.size(); ++i)
        if (wstrcmp(m_params[i].name.constData(), name) == 0)
            return int(i) + 1;
    return 0;
}

DataSource::ColInfo LookupDataSource::paramInfo(int param) const
{
    if (param < 1 || param > paramCount())
        return ColInfo();
    const Param& p = m_params[std::size_t(param - 1)];
    if (!m_ds)
        return ColInfo(p.name.constData(), tNone, 0);
    const ColInfo col = m_ds->colInfo(p.col);
    return ColInfo(p.name.constData(), col.type(), col.len());
}

void LookupDataSource::getParam(int param, void* buf, int bufLen, bool* isNull,
                                VLong* realLen) const
{
    if (param < 1 || param > paramCount())
        return;
    const Param& p = m_params[std::size_t(param - 1)];
    if (isNull)
        *isNull = p.isNull;
    if (realLen)
        *realLen = p.isNull ? 0 : p.len;
    if (!p.isNull && buf && bufLen > 0)
        std::memcpy(buf, m_values.data() + p.offset, std::size_t(std::min<VLong>(p.len, bufLen)));
}

void LookupDataSource::setParam(int param, const void* data, int len, bool isNull)
{
    if (param < 1 || param > paramCount())
        return;
    Param& p = m_params[std::size_t(param - 1)];
    unsigned char* slot = m_values.data() + p.offset;
    if (isNull || !data) {
        p.isNull = true;
        p.len = 0;
        return;
    }
    const Type type = m_ds ? m_ds->colType(p.col) : tNone;
    const int n = std::max(0, std::min(len, p.size));
    std::memset(slot, 0, std::size_t(p.size));
    std::memcpy(slot, data, std::size_t(n));
    p.isNull = false;
    p.len = n;
    // A text is kept terminated inside its slot, cut if it was longer.
    if (type == tText) {
        WChar* text = reinterpret_cast<WChar*>(slot);
        const int room = p.size / int(sizeof(WChar));
        text[room - 1] = 0;
        p.len = VLong(wstrlen(text) + 1) * VLong(sizeof(WChar));
    } else if (type == tChar) {
        char* text = reinterpret_cast<char*>(slot);
        text[p.size - 1] = 0;
        p.len = VLong(std::strlen(text) + 1);
    }
}

void LookupDataSource::setFilter(const FilterInfo& filter)
{
    if (!m_created || !m_ds)
        return;
    m_sortCols.clear();
    for (int i = 0; i < filter.sortCount(); ++i)
        m_sortCols.push_back(m_ds->indexByName(filter.sortName(i)));
    m_ascending = filter.order();

    // The same columns in the same order keep the parameters and their values.
    bool changed = false;
    std::size_t k = 0;
    for (int i = 0; i < filter.colCount() && !changed; ++i) {
        const int col = m_ds->indexByName(filter.colName(i));
        if (col <= 0 || m_ds->colType(col) == tBlob)
            continue;
        if (k >= m_params.size() || m_params[k].col != col) {
            changed = true;
            break;
        }
        m_params[k].name = WCharString(filter.paramName(i));
        m_params[k].useLike = filter.useLike(i);
        ++k;
    }
    if (!changed && k == m_params.size())
        return;

    m_params.clear();
    m_values.clear();
    m_paramSize = 0;
    for (int i = 0; i < filter.colCount(); ++i) {
        const int col = m_ds->indexByName(filter.colName(i));
        if (col <= 0)
            continue;
        const ColInfo info = m_ds->colInfo(col);
        if (info.type() == tBlob)
            continue;
        const int size = slotBytes(info.type(), info.len());
        m_params.push_back(Param{WCharString(filter.paramName(i)), col, filter.useLike(i),
                                 m_paramSize, size, true, 0});
        m_paramSize += size;
    }
    m_values.assign(std::size_t(m_paramSize), 0);
}

// ---- Calculated values ----

void LookupDataSource::invalidateField(Iterator it, int col)
{
    const Iterator d = dsiter(it);
    if (m_ds && !d.empty())
        m_ds->invalidateField(d, col);
}

void LookupDataSource::invalidateRow(Iterator it)
{
    const Iterator d = dsiter(it);
    if (m_ds && !d.empty())
        m_ds->invalidateRow(d);
}

void LookupDataSource::invalidateCol(int col)
{
    if (m_ds)
        m_ds->invalidateCol(col);
}

void LookupDataSource::invalidate()
{
    if (m_ds)
        m_ds->invalidate();
}

// ---- Following ds ----

void LookupDataSource::connectDS(DataSource* ds)
{
    if (!ds)
        return;
    subscribe(ds, &Object::onDtor, this, &LookupDataSource::onDSDtor);
    subscribe(ds, &DataSource::onCurPosChanged, this, &LookupDataSource::onDSCurPosChanged);
    subscribe(ds, &DataSource::onInsert, this, &LookupDataSource::onDSInsert);
    subscribe(ds, &DataSource::onDelete, this, &LookupDataSource::onDSDelete);
    subscribe(ds, &DataSource::onFieldChanged, this, &LookupDataSource::onDSFieldChanged);
    subscribe(ds, &DataSource::onRowChanged, this, &LookupDataSource::onDSRowChanged);
    subscribe(ds, &DataSource::onChange, this, &LookupDataSource::onDSChange);
    subscribe(ds, &DataSource::onFullChange, this, &LookupDataSource::onDSFullChange);
}

void LookupDataSource::disconnectDS(DataSource* ds)
{
    if (!ds)
        return;
    unsubscribe(ds, &Object::onDtor, this, &LookupDataSource::onDSDtor);
    unsubscribe(ds, &DataSource::onCurPosChanged, this, &LookupDataSource::onDSCurPosChanged);
    unsubscribe(ds, &DataSource::onInsert, this, &LookupDataSource::onDSInsert);
    unsubscribe(ds, &DataSource::onDelete, this, &LookupDataSource::onDSDelete);
    unsubscribe(ds, &DataSource::onFieldChanged, this, &LookupDataSource::onDSFieldChanged);
    unsubscribe(ds, &DataSource::onRowChanged, this, &LookupDataSource::onDSRowChanged);
    unsubscribe(ds, &DataSource::onChange, this, &LookupDataSource::onDSChange);
    unsubscribe(ds, &DataSource::onFullChange, this, &LookupDataSource::onDSFullChange);
}

// The dying source is past its own destructors: it is not touched, and its positions are
// only let go (they are objects of their own).
SlotResult LookupDataSource::onDSDtor(Object*)
{
    m_ds = nullptr;
    m_rows.clear();
    m_curRow = 0;
    return SlotContinue;
}

SlotResult LookupDataSource::onDSCurPosChanged(Object* sender, Iterator) { return onDSChange(sender); }
SlotResult LookupDataSource::onDSInsert(Object* sender, Iterator) { return onDSChange(sender); }
SlotResult LookupDataSource::onDSDelete(Object* sender, int) { return onDSChange(sender); }
SlotResult LookupDataSource::onDSFieldChanged(Object* sender, Iterator, int) { return onDSChange(sender); }
SlotResult LookupDataSource::onDSRowChanged(Object* sender, Iterator) { return onDSChange(sender); }

SlotResult LookupDataSource::onDSChange(Object*)
{
    retrieve();
    send(this, &DataSource::onChange);
    return SlotContinue;
}

SlotResult LookupDataSource::onDSFullChange(Object*)
{
    m_curRow = 0;
    m_rows.clear();
    m_params.clear();
    m_values.clear();
    m_paramSize = 0;
    m_sortCols.clear();
    initColumns();
    retrieve();
    send(this, &DataSource::onFullChange);
    return SlotContinue;
}

int LookupDataSource::checkInvariants() const
{
    if (!m_ds && !m_rows.empty())
        return 1;
    if (m_curRow < 0 || m_curRow > rowCount())
        return 2;
    int offset = 0;
    for (const Param& p : m_params) {
        if (p.offset < offset || p.offset + p.size > int(m_values.size()) || p.size <= 0)
            return 3;
        offset = p.offset + p.size;
    }
    if (m_ds) {
        const Iterator last = m_ds->end();
        for (const Iterator& it : m_rows)
            if (it.empty() || it == last)
                return 4;
    }
    return 0;
}

} // namespace DataSourceAPI

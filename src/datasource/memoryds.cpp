// MemoryDS: the record list, row numbers by walking, inserts and deletes with the object
// hooks, locked field access, calculated-value bits and sorting.
#include <vexapi/datasource/memoryds.h>

#include <vexapi/core/wtext.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace DataSourceAPI {

using DataRepresentationWithNulls::DSValue;

using detail::valueLength;

namespace {

// The modify bits take whole 8-byte units, so the record behind them stays 8-aligned.
std::size_t bitsSize(int cols)
{
    return (std::size_t(cols / 8 + 1) + 7) & ~std::size_t(7);
}

} // namespace

MemoryDS::MemoryDS() : m_rowCount(0), m_cols(nullptr), m_colCount(0), m_flagsOffset(0) {}

void MemoryDS::layoutChanged()
{
    m_cols = layoutData();
    m_colCount = layoutCount();
    m_flagsOffset = int(sizeof(void*)) + size();
}

MemoryDS::~MemoryDS()
{
    clearData();
}

int MemoryDS::row(iterator it)
{
    int n = 0;
    const iterator stop = end();
    while (it != stop) {
        --it;
        ++n;
    }
    return n;
}

MemoryDS::iterator MemoryDS::getIterator(int n)
{
    const iterator stop = end();
    iterator it = stop;
    for (int i = 0; i < n; ++i) {
        ++it;
        if (it == stop)
            break;
    }
    return it;
}

MemoryDSRecord* MemoryDS::newRecord()
{
    static_assert(sizeof(MemoryDSRecord) % 8 == 0, "the bits follow the record 8-aligned");
    const int cols = layoutCount();
    const std::size_t bits = bitsSize(cols);
    void* block = ::operator new(sizeof(MemoryDSRecord) + bits + std::size_t(kortBlockSize()));
    MemoryDSRecord* record = new (block) MemoryDSRecord();
    char* after = static_cast<char*>(block) + sizeof(MemoryDSRecord);
    std::memset(after, 0, bits);
    record->kort = placeKort(after + bits);
    for (int c = 0; c < cols; ++c)
        if (isCalculated(c + 1))
            record->setModify(c, true);
    return record;
}

void MemoryDS::freeRecord(MemoryDSRecord* record)
{
    destroyKort(record->kort);
    record->~MemoryDSRecord();
    ::operator delete(static_cast<void*>(record));
}

void MemoryDS::constructObjects(iterator it)
{
    for (int c = 0; c < layoutCount(); ++c)
        if (layout(c).type == tObject)
            newObject(it, c + 1, (*it->kort)[c].value().Object()->object);
}

void MemoryDS::destroyObjects(iterator it)
{
    for (int c = 0; c < layoutCount(); ++c) {
        if (layout(c).type == tObject) {
            DSObject* o = (*it->kort)[c].value().Object();
            deleteObject(it, c + 1, o->object);
            o->object = nullptr;
            o->lockCount = 0;
        }
    }
}

MemoryDS::iterator MemoryDS::insertRow(iterator before)
{
    MemoryDSRecord* record = newRecord();
    iterator it(List::insert(record, before.base()));
    ++m_rowCount;
    constructObjects(it);
    return it;
}

void MemoryDS::deleteRow(iterator it)
{
    if (it == end())
        return;
    destroyObjects(it);
    MemoryDSRecord* record = it.node();
    List::remove(it.base());
    --m_rowCount;
    freeRecord(record);
}

void MemoryDS::clearData()
{
    while (m_records.begin() != m_records.end())
        deleteRow(begin());
    m_rowCount = 0;
}

void MemoryDS::refresh(iterator it, int col)
{
    const int c = col - 1;
    MemoryDSRecord& record = *it;
    if (!record.getModify(c) || !isCalculated(col))
        return;
    record.setModify(c, false);
    DSValue& v = (*record.kort)[c];
    const DSKortDesc::ColLayout& l = layout(c);
    bool isNull = false;
    // A blob's calculation gets the blob record itself, to fill as it likes.
    void* buf = l.type == tBlob ? static_cast<void*>(v.value().Blob()) : v.Bin();
    calculate(it, col, buf, l.len, &isNull);
    v.setNull(isNull);
}

void MemoryDS::lock(iterator it, int col)
{
    if (!field(it, col))
        return;
    const int c = col - 1;
    if (it->getModify(c) && isCalculated(col)) {
        refresh(it, col);
    } else if (layout(c).type == tObject) {
        DSObject* o = (*it->kort)[c].value().Object();
        lockObject(it, col, o->object);
        ++o->lockCount;
    }
}

void MemoryDS::unlock(iterator it, int col)
{
    DSValue* v = field(it, col);
    if (!v || layout(col - 1).type != tObject)
        return;
    DSObject* o = v->value().Object();
    if (o->lockCount > 0 && --o->lockCount == 0)
        unlockObject(it, col, o->object);
}

VLong MemoryDS::realLen(iterator it, int col)
{
    DSValue* v = field(it, col);
    return v ? valueLength(*v, layout(col - 1)) : 0;
}

void MemoryDS::setField(iterator it, int col, const void* data, int len, bool isNull)
{
    DSValue* v = field(it, col);
    if (!v)
        return;
    // The flag first; a null leaves the old bytes where they are.
    v->setNull(isNull);
    if (isNull || !data)
        return;
    const DSKortDesc::ColLayout& l = layout(col - 1);
    if (l.type == tBlob) {
        // Into a fresh block first: `data` may lie in the old one.
        DSBlob fresh;
        fresh.alloc(len);
        if (len > 0)
            std::memcpy(fresh.data(), data, std::size_t(len));
        DSBlob* b = v->value().Blob();
        b->clear();
        *b = fresh;
    } else {
        // The value is cut to the column's size, and strings are terminated.
        convert(v->Bin(), l.len, l.type, data, len, l.type, nullptr, nullptr);
    }
}

bool MemoryDS::getNull(iterator it, int col)
{
    DSValue* v = field(it, col);
    if (!v)
        return true;
    lock(it, col);
    return v->isNull();
}

void MemoryDS::setNull(iterator it, int col, bool isNull)
{
    if (DSValue* v = field(it, col))
        v->setNull(isNull);
}

void MemoryDS::setModify(iterator it, int col)
{
    if (field(it, col))
        it->setModify(col - 1, true);
}

bool MemoryDS::getModify(iterator it, int col) const
{
    const int c = col - 1;
    if (c < 0 || c >= layoutCount() || it == const_cast<MemoryDS*>(this)->end())
        return false;
    return it->getModify(c);
}

void MemoryDS::setModifyRow(iterator it)
{
    if (it == end())
        return;
    for (int c = 0; c < layoutCount(); ++c)
        if (isCalculated(c + 1))
            it->setModify(c, true);
}

void MemoryDS::setModifyCol(int col)
{
    if (col < 1 || col > layoutCount())
        return;
    for (iterator it = begin(); it != end(); ++it)
        it->setModify(col - 1, true);
}

void MemoryDS::setModifyAll()
{
    for (iterator it = begin(); it != end(); ++it)
        setModifyRow(it);
}

int MemoryDS::compareRows(iterator a, iterator b, const int* cols, int n)
{
    for (int k = 0; k < n; ++k) {
        const int col = cols[k];
        DSValue* x = field(a, col);
        DSValue* y = field(b, col);
        if (!x || !y)
            continue;
        refresh(a, col);
        refresh(b, col);
        const bool xn = x->isNull(), yn = y->isNull();
        if (xn || yn) {
            if (xn != yn)
                return xn ? -1 : 1;
            continue;
        }
        const DSKortDesc::ColLayout& l = layout(col - 1);
        const int r = compare(x->Bin(), int(valueLength(*x, l)), y->Bin(), int(valueLength(*y, l)),
                              l.type);
        if (r != 0)
            return r;
    }
    return 0;
}

void MemoryDS::sort(const int* cols, int n, bool ascending)
{
    if (m_rowCount < 2 || n <= 0)
        return;
    std::vector<MemoryDSRecord*> records;
    records.reserve(std::size_t(m_rowCount));
    for (iterator it = begin(); it != end(); ++it)
        records.push_back(it.node());
    std::stable_sort(records.begin(), records.end(), [&](MemoryDSRecord* x, MemoryDSRecord* y) {
        const int r = compareRows(iterator(List::Iterator(x)), iterator(List::Iterator(y)), cols, n);
        return ascending ? r < 0 : r > 0;
    });
    // Relinked only once the order stands, so a hook that throws leaves the list as it was.
    for (MemoryDSRecord* r : records)
        List::remove(List::Iterator(r));
    for (MemoryDSRecord* r : records)
        m_records.pushBack(r);
}

void MemoryDS::calculate(iterator, int, void*, int, bool*) {}
void MemoryDS::newObject(iterator, int, void*&) {}
void MemoryDS::deleteObject(iterator, int, void*&) {}
void MemoryDS::lockObject(iterator, int, void*&) {}
void MemoryDS::unlockObject(iterator, int, void*&) {}

} // namespace DataSourceAPI

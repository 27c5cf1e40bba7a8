// LowMemoryDS: records made on lock and kept in a bounded pool after unlock, the states and
// counts of changed rows, the deleted records, and the journal of a write in progress.
#include <vexapi/sql/lowmemoryds.h>

#include <vexapi/core/vexassert.h>
#include <vexapi/datasource/dsdefs.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace DataSourceAPI {

namespace {

// A deleted record: isJournal at 0, dbRow at 4, the original values from 8.
// A journal block: dbRow at 0, the original values from 8.
const int deletedHead = 8;
const int journalHead = 8;

bool& deletedIsJournal(char* block) { return *reinterpret_cast<bool*>(block); }
int& blockDbRow(char* block) { return *reinterpret_cast<int*>(block + 4); }
int& journalRow(char* block) { return *reinterpret_cast<int*>(block); }

} // namespace

LowMemoryDS::LowMemoryDS()
    : m_insCount(0), m_updCount(0), m_delCount(0), m_rowCount(0), m_cacheHead(nullptr),
      m_cacheTail(nullptr), m_curCacheSize(0), m_sizeOfRecord(0), m_sizeOfRecord1(0),
      m_journalSize(0)
{
    initColumns();
}

LowMemoryDS::~LowMemoryDS()
{
    reset(0);
}

void LowMemoryDS::calcColumn(const Iterator&, int) {}
void LowMemoryDS::readRowFromDB(const Iterator&) {}
void LowMemoryDS::readColumnFromDB(const Iterator&, int) {}

// ---- Layout ----

void LowMemoryDS::initColumns()
{
    reset(0);
    const int cols = colCount();
    // Both value blocks are laid out alike: lengths normalised, each slot 8-aligned.
    auto layOut = [](auto& columns, int size) {
        for (auto& c : columns) {
            if (c.type != tChar && c.type != tText && c.type != tByte)
                c.len = sizeOf(c.type, c.len);
            c.offset = size;
            size += round8(slotSize(c.type, c.len));
        }
        return size;
    };
    m_sizeOfRecord = layOut(m_cols, round8(int(sizeof(LowMemoryRecord)) + cols / 8 + 1));
    m_sizeOfRecord1 = layOut(m_orgCols, 0);
    m_journalSize = round8(m_sizeOfRecord1 + 4);
}

// ---- Records ----

LowMemoryRecord* LowMemoryDS::newRecord(const Iterator& it, RowState state)
{
    void* mem = std::calloc(std::size_t(m_sizeOfRecord + m_sizeOfRecord1), 1);
    if (!mem)
        throw std::bad_alloc();
    // Zeroed bytes are empty blobs and not-null values.
    LowMemoryRecord* r = new (mem) LowMemoryRecord();
    r->cachePrev = r->cacheNext = nullptr;
    r->journal = nullptr;
    r->state = state;
    r->lockCount = 0;
    r->it = it;
    r->m_inCache = false;
    unsigned char* b = bits(r);
    for (int i = 0; i < colCount(); ++i)
        if (m_cols[std::size_t(i)].calculated)
            b[i / 8] |= static_cast<unsigned char>(1u << (i % 8));
    DataBuffer::setRecord(it, r);
    return r;
}

void LowMemoryDS::clearOrgBlobs(char* block) const
{
    for (const OrgCol& c : m_orgCols)
        if (c.type == tBlob)
            FieldRef(block + c.offset, tBlob).blob()->clear();
}

void LowMemoryDS::freeRecord(LowMemoryRecord* r)
{
    if (r->m_inCache)
        fromCache(r);
    char* base = reinterpret_cast<char*>(r);
    for (const Col& c : m_cols)
        if (c.type == tBlob)
            FieldRef(base + c.offset, tBlob).blob()->clear();
    clearOrgBlobs(base + m_sizeOfRecord);
    if (r->journal) {
        clearOrgBlobs(r->journal + journalHead);
        std::free(r->journal);
    }
    // The entry loses its record first, so that it can merge back into its run when the
    // record's own iterator lets go of it.
    DataBuffer::setRecord(r->it, nullptr);
    r->~LowMemoryRecord();
    std::free(r);
}

void LowMemoryDS::toCache(LowMemoryRecord* r)
{
    r->cachePrev = m_cacheTail;
    r->cacheNext = nullptr;
    (m_cacheTail ? m_cacheTail->cacheNext : m_cacheHead) = r;
    m_cacheTail = r;
    r->m_inCache = true;
    ++m_curCacheSize;
    if (m_curCacheSize > cacheLimit)
        freeRecord(m_cacheHead);
}

void LowMemoryDS::fromCache(LowMemoryRecord* r)
{
    (r->cachePrev ? r->cachePrev->cacheNext : m_cacheHead) = r->cacheNext;
    (r->cacheNext ? r->cacheNext->cachePrev : m_cacheTail) = r->cachePrev;
    r->cachePrev = r->cacheNext = nullptr;
    r->m_inCache = false;
    --m_curCacheSize;
    VEX_ASSERT(m_curCacheSize>=0);
}

// ---- Lock ----

void LowMemoryDS::lock(const Iterator& it, int col)
{
    VEX_ASSERT(!it.isNull() && it != end());
    if (it.isNull() || it == end())
        return;
    LowMemoryRecord* r = recordOf(it);
    if (!r) {
        r = newRecord(it, Original);
        r->lockCount = 1;
        if (getDBRow(it) != 0) {
            try {
                readRowFromDB(it);
            } catch (...) {
                // A row that could not be read is not kept half made.
                freeRecord(r);
                throw;
            }
        }
    } else {
        if (r->m_inCache)
            fromCache(r);
        ++r->lockCount;
    }
    const Col* c = this->col(col);
    if (!c)
        return;
    const int i = col - 1;
    if (c->type == tBlob && !c->calculated && (r->state == Original || r->state == Modified)) {
        FieldRef f = (*this)(it, col);
        if (!f.isNull() && !f.blob()->data())
            readColumnFromDB(it, col);
    }
    unsigned char* b = bits(r);
    if (c->calculated && (b[i / 8] >> (i % 8) & 1)) {
        b[i / 8] &= static_cast<unsigned char>(~(1u << (i % 8)));
        calcColumn(it, col);
    }
}

void LowMemoryDS::unlock(const Iterator& it)
{
    LowMemoryRecord* rec = recordOf(it);
    VEX_ASSERT(rec && !rec->m_inCache);
    if (!rec || rec->m_inCache)
        return;
    VEX_ASSERT(rec->lockCount > 0);
    if (rec->lockCount <= 0)
        return;
    if (--rec->lockCount == 0 && getDBRow(it) > 0 && rec->state == Original)
        toCache(rec);
}

// ---- Values ----

FieldRef LowMemoryDS::operator()(const Iterator& it, int col) const
{
    LowMemoryRecord* r = recordOf(it);
    const Col* c = this->col(col);
    if (!r || !c)
        return FieldRef();
    return FieldRef(reinterpret_cast<char*>(r) + c->offset, c->type);
}

FieldRef LowMemoryDS::accessOrgField(const Iterator& it, int col) const
{
    LowMemoryRecord* r = recordOf(it);
    const OrgCol* c = orgCol(col);
    if (!r || !c)
        return FieldRef();
    return FieldRef(reinterpret_cast<char*>(r) + m_sizeOfRecord + c->offset, c->type);
}

FieldRef LowMemoryDS::accessDeletedOrgField(int i, int col) const
{
    const OrgCol* c = orgCol(col);
    if (!inRange(i, int(m_deleted.size())) || !c)
        return FieldRef();
    return FieldRef(m_deleted[std::size_t(i - 1)] + deletedHead + c->offset, c->type);
}

int LowMemoryDS::deletedDBRow(int i) const
{
    return inRange(i, int(m_deleted.size())) ? blockDbRow(m_deleted[std::size_t(i - 1)]) : 0;
}

int LowMemoryDS::realLen(const Iterator& it, int col) const
{
    const Col* c = this->col(col);
    return c ? valueLength((*this)(it, col), c->len) : 0;
}

int LowMemoryDS::orgRealLen(const Iterator& it, int col) const
{
    const OrgCol* c = orgCol(col);
    return c ? valueLength(accessOrgField(it, col), c->len) : 0;
}

int LowMemoryDS::deletedOrgRealLen(int i, int col) const
{
    const OrgCol* c = orgCol(col);
    return c ? valueLength(accessDeletedOrgField(i, col), c->len) : 0;
}

// ---- Modification ----

void LowMemoryDS::setModify(const Iterator& it, int col)
{
    LowMemoryRecord* r = recordOf(it);
    VEX_ASSERT(r && r->lockCount > 0 && !r->m_inCache);
    const Col* c = this->col(col);
    if (!r || !c || r->m_inCache)
        return;
    if (!c->calculated && r->state == Original) {
        r->state = Modified;
        ++m_updCount;
    }
    bits(r)[(col - 1) / 8] |= static_cast<unsigned char>(1u << ((col - 1) % 8));
}

void LowMemoryDS::setModifyRow(const Iterator& it)
{
    for (int col = 1; col <= colCount(); ++col)
        if (m_cols[std::size_t(col - 1)].calculated)
            setModify(it, col);
}

bool LowMemoryDS::getModify(const Iterator& it, int col) const
{
    LowMemoryRecord* r = recordOf(it);
    if (!r || !this->col(col))
        return false;
    return (bits(r)[(col - 1) / 8] >> ((col - 1) % 8)) & 1;
}

void LowMemoryDS::setModifyCol(int col)
{
    Iterator it = end();
    for (DataBuffer::nextRecord(it); it != end(); DataBuffer::nextRecord(it)) {
        lock(it, 0);
        setModify(it, col);
        unlock(it);
    }
}

void LowMemoryDS::setModifyAll()
{
    Iterator it = end();
    for (DataBuffer::nextRecord(it); it != end(); DataBuffer::nextRecord(it)) {
        lock(it, 0);
        setModifyRow(it);
        unlock(it);
    }
}

// ---- Rows ----

LowMemoryDS::Iterator LowMemoryDS::insertRow(const Iterator& it)
{
    Iterator n = m_buffer.insertRow(it);
    newRecord(n, Inserted);
    ++m_insCount;
    ++m_rowCount;
    return n;
}

LowMemoryDS::Iterator LowMemoryDS::insertOriginalRow(const Iterator& it)
{
    Iterator n = m_buffer.insertRow(it);
    newRecord(n, Original);
    ++m_rowCount;
    return n;
}

void LowMemoryDS::deleteRow(const Iterator& it)
{
    lock(it, 0);
    LowMemoryRecord* r = recordOf(it);
    if (!r)
        return;
    if (r->state == Inserted)
        --m_insCount;
    else if (r->state == Modified)
        --m_updCount;
    if (r->state == Original || r->state == Modified) {
        char* block = static_cast<char*>(std::calloc(std::size_t(deletedHead + m_sizeOfRecord1), 1));
        if (!block) {
            // Nothing has changed yet but the count lowered above: put it back.
            if (r->state == Modified)
                ++m_updCount;
            unlock(it);
            throw std::bad_alloc();
        }
        deletedIsJournal(block) = false;
        blockDbRow(block) = getDBRow(it);
        const char* org = reinterpret_cast<const char*>(r) + m_sizeOfRecord;
        for (const OrgCol& c : m_orgCols) {
            // A blob's block belongs to its record and goes with it.
            VEX_ASSERT(c.type != tBlob);
            if (c.type == tBlob)
                continue;
            FieldRef f(const_cast<char*>(org) + c.offset, c.type);
            std::memcpy(block + deletedHead + c.offset, org + c.offset,
                        std::size_t(4 + (f.isNull() ? 0 : valueLength(f, c.len))));
        }
        m_deleted.push_back(block);
        ++m_delCount;
    }
    removeRow(it);
}

void LowMemoryDS::removeRow(const Iterator& it)
{
    if (it.isNull() || it == end())
        return;
    if (LowMemoryRecord* r = recordOf(it))
        freeRecord(r);
    m_buffer.deleteRow(it);
    --m_rowCount;
}

void LowMemoryDS::setRowToOriginal(const Iterator& it)
{
    LowMemoryRecord* r = recordOf(it);
    if (!r)
        return;
    if (r->state == Inserted)
        --m_insCount;
    else if (r->state == Modified)
        --m_updCount;
    r->state = Original;
    if (r->m_inCache)
        fromCache(r);
    unsigned char* b = bits(r);
    for (int i = 0; i < colCount(); ++i)
        if (!m_cols[std::size_t(i)].calculated)
            b[i / 8] &= static_cast<unsigned char>(~(1u << (i % 8)));
}

RowState LowMemoryDS::rowState(const Iterator& it)
{
    if (it.isNull() || it == end())
        return Original;
    lock(it, 0);
    const RowState s = recordOf(it)->state;
    unlock(it);
    return s;
}

void LowMemoryDS::nextInState(Iterator& it, int mask) const
{
    do
        DataBuffer::nextRecord(it);
    while (DataBuffer::entry(it) != m_buffer.headEntry() && !(mask & (1 << recordOf(it)->state)));
}

void LowMemoryDS::nextChangedRow(Iterator& it) const { nextInState(it, 1 << Modified | 1 << Inserted); }
void LowMemoryDS::nextModifiedRow(Iterator& it) const { nextInState(it, 1 << Modified); }
void LowMemoryDS::nextInsertedRow(Iterator& it) const { nextInState(it, 1 << Inserted); }

void LowMemoryDS::setDeletedDBRow(int i, int dbRow)
{
    if (inRange(i, int(m_deleted.size())))
        blockDbRow(m_deleted[std::size_t(i - 1)]) = dbRow;
}

void LowMemoryDS::delDeletedRow(int i)
{
    if (!inRange(i, int(m_deleted.size())))
        return;
    std::free(m_deleted[std::size_t(i - 1)]);
    m_deleted.erase(m_deleted.begin() + (i - 1));
    --m_delCount;
}

void LowMemoryDS::reset(int rows)
{
    Iterator it = end();
    for (DataBuffer::nextRecord(it); it != end(); DataBuffer::nextRecord(it))
        freeRecord(recordOf(it));
    it = Iterator();
    for (char* block : m_deleted)
        std::free(block);
    m_deleted.clear();
    m_cacheHead = m_cacheTail = nullptr;
    m_curCacheSize = 0;
    m_rowCount = rows > 0 ? rows : 0;
    m_buffer.reset(rows);
    m_insCount = m_updCount = m_delCount = 0;
}

// ---- Journal ----

void LowMemoryDS::journalChangeInfo(const Iterator& it, bool on)
{
    LowMemoryRecord* rec = recordOf(it);
    VEX_ASSERT(rec && rec->lockCount > 0 && rec->state != Original);
    if (!rec)
        return;
    if (!on) {
        if (rec->journal) {
            clearOrgBlobs(rec->journal + journalHead);
            std::free(rec->journal);
            rec->journal = nullptr;
        }
        return;
    }
    if (rec->state == Original || rec->journal)
        return;
    char* j = static_cast<char*>(std::calloc(std::size_t(m_journalSize), 1));
    if (!j)
        throw std::bad_alloc();
    journalRow(j) = getDBRow(it);
    // Columns the writer does not set keep the originals they have now.
    const char* org = reinterpret_cast<const char*>(rec) + m_sizeOfRecord;
    for (const OrgCol& c : m_orgCols)
        if (c.type != tBlob)
            std::memcpy(j + journalHead + c.offset, org + c.offset,
                        std::size_t(round8(slotSize(c.type, c.len))));
    rec->journal = j;
}

void LowMemoryDS::journalChangeDeletedInfo(int i, bool on)
{
    if (inRange(i, int(m_deleted.size())))
        deletedIsJournal(m_deleted[std::size_t(i - 1)]) = on;
}

bool LowMemoryDS::journalIsInfo(const Iterator& it) const
{
    LowMemoryRecord* r = recordOf(it);
    return r && r->journal;
}

bool LowMemoryDS::journalIsDeletedInfo(int i) const
{
    return inRange(i, int(m_deleted.size())) && deletedIsJournal(m_deleted[std::size_t(i - 1)]);
}

int LowMemoryDS::journalDbRow(const Iterator& it) const
{
    LowMemoryRecord* r = recordOf(it);
    return r && r->journal ? journalRow(r->journal) : 0;
}

void LowMemoryDS::journalSetDbRow(const Iterator& it, int dbRow)
{
    LowMemoryRecord* r = recordOf(it);
    if (r && r->journal)
        journalRow(r->journal) = dbRow;
}

FieldRef LowMemoryDS::journalAccessOrgField(const Iterator& it, int col) const
{
    LowMemoryRecord* r = recordOf(it);
    const OrgCol* c = orgCol(col);
    if (!r || !r->journal || !c)
        return FieldRef();
    return FieldRef(r->journal + journalHead + c->offset, c->type);
}

void LowMemoryDS::journal2orgFields(const Iterator& it)
{
    LowMemoryRecord* r = recordOf(it);
    if (!r || !r->journal)
        return;
    char* org = reinterpret_cast<char*>(r) + m_sizeOfRecord;
    clearOrgBlobs(org);
    std::memcpy(org, r->journal + journalHead, std::size_t(m_sizeOfRecord1));
    // The blobs moved to the record: the journal no longer owns them.
    std::memset(r->journal + journalHead, 0, std::size_t(m_sizeOfRecord1));
}

void LowMemoryDS::commitDS()
{
    for (int pass = 0; pass < 2; ++pass) {
        const RowState state = pass == 0 ? Modified : Inserted;
        Iterator it = end();
        for (nextInState(it, 1 << state); it != end(); nextInState(it, 1 << state)) {
            if (!journalIsInfo(it))
                continue;
            lock(it, 0);
            if (state == Modified)
                setDBRow(it, journalDbRow(it));
            journal2orgFields(it);
            journalChangeInfo(it, false);
            setRowToOriginal(it);
            unlock(it);
        }
    }
    for (int i = int(m_deleted.size()); i >= 1; --i)
        if (journalIsDeletedInfo(i))
            delDeletedRow(i);
}

void LowMemoryDS::rollbackDS()
{
    Iterator it = end();
    for (nextChangedRow(it); it != end(); nextChangedRow(it)) {
        LowMemoryRecord* r = recordOf(it);
        if (r->journal) {
            clearOrgBlobs(r->journal + journalHead);
            std::free(r->journal);
            r->journal = nullptr;
        }
    }
    for (char* block : m_deleted)
        deletedIsJournal(block) = false;
}

// ---- Checks ----

int LowMemoryDS::checkInvariants() const
{
    if (m_buffer.checkInvariants() != 0 || m_buffer.rowCount() != m_rowCount)
        return 1;
    int ins = 0, upd = 0, cached = 0;
    bool strayJournal = false;
    const DataBuffer::Entry* head = m_buffer.headEntry();
    for (const DataBuffer::Entry* p = head->next; p != head; p = p->next) {
        const LowMemoryRecord* r = static_cast<const LowMemoryRecord*>(p->record);
        if (!r)
            continue;
        ins += r->state == Inserted;
        upd += r->state == Modified;
        cached += r->m_inCache;
        if (DataBuffer::entry(r->it) != p)
            return 4;
        strayJournal |= r->journal && r->state == Original;
    }
    if (ins != m_insCount || upd != m_updCount || m_delCount != int(m_deleted.size()))
        return 2;
    int n = 0;
    for (const LowMemoryRecord* r = m_cacheHead; r; r = r->cacheNext, ++n)
        if (r->state != Original || r->lockCount != 0 || !r->m_inCache
            || DataBuffer::entry(r->it)->dbRow <= 0)
            return 3;
    if (n != m_curCacheSize || n != cached || n > cacheLimit)
        return 3;
    return strayJournal ? 5 : 0;
}

} // namespace DataSourceAPI

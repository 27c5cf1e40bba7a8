// MemoryDSRecord and MemoryDS: the rows of a TableDS kept as a doubly linked list of DSKort
// records in memory, with field access, calculated-value bookkeeping and virtual hooks.
#pragma once

#include "tableds.h"

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>

namespace DataSourceAPI {

// One row: its place in the list, its DSKort, and one `modify` bit per column (bit i % 8
// of byte i / 8, columns / 8 + 1 bytes) in the same block. A set bit means the calculated
// value of that column is stale. Made and freed only by MemoryDS.
class MemoryDSRecord : public List::Node {
public:
    DSKort* kort;

    // 0-based columns.
    bool getModify(int i) const { return (bits()[i / 8] >> (i % 8)) & 1; }
    void setModify(int i, bool stale)
    {
        if (stale)
            bits()[i / 8] |= static_cast<unsigned char>(1u << (i % 8));
        else
            bits()[i / 8] &= static_cast<unsigned char>(~(1u << (i % 8)));
    }

private:
    friend class MemoryDS;
    MemoryDSRecord() : kort(nullptr) {}
    ~MemoryDSRecord() = default;

    unsigned char* bits() { return reinterpret_cast<unsigned char*>(this + 1); }
    const unsigned char* bits() const { return reinterpret_cast<const unsigned char*>(this + 1); }
};

// Rows in memory: a TableDS with a record list. Columns count from 1 in every operation
// here; a column outside the layout of the last init() reads as a null of length 0 and
// ignores writes.
//
// Ownership: the records, their DSKorts and blobs belong to the MemoryDS; the objects of
// tObject columns belong to the application, which makes and destroys them in the hooks.
//
// Invariants:
//  1. rowCount() is the number of records on the list.
//  2. Every record has the layout of the last init() and modify bits for its columns.
//  3. Row numbers are not stored: row(it) counts back to end(), getIterator(n) walks.
//  4. Every value is seen only after lock(): a stale calculated value is computed first,
//     and an object is locked (unlock releases it).
class VEXAPI_API MemoryDS : public virtual TableDS {
public:
    typedef ListOf<MemoryDSRecord>::Iterator iterator;

    MemoryDS();
    virtual ~MemoryDS();
    MemoryDS(const MemoryDS&) = delete;
    MemoryDS& operator=(const MemoryDS&) = delete;

    iterator begin() { return iterator(m_records.begin()); }
    iterator end() { return iterator(m_records.end()); }
    int rowCount() const { return m_rowCount; }
    // 1-based row of `it`, 0 for end(). Linear in the row number.
    int row(iterator it);
    // The n-th record, end() for n outside 1..rowCount(). Linear in n.
    iterator getIterator(int n);

    // A new record before `before`: values zero and not null, calculated values stale,
    // newObject called for each tObject column.
    iterator insertRow(iterator before);
    // deleteObject for each tObject column, then the record is unlinked and freed.
    void deleteRow(iterator it);
    // Deletes every record.
    void clearData();

    // ---- Fields ----
    void lock(iterator it, int col);
    void unlock(iterator it, int col);
    // The length a raw read needs (see the .cpp), without locking.
    VLong realLen(iterator it, int col);
    void getField(iterator it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen);
    void setField(iterator it, int col, const void* data, int len, bool isNull);
    // Locks (computing a stale value) and reads the flag; it does not unlock, so a tObject
    // field stays locked until unlock(), as callers that pin an inner source expect.
    bool getNull(iterator it, int col);
    void setNull(iterator it, int col, bool isNull);
    // The value of a field as it stands, with no lock; null outside the layout.
    DataRepresentationWithNulls::DSValue* field(iterator it, int col);

    // ---- Calculated values ----
    void setModify(iterator it, int col);
    bool getModify(iterator it, int col) const;
    void setModifyRow(iterator it);
    void setModifyCol(int col);
    void setModifyAll();

    // Reorders the records by the columns `cols` (count `n`), stably: nulls first, then by
    // compare() of the column's type, each later column breaking ties of the earlier ones;
    // `ascending` false reverses the order but keeps equal rows as they were. Records stay
    // the same objects, so every iterator keeps its record.
    void sort(const int* cols, int n, bool ascending);
    // Compares two rows by those columns as sort() does: -1, 0 or 1.
    int compareRows(iterator a, iterator b, const int* cols, int n);

    // ---- Hooks; the base forms do nothing ----
    virtual void calculate(iterator it, int col, void* buf, int len, bool* isNull);
    virtual void newObject(iterator it, int col, void*& object);
    virtual void deleteObject(iterator it, int col, void*& object);
    virtual void lockObject(iterator it, int col, void*& object);
    virtual void unlockObject(iterator it, int col, void*& object);

protected:
    void constructObjects(iterator it);

private:
    MemoryDSRecord* newRecord();
    void freeRecord(MemoryDSRecord* record);
    void destroyObjects(iterator it);
    // Computes the field if it is calculated and stale.
    void refresh(iterator it, int col);

    List m_records;
    int m_rowCount;
};

} // namespace DataSourceAPI

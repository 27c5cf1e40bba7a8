// MemoryDSRecord and MemoryDS: the rows of a TableDS kept as a doubly linked list of DSKort
// records in memory, with field access, calculated-value bookkeeping and virtual hooks.
#pragma once

#include <vexapi/datasource/tableds.h>

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>

#include <cstdint>
#include <cstring>

namespace DataSourceAPI {

namespace detail {

// Length of a terminated text within `max` units, in a value area: its bytes are rounded
// up to a multiple of 8 and 8-aligned, so it is read a word at a time (texts are most of
// the cost of a walk over a table). For the 8-bit and the 16-bit texts alike: a word holds
// 8 / sizeof(Ch) units, and a zero unit is found by the usual borrow test on each lane.
template <class Ch>
inline int areaTextLength(const Ch* s, int max)
{
    constexpr int bits = 8 * int(sizeof(Ch));
    constexpr std::uint64_t ones = ~std::uint64_t(0) / ((std::uint64_t(1) << bits) - 1);
    constexpr std::uint64_t highs = ones << (bits - 1);
    int n = 0;
    for (; n < max; n += 8 / int(sizeof(Ch))) {
        std::uint64_t w;
        std::memcpy(&w, s + n, 8);
        if ((w - ones) & ~w & highs)
            break;
    }
    while (n < max && s[n])
        ++n;
    return n < max ? n : max;
}

// The length a raw read of a value that is not null needs: the fixed sizes, a text with
// its terminator, the declared bytes, a blob's size; 0 for an object. valueLength adds the
// null test.
inline VLong presentLength(const DataRepresentationWithNulls::DSValue& v, const DSKortDesc::ColLayout& c)
{
    switch (c.type) {
    case tInt: return 4;
    case tSmall: return 2;
    case tReal: return 4;
    case tDouble: return 8;
    case tDec:
    case tDate: return 16;
    case tChar: return areaTextLength(static_cast<const char*>(v.Bin()), c.len) + 1;
    case tText: return 2 * VLong(areaTextLength(static_cast<const WChar*>(v.Bin()), c.len / 2)) + 2;
    case tByte: return c.len;
    case tBlob: return v.value().Blob()->size();
    default: return 0;
    }
}

inline VLong valueLength(const DataRepresentationWithNulls::DSValue& v, const DSKortDesc::ColLayout& c)
{
    return v.isNull() ? 0 : presentLength(v, c);
}

} // namespace detail

// One row: its place in the list, its DSKort, and one `modify` bit per column (bit i % 8
// of byte i / 8, columns / 8 + 1 bytes). A set bit means the calculated value of that
// column is stale. The links, the bits and the DSKort share one allocation, so a walk
// touches one block per row. Made and freed only by MemoryDS.
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
    // Reads the field raw into `buf` (min(bufLen, realLen) bytes; a cut tChar or tText is
    // terminated at the cost of its last character).
    void getField(iterator it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen)
    {
        if (!readAs(it, col, tNone, buf, bufLen, isNull, realLen)) {
            if (isNull)
                *isNull = true;
            if (realLen)
                *realLen = 0;
        }
    }
    // The same when the column has the type `type` (tNone: any type), else false and
    // nothing done. Inline: the common field needs no lock, and a walk reads every field.
    bool readAs(iterator it, int col, Type type, void* buf, int bufLen, bool* isNull, VLong* realLen)
    {
        const int c = col - 1;
        if (c < 0 || c >= m_colCount || it == end())
            return false;
        const DSKortDesc::ColLayout& l = m_cols[c];
        if (type != tNone && l.type != type)
            return false;
        MemoryDSRecord& record = *it;
        if (record.getModify(c) || l.type == tObject)
            lock(it, col);
        // The flag by its place in the record: one load less than through the value's head.
        const char* flag = reinterpret_cast<const char*>(record.kort) + m_flagsOffset + c;
        readValue(*flag != 0, valueAt(record, l), l, buf, bufLen, isNull, realLen);
        if (l.type == tObject)
            unlock(it, col);
        return true;
    }
    void setField(iterator it, int col, const void* data, int len, bool isNull);
    // Locks (computing a stale value) and reads the flag; it does not unlock, so a tObject
    // field stays locked until unlock(), as callers that pin an inner source expect.
    bool getNull(iterator it, int col);
    void setNull(iterator it, int col, bool isNull);
    // The value of a field as it stands, with no lock; null outside the layout.
    DataRepresentationWithNulls::DSValue* field(iterator it, int col)
    {
        const int c = col - 1;
        if (c < 0 || c >= layoutCount() || it == end())
            return nullptr;
        return &valueAt(*it, layout(c));
    }

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
    static DataRepresentationWithNulls::DSValue& valueAt(MemoryDSRecord& record,
                                                         const DSKortDesc::ColLayout& l)
    {
        return *reinterpret_cast<DataRepresentationWithNulls::DSValue*>(
            reinterpret_cast<char*>(record.kort) + sizeof(void*) + l.offset);
    }
    static void readValue(bool null, const DataRepresentationWithNulls::DSValue& v,
                          const DSKortDesc::ColLayout& l, void* buf, int bufLen, bool* isNull,
                          VLong* realLen)
    {
        const VLong len = null ? 0 : detail::presentLength(v, l);
        if (isNull)
            *isNull = null;
        if (realLen)
            *realLen = len;
        if (null || !buf || bufLen <= 0)
            return;
        const int n = len < bufLen ? int(len) : bufLen;
        const void* from = l.type == tBlob ? v.value().Blob()->data() : v.Bin();
        if (n <= 0 || !from)
            return;
        switch (n) {
        // The fixed sizes as constants, so that they copy without a call.
        case 4: std::memcpy(buf, from, 4); break;
        case 8: std::memcpy(buf, from, 8); break;
        case 16: std::memcpy(buf, from, 16); break;
        default: std::memcpy(buf, from, std::size_t(n));
        }
        // Strings come out terminated, at the cost of their last character when cut.
        if (l.type == tChar)
            static_cast<char*>(buf)[n - 1] = 0;
        else if (l.type == tText && n >= 2)
            static_cast<WChar*>(buf)[n / 2 - 1] = 0;
    }

    void layoutChanged() override;

    MemoryDSRecord* newRecord();
    void freeRecord(MemoryDSRecord* record);
    void destroyObjects(iterator it);
    // Computes the field if it is calculated and stale.
    void refresh(iterator it, int col);

    List m_records;
    int m_rowCount;
    // The layout of the last init(), cached here: the virtual base is a step further away.
    const DSKortDesc::ColLayout* m_cols;
    int m_colCount;
    int m_flagsOffset;
};

} // namespace DataSourceAPI

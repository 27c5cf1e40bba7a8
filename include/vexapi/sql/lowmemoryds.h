// LowMemoryDS: the row cache of a database source: records for visited rows only, a bounded
// pool of clean rows, the modification states, the deleted-row list and the write journal;
// with TypicalColsForDBDS(WithParams), the column, original column and parameter tables.
#pragma once

#include <vexapi/sql/databuffer.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/datasource/datasource.h>
#include <vexapi/datasource/dsvalue.h>

#include <string>
#include <vector>

namespace DataSourceAPI {

// A value slot in a record: a 4-byte head holding the null flag, then the data (a blob's
// DSBlob at 8, so that its pointers are aligned). A view; the record owns the bytes.
class FieldRef {
public:
    FieldRef() : m_slot(nullptr), m_type(tNone) {}
    FieldRef(char* slot, Type type) : m_slot(slot), m_type(type) {}
    bool valid() const { return m_slot != nullptr; }
    Type type() const { return m_type; }
    bool isNull() const { return m_slot[0] != 0; }
    void setNull(bool null) const { m_slot[0] = null ? 1 : 0; }
    void* data() const { return m_slot + (m_type == tBlob ? 8 : 4); }
    DSBlob* blob() const { return reinterpret_cast<DSBlob*>(m_slot + 8); }

private:
    char* m_slot;
    Type m_type;
};

// The column, original column and parameter tables of a database source, each 1-based.
// Ownership: plain values. No invariants beyond 1-based addressing; an index outside a
// table reads as no column (ColInfo()) and ignores writes.
class VEXAPI_API TypicalColsForDBDS {
public:
    typedef DataSource::ColInfo ColInfo;
    struct Col {
        std::basic_string<WChar> name;
        Type type;
        int len;
        int dbCol;
        bool updateable;
        bool calculated;
        int offset;
    };
    struct OrgCol {
        std::basic_string<WChar> name;
        Type type;
        int len;
        int dbCol;
        bool isKey;
        int offset;
    };
    struct Param {
        std::basic_string<WChar> name;
        Type type;
        int len;
        int dbParam;
        int offset;
    };

    TypicalColsForDBDS();
    virtual ~TypicalColsForDBDS() = default;

    int addCol(const ColInfo& info) { return insertCol(colCount() + 1, info); }
    int insertCol(int before, const ColInfo& info);
    void setCol(int col, const ColInfo& info);
    void removeCol(int col);
    void clearCols() { m_cols.clear(); }
    int colCount() const { return int(m_cols.size()); }
    int colIndexByName(const WChar* name) const;
    ColInfo colInfo(int col) const;
    void setColDBLink(int col, int dbCol, bool updateable);
    void setColCalc(int col, bool calculated);
    void setColOffset(int col, int offset);
    int getColOffset(int col) const;
    const Col* col(int col) const { return inRange(col, colCount()) ? &m_cols[col - 1] : nullptr; }

    int addOrgCol(const ColInfo& info) { return insertOrgCol(orgColCount() + 1, info); }
    int insertOrgCol(int before, const ColInfo& info);
    void setOrgCol(int col, const ColInfo& info);
    void removeOrgCol(int col);
    void clearOrgCols() { m_orgCols.clear(); }
    int orgColCount() const { return int(m_orgCols.size()); }
    int orgColIndexByName(const WChar* name) const;
    int orgColIndexByDBCol(int dbCol) const;
    ColInfo orgColInfo(int col) const;
    void setOrgColDBLink(int col, int dbCol);
    void setOrgColAsKey(int col, bool isKey);
    void setOrgColOffset(int col, int offset);
    int getOrgColOffset(int col) const;
    const OrgCol* orgCol(int col) const { return inRange(col, orgColCount()) ? &m_orgCols[col - 1] : nullptr; }

    int addParam(const ColInfo& info) { return insertParam(paramCount() + 1, info); }
    int insertParam(int before, const ColInfo& info);
    void setParam(int param, const ColInfo& info);
    void removeParam(int param);
    void clearParams() { m_params.clear(); }
    int paramCount() const { return int(m_params.size()); }
    int paramIndexByName(const WChar* name) const;
    ColInfo paramInfo(int param) const;
    void setParamDBLink(int param, int dbParam);
    void setParamOffset(int param, int offset);
    int getParamOffset(int param) const;
    const Param* paramDef(int param) const { return inRange(param, paramCount()) ? &m_params[param - 1] : nullptr; }

    // Bytes of a value slot of `type` declared with `len`, before rounding to 8.
    static int slotSize(Type type, int len);
    static int round8(int n) { return (n + 7) & ~7; }
    // The bytes a read of the value needs: 0 for a null, texts with their terminator
    // (within `len`), a blob's size, the fixed sizes.
    static int valueLength(const FieldRef& f, int len);

protected:
    static bool inRange(int i, int n) { return i >= 1 && i <= n; }
    std::vector<Col> m_cols;
    std::vector<OrgCol> m_orgCols;
    std::vector<Param> m_params;
};

// The tables plus one block holding the parameters' values.
// Ownership: the block and its blobs belong to this object (initParams, destructor).
class VEXAPI_API TypicalColsForDBDSWithParams : public TypicalColsForDBDS {
public:
    TypicalColsForDBDSWithParams() : m_paramBlock(nullptr) {}
    ~TypicalColsForDBDSWithParams() override;
    TypicalColsForDBDSWithParams(const TypicalColsForDBDSWithParams&) = delete;
    TypicalColsForDBDSWithParams& operator=(const TypicalColsForDBDSWithParams&) = delete;

    // Frees the old block, sets each parameter's offset, allocates the new block zeroed.
    void initParams();
    // Invalid outside 1..paramCount() or before initParams().
    FieldRef param(int i) const;
    int realParamLen(int i, bool* isNull) const;

private:
    void freeParams();
    char* m_paramBlock;
};

enum RowState { Original = 0, Modified = 1, Inserted = 2 };

// One record of LowMemoryDS: this header, the modify bits, the current values, and at
// sizeOfRecord the original values of the org columns. Made and freed by LowMemoryDS only.
struct LowMemoryRecord {
    LowMemoryRecord* cachePrev;
    LowMemoryRecord* cacheNext;
    char* journal;
    RowState state;
    int lockCount;
    DataBuffer::Iterator it;
    bool m_inCache;
};

// The row cache. Records exist only for rows being visited, rows in the pool of clean
// unlocked rows, and rows with a pending change.
//
// Ownership: LowMemoryDS owns its DataBuffer, every record, journal block and deleted
// record, and the blobs inside them. Iterators it hands out keep their entries alive.
//
// Cache: the least recently unlocked clean rows (state Original, dbRow above 0), at most
// cacheLimit, on a doubly linked list; unlock appends at the tail and evicts the head.
//
// Invariants (checkInvariants returns the number of the first broken one, or 0):
//  1. The index is sound (DataBuffer::checkInvariants) and its runs cover rowCount()
//     rows exactly.
//  2. insCount() and updCount() are the numbers of Inserted and Modified records;
//     delCount() is the number of deleted records.
//  3. The pool holds m_curCacheSize records, at most cacheLimit, each Original, unlocked,
//     with a positive dbRow and m_inCache set; no other record has m_inCache.
//  4. Every record's own iterator stands on the entry that holds it.
//  5. Only Modified and Inserted records carry a journal.
class VEXAPI_API LowMemoryDS : public TypicalColsForDBDSWithParams {
public:
    typedef DataBuffer::Iterator Iterator;
    enum { cacheLimit = 150 };

    LowMemoryDS();
    ~LowMemoryDS() override;

    Iterator begin() { return m_buffer.begin(); }
    Iterator end() { return m_buffer.end(); }
    int iterator2row(const Iterator& it) const { return m_buffer.row(it); }
    Iterator row2iterator(int row) { return m_buffer.getIterator(row); }
    int rowCount() const { return m_rowCount; }
    int insCount() const { return m_insCount; }
    int updCount() const { return m_updCount; }
    int delCount() const { return m_delCount; }
    bool isModify() const { return m_insCount + m_updCount + m_delCount > 0; }

    // A new Inserted row before `it`; returns it.
    Iterator insertRow(const Iterator& it);
    // Deletes the row; an Original or Modified row leaves a deleted record.
    void deleteRow(const Iterator& it);

    // Values are read and written only between lock and unlock. col 0: the whole row.
    void lock(const Iterator& it, int col);
    void unlock(const Iterator& it);

    void setModify(const Iterator& it, int col);
    void setModifyRow(const Iterator& it);
    void setModifyCol(int col);
    void setModifyAll();
    bool getModify(const Iterator& it, int col) const;

    FieldRef operator()(const Iterator& it, int col) const;
    FieldRef orgField(const Iterator& it, int col) const { return accessOrgField(it, col); }
    FieldRef accessOrgField(const Iterator& it, int col) const;
    FieldRef deletedOrgField(int i, int col) const { return accessDeletedOrgField(i, col); }
    FieldRef accessDeletedOrgField(int i, int col) const;
    int deletedDBRow(int i) const;
    int realLen(const Iterator& it, int col) const;
    int orgRealLen(const Iterator& it, int col) const;
    int deletedOrgRealLen(int i, int col) const;

    RowState rowState(const Iterator& it);
    // Each steps `it` (start from end()) to the next changed row, or to end().
    void nextChangedRow(Iterator& it) const;
    void nextModifiedRow(Iterator& it) const;
    void nextInsertedRow(Iterator& it) const;

    // Lays out the records from the column tables; drops every record (reset(0)).
    void initColumns();

    // ---- For the database source ----
    void reset(int rows);
    Iterator insertOriginalRow(const Iterator& it);
    void setRowToOriginal(const Iterator& it);
    void removeRow(const Iterator& it);
    void setDBRow(const Iterator& it, int dbRow) { DataBuffer::setDBRow(it, dbRow); }
    int getDBRow(const Iterator& it) const { return DataBuffer::getDBRow(it); }
    void setDeletedDBRow(int i, int dbRow);
    void delDeletedRow(int i);
    void renumDBRows(int from, int count, int delta) { m_buffer.renumDBRows(from, count, delta); }

    void journalChangeInfo(const Iterator& it, bool on);
    void journalChangeDeletedInfo(int i, bool on);
    bool journalIsInfo(const Iterator& it) const;
    bool journalIsDeletedInfo(int i) const;
    int journalDbRow(const Iterator& it) const;
    void journalSetDbRow(const Iterator& it, int dbRow);
    FieldRef journalOrgField(const Iterator& it, int col) const { return journalAccessOrgField(it, col); }
    FieldRef journalAccessOrgField(const Iterator& it, int col) const;
    void journal2orgFields(const Iterator& it);

    // After a successful write: journaled rows become Original with their new cursor rows
    // and originals, journaled deleted records go. After a failed one: journals are
    // dropped and every row keeps its change, to be written again.
    void commitDS();
    void rollbackDS();

    const DataBuffer& buffer() const { return m_buffer; }
    int cacheSize() const { return m_curCacheSize; }
    int sizeOfRecord() const { return m_sizeOfRecord; }
    int sizeOfRecord1() const { return m_sizeOfRecord1; }
    int checkInvariants() const;

protected:
    virtual void calcColumn(const Iterator& it, int col);
    virtual void readRowFromDB(const Iterator& it);
    virtual void readColumnFromDB(const Iterator& it, int col);

private:
    static LowMemoryRecord* recordOf(const Iterator& it)
    {
        return static_cast<LowMemoryRecord*>(DataBuffer::getRecord(it));
    }
    unsigned char* bits(LowMemoryRecord* r) const
    {
        return reinterpret_cast<unsigned char*>(r) + sizeof(LowMemoryRecord);
    }
    LowMemoryRecord* newRecord(const Iterator& it, RowState state);
    void freeRecord(LowMemoryRecord* r);
    void clearOrgBlobs(char* block) const;
    void toCache(LowMemoryRecord* r);
    void fromCache(LowMemoryRecord* r);
    void nextInState(Iterator& it, int mask) const;

    DataBuffer m_buffer;
    std::vector<char*> m_deleted;
    int m_insCount;
    int m_updCount;
    int m_delCount;
    int m_rowCount;
    LowMemoryRecord* m_cacheHead;
    LowMemoryRecord* m_cacheTail;
    int m_curCacheSize;
    int m_sizeOfRecord;
    int m_sizeOfRecord1;
    int m_journalSize;
};

} // namespace DataSourceAPI

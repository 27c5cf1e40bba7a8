// MemoryDataSource: the complete row source without a database, a DataSource face over a
// MemoryDS, with its current position, inner-source binding and sorting.
#pragma once

#include <vexapi/datasource/datasource.h>
#include <vexapi/datasource/memoryds.h>

#include <vexapi/core/api.h>

namespace DataSourceAPI {

// A table in memory. Define the columns (addCol, setCalculated, ...), call initColumns,
// then insert rows and write fields; it needs no create or retrieve.
//
// Ownership: the rows are the source's own (its InternalDS); the objects of tObject
// columns are the application's, made and destroyed by its newObject/deleteObject. Those
// hooks cannot reach a derived class once its destructor has run, so a class that makes
// objects calls clear() in its own destructor.
//
// Invariants (checkInvariants() gives the number of the first one broken):
//  1. The record list holds rowCount() rows.
//  2. cur is end() or one of the rows.
//  3. curRow is the row number of cur (0 at end()), except after initColumns, which
//     keeps the old number while cur moves to end() (long-standing; callers reset it).
// Contracts: the primitives send no event (the caller sends what it changed); a position
// stays valid while its row exists, and end() for the source's life.
class VEXAPI_API MemoryDataSource : public virtual DataSource {
public:
    // A position: one list iterator of the record list.
    class VEXAPI_API RIterator : public IteratorInt {
    public:
        explicit RIterator(MemoryDS::iterator it) : m_it(it) {}
        IteratorInt* clone() const override { return new RIterator(m_it); }
        bool operator==(const IteratorInt& other) const override
        {
            return m_it == static_cast<const RIterator&>(other).m_it;
        }
        // A walk is a chase of list links through blocks far apart: each step asks the
        // cache for the row after the new one while this one is being read.
        void operator++(int) override;
        void operator--(int) override;

        MemoryDS::iterator m_it;
    };

    // The rows, with the hooks sent on to the owner's DataSource operations, each with a
    // new position for the record.
    class VEXAPI_API InternalDS : public MemoryDS {
    public:
        explicit InternalDS(MemoryDataSource* owner) : m_owner(owner) {}
        void calculate(iterator it, int col, void* buf, int len, bool* isNull) override;
        void newObject(iterator it, int col, void*& object) override;
        void deleteObject(iterator it, int col, void*& object) override;
        void lockObject(iterator it, int col, void*& object) override;
        void unlockObject(iterator it, int col, void*& object) override;

    private:
        MemoryDataSource* m_owner;
    };

    MemoryDataSource();
    virtual ~MemoryDataSource();
    MemoryDataSource(const MemoryDataSource&) = delete;
    MemoryDataSource& operator=(const MemoryDataSource&) = delete;

    using DataSource::getField;
    using DataSource::setField;
    using DataSource::getParam;
    using DataSource::setParam;

    // ---- Columns ----
    void removeAllCols() override;
    int insertCol(int before, const ColInfo& info) override;
    void setCol(int col, const ColInfo& info) override;
    void removeCol(int col) override;
    // Drops all rows and lays the records out anew; cur goes to end(), curRow stays.
    void initColumns() override;
    int colCount() const override;
    int indexByName(const WChar* name) const override;
    // Null name, type 0, len -1 for a column out of range.
    ColInfo colInfo(int col) const override;
    Type colType(int col) const override;
    bool isCalculated(int col) const override;
    void setCalculated(int col, bool calculated) override;
    void setColFactory(int col, DSFactory* factory) override;
    DSFactory* getColFactory(int col) const override;

    // ---- Positions ----
    Iterator getCurIterator() const override;
    int getCurRow() const override;
    void setCurIterator(Iterator it) override;
    // Only 1..rowCount(); anything else leaves the position.
    void setCurRow(int row) override;
    Iterator row2iterator(int row) const override;
    int iterator2row(Iterator it) const override;
    Iterator begin() const override;
    Iterator end() const override;
    int rowCount() const override;
    // The current row stays the same row; its number follows.
    Iterator insertRow(Iterator before) override;
    // Deleting the current row moves to the next one, or to the new last row when it was
    // the last; whenever the position would rest on end(), it steps back once.
    void deleteRow(Iterator it) override;

    // ---- Fields ----
    VLong realLen(Iterator it, int col, bool* isNull) const override;
    bool getField(Iterator it, int col, void* buf, int bufLen, Type type, bool* isNull,
                  VLong* realLen) const override;
    void getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                  VLong* realLen) const override;
    void setField(Iterator it, int col, const void* data, int len, bool isNull) override;
    void setNull(Iterator it, int col, bool isNull) override;
    bool getNull(Iterator it, int col) const override;

    // ---- Life cycle: a table in memory has nothing to open, write or commit ----
    void create() override;
    bool isCreated() override;
    // Keeps the rows, marks every calculated value stale, and goes to the first row.
    void retrieve() override;
    void clear() override;
    void update() override;
    void commitDS() override;
    void rollbackDS() override;
    void commitDB() override;
    void rollbackDB() override;
    bool isModified() override;

    // ---- No parameters ----
    int paramCount() const override;
    int indexByParamName(const WChar* name) const override;
    ColInfo paramInfo(int param) const override;
    void getParam(int param, void* buf, int bufLen, bool* isNull, VLong* realLen) const override;
    void setParam(int param, const void* data, int len, bool isNull) override;
    void setFilter(const FilterInfo& filter) override;

    // ---- Inner sources ----
    DataSource* getParentDS() const override;
    Iterator getParentIterator() const override;
    int getParentCol() const override;
    DataSource* getCurInnerDS() override;
    // Pins the new current inner source (its parent's lockInnerDS) and releases the old.
    void setCurInnerDS(DataSource* ds) override;
    // The source in a tObject field: 0 for a null field. `ok` is required.
    DataSource* getInnerDS(Iterator it, int col, bool* isNull, bool* ok) override;
    void lockInnerDS(Iterator it, int col) override;
    void unlockInnerDS(Iterator it, int col) override;
    // Binds once; a second binding is ignored.
    void bindToParent(DataSource* parent, Iterator it, int col) override;

    // ---- Calculated values ----
    void invalidateField(Iterator it, int col) override;
    void invalidateRow(Iterator it) override;
    void invalidateCol(int col) override;
    void invalidate() override;

    // ---- Sorting ----
    // Reorders the rows by the columns `cols` (count `n`) stably: nulls first, values by
    // compare(), `ascending` false for the reverse order. The current row stays the same
    // row; its number follows. Sends nothing: the caller sends onChange.
    void sort(const int* cols, int n, bool ascending = true);
    void sort(int col, bool ascending = true) { sort(&col, 1, ascending); }
    // By the sort names of a filter, in its order(); unknown names are passed over.
    void sort(const FilterInfo& filter);

    // The rows themselves, for code that works on records.
    InternalDS& internalDS() { return m_ds; }

    // 0 when every invariant holds, else the number of the first one broken. A walk over
    // the rows: tests call it after each change.
    int checkInvariants() const;

private:
    // The record of a position; an empty handle stands for no row.
    MemoryDS::iterator listIterator(const Iterator& it) const
    {
        IteratorInt* p = getIterator(it);
        return p ? static_cast<RIterator*>(p)->m_it : m_ds.end();
    }
    Iterator wrap(MemoryDS::iterator it) const { return makeIterator(new RIterator(it)); }

    mutable InternalDS m_ds;
    MemoryDS::iterator m_cur;
    int m_curRow;
    DataSource* m_parentDS;
    Iterator m_parentIterator;
    int m_parentCol;
    DataSource* m_curInnerDS;
    // The end position, made once and shared: end() is asked for at every step of a walk.
    Iterator m_end;
    // Whether typed reads in a column's own type may skip the virtual raw getField: set by
    // initColumns when the object is a MemoryDataSource itself, so no subclass can get it
    // wrong; false, the always-correct path, until then.
    bool m_directReads;
};

} // namespace DataSourceAPI

// UnionDataSource: several sources shown one after the other as one read-only list, with
// the columns of the first; it stores no rows and finds each one by walking the members.
#pragma once

#include <vexapi/datasource/datasource.h>
#include <vexapi/datasource/rownumberiterator.h>

#include <vexapi/core/api.h>
#include <vexapi/core/vectorof.h>

#include <vector>

namespace DataSourceAPI {

// The members' rows in member order: row r of the union is row r - rdsStartPos(i) of
// member i. Add the members, then create and retrieve; the members are retrieved by their
// owners. A null member counts as one without rows. A member with fewer columns than the
// first is allowed: its missing fields read as nothing (outputs untouched).
//
// Ownership: the members are the application's. The union watches their destruction: a
// member that dies is removed and the union is closed until create is called again.
// Any event of a member moves the current row to the first.
//
// Invariants (checkInvariants() gives the number of the first one broken):
//  1. Every non-null listed member is subscribed, however often it is listed.
//  2. Every subscribed member is listed, and is subscribed once (the union forgets a
//     member wholly when it dies, and unsubscribes it when its last entry goes).
class VEXAPI_API UnionDataSource : public virtual DataSource {
public:
    // Where a row of the union lives; ds is null past the end.
    struct RowLocation {
        DataSource* ds;
        int row;
    };

    // A position: a row number of the view (see RowNumberIterator).
    typedef RowNumberIterator RIterator;

    // What every write raises. Its message is empty: a caller must not count on a text.
    class VEXAPI_API Error : public DataSource::Error {
    };

    UnionDataSource();
    virtual ~UnionDataSource();
    UnionDataSource(const UnionDataSource&) = delete;
    UnionDataSource& operator=(const UnionDataSource&) = delete;

    using DataSource::getField;
    using DataSource::setField;
    using DataSource::getParam;
    using DataSource::setParam;

    // ---- Members (0-based). Each change closes the union first. ----
    int rdsAdd(DataSource* ds);
    // `index` is clamped to 0..rdsCount().
    void rdsInsert(int index, DataSource* ds);
    // An index out of range is ignored.
    void rdsSet(int index, DataSource* ds);
    void rdsRemove(int index);
    void rdsRemoveAll();
    int rdsCount() const { return m_members.size(); }
    // Null for an index out of range.
    DataSource* rds(int index) const;
    int rdsStartPos(int index) const;
    // -1 past the end.
    int rdsIndexByRow(int row) const;
    RowLocation location(int row) const;
    RowLocation location(const Iterator& it) const;

    // ---- Read-only: these raise Error ----
    int insertCol(int before, const ColInfo& info) override;
    void setCol(int col, const ColInfo& info) override;
    void removeCol(int col) override;
    Iterator insertRow(Iterator before) override;
    void deleteRow(Iterator it) override;
    void setField(Iterator it, int col, const void* data, int len, bool isNull) override;
    void setNull(Iterator it, int col, bool isNull) override;
    void clear() override;

    // ---- Columns: those of member 0 ----
    int colCount() const override;
    int indexByName(const WChar* name) const override;
    ColInfo colInfo(int col) const override;
    Type colType(int col) const override;
    bool isCalculated(int col) const override;

    // ---- Positions ----
    Iterator getCurIterator() const override { return iter(m_curRow); }
    int getCurRow() const override { return m_curRow; }
    // Unchecked: a row past the end reads as nothing.
    void setCurIterator(Iterator it) override;
    void setCurRow(int row) override { m_curRow = row; }
    Iterator row2iterator(int row) const override { return iter(row); }
    int iterator2row(Iterator it) const override { return row(it); }
    Iterator begin() const override;
    Iterator end() const override { return iter(0); }
    int rowCount() const override;
    int row(const Iterator& it) const;
    Iterator iter(int row) const;

    // ---- Fields, read in the member ----
    VLong realLen(Iterator it, int col, bool* isNull) const override;
    // A typed read converts from the member's own column type (the same as member 0's when
    // the members agree, as they should); a missing field answers true, outputs untouched.
    bool getField(Iterator it, int col, void* buf, int bufLen, Type type, bool* isNull,
                  VLong* realLen) const override;
    void getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                  VLong* realLen) const override;
    bool getNull(Iterator it, int col) const override;

    // ---- Life cycle ----
    void create() override;
    void close() override;
    bool isCreated() override { return m_created; }
    void retrieve() override;
    void update() override {}
    void commitDS() override {}
    void rollbackDS() override {}
    void commitDB() override {}
    void rollbackDB() override {}
    bool isModified() override { return false; }

    // ---- No parameters ----
    int paramCount() const override { return 0; }
    int indexByParamName(const WChar*) const override { return 0; }
    ColInfo paramInfo(int param) const override;
    void getParam(int, void*, int, bool*, VLong*) const override {}
    void setParam(int, const void*, int, bool) override {}
    void setFilter(const FilterInfo&) override {}

    // ---- Calculated values ----
    void invalidateField(Iterator it, int col) override;
    void invalidateRow(Iterator it) override;
    void invalidateCol(int col) override;
    void invalidate() override;

    // ---- Following the members ----
    virtual SlotResult onDSDtor(Object* sender);
    virtual SlotResult onDSCurPosChanged(Object* sender, Iterator it);
    virtual SlotResult onDSInsert(Object* sender, Iterator it);
    virtual SlotResult onDSDelete(Object* sender, int row);
    virtual SlotResult onDSFieldChanged(Object* sender, Iterator it, int col);
    virtual SlotResult onDSRowChanged(Object* sender, Iterator it);
    virtual SlotResult onDSChange(Object* sender);
    virtual SlotResult onDSFullChange(Object* sender);

    // 0 when every invariant holds, else the number of the first one broken.
    int checkInvariants() const;

private:
    int occurrences(const DataSource* ds) const;
    // Subscribes a member listed for the first time; unsubscribes one no longer listed.
    void connectDS(DataSource* ds);
    void disconnectDS(DataSource* ds);
    [[noreturn]] static void readOnly();
    Iterator memberIterator(const RowLocation& at) const;
    void forget() const;

    VectorOf<DataSource*> m_members;
    int m_curRow;
    bool m_created;
    bool m_retrieved;
    // The members subscribed, once each, with their Object taken while they lived: a dying
    // member is only an Object, and converting its pointer to that virtual base would read
    // a dead object.
    struct Watched {
        DataSource* ds;
        Object* object;
    };
    std::vector<Watched> m_connected;
    // The member position of the row read last. A walk asks for the rows in order, and a
    // member that finds a row by counting (a memory source) would otherwise be walked from
    // its first row at every step. Forgotten at every close and retrieve, which every
    // change of the members and every event of a member runs: a member changed without its
    // event is stale here as in every view of it.
    mutable DataSource* m_cacheDS;
    mutable int m_cacheRow;
    mutable int m_cacheStart; // the union row before the cached member's first
    mutable Iterator m_cacheIt;
};

} // namespace DataSourceAPI

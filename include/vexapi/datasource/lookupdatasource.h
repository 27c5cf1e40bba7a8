// LookupDataSource: a filtered and sorted read-only view of another source, held as a
// vector of that source's positions and rebuilt from it whenever it changes.
#pragma once

#include <vexapi/datasource/datasource.h>
#include <vexapi/datasource/rownumberiterator.h>

#include <vexapi/core/api.h>
#include <vexapi/core/wcharstring.h>

#include <vector>

namespace DataSourceAPI {

// A view of `ds` narrowed by parameters and ordered by sort columns, all in the client:
// setDataSource, setFilter (each condition on a known column becomes a parameter), create,
// setParam, retrieve. A row is shown when every parameter equals its field; a parameter
// with `useLike` on a text column whose last '%' is not preceded by another '%' is a
// prefix test instead. A null parameter shows nothing, and a null field never matches.
//
// Ownership: `ds` is the application's; the view watches its destruction and forgets it.
// The view owns only its positions (copies of ds's iterators) and the parameter values.
// Any event of `ds` rebuilds the list and moves the current row to the first.
//
// Invariants (checkInvariants() gives the number of the first one broken):
//  1. Without `ds` there are no rows.
//  2. curRow is 0 or a row number of the view (1..rowCount()); after a retrieve it is 1
//     when there are rows, else 0.
//  3. Each parameter's value slot lies inside the value block, after the previous one's.
//  4. Every row is a position of `ds` other than its end().
class VEXAPI_API LookupDataSource : public virtual DataSource {
public:
    // A position: a row number of the view (see RowNumberIterator).
    typedef RowNumberIterator RIterator;

    // What every write raises: the view is read-only. Its message is empty.
    class VEXAPI_API Error : public DataSource::Error {
    };

    LookupDataSource();
    virtual ~LookupDataSource();
    LookupDataSource(const LookupDataSource&) = delete;
    LookupDataSource& operator=(const LookupDataSource&) = delete;

    using DataSource::getField;
    using DataSource::setField;
    using DataSource::getParam;
    using DataSource::setParam;

    void setDataSource(DataSource* ds);
    DataSource* getDataSource() const { return m_ds; }

    // ---- Read-only: these raise Error ----
    int insertCol(int before, const ColInfo& info) override;
    void setCol(int col, const ColInfo& info) override;
    void removeCol(int col) override;
    Iterator insertRow(Iterator before) override;
    void deleteRow(Iterator it) override;
    void setField(Iterator it, int col, const void* data, int len, bool isNull) override;
    void setNull(Iterator it, int col, bool isNull) override;
    void clear() override;

    // ---- Columns: those of ds ----
    int colCount() const override;
    int indexByName(const WChar* name) const override;
    ColInfo colInfo(int col) const override;
    bool isCalculated(int col) const override;
    Type colType(int col) const override;

    // ---- Positions ----
    Iterator getCurIterator() const override;
    int getCurRow() const override { return m_curRow; }
    void setCurIterator(Iterator it) override;
    // Only 0..rowCount(); anything else leaves the current row.
    void setCurRow(int row) override;
    Iterator row2iterator(int row) const override { return iter(row); }
    int iterator2row(Iterator it) const override { return row(it); }
    Iterator begin() const override;
    Iterator end() const override { return makeIterator(new RIterator(0, rowCount())); }
    int rowCount() const override { return int(m_rows.size()); }

    // ---- Fields, read through ds ----
    VLong realLen(Iterator it, int col, bool* isNull) const override;
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

    // ---- Parameters, made by setFilter ----
    int paramCount() const override { return int(m_params.size()); }
    int indexByParamName(const WChar* name) const override;
    // The parameter's name with the type and len of its ds column.
    ColInfo paramInfo(int param) const override;
    void getParam(int param, void* buf, int bufLen, bool* isNull, VLong* realLen) const override;
    // `data` in the column's own type; cut to the column's length.
    void setParam(int param, const void* data, int len, bool isNull) override;
    void setFilter(const FilterInfo& filter) override;

    // ---- Calculated values: forwarded to ds ----
    void invalidateField(Iterator it, int col) override;
    void invalidateRow(Iterator it) override;
    void invalidateCol(int col) override;
    void invalidate() override;

    // ---- Positions of the view and of ds ----
    int row(const Iterator& it) const;
    // end() for a row out of range.
    Iterator iter(int row) const;
    // ds's position of a row of the view; an empty handle when there is none.
    Iterator dsiter(int row) const;
    Iterator dsiter(const Iterator& it) const { return dsiter(row(it)); }

    // ---- Following ds ----
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
    struct Param {
        WCharString name;
        int col;
        bool useLike;
        int offset;
        int size;
        bool isNull;
        VLong len;
    };

    void connectDS(DataSource* ds);
    void disconnectDS(DataSource* ds);
    int compareRows(const Iterator& a, const Iterator& b) const;
    [[noreturn]] static void readOnly();

    DataSource* m_ds;
    std::vector<Param> m_params;
    int m_paramSize;
    std::vector<unsigned char> m_values;
    int m_curRow;
    std::vector<Iterator> m_rows;
    bool m_created;
    std::vector<int> m_sortCols;
    bool m_ascending;
};

} // namespace DataSourceAPI

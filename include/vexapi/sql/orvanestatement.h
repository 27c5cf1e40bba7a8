// OrvaneStatement: the cursor-backed source as a DataSource, the road a form takes to a
// database: set a connection and a select, create, retrieve, browse, edit, update.
#pragma once

#include <vexapi/sql/orvaneds.h>
#include <vexapi/sql/sqlstatement.h>

#include <vexapi/core/api.h>
#include <vexapi/core/wstring.h>
#include <vexapi/datasource/datasource.h>

namespace DataSourceAPI {

// A select on a connection, shown through DataSource: rows are read through the cursor on
// demand (8 KB blocks, blobs on their own) into the row cache, and changes are written
// back as generated SQL by update().
//
// Use: setConnect(&handle); setSQLSelect(text); create(); retrieve(); then read and edit
// through DataSource; update() and commitDB() (or rollbackDB() after a failure, which keeps
// every change pending for the next update()).
//
// Failures: every failure of a call (the server's, or codes 1 to 4 of the generated writes)
// is thrown as OrvaneStatement::Error, whose getMessage gives the text.
//
// Positions: RIterator holds a row cache iterator; the current row number is kept beside
// the current position.
//
// Invariants (checkInvariants):
//  1. The current row number is iterator2row of the current position (0 on end()).
//  2. The internal source's own invariants hold (10 plus its number).
class VEXAPI_API OrvaneStatement : public SQLStatement, public OrvaneDataSource {
public:
    class VEXAPI_API Error : public DataSource::Error, public OrvaneDS::OrvaneDSError {
    public:
        explicit Error(const OrvaneDS::OrvaneDSError& e) : OrvaneDS::OrvaneDSError(e) {}
        void getMessage(WChar* buffer, int size) const override;
    };

    class VEXAPI_API RIterator : public IteratorInt {
    public:
        explicit RIterator(const LowMemoryDS::Iterator& it) : m_it(it) {}
        IteratorInt* clone() const override { return new RIterator(m_it); }
        bool operator==(const IteratorInt& other) const override
        {
            return m_it == static_cast<const RIterator&>(other).m_it;
        }
        void operator++(int) override;
        void operator--(int) override;
        const LowMemoryDS::Iterator& it() const { return m_it; }

    private:
        LowMemoryDS::Iterator m_it;
    };

    // The rows: an OrvaneDS that asks its statement for calculated values and the table.
    class VEXAPI_API InternalDS : public OrvaneDS {
    public:
        explicit InternalDS(OrvaneStatement* owner) : m_owner(owner) {}
        WString getMainTable() const override;

    protected:
        void calcColumn(const Iterator& it, int col) override;

    private:
        OrvaneStatement* m_owner;
    };

    OrvaneStatement();
    ~OrvaneStatement() override;

    // ---- The statement ----
    // `connection` points at the connection's 16-bit handle (OrvConnect's operator unsigned
    // short), which is copied; null means none. getConnect gives the copy's address.
    void setConnect(void* connection) override;
    void* getConnect() override { return &m_connection; }
    // The table generated writes go to. Unset (null or empty), it is the first table of the
    // select's FROM list as the analysis of the text finds it, named as the server names it
    // when it is among the result's tables; without an analysis, the table of the first
    // column that has one.
    void setMainTable(const WChar* table) override;
    const WChar* getMainTable() const override;
    bool getIgnoreOwnerMode() const override { return m_ds.ignoreOwnerMode(); }
    void setIgnoreOwnerMode(bool on) override { m_ds.setIgnoreOwnerMode(on); }
    bool getIgnoreTableMode() const override { return m_ds.ignoreTableMode(); }
    void setIgnoreTableMode(bool on) override { m_ds.setIgnoreTableMode(on); }

    int dbTableCount() const override { return m_ds.dbTableCount(); }
    WChar* dbTableName(int i, WChar* buf, int len) const override;
    int dbColCount() const override { return m_ds.dbColCount(); }
    // The column's name in its table (what generated SQL writes).
    WChar* dbColName(int i, WChar* buf, int len) const override;
    DBColInfo dbColInfo(int i) const override;
    void setUpdateProps(int col, const UpdateProps& props) override;
    UpdateProps getUpdateProps(int col) const override;
    void autoCreateColumns() override;

    void updateInserted() override;
    void updateUpdated() override;
    void updateDeleted() override;
    RowState rowState(Iterator it) override;
    bool isFieldModified(Iterator it, int col) override;
    int insCount() override { return m_ds.insCount(); }
    int updCount() override { return m_ds.updCount(); }
    int delCount() override { return m_ds.delCount(); }

    // Org columns lay the records out again: rows read before are dropped.
    void removeAllOrgCols() override;
    void addOrgCol(int dbCol) override;
    void addOrgCol(const OrgColInfo& info) override;
    int orgColCount() const override { return m_ds.orgColCount(); }
    OrgColInfo orgColInfo(int col) const override;
    int orgColIndexByDBCol(int dbCol) const override { return m_ds.orgColIndexByDBCol(dbCol); }
    int orgColIndexByName(const WChar* name) const override { return m_ds.orgColIndexByName(name); }
    VLong orgRealLen(Iterator it, int col, bool* isNull) const override;
    bool orgGetNull(Iterator it, int col) const override;
    using SQLStatement::getOrgField;
    void getOrgField(Iterator it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen) const override;

    void setRowidAsKey();
    void setPrimaryKeysAsKey();
    void setUpdateMode(OrvaneDS::UpdateMode mode) { m_ds.setUpdateMode(mode); }
    OrvaneDS::UpdateMode getUpdateMode() const { return m_ds.getUpdateMode(); }
    OrvaneQueryMode* getQueryMode() const override { return m_ds.queryMode(); }
    void setQueryMode(OrvaneQueryMode* mode) override { m_ds.setQueryModeOf(mode); }
    void terminate() override { m_ds.terminate(); }

    // ---- DataSource ----
    int insertCol(int before, const ColInfo& info) override;
    void setCol(int col, const ColInfo& info) override;
    void removeCol(int col) override;

    Iterator getCurIterator() const override;
    int getCurRow() const override { return m_curRow; }
    void setCurIterator(Iterator it) override;
    void setCurRow(int row) override;
    Iterator row2iterator(int row) const override;
    int iterator2row(Iterator it) const override;
    Iterator begin() const override;
    Iterator end() const override;
    int rowCount() const override { return m_ds.rowCount(); }
    Iterator insertRow(Iterator before) override;
    void deleteRow(Iterator it) override;

    VLong realLen(Iterator it, int col, bool* isNull) const override;
    using DataSource::getField;
    void getField(Iterator it, int col, void* buf, int bufLen, bool* isNull, VLong* realLen) const override;
    using DataSource::setField;
    void setField(Iterator it, int col, const void* data, int len, bool isNull) override;
    void setNull(Iterator it, int col, bool isNull) override;

    void create() override;
    void close() override;
    bool isCreated() override { return m_ds.isCreated(); }
    void retrieve() override;
    void clear() override;
    void update() override;
    void commitDS() override;
    void rollbackDS() override;
    void commitDB() override;
    void rollbackDB() override;
    bool isModified() override { return m_ds.isModify(); }

    int colCount() const override { return m_ds.colCount(); }
    int indexByName(const WChar* name) const override;
    ColInfo colInfo(int col) const override { return m_ds.colInfo(col); }
    int paramCount() const override { return m_ds.paramCount(); }
    int indexByParamName(const WChar* name) const override;
    ColInfo paramInfo(int param) const override { return m_ds.paramInfo(param); }
    using DataSource::getParam;
    void getParam(int param, void* buf, int bufLen, bool* isNull, VLong* realLen) const override;
    using DataSource::setParam;
    void setParam(int param, const void* data, int len, bool isNull) override;
    void setFilter(const FilterInfo& filter) override;

    InternalDS& internalDS() { return m_ds; }
    int checkInvariants() const;

private:
    LowMemoryDS::Iterator cacheIterator(const Iterator& it) const;
    Iterator wrap(const LowMemoryDS::Iterator& it) const { return makeIterator(new RIterator(it)); }
    // Runs `f`, turning the source's failures into Error.
    template <class F>
    auto guarded(F f) const -> decltype(f());

    // The main table when none is set (see getMainTable).
    WString defaultMainTable() const;

    mutable InternalDS m_ds;
    LowMemoryDS::Iterator m_cur;
    int m_curRow;
    unsigned short m_connection;
    WString m_mainTable;
    mutable WString m_mainTableShown; // what getMainTable gave last
    mutable WString m_parsedTable;    // the analysis's first table, made at create
};

} // namespace DataSourceAPI

// SQLStatement: the abstract source defined by a select text, with its main table, the
// original ("org") columns, the description of the database's result columns, and the
// filter and sort order spliced into the select.
#pragma once

#include <vexapi/sql/dbcolinfo.h>
#include <vexapi/sql/lowmemoryds.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/datasource/datasource.h>
#include <vexapi/datasource/dsdefs.h>
#include <vexapi/orvcpp/sqltext.h>

#include <utility>

namespace DataSourceAPI {

// The face every database statement shows (the cursor-backed, the smart and the ODBC one):
// DataSource plus the statement's text, the database's view of its result, and the org
// columns that give a row's values as they came from the database, before any local change.
// The generated writes use them, and so does a reader who wants the old value.
//
// Filter and sort: setFilter of a concrete statement calls refreshWhereOrderInfo, which maps
// the filter's columns to database columns and says whether anything changed; on true the
// statement recreates its cursor with makeFilterSelect's text. The user's select text
// (getSQLSelect) never changes.
//
// Numbering: columns, org columns and database columns count from 1; 0 means none.
class VEXAPI_API SQLStatement : public virtual DataSource {
public:
    typedef DataSourceAPI::DBColInfo DBColInfo;
    typedef DataSourceAPI::RowState RowState;

    // A column as the database delivered it: the database column it reads and whether it
    // belongs to the row's key.
    class VEXAPI_API OrgColInfo : public ColInfo {
    public:
        OrgColInfo() : ColInfo(), m_dbCol(0), m_isKey(false) {}
        OrgColInfo(int dbCol, const WChar* name, Type type, int len, bool isKey)
            : ColInfo(name, type, len), m_dbCol(dbCol), m_isKey(isKey)
        {
        }
        int dbCol() const { return m_dbCol; }
        bool isKey() const { return m_isKey; }

    private:
        int m_dbCol;
        bool m_isKey;
    };

    // How a column is written back: the database column's name (null for a calculated or
    // unbound column, which also can't be filtered on) and whether writes may set it.
    class VEXAPI_API UpdateProps {
    public:
        UpdateProps() : updateable(false), m_hasName(false) {}
        UpdateProps(const WChar* dbColName, bool canUpdate)
            : updateable(canUpdate), m_name(dbColName ? dbColName : u16empty()),
              m_hasName(dbColName != nullptr)
        {
        }
        const WChar* dbColName() const { return m_hasName ? m_name.constData() : nullptr; }
        void setDBColName(const WChar* name)
        {
            m_hasName = name != nullptr;
            m_name = name ? name : u16empty();
        }

        bool updateable;

    private:
        static const WChar* u16empty()
        {
            static const WChar empty[1] = {0};
            return empty;
        }
        WCharString m_name;
        bool m_hasName;
    };

    SQLStatement();
    ~SQLStatement() override;

    // ---- The connection ----
    virtual void setConnect(void* connection);
    // Base: null.
    virtual void* getConnect();

    // ---- The database's description of the result ----
    virtual int dbTableCount() const = 0;
    // Writes table `i`'s name, terminated and cut to `len` characters, into `buf`.
    virtual WChar* dbTableName(int i, WChar* buf, int len) const = 0;
    virtual int dbColCount() const = 0;
    // Writes database column `i`'s name, terminated and cut to `len` characters.
    virtual WChar* dbColName(int i, WChar* buf, int len) const = 0;
    virtual DBColInfo dbColInfo(int i) const = 0;
    // The table the writes go to ("owner.table" or "table"); empty when none.
    virtual void setMainTable(const WChar* table) = 0;
    virtual const WChar* getMainTable() const = 0;
    // Base: false, and the setters do nothing.
    virtual bool getIgnoreOwnerMode() const;
    virtual void setIgnoreOwnerMode(bool on);
    virtual bool getIgnoreTableMode() const;
    virtual void setIgnoreTableMode(bool on);
    virtual void setUpdateProps(int col, const UpdateProps& props) = 0;
    virtual UpdateProps getUpdateProps(int col) const = 0;
    // Defines one column per result column. Base: nothing.
    virtual void autoCreateColumns();

    // ---- Writes and row states. Base: nothing, Original, false, 0. ----
    virtual void updateInserted();
    virtual void updateUpdated();
    virtual void updateDeleted();
    virtual RowState rowState(Iterator it);
    virtual bool isFieldModified(Iterator it, int col);
    virtual int insCount();
    virtual int updCount();
    virtual int delCount();

    // ---- Org columns. Base: none. ----
    virtual void removeAllOrgCols();
    // An org column for database column `dbCol`, described as the database gives it.
    virtual void addOrgCol(int dbCol);
    virtual void addOrgCol(const OrgColInfo& info);
    virtual int orgColCount() const;
    // Base: an all-zero record with an empty name.
    virtual OrgColInfo orgColInfo(int col) const;
    virtual int orgColIndexByDBCol(int dbCol) const;
    virtual int orgColIndexByName(const WChar* name) const;
    virtual VLong orgRealLen(Iterator it, int col, bool* isNull) const;
    virtual bool orgGetNull(Iterator it, int col) const;
    // Typed read of an org column through the conversion matrix, over the raw read below:
    // false when the conversion fails; a null gives true with *isNull set.
    virtual bool getOrgField(Iterator it, int col, void* buf, int bufLen, Type type,
                             bool* isNull) const;
    // Raw read in the org column's own type. Base: nothing (a null).
    virtual void getOrgField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                             VLong* realLen) const;

    // The character that quotes names in generated SQL. Base: the double quote.
    virtual const WChar* quoteChar() const;

    // ---- The typed family of the org columns (as getFieldInt and its like) ----
    VLong getOrgFieldInt(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr) const
    {
        return readOrgFixed<VLong>(std::move(it), col, tInt, isNull, ok);
    }
    short getOrgFieldSmall(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr) const
    {
        return readOrgFixed<short>(std::move(it), col, tSmall, isNull, ok);
    }
    char* getOrgFieldChar(Iterator it, int col, char* buf, int len, bool* isNull = nullptr,
                          bool* ok = nullptr) const
    {
        setOk(ok, getOrgField(std::move(it), col, buf, len, tChar, isNull));
        return buf;
    }
    WChar* getOrgFieldText(Iterator it, int col, WChar* buf, int len, bool* isNull = nullptr,
                           bool* ok = nullptr) const
    {
        setOk(ok, getOrgField(std::move(it), col, buf, len, tText, isNull));
        return buf;
    }
    float getOrgFieldReal(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr) const
    {
        return readOrgFixed<float>(std::move(it), col, tReal, isNull, ok);
    }
    double getOrgFieldDouble(Iterator it, int col, bool* isNull = nullptr,
                             bool* ok = nullptr) const
    {
        return readOrgFixed<double>(std::move(it), col, tDouble, isNull, ok);
    }
    OrvCPP::OrvDec getOrgFieldDec(Iterator it, int col, bool* isNull = nullptr,
                                  bool* ok = nullptr) const
    {
        return readOrgFixed<OrvCPP::OrvDec>(std::move(it), col, tDec, isNull, ok);
    }
    OrvCPP::OrvDate getOrgFieldDate(Iterator it, int col, bool* isNull = nullptr,
                                    bool* ok = nullptr) const
    {
        return readOrgFixed<OrvCPP::OrvDate>(std::move(it), col, tDate, isNull, ok);
    }
    unsigned char* getOrgFieldByte(Iterator it, int col, unsigned char* buf, int len,
                                   bool* isNull = nullptr, bool* ok = nullptr) const
    {
        setOk(ok, getOrgField(std::move(it), col, buf, len, tByte, isNull));
        return buf;
    }

    // ---- The select text as the user set it ----
    void setSQLSelect(const WChar* text);
    // Never null: empty before setSQLSelect.
    const WChar* getSQLSelect() const { return m_sqlSelect.constData(); }

    // The filter and sort in use (from refreshWhereOrderInfo), for the concrete statements
    // and for inspection.
    const VectorOf<WhereParam>& whereList() const { return m_whereList; }
    const VectorOf<Pair>& orderList() const { return m_orderList; }
    bool ascending() const { return m_ascending; }

protected:
    // Maps the filter's conditions and sort columns to database columns: a column that is
    // unknown, has no database column name, or whose name no database column has, is
    // dropped without a word. Each kept one is written as [main table "."] column, quoted
    // with quoteChar(). Answers whether the lists differ from those in use (then they
    // replace them); the direction is taken in any case but is not compared. Needs the
    // statement created: otherwise it fails the assertion "isCreated()" and answers false.
    bool refreshWhereOrderInfo(const FilterInfo& filter);
    // Writes the select with the lists applied: "col = :param" or "col LIKE :param" joined
    // by " AND " into its WHERE, and the sort columns joined by ", " with " ASC" or " DESC"
    // after the last one (the direction names the last column only) as its ORDER BY.
    void makeFilterSelect(WOStream& stream) const;
    // Empties both lists; ascending again.
    void clearFilterInfo();

private:
    template <class T>
    T readOrgFixed(Iterator it, int col, Type type, bool* isNull, bool* ok) const
    {
        T value{};
        setOk(ok, getOrgField(std::move(it), col, &value, int(sizeof(T)), type, isNull));
        return value;
    }
    // The column text of a filter or sort column, or false when it maps to no database
    // column (its number in *dbCol otherwise).
    bool filterColumn(const WChar* colName, WString& text, int* dbCol) const;

    VectorOf<WhereParam> m_whereList;
    VectorOf<Pair> m_orderList;
    bool m_ascending;
    WCharString m_sqlSelect;
};

} // namespace DataSourceAPI

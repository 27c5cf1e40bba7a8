// DataSource: the one abstract row source behind which memory tables, lookups, unions and
// database queries live; with its iterator handle, column and filter descriptions, errors,
// the typed accessors and the event frame.
#pragma once

#include <vexapi/datasource/dsdefs.h>

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>

#include <typeinfo>
#include <utility>

namespace DataSourceAPI {

class DataSourceLink;

// The abstract row source. Rows, columns and parameters count from 1; 0 means none.
//
// Ownership: a source owns its positions (IteratorInt) and rows; the application owns the
// sources and the links; a link watches its sources' destruction itself, so the destructor
// here only frees the two arrays.
//
// The row and field primitives (insertRow, deleteRow, setField, setCurIterator, retrieve)
// send nothing: whoever changes a source sends the event through it with `send`, so that
// subscribers run first and the source's own on... member last (see the event members).
class VEXAPI_API DataSource : public virtual Object {
public:
    // ---- Column description ----
    class VEXAPI_API ColInfo {
    public:
        // No column: null name, type 0, len -1.
        ColInfo();
        // A null `name` stays null (the answer for a column out of range).
        ColInfo(const WChar* name, Type type, int len);

        const WChar* name() const { return m_hasName ? m_name.constData() : nullptr; }
        Type type() const { return m_type; }
        int len() const { return m_len; }

    private:
        WCharString m_name;
        bool m_hasName;
        Type m_type;
        int m_len;
    };

    // ---- Filter and sort for setFilter. Indices count from 0. ----
    class VEXAPI_API FilterInfo {
    public:
        FilterInfo();

        void add(const WChar* col, const WChar* param, bool useLike);
        void addSort(const WChar* name);
        int colCount() const { return m_conds.size(); }
        int sortCount() const { return m_sort.size(); }
        // Null for an index out of range.
        const WChar* colName(int i) const;
        const WChar* paramName(int i) const;
        bool useLike(int i) const;
        const WChar* sortName(int i) const;
        bool order() const { return m_order; }
        void setOrder(bool ascending) { m_order = ascending; }
        void clearCols() { m_conds.clear(); }
        void clearSort() { m_sort.clear(); }
        void clear() { clearCols(); clearSort(); }

    private:
        struct Condition {
            WCharString col;
            WCharString param;
            bool useLike;
        };
        VectorOf<Condition> m_conds;
        VectorOf<WCharString> m_sort;
        bool m_order;
    };

    // ---- Positions ----
    class Iterator;

    // A position inside one source, shared by Iterator handles through its count. Each
    // source derives its own (RIterator).
    class VEXAPI_API IteratorInt {
    public:
        IteratorInt() : m_refCount(0) {}
        // A copy is a new position: it starts uncounted.
        IteratorInt(const IteratorInt&) : m_refCount(0) {}
        IteratorInt& operator=(const IteratorInt&) { return *this; }

        virtual IteratorInt* clone() const = 0;
        // Called only with a position of the same dynamic type.
        virtual bool operator==(const IteratorInt& other) const = 0;
        virtual void operator++(int) = 0;
        virtual void operator--(int) = 0;
        virtual ~IteratorInt();

        int refCount() const { return m_refCount; }

    private:
        friend class Iterator;
        int m_refCount;
    };

    // The handle every interface passes: one counted pointer to a position, or none.
    //
    // Invariants:
    //  1. A non-empty handle holds one count of its position; the position is deleted when
    //     the last handle lets go.
    //  2. Stepping never moves another handle: a shared position is cloned first (copy on
    //     step), and the sole holder steps in place.
    //  3. Two handles are equal only when both hold positions of the identical dynamic type
    //     that say they are equal; two empty handles are unequal.
    //
    // The count is a plain integer: a handle stays on its thread.
    class Iterator {
    public:
        Iterator() : m_pos(nullptr) {}
        Iterator(const Iterator& other) : m_pos(other.m_pos)
        {
            if (m_pos)
                ++m_pos->m_refCount;
        }
        Iterator(Iterator&& other) noexcept : m_pos(other.m_pos) { other.m_pos = nullptr; }
        ~Iterator() { release(); }

        Iterator& operator=(const Iterator& other)
        {
            if (m_pos != other.m_pos) {
                if (other.m_pos)
                    ++other.m_pos->m_refCount;
                release();
                m_pos = other.m_pos;
            }
            return *this;
        }
        Iterator& operator=(Iterator&& other) noexcept
        {
            if (this != &other) {
                release();
                m_pos = other.m_pos;
                other.m_pos = nullptr;
            }
            return *this;
        }

        Iterator& operator++()
        {
            if (m_pos) {
                own();
                (*m_pos)++;
            }
            return *this;
        }
        Iterator& operator--()
        {
            if (m_pos) {
                own();
                (*m_pos)--;
            }
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator old(*this);
            ++*this;
            return old;
        }
        Iterator operator--(int)
        {
            Iterator old(*this);
            --*this;
            return old;
        }

        bool operator==(const Iterator& other) const
        {
            if (!m_pos || !other.m_pos)
                return false;
            if (m_pos == other.m_pos)
                return true;
            return typeid(*m_pos) == typeid(*other.m_pos) && *m_pos == *other.m_pos;
        }
        bool operator!=(const Iterator& other) const { return !(*this == other); }

        bool empty() const { return m_pos == nullptr; }
        // How many handles share the position (0 for an empty handle).
        int useCount() const { return m_pos ? m_pos->m_refCount : 0; }

    private:
        friend class DataSource;
        explicit Iterator(IteratorInt* pos) : m_pos(pos)
        {
            if (m_pos)
                ++m_pos->m_refCount;
        }
        void release()
        {
            if (m_pos && --m_pos->m_refCount == 0)
                delete m_pos;
            m_pos = nullptr;
        }
        // Copy on step: a shared position is replaced by a clone of its own.
        void own()
        {
            if (m_pos->m_refCount > 1) {
                IteratorInt* copy = m_pos->clone();
                --m_pos->m_refCount;
                m_pos = copy;
                m_pos->m_refCount = 1;
            }
        }

        IteratorInt* m_pos;
    };

    // The base of every exception of the row sources. Each concrete source nests its own.
    class VEXAPI_API Error {
    public:
        virtual ~Error();
        // Writes the message, terminated, into `buffer` of `size` characters. The base
        // message is empty.
        virtual void getMessage(WChar* buffer, int size) const;
    };

    DataSource();
    DataSource(const DataSource& other);
    DataSource& operator=(const DataSource& other);
    virtual ~DataSource();

    // ---- Columns ----
    virtual void removeAllCols();
    virtual int insertCol(int before, const ColInfo& info) = 0;
    virtual void setCol(int col, const ColInfo& info) = 0;
    virtual void removeCol(int col) = 0;
    // Makes the blob encoding list at least colCount() long. Called after the columns are
    // defined and before rows are used.
    virtual void initColumns();

    // ---- Positions ----
    virtual Iterator getCurIterator() const = 0;
    // 0 when the current position is end().
    virtual int getCurRow() const = 0;
    virtual void setCurIterator(Iterator it) = 0;
    virtual void setCurRow(int row) = 0;
    virtual Iterator row2iterator(int row) const = 0;
    virtual int iterator2row(Iterator it) const = 0;
    virtual Iterator begin() const = 0;
    // A real position, not an empty handle.
    virtual Iterator end() const = 0;
    virtual int rowCount() const = 0;
    // Gives the new row's position.
    virtual Iterator insertRow(Iterator before) = 0;
    virtual void deleteRow(Iterator it) = 0;

    // ---- Fields ----
    // The bytes a raw read of the field needs.
    virtual VLong realLen(Iterator it, int col, bool* isNull) const = 0;
    // Typed read: the field converted to `type` (see the conversion matrix). A null field
    // gives true with *isNull set and `buf` untouched. False when the conversion fails.
    virtual bool getField(Iterator it, int col, void* buf, int bufLen, Type type, bool* isNull,
                          VLong* realLen) const;
    // Raw read in the column's own type. Every typed read goes through it (a source may read
    // directly only where it knows this one is not overridden), so an override is seen
    // whatever type is asked for.
    virtual void getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                          VLong* realLen) const = 0;
    // Typed write: `data` (len bytes of `type`) converted to the column's type. False, and
    // nothing written, when the conversion fails. A null is written as it stands.
    virtual bool setField(Iterator it, int col, const void* data, int len, Type type, bool isNull);
    // Raw write in the column's own type.
    virtual void setField(Iterator it, int col, const void* data, int len, bool isNull) = 0;
    virtual void setNull(Iterator it, int col, bool isNull) = 0;

    // ---- Life cycle ----
    virtual void create() = 0;
    virtual void close();
    virtual bool isCreated() = 0;
    virtual void retrieve() = 0;
    virtual void clear() = 0;
    virtual void update() = 0;
    virtual void commitDS() = 0;
    virtual void rollbackDS() = 0;
    virtual void commitDB() = 0;
    virtual void rollbackDB() = 0;
    virtual bool isModified() = 0;

    // ---- Column and parameter description ----
    virtual int colCount() const = 0;
    // 0 if unknown.
    virtual int indexByName(const WChar* name) const = 0;
    virtual ColInfo colInfo(int col) const = 0;
    virtual int paramCount() const = 0;
    virtual int indexByParamName(const WChar* name) const = 0;
    virtual ColInfo paramInfo(int param) const = 0;
    virtual bool getParam(int param, void* buf, int bufLen, Type type, bool* isNull,
                          VLong* realLen) const;
    virtual void getParam(int param, void* buf, int bufLen, bool* isNull, VLong* realLen) const = 0;
    // Typed parameter write that tells whether the value changed. Its order of steps is
    // relied on by links: a null written with the parameter's own type always reports a
    // change, and a null written with type 0 reports none and answers false (see the .cpp).
    // A null of any other type is a null of the parameter's own type: `data` is not read.
    virtual bool setParam(int param, const void* data, int len, Type type, bool isNull,
                          bool* changed);
    virtual void setParam(int param, const void* data, int len, bool isNull) = 0;
    virtual void setFilter(const FilterInfo& filter) = 0;
    virtual void realizeLinks();

    // ---- Sources inside tObject columns ----
    virtual DataSource* getParentDS() const;
    virtual Iterator getParentIterator() const;
    virtual int getParentCol() const;
    virtual DataSource* getCurInnerDS();
    virtual void setCurInnerDS(DataSource* ds);
    virtual void setColFactory(int col, DSFactory* factory);
    virtual DSFactory* getColFactory(int col) const;
    virtual DataSource* getInnerDS(Iterator it, int col, bool* isNull, bool* ok);
    virtual void lockInnerDS(Iterator it, int col);
    virtual void unlockInnerDS(Iterator it, int col);
    virtual void bindToParent(DataSource* parent, Iterator it, int col);
    // The application's hooks for the object of a tObject column.
    virtual void newObject(Iterator it, int col, void*& object) const;
    virtual void deleteObject(Iterator it, int col, void*& object) const;
    virtual void lockObject(Iterator it, int col, void*& object) const;
    virtual void unlockObject(Iterator it, int col, void*& object) const;

    // ---- Events: signals whose own handling answers true ----
    virtual bool onError(const Error* error);
    virtual bool onCurPosChanged(Iterator it);
    virtual bool onCurDSChanged(Iterator it);
    virtual bool onInsert(Iterator it);
    virtual bool onDeleting(Iterator it);
    virtual bool onDelete(int row);
    virtual bool onFieldChanged(Iterator it, int col);
    virtual bool onRowChanged(Iterator it);
    virtual bool onChange();
    virtual bool onFullChange();

    // ---- Events of an inner source, passed up the parent chain unchanged ----
    virtual bool onInnerError(DataSource* inner, const Error* error);
    virtual bool onInnerCurPosChanged(DataSource* inner, Iterator it);
    virtual bool onInnerInsert(DataSource* inner, Iterator it);
    virtual bool onInnerDeleting(DataSource* inner, Iterator it);
    virtual bool onInnerDelete(DataSource* inner, int row);
    virtual bool onInnerFieldChanged(DataSource* inner, Iterator it, int col);
    virtual bool onInnerRowChanged(DataSource* inner, Iterator it);
    virtual bool onInnerChange(DataSource* inner);
    virtual bool onInnerStructChanged(DataSource* inner);

    // ---- Calculated columns ----
    virtual bool isCalculated(int col) const;
    virtual void setCalculated(int col, bool calculated);
    // The application's computation of a calculated column; false when it has none.
    virtual bool calcField(Iterator it, int col, void* buf, int bufLen, bool* isNull) const;
    // Mark calculated values stale.
    virtual void invalidateField(Iterator it, int col);
    virtual void invalidateRow(Iterator it);
    virtual void invalidateCol(int col);
    virtual void invalidate();

    // ---- Slots a link subscribes to its primary source's events ----
    virtual SlotResult onPriCurPosChanged(Object* sender, Iterator it);
    virtual SlotResult onPriInsert(Object* sender, Iterator it);
    virtual SlotResult onPriDelete(Object* sender, int row);
    virtual SlotResult onPriFieldChanged(Object* sender, Iterator it, int col);
    virtual SlotResult onPriRowChanged(Object* sender, Iterator it);
    // Copies the master's values into the parameters, retrieves if one changed, and sends
    // onChange in any case (the cascade down a chain of links). Nothing when not created.
    virtual SlotResult onPriChange(Object* sender);

    // ---- Additions of this library ----
    // Whether the field is null. Base: through realLen.
    virtual bool getNull(Iterator it, int col) const;
    // The column's type without building a ColInfo. Base: colInfo(col).type().
    virtual Type colType(int col) const;

    // ---- Non-virtual ----
    int addCol(const ColInfo& info) { return insertCol(colCount() + 1, info); }
    // Moves never land on end(): at the last row toNext leaves the position alone.
    void toFirst();
    void toLast();
    void toNext();
    void toPrev();

    // The links of which this source is the secondary, in order of creation (0-based).
    int linkCount() const { return m_links.size(); }
    DataSourceLink* link(int i) const;
    // Copies the current master values into this source's parameters; true if one changed.
    // Errors become onError.
    bool setLinkParams();

    void setBlobEncoding(int col, const WChar* name);
    // Null when the column has no encoding (the process code page is meant).
    const WChar* getBlobEncoding(int col) const;

    // The typed family. Reads take optional isNull, ok and realLen; `ok` receives the typed
    // getField's result. A null field gives a zero value with *isNull true and *ok true.
    // Lengths are in bytes.
    // (Inline: a walk reads every field through them, and the typed getField they call is
    // the one virtual call of a read.)
    VLong getFieldInt(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr,
                      VLong* realLen = nullptr) const
    {
        return readFixed<VLong>(std::move(it), col, tInt, isNull, ok, realLen);
    }
    short getFieldSmall(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr,
                        VLong* realLen = nullptr) const
    {
        return readFixed<short>(std::move(it), col, tSmall, isNull, ok, realLen);
    }
    char* getFieldChar(Iterator it, int col, char* buf, int len, bool* isNull = nullptr,
                       bool* ok = nullptr, VLong* realLen = nullptr) const
    {
        setOk(ok, getField(std::move(it), col, buf, len, tChar, isNull, realLen));
        return buf;
    }
    WChar* getFieldText(Iterator it, int col, WChar* buf, int len, bool* isNull = nullptr,
                        bool* ok = nullptr, VLong* realLen = nullptr) const
    {
        setOk(ok, getField(std::move(it), col, buf, len, tText, isNull, realLen));
        return buf;
    }
    float getFieldReal(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr,
                       VLong* realLen = nullptr) const
    {
        return readFixed<float>(std::move(it), col, tReal, isNull, ok, realLen);
    }
    double getFieldDouble(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr,
                          VLong* realLen = nullptr) const
    {
        return readFixed<double>(std::move(it), col, tDouble, isNull, ok, realLen);
    }
    OrvCPP::OrvDec getFieldDec(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr,
                               VLong* realLen = nullptr) const
    {
        return readFixed<OrvCPP::OrvDec>(std::move(it), col, tDec, isNull, ok, realLen);
    }
    OrvCPP::OrvDate getFieldDate(Iterator it, int col, bool* isNull = nullptr, bool* ok = nullptr,
                                 VLong* realLen = nullptr) const
    {
        return readFixed<OrvCPP::OrvDate>(std::move(it), col, tDate, isNull, ok, realLen);
    }
    unsigned char* getFieldByte(Iterator it, int col, unsigned char* buf, int len,
                                bool* isNull = nullptr, bool* ok = nullptr,
                                VLong* realLen = nullptr) const
    {
        setOk(ok, getField(std::move(it), col, buf, len, tByte, isNull, realLen));
        return buf;
    }

    bool setFieldInt(Iterator it, int col, VLong value, bool isNull = false);
    bool setFieldSmall(Iterator it, int col, short value, bool isNull = false);
    // The three without a length pass the column's declared len as the source length.
    bool setFieldChar(Iterator it, int col, const char* value, bool isNull = false);
    bool setFieldText(Iterator it, int col, const WChar* value, bool isNull = false);
    bool setFieldReal(Iterator it, int col, float value, bool isNull = false);
    bool setFieldDouble(Iterator it, int col, double value, bool isNull = false);
    bool setFieldDec(Iterator it, int col, const OrvCPP::OrvDec& value, bool isNull = false);
    bool setFieldDate(Iterator it, int col, const OrvCPP::OrvDate& value, bool isNull = false);
    bool setFieldByte(Iterator it, int col, const unsigned char* value, bool isNull = false);

protected:
    template <class T>
    T readFixed(Iterator it, int col, Type type, bool* isNull, bool* ok, VLong* realLen) const
    {
        T value{};
        setOk(ok, getField(std::move(it), col, &value, int(sizeof(T)), type, isNull, realLen));
        return value;
    }
    static void setOk(bool* ok, bool result)
    {
        if (ok)
            *ok = result;
    }

    // Wraps a new position in a handle (count 1).
    static Iterator makeIterator(IteratorInt* pos) { return Iterator(pos); }
    // The raw position of a handle, for the source that made it; null for an empty handle.
    static IteratorInt* getIterator(const Iterator& it) { return it.m_pos; }

private:
    friend class DataSourceLink;

    VectorOf<DataSourceLink*> m_links;
    VectorOf<WCharString> m_blobEncodings;
};

namespace DataRepresentationWithNulls {

// Raw read into `value`, grown and read once more when the field is longer than it.
VEXAPI_API void getField(const DataSource* ds, DataSource::Iterator it, int col,
                         DynValueBase& value);
// Typed read into `value`; the typed getField's result.
VEXAPI_API bool getField(const DataSource* ds, DataSource::Iterator it, int col, Type type,
                         DynValueBase& value);
VEXAPI_API void getParam(const DataSource* ds, int param, DynValueBase& value);
VEXAPI_API bool getParam(const DataSource* ds, int param, Type type, DynValueBase& value);

} // namespace DataRepresentationWithNulls
} // namespace DataSourceAPI

// DSKortDesc and DSKort: the layout of a row record of DataSource values and the record
// itself, one block holding every value with its null flag.
#pragma once

#include <vexapi/datasource/dsdefs.h>

#include <vexapi/core/api.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/vexassert.h>

namespace DataSourceAPI {

class DSKort;

// The shape of one record: the columns as the caller declared them (0-based), and the byte
// layout init() derives from them.
//
// Layout of a record (P is the width of a pointer, "rounded" means up to a multiple of 8):
//   0                     the DSKort header: a pointer back to this description
//   P + offset(i)         column i's DSValue: the pointer to its null flag (P bytes)
//   P + offset(i) + P     column i's value area: layoutLen(i) bytes, rounded
//   P + size()            one null-flag byte per column
// with offset(0) = 0 and offset(i + 1) = offset(i) + rounded layoutLen(i) + P, and size()
// the sum of the rounded lengths plus P per column. A block is size() + columns + P bytes.
//
// Invariants:
//  1. layoutLen of a fixed type is its slot size (slotSize: 4, 2, 4, 8, 16, 16, and the
//     real sizes of DSBlob and DSObject); text and byte columns keep the declared length.
//  2. Every value area lies 8-aligned from the record's start, and records are allocated
//     8-aligned.
//  3. The layout is that of the last init(); records made before a later init() must be
//     gone by then (the memory source drops its rows first).
class VEXAPI_API DSKortDesc {
public:
    struct ColLayout {
        Type type;
        int len;
        int offset;
    };

    DSKortDesc();
    virtual ~DSKortDesc();

    // ---- The declared columns, 0-based ----
    void add(Type type, int len);
    void insert(int pos, Type type, int len);
    void set(int pos, Type type, int len);
    void remove(int pos);
    void clear();
    int colCount() const { return m_cols.size(); }
    // tNone and -1 out of range.
    Type type(int pos) const;
    int len(int pos) const;

    // Derives the layout from the declared columns. Must run before newKort().
    void init();

    // ---- The layout ----
    int layoutCount() const { return m_layout.size(); }
    const ColLayout& layout(int i) const { return m_layout[i]; }
    // The layout as an array of layoutCount() entries, for loops that check their bounds.
    const ColLayout* layoutData() const { return m_layout.begin(); }
    // The bytes of all value areas and their DSValue heads.
    int size() const { return m_size; }

    // A new record, all zero but its pointers: every value reads as a non-null zero.
    DSKort* newKort() const;
    // Clears the record's owned blobs and frees it. Null is ignored.
    void deleteKort(DSKort* kort) const;

    // For a holder that keeps the record inside a block of its own (the memory source puts
    // its list links and the record in one allocation): the bytes of a record, making one
    // in 8-aligned memory of that size, and ending it without freeing the memory.
    int kortBlockSize() const { return m_size + m_layout.size() + int(sizeof(void*)); }
    DSKort* placeKort(void* memory) const;
    void destroyKort(DSKort* kort) const;

    // Equal null flags and values: tChar by strcmp, tText by code unit, tBlob by the blob's
    // data pointer and size (not by its contents), the rest by their bytes.
    static bool isEqual(const DSKort& a, const DSKort& b);
    // Copies null flags and values. A blob is copied shallowly: the copy refers to the same
    // data without owning it (the source keeps it and must outlive the copy), and a block
    // the destination owned is freed first.
    static void copy(DSKort& dst, const DSKort& src);

    // Per-value forms: placeholders that compare nothing and copy nothing.
    bool isEqual(int col, const DataRepresentationWithNulls::DSValue& a,
                 const DataRepresentationWithNulls::DSValue& b) const;
    void copy(int col, DataRepresentationWithNulls::DSValue& dst,
              const DataRepresentationWithNulls::DSValue& src) const;

protected:
    // Called at the end of every init(), for holders that cache the layout.
    virtual void layoutChanged() {}

private:
    struct Col {
        Type type;
        int len;
    };

    VectorOf<Col> m_cols;
    VectorOf<ColLayout> m_layout;
    int m_size;
};

// One record of a DSKortDesc's layout. Made only by DSKortDesc::newKort; its values follow
// it in memory, so it is never copied by value: assignment copies the values.
class alignas(8) DSKort {
public:
    DSKort(const DSKort&) = delete;
    // Copies the values of a record of the same description (asserted).
    DSKort& operator=(const DSKort& src)
    {
        VEX_ASSERT(d == src.d);
        if (d == src.d && this != &src)
            DSKortDesc::copy(*this, src);
        return *this;
    }

    const DSKortDesc* desc() const { return d; }

    // Column i's value, 0-based.
    DataRepresentationWithNulls::DSValue& operator[](int i)
    {
        return *reinterpret_cast<DataRepresentationWithNulls::DSValue*>(
            reinterpret_cast<char*>(this) + sizeof(void*) + d->layout(i).offset);
    }
    const DataRepresentationWithNulls::DSValue& operator[](int i) const
    {
        return *reinterpret_cast<const DataRepresentationWithNulls::DSValue*>(
            reinterpret_cast<const char*>(this) + sizeof(void*) + d->layout(i).offset);
    }

    // The record without its null flags: size() plus one pointer width.
    int sizeOf() const { return d->size() + int(sizeof(void*)); }

private:
    friend class DSKortDesc;
    explicit DSKort(const DSKortDesc* desc) : d(desc) {}

    const DSKortDesc* d;
};

static_assert(sizeof(DSKort) == sizeof(void*), "a DSKort header is one pointer");

} // namespace DataSourceAPI

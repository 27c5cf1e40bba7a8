// Fetch records of the client layer: KortDesc (the layout of one record of server-typed
// columns), Kort (one record, alone or in an array for a block fetch) and OrvValue (one
// value of a record).
#pragma once

#include <vexapi/values/servertypes.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/vexassert.h>

#include <cstring>
#include <type_traits>

namespace OrvCPP {

class Kort;

// One value inside a Kort: a pointer to the value's null flag, then the value area. It is a
// view laid over the record's bytes, never made on its own.
//
// The null flag is a byte: 0 means the area holds a value, anything else means null.
struct alignas(8) OrvValue {
    char* nullFlag;

    bool isNull() const { return *nullFlag != 0; }
    void setNull(bool null) { *nullFlag = null ? 1 : 0; }

    // The value area; its size is the column's `KortDesc::len`.
    void* data() { return reinterpret_cast<char*>(this) + sizeof(OrvValue); }
    const void* data() const { return reinterpret_cast<const char*>(this) + sizeof(OrvValue); }

    // Typed access by copy, so that no caller depends on the area's alignment.
    template <class T>
    T get() const
    {
        static_assert(std::is_trivially_copyable<T>::value, "values are copied as bytes");
        T v;
        std::memcpy(&v, data(), sizeof(T));
        return v;
    }
    template <class T>
    void set(const T& v)
    {
        static_assert(std::is_trivially_copyable<T>::value, "values are copied as bytes");
        std::memcpy(data(), &v, sizeof(T));
    }
};

// The description of a fetch record: a list of (server type, length) columns, numbered from
// 0, and the byte layout that `init()` derives from it. It makes, copies and frees the
// records of that layout.
//
// Layout of one record, from its start B (records are allocated 8-aligned):
//
//   B + 0                      the Kort header: a pointer back to this description,
//                              padded to sizeof(Kort), a multiple of 8
//   B + offset(i)              column i's OrvValue: the pointer to its null flag, padded to
//                              sizeof(OrvValue), a multiple of 8
//   B + offset(i) + sizeof(OrvValue)
//                              column i's value area: len(i) bytes, rounded up to 8
//   B + nullFlagsOffset()      one null-flag byte per column, in column order
//   B + sizeOf()               the next record of an array
//
// with offset(0) = sizeof(Kort) and offset(i + 1) = offset(i) + sizeof(OrvValue) +
// len(i) rounded up to 8. `sizeOf()` is the flags' end rounded up to 8: it is both the size
// of a single record and the stride of an array, so a block fetch steps every bound buffer
// and every null flag by `sizeOf()`.
//
// Invariants:
//  1. Every value area starts at a multiple of 8 from its record's start, and every record
//     (alone or in an array) starts 8-aligned, so any value is suitably aligned.
//  2. A value area holds at least len(i) bytes; headers, value areas and null flags of one
//     record never overlap, and a record never reaches into the next one of its array.
//  3. Each OrvValue of a record points at that record's own null flag of the same column,
//     in every element of an array. So a record cannot be moved or duplicated with memcpy:
//     `copy()` copies values and flags and keeps the pointers.
//  4. A new record is all zeros apart from its pointers: every value reads as a non-null
//     zero.
//  5. len(i) of a fixed-size type is the size of its fetch form (serverTypeFixedSize),
//     whatever length was declared; other types keep the declared length (negative as 0).
//  6. The layout may change (`add`, `clear`, `init`) only while no record of it is alive;
//     `init()` must run before the first record is made. Both are asserted.
class VEXAPI_API KortDesc {
public:
    KortDesc();
    ~KortDesc();
    KortDesc(const KortDesc&) = delete;
    KortDesc& operator=(const KortDesc&) = delete;

    // Appends a column and gives its index. The layout is stale until the next `init()`.
    int add(int type, int len);
    // Removes all columns.
    void clear();
    // Computes the layout of the columns added so far.
    void init();
    bool isInitialized() const { return m_initialized; }

    int colCount() const { return m_columns.size(); }
    // The column's server type; 0 out of range.
    int type(int i) const;
    // The bytes the column's value area holds for a value (invariant 5); -1 out of range.
    int len(int i) const;

    // Byte offset of column i's OrvValue from the record's start. Needs `init()`; a column
    // out of range is asserted and gives 0.
    int offset(int i) const
    {
        const bool valid = m_initialized && i >= 0 && i < m_offsets.size();
        VEX_ASSERT(valid);
        return valid ? m_offsets[i] : 0;
    }
    // Byte offset of the first null flag. Needs `init()`.
    int nullFlagsOffset() const;
    // The record's size and the stride of an array. Needs `init()`.
    int sizeOf() const;
    // How many records fit in 4096 bytes; 0 when a single record is larger.
    int recordsPer4K() const;

    // A new zeroed record (invariant 4); free it with deleteKort.
    Kort* newKort();
    void deleteKort(Kort* kort);
    // An array of `n` zeroed records, 0 < n; null for n <= 0. Free it with deleteKortArray.
    Kort* newKortArray(int n);
    void deleteKortArray(Kort* array);
    // The i-th record of an array made by newKortArray (0-based; the bound is the caller's).
    Kort& arrayElem(Kort* array, int i) const;

    // Copies the null flags and the values of `src` into `dst`; both of this layout.
    void copy(Kort& dst, const Kort& src) const;

    // Records and arrays made and not yet freed.
    int liveBlocks() const { return m_liveBlocks; }

private:
    struct Column {
        int type;
        int len;
    };

    Kort* allocate(int n);
    void release(Kort* block);

    VectorOf<Column> m_columns;
    VectorOf<int> m_offsets;
    int m_flagsOffset;
    int m_size;
    int m_liveBlocks;
    bool m_initialized;
};

// One record of a KortDesc's layout (see there). Made only by its description; its columns
// follow it in memory.
class alignas(8) Kort {
public:
    Kort(const Kort&) = delete;
    Kort& operator=(const Kort&) = delete;

    const KortDesc* desc() const { return m_desc; }

    // Column i's value, 0-based.
    OrvValue& operator[](int i)
    {
        return *reinterpret_cast<OrvValue*>(reinterpret_cast<char*>(this) + m_desc->offset(i));
    }
    const OrvValue& operator[](int i) const
    {
        return *reinterpret_cast<const OrvValue*>(reinterpret_cast<const char*>(this) +
                                                  m_desc->offset(i));
    }

private:
    friend class KortDesc;
    explicit Kort(const KortDesc* desc) : m_desc(desc) {}

    const KortDesc* m_desc;
};

} // namespace OrvCPP

// The value records of the row sources: DSBlob (a long value), DSObject (an object slot),
// and in DataRepresentationWithNulls the value storage Value, the record view DSValue and
// the growing DynValueBase with its inline-buffer child DynValue.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/vexassert.h>

#include <cstring>
#include <new>

namespace OrvCPP {
class OrvDec;
class OrvDate;
}

namespace DataSourceAPI {

// A long value: a block of bytes that may or may not belong to the record holding it.
//
// Ownership: when `own()` is true the block was allocated here (malloc) and is freed by
// set, alloc and clear; when false it belongs to someone else and is never freed here.
// A DSBlob lives inside zeroed record memory as often as on its own, so the all-zero bytes
// are a valid empty blob, and it has no destructor: whoever holds one calls clear() (a
// record does this through Value::destructBlob). Copying copies the three fields, so a
// copy of an owning blob must not be cleared as well: see DSKortDesc::copy.
class VEXAPI_API DSBlob {
public:
    DSBlob() : m_data(nullptr), m_size(0), m_own(false) {}

    // Frees what it owned, then refers to `data` without owning it.
    void set(void* data, VLong size);
    // Frees what it owned, then owns a new block of exactly `size` bytes (contents undefined).
    void alloc(VLong size);
    // On an owned block only: grows to `n` bytes keeping the old bytes; a smaller or equal
    // `n` only sets the size and keeps the block.
    void realloc(VLong n);
    // Frees the block if owned; zeroes data and size. `own` keeps its value.
    void clear();

    void* data() const { return m_data; }
    VLong size() const { return m_size; }
    bool own() const { return m_own; }

private:
    void* m_data;
    VLong m_size;
    bool m_own;
};

// The slot of a tObject column: the application's object and how often it is locked.
struct DSObject {
    void* object;
    VLong lockCount;
};

namespace DataRepresentationWithNulls {

typedef DSBlob C_Blob;

// The storage of one value of any type whose size is fixed, 8-aligned. In a record the
// storage of a text or byte column is longer: its value area is declared by the column,
// and only the first bytes are what this struct names.
struct alignas(8) Value {
    unsigned char bytes[16];

    void* Bin() { return bytes; }
    const void* Bin() const { return bytes; }
    OrvCPP::OrvDec* Dec() { return reinterpret_cast<OrvCPP::OrvDec*>(bytes); }
    const OrvCPP::OrvDec* Dec() const { return reinterpret_cast<const OrvCPP::OrvDec*>(bytes); }
    OrvCPP::OrvDate* Date() { return reinterpret_cast<OrvCPP::OrvDate*>(bytes); }
    const OrvCPP::OrvDate* Date() const { return reinterpret_cast<const OrvCPP::OrvDate*>(bytes); }
    DSBlob* Blob() { return reinterpret_cast<DSBlob*>(bytes); }
    const DSBlob* Blob() const { return reinterpret_cast<const DSBlob*>(bytes); }
    DSObject* Object() { return reinterpret_cast<DSObject*>(bytes); }
    const DSObject* Object() const { return reinterpret_cast<const DSObject*>(bytes); }

    void constructBlob() { new (bytes) DSBlob(); }
    void destructBlob() { Blob()->clear(); }
    void constructObject() { Object()->object = nullptr; Object()->lockCount = 0; }
    void destructObject() {}
};

static_assert(sizeof(DSBlob) <= sizeof(Value) && sizeof(DSObject) <= sizeof(Value),
              "every fixed slot fits in Value");

// One value as it stands in a DSKort: the pointer to its null-flag byte (0 is a value,
// anything else is null), followed by the value area. A view laid over the record's bytes,
// never made on its own.
struct alignas(8) DSValue {
    char* nullFlag;

    bool isNull() const { return *nullFlag != 0; }
    void setNull(bool null) { *nullFlag = null ? 1 : 0; }

    Value& value() { return *reinterpret_cast<Value*>(this + 1); }
    const Value& value() const { return *reinterpret_cast<const Value*>(this + 1); }
    void* Bin() { return this + 1; }
    const void* Bin() const { return this + 1; }
};

static_assert(sizeof(DSValue) == sizeof(void*), "a DSValue's head is one pointer wide");

// A value that grows: whether it is null, the length a read or conversion reported, and a
// buffer that starts inline (supplied by DynValue<N>) and moves to the heap when alloc()
// asks for more.
//
// Invariants:
//  1. data() is the heap block when there is one, else the inline buffer; either holds
//     capacity() bytes.
//  2. alloc(n) changes nothing unless n > capacity(); then the old contents are gone.
//  3. The heap block is this object's and is freed by the destructor.
class VEXAPI_API DynValueBase {
public:
    bool isNull;
    VLong realLen;

    void* data() { return m_heap ? m_heap : inlineBuffer(); }
    const void* data() const { return m_heap ? m_heap : inlineBuffer(); }
    operator void*() { return data(); }
    int capacity() const { return m_capacity; }

    // Makes room for `n` bytes: false (and nothing done) when n is not above capacity();
    // otherwise a new heap block of n bytes replaces the buffer and the result is true.
    bool alloc(int n);

    DynValueBase(const DynValueBase&) = delete;
    DynValueBase& operator=(const DynValueBase&) = delete;

protected:
    explicit DynValueBase(int capacity)
        : isNull(false), realLen(0), m_heap(nullptr), m_capacity(capacity)
    {
    }
    ~DynValueBase();

    // The child's inline buffer starts right behind this base (DynValue aligns it to 8,
    // and sizeof(DynValueBase) is a multiple of 8; its constructor checks).
    void* inlineBuffer() { return this + 1; }
    const void* inlineBuffer() const { return this + 1; }
    // Copies another value's state and bytes into this one.
    void assign(const DynValueBase& other);

private:
    void* m_heap;
    int m_capacity;
};

static_assert(sizeof(DynValueBase) % 8 == 0, "the inline buffer follows the base directly");

// A DynValueBase with N inline bytes. DynValue<> has 8; ConvValue, with 4096, is the one
// every conversion uses, so values up to 4096 bytes never touch the heap.
template <int N = 8>
class DynValue : public DynValueBase {
public:
    DynValue() : DynValueBase(N) { VEX_ASSERT(static_cast<void*>(m_inline) == inlineBuffer()); }
    DynValue(const DynValue& other) : DynValueBase(N) { assign(other); }
    DynValue& operator=(const DynValue& other)
    {
        if (this != &other)
            assign(other);
        return *this;
    }

private:
    alignas(8) unsigned char m_inline[N];
};

typedef DynValue<4096> ConvValue;

} // namespace DataRepresentationWithNulls
} // namespace DataSourceAPI

// aCObjectArray and aCPointerArray: the growable arrays of the grid's records and row
// buffers, with the helpers that destroy or free their elements.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/types.h>

namespace VexAPI {

namespace detail {

// The storage of both arrays: `data` of `capacity` slots, `size` in use, `growBy` step.
// Invariants:
//  1. 0 <= size <= capacity; data is null exactly when capacity is 0.
//  2. Slots from size to capacity - 1 are null.
class VEXAPI_API PtrArrayImpl {
public:
    PtrArrayImpl() = default;
    ~PtrArrayImpl();
    PtrArrayImpl(const PtrArrayImpl&) = delete;
    PtrArrayImpl& operator=(const PtrArrayImpl&) = delete;

    VLong GetSize() const { return m_size; }
    VLong GetCapacity() const { return m_capacity; }
    VLong GetGrowBy() const { return m_growBy; }
    // n = 0 frees everything; a growBy other than -1 is stored first. New slots are null.
    // A negative n is refused (false).
    bool SetSize(VLong n, VLong growBy = -1);
    void* GetAt(VLong i) const { return i >= 0 && i < m_size ? m_data[i] : nullptr; }
    // False when i is outside 0..size-1.
    bool SetAt(VLong i, void* e);
    bool SetAtGrow(VLong i, void* e);
    VLong Add(void* e);
    // Inserts `count` copies of e before i (i may be size: appends; beyond size grows).
    bool InsertAt(VLong i, void* e, VLong count = 1);
    // Removes `count` slots from i, cut at the end; never shrinks the capacity. False when i
    // is outside the array or count is below 1.
    bool RemoveAt(VLong i, VLong count = 1);
    void RemoveAll() { SetSize(0); }
    void FreeExtra();
    void** GetData() const { return m_data; }
    int checkInvariants() const;

private:
    bool Reserve(VLong n);

    void** m_data = nullptr;
    VLong m_size = 0;
    VLong m_capacity = 0;
    VLong m_growBy = 0;
};

} // namespace detail

// A growable array of Object pointers; it does not own them (DeleteAllElements does).
class VEXAPI_API aCObjectArray : public virtual Object, public detail::PtrArrayImpl {
public:
    Object* GetAt(VLong i) const { return static_cast<Object*>(PtrArrayImpl::GetAt(i)); }
    Object* operator[](VLong i) const { return GetAt(i); }
    bool SetAt(VLong i, Object* e) { return PtrArrayImpl::SetAt(i, e); }
    bool SetAtGrow(VLong i, Object* e) { return PtrArrayImpl::SetAtGrow(i, e); }
    VLong Add(Object* e) { return PtrArrayImpl::Add(e); }
    bool InsertAt(VLong i, Object* e, VLong count = 1) { return PtrArrayImpl::InsertAt(i, e, count); }
};

// A growable array of untyped pointers; it does not own them (FreeAllElements frees them).
class VEXAPI_API aCPointerArray : public virtual Object, public detail::PtrArrayImpl {
public:
    void* operator[](VLong i) const { return GetAt(i); }
};

// Deletes the elements from index `keep` on and shrinks the array to `keep` elements.
VEXAPI_API void DeleteAllElements(aCObjectArray* array, VLong keep = 0);
// Frees (free()) the elements from index `keep` on and shrinks the array to `keep`.
VEXAPI_API void FreeAllElements(aCPointerArray* array, VLong keep = 0);

} // namespace VexAPI

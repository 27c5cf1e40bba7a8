// CEditArray: the untyped growing array under every list of the source editor, and
// CEditPointerArray<T>, its typed form for arrays of pointers.
#pragma once

#include <vexapi/core/api.h>

// A growing array of fixed-size elements, copied in and out byte for byte.
//
// Ownership: the buffer is owned by the array and freed by its destructor. A copy (copy
// constructor or assignment) takes the five fields as they stand and so shares the
// buffer: this shallow copy is deliberate, for short-lived copies that read or update
// elements in place, and must not be turned into a deep copy. The buffer carries a count
// of the arrays sharing it, so that it is freed once, by the last of them; an array that
// grows while it shares its buffer first takes a private copy of the elements in use.
//
// Invariants:
//  1. 0 <= count <= capacity, and `data` holds capacity * elementSize bytes.
//  2. capacity starts at growStep and grows by multiples of growStep; it never shrinks.
//  3. elementSize > 0 and growStep > 0.
class VEXAPI_API CEditArray {
public:
    CEditArray(int elementSize, int growStep);
    CEditArray(const CEditArray& other);
    CEditArray& operator=(const CEditArray& other);
    virtual ~CEditArray();

    int GetSize() const { return count; }
    // The address of element i. No bounds check: i must lie below the capacity.
    unsigned char* GetElement(int i) const { return data + i * elementSize; }
    // Forgets the elements: count becomes 0, the buffer and its contents stay.
    void Clear() { count = 0; }
    // Copies elementSize bytes from `item` to the end; gives the new count, 0 when the
    // array could not grow.
    int AddElement(const void* item);
    // Overwrites element i; false when i is at or beyond count.
    bool UpdElement(const void* item, int i);
    // Inserts before element i (i == count appends); false when i is beyond count.
    bool InsElement(const void* item, int i);
    // Removes element i; always true (an index out of range changes nothing). The capacity
    // is kept.
    bool DelElement(int i);
    // Adds growStep elements of capacity; false when memory runs out.
    bool GrowUp();

    int ElementSize() const { return elementSize; }
    int GrowStep() const { return growStep; }
    int Capacity() const { return capacity; }
    // How many arrays share the buffer (1 for an array that is no one's copy).
    int ShareCount() const;

protected:
    // Raises the capacity to at least `needed` elements, in whole steps of growStep.
    bool reserveFor(int needed);

    int elementSize;
    int growStep;
    int count;
    int capacity;
    unsigned char* data;

private:
    void release();
};

// A CEditArray of pointers to T, with typed access. The array never owns what the
// pointers point at: the classes built on it say who does.
template <class T>
class CEditPointerArray : public CEditArray {
public:
    explicit CEditPointerArray(int growStep) : CEditArray(int(sizeof(T*)), growStep) {}

    // Element i, or null when i is out of range.
    T* GetAt(int i) const { return i >= 0 && i < count ? items()[i] : nullptr; }
    int Add(T* item) { return AddElement(&item); }
    bool Insert(T* item, int i) { return InsElement(&item, i); }
    bool Update(T* item, int i) { return UpdElement(&item, i); }
    bool Remove(int i) { return i >= 0 && i < count && DelElement(i); }
    // Index of `item`, or -1.
    int IndexOf(const T* item) const
    {
        for (int i = 0; i < count; ++i)
            if (items()[i] == item)
                return i;
        return -1;
    }

protected:
    T** items() const { return reinterpret_cast<T**>(data); }
};

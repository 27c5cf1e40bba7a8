// PMF: a type-erased pointer to member function, with the comparers that tell whether two
// of them name the same function.
#pragma once

#include <vexapi/core/api.h>

#include <cstdint>
#include <cstring>
#include <typeinfo>

struct PMF;

// Compares two PMF records of one member-pointer type.
class VEXAPI_API PMFComparer {
public:
    virtual ~PMFComparer();
    virtual bool compare(const PMF& left, const PMF& right) const = 0;
};

// Decides whether two member pointers of one type mean the same function: by virtual slot
// for virtual functions, by code address for the others, and always with the same `this`
// adjustment. Reports "!l[1] && !l[2] && !l[3]" when the left operand carries a `this`
// adjustment (a pointer converted from a base at a non-zero offset).
VEXAPI_API bool BugCmp(const PMF& l, const PMF& r);

// The bits of a member-function pointer of any form, with the comparer and run-time type of
// its exact type. Equality asks the left operand's comparer, so records of different types
// never compare equal.
//
// The four words hold the pointer as the compiler lays it out. Both builds use g++ and the
// Itanium C++ ABI: a pointer is {ptr, adj}, 16 bytes, where `ptr` is the code address, or
// 1 + the virtual-table offset of a virtual function, and `adj` the `this` adjustment.
struct VEXAPI_API PMF {
    std::uint32_t words[4];
    const PMFComparer* comparer;
    const std::type_info* type;

    template <class M>
    static PMF make(M memberPointer);

    // The member pointer back, for the caller that knows its type.
    template <class M>
    M get() const
    {
        M m;
        std::memcpy(&m, words, sizeof m);
        return m;
    }

    bool operator==(const PMF& other) const { return comparer->compare(*this, other); }
    bool operator!=(const PMF& other) const { return !(*this == other); }

    // The Itanium view of the words.
    std::intptr_t codeWord() const;
    std::intptr_t thisAdjustment() const;
    bool isVirtual() const { return (codeWord() & 1) != 0; }
    // The virtual slot index of a virtual function; -1 for a non-virtual one.
    long virtualSlot() const;
};

static_assert(sizeof(void (PMF::*)()) <= sizeof(PMF::words),
              "a member-function pointer fits the PMF words");

// The comparer of one exact member-pointer type T: equal type, then BugCmp. One shared
// instance per type, made on first use, lives until process exit.
template <class T>
class TPMFComparer : public PMFComparer {
public:
    bool compare(const PMF& left, const PMF& right) const override
    {
        return (left.type == right.type || *left.type == *right.type) && BugCmp(left, right);
    }

    static const TPMFComparer& instance()
    {
        static const TPMFComparer theInstance;
        return theInstance;
    }
};

template <class M>
PMF PMF::make(M memberPointer)
{
    static_assert(sizeof(M) <= sizeof(PMF::words), "member pointer too wide");
    PMF p;
    std::memset(p.words, 0, sizeof p.words);
    std::memcpy(p.words, &memberPointer, sizeof memberPointer);
    p.comparer = &TPMFComparer<M>::instance();
    p.type = &typeid(M);
    return p;
}

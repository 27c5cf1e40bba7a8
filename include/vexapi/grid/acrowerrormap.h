// aCRowErrorMap: the read errors of a data set's rows, kept for the view to mark them and to
// show their text, with shared error records and a bounded number of rows.
#pragma once

#include <vexapi/core/acstring.h>
#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <vector>

namespace VexAPI {

// One distinct error: server code, system code, message, and how many rows name it.
struct aCRowError {
    VLong code = 0;
    VLong sysCode = 0;
    aCString message;
    VLong refCount = 0;
};

// Invariants:
//  1. The pairs are sorted by row, one pair per row, at most `capacity` of them.
//  2. Every record's refCount is the number of pairs that name it, and is above 0.
class VEXAPI_API aCRowErrorMap {
public:
    // The pair capacity is `capacity` when it lies in 10..10000, else 1000.
    explicit aCRowErrorMap(VLong capacity = 0);
    ~aCRowErrorMap();
    aCRowErrorMap(const aCRowErrorMap&) = delete;
    aCRowErrorMap& operator=(const aCRowErrorMap&) = delete;

    // Stores the error of `row`; zero codes with an empty message clear the row. When the
    // pairs are full, the half farthest from `row` is dropped first.
    void SetRowError(VLong row, VLong code, VLong sysCode, const WChar* message);
    // The row's record, or null.
    const aCRowError* GetRowError(VLong row) const;
    void Clear();
    VLong GetCount() const { return VLong(m_pairs.size()); }
    VLong GetCapacity() const { return m_capacity; }
    VLong GetRecordCount() const;
    int checkInvariants() const;

private:
    struct Pair {
        VLong row;
        aCRowError* error;
    };
    void Release(aCRowError* error);
    aCRowError* Acquire(VLong code, VLong sysCode, const WChar* message);

    VLong m_capacity;
    std::vector<Pair> m_pairs;
    std::vector<aCRowError*> m_store; // grows by 50 from 50
};

} // namespace VexAPI

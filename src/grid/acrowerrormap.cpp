// The read errors of a data set's rows, with shared records and a bounded pair array.
#include <vexapi/grid/acrowerrormap.h>

#include <algorithm>
#include <cstdlib>

namespace VexAPI {

aCRowErrorMap::aCRowErrorMap(VLong capacity)
    : m_capacity(capacity >= 10 && capacity <= 10000 ? capacity : 1000)
{
    m_pairs.reserve(std::size_t(m_capacity));
    m_store.reserve(50);
}

aCRowErrorMap::~aCRowErrorMap() { Clear(); }

void aCRowErrorMap::Clear()
{
    for (aCRowError* e : m_store)
        delete e;
    m_store.clear();
    m_pairs.clear();
}

VLong aCRowErrorMap::GetRecordCount() const { return VLong(m_store.size()); }

aCRowError* aCRowErrorMap::Acquire(VLong code, VLong sysCode, const WChar* message)
{
    for (aCRowError* e : m_store)
        if (e->code == code && e->sysCode == sysCode && e->message == message) {
            ++e->refCount;
            return e;
        }
    if (m_store.size() == m_store.capacity())
        m_store.reserve(m_store.size() + 50);
    aCRowError* e = new aCRowError;
    e->code = code;
    e->sysCode = sysCode;
    e->message = message;
    e->refCount = 1;
    m_store.push_back(e);
    return e;
}

void aCRowErrorMap::Release(aCRowError* error)
{
    if (--error->refCount > 0)
        return;
    m_store.erase(std::find(m_store.begin(), m_store.end(), error));
    delete error;
}

void aCRowErrorMap::SetRowError(VLong row, VLong code, VLong sysCode, const WChar* message)
{
    auto less = [](const Pair& p, VLong r) { return p.row < r; };
    auto it = std::lower_bound(m_pairs.begin(), m_pairs.end(), row, less);
    const bool clear = code == 0 && sysCode == 0 && (!message || !*message);
    if (it != m_pairs.end() && it->row == row) {
        aCRowError* old = it->error;
        if (clear) {
            m_pairs.erase(it);
        } else {
            it->error = Acquire(code, sysCode, message);
        }
        Release(old);
        return;
    }
    if (clear)
        return;
    if (VLong(m_pairs.size()) >= m_capacity) {
        // Keep the half nearest to the new row.
        std::stable_sort(m_pairs.begin(), m_pairs.end(), [row](const Pair& a, const Pair& b) {
            return std::llabs((long long)a.row - row) < std::llabs((long long)b.row - row);
        });
        const std::size_t keep = m_pairs.size() / 2;
        for (std::size_t i = keep; i < m_pairs.size(); ++i)
            Release(m_pairs[i].error);
        m_pairs.resize(keep);
        std::sort(m_pairs.begin(), m_pairs.end(),
                  [](const Pair& a, const Pair& b) { return a.row < b.row; });
        it = std::lower_bound(m_pairs.begin(), m_pairs.end(), row, less);
    }
    m_pairs.insert(it, Pair{row, Acquire(code, sysCode, message)});
}

const aCRowError* aCRowErrorMap::GetRowError(VLong row) const
{
    auto it = std::lower_bound(m_pairs.begin(), m_pairs.end(), row,
                               [](const Pair& p, VLong r) { return p.row < r; });
    return it != m_pairs.end() && it->row == row ? it->error : nullptr;
}

int aCRowErrorMap::checkInvariants() const
{
    for (std::size_t i = 1; i < m_pairs.size(); ++i)
        if (m_pairs[i - 1].row >= m_pairs[i].row)
            return 1;
    if (VLong(m_pairs.size()) > m_capacity)
        return 1;
    for (const aCRowError* e : m_store) {
        VLong n = 0;
        for (const Pair& p : m_pairs)
            n += p.error == e;
        if (n != e->refCount || n <= 0)
            return 2;
    }
    return 0;
}

} // namespace VexAPI

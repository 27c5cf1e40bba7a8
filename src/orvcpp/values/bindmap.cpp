// BindMap: the ordered table of bound column and parameter numbers.
#include <vexapi/values/bindmap.h>

#include <vexapi/core/vexassert.h>

namespace OrvCPP {

BindMap::BindMap() : m_entries(16, 16) {}

BindMap::~BindMap() = default;

int BindMap::lowerBound(short n) const
{
    int lo = 0, hi = m_entries.size();
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (m_entries[mid].n < n)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

void BindMap::bind(short n, const ValueInfo& info)
{
    VEX_ASSERT(n >= 0);
    int i = lowerBound(n);
    if (i < m_entries.size() && m_entries[i].n == n) {
        m_entries[i].info = info;
        return;
    }
    Entry e;
    e.n = n;
    e.info = info;
    m_entries.insert(i, e);
}

bool BindMap::unbind(short n)
{
    int i = lowerBound(n);
    if (i < m_entries.size() && m_entries[i].n == n) {
        m_entries.remove(i);
        return true;
    }
    return false;
}

void BindMap::clear() { m_entries.clear(); }

const ValueInfo* BindMap::find(short n) const
{
    int i = lowerBound(n);
    return i < m_entries.size() && m_entries[i].n == n ? &m_entries[i].info : nullptr;
}

} // namespace OrvCPP

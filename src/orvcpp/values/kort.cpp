// KortDesc: the layout of fetch records, and the making, copying and freeing of records.
#include <vexapi/values/kort.h>

#include <climits>
#include <cstring>
#include <new>

namespace OrvCPP {

namespace {

long long roundUp8(long long n) { return (n + 7) & ~7LL; }

static_assert(sizeof(Kort) % 8 == 0, "value areas stay 8-aligned after the header");
static_assert(sizeof(OrvValue) % 8 == 0, "value areas stay 8-aligned after each flag pointer");

} // namespace

KortDesc::KortDesc() : m_flagsOffset(0), m_size(0), m_liveBlocks(0), m_initialized(false) {}

KortDesc::~KortDesc()
{
    // A record outliving its description would point at freed memory.
    VEX_ASSERT(m_liveBlocks == 0);
}

int KortDesc::add(int type, int len)
{
    VEX_ASSERT(m_liveBlocks == 0);
    int fixed = serverTypeFixedSize(type);
    Column c;
    c.type = type;
    c.len = fixed > 0 ? fixed : (len > 0 ? len : 0);
    m_initialized = false;
    return m_columns.add(c);
}

void KortDesc::clear()
{
    VEX_ASSERT(m_liveBlocks == 0);
    m_columns.clear();
    m_offsets.clear();
    m_flagsOffset = 0;
    m_size = 0;
    m_initialized = false;
}

void KortDesc::init()
{
    VEX_ASSERT(m_liveBlocks == 0);
    m_offsets.clear();
    // Sizes are kept in int; a layout past INT_MAX / 2 is refused rather than wrapped.
    long long pos = sizeof(Kort);
    for (const Column& c : m_columns) {
        m_offsets.add(int(pos));
        pos += static_cast<long long>(sizeof(OrvValue)) + roundUp8(c.len);
        VEX_ASSERT(pos < INT_MAX / 2);
        if (pos >= INT_MAX / 2)
            pos = INT_MAX / 2;
    }
    m_flagsOffset = int(pos);
    m_size = int(roundUp8(m_flagsOffset + m_columns.size()));
    m_initialized = true;
}

int KortDesc::type(int i) const
{
    return i >= 0 && i < m_columns.size() ? m_columns[i].type : 0;
}

int KortDesc::len(int i) const
{
    return i >= 0 && i < m_columns.size() ? m_columns[i].len : -1;
}

int KortDesc::nullFlagsOffset() const
{
    VEX_ASSERT(m_initialized);
    return m_flagsOffset;
}

int KortDesc::sizeOf() const
{
    VEX_ASSERT(m_initialized);
    return m_size;
}

int KortDesc::recordsPer4K() const
{
    VEX_ASSERT(m_initialized);
    return m_size > 0 ? 4096 / m_size : 0;
}

Kort* KortDesc::allocate(int n)
{
    VEX_ASSERT(m_initialized);
    if (!m_initialized || n <= 0)
        return nullptr;
    VEX_ASSERT(n <= INT_MAX / m_size);
    if (n > INT_MAX / m_size)
        return nullptr;
    const std::size_t bytes = std::size_t(n) * std::size_t(m_size);
    // operator new aligns to at least 8 (16 on both builds): invariant 1.
    char* block = static_cast<char*>(::operator new(bytes));
    std::memset(block, 0, bytes);
    const int cols = m_columns.size();
    for (int r = 0; r < n; ++r) {
        char* rec = block + std::size_t(r) * std::size_t(m_size);
        new (rec) Kort(this);
        for (int i = 0; i < cols; ++i)
            new (rec + m_offsets[i]) OrvValue{rec + m_flagsOffset + i};
    }
    ++m_liveBlocks;
    return reinterpret_cast<Kort*>(block);
}

void KortDesc::release(Kort* block)
{
    if (!block)
        return;
    VEX_ASSERT(block->m_desc == this);
    if (block->m_desc != this)
        return; // freeing it here would unbalance both descriptions' counts
    VEX_ASSERT(m_liveBlocks > 0);
    --m_liveBlocks;
    ::operator delete(static_cast<void*>(block));
}

Kort* KortDesc::newKort() { return allocate(1); }

void KortDesc::deleteKort(Kort* kort) { release(kort); }

Kort* KortDesc::newKortArray(int n) { return allocate(n); }

void KortDesc::deleteKortArray(Kort* array) { release(array); }

Kort& KortDesc::arrayElem(Kort* array, int i) const
{
    VEX_ASSERT(m_initialized && array && i >= 0);
    return *reinterpret_cast<Kort*>(reinterpret_cast<char*>(array) +
                                    std::size_t(i) * std::size_t(m_size));
}

void KortDesc::copy(Kort& dst, const Kort& src) const
{
    VEX_ASSERT(dst.m_desc == this && src.m_desc == this);
    if (&dst == &src)
        return;
    char* d = reinterpret_cast<char*>(&dst);
    const char* s = reinterpret_cast<const char*>(&src);
    const int cols = m_columns.size();
    for (int i = 0; i < cols; ++i) {
        const std::size_t area = std::size_t(m_offsets[i]) + sizeof(OrvValue);
        std::memcpy(d + area, s + area, std::size_t(roundUp8(m_columns[i].len)));
    }
    std::memcpy(d + m_flagsOffset, s + m_flagsOffset, std::size_t(cols));
}

} // namespace OrvCPP

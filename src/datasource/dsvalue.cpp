// DSBlob's block management and DynValueBase's growth.
#include <vexapi/datasource/dsvalue.h>

#include <cstdlib>
#include <new>

namespace DataSourceAPI {

namespace {

void* allocBlock(VLong size)
{
    // malloc(0) may answer null; a zero-size block is a valid empty value, so ask for one byte.
    void* p = std::malloc(size > 0 ? std::size_t(size) : 1);
    if (!p)
        throw std::bad_alloc();
    return p;
}

} // namespace

void DSBlob::set(void* data, VLong size)
{
    if (m_own)
        std::free(m_data);
    m_data = data;
    m_size = size;
    m_own = false;
}

void DSBlob::alloc(VLong size)
{
    if (m_own)
        std::free(m_data);
    m_data = nullptr;
    m_size = 0;
    m_own = false;
    m_data = allocBlock(size);
    m_size = size < 0 ? 0 : size;
    m_own = true;
}

void DSBlob::realloc(VLong n)
{
    if (!m_own)
        return;
    if (n > m_size) {
        void* block = allocBlock(n);
        if (m_size > 0)
            std::memcpy(block, m_data, std::size_t(m_size));
        std::free(m_data);
        m_data = block;
    }
    m_size = n < 0 ? 0 : n;
}

void DSBlob::clear()
{
    if (m_own)
        std::free(m_data);
    m_data = nullptr;
    m_size = 0;
}

namespace DataRepresentationWithNulls {

DynValueBase::~DynValueBase()
{
    std::free(m_heap);
}

bool DynValueBase::alloc(int n)
{
    if (n <= m_capacity)
        return false;
    void* block = std::malloc(std::size_t(n));
    if (!block)
        throw std::bad_alloc();
    std::free(m_heap);
    m_heap = block;
    m_capacity = n;
    return true;
}

void DynValueBase::assign(const DynValueBase& other)
{
    alloc(other.m_capacity);
    std::memcpy(data(), other.data(), std::size_t(other.m_capacity));
    isNull = other.isNull;
    realLen = other.realLen;
}

} // namespace DataRepresentationWithNulls
} // namespace DataSourceAPI

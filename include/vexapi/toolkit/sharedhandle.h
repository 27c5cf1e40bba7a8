// SharedHandle: the counted platform handle behind the drawing value classes.
#pragma once

#include <vexapi/core/api.h>

namespace VexAPI {
namespace detail {

// One platform object and the number of value objects that share it. The last release
// deletes the object when `owned` (stock objects are not).
struct SharedHandleBlock {
    void* handle = nullptr;
    int refs = 1;
    bool owned = true;
};

VEXAPI_API SharedHandleBlock* newSharedHandle(void* handle, bool owned);
VEXAPI_API void releaseSharedHandle(SharedHandleBlock* block);

// A counted reference: copying is one increment, the last destruction deletes.
class SharedHandle {
public:
    SharedHandle() = default;
    SharedHandle(void* handle, bool owned)
        : m_block(handle ? newSharedHandle(handle, owned) : nullptr) {}
    SharedHandle(const SharedHandle& o) : m_block(o.m_block) { if (m_block) ++m_block->refs; }
    SharedHandle(SharedHandle&& o) noexcept : m_block(o.m_block) { o.m_block = nullptr; }
    SharedHandle& operator=(const SharedHandle& o)
    {
        if (o.m_block)
            ++o.m_block->refs;
        reset();
        m_block = o.m_block;
        return *this;
    }
    SharedHandle& operator=(SharedHandle&& o) noexcept
    {
        if (this != &o) {
            reset();
            m_block = o.m_block;
            o.m_block = nullptr;
        }
        return *this;
    }
    ~SharedHandle() { reset(); }

    void reset()
    {
        if (m_block)
            releaseSharedHandle(m_block);
        m_block = nullptr;
    }
    void* get() const { return m_block ? m_block->handle : nullptr; }
    int useCount() const { return m_block ? m_block->refs : 0; }
    bool owned() const { return m_block && m_block->owned; }

private:
    SharedHandleBlock* m_block = nullptr;
};

} // namespace detail
} // namespace VexAPI

// The growable pointer arrays of the grid model.
#include <vexapi/grid/acarrays.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace VexAPI {
namespace detail {

PtrArrayImpl::~PtrArrayImpl() { std::free(m_data); }

bool PtrArrayImpl::Reserve(VLong n)
{
    if (n <= m_capacity)
        return true;
    VLong step = m_growBy;
    if (step <= 0)
        step = std::min<VLong>(1024, std::max<VLong>(4, m_size / 8));
    const VLong capacity = std::max(n, m_capacity + step);
    void** data = static_cast<void**>(std::realloc(m_data, std::size_t(capacity) * sizeof(void*)));
    if (!data)
        throw std::bad_alloc();
    std::memset(data + m_capacity, 0, std::size_t(capacity - m_capacity) * sizeof(void*));
    m_data = data;
    m_capacity = capacity;
    return true;
}

bool PtrArrayImpl::SetSize(VLong n, VLong growBy)
{
    if (growBy != -1)
        m_growBy = growBy;
    if (n < 0)
        return false;
    if (n == 0) {
        std::free(m_data);
        m_data = nullptr;
        m_size = m_capacity = 0;
        return true;
    }
    if (n > m_capacity)
        Reserve(n);
    else if (n < m_size)
        std::memset(m_data + n, 0, std::size_t(m_size - n) * sizeof(void*));
    m_size = n;
    return true;
}

bool PtrArrayImpl::SetAt(VLong i, void* e)
{
    if (i < 0 || i >= m_size)
        return false;
    m_data[i] = e;
    return true;
}

bool PtrArrayImpl::SetAtGrow(VLong i, void* e)
{
    if (i < 0)
        return false;
    if (i >= m_size)
        SetSize(i + 1);
    m_data[i] = e;
    return true;
}

VLong PtrArrayImpl::Add(void* e)
{
    SetAtGrow(m_size, e);
    return m_size - 1;
}

bool PtrArrayImpl::InsertAt(VLong i, void* e, VLong count)
{
    if (i < 0 || count < 1)
        return false;
    if (i >= m_size) {
        SetSize(i + count);
    } else {
        const VLong old = m_size;
        SetSize(m_size + count);
        std::memmove(m_data + i + count, m_data + i, std::size_t(old - i) * sizeof(void*));
    }
    for (VLong k = 0; k < count; ++k)
        m_data[i + k] = e;
    return true;
}

bool PtrArrayImpl::RemoveAt(VLong i, VLong count)
{
    if (i < 0 || i >= m_size || count < 1)
        return false;
    count = std::min(count, m_size - i);
    std::memmove(m_data + i, m_data + i + count, std::size_t(m_size - i - count) * sizeof(void*));
    std::memset(m_data + m_size - count, 0, std::size_t(count) * sizeof(void*));
    m_size -= count;
    return true;
}

void PtrArrayImpl::FreeExtra()
{
    if (m_size == m_capacity)
        return;
    if (m_size == 0) {
        SetSize(0);
        return;
    }
    void** data = static_cast<void**>(std::realloc(m_data, std::size_t(m_size) * sizeof(void*)));
    if (data) {
        m_data = data;
        m_capacity = m_size;
    }
}

int PtrArrayImpl::checkInvariants() const
{
    if (m_size < 0 || m_size > m_capacity || (m_data == nullptr) != (m_capacity == 0))
        return 1;
    for (VLong i = m_size; i < m_capacity; ++i)
        if (m_data[i])
            return 2;
    return 0;
}

} // namespace detail

void DeleteAllElements(aCObjectArray* array, VLong keep)
{
    if (!array)
        return;
    keep = std::max<VLong>(0, keep);
    for (VLong i = array->GetSize() - 1; i >= keep; --i) {
        Object* e = array->GetAt(i);
        array->SetAt(i, nullptr);
        delete e;
    }
    if (keep < array->GetSize())
        array->SetSize(keep);
}

void FreeAllElements(aCPointerArray* array, VLong keep)
{
    if (!array)
        return;
    keep = std::max<VLong>(0, keep);
    for (VLong i = array->GetSize() - 1; i >= keep; --i) {
        std::free(array->GetAt(i));
        array->SetAt(i, nullptr);
    }
    if (keep < array->GetSize())
        array->SetSize(keep);
}

} // namespace VexAPI

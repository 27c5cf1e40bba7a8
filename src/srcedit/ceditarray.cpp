// CEditArray: growth, element copies and the shared buffer of shallow copies.
#include <vexapi/srcedit/ceditarray.h>

#include <cstdlib>
#include <cstring>

namespace {

// The buffer starts with this header; elements follow at a 16-byte boundary, so that
// any element type of the editor is aligned.
struct BufferHeader {
    int shares;
};
const int headerSize = 16;
static_assert(sizeof(BufferHeader) <= headerSize, "the header fits its room");

BufferHeader* headerOf(unsigned char* data)
{
    return reinterpret_cast<BufferHeader*>(data - headerSize);
}

unsigned char* allocateBuffer(int bytes)
{
    unsigned char* raw = static_cast<unsigned char*>(std::malloc(std::size_t(headerSize + bytes)));
    if (!raw)
        return nullptr;
    reinterpret_cast<BufferHeader*>(raw)->shares = 1;
    return raw + headerSize;
}

} // namespace

CEditArray::CEditArray(int elementSize_, int growStep_)
    : elementSize(elementSize_ > 0 ? elementSize_ : 1),
      growStep(growStep_ > 0 ? growStep_ : 1),
      count(0),
      capacity(growStep),
      data(allocateBuffer(capacity * elementSize))
{
    if (!data)
        capacity = 0;
}

CEditArray::CEditArray(const CEditArray& other)
    : elementSize(other.elementSize),
      growStep(other.growStep),
      count(other.count),
      capacity(other.capacity),
      data(other.data)
{
    if (data)
        ++headerOf(data)->shares;
}

CEditArray& CEditArray::operator=(const CEditArray& other)
{
    if (this == &other || data == other.data) {
        elementSize = other.elementSize;
        growStep = other.growStep;
        count = other.count;
        capacity = other.capacity;
        return *this;
    }
    release();
    elementSize = other.elementSize;
    growStep = other.growStep;
    count = other.count;
    capacity = other.capacity;
    data = other.data;
    if (data)
        ++headerOf(data)->shares;
    return *this;
}

CEditArray::~CEditArray()
{
    release();
}

void CEditArray::release()
{
    if (data && --headerOf(data)->shares == 0)
        std::free(data - headerSize);
    data = nullptr;
}

int CEditArray::ShareCount() const
{
    return data ? headerOf(data)->shares : 0;
}

bool CEditArray::reserveFor(int needed)
{
    if (needed <= capacity && data)
        return true;
    int steps = (needed - capacity + growStep - 1) / growStep;
    if (steps < 1)
        steps = 1;
    int newCapacity = capacity + steps * growStep;
    std::size_t bytes = std::size_t(headerSize) + std::size_t(newCapacity) * std::size_t(elementSize);
    if (data && headerOf(data)->shares > 1) {
        // A shared buffer stays with the other arrays: this one takes its own copy.
        unsigned char* own = allocateBuffer(newCapacity * elementSize);
        if (!own)
            return false;
        std::memcpy(own, data, std::size_t(count) * std::size_t(elementSize));
        --headerOf(data)->shares;
        data = own;
    } else {
        unsigned char* raw = static_cast<unsigned char*>(
            std::realloc(data ? data - headerSize : nullptr, bytes));
        if (!raw)
            return false;
        if (!data)
            reinterpret_cast<BufferHeader*>(raw)->shares = 1;
        data = raw + headerSize;
    }
    capacity = newCapacity;
    return true;
}

bool CEditArray::GrowUp()
{
    return reserveFor(capacity + 1);
}

int CEditArray::AddElement(const void* item)
{
    // Growth comes one element early: the array keeps one free place.
    if (count + 1 >= capacity && !GrowUp())
        return 0;
    std::memcpy(GetElement(count), item, std::size_t(elementSize));
    return ++count;
}

bool CEditArray::UpdElement(const void* item, int i)
{
    if (i < 0 || i >= count)
        return false;
    std::memcpy(GetElement(i), item, std::size_t(elementSize));
    return true;
}

bool CEditArray::InsElement(const void* item, int i)
{
    if (i < 0 || i > count)
        return false;
    if (count + 1 >= capacity && !GrowUp())
        return false;
    std::memmove(GetElement(i + 1), GetElement(i), std::size_t(count - i) * std::size_t(elementSize));
    std::memcpy(GetElement(i), item, std::size_t(elementSize));
    ++count;
    return true;
}

bool CEditArray::DelElement(int i)
{
    // Callers rely on the answer being true; an index out of range changes nothing.
    if (i < 0 || i >= count)
        return true;
    std::memmove(GetElement(i), GetElement(i + 1), std::size_t(count - i - 1) * std::size_t(elementSize));
    --count;
    return true;
}

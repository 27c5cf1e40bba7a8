// CPairedIntArray: pairs of ints stored two to an element.
#include <vexapi/srcedit/cpairedintarray.h>

#include <cstring>

namespace {
struct Pair {
    int open;
    int close;
};
static_assert(sizeof(Pair) == 8, "a pair is two 32-bit ints");
} // namespace

CPairedIntArray::CPairedIntArray() : CEditArray(int(sizeof(Pair)), 10) {}

int CPairedIntArray::AddPair(int open, int close)
{
    Pair pair = {open, close};
    return AddElement(&pair);
}

int CPairedIntArray::Open(int i) const
{
    if (i < 0 || i >= count)
        return 0;
    Pair pair;
    std::memcpy(&pair, GetElement(i), sizeof pair);
    return pair.open;
}

int CPairedIntArray::Close(int i) const
{
    if (i < 0 || i >= count)
        return 0;
    Pair pair;
    std::memcpy(&pair, GetElement(i), sizeof pair);
    return pair.close;
}

bool CPairedIntArray::DeleteAll()
{
    if (count == 0)
        return false;
    Clear();
    return true;
}

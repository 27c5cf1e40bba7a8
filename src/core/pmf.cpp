// PMF comparison by virtual slot.
#include <vexapi/core/pmf.h>

#include <vexapi/core/vexassert.h>

#include <cstddef>

PMFComparer::~PMFComparer() = default;

std::intptr_t PMF::codeWord() const
{
    std::intptr_t v;
    std::memcpy(&v, words, sizeof v);
    return v;
}

std::intptr_t PMF::thisAdjustment() const
{
    std::intptr_t v;
    std::memcpy(&v, reinterpret_cast<const char*>(words) + sizeof(std::intptr_t), sizeof v);
    return v;
}

long PMF::virtualSlot() const
{
    if (!isVirtual())
        return -1;
    return long((codeWord() - 1) / std::intptr_t(sizeof(void*)));
}

bool BugCmp(const PMF& left, const PMF& right)
{
    // l: the left operand as code word, `this` displacement and the two words of the
    // virtual-inheritance form. The Itanium ABI has no virtual-inheritance words (a pointer
    // into a virtual base cannot be formed), so they are 0; a displacement means a pointer
    // converted from a base at an offset. Only the left operand is checked: callers rely
    // on that asymmetry, as the stored entry is always on the left.
    const std::intptr_t l[4] = {left.codeWord(), left.thisAdjustment(), 0, 0};
    // The report names the unit and line that applications know this check by.
    if (!(!l[1] && !l[2] && !l[3]))
        VexAPI::assertFailed("!l[1] && !l[2] && !l[3]", "pmf", 47);

    // Itanium pointers state the slot directly, so one virtual function compares equal
    // wherever its pointer was taken; two different slots never do.
    if (left.isVirtual() != right.isVirtual())
        return false;
    if (left.thisAdjustment() != right.thisAdjustment())
        return false;
    return left.codeWord() == right.codeWord();
}

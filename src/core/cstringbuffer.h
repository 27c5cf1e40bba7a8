// The one implementation of aCString and xCString: the exact-size calloc/realloc/free block
// handling (free functions) and every member that does not depend on the unit's width
// (CStringOps, instantiated for both classes). Internal to the library.
#pragma once

#include <vexapi/core/types.h>
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace VexAPI {
namespace detail {

// The longest text a string holds: its length must fit the unsigned 32-bit `length`, and
// the block's byte size a size_t, with room for the terminator.
const size_t kMaxLength = 0x7FFFFFFE;

// Units before the terminator; 0 for null.
inline size_t textLength(const char* s) { return s ? std::strlen(s) : 0; }
inline size_t textLength(const WChar* s) { return static_cast<size_t>(wstrlen(s)); }

// Frees the block: the string is empty.
template <class Ch>
void clear(Ch*& data, VULong& length)
{
    std::free(data);
    data = nullptr;
    length = 0;
}

// A new zeroed block of `n` units, or null.
template <class Ch>
Ch* allocate(size_t n)
{
    return n == 0 || n > kMaxLength + 1 ? nullptr : static_cast<Ch*>(std::calloc(n, sizeof(Ch)));
}

// Replaces the text by `n` units of `src` and a terminator. `src` may point into the old
// block. Gives false on a memory failure, leaving the string as it was.
template <class Ch>
bool assign(Ch*& data, VULong& length, const Ch* src, size_t n)
{
    if (!src || n == 0) {
        clear(data, length);
        return true;
    }
    Ch* block = allocate<Ch>(n + 1);
    if (!block)
        return false;
    std::memcpy(block, src, n * sizeof(Ch));
    std::free(data);
    data = block;
    length = static_cast<VULong>(n);
    return true;
}

// Appends `n` units of `src`, which may point into the string's own block. Gives false
// on a memory failure, leaving the string as it was.
template <class Ch>
bool append(Ch*& data, VULong& length, const Ch* src, size_t n)
{
    if (!src || n == 0)
        return true;
    if (n > kMaxLength - length)
        return false;
    // realloc may move the block: a source inside it is found again by its offset.
    const bool inside = data && src >= data && src <= data + length;
    const size_t offset = inside ? static_cast<size_t>(src - data) : 0;
    Ch* block = static_cast<Ch*>(std::realloc(data, (length + n + 1) * sizeof(Ch)));
    if (!block)
        return false;
    data = block;
    if (inside)
        src = data + offset;
    std::memmove(data + length, src, n * sizeof(Ch));
    length += static_cast<VULong>(n);
    data[length] = 0;
    return true;
}

// The buffer a caller writes into: exactly `n` units, `length` becomes `n`. A new block is
// zeroed; a grown one has its new part zeroed; a shrunk one has its last unit zeroed. Gives
// null, the string unchanged, on a memory failure; n <= 0 empties the string and gives null.
template <class Ch>
Ch* getBuffer(Ch*& data, VULong& length, int n)
{
    if (n <= 0) {
        clear(data, length);
        return nullptr;
    }
    const size_t want = static_cast<size_t>(n);
    if (!data) {
        Ch* block = allocate<Ch>(want);
        if (!block)
            return nullptr;
        data = block;
        length = static_cast<VULong>(want);
        return data;
    }
    Ch* block = static_cast<Ch*>(std::realloc(data, want * sizeof(Ch)));
    if (!block)
        return nullptr;
    data = block;
    if (want > length)
        std::memset(data + length, 0, (want - length) * sizeof(Ch));
    else if (want < length)
        data[want - 1] = 0;
    length = static_cast<VULong>(want);
    return data;
}

// Ends the buffer state: the text is `n` units long (n == -1: up to the first zero of the
// buffer, or the whole buffer), in a block of n + 1 units that is terminated. A count past
// the buffer is cut to the buffer, so the block is never read beyond its end.
template <class Ch>
void releaseBuffer(Ch*& data, VULong& length, int n)
{
    if (!data) {
        length = 0;
        return;
    }
    size_t text;
    if (n < 0) {
        text = 0;
        while (text < length && data[text])
            ++text;
    } else {
        text = static_cast<size_t>(n) < length ? static_cast<size_t>(n) : length;
    }
    if (text == 0) {
        clear(data, length);
        return;
    }
    Ch* block = static_cast<Ch*>(std::realloc(data, (text + 1) * sizeof(Ch)));
    if (!block) {
        // Growing by one unit failed (text == length): keep the text, one unit shorter,
        // rather than leave it without a terminator.
        if (text == length)
            --text;
        block = data;
    }
    data = block;
    data[text] = 0;
    length = static_cast<VULong>(text);
}

// Drops leading and trailing units for which `isBlank` holds; the text moves down.
template <class Ch, class Pred>
void trim(Ch*& data, VULong& length, bool left, bool right, Pred isBlank)
{
    if (!data)
        return;
    size_t first = 0, last = length;
    if (left)
        while (first < last && isBlank(data[first]))
            ++first;
    if (right)
        while (last > first && isBlank(data[last - 1]))
            --last;
    if (first == 0 && last == length)
        return;
    if (first == last) {
        clear(data, length);
        return;
    }
    std::memmove(data, data + first, (last - first) * sizeof(Ch));
    const size_t n = last - first;
    data[n] = 0;
    // Shrinking cannot fail in practice; if it does, the larger block still holds the text.
    if (Ch* block = static_cast<Ch*>(std::realloc(data, (n + 1) * sizeof(Ch))))
        data = block;
    length = static_cast<VULong>(n);
}

// The start of the first occurrence of `needle` (n units) at or after `from`, or -1.
template <class Ch>
int find(const Ch* data, VULong length, const Ch* needle, size_t n, int from)
{
    if (from < 0)
        from = 0;
    if (!needle || n == 0)
        return static_cast<size_t>(from) <= length ? from : -1;
    if (!data || n > length)
        return -1;
    for (size_t i = static_cast<size_t>(from); i + n <= length; ++i)
        if (std::memcmp(data + i, needle, n * sizeof(Ch)) == 0)
            return static_cast<int>(i);
    return -1;
}

// Replaces every occurrence of `from` (a non-empty text) by `to`, left to right, without
// rescanning replaced text. Gives the number of replacements; on a memory failure nothing
// is replaced and the result is 0.
template <class Ch>
int replace(Ch*& data, VULong& length, const Ch* from, size_t fromLen, const Ch* to,
            size_t toLen)
{
    if (!data || !from || fromLen == 0)
        return 0;
    int count = 0;
    for (int at = find(data, length, from, fromLen, 0); at >= 0;
         at = find(data, length, from, fromLen, at + static_cast<int>(fromLen)))
        ++count;
    if (count == 0)
        return 0;
    const size_t newLength = length - count * fromLen + count * toLen;
    if (newLength == 0) {
        clear(data, length);
        return count;
    }
    if (newLength > kMaxLength)
        return 0;
    Ch* block = allocate<Ch>(newLength + 1);
    if (!block)
        return 0;
    size_t in = 0, out = 0;
    for (int at = find(data, length, from, fromLen, 0); at >= 0;
         at = find(data, length, from, fromLen, at + static_cast<int>(fromLen))) {
        const size_t pos = static_cast<size_t>(at);
        std::memcpy(block + out, data + in, (pos - in) * sizeof(Ch));
        out += pos - in;
        if (toLen)
            std::memcpy(block + out, to, toLen * sizeof(Ch));
        out += toLen;
        in = pos + fromLen;
    }
    std::memcpy(block + out, data + in, (length - in) * sizeof(Ch));
    std::free(data);
    data = block;
    length = static_cast<VULong>(newLength);
    return count;
}

// Equality of a string's units with `n` units of `text`.
template <class Ch>
bool equals(const Ch* data, VULong length, const Ch* text, size_t n)
{
    if (length != n)
        return false;
    return n == 0 || std::memcmp(data, text, n * sizeof(Ch)) == 0;
}

// The members of a string class S (aCString or xCString) whose logic is the same for both
// widths: S holds its text as the public `data` (Ch*) and `length`, and has a constructor
// from a counted text. Blank tells the units that trimming drops. The classes' members
// forward here, so the rules documented in acstring.h hold for both by construction.
template <class S, class Ch, bool (*Blank)(Ch)>
struct CStringOps {
    static constexpr Ch kEmpty[1] = {0};

    static void assignCounted(S& s, const Ch* text, int n)
    {
        if (n > 0)
            assign(s.data, s.length, text, static_cast<size_t>(n));
    }
    static void assignText(S& s, const Ch* text) { assign(s.data, s.length, text, textLength(text)); }
    static void assignString(S& s, const S& other)
    {
        if (&s != &other)
            assign<Ch>(s.data, s.length, other.data, other.length);
    }
    // Takes `other`'s block; `other` is left empty.
    static void take(S& s, S& other) noexcept
    {
        if (&s == &other)
            return;
        std::free(s.data);
        s.data = other.data;
        s.length = other.length;
        other.data = nullptr;
        other.length = 0;
    }

    static void appendText(S& s, const Ch* text) { append(s.data, s.length, text, textLength(text)); }
    static void appendString(S& s, const S& other)
    {
        append<Ch>(s.data, s.length, other.data, other.length);
    }

    static bool equalsText(const S& s, const Ch* text)
    {
        return equals(s.data, s.length, text, textLength(text));
    }
    static bool equalsString(const S& s, const S& other)
    {
        return equals<Ch>(s.data, s.length, other.data, other.length);
    }

    // The local `length` keeps the assertions' text what the classes have always reported.
    static Ch at(const S& s, int i)
    {
        const VULong length = s.length;
        VEX_ASSERT(i >= 0 && static_cast<VULong>(i) <= length);
        if (i < 0 || static_cast<VULong>(i) >= length)
            return 0;
        return s.data[i];
    }
    static void setAt(S& s, int i, Ch c)
    {
        const VULong length = s.length;
        VEX_ASSERT(i >= 0 && static_cast<VULong>(i) < length);
        if (i >= 0 && static_cast<VULong>(i) < length)
            s.data[i] = c;
    }
    static const Ch* text(const S& s) { return s.data ? s.data : kEmpty; }

    static S mid(const S& s, int first)
    {
        if (first < 0)
            first = 0;
        if (static_cast<VULong>(first) >= s.length)
            return S();
        return S(s.data + first, static_cast<int>(s.length) - first);
    }
    static S mid(const S& s, int first, int count)
    {
        if (first < 1 || count < 1 || static_cast<VULong>(first) >= s.length)
            return S();
        const VULong rest = s.length - static_cast<VULong>(first);
        return S(s.data + first, static_cast<VULong>(count) < rest ? count : static_cast<int>(rest));
    }
    static S left(const S& s, int count)
    {
        if (count <= 0)
            return S();
        return S(s.data, static_cast<VULong>(count) < s.length ? count : static_cast<int>(s.length));
    }
    static S right(const S& s, int count)
    {
        if (count <= 0)
            return S();
        if (static_cast<VULong>(count) >= s.length)
            return s;
        return S(s.data + (s.length - static_cast<VULong>(count)), count);
    }

    static int findUnit(const S& s, Ch c, int start) { return find(s.data, s.length, &c, 1, start); }
    static int findText(const S& s, const Ch* text, int start)
    {
        return find(s.data, s.length, text, textLength(text), start);
    }
    static int reverseFind(const S& s, Ch c)
    {
        for (VULong i = s.length; i > 0; --i)
            if (s.data[i - 1] == c)
                return static_cast<int>(i - 1);
        return -1;
    }
    static int replaceText(S& s, const Ch* from, const Ch* to)
    {
        return replace(s.data, s.length, from, textLength(from), to, textLength(to));
    }

    static S& trimmed(S& s, bool left, bool right)
    {
        trim(s.data, s.length, left, right, Blank);
        return s;
    }

    // Format's ending: `block` (from allocate, `size` units) holds the formatted text,
    // which ends at its first zero unit; it replaces the string's block.
    static void adoptFormatted(S& s, Ch* block, int size)
    {
        std::free(s.data);
        s.data = block;
        s.length = static_cast<VULong>(size);
        releaseBuffer(s.data, s.length, -1);
    }

    static S concat(const S& a, const S& b)
    {
        S sum(a);
        sum += b;
        return sum;
    }
};

} // namespace detail
} // namespace VexAPI

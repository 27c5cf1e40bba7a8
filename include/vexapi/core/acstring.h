// aCString: the small owning 16-bit string of the grid and the shell, with its buffer
// protocol (GetBuffer / ReleaseBuffer), Mid, trimming and Format.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace VexAPI {

// A 16-bit text in one exactly sized heap block.
//
// Ownership: each object owns `data` alone; a copy copies the text (no sharing, no copy on
// write). The block comes from calloc/realloc and goes back with free.
//
// Invariants:
//  1. `data` is null exactly when `length` is 0: the empty string holds no block.
//  2. Normally the block holds `length` + 1 units and data[length] is 0; there is no
//     capacity beyond that, so every change of the text resizes the block.
//  3. Between GetBuffer(n) and ReleaseBuffer the block holds exactly `length` (== n) units,
//     and the terminator is the caller's business; ReleaseBuffer restores rule 2. Members
//     work on `length` units and never look for a terminator, so they are safe in either
//     state.
//  4. A memory failure in a constructor leaves the empty string; in any other member it
//     leaves the string as it was.
class VEXAPI_API aCString {
public:
    // Format's buffer, in units with the terminator: longer results are cut and asserted on.
    static constexpr int MAX_FORMAT_BUFFER = 0x20000;

    aCString();
    // `n` units of `text` (zeros among them are kept), in a zeroed block of n + 1 units.
    aCString(const WChar* text, int n);
    aCString(const WChar* text);
    aCString(const aCString& other);
    aCString(aCString&& other) noexcept;
    // Platform 8-bit text, converted from getStdCharset() (UTF-8 when the conversions do
    // not know the locale's charset).
    aCString(const char* text);
    ~aCString();

    aCString& operator=(const aCString& other);
    aCString& operator=(aCString&& other) noexcept;
    aCString& operator=(const WChar* text);
    aCString& operator=(const char* text);

    aCString& operator+=(const aCString& other);
    aCString& operator+=(const WChar* text);
    aCString& operator+=(const char* text);

    // Same units in the same number; null text equals the empty string.
    bool operator==(const aCString& other) const;
    bool operator==(const WChar* text) const;
    bool operator!=(const aCString& other) const { return !(*this == other); }
    bool operator!=(const WChar* text) const { return !(*this == text); }

    // The unit at `i`; i == GetLength() gives 0. Out of range asserts and gives 0.
    WChar operator[](int i) const;
    // The text, never null: the empty string gives an empty text, not the null `data`.
    operator const WChar*() const { return GetData(); }
    const WChar* GetData() const;
    int GetLength() const { return static_cast<int>(length); }
    bool IsEmpty() const { return length == 0; }
    void Empty();

    // A buffer of exactly `n` units for the caller to fill (see invariant 3): a new one is
    // zeroed, a grown one has its new part zeroed, a shrunk one its last unit. `length`
    // becomes n. n <= 0 empties the string and gives null; so does a memory failure, which
    // leaves the string as it was.
    WChar* GetBuffer(int n);
    WChar* GetBufferSetLength(int n) { return GetBuffer(n); }
    // The text is the first `n` units of the buffer; n == -1 takes up to the first zero
    // unit (or the whole buffer). The block shrinks to n + 1 units and is terminated. A
    // count past the buffer is cut to it.
    void ReleaseBuffer(int n = -1);
    // Sets the unit at `i` (0 <= i < GetLength(), else asserts and does nothing).
    void SetAt(int i, WChar c);

    // The text from `first` on; empty when `first` is not below the length. A negative
    // `first` counts as 0.
    aCString Mid(int first) const;
    // `count` units from `first`, cut at the end of the text. Needs first >= 1, count >= 1
    // and first below the length, else the result is empty: Mid(0, n) is empty on purpose,
    // callers are written to it.
    aCString Mid(int first, int count) const;
    // The first / last `count` units (all of them when count exceeds the length; none for
    // count <= 0).
    aCString Left(int count) const;
    aCString Right(int count) const;

    // The index of the first occurrence at or after `start`, or -1. An empty text is found
    // at `start` when start <= GetLength().
    int Find(WChar c, int start = 0) const;
    int Find(const WChar* text, int start = 0) const;
    // The index of the last occurrence of `c`, or -1.
    int ReverseFind(WChar c) const;
    // Replaces every occurrence of `from` by `to` (null is empty), left to right; gives the
    // count. An empty `from` replaces nothing.
    int Replace(const WChar* from, const WChar* to);

    // Drop leading and/or trailing white space (blank, tab, line breaks, vertical tab, form
    // feed, no-break space).
    aCString& Trim();
    aCString& TrimLeft();
    aCString& TrimRight();

    // Formats with wvsnprintf (see wformat.h for what it supports). A result that needs
    // more than MAX_FORMAT_BUFFER units with its terminator asserts
    // "cnt <= MAX_FORMAT_BUFFER" and is cut to fit. The arguments may point into this
    // string's own text.
    void Format(const WChar* format, ...);

    // The 8-bit code-page conversions of xCString; 16-bit text has no code page to change,
    // so here they do nothing at all.
    void CharToOemA() {}
    void OemToCharA() {}
    void OemToKoi() {}
    void KoiToOem() {}
    void AnsiToKoi() {}
    void KoiToAnsi() {}

    // The text's block (null when empty) and its length in units; see the invariants.
    WChar* data;
    VULong length;
};

VEXAPI_API aCString operator+(const aCString& a, const aCString& b);

inline bool operator==(const WChar* text, const aCString& s) { return s == text; }
inline bool operator!=(const WChar* text, const aCString& s) { return s != text; }

} // namespace VexAPI

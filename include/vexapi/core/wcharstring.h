// WCharString: the library's counted 16-bit string with value semantics.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wstring.h>

#include <string>

// A 16-bit text that owns its buffer and knows its length, for members and results where a
// raw WChar* would leave ownership open.
//
// Ownership: every object owns its own buffer. Copies are deep and independent: there is no
// shared, counted buffer behind the value, so two objects never touch common state and the
// class is thread-compatible in the way std::string is (distinct objects may be used from
// distinct threads; one object needs outside locking).
//
// Invariants:
//  1. constData() is never null, and constData()[length()] == 0.
//  2. length() counts the units held. A string made from a pointer and a length keeps
//     exactly that many units, zeros among them included; one made from a terminated text
//     stops at its terminator.
//  3. Only allocation throws (std::bad_alloc), and an operation that throws leaves the
//     object as it was.
class VEXAPI_API WCharString {
public:
    WCharString();
    WCharString(const WCharString& other);
    WCharString(WCharString&& other) noexcept;
    // `length` units of `text`; a negative length reads to the terminator. Null is empty.
    WCharString(const WChar* text, int length);
    // A terminated text; null is empty. Implicit, so text literals compare and append.
    WCharString(const WChar* text);
    ~WCharString();

    WCharString& operator=(const WCharString& other);
    WCharString& operator=(WCharString&& other) noexcept;
    WCharString& operator=(const WChar* text);
    WCharString& assign(const WChar* text, int length);

    WCharString& operator+=(const WCharString& other);
    WCharString& operator+=(const WChar* text);
    WCharString& operator+=(WChar c);

    // Equal texts: the same units in the same number. Null text equals the empty string.
    bool operator==(const WCharString& other) const;
    bool operator==(const WChar* text) const;
    bool operator!=(const WCharString& other) const { return !(*this == other); }
    bool operator!=(const WChar* text) const { return !(*this == text); }

    // The units, terminated. Through the non-const data() a caller may change the units in
    // [0, length()), never the terminator; the pointer lives until the next change of length.
    WChar* data();
    const WChar* data() const { return constData(); }
    const WChar* constData() const;

    bool empty() const;
    int length() const;
    WChar operator[](int i) const;
    void clear();

    // Drops every leading and trailing unit found in `chars`; null `chars` means white
    // space (see wisspace). Returns *this.
    WCharString& trim(const WChar* chars = nullptr);

private:
    WString m_text;
};

inline bool operator==(const WChar* text, const WCharString& s) { return s == text; }
inline bool operator!=(const WChar* text, const WCharString& s) { return s != text; }

inline WCharString operator+(WCharString a, const WCharString& b)
{
    a += b;
    return a;
}

// PatternProcessor: the mask compiler of format templates. It turns a mask text into one
// element per position of the edited text and finds the fields, the runs of input positions
// between the literals.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <vector>

// Compiles a mask and answers what each position of the edited text accepts.
//
// Mask language, one element per position ("!" before an element marks it important):
//   #      a digit 0-9                      A      a letter
//   9      a letter or a digit              [ab]   a character strictly between a and b
//   U      anything, upper-cased            L      anything, lower-cased
//   *      anything                         \c     the literal c
//   'c'    the literal c, shown but left out of the primary text
//   any other character is a literal of itself.
// "Anything" means any character but a control character (below U+0020, and U+007F): a
// typed Enter or Escape never lands in a field.
//
// Ownership: the processor owns its element and field tables; it keeps no pointer to the
// mask text.
//
// Invariants (after every reset):
//  1. count() is the number of elements; every element of kind Literal or Display has a
//     non-zero `lo`.
//  2. The fields are the maximal runs of elements that are not literals, in ascending
//     order: beginField(f) < endField(f) <= beginField(f + 1), and every position between
//     endField(f) and beginField(f + 1) is a literal.
//  3. sourceBegin(i) < sourceEnd(i) == sourceBegin(i + 1): the elements' source spans tile
//     the mask text from its start (an unfinished element at its end has no span).
class VEXAPI_API PatternProcessor {
public:
    enum Kind {
        kDigit = 0,   // #
        kLetter = 1,  // A
        kAlnum = 2,   // 9
        kRange = 3,   // [ab]
        kUpper = 4,   // U
        kLower = 5,   // L
        kLiteral = 6, // \c or any other character
        kDisplay = 7, // 'c'
        kAny = 8      // *
    };

    // One position of the mask, its fields in this order.
    struct Element {
        int kind;
        bool important; // a literal that always shows, even beyond the typed text
        WChar lo;       // the literal, or the lower bound of a range (excluded)
        WChar hi;       // the upper bound of a range (excluded)
    };

    PatternProcessor();

    // Compiles `mask` (`length` units, or up to its terminator when negative; a NUL ends it
    // in any case, and null is the empty mask). An element cut short by the end of the text
    // ("[ab", "'c", "\", a trailing "!") adds nothing.
    void reset(const WChar* mask, int length = -1);

    // Elements.
    int count() const { return int(m_elements.size()); }
    // The element at `i`; an index outside the mask is reported and answers a literal NUL.
    const Element& element(int i) const;
    const Element& operator[](int i) const { return element(i); }
    // Kinds Literal and Display: positions that the user does not type. False outside.
    bool isLiteral(int pos) const;

    // Fields, counted from 0.
    int fieldCount() const { return int(m_fieldStarts.size()); }
    // The last field that starts at or before `pos`; -1 before the first field, and
    // fieldCount() behind the end of the last one (or when there are no fields at all).
    int curField(int pos) const;
    // The first element of field `f`: 0 for a negative `f`, count() at or beyond
    // fieldCount().
    int beginField(int f) const;
    // One behind the last element of field `f`, which is the literal that ends it or
    // count(): 0 for a negative `f`, count() at or beyond fieldCount().
    int endField(int f) const;
    int beginCurField(int pos) const { return beginField(curField(pos)); }
    int endCurField(int pos) const { return endField(curField(pos)); }

    // Whether `c` may stand at `pos`; kinds U and L fold `c` in place. False outside the
    // mask.
    bool validChar(int pos, WChar& c) const;
    // Whether `c` may stand at `pos` exactly as it is (after folding it would not change).
    bool holds(int pos, WChar c) const;

    // The span of element `i` in the mask text: [sourceBegin, sourceEnd), its "!" prefix
    // included. Both are the end of the compiled text for an index at or beyond count(),
    // and 0 for a negative one.
    int sourceBegin(int i) const;
    int sourceEnd(int i) const;
    // The element whose span covers the text offset `offset`, or count() when none does.
    int elementAt(int offset) const;

    // Character classes of the mask: a digit is 0-9 only; a letter is a cased letter of
    // the library's case tables or a letter of the main caseless scripts (Hebrew, Arabic,
    // Thai, kana, CJK ideographs, Hangul).
    static bool isDigit(WChar c);
    static bool isLetter(WChar c);

private:
    std::vector<Element> m_elements;
    std::vector<int> m_sourceBegin; // count() + 1 entries: the spans' starts and the end
    std::vector<int> m_fieldStarts;
    std::vector<int> m_fieldEnds;
};

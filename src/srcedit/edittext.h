// Small 16-bit text routines of the source editor's storage: lengths, copies, the
// character classes its searches use, and upper-case folding.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace CEditText {

// Characters before the terminating NUL; 0 for null.
int length(const WChar* text);

// `n` of -1 means the text's whole length; a null text has none.
inline int lengthOf(const WChar* text, int n) { return n < 0 ? length(text) : (text ? n : 0); }

// A new NUL-terminated copy of `n` characters (-1: all), made with new[]; null for null.
WChar* duplicate(const WChar* text, int n = -1);

// True when the `n` characters at `a` and `b` are equal.
bool equal(const WChar* a, const WChar* b, int n);

// Space, tab, LF or CR: what `hasText` passes over.
inline bool isBlank(WChar c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The characters that bound a whole word in a search.
bool isWordSeparator(WChar c);

// Upper-case form of `c` for case-blind searches: Basic Latin, Latin-1, Latin Extended-A,
// Greek and Cyrillic; other characters are their own upper case.
WChar toUpper(WChar c);

} // namespace CEditText

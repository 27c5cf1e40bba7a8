// Small 16-bit text routines of the source editor's storage: counted lengths and
// comparisons, and the character classes its searches use. Lengths, copies and case come
// from core's wtext.h.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wtext.h>

namespace VexAPI {
namespace detail {

// `n` of -1 means the text's whole length; a null text has none.
inline int lengthOf(const WChar* text, int n) { return n < 0 ? wstrlen(text) : (text ? n : 0); }

// True when the `n` characters at `a` and `b` are equal.
bool equal(const WChar* a, const WChar* b, int n);

// Space, tab, LF or CR: what `hasText` passes over.
inline bool isBlank(WChar c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// The characters that bound a whole word in a search.
bool isWordSeparator(WChar c);

} // namespace detail
} // namespace VexAPI

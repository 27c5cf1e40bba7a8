// The library's own routines on 16-bit text (length, copy, compare, find, case), and the
// free text functions of the client layer: assignString, str2upper, str2lower, streq_nocase,
// Trim, LTrim, RTrim, removeSlash.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Portable code uses these instead of the libc wcs* family, whose wchar_t is four bytes on
// Linux. Common rules of every function below:
//  1. A null text pointer reads as the empty text; no function dereferences a null pointer.
//  2. A "count" or "size" is in WChar units; a negative one is treated as 0.
//  3. Comparisons compare unit values (code units, not code points), like wcscmp.
//  4. Strings handed to the caller as owned (wstrdup, assignString) are allocated with
//     new[] and freed with delete[].

// Length of a terminated text in units; 0 for null.
VEXAPI_API int wstrlen(const WChar* s);
// Length of a text that may not be terminated within `max` units: the units before the
// terminator, but no more than `max`; no unit at or past `max` is read.
VEXAPI_API int wstrnlen(const WChar* s, int max);

// Copies `src` with its terminator into `dst` and returns `dst`. Null `src` writes an empty
// text; null `dst` writes nothing and returns null.
VEXAPI_API WChar* wstrcpy(WChar* dst, const WChar* src);

// As wcsncpy: copies at most `n` units, pads the rest of the `n` with zeros, and does NOT
// terminate when `src` has `n` units or more. Prefer wstrlcpy for a bounded copy.
VEXAPI_API WChar* wstrncpy(WChar* dst, const WChar* src, int n);

// Bounded copy into a buffer of `size` units: copies what fits and always terminates when
// `size` > 0. Returns wstrlen(src), so a result >= size tells the caller it was cut.
VEXAPI_API int wstrlcpy(WChar* dst, const WChar* src, int size);

// Appends `src` to the text in `dst` and returns `dst`.
VEXAPI_API WChar* wstrcat(WChar* dst, const WChar* src);

// As wcsncat: appends at most `n` units of `src` and always terminates (the buffer needs
// wstrlen(dst) + n + 1 units).
VEXAPI_API WChar* wstrncat(WChar* dst, const WChar* src, int n);

// Three-way comparison by unit value: negative, 0 or positive.
VEXAPI_API int wstrcmp(const WChar* a, const WChar* b);
VEXAPI_API int wstrncmp(const WChar* a, const WChar* b, int n);

// Comparison without regard to case: each unit is folded as wtolower(wtoupper(c)) first,
// so that the Greek final sigma matches sigma too.
VEXAPI_API int wstricmp(const WChar* a, const WChar* b);
VEXAPI_API int wstrnicmp(const WChar* a, const WChar* b, int n);

// First / last occurrence of `c`, or null. Searching for 0 finds the terminator, as strchr.
VEXAPI_API const WChar* wstrchr(const WChar* s, WChar c);
VEXAPI_API const WChar* wstrrchr(const WChar* s, WChar c);
// First occurrence of `needle` in `s`, or null; an empty needle finds `s` itself.
VEXAPI_API const WChar* wstrstr(const WChar* s, const WChar* needle);

inline WChar* wstrchr(WChar* s, WChar c) { return const_cast<WChar*>(wstrchr(const_cast<const WChar*>(s), c)); }
inline WChar* wstrrchr(WChar* s, WChar c) { return const_cast<WChar*>(wstrrchr(const_cast<const WChar*>(s), c)); }
inline WChar* wstrstr(WChar* s, const WChar* n) { return const_cast<WChar*>(wstrstr(const_cast<const WChar*>(s), n)); }

// A new[] copy of `s` (free with delete[]); null for null.
VEXAPI_API WChar* wstrdup(const WChar* s);

// Simple one-to-one case mapping of a unit: the simple mappings of the Unicode character
// database (UnicodeData.txt) over the whole Basic Multilingual Plane. A unit without one
// maps to itself, and so do mappings that would change the length (German sharp s has no
// one-unit capital) and surrogates. Greek final sigma upper-cases to sigma; the mappings
// are not all round trips (the micro sign upper-cases to capital mu, which lower-cases to
// small mu; dotless i upper-cases to I).
VEXAPI_API WChar wtoupper(WChar c);
VEXAPI_API WChar wtolower(WChar c);

// Blank, tab, line feed, vertical tab, form feed, carriage return, no-break space.
VEXAPI_API bool wisspace(WChar c);

// ---- Free text functions of the client layer ----

// Replaces the owned string `target` by a new[] copy of `source` (null gives null) and
// frees the old one with delete[]. Safe when `source` points into `target`.
// Returns the new `target`.
VEXAPI_API WChar* assignString(WChar*& target, const WChar* source);

// In place, by wtoupper / wtolower. Return `s` (null stays null).
VEXAPI_API WChar* str2upper(WChar* s);
VEXAPI_API WChar* str2lower(WChar* s);

// Equality without regard to case (wstricmp == 0). Null equals null and the empty text.
VEXAPI_API bool streq_nocase(const WChar* a, const WChar* b);

// In place: drop every leading (LTrim), trailing (RTrim) or both (Trim) occurrence of `ch`,
// a blank unless told. LTrim moves the text down to `s`. Return `s` (null stays null).
VEXAPI_API WChar* LTrim(WChar* s, WChar ch = WChar(' '));
VEXAPI_API WChar* RTrim(WChar* s, WChar ch = WChar(' '));
VEXAPI_API WChar* Trim(WChar* s, WChar ch = WChar(' '));

// Copies `src` to `dst` without its escaping backslashes: a backslash followed by any
// character stands for that character ("\\" gives one backslash, "\>" gives ">"). A
// backslash that ends the text has nothing to escape and is kept. `dst` needs
// wstrlen(src) + 1 units and may be `src` itself. Null `src` writes an empty text.
// Returns `dst`.
VEXAPI_API WChar* removeSlash(WChar* dst, const WChar* src);

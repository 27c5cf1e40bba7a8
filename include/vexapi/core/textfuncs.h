// Plain text functions: trimming, SQL statement counting and borders, line and position
// helpers, low-byte case mapping, directory part, command-line values, file extensions.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Common rules: a null text reads as the empty text, and a function that changes its
// argument in place gives it back (null stays null). "Blank" means space or tab.

// Drop trailing blanks, in place.
VEXAPI_API char* strrtrim(char* text);
VEXAPI_API WChar* _tcsrtrim(WChar* text);
// Drop leading blanks, moving the text down.
VEXAPI_API char* strltrim(char* text);
// Cut at the first byte below 32 (a control character; bytes of 128 and up are text).
VEXAPI_API char* strtosym(char* text);

// Whether a line of a settings file is a comment: null or empty text counts as one;
// otherwise a text of at least 3 bytes that begins with "//". "//" alone is not a comment.
VEXAPI_API bool isComment(const char* text);

// Truncates, then adds 1 if the dropped fraction is at least 0.5: Round(2.5) is 3, and
// Round(-2.5) is -2 (the fraction -0.5 is below 0.5).
VEXAPI_API int Round(float value);

// The number of SQL statements in a text: the count of ';' plus one when the last character
// is not ';'; 0 for an empty text. Every ';' counts, also one inside a string literal or a
// comment: callers rely on this cheap count matching getStatementBorders' numbering.
VEXAPI_API int getStatementCount(const char* text);

// The statement around `position` (a 0-based index into `text`): its first index in
// `start`, its last in `end` (the ';' that ends it, or the text's last index), and its
// 1-based number as the result. A position exactly on a ';' lies in the statement that
// follows it. A position past the text gives the last statement's borders and a number
// one more than the ';' count. An empty text gives 0, with start and end 0.
VEXAPI_API int getStatementBorders(const char* text, int position, int& start, int& end);

// Whether the text holds a letter: an ASCII letter, or any byte of 128 and up (the
// letters of an 8-bit code page, or of UTF-8).
VEXAPI_API bool isQuery(const char* text);

// The position in `text` of (line, column): the index just after the (line - 1)-th line
// feed, plus `column`. A text with fewer lines stops the walk at its end.
VEXAPI_API int coords2pos(const WChar* text, int line, int column);

// The number of line feeds.
VEXAPI_API int getLineNum(const char* text);
// The number of line feeds preceded by a carriage return or standing first in the text.
VEXAPI_API int getLineSeparators(const char* text);

// In place, each unit becomes toupper / tolower of its low byte alone, in the C locale's
// ASCII mapping. The high byte is lost on purpose: these serve 8-bit text widened into
// units, and 0x0430 (Cyrillic a) comes out as '0'. Use str2upper for real 16-bit text.
VEXAPI_API WChar* rstrtoupper(WChar* text);
VEXAPI_API WChar* strtolower(WChar* text);

// The directory part of `path`: what stands before its last '\' (only a backslash
// counts), cut to fit `out`, a buffer of `size` units. Empty when there is no '\'.
// Gives `out`.
VEXAPI_API WChar* getdir(const WChar* path, WChar* out, int size);

// The value of a command-line option. The arguments are searched from the last to the
// first for one that contains `name`; the last on the line wins. Behind the name:
//  - "=value": the value; but "=" with nothing behind it, when another argument follows,
//    takes that next argument;
//  - nothing, when another argument follows: that next argument;
//  - otherwise the rest of the argument, possibly empty.
// The result points into `argv`; null when no argument contains the name.
VEXAPI_API WChar* findParam(int argc, WChar** argv, const WChar* name);

// Appends `extension` to `name` (a buffer of `size` units, terminator included) unless
// the name already ends with it. An empty name, or one longer than `size`, stays as it
// is; the appended text is cut to fit the buffer. Gives `name`.
VEXAPI_API WChar* addExtention(WChar* name, int size, const WChar* extension);

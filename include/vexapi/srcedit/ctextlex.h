// tagCTextLex: one entry of the lexeme table that an application hands to the source
// editor to colour its language.
#pragma once

#include <vexapi/core/types.h>

// The kind of a lexeme: what it does to the scanner.
enum TextLexType {
    TLT_STRING1 = 1,       // opens or closes a string of the first kind
    TLT_STRING2 = 2,       // opens or closes a string of the second kind
    TLT_LINE_COMMENT = 3,  // comment to the end of the row
    TLT_COMMENT_OPEN = 4,  // begins a block comment
    TLT_COMMENT_CLOSE = 5, // ends a block comment (one close ends any nesting)
    TLT_WORD = 6,          // coloured when it stands between separators
    TLT_OPERATOR = 7,      // coloured, and a separator; at a row's start it may start a comment
    TLT_SEPARATOR = 8      // not coloured; marks a word boundary
};

// One lexeme, a plain record of 520 bytes; tables are contiguous arrays of them.
// `len` of -1 makes a run lexeme: it matches a run of any length of text's first
// character (one entry for the space covers every run of spaces). Any other `len` is
// replaced by the length of `text` when the table is installed.
struct tagCTextLex {
    WChar text[256]; // NUL-terminated
    int type;        // a TextLexType
    int len;
};

static_assert(sizeof(tagCTextLex) == 520, "a lexeme record is 520 bytes");

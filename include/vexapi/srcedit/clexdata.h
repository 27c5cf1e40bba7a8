// CLexData: a lexeme that a derived editor attaches to a row, for folding and for the
// highlighting of paired lexemes.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>

class CEditString;

// What a linked lexeme does in the layout of the text.
enum LayoutType {
    LT_NONE = 0,
    LT_OPEN = 1,  // opens a foldable range
    LT_CLOSE = 2, // closes one
    LT_ANY = 3    // in queries only: either kind
};

// One lexeme of a row: the application's lexeme number, where it stands and, for an
// opening or closing lexeme, its partner.
//
// Ownership: a row owns its lexemes, in one of two lists (`linkedLexes`, `simpleLexes`);
// a lexeme is a List node, so an iterator can be made from the lexeme itself. `owner`
// names the row. The partner links are not owned.
//
// Invariants:
//  1. If `endLex` is set, `endLex->beginLex` is this lexeme, and the mirror for `beginLex`.
//  2. A lexeme that dies clears its partner's link to it, so no partner is left dangling.
class VEXAPI_API CLexData : public List::Node {
public:
    CLexData(int name, LayoutType type, int col, int len, CEditString* owner);
    ~CLexData();
    CLexData(const CLexData&) = delete;
    CLexData& operator=(const CLexData&) = delete;

    // Links `open` and `close` as partners, first undoing their earlier links.
    static void link(CLexData* open, CLexData* close);

    int name;           // the application's lexeme number
    LayoutType type;    // LT_OPEN or LT_CLOSE for linked lexemes
    int col;            // absolute column in the owner row
    int len;            // characters
    CEditString* owner; // the row holding the lexeme
    CLexData* endLex;   // for an opening lexeme: its closing partner
    CLexData* beginLex; // for a closing lexeme: its opening partner
};

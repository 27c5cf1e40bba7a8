// SQL text helpers: quoted names, doubled symbols, finding a keyword of a statement, and
// splicing a condition or a sort order into a select.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <ostream>

// The stream the helpers write to. Only whole strings are written to it (`write`), never
// numbers, so any basic_ostream<WChar> serves, a basic_ostringstream<WChar> among them.
// Such a stream can't carry U+FFFF, its traits' end-of-file value (libstdc++ turns it into
// U+FFFD); the helpers pass every other character through unchanged.
typedef std::basic_ostream<WChar> WOStream;

// How the helpers read SQL text:
//  - Single-quoted strings ('it''s'), quoted names ("Order", `Order` and [Order], as SQLite
//    reads them) and comments (from "--" to the end of the line, and "/* ... */", not
//    nested) are opaque: nothing inside them is a keyword. An unterminated one runs to the
//    end of the text.
//  - A word is a run of ASCII letters and digits, '_', '$', '#', '@' and any character
//    from U+0080 up, so a keyword is found as a whole word only ("WHEREVER" and "X_WHERE"
//    hold no WHERE). Words compare without regard to ASCII case.
//  - Parentheses nest. A keyword is found only at the top level of the text, outside every
//    parenthesis, so the WHERE of a subselect, a derived table or an IN (...) list is never
//    taken for the statement's own. A surplus ')' is ignored.
//  - A keyword of several words ("ORDER BY") matches those words in that order with any
//    white space or comments between them.

// Writes `name` enclosed in `quote`, with every occurrence of `quote` inside doubled:
// putColName(s, u"a\"b", u"\"") writes "a""b". An empty or null `quote` writes the name as
// it stands; a null `name` counts as empty.
VEXAPI_API void putColName(WOStream& stream, const WChar* name, const WChar* quote);

// Writes a possibly dotted name ("owner.table") with each part quoted as by putColName:
// "owner"."table". A part that already starts with `quote` is taken as quoted up to its
// closing quote (dots inside it don't split) and written as it stands.
VEXAPI_API void putFullName(WOStream& stream, const WChar* name, const WChar* quote);

// Writes `text` with every `symbol` doubled: the way to write a string literal's body
// (symbol '\'') or a quoted name's (symbol '"').
VEXAPI_API void DupSymbol(WOStream& stream, const WChar* text, WChar symbol);

// The first top-level occurrence of `keyword` in `text` outside strings, quoted names and
// comments (see above), or null. The result points at the keyword's first character.
VEXAPI_API WChar* FindSQLKeyword(WChar* text, const WChar* keyword);
VEXAPI_API const WChar* FindSQLKeyword(const WChar* text, const WChar* keyword);

// Writes `select` with `condition` added to its WHERE clause:
//  - an empty condition (null, or only white space) writes the select as it stands;
//  - with a top-level WHERE, the old and the new condition are each put in parentheses and
//    joined: "where a = 1 or b = 2" and "c = 3" give "where (a = 1 or b = 2) AND (c = 3)",
//    so the precedence of neither changes the other;
//  - otherwise " WHERE " and the condition go after the last word before the first of
//    WINDOW, GROUP BY, HAVING, ORDER BY, LIMIT, FOR UPDATE, or else at the end of the
//    statement (before a closing ";" and any trailing comment). WINDOW counts only as
//    "WINDOW name AS": SQLite lets "window" be a name.
// The clauses are looked for after the statement's top-level FROM when it has one, and in
// a compound select (UNION, INTERSECT, EXCEPT) in its first member only: the condition
// then filters that member. MINUS is no compound operator here: SQLite takes it as a name. A condition ending in a "--" comment is closed with a
// line feed so that it can't swallow what follows.
VEXAPI_API void AppendWhere(WOStream& stream, const WChar* select, const WChar* condition);

// Writes `select` with its sort order set to `order` (the list without "ORDER BY"):
//  - an empty order (null, or only white space) writes the select as it stands, keeping any
//    ORDER BY it has: no order given means the select's own order;
//  - a top-level ORDER BY is replaced, keyword and list, by "ORDER BY " and `order`; what
//    follows the old list (LIMIT, FOR UPDATE, ";", comments) stays;
//  - otherwise " ORDER BY " and the order go in front of LIMIT or FOR UPDATE, or else at the
//    end of the statement. In a compound select the order applies to the whole of it.
VEXAPI_API void AppendOrderBy(WOStream& stream, const WChar* select, const WChar* order);

// The tokenizer of the select analysis: one token of look-ahead over a 16-bit text, with
// the token's text in a fixed buffer.
#pragma once

#include <vexapi/sql/sqlanalysis.h>

#include <vexapi/core/types.h>

namespace DataSourceAPI {
namespace detail {

// Raised by the scanner and the parser; parseSelect turns it into its false answer.
struct SQLParseError {
    SQLParseFailure failure;
    int offset;
};

// Token codes. The four punctuation tokens are their own characters.
enum SQLToken {
    tkEnd = 0,      // end of text, ";", or a character outside the grammar ("<", ">", "?"...)
    tkSelect = 1,
    tkFrom = 2,
    tkCast = 3,
    tkAs = 4,
    tkJoin = 5,
    tkUnion = 6,
    tkClause = 7,   // WHERE, HAVING, ORDER
    tkLiteral = 8,  // an unsigned integer or a quoted string
    tkFunction = 9, // a name directly followed by "("
    tkOperator = 10, // AND OR IN LIKE * + - / : =
    tkName = 11,    // a name: unquoted ones folded to upper case
    tkOpen = '(',
    tkClose = ')',
    tkComma = ',',
    tkDot = '.'
};

// Reads a text token by token. Rules, in the order applied:
//  - white space and comments ("--" to the end of the line, "/* */") are skipped;
//  - "(" ")" "," "." are their own tokens; * + - / : = are operators;
//  - a digit starts an integer literal (digits only: "1.5" is 1, ".", 5);
//  - ";" ends the text;
//  - a letter, "_", "$" or any character from U+0080 up starts a word of those and
//    digits. ALL DISTINCT BY WITH PRIOR LEFT RIGHT INNER are skipped like blanks; SELECT
//    FROM CAST AS JOIN UNION WHERE HAVING ORDER AND OR IN LIKE are keywords; another word
//    is a function name when "(" follows at once, else a name folded to upper case;
//  - "\"" starts a name that runs to the next "\"" (no escape), case kept;
//  - "'" starts a string literal, "''" standing for one quote;
//  - any other character ends the text (tkEnd).
// A token longer than sqlMaxTokenLength, or a string or quoted name without its closing
// quote, raises SQLParseError: the text buffer is never overrun.
class SQLScanner {
public:
    // `text` holds `length` characters (no terminator needed).
    SQLScanner(const WChar* text, int length);
    SQLScanner(const SQLScanner&) = delete;
    SQLScanner& operator=(const SQLScanner&) = delete;

    // Reads the next token and returns its code.
    int next();
    int token() const { return m_token; }
    // The token's text, terminated: the operator's character or word, the name, the
    // string's value, the integer's digits; empty for punctuation and the end.
    const WChar* text() const { return m_text; }
    int textLength() const { return m_length; }
    // Whether the token is the operator "*".
    bool isStar() const { return m_token == tkOperator && m_length == 1 && m_text[0] == '*'; }
    // Character offset of the token's start.
    int offset() const { return m_start; }

private:
    void skipBlank();
    void put(WChar c);
    // The token at the position, or -1 for a word skipped like a blank.
    int scan();
    int word();

    const WChar* m_begin;
    const WChar* m_p;
    const WChar* m_end;
    int m_token;
    int m_start;
    int m_length;
    WChar m_text[sqlMaxTokenLength + 1];
};

} // namespace detail
} // namespace DataSourceAPI

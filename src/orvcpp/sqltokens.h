// The client layer's SQL tokenizer over 8-bit (UTF-8) statement text: tokens with their
// source offsets, for the dialect rewriting and the analysis of selects.
#pragma once

#include <string>
#include <vector>

namespace OrvCPP {
namespace detail {

// One token of a statement. `src` is the byte offset in the caller's original text of the
// token's first character, also for tokens a rewrite made up (they carry the offset of what
// they replace), so that an error position found in rewritten text maps back.
struct SqlToken {
    enum Kind {
        Space,      // white space
        Comment,    // "-- ..." to the end of the line, or "/* ... */"
        Word,       // an unquoted name or keyword, "$$$S23" among them
        QuotedName, // "name", `name` or [name]
        String,     // 'text', quotes doubled inside
        Number,     // 12, 1.5, .5, 1e3, 0x1F
        Param,      // ?, ?12, :name, @name, $name
        Punct,      // an operator or punctuation, "(" "," "<=" "||" ...
        Semicolon
    };

    Kind kind;
    std::string text;
    int src;

    bool is(Kind k) const { return kind == k; }
    bool isPunct(const char* p) const { return kind == Punct && text == p; }
    // A word equal to `keyword` without regard to ASCII case.
    bool isWord(const char* keyword) const;
    // Space or comment.
    bool isBlank() const { return kind == Space || kind == Comment; }
    // A name: a word or a quoted name.
    bool isName() const { return kind == Word || kind == QuotedName; }
};

typedef std::vector<SqlToken> SqlTokens;

// Splits `text` into tokens; concatenating their texts gives `text` back. An unterminated
// string, quoted name or comment runs to the end (the server reports it).
SqlTokens tokenize(const std::string& text);

// The concatenated texts of tokens [from, to).
std::string joinTokens(const SqlTokens& tokens, std::size_t from, std::size_t to);

// The index of the next token from `i` on that is not blank, or tokens.size().
std::size_t skipBlank(const SqlTokens& tokens, std::size_t i);

// The unquoted value of a name token ("a""b" gives a"b, [x] gives x); a word as it stands.
std::string nameValue(const SqlToken& token);

// ASCII case-insensitive equality.
bool equalNoCase(const std::string& a, const std::string& b);

// `name` quoted with double quotes, embedded quotes doubled.
std::string quoteName(const std::string& name);

} // namespace detail
} // namespace OrvCPP

// The SQL tokenizer of the client layer.
#include "sqltokens.h"

#include <cctype>
#include <cstring>

namespace OrvCPP {
namespace detail {

namespace {

bool isIdStart(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80; }
bool isIdChar(unsigned char c) { return isIdStart(c) || (c >= '0' && c <= '9') || c == '$'; }
bool isDigit(unsigned char c) { return c >= '0' && c <= '9'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

// Runs to the closing `close`, a doubled one standing for itself; returns the end.
std::size_t quoted(const std::string& s, std::size_t i, char close)
{
    for (++i; i < s.size(); ++i) {
        if (s[i] == close) {
            if (close != ']' && i + 1 < s.size() && s[i + 1] == close) {
                ++i;
                continue;
            }
            return i + 1;
        }
    }
    return s.size();
}

} // namespace

bool SqlToken::isWord(const char* keyword) const
{
    return kind == Word && equalNoCase(text, keyword);
}

bool equalNoCase(const std::string& a, const std::string& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lower(a[i]) != lower(b[i]))
            return false;
    return true;
}

SqlTokens tokenize(const std::string& s)
{
    SqlTokens out;
    std::size_t i = 0;
    const std::size_t n = s.size();
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        std::size_t end = i + 1;
        SqlToken::Kind kind = SqlToken::Punct;
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
            kind = SqlToken::Space;
            while (end < n && std::strchr(" \t\n\r\f\v", s[end]) && s[end])
                ++end;
        } else if (c == '-' && i + 1 < n && s[i + 1] == '-') {
            kind = SqlToken::Comment;
            while (end < n && s[end] != '\n')
                ++end;
        } else if (c == '/' && i + 1 < n && s[i + 1] == '*') {
            kind = SqlToken::Comment;
            std::size_t close = s.find("*/", i + 2);
            end = close == std::string::npos ? n : close + 2;
        } else if (c == '\'') {
            kind = SqlToken::String;
            end = quoted(s, i, '\'');
        } else if (c == '"' || c == '`' || c == '[') {
            kind = SqlToken::QuotedName;
            end = quoted(s, i, c == '[' ? ']' : char(c));
        } else if (c == '$' && i + 2 < n && s[i + 1] == '$' && s[i + 2] == '$') {
            // The server's catalog names: "$$$S23", "$$$SYSRL".
            kind = SqlToken::Word;
            end = i + 3;
            while (end < n && isIdChar(static_cast<unsigned char>(s[end])))
                ++end;
        } else if (isIdStart(c)) {
            kind = SqlToken::Word;
            while (end < n && isIdChar(static_cast<unsigned char>(s[end])))
                ++end;
        } else if (isDigit(c) || (c == '.' && i + 1 < n && isDigit(static_cast<unsigned char>(s[i + 1])))) {
            kind = SqlToken::Number;
            if (c == '0' && i + 1 < n && (s[i + 1] == 'x' || s[i + 1] == 'X')) {
                end = i + 2;
                while (end < n && std::isxdigit(static_cast<unsigned char>(s[end])))
                    ++end;
            } else {
                end = i;
                while (end < n && isDigit(static_cast<unsigned char>(s[end])))
                    ++end;
                if (end < n && s[end] == '.') {
                    ++end;
                    while (end < n && isDigit(static_cast<unsigned char>(s[end])))
                        ++end;
                }
                if (end < n && (s[end] == 'e' || s[end] == 'E')) {
                    std::size_t e = end + 1;
                    if (e < n && (s[e] == '+' || s[e] == '-'))
                        ++e;
                    if (e < n && isDigit(static_cast<unsigned char>(s[e]))) {
                        end = e;
                        while (end < n && isDigit(static_cast<unsigned char>(s[end])))
                            ++end;
                    }
                }
            }
        } else if (c == '?') {
            kind = SqlToken::Param;
            while (end < n && isDigit(static_cast<unsigned char>(s[end])))
                ++end;
        } else if ((c == ':' || c == '@' || c == '$') && i + 1 < n &&
                   isIdChar(static_cast<unsigned char>(s[i + 1]))) {
            kind = SqlToken::Param;
            while (end < n && isIdChar(static_cast<unsigned char>(s[end])))
                ++end;
        } else if (c == ';') {
            kind = SqlToken::Semicolon;
        } else {
            static const char* const two[] = {"<=", ">=", "<>", "!=", "==", "||", "<<", ">>", "->"};
            for (const char* t : two)
                if (i + 1 < n && s[i] == t[0] && s[i + 1] == t[1]) {
                    end = i + 2;
                    break;
                }
            if (end == i + 2 && s[i] == '-' && s[i + 1] == '>' && i + 2 < n && s[i + 2] == '>')
                end = i + 3;
        }
        out.push_back(SqlToken{kind, s.substr(i, end - i), int(i)});
        i = end;
    }
    return out;
}

std::string joinTokens(const SqlTokens& tokens, std::size_t from, std::size_t to)
{
    std::string out;
    for (std::size_t i = from; i < to && i < tokens.size(); ++i)
        out += tokens[i].text;
    return out;
}

std::size_t skipBlank(const SqlTokens& tokens, std::size_t i)
{
    while (i < tokens.size() && tokens[i].isBlank())
        ++i;
    return i;
}

std::string nameValue(const SqlToken& t)
{
    if (t.kind != SqlToken::QuotedName || t.text.size() < 2)
        return t.text;
    const char open = t.text[0];
    const char close = open == '[' ? ']' : open;
    std::string inner = t.text.substr(1, t.text.size() - (t.text.back() == close ? 2 : 1));
    if (open == '[')
        return inner;
    std::string out;
    for (std::size_t i = 0; i < inner.size(); ++i) {
        out += inner[i];
        if (inner[i] == close && i + 1 < inner.size() && inner[i + 1] == close)
            ++i;
    }
    return out;
}

std::string quoteName(const std::string& name)
{
    std::string out = "\"";
    for (char c : name) {
        out += c;
        if (c == '"')
            out += '"';
    }
    out += '"';
    return out;
}

} // namespace detail
} // namespace OrvCPP

// SQL text helpers: a small tokenizer that knows strings, quoted names, comments and
// parentheses, and the splicing of WHERE and ORDER BY clauses built on it.
#include <vexapi/orvcpp/sqltext.h>

#include <cstddef>
#include <vector>

namespace {

// Private text helpers; the library's wide-text routines will take their place.
std::size_t textLength(const WChar* s)
{
    std::size_t n = 0;
    if (s)
        while (s[n])
            ++n;
    return n;
}

bool isSpace(WChar c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isWordChar(WChar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           c == '_' || c == '$' || c == '#' || c == '@' || c >= 0x80;
}

WChar foldAscii(WChar c) { return c >= 'a' && c <= 'z' ? WChar(c - 'a' + 'A') : c; }

void put(WOStream& s, const WChar* begin, const WChar* end)
{
    if (end > begin)
        s.write(begin, std::streamsize(end - begin));
}

void put(WOStream& s, const char* ascii)
{
    for (; *ascii; ++ascii)
        s.put(WChar(*ascii));
}

enum TokenKind { tkWord, tkString, tkQuoted, tkOpen, tkClose, tkSemicolon, tkOther };

struct Token {
    const WChar* begin;
    const WChar* end;
    TokenKind kind;
    int depth; // nesting of the parentheses around the token; a pair shares its depth
};

// Splits [p, end) into tokens, skipping white space and comments. `endsInLineComment` says
// whether the text stops inside a "--" comment.
std::vector<Token> tokenize(const WChar* p, const WChar* end, bool* endsInLineComment = nullptr)
{
    std::vector<Token> out;
    int depth = 0;
    bool inLineComment = false;
    while (p < end) {
        inLineComment = false;
        WChar c = *p;
        if (isSpace(c)) {
            ++p;
            continue;
        }
        if (c == '-' && p + 1 < end && p[1] == '-') {
            inLineComment = true;
            while (p < end && *p != '\n' && *p != '\r')
                ++p;
            if (p < end)
                inLineComment = false;
            continue;
        }
        if (c == '/' && p + 1 < end && p[1] == '*') {
            p += 2;
            while (p < end && !(*p == '*' && p + 1 < end && p[1] == '/'))
                ++p;
            p = p < end ? p + 2 : end;
            continue;
        }
        Token t;
        t.begin = p;
        t.depth = depth;
        if (c == '\'' || c == '"' || c == '`' || c == '[') {
            // A doubled quote inside ends this token and starts the next one at once; the
            // pair of tokens covers the text as one literal would. "[...]" has no doubling:
            // its first ']' ends it.
            t.kind = c == '\'' ? tkString : tkQuoted;
            const WChar close = c == '[' ? WChar(']') : c;
            ++p;
            while (p < end && *p != close)
                ++p;
            if (p < end)
                ++p;
        } else if (isWordChar(c)) {
            t.kind = tkWord;
            while (p < end && isWordChar(*p))
                ++p;
        } else if (c == '(') {
            t.kind = tkOpen;
            ++depth;
            ++p;
        } else if (c == ')') {
            t.kind = tkClose;
            if (depth > 0)
                --depth;
            t.depth = depth;
            ++p;
        } else {
            t.kind = c == ';' ? tkSemicolon : tkOther;
            ++p;
        }
        t.end = p;
        out.push_back(t);
    }
    if (endsInLineComment)
        *endsInLineComment = inLineComment;
    return out;
}

bool sameToken(const Token& a, const Token& b)
{
    if (a.kind != b.kind || a.end - a.begin != b.end - b.begin)
        return false;
    for (const WChar *p = a.begin, *q = b.begin; p < a.end; ++p, ++q)
        if (foldAscii(*p) != foldAscii(*q))
            return false;
    return true;
}

// A keyword as a token sequence, matched at the top level of a token list.
class Keyword {
public:
    explicit Keyword(const WChar* text) : m_text(text, text + textLength(text)) { scan(); }
    Keyword(const char* ascii)
    {
        for (; *ascii; ++ascii)
            m_text.push_back(WChar(*ascii));
        scan();
    }
    // The tokens point into the keyword's own copy of its text, so a copy scans its own.
    Keyword(const Keyword& other) : m_text(other.m_text) { scan(); }
    Keyword& operator=(const Keyword&) = delete;

    std::size_t size() const { return m_tokens.size(); }

    // Whether the keyword starts at index i of `toks` (at depth 0), within [.., limit).
    bool matchesAt(const std::vector<Token>& toks, std::size_t i, std::size_t limit) const
    {
        if (m_tokens.empty() || toks[i].depth != 0 || i + m_tokens.size() > limit)
            return false;
        for (std::size_t k = 0; k < m_tokens.size(); ++k)
            if (!sameToken(toks[i + k], m_tokens[k]))
                return false;
        return true;
    }

private:
    void scan() { m_tokens = tokenize(m_text.data(), m_text.data() + m_text.size()); }

    std::vector<WChar> m_text;
    std::vector<Token> m_tokens;
};

const std::size_t npos = std::size_t(-1);

// The index of the first top-level token in [from, limit) that starts one of `keys`, or
// npos; `which` receives the matching keyword.
std::size_t findFirst(const std::vector<Token>& toks, std::size_t from, std::size_t limit,
                      const std::vector<Keyword>& keys, const Keyword** which = nullptr)
{
    for (std::size_t i = from; i < limit; ++i)
        for (const Keyword& k : keys)
            if (k.matchesAt(toks, i, limit)) {
                if (which)
                    *which = &k;
                return i;
            }
    return npos;
}

// Whether a WINDOW clause starts at index i: "WINDOW name AS". WINDOW alone is no keyword
// in SQLite, so a column or table of that name stays a name.
bool windowClauseAt(const std::vector<Token>& toks, std::size_t i, std::size_t limit)
{
    static const Keyword window("WINDOW");
    static const Keyword as("AS");
    return i + 2 < limit && window.matchesAt(toks, i, limit) &&
           (toks[i + 1].kind == tkWord || toks[i + 1].kind == tkQuoted) &&
           as.matchesAt(toks, i + 2, limit);
}

// The first top-level clause that follows a WHERE (a WINDOW clause or one of `keys`) in
// [from, limit), or npos.
std::size_t findClause(const std::vector<Token>& toks, std::size_t from, std::size_t limit,
                       const std::vector<Keyword>& keys)
{
    for (std::size_t i = from; i < limit; ++i) {
        if (windowClauseAt(toks, i, limit))
            return i;
        for (const Keyword& k : keys)
            if (k.matchesAt(toks, i, limit))
                return i;
    }
    return npos;
}

std::size_t findFirst(const std::vector<Token>& toks, std::size_t from, std::size_t limit,
                      const Keyword& key)
{
    for (std::size_t i = from; i < limit; ++i)
        if (key.matchesAt(toks, i, limit))
            return i;
    return npos;
}

// The parts of a select that the splicing needs, as token indexes.
struct SelectShape {
    std::vector<Token> toks;
    std::size_t statementEnd; // the first top-level ';', or the token count
    std::size_t memberEnd;    // the first top-level UNION, INTERSECT or EXCEPT
    std::size_t from;         // just after the first member's top-level FROM, else 0
};

SelectShape shapeOf(const WChar* select, const WChar* end)
{
    SelectShape s;
    s.toks = tokenize(select, end);
    s.statementEnd = s.toks.size();
    for (std::size_t i = 0; i < s.toks.size(); ++i)
        if (s.toks[i].kind == tkSemicolon && s.toks[i].depth == 0) {
            s.statementEnd = i;
            break;
        }
    // SQLite's compound operators; MINUS is an ordinary name there ("-q1 AS minus").
    const std::vector<Keyword> setOperators = {"UNION", "INTERSECT", "EXCEPT"};
    s.memberEnd = findFirst(s.toks, 0, s.statementEnd, setOperators);
    if (s.memberEnd == npos)
        s.memberEnd = s.statementEnd;
    std::size_t f = findFirst(s.toks, 0, s.memberEnd, Keyword("FROM"));
    s.from = f == npos ? 0 : f + 1;
    return s;
}

// The text of a condition or order list, white space trimmed from both ends.
struct Fragment {
    const WChar* begin;
    const WChar* end;
    bool endsInLineComment;

    explicit Fragment(const WChar* text)
    {
        static const WChar none[1] = {0};
        if (!text)
            text = none;
        begin = text;
        end = begin + textLength(text);
        while (begin < end && isSpace(*begin))
            ++begin;
        while (end > begin && isSpace(end[-1]))
            --end;
        endsInLineComment = false;
        if (begin < end)
            tokenize(begin, end, &endsInLineComment);
    }
    bool empty() const { return begin == end; }

    void writeTo(WOStream& s) const
    {
        put(s, begin, end);
        if (endsInLineComment)
            s.put(WChar('\n'));
    }
};

// Writes what follows an insertion, with a blank between the two when the rest doesn't
// start with one.
void writeRest(WOStream& s, const WChar* rest, const WChar* end)
{
    if (rest < end && !isSpace(*rest) && *rest != ';')
        s.put(WChar(' '));
    put(s, rest, end);
}

} // namespace

void DupSymbol(WOStream& stream, const WChar* text, WChar symbol)
{
    if (!text)
        return;
    const WChar* run = text;
    for (const WChar* p = text; *p; ++p)
        if (*p == symbol) {
            put(stream, run, p + 1);
            stream.put(symbol);
            run = p + 1;
        }
    put(stream, run, text + textLength(text));
}

namespace {

// Writes [begin, end) with every occurrence of the quote text doubled.
void putDoubled(WOStream& s, const WChar* begin, const WChar* end, const WChar* quote,
                std::size_t qlen)
{
    const WChar* run = begin;
    for (const WChar* p = begin; p + qlen <= end;) {
        std::size_t k = 0;
        while (k < qlen && p[k] == quote[k])
            ++k;
        if (k == qlen) {
            put(s, run, p + qlen);
            put(s, quote, quote + qlen);
            p += qlen;
            run = p;
        } else {
            ++p;
        }
    }
    put(s, run, end);
}

bool startsWith(const WChar* p, const WChar* end, const WChar* prefix, std::size_t n)
{
    if (std::size_t(end - p) < n)
        return false;
    for (std::size_t k = 0; k < n; ++k)
        if (p[k] != prefix[k])
            return false;
    return true;
}

} // namespace

void putColName(WOStream& stream, const WChar* name, const WChar* quote)
{
    const std::size_t n = textLength(name);
    const std::size_t qlen = textLength(quote);
    if (qlen == 0) {
        if (n)
            put(stream, name, name + n);
        return;
    }
    put(stream, quote, quote + qlen);
    if (n)
        putDoubled(stream, name, name + n, quote, qlen);
    put(stream, quote, quote + qlen);
}

void putFullName(WOStream& stream, const WChar* name, const WChar* quote)
{
    const std::size_t n = textLength(name);
    const std::size_t qlen = textLength(quote);
    if (qlen == 0) {
        if (n)
            put(stream, name, name + n);
        return;
    }
    if (n == 0) {
        putColName(stream, name, quote);
        return;
    }
    const WChar* p = name;
    const WChar* end = name + n;
    for (;;) {
        const WChar* partEnd;
        if (startsWith(p, end, quote, qlen)) {
            // Already quoted: up to the closing quote, a doubled quote staying inside.
            const WChar* q = p + qlen;
            for (;;) {
                if (q >= end) {
                    q = end;
                    break;
                }
                if (startsWith(q, end, quote, qlen)) {
                    if (startsWith(q + qlen, end, quote, qlen)) {
                        q += 2 * qlen;
                        continue;
                    }
                    q += qlen;
                    break;
                }
                ++q;
            }
            partEnd = q;
            while (partEnd < end && *partEnd != '.')
                ++partEnd;
            put(stream, p, partEnd);
        } else {
            partEnd = p;
            while (partEnd < end && *partEnd != '.')
                ++partEnd;
            put(stream, quote, quote + qlen);
            putDoubled(stream, p, partEnd, quote, qlen);
            put(stream, quote, quote + qlen);
        }
        if (partEnd >= end)
            break;
        stream.put(WChar('.'));
        p = partEnd + 1;
    }
}

const WChar* FindSQLKeyword(const WChar* text, const WChar* keyword)
{
    if (!text || !keyword)
        return nullptr;
    Keyword key(keyword);
    if (key.size() == 0)
        return nullptr;
    std::vector<Token> toks = tokenize(text, text + textLength(text));
    std::size_t i = findFirst(toks, 0, toks.size(), key);
    return i == npos ? nullptr : toks[i].begin;
}

WChar* FindSQLKeyword(WChar* text, const WChar* keyword)
{
    return const_cast<WChar*>(FindSQLKeyword(static_cast<const WChar*>(text), keyword));
}

void AppendWhere(WOStream& stream, const WChar* select, const WChar* condition)
{
    if (!select)
        return;
    const WChar* end = select + textLength(select);
    Fragment cond(condition);
    if (cond.empty()) {
        put(stream, select, end);
        return;
    }
    SelectShape s = shapeOf(select, end);
    const std::vector<Keyword> clauses = {"GROUP BY", "HAVING", "ORDER BY", "LIMIT",
                                          "FOR UPDATE"};
    const std::size_t memberEnd = s.memberEnd;

    const Keyword where("WHERE");
    std::size_t w = findFirst(s.toks, s.from, memberEnd, where);
    if (w != npos) {
        std::size_t first = w + where.size();
        std::size_t condEnd = findClause(s.toks, first, memberEnd, clauses);
        if (condEnd == npos)
            condEnd = memberEnd;
        if (first >= condEnd) {
            // "WHERE" with nothing after it: the new condition is the whole condition.
            const WChar* at = s.toks[first - 1].end;
            put(stream, select, at);
            stream.put(WChar(' '));
            cond.writeTo(stream);
            writeRest(stream, at, end);
            return;
        }
        const WChar* oldBegin = s.toks[first].begin;
        const WChar* oldEnd = s.toks[condEnd - 1].end;
        put(stream, select, oldBegin);
        stream.put(WChar('('));
        put(stream, oldBegin, oldEnd);
        put(stream, ") AND (");
        cond.writeTo(stream);
        stream.put(WChar(')'));
        put(stream, oldEnd, end);
        return;
    }

    std::size_t at = findClause(s.toks, s.from, memberEnd, clauses);
    if (at == npos)
        at = memberEnd;
    const WChar* pos = at > 0 ? s.toks[at - 1].end : select;
    put(stream, select, pos);
    put(stream, pos > select ? " WHERE " : "WHERE ");
    cond.writeTo(stream);
    writeRest(stream, pos, end);
}

void AppendOrderBy(WOStream& stream, const WChar* select, const WChar* order)
{
    if (!select)
        return;
    const WChar* end = select + textLength(select);
    Fragment list(order);
    if (list.empty()) {
        put(stream, select, end);
        return;
    }
    SelectShape s = shapeOf(select, end);
    const std::vector<Keyword> after = {"LIMIT", "FOR UPDATE"};

    const Keyword orderBy("ORDER BY");
    std::size_t o = findFirst(s.toks, s.from, s.statementEnd, orderBy);
    if (o != npos) {
        std::size_t first = o + orderBy.size();
        std::size_t listEnd = findFirst(s.toks, first, s.statementEnd, after);
        if (listEnd == npos)
            listEnd = s.statementEnd;
        const WChar* oldEnd = listEnd > first ? s.toks[listEnd - 1].end : s.toks[first - 1].end;
        put(stream, select, s.toks[o].begin);
        put(stream, "ORDER BY ");
        list.writeTo(stream);
        writeRest(stream, oldEnd, end);
        return;
    }

    std::size_t at = findFirst(s.toks, s.from, s.statementEnd, after);
    if (at == npos)
        at = s.statementEnd;
    const WChar* pos = at > 0 ? s.toks[at - 1].end : select;
    put(stream, select, pos);
    put(stream, pos > select ? " ORDER BY " : "ORDER BY ");
    list.writeTo(stream);
    writeRest(stream, pos, end);
}

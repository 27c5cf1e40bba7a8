// The select analysis: the scanner, the recursive-descent parser that fills SQLQueryDesc,
// and its accessors. The ODBC back end and the cursor-backed sources share this one unit.
#include "sqlscanner.h"

#include <vexapi/core/wtext.h>

#include <new>
#include <utility>

namespace DataSourceAPI {

// ---- SQLQueryDesc ----

SQLQueryDesc::Table::Table(const Table& other)
    : isSubquery(other.isSubquery),
      path(other.path),
      subquery(other.subquery ? new SQLQueryDesc(*other.subquery) : nullptr),
      alias(other.alias)
{
}

SQLQueryDesc::Table& SQLQueryDesc::Table::operator=(const Table& other)
{
    if (this != &other) {
        Table copy(other);
        *this = std::move(copy);
    }
    return *this;
}

SQLQueryDesc::Table::Table(Table&& other) noexcept
    : isSubquery(other.isSubquery),
      path(std::move(other.path)),
      subquery(std::move(other.subquery)),
      alias(std::move(other.alias))
{
}

SQLQueryDesc::Table& SQLQueryDesc::Table::operator=(Table&& other) noexcept
{
    isSubquery = other.isSubquery;
    path = std::move(other.path);
    subquery = std::move(other.subquery);
    alias = std::move(other.alias);
    return *this;
}

SQLQueryDesc::Table::~Table() = default;

void SQLQueryDesc::clear()
{
    columns.clear();
    tables.clear();
}

bool SQLQueryDesc::selectsAll() const
{
    for (const Column& c : columns)
        if (c.simple && !c.path.empty() && c.path[0].length() > 0 && c.path[0][0] == '*')
            return true;
    return false;
}

namespace detail {

namespace {

bool isAsciiLetter(WChar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(WChar c)
{
    return c >= '0' && c <= '9';
}

// Letters beyond ASCII are taken as they come: names in national alphabets are words.
bool startsWord(WChar c)
{
    return isAsciiLetter(c) || c == '_' || c == '$' || (c >= 0x80 && c != 0xA0);
}

bool inWord(WChar c)
{
    return startsWord(c) || isDigit(c);
}

bool isBlank(WChar c)
{
    return c == ' ' || (c >= 0x09 && c <= 0x0D) || c == 0xA0;
}

WChar asciiUpper(WChar c)
{
    return (c >= 'a' && c <= 'z') ? WChar(c - 'a' + 'A') : c;
}

// Whether `text` (length n) is `keyword` (upper-case ASCII) without regard to ASCII case.
bool isWord(const WChar* text, int n, const char* keyword)
{
    int i = 0;
    for (; i < n; ++i)
        if (keyword[i] == 0 || asciiUpper(text[i]) != WChar(keyword[i]))
            return false;
    return keyword[i] == 0;
}

struct Keyword {
    const char* word;
    int token; // -1: skipped like a blank
};

// By length, so that a word is compared only with keywords of its own length.
const Keyword kKeywords2[] = {{"AS", tkAs}, {"BY", -1}, {"IN", tkOperator}, {"OR", tkOperator}};
const Keyword kKeywords3[] = {{"ALL", -1}, {"AND", tkOperator}};
const Keyword kKeywords4[] = {{"CAST", tkCast}, {"FROM", tkFrom}, {"JOIN", tkJoin},
                              {"LEFT", -1},     {"LIKE", tkOperator}, {"WITH", -1}};
const Keyword kKeywords5[] = {{"INNER", -1}, {"ORDER", tkClause}, {"PRIOR", -1},
                              {"RIGHT", -1}, {"UNION", tkUnion},  {"WHERE", tkClause}};
const Keyword kKeywords6[] = {{"HAVING", tkClause}, {"SELECT", tkSelect}};
const Keyword kKeywords8[] = {{"DISTINCT", -1}};

// The keyword's token, -1 for a skipped word, 0 for no keyword.
int keywordOf(const WChar* text, int n)
{
    const Keyword* table = nullptr;
    int count = 0;
    switch (n) {
    case 2: table = kKeywords2; count = int(sizeof kKeywords2 / sizeof *kKeywords2); break;
    case 3: table = kKeywords3; count = int(sizeof kKeywords3 / sizeof *kKeywords3); break;
    case 4: table = kKeywords4; count = int(sizeof kKeywords4 / sizeof *kKeywords4); break;
    case 5: table = kKeywords5; count = int(sizeof kKeywords5 / sizeof *kKeywords5); break;
    case 6: table = kKeywords6; count = int(sizeof kKeywords6 / sizeof *kKeywords6); break;
    case 8: table = kKeywords8; count = int(sizeof kKeywords8 / sizeof *kKeywords8); break;
    default: return 0;
    }
    for (int i = 0; i < count; ++i)
        if (isWord(text, n, table[i].word))
            return table[i].token;
    return 0;
}

} // namespace

SQLScanner::SQLScanner(const WChar* text, int length)
    : m_begin(text), m_p(text), m_end(text + length), m_token(tkEnd), m_start(0), m_length(0)
{
    m_text[0] = 0;
}

void SQLScanner::skipBlank()
{
    while (m_p < m_end) {
        const WChar c = *m_p;
        if (isBlank(c)) {
            ++m_p;
        } else if (c == '-' && m_p + 1 < m_end && m_p[1] == '-') {
            while (m_p < m_end && *m_p != '\n')
                ++m_p;
        } else if (c == '/' && m_p + 1 < m_end && m_p[1] == '*') {
            m_p += 2;
            while (m_p < m_end && !(*m_p == '*' && m_p + 1 < m_end && m_p[1] == '/'))
                ++m_p;
            m_p = m_p < m_end ? m_p + 2 : m_end;
        } else {
            return;
        }
    }
}

// Appends to the token's text; the buffer's size is the one limit of a token.
void SQLScanner::put(WChar c)
{
    if (m_length >= sqlMaxTokenLength)
        throw SQLParseError{sqlParseTokenTooLong, m_start};
    m_text[m_length++] = c;
}

int SQLScanner::word()
{
    const WChar* start = m_p;
    while (m_p < m_end && inWord(*m_p))
        ++m_p;
    const int n = int(m_p - start);
    if (n > sqlMaxTokenLength)
        throw SQLParseError{sqlParseTokenTooLong, m_start};
    const int keyword = keywordOf(start, n);
    if (keyword < 0)
        return -1;
    if (keyword == tkOperator) {
        for (int i = 0; i < n; ++i)
            m_text[i] = asciiUpper(start[i]);
        m_length = n;
        return tkOperator;
    }
    if (keyword > 0)
        return keyword;
    bool ascii = true;
    if (m_p < m_end && *m_p == '(') {
        for (int i = 0; i < n; ++i)
            m_text[i] = start[i];
        m_length = n;
        return tkFunction;
    }
    for (int i = 0; i < n; ++i) {
        const WChar c = start[i];
        ascii = ascii && c < 0x80;
        m_text[i] = asciiUpper(c);
    }
    m_length = n;
    if (!ascii) {
        m_text[n] = 0;
        str2upper(m_text);
    }
    return tkName;
}

int SQLScanner::next()
{
    for (;;) {
        skipBlank();
        m_start = int(m_p - m_begin);
        m_length = 0;
        m_token = scan();
        if (m_token >= 0)
            break;
    }
    m_text[m_length] = 0;
    return m_token;
}

int SQLScanner::scan()
{
    if (m_p >= m_end)
        return tkEnd;
    const WChar c = *m_p;
    switch (c) {
    case '(':
    case ')':
    case ',':
    case '.':
        ++m_p;
        return c;
    case '*':
    case '+':
    case '-':
    case '/':
    case ':':
    case '=':
        ++m_p;
        m_text[m_length++] = c;
        return tkOperator;
    case ';':
        ++m_p;
        skipBlank();
        // The statement ends here; what follows is another statement or nothing.
        m_p = m_end;
        return tkEnd;
    case '"':
        ++m_p;
        while (m_p < m_end && *m_p != '"')
            put(*m_p++);
        if (m_p >= m_end)
            throw SQLParseError{sqlParseUnterminated, m_start};
        ++m_p;
        return tkName;
    case '\'':
        ++m_p;
        for (;;) {
            if (m_p >= m_end)
                throw SQLParseError{sqlParseUnterminated, m_start};
            if (*m_p == '\'') {
                if (m_p + 1 < m_end && m_p[1] == '\'') {
                    put('\'');
                    m_p += 2;
                    continue;
                }
                ++m_p;
                return tkLiteral;
            }
            put(*m_p++);
        }
    default:
        break;
    }
    if (isDigit(c)) {
        while (m_p < m_end && isDigit(*m_p))
            put(*m_p++);
        return tkLiteral;
    }
    if (startsWord(c))
        return word();
    // Outside the grammar: the analysis ends here. The position stays, so that the end
    // is seen again by whoever reads on.
    return tkEnd;
}

} // namespace detail

namespace {

using namespace detail;

// The recursive descent over the scanner's tokens. A null description or path receives
// nothing: the parts that are read and dropped (nested queries, later members of a union)
// build nothing.
class Parser {
public:
    explicit Parser(SQLScanner& scanner) : m_s(scanner), m_depth(0) {}

    void query(SQLQueryDesc* desc);

private:
    // Guards the recursion: a text nested deeper than sqlMaxNesting fails instead of
    // exhausting the stack.
    class Level {
    public:
        explicit Level(Parser& p) : m_p(p)
        {
            if (++m_p.m_depth > sqlMaxNesting)
                throw SQLParseError{sqlParseTooDeep, m_p.m_s.offset()};
        }
        ~Level() { --m_p.m_depth; }

    private:
        Parser& m_p;
    };

    [[noreturn]] void fail() { throw SQLParseError{sqlParseSyntax, m_s.offset()}; }
    void expect(int token)
    {
        if (m_s.token() != token)
            fail();
        m_s.next();
    }
    int tok() const { return m_s.token(); }

    void member(SQLQueryDesc* desc);
    void resultColumn(SQLQueryDesc* desc);
    void table(SQLQueryDesc* desc);
    void expression(SQLNamePath* path, bool& simple);
    void term(SQLNamePath* path, bool& simple);
    void namePath(SQLNamePath* path, bool star);
    void typeName();
    void take(SQLNamePath* path)
    {
        if (path)
            path->add(WCharString(m_s.text(), m_s.textLength()));
    }

    SQLScanner& m_s;
    int m_depth;
};

// query: member { UNION member }. The later members are read and dropped.
void Parser::query(SQLQueryDesc* desc)
{
    Level level(*this);
    member(desc);
    while (tok() == tkUnion) {
        m_s.next();
        member(nullptr);
    }
}

// member: "(" ... SELECT column { "," column } FROM table { ("," | JOIN) table }
//         [ clause { clause } ]. A clause is WHERE, HAVING or ORDER with one expression; the
//         first token that continues nothing ends the member without error.
void Parser::member(SQLQueryDesc* desc)
{
    if (desc)
        desc->clear();
    while (tok() == tkOpen)
        m_s.next();
    expect(tkSelect);
    for (;;) {
        resultColumn(desc);
        if (tok() == tkFrom) {
            m_s.next();
            break;
        }
        if (tok() != tkComma)
            fail();
        m_s.next();
    }
    for (;;) {
        table(desc);
        if (tok() == tkComma || tok() == tkJoin) {
            m_s.next();
            continue;
        }
        break;
    }
    while (tok() == tkClause) {
        m_s.next();
        bool simple = true;
        expression(nullptr, simple);
    }
}

void Parser::resultColumn(SQLQueryDesc* desc)
{
    SQLQueryDesc::Column column;
    SQLQueryDesc::Column* c = desc ? &column : nullptr;
    bool simple = true;
    expression(c ? &c->path : nullptr, simple);
    if (tok() == tkAs) {
        m_s.next();
        if (tok() != tkName)
            fail();
        take(c ? &c->alias : nullptr);
        m_s.next();
    } else if (tok() == tkName) {
        take(c ? &c->alias : nullptr);
        m_s.next();
    }
    if (c) {
        c->simple = simple;
        if (!simple)
            c->path.clear();
        desc->columns.add(std::move(column));
    }
}

void Parser::table(SQLQueryDesc* desc)
{
    SQLQueryDesc::Table table;
    SQLQueryDesc::Table* t = desc ? &table : nullptr;
    if (tok() == tkOpen) {
        m_s.next();
        if (t) {
            t->isSubquery = true;
            t->subquery.reset(new SQLQueryDesc);
        }
        query(t ? t->subquery.get() : nullptr);
        expect(tkClose);
    } else {
        namePath(t ? &t->path : nullptr, false);
    }
    if (tok() == tkAs) {
        m_s.next();
        namePath(t ? &t->alias : nullptr, false);
    } else if (tok() == tkName) {
        take(t ? &t->alias : nullptr);
        m_s.next();
    }
    if (t)
        desc->tables.add(std::move(table));
}

// expression: a nested query, or term { operator term }. Only a lone term can be simple.
void Parser::expression(SQLNamePath* path, bool& simple)
{
    Level level(*this);
    if (tok() == tkSelect) {
        query(nullptr);
        simple = false;
        return;
    }
    term(path, simple);
    while (tok() == tkOperator) {
        m_s.next();
        bool other = true;
        term(nullptr, other);
        simple = false;
    }
}

void Parser::term(SQLNamePath* path, bool& simple)
{
    Level level(*this);
    switch (tok()) {
    case tkCast: {
        // CAST ( expression AS type ): the parentheses as SQL writes them, a type with its
        // own arguments ("varchar(10)") as a function name.
        m_s.next();
        const bool open = tok() == tkOpen;
        if (open)
            m_s.next();
        bool inner = true;
        expression(nullptr, inner);
        expect(tkAs);
        typeName();
        if (open)
            expect(tkClose);
        simple = false;
        return;
    }
    case tkLiteral:
        m_s.next();
        simple = false;
        return;
    case tkFunction:
        m_s.next();
        expect(tkOpen);
        if (tok() != tkClose) {
            for (;;) {
                bool arg = true;
                expression(nullptr, arg);
                if (tok() != tkComma)
                    break;
                m_s.next();
            }
        }
        expect(tkClose);
        simple = false;
        return;
    case tkOperator:
        if (m_s.isStar()) {
            namePath(path, true);
            return;
        }
        m_s.next();
        {
            bool operand = true;
            term(nullptr, operand);
        }
        simple = false;
        return;
    case tkOpen:
        m_s.next();
        expression(path, simple);
        expect(tkClose);
        return;
    default:
        namePath(path, true);
        return;
    }
}

// A name path: name { "." name }; with `star`, "*" is a name too.
void Parser::namePath(SQLNamePath* path, bool star)
{
    for (;;) {
        if (!(tok() == tkName || (star && m_s.isStar())))
            fail();
        take(path);
        m_s.next();
        if (tok() != tkDot)
            return;
        m_s.next();
    }
}

// The type of a CAST: a name, or a name with arguments ("numeric(10, 2)").
void Parser::typeName()
{
    if (tok() == tkName) {
        m_s.next();
        return;
    }
    if (tok() != tkFunction)
        fail();
    m_s.next();
    expect(tkOpen);
    for (;;) {
        bool arg = true;
        expression(nullptr, arg);
        if (tok() != tkComma)
            break;
        m_s.next();
    }
    expect(tkClose);
}

// The length of `text` when it is at most `limit` characters, else limit + 1.
int boundedLength(const WChar* text, int limit)
{
    int n = 0;
    while (n <= limit && text[n])
        ++n;
    return n;
}

} // namespace

bool parseSelect(const WChar* text, SQLQueryDesc& desc)
{
    desc.clear();
    desc.m_failure = sqlParseOk;
    desc.m_failureOffset = 0;
    if (!text) {
        desc.m_failure = sqlParseNoText;
        return false;
    }
    const int length = boundedLength(text, sqlMaxStatementLength);
    if (length > sqlMaxStatementLength) {
        desc.m_failure = sqlParseStatementTooLong;
        desc.m_failureOffset = sqlMaxStatementLength;
        return false;
    }
    try {
        // The scanner's buffer is large; it lives on the heap so that deep call chains of
        // the caller keep their stack.
        std::unique_ptr<SQLScanner> scanner(new SQLScanner(text, length));
        scanner->next();
        Parser(*scanner).query(&desc);
        return true;
    } catch (const SQLParseError& e) {
        desc.m_failure = e.failure;
        desc.m_failureOffset = e.offset;
    } catch (const std::bad_alloc&) {
        desc.m_failure = sqlParseOutOfMemory;
    }
    desc.clear();
    return false;
}

bool columnAlias(const SQLQueryDesc& desc, int index, WChar* buffer, int len)
{
    if (index < 0 || index >= desc.columns.size() || !buffer || len < 1)
        return false;
    const SQLNamePath& alias = desc.columns[index].alias;
    if (alias.empty())
        return false;
    const WCharString& first = alias[0];
    int n = first.length();
    if (n > len - 1)
        n = len - 1;
    for (int i = 0; i < n; ++i)
        buffer[i] = first[i];
    buffer[n] = 0;
    return true;
}

} // namespace DataSourceAPI

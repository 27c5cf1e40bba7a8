// The rewriting of the server's dialect into SQLite's (see the table in dialect.h).
#include "dialect.h"

#include <vexapi/values/orvdate.h>
#include "sqltokens.h"

#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <set>
#include <string>

namespace OrvCPP {
namespace detail {

const char* const kCurrentKeyParam = ":vx_current_key";

namespace {

SqlToken made(SqlToken::Kind kind, const std::string& text, int src)
{
    return SqlToken{kind, text, src};
}

bool isHexDigits(const std::string& s)
{
    for (char c : s)
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
    return true;
}

// The body of a string token ('it''s' gives it's).
std::string stringValue(const SqlToken& t)
{
    std::string inner = t.text.size() >= 2 ? t.text.substr(1, t.text.size() - 2) : std::string();
    std::string out;
    for (std::size_t i = 0; i < inner.size(); ++i) {
        out += inner[i];
        if (inner[i] == '\'' && i + 1 < inner.size() && inner[i + 1] == '\'')
            ++i;
    }
    return out;
}

std::string stringLiteral(const std::string& value)
{
    std::string out = "'";
    for (char c : value) {
        out += c;
        if (c == '\'')
            out += '\'';
    }
    out += '\'';
    return out;
}

// Index of the token that closes the parenthesis opened at `open`, or tokens.size().
std::size_t closingParen(const SqlTokens& t, std::size_t open)
{
    int depth = 0;
    for (std::size_t i = open; i < t.size(); ++i) {
        if (t[i].isPunct("("))
            ++depth;
        else if (t[i].isPunct(")") && --depth == 0)
            return i;
    }
    return t.size();
}

// Splits (from, to) at top-level commas into ranges of tokens.
std::vector<std::pair<std::size_t, std::size_t>> splitCommas(const SqlTokens& t, std::size_t from,
                                                             std::size_t to)
{
    std::vector<std::pair<std::size_t, std::size_t>> parts;
    int depth = 0;
    std::size_t start = from;
    for (std::size_t i = from; i < to; ++i) {
        if (t[i].isPunct("("))
            ++depth;
        else if (t[i].isPunct(")"))
            --depth;
        else if (depth == 0 && t[i].isPunct(",")) {
            parts.emplace_back(start, i);
            start = i + 1;
        }
    }
    if (start < to || !parts.empty())
        parts.emplace_back(start, to);
    return parts;
}

// The non-blank tokens of a range.
std::vector<std::size_t> solid(const SqlTokens& t, std::size_t from, std::size_t to)
{
    std::vector<std::size_t> out;
    for (std::size_t i = from; i < to; ++i)
        if (!t[i].isBlank())
            out.push_back(i);
    return out;
}

// hex('digits') starting at `i`: the index of its closing ")" and the digits, else 0.
std::size_t matchHex(const SqlTokens& t, std::size_t i, std::string& digits)
{
    if (!t[i].isWord("hex"))
        return 0;
    std::size_t p = skipBlank(t, i + 1);
    if (p >= t.size() || !t[p].isPunct("("))
        return 0;
    std::size_t s = skipBlank(t, p + 1);
    if (s >= t.size() || !t[s].is(SqlToken::String))
        return 0;
    std::size_t c = skipBlank(t, s + 1);
    if (c >= t.size() || !t[c].isPunct(")"))
        return 0;
    digits = stringValue(t[s]);
    if (digits.size() % 2 != 0 || !isHexDigits(digits))
        return 0;
    return c;
}

// The literal that replaces hex('digits'): text for a wide column, else a blob.
SqlToken hexLiteral(const std::string& digits, bool wide, int src)
{
    std::string text;
    if (wide && wideHexToUtf8(digits, text))
        return made(SqlToken::String, stringLiteral(text), src);
    return made(SqlToken::String, "X'" + digits + "'", src);
}

// A schema-qualified name starting at `i` ("t", "s"."t"): sets schema and table and returns
// the index after it.
std::size_t readQualifiedName(const SqlTokens& t, std::size_t i, std::string& schema,
                              std::string& table)
{
    schema.clear();
    table.clear();
    if (i >= t.size() || !t[i].isName())
        return i;
    table = nameValue(t[i]);
    std::size_t dot = skipBlank(t, i + 1);
    if (dot < t.size() && t[dot].isPunct(".")) {
        std::size_t second = skipBlank(t, dot + 1);
        if (second < t.size() && t[second].isName()) {
            schema = table;
            table = nameValue(t[second]);
            return second + 1;
        }
    }
    return i + 1;
}

bool isGridDate(const std::string& v)
{
    // mm/dd/yyyy:hh:mi:ss with an optional .ff
    static const char shape[] = "99/99/9999:99:99:99.99";
    if (v.size() != 19 && v.size() != 22)
        return false;
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (shape[i] == '9' ? !std::isdigit(static_cast<unsigned char>(v[i])) : v[i] != shape[i])
            return false;
    }
    return true;
}

class Translator {
public:
    Translator(const std::string& text, const WideColumnTest& isWide)
        : m_text(text), m_isWide(isWide)
    {
    }

    DialectText run();

private:
    void cutExtraStatements();
    void classify();
    bool translateCall();
    void rewriteInsertDefaults();
    void mainPass();
    void emit(const SqlTokens& tokens);
    // The table a column of "name = hex(...)" belongs to: the written table, or in a
    // select the first table of its FROM.
    bool wide(const std::string& column) const
    {
        return m_isWide && !column.empty() && !m_lookupTable.empty() && m_isWide(m_lookupSchema, m_lookupTable, column);
    }

    const std::string& m_text;
    const WideColumnTest& m_isWide;
    SqlTokens m_t;
    DialectText m_out;
    std::string m_lookupSchema, m_lookupTable;
};

void Translator::cutExtraStatements()
{
    int depth = 0;
    for (std::size_t i = 0; i < m_t.size(); ++i) {
        if (m_t[i].isPunct("("))
            ++depth;
        else if (m_t[i].isPunct(")"))
            --depth;
        else if (m_t[i].is(SqlToken::Semicolon) && depth <= 0) {
            // SQLite would quietly run only the first statement: say so instead.
            if (skipBlank(m_t, i + 1) < m_t.size()) {
                for (std::size_t j = i + 1; j < m_t.size(); ++j)
                    if (!m_t[j].isBlank() && !m_t[j].is(SqlToken::Semicolon))
                        m_out.extraStatement = true;
            }
            m_t.resize(i);
            return;
        }
    }
}

void Translator::classify()
{
    std::size_t i = skipBlank(m_t, 0);
    if (i >= m_t.size())
        return;
    const SqlToken& first = m_t[i];
    if (first.isWord("with")) {
        // The kind of the statement the common table expressions precede: the first
        // top-level keyword of a statement after them.
        int depth = 0;
        for (std::size_t j = i + 1; j < m_t.size(); ++j) {
            if (m_t[j].isPunct("("))
                ++depth;
            else if (m_t[j].isPunct(")"))
                --depth;
            else if (depth == 0 && m_t[j].kind == SqlToken::Word) {
                if (m_t[j].isWord("select") || m_t[j].isWord("values") || m_t[j].isWord("insert") ||
                    m_t[j].isWord("replace") || m_t[j].isWord("update") || m_t[j].isWord("delete")) {
                    i = j;
                    break;
                }
            }
        }
    }
    const SqlToken& k = m_t[i];
    if (k.isWord("select") || k.isWord("values"))
        m_out.kind = kindSelect;
    else if (k.isWord("insert") || k.isWord("replace"))
        m_out.kind = kindInsert;
    else if (k.isWord("update"))
        m_out.kind = kindUpdate;
    else if (k.isWord("delete"))
        m_out.kind = kindDelete;
    else if (k.isWord("create") || k.isWord("drop") || k.isWord("alter"))
        m_out.kind = kindDefinition;
    else if (k.isWord("begin") || k.isWord("commit") || k.isWord("end") || k.isWord("rollback") ||
             k.isWord("savepoint") || k.isWord("release"))
        m_out.kind = kindTransaction;
    else if (k.isWord("call"))
        m_out.kind = kindProcedure;
    else
        m_out.kind = kindOther;

    // The target table of a write.
    std::size_t j = skipBlank(m_t, i + 1);
    if (m_out.kind == kindInsert) {
        while (j < m_t.size() && !m_t[j].isWord("into"))
            ++j;
        readQualifiedName(m_t, skipBlank(m_t, j + 1), m_out.targetSchema, m_out.targetTable);
    } else if (m_out.kind == kindUpdate) {
        if (j < m_t.size() && m_t[j].isWord("or"))
            j = skipBlank(m_t, skipBlank(m_t, j + 1) + 1);
        readQualifiedName(m_t, j, m_out.targetSchema, m_out.targetTable);
    } else if (m_out.kind == kindDelete) {
        if (j < m_t.size() && m_t[j].isWord("from"))
            readQualifiedName(m_t, skipBlank(m_t, j + 1), m_out.targetSchema, m_out.targetTable);
    }
    m_lookupSchema = m_out.targetSchema;
    m_lookupTable = m_out.targetTable;
    if (m_out.kind == kindSelect) {
        int depth = 0;
        for (std::size_t k = i; k < m_t.size(); ++k) {
            if (m_t[k].isPunct("("))
                ++depth;
            else if (m_t[k].isPunct(")"))
                --depth;
            else if (depth == 0 && m_t[k].isWord("from")) {
                readQualifiedName(m_t, skipBlank(m_t, k + 1), m_lookupSchema, m_lookupTable);
                break;
            }
        }
    }
}

// CALL name [(args)]: the arguments become a select, so that SQLite evaluates them with
// their parameters; the layer calls the procedure with the values.
bool Translator::translateCall()
{
    std::size_t i = skipBlank(m_t, 0);
    std::size_t n = skipBlank(m_t, i + 1);
    std::string schema;
    std::size_t after = readQualifiedName(m_t, n, schema, m_out.procedure);
    SqlTokens args;
    std::size_t open = skipBlank(m_t, after);
    if (open < m_t.size() && m_t[open].isPunct("(")) {
        std::size_t close = closingParen(m_t, open);
        for (std::size_t k = open + 1; k < close && k < m_t.size(); ++k)
            args.push_back(m_t[k]);
    }
    bool any = false;
    for (const SqlToken& a : args)
        any = any || !a.isBlank();
    m_t.clear();
    if (any) {
        m_t.push_back(made(SqlToken::Word, "SELECT", args.front().src));
        m_t.push_back(made(SqlToken::Space, " ", args.front().src));
        m_t.insert(m_t.end(), args.begin(), args.end());
    }
    return true;
}

void Translator::rewriteInsertDefaults()
{
    // INSERT ... INTO name (cols) VALUES (values): one row.
    std::size_t into = 0;
    while (into < m_t.size() && !m_t[into].isWord("into"))
        ++into;
    if (into >= m_t.size())
        return;
    std::string schema, table;
    std::size_t afterName = readQualifiedName(m_t, skipBlank(m_t, into + 1), schema, table);
    std::size_t colOpen = skipBlank(m_t, afterName);
    if (colOpen >= m_t.size() || !m_t[colOpen].isPunct("("))
        return;
    std::size_t colClose = closingParen(m_t, colOpen);
    std::size_t values = skipBlank(m_t, colClose + 1);
    if (values >= m_t.size() || !m_t[values].isWord("values"))
        return;
    std::size_t valOpen = skipBlank(m_t, values + 1);
    if (valOpen >= m_t.size() || !m_t[valOpen].isPunct("("))
        return;
    std::size_t valClose = closingParen(m_t, valOpen);
    if (valClose >= m_t.size())
        return;
    // Only a single row: a second tuple keeps the statement as it is.
    std::size_t rest = skipBlank(m_t, valClose + 1);
    if (rest < m_t.size() && m_t[rest].isPunct(","))
        return;

    auto cols = splitCommas(m_t, colOpen + 1, colClose);
    auto vals = splitCommas(m_t, valOpen + 1, valClose);
    if (cols.size() != vals.size())
        return;
    SqlTokens newCols, newVals;
    bool changed = cols.empty(); // "() values ()"
    for (std::size_t c = 0; c < cols.size(); ++c) {
        std::vector<std::size_t> v = solid(m_t, vals[c].first, vals[c].second);
        std::vector<std::size_t> name = solid(m_t, cols[c].first, cols[c].second);
        if (v.size() == 1 && m_t[v[0]].isWord("default")) {
            changed = true;
            continue;
        }
        if (!newCols.empty()) {
            newCols.push_back(made(SqlToken::Punct, ",", m_t[cols[c].first].src));
            newCols.push_back(made(SqlToken::Space, " ", m_t[cols[c].first].src));
            newVals.push_back(made(SqlToken::Punct, ",", m_t[vals[c].first].src));
            newVals.push_back(made(SqlToken::Space, " ", m_t[vals[c].first].src));
        }
        for (std::size_t k : name)
            newCols.push_back(m_t[k]);
        // A wide text column's hex literal is text.
        std::string digits;
        if (name.size() == 1 && !v.empty() && matchHex(m_t, v[0], digits) == v.back() &&
            m_isWide && m_isWide(schema, table, nameValue(m_t[name[0]]))) {
            newVals.push_back(hexLiteral(digits, true, m_t[v[0]].src));
            changed = true;
            continue;
        }
        for (std::size_t k = vals[c].first; k < vals[c].second; ++k)
            if (!(newVals.empty() && m_t[k].isBlank()))
                newVals.push_back(m_t[k]);
    }
    if (!changed)
        return;
    SqlTokens out(m_t.begin(), m_t.begin() + std::ptrdiff_t(colOpen));
    if (newCols.empty()) {
        out.push_back(made(SqlToken::Word, "DEFAULT", m_t[values].src));
        out.push_back(made(SqlToken::Space, " ", m_t[values].src));
        out.push_back(made(SqlToken::Word, "VALUES", m_t[values].src));
    } else {
        out.push_back(m_t[colOpen]);
        out.insert(out.end(), newCols.begin(), newCols.end());
        out.push_back(m_t[colClose]);
        out.push_back(made(SqlToken::Space, " ", m_t[values].src));
        out.push_back(m_t[values]);
        out.push_back(made(SqlToken::Space, " ", m_t[valOpen].src));
        out.push_back(m_t[valOpen]);
        out.insert(out.end(), newVals.begin(), newVals.end());
        out.push_back(m_t[valClose]);
    }
    out.insert(out.end(), m_t.begin() + std::ptrdiff_t(valClose + 1), m_t.end());
    m_t.swap(out);
}

void Translator::mainPass()
{
    SqlTokens out;
    out.reserve(m_t.size());
    // Bare casts waiting for their AS: the parenthesis depth at which each started.
    std::vector<int> casts;
    int depth = 0;
    int maxParam = 0;
    std::set<std::string> named;
    m_out.paramNames.assign(1, std::string());

    auto noteParam = [&](int n, const std::string& name) {
        if (int(m_out.paramNames.size()) <= n)
            m_out.paramNames.resize(std::size_t(n) + 1);
        m_out.paramNames[std::size_t(n)] = name;
    };

    for (std::size_t i = 0; i < m_t.size(); ++i) {
        const SqlToken& t = m_t[i];
        if (t.isPunct("(")) {
            ++depth;
        } else if (t.isPunct(")")) {
            --depth;
        } else if (t.is(SqlToken::Param)) {
            if (t.text == "?") {
                ++maxParam;
                noteParam(maxParam, "");
                out.push_back(made(SqlToken::Param, "?" + std::to_string(maxParam), t.src));
                continue;
            }
            if (t.text[0] == '?') {
                int n = std::atoi(t.text.c_str() + 1);
                if (n > 0) {
                    maxParam = std::max(maxParam, n);
                    noteParam(n, t.text);
                }
            } else if (named.insert(t.text).second) {
                ++maxParam;
                noteParam(maxParam, t.text);
            }
        } else if (t.kind == SqlToken::Word) {
            if (t.text.compare(0, 3, "$$$") == 0) {
                m_out.usesCatalog = true;
                out.push_back(made(SqlToken::QuotedName, quoteName(t.text), t.src));
                continue;
            }
            if (t.isWord("ORVANE_SYSTEM_USER")) {
                std::size_t dot = skipBlank(m_t, i + 1);
                if (dot < m_t.size() && m_t[dot].isPunct(".")) {
                    m_out.usesCatalog = true;
                    out.push_back(made(SqlToken::Word, "temp", t.src));
                    continue;
                }
            }
            if (t.isWord("cast")) {
                std::size_t next = skipBlank(m_t, i + 1);
                if (next < m_t.size() && !m_t[next].isPunct("(")) {
                    casts.push_back(depth);
                    out.push_back(made(SqlToken::Word, "CAST", t.src));
                    out.push_back(made(SqlToken::Punct, "(", t.src));
                    i = next - 1; // the blanks after CAST go
                    continue;
                }
            }
            if (!casts.empty() && casts.back() == depth && t.isWord("as")) {
                // The type: a name, perhaps of several words' first, with its (n[, m]).
                while (!out.empty() && out.back().isBlank())
                    out.pop_back();
                out.push_back(made(SqlToken::Space, " ", t.src));
                out.push_back(made(SqlToken::Word, "AS", t.src));
                std::size_t ty = skipBlank(m_t, i + 1);
                std::size_t last = i;
                if (ty < m_t.size() && m_t[ty].isName()) {
                    out.push_back(made(SqlToken::Space, " ", m_t[ty].src));
                    out.push_back(m_t[ty]);
                    last = ty;
                    std::size_t p = skipBlank(m_t, ty + 1);
                    if (p < m_t.size() && m_t[p].isPunct("(")) {
                        std::size_t close = closingParen(m_t, p);
                        for (std::size_t k = p; k <= close && k < m_t.size(); ++k)
                            out.push_back(m_t[k]);
                        last = close;
                    }
                }
                out.push_back(made(SqlToken::Punct, ")", t.src));
                casts.pop_back();
                i = last;
                continue;
            }
            std::string digits;
            if (std::size_t close = matchHex(m_t, i, digits)) {
                // "name = hex(...)": the column decides between bytes and wide text.
                std::string column;
                std::size_t k = out.size();
                while (k > 0 && out[k - 1].isBlank())
                    --k;
                if (k > 0 && (out[k - 1].isPunct("=") || out[k - 1].isPunct("=="))) {
                    --k;
                    while (k > 0 && out[k - 1].isBlank())
                        --k;
                    if (k > 0 && out[k - 1].isName())
                        column = nameValue(out[k - 1]);
                }
                out.push_back(hexLiteral(digits, wide(column), t.src));
                i = close;
                continue;
            }
            if (t.isWord("where") && (m_out.kind == kindUpdate || m_out.kind == kindDelete) &&
                depth == 0) {
                std::size_t c = skipBlank(m_t, i + 1);
                std::size_t o = c < m_t.size() ? skipBlank(m_t, c + 1) : c;
                std::size_t name = o < m_t.size() ? skipBlank(m_t, o + 1) : o;
                if (name < m_t.size() && m_t[c].isWord("current") && m_t[o].isWord("of") &&
                    m_t[name].isName()) {
                    m_out.cursorName = nameValue(m_t[name]);
                    m_out.kind = m_out.kind == kindUpdate ? kindPositionedUpdate : kindPositionedDelete;
                    out.push_back(t);
                    out.push_back(made(SqlToken::Space, " ", m_t[c].src));
                    out.push_back(made(SqlToken::Word, "rowid", m_t[c].src));
                    out.push_back(made(SqlToken::Space, " ", m_t[c].src));
                    out.push_back(made(SqlToken::Punct, "=", m_t[c].src));
                    out.push_back(made(SqlToken::Space, " ", m_t[c].src));
                    out.push_back(made(SqlToken::Param, kCurrentKeyParam, m_t[name].src));
                    ++maxParam;
                    noteParam(maxParam, kCurrentKeyParam);
                    i = name;
                    continue;
                }
            }
        } else if (t.is(SqlToken::String)) {
            const std::string v = stringValue(t);
            if (isGridDate(v)) {
                OrvDate d;
                char canonical[OrvDate::TextSize];
                const char* format = v.size() == 22 ? "mm/dd/yyyy:hh:mi:ss.ff" : "mm/dd/yyyy:hh:mi:ss";
                if (OrvDate::parse(v.c_str(), int(v.size()), format, d) == 0 &&
                    d.toText(canonical, sizeof canonical) == 0) {
                    out.push_back(made(SqlToken::String, stringLiteral(canonical), t.src));
                    continue;
                }
            }
        }
        out.push_back(t);
    }
    // A cast left open by a missing AS is closed so that SQLite reports the real problem.
    for (std::size_t k = 0; k < casts.size(); ++k)
        out.push_back(made(SqlToken::Punct, ")", int(m_text.size())));
    m_t.swap(out);
}

void Translator::emit(const SqlTokens& tokens)
{
    for (const SqlToken& t : tokens) {
        m_out.offsets.emplace_back(int(m_out.sql.size()), t.src);
        m_out.sql += t.text;
    }
}

DialectText Translator::run()
{
    m_t = tokenize(m_text);
    cutExtraStatements();
    classify();
    if (m_out.kind == kindProcedure)
        translateCall();
    else if (m_out.kind == kindInsert)
        rewriteInsertDefaults();
    mainPass();
    emit(m_t);
    return m_out;
}

} // namespace

int DialectText::sourceOffset(int offset) const
{
    if (offsets.empty())
        return offset;
    // The last token starting at or before `offset`.
    auto it = std::upper_bound(offsets.begin(), offsets.end(), std::make_pair(offset, 1 << 30));
    if (it == offsets.begin())
        return offsets.front().second;
    --it;
    return it->second + (offset - it->first);
}

DialectText translateDialect(const std::string& text, const WideColumnTest& isWide)
{
    Translator t(text, isWide);
    return t.run();
}

bool wideHexToUtf8(const std::string& digits, std::string& out)
{
    if (digits.size() % 4 != 0 || !isHexDigits(digits))
        return false;
    WString units;
    for (std::size_t i = 0; i < digits.size(); i += 4)
        units += WChar(std::stoul(digits.substr(i, 4), nullptr, 16));
    const int need = wcs2mbs(nullptr, units.c_str(), "UTF-8", 0, int(units.size()));
    if (need < 0)
        return false;
    std::string buffer(std::size_t(need) + 1, '\0');
    wcs2mbs(&buffer[0], units.c_str(), "UTF-8", need + 1, int(units.size()));
    buffer.resize(std::size_t(need));
    out = buffer;
    return true;
}

} // namespace detail
} // namespace OrvCPP

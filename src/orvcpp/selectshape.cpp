// Analysis of a select's shape for the scrollable cursor.
#include "selectshape.h"

#include "sqltokens.h"

#include <algorithm>
#include <vector>

namespace OrvCPP {
namespace detail {

namespace {

bool isClauseWord(const SqlToken& t)
{
    static const char* const words[] = {"where", "group", "having", "order", "limit", "window",
                                        "union", "intersect", "except"};
    for (const char* w : words)
        if (t.isWord(w))
            return true;
    return false;
}

bool isJoinWord(const SqlToken& t)
{
    static const char* const words[] = {"join", "natural", "left", "right", "full", "inner",
                                        "cross", "outer", "on", "using", "indexed", "not"};
    for (const char* w : words)
        if (t.isWord(w))
            return true;
    return false;
}

bool hasAggregate(const SqlTokens& t, std::size_t from, std::size_t to)
{
    static const char* const names[] = {"count", "sum", "avg", "min", "max", "total",
                                        "group_concat", "string_agg"};
    for (std::size_t i = from; i < to; ++i) {
        if (t[i].isWord("over"))
            return true;
        if (t[i].kind != SqlToken::Word)
            continue;
        for (const char* n : names)
            if (t[i].isWord(n)) {
                std::size_t p = skipBlank(t, i + 1);
                if (p < to && t[p].isPunct("("))
                    return true;
            }
    }
    return false;
}

std::string trimmed(const SqlTokens& t, std::size_t from, std::size_t to)
{
    from = skipBlank(t, from);
    while (to > from && t[to - 1].isBlank())
        --to;
    return joinTokens(t, from, to);
}

} // namespace

SelectShape analyseSelect(const std::string& sql)
{
    SelectShape shape;
    SqlTokens t = tokenize(sql);
    // Drop a final ';' and anything after it.
    for (std::size_t i = 0; i < t.size(); ++i)
        if (t[i].is(SqlToken::Semicolon)) {
            t.resize(i);
            break;
        }
    std::size_t sel = skipBlank(t, 0);
    if (sel >= t.size() || !t[sel].isWord("select"))
        return shape;
    std::size_t first = skipBlank(t, sel + 1);
    if (first < t.size() && t[first].isWord("distinct"))
        return shape;
    if (first < t.size() && t[first].isWord("all"))
        first = skipBlank(t, first + 1);

    // Top-level positions of FROM and of the clauses after it.
    int depth = 0;
    std::size_t from = t.size(), where = t.size(), order = t.size(), limit = t.size();
    for (std::size_t i = first; i < t.size(); ++i) {
        if (t[i].isPunct("(")) {
            ++depth;
            continue;
        }
        if (t[i].isPunct(")")) {
            --depth;
            continue;
        }
        if (depth != 0 || t[i].kind != SqlToken::Word)
            continue;
        if (from == t.size()) {
            if (t[i].isWord("from"))
                from = i;
            continue;
        }
        if (t[i].isWord("where") && where == t.size() && order == t.size())
            where = i;
        else if (t[i].isWord("order") && order == t.size())
            order = i;
        else if (t[i].isWord("limit") && limit == t.size())
            limit = i;
        else if (t[i].isWord("group") || t[i].isWord("having") || t[i].isWord("window") ||
                 t[i].isWord("union") || t[i].isWord("intersect") || t[i].isWord("except"))
            return shape;
    }
    if (from == t.size())
        return shape;
    if (hasAggregate(t, first, from))
        return shape;

    // FROM name [. name] [[AS] alias], then a clause or the end.
    std::size_t fromEnd = std::min(where, std::min(order, limit));
    std::vector<std::size_t> parts;
    for (std::size_t i = from + 1; i < fromEnd; ++i)
        if (!t[i].isBlank())
            parts.push_back(i);
    std::size_t p = 0;
    if (p >= parts.size() || !t[parts[p]].isName())
        return shape;
    shape.table = nameValue(t[parts[p]]);
    std::string qualifier = t[parts[p]].text;
    ++p;
    if (p + 1 < parts.size() && t[parts[p]].isPunct(".") && t[parts[p + 1]].isName()) {
        shape.schema = shape.table;
        shape.table = nameValue(t[parts[p + 1]]);
        qualifier = t[parts[p - 1]].text + "." + t[parts[p + 1]].text;
        p += 2;
    }
    if (p < parts.size() && t[parts[p]].isWord("as"))
        ++p;
    if (p < parts.size()) {
        if (!t[parts[p]].isName() || isJoinWord(t[parts[p]]) || isClauseWord(t[parts[p]]))
            return shape;
        qualifier = t[parts[p]].text;
        ++p;
    }
    if (p != parts.size())
        return shape; // a join, a comma, a table-valued function, INDEXED BY ...

    shape.qualifier = qualifier;
    shape.fromText = trimmed(t, from + 1, fromEnd);
    shape.listText = trimmed(t, first, from);
    shape.tailText = trimmed(t, fromEnd, t.size());
    if (where < t.size())
        shape.whereText = trimmed(t, where + 1, std::min(order, limit));
    if (order < t.size()) {
        std::size_t by = skipBlank(t, order + 1);
        if (by >= t.size() || !t[by].isWord("by"))
            return shape;
        const std::size_t orderEnd = limit;
        if (hasAggregate(t, by + 1, orderEnd))
            return shape;
        shape.orderText = trimmed(t, by + 1, orderEnd);
        // One plain name, perhaps qualified, with a direction.
        std::vector<std::size_t> terms;
        for (std::size_t i = by + 1; i < orderEnd; ++i)
            if (!t[i].isBlank())
                terms.push_back(i);
        std::size_t k = 0;
        std::string column;
        if (k < terms.size() && t[terms[k]].isName()) {
            column = nameValue(t[terms[k]]);
            ++k;
            while (k + 1 < terms.size() && t[terms[k]].isPunct(".") && t[terms[k + 1]].isName()) {
                column = nameValue(t[terms[k + 1]]);
                k += 2;
            }
            bool desc = false;
            if (k < terms.size() && (t[terms[k]].isWord("asc") || t[terms[k]].isWord("desc"))) {
                desc = t[terms[k]].isWord("desc");
                ++k;
            }
            if (k == terms.size()) {
                shape.orderColumn = column;
                shape.orderDescending = desc;
            }
        }
    }
    shape.hasLimit = limit < t.size();
    shape.single = true;
    return shape;
}

} // namespace detail
} // namespace OrvCPP

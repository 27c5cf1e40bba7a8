// SqlEditLex: the SQL lexeme table, numbers, and the block analysis behind folding and
// paired highlighting.
#include "sqleditlex.h"

#include <vexapi/core/wtext.h>

#include <cstring>
#include <string>

namespace {

const char* const kKeywords[] = {
    "add",      "all",      "alter",     "and",       "as",        "asc",      "avg",       "begin",
    "between",  "boolean",  "by",        "case",      "char",      "check",    "close",     "column",
    "commit",   "constraint", "count",   "create",    "cross",     "cursor",   "date",      "decimal",
    "declare",  "default",  "delete",    "desc",      "distinct",  "drop",     "else",      "elsif",
    "end",      "except",   "exists",    "exit",      "false",     "fetch",    "float",     "for",
    "foreign",  "from",     "full",      "function",  "grant",     "group",    "having",    "if",
    "in",       "index",    "inner",     "insert",    "int",       "integer",  "intersect", "into",
    "is",       "join",     "key",       "left",      "like",      "limit",    "loop",      "max",
    "min",      "not",      "null",      "numeric",   "offset",    "on",       "open",      "or",
    "order",    "outer",    "primary",   "procedure", "real",      "recursive", "references", "return",
    "returns",  "revoke",   "right",     "rollback",  "select",    "set",      "sum",       "table",
    "text",     "then",     "transaction", "trigger", "true",      "union",    "unique",    "update",
    "using",    "values",   "varchar",   "view",      "when",      "where",    "while",     "with",
    "work",
};

const char* const kOperators[] = {"+", "-", "*", "/", "%", "=", "<", ">", "<=", ">=", "<>", "!=",
                                  "||", "(", ")", ",", ";", ".", ":"};

void setText(tagCTextLex& lex, const char* text, int type, int len)
{
    std::memset(lex.text, 0, sizeof lex.text);
    for (int i = 0; text[i] && i < 255; ++i)
        lex.text[i] = WChar(static_cast<unsigned char>(text[i]));
    lex.type = type;
    lex.len = len;
}

bool isDigit(WChar c) { return c >= '0' && c <= '9'; }
bool isIdentChar(WChar c)
{
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 0x80;
}
bool isBlank(WChar c) { return c == ' ' || c == '\t'; }

// Whether text[at, at + n) spells `word`, without case.
bool spells(const WChar* text, int at, int n, const char* word)
{
    int len = int(std::strlen(word));
    if (n != len)
        return false;
    for (int i = 0; i < len; ++i)
        if (wtolower(text[at + i]) != WChar(word[i]))
            return false;
    return true;
}

// The identifier after `from` past blanks: its start and length (0 when none); `semicolon`
// is set when a ';' stands there instead.
void nextWord(const WChar* text, int n, int from, int& start, int& len, bool& semicolon)
{
    int i = from;
    while (i < n && isBlank(text[i]))
        ++i;
    start = i;
    semicolon = i < n && text[i] == ';';
    while (i < n && isIdentChar(text[i]))
        ++i;
    len = i - start;
}

bool isBareEnd(const CLexData& lex)
{
    return lex.len == 3 && (lex.name == SQL_END || lex.name == SQL_END_BLOCK || lex.name == SQL_END_CASE);
}

} // namespace

std::vector<tagCTextLex> sqlLexemeTable()
{
    std::vector<tagCTextLex> table;
    auto add = [&](const char* text, int type, int len) {
        table.emplace_back();
        setText(table.back(), text, type, len);
    };
    for (const char* k : kKeywords)
        add(k, TLT_WORD, 0);
    for (const char* o : kOperators)
        add(o, TLT_OPERATOR, 0);
    add("'", TLT_STRING1, 0);
    add("\"", TLT_STRING2, 0);
    add("--", TLT_LINE_COMMENT, 0);
    add("/*", TLT_COMMENT_OPEN, 0);
    add("*/", TLT_COMMENT_CLOSE, 0);
    add(" ", TLT_SEPARATOR, -1);
    add("\t", TLT_SEPARATOR, -1);
    add("\r", TLT_SEPARATOR, 0);
    add("\n", TLT_SEPARATOR, 0);
    return table;
}

SqlEditLex::SqlEditLex() : m_deferred(false), m_due(false)
{
    AddPairedLexems(SQL_BEGIN, SQL_END_BLOCK);
    AddPairedLexems(SQL_CASE, SQL_END_CASE);
    AddPairedLexems(SQL_IF, SQL_END_IF);
    AddPairedLexems(SQL_LOOP, SQL_END_LOOP);
    std::vector<tagCTextLex> table = sqlLexemeTable();
    setTextLex(table.data(), int(table.size()));
}

CTagNode* SqlEditLex::LexProcString(CTagNode* prev, CEditString* row, int rowIndex, int& comment, int& string1,
                                    int& string2)
{
    CTagNode* last = CSrcEditLex::LexProcString(prev, row, rowIndex, comment, string1, string2);
    // A row with folds was lexed on its expansion through this same function: its numbers
    // came with it, and were cut at the labels.
    if (!row || (row->hasSegments() && row->oBlock() == GetDocument()))
        return last;

    // Numbers stand in the text that no tag covers.
    const WChar* text = row->GetData();
    const int n = row->GetLength();
    CTagNode* t = last == prev ? nullptr : (prev ? prev->next : GetTags().GetHead());
    CTagNode* before = prev;
    CTagNode* answer = last;
    int pos = 0;
    for (;;) {
        const int gapEnd = t ? t->col : n;
        for (int i = pos; i < gapEnd;) {
            if (isDigit(text[i]) && (i == 0 || !isIdentChar(text[i - 1]))) {
                int j = i;
                while (j < gapEnd && isDigit(text[j]))
                    ++j;
                if (j >= n || !isIdentChar(text[j])) {
                    before = GetTags().InsertAfter(before, CTagNode(SQL_TT_NUMBER, rowIndex, i, j - i, TA_INSIDE));
                    if (!t)
                        answer = before;
                }
                i = j;
            } else {
                ++i;
            }
        }
        if (!t)
            break;
        before = t;
        pos = t->col + t->len;
        t = t == last ? nullptr : t->next;
    }
    return answer;
}

void SqlEditLex::assignSimpleLexes(CEditString* row, CEditString* lexedRow, CTagNode* firstTag, CTagNode* lastTag)
{
    row->ClearSimpleLexes();
    if (firstTag == lastTag)
        return;
    const WChar* text = lexedRow->GetData();
    const int n = lexedRow->GetLength();
    int skipTo = -1; // the word behind an END already taken into it
    CTagNode* t = firstTag ? firstTag->next : GetTags().GetHead();
    for (; t; t = t == lastTag ? nullptr : t->next) {
        if (t->type != TT_WORD || t->col < skipTo)
            continue;
        const int col = t->col, len = t->len;
        int wordAt = 0, wordLen = 0;
        bool semicolon = false;
        nextWord(text, n, col + len, wordAt, wordLen, semicolon);
        int name = 0, lexLen = len;
        if (spells(text, col, len, "end")) {
            name = SQL_END;
            if (spells(text, wordAt, wordLen, "if"))
                name = SQL_END_IF;
            else if (spells(text, wordAt, wordLen, "loop"))
                name = SQL_END_LOOP;
            else if (spells(text, wordAt, wordLen, "case"))
                name = SQL_END_CASE;
            if (name != SQL_END) {
                lexLen = wordAt + wordLen - col;
                skipTo = wordAt + wordLen;
            }
        } else if (spells(text, col, len, "begin")) {
            bool transaction = semicolon || spells(text, wordAt, wordLen, "transaction") ||
                               spells(text, wordAt, wordLen, "work") || spells(text, wordAt, wordLen, "deferred") ||
                               spells(text, wordAt, wordLen, "immediate") ||
                               spells(text, wordAt, wordLen, "exclusive");
            if (!transaction)
                name = SQL_BEGIN;
        } else if (spells(text, col, len, "case")) {
            name = SQL_CASE;
        } else if (spells(text, col, len, "if")) {
            if (!spells(text, wordAt, wordLen, "exists") && !spells(text, wordAt, wordLen, "not"))
                name = SQL_IF;
        } else if (spells(text, col, len, "loop")) {
            name = SQL_LOOP;
        }
        if (name)
            row->InsSimpleLex(new CLexData(name, LT_NONE, col, lexLen, row), true);
    }
}

void SqlEditLex::refreshLayoutLexes(int, int)
{
    if (m_deferred) {
        m_due = true;
        renewLayoutTimer();
        return;
    }
    analyseLayout();
}

void SqlEditLex::analyseLayout()
{
    struct Open {
        int kind;
        CLexData* linked;
    };
    std::vector<Open> stack;
    const int rows = GetRowCount();
    for (int r = 0; r < rows; ++r)
        GetString(r)->ClearLinkedLexes();
    for (int r = 0; r < rows; ++r) {
        CEditString* row = GetString(r);
        for (CLexData& lex : row->SimpleLexes()) {
            if (lex.name == SQL_BEGIN || lex.name == SQL_CASE || lex.name == SQL_IF || lex.name == SQL_LOOP) {
                CLexData* open = new CLexData(lex.name, LT_OPEN, lex.col, lex.len, row);
                row->InsLinkedLex(open);
                stack.push_back({lex.name, open});
                continue;
            }
            // What this END may close: a bare END the innermost BEGIN or CASE.
            const bool bare = isBareEnd(lex);
            int want = bare ? 0 : lex.name == SQL_END_IF ? SQL_IF : lex.name == SQL_END_LOOP ? SQL_LOOP : SQL_CASE;
            int k = int(stack.size()) - 1;
            while (k >= 0 && !(bare ? (stack[std::size_t(k)].kind == SQL_BEGIN || stack[std::size_t(k)].kind == SQL_CASE)
                                    : stack[std::size_t(k)].kind == want))
                --k;
            if (k < 0) {
                if (bare)
                    lex.name = SQL_END_BLOCK; // closes nothing
                continue;
            }
            const int kind = stack[std::size_t(k)].kind;
            CLexData* open = stack[std::size_t(k)].linked;
            stack.resize(std::size_t(k)); // openers left inside are never closed
            if (bare)
                lex.name = kind == SQL_CASE ? SQL_END_CASE : SQL_END_BLOCK;
            CLexData* close = new CLexData(lex.name, LT_CLOSE, lex.col, lex.len, row);
            row->InsLinkedLex(close);
            CLexData::link(open, close);
        }
    }
    m_due = false;
}

std::vector<SqlBlock> SqlEditLex::blocks() const
{
    std::vector<SqlBlock> out;
    for (int r = 0; r < GetRowCount(); ++r) {
        CEditString* row = GetString(r);
        for (CLexData& lex : row->LinkedLexes())
            if (lex.type == LT_OPEN && lex.endLex && lex.endLex->owner)
                out.push_back({lex.name, r, lex.col, lex.endLex->owner->visRowId(), lex.endLex->col});
    }
    return out;
}

bool SqlEditLex::foldAt(int row)
{
    CEditString* r = GetString(row);
    if (!r)
        return false;
    for (CLexData& lex : r->LinkedLexes()) {
        if (lex.type != LT_OPEN || !lex.endLex || !lex.endLex->owner || lex.endLex->owner == r)
            continue;
        CEditString* closeRow = lex.endLex->owner;
        const int row2 = closeRow->visRowId();
        const int col1 = r->Abs2VisPos(lex.col + lex.len);
        const int col2 = closeRow->Abs2VisPos(lex.endLex->col);
        if (row2 < 0 || col1 < 0 || col2 < 0)
            return false;
        const int type = lex.name == SQL_IF ? 2 : lex.name == SQL_LOOP ? 3 : lex.name == SQL_CASE ? 4 : 1;
        return CollapseBlock(col1, row, col2, row2, type, nullptr);
    }
    return false;
}

bool SqlEditLex::unfoldAt(int row)
{
    bool any = false;
    for (CEditString* r = GetString(row); r && r->hasSegments(); r = GetString(row)) {
        if (!ExpandBlock(r->GetSegment(r->SegmentsCount() - 1)->col(), row))
            break;
        any = true;
    }
    return any;
}

bool SqlEditLex::onSignPressed(int row)
{
    CEditString* r = GetString(row);
    if (!r)
        return false;
    return r->hasSegments() ? unfoldAt(row) : foldAt(row);
}

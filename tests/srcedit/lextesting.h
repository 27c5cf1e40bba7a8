// Helpers for the colouring tests: lexeme tables from short descriptions, an editor
// loaded with text, and tags written out as text for comparisons.
#pragma once

#include "storagetesting.h"

#include <vexapi/srcedit/csrceditlex.h>
#include <vexapi/srcedit/ctaglist.h>
#include <vexapi/srcedit/ctextlex.h>

#include <cstdio>
#include <string>
#include <vector>

struct LexEntry {
    const char* text;
    int type;
    int len; // -1 for a run lexeme, else anything (replaced by the text's length)
};

inline std::vector<tagCTextLex> makeTable(const std::vector<LexEntry>& entries)
{
    std::vector<tagCTextLex> table(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        WString w = W(entries[i].text);
        tagCTextLex& t = table[i];
        for (int k = 0; k < 256; ++k)
            t.text[k] = 0;
        for (std::size_t k = 0; k < w.size() && k < 255; ++k)
            t.text[k] = w[k];
        t.type = entries[i].type;
        t.len = entries[i].len;
    }
    return table;
}

// A small table in the shape of a SQL one: '"' strings of the first kind, '\'' of the
// second, "--" line comments, "/*" "*/" block comments, a few words, operators and
// separators.
inline std::vector<tagCTextLex> testTable()
{
    return makeTable({
        {"\"", TLT_STRING1, 0},      {"'", TLT_STRING2, 0},       {"--", TLT_LINE_COMMENT, 0},
        {"/*", TLT_COMMENT_OPEN, 0}, {"*/", TLT_COMMENT_CLOSE, 0}, {"select", TLT_WORD, 0},
        {"from", TLT_WORD, 0},       {"where", TLT_WORD, 0},      {"begin", TLT_WORD, 0},
        {"end", TLT_WORD, 0},        {"case", TLT_WORD, 0},       {"Upper", TLT_WORD, 0},
        {"+", TLT_OPERATOR, 0},      {"-", TLT_OPERATOR, 0},      {"*", TLT_OPERATOR, 0},
        {"/", TLT_OPERATOR, 0},      {"=", TLT_OPERATOR, 0},      {";", TLT_OPERATOR, 0},
        {",", TLT_OPERATOR, 0},      {"(", TLT_OPERATOR, 0},      {")", TLT_OPERATOR, 0},
        {" ", TLT_SEPARATOR, -1},    {"\t", TLT_SEPARATOR, -1},   {"\r", TLT_SEPARATOR, 0},
        {"\n", TLT_SEPARATOR, 0},
    });
}

// An editor with the test table and a text whose rows are joined by '\n'.
inline void load(CSrcEditLex& editor, const std::string& text, bool withTable = true)
{
    if (withTable) {
        std::vector<tagCTextLex> table = testTable();
        editor.setTextLex(table.data(), int(table.size()));
    }
    WString w = W(text);
    editor.setPlainText(w.c_str(), int(w.size()));
}

// One tag as "row:col+len/type.attr"; a cut run adds "~trueAttr".
inline std::string tagText(const CTagNode* t)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%d:%d+%d/%d.%d", t->row, t->col, t->len, t->type, t->attr);
    std::string s = buffer;
    if (t->trueAttr != t->attr)
        s += "~" + std::to_string(t->trueAttr);
    return s;
}

// All tags, or those of one row, separated by spaces.
inline std::string dumpTags(const CTagList& tags, int row = -1)
{
    std::string s;
    for (const CTagNode* t = tags.GetHead(); t; t = t->next) {
        if (row >= 0 && t->row != row)
            continue;
        if (!s.empty())
            s += ' ';
        s += tagText(t);
    }
    return s;
}

// The tags of a row as "text:type" runs, for reading what is coloured how.
inline std::string coloured(CSrcEditLex& editor, int row)
{
    std::string s;
    const CEditString* r = editor.GetString(row);
    for (const CTagNode* t = editor.GetTags().GetHead(); t; t = t->next) {
        if (t->row != row || t->len == 0)
            continue;
        if (!s.empty())
            s += ' ';
        s += A(r->GetData() + t->col, t->len) + ":" + std::to_string(t->type);
    }
    return s;
}

// The tags after a full parse of the same document; the editor's tags are left as that
// full parse made them.
inline std::string fullParse(CSrcEditLex& editor)
{
    send(&editor, &CSrcEditLex::doParse, -1, -1);
    return dumpTags(editor.GetTags());
}

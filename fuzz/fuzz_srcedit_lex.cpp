// Fuzz target of the source editor's colouring: the input drives a document through
// typing, deletions, line breaks, joins, folds and unfolds; after each edit the tags kept
// by re-lexing the changed rows must equal a full parse of the same text.
#include <vexapi/srcedit/csrceditlex.h>
#include <vexapi/srcedit/ctextlex.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

std::vector<tagCTextLex> table()
{
    struct Entry {
        const char* text;
        int type;
        int len;
    } entries[] = {
        {"\"", TLT_STRING1, 0},      {"'", TLT_STRING2, 0},       {"--", TLT_LINE_COMMENT, 0},
        {"/*", TLT_COMMENT_OPEN, 0}, {"*/", TLT_COMMENT_CLOSE, 0}, {"sel", TLT_WORD, 0},
        {"select", TLT_WORD, 0},     {"end", TLT_WORD, 0},        {"#", TLT_OPERATOR, 0},
        {"-", TLT_OPERATOR, 0},      {"*", TLT_OPERATOR, 0},      {";", TLT_OPERATOR, 0},
        {" ", TLT_SEPARATOR, -1},    {"\r", TLT_SEPARATOR, 0},    {"\n", TLT_SEPARATOR, 0},
    };
    std::vector<tagCTextLex> out(sizeof entries / sizeof *entries);
    for (std::size_t i = 0; i < out.size(); ++i) {
        std::memset(out[i].text, 0, sizeof out[i].text);
        for (int k = 0; entries[i].text[k]; ++k)
            out[i].text[k] = WChar(entries[i].text[k]);
        out[i].type = entries[i].type;
        out[i].len = entries[i].len;
    }
    return out;
}

// '#' at a row's start begins a comment, to reach that path too.
class Lexer : public CSrcEditLex {
public:
    bool startsLineComment(WChar c, CTagNode*, CEditString*, int) override { return c == '#'; }
};

const char kAlphabet[] = "\"'-/*#; selnd\txS";

struct Tags {
    std::vector<int> values;
    explicit Tags(const CTagList& list)
    {
        for (const CTagNode* t = list.GetHead(); t; t = t->next) {
            const int v[] = {t->type, t->row, t->col, t->len, t->attr, t->trueAttr};
            values.insert(values.end(), v, v + 6);
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::vector<tagCTextLex> lexemes = table();
    Lexer editor;
    editor.setTextLex(lexemes.data(), int(lexemes.size()));
    WChar start[] = {'a', '\n', 'b', '\n', 'c', 0};
    editor.setPlainText(start);

    std::size_t i = 0;
    auto next = [&]() -> unsigned { return i < size ? data[i++] : 0u; };
    while (i < size) {
        CEditStringArray* doc = editor.GetDocument();
        const int rows = doc->GetRowCount();
        const int row = int(next() % unsigned(rows));
        CEditString* r = doc->GetString(row);
        int col = int(next() % unsigned(r->GetLength() + 1));
        if (r->ownerOf(col))
            col = 0;
        switch (next() % 7) {
        case 0:
        case 1: {
            WChar text[4];
            int n = int(next() % 3) + 1;
            for (int k = 0; k < n; ++k)
                text[k] = WChar(kAlphabet[next() % (sizeof kAlphabet - 1)]);
            r->InsertPlainText(text, col, n);
            send(&editor, &CSrcEditLex::doParse, row, row);
            break;
        }
        case 2: {
            int end = col + int(next() % 4) + 1;
            r->DeleteEditString(col, end > r->GetLength() ? r->GetLength() : end);
            send(&editor, &CSrcEditLex::doParse, row, row);
            break;
        }
        case 3:
            if (rows < 60) {
                doc->InsString(r->CutEditString(col, r->GetLength()), row + 1);
                send(&editor, &CSrcEditLex::onInsertRow, row + 1, 1);
                send(&editor, &CSrcEditLex::doParse, row, row + 1);
            }
            break;
        case 4:
            if (row + 1 < rows) {
                r->CatEditString(doc->GetString(row + 1), 0, false);
                send(&editor, &CSrcEditLex::onDeleteRow, row + 1, 1);
                doc->DeleteBlock(row + 1, 1, true);
                send(&editor, &CSrcEditLex::doParse, row, row);
            }
            break;
        case 5: {
            int row2 = row + int(next() % 3);
            if (row2 >= rows)
                row2 = rows - 1;
            CEditString* r2 = doc->GetString(row2);
            int col2 = int(next() % unsigned(r2->GetLength() + 1));
            if (!r2->ownerOf(col2) && (row2 > row || col2 > col))
                editor.CollapseBlock(col, row, col2, row2, 1, nullptr);
            break;
        }
        default:
            if (r->hasSegments())
                editor.ExpandBlock(r->GetSegment(0)->col(), row);
            break;
        }
        if (editor.checkInvariants() != 0 || editor.GetDocument()->checkInvariants() != 0)
            std::abort();
        Tags incremental(editor.GetTags());
        send(&editor, &CSrcEditLex::doParse, -1, -1);
        if (Tags(editor.GetTags()).values != incremental.values)
            std::abort();
    }
    return 0;
}

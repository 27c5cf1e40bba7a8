// Colours a SQL script with the source editor's scanner and the SQL lexeme table, prints
// it with terminal colours, lists the blocks found, then folds them and prints it again.
//   sql_colour [FILE]     without a file, a built-in script
#include "sqleditlex.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

const char* const kSample = "-- Orders of the month\n"
                            "SELECT o.id, c.name, 'it''s' AS note\n"
                            "  FROM orders o JOIN customers c ON c.id = o.customer_id\n"
                            " WHERE o.amount > 100; /* big ones\n"
                            "   only */\n"
                            "BEGIN\n"
                            "  total := CASE WHEN n > 0 THEN n * 2 ELSE 0 END;\n"
                            "  IF total > 10 THEN\n"
                            "    INSERT INTO log VALUES ('END IF', 1);\n"
                            "  END IF;\n"
                            "END;\n"
                            "BEGIN TRANSACTION;\n"
                            "DROP TABLE IF EXISTS tmp;\n"
                            "COMMIT;";

// Terminal colours of the tag classes.
const char* colourOf(int type)
{
    switch (type) {
    case TT_COMMENT: return "\x1b[32m";
    case TT_STRING1: return "\x1b[36m";
    case TT_STRING2: return "\x1b[31m";
    case TT_WORD: return "\x1b[1;34m";
    case TT_LABEL: return "\x1b[33;7m";
    case TT_OPERATOR: return "\x1b[33m";
    case SQL_TT_NUMBER: return "\x1b[35m";
    default: return "";
    }
}

void print(SqlEditLex& editor)
{
    CTagNode* tag = editor.GetTags().GetHead();
    for (int r = 0; r < editor.GetRowCount(); ++r) {
        const CEditString* row = editor.GetString(r);
        const WChar* text = row->GetData();
        while (tag && tag->row < r)
            tag = tag->next;
        std::string line;
        int col = 0;
        while (col < row->GetLength()) {
            // One run of one colour, as a painter asks for it.
            int run = 0, type = TT_TEXT;
            CTagNode* t = editor.GetTags().GetTagSubStr(tag, r, col, row->GetLength() - col, run, type);
            if (run <= 0)
                run = row->GetLength() - col;
            line += t ? colourOf(type) : "";
            for (int i = 0; i < run; ++i)
                line += text[col + i] < 0x80 ? char(text[col + i]) : '?';
            line += t ? "\x1b[0m" : "";
            col += run;
        }
        std::printf("%4d %c %s\n", r + 1, " -+"[editor.refreshLayoutSign(r)], line.c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string script = kSample;
    if (argc > 1) {
        std::ifstream in(argv[1], std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", argv[1]);
            return 1;
        }
        std::stringstream s;
        s << in.rdbuf();
        script = s.str();
    }
    WString text(script.begin(), script.end());
    SqlEditLex editor;
    editor.setPlainText(text.c_str(), int(text.size()));
    print(editor);

    std::printf("\nblocks:\n");
    static const char* const kinds[] = {"", "BEGIN", "CASE", "IF", "LOOP"};
    for (const SqlBlock& b : editor.blocks())
        std::printf("  %-5s rows %d..%d\n", kinds[b.kind], b.openRow + 1, b.closeRow + 1);

    // Fold every block that spans rows, innermost first, as clicks on the signs would.
    for (int r = editor.GetRowCount() - 1; r >= 0; --r)
        if (editor.refreshLayoutSign(r) == LS_CAN_COLLAPSE)
            send(&editor, &CSrcEditLex::onSignPressed, r);
    std::printf("\nfolded:\n");
    print(editor);
    return 0;
}

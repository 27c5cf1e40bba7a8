// SqlEditLex: SQL colouring and folding for the source editor, as an application
// supplies them: a lexeme table, numbers, and blocks found from paired lexemes.
#pragma once

#include <vexapi/srcedit/csrceditlex.h>

#include <vector>

// Names of the lexemes the SQL editor attaches to rows (CLexData::name).
enum SqlLexName {
    SQL_BEGIN = 1,     // BEGIN of a block (not BEGIN TRANSACTION)
    SQL_CASE = 2,
    SQL_IF = 3,        // IF of an IF ... END IF statement (not IF EXISTS)
    SQL_LOOP = 4,
    SQL_END = 10,      // a plain END, until the layout analysis says what it closes
    SQL_END_BLOCK = 11,
    SQL_END_CASE = 12, // END or END CASE closing a CASE
    SQL_END_IF = 13,
    SQL_END_LOOP = 14
};

// The colour class of numbers: the first class left free for derived editors.
const int SQL_TT_NUMBER = TT_FIRST_FREE;

// The SQL lexeme table: keywords, "--" and "/* */" comments, '...' strings (first kind),
// "..." quoted names (second kind), operators and separators.
std::vector<tagCTextLex> sqlLexemeTable();

// One block found by the layout analysis: from an opening keyword to its END.
struct SqlBlock {
    int kind;     // SQL_BEGIN, SQL_CASE, SQL_IF or SQL_LOOP
    int openRow;  // rows of the top block
    int openCol;  // absolute column of the opening keyword
    int closeRow;
    int closeCol; // absolute column of the END
};

// An editor that colours SQL and finds its blocks. Blocks are found from the keywords the
// scanner coloured, so a keyword inside a string or a comment never opens or closes one:
//  - BEGIN ... END, CASE ... END (and END CASE), IF ... END IF, LOOP ... END LOOP;
//  - an END closes the innermost BEGIN or CASE: a CASE expression inside a BEGIN block
//    takes the first END, its block the second;
//  - END IF and END LOOP close the innermost IF / LOOP, and are not a plain END;
//  - BEGIN TRANSACTION, BEGIN WORK, BEGIN; and IF EXISTS, IF NOT EXISTS open nothing;
//  - blocks nest to any depth; an END with nothing to close, or an opening keyword never
//    closed, makes no block.
// The analysis runs after every parse (refreshLayoutLexes) unless it is deferred, when it
// is only marked due (a timer of the application calls analyseLayout).
class SqlEditLex : public CSrcEditLex {
public:
    SqlEditLex();

    // The analysis: each row's open and close lexemes (linked lexemes) are rebuilt and
    // linked to their partners, and each END among the simple lexemes is named after what
    // it closes, so that paired highlighting matches BEGIN with its own END.
    void analyseLayout();
    void setDeferredLayout(bool deferred) { m_deferred = deferred; }
    bool layoutDue() const { return m_due; }
    std::vector<SqlBlock> blocks() const;

    // Folds the block opened on `row` (the first one that ends on another row): the text
    // from behind the opening keyword to the start of its END goes behind a label.
    bool foldAt(int row);
    // Unfolds every fold of `row`.
    bool unfoldAt(int row);

    CTagNode* LexProcString(CTagNode* prev, CEditString* row, int rowIndex, int& comment, int& string1,
                            int& string2) override;
    void assignSimpleLexes(CEditString* row, CEditString* lexedRow, CTagNode* firstTag, CTagNode* lastTag) override;
    void refreshLayoutLexes(int from, int to) override;
    // A click on the gutter sign folds or unfolds.
    bool onSignPressed(int row) override;

private:
    bool m_deferred;
    bool m_due;
};

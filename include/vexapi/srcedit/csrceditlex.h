// CSrcEditLex: the colouring and folding half of the source editor, without a screen: the
// document, the lexeme table and its scanner, the tag list and its incremental re-lexing,
// paired lexemes, the gutter sign and the hooks a derived editor fills.
#pragma once

#include <vexapi/srcedit/ceditstringarray.h>
#include <vexapi/srcedit/clexdata.h>
#include <vexapi/srcedit/cpairedintarray.h>
#include <vexapi/srcedit/ctaglist.h>
#include <vexapi/srcedit/ctextlex.h>

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/wstring.h>

#include <vector>

// The editor knows no language: the application installs a table of lexemes
// (setTextLex), and the scanner cuts each row of the document into tags. The scanner
// carries three pieces of multi-line state from row to row: inside a block comment (a
// nesting count), inside a string of the first kind, inside a string of the second kind.
// After an edit only the changed rows are lexed again, unless that state at their end
// differs from what the following rows were lexed with; then the parse runs on until the
// old and the new state agree again (for a comment, at the first close of an old comment).
//
// The editing layer keeps the tags in step with the document by sending, after each
// change of the document's rows, onInsertRow / onDeleteRow (which shift the tags) and
// then doParse over the rows it touched. Folding is decided by the application: it calls
// CollapseBlock and ExpandBlock with coordinates, helped by the lexemes (CLexData) that
// its assignSimpleLexes and refreshLayoutLexes hooks attach to rows. A row holding a fold
// is lexed on its expansion, and the tags are then cut at each label (see LexProcString).
//
// Ownership: the editor owns the document (its top block), the copied lexeme table and the
// tags. `hlOpen` and `hlClose` point into the rows' lexemes.
//
// The tag list holds, after every doParse, exactly the tags that a full parse of the same
// document would give (checked by the randomised tests).
class VEXAPI_API CSrcEditLex : public virtual Object {
public:
    static const int HashSize = 256;

    CSrcEditLex();
    ~CSrcEditLex() override;
    CSrcEditLex(const CSrcEditLex&) = delete;
    CSrcEditLex& operator=(const CSrcEditLex&) = delete;

    // The document's top block.
    CEditStringArray* GetDocument() { return &document; }
    const CEditStringArray* GetDocument() const { return &document; }
    CTagList& GetTags() { return tags; }
    const CTagList& GetTags() const { return tags; }
    // The row at visible index i of the top block, or null.
    CEditString* GetString(int i) const { return document.GetString(i); }
    int GetRowCount() const { return document.GetRowCount(); }
    // Replaces the document's rows by the rows of `text` (split as fromPlainText does) and
    // parses it all. Editing layers load text their own way; this serves tools and tests.
    bool setPlainText(const WChar* text, int n = -1);

    // ---- The lexeme table.

    // Installs a copy of `table`. Parsing stops and every tag goes; a null table or a
    // `count` of 0 ends there, leaving colouring off (the old table stays loaded but is not
    // used). Otherwise the copy is folded to lower case when the editor is not case
    // sensitive, sorted, hashed by first character, and the whole document is parsed.
    // False when the table could not be installed.
    bool setTextLex(const tagCTextLex* table, int count);
    bool lexReady() const { return m_lexReady; }
    bool lexLoaded() const { return m_lexLoaded; }
    bool isCaseSensitive() const { return caseSensitive; }
    // A loaded table is installed again from the application's copy, folded or not, and the
    // document parsed again.
    void setCaseSensitive(bool on);

    // The bucket of a first character: its low byte, raised by 32 from 'A'..'Z' when the
    // editor is not case sensitive. Characters with the same low byte share a bucket.
    int MakeHash(const WChar* text) const;
    // 'A'..'Z' to 'a'..'z' when the editor is not case sensitive; else `c` itself.
    WChar CaseConversion(WChar c) const
    {
        return (!caseSensitive && c >= WChar('A') && c <= WChar('Z')) ? WChar(c + 32) : c;
    }
    // The next lexeme in the `n` characters of `text`: its address, with its kind in
    // `type`, the table entry's `len` in `lexLen` (-1 for a run) and the characters it
    // covers in `matched`. Null when none is left.
    const WChar* GetLexType(const WChar* text, int n, int& type, int& lexLen, int& matched) const;
    // Word motion over a row's text: the column a Ctrl+arrow reaches from `pos`, going
    // back or forth over lexeme boundaries. `n` of -1: up to the NUL.
    int GetNextLexPos(const WChar* text, int n, int pos, bool backward) const;
    // The word at (col, row) of the top block, as a double click selects it: its start in
    // `start` and its length in `len`; at most `len` characters of it (on entry) go to
    // `buffer` when one is given. False when there is no word there.
    bool GetLexPos(int col, int row, WChar* buffer, int& start, int& len);

    // ---- Parsing.

    // Lexes `row` (visible index `rowIndex`) entering with the three states and leaving
    // them as they are at its end; appends its tags behind `prev` and answers the last tag
    // of the row (`prev` when it has none). A row of the top block with folds is lexed on
    // its expansion and its tags cut at the labels. Virtual: a derived lexer may add its
    // own tags (colour classes 8 to 11) around the call of this one.
    virtual CTagNode* LexProcString(CTagNode* prev, CEditString* row, int rowIndex, int& comment,
                                    int& string1, int& string2);
    // Lexes rows from..to of the top block behind `tag`, stopping at a missing row, then
    // calls refreshLayoutLexes(from, to). Answers the last tag.
    CTagNode* ParseBlock(CTagNode* tag, int from, int to, int& comment, int& string1, int& string2);
    // Deletes the tags of rows from..to and answers the last tag before them (null: none).
    // The prev* outputs get the state the rows were entered with, as the tag before them
    // tells; next* the state the row after them was entered with, as the first tag behind
    // them tells. With `stopRow` and *prevComment true, the deletion stops at the first row
    // that closes a comment begun above it (whose tags all go too) and that row is stored in
    // *stopRow. Every output may be null.
    CTagNode* PrepareReparsedBlock(CTagNode* tag, int from, int to, bool* prevComment, bool* prevString1,
                                   bool* prevString2, bool* nextComment, bool* nextString1,
                                   bool* nextString2, int* stopRow = nullptr);
    // Lexes rows from..to again (-1 or out of range: the first / the last row), widening
    // the range while the state at its end differs from what the next row was lexed with;
    // `to` becomes the last row lexed. The whole document is a full parse, which gives all
    // tags back at once. False while colouring is off.
    bool PerformParse(int& from, int& to);
    // Signal: the rows from..to changed; calls PerformParse.
    virtual bool doParse(int from, int to);
    // Signals the editing layer sends when rows of the top block come or go, before the
    // doParse that follows: they shift the tags behind the place.
    virtual bool onInsertRow(int row, int n);
    virtual bool onDeleteRow(int row, int n);
    // Signals of folding, sent around a fold's change; they do nothing here.
    virtual bool onExpandBlock(int col, int row, int endCol, int endRow);
    virtual bool onCollapseBlock(int col1, int row1, int col2, int row2);
    // Signal: the gutter sign of `row` was clicked; a derived editor folds or unfolds.
    virtual bool onSignPressed(int row);

    // ---- Hooks for a derived editor, which knows the language. Empty here.

    // `row` was lexed (on `lexedRow`, its expansion when it has folds: columns of the tags
    // are then absolute); its tags are those after `firstTag` up to `lastTag` (none when
    // equal). A derived editor fills the row's simple lexemes here.
    virtual void assignSimpleLexes(CEditString* row, CEditString* lexedRow, CTagNode* firstTag, CTagNode* lastTag);
    // Rows from..to were lexed: a derived editor links its open and close lexemes here.
    virtual void refreshLayoutLexes(int from, int to);
    // A word tag of `row`: a derived editor may classify it. Not called by the library.
    virtual int assignWord(CTagNode* tag, CEditString* row);
    // The operator `c` stands at a row's start: true makes the rest of the row a comment.
    virtual bool startsLineComment(WChar c, CTagNode* tag, CEditString* row, int rowIndex);
    // The layout analysis should be run again soon (a derived editor runs a timer).
    virtual void renewLayoutTimer();
    // The whole view should be repainted; the control invalidates itself.
    virtual void ReDraw();

    // ---- Paired lexemes and their highlighting.

    // Adds the pair of lexeme names (open, close): answers the new count, or -1 when the
    // names are equal or either already stands in a pair.
    int AddPairedLexems(int open, int close);
    int CountPairedLexems() const { return pairedLexems.Count(); }
    void ClearPairedLexems();
    // Finds the simple lexeme at (col, row) and, when it is one of a pair, its partner
    // through nesting, over the visible rows; sets hlOpen and hlClose and answers the
    // partner's row. -1 when there is no pair, no lexeme there or no partner.
    int AssignHighlightLexems(int col, int row);
    CLexData* GetHlOpen() const { return hlOpen; }
    CLexData* GetHlClose() const { return hlClose; }
    void clearHighlight() { hlOpen = hlClose = nullptr; }

    // Simple lexemes of the visible rows in document order (a walk over the rows' lists).
    CLexData* GetFirstSimpleLex();
    CLexData* GetNextSimpleLex(CLexData* lex);
    CLexData* GetPrevSimpleLex(CLexData* lex);
    CLexData* GetLastSimpleLex();
    // The first tag of row `fromRow` and the last of `toRow` (-1: fromRow); answers the
    // number of tags of the rows, 0 for a bad range.
    int GetTagsForRows(CTagNode*& first, CTagNode*& last, int fromRow, int toRow = -1);

    // ---- Folds.

    // Folds (col1, row1)-(col2, row2) of the top block into one label on row1: the range
    // is cut out into the new fold's block. No undo and no signals: the editing layer
    // records it and sends onCollapseBlock / onDeleteRow around it.
    bool collapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label);
    // Unfolds `segment` of top-block row `row`: its hidden rows come back in place of its
    // label; (endCol, endRow) is where they end. No undo and no signals.
    bool expandBlock(CTextSegment* segment, int row, int& endCol, int& endRow);
    // Folds and keeps the tags right: onCollapseBlock, onDeleteRow, collapseBlock, then
    // doParse of row1; clears the highlight. Without undo here: the editing layer
    // overrides both with its undoable versions (`ownStep` opens an undo step there).
    virtual bool CollapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label,
                               bool ownStep = true);
    // Unfolds the fold whose label holds `col` on `row`: expandBlock, onInsertRow,
    // onExpandBlock, doParse of the rows that came back. False without a fold there.
    virtual bool ExpandBlock(int col, int row, bool ownStep = true);
    // Opens the folds that hide absolute column `col` of top-block row `row` and the `n`
    // columns behind it, so that the position can be shown; `row` and `col` become its
    // visible place. False for a position outside the row.
    bool ExpandRowToAbsColumn(int& row, int& col, int n, bool undoStep);
    // Makes `row` (any row of the document) visible by unfolding what hides it; answers
    // the top-block row that holds it afterwards, or null.
    CEditString* EnsureVisible(CEditString* row, bool undoStep);

    // ---- The gutter sign, without painting.

    // Works out and stores the sign of top-block row `row`: LS_COLLAPSED for a row with
    // folds, LS_CAN_COLLAPSE when one of its open lexemes is closed on another row, else
    // LS_NONE.
    LayoutSign refreshLayoutSign(int row);
    // Whether `row` ends a range opened on another row (the short end rule of the gutter).
    static bool closesForeignRange(CEditString* row);
    // Whether a sign box of signWidth x signHeight is shown in a row `rowHeight` high.
    static bool signShown(int signWidth, int signHeight, int rowHeight);
    // Whether the point (x, y), relative to a row's cell of the layout bar, `barWidth`
    // by `rowHeight`, lies on its sign: the margin kept on each side is half the free
    // space less 1.
    static bool pointOnSign(int x, int y, int barWidth, int rowHeight, int signWidth, int signHeight);
    // The tool tip of a fold: the plain text of its block, at most 500 characters, with
    // " ..." behind it when cut.
    static WString blockTipText(const CTextSegment* segment);
    bool BlocksDirty() const { return blocksDirty; }
    void setBlocksDirty(bool dirty) { blocksDirty = dirty; }
    bool showBlockTips() const { return m_showBlockTips; }
    void setShowBlockTips(bool show) { m_showBlockTips = show; }

    // 0 when the tags hold together (the list's invariants, tags within the rows, rows
    // within the document), else the number of the first broken rule: the list's own
    // number, or 10 + n for n of: 1 a tag on a missing row, 2 a tag past its row's end,
    // 3 overlapping tags in a row.
    int checkInvariants() const;

protected:
    // The plain lexing of one row's text (no folds), entering with the three states.
    CTagNode* lexText(CTagNode* prev, CEditString* row, int rowIndex, const WChar* text, int n,
                      int& comment, int& string1, int& string2);
    // Cuts the tags after `prev` (lexed on the expansion of `row`) at its labels and moves
    // them to visible columns; answers the row's last tag.
    CTagNode* clipToSegments(CTagNode* prev, CTagNode* last, CEditString* row, int rowIndex);
    // The simple lexeme after (before) `lex` over the visible rows, starting a row's list
    // when `lex` is the last (first) of its row.
    CLexData* stepSimpleLex(CLexData* lex, bool forward);

    CEditStringArray document;
    CTagList tags;
    std::vector<tagCTextLex> m_source;           // the table as the application gave it
    std::vector<tagCTextLex> m_table;            // the sorted, folded copy
    std::vector<const tagCTextLex*> m_bucketData; // every bucket, each ending with null
    int m_bucket[HashSize];                       // start of each bucket in m_bucketData, -1: none
    bool m_lexReady;
    bool m_lexLoaded;
    bool caseSensitive;
    CPairedIntArray pairedLexems;
    CLexData* hlOpen;
    CLexData* hlClose;
    bool blocksDirty;
    bool m_showBlockTips;
    // Set while a row's expansion is lexed: the row's own call of assignSimpleLexes
    // follows the cut to the labels.
    bool m_lexingExpansion;
};

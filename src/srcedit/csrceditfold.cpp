// CSrcEditLex: paired lexemes and their highlighting, folds that keep the tags right, and
// the gutter sign.
#include <vexapi/srcedit/csrceditlex.h>

#include <memory>
#include <vector>

// ---- Paired lexemes.

int CSrcEditLex::AddPairedLexems(int open, int close)
{
    if (open == close)
        return -1;
    for (int i = 0; i < pairedLexems.Count(); ++i) {
        int o = pairedLexems.Open(i), c = pairedLexems.Close(i);
        if (o == open || o == close || c == open || c == close)
            return -1;
    }
    int n = pairedLexems.AddPair(open, close);
    return n > 0 ? n : -1;
}

void CSrcEditLex::ClearPairedLexems()
{
    pairedLexems.DeleteAll();
    clearHighlight();
}

CLexData* CSrcEditLex::stepSimpleLex(CLexData* lex, bool forward)
{
    if (!lex || !lex->owner)
        return nullptr;
    CEditString* row = lex->owner;
    List::Iterator it(lex);
    if (forward)
        ++it;
    else
        --it;
    if (it != row->SimpleLexes().List::end())
        return static_cast<CLexData*>(it.node());
    if (row->oBlock() != &document)
        return nullptr; // the walk keeps to the visible rows
    for (int r = row->visRowId() + (forward ? 1 : -1); r >= 0 && r < GetRowCount(); r += forward ? 1 : -1) {
        ListOf<CLexData>& list = GetString(r)->SimpleLexes();
        if (!list.empty())
            return static_cast<CLexData*>((forward ? list.List::begin() : --list.List::end()).node());
    }
    return nullptr;
}

CLexData* CSrcEditLex::GetFirstSimpleLex()
{
    for (int r = 0; r < GetRowCount(); ++r) {
        ListOf<CLexData>& list = GetString(r)->SimpleLexes();
        if (!list.empty())
            return static_cast<CLexData*>(list.List::begin().node());
    }
    return nullptr;
}

CLexData* CSrcEditLex::GetLastSimpleLex()
{
    for (int r = GetRowCount() - 1; r >= 0; --r) {
        ListOf<CLexData>& list = GetString(r)->SimpleLexes();
        if (!list.empty())
            return static_cast<CLexData*>((--list.List::end()).node());
    }
    return nullptr;
}

CLexData* CSrcEditLex::GetNextSimpleLex(CLexData* lex) { return stepSimpleLex(lex, true); }
CLexData* CSrcEditLex::GetPrevSimpleLex(CLexData* lex) { return stepSimpleLex(lex, false); }

int CSrcEditLex::AssignHighlightLexems(int col, int row)
{
    if (pairedLexems.Count() == 0)
        return -1;
    clearHighlight();
    CEditString* r = GetString(row);
    if (!r)
        return -1;
    CLexData* lex = r->GetSimpleLexAtCol(col);
    if (!lex)
        return -1;
    for (int i = 0; i < pairedLexems.Count(); ++i) {
        const int open = pairedLexems.Open(i);
        const int close = pairedLexems.Close(i);
        if (lex->name != open && lex->name != close)
            continue;
        const bool forward = lex->name == open;
        int depth = 1;
        for (CLexData* l = stepSimpleLex(lex, forward); l; l = stepSimpleLex(l, forward)) {
            if (l->name == lex->name)
                ++depth;
            else if (l->name == (forward ? close : open))
                --depth;
            if (depth == 0) {
                hlOpen = forward ? lex : l;
                hlClose = forward ? l : lex;
                return l->owner->visRowId();
            }
        }
        return -1;
    }
    return -1;
}

int CSrcEditLex::GetTagsForRows(CTagNode*& first, CTagNode*& last, int fromRow, int toRow)
{
    first = last = nullptr;
    if (toRow == -1)
        toRow = fromRow;
    if (fromRow < 0 || toRow < fromRow)
        return 0;
    CTagNode* t = tags.FirstFrom(fromRow);
    if (!t || t->row > toRow)
        return 0;
    first = t;
    int n = 0;
    for (; t && t->row <= toRow; t = t->next) {
        last = t;
        ++n;
    }
    return n;
}

// ---- Folds.

bool CSrcEditLex::collapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label)
{
    CEditStringArray* hidden = new CEditStringArray();
    if (!document.getSmartText(hidden, false, col1, row1, col2, row2)) {
        delete hidden;
        return false;
    }
    CEditString* labelRow = CEditString::fromBlock(hidden, type, label);
    int endCol = 0, endRow = 0;
    if (!labelRow) {
        // Put the text back where it was.
        document.insSmartText(hidden, false, col1, row1, endCol, endRow);
        delete hidden;
        return false;
    }
    CEditStringArray carrier;
    carrier.AddString(labelRow);
    return document.insSmartText(&carrier, false, col1, row1, endCol, endRow);
}

bool CSrcEditLex::expandBlock(CTextSegment* segment, int row, int& endCol, int& endRow)
{
    CEditString* r = GetString(row);
    if (!segment || !r || segment->oString() != r)
        return false;
    const int col = segment->col();
    CEditStringArray label;
    if (!document.getSmartText(&label, false, col, row, col + segment->shortLength(), row))
        return false;
    CTextSegment* moved = label.GetString(0)->segmentAt(0);
    CEditStringArray* hidden = moved->block();
    // The label's row dies with `label`; its fold must not take the hidden rows along.
    moved->setBlock(new CEditStringArray());
    bool ok = document.insSmartText(hidden, false, col, row, endCol, endRow);
    delete hidden;
    return ok;
}

bool CSrcEditLex::CollapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label, bool)
{
    if (row1 < 0 || row2 >= GetRowCount() || row1 > row2)
        return false;
    if (!label && (type < 1 || type > 7))
        return false;
    CEditString* first = GetString(row1);
    CEditString* last = GetString(row2);
    if (col1 < 0 || col1 > first->GetLength() || col2 < 0 || col2 > last->GetLength() || first->ownerOf(col1) ||
        last->ownerOf(col2) || (row1 == row2 && col1 >= col2))
        return false;
    send(this, &CSrcEditLex::onCollapseBlock, col1, row1, col2, row2);
    send(this, &CSrcEditLex::onDeleteRow, row1 + 1, row2 - row1);
    clearHighlight();
    if (!collapseBlock(col1, row1, col2, row2, type, label)) {
        // The rows stayed: the tags shifted for nothing, so they are made again.
        send(this, &CSrcEditLex::doParse, -1, -1);
        return false;
    }
    send(this, &CSrcEditLex::doParse, row1, row1);
    return true;
}

bool CSrcEditLex::ExpandBlock(int col, int row, bool)
{
    CEditString* r = GetString(row);
    CTextSegment* segment = r ? r->segmentAt(col) : nullptr;
    if (!segment)
        return false;
    const int at = segment->col();
    int endCol = 0, endRow = 0;
    clearHighlight();
    if (!expandBlock(segment, row, endCol, endRow)) {
        send(this, &CSrcEditLex::doParse, -1, -1);
        return false;
    }
    send(this, &CSrcEditLex::onInsertRow, row + 1, endRow - row);
    send(this, &CSrcEditLex::onExpandBlock, at, row, endCol, endRow);
    send(this, &CSrcEditLex::doParse, row, endRow);
    return true;
}

bool CSrcEditLex::ExpandRowToAbsColumn(int& row, int& col, int n, bool undoStep)
{
    CEditString* r = GetString(row);
    if (!r || col < 0 || col > r->textLength())
        return false;
    const int nseg = r->SegmentsCount();
    std::unique_ptr<int[]> absCols(r->copyAbsCols(nseg));
    std::unique_ptr<int[]> lengths(r->copyLengths(nseg));
    std::unique_ptr<int[]> visCols(r->copyVisCols(nseg));
    for (int k = 0; k < nseg; ++k) {
        if (absCols[k] <= col && col < absCols[k] + lengths[k]) {
            // Hidden: unfold, then find the row that holds the position now. Unfolding
            // leaves the plain text as it was, so the position is counted in it.
            if (!ExpandBlock(visCols[k], row, undoStep))
                return false;
            int rest = col;
            int at = row;
            while (GetString(at) && rest > GetString(at)->textLength() && GetString(at + 1)) {
                rest -= GetString(at)->textLength() + 2;
                ++at;
            }
            row = at;
            col = rest;
            return ExpandRowToAbsColumn(row, col, n, undoStep);
        }
    }
    const int vis = r->Abs2VisPos(col);
    if (vis < 0)
        return false;
    // Labels in [vis, vis + n), the last first, so that the earlier ones keep their place.
    for (int k = nseg - 1; k >= 0; --k)
        if (visCols[k] >= vis && visCols[k] < vis + n)
            ExpandBlock(visCols[k], row, undoStep);
    col = vis;
    return true;
}

CEditString* CSrcEditLex::EnsureVisible(CEditString* row, bool undoStep)
{
    if (!row)
        return nullptr;
    if (row->oBlock() == &document)
        return row;
    CEditString* owner = row->visibleOwnerString();
    if (!owner || owner->oBlock() != &document)
        return nullptr;
    int start = row->AbsPosInBlock(&document, 0);
    int ownerStart = owner->AbsPosInBlock(&document, 0);
    if (start < 0 || ownerStart < 0)
        return nullptr;
    int r = owner->visRowId();
    int c = start - ownerStart;
    if (!ExpandRowToAbsColumn(r, c, 0, undoStep))
        return nullptr;
    return GetString(r);
}

// ---- The gutter sign.

LayoutSign CSrcEditLex::refreshLayoutSign(int row)
{
    CEditString* r = GetString(row);
    if (!r)
        return LS_NONE;
    LayoutSign sign = LS_NONE;
    if (r->hasSegments()) {
        sign = LS_COLLAPSED;
    } else {
        for (CLexData& lex : r->LinkedLexes())
            if (lex.type == LT_OPEN && lex.endLex && lex.endLex->owner != r) {
                sign = LS_CAN_COLLAPSE;
                break;
            }
    }
    r->setLayoutSign(sign);
    return sign;
}

bool CSrcEditLex::closesForeignRange(CEditString* row)
{
    if (!row)
        return false;
    for (CLexData& lex : row->LinkedLexes())
        if (lex.type == LT_CLOSE && lex.beginLex && lex.beginLex->owner != row)
            return true;
    return false;
}

bool CSrcEditLex::signShown(int signWidth, int signHeight, int rowHeight)
{
    return signWidth >= 5 && signHeight >= 5 && signHeight <= rowHeight;
}

bool CSrcEditLex::pointOnSign(int x, int y, int barWidth, int rowHeight, int signWidth, int signHeight)
{
    int mx = (barWidth - signWidth) / 2 - 1;
    int my = (rowHeight - signHeight) / 2 - 1;
    if (mx < 0)
        mx = 0;
    if (my < 0)
        my = 0;
    return x >= mx && x < barWidth - mx && y >= my && y < rowHeight - my;
}

WString CSrcEditLex::blockTipText(const CTextSegment* segment)
{
    const int limit = 500;
    if (!segment || !segment->block())
        return WString();
    const CEditStringArray* block = segment->block();
    const int n = block->textLength();
    std::vector<WChar> buffer(std::size_t(limit) + 1);
    block->toPlainText(buffer.data(), limit + 1);
    WString tip(buffer.data());
    if (n > limit) {
        const WChar more[] = {' ', '.', '.', '.', 0};
        tip += more;
    }
    return tip;
}

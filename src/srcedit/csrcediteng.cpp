// CSrcEditEng: loading text, the caret and the selection, and the editing operations
// (typing, line break, deleting, clipboard, indenting).
#include <vexapi/srcedit/csrcediteng.h>

#include <vexapi/core/wtext.h>

#include <algorithm>
#include <cstring>
#include <vector>

CEditClipboard::~CEditClipboard() = default;

CSrcEditEng::CSrcEditEng()
    : currentStep(0), appliedCount(0), m_caretCol(0), m_caretRow(0), m_hasSel(false), m_selCol1(0), m_selRow1(0),
      m_selCol2(0), m_selRow2(0), m_insert(true), m_readOnly(false), m_indent(true), m_tabAsSpace(true),
      m_modified(false), m_vertBlock(false), m_backTab(false), m_tabStep(4), m_bookmarkIndex(-1),
      m_clipboard(nullptr), m_search(new SearchState())
{
    std::memset(m_search, 0, sizeof(SearchState));
    m_search->forward = true;
    m_search->wholeFile = true;
    m_search->lastCol = m_search->lastRow = -1;
    // The control always has a row.
    document.AddString(new CEditString());
}

CSrcEditEng::~CSrcEditEng()
{
    delete m_search;
}

// ---- Text.

bool CSrcEditEng::setText(const WChar* text)
{
    m_caretCol = m_caretRow = 0;
    m_hasSel = false;
    m_search->lastCol = m_search->lastRow = -1;
    m_undo.DelAllUndo();
    currentStep = appliedCount = 0;
    // The rows go: so do this file's bookmarks, which would point at them.
    m_bookmarks.DelAllBookmark(m_fileName.c_str());
    clearHighlight();
    tags.RemoveAll();
    document.DelAllString();
    if (!text) {
        static const WChar lf[] = {WChar('\n'), 0};
        document.AddString(new CEditString(lf, 1));
    } else {
        int n = wstrlen(text);
        int start = 0;
        bool anyBreak = false;
        document.GrowUpBy(n / 40 + 1);
        for (int i = 0; i < n; ++i) {
            if (text[i] != '\n')
                continue;
            anyBreak = true;
            int end = i;
            // A CR before the LF goes only when the row has text before it.
            if (end - 1 > start && text[end - 1] == '\r')
                --end;
            document.AddString(new CEditString(text + start, end - start));
            start = i + 1;
        }
        if (start < n || !anyBreak)
            document.AddString(new CEditString(text + start, n - start));
    }
    send(this, &CSrcEditEng::doParse, -1, -1);
    ResetScrollBars();
    ReDraw();
    return true;
}

WChar* CSrcEditEng::getText(WChar* buffer, int capacity)
{
    document.toPlainText(buffer, capacity, true);
    return buffer;
}

WChar* CSrcEditEng::getText(WChar* buffer, int col1, int row1, int col2, int row2, int capacity)
{
    document.toPlainText(buffer, col1, row1, col2, row2, capacity, true);
    return buffer;
}

int CSrcEditEng::getTextLen()
{
    return document.textLength();
}

int CSrcEditEng::getTextLen(int col1, int row1, int col2, int row2)
{
    return document.textLength(col1, row1, col2, row2);
}

CEditString* CSrcEditEng::GetString(int i) const
{
    return document.GetString(i == -1 ? m_caretRow : i);
}

bool CSrcEditEng::SetAssignedFileName(const WChar* name)
{
    if (!name || wstrlen(name) > 260)
        return false;
    m_fileName = name;
    return true;
}

void CSrcEditEng::setTabStep(int n)
{
    if (m_tabStep >= 1 && m_tabStep <= 32)
        m_tabStep = n;
    else
        m_tabStep = 4;
}

// ---- Caret and selection.

void CSrcEditEng::setCaret(int col, int row)
{
    row = std::max(0, std::min(row, document.GetRowCount() - 1));
    CEditString* s = document.GetString(row);
    int length = s ? s->GetLength() : 0;
    col = std::max(0, std::min(col, length));
    if (s)
        if (CTextSegment* seg = s->ownerOf(col))
            col = seg->col();
    m_caretCol = col;
    m_caretRow = row;
}

void CSrcEditEng::SetCaretPos(int col, int row, bool scroll, bool extendSelection)
{
    (void)scroll;
    int oldCol = m_caretCol, oldRow = m_caretRow;
    setCaret(col, row);
    m_search->lastCol = m_search->lastRow = -1;
    if (extendSelection) {
        if (!m_hasSel) {
            m_selCol1 = oldCol;
            m_selRow1 = oldRow;
        }
        m_selCol2 = m_caretCol;
        m_selRow2 = m_caretRow;
        m_hasSel = m_selCol1 != m_selCol2 || m_selRow1 != m_selRow2;
    }
}

void CSrcEditEng::MoveRight(int n)
{
    SetCaretPos(m_caretCol + n, m_caretRow, true, false);
}

void CSrcEditEng::MoveLeft(int n)
{
    SetCaretPos(m_caretCol - n, m_caretRow, true, false);
}

bool CSrcEditEng::getSel(int& col1, int& row1, int& col2, int& row2) const
{
    if (!m_hasSel)
        return false;
    bool ordered = m_selRow1 < m_selRow2 || (m_selRow1 == m_selRow2 && m_selCol1 <= m_selCol2);
    col1 = ordered ? m_selCol1 : m_selCol2;
    row1 = ordered ? m_selRow1 : m_selRow2;
    col2 = ordered ? m_selCol2 : m_selCol1;
    row2 = ordered ? m_selRow2 : m_selRow1;
    return true;
}

void CSrcEditEng::setSel(int col1, int row1, int col2, int row2)
{
    int rows = document.GetRowCount();
    row1 = std::max(0, std::min(row1, rows - 1));
    row2 = std::max(0, std::min(row2, rows - 1));
    col1 = std::max(0, std::min(col1, document.GetString(row1)->GetLength()));
    col2 = std::max(0, std::min(col2, document.GetString(row2)->GetLength()));
    m_selCol1 = col1;
    m_selRow1 = row1;
    m_selCol2 = col2;
    m_selRow2 = row2;
    m_hasSel = col1 != col2 || row1 != row2;
}

bool CSrcEditEng::isSelRow(int row, int& from, int& to, bool& all) const
{
    int c1, r1, c2, r2;
    if (!getSel(c1, r1, c2, r2) || row < r1 || row > r2)
        return false;
    CEditString* s = document.GetString(row);
    int length = s ? s->GetLength() : 0;
    from = row == r1 ? c1 : 0;
    to = row == r2 ? c2 : length;
    all = from == 0 && to >= length && row != r2;
    return true;
}

void CSrcEditEng::widenOutOfLabels(int& col1, int row1, int& col2, int row2) const
{
    if (CEditString* s = document.GetString(row1))
        if (CTextSegment* seg = s->ownerOf(col1))
            col1 = seg->col();
    if (CEditString* s = document.GetString(row2))
        if (CTextSegment* seg = s->ownerOf(col2))
            col2 = seg->col() + seg->shortLength();
}

// ---- Editing.

bool CSrcEditEng::insSmartText(CEditStringArray* source, bool copy, int col, int row, int& endCol, int& endRow)
{
    if (!document.insSmartText(source, copy, col, row, endCol, endRow))
        return false;
    setCaret(endCol, endRow);
    return true;
}

bool CSrcEditEng::delSmartText(int col1, int row1, int col2, int row2)
{
    return document.delSmartText(col1, row1, col2, row2);
}

bool CSrcEditEng::getSmartText(CEditStringArray* dest, bool copy, int col1, int row1, int col2, int row2)
{
    return document.getSmartText(dest, copy, col1, row1, col2, row2);
}

bool CSrcEditEng::BackSpace()
{
    if (m_readOnly)
        return false;
    if (m_hasSel)
        return ClipboardDelete();
    int col = m_caretCol, row = m_caretRow;
    CEditString* s = document.GetString(row);
    if (!s || (col == 0 && row == 0))
        return false;
    if (col == 0) {
        int prev = row - 1;
        CEditString* p = document.GetString(prev);
        int end = p->GetLength();
        UndoNextStep();
        // The row goes: its bookmark moves up unless the row above has one, and the
        // bookmarks in its folds follow their lines up.
        moveRowMark(s, p);
        FoldMarks marks;
        takeFoldMarks(row, 0, -1, marks);
        UndoStrInsert(prev, s, end);
        setCaret(end, prev);
        send(this, &CSrcEditEng::onDeleteRow, row, 1);
        UndoDelString(row);
        giveFoldMarks(marks, -1);
        send(this, &CSrcEditEng::doChange, true);
        send(this, &CSrcEditEng::doParse, prev, prev);
        ReDraw();
        UndoCommitStep();
        return true;
    }
    int from = std::min(col, s->GetLength()) - 1;
    int to = from + 1;
    if (CTextSegment* seg = s->segmentAt(from)) {
        from = seg->col();
        to = seg->col() + seg->shortLength();
    }
    UndoNextStep();
    FoldMarks gone;
    takeFoldMarks(row, from, to, gone);
    setCaret(from, row);
    UndoStrDelete(row, from, to);
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, row, row);
    ReDrawRow(row);
    UndoCommitStep();
    return true;
}

bool CSrcEditEng::Delete()
{
    if (m_readOnly)
        return false;
    if (m_hasSel)
        return ClipboardDelete();
    int col = m_caretCol, row = m_caretRow;
    CEditString* s = document.GetString(row);
    if (!s)
        return false;
    if (col >= s->GetLength()) {
        CEditString* next = document.GetString(row + 1);
        if (!next)
            return false;
        col = s->GetLength();
        UndoNextStep();
        moveRowMark(next, s);
        FoldMarks marks;
        takeFoldMarks(row + 1, 0, -1, marks);
        UndoStrInsert(row, next, col);
        send(this, &CSrcEditEng::onDeleteRow, row + 1, 1);
        UndoDelString(row + 1);
        giveFoldMarks(marks, -1);
        send(this, &CSrcEditEng::doChange, true);
        send(this, &CSrcEditEng::doParse, std::max(row - 1, 0), row);
        ReDraw();
        UndoCommitStep();
        return true;
    }
    int from = col, to = col + 1;
    if (CTextSegment* seg = s->segmentAt(col)) {
        from = seg->col();
        to = seg->col() + seg->shortLength();
    }
    UndoNextStep();
    FoldMarks gone;
    takeFoldMarks(row, from, to, gone);
    UndoStrDelete(row, from, to);
    setCaret(from, row);
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, row, row);
    ReDrawRow(row);
    UndoCommitStep();
    return true;
}

bool CSrcEditEng::Return()
{
    if (m_readOnly)
        return false;
    if (m_hasSel)
        ClipboardDelete();
    UndoNextStep();
    int row = m_caretRow;
    CEditString* s = document.GetString(row);
    int length = s->GetLength();
    int col = std::min(m_caretCol, length);
    if (CTextSegment* seg = s->ownerOf(col))
        col = seg->col();
    int indent = 0;
    if (m_indent) {
        int r = row;
        while (r >= 0 && document.GetString(r)->IsEmpty())
            --r;
        if (r >= 0) {
            CEditString* above = document.GetString(r);
            const WChar* text = above->GetData();
            while (indent < above->GetLength() && text[indent] == ' ')
                ++indent;
            if (r == row && col <= indent)
                indent = col;
        }
    }
    std::vector<WChar> spaces(std::size_t(indent) + 1, WChar(' '));
    CEditString* tail = new CEditString(spaces.data(), indent);
    // The folds behind the caret are copied into the new row and deleted from this one:
    // their bookmarks leave first and come back one line further down.
    FoldMarks marks;
    takeFoldMarks(row, col, -1, marks);
    tail->CatEditString(s, col, true);
    if (!UndoInsString(tail, row + 1))
        delete tail;
    UndoStrDelete(row, col, length);
    giveFoldMarks(marks, 1);
    send(this, &CSrcEditEng::onInsertRow, row + 1, 1);
    setCaret(indent, row + 1);
    UndoCommitStep();
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, row, row + 1);
    ReDraw();
    return true;
}

void CSrcEditEng::repaintTyped(int col, int row)
{
    // The pair partner of what was typed is highlighted; on another row all is repainted.
    int partner = AssignHighlightLexems(col, row);
    if (partner >= 0 && partner != row)
        ReDraw();
    else
        ReDrawRow(row);
}

bool CSrcEditEng::onChar(const WChar* text)
{
    if (!text || !text[0] || text[1])
        return false;
    WChar c = text[0];
    if (c < 0x20 && c != '\t')
        return false;
    if (!m_insert && c == '\t') {
        // Overwrite mode: a tab only moves the caret, up to the row's end.
        int step = m_tabStep > 0 ? m_tabStep : 4;
        SetCaretPos((m_caretCol / step + 1) * step, m_caretRow, true, false);
        return true;
    }
    if (m_readOnly)
        return false;
    if (!m_insert) {
        CEditString* s = document.GetString(m_caretRow);
        int col = std::min(m_caretCol, s->GetLength());
        while (CTextSegment* seg = s->segmentAt(col))
            col = seg->col() + seg->shortLength();
        setCaret(col, m_caretRow);
        if (m_hasSel)
            ClipboardDelete();
        col = m_caretCol;
        int row = m_caretRow;
        UndoNextStep();
        bool ok = UndoStrChange(-1, &c, col, 1);
        send(this, &CSrcEditEng::doChange, true);
        send(this, &CSrcEditEng::doParse, row, row);
        repaintTyped(col, row);
        if (ok)
            MoveRight(1);
        UndoCommitStep();
        return ok;
    }
    if (c == '\t' && m_hasSel)
        return ClipboardTab(m_backTab);
    CEditString* s = document.GetString(m_caretRow);
    int col = std::min(m_caretCol, s->GetLength());
    if (s->ownerOf(col))
        return false;
    WChar spaces[32];
    int n = 1;
    const WChar* insert = &c;
    if (c == '\t' && m_tabAsSpace) {
        int step = std::max(1, std::min(m_tabStep, 32));
        n = step - col % step;
        for (int i = 0; i < n; ++i)
            spaces[i] = ' ';
        insert = spaces;
    } else if (m_hasSel) {
        ClipboardDelete();
        s = document.GetString(m_caretRow);
        col = m_caretCol;
    }
    int row = m_caretRow;
    UndoNextStep();
    bool ok = UndoStrInsert(-1, insert, n, col);
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, row, row);
    repaintTyped(col, row);
    if (ok)
        MoveRight(n);
    UndoCommitStep();
    return ok;
}

// ---- Clipboard.

bool CSrcEditEng::ClipboardCopy(int mode)
{
    int c1, r1, c2, r2;
    if (!getSel(c1, r1, c2, r2))
        return false;
    // What a cut deletes: labels are taken whole.
    widenOutOfLabels(c1, r1, c2, r2);
    int n = getTextLen(c1, r1, c2, r2);
    if (n < 0)
        return false;
    if (n == 0)
        return true;
    if (!m_clipboard)
        return false;
    std::vector<WChar> buffer(std::size_t(n) + 1);
    getText(buffer.data(), c1, r1, c2, r2, n + 1);
    return m_clipboard->copyText(buffer.data(), n, mode);
}

bool CSrcEditEng::ClipboardCut(int mode)
{
    if (m_readOnly || !ClipboardCopy(mode))
        return false;
    return ClipboardDelete();
}

bool CSrcEditEng::ClipboardDelete()
{
    int c1, r1, c2, r2;
    if (m_readOnly || !getSel(c1, r1, c2, r2))
        return false;
    widenOutOfLabels(c1, r1, c2, r2);
    UndoNextStep();
    DeleteBookmarks(c1, r1, c2, r2, false);
    // Bookmarks in the folds of the cut range went with DeleteBookmarks, except those of
    // the folds of the first row that the range takes whole.
    FoldMarks gone;
    takeFoldMarks(r1, c1, r1 == r2 ? c2 : -1, gone);
    if (UndoDelSmartText(c1, r1, c2, r2)) {
        if (r2 > r1)
            send(this, &CSrcEditEng::onDeleteRow, r1 + 1, r2 - r1);
    }
    setCaret(c1, r1);
    noSel();
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, r1, r2);
    ReShow();
    UndoCommitStep();
    return true;
}

bool CSrcEditEng::ClipboardPaste(int mode)
{
    if (m_readOnly || !m_clipboard)
        return false;
    int n = m_clipboard->textLength(mode);
    if (n <= 0)
        return false;
    std::vector<WChar> text(std::size_t(n) + 1);
    m_clipboard->getText(text.data(), n + 1, mode);
    int col = m_caretCol, row = m_caretRow;
    int c1, r1, c2, r2;
    UndoNextStep();
    if (getSel(c1, r1, c2, r2)) {
        widenOutOfLabels(c1, r1, c2, r2);
        DeleteBookmarks(c1, r1, c2, r2, false);
        FoldMarks gone;
        takeFoldMarks(r1, c1, r1 == r2 ? c2 : -1, gone);
        if (r2 > r1)
            send(this, &CSrcEditEng::onDeleteRow, r1 + 1, r2 - r1);
        UndoDelSmartText(c1, r1, c2, r2);
        noSel();
        col = c1;
        row = r1;
    }
    CEditString* s = document.GetString(row);
    col = std::min(col, s->GetLength());
    if (CTextSegment* seg = s->ownerOf(col))
        col = seg->col();
    int endCol = col, endRow = row;
    if (UndoInsText(text.data(), col, row, endCol, endRow)) {
        if (endRow > row)
            send(this, &CSrcEditEng::onInsertRow, row + 1, endRow - row);
    }
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, row, endRow);
    ReDraw();
    setCaret(endCol, endRow);
    UndoCommitStep();
    return true;
}

bool CSrcEditEng::ClipboardTab(bool back)
{
    int c1, r1, c2, r2;
    if (m_readOnly || !getSel(c1, r1, c2, r2))
        return false;
    int step = std::max(1, std::min(m_tabStep, 32));
    WChar unit[32];
    int unitLength = m_tabAsSpace ? step : 1;
    for (int i = 0; i < unitLength; ++i)
        unit[i] = m_tabAsSpace ? WChar(' ') : WChar('\t');
    int last = c2 != 0 ? r2 : r2 - 1;
    UndoNextStep();
    for (int r = r1; r <= last; ++r) {
        CEditString* s = document.GetString(r);
        if (!s || s->IsEmpty())
            continue;
        if (!back) {
            if (!s->segmentAt(0))
                UndoStrInsert(r, unit, unitLength, 0);
            continue;
        }
        const WChar* text = s->GetData();
        if (!m_tabAsSpace) {
            if (text[0] == '\t' && !s->segmentAt(0))
                UndoStrDelete(r, 0, 1);
            continue;
        }
        int k = 0;
        while (k < step && k < s->GetLength() && text[k] == ' ' && !s->segmentAt(k))
            ++k;
        if (k > 0)
            UndoStrDelete(r, 0, k);
    }
    int endCol, endRow;
    int lastRow = document.GetRowCount() - 1;
    if (r2 == lastRow) {
        endRow = r2;
        endCol = document.GetString(r2)->GetLength();
    } else if (c2 == 0) {
        endRow = r2;
        endCol = 0;
    } else {
        endRow = r2 + 1;
        endCol = 0;
    }
    setSel(0, r1, endCol, endRow);
    setCaret(endCol, endRow);
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, r1, r2);
    ReDraw();
    UndoCommitStep();
    return true;
}

// ---- Signals and repaint.

bool CSrcEditEng::doChange(bool textChanged)
{
    if (textChanged)
        m_modified = true;
    if (GetHlOpen() || GetHlClose()) {
        ReDraw();
        clearHighlight();
    }
    ResetScrollBars();
    send(this, &CSrcEditEng::onChange, textChanged);
    return true;
}

bool CSrcEditEng::onChange(bool) { return true; }
bool CSrcEditEng::onUndo() { return true; }
bool CSrcEditEng::onRedo() { return true; }
bool CSrcEditEng::onBookmark(const WChar*, CEditString*) { return true; }
void CSrcEditEng::ReDrawRow(int) {}
void CSrcEditEng::ReShow() {}
void CSrcEditEng::ReDrawBmpBar() {}
void CSrcEditEng::ResetScrollBars() {}

// ---- Checks.

int CSrcEditEng::checkInvariants() const
{
    if (document.checkInvariants() != 0)
        return 1;
    if (document.GetRowCount() < 1)
        return 2;
    CEditString* s = document.GetString(m_caretRow);
    if (!s || m_caretCol < 0 || m_caretCol > s->GetLength() || s->ownerOf(m_caretCol))
        return 3;
    int n = m_undo.GetSize();
    if (appliedCount < 0 || appliedCount > n || currentStep < 0)
        return 4;
    int prev = 1;
    for (int i = 0; i < n; ++i) {
        UNDO* r = m_undo.GetUndo(i);
        if (!r || r->step < prev || r->action < 0 || r->action > UA_LAST)
            return 5;
        prev = r->step;
        if ((i < appliedCount) != (r->step <= currentStep))
            return 6;
    }
    for (int i = 0; i < m_bookmarks.GetSize(); ++i) {
        tagBOOKMARK* mark = m_bookmarks.GetAt(i);
        if (!mark || !mark->row || !mark->inFile(m_fileName.c_str()))
            continue;
        if (!mark->row->actual())
            return 7;
        CEditString* top = mark->row->visibleOwnerString();
        if (!top || top->oBlock() != &document)
            return 7;
        for (int j = i + 1; j < m_bookmarks.GetSize(); ++j) {
            tagBOOKMARK* other = m_bookmarks.GetAt(j);
            if (other && other->row == mark->row && other->inFile(m_fileName.c_str()))
                return 7;
        }
    }
    if (CSrcEditLex::checkInvariants() != 0)
        return 8;
    return 0;
}

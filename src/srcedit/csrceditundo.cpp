// CSrcEditEng: the undo history (steps, replay, the record makers), folds and bookmarks.
#include <vexapi/srcedit/csrcediteng.h>

#include <vexapi/core/wtext.h>

#include <algorithm>

namespace {

// A copy of a whole row, folds included; null for null.
CEditString* copyOf(CEditString* row)
{
    return row ? row->CopyEditString(0, -1) : nullptr;
}

} // namespace

// ---- Steps.

void CSrcEditEng::RefreshUndo()
{
    while (m_undo.GetSize() > 0 && m_undo.GetUndo(m_undo.GetSize() - 1)->step > currentStep)
        m_undo.DelUndo(m_undo.GetSize() - 1);
    appliedCount = std::min(appliedCount, m_undo.GetSize());
}

void CSrcEditEng::UndoNextStep()
{
    RefreshUndo();
    ++currentStep;
}

void CSrcEditEng::UndoCommitStep()
{
    int n = m_undo.GetSize();
    if (n == 0 || m_undo.GetUndo(n - 1)->step != currentStep)
        InsertNoneUndo();
    for (int i = m_undo.GetSize() - 1; i >= 0; --i) {
        UNDO* r = m_undo.GetUndo(i);
        if (r->step != currentStep)
            break;
        r->caretColAfter = m_caretCol;
        r->caretRowAfter = m_caretRow;
    }
}

void CSrcEditEng::InsertNoneUndo()
{
    addRecord(GetDefaultUndo(-1, UA_NONE));
}

bool CSrcEditEng::addRecord(UNDO* record)
{
    if (!record)
        return false;
    // A full array drops its oldest record, which was in effect.
    bool full = m_undo.GetSize() >= CUndoArray::Limit;
    if (m_undo.AddUndo(record) == 0)
        return false;
    if (full && appliedCount > 0)
        --appliedCount;
    ++appliedCount;
    return true;
}

UNDO* CSrcEditEng::GetDefaultUndo(int row, int action)
{
    UNDO* r = new UNDO();
    r->row = row == -1 ? m_caretRow : row;
    r->step = currentStep;
    r->action = action;
    r->caretColBefore = m_caretCol;
    r->caretRowBefore = m_caretRow;
    return r;
}

UNDO* CSrcEditEng::GetDefaultUndo(int row, int action, CEditString* undoString, CEditString* redoString)
{
    UNDO* r = GetDefaultUndo(row, action);
    r->undoString = undoString;
    r->redoString = redoString;
    return r;
}

UNDO* CSrcEditEng::GetDefaultUndo(int row, int action, CEditStringArray* undoBlock, CEditStringArray* redoBlock)
{
    UNDO* r = GetDefaultUndo(row, action);
    r->undoBlock = undoBlock;
    r->redoBlock = redoBlock;
    return r;
}

void CSrcEditEng::GetUndoInfo(int& current, int& last) const
{
    current = currentStep;
    int n = m_undo.GetSize();
    last = n ? m_undo.GetUndo(n - 1)->step : 0;
}

bool CSrcEditEng::isUndo() const
{
    return m_undo.GetSize() > 0 && appliedCount > 0 && currentStep > 0;
}

bool CSrcEditEng::isRedo() const
{
    return m_undo.GetSize() > 0 && appliedCount + 1 <= m_undo.GetSize();
}

// ---- Replay.

bool CSrcEditEng::undo()
{
    int n = m_undo.GetSize();
    if (currentStep == 0 || appliedCount == 0 || n == 0)
        return false;
    // The records in effect end at appliedCount; the last of them belongs to the step to
    // undo (a step with no record, left by a failed operation, is passed over).
    int i = std::min(appliedCount, n) - 1;
    int step = m_undo.GetUndo(i)->step;
    if (step > currentStep)
        return false;
    bool changed = false;
    UNDO* last = nullptr;
    for (; i >= 0; --i) {
        UNDO* r = m_undo.GetUndo(i);
        if (r->step != step)
            break;
        if (PlayUndo(r))
            changed = true;
        --appliedCount;
        last = r;
    }
    currentStep = step - 1;
    send(this, &CSrcEditEng::onUndo);
    send(this, &CSrcEditEng::doChange, changed);
    ReDraw();
    SetCaretPos(last->caretColBefore, last->caretRowBefore, true, false);
    noSel();
    return true;
}

bool CSrcEditEng::redo()
{
    int n = m_undo.GetSize();
    if (appliedCount >= n)
        return false;
    int i = std::max(appliedCount, 0);
    int step = m_undo.GetUndo(i)->step;
    if (step <= currentStep)
        return false;
    bool changed = false;
    UNDO* last = nullptr;
    for (; i < n; ++i) {
        UNDO* r = m_undo.GetUndo(i);
        if (r->step != step)
            break;
        if (PlayRedo(r))
            changed = true;
        ++appliedCount;
        last = r;
    }
    currentStep = step;
    send(this, &CSrcEditEng::onRedo);
    send(this, &CSrcEditEng::doChange, changed);
    ReDraw();
    SetCaretPos(last->caretColAfter, last->caretRowAfter, true, false);
    noSel();
    return true;
}

bool CSrcEditEng::cutRange(int col1, int row1, int col2, int row2)
{
    CEditStringArray cut;
    return document.getSmartText(&cut, false, col1, row1, col2, row2);
}

bool CSrcEditEng::replayInsertRow(CEditString* source, int row)
{
    CEditString* copy = copyOf(source);
    if (!copy || !document.InsString(copy, row)) {
        delete copy;
        return false;
    }
    send(this, &CSrcEditEng::onInsertRow, row, 1);
    send(this, &CSrcEditEng::doParse, row, row);
    return true;
}

bool CSrcEditEng::replayDeleteRow(int row)
{
    CEditString* s = document.GetString(row);
    if (!s)
        return false;
    send(this, &CSrcEditEng::onDeleteRow, row, 1);
    document.DelString(row);
    delete s;
    send(this, &CSrcEditEng::doParse, std::max(row - 1, 0), std::max(row - 1, 0));
    return true;
}

bool CSrcEditEng::PlayUndo(UNDO* r)
{
    if (!r)
        return false;
    CEditString* s = document.GetString(r->row);
    int endCol, endRow;
    switch (r->action) {
    case UA_DEL_SMART_TEXT:
        if (!r->undoBlock || !document.insSmartText(r->undoBlock, true, r->col1, r->row1, endCol, endRow))
            return false;
        if (r->row2 > r->row1)
            send(this, &CSrcEditEng::onInsertRow, r->row1 + 1, r->row2 - r->row1);
        send(this, &CSrcEditEng::doParse, r->row1, r->row2);
        return true;
    case UA_INS_TEXT:
        if (r->row2 > r->row1)
            send(this, &CSrcEditEng::onDeleteRow, r->row1 + 1, r->row2 - r->row1);
        if (!cutRange(r->col1, r->row1, r->col2, r->row2))
            return false;
        send(this, &CSrcEditEng::doParse, r->row1, r->row1);
        return true;
    case UA_INS_STRING:
        return replayDeleteRow(r->row);
    case UA_DEL_STRING:
        return replayInsertRow(r->undoString, r->row);
    case UA_STR_CHANGE:
        if (!s)
            return false;
        s->DeleteEditString(r->col1, std::min(r->col1 + r->row1, s->GetLength()));
        if (r->undoString)
            s->InsertEditString(r->undoString, r->col1, 0, true);
        send(this, &CSrcEditEng::doParse, r->row, r->row);
        return true;
    case UA_STR_INSERT:
        if (!s)
            return false;
        s->DeleteEditString(r->col1, r->col1 + r->row1);
        send(this, &CSrcEditEng::doParse, r->row, r->row);
        return true;
    case UA_STR_DELETE:
        if (!s || !r->undoString)
            return false;
        s->InsertEditString(r->undoString, r->col1, 0, true);
        send(this, &CSrcEditEng::doParse, r->row, r->row);
        return true;
    case UA_COLLAPSE_BLOCK: {
        CEditString* row = document.GetString(r->row1);
        CTextSegment* segment = row ? row->segmentAt(r->col1) : nullptr;
        if (!segment || !expandBlock(segment, r->row1, endCol, endRow))
            return false;
        if (endRow > r->row1)
            send(this, &CSrcEditEng::onInsertRow, r->row1 + 1, endRow - r->row1);
        send(this, &CSrcEditEng::onExpandBlock, r->col1, r->row1, endCol, endRow);
        send(this, &CSrcEditEng::doParse, r->row1, r->row2);
        return false;
    }
    case UA_EXPAND_BLOCK:
        send(this, &CSrcEditEng::onCollapseBlock, r->col1, r->row1, r->col2, r->row2);
        if (r->row2 > r->row1)
            send(this, &CSrcEditEng::onDeleteRow, r->row1 + 1, r->row2 - r->row1);
        collapseBlock(r->col1, r->row1, r->col2, r->row2, r->type, r->undoLabel);
        send(this, &CSrcEditEng::doParse, r->row1, r->row1);
        return false;
    case UA_DELETE_BOOKMARK:
        insertBookmark(r->col1, r->row1);
        return false;
    case UA_INSERT_BOOKMARK:
        deleteBookmark(r->col1, r->row1);
        return false;
    default:
        return false; // UA_NONE and unknown actions
    }
}

bool CSrcEditEng::PlayRedo(UNDO* r)
{
    if (!r)
        return false;
    CEditString* s = document.GetString(r->row);
    int endCol, endRow;
    switch (r->action) {
    case UA_DEL_SMART_TEXT:
        if (!cutRange(r->col1, r->row1, r->col2, r->row2))
            return false;
        if (r->row2 > r->row1)
            send(this, &CSrcEditEng::onDeleteRow, r->row1 + 1, r->row2 - r->row1);
        send(this, &CSrcEditEng::doParse, r->row1, r->row1);
        return true;
    case UA_INS_TEXT:
        if (!r->redoBlock || !insSmartText(r->redoBlock, true, r->col1, r->row1, endCol, endRow))
            return false;
        if (endRow > r->row1)
            send(this, &CSrcEditEng::onInsertRow, r->row1 + 1, endRow - r->row1);
        send(this, &CSrcEditEng::doParse, r->row1, endRow);
        return true;
    case UA_INS_STRING:
        return replayInsertRow(r->redoString, r->row);
    case UA_DEL_STRING:
        return replayDeleteRow(r->row);
    case UA_STR_CHANGE:
        if (!s || !r->redoString)
            return false;
        s->Change(r->redoString->GetData(), r->col1, r->row1);
        send(this, &CSrcEditEng::doParse, r->row, r->row);
        return true;
    case UA_STR_INSERT:
        if (!s || !r->redoString)
            return false;
        s->InsertEditString(r->redoString, r->col1, 0, true);
        send(this, &CSrcEditEng::doParse, r->row, r->row);
        return true;
    case UA_STR_DELETE:
        if (!s)
            return false;
        s->DeleteEditString(r->col1, r->row1);
        send(this, &CSrcEditEng::doParse, r->row, r->row);
        return true;
    case UA_COLLAPSE_BLOCK:
        send(this, &CSrcEditEng::onCollapseBlock, r->col1, r->row1, r->col2, r->row2);
        if (r->row2 > r->row1)
            send(this, &CSrcEditEng::onDeleteRow, r->row1 + 1, r->row2 - r->row1);
        collapseBlock(r->col1, r->row1, r->col2, r->row2, r->type, r->redoLabel);
        send(this, &CSrcEditEng::doParse, r->row1, r->row1);
        return false;
    case UA_EXPAND_BLOCK: {
        CEditString* row = document.GetString(r->row1);
        CTextSegment* segment = row ? row->segmentAt(r->col1) : nullptr;
        if (!segment || !expandBlock(segment, r->row1, endCol, endRow))
            return false;
        if (endRow > r->row1)
            send(this, &CSrcEditEng::onInsertRow, r->row1 + 1, endRow - r->row1);
        send(this, &CSrcEditEng::onExpandBlock, r->col1, r->row1, endCol, endRow);
        send(this, &CSrcEditEng::doParse, r->row1, endRow);
        return false;
    }
    case UA_DELETE_BOOKMARK:
        deleteBookmark(r->col1, r->row1);
        return false;
    case UA_INSERT_BOOKMARK:
        insertBookmark(r->col1, r->row1);
        return false;
    default:
        return false;
    }
}

// ---- Record makers.

bool CSrcEditEng::UndoInsText(const WChar* text, int col, int row, int& endCol, int& endRow)
{
    if (!text)
        return false;
    CEditStringArray* block = CEditStringArray::fromPlainText(text);
    if (!block || !insSmartText(block, true, col, row, endCol, endRow)) {
        delete block;
        return false;
    }
    UNDO* r = GetDefaultUndo(row, UA_INS_TEXT, nullptr, block);
    r->col1 = col;
    r->row1 = row;
    r->col2 = endCol;
    r->row2 = endRow;
    return addRecord(r);
}

bool CSrcEditEng::UndoDelSmartText(int col1, int row1, int col2, int row2)
{
    CEditStringArray* block = new CEditStringArray();
    if (!document.getSmartText(block, false, col1, row1, col2, row2)) {
        delete block;
        return false;
    }
    UNDO* r = GetDefaultUndo(row1, UA_DEL_SMART_TEXT, block, nullptr);
    r->col1 = col1;
    r->row1 = row1;
    r->col2 = col2;
    r->row2 = row2;
    return addRecord(r);
}

bool CSrcEditEng::UndoInsString(CEditString* string, int i)
{
    if (!string || string->oBlock() || !document.InsString(string, i))
        return false;
    return addRecord(GetDefaultUndo(i, UA_INS_STRING, nullptr, copyOf(string)));
}

bool CSrcEditEng::UndoDelString(int i)
{
    CEditString* s = document.GetString(i);
    if (!s)
        return false;
    CEditString* saved = copyOf(s);
    document.DelString(i);
    delete s;
    return addRecord(GetDefaultUndo(i, UA_DEL_STRING, saved, nullptr));
}

bool CSrcEditEng::UndoStrChange(int row, const WChar* text, int col, int n)
{
    if (row == -1)
        row = m_caretRow;
    CEditString* s = document.GetString(row);
    if (!s || !text || n < 0 || col < 0 || col > s->GetLength())
        return false;
    if (s->segmentsIntersect(col, col + n))
        return false;
    CEditString* saved = nullptr;
    int length = s->GetLength();
    // What was there: up to the row's end when the range runs beyond it.
    if (length > 0 && col < length)
        saved = s->CopyEditString(col, std::min(col + n, length));
    if (!s->Change(text, col, n)) {
        delete saved;
        return false;
    }
    UNDO* r = GetDefaultUndo(row, UA_STR_CHANGE, saved, new CEditString(text, n));
    r->col1 = col;
    r->row1 = n;
    return addRecord(r);
}

bool CSrcEditEng::UndoStrInsert(int row, CEditString* source, int col)
{
    if (row == -1)
        row = m_caretRow;
    CEditString* s = document.GetString(row);
    if (!s || !source || source == s)
        return false;
    if (!s->InsertEditString(source, col, 0, true))
        return false;
    UNDO* r = GetDefaultUndo(row, UA_STR_INSERT, nullptr, copyOf(source));
    r->col1 = col;
    r->row1 = source->GetLength();
    return addRecord(r);
}

bool CSrcEditEng::UndoStrInsert(int row, const WChar* text, int n, int col)
{
    CEditString source(text, n);
    return UndoStrInsert(row, &source, col);
}

bool CSrcEditEng::UndoStrDelete(int row, int from, int to)
{
    if (row == -1)
        row = m_caretRow;
    CEditString* s = document.GetString(row);
    if (!s || from < 0 || to > s->GetLength() || from > to)
        return false;
    // The range the row will really delete: no label is cut.
    if (CTextSegment* seg = s->ownerOf(from))
        from = seg->col() + seg->shortLength();
    if (CTextSegment* seg = s->ownerOf(to))
        to = seg->col();
    if (from > to)
        return false;
    CEditString* saved = s->CopyEditString(from, to);
    if (!s->DeleteEditString(from, to)) {
        delete saved;
        return false;
    }
    UNDO* r = GetDefaultUndo(row, UA_STR_DELETE, saved, nullptr);
    r->col1 = from;
    r->row1 = to;
    return addRecord(r);
}

bool CSrcEditEng::UndoCollapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label)
{
    if (!label && (type < 1 || type > 7))
        return false;
    if (!collapseBlock(col1, row1, col2, row2, type, label))
        return false;
    UNDO* r = GetDefaultUndo(row1, UA_COLLAPSE_BLOCK);
    r->col1 = col1;
    r->row1 = row1;
    r->col2 = col2;
    r->row2 = row2;
    r->type = type;
    r->redoLabel = label ? wstrdup(label) : nullptr;
    return addRecord(r);
}

bool CSrcEditEng::UndoExpandBlock(CTextSegment* segment, int row, int& endCol, int& endRow)
{
    if (!segment)
        return false;
    int type = segment->type();
    int col = segment->col();
    // Any label of the caller's is kept, so that undo makes the same label (of the same
    // length) again; a standard type without one keeps none.
    WChar* label = segment->customText() ? wstrdup(segment->customText()) : nullptr;
    if (!expandBlock(segment, row, endCol, endRow)) {
        delete[] label;
        return false;
    }
    UNDO* r = GetDefaultUndo(row, UA_EXPAND_BLOCK);
    r->col1 = col;
    r->row1 = row;
    r->col2 = endCol;
    r->row2 = endRow;
    r->type = type;
    r->undoLabel = label;
    return addRecord(r);
}

bool CSrcEditEng::validMarkRow(const CEditString* row) const
{
    if (!row || !row->actual())
        return false;
    int id = row->GeneralId();
    return id != -1 && (id != 0 || row == document.GetString(0));
}

bool CSrcEditEng::UndoInsertBookmark(CEditString* row, int key, bool ownStep)
{
    if (!validMarkRow(row))
        return false;
    if (ownStep)
        UndoNextStep();
    // One bookmark a row: one already there leaves through its own record, so that undo
    // gives it back.
    int oldKey;
    if (m_bookmarks.GetBookmarkForStr(m_fileName.c_str(), row, oldKey) >= 0)
        UndoDeleteBookmark(row, oldKey, false);
    m_bookmarks.AddBookmark(m_fileName.c_str(), row, key);
    UNDO* r = GetDefaultUndo(-1, UA_INSERT_BOOKMARK);
    r->col1 = row->GeneralId();
    r->row1 = key;
    addRecord(r);
    if (ownStep)
        UndoCommitStep();
    return true;
}

bool CSrcEditEng::UndoDeleteBookmark(CEditString* row, int key, bool ownStep)
{
    if (!validMarkRow(row))
        return false;
    int actualKey;
    if (m_bookmarks.GetBookmarkForStr(m_fileName.c_str(), row, actualKey) < 0)
        return false;
    if (key > 0 && actualKey != key)
        return false;
    if (ownStep)
        UndoNextStep();
    m_bookmarks.DelBookmarkForStr(m_fileName.c_str(), row, -1);
    UNDO* r = GetDefaultUndo(-1, UA_DELETE_BOOKMARK);
    r->col1 = row->GeneralId();
    r->row1 = actualKey;
    addRecord(r);
    if (ownStep)
        UndoCommitStep();
    return true;
}

// ---- Folds.

bool CSrcEditEng::CollapseBlock(int col1, int row1, int col2, int row2, int type, const WChar* label, bool ownStep)
{
    if (row1 < 0 || row2 >= document.GetRowCount() || row1 > row2)
        return false;
    if (!label && (type < 1 || type > 7))
        return false;
    // The range must be one the fold can take: within the rows, not cutting a label.
    CEditString* first = document.GetString(row1);
    CEditString* last = document.GetString(row2);
    if (col1 < 0 || col2 < 0 || col1 > first->GetLength() || col2 > last->GetLength() || first->ownerOf(col1)
        || last->ownerOf(col2) || (row1 == row2 && col1 > col2))
        return false;
    if (ownStep)
        UndoNextStep();
    int before = m_undo.GetSize();
    VectorOf<int> ids, keys;
    GetBookmarksData(ids, keys, col1, row1, col2, row2);
    for (int i = 0; i < ids.size(); ++i)
        UndoDeleteBookmark(document.GenRowId2String(ids[i]), keys[i], false);
    send(this, &CSrcEditEng::onCollapseBlock, col1, row1, col2, row2);
    if (row2 > row1)
        send(this, &CSrcEditEng::onDeleteRow, row1 + 1, row2 - row1);
    bool ok = UndoCollapseBlock(col1, row1, col2, row2, type, label);
    for (int i = 0; i < ids.size(); ++i)
        UndoInsertBookmark(document.GenRowId2String(ids[i]), keys[i], false);
    clearHighlight();
    if (!ok && row2 > row1)
        send(this, &CSrcEditEng::doParse, -1, -1); // the rows stayed: the tags are made again
    else
        send(this, &CSrcEditEng::doParse, row1, row1);
    if (ownStep) {
        if (m_undo.GetSize() > before) {
            send(this, &CSrcEditEng::doChange, false);
            ReShow();
            SetCaretPos(col1, row1, true, true);
            noSel();
        } else {
            InsertNoneUndo();
        }
        UndoCommitStep();
    }
    return ok;
}

bool CSrcEditEng::ExpandBlock(int col, int row, bool ownStep)
{
    CEditString* s = document.GetString(row);
    CTextSegment* segment = s ? s->segmentAt(col) : nullptr;
    if (!segment)
        return false;
    col = segment->col();
    if (ownStep)
        UndoNextStep();
    int before = m_undo.GetSize();
    VectorOf<int> ids, keys;
    GetBookmarksData(ids, keys, col, row, col + segment->shortLength(), row);
    for (int i = 0; i < ids.size(); ++i)
        UndoDeleteBookmark(document.GenRowId2String(ids[i]), keys[i], false);
    int endCol = col, endRow = row;
    bool ok = UndoExpandBlock(segment, row, endCol, endRow);
    if (ok) {
        if (endRow > row)
            send(this, &CSrcEditEng::onInsertRow, row + 1, endRow - row);
        send(this, &CSrcEditEng::onExpandBlock, col, row, endCol, endRow);
    }
    for (int i = 0; i < ids.size(); ++i)
        UndoInsertBookmark(document.GenRowId2String(ids[i]), keys[i], false);
    clearHighlight();
    send(this, &CSrcEditEng::doParse, row, endRow);
    if (ownStep) {
        if (m_undo.GetSize() > before) {
            send(this, &CSrcEditEng::doChange, false);
            ReShow();
            SetCaretPos(col, row, true, false);
        } else {
            InsertNoneUndo();
        }
        UndoCommitStep();
    }
    return ok;
}

// ---- Bookmarks.

bool CSrcEditEng::BookmarkKeyAt(const CEditString* row, int& key) const
{
    for (int i = 0; i < m_bookmarks.GetSize(); ++i) {
        tagBOOKMARK* mark = m_bookmarks.GetAt(i);
        if (mark && mark->row && mark->row == row) {
            key = mark->key;
            return true;
        }
    }
    return false;
}

tagBOOKMARK* CSrcEditEng::BookmarkAt(const CEditString* row)
{
    for (int i = 0; i < m_bookmarks.GetBookmarkCount();) {
        int n = m_bookmarks.GetBookmarkCount();
        tagBOOKMARK* mark = m_bookmarks.GetBookmark(i);
        if (m_bookmarks.GetBookmarkCount() < n)
            continue; // a dead entry went; the next one moved down to i
        if (mark && mark->row == row)
            return mark;
        ++i;
    }
    return nullptr;
}

int CSrcEditEng::GetBookmarksData(VectorOf<int>& ids, VectorOf<int>& keys, int col1, int row1, int col2, int row2)
{
    int start = ids.size();
    for (int r = row1; r <= row2; ++r) {
        CEditString* s = document.GetString(r);
        if (!s)
            break;
        int key;
        int id = s->GeneralId();
        if (BookmarkKeyAt(s, key) && id != -1 && (id != 0 || r == 0)) {
            ids.add(id);
            keys.add(key);
        }
        int from = r == row1 ? col1 : 0;
        int to = r == row2 ? col2 : -1;
        if (to == -1 || from < to)
            s->GetBookmarked(ids, keys, *this, from, to);
    }
    return ids.size() - start;
}

bool CSrcEditEng::DeleteBookmarks(int col1, int row1, int col2, int row2, bool ownStep)
{
    if (row1 < 0 || row1 > row2 || row2 >= document.GetRowCount())
        return false;
    VectorOf<int> ids, keys;
    GetBookmarksData(ids, keys, col1, row1, col2, row2);
    if (ownStep)
        UndoNextStep();
    CEditString* first = document.GetString(row1);
    for (int i = 0; i < ids.size(); ++i) {
        CEditString* row = document.GenRowId2String(ids[i]);
        if (row != first)
            UndoDeleteBookmark(row, keys[i], false);
    }
    if (ownStep)
        UndoCommitStep();
    return true;
}

bool CSrcEditEng::insertBookmark(int id, int key)
{
    CEditString* row = document.GenRowId2String(id);
    if (!row)
        return false;
    return m_bookmarks.AddBookmark(m_fileName.c_str(), row, key) > 0;
}

bool CSrcEditEng::deleteBookmark(int id, int key)
{
    CEditString* row = document.GenRowId2String(id);
    if (!row)
        return false;
    return m_bookmarks.DelBookmarkForStr(m_fileName.c_str(), row, key == 0 ? -1 : key);
}

void CSrcEditEng::takeFoldMarks(int row, int from, int to, FoldMarks& marks)
{
    CEditString* s = document.GetString(row);
    if (!s || !s->hasSegments())
        return;
    int start = marks.ids.size();
    s->GetBookmarked(marks.ids, marks.keys, *this, from, to);
    for (int i = start; i < marks.ids.size(); ++i)
        UndoDeleteBookmark(document.GenRowId2String(marks.ids[i]), marks.keys[i], false);
}

void CSrcEditEng::giveFoldMarks(const FoldMarks& marks, int shift)
{
    for (int i = 0; i < marks.ids.size(); ++i)
        UndoInsertBookmark(document.GenRowId2String(marks.ids[i] + shift), marks.keys[i], false);
}

void CSrcEditEng::moveRowMark(CEditString* from, CEditString* to)
{
    int key, other;
    if (m_bookmarks.GetBookmarkForStr(m_fileName.c_str(), from, key) < 0)
        return;
    UndoDeleteBookmark(from, key, false);
    if (m_bookmarks.GetBookmarkForStr(m_fileName.c_str(), to, other) < 0)
        UndoInsertBookmark(to, key, false);
}

bool CSrcEditEng::SetBookmark()
{
    CEditString* row = GetString(-1);
    if (!validMarkRow(row))
        return false;
    int key;
    bool had = m_bookmarks.GetBookmarkForStr(m_fileName.c_str(), row, key) >= 0;
    UndoNextStep();
    if (had)
        UndoDeleteBookmark(row, key, false);
    if (!had || (key != 0 && key != -1))
        UndoInsertBookmark(row, 0, false);
    UndoCommitStep();
    ReDrawBmpBar();
    return true;
}

bool CSrcEditEng::SetBookmarkNum(int key)
{
    CEditString* row = GetString(-1);
    if (key < 1 || key > 9 || !validMarkRow(row))
        return false;
    UndoNextStep();
    int had;
    if (m_bookmarks.GetBookmarkForStr(m_fileName.c_str(), row, had) >= 0) {
        UndoDeleteBookmark(row, had, false);
        if (had == key) {
            UndoCommitStep();
            ReDrawBmpBar();
            return true;
        }
    }
    // The key leaves any other row of this file.
    for (int i = 0; i < m_bookmarks.GetSize(); ++i) {
        tagBOOKMARK* mark = m_bookmarks.GetAt(i);
        if (mark && mark->row && mark->key == key && mark->inFile(m_fileName.c_str())) {
            UndoDeleteBookmark(mark->row, key, false);
            break;
        }
    }
    UndoInsertBookmark(row, key, false);
    UndoCommitStep();
    ReDrawBmpBar();
    return true;
}

int CSrcEditEng::showBookmarkRow(CEditString* row)
{
    // A hidden row is unfolded into view, each fold opened as an undo step.
    CEditString* shown = EnsureVisible(row, true);
    return shown && shown->oBlock() == &document ? shown->visRowId() : -1;
}

bool CSrcEditEng::GoToBookmarkNum(int key)
{
    if (key < 1 || key > 9)
        return false;
    for (int i = 0; i < m_bookmarks.GetSize(); ++i) {
        tagBOOKMARK* mark = m_bookmarks.GetAt(i);
        if (!mark || !mark->row || mark->key != key)
            continue;
        if (!mark->inFile(m_fileName.c_str()))
            return send(this, &CSrcEditEng::onBookmark, (const WChar*)mark->fileName, mark->row);
        int row = showBookmarkRow(mark->row);
        if (row < 0)
            return false;
        SetCaretPos(0, row, true, false);
        return true;
    }
    return false;
}

bool CSrcEditEng::GoToNextBookmark()
{
    int n = m_bookmarks.GetBookmarkCount();
    for (int tries = 0; tries < n; ++tries) {
        m_bookmarkIndex = (m_bookmarkIndex + 1) % std::max(m_bookmarks.GetBookmarkCount(), 1);
        tagBOOKMARK* mark = m_bookmarks.GetBookmark(m_bookmarkIndex);
        if (!mark)
            continue;
        if (!mark->inFile(m_fileName.c_str()))
            return send(this, &CSrcEditEng::onBookmark, (const WChar*)mark->fileName, mark->row);
        int row = showBookmarkRow(mark->row);
        if (row >= 0) {
            SetCaretPos(0, row, true, false);
            return true;
        }
    }
    return false;
}

bool CSrcEditEng::GoToBookmark()
{
    int index = GetBookmarkRowNumDlg();
    tagBOOKMARK* mark = m_bookmarks.GetBookmark(index);
    if (!mark)
        return false;
    if (!mark->inFile(m_fileName.c_str()))
        return send(this, &CSrcEditEng::onBookmark, (const WChar*)mark->fileName, mark->row);
    int row = showBookmarkRow(mark->row);
    if (row < 0)
        return false;
    SetCaretPos(0, row, true, false);
    return true;
}

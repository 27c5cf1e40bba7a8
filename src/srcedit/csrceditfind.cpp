// CSrcEditEng: search and replace over the document's visible rows.
#include <vexapi/srcedit/csrcediteng.h>

#include "edittext.h"

#include <vexapi/core/wtext.h>

#include <algorithm>

namespace {

const int MaxFindText = 256;

void putFirst(WChar (*history)[CSrcEditEng::HistoryText], int& count, const WChar* text)
{
    WChar* entry = history[0];
    int n = 0;
    for (; text && text[n] && n < MaxFindText; ++n)
        entry[n] = text[n];
    entry[n] = 0;
    if (count < 1)
        count = 1;
}

} // namespace

void CSrcEditEng::setFindText(const WChar* text)
{
    putFirst(m_search->findHistory, m_search->findCount, text);
}

void CSrcEditEng::setReplaceText(const WChar* text)
{
    putFirst(m_search->replaceHistory, m_search->replaceCount, text);
}

bool CSrcEditEng::FindDlg() { return false; }
bool CSrcEditEng::ReplaceDlg() { return false; }
void CSrcEditEng::NotFindMsgBox() {}
int CSrcEditEng::GetGoRowNumDlg() { return -1; }
int CSrcEditEng::GetBookmarkRowNumDlg() { return -1; }

WString CSrcEditEng::notFoundText() const
{
    WString text = WSTR("Cannot find the string '");
    text += m_search->findHistory[0];
    text += WSTR("'.");
    return text;
}

bool CSrcEditEng::FindString(int& col, int& row, const WChar* text, bool wholeWord, bool matchCase, bool forward,
                             bool generalIds)
{
    int rows = document.GetRowCount();
    if (!text || !text[0] || row < 0 || row >= rows)
        return false;
    int hit = -1, r = row;
    if (forward) {
        for (; r < rows; ++r) {
            CEditString* s = document.GetString(r);
            int pos = r == row ? col : 0;
            if (pos < 0 || pos > s->GetLength())
                continue;
            hit = s->FindString(text, pos, wholeWord, matchCase, true);
            if (hit >= 0)
                break;
        }
    } else {
        for (; r >= 0; --r) {
            CEditString* s = document.GetString(r);
            int pos = r == row ? std::min(col, s->GetLength()) : s->GetLength();
            if (pos < 0)
                continue;
            hit = s->FindString(text, pos, wholeWord, matchCase, false);
            if (hit >= 0)
                break;
        }
    }
    if (hit < 0)
        return false;
    CEditString* s = document.GetString(r);
    if (generalIds) {
        col = hit;
        row = s->GeneralId();
        return true;
    }
    if (s->hasSegments()) {
        // The folds over the match open (as an undo step of their own) so it can be shown.
        int at = hit;
        int n = wstrlen(text);
        if (ExpandRowToAbsColumn(r, at, n, true)) {
            col = at;
        } else {
            s = document.GetString(r);
            col = s ? s->Abs2VisPos(hit) : -1;
        }
    } else {
        col = hit;
    }
    row = r;
    return col >= 0;
}

bool CSrcEditEng::FindFirst()
{
    int c1, r1, c2, r2;
    if (getSel(c1, r1, c2, r2) && r1 == r2) {
        m_search->findCol = c1;
        m_search->findRow = r1;
    } else {
        m_search->findCol = m_caretCol;
        m_search->findRow = m_caretRow;
    }
    return FindDlg();
}

bool CSrcEditEng::FindNext()
{
    m_search->findCol = m_caretCol;
    m_search->findRow = m_caretRow;
    return FindTextW();
}

bool CSrcEditEng::Replace()
{
    int c1, r1, c2, r2;
    if (getSel(c1, r1, c2, r2) && r1 == r2) {
        m_search->findCol = std::min(c1, c2);
        m_search->findRow = r1;
    } else {
        m_search->findCol = m_caretCol;
        m_search->findRow = m_caretRow;
    }
    m_search->forward = true;
    return ReplaceDlg();
}

bool CSrcEditEng::FindTextW()
{
    SearchState& st = *m_search;
    const WChar* find = st.findHistory[0];
    int n = wstrlen(find);
    if (n == 0)
        return false;
    int col = st.findCol, row = st.findRow;
    bool found = FindString(col, row, find, st.wholeWord, st.matchCase, st.forward, false);
    // Backward, the match under the caret would be found again: search on before it.
    if (found && !st.forward && col == st.lastCol && row == st.lastRow)
        found = FindString(col, row, find, st.wholeWord, st.matchCase, false, false);
    if (!found) {
        NotFindMsgBox();
        return false;
    }
    CEditString* s = document.GetString(row);
    int end = std::min(col + n, s->GetLength());
    setCaret(end, row);
    st.lastCol = col;
    st.lastRow = row;
    setSel(col, row, end, row);
    if (st.forward) {
        st.findCol = end;
        st.findRow = row;
    }
    ReDraw();
    return true;
}

bool CSrcEditEng::ReplaceTextW()
{
    SearchState& st = *m_search;
    if (!m_hasSel || m_readOnly)
        return false;
    const WChar* find = st.findHistory[0];
    const WChar* replacement = st.replaceHistory[0];
    int n = wstrlen(find);
    st.findCol -= n;
    CEditString* s = document.GetString(st.findRow);
    // The match must still be there: a search backward, or an edit since, leaves the
    // position elsewhere.
    if (!s || n == 0 || st.findCol < 0 || st.findCol + n > s->GetLength()
        || s->segmentsIntersect(st.findCol, st.findCol + n)
        || s->FindString(find, st.findCol, false, st.matchCase, true) != st.findCol) {
        st.findCol += n;
        return false;
    }
    UndoNextStep();
    UndoStrDelete(st.findRow, st.findCol, st.findCol + n);
    int m = wstrlen(replacement);
    if (m > 0)
        UndoStrInsert(st.findRow, replacement, m, st.findCol);
    st.findCol += m;
    setCaret(st.findCol, st.findRow);
    noSel();
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, st.findRow, st.findRow);
    ReDraw();
    UndoCommitStep();
    return true;
}

bool CSrcEditEng::ReplaceAll()
{
    SearchState& st = *m_search;
    const WChar* find = st.findHistory[0];
    int n = wstrlen(find);
    if (n == 0 || m_readOnly)
        return false;
    const WChar* replacement = st.replaceHistory[0];
    int m = wstrlen(replacement);
    int col = 0, row = 0;
    int c1, r1, c2, r2;
    if (!st.wholeFile && getSel(c1, r1, c2, r2)) {
        col = c1;
        row = r1;
    } else if (!st.wholeFile) {
        col = m_caretCol;
        row = m_caretRow;
    }
    int count = 0;
    while (FindString(col, row, find, st.wholeWord, st.matchCase, true, false)) {
        if (!st.wholeFile) {
            int from, to;
            bool all;
            if (!isSelRow(row, from, to, all) || col < from || col + n > to)
                break;
        }
        CEditString* s = document.GetString(row);
        // A label in the way ends the whole operation; what was replaced stays, in a step
        // left open.
        if (!s || col + n > s->GetLength() || s->segmentsIntersect(col, col + n))
            return false;
        if (count == 0)
            UndoNextStep();
        UndoStrDelete(row, col, col + n);
        if (m > 0)
            UndoStrInsert(row, replacement, m, col);
        col += m;
        ++count;
    }
    if (count == 0) {
        NotFindMsgBox();
        return false;
    }
    setCaret(col, row);
    noSel();
    send(this, &CSrcEditEng::doChange, true);
    send(this, &CSrcEditEng::doParse, -1, -1);
    ReDraw();
    UndoCommitStep();
    return true;
}

bool CSrcEditEng::GetFindStr(WChar* buffer)
{
    if (!buffer)
        return false;
    int c1, r1, c2, r2;
    if (getSel(c1, r1, c2, r2) && r1 == r2) {
        CEditString* s = document.GetString(r1);
        int written = s->toPlainText(buffer, MaxFindText + 1, c1, c2, true);
        return written > 1;
    }
    // The word at the column behind the caret.
    if (lexLoaded()) {
        int start = 0, len = MaxFindText;
        if (GetLexPos(std::max(m_caretCol - 1, 0), m_caretRow, buffer, start, len)) {
            buffer[std::min(len, MaxFindText)] = 0;
            return true;
        }
    } else if (wordBehindCaret(buffer)) {
        return true;
    }
    if (m_search->findHistory[0][0]) {
        wstrcpy(buffer, m_search->findHistory[0]);
        return true;
    }
    return false;
}

bool CSrcEditEng::wordBehindCaret(WChar* buffer) const
{
    // Without a lexeme table, words end at the search's word separators.
    CEditString* s = document.GetString(m_caretRow);
    const WChar* text = s ? s->GetData() : nullptr;
    int length = s ? s->GetLength() : 0;
    int at = std::min(std::max(m_caretCol - 1, 0), length);
    if (text && at < length && !VexAPI::detail::isWordSeparator(text[at]) && !s->segmentAt(at)) {
        int a = at, b = at;
        while (a > 0 && !VexAPI::detail::isWordSeparator(text[a - 1]) && !s->segmentAt(a - 1))
            --a;
        while (b < length && !VexAPI::detail::isWordSeparator(text[b]) && !s->segmentAt(b))
            ++b;
        int n = std::min(b - a, MaxFindText);
        for (int i = 0; i < n; ++i)
            buffer[i] = text[a + i];
        buffer[n] = 0;
        return n > 0;
    }
    return false;
}

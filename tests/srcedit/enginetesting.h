// Helpers for the editing engine's tests: an in-memory clipboard, an engine that records
// its signals, and exact pictures of a document's text, folds and bookmarks.
#pragma once

#include "storagetesting.h"

#include <vexapi/srcedit/csrcediteng.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

// A clipboard held in memory.
class MemoryClipboard : public CEditClipboard {
public:
    WString text;
    int copies = 0;
    bool copyText(const WChar* t, int n, int) override
    {
        text.assign(t, std::size_t(n));
        ++copies;
        return true;
    }
    int textLength(int) override { return int(text.size()); }
    int getText(WChar* buffer, int capacity, int) override
    {
        int n = std::min(int(text.size()), capacity - 1);
        std::copy(text.begin(), text.begin() + n, buffer);
        buffer[n] = 0;
        return n;
    }
};

// An engine that writes its signals and the not-found box into a journal.
class RecordingEngine : public CSrcEditEng {
public:
    std::vector<std::string> journal;
    int notFound = 0;
    bool onInsertRow(int row, int n) override
    {
        journal.push_back("insert " + std::to_string(row) + " " + std::to_string(n));
        return true;
    }
    bool onDeleteRow(int row, int n) override
    {
        journal.push_back("delete " + std::to_string(row) + " " + std::to_string(n));
        return true;
    }
    bool doParse(int from, int to) override
    {
        journal.push_back("parse " + std::to_string(from) + " " + std::to_string(to));
        return true;
    }
    bool onUndo() override
    {
        journal.push_back("undo");
        return true;
    }
    bool onRedo() override
    {
        journal.push_back("redo");
        return true;
    }
    void NotFindMsgBox() override { ++notFound; }
};

// The block's rows, each as its stored text followed by its folds:
// {col:type:label[hidden rows]}, one row a line.
inline std::string picture(const CEditStringArray* block)
{
    std::string out;
    for (int i = 0; i < block->GetRowCount(); ++i) {
        const CEditString* row = block->GetString(i);
        out += stored(row);
        for (int k = 0; k < row->SegmentsCount(); ++k) {
            CTextSegment* seg = row->GetSegment(k);
            out += "{" + std::to_string(seg->col()) + ":" + std::to_string(seg->type()) + ":" + A(seg->shortText())
                + "[" + picture(seg->block()) + "]}";
        }
        out += "\n";
    }
    return out;
}

// The editor's bookmarks of its file, as (general id, key, whether the id finds that very
// row), sorted.
inline std::vector<std::tuple<int, int, bool>> marks(CSrcEditEng& e)
{
    std::vector<std::tuple<int, int, bool>> out;
    CBookmarkArray& array = e.bookmarks();
    for (int i = 0; i < array.GetSize(); ++i) {
        tagBOOKMARK* mark = array.GetAt(i);
        if (!mark || !mark->row || !mark->inFile(e.GetAssignedFileName()))
            continue;
        int id = mark->row->GeneralId();
        out.emplace_back(id, mark->key, e.GetDocument()->GenRowId2String(id) == mark->row);
    }
    std::sort(out.begin(), out.end());
    return out;
}

inline std::string text(CSrcEditEng& e)
{
    return expanded(e.GetDocument());
}

inline void load(CSrcEditEng& e, const std::string& s)
{
    WString w = W(s);
    e.setText(w.c_str());
}

inline bool type(CSrcEditEng& e, const std::string& s)
{
    bool ok = true;
    for (char c : s) {
        WChar t[2] = {WChar(c), 0};
        ok = e.onChar(t) && ok;
    }
    return ok;
}

// Helpers for the text storage tests: 16-bit text from ASCII and back, folding and
// unfolding the way the editor's fold operations do, and a recorder of fold-loss reports.
#pragma once

#include <vexapi/srcedit/ceditstring.h>
#include <vexapi/srcedit/ceditstringarray.h>
#include <vexapi/srcedit/ctextsegment.h>
#include <vexapi/core/wstring.h>

#include <string>
#include <vector>


// 16-bit text from a byte string (ASCII, or UTF-8 of the Basic Multilingual Plane).
inline WString W(const std::string& s)
{
    WString out;
    for (std::size_t i = 0; i < s.size();) {
        unsigned char c = (unsigned char)s[i];
        if (c < 0x80) {
            out += WChar(c);
            i += 1;
        } else if ((c & 0xe0) == 0xc0) {
            out += WChar(((c & 0x1f) << 6) | (s[i + 1] & 0x3f));
            i += 2;
        } else {
            out += WChar(((c & 0x0f) << 12) | ((s[i + 1] & 0x3f) << 6) | (s[i + 2] & 0x3f));
            i += 3;
        }
    }
    return out;
}

// A byte string of 16-bit text, for readable comparisons ('?' outside ASCII).
inline std::string A(const WChar* s, int n = -1)
{
    std::string out;
    for (int i = 0; s && (n < 0 ? s[i] != 0 : i < n); ++i)
        out += s[i] < 0x80 ? char(s[i]) : '?';
    return out;
}
inline std::string A(const WString& s) { return A(s.data(), int(s.size())); }

inline std::string stored(const CEditString* row) { return A(row->GetData(), row->GetLength()); }

inline std::string expanded(const CEditString* row)
{
    std::vector<WChar> buffer(std::size_t(row->textLength()) + 1);
    row->toPlainText(buffer.data(), int(buffer.size()));
    return A(buffer.data());
}

inline std::string expanded(const CEditStringArray* block)
{
    std::vector<WChar> buffer(std::size_t(block->textLength()) + 1);
    block->toPlainText(buffer.data(), int(buffer.size()));
    return A(buffer.data());
}

// A block from lines joined by "\r\n".
inline CEditStringArray* blockOf(const std::string& text)
{
    WString w = W(text);
    return CEditStringArray::fromPlainText(w.c_str());
}

// Folds the range (col1, row1)-(col2, row2) of `block` into a label, as the editor's
// fold operation does: cut the range out, wrap it in a one-label row, insert that row.
inline bool collapse(CEditStringArray* block, int col1, int row1, int col2, int row2, int type = 1,
                     const WChar* label = nullptr)
{
    CEditStringArray* hidden = new CEditStringArray();
    if (!block->getSmartText(hidden, false, col1, row1, col2, row2)) {
        delete hidden;
        return false;
    }
    CEditString* labelRow = CEditString::fromBlock(hidden, type, label);
    if (!labelRow) {
        // Put the text back where it was.
        int endCol, endRow;
        block->insSmartText(hidden, false, col1, row1, endCol, endRow);
        delete hidden;
        return false;
    }
    CEditStringArray carrier;
    carrier.AddString(labelRow);
    int endCol, endRow;
    return block->insSmartText(&carrier, false, col1, row1, endCol, endRow);
}

// Unfolds the fold whose label holds (col, row) of `block`, as the editor does: cut the
// label out, take its block away from the segment, insert the block's rows in its place.
inline bool expand(CEditStringArray* block, int col, int row, int* endCol = nullptr, int* endRow = nullptr)
{
    CEditString* r = block->GetString(row);
    CTextSegment* fold = r ? r->segmentAt(col) : nullptr;
    if (!fold)
        return false;
    col = fold->col();
    CEditStringArray label;
    if (!block->getSmartText(&label, false, col, row, col + fold->shortLength(), row))
        return false;
    CTextSegment* moved = label.GetString(0)->segmentAt(0);
    CEditStringArray* hidden = moved->block();
    moved->setBlock(new CEditStringArray());
    int ec = 0, er = 0;
    bool ok = block->insSmartText(hidden, false, col, row, ec, er);
    delete hidden;
    if (endCol)
        *endCol = ec;
    if (endRow)
        *endRow = er;
    return ok;
}

// Records the reports of folds lost to raw edits while it lives.
class SegmentsErrorRecorder {
public:
    SegmentsErrorRecorder() { m_old = setSegmentsErrorHandler(&SegmentsErrorRecorder::record); messages().clear(); }
    ~SegmentsErrorRecorder() { setSegmentsErrorHandler(m_old); }
    static std::vector<std::string>& messages()
    {
        static std::vector<std::string> list;
        return list;
    }

private:
    static void record(const WChar* title, const WChar* message)
    {
        messages().push_back(A(title) + ": " + A(message));
    }
    CSegmentsErrorHandler m_old;
};

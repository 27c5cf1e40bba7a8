// CSrcEditLex: lexing rows into tags, cutting them at folds, and the incremental re-parse.
#include <vexapi/srcedit/csrceditlex.h>

#include <memory>
#include <vector>

namespace {

// The first "\r\n" in text[from, n), or -1.
int findBreak(const WChar* text, int from, int n)
{
    for (int i = from; i + 1 < n; ++i)
        if (text[i] == '\r' && text[i + 1] == '\n')
            return i;
    return -1;
}

bool carriesOut(const CTagNode* t, int type) { return t && t->type == type && (t->attr == TA_OPENS || t->attr == TA_THROUGH); }
bool carriesIn(const CTagNode* t, int type) { return t && t->type == type && (t->attr == TA_CLOSES || t->attr == TA_THROUGH); }

} // namespace

CTagNode* CSrcEditLex::lexText(CTagNode* prev, CEditString* row, int rowIndex, const WChar* text, int n, int& comment,
                               int& string1, int& string2)
{
    bool wasComment = comment != 0;
    bool wasString1 = string1 != 0;
    bool wasString2 = string2 != 0;
    int startC = 0, start1 = 0, start2 = 0;
    CTagNode* lastTag = prev;
    int wordEnd = 0;
    bool holding = false;
    CTagNode held;

    auto append = [&](int type, int col, int len, int attr) {
        lastTag = tags.InsertAfter(lastTag, CTagNode(type, rowIndex, col, len, attr));
    };
    auto finish = [&]() {
        if (!m_lexingExpansion)
            assignSimpleLexes(row, row, prev, lastTag);
        return lastTag;
    };
    auto noState = [&]() { return comment == 0 && string1 == 0 && string2 == 0; };

    const WChar* end = text + n;
    const WChar* p = text;
    int type = 0, lexLen = 0, matched = 0;
    while (p < end) {
        const WChar* found = GetLexType(p, int(end - p), type, lexLen, matched);
        if (!found)
            break;
        int pos = int(found - text);
        p = found + matched;

        if (holding) {
            if (type != 0 && type != TLT_WORD && pos == held.col + held.len)
                append(held.type, held.col, held.len, held.attr);
            holding = false;
        }

        switch (type) {
        case TLT_STRING1:
            if (comment == 0 && string2 == 0) {
                if (string1 == 0) {
                    string1 = 1;
                    start1 = pos;
                } else {
                    string1 = 0;
                    append(TT_STRING1, start1, pos + matched - start1, wasString1 ? TA_CLOSES : TA_INSIDE);
                    start1 = 0;
                    wasString1 = false;
                }
            } else {
                string1 = 0;
            }
            break;
        case TLT_STRING2:
            if (comment == 0 && string1 == 0) {
                if (string2 == 0) {
                    string2 = 1;
                    start2 = pos;
                } else {
                    string2 = 0;
                    append(TT_STRING2, start2, pos + matched - start2, wasString2 ? TA_CLOSES : TA_INSIDE);
                    start2 = 0;
                    wasString2 = false;
                }
            } else {
                string2 = 0;
            }
            break;
        case TLT_OPERATOR:
            if (noState()) {
                if ((pos == 0 || text[pos - 1] == '\n') && startsLineComment(text[pos], prev, row, rowIndex)) {
                    int brk = findBreak(text, pos, n);
                    if (brk < 0) {
                        append(TT_COMMENT, pos, n - pos, TA_INSIDE);
                        return finish();
                    }
                    if (brk > pos)
                        append(TT_COMMENT, pos, brk - pos, TA_INSIDE);
                    p = text + brk;
                    continue;
                }
                append(TT_OPERATOR, pos, matched, TA_INSIDE);
            }
            wordEnd = pos + matched;
            break;
        case TLT_SEPARATOR:
            wordEnd = pos + matched;
            break;
        case TLT_LINE_COMMENT:
            if (noState()) {
                int brk = findBreak(text, pos, n);
                if (brk < 0) {
                    append(TT_COMMENT, pos, n - pos, TA_INSIDE);
                    return finish();
                }
                append(TT_COMMENT, pos, brk - pos, TA_INSIDE);
                p = text + brk;
            }
            break;
        case TLT_COMMENT_OPEN:
            if (string1 == 0 && string2 == 0) {
                if (comment == 0)
                    startC = pos;
                ++comment;
            } else {
                comment = 0;
            }
            break;
        case TLT_COMMENT_CLOSE:
            if (string1 == 0 && string2 == 0) {
                if (comment != 0) {
                    // One close ends any nesting, as the count rises with each open.
                    comment = 0;
                    append(TT_COMMENT, startC, pos + matched - startC, wasComment ? TA_CLOSES : TA_INSIDE);
                    startC = 0;
                    wasComment = false;
                }
            } else {
                comment = 0;
            }
            break;
        case TLT_WORD:
            if (noState() && wordEnd == pos) {
                CTagNode word(TT_WORD, rowIndex, pos, matched, TA_INSIDE);
                if (pos + matched >= n) {
                    append(word.type, word.col, word.len, word.attr);
                } else {
                    // A word counts only if a lexeme other than a word follows at once, or
                    // the row ends.
                    held = word;
                    holding = true;
                }
            }
            break;
        default:
            break;
        }
    }

    if (comment != 0)
        append(TT_COMMENT, startC, n - startC, wasComment ? TA_THROUGH : TA_OPENS);
    else if (string1 != 0)
        append(TT_STRING1, start1, n - start1, wasString1 ? TA_THROUGH : TA_OPENS);
    else if (string2 != 0)
        append(TT_STRING2, start2, n - start2, wasString2 ? TA_THROUGH : TA_OPENS);
    return finish();
}

CTagNode* CSrcEditLex::LexProcString(CTagNode* prev, CEditString* row, int rowIndex, int& comment, int& string1,
                                     int& string2)
{
    if (!row)
        return prev;
    if (row->GetLength() == 0) {
        if (!m_lexingExpansion)
            assignSimpleLexes(row, row, prev, prev);
        return prev;
    }
    if (!row->hasSegments() || row->oBlock() != &document)
        return lexText(prev, row, rowIndex, row->GetData(), row->GetLength(), comment, string1, string2);

    // A row of the top block with folds: lex its expansion, then cut the tags at the labels.
    int n = row->textLength();
    std::vector<WChar> buffer(std::size_t(n) + 1);
    row->toPlainText(buffer.data(), n + 1);
    CEditString expansion(buffer.data(), n);
    bool outer = m_lexingExpansion;
    m_lexingExpansion = true;
    CTagNode* last = LexProcString(prev, &expansion, rowIndex, comment, string1, string2);
    m_lexingExpansion = outer;
    if (!outer)
        assignSimpleLexes(row, &expansion, prev, last);
    return clipToSegments(prev, last, row, rowIndex);
}

CTagNode* CSrcEditLex::clipToSegments(CTagNode* prev, CTagNode* last, CEditString* row, int rowIndex)
{
    // The row's new tags leave the list as values, are cut and moved, and come back.
    std::vector<CTagNode> v;
    if (last != prev) {
        CTagNode* t = prev ? prev->next : tags.GetHead();
        for (;;) {
            v.push_back(*t);
            CTagNode* next = t->next;
            bool stop = t == last;
            tags.DeleteTag(t);
            if (stop || !next)
                break;
            t = next;
        }
    }

    const int nseg = row->SegmentsCount();
    std::unique_ptr<int[]> absCols(row->copyAbsCols(nseg));
    std::unique_ptr<int[]> lengths(row->copyLengths(nseg));
    std::unique_ptr<int[]> shortLens(row->copyShortLens(nseg));
    std::unique_ptr<int[]> visCols(row->copyVisCols(nseg));
    struct Remembered {
        bool open = false;
        bool close = false;
        CTagNode openTag;
        CTagNode closeTag;
    };
    std::vector<Remembered> rem(std::size_t(nseg > 0 ? nseg : 0));
    auto remember = [&](Remembered& r, bool open, int type, int attr, int trueAttr) {
        CTagNode t(type, rowIndex, 0, 0, attr);
        t.trueAttr = trueAttr;
        if (open) {
            r.open = true;
            r.openTag = t;
        } else {
            r.close = true;
            r.closeTag = t;
        }
    };

    for (int k = 0; k < nseg; ++k) {
        const int a = absCols[k];
        const int b = a + lengths[k];
        Remembered& r = rem[std::size_t(k)];
        for (int i = int(v.size()) - 1; i >= 0; --i) {
            CTagNode& t = v[std::size_t(i)];
            const int ts = t.col;
            const int te = t.col + t.len;
            if (ts < a && te > b) {
                // The run passes over the fold: it is cut in two around the label.
                CTagNode behind(t.type, t.row, b, te - b, t.attr);
                switch (t.attr) {
                case TA_OPENS:
                    t.attr = TA_INSIDE;
                    break;
                case TA_THROUGH:
                    t.attr = TA_CLOSES;
                    behind.attr = TA_OPENS;
                    behind.trueAttr = TA_THROUGH;
                    break;
                case TA_CLOSES:
                    behind.attr = TA_INSIDE;
                    behind.trueAttr = TA_CLOSES;
                    t.trueAttr = TA_THROUGH;
                    break;
                default:
                    break;
                }
                t.len = a - ts;
                v.insert(v.begin() + i + 1, behind);
            } else if (ts < a && te > a) {
                // The run ends inside the fold (or with it).
                t.len = a - ts;
                if (t.attr == TA_OPENS) {
                    remember(r, true, t.type, TA_OPENS, TA_THROUGH);
                    t.attr = TA_INSIDE;
                    t.trueAttr = TA_OPENS;
                } else if (t.attr == TA_THROUGH) {
                    remember(r, true, t.type, TA_OPENS, TA_THROUGH);
                    t.attr = TA_CLOSES;
                }
            } else if (ts >= a && te <= b && t.len > 0) {
                // Wholly hidden.
                if (t.attr == TA_OPENS) {
                    remember(r, true, t.type, TA_OPENS, TA_OPENS);
                } else if (t.attr == TA_CLOSES) {
                    remember(r, false, t.type, TA_CLOSES, TA_CLOSES);
                } else if (t.attr == TA_THROUGH) {
                    remember(r, true, t.type, TA_OPENS, TA_THROUGH);
                    remember(r, false, t.type, TA_CLOSES, TA_THROUGH);
                }
                v.erase(v.begin() + i);
            } else if (ts >= a && ts < b && te > b) {
                // The run starts inside the fold and goes on behind it.
                t.col = b;
                t.len = te - b;
                if (t.attr == TA_CLOSES) {
                    remember(r, false, t.type, TA_CLOSES, TA_THROUGH);
                    t.attr = TA_INSIDE;
                    t.trueAttr = TA_CLOSES;
                } else if (t.attr == TA_THROUGH) {
                    remember(r, false, t.type, TA_CLOSES, TA_THROUGH);
                    t.attr = TA_OPENS;
                }
            }
        }
    }

    // To visible columns: each fold left of a run replaces its hidden text by its label.
    for (CTagNode& t : v) {
        int shift = 0;
        for (int k = 0; k < nseg; ++k)
            if (absCols[k] + lengths[k] <= t.col)
                shift += shortLens[k] - lengths[k];
        t.col += shift;
    }

    // Back into the list, with each fold's label and the zero-length tags that carry a
    // state over it: a close right before the label, an open right behind it.
    CTagNode* at = prev;
    auto put = [&](const CTagNode& t) {
        CTagNode* node = tags.InsertAfter(at, t);
        node->trueAttr = t.trueAttr;
        at = node;
    };
    std::size_t i = 0;
    for (int k = 0; k < nseg; ++k) {
        const int vis = visCols[k];
        while (i < v.size() && v[i].col < vis)
            put(v[i++]);
        const Remembered& r = rem[std::size_t(k)];
        if (r.close) {
            CTagNode t = r.closeTag;
            t.col = vis;
            put(t);
        }
        put(CTagNode(TT_LABEL, rowIndex, vis, shortLens[k], TA_INSIDE));
        if (r.open) {
            CTagNode t = r.openTag;
            t.col = vis + shortLens[k];
            put(t);
        }
    }
    while (i < v.size())
        put(v[i++]);
    return at;
}

CTagNode* CSrcEditLex::ParseBlock(CTagNode* tag, int from, int to, int& comment, int& string1, int& string2)
{
    for (int r = from; r <= to; ++r) {
        CEditString* row = GetString(r);
        if (!row)
            break;
        tag = LexProcString(tag, row, r, comment, string1, string2);
    }
    refreshLayoutLexes(from, to);
    return tag;
}

CTagNode* CSrcEditLex::PrepareReparsedBlock(CTagNode* tag, int from, int to, bool* prevComment, bool* prevString1,
                                            bool* prevString2, bool* nextComment, bool* nextString1,
                                            bool* nextString2, int* stopRow)
{
    CTagNode* before;
    if (tag && tag->row < from) {
        before = tag;
        while (before->next && before->next->row < from)
            before = before->next;
    } else {
        before = tags.LastBefore(from);
    }
    const bool stopAtClose = stopRow && prevComment && prevString1 && prevString2 && *prevComment;

    CTagNode* t = before ? before->next : tags.GetHead();
    while (t && t->row <= to) {
        if (stopAtClose && t->type == TT_COMMENT && t->attr == TA_CLOSES && t->len > 0) {
            // The first close of an old comment: the row is lexed again whole, so all its
            // tags go, and the parse stops there.
            const int r = t->row;
            while (t && t->row == r) {
                CTagNode* next = t->next;
                tags.DeleteTag(t);
                t = next;
            }
            *stopRow = r;
            break;
        }
        CTagNode* next = t->next;
        tags.DeleteTag(t);
        t = next;
    }

    // The states come from the tags next to the region, whether or not the region had tags
    // of its own (an empty row in a comment has none).
    if (prevComment)
        *prevComment = carriesOut(before, TT_COMMENT);
    if (prevString1)
        *prevString1 = carriesOut(before, TT_STRING1);
    if (prevString2)
        *prevString2 = carriesOut(before, TT_STRING2);
    if (nextComment)
        *nextComment = carriesIn(t, TT_COMMENT);
    if (nextString1)
        *nextString1 = carriesIn(t, TT_STRING1);
    if (nextString2)
        *nextString2 = carriesIn(t, TT_STRING2);
    return before;
}

bool CSrcEditLex::PerformParse(int& from, int& to)
{
    if (!m_lexReady)
        return false;
    const int last = GetRowCount() - 1;
    if (last < 0)
        return true;
    if (from < 0 || from > last)
        from = 0;
    if (to < 0 || to > last)
        to = last;
    if (from > to) {
        int t = from;
        from = to;
        to = t;
    }
    // The rows' lexemes may be rebuilt: a highlighted pair may not outlive them.
    clearHighlight();

    int comment = 0, string1 = 0, string2 = 0;
    if (from == 0 && to == last) {
        tags.RemoveAll();
        ParseBlock(nullptr, 0, last, comment, string1, string2);
        return true;
    }

    bool pc = false, p1 = false, p2 = false, nc = false, n1 = false, n2 = false;
    CTagNode* before = PrepareReparsedBlock(nullptr, from, to, &pc, &p1, &p2, &nc, &n1, &n2);
    comment = pc;
    string1 = p1;
    string2 = p2;
    CTagNode* lastTag = ParseBlock(before, from, to, comment, string1, string2);

    // The state at the end differs from what the next row was lexed with: the change leaks
    // past the edit. Lex on until the two agree again (a new comment stops being chased at
    // the first close of an old one; a changed string runs to the end).
    bool widened = false;
    while (to < last && ((comment != 0) != nc || (string1 != 0) != n1 || (string2 != 0) != n2)) {
        const int start = to + 1;
        int stop = last;
        bool fc = comment != 0 || nc;
        bool f1 = string1 != 0 || n1;
        bool f2 = string2 != 0 || n2;
        before = PrepareReparsedBlock(lastTag, start, last, &fc, &f1, &f2, &nc, &n1, &n2, &stop);
        lastTag = ParseBlock(before, start, stop, comment, string1, string2);
        to = stop;
        widened = true;
    }
    if (widened)
        ReDraw();
    return true;
}

bool CSrcEditLex::doParse(int from, int to) { return PerformParse(from, to); }

bool CSrcEditLex::onInsertRow(int row, int n)
{
    if (n > 0)
        tags.MoveTagsDown(nullptr, row, n);
    return true;
}

bool CSrcEditLex::onDeleteRow(int row, int n)
{
    if (n <= 0)
        return true;
    // The rows' lexemes go with them.
    clearHighlight();
    tags.RemoveTags(nullptr, row, n);
    tags.MoveTagsUp(nullptr, row + n, n);
    return true;
}

bool CSrcEditLex::onExpandBlock(int, int, int, int) { return true; }
bool CSrcEditLex::onCollapseBlock(int, int, int, int) { return true; }
bool CSrcEditLex::onSignPressed(int) { return true; }

void CSrcEditLex::assignSimpleLexes(CEditString*, CEditString*, CTagNode*, CTagNode*) {}
void CSrcEditLex::refreshLayoutLexes(int, int) {}
int CSrcEditLex::assignWord(CTagNode*, CEditString*) { return -1; }
bool CSrcEditLex::startsLineComment(WChar, CTagNode*, CEditString*, int) { return false; }
void CSrcEditLex::renewLayoutTimer() {}
void CSrcEditLex::ReDraw() {}

int CSrcEditLex::checkInvariants() const
{
    if (int broken = tags.checkInvariants())
        return broken;
    const CTagNode* prevInRow = nullptr;
    for (const CTagNode* t = tags.GetHead(); t; t = t->next) {
        const CEditString* row = GetString(t->row);
        if (!row)
            return 11;
        if (t->col < 0 || t->len < 0 || t->col + t->len > row->GetLength())
            return 12;
        if (prevInRow && prevInRow->row == t->row && prevInRow->col + prevInRow->len > t->col)
            return 13;
        prevInRow = t;
    }
    return 0;
}

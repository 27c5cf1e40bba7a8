// CEditString: the row's lexeme lists and the cursors that walk them.
#include <vexapi/srcedit/ceditstring.h>

namespace {

CLexData* lexOf(List::Iterator it)
{
    return static_cast<CLexData*>(it.node());
}

// Steps `cursor` on (or back) over `list` to the next lexeme of `type` (LT_ANY: any);
// null, with the cursor at the end, when none is left.
CLexData* step(List::Iterator& cursor, ListOf<CLexData>& list, int type, bool forward)
{
    List::Iterator end = list.List::end();
    do {
        if (forward)
            ++cursor;
        else
            --cursor;
    } while (cursor != end && type != LT_ANY && lexOf(cursor)->type != type);
    return cursor == end ? nullptr : lexOf(cursor);
}

bool holds(ListOf<CLexData>& list, const CLexData* lex)
{
    for (CLexData& l : list)
        if (&l == lex)
            return true;
    return false;
}

} // namespace

CLexData* CEditString::GetNextLex() { return step(lexLIT, linkedLexes, LT_ANY, true); }
CLexData* CEditString::GetPrevLex() { return step(lexLIT, linkedLexes, LT_ANY, false); }
CLexData* CEditString::GetNextSimpleLex() { return step(simpleLIT, simpleLexes, LT_ANY, true); }
CLexData* CEditString::GetPrevSimpleLex() { return step(simpleLIT, simpleLexes, LT_ANY, false); }
CLexData* CEditString::GetNextOpenLex() { return step(openLIT, linkedLexes, LT_OPEN, true); }
CLexData* CEditString::GetPrevOpenLex() { return step(openLIT, linkedLexes, LT_OPEN, false); }
CLexData* CEditString::GetNextCloseLex() { return step(closeLIT, linkedLexes, LT_CLOSE, true); }
CLexData* CEditString::GetPrevCloseLex() { return step(closeLIT, linkedLexes, LT_CLOSE, false); }

void CEditString::resetLIT() { lexLIT = linkedLexes.List::end(); }
void CEditString::resetOpenLIT() { openLIT = linkedLexes.List::end(); }
void CEditString::resetCloseLIT() { closeLIT = linkedLexes.List::end(); }

void CEditString::resetSimpleLIT(CLexData* lex)
{
    simpleLIT = simpleLexes.List::end();
    if (lex && lex->owner == this && holds(simpleLexes, lex))
        simpleLIT = List::Iterator(lex);
}

List::Iterator CEditString::posForAList(ListOf<CLexData>& list, int col, bool fromEnd)
{
    if (fromEnd) {
        List::Iterator it = list.List::end();
        while (it != list.List::begin()) {
            List::Iterator before = it;
            --before;
            if (lexOf(before)->col <= col)
                break;
            it = before;
        }
        return it;
    }
    List::Iterator it = list.List::begin();
    while (it != list.List::end() && lexOf(it)->col <= col)
        ++it;
    return it;
}

List::Iterator CEditString::posForLinkedLex(int col) { return posForAList(linkedLexes, col, true); }
List::Iterator CEditString::posForSimpleLex(int col) { return posForAList(simpleLexes, col, false); }

void CEditString::InsLinkedLex(CLexData* lex)
{
    if (!lex || lex->isLinked())
        return;
    lex->owner = this;
    List::insert(lex, posForLinkedLex(lex->col));
}

void CEditString::InsSimpleLex(CLexData* lex, bool append)
{
    if (!lex || lex->isLinked())
        return;
    lex->owner = this;
    List::insert(lex, append ? simpleLexes.List::end() : posForSimpleLex(lex->col));
}

void CEditString::releaseCursors(CLexData* lex)
{
    // A cursor on the leaving lexeme steps back to its predecessor, so that the walk's
    // next step reaches the lexeme that followed it.
    List::Iterator* cursors[] = {&openLIT, &closeLIT, &lexLIT, &simpleLIT};
    for (List::Iterator* c : cursors)
        if (c->node() == lex)
            *c = List::Iterator(lex->prev);
}

bool CEditString::DelLinkedLex(CLexData* lex)
{
    if (!lex || lex->owner != this || !holds(linkedLexes, lex))
        return false;
    releaseCursors(lex);
    linkedLexes.remove(ListOf<CLexData>::Iterator(List::Iterator(lex)));
    return true;
}

bool CEditString::DelSimpleLex(CLexData* lex)
{
    if (!lex || lex->owner != this || !holds(simpleLexes, lex))
        return false;
    releaseCursors(lex);
    simpleLexes.remove(ListOf<CLexData>::Iterator(List::Iterator(lex)));
    return true;
}

void CEditString::ClearLinkedLexes()
{
    linkedLexes.clear();
    resetLIT();
    resetOpenLIT();
    resetCloseLIT();
}

void CEditString::ClearSimpleLexes()
{
    simpleLexes.clear();
    resetSimpleLIT();
}

CLexData* CEditString::ContainsLexOfName(int name, int type) const
{
    for (CLexData& l : const_cast<ListOf<CLexData>&>(linkedLexes))
        if (l.name == name && (type == LT_ANY || l.type == type))
            return &l;
    return nullptr;
}

CLexData* CEditString::GetSimpleLexAtCol(int col) const
{
    int pos = Vis2AbsPos(col);
    for (CLexData& l : const_cast<ListOf<CLexData>&>(simpleLexes))
        if (l.col <= pos && pos < l.col + l.len)
            return &l;
    return nullptr;
}

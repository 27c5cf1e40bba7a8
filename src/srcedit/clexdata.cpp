// CLexData: lexeme records and their partner links.
#include <vexapi/srcedit/clexdata.h>

CLexData::CLexData(int name_, LayoutType type_, int col_, int len_, CEditString* owner_)
    : name(name_), type(type_), col(col_), len(len_), owner(owner_), endLex(nullptr), beginLex(nullptr)
{
}

CLexData::~CLexData()
{
    if (endLex && endLex->beginLex == this)
        endLex->beginLex = nullptr;
    if (beginLex && beginLex->endLex == this)
        beginLex->endLex = nullptr;
}

void CLexData::link(CLexData* open, CLexData* close)
{
    if (open && open->endLex && open->endLex->beginLex == open)
        open->endLex->beginLex = nullptr;
    if (close && close->beginLex && close->beginLex->endLex == close)
        close->beginLex->endLex = nullptr;
    if (open)
        open->endLex = close;
    if (close)
        close->beginLex = open;
}

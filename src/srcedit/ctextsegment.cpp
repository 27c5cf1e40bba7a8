// CTextSegment: folds, their labels, their blocks and the row counts they pass up.
#include <vexapi/srcedit/ctextsegment.h>

#include <vexapi/srcedit/ceditstring.h>
#include <vexapi/srcedit/ceditstringarray.h>
#include "cexpansionsink.h"
#include "edittext.h"

#include <cstdio>
#include <string>
#include <cstring>

const WChar* const CTextSegment::BlockTexts[8] = {
    WSTR(""),
    WSTR(" ... "),
    WSTR(" if ... endif "),
    WSTR(" loop ... endloop "),
    WSTR(" case ... endcase "),
    WSTR(" { ... } "),
    WSTR(" ( ... ) "),
    WSTR(" [ ... ] "),
};

namespace {

void defaultSegmentsErrorHandler(const WChar* title, const WChar* message)
{
    // The texts are ASCII; anything else shows as '?'.
    std::string line;
    for (const WChar* p = title; p && *p; ++p)
        line += *p < 0x80 ? char(*p) : '?';
    line += ": ";
    for (const WChar* p = message; p && *p; ++p)
        line += *p < 0x80 ? char(*p) : '?';
    std::fprintf(stderr, "%s\n", line.c_str());
}

CSegmentsErrorHandler currentHandler = defaultSegmentsErrorHandler;

} // namespace

CSegmentsErrorHandler setSegmentsErrorHandler(CSegmentsErrorHandler handler)
{
    CSegmentsErrorHandler old = currentHandler;
    currentHandler = handler ? handler : defaultSegmentsErrorHandler;
    return old;
}

void reportSegmentsError(const WChar* message)
{
    currentHandler(WSTR("SEGMENTS ERROR"), message);
}

CTextSegment::CTextSegment()
    : m_type(1), m_col(0), m_block(nullptr), m_oString(nullptr), m_customText(nullptr),
      m_shortLength(wstrlen(BlockTexts[1]))
{
}

CTextSegment::CTextSegment(CEditStringArray* block, int type, const WChar* label, int col)
    : CTextSegment()
{
    bool hasLabel = label && *label;
    bool standard = type >= 1 && type < FirstCustomType;
    if (!block || block->oSegment() || block->editor() || !(standard || hasLabel))
        return;
    m_type = type;
    m_col = col;
    if (hasLabel) {
        m_customText = wstrdup(label);
        m_shortLength = wstrlen(label);
    } else {
        m_shortLength = wstrlen(BlockTexts[type]);
    }
    m_block = block;
    block->m_oSegment = this;
    block->setActual(false);
}

CTextSegment::~CTextSegment()
{
    if (m_block) {
        // The block must not climb back to a segment that is going.
        m_block->m_oSegment = nullptr;
        delete m_block;
    }
    delete[] m_customText;
}

CTextSegment* CTextSegment::clone() const
{
    if (!m_block)
        return new CTextSegment();
    CTextSegment* copy = new CTextSegment(CEditStringArray::copyContents(m_block), m_type, m_customText, m_col);
    return copy;
}

const WChar* CTextSegment::shortText() const
{
    if (m_customText)
        return m_customText;
    return BlockTexts[m_type >= 1 && m_type < FirstCustomType ? m_type : 1];
}

bool CTextSegment::isWellFormed() const
{
    return m_block && ((m_type >= 1 && m_type < FirstCustomType) || m_customText);
}

bool CTextSegment::setBlock(CEditStringArray* block)
{
    if (!block || block == m_block || block->oSegment() || block->editor())
        return false;
    CEditStringArray* old = m_block;
    if (old) {
        addSubRows(-old->totalRows());
        old->m_oSegment = nullptr;
    }
    m_block = block;
    block->m_oSegment = this;
    if (m_oString)
        m_oString->textChanged();
    addSubRows(block->totalRows());
    refreshActual();
    if (old)
        old->setActual(false);
    return true;
}

void CTextSegment::setOString(CEditString* row)
{
    m_oString = row;
    refreshActual();
}

bool CTextSegment::actual() const
{
    return m_oString && m_oString->actual();
}

void CTextSegment::refreshActual()
{
    if (m_block)
        m_block->setActual(actual());
}

void CTextSegment::addSubRows(int delta)
{
    if (m_oString)
        m_oString->addSubRows(delta);
}

int CTextSegment::textLength() const
{
    return m_block ? m_block->textLength() : 0;
}

int CTextSegment::GetRowCount() const
{
    return m_block ? m_block->GetRowCount() : 0;
}

int CTextSegment::totalRows() const
{
    return m_block ? m_block->totalRows() : 0;
}

int CTextSegment::AbsPosInOString() const
{
    return m_oString ? m_oString->Vis2AbsPos(m_col) : -1;
}

int CTextSegment::GeneralId() const
{
    if (!m_oString)
        return 0;
    int offset = m_oString->OffsetOfSegment(this);
    return offset < 0 ? -1 : m_oString->GeneralId() + offset;
}

bool CTextSegment::FirstString(WChar* buffer, int& length) const
{
    if (!buffer || length < 1 || !m_block || m_block->totalRows() < 3) {
        return false;
    }
    int pos = 0;
    bool found = m_block->forwardForText(buffer, length, pos, CEditLineBreak, 2);
    if (found) {
        // The line break ends the match: the line is what stands before it.
        pos -= 2;
        buffer[pos] = 0;
    }
    length = pos;
    return found;
}

bool CTextSegment::LastString(WChar* buffer, int& length) const
{
    if (!buffer || length < 1 || !m_block || m_block->totalRows() < 3) {
        return false;
    }
    int end = length - 1;
    buffer[end] = 0;
    int pos = end;
    bool found = m_block->backwardForText(buffer, pos, CEditLineBreak, 2);
    // The line starts behind the line break that was matched; the characters travel to
    // the start of the buffer.
    int start = found ? pos + 2 : pos;
    int n = end - start;
    std::memmove(buffer, buffer + start, std::size_t(n) * sizeof(WChar));
    buffer[n] = 0;
    length = n;
    return found;
}

// Cursor and the drag payloads.
#include <vexapi/toolkit/cursor.h>
#include <vexapi/toolkit/draginfo.h>

#include "platform_input.h"

Cursor Cursor::fromResource(int resourceId)
{
    Cursor c;
    c.m_resource = resourceId;
    return c;
}

void* Cursor::handle() const
{
    if (!m_handle)
        m_handle = VexAPI::platform::loadCursor(m_resource ? -1 : int(m_type), m_resource);
    return m_handle;
}

DragText::DragText(const WChar* text, bool copy) : TypicalDragInfo(copy)
{
    setText(text);
}

void DragText::setText(const WChar* text)
{
    m_text = text ? WCharString(text) : WCharString();
}

// Metafile: recording through the platform's enhanced metafiles.
#include <vexapi/toolkit/metafile.h>

#include "platform_paint.h"

namespace platform = VexAPI::platform;

Metafile::~Metafile()
{
    while (m_useCount > 0)
        end();
    clear();
}

void Metafile::clear()
{
    if (m_useCount > 0)
        return; // recording: the former metafile is already gone
    platform::deleteMetafile(m_handle);
    m_handle = nullptr;
    m_width = m_height = 0;
}

bool Metafile::begin(PaintDevice* compatibleWith)
{
    if (m_useCount > 0) {
        ++m_useCount;
        return true;
    }
    clear();
    m_surface = platform::openMetafileSurface(compatibleWith ? compatibleWith->surface()
                                                             : nullptr);
    if (!m_surface)
        return false;
    m_useCount = 1;
    takeClipBox();
    return true;
}

void Metafile::end()
{
    if (m_useCount <= 0 || --m_useCount > 0)
        return;
    m_handle = platform::closeMetafileSurface(m_surface);
    m_surface = nullptr;
    Rect bounds = m_handle ? platform::metafileBounds(m_handle) : Rect();
    m_width = bounds.width();
    m_height = bounds.height();
}

// The window devices: nesting, the clip and the container's scrolled origin.
#include <vexapi/toolkit/windowdev.h>

#include "platform_paint.h"

namespace platform = VexAPI::platform;

WindowClientDev::~WindowClientDev()
{
    // A device left open closes its context; the window is the caller's.
    if (m_useCount > 0) {
        WindowClientDev::close(m_surface);
        m_surface = nullptr;
        m_useCount = 0;
    }
}

platform::Surface* WindowClientDev::open()
{
    platform::Surface* s = platform::openWindowSurface(m_window);
    if (s) {
        m_surface = s;
        takeClipBox();
    }
    return s;
}

void WindowClientDev::close(platform::Surface* surface) { platform::closeWindowSurface(surface); }

bool WindowClientDev::begin(PaintDevice*)
{
    if (m_useCount > 0) {
        ++m_useCount;
        return true;
    }
    if (!m_window)
        return false;
    platform::Surface* s = open();
    if (!s)
        return false;
    m_surface = s;
    m_useCount = 1;
    opened();
    return true;
}

void WindowClientDev::end()
{
    if (m_useCount <= 0 || --m_useCount > 0)
        return;
    close(m_surface);
    m_surface = nullptr;
}

WindowPaintDev::~WindowPaintDev()
{
    if (m_useCount > 0) {
        WindowPaintDev::close(m_surface);
        m_surface = nullptr;
        m_useCount = 0;
    }
}

platform::Surface* WindowPaintDev::open()
{
    if (m_context) {
        platform::Surface* adopted = platform::adoptContext(m_context);
        if (adopted)
            m_clip = Region(adopted->clipBox());
        return adopted;
    }
    platform::GraphicHandle update = nullptr;
    platform::Surface* s = platform::openPaintSurface(m_window, &update);
    if (!s) {
        platform::deleteObject(update);
        return nullptr;
    }
    // The clip is what needs painting, as it was before the cycle validated it.
    m_clip = update ? Region::adopt(update) : Region(s->clipBox());
    return s;
}

void WindowPaintDev::close(platform::Surface* surface)
{
    if (m_context)
        platform::releaseAdoptedContext(surface);
    else
        platform::closePaintSurface(surface);
}

ScrollOrigin::~ScrollOrigin() = default;

ContainerClientDev::~ContainerClientDev() = default;
ContainerPaintDev::~ContainerPaintDev() = default;

static void scrollDevice(PaintDevice& device, Region& clip, const ScrollOrigin* view)
{
    if (!view)
        return;
    Point scroll = view->scrollPosition();
    platform::Surface* s = device.surface();
    Point vp = s->viewportOrigin();
    s->setViewportOrigin(vp.x - scroll.x, vp.y - scroll.y);
    clip.offset(scroll.x, scroll.y);
}

void ContainerClientDev::opened() { scrollDevice(*this, m_clip, m_view); }

void ContainerPaintDev::opened() { scrollDevice(*this, m_clip, m_view); }

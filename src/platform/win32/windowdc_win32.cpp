// Window contexts for the painter's seam: the client area's context and the paint cycle's.
#include <vexapi/toolkit/platform_paint.h>

#include "paint_win32.h"

namespace VexAPI {
namespace platform {

namespace {

// The paint cycle's context keeps the PAINTSTRUCT that EndPaint needs back.
class PaintCycleSurface : public GdiSurface {
public:
    PaintCycleSurface(HWND window, const PAINTSTRUCT& ps)
        : GdiSurface(ps.hdc, Window, nullptr), m_window(window), m_ps(ps)
    {
    }
    void endPaint() { EndPaint(m_window, &m_ps); }

private:
    HWND m_window;
    PAINTSTRUCT m_ps;
};

class ClientSurface : public GdiSurface {
public:
    ClientSurface(HWND window, HDC dc) : GdiSurface(dc, Window, nullptr), m_window(window) {}
    void release() { ReleaseDC(m_window, dc()); }

private:
    HWND m_window;
};

} // namespace

Surface* openWindowSurface(void* window)
{
    HWND hwnd = static_cast<HWND>(window);
    if (!hwnd || !IsWindow(hwnd))
        return nullptr;
    HDC dc = GetDC(hwnd);
    return dc ? new ClientSurface(hwnd, dc) : nullptr;
}

void closeWindowSurface(Surface* surface)
{
    ClientSurface* s = static_cast<ClientSurface*>(surface);
    if (!s)
        return;
    s->release();
    delete s;
}

Surface* openPaintSurface(void* window, GraphicHandle* update)
{
    HWND hwnd = static_cast<HWND>(window);
    if (update)
        *update = nullptr;
    if (!hwnd || !IsWindow(hwnd))
        return nullptr;
    HRGN region = CreateRectRgn(0, 0, 0, 0);
    GetUpdateRgn(hwnd, region, FALSE);
    PAINTSTRUCT ps;
    if (!BeginPaint(hwnd, &ps)) {
        DeleteObject(region);
        return nullptr;
    }
    if (update)
        *update = region;
    else
        DeleteObject(region);
    return new PaintCycleSurface(hwnd, ps);
}

void closePaintSurface(Surface* surface)
{
    PaintCycleSurface* s = static_cast<PaintCycleSurface*>(surface);
    if (!s)
        return;
    s->endPaint();
    delete s;
}

} // namespace platform
} // namespace VexAPI

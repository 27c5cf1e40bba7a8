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


namespace {

// Remembers what the owner of the context had selected, and gives it back on release:
// the owner goes on drawing on the context after the painter.
class AdoptedSurface : public GdiSurface {
public:
    explicit AdoptedSurface(HDC dc)
        : GdiSurface(dc, Window, nullptr), m_pen(GetCurrentObject(dc, OBJ_PEN)),
          m_brush(GetCurrentObject(dc, OBJ_BRUSH)), m_font(GetCurrentObject(dc, OBJ_FONT)),
          m_textColor(GetTextColor(dc)), m_backColor(GetBkColor(dc)), m_drawMode(GetROP2(dc)),
          m_backgroundMode(GetBkMode(dc))
    {
        GetViewportOrgEx(dc, &m_origin);
    }
    void giveBack()
    {
        HDC dc = this->dc();
        SelectObject(dc, m_pen);
        SelectObject(dc, m_brush);
        SelectObject(dc, m_font);
        SetTextColor(dc, m_textColor);
        SetBkColor(dc, m_backColor);
        SetROP2(dc, m_drawMode);
        SetBkMode(dc, m_backgroundMode);
        SetViewportOrgEx(dc, m_origin.x, m_origin.y, nullptr);
    }

private:
    HGDIOBJ m_pen, m_brush, m_font;
    COLORREF m_textColor, m_backColor;
    int m_drawMode, m_backgroundMode;
    POINT m_origin{0, 0};
};

} // namespace

Surface* adoptContext(void* context)
{
    return context ? new AdoptedSurface(static_cast<HDC>(context)) : nullptr;
}

void releaseAdoptedContext(Surface* surface)
{
    AdoptedSurface* s = static_cast<AdoptedSurface*>(surface);
    if (!s)
        return;
    s->giveBack();
    delete s;
}

} // namespace platform
} // namespace VexAPI

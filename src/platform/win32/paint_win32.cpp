// The painter's seam over GDI: pens, brushes, fonts, regions and bitmaps as GDI objects, and
// GdiSurface, a device context the Painter drives.
#include <vexapi/toolkit/platform_paint.h>

#include <vexapi/toolkit/brush.h>
#include <vexapi/toolkit/font.h>
#include <vexapi/toolkit/pen.h>

#include "paint_win32.h"

#include <cstring>

static_assert(sizeof(Point) == sizeof(POINT), "Point keeps the platform point's layout");
static_assert(sizeof(Rect) == sizeof(RECT), "Rect keeps the platform rectangle's layout");

namespace VexAPI {
namespace platform {

namespace {

RECT toRECT(const Rect& r) { return RECT{r.left, r.top, r.right, r.bottom}; }

// A 32-bit top-down DIB header for reading and writing whole bitmaps.
BITMAPINFO dibInfo(int width, int height)
{
    BITMAPINFO info;
    std::memset(&info, 0, sizeof info);
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

// DIB pixels are blue in the low byte; the toolkit's colours have red there.
VULong swapRedBlue(VULong c) { return (c & 0x00FF00) | (c & 0xFF) << 16 | (c >> 16 & 0xFF); }

} // namespace

GdiSurface::GdiSurface(HDC dc, Kind kind, HGDIOBJ formerBitmap)
    : m_dc(dc), m_kind(kind), m_formerBitmap(formerBitmap)
{
}

GdiSurface::~GdiSurface() = default;

void* GdiSurface::nativeContext() const { return m_dc; }

void GdiSurface::selectPen(const Pen& pen)
{
    if (pen.handle())
        SelectObject(m_dc, static_cast<HGDIOBJ>(pen.handle()));
}

void GdiSurface::releasePen() { SelectObject(m_dc, GetStockObject(7)); }

void GdiSurface::selectBrush(const Brush& brush)
{
    SelectObject(m_dc, brush.handle() ? static_cast<HGDIOBJ>(brush.handle())
                                      : GetStockObject(NULL_BRUSH));
}

void GdiSurface::selectNullBrush() { SelectObject(m_dc, GetStockObject(NULL_BRUSH)); }

void GdiSurface::selectFont(const Font& font)
{
    if (font.handle())
        SelectObject(m_dc, static_cast<HGDIOBJ>(font.handle()));
}

void GdiSurface::setTextColor(VULong rgb) { SetTextColor(m_dc, rgb); }
void GdiSurface::setBackColor(VULong rgb) { SetBkColor(m_dc, rgb); }
void GdiSurface::setDrawMode(int mode) { SetROP2(m_dc, mode); }
void GdiSurface::setBackgroundMode(int mode) { SetBkMode(m_dc, mode); }
void GdiSurface::setBrushOrigin(int x, int y) { SetBrushOrgEx(m_dc, x, y, nullptr); }

Point GdiSurface::viewportOrigin() const
{
    POINT p{0, 0};
    GetViewportOrgEx(m_dc, &p);
    return Point(p.x, p.y);
}

void GdiSurface::setViewportOrigin(int x, int y) { SetViewportOrgEx(m_dc, x, y, nullptr); }

void GdiSurface::selectClip(GraphicHandle region) { SelectClipRgn(m_dc, static_cast<HRGN>(region)); }

Rect GdiSurface::clipBox() const
{
    RECT r{0, 0, 0, 0};
    GetClipBox(m_dc, &r);
    return Rect(r.left, r.top, r.right, r.bottom);
}

int GdiSurface::deviceCaps(int index) const { return GetDeviceCaps(m_dc, index); }

void GdiSurface::setPixel(int x, int y, VULong rgb) { SetPixel(m_dc, x, y, rgb); }

VULong GdiSurface::getPixel(int x, int y) const
{
    COLORREF c = GetPixel(m_dc, x, y);
    return c == CLR_INVALID ? 0 : VULong(c) & 0xFFFFFF;
}

void GdiSurface::moveTo(int x, int y) { MoveToEx(m_dc, x, y, nullptr); }

Point GdiSurface::currentPosition() const
{
    POINT p{0, 0};
    GetCurrentPositionEx(m_dc, &p);
    return Point(p.x, p.y);
}

void GdiSurface::lineTo(int x, int y) { LineTo(m_dc, x, y); }

void GdiSurface::polyline(const Point* points, int count)
{
    Polyline(m_dc, reinterpret_cast<const POINT*>(points), count);
}

void GdiSurface::polygon(const Point* points, int count)
{
    Polygon(m_dc, reinterpret_cast<const POINT*>(points), count);
}

void GdiSurface::ellipse(int l, int t, int r, int b) { Ellipse(m_dc, l, t, r, b); }
void GdiSurface::rectangle(int l, int t, int r, int b) { Rectangle(m_dc, l, t, r, b); }
void GdiSurface::roundRect(int l, int t, int r, int b, int w, int h)
{
    RoundRect(m_dc, l, t, r, b, w, h);
}

void GdiSurface::fillRect(const Rect& r, const Brush& brush)
{
    RECT rc = toRECT(r);
    FillRect(m_dc, &rc, static_cast<HBRUSH>(brush.handle()));
}

void GdiSurface::focusRect(const Rect& r)
{
    RECT rc = toRECT(r);
    DrawFocusRect(m_dc, &rc);
}

void GdiSurface::edge(const Rect& r, int edge, int flags)
{
    RECT rc = toRECT(r);
    DrawEdge(m_dc, &rc, UINT(edge), UINT(flags));
}

int GdiSurface::drawText(const WChar* text, int length, Rect& r, int flags)
{
    RECT rc = toRECT(r);
    int h = DrawTextW(m_dc, text, length, &rc, UINT(flags));
    r = Rect(rc.left, rc.top, rc.right, rc.bottom);
    return h;
}

Size GdiSurface::textExtent(const WChar* text, int length) const
{
    SIZE s{0, 0};
    GetTextExtentPoint32W(m_dc, text, length, &s);
    return Size(s.cx, s.cy);
}

TextMetrics GdiSurface::textMetrics() const
{
    TEXTMETRICW tm;
    std::memset(&tm, 0, sizeof tm);
    GetTextMetricsW(m_dc, &tm);
    TextMetrics out;
    out.height = tm.tmHeight;
    out.ascent = tm.tmAscent;
    out.averageWidth = tm.tmAveCharWidth;
    out.maxWidth = tm.tmMaxCharWidth;
    out.pitchAndFamily = tm.tmPitchAndFamily;
    return out;
}

void GdiSurface::fillRegion(GraphicHandle region, const Brush& brush)
{
    FillRgn(m_dc, static_cast<HRGN>(region), static_cast<HBRUSH>(brush.handle()));
}

void GdiSurface::bitBlt(int x, int y, int w, int h, Surface* source, int sx, int sy, VULong rop)
{
    HDC from = source ? static_cast<HDC>(source->nativeContext()) : nullptr;
    if (from)
        BitBlt(m_dc, x, y, w, h, from, sx, sy, rop);
}

void GdiSurface::stretchBlt(int x, int y, int w, int h, Surface* source, int sx, int sy, int sw,
                            int sh, VULong rop)
{
    HDC from = source ? static_cast<HDC>(source->nativeContext()) : nullptr;
    if (from)
        StretchBlt(m_dc, x, y, w, h, from, sx, sy, sw, sh, rop);
}

void GdiSurface::setStretchMode(int mode) { SetStretchBltMode(m_dc, mode); }

void GdiSurface::patBlt(int x, int y, int w, int h, VULong rop) { PatBlt(m_dc, x, y, w, h, rop); }

void GdiSurface::scroll(int dx, int dy, const Rect& r, const Rect& clip)
{
    RECT rc = toRECT(r), cl = toRECT(clip);
    ScrollDC(m_dc, dx, dy, &rc, &cl, nullptr, nullptr);
}

// --- objects ----------------------------------------------------------------------------------

GraphicHandle createPen(int style, int width, VULong rgb) { return CreatePen(style, width, rgb); }
GraphicHandle createSolidBrush(VULong rgb) { return CreateSolidBrush(rgb); }
GraphicHandle createHatchBrush(int hatch, VULong rgb) { return CreateHatchBrush(hatch, rgb); }
GraphicHandle createPatternBrush(GraphicHandle bitmap)
{
    return CreatePatternBrush(static_cast<HBITMAP>(bitmap));
}

void deleteObject(GraphicHandle object)
{
    if (object)
        DeleteObject(static_cast<HGDIOBJ>(object));
}

GraphicHandle createFont(const FontAttributes& attrs)
{
    LOGFONTW lf;
    std::memset(&lf, 0, sizeof lf);
    lf.lfHeight = attrs.height;
    lf.lfWeight = attrs.weight;
    lf.lfItalic = attrs.italic;
    lf.lfUnderline = attrs.underline;
    lf.lfStrikeOut = attrs.strikeout;
    lf.lfCharSet = BYTE(attrs.charset);
    std::memcpy(lf.lfFaceName, attrs.face, sizeof lf.lfFaceName);
    lf.lfFaceName[LF_FACESIZE - 1] = 0;
    return CreateFontIndirectW(&lf);
}

GraphicHandle stockFont() { return GetStockObject(13); }

bool readFont(GraphicHandle font, FontAttributes& attrs)
{
    LOGFONTW lf;
    if (!font || GetObjectW(static_cast<HGDIOBJ>(font), sizeof lf, &lf) != sizeof lf)
        return false;
    std::memcpy(attrs.face, lf.lfFaceName, sizeof attrs.face);
    attrs.face[31] = 0;
    attrs.height = lf.lfHeight;
    attrs.weight = lf.lfWeight;
    attrs.italic = lf.lfItalic != 0;
    attrs.underline = lf.lfUnderline != 0;
    attrs.strikeout = lf.lfStrikeOut != 0;
    attrs.charset = lf.lfCharSet;
    return true;
}

Size measureText(GraphicHandle font, const WChar* text, int length)
{
    HDC dc = GetDC(nullptr);
    HGDIOBJ old = SelectObject(dc, font ? static_cast<HGDIOBJ>(font) : GetStockObject(13));
    SIZE s{0, 0};
    GetTextExtentPoint32W(dc, text, length, &s);
    SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    return Size(s.cx, s.cy);
}

// --- regions --------------------------------------------------------------------------------

GraphicHandle createRectRegion(int l, int t, int r, int b) { return CreateRectRgn(l, t, r, b); }
GraphicHandle createEllipticRegion(int l, int t, int r, int b)
{
    return CreateEllipticRgn(l, t, r, b);
}

GraphicHandle createPolygonRegion(const Point* points, int count, bool winding)
{
    return CreatePolygonRgn(reinterpret_cast<const POINT*>(points), count,
                            winding ? WINDING : ALTERNATE);
}

GraphicHandle combineRegions(GraphicHandle a, GraphicHandle b, int mode)
{
    HRGN out = CreateRectRgn(0, 0, 0, 0);
    HRGN empty = nullptr;
    if (!a || !b)
        empty = CreateRectRgn(0, 0, 0, 0); // a null operand counts as empty
    CombineRgn(out, a ? static_cast<HRGN>(a) : empty, b ? static_cast<HRGN>(b) : empty, mode);
    if (empty)
        DeleteObject(empty);
    return out;
}

void offsetRegion(GraphicHandle region, int dx, int dy) { OffsetRgn(static_cast<HRGN>(region), dx, dy); }

bool regionContains(GraphicHandle region, int x, int y)
{
    return PtInRegion(static_cast<HRGN>(region), x, y) != 0;
}

Rect regionBox(GraphicHandle region)
{
    RECT r{0, 0, 0, 0};
    if (GetRgnBox(static_cast<HRGN>(region), &r) == NULLREGION)
        return Rect();
    return Rect(r.left, r.top, r.right, r.bottom);
}

// --- bitmaps --------------------------------------------------------------------------------

GraphicHandle createBitmap(int width, int height, int depth)
{
    if (width <= 0 || height <= 0)
        return nullptr;
    if (depth == 1)
        return CreateBitmap(width, height, 1, 1, nullptr);
    // A DIB section: every memory context can select it, whatever the screen's format.
    BITMAPINFO info = dibInfo(width, height);
    void* bits = nullptr;
    return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
}

GraphicHandle createCompatibleBitmap(Surface* compatible, int width, int height)
{
    HDC dc = compatible ? static_cast<HDC>(compatible->nativeContext()) : nullptr;
    if (dc)
        return CreateCompatibleBitmap(dc, width, height);
    HDC screen = GetDC(nullptr);
    HBITMAP b = CreateCompatibleBitmap(screen, width, height);
    ReleaseDC(nullptr, screen);
    return b;
}

bool bitmapInfo(GraphicHandle bitmap, int& width, int& height, int& depth)
{
    BITMAP bm;
    if (!bitmap || GetObjectW(static_cast<HGDIOBJ>(bitmap), sizeof bm, &bm) == 0)
        return false;
    width = bm.bmWidth;
    height = bm.bmHeight < 0 ? -bm.bmHeight : bm.bmHeight;
    depth = bm.bmBitsPixel * bm.bmPlanes;
    return true;
}

bool readBitmapPixels(GraphicHandle bitmap, std::vector<VULong>& pixels)
{
    int w = 0, h = 0, d = 0;
    if (!bitmapInfo(bitmap, w, h, d))
        return false;
    BITMAPINFO info = dibInfo(w, h);
    pixels.assign(std::size_t(w) * h, 0);
    HDC dc = GetDC(nullptr);
    int rows = GetDIBits(dc, static_cast<HBITMAP>(bitmap), 0, UINT(h), pixels.data(), &info,
                         DIB_RGB_COLORS);
    ReleaseDC(nullptr, dc);
    for (VULong& c : pixels)
        c = swapRedBlue(c) & 0xFFFFFF;
    return rows == h;
}

bool writeBitmapPixels(GraphicHandle bitmap, const std::vector<VULong>& pixels)
{
    int w = 0, h = 0, d = 0;
    if (!bitmapInfo(bitmap, w, h, d) || pixels.size() != std::size_t(w) * h)
        return false;
    std::vector<VULong> bits(pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i)
        bits[i] = swapRedBlue(pixels[i]) & 0xFFFFFF;
    BITMAPINFO info = dibInfo(w, h);
    HDC dc = GetDC(nullptr);
    int rows = SetDIBits(dc, static_cast<HBITMAP>(bitmap), 0, UINT(h), bits.data(), &info,
                         DIB_RGB_COLORS);
    ReleaseDC(nullptr, dc);
    return rows == h;
}

// --- contexts -------------------------------------------------------------------------------

Surface* screenSurface()
{
    // The screen's context for the life of the process: measuring and device facts only.
    static GdiSurface* screen = new GdiSurface(GetDC(nullptr), GdiSurface::Screen, nullptr);
    return screen;
}

Surface* openBitmapSurface(Surface* compatible, GraphicHandle bitmap)
{
    HDC ref = compatible ? static_cast<HDC>(compatible->nativeContext()) : nullptr;
    HDC dc = CreateCompatibleDC(ref);
    if (!dc)
        return nullptr;
    HGDIOBJ former = SelectObject(dc, static_cast<HGDIOBJ>(bitmap));
    if (!former || former == HGDI_ERROR) { // selected into another context already
        DeleteDC(dc);
        return nullptr;
    }
    return new GdiSurface(dc, GdiSurface::Memory, former);
}

void closeBitmapSurface(Surface* surface)
{
    GdiSurface* s = static_cast<GdiSurface*>(surface);
    if (!s)
        return;
    SelectObject(s->dc(), s->formerBitmap());
    DeleteDC(s->dc());
    delete s;
}


void* createIcon(GraphicHandle color, GraphicHandle mask)
{
    int w = 0, h = 0, d = 0;
    if (!bitmapInfo(color, w, h, d))
        return nullptr;
    // An icon's AND mask is set where the screen shows through, the reverse of ours, and
    // its colour bitmap must be black there, or the screen's colours are inverted.
    std::vector<VULong> maskPixels, colorPixels;
    bool masked = mask && readBitmapPixels(mask, maskPixels);
    if (!readBitmapPixels(color, colorPixels))
        return nullptr;
    if (!masked)
        maskPixels.assign(colorPixels.size(), 0xFFFFFF);
    for (std::size_t i = 0; i < colorPixels.size(); ++i) {
        if (!maskPixels[i])
            colorPixels[i] = 0;
        maskPixels[i] = maskPixels[i] ? 0 : 0xFFFFFF;
    }
    HBITMAP andMask = static_cast<HBITMAP>(createBitmap(w, h, 1));
    HBITMAP xorColor = static_cast<HBITMAP>(createBitmap(w, h, 32));
    writeBitmapPixels(andMask, maskPixels);
    writeBitmapPixels(xorColor, colorPixels);
    ICONINFO info{};
    info.fIcon = TRUE;
    info.hbmColor = xorColor;
    info.hbmMask = andMask;
    HICON icon = CreateIconIndirect(&info);
    DeleteObject(andMask);
    DeleteObject(xorColor);
    return icon;
}

} // namespace platform
} // namespace VexAPI

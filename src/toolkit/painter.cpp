// Painter: opening and closing, the state setters, and the drawing primitives.
#include <vexapi/toolkit/painter.h>

#include <vexapi/core/wtext.h>

#include "platform_paint.h"

namespace platform = VexAPI::platform;

namespace {

// The platform's binary raster code of each RasterOp.
const int drawModes[] = {13, 9, 5, 15, 14, 11, 6, 4, 8, 10, 7};

// The platform's ternary raster code of each CopyOp.
const VULong copyCodes[] = {0xC000CA, 0xBB0226, 0x330008, 0x1100A6, 0xF00021, 0x5A0049,
                            0xFB0A09, 0x8800C6, 0xCC0020, 0x440328, 0x660046, 0xEE0086};

const VULong SrcCopy = 0xCC0020;
const VULong SrcAnd = 0x8800C6;
const VULong SrcPaint = 0xEE0086;
const VULong DestAndNotSrc = 0x220326;

VULong copyCode(CopyOp op) { return op >= 0 && op <= 11 ? copyCodes[op] : SrcCopy; }

int textLength(const WChar* text, int length) { return length < 0 ? wstrlen(text) : length; }

} // namespace

platform::Surface* Painter::surface() const { return m_device ? m_device->surface() : nullptr; }

bool Painter::begin(PaintDevice* device, PaintDevice* compatibleWith)
{
    if (!device)
        return false;
    if (m_device)
        end();
    if (!device->begin(compatibleWith))
        return false;
    m_device = device;
    platform::Surface* s = surface();
    m_outer = static_cast<Painter*>(s->owner);
    s->owner = this;
    update();
    return true;
}

void Painter::end()
{
    if (!m_device)
        return;
    PaintDevice* device = m_device;
    platform::Surface* s = surface();
    // The device lets go of the painter's pen, so that the pen may be deleted.
    s->releasePen();
    Painter* outer = m_outer;
    if (s->owner == this)
        s->owner = outer;
    m_device = nullptr;
    m_outer = nullptr;
    device->end();
    // Still open: an outer painter draws on; its state goes back on the surface.
    if (device->isActive() && outer && outer->m_device == device)
        outer->update();
}

void Painter::update()
{
    platform::Surface* s = surface();
    s->selectFont(m_font);
    s->selectPen(m_pen);
    applyBrush();
    s->setTextColor(m_textColor.rgb());
    s->setBackColor(m_backColor.rgb());
    s->setDrawMode(drawModes[m_rasterOp]);
    s->setBackgroundMode(m_backgroundMode == BackgroundTransparent ? 1 : 2);
}

void Painter::applyBrush()
{
    platform::Surface* s = surface();
    // Patterns stay fixed to the surface under a moved origin.
    Point vp = s->viewportOrigin();
    s->setBrushOrigin(vp.x, vp.y);
    if (m_brush.isNull())
        s->selectNullBrush();
    else
        s->selectBrush(m_brush);
}

void Painter::AssignObjects(const Painter& o)
{
    m_rasterOp = o.m_rasterOp;
    m_textColor = o.m_textColor;
    m_backColor = o.m_backColor;
    m_backgroundMode = o.m_backgroundMode;
    m_pen = o.m_pen;
    m_font = o.m_font;
    m_brush = o.m_brush;
    if (m_device)
        update();
}

void Painter::setPen(const Pen& pen)
{
    m_pen = pen;
    if (m_device)
        surface()->selectPen(m_pen);
}

void Painter::setFont(const Font& font)
{
    m_font = font;
    if (m_device)
        surface()->selectFont(m_font);
}

void Painter::setBrush(const Brush& brush)
{
    m_brush = brush;
    if (m_device)
        applyBrush();
}

void Painter::setRasterOp(RasterOp op)
{
    if (op < RopCopyPen || op > RopXorPen)
        op = RopCopyPen;
    m_rasterOp = op;
    if (m_device)
        surface()->setDrawMode(drawModes[op]);
}

void Painter::setBackgroundMode(BackgroundMode mode)
{
    m_backgroundMode = mode == BackgroundTransparent ? BackgroundTransparent : BackgroundOpaque;
    if (m_device)
        surface()->setBackgroundMode(m_backgroundMode == BackgroundTransparent ? 1 : 2);
}

void Painter::setTextColor(const Color& color)
{
    m_textColor = color;
    if (m_device)
        surface()->setTextColor(color.rgb());
}

void Painter::setBackColor(const Color& color)
{
    m_backColor = color;
    if (m_device)
        surface()->setBackColor(color.rgb());
}

void Painter::setOrigin(int x, int y)
{
    if (!m_device)
        return;
    Point old = getOrigin();
    // The clip covers the same pixels, which now have other logical coordinates.
    m_device->clip().offset(x - old.x, y - old.y);
    if (!m_clipRegion.isNull())
        m_clipRegion.offset(x - old.x, y - old.y);
    surface()->setViewportOrigin(-x, -y);
}

Point Painter::getOrigin() const
{
    if (!m_device)
        return Point();
    Point vp = surface()->viewportOrigin();
    return Point(-vp.x, -vp.y);
}

void Painter::setRegion(const Region& region)
{
    m_clipRegion = region;
    if (!m_device)
        return;
    m_device->clip() = region;
    if (region.isNull()) {
        surface()->selectClip(nullptr);
        return;
    }
    // The platform's clip is in device coordinates: the region moves by minus the origin
    // (a private copy; the caller's stays where it is).
    Point origin = getOrigin();
    Region device = region;
    device.offset(-origin.x, -origin.y);
    surface()->selectClip(device.handle());
}

Rect Painter::getClipRect() const { return m_device ? surface()->clipBox() : Rect(); }

Region Painter::getClipRegion() const { return m_device ? m_device->clip() : m_clipRegion; }

void Painter::setDrawPos(int x, int y)
{
    if (m_device)
        surface()->moveTo(x, y);
}

Point Painter::getDrawPos() const { return m_device ? surface()->currentPosition() : Point(); }

void Painter::setPixel(int x, int y, const Color& color)
{
    if (m_device)
        surface()->setPixel(x, y, color.rgb());
}

void Painter::setPixels(const Point* points, int count, const Color& color)
{
    if (!m_device || !points)
        return;
    platform::Surface* s = surface();
    for (int i = 0; i < count; ++i)
        s->setPixel(points[i].x, points[i].y, color.rgb());
}

VULong Painter::getPixel(int x, int y) const { return m_device ? surface()->getPixel(x, y) : 0; }

void Painter::drawLine(int x1, int y1, int x2, int y2)
{
    if (!m_device)
        return;
    platform::Surface* s = surface();
    s->moveTo(x1, y1);
    s->lineTo(x2, y2);
}

void Painter::drawLineTo(int x, int y)
{
    if (m_device)
        surface()->lineTo(x, y);
}

void Painter::drawPolyline(const Point* points, int count)
{
    if (m_device && points && count >= 2)
        surface()->polyline(points, count);
}

void Painter::drawPolygon(const Point* points, int count)
{
    if (m_device && points && count >= 2)
        surface()->polygon(points, count);
}

void Painter::drawEllipse(int x, int y, int w, int h)
{
    if (m_device)
        surface()->ellipse(x, y, x + w, y + h);
}

void Painter::drawRect(int x, int y, int w, int h)
{
    if (!m_device)
        return;
    platform::Surface* s = surface();
    s->selectNullBrush();
    s->rectangle(x, y, x + w, y + h);
    applyBrush();
}

void Painter::drawFocusRect(const Rect& r)
{
    if (m_device)
        surface()->focusRect(r);
}

void Painter::fillRect(int x, int y, int w, int h) { fillRect(Rect(x, y, x + w, y + h)); }

void Painter::fillRect(const Rect& r) { fillRect(r, m_brush); }

void Painter::fillRect(const Rect& r, const Brush& brush)
{
    if (m_device && !brush.isNull())
        surface()->fillRect(r, brush);
}

void Painter::drawRoundRect(int x, int y, int w, int h, int ellipseW, int ellipseH)
{
    if (m_device)
        surface()->roundRect(x, y, x + w, y + h, ellipseW, ellipseH);
}

void Painter::drawEdge(const Rect& r, EdgeType outer, EdgeType inner, bool left, bool top,
                       bool right, bool bottom)
{
    if (!m_device)
        return;
    int edge = 0;
    if (outer == EdgeRaised)
        edge |= 4;
    else if (outer == EdgeSunken)
        edge |= 8;
    if (inner == EdgeRaised)
        edge |= 1;
    else if (inner == EdgeSunken)
        edge |= 2;
    int sides = (left ? 1 : 0) | (top ? 2 : 0) | (right ? 4 : 0) | (bottom ? 8 : 0);
    surface()->edge(r, edge, sides);
}

void Painter::drawText(int x, int y, const WChar* text, int length)
{
    if (!m_device || !text)
        return;
    Rect r(x, y, x, y);
    // Single line, not clipped, every character as it is.
    surface()->drawText(text, textLength(text, length), r, 0x100 | 0x20 | 0x800);
}

int Painter::drawText(const Rect& rect, int flags, const WChar* text, int length)
{
    if (!m_device || !text)
        return 0;
    int platformFlags = 0;
    if (flags & TextNoClip)
        platformFlags |= 0x100;
    if (!(flags & TextPrefix))
        platformFlags |= 0x800;
    if (flags & TextBottom)
        platformFlags |= 0x8;
    if (flags & TextCenter)
        platformFlags |= 0x1;
    if (flags & TextRight)
        platformFlags |= 0x2;
    if (flags & TextVCenter)
        platformFlags |= 0x4;
    if (flags & TextWordBreak)
        platformFlags |= 0x10;
    if (flags & TextSingleLine)
        platformFlags |= 0x20;
    Rect r = rect;
    return surface()->drawText(text, textLength(text, length), r, platformFlags);
}

Rect Painter::getTextRect(int x, int y, const WChar* text, int length) const
{
    if (!m_device || !text)
        return Rect(x, y, x, y);
    Size s = surface()->textExtent(text, textLength(text, length));
    return Rect(x, y, x + s.width, y + s.height);
}

bool Painter::isFixedWidthFont() const
{
    return m_device && (surface()->textMetrics().pitchAndFamily & 1) == 0;
}

int Painter::averageGlyphWidth() const
{
    if (!m_device)
        return 0;
    platform::TextMetrics tm = surface()->textMetrics();
    if ((tm.pitchAndFamily & 1) == 0) {
        const WChar a[] = {WChar('a'), 0};
        return surface()->textExtent(a, 1).width;
    }
    return tm.averageWidth;
}

int Painter::getMaxCharWidth() const { return m_device ? surface()->textMetrics().maxWidth : 0; }

int Painter::getCharHeight() const
{
    int dpi = m_device ? surface()->deviceCaps(90) : PaintDevice::deviceInfo(DeviceDpiY, nullptr);
    return m_font.size() * dpi / 72;
}

void Painter::drawBitmap(int x, int y, const Bitmap* bitmap, CopyOp op)
{
    if (bitmap)
        drawWithMask(x, y, bitmap, bitmap->getMask(), op);
}

void Painter::drawPicture(int x, int y, const Picture& picture, CopyOp op)
{
    if (!picture.empty())
        drawWithMask(x, y, picture.bitmap(), picture.mask(), op);
}

void Painter::drawStretchedBitmap(const Rect& r, const Bitmap* bitmap, CopyOp op)
{
    if (bitmap)
        drawStretchedWithMask(r, bitmap, bitmap->getMask(), op);
}

void Painter::drawStretchedPicture(const Rect& r, const Picture& picture, CopyOp op)
{
    if (!picture.empty())
        drawStretchedWithMask(r, picture.bitmap(), picture.mask(), op);
}

void Painter::drawWithMask(int x, int y, const Bitmap* bitmap, const Bitmap* mask, CopyOp op)
{
    if (!m_device || !bitmap || !bitmap->isValidBitmap() || bitmap == m_device)
        return;
    Bitmap& source = const_cast<Bitmap&>(*bitmap);
    if (!source.begin(m_device))
        return;
    int w = source.getWidth(), h = source.getHeight();
    if (mask && mask->isValidBitmap())
        drawMasked(x, y, w, h, source, const_cast<Bitmap&>(*mask), op);
    else
        surface()->bitBlt(x, y, w, h, source.surface(), 0, 0, copyCode(op));
    source.end();
}

void Painter::drawMasked(int x, int y, int w, int h, Bitmap& source, Bitmap& mask, CopyOp op)
{
    platform::Surface* d = surface();
    Bitmap temp;
    if (!temp.create(w, h, m_device) || !temp.begin(m_device))
        return;
    if (!mask.begin(m_device)) {
        temp.end();
        return;
    }
    platform::Surface* t = temp.surface();
    // One-bit masks turn into black (clear) and white (set) through these two colours.
    for (platform::Surface* s : {d, t}) {
        s->setTextColor(0);
        s->setBackColor(0xFFFFFF);
    }
    t->bitBlt(0, 0, w, h, d, x, y, SrcCopy);
    t->bitBlt(0, 0, w, h, source.surface(), 0, 0, copyCode(op));
    t->bitBlt(0, 0, w, h, mask.surface(), 0, 0, SrcAnd);
    d->bitBlt(x, y, w, h, mask.surface(), 0, 0, DestAndNotSrc);
    d->bitBlt(x, y, w, h, t, 0, 0, SrcPaint);
    d->setTextColor(m_textColor.rgb());
    d->setBackColor(m_backColor.rgb());
    mask.end();
    temp.end();
}

void Painter::drawStretchedWithMask(const Rect& r, const Bitmap* bitmap, const Bitmap* mask,
                                    CopyOp op)
{
    if (!m_device || !bitmap || !bitmap->isValidBitmap() || bitmap == m_device ||
        r.width() <= 0 || r.height() <= 0)
        return;
    Bitmap& source = const_cast<Bitmap&>(*bitmap);
    int w = source.getWidth(), h = source.getHeight();
    bool resized = w != r.width() || h != r.height();
    if (!mask || !mask->isValidBitmap()) {
        if (!source.begin(m_device))
            return;
        if (resized)
            surface()->setStretchMode(4);
        surface()->stretchBlt(r.left, r.top, r.width(), r.height(), source.surface(), 0, 0, w,
                              h, copyCode(op));
        source.end();
        return;
    }
    // The pair stretched to the target's size, then drawn through the mask.
    Bitmap stretched, stretchedMask;
    if (!stretched.create(r.width(), r.height(), m_device) ||
        !stretchedMask.create(r.width(), r.height(), 1))
        return;
    {
        Painter p(&stretched, m_device);
        p.drawStretchedBitmap(Rect(0, 0, r.width(), r.height()), bitmap, CopySource);
    }
    // The mask keeps two colours: stretched by dropping pixels, not by blending them.
    Bitmap& maskSource = const_cast<Bitmap&>(*mask);
    if (!stretchedMask.begin(m_device))
        return;
    if (maskSource.begin(&stretchedMask)) {
        stretchedMask.surface()->setStretchMode(3);
        stretchedMask.surface()->stretchBlt(0, 0, r.width(), r.height(), maskSource.surface(),
                                            0, 0, maskSource.getWidth(),
                                            maskSource.getHeight(), SrcCopy);
        maskSource.end();
    }
    stretchedMask.end();
    if (!stretched.begin(m_device))
        return;
    drawMasked(r.left, r.top, r.width(), r.height(), stretched, stretchedMask, op);
    stretched.end();
}

void Painter::drawMetafile(const Rect& r, const Metafile* metafile)
{
    if (m_device && metafile && !metafile->isEmpty() && !metafile->isActive())
        platform::playMetafile(surface(), metafile->handle(), r);
}

void Painter::scrollRect(const Rect& r, int dx, int dy, const Rect* clip)
{
    if (m_device)
        surface()->scroll(dx, dy, r, clip ? *clip : r);
}

void Painter::copyRect(int x, int y, int w, int h, int sx, int sy)
{
    if (m_device)
        surface()->bitBlt(x, y, w, h, surface(), sx, sy, SrcCopy);
}

void Painter::fillRegion(const Region& region, const Brush& brush)
{
    if (m_device && !region.isNull() && !brush.isNull())
        surface()->fillRegion(region.handle(), brush);
}

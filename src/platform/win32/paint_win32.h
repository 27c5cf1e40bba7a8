// GdiSurface: the painter's Surface over a GDI device context.
#pragma once

#include <vexapi/toolkit/platform_paint.h>

#include <windows.h>

namespace VexAPI {
namespace platform {

// Wraps a device context; who opened the context closes it (the surface does not).
class GdiSurface : public Surface {
public:
    enum Kind { Screen, Memory, Window, Printer };
    GdiSurface(HDC dc, Kind kind, HGDIOBJ formerBitmap);
    ~GdiSurface() override;

    HDC dc() const { return m_dc; }
    Kind kind() const { return m_kind; }
    HGDIOBJ formerBitmap() const { return m_formerBitmap; }

    void* nativeContext() const override;
    void selectPen(const Pen& pen) override;
    void releasePen() override;
    void selectBrush(const Brush& brush) override;
    void selectNullBrush() override;
    void selectFont(const Font& font) override;
    void setTextColor(VULong rgb) override;
    void setBackColor(VULong rgb) override;
    void setDrawMode(int mode) override;
    void setBackgroundMode(int mode) override;
    void setBrushOrigin(int x, int y) override;
    Point viewportOrigin() const override;
    void setViewportOrigin(int x, int y) override;
    void selectClip(GraphicHandle region) override;
    Rect clipBox() const override;
    int deviceCaps(int index) const override;
    void setPixel(int x, int y, VULong rgb) override;
    VULong getPixel(int x, int y) const override;
    void moveTo(int x, int y) override;
    Point currentPosition() const override;
    void lineTo(int x, int y) override;
    void polyline(const Point* points, int count) override;
    void polygon(const Point* points, int count) override;
    void ellipse(int left, int top, int right, int bottom) override;
    void rectangle(int left, int top, int right, int bottom) override;
    void roundRect(int left, int top, int right, int bottom, int w, int h) override;
    void fillRect(const Rect& rect, const Brush& brush) override;
    void focusRect(const Rect& rect) override;
    void edge(const Rect& rect, int edge, int flags) override;
    int drawText(const WChar* text, int length, Rect& rect, int flags) override;
    Size textExtent(const WChar* text, int length) const override;
    TextMetrics textMetrics() const override;
    void fillRegion(GraphicHandle region, const Brush& brush) override;
    void bitBlt(int x, int y, int w, int h, Surface* source, int sx, int sy, VULong rop) override;
    void stretchBlt(int x, int y, int w, int h, Surface* source, int sx, int sy, int sw, int sh,
                    VULong rop) override;
    void setStretchMode(int mode) override;
    void patBlt(int x, int y, int w, int h, VULong rop) override;
    void scroll(int dx, int dy, const Rect& rect, const Rect& clip) override;

private:
    HDC m_dc;
    Kind m_kind;
    HGDIOBJ m_formerBitmap;
};

} // namespace platform
} // namespace VexAPI

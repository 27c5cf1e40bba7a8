// Painter: the drawing state (pen, font, brush, colours, modes, clip) and the primitives,
// opened on a PaintDevice.
#pragma once

#include <vexapi/toolkit/bitmap.h>
#include <vexapi/toolkit/brush.h>
#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/font.h>
#include <vexapi/toolkit/geometry.h>
#include <vexapi/toolkit/metafile.h>
#include <vexapi/toolkit/paintdevice.h>
#include <vexapi/toolkit/pen.h>
#include <vexapi/toolkit/picture.h>
#include <vexapi/toolkit/region.h>

// How the pen combines with the surface.
enum RasterOp : int {
    RopCopyPen = 0,
    RopMaskPen = 1,
    RopMaskPenNot = 2,
    RopMergePen = 3,
    RopMergePenNot = 4,
    RopNop = 5,
    RopNot = 6,
    RopNotCopyPen = 7,
    RopNotMaskPen = 8,
    RopNotXorPen = 9,
    RopXorPen = 10
};

// How drawBitmap combines the bitmap (source) with the surface (destination).
enum CopyOp : int {
    CopyMergeCopy = 0,  // source AND brush
    CopyMergePaint = 1, // NOT source OR destination
    CopyNotSource = 2,
    CopyNotSourceErase = 3,
    CopyPattern = 4,
    CopyPatternInvert = 5,
    CopyPatternPaint = 6,
    CopySourceAnd = 7,
    CopySource = 8, // a plain copy
    CopySourceErase = 9,
    CopySourceInvert = 10,
    CopySourcePaint = 11
};

enum EdgeType : int { EdgeRaised = 0, EdgeSunken = 1, EdgeNone = 2 };

enum BackgroundMode : int { BackgroundTransparent = 0, BackgroundOpaque = 1 };

// drawText flags.
enum TextFlags : int {
    TextBottom = 0x1,
    TextCenter = 0x2,
    TextRight = 0x8,
    TextVCenter = 0x20,
    TextWordBreak = 0x40,
    TextSingleLine = 0x80,
    TextPrefix = 0x100, // '&' marks the next character; without it '&' is drawn as it is
    TextNoClip = 0x200
};

// The state lives in the painter and outlives end(): each begin applies all of it again, in
// the order font, pen, brush, text colour, back colour, raster op, background mode, and
// each setter applies its value at once when active, so that no primitive selects anything.
// Every drawing call does nothing on a painter that isn't active. Regions and origins are in
// the caller's coordinates.
class VEXAPI_API Painter {
public:
    Painter() = default;
    explicit Painter(PaintDevice* device, PaintDevice* compatibleWith = nullptr)
    { begin(device, compatibleWith); }
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;
    ~Painter() { end(); }

    bool begin(PaintDevice* device, PaintDevice* compatibleWith = nullptr);
    void end();
    bool IsActive() const { return m_device != nullptr; }
    PaintDevice* paintDevice() const { return m_device; }
    // Takes the other painter's pen, font, brush, colours and modes (not its device or clip).
    void AssignObjects(const Painter& other);

    void setPen(const Pen& pen);
    const Pen& getPen() const { return m_pen; }
    void setFont(const Font& font);
    const Font& getFont() const { return m_font; }
    void setBrush(const Brush& brush);
    void setBrush(const Color& color) { setBrush(Brush(color)); }
    const Brush& getBrush() const { return m_brush; }
    void setRasterOp(RasterOp op);
    RasterOp getRasterOp() const { return m_rasterOp; }
    void setBackgroundMode(BackgroundMode mode);
    BackgroundMode getBackgroundMode() const { return m_backgroundMode; }
    void setTextColor(const Color& color);
    const Color& getTextColor() const { return m_textColor; }
    void setBackColor(const Color& color);
    const Color& getBackColor() const { return m_backColor; }
    // The point of the device's surface that logical (x, y) lands on is its (0, 0): drawing
    // at (x, y) lands at the device's top left.
    void setOrigin(int x, int y);
    void setOrigin(const Point& p) { setOrigin(p.x, p.y); }
    Point getOrigin() const;
    // A null region removes the clip.
    void setRegion(const Region& region);
    Rect getClipRect() const;
    Region getClipRegion() const;

    void setDrawPos(int x, int y);
    void setDrawPos(const Point& p) { setDrawPos(p.x, p.y); }
    Point getDrawPos() const;
    void setPixel(int x, int y, const Color& color);
    void setPixels(const Point* points, int count, const Color& color);
    VULong getPixel(int x, int y) const;
    // From (x1, y1) up to (x2, y2), the end point not drawn.
    void drawLine(int x1, int y1, int x2, int y2);
    void drawLineTo(int x, int y);
    void drawPolyline(const Point* points, int count);
    void drawPolygon(const Point* points, int count);
    void drawEllipse(int x, int y, int w, int h);
    void drawEllipse(const Rect& r) { drawEllipse(r.left, r.top, r.width(), r.height()); }
    // The outline of the w by h rectangle at (x, y), covering x to x + w - 1; never filled.
    void drawRect(int x, int y, int w, int h);
    void drawRect(const Rect& r) { drawRect(r.left, r.top, r.width(), r.height()); }
    void drawFocusRect(const Rect& r);
    void fillRect(int x, int y, int w, int h);
    // Right and bottom excluded; nothing with a null brush.
    void fillRect(const Rect& r);
    void fillRect(const Rect& r, const Brush& brush);
    void drawRoundRect(int x, int y, int w, int h, int ellipseW, int ellipseH);
    void drawEdge(const Rect& r, EdgeType outer, EdgeType inner, bool left = true,
                  bool top = true, bool right = true, bool bottom = true);

    // Text with the background mode and colours; length -1 for a terminated text. A null
    // text does nothing.
    void drawText(int x, int y, const WChar* text, int length = -1);
    void drawText(const Point& p, const WChar* text, int length = -1)
    { drawText(p.x, p.y, text, length); }
    // In a rectangle, with TextFlags; gives the text's height.
    int drawText(const Rect& r, int flags, const WChar* text, int length = -1);
    int drawText(int x, int y, int w, int h, int flags, const WChar* text, int length = -1)
    { return drawText(Rect(x, y, x + w, y + h), flags, text, length); }
    int drawText(const Rect& r, const WChar* text, int length = -1)
    { return drawText(r, TextSingleLine | TextVCenter, text, length); }
    Rect getTextRect(int x, int y, const WChar* text, int length = -1) const;
    int averageGlyphWidth() const;
    bool isFixedWidthFont() const;
    int getMaxCharWidth() const;
    int getCharHeight() const;

    void drawBitmap(int x, int y, const Bitmap* bitmap, CopyOp op = CopySource);
    void drawStretchedBitmap(const Rect& r, const Bitmap* bitmap, CopyOp op = CopySource);
    void drawPicture(int x, int y, const Picture& picture, CopyOp op = CopySource);
    void drawStretchedPicture(const Rect& r, const Picture& picture, CopyOp op = CopySource);
    // Plays a recording into r (nothing for an empty or recording one).
    void drawMetafile(const Rect& r, const Metafile* metafile);
    // Moves the pixels of r by (dx, dy), within clip (r when null).
    void scrollRect(const Rect& r, int dx, int dy, const Rect* clip = nullptr);
    // Copies the w by h pixels at (sx, sy) of this painter's device to (x, y).
    void copyRect(int x, int y, int w, int h, int sx, int sy);
    void fillRegion(const Region& region, const Brush& brush);

    // The disabled and pressed looks of a toolbar picture; the caller owns a new bitmap.
    static Bitmap* grayBitmap(const Bitmap* bitmap);
    static Bitmap* downBitmap(const Bitmap* bitmap);
    static Picture grayPicture(const Picture& picture);
    static Picture downPicture(const Picture& picture);
    // The area a line of `width` covers along the points, for hit testing: null when count
    // or width is below 1.
    static Region CreatePolylineRegion(const Point* points, int count, int width);
    static Region CreateEllipticLineRegion(const Rect& r, int width);
    static Region CreateRectangleLineRegion(const Rect& r, int width);

private:
    void update();
    void applyBrush();
    void drawWithMask(int x, int y, const Bitmap* bitmap, const Bitmap* mask, CopyOp op);
    void drawStretchedWithMask(const Rect& r, const Bitmap* bitmap, const Bitmap* mask,
                               CopyOp op);
    void drawMasked(int x, int y, int w, int h, Bitmap& source, Bitmap& mask, CopyOp op);
    VexAPI::platform::Surface* surface() const;
    // The painter that had the device's surface when this one began on it: a nested painter
    // gives the surface back to it at end, with its state applied again.
    Painter* m_outer = nullptr;

    RasterOp m_rasterOp = RopCopyPen;
    Color m_textColor;
    Color m_backColor = Color(255, 255, 255);
    BackgroundMode m_backgroundMode = BackgroundOpaque;
    Pen m_pen;
    Font m_font;
    Brush m_brush = Brush(Color(255, 255, 255));
    Region m_clipRegion;
    PaintDevice* m_device = nullptr;
};

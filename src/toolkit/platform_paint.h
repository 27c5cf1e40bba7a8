// The painter's seam: the platform's graphic objects (pens, brushes, fonts, regions,
// bitmaps) as opaque handles, and Surface, a drawing context the Painter drives.
#pragma once

#include <vexapi/core/types.h>
#include <vexapi/toolkit/geometry.h>

#include <cstddef>
#include <vector>

class Pen;
class Brush;
class Font;

namespace VexAPI {
namespace platform {

// A platform graphic object; null is no object. Who created one deletes it once, with
// deleteObject (the toolkit's value classes count their copies and do it on the last).
typedef void* GraphicHandle;

GraphicHandle createPen(int style, int width, VULong rgb);
GraphicHandle createSolidBrush(VULong rgb);
GraphicHandle createHatchBrush(int hatch, VULong rgb);
GraphicHandle createPatternBrush(GraphicHandle bitmap);
void deleteObject(GraphicHandle object);

// A font as the platform describes it: height negative for a character height in device
// units, weight 400 or 700, the face name cut to 31 characters.
struct FontAttributes {
    WChar face[32] = {};
    int height = 0;
    int weight = 400;
    bool italic = false;
    bool underline = false;
    bool strikeout = false;
    int charset = 0;
};
GraphicHandle createFont(const FontAttributes& attrs);
// The platform's stock system font (stock object 13); never deleted.
GraphicHandle stockFont();
bool readFont(GraphicHandle font, FontAttributes& attrs);
// The extent of text in a font on the screen.
Size measureText(GraphicHandle font, const WChar* text, int length);

// Regions. combineRegions gives a new region; mode 1 and, 2 or, 3 xor, 4 difference.
GraphicHandle createRectRegion(int left, int top, int right, int bottom);
GraphicHandle createEllipticRegion(int left, int top, int right, int bottom);
GraphicHandle createPolygonRegion(const Point* points, int count, bool winding);
GraphicHandle combineRegions(GraphicHandle a, GraphicHandle b, int mode);
void offsetRegion(GraphicHandle region, int dx, int dy);
bool regionContains(GraphicHandle region, int x, int y);
// The bounding box; the empty rectangle for an empty region.
Rect regionBox(GraphicHandle region);

// Bitmaps: depth 1 is monochrome; any other depth gives a colour bitmap of 32 bits that
// every context can select.
GraphicHandle createBitmap(int width, int height, int depth);
bool bitmapInfo(GraphicHandle bitmap, int& width, int& height, int& depth);
// Pixels as colour values in the toolkit's layout (red in the low byte, the high byte 0),
// top row first. Gives false for a handle that is not a bitmap.
bool readBitmapPixels(GraphicHandle bitmap, std::vector<VULong>& pixels);
bool writeBitmapPixels(GraphicHandle bitmap, const std::vector<VULong>& pixels);

struct TextMetrics {
    int height = 0;
    int ascent = 0;
    int averageWidth = 0;
    int maxWidth = 0;
    int pitchAndFamily = 0;
};

// A drawing context. The Painter applies its state with the select and set calls and then
// draws; a Surface never re-applies state on its own. Coordinates are logical: the
// viewport origin moves them.
class Surface {
public:
    virtual ~Surface();

    // The Painter whose state the surface holds now (null before any); kept by Painter.
    void* owner = nullptr;

    // The platform context (an HDC on Windows), or null for a surface that has none (a
    // recording): blits between a native and a non-native surface do nothing.
    virtual void* nativeContext() const = 0;

    virtual void selectPen(const Pen& pen) = 0;
    // Selects the platform's stock pen 7 in place of the painter's, so that it may be deleted.
    virtual void releasePen() = 0;
    // A null brush selects the platform's null brush.
    virtual void selectBrush(const Brush& brush) = 0;
    virtual void selectNullBrush() = 0;
    virtual void selectFont(const Font& font) = 0;
    virtual void setTextColor(VULong rgb) = 0;
    virtual void setBackColor(VULong rgb) = 0;
    virtual void setDrawMode(int mode) = 0;       // the platform's binary raster code
    virtual void setBackgroundMode(int mode) = 0; // 1 transparent, 2 opaque
    virtual void setBrushOrigin(int x, int y) = 0;
    virtual Point viewportOrigin() const = 0;
    virtual void setViewportOrigin(int x, int y) = 0;
    // The clip, in device coordinates; null removes it.
    virtual void selectClip(GraphicHandle region) = 0;
    virtual Rect clipBox() const = 0;
    virtual int deviceCaps(int index) const = 0;

    virtual void setPixel(int x, int y, VULong rgb) = 0;
    virtual VULong getPixel(int x, int y) const = 0;
    virtual void moveTo(int x, int y) = 0;
    virtual Point currentPosition() const = 0;
    virtual void lineTo(int x, int y) = 0;
    virtual void polyline(const Point* points, int count) = 0;
    virtual void polygon(const Point* points, int count) = 0;
    virtual void ellipse(int left, int top, int right, int bottom) = 0;
    virtual void rectangle(int left, int top, int right, int bottom) = 0;
    virtual void roundRect(int left, int top, int right, int bottom, int w, int h) = 0;
    virtual void fillRect(const Rect& rect, const Brush& brush) = 0;
    virtual void focusRect(const Rect& rect) = 0;
    virtual void edge(const Rect& rect, int edge, int flags) = 0;
    // DrawText with platform flags; gives the text height.
    virtual int drawText(const WChar* text, int length, Rect& rect, int flags) = 0;
    virtual Size textExtent(const WChar* text, int length) const = 0;
    virtual TextMetrics textMetrics() const = 0;
    virtual void fillRegion(GraphicHandle region, const Brush& brush) = 0;
    virtual void bitBlt(int x, int y, int w, int h, Surface* source, int sx, int sy,
                        VULong rop) = 0;
    virtual void stretchBlt(int x, int y, int w, int h, Surface* source, int sx, int sy,
                            int sw, int sh, VULong rop) = 0;
    virtual void setStretchMode(int mode) = 0;
    virtual void patBlt(int x, int y, int w, int h, VULong rop) = 0;
    // Scrolls the pixels of `rect` by (dx, dy) within `clip`.
    virtual void scroll(int dx, int dy, const Rect& rect, const Rect& clip) = 0;
};

// The screen's context, for measuring and device facts; owned by the platform.
Surface* screenSurface();
// A memory context compatible with `compatible` (or the screen) with `bitmap` selected;
// closeBitmapSurface selects the former bitmap back and deletes the context. Null when the
// platform cannot open one.
Surface* openBitmapSurface(Surface* compatible, GraphicHandle bitmap);
void closeBitmapSurface(Surface* surface);
// A bitmap of the size compatible with the context (its colour format).
GraphicHandle createCompatibleBitmap(Surface* compatible, int width, int height);


// Enhanced metafiles recorded in memory. closeMetafileSurface ends the recording and gives
// the metafile (null on failure); its bounds are in device pixels.
Surface* openMetafileSurface(Surface* reference);
GraphicHandle closeMetafileSurface(Surface* surface);
Rect metafileBounds(GraphicHandle metafile);
void playMetafile(Surface* surface, GraphicHandle metafile, const Rect& rect);
void deleteMetafile(GraphicHandle metafile);

// Printing. A printer context comes from the print dialog, or from the default printer
// without one; the settings go in and come back (pages and copies) as the user chose.
struct PrintSettings {
    int orientation = 0; // 0 portrait, otherwise landscape
    int minPage = 1;
    int maxPage = 1;
    int fromPage = 1;
    int toPage = 1;
    int numCopies = 1;
};
Surface* openPrinter(void* owner, bool useDefault, PrintSettings& settings);
void closePrinter(Surface* printer);
// Installs the abort procedure (which goes on while *aborted is false) and starts the
// document; gives StartDoc's result.
int startDocument(Surface* printer, const WChar* title, const bool* aborted);
int startPage(Surface* printer);
int endPage(Surface* printer);
int endDocument(Surface* printer);
int abortDocument(Surface* printer);
void removeAbortProcedure(Surface* printer);


// A window's client context (GetDC); null without one.
Surface* openWindowSurface(void* window);
void closeWindowSurface(Surface* surface);
// The paint cycle's context (BeginPaint); `update` receives the update region taken before
// it, which the caller then owns.
Surface* openPaintSurface(void* window, GraphicHandle* update);
void closePaintSurface(Surface* surface);


// An icon of a colour bitmap and its mask (set where drawn; none: all drawn); the caller
// destroys it. Null where the platform has no icons.
void* createIcon(GraphicHandle color, GraphicHandle mask);


// A surface over a context someone else opened and closes (the window layer's paint
// context); releasing it leaves the context open.
Surface* adoptContext(void* context);
void releaseAdoptedContext(Surface* surface);

} // namespace platform
} // namespace VexAPI

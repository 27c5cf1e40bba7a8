// The painter's seam without a window system: graphic objects are plain records, regions are
// sets of pixel spans, bitmaps are pixel arrays. No context can be opened on them (drawing
// goes through a RecordingDev); the records let the value classes and the region geometry
// work and be tested.
#include <vexapi/toolkit/platform_paint.h>

#include <vexapi/core/wtext.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

namespace VexAPI {
namespace platform {

namespace {

enum Kind { KindPen, KindBrush, KindFont, KindRegion, KindBitmap };

struct Object {
    explicit Object(Kind k) : kind(k) {}
    virtual ~Object() = default;
    Kind kind;
};

struct PenObject : Object {
    PenObject() : Object(KindPen) {}
};
struct BrushObject : Object {
    BrushObject() : Object(KindBrush) {}
};
struct FontObject : Object {
    FontObject() : Object(KindFont) {}
    FontAttributes attrs;
};
struct BitmapObject : Object {
    BitmapObject() : Object(KindBitmap) {}
    int width = 0, height = 0, depth = 0;
    std::vector<VULong> pixels;
};

// A region: for each row y, sorted disjoint spans [x0, x1).
typedef std::vector<std::pair<int, int>> Spans;
struct RegionObject : Object {
    RegionObject() : Object(KindRegion) {}
    std::map<int, Spans> rows;
};

template <typename T> T* as(GraphicHandle h, Kind kind)
{
    Object* o = static_cast<Object*>(h);
    return o && o->kind == kind ? static_cast<T*>(o) : nullptr;
}

// Merges touching and overlapping spans of one row.
void normalizeSpans(Spans& spans)
{
    std::sort(spans.begin(), spans.end());
    Spans out;
    for (const auto& s : spans) {
        if (s.first >= s.second)
            continue;
        if (!out.empty() && s.first <= out.back().second)
            out.back().second = std::max(out.back().second, s.second);
        else
            out.push_back(s);
    }
    spans.swap(out);
}

// Combines two rows span by span: mode 1 and, 2 or, 3 xor, 4 difference.
Spans combineSpans(const Spans& a, const Spans& b, int mode)
{
    std::vector<int> edges;
    for (const auto& s : a) {
        edges.push_back(s.first);
        edges.push_back(s.second);
    }
    for (const auto& s : b) {
        edges.push_back(s.first);
        edges.push_back(s.second);
    }
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    auto inside = [](const Spans& spans, int x) {
        for (const auto& s : spans)
            if (x >= s.first && x < s.second)
                return true;
        return false;
    };
    Spans out;
    for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
        bool ia = inside(a, edges[i]), ib = inside(b, edges[i]);
        bool keep = mode == 1 ? ia && ib : mode == 2 ? ia || ib : mode == 3 ? ia != ib : ia && !ib;
        if (keep)
            out.push_back({edges[i], edges[i + 1]});
    }
    normalizeSpans(out);
    return out;
}

} // namespace

GraphicHandle createPen(int, int, VULong) { return new PenObject; }
GraphicHandle createSolidBrush(VULong) { return new BrushObject; }
GraphicHandle createHatchBrush(int, VULong) { return new BrushObject; }
GraphicHandle createPatternBrush(GraphicHandle bitmap)
{
    return as<BitmapObject>(bitmap, KindBitmap) ? new BrushObject : nullptr;
}

void deleteObject(GraphicHandle object) { delete static_cast<Object*>(object); }

GraphicHandle createFont(const FontAttributes& attrs)
{
    FontObject* f = new FontObject;
    f->attrs = attrs;
    return f;
}

GraphicHandle stockFont()
{
    static FontObject* stock = [] {
        FontObject* f = new FontObject;
        const char name[] = "System";
        for (int i = 0; name[i]; ++i)
            f->attrs.face[i] = WChar(name[i]);
        f->attrs.height = -16;
        return f;
    }();
    return stock;
}

bool readFont(GraphicHandle font, FontAttributes& attrs)
{
    FontObject* f = as<FontObject>(font, KindFont);
    if (!f)
        return false;
    attrs = f->attrs;
    return true;
}

Size measureText(GraphicHandle font, const WChar*, int length)
{
    // A fixed cell: half the character height wide.
    FontAttributes attrs;
    readFont(font, attrs);
    int h = attrs.height < 0 ? -attrs.height : attrs.height;
    if (h == 0)
        h = 16;
    return Size(std::max(1, h / 2) * length, h);
}

GraphicHandle createRectRegion(int left, int top, int right, int bottom)
{
    RegionObject* r = new RegionObject;
    if (left > right)
        std::swap(left, right);
    if (top > bottom)
        std::swap(top, bottom);
    if (left < right)
        for (int y = top; y < bottom; ++y)
            r->rows[y].push_back({left, right});
    return r;
}

GraphicHandle createEllipticRegion(int left, int top, int right, int bottom)
{
    RegionObject* r = new RegionObject;
    if (left > right)
        std::swap(left, right);
    if (top > bottom)
        std::swap(top, bottom);
    double cx = (left + right) / 2.0, cy = (top + bottom) / 2.0;
    double rx = (right - left) / 2.0, ry = (bottom - top) / 2.0;
    if (rx <= 0 || ry <= 0)
        return r;
    for (int y = top; y < bottom; ++y) {
        double dy = (y + 0.5 - cy) / ry;
        if (dy * dy >= 1)
            continue;
        double half = rx * std::sqrt(1 - dy * dy);
        int x0 = int(std::lround(cx - half)), x1 = int(std::lround(cx + half));
        if (x0 < x1)
            r->rows[y].push_back({x0, x1});
    }
    return r;
}

GraphicHandle createPolygonRegion(const Point* points, int count, bool winding)
{
    RegionObject* r = new RegionObject;
    if (!points || count < 3)
        return r;
    int top = points[0].y, bottom = points[0].y;
    for (int i = 1; i < count; ++i) {
        top = std::min(top, points[i].y);
        bottom = std::max(bottom, points[i].y);
    }
    // Pixel centres: a pixel is inside when its centre is, by the fill rule.
    for (int y = top; y < bottom; ++y) {
        double sy = y + 0.5;
        std::vector<std::pair<double, int>> crossings;
        for (int i = 0; i < count; ++i) {
            const Point& a = points[i];
            const Point& b = points[(i + 1) % count];
            if ((a.y <= sy) == (b.y <= sy))
                continue;
            double x = a.x + (sy - a.y) * double(b.x - a.x) / double(b.y - a.y);
            crossings.push_back({x, b.y > a.y ? 1 : -1});
        }
        std::sort(crossings.begin(), crossings.end());
        Spans spans;
        int wind = 0;
        for (std::size_t k = 0; k + 1 < crossings.size(); ++k) {
            wind += crossings[k].second;
            bool in = winding ? wind != 0 : (k % 2) == 0;
            if (!in)
                continue;
            int x0 = int(std::ceil(crossings[k].first - 0.5));
            int x1 = int(std::ceil(crossings[k + 1].first - 0.5));
            spans.push_back({x0, x1});
        }
        normalizeSpans(spans);
        if (!spans.empty())
            r->rows[y] = spans;
    }
    return r;
}

GraphicHandle combineRegions(GraphicHandle a, GraphicHandle b, int mode)
{
    static const RegionObject empty;
    const RegionObject* ra = as<RegionObject>(a, KindRegion);
    const RegionObject* rb = as<RegionObject>(b, KindRegion);
    if (!ra)
        ra = &empty;
    if (!rb)
        rb = &empty;
    RegionObject* out = new RegionObject;
    std::vector<int> ys;
    for (const auto& row : ra->rows)
        ys.push_back(row.first);
    for (const auto& row : rb->rows)
        ys.push_back(row.first);
    std::sort(ys.begin(), ys.end());
    ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
    static const Spans none;
    for (int y : ys) {
        auto ia = ra->rows.find(y), ib = rb->rows.find(y);
        Spans spans = combineSpans(ia == ra->rows.end() ? none : ia->second,
                                   ib == rb->rows.end() ? none : ib->second, mode);
        if (!spans.empty())
            out->rows[y] = std::move(spans);
    }
    return out;
}

void offsetRegion(GraphicHandle region, int dx, int dy)
{
    RegionObject* r = as<RegionObject>(region, KindRegion);
    if (!r)
        return;
    std::map<int, Spans> moved;
    for (auto& row : r->rows) {
        Spans spans = row.second;
        for (auto& s : spans) {
            s.first += dx;
            s.second += dx;
        }
        moved[row.first + dy] = std::move(spans);
    }
    r->rows.swap(moved);
}

bool regionContains(GraphicHandle region, int x, int y)
{
    RegionObject* r = as<RegionObject>(region, KindRegion);
    if (!r)
        return false;
    auto row = r->rows.find(y);
    if (row == r->rows.end())
        return false;
    for (const auto& s : row->second)
        if (x >= s.first && x < s.second)
            return true;
    return false;
}

Rect regionBox(GraphicHandle region)
{
    RegionObject* r = as<RegionObject>(region, KindRegion);
    if (!r || r->rows.empty())
        return Rect();
    Rect box(r->rows.begin()->second.front().first, r->rows.begin()->first,
             r->rows.begin()->second.back().second, r->rows.rbegin()->first + 1);
    for (const auto& row : r->rows) {
        box.left = std::min(box.left, row.second.front().first);
        box.right = std::max(box.right, row.second.back().second);
    }
    return box;
}

GraphicHandle createBitmap(int width, int height, int depth)
{
    if (width <= 0 || height <= 0 || width > 32768 || height > 32768)
        return nullptr;
    BitmapObject* b = new BitmapObject;
    b->width = width;
    b->height = height;
    b->depth = depth == 1 ? 1 : 32;
    b->pixels.assign(std::size_t(width) * height, 0);
    return b;
}

GraphicHandle createCompatibleBitmap(Surface*, int width, int height)
{
    return createBitmap(width, height, 32);
}

bool bitmapInfo(GraphicHandle bitmap, int& width, int& height, int& depth)
{
    BitmapObject* b = as<BitmapObject>(bitmap, KindBitmap);
    if (!b)
        return false;
    width = b->width;
    height = b->height;
    depth = b->depth;
    return true;
}

bool readBitmapPixels(GraphicHandle bitmap, std::vector<VULong>& pixels)
{
    BitmapObject* b = as<BitmapObject>(bitmap, KindBitmap);
    if (!b)
        return false;
    pixels = b->pixels;
    return true;
}

bool writeBitmapPixels(GraphicHandle bitmap, const std::vector<VULong>& pixels)
{
    BitmapObject* b = as<BitmapObject>(bitmap, KindBitmap);
    if (!b || pixels.size() != b->pixels.size())
        return false;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        VULong c = pixels[i] & 0xFFFFFF;
        // A one-bit bitmap keeps white where the colour is white, black elsewhere.
        b->pixels[i] = b->depth == 1 ? (c == 0xFFFFFF ? 0xFFFFFF : 0) : c;
    }
    return true;
}

Surface* screenSurface() { return nullptr; }
Surface* openBitmapSurface(Surface*, GraphicHandle) { return nullptr; }
void closeBitmapSurface(Surface*) {}


// Without a window system there is nothing to record into and no printer to open.
Surface* openMetafileSurface(Surface*) { return nullptr; }
GraphicHandle closeMetafileSurface(Surface*) { return nullptr; }
Rect metafileBounds(GraphicHandle) { return Rect(); }
void playMetafile(Surface*, GraphicHandle, const Rect&) {}
void deleteMetafile(GraphicHandle) {}

Surface* openPrinter(void*, bool, PrintSettings&) { return nullptr; }
void closePrinter(Surface*) {}
int startDocument(Surface*, const WChar*, const bool*) { return 0; }
int startPage(Surface*) { return 0; }
int endPage(Surface*) { return 0; }
int endDocument(Surface*) { return 0; }
int abortDocument(Surface*) { return 0; }
void removeAbortProcedure(Surface*) {}


// No windows to draw on without a window system.
Surface* openWindowSurface(void*) { return nullptr; }
void closeWindowSurface(Surface*) {}
Surface* openPaintSurface(void*, GraphicHandle* update)
{
    if (update)
        *update = nullptr;
    return nullptr;
}
void closePaintSurface(Surface*) {}


void* createIcon(GraphicHandle, GraphicHandle) { return nullptr; }


Surface* adoptContext(void*) { return nullptr; }
void releaseAdoptedContext(Surface*) {}

} // namespace platform
} // namespace VexAPI

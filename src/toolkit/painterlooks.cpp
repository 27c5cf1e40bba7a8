// The Painter's statics: the disabled and pressed looks of toolbar pictures, and the
// regions a thick line covers.
#include <vexapi/toolkit/painter.h>

#include <cmath>
#include <cstdlib>

namespace {

// The shape of a toolbar picture: its pixels that are neither the transparent colour (that
// of the bottom left pixel) nor white.
std::vector<bool> shapeOf(const std::vector<VULong>& pixels, int width, int height)
{
    VULong transparent = pixels[std::size_t(height - 1) * width] & 0xFFFFFF;
    std::vector<bool> shape(pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        VULong c = pixels[i] & 0xFFFFFF;
        shape[i] = c != transparent && c != 0xFFFFFF;
    }
    return shape;
}

} // namespace

Bitmap* Painter::grayBitmap(const Bitmap* bitmap)
{
    std::vector<VULong> source;
    if (!bitmap || !bitmap->pixels(source))
        return nullptr;
    int w = bitmap->getWidth(), h = bitmap->getHeight();
    std::vector<bool> shape = shapeOf(source, w, h);
    VULong face = Color::getSysColor(SysColorButtonFace);
    VULong highlight = Color::getSysColor(SysColorButtonHighlight);
    VULong shadow = Color::getSysColor(SysColorButtonShadow);
    // Embossed: the shape in the highlight colour one pixel down and right, and in the
    // shadow colour over it; the mask covers both.
    std::vector<VULong> out(source.size(), face);
    std::vector<VULong> mask(source.size(), 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!shape[std::size_t(y) * w + x] || x + 1 >= w || y + 1 >= h)
                continue;
            out[std::size_t(y + 1) * w + x + 1] = highlight;
            mask[std::size_t(y + 1) * w + x + 1] = 0xFFFFFF;
        }
    for (std::size_t i = 0; i < shape.size(); ++i)
        if (shape[i]) {
            out[i] = shadow;
            mask[i] = 0xFFFFFF;
        }
    Bitmap* result = new Bitmap(w, h, 32);
    Bitmap* resultMask = new Bitmap(w, h, 1);
    if (!result->setPixels(out) || !resultMask->setPixels(mask)) {
        delete result;
        delete resultMask;
        return nullptr;
    }
    result->setMask(resultMask);
    return result;
}

Bitmap* Painter::downBitmap(const Bitmap* bitmap)
{
    std::vector<VULong> source;
    if (!bitmap || !bitmap->pixels(source))
        return nullptr;
    int w = bitmap->getWidth(), h = bitmap->getHeight();
    VULong transparent = source[std::size_t(h - 1) * w] & 0xFFFFFF;
    VULong face = Color::getSysColor(SysColorButtonFace);
    VULong highlight = Color::getSysColor(SysColorButtonHighlight);
    // A checker of the face and highlight colours, fixed to the bitmap's (0, 0), with the
    // picture over it.
    std::vector<VULong> out(source.size());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            VULong c = source[std::size_t(y) * w + x] & 0xFFFFFF;
            out[std::size_t(y) * w + x] = c != transparent ? c : ((x + y) % 2 ? highlight : face);
        }
    Bitmap* result = new Bitmap(w, h, 32);
    if (!result->setPixels(out)) {
        delete result;
        return nullptr;
    }
    return result;
}

static Picture pictureLook(const Picture& picture, Bitmap* (*look)(const Bitmap*))
{
    if (picture.empty())
        return Picture();
    Bitmap* source = picture.bitmap();
    Bitmap* ownMask = source->detachMask(); // the look reads the pixels alone
    Bitmap* result = look(source);
    source->setMask(ownMask);
    if (!result)
        return Picture();
    Bitmap* mask = result->detachMask();
    return Picture(result, mask);
}

Picture Painter::grayPicture(const Picture& picture) { return pictureLook(picture, grayBitmap); }

Picture Painter::downPicture(const Picture& picture) { return pictureLook(picture, downBitmap); }

Region Painter::CreatePolylineRegion(const Point* points, int count, int width)
{
    if (!points || count < 1 || width < 1)
        return Region();
    int half = width / 2;
    Region region;
    auto add = [&region](const Region& part) {
        region = region.isNull() ? part : region.unite(part);
    };
    auto circle = [&](const Point& p) {
        return Region(p.x - half, p.y - half, width + 1, width + 1, RegionEllipse);
    };
    if (width > 1)
        add(circle(points[0]));
    for (int i = 1; i < count; ++i) {
        const Point& a = points[i - 1];
        const Point& b = points[i];
        double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
        double length = std::sqrt(dx * dx + dy * dy);
        if (length == 0)
            continue;
        Point q[4];
        if (width < 6) {
            if (std::fabs(dx) <= std::fabs(dy)) {
                int wide = int(std::fabs(width * length / dy));
                int before = wide / 2, after = wide - wide / 2;
                q[0] = Point(a.x - before, a.y);
                q[1] = Point(a.x + after, a.y);
                q[2] = Point(b.x + after, b.y);
                q[3] = Point(b.x - before, b.y);
            } else {
                int wide = int(std::fabs(width * length / dx));
                int before = wide / 2, after = wide - wide / 2;
                q[0] = Point(a.x, a.y - before);
                q[1] = Point(a.x, a.y + after);
                q[2] = Point(b.x, b.y + after);
                q[3] = Point(b.x, b.y - before);
            }
        } else {
            double sine = dy / length, cosine = dx / length;
            const double corners[4][2] = {
                {0, double(-half)}, {0, double(width - half)}, {length, double(width - half)},
                {length, double(-half)}};
            for (int k = 0; k < 4; ++k) {
                double cx = corners[k][0], cy = corners[k][1];
                q[k] = Point(a.x + int(cx * cosine - cy * sine), a.y + int(cx * sine + cy * cosine));
            }
        }
        add(Region(q, 4, false));
        if (width > 1)
            add(circle(b));
    }
    if (region.isEmpty())
        return Region(Rect());
    return region;
}

Region Painter::CreateEllipticLineRegion(const Rect& r, int width)
{
    if (width < 1)
        return Region();
    int half = width / 2;
    Rect outer = r, inner = r;
    outer.inflate(half, half);
    inner.inflate(-(width - half), -(width - half));
    Region band(outer, RegionEllipse);
    return inner.isEmpty() ? band : band.subtract(Region(inner, RegionEllipse));
}

Region Painter::CreateRectangleLineRegion(const Rect& r, int width)
{
    if (width < 1)
        return Region();
    int half = width / 2;
    Rect outer = r, inner = r;
    outer.inflate(half, half);
    inner.inflate(-(width - half), -(width - half));
    Region band(outer);
    return inner.isEmpty() ? band : band.subtract(Region(inner));
}

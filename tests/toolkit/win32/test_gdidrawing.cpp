// Drawing for real on bitmaps through GDI: each primitive's covered pixels, raster and copy
// operations on known backgrounds, clipping, text in a substituted font, nesting, sharing.
// Each family's drawing is also saved as a PNG under build/screens, to be looked at.
#include <vexapi/toolkit/painter.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const VULong White = 0xFFFFFF, Black = 0, Red = 0x0000FF, Green = 0x00FF00, Blue = 0xFF0000;

// A bitmap filled with one colour.
struct Canvas {
    Canvas(int w, int h, VULong background) : bitmap(w, h)
    {
        bitmap.setPixels(std::vector<VULong>(std::size_t(w) * h, background));
    }
    VULong at(int x, int y) const { return bitmap.pixel(x, y); }
    // The pixels of colour c, as a bounding box (empty when none).
    Rect extentOf(VULong c) const
    {
        std::vector<VULong> px;
        bitmap.pixels(px);
        Rect box;
        bool any = false;
        for (int y = 0; y < bitmap.getHeight(); ++y)
            for (int x = 0; x < bitmap.getWidth(); ++x)
                if (px[std::size_t(y) * bitmap.getWidth() + x] == c) {
                    if (!any)
                        box = Rect(x, y, x + 1, y + 1);
                    box.unite(Rect(x, y, x + 1, y + 1));
                    any = true;
                }
        return box;
    }
    int count(VULong c) const
    {
        std::vector<VULong> px;
        bitmap.pixels(px);
        int n = 0;
        for (VULong p : px)
            n += p == c;
        return n;
    }
    void save(const char* name) const
    {
        fs::path dir(VEXAPI_SCREENS_DIR);
        std::error_code ec;
        fs::create_directories(dir, ec);
        // Enlarged, pixel for pixel, so that single pixels can be told apart when looking.
        int w = bitmap.getWidth(), h = bitmap.getHeight();
        int k = std::max(1, 400 / std::max(w, h));
        std::vector<VULong> px, big(std::size_t(w) * k * h * k);
        bitmap.pixels(px);
        for (int y = 0; y < h * k; ++y)
            for (int x = 0; x < w * k; ++x)
                big[std::size_t(y) * w * k + x] = px[std::size_t(y / k) * w + x / k];
        Bitmap* enlarged = new Bitmap(w * k, h * k);
        enlarged->setPixels(big);
        Picture p(enlarged, nullptr);
        EXPECT_TRUE(p.savePNG((dir / (std::string(name) + ".png")).wstring().c_str())) << name;
    }
    Bitmap bitmap;
};

} // namespace

TEST(GdiPrimitives, RectOutlineCoversLeftPlusWidthMinusOne)
{
    Canvas c(40, 40, White);
    {
        Painter p(&c.bitmap);
        p.setBrush(Color(0, 0, 255)); // a drawRect fills nothing, whatever the brush
        p.drawRect(10, 20, 5, 5);
    }
    EXPECT_EQ(Rect(10, 20, 15, 25), c.extentOf(Black));
    EXPECT_EQ(16, c.count(Black)); // the outline of a 5 by 5 square
    EXPECT_EQ(White, c.at(12, 22));
    EXPECT_EQ(White, c.at(15, 22));
    EXPECT_EQ(Black, c.at(14, 22));
    EXPECT_EQ(0, c.count(Red));
}

TEST(GdiPrimitives, FillRectExcludesRightAndBottom)
{
    Canvas c(20, 20, White);
    {
        Painter p(&c.bitmap);
        p.setBrush(Color(255, 0, 0));
        p.fillRect(Rect(1, 2, 4, 6));
        p.fillRect(Rect(10, 10, 13, 12), Brush(Color(0, 255, 0)));
        p.setBrush(Brush());
        p.fillRect(Rect(0, 0, 20, 20)); // a null brush fills nothing
    }
    EXPECT_EQ(Rect(1, 2, 4, 6), c.extentOf(Red));
    EXPECT_EQ(12, c.count(Red));
    EXPECT_EQ(Rect(10, 10, 13, 12), c.extentOf(Green));
}

TEST(GdiPrimitives, LinesLeaveOutTheirEndPoint)
{
    Canvas c(30, 30, White);
    {
        Painter p(&c.bitmap);
        p.drawLine(0, 5, 10, 5);
        p.setPen(Pen(Color(255, 0, 0)));
        p.setDrawPos(20, 0);
        p.drawLineTo(20, 10);
        const Point pts[] = {{0, 20}, {5, 20}, {5, 25}};
        p.setPen(Pen(Color(0, 0, 255)));
        p.drawPolyline(pts, 3);
    }
    EXPECT_EQ(Rect(0, 5, 10, 6), c.extentOf(Black));
    EXPECT_EQ(Rect(20, 0, 21, 10), c.extentOf(Red));
    EXPECT_EQ(Rect(0, 20, 6, 25), c.extentOf(Blue));
    c.save("lines");
}

TEST(GdiPrimitives, PenSetBeforeBeginTakesEffect)
{
    Canvas c(30, 30, White);
    Painter p;
    p.setPen(Pen(Color(255, 0, 0), PenSolid, 3));
    ASSERT_TRUE(p.begin(&c.bitmap));
    p.drawLine(5, 15, 25, 15);
    p.end();
    EXPECT_EQ(Red, c.at(15, 14));
    EXPECT_EQ(Red, c.at(15, 15));
    EXPECT_EQ(Red, c.at(15, 16));
    EXPECT_EQ(White, c.at(15, 18));
    EXPECT_EQ(Color(255, 0, 0), p.getPen().color());
}

TEST(GdiPrimitives, ShapesAndFills)
{
    Canvas c(200, 120, White);
    {
        Painter p(&c.bitmap);
        p.setBrush(Color(255, 255, 0));
        p.drawEllipse(10, 10, 60, 40);
        p.drawRoundRect(80, 10, 50, 40, 16, 16);
        const Point tri[] = {{150, 50}, {190, 50}, {170, 10}};
        p.setBrush(Brush(Color(0, 128, 0), HatchCross));
        p.drawPolygon(tri, 3);
        p.fillRegion(Region(Rect(10, 60, 70, 110), RegionEllipse), Brush(Color(0, 0, 255)));
        p.fillRect(Rect(80, 60, 130, 110), Brush(Color(255, 0, 0), HatchDiagonalCross));
        p.setPixel(175, 90, Color(255, 0, 0));
        p.drawEdge(Rect(150, 70, 190, 110), EdgeRaised, EdgeSunken);
        p.drawFocusRect(Rect(140, 60, 195, 115));
    }
    // The ellipse's filling is inside its bounding box; the outline touches its edges.
    EXPECT_EQ(0x00FFFFu, c.at(40, 30)); // yellow, red in the low byte
    EXPECT_EQ(Black, c.at(40, 10));
    EXPECT_EQ(White, c.at(40, 9));
    EXPECT_EQ(Black, c.at(10, 30));
    EXPECT_EQ(White, c.at(11, 11)); // outside the ellipse, inside its box
    EXPECT_EQ(Blue, c.at(40, 85));
    EXPECT_EQ(White, c.at(11, 61)); // outside the filled ellipse region
    EXPECT_EQ(Red, c.at(175, 90));
    c.save("shapes");
}

TEST(GdiRasterOps, PenModesOnAKnownBackground)
{
    struct Case {
        RasterOp op;
        VULong expected;
    } cases[] = {
        {RopCopyPen, Red},
        {RopMaskPen, Green & Red},
        {RopMergePen, Green | Red},
        {RopXorPen, Green ^ Red},
        {RopNot, ~Green & 0xFFFFFF},
        {RopNotCopyPen, ~Red & 0xFFFFFF},
        {RopNop, Green},
        {RopNotXorPen, ~(Green ^ Red) & 0xFFFFFF},
        {RopMaskPenNot, Red & ~Green & 0xFFFFFF},
        {RopMergePenNot, (Red | ~Green) & 0xFFFFFF},
        {RopNotMaskPen, ~(Green & Red) & 0xFFFFFF},
    };
    Canvas c(12 * 10, 12, Green);
    Painter p(&c.bitmap);
    p.setPen(Pen(Color(255, 0, 0)));
    int x = 0;
    for (const Case& k : cases) {
        p.setRasterOp(k.op);
        p.drawLine(x, 5, x + 8, 5);
        x += 10;
    }
    p.end();
    x = 0;
    for (const Case& k : cases) {
        EXPECT_EQ(k.expected, c.at(x + 4, 5)) << "raster op " << k.op;
        EXPECT_EQ(Green, c.at(x + 4, 2));
        x += 10;
    }
    c.save("rasterops");
}

TEST(GdiCopyOps, BitmapsOnAKnownBackground)
{
    struct Case {
        CopyOp op;
        VULong expected; // source red onto a green destination
    } cases[] = {
        {CopySource, Red},
        {CopyNotSource, ~Red & 0xFFFFFF},
        {CopySourceAnd, Red & Green},
        {CopySourcePaint, Red | Green},
        {CopySourceInvert, Red ^ Green},
        {CopySourceErase, Red & ~Green & 0xFFFFFF},
        {CopyNotSourceErase, ~(Red | Green) & 0xFFFFFF},
        {CopyMergePaint, (~Red | Green) & 0xFFFFFF},
    };
    Canvas source(6, 6, Red);
    Canvas c(10 * 8, 10, Green);
    {
        Painter p(&c.bitmap);
        int x = 0;
        for (const Case& k : cases) {
            p.drawBitmap(x, 2, &source.bitmap, k.op);
            x += 10;
        }
    }
    int x = 0;
    for (const Case& k : cases) {
        EXPECT_EQ(k.expected, c.at(x + 2, 4)) << "copy op " << k.op;
        EXPECT_EQ(Rect(x, 2, x + 6, 8).contains(Point(x + 6, 4)), false);
        EXPECT_EQ(Green, c.at(x + 7, 4));
        x += 10;
    }
}

TEST(GdiCopyOps, MaskedStretchedAndLookedPictures)
{
    // A 4 by 4 picture: a blue cross on magenta, magenta transparent.
    const VULong M = 0xFF00FF;
    Canvas src(4, 4, M);
    std::vector<VULong> px(16, M);
    for (int i = 0; i < 4; ++i) {
        px[std::size_t(1) * 4 + i] = Blue;
        px[std::size_t(i) * 4 + 1] = Blue;
    }
    src.bitmap.setPixels(px);
    Picture pic = src.bitmap.createPicture();
    Picture transparent(new Bitmap(src.bitmap), src.bitmap.createMask(false));
    Canvas c(120, 40, Green);
    {
        Painter p(&c.bitmap);
        p.drawPicture(0, 0, pic);          // plain: magenta shows
        p.drawPicture(10, 0, transparent); // masked: the background shows
        p.drawStretchedPicture(Rect(20, 0, 36, 16), transparent);
        p.drawStretchedBitmap(Rect(40, 0, 48, 8), &src.bitmap);
        p.drawPicture(60, 0, Painter::grayPicture(pic));
        p.drawPicture(70, 0, Painter::downPicture(pic));
    }
    EXPECT_EQ(M, c.at(0, 0));
    EXPECT_EQ(Blue, c.at(1, 0));
    EXPECT_EQ(Green, c.at(10, 0));
    EXPECT_EQ(Blue, c.at(11, 0));
    EXPECT_EQ(Blue, c.at(11, 3));
    EXPECT_EQ(Green, c.at(13, 3));
    // Stretched four times: the cross's bar is rows 4 to 7.
    EXPECT_EQ(Green, c.at(20, 0));
    EXPECT_EQ(0xFFu, c.at(20, 5) >> 16); // halftone: blended at the bar's edges
    EXPECT_EQ(Green, c.at(35, 15));
    // Stretched twice with the halftone mode: colours blend at the edges of the bar.
    EXPECT_EQ(0xFFu, c.at(47, 2) >> 16);
    EXPECT_EQ(Green, c.at(63, 3)); // the gray look keeps the background outside the shape
    c.save("bitmaps");
}

TEST(GdiClip, RegionsClipAndFollowTheOrigin)
{
    Canvas c(100, 60, White);
    {
        Painter p(&c.bitmap);
        p.setBrush(Color(255, 0, 0));
        p.setRegion(Region(10, 10, 20, 20));
        EXPECT_EQ(Rect(10, 10, 30, 30), p.getClipRect());
        p.fillRect(Rect(0, 0, 100, 60));
        // An elliptic clip, in the coordinates of a moved origin.
        p.setOrigin(-50, 0); // logical (0, 0) is device (50, 0)
        p.setRegion(Region(Rect(0, 10, 40, 50), RegionEllipse));
        p.fillRect(Rect(-50, 0, 100, 60), Brush(Color(0, 0, 255)));
        p.setRegion(Region());
        p.fillRect(Rect(-50, 55, 50, 60), Brush(Color(0, 255, 0)));
    }
    EXPECT_EQ(Rect(10, 10, 30, 30), c.extentOf(Red));
    Rect blue = c.extentOf(Blue);
    EXPECT_TRUE(Rect(50, 10, 90, 50).contains(blue));
    EXPECT_EQ(Blue, c.at(70, 30));
    EXPECT_EQ(White, c.at(51, 11)); // the ellipse's corner is out
    EXPECT_EQ(Rect(0, 55, 100, 60), c.extentOf(Green));
    c.save("clipping");
}

TEST(GdiClip, ScrollAndCopy)
{
    Canvas c(40, 40, White);
    {
        Painter p(&c.bitmap);
        p.fillRect(Rect(0, 10, 10, 20), Brush(Color(255, 0, 0)));
        p.copyRect(20, 0, 10, 10, 0, 10);
        p.scrollRect(Rect(0, 0, 20, 40), 0, 20);
    }
    EXPECT_EQ(Red, c.at(25, 5));
    EXPECT_EQ(Red, c.at(5, 35)); // moved down by 20
}

TEST(GdiText, SubstitutedFontDrawnAndMeasured)
{
    fs::path file = fs::temp_directory_path() / "vexapi-toolkit-fonts.sub";
    std::ofstream(file) << "Old Terminal Face, 10 <-> Tahoma, 14\n";
    ASSERT_TRUE(Font::setSubstitutionFile(file.wstring().c_str()));
    Font f(L"old terminal face", 20);
    Font::clearSubstitutions();
    fs::remove(file);
    EXPECT_EQ(std::wstring(L"Tahoma"), std::wstring(f.name().constData()));
    EXPECT_EQ(24, f.size());

    Canvas c(200, 60, White);
    Rect measured;
    {
        Painter p(&c.bitmap);
        p.setFont(f);
        p.setBackgroundMode(BackgroundTransparent);
        measured = p.getTextRect(10, 10, L"Hello, cells");
        p.drawText(10, 10, L"Hello, cells");
        EXPECT_GT(p.getMaxCharWidth(), 0);
        EXPECT_GT(p.averageGlyphWidth(), 0);
        EXPECT_FALSE(p.isFixedWidthFont());
    }
    EXPECT_GE(measured.height(), 24); // a character height of 24 and its leading
    EXPECT_LT(measured.height(), 40);
    EXPECT_GT(measured.width(), 12 * 5);
    Rect ink = c.extentOf(Black);
    EXPECT_FALSE(ink.isEmpty());
    EXPECT_TRUE(measured.contains(ink));
    int w = 0, h = 0;
    f.getTextExtent(L"Hello, cells", &w, &h);
    EXPECT_EQ(measured.size(), Size(w, h));
    // In a rectangle: centred, and single-line on the middle.
    {
        Painter p(&c.bitmap);
        p.setFont(f);
        p.setTextColor(Color(255, 0, 0));
        p.setBackColor(Color(255, 255, 0));
        p.drawText(Rect(0, 30, 200, 60), TextCenter | TextVCenter | TextSingleLine, L"mid");
    }
    Rect red = c.extentOf(Red);
    EXPECT_NEAR(100, (red.left + red.right) / 2, 4);
    c.save("text");
}

TEST(GdiDevices, NestedBeginKeepsTheContextOpen)
{
    Canvas c(20, 20, White);
    Painter outer(&c.bitmap);
    outer.setPen(Pen(Color(255, 0, 0)));
    void* context = c.bitmap.surface();
    {
        Painter inner(&c.bitmap);
        EXPECT_EQ(2, c.bitmap.useCount());
        EXPECT_EQ(context, c.bitmap.surface());
        inner.drawLine(0, 0, 5, 0);
    }
    EXPECT_EQ(1, c.bitmap.useCount());
    outer.drawLine(0, 5, 5, 5);
    outer.end();
    EXPECT_EQ(0, c.bitmap.useCount());
    EXPECT_EQ(Black, c.at(2, 0));
    EXPECT_EQ(Red, c.at(2, 5)); // the outer painter's pen came back
    EXPECT_EQ(0, c.bitmap.checkInvariants());
}

TEST(GdiDevices, DeviceInfo)
{
    EXPECT_GT(PaintDevice::deviceInfo(DeviceDpiY, nullptr), 0);
    Bitmap b(33, 17);
    // A memory context reports the screen's size, as the platform does.
    EXPECT_EQ(PaintDevice::deviceInfo(DeviceWidth, nullptr), PaintDevice::deviceInfo(DeviceWidth, &b));
    EXPECT_EQ(PaintDevice::deviceInfo(DeviceHeight, nullptr),
              PaintDevice::deviceInfo(DeviceHeight, &b));
    EXPECT_EQ(32, PaintDevice::deviceInfo(DeviceColorDepth, &b));
    EXPECT_EQ(0, b.useCount()); // opened for the question only
    // A font in points for a device.
    Font f(static_cast<PaintDevice*>(nullptr), L"Tahoma", 9);
    EXPECT_EQ((9 * PaintDevice::deviceInfo(DeviceDpiY, nullptr) + 36) / 72, f.size());
}

TEST(GdiSharing, LastReleaseDeletesTheHandles)
{
    HGDIOBJ pen;
    {
        Pen a(Color(1, 2, 3));
        pen = a.handle();
        Pen b = a;
        {
            Pen c = b;
        }
        EXPECT_EQ(OBJ_PEN, DWORD(GetObjectType(pen)));
    }
    EXPECT_EQ(0u, DWORD(GetObjectType(pen)));

    Bitmap* bitmap = new Bitmap(4, 4);
    Bitmap* mask = bitmap->createMask(false);
    HGDIOBJ bitmapHandle = bitmap->getHandle(), maskHandle = mask->getHandle();
    Picture one(bitmap, mask);
    Picture two = one, three = one;
    one.clear();
    two.clear();
    Canvas c(8, 8, Green);
    {
        Painter p(&c.bitmap);
        p.drawPicture(0, 0, three); // still whole
    }
    EXPECT_EQ(OBJ_BITMAP, DWORD(GetObjectType(bitmapHandle)));
    three.clear();
    EXPECT_EQ(0u, DWORD(GetObjectType(bitmapHandle)));
    EXPECT_EQ(0u, DWORD(GetObjectType(maskHandle)));
    // The stock font is never deleted.
    HGDIOBJ stock = Font().handle();
    EXPECT_EQ(OBJ_FONT, DWORD(GetObjectType(stock)));
}

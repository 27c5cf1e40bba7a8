// The drawing value classes: shared handles, fonts and their substitution file, regions and
// the line regions, bitmaps in file forms, pictures and their sharing.
#include <vexapi/toolkit/painter.h>

#include <vexapi/app/mainentry.h>
#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

using namespace XMLUtils;
namespace fs = std::filesystem;

namespace {

class TempDir : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir = fs::temp_directory_path() /
              ("vexapi-toolkit-" +
               std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
        fs::create_directories(dir);
    }
    void TearDown() override
    {
        Font::clearSubstitutions();
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
    WString write(const char* name, const std::string& text)
    {
        std::ofstream(dir / name, std::ios::binary) << text;
        return (dir / name).string<WChar>();
    }
    fs::path dir;
};

std::string utf8(const WCharString& s) { return utf8FromWide(s.constData()); }

} // namespace

TEST(SharedHandles, CopiesCountAndTheLastReleases)
{
    Pen pen(Color(1, 2, 3), PenDot, 2);
    ASSERT_NE(nullptr, pen.handle());
    EXPECT_EQ(1, pen.useCount());
    {
        Pen copy = pen;
        Pen third(copy);
        EXPECT_EQ(3, pen.useCount());
        EXPECT_EQ(pen.handle(), third.handle());
    }
    EXPECT_EQ(1, pen.useCount());
    Brush brush(Color(4, 5, 6));
    Brush other = brush;
    other = Brush(Color(7, 7, 7));
    EXPECT_EQ(1, brush.useCount());
    EXPECT_EQ(PenSolid, Pen(Color(), PenStyle(42)).style());
}

TEST(SharedHandles, BrushKinds)
{
    EXPECT_TRUE(Brush().isNull());
    EXPECT_TRUE(Brush(Color(), HatchNone).isNull());
    Brush hatched(Color(255, 0, 0), HatchCross);
    EXPECT_FALSE(hatched.isNull());
    EXPECT_EQ(BrushHatched, hatched.kind());
    EXPECT_EQ(HatchCross, hatched.hatchStyle());
    EXPECT_FALSE(Brush(Color(1, 1, 1)).isNull());
    Bitmap pattern(8, 8);
    Brush patterned(&pattern);
    EXPECT_EQ(BrushPattern, patterned.kind());
    EXPECT_FALSE(patterned.isNull());
    EXPECT_TRUE(Brush(static_cast<const Bitmap*>(nullptr)).isNull());
}

TEST(FontValues, ReadBackFromThePlatformFont)
{
    Font f(WSTR("Courier New"), 17, true, true, false, true);
    EXPECT_EQ("Courier New", utf8(f.name()));
    EXPECT_EQ(17, f.size());
    EXPECT_TRUE(f.bold());
    EXPECT_TRUE(f.italic());
    EXPECT_FALSE(f.underline());
    EXPECT_TRUE(f.strikeout());
    EXPECT_TRUE(f.owned());
    Font copy = f;
    EXPECT_EQ(2, f.useCount());
    WChar small[5];
    EXPECT_EQ(4, f.name(small, 5));
    EXPECT_EQ("Cour", utf8FromWide(small));
    EXPECT_FALSE(Font().owned()); // the stock font
    // The face name is cut to what the platform holds.
    Font longName(WSTR("An extraordinarily long face name beyond thirty-two"), 12);
    EXPECT_EQ(31, int(longName.name().length()));
}

TEST(FontValues, XmlRoundTrip)
{
    Font f(WSTR("Arial"), 15, false, true, true, false);
    XMLElementA e("F");
    f.serialize(e, XMLEncodingUTF8);
    EXPECT_EQ(std::string("Arial"), e.getElement("Name").value());
    EXPECT_EQ(15, e.getInt("Size"));
    EXPECT_EQ(1, e.getInt("Underline"));
    Font back;
    back.deserialize(e, XMLEncodingUTF8);
    EXPECT_EQ("Arial", utf8(back.name()));
    EXPECT_EQ(15, back.size());
    EXPECT_TRUE(back.italic());
    EXPECT_TRUE(back.underline());
    EXPECT_FALSE(back.bold());
}

TEST_F(TempDir, FontSubstitutionFile)
{
    WString path = write("fonts.sub", "# fonts of the old machines\n"
                                      "Arial, 10 <-> Tahoma, 12\n"
                                      "Helv 10 Tahoma 12\n"
                                      "  MS Sans Serif, 8 <-> Verdana, 7\n" +
                                      std::string(1024, ' ') + "Courier, 1 <-> Arial, 2\n");
    ASSERT_TRUE(Font::setSubstitutionFile(path.c_str()));
    Font a(WSTR("arial"), 14);
    EXPECT_EQ("Tahoma", utf8(a.name()));
    EXPECT_EQ(16, a.size());
    Font s(WSTR("MS SANS SERIF"), 10);
    EXPECT_EQ("Verdana", utf8(s.name()));
    EXPECT_EQ(9, s.size());
    Font h(WSTR("Helv"), 10); // its line has no arrow: skipped
    EXPECT_EQ("Helv", utf8(h.name()));
    Font c(WSTR("Courier"), 11); // listed only past the end of an overlong line
    EXPECT_EQ("Courier", utf8(c.name()));
    // Read back from XML, a font goes through substitution again.
    XMLElementA e("F");
    Font(WSTR("Times"), 9).serialize(e, XMLEncodingUTF8);
    e.getElement("Name").setValue("ARIAL");
    Font back;
    back.deserialize(e, XMLEncodingUTF8);
    EXPECT_EQ("Tahoma", utf8(back.name()));
    EXPECT_EQ(11, back.size());
    // A missing file keeps the table.
    EXPECT_FALSE(Font::setSubstitutionFile((dir / "none.sub").string<WChar>().c_str()));
    EXPECT_EQ("Tahoma", utf8(Font(WSTR("Arial"), 10).name()));
    EXPECT_FALSE(Font::setSubstitutionFile(nullptr));
}

TEST(Regions, ShapesAndCombinations)
{
    Region r(10, 10, 20, 10);
    EXPECT_FALSE(r.isNull());
    EXPECT_EQ(Rect(10, 10, 30, 20), r.boundingRect());
    EXPECT_TRUE(r.contains(Point(10, 10)));
    EXPECT_TRUE(r.contains(Point(29, 19)));
    EXPECT_FALSE(r.contains(Point(30, 19)));
    Region other(Rect(20, 0, 40, 15));
    EXPECT_EQ(Rect(10, 0, 40, 20), r.unite(other).boundingRect());
    EXPECT_EQ(Rect(20, 10, 30, 15), r.intersect(other).boundingRect());
    Region cut = r.subtract(other);
    EXPECT_TRUE(cut.contains(Point(15, 12)));
    EXPECT_FALSE(cut.contains(Point(25, 12)));
    EXPECT_TRUE(cut.contains(Point(25, 17)));
    Region x = r.eor(other);
    EXPECT_FALSE(x.contains(Point(25, 12)));
    EXPECT_TRUE(x.contains(Point(35, 5)));
    EXPECT_TRUE(r.intersect(Region(100, 100, 5, 5)).isEmpty());
    EXPECT_TRUE(Region().isNull());
    EXPECT_TRUE(Region().isEmpty());
    EXPECT_FALSE(Region().contains(Point()));
    EXPECT_EQ(Rect(10, 10, 30, 20), r.unite(Region()).boundingRect());
}

TEST(Regions, EllipseAndPolygon)
{
    Region e(Rect(0, 0, 20, 10), RegionEllipse);
    EXPECT_TRUE(e.contains(Point(10, 5)));
    EXPECT_FALSE(e.contains(Point(0, 0)));
    EXPECT_FALSE(e.contains(Point(19, 0)));
    const Point tri[] = {{0, 0}, {20, 0}, {0, 20}};
    Region t(tri, 3);
    EXPECT_TRUE(t.contains(Point(2, 2)));
    EXPECT_FALSE(t.contains(Point(15, 15)));
    EXPECT_TRUE(Region(tri, 2).isNull());
    // A self-crossing star: its centre is in under the winding rule only.
    const Point star[] = {{10, 0}, {16, 20}, {0, 7}, {20, 7}, {4, 20}};
    EXPECT_FALSE(Region(star, 5, false).contains(Point(10, 11)));
    EXPECT_TRUE(Region(star, 5, true).contains(Point(10, 11)));
}

TEST(Regions, OffsetMovesOnlyItsOwnCopy)
{
    Region a(0, 0, 10, 10);
    Region b = a;
    EXPECT_EQ(2, a.useCount());
    b.offset(5, 5);
    EXPECT_EQ(Rect(0, 0, 10, 10), a.boundingRect());
    EXPECT_EQ(Rect(5, 5, 15, 15), b.boundingRect());
}

TEST(Regions, PolylineRegion)
{
    const Point one[] = {{50, 50}};
    EXPECT_TRUE(Painter::CreatePolylineRegion(one, 0, 3).isNull());
    EXPECT_TRUE(Painter::CreatePolylineRegion(one, 1, 0).isNull());
    // One point of width 3: one circle of diameter 4 around it.
    Region dot = Painter::CreatePolylineRegion(one, 1, 3);
    // (GDI's elliptic regions leave out their last row and column; the plain one keeps them.)
    Rect box = dot.boundingRect();
    EXPECT_TRUE(Rect(49, 49, 53, 53).contains(box));
    EXPECT_GE(box.width(), 3);
    EXPECT_TRUE(dot.contains(Point(50, 50)));
    EXPECT_TRUE(dot.contains(Point(49, 50)));
    // Width 1: no circle, and nothing else: the empty rectangle region.
    Region thin = Painter::CreatePolylineRegion(one, 1, 1);
    EXPECT_FALSE(thin.isNull());
    EXPECT_TRUE(thin.isEmpty());
    // Two equal points add no band.
    const Point same[] = {{50, 50}, {50, 50}};
    EXPECT_EQ(dot.boundingRect(), Painter::CreatePolylineRegion(same, 2, 3).boundingRect());
    // A horizontal line of width 3 covers its row and the ones beside it, not far off.
    const Point line[] = {{0, 20}, {100, 20}};
    Region band = Painter::CreatePolylineRegion(line, 2, 3);
    EXPECT_TRUE(band.contains(Point(50, 20)));
    EXPECT_TRUE(band.contains(Point(50, 21)));
    EXPECT_FALSE(band.contains(Point(50, 25)));
    // A thick diagonal line takes the rotated rectangle.
    const Point diagonal[] = {{0, 0}, {60, 60}};
    Region thick = Painter::CreatePolylineRegion(diagonal, 2, 8);
    EXPECT_TRUE(thick.contains(Point(30, 30)));
    EXPECT_TRUE(thick.contains(Point(32, 29)));
    EXPECT_FALSE(thick.contains(Point(40, 20)));
    EXPECT_TRUE(thick.contains(Point(60, 60))); // the end's circle
}

TEST(Regions, LineBands)
{
    Region frame = Painter::CreateRectangleLineRegion(Rect(10, 10, 50, 50), 4);
    EXPECT_TRUE(frame.contains(Point(10, 30)));
    EXPECT_TRUE(frame.contains(Point(8, 30)));
    EXPECT_FALSE(frame.contains(Point(30, 30)));
    Region ring = Painter::CreateEllipticLineRegion(Rect(0, 0, 40, 40), 4);
    EXPECT_TRUE(ring.contains(Point(20, 1)));
    EXPECT_FALSE(ring.contains(Point(20, 20)));
}

TEST(Bitmaps, PixelsAndTheFileForms)
{
    Bitmap b(3, 2);
    ASSERT_TRUE(b.isValidBitmap());
    EXPECT_EQ(0, b.checkInvariants());
    std::vector<VULong> px = {0x0000FF, 0x00FF00, 0xFF0000, 0xFFFFFF, 0x000000, 0x123456};
    ASSERT_TRUE(b.setPixels(px));
    EXPECT_EQ(0x00FF00u, b.pixel(1, 0));
    EXPECT_EQ(0u, b.pixel(3, 0));
    std::vector<unsigned char> file;
    ASSERT_TRUE(b.Save(file));
    EXPECT_EQ(b.getSize(), file.size());
    Bitmap back;
    ASSERT_TRUE(back.create(file.data(), file.size()));
    std::vector<VULong> read;
    ASSERT_TRUE(back.pixels(read));
    EXPECT_EQ(px, read);
    EXPECT_EQ(file.size(), back.getSize()); // the packed form plus the file header
    // Without the file header, and cut short.
    Bitmap packed;
    EXPECT_TRUE(packed.construct(file.data() + 14, file.size() - 14));
    EXPECT_FALSE(packed.create(file.data(), file.size() - 5));
    EXPECT_FALSE(packed.isValidBitmap());
    EXPECT_FALSE(Bitmap().create(0, 5));
}

TEST(Bitmaps, MaskOfTheBottomLeftColour)
{
    Bitmap b(2, 2);
    b.setPixels({0x00FF00, 0x0000FF, 0x00FF00, 0x123456});
    Bitmap* mask = b.createMask(false);
    ASSERT_NE(nullptr, mask);
    EXPECT_EQ(1, mask->getColorDepth());
    std::vector<VULong> m;
    mask->pixels(m);
    EXPECT_EQ((std::vector<VULong>{0, 0xFFFFFF, 0, 0xFFFFFF}), m);
    b.setMask(mask);
    Bitmap copy = b; // copies share the handles and own their masks
    EXPECT_NE(nullptr, copy.getMask());
    EXPECT_NE(mask, copy.getMask());
    EXPECT_EQ(mask->getHandle(), copy.getMask()->getHandle());
}

TEST(Pictures, SharingAndRelease)
{
    Bitmap* bitmap = new Bitmap(4, 4);
    Bitmap* mask = new Bitmap(4, 4, 1);
    bitmap->setMask(mask); // the bitmap carries the mask too
    Picture a(bitmap, mask);
    Picture b = a, c = a;
    EXPECT_EQ(3, a.useCount());
    a.clear();
    b.clear();
    EXPECT_TRUE(a.empty());
    EXPECT_FALSE(c.empty());
    EXPECT_EQ(1, c.useCount());
    EXPECT_EQ(bitmap, c.bitmap());
    EXPECT_EQ(4, c.width());
    c.clear(); // frees both bitmaps once (AddressSanitizer checks it)
    EXPECT_TRUE(c.empty());
    EXPECT_TRUE(Picture(nullptr, new Bitmap(2, 2)).empty());
}

TEST_F(TempDir, PicturesFromFilesAndPng)
{
    Bitmap b(5, 4);
    std::vector<VULong> px(20, 0x00FFFF);
    px[0] = 0x112233;
    b.setPixels(px);
    Picture p = b.createPicture();
    std::vector<unsigned char> png;
    ASSERT_TRUE(p.savePNG(png));
    Picture q;
    ASSERT_TRUE(q.create(png.data(), png.size()));
    std::vector<VULong> read;
    q.bitmap()->pixels(read);
    EXPECT_EQ(px, read);
    std::vector<unsigned char> bmp;
    ASSERT_TRUE(p.saveBMP(bmp));
    WString path = write("p.bmp", std::string(bmp.begin(), bmp.end()));
    Picture t;
    ASSERT_TRUE(t.createTransparent(path.c_str()));
    ASSERT_NE(nullptr, t.mask());
    EXPECT_EQ(0u, t.mask()->pixel(0, 3));      // the bottom left colour: transparent
    EXPECT_EQ(0xFFFFFFu, t.mask()->pixel(0, 0)); // another colour: drawn
    EXPECT_FALSE(Picture().savePNG(png));
    EXPECT_FALSE(q.create(path.c_str() + 1)); // no such file
    EXPECT_TRUE(q.empty());
}

TEST(Pictures, ToolbarLooks)
{
    Bitmap b(4, 4);
    std::vector<VULong> px(16, 0xFF00FF); // transparent magenta
    px[5] = 0x000000;                      // one dark pixel at (1, 1)
    b.setPixels(px);
    Picture gray = Painter::grayPicture(b.createPicture());
    ASSERT_FALSE(gray.empty());
    ASSERT_NE(nullptr, gray.mask());
    EXPECT_EQ(Color::getSysColor(SysColorButtonShadow), gray.bitmap()->pixel(1, 1));
    EXPECT_EQ(Color::getSysColor(SysColorButtonHighlight), gray.bitmap()->pixel(2, 2));
    EXPECT_EQ(0xFFFFFFu, gray.mask()->pixel(1, 1));
    EXPECT_EQ(0u, gray.mask()->pixel(3, 0));
    Picture down = Painter::downPicture(b.createPicture());
    EXPECT_EQ(0u, down.bitmap()->pixel(1, 1));
    EXPECT_NE(down.bitmap()->pixel(0, 0), down.bitmap()->pixel(1, 0)); // the checker
    EXPECT_TRUE(Painter::grayPicture(Picture()).empty());
}

TEST(Pictures, JpegRoundTripIsClose)
{
    Bitmap b(16, 8);
    std::vector<VULong> px(128, 0x3080C0);
    b.setPixels(px);
    std::vector<unsigned char> jpeg;
    ASSERT_TRUE(b.createPicture().saveJPEG(jpeg, 95));
    Picture back;
    ASSERT_TRUE(back.create(jpeg.data(), jpeg.size()));
    EXPECT_EQ(16, back.width());
    VULong c = back.bitmap()->pixel(8, 4);
    EXPECT_NEAR(0xC0, int(c & 0xFF), 3);
    EXPECT_NEAR(0x80, int((c >> 8) & 0xFF), 3);
    EXPECT_NEAR(0x30, int((c >> 16) & 0xFF), 3);
    jpeg.resize(jpeg.size() / 2); // cut short: refused, not a crash
    jpeg[3] = 0x00;
    Picture bad;
    bad.create(jpeg.data(), jpeg.size());
    EXPECT_FALSE(Picture().saveJPEG(jpeg));
}

TEST(Pictures, SavedBlocksStayUntilFreed)
{
    Bitmap b(3, 3);
    Picture p = b.createPicture();
    int size = -1;
    const unsigned char* bmp = p.saveBMP(&size);
    ASSERT_NE(nullptr, bmp);
    EXPECT_EQ(int(b.getSize()), size);
    EXPECT_EQ('B', bmp[0]);
    const unsigned char* png = p.savePNG(&size);
    ASSERT_NE(nullptr, png);
    EXPECT_EQ(0x89, png[0]);
    p.freeSaved();
    Picture none;
    EXPECT_EQ(nullptr, none.saveJPEG(&size));
    EXPECT_EQ(0, size);
}

TEST(Entry, FontSubstitutionHookInstalled)
{
    EXPECT_NE(nullptr, EntryHooks::setFontSubstitutionFile);
}

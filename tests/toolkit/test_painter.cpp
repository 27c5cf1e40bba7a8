// The Painter's logic through a RecordingDev: state applied at begin and at once by the
// setters, nesting, the primitives' platform calls and arguments, clipping and origins.
#include <vexapi/toolkit/painter.h>
#include <vexapi/toolkit/recordingdev.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

std::vector<std::string> ops(const RecordingDev& dev)
{
    std::vector<std::string> out;
    for (const PaintRecord& r : dev.records())
        out.push_back(r.op);
    return out;
}

const PaintRecord& last(const RecordingDev& dev) { return dev.records().back(); }

} // namespace

TEST(PainterState, BeginAppliesTheWholeStateInOrder)
{
    RecordingDev dev;
    Painter p;
    p.setPen(Pen(Color(255, 0, 0), PenDash, 3)); // before begin: stored only
    p.setRasterOp(RopXorPen);
    p.setBackgroundMode(BackgroundTransparent);
    EXPECT_TRUE(dev.records().empty());
    ASSERT_TRUE(p.begin(&dev));
    EXPECT_EQ((std::vector<std::string>{"selectFont", "selectPen", "setBrushOrigin",
                                        "selectBrush", "setTextColor", "setBackColor",
                                        "setDrawMode", "setBackgroundMode"}),
              ops(dev));
    p.drawLine(0, 0, 10, 0);
    const PaintState& s = last(dev).state;
    EXPECT_EQ(0x0000FFu, s.penColor);
    EXPECT_EQ(PenDash, s.penStyle);
    EXPECT_EQ(3, s.penWidth);
    EXPECT_EQ(7, s.drawMode); // xor pen
    EXPECT_EQ(1, s.backgroundMode);
}

TEST(PainterState, SettersApplyAtOnceAndPrimitivesSelectNothing)
{
    RecordingDev dev;
    Painter p(&dev);
    dev.clearRecords();
    p.setPen(Pen(Color(0, 0, 255)));
    p.setTextColor(Color(1, 2, 3));
    for (int i = 0; i < 5; ++i) {
        p.drawLine(i, 0, i, 10);
        p.fillRect(i, 0, 1, 1);
    }
    std::vector<std::string> o = ops(dev);
    EXPECT_EQ(1, std::count(o.begin(), o.end(), "selectPen"));
    EXPECT_EQ(1, std::count(o.begin(), o.end(), "setTextColor"));
    EXPECT_EQ(0, std::count(o.begin(), o.end(), "selectFont"));
    EXPECT_EQ(5, std::count(o.begin(), o.end(), "lineTo"));
}

TEST(PainterState, StateOutlivesEndAndEndReleasesThePen)
{
    RecordingDev dev;
    Painter p(&dev);
    Pen pen(Color(9, 9, 9), PenDot, 1);
    p.setPen(pen);
    p.end();
    EXPECT_FALSE(p.IsActive());
    EXPECT_EQ("releasePen", last(dev).op);
    EXPECT_EQ(pen, p.getPen());
    EXPECT_EQ(0, dev.useCount());
    dev.clearRecords();
    ASSERT_TRUE(p.begin(&dev));
    EXPECT_EQ(0x090909u, dev.recordsOf("selectPen").at(0).args.at(0));
}

TEST(PainterState, InactivePainterDrawsNothing)
{
    RecordingDev dev;
    Painter p;
    p.drawLine(0, 0, 5, 5);
    p.fillRect(0, 0, 5, 5);
    p.drawText(0, 0, WSTR("x"));
    EXPECT_EQ(Rect(3, 4, 3, 4), p.getTextRect(3, 4, WSTR("abc")));
    EXPECT_FALSE(p.begin(nullptr));
    EXPECT_TRUE(dev.records().empty());
}

TEST(PainterState, BeginOnASecondDeviceClosesTheFirst)
{
    RecordingDev a, b;
    Painter p(&a);
    ASSERT_TRUE(p.begin(&b));
    EXPECT_EQ(0, a.useCount());
    EXPECT_EQ(1, b.useCount());
    EXPECT_EQ(&b, p.paintDevice());
}

TEST(PainterState, NestedBeginOpensOnceAndGivesTheOuterStateBack)
{
    RecordingDev dev;
    Painter outer(&dev);
    outer.setPen(Pen(Color(255, 0, 0)));
    {
        Painter inner(&dev);
        EXPECT_EQ(2, dev.useCount());
        EXPECT_EQ(1, dev.openCount());
        inner.setPen(Pen(Color(0, 255, 0)));
        inner.drawLine(0, 0, 1, 1);
        EXPECT_EQ(0x00FF00u, last(dev).state.penColor);
    }
    EXPECT_EQ(1, dev.useCount());
    EXPECT_TRUE(dev.isActive());
    outer.drawLine(0, 0, 1, 1);
    EXPECT_EQ(0x0000FFu, last(dev).state.penColor);
    EXPECT_FALSE(last(dev).state.penReleased);
    EXPECT_EQ(0, dev.checkInvariants());
}

TEST(PainterPrimitives, RectanglesAndFills)
{
    RecordingDev dev;
    Painter p(&dev);
    p.setBrush(Color(0, 0, 255));
    dev.clearRecords();
    p.drawRect(10, 20, 5, 5);
    // The outline only: the null brush around the rectangle, whose right is left + width.
    std::vector<std::string> o = ops(dev);
    ASSERT_GE(o.size(), 3u);
    EXPECT_EQ("selectNullBrush", o[0]);
    EXPECT_EQ("rectangle", o[1]);
    EXPECT_EQ((std::vector<int>{10, 20, 15, 25}), dev.recordsOf("rectangle")[0].args);
    EXPECT_TRUE(dev.recordsOf("rectangle")[0].state.brushNull);
    EXPECT_EQ("selectBrush", o.back()); // the painter's brush is back
    p.drawLine(0, 0, 1, 1);
    EXPECT_FALSE(last(dev).state.brushNull);

    p.fillRect(Rect(1, 2, 3, 4));
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 0xFF0000}), last(dev).args);
    dev.clearRecords();
    p.setBrush(Brush());
    p.fillRect(0, 0, 10, 10);
    EXPECT_TRUE(dev.recordsOf("fillRect").empty());
}

TEST(PainterPrimitives, EdgeFlags)
{
    struct Case {
        EdgeType outer, inner;
        bool l, t, r, b;
        int edge, sides;
    } cases[] = {
        {EdgeRaised, EdgeRaised, true, true, true, true, 4 | 1, 15},
        {EdgeSunken, EdgeSunken, true, false, false, false, 8 | 2, 1},
        {EdgeNone, EdgeSunken, false, true, false, true, 2, 10},
        {EdgeRaised, EdgeNone, false, false, true, false, 4, 4},
    };
    RecordingDev dev;
    Painter p(&dev);
    for (const Case& c : cases) {
        p.drawEdge(Rect(0, 0, 8, 8), c.outer, c.inner, c.l, c.t, c.r, c.b);
        EXPECT_EQ((std::vector<int>{0, 0, 8, 8, c.edge, c.sides}), last(dev).args);
    }
}

TEST(PainterPrimitives, TextFlagsMapToThePlatform)
{
    struct Case {
        int flags, platform;
    } cases[] = {
        {0, 0x800},
        {TextPrefix, 0},
        {TextNoClip | TextPrefix, 0x100},
        {TextBottom | TextSingleLine, 0x800 | 0x8 | 0x20},
        {TextCenter | TextVCenter, 0x800 | 0x1 | 0x4},
        {TextRight | TextWordBreak, 0x800 | 0x2 | 0x10},
    };
    RecordingDev dev;
    Painter p(&dev);
    for (const Case& c : cases) {
        p.drawText(Rect(0, 0, 50, 20), c.flags, WSTR("hello"));
        EXPECT_EQ(c.platform, last(dev).args.at(4)) << c.flags;
        EXPECT_EQ(WCharString(WSTR("hello")), last(dev).text);
    }
    dev.clearRecords();
    p.drawText(Rect(0, 0, 5, 5), 0, nullptr);
    EXPECT_TRUE(dev.records().empty());
    p.drawText(Rect(0, 0, 50, 20), 0, WSTR("hello"), 2);
    EXPECT_EQ(WCharString(WSTR("he")), last(dev).text);
}

TEST(PainterPrimitives, TextMeasures)
{
    RecordingDev dev;
    Painter p(&dev);
    p.setFont(Font(WSTR("Courier"), 20));
    EXPECT_EQ(Rect(5, 6, 5 + 3 * 10, 6 + 20), p.getTextRect(5, 6, WSTR("abc")));
    EXPECT_EQ(Rect(5, 6, 5 + 1 * 10, 26), p.getTextRect(5, 6, WSTR("abc"), 1));
    EXPECT_TRUE(p.isFixedWidthFont());
    EXPECT_EQ(10, p.averageGlyphWidth());
    EXPECT_EQ(20 * 96 / 72, p.getCharHeight());
}

TEST(PainterPrimitives, ShapesPassTheirArguments)
{
    RecordingDev dev;
    Painter p(&dev);
    dev.clearRecords();
    const Point pts[] = {{1, 2}, {3, 4}, {5, 6}};
    p.drawPolyline(pts, 3);
    p.drawPolygon(pts, 3);
    p.drawEllipse(10, 10, 20, 30);
    p.drawRoundRect(0, 0, 10, 10, 4, 4);
    p.setDrawPos(7, 8);
    p.drawLineTo(9, 9);
    p.setPixels(pts, 2, Color(255, 255, 255));
    p.drawFocusRect(Rect(1, 1, 5, 5));
    p.scrollRect(Rect(0, 0, 100, 50), 0, -10);
    p.copyRect(0, 0, 5, 5, 10, 10);
    std::vector<PaintRecord> r = dev.records();
    ASSERT_EQ(11u, r.size());
    EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5, 6}), r[0].args);
    EXPECT_EQ("polygon", r[1].op);
    EXPECT_EQ((std::vector<int>{10, 10, 30, 40}), r[2].args);
    EXPECT_EQ((std::vector<int>{0, 0, 10, 10, 4, 4}), r[3].args);
    EXPECT_EQ("moveTo", r[4].op);
    EXPECT_EQ((std::vector<int>{9, 9}), r[5].args);
    EXPECT_EQ(Point(9, 9), p.getDrawPos());
    EXPECT_EQ((std::vector<int>{3, 4, 0xFFFFFF}), r[7].args);
    EXPECT_EQ("focusRect", r[8].op);
    EXPECT_EQ((std::vector<int>{0, -10, 0, 0, 100, 50, 0, 0, 100, 50}), r[9].args);
    EXPECT_EQ((std::vector<int>{0, 0, 5, 5, 10, 10, 0xCC0020, 1}), r[10].args);
}

TEST(PainterPrimitives, RasterOpsMapToDrawModes)
{
    const int modes[] = {13, 9, 5, 15, 14, 11, 6, 4, 8, 10, 7};
    RecordingDev dev;
    Painter p(&dev);
    for (int op = 0; op <= 10; ++op) {
        p.setRasterOp(RasterOp(op));
        EXPECT_EQ(modes[op], last(dev).args.at(0));
        EXPECT_EQ(RasterOp(op), p.getRasterOp());
    }
}

TEST(PainterClip, OriginMovesDrawingAndClip)
{
    RecordingDev dev(200, 100);
    Painter p(&dev);
    p.setRegion(Region(10, 10, 50, 20));
    EXPECT_EQ(Rect(10, 10, 60, 30), last(dev).state.clip);
    p.setOrigin(100, 5);
    EXPECT_EQ(Point(100, 5), p.getOrigin());
    EXPECT_EQ(Point(-100, -5), last(dev).state.origin);
    // The same pixels, seen from the new origin.
    EXPECT_EQ(Rect(110, 15, 160, 35), p.getClipRect());
    EXPECT_EQ(Rect(110, 15, 160, 35), p.getClipRegion().boundingRect());
    // A region given now is in the caller's coordinates: it lands at device (0,0)-(10,10).
    Region r(100, 5, 10, 10);
    p.setRegion(r);
    EXPECT_EQ((std::vector<int>{0, 0, 10, 10}), last(dev).args);
    EXPECT_EQ(Rect(100, 5, 110, 15), r.boundingRect()); // the caller's region is untouched
    p.setRegion(Region());
    EXPECT_FALSE(last(dev).state.clipped);
}

TEST(PainterClip, BrushOriginFollowsTheViewport)
{
    RecordingDev dev;
    Painter p(&dev);
    p.setOrigin(30, 40);
    p.setBrush(Color(1, 1, 1));
    std::vector<PaintRecord> org = dev.recordsOf("setBrushOrigin");
    EXPECT_EQ((std::vector<int>{-30, -40}), org.back().args);
}

TEST(PainterBitmaps, NothingForNullOrInvalidBitmaps)
{
    RecordingDev dev;
    Painter p(&dev);
    dev.clearRecords();
    Bitmap empty;
    p.drawBitmap(0, 0, nullptr);
    p.drawBitmap(0, 0, &empty);
    p.drawPicture(0, 0, Picture());
    EXPECT_TRUE(dev.records().empty());
}

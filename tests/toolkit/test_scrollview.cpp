// The portable rules of scroll views: which bars a content size needs, the params given to
// the bars, and how the position is kept inside the content.
#include "testvisual.h"

#include <vexapi/toolkit/scrollview.h>
#include <vexapi/toolkit/systemmetrics.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A scroll view whose visible client is its rectangle and whose bars take the system's
// sizes from it, as a window's do; records every content move.
class FakeScrollView : public PlainVisual<ScrollView> {
public:
    FakeScrollView(int w, int h) { move(0, 0, w, h); }
    int visibleClientWidth() override { return width(); }
    int visibleClientHeight() override { return height(); }
    int pureClientWidth() override { return width() - (m_showV ? SystemMetrics::getScrollWidth() : 0); }
    int pureClientHeight() override { return height() - (m_showH ? SystemMetrics::getScrollHeight() : 0); }
    void scrollContent(int dx, int dy) override { moves.push_back(Point(dx, dy)); }
    bool onScroll() override { ++scrolled; return true; }
    std::string bars()
    {
        bool h, v;
        getShowScrollers(&h, &v);
        return std::string(h ? "h" : "-") + (v ? "v" : "-");
    }
    std::vector<Point> moves;
    int scrolled = 0;
};

TEST(ScrollViewBars, NeededBarsFollowTheContentSize)
{
    const int bw = SystemMetrics::getScrollWidth(), bh = SystemMetrics::getScrollHeight();
    ASSERT_GT(bw, 0);
    ASSERT_GT(bh, 0);
    struct Case { int cw, ch; const char* bars; } cases[] = {
        {200, 100, "--"},                // the content fits exactly
        {0, 0, "--"},
        {201, 100 - bh, "h-"},           // one pixel too wide: the bar fits below
        {201, 100 - bh + 1, "hv"},       // ... and its height pushes the other bar in
        {200 - bw, 101, "-v"},           // one pixel too high
        {200 - bw + 1, 101, "hv"},       // ... and the vertical bar's width brings the other
        {1000, 1000, "hv"},
    };
    for (const Case& c : cases) {
        FakeScrollView view(200, 100);
        ASSERT_TRUE(view.setClientArea(c.cw, c.ch));
        EXPECT_EQ(view.bars(), c.bars) << c.cw << "x" << c.ch;
        EXPECT_EQ(view.checkInvariants(), 0);
    }
}

TEST(ScrollViewBars, ParamsTakeTheContentAndThePageAndKeepTheSteps)
{
    FakeScrollView view(200, 100);
    ScrollParams h, v;
    view.getScrollParams(&h, &v);
    h.lineStep = 7;
    v.pageStep = 40;
    view.setScrollParams(&h, &v);
    ASSERT_TRUE(view.setClientArea(500, 300));
    view.getScrollParams(&h, &v);
    EXPECT_EQ(h.minPos, 0);
    EXPECT_EQ(h.maxPos, 500);
    EXPECT_EQ(h.page, view.pureClientWidth());
    EXPECT_EQ(h.lineStep, 7);
    EXPECT_EQ(v.maxPos, 300);
    EXPECT_EQ(v.page, view.pureClientHeight());
    EXPECT_EQ(v.pageStep, 40);
    // An empty direction keeps what its bar had.
    ASSERT_TRUE(view.setClientArea(0, 300));
    view.getScrollParams(&h, &v);
    EXPECT_EQ(h.maxPos, 500);
    EXPECT_EQ(v.maxPos, 300);
}

TEST(ScrollViewPosition, ScrollToClampsAndMovesTheContentByTheDifference)
{
    FakeScrollView view(200, 100);
    ASSERT_TRUE(view.setClientArea(1000, 500));
    const int maxX = 1000 - view.pureClientWidth(), maxY = 500 - view.pureClientHeight();
    view.moves.clear();
    view.scrollTo(30, 20);
    view.scrollTo(5000, 5000);
    view.scrollTo(-10, 40);
    ASSERT_EQ(view.moves.size(), 3u);
    EXPECT_EQ(view.moves[0], Point(-30, -20));
    EXPECT_EQ(view.moves[1], Point(30 - maxX, 20 - maxY));
    EXPECT_EQ(view.moves[2], Point(maxX, maxY - 40));
    EXPECT_EQ(view.scrollPosition(), Point(0, 40));
    ScrollParams h, v;
    view.getScrollParams(&h, &v);
    EXPECT_EQ(v.pos, 40); // the bar's thumb follows
    EXPECT_EQ(view.scrolled, 0);
    view.doScroll(10, 10);
    EXPECT_EQ(view.scrolled, 1);
    EXPECT_EQ(view.scrollPosition(), Point(10, 10));
}

TEST(ScrollViewPosition, AResizeKeepsThePositionOnePixelShortOfTheEnd)
{
    FakeScrollView view(200, 100);
    ASSERT_TRUE(view.setClientArea(1000, 500));
    view.scrollTo(5000, 5000);
    const Point end = view.scrollPosition();
    view.moves.clear();
    // A resize to the same size decides again and takes the last pixel back.
    view.onVisClientSize();
    ASSERT_EQ(view.moves.size(), 1u);
    EXPECT_EQ(view.moves[0], Point(1, 1));
    EXPECT_EQ(view.scrollPosition(), Point(end.x - 1, end.y - 1));
    // A content smaller than the view: back to the origin, no bars.
    ASSERT_TRUE(view.setClientArea(100, 50));
    EXPECT_EQ(view.scrollPosition(), Point(0, 0));
    EXPECT_EQ(view.bars(), "--");
    EXPECT_EQ(view.checkInvariants(), 0);
}

TEST(ScrollViewPosition, BadOrUnchangedClientAreasDoNothing)
{
    FakeScrollView view(200, 100);
    ASSERT_TRUE(view.setClientArea(1000, 500));
    view.scrollTo(50, 50);
    view.moves.clear();
    EXPECT_FALSE(view.setClientArea(-1, 10));
    EXPECT_FALSE(view.setClientArea(10, -1));
    EXPECT_TRUE(view.setClientArea(1000, 500));
    EXPECT_TRUE(view.moves.empty());
    EXPECT_EQ(view.clientWidth(), 1000);
    EXPECT_EQ(view.scrollPosition(), Point(50, 50));
}

} // namespace

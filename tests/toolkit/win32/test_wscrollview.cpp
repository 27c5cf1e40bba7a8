// Scroll views on real windows: native bars and their info, children and pixels moved by
// scrolling, bar and wheel messages, container paint devices; and window regions.
#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/platform/win32/wscrollview.h>
#include <vexapi/toolkit/painter.h>
#include <vexapi/toolkit/systemmetrics.h>
#include <vexapi/toolkit/windowdev.h>

#include "screenshot.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

void pump()
{
    MSG msg;
    for (int i = 0; i < 10000 && PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE); ++i) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

// Paints its content in content coordinates: white, with a red square at (300, 200).
class Sheet : public WScrollView {
public:
    bool doPaint(PaintDevice* device) override
    {
        ++paints;
        containerDevice = dynamic_cast<ContainerPaintDev*>(device) != nullptr;
        if (!device)
            return false;
        Painter p(device);
        p.fillRect(Rect(0, 0, clientWidth(), clientHeight()), Brush(Color(255, 255, 255)));
        p.fillRect(Rect(300, 200, 340, 240), Brush(Color(255, 0, 0)));
        return true;
    }
    bool onScroll() override { ++scrolls; return true; }
    int paints = 0;
    int scrolls = 0;
    bool containerDevice = false;
};

struct ScrollScene : ::testing::Test {
    WContainer frame;
    Sheet view;
    WVisualObject child;

    void SetUp() override
    {
        frame.move(40, 40, 300, 240);
        view.move(0, 0, 200, 150);
        child.move(10, 20, 30, 40);
        view.setParent(&frame);
        child.setParent(&view);
        ASSERT_TRUE(frame.create());
        ASSERT_TRUE(view.create());
        ASSERT_TRUE(child.create());
        ShowWindow(HWND(frame.hwnd()), SW_SHOWNOACTIVATE);
        pump();
    }
    HWND hwnd() { return HWND(view.hwnd()); }
    SCROLLINFO info(int bar)
    {
        SCROLLINFO si;
        si.cbSize = sizeof si;
        si.fMask = SIF_ALL;
        GetScrollInfo(hwnd(), bar, &si);
        return si;
    }
    Rect nativeRect(WVisualObject& o)
    {
        RECT r;
        GetWindowRect(HWND(o.hwnd()), &r);
        MapWindowPoints(nullptr, hwnd(), reinterpret_cast<POINT*>(&r), 2);
        return Rect(r.left, r.top, r.right, r.bottom);
    }
};

TEST_F(ScrollScene, NativeBarsFollowTheContentSize)
{
    const LONG bars = WS_HSCROLL | WS_VSCROLL;
    EXPECT_EQ(GetWindowLongW(hwnd(), GWL_STYLE) & bars, 0);
    ASSERT_TRUE(view.setClientArea(1000, 120)); // too wide; the bar's height fits below
    pump();
    EXPECT_EQ(GetWindowLongW(hwnd(), GWL_STYLE) & bars, WS_HSCROLL);
    EXPECT_EQ(view.visibleClientWidth(), 200);
    EXPECT_EQ(view.pureClientHeight(), 150 - GetSystemMetrics(SM_CYHSCROLL));
    ASSERT_TRUE(view.setClientArea(1000, 800));
    pump();
    EXPECT_EQ(GetWindowLongW(hwnd(), GWL_STYLE) & bars, bars);
    EXPECT_EQ(view.pureClientWidth(), 200 - GetSystemMetrics(SM_CXVSCROLL));
    EXPECT_EQ(view.visibleClientWidth(), 200);
    SCROLLINFO h = info(SB_HORZ), v = info(SB_VERT);
    EXPECT_EQ(h.nMax, 1000);
    EXPECT_EQ(int(h.nPage), view.pureClientWidth());
    EXPECT_EQ(v.nMax, 800);
    EXPECT_EQ(int(v.nPage), view.pureClientHeight());
    // A resize of the window decides again: large enough, no bars.
    view.move(0, 0, 1100, 900);
    pump();
    EXPECT_EQ(GetWindowLongW(hwnd(), GWL_STYLE) & bars, 0);
    EXPECT_EQ(view.checkInvariants(), 0);
}

TEST_F(ScrollScene, ScrollingMovesChildrenThumbsAndPixels)
{
    ASSERT_TRUE(view.setClientArea(1000, 800));
    pump();
    view.scrollTo(280, 180);
    EXPECT_EQ(view.scrollPosition(), Point(280, 180));
    EXPECT_EQ(child.getRect(), Rect(-270, -160, -240, -120));
    EXPECT_EQ(nativeRect(child), child.getRect());
    EXPECT_EQ(info(SB_HORZ).nPos, 280);
    EXPECT_EQ(info(SB_VERT).nPos, 180);
    pump();
    // The red square drawn at content (300, 200) shows at (20, 20) of the window.
    EXPECT_TRUE(view.containerDevice);
    screens::Image image;
    ASSERT_TRUE(screens::grabWindow(view.hwnd(), &image));
    screens::savePng(image, "scrollview_scrolled");
    EXPECT_EQ(image.at(25, 25), 0xFF0000u);
    EXPECT_EQ(image.at(15, 25), 0xFFFFFFu);
    // Back to the origin: every child is where it began.
    view.scrollTo(0, 0);
    EXPECT_EQ(child.getRect(), Rect(10, 20, 40, 60));
    EXPECT_EQ(nativeRect(child), child.getRect());
}

TEST_F(ScrollScene, BarAndWheelMessagesScroll)
{
    ASSERT_TRUE(view.setClientArea(1000, 800));
    ScrollParams h, v;
    view.getScrollParams(&h, &v);
    v.lineStep = 10;
    v.pageStep = 50;
    h.lineStep = 4;
    view.setScrollParams(&h, &v);
    struct Step { UINT message; int code; Point expected; } steps[] = {
        {WM_VSCROLL, SB_LINEDOWN, {0, 10}},
        {WM_VSCROLL, SB_PAGEDOWN, {0, 60}},
        {WM_VSCROLL, SB_LINEUP, {0, 50}},
        {WM_HSCROLL, SB_LINEDOWN, {4, 50}},
        {WM_HSCROLL, SB_PAGEUP, {0, 50}}, // a page back from 4 stops at 0
        {WM_VSCROLL, SB_ENDSCROLL, {0, 50}}, // ignored
    };
    for (const Step& s : steps) {
        SendMessageW(hwnd(), s.message, WPARAM(s.code), 0);
        EXPECT_EQ(view.scrollPosition(), s.expected) << s.message << "/" << s.code;
    }
    EXPECT_EQ(view.scrolls, 5);

    const int lines = SystemMetrics::getScrollLines(), chars = SystemMetrics::getScrollChars();
    SystemMetrics::setScrollSettings(3, 2);
    SendMessageW(hwnd(), 0x20A, WPARAM(MAKELONG(0, WORD(-120))), 0); // one notch toward the user
    EXPECT_EQ(view.scrollPosition(), Point(0, 80));
    SystemMetrics::setScrollSettings(-1, 2); // a page a notch
    SendMessageW(hwnd(), 0x20A, WPARAM(MAKELONG(0, WORD(-120))), 0);
    EXPECT_EQ(view.scrollPosition(), Point(0, 130));
    SendMessageW(hwnd(), 0x20E, WPARAM(MAKELONG(0, WORD(-120))), 0);
    EXPECT_EQ(view.scrollPosition(), Point(2 * h.lineStep, 130));
    SystemMetrics::setScrollSettings(lines, chars);
}

TEST_F(ScrollScene, NoWheelScrollingWithoutTheBar)
{
    ASSERT_TRUE(view.setClientArea(100, 100));
    SendMessageW(hwnd(), 0x20A, WPARAM(MAKELONG(0, WORD(-120))), 0);
    EXPECT_EQ(view.scrollPosition(), Point(0, 0));
    EXPECT_EQ(view.scrolls, 0);
}

// ---- regions ----

TEST(WindowRegion, TheWindowTakesACopyOfTheShape)
{
    WVisualObject o;
    o.move(50, 50, 100, 100);
    Region ellipse(0, 0, 100, 100, RegionEllipse);
    o.setRegion(ellipse); // before the window: applied by create
    ASSERT_TRUE(o.create());
    HWND w = HWND(o.hwnd());
    HRGN probe = CreateRectRgn(0, 0, 0, 0);
    ASSERT_NE(GetWindowRgn(w, probe), ERROR);
    EXPECT_FALSE(PtInRegion(probe, 2, 2));
    EXPECT_TRUE(PtInRegion(probe, 50, 50));
    // The window owns a copy: the object's region lives on, unshared.
    EXPECT_EQ(o.getRegion().handle(), ellipse.handle());
    EXPECT_TRUE(ellipse.contains(Point(50, 50)));
    o.setRegion(Region());
    EXPECT_EQ(GetWindowRgn(w, probe), ERROR); // none: the whole rectangle again
    EXPECT_TRUE(o.getRegion().isNull());
    DeleteObject(probe);
}

TEST(WindowRegion, InvalidateARegionMarksOnlyIt)
{
    WVisualObject o;
    o.move(50, 50, 100, 100);
    ASSERT_TRUE(o.create());
    HWND w = HWND(o.hwnd());
    ShowWindow(w, SW_SHOWNOACTIVATE);
    ValidateRect(w, nullptr);
    o.invalidate(Region()); // the null region is nothing, not the whole window
    RECT r;
    EXPECT_FALSE(GetUpdateRect(w, &r, FALSE));
    o.invalidate(Region(10, 20, 30, 15));
    ASSERT_TRUE(GetUpdateRect(w, &r, FALSE));
    EXPECT_EQ(Rect(r.left, r.top, r.right, r.bottom), Rect(10, 20, 40, 35));
}

} // namespace

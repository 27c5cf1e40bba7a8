// The window layer's paint cycle hands doPaint a device already begun: a Painter nests on
// it and draws into the window.
#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/painter.h>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

class Canvas : public WVisualObject {
public:
    bool doPaint(PaintDevice* device) override
    {
        ++paints;
        if (!device)
            return false;
        useCountSeen = device->useCount();
        Painter p(device);
        p.fillRect(Rect(0, 0, 100, 80), Brush(Color(255, 255, 255)));
        p.fillRect(Rect(10, 10, 30, 20), Brush(Color(0, 0, 255)));
        p.setPen(Pen(Color(255, 0, 0)));
        p.drawLine(0, 50, 100, 50);
        return true;
    }
    int paints = 0;
    int useCountSeen = 0;
};

void pump()
{
    MSG msg;
    for (int i = 0; i < 10000 && PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE); ++i) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

VULong pixel(HWND hwnd, int x, int y)
{
    HDC dc = GetDC(hwnd);
    COLORREF c = GetPixel(dc, x, y);
    ReleaseDC(hwnd, dc);
    return VULong(c) & 0xFFFFFF;
}

} // namespace

TEST(PaintCycle, DoPaintReceivesABegunWindowDevice)
{
    Canvas canvas;
    canvas.move(60, 60, 100, 80);
    ASSERT_TRUE(canvas.create());
    HWND hwnd = HWND(canvas.hwnd());
    ShowWindow(hwnd, SW_SHOWNOACTIVATE);
    RedrawWindow(hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    pump();
    ASSERT_GT(canvas.paints, 0);
    EXPECT_EQ(1, canvas.useCountSeen); // begun by the window layer; the painter nested
    EXPECT_EQ(0xFF0000u, pixel(hwnd, 15, 15));
    EXPECT_EQ(0x0000FFu, pixel(hwnd, 40, 50));
    EXPECT_EQ(0xFFFFFFu, pixel(hwnd, 40, 60));
    canvas.paints = 0;
    canvas.repaint(); // outside WM_PAINT, on the client context
    EXPECT_EQ(1, canvas.paints);
    EXPECT_EQ(0xFF0000u, pixel(hwnd, 15, 15));
    canvas.destroy();
}

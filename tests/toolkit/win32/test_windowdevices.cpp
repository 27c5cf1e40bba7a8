// The window devices on a real window: the client context, the paint cycle's clip, and the
// scrolled container's origin.
#include <vexapi/toolkit/painter.h>
#include <vexapi/toolkit/windowdev.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>

namespace {

struct FixedScroll : ScrollOrigin {
    Point position;
    Point scrollPosition() const override { return position; }
};

LRESULT CALLBACK windowProcedure(HWND hwnd, UINT message, WPARAM w, LPARAM l)
{
    if (message == WM_ERASEBKGND)
        return 1; // the tests paint everything themselves
    return DefWindowProcW(hwnd, message, w, l);
}

class WindowDevices : public ::testing::Test {
protected:
    void SetUp() override
    {
        WNDCLASSW wc{};
        wc.lpfnWndProc = windowProcedure;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"VexapiToolkitTestWindow";
        RegisterClassW(&wc);
        hwnd = CreateWindowExW(0, wc.lpszClassName, L"devices", WS_POPUP | WS_VISIBLE, 10, 10,
                               200, 150, nullptr, nullptr, wc.hInstance, nullptr);
        ASSERT_NE(nullptr, hwnd);
        ValidateRect(hwnd, nullptr);
    }
    void TearDown() override { DestroyWindow(hwnd); }

    VULong pixel(int x, int y) const
    {
        HDC dc = GetDC(hwnd);
        COLORREF c = GetPixel(dc, x, y);
        ReleaseDC(hwnd, dc);
        return VULong(c) & 0xFFFFFF;
    }

    HWND hwnd = nullptr;
};

} // namespace

TEST_F(WindowDevices, ClientContextNestsAndDraws)
{
    WindowClientDev dev(hwnd);
    {
        Painter outer(&dev);
        ASSERT_TRUE(outer.IsActive());
        EXPECT_EQ(Rect(0, 0, 200, 150), dev.clip().boundingRect());
        Painter inner(&dev);
        EXPECT_EQ(2, dev.useCount());
        inner.fillRect(Rect(0, 0, 200, 150), Brush(Color(255, 255, 255)));
        inner.fillRect(Rect(0, 0, 10, 10), Brush(Color(255, 0, 0)));
    }
    EXPECT_EQ(0, dev.useCount());
    EXPECT_EQ(0x0000FFu, pixel(5, 5));
    EXPECT_EQ(0xFFFFFFu, pixel(10, 10));
    WindowClientDev none(nullptr);
    EXPECT_FALSE(none.begin());
    EXPECT_EQ(0, none.useCount());
}

TEST_F(WindowDevices, PaintCycleClipIsTheUpdateRegion)
{
    RECT dirty{10, 20, 30, 40};
    InvalidateRect(hwnd, &dirty, FALSE);
    WindowPaintDev dev(hwnd);
    ASSERT_TRUE(dev.begin());
    EXPECT_EQ(Rect(10, 20, 30, 40), dev.clip().boundingRect());
    dev.end();
    EXPECT_FALSE(GetUpdateRect(hwnd, nullptr, FALSE)); // the cycle validated it
}

TEST_F(WindowDevices, ContainerDrawsInScrolledCoordinates)
{
    FixedScroll scroll;
    scroll.position = Point(30, 40);
    InvalidateRect(hwnd, nullptr, FALSE);
    ContainerPaintDev dev(hwnd, &scroll);
    {
        Painter p(&dev);
        ASSERT_TRUE(p.IsActive());
        // The clip is in the content's coordinates too.
        EXPECT_EQ(Rect(30, 40, 230, 190), dev.clip().boundingRect());
        EXPECT_EQ(Rect(30, 40, 230, 190), p.getClipRect());
        p.fillRect(Rect(30, 40, 230, 190), Brush(Color(255, 255, 255)));
        p.fillRect(Rect(30, 40, 40, 50), Brush(Color(0, 0, 255)));
        {
            Painter nested(&dev); // a nested begin does not move the origin again
            nested.fillRect(Rect(50, 60, 55, 65), Brush(Color(0, 255, 0)));
        }
    }
    EXPECT_EQ(0xFF0000u, pixel(5, 5));
    EXPECT_EQ(0xFFFFFFu, pixel(10, 10));
    EXPECT_EQ(0x00FF00u, pixel(22, 22));

    ContainerClientDev client(hwnd, &scroll);
    {
        Painter p(&client);
        p.fillRect(Rect(130, 140, 140, 150), Brush(Color(255, 0, 0)));
    }
    EXPECT_EQ(0x0000FFu, pixel(105, 105));

    // The window as drawn, for looking at.
    Bitmap shot(200, 150);
    HDC window = GetDC(hwnd), memory = CreateCompatibleDC(window);
    HGDIOBJ former = SelectObject(memory, static_cast<HGDIOBJ>(shot.getHandle()));
    BitBlt(memory, 0, 0, 200, 150, window, 0, 0, SRCCOPY);
    SelectObject(memory, former);
    DeleteDC(memory);
    ReleaseDC(hwnd, window);
    std::filesystem::create_directories(VEXAPI_SCREENS_DIR);
    EXPECT_TRUE(shot.createPicture().savePNG(
        (std::filesystem::path(VEXAPI_SCREENS_DIR) / "window.png").wstring().c_str()));
}

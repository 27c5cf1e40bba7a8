// Typical controls on real windows: stored values applied at creation, text living in the
// native control, frames as styles, colours answered to the native colour messages, and a
// native control bound to the common window procedure.
#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/platform/win32/wtypicalcontrol.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace {

// A native edit control of the library.
class Edit : public WTypicalControl {
public:
    bool create() override { return createControl(L"EDIT"); }
    bool onChar(WChar* text) override
    {
        ++chars;
        return WTypicalControl::onChar(text);
    }
    int chars = 0;
};

std::wstring textOf(TypicalControl& c)
{
    WChar buffer[64];
    int n = c.getText(buffer, 64);
    return std::wstring(buffer, std::size_t(n));
}

struct ControlScene : ::testing::Test {
    WContainer frame;
    void SetUp() override
    {
        frame.move(40, 40, 300, 200);
        ASSERT_TRUE(frame.create());
    }
};

TEST_F(ControlScene, StoredValuesAreAppliedAtCreation)
{
    Edit edit;
    edit.setParent(&frame);
    edit.move(10, 10, 120, 24);
    edit.setText(L"before");
    Font font(L"Tahoma", 17, true);
    edit.setFont(font);
    edit.setBorder(true);
    EXPECT_FALSE(edit.setRelief(Relief(7)));
    EXPECT_TRUE(edit.setRelief(ReliefSunken));
    EXPECT_EQ(textOf(edit), L"before");
    EXPECT_EQ(edit.getTextLen(), 6);
    ASSERT_TRUE(edit.create());
    HWND w = HWND(edit.hwnd());
    WChar cls[16];
    GetClassNameW(w, cls, 16);
    EXPECT_EQ(std::wstring(cls), L"Edit");
    EXPECT_EQ(WVisualObject::getByHWND(w), &edit); // the native control is bound
    WChar native[64];
    GetWindowTextW(w, native, 64);
    EXPECT_EQ(std::wstring(native), L"before");
    EXPECT_EQ(HANDLE(SendMessageW(w, WM_GETFONT, 0, 0)), HANDLE(font.handle()));
    EXPECT_TRUE(GetWindowLongW(w, GWL_STYLE) & WS_BORDER);
    EXPECT_TRUE(GetWindowLongW(w, GWL_EXSTYLE) & WS_EX_CLIENTEDGE);
    // Frames change on the live window.
    edit.setRelief(ReliefThin);
    edit.setBorder(false);
    EXPECT_FALSE(GetWindowLongW(w, GWL_EXSTYLE) & WS_EX_CLIENTEDGE);
    EXPECT_TRUE(GetWindowLongW(w, GWL_EXSTYLE) & WS_EX_STATICEDGE);
    EXPECT_FALSE(GetWindowLongW(w, GWL_STYLE) & WS_BORDER);
    EXPECT_EQ(edit.getRelief(), ReliefThin);
}

TEST_F(ControlScene, TextTypedIntoTheNativeControlIsRead)
{
    Edit edit;
    edit.setParent(&frame);
    edit.move(10, 10, 120, 24);
    ASSERT_TRUE(edit.create());
    HWND w = HWND(edit.hwnd());
    // Characters go through the common procedure to the handler, then to the control.
    SendMessageW(w, WM_CHAR, L'o', 0);
    SendMessageW(w, WM_CHAR, L'k', 0);
    EXPECT_EQ(edit.chars, 2);
    EXPECT_EQ(textOf(edit), L"ok");
    // A short buffer takes what fits and a terminator; a bad one takes nothing.
    edit.setText(L"abcdef");
    WChar small[4] = {L'x', L'x', L'x', L'x'};
    EXPECT_EQ(edit.getText(small, 4), 3);
    EXPECT_EQ(std::wstring(small), L"abc");
    EXPECT_EQ(edit.getText(nullptr, 10), 0);
    EXPECT_EQ(edit.getText(small, 0), 0);
    edit.setText(nullptr);
    EXPECT_EQ(edit.getTextLen(), 0);
}

TEST_F(ControlScene, TheContainerAnswersColourMessagesWithTheControlsColours)
{
    Edit edit;
    edit.setParent(&frame);
    edit.move(10, 10, 120, 24);
    ASSERT_TRUE(edit.create());
    edit.setTextColor(Color(0, 0, 255));
    edit.setBkColor(Color(255, 255, 0));
    HDC dc = CreateCompatibleDC(nullptr);
    for (UINT message : {WM_CTLCOLOREDIT, WM_CTLCOLORSTATIC}) {
        HBRUSH brush = HBRUSH(SendMessageW(HWND(frame.hwnd()), message, WPARAM(dc),
                                           LPARAM(edit.hwnd())));
        ASSERT_NE(brush, nullptr);
        LOGBRUSH lb;
        ASSERT_EQ(GetObjectW(brush, sizeof lb, &lb), int(sizeof lb));
        EXPECT_EQ(lb.lbColor, RGB(255, 255, 0));
        EXPECT_EQ(GetTextColor(dc), RGB(0, 0, 255));
        EXPECT_EQ(GetBkColor(dc), RGB(255, 255, 0));
    }
    // A window that is no control of the library is left to the default.
    HWND foreign = CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 10, 10,
                                   HWND(frame.hwnd()), nullptr, nullptr, nullptr);
    SetTextColor(dc, RGB(1, 2, 3));
    SendMessageW(HWND(frame.hwnd()), WM_CTLCOLORSTATIC, WPARAM(dc), LPARAM(foreign));
    EXPECT_NE(GetTextColor(dc), RGB(0, 0, 255));
    DestroyWindow(foreign);
    DeleteDC(dc);
}

TEST_F(ControlScene, SizeHintIsTheTextInItsFontAndTheFrame)
{
    Edit edit;
    Font font(L"Tahoma", 20);
    edit.setFont(font);
    edit.setText(L"Hello");
    int w0, h0;
    edit.getSizeHint(&w0, &h0);
    HDC dc = GetDC(nullptr);
    HGDIOBJ old = SelectObject(dc, HGDIOBJ(font.handle()));
    SIZE extent;
    GetTextExtentPoint32W(dc, L"Hello", 5, &extent);
    SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    EXPECT_EQ(w0, extent.cx);
    EXPECT_EQ(h0, extent.cy);
    edit.setRelief(ReliefSunken);
    int w1, h1;
    edit.getSizeHint(&w1, &h1);
    EXPECT_EQ(w1 - w0, 2 * GetSystemMetrics(SM_CXEDGE));
    EXPECT_EQ(h1 - h0, 2 * GetSystemMetrics(SM_CYEDGE));
}

} // namespace

// WTypicalControl: text, colours, frame and font of a native control.
#include <vexapi/platform/win32/wtypicalcontrol.h>

#include <windows.h>

namespace {

const DWORD ReliefBits = WS_EX_CLIENTEDGE | WS_EX_DLGMODALFRAME | WS_EX_STATICEDGE;

DWORD reliefExStyle(Relief relief)
{
    switch (relief) {
    case ReliefSunken:
        return WS_EX_CLIENTEDGE;
    case ReliefRaised:
        return WS_EX_DLGMODALFRAME;
    case ReliefThin:
        return WS_EX_STATICEDGE;
    default:
        return 0;
    }
}

} // namespace

WTypicalControl::WTypicalControl()
    : m_textColor(SysColorWindowText), m_bkColor(SysColorButtonFace)
{
}

WTypicalControl::~WTypicalControl()
{
    if (m_bkBrush)
        DeleteObject(HBRUSH(m_bkBrush));
}

bool WTypicalControl::create()
{
    if (!WVisualObject::create())
        return false;
    return _create();
}

bool WTypicalControl::createControl(const WChar* className)
{
    if (!className || !WVisualObject::_create(className))
        return false;
    return _create();
}

bool WTypicalControl::_create()
{
    if (!isWindow())
        return false;
    HWND window = HWND(hwnd());
    SetWindowTextW(window, m_text.c_str());
    if (m_font.handle())
        SendMessageW(window, WM_SETFONT, WPARAM(m_font.handle()), FALSE);
    applyFrame();
    return true;
}

VULong WTypicalControl::setupStyle(VULong style)
{
    return m_border ? (style | WS_BORDER) : (style & ~VULong(WS_BORDER));
}

VULong WTypicalControl::setupExStyle(VULong exStyle)
{
    return (exStyle & ~VULong(ReliefBits)) | reliefExStyle(m_relief);
}

void WTypicalControl::applyFrame()
{
    if (!isWindow())
        return;
    HWND window = HWND(hwnd());
    VULong style = VULong(GetWindowLongW(window, GWL_STYLE));
    VULong exStyle = VULong(GetWindowLongW(window, GWL_EXSTYLE));
    VULong newStyle = setupStyle(style), newExStyle = setupExStyle(exStyle);
    if (newStyle == style && newExStyle == exStyle)
        return;
    SetWindowLongW(window, GWL_STYLE, LONG(newStyle));
    SetWindowLongW(window, GWL_EXSTYLE, LONG(newExStyle));
    // The frame is part of the window's non-client area: recomputed only when asked.
    bool was = flags() & positionGuard;
    setFlag(positionGuard, true);
    SetWindowPos(window, nullptr, 0, 0, 0, 0,
                 SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    setFlag(positionGuard, was);
}

void WTypicalControl::setText(const WChar* text)
{
    m_text = text ? text : L"";
    if (isWindow())
        SetWindowTextW(HWND(hwnd()), m_text.c_str());
}

int WTypicalControl::getText(WChar* buffer, int size)
{
    if (!buffer || size < 1)
        return 0;
    if (isWindow())
        return GetWindowTextW(HWND(hwnd()), buffer, size);
    int n = int(m_text.size()) < size - 1 ? int(m_text.size()) : size - 1;
    m_text.copy(buffer, std::size_t(n));
    buffer[n] = 0;
    return n;
}

int WTypicalControl::getTextLen()
{
    return isWindow() ? GetWindowTextLengthW(HWND(hwnd())) : int(m_text.size());
}

void WTypicalControl::setTextColor(const Color& color)
{
    m_textColor = color;
    invalidate();
}

void WTypicalControl::setBkColor(const Color& color)
{
    m_bkColor = color;
    invalidate();
}

bool WTypicalControl::setRelief(Relief relief)
{
    if (relief < ReliefFlat || relief > ReliefThin)
        return false;
    m_relief = relief;
    applyFrame();
    return true;
}

void WTypicalControl::setBorder(bool border)
{
    m_border = border;
    applyFrame();
}

void WTypicalControl::setFont(const Font& font)
{
    m_font = font;
    if (isWindow()) {
        SendMessageW(HWND(hwnd()), WM_SETFONT, WPARAM(m_font.handle()), FALSE);
        invalidate();
    }
}

void WTypicalControl::getSizeHint(int* width, int* height)
{
    // The text's extent in the control's font (the system font without one), and the
    // frame its style adds.
    HDC dc = GetDC(nullptr);
    HGDIOBJ old = m_font.handle() ? SelectObject(dc, HGDIOBJ(m_font.handle())) : nullptr;
    WString text(std::size_t(getTextLen()) + 1, 0);
    int n = getText(&text[0], int(text.size()));
    SIZE extent = {0, 0};
    GetTextExtentPoint32W(dc, text.c_str(), n, &extent);
    if (n == 0) {
        TEXTMETRICW tm;
        GetTextMetricsW(dc, &tm);
        extent.cy = tm.tmHeight;
    }
    if (old)
        SelectObject(dc, old);
    ReleaseDC(nullptr, dc);
    RECT frame = {0, 0, 0, 0};
    AdjustWindowRectEx(&frame, DWORD(setupStyle(WS_CHILD)), FALSE, DWORD(setupExStyle(0)));
    if (width)
        *width = extent.cx + (frame.right - frame.left);
    if (height)
        *height = extent.cy + (frame.bottom - frame.top);
}

void* WTypicalControl::colourBrush(void* context)
{
    HDC dc = HDC(context);
    SetTextColor(dc, COLORREF(m_textColor.rgb()));
    SetBkColor(dc, COLORREF(m_bkColor.rgb()));
    HBRUSH brush = CreateSolidBrush(COLORREF(m_bkColor.rgb()));
    if (m_bkBrush)
        DeleteObject(HBRUSH(m_bkBrush));
    m_bkBrush = brush;
    return brush;
}

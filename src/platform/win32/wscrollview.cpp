// WScrollView: native scroll bars, scrolling the window's pixels and children, the wheel.
#include <vexapi/platform/win32/wscrollview.h>
#include <vexapi/toolkit/systemmetrics.h>

#include <windows.h>

WScrollView::WScrollView() = default;
WScrollView::~WScrollView() = default;

bool WScrollView::create()
{
    if (!WVisualObject::create())
        return false;
    if (isWindow()) {
        // What was decided or set before the window existed is applied now.
        showScrollers(m_showH, m_showV);
        enableScrollers(m_enableH, m_enableV);
        if (clientWidth() > 0 || clientHeight() > 0)
            onVisClientSize();
    }
    return true;
}

namespace {

// The frame a style adds around the client area, without the scroll bars.
SIZE frameWithoutBars(HWND window)
{
    RECT r = {0, 0, 0, 0};
    DWORD style = DWORD(GetWindowLongW(window, GWL_STYLE)) & ~DWORD(WS_HSCROLL | WS_VSCROLL);
    DWORD exStyle = DWORD(GetWindowLongW(window, GWL_EXSTYLE));
    AdjustWindowRectEx(&r, style, FALSE, exStyle);
    SIZE s = {r.right - r.left, r.bottom - r.top};
    return s;
}

} // namespace

int WScrollView::visibleClientWidth()
{
    int ox = 0, oy = 0;
    adjustPoint(&ox, &oy);
    if (!isWindow())
        return width() - ox;
    RECT w;
    GetWindowRect(HWND(hwnd()), &w);
    return (w.right - w.left) - frameWithoutBars(HWND(hwnd())).cx - ox;
}

int WScrollView::visibleClientHeight()
{
    int ox = 0, oy = 0;
    adjustPoint(&ox, &oy);
    if (!isWindow())
        return height() - oy;
    RECT w;
    GetWindowRect(HWND(hwnd()), &w);
    return (w.bottom - w.top) - frameWithoutBars(HWND(hwnd())).cy - oy;
}

int WScrollView::pureClientWidth()
{
    int ox = 0, oy = 0;
    adjustPoint(&ox, &oy);
    if (!isWindow())
        return width() - ox;
    RECT r;
    GetClientRect(HWND(hwnd()), &r);
    return r.right - r.left - ox;
}

int WScrollView::pureClientHeight()
{
    int ox = 0, oy = 0;
    adjustPoint(&ox, &oy);
    if (!isWindow())
        return height() - oy;
    RECT r;
    GetClientRect(HWND(hwnd()), &r);
    return r.bottom - r.top - oy;
}

void WScrollView::showScrollers(bool h, bool v)
{
    ScrollView::showScrollers(h, v);
    if (!isWindow())
        return;
    HWND window = HWND(hwnd());
    {
        // The client area changes size here: the WM_SIZE that follows is ours.
        bool wasScroller = flags() & scrollerGuard;
        bool wasPosition = flags() & positionGuard;
        setFlag(scrollerGuard, true);
        setFlag(positionGuard, true);
        DWORD style = DWORD(GetWindowLongW(window, GWL_STYLE));
        DWORD wanted = (style & ~DWORD(WS_HSCROLL | WS_VSCROLL)) | (h ? WS_HSCROLL : 0)
                       | (v ? WS_VSCROLL : 0);
        if (wanted != style) {
            SetWindowLongW(window, GWL_STYLE, LONG(wanted));
            SetWindowPos(window, nullptr, 0, 0, 0, 0, 0x37 /* frame changed, no move,
                         size, z-order, activate */);
        }
        updateScrollers();
        setFlag(positionGuard, wasPosition);
        setFlag(scrollerGuard, wasScroller);
    }
}

void WScrollView::updateScrollers()
{
    if (!isWindow())
        return;
    bool wasScroller = flags() & scrollerGuard;
    setFlag(scrollerGuard, true);
    const ScrollParams* params[2] = {&m_hParams, &m_vParams};
    const bool shown[2] = {m_showH, m_showV};
    for (int bar = 0; bar < 2; ++bar) {
        if (!shown[bar])
            continue;
        SCROLLINFO info;
        info.cbSize = sizeof info; // 0x1C
        info.fMask = 0xF;          // range, page, position, disable rather than hide
        info.nMin = params[bar]->minPos;
        info.nMax = params[bar]->maxPos;
        info.nPage = UINT(params[bar]->page > 0 ? params[bar]->page : 0);
        info.nPos = params[bar]->pos;
        info.nTrackPos = 0;
        SetScrollInfo(HWND(hwnd()), bar == 0 ? SB_HORZ : SB_VERT, &info, TRUE);
    }
    setFlag(scrollerGuard, wasScroller);
}

void WScrollView::enableScrollers(bool h, bool v)
{
    ScrollView::enableScrollers(h, v);
    if (!isWindow())
        return;
    EnableScrollBar(HWND(hwnd()), SB_HORZ, h ? ESB_ENABLE_BOTH : ESB_DISABLE_BOTH);
    EnableScrollBar(HWND(hwnd()), SB_VERT, v ? ESB_ENABLE_BOTH : ESB_DISABLE_BOTH);
}

void WScrollView::setScrollParams(const ScrollParams* h, const ScrollParams* v)
{
    ScrollView::setScrollParams(h, v);
    updateScrollers();
}

void WScrollView::setScrollPos(int x, int y)
{
    ScrollView::setScrollPos(x, y);
    if (!isWindow())
        return;
    bool wasScroller = flags() & scrollerGuard;
    setFlag(scrollerGuard, true);
    SCROLLINFO info;
    info.cbSize = sizeof info;
    info.fMask = SIF_POS;
    if (m_showH) {
        info.nPos = x;
        SetScrollInfo(HWND(hwnd()), SB_HORZ, &info, TRUE);
    }
    if (m_showV) {
        info.nPos = y;
        SetScrollInfo(HWND(hwnd()), SB_VERT, &info, TRUE);
    }
    setFlag(scrollerGuard, wasScroller);
}

void WScrollView::scrollContent(int dx, int dy)
{
    if (!isWindow() || (dx == 0 && dy == 0))
        return;
    HWND window = HWND(hwnd());
    lockMove();
    ScrollWindowEx(window, dx, dy, nullptr, nullptr, nullptr, nullptr, 6 /* invalidate, erase */);
    // The children were left in place: each moves by the same amount, keeping its size.
    // The list is walked by next pointers taken before each move, a handler of doMove
    // being free to reorder siblings.
    for (VisualObject* child = firstChild(); child;) {
        VisualObject* next = child->nextSibling();
        send(child, &VisualObject::doMove, child->left() + dx, child->top() + dy, child->width(),
             child->height());
        child = next;
    }
    unlockMove();
    // The part uncovered is painted now (WM_PAINT, on a container device), not after the
    // queue drains: the next scroll step copies these pixels.
    UpdateWindow(window);
}

bool WScrollView::barStep(int code, bool vertical, int* target)
{
    const ScrollParams& p = vertical ? m_vParams : m_hParams;
    const int pos = vertical ? yScrollPos() : xScrollPos();
    const int page = p.pageStep > 0 ? p.pageStep
                                     : (vertical ? pureClientHeight() : pureClientWidth());
    switch (code) {
    case SB_LINEUP:
        *target = pos - p.lineStep;
        return true;
    case SB_LINEDOWN:
        *target = pos + p.lineStep;
        return true;
    case SB_PAGEUP:
        *target = pos - page;
        return true;
    case SB_PAGEDOWN:
        *target = pos + page;
        return true;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK: {
        // The 16 bits of the message's position are not enough for a large content.
        SCROLLINFO info;
        info.cbSize = sizeof info;
        info.fMask = SIF_TRACKPOS;
        if (!isWindow() || !GetScrollInfo(HWND(hwnd()), vertical ? SB_VERT : SB_HORZ, &info))
            return false;
        *target = info.nTrackPos;
        return true;
    }
    default:
        return false;
    }
}

bool WScrollView::onVScroll(int code, short, void*)
{
    int y;
    if (barStep(code, true, &y))
        send(this, &ScrollView::doScroll, xScrollPos(), y);
    return true;
}

bool WScrollView::onHScroll(int code, short, void*)
{
    int x;
    if (barStep(code, false, &x))
        send(this, &ScrollView::doScroll, x, yScrollPos());
    return true;
}

std::intptr_t WScrollView::procMessage(unsigned message, std::uintptr_t wParam,
                                       std::intptr_t lParam)
{
    switch (message) {
    case WM_VSCROLL:
        send(this, &WScrollView::onVScroll, int(LOWORD(wParam)), short(HIWORD(wParam)),
             reinterpret_cast<void*>(lParam));
        return 0;
    case WM_HSCROLL:
        send(this, &WScrollView::onHScroll, int(LOWORD(wParam)), short(HIWORD(wParam)),
             reinterpret_cast<void*>(lParam));
        return 0;
    case WM_SIZE:
        if (flags() & scrollerGuard)
            return 0;
        onVisClientSize();
        break;
    case 0x20A: // WM_MOUSEWHEEL
    case 0x20E: { // WM_MOUSEHWHEEL
        const bool vertical = message == 0x20A;
        if (!(vertical ? m_showV : m_showH))
            break;
        const ScrollParams& p = vertical ? m_vParams : m_hParams;
        const int n = vertical ? SystemMetrics::getScrollLines() : SystemMetrics::getScrollChars();
        const int step = n == -1 ? (p.pageStep > 0 ? p.pageStep
                                                    : (vertical ? pureClientHeight()
                                                                : pureClientWidth()))
                                 : n * p.lineStep;
        const int delta = short(HIWORD(wParam));
        if (vertical)
            send(this, &ScrollView::doScroll, xScrollPos(), yScrollPos() - step * delta / 120);
        else
            send(this, &ScrollView::doScroll, xScrollPos() - step * delta / 120, yScrollPos());
        return 0;
    }
    default:
        break;
    }
    return WContainer::procMessage(message, wParam, lParam);
}

int WScrollView::checkInvariants() const
{
    if (int broken = ScrollView::checkInvariants())
        return broken;
    return WVisualObject::checkInvariants();
}

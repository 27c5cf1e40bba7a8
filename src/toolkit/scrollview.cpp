// ScrollView: which bars are needed, and keeping the position inside the content.
#include <vexapi/toolkit/scrollview.h>
#include <vexapi/toolkit/systemmetrics.h>

#include <algorithm>

ScrollView::ScrollView() = default;
ScrollView::~ScrollView() = default;

void ScrollView::showScrollers(bool h, bool v)
{
    m_showH = h;
    m_showV = v;
}

void ScrollView::enableScrollers(bool h, bool v)
{
    m_enableH = h;
    m_enableV = v;
}

void ScrollView::getShowScrollers(bool* h, bool* v)
{
    if (h)
        *h = m_showH;
    if (v)
        *v = m_showV;
}

void ScrollView::getEnableScrollers(bool* h, bool* v)
{
    if (h)
        *h = m_enableH;
    if (v)
        *v = m_enableV;
}

void ScrollView::setScrollParams(const ScrollParams* h, const ScrollParams* v)
{
    if (h)
        m_hParams = *h;
    if (v)
        m_vParams = *v;
}

void ScrollView::getScrollParams(ScrollParams* h, ScrollParams* v)
{
    if (h)
        *h = m_hParams;
    if (v)
        *v = m_vParams;
}

void ScrollView::setScrollPos(int x, int y)
{
    m_hParams.pos = x;
    m_vParams.pos = y;
}

bool ScrollView::setClientArea(int w, int h)
{
    if (w < 0 || h < 0)
        return false;
    if (w == m_clientWidth && h == m_clientHeight)
        return true;
    m_clientWidth = w;
    m_clientHeight = h;
    onVisClientSize();
    return true;
}

bool ScrollView::onVisClientSize()
{
    const int vw = visibleClientWidth(), vh = visibleClientHeight();
    const int cw = m_clientWidth, ch = m_clientHeight;
    const int bw = SystemMetrics::getScrollWidth(), bh = SystemMetrics::getScrollHeight();
    // One bar takes room from the other direction, and so may bring the other bar.
    bool h = false, v = false;
    if (vw < cw) {
        h = true;
        v = vh - bh < ch;
    } else if (vh < ch) {
        v = true;
        h = vw - bw < cw;
    }
    showScrollers(h, v);
    const int pw = pureClientWidth(), ph = pureClientHeight();
    ScrollParams hp, vp;
    getScrollParams(&hp, &vp);

    // The position keeps one pixel less room than scrollTo gives: the last column (row)
    // of the content stays at the edge after a resize.
    const int newX = std::max(0, std::min(m_xPos, std::max(cw - pw - 1, 0)));
    const int newY = std::max(0, std::min(m_yPos, std::max(ch - ph - 1, 0)));
    if (cw != 0) {
        hp.minPos = 0;
        hp.maxPos = cw;
        hp.page = pw;
    }
    hp.pos = newX;
    if (ch != 0) {
        vp.minPos = 0;
        vp.maxPos = ch;
        vp.page = ph;
    }
    vp.pos = newY;
    setScrollParams(&hp, &vp);
    const int oldX = m_xPos, oldY = m_yPos;
    m_xPos = newX;
    m_yPos = newY;
    scrollContent(oldX - newX, oldY - newY);
    return true;
}

void ScrollView::scrollTo(int x, int y)
{
    const int maxX = m_clientWidth - pureClientWidth();
    const int maxY = m_clientHeight - pureClientHeight();
    x = std::max(0, std::min(x, maxX));
    y = std::max(0, std::min(y, maxY));
    const int oldX = m_xPos, oldY = m_yPos;
    m_xPos = x;
    m_yPos = y;
    setScrollPos(x, y);
    scrollContent(oldX - x, oldY - y);
}

bool ScrollView::doScroll(int x, int y)
{
    scrollTo(x, y);
    send(this, &ScrollView::onScroll);
    return true;
}

int ScrollView::checkInvariants() const
{
    if (int broken = Container::checkInvariants())
        return broken;
    if (m_clientWidth < 0 || m_clientHeight < 0)
        return 30;
    if (m_xPos < 0 || m_yPos < 0)
        return 31;
    return 0;
}

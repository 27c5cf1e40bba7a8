// ScrollView: a container whose content (the client area) may be larger than the window,
// with the arithmetic of scroll positions, ranges and which scroll bars are needed.
#pragma once

#include <vexapi/toolkit/container.h>
#include <vexapi/toolkit/windowdev.h>

// The state of one scroll bar. The range is minPos..maxPos with a thumb of `page`; the
// steps are what a click on an arrow (lineStep) or on the track (pageStep) scrolls by.
struct ScrollParams {
    int minPos = 0;
    int maxPos = 0;
    int pos = 0;
    int page = 0;
    int lineStep = 16;
    int pageStep = 0; // 0: the visible page
};

// The content is clientWidth x clientHeight; the position is the content's point shown at
// the top left of the visible area. Children live at visible coordinates: scrolling moves
// them (scrollContent). Paint devices opened on a scroll view work in content coordinates
// through the ScrollOrigin side.
//
// This half keeps the bars' state (shown, enabled, params) and decides; the platform half
// overrides the bar operations to apply them to the native bars as well (calling these),
// and gives the client sizes.
//
// Invariants (checkInvariants, after Container's):
//  30. The client area is not negative in either direction.
//  31. The scroll positions are not negative.
class VEXAPI_API ScrollView : public virtual Container, public ScrollOrigin {
public:
    ScrollView();
    ~ScrollView() override;

    // The client size without bars, and as it is now (net of the bars shown); both less
    // the container's own origin offset.
    virtual int visibleClientWidth() = 0;
    virtual int visibleClientHeight() = 0;
    virtual int pureClientWidth() = 0;
    virtual int pureClientHeight() = 0;
    virtual void showScrollers(bool h, bool v);
    virtual void enableScrollers(bool h, bool v);
    virtual void getShowScrollers(bool* h, bool* v);
    virtual void getEnableScrollers(bool* h, bool* v);
    // Either pointer may be null: that direction is left alone.
    virtual void setScrollParams(const ScrollParams* h, const ScrollParams* v);
    virtual void getScrollParams(ScrollParams* h, ScrollParams* v);
    virtual void setScrollPos(int x, int y);
    // Moves the shown content by (dx, dy); nothing in this half.
    virtual void scrollContent(int dx, int dy) {}
    // Decides the bars for the present sizes, keeps the position in range, and scrolls by
    // what the position lost.
    virtual bool onVisClientSize();
    // scrollTo, then onScroll.
    virtual bool doScroll(int x, int y);
    virtual bool onScroll() { return true; }
    // A new content size; negative sizes are refused (false). An unchanged size does nothing.
    virtual bool setClientArea(int w, int h);

    int clientWidth() const { return m_clientWidth; }
    int clientHeight() const { return m_clientHeight; }
    int xScrollPos() const { return m_xPos; }
    int yScrollPos() const { return m_yPos; }
    // Clamps to 0..clientWidth - pureClientWidth (and likewise vertically), stores, moves
    // the bars' thumbs and scrolls the content by the difference.
    void scrollTo(int x, int y);

    Point scrollPosition() const override { return Point(m_xPos, m_yPos); }
    int checkInvariants() const;

protected:
    ScrollParams m_hParams;
    ScrollParams m_vParams;
    bool m_showH = false;
    bool m_showV = false;
    bool m_enableH = true;
    bool m_enableV = true;

private:
    int m_clientWidth = 0;
    int m_clientHeight = 0;
    int m_xPos = 0;
    int m_yPos = 0;
};

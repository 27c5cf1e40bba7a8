// WScrollView: a scroll view on a native window with the platform's own scroll bars.
#pragma once

#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/toolkit/scrollview.h>

// The bars are the window's WS_HSCROLL / WS_VSCROLL bars; their range, page and position
// follow the ScrollView's params (SetScrollInfo), the steps stay in the object. Showing or
// hiding a bar resizes the client area: that WM_SIZE is swallowed (scrollerGuard), the
// decision being under way already. Any other WM_SIZE decides the bars again.
//
// Scrolling moves the pixels already shown (ScrollWindowEx), moves every child window by
// the same amount, and paints the uncovered part at once. Paint devices given to doPaint
// are container devices: the drawing code works in content coordinates.
class VEXAPI_API WScrollView : public virtual ScrollView, public virtual WContainer {
public:
    WScrollView();
    ~WScrollView() override;

    bool create() override;
    int visibleClientWidth() override;
    int visibleClientHeight() override;
    int pureClientWidth() override;
    int pureClientHeight() override;
    void showScrollers(bool h, bool v) override;
    void enableScrollers(bool h, bool v) override;
    void setScrollParams(const ScrollParams* h, const ScrollParams* v) override;
    void setScrollPos(int x, int y) override;
    void scrollContent(int dx, int dy) override;
    std::intptr_t procMessage(unsigned message, std::uintptr_t wParam,
                              std::intptr_t lParam) override;

    // A bar's notification (SB_LINEUP ... SB_THUMBTRACK): codes 0/1 a line, 2/3 a page,
    // 4/5 the thumb's track position; other codes are ignored. Gives true.
    virtual bool onVScroll(int code, short position, void* bar);
    virtual bool onHScroll(int code, short position, void* bar);

    int checkInvariants() const;

private:
    // Copies the params of each shown bar to the native bar.
    void updateScrollers();
    // The (dx, dy) the steps of a bar notification make, or false for an unknown code.
    bool barStep(int code, bool vertical, int* target);
};

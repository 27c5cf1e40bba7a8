// SystemMetrics: the sizes of the platform's screen and window parts that layouts need.
#pragma once

#include <vexapi/core/api.h>

// Each value is read from the platform at the call, except the mouse-wheel settings, which
// the window layer reads once at process entry (3 where the platform gives none or 0).
class VEXAPI_API SystemMetrics {
public:
    SystemMetrics() = delete;

    static int getScreenWidth();
    static int getScreenHeight();
    static int getCaptionHeight();
    static int getDfltMenuHeight();
    // The caption, the menu and both frames: the height a main form adds to its client.
    static int getTotalHeightOffset();
    // The caption and one frame: the client area's offset from the window's top.
    static int getUpperOffset();
    static int getFrameHeight();
    static int getFrameWidth();
    static int getEdgeWidth();
    static int getEdgeHeight();
    static int getDfltIconWidth();
    static int getDfltIconHeight();
    static int getScrollHeight();
    static int getScrollWidth();
    // Lines and characters a wheel notch scrolls (lines -1: a page).
    static int getScrollLines();
    static int getScrollChars();
    // Stores the wheel settings; a value below 1 stands for the default 3, except lines
    // -1: the system's "one page a notch", which scroll views honour.
    static void setScrollSettings(int lines, int chars);
};

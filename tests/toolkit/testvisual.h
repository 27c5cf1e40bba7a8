// Concrete visual objects without a platform, for the portable toolkit tests: every pure
// handler answers true and records nothing; the platform members are inert.
#pragma once

#include <vexapi/toolkit/container.h>

template <class Base>
class PlainVisual : public Base {
public:
    bool onMouseMove(int, int, VLong) override { return true; }
    bool onLButtonDown(int, int, VLong) override { return true; }
    bool onLButtonUp(int, int, VLong) override { return true; }
    bool onRButtonDown(int, int, VLong) override { return true; }
    bool onRButtonUp(int, int, VLong) override { return true; }
    bool onLButtonDblClk(int, int, VLong) override { return true; }
    bool onRButtonDblClk(int, int, VLong) override { return true; }
    bool onMButtonDown(int, int, VLong) override { return true; }
    bool onMButtonUp(int, int, VLong) override { return true; }
    bool onMButtonDblClk(int, int, VLong) override { return true; }
    bool onKeyDown(VirtualKey) override { return true; }
    bool onKeyUp(VirtualKey) override { return true; }
    bool onChar(WChar*) override { return true; }
    void client2screen(Rect*) override {}
    void client2screen(int*, int*) override {}
    void screen2client(Rect*) override {}
    void screen2client(int*, int*) override {}
    void mouseCapture() override {}
    void releaseMouseCapture() override {}
    bool setFocus() override { ++focusCalls; return true; }
    bool setCursor(Cursor* c) override { this->m_cursor = c; return true; }
    Cursor* getCursor() const override { return this->m_cursor; }
    bool setToolTip(const WChar*) override { return false; }
    bool getToolTip(WChar*, int) override { return false; }
    Rect getClientRect() override { return Rect(0, 0, this->width(), this->height()); }
    bool setForegroundWindow() override { return false; }
    void lockUpdate() override {}
    void unlockUpdate() override {}

    int focusCalls = 0;
};

typedef PlainVisual<VisualObject> TestVisual;
typedef PlainVisual<Container> TestContainer;

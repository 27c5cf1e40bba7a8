// Pen: the line style of a Painter, a shared platform pen.
#pragma once

#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/sharedhandle.h>

// In the platform's order of pen styles.
enum PenStyle : int {
    PenSolid = 0,
    PenDash = 1,
    PenDot = 2,
    PenDashDot = 3,
    PenDashDotDot = 4,
    PenNull = 5,
    PenInsideFrame = 6
};

// A copy shares the platform pen (one increment); the last one deletes it. The default is
// a solid black line of width 1.
class VEXAPI_API Pen {
public:
    Pen() : Pen(Color(), PenSolid, 1) {}
    // A style outside the enumeration becomes PenSolid; a width below 0 becomes 0.
    Pen(const Color& color, PenStyle style = PenSolid, int width = 1);

    const Color& color() const { return m_color; }
    PenStyle style() const { return m_style; }
    int width() const { return m_width; }
    void* handle() const { return m_handle.get(); }
    int useCount() const { return m_handle.useCount(); }

    friend bool operator==(const Pen& a, const Pen& b)
    { return a.m_color == b.m_color && a.m_style == b.m_style && a.m_width == b.m_width; }
    friend bool operator!=(const Pen& a, const Pen& b) { return !(a == b); }

private:
    VexAPI::detail::SharedHandle m_handle;
    Color m_color;
    PenStyle m_style = PenSolid;
    int m_width = 1;
};

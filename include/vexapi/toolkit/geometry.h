// Point, Size and Rect: the geometry records every drawing and layout routine shares.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/orvcpp/xmlutils.h>

struct Point {
    int x = 0;
    int y = 0;

    Point() = default;
    Point(int x_, int y_) : x(x_), y(y_) {}
    void set(int x_, int y_) { x = x_; y = y_; }
    Point& operator+=(const Point& p) { x += p.x; y += p.y; return *this; }
    Point& operator-=(const Point& p) { x -= p.x; y -= p.y; return *this; }
    friend Point operator+(Point a, const Point& b) { return a += b; }
    friend Point operator-(Point a, const Point& b) { return a -= b; }
    friend bool operator==(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const Point& a, const Point& b) { return !(a == b); }
};

struct Size {
    int width = 0;
    int height = 0;

    Size() = default;
    Size(int w, int h) : width(w), height(h) {}
    void set(int w, int h) { width = w; height = h; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const Size& a, const Size& b)
    { return a.width == b.width && a.height == b.height; }
    friend bool operator!=(const Size& a, const Size& b) { return !(a == b); }
};

// A rectangle with the platform's layout: left, top, right, bottom, in that order. The
// right and bottom edges are outside it: width() is right - left. A rectangle whose right
// is not beyond its left (or bottom beyond top) is empty; normalize() turns a reversed one
// around. XML form: class "Rect", version 1, elements "Left", "Right", "Top", "Bottom".
// Rect has no virtual members, so that it keeps the platform rectangle's layout and an
// array of them can be handed to the platform as it stands; serialize and deserialize have
// the serialisable classes' signatures without deriving from them.
struct VEXAPI_API Rect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    Rect() = default;
    Rect(int l, int t, int r, int b) : left(l), top(t), right(r), bottom(b) {}
    Rect(const Point& topLeft, const Size& size)
        : left(topLeft.x), top(topLeft.y), right(topLeft.x + size.width),
          bottom(topLeft.y + size.height) {}

    void set(int l, int t, int r, int b) { left = l; top = t; right = r; bottom = b; }
    int width() const { return right - left; }
    int height() const { return bottom - top; }
    Size size() const { return Size(width(), height()); }

    Point topLeft() const { return Point(left, top); }
    Point topRight() const { return Point(right, top); }
    Point bottomLeft() const { return Point(left, bottom); }
    Point bottomRight() const { return Point(right, bottom); }
    void setTopLeft(const Point& p) { left = p.x; top = p.y; }
    void setTopRight(const Point& p) { right = p.x; top = p.y; }
    void setBottomLeft(const Point& p) { left = p.x; bottom = p.y; }
    void setBottomRight(const Point& p) { right = p.x; bottom = p.y; }
    // Keep the top left corner and move the right or bottom edge.
    void setWidth(int w) { right = left + w; }
    void setHeight(int h) { bottom = top + h; }
    void setRectEmpty() { left = top = right = bottom = 0; }

    void offset(int dx, int dy) { left += dx; right += dx; top += dy; bottom += dy; }
    void offset(const Point& d) { offset(d.x, d.y); }
    // Grows every side by dx, dy (shrinks for negative values).
    void inflate(int dx, int dy) { left -= dx; right += dx; top -= dy; bottom += dy; }
    // Becomes the common part with r; an empty result is the all-zero rectangle. Gives
    // whether the result is non-empty.
    bool intersect(const Rect& r);
    // Becomes the smallest rectangle holding both; an empty side does not count.
    void unite(const Rect& r);
    Rect& operator+=(const Rect& r) { unite(r); return *this; }
    bool isEmpty() const { return right <= left || bottom <= top; }
    // Right and bottom edges excluded, as the platform's hit test does.
    bool contains(const Point& p) const
    { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
    // Whether r lies wholly inside; an empty r is inside any non-empty rectangle.
    bool contains(const Rect& r) const;
    // Swaps left/right and top/bottom where they are reversed.
    void normalize();

    friend bool operator==(const Rect& a, const Rect& b)
    { return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom; }
    friend bool operator!=(const Rect& a, const Rect& b) { return !(a == b); }

    int serialize(XMLUtils::XMLElementA& element, XMLUtils::XMLEncoding encoding) const;
    // Throws the XML exceptions for a wrong class or a missing or non-numeric element, and
    // then leaves the rectangle as it was.
    int deserialize(const XMLUtils::XMLElementA& element, XMLUtils::XMLEncoding encoding);
};

static_assert(sizeof(Rect) == 4 * sizeof(int), "Rect keeps the platform rectangle's layout");

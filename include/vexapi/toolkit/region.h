// Region: an area of pixels (rectangle, ellipse, polygon and their combinations), for
// clipping, filling and hit testing.
#pragma once

#include <vexapi/toolkit/geometry.h>
#include <vexapi/toolkit/sharedhandle.h>

enum RegionType : int { RegionRectangle = 0, RegionEllipse = 1 };

// A copy shares the platform region (one increment). A null region has no handle; it is
// empty and contains nothing. offset() on a region shared by copies first takes a private
// copy, so that moving one never moves another.
class VEXAPI_API Region {
public:
    Region() = default;
    Region(int x, int y, int w, int h, RegionType type = RegionRectangle);
    Region(const Rect& rect, RegionType type = RegionRectangle);
    // A polygon of at least 3 points; winding fills by the non-zero rule, else alternate.
    // Fewer points, or a null array, give the null region.
    Region(const Point* points, int count, bool winding = false);

    // Takes a platform region (deleted with the last copy).
    static Region adopt(void* handle) { return Region(handle); }

    bool isNull() const { return m_handle.get() == nullptr; }
    bool isEmpty() const;
    bool contains(const Point& p) const;
    void offset(int dx, int dy);
    Rect boundingRect() const;

    // New regions; a null operand counts as empty.
    Region unite(const Region& other) const;
    Region intersect(const Region& other) const;
    Region subtract(const Region& other) const;
    Region eor(const Region& other) const;

    void* handle() const { return m_handle.get(); }
    int useCount() const { return m_handle.useCount(); }

private:
    Region combine(const Region& other, int mode) const;
    explicit Region(void* handle) : m_handle(handle, true) {}

    VexAPI::detail::SharedHandle m_handle;
};

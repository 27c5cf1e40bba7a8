// Region: construction and combination over the platform's regions.
#include <vexapi/toolkit/region.h>

#include "platform_paint.h"

namespace platform = VexAPI::platform;
using VexAPI::detail::SharedHandle;

Region::Region(int x, int y, int w, int h, RegionType type)
    : Region(Rect(x, y, x + w, y + h), type)
{
}

Region::Region(const Rect& r, RegionType type)
{
    void* h = type == RegionEllipse
                  ? platform::createEllipticRegion(r.left, r.top, r.right, r.bottom)
                  : platform::createRectRegion(r.left, r.top, r.right, r.bottom);
    m_handle = SharedHandle(h, true);
}

Region::Region(const Point* points, int count, bool winding)
{
    if (points && count >= 3)
        m_handle = SharedHandle(platform::createPolygonRegion(points, count, winding), true);
}

bool Region::isEmpty() const { return isNull() || boundingRect().isEmpty(); }

bool Region::contains(const Point& p) const
{
    return !isNull() && platform::regionContains(handle(), p.x, p.y);
}

void Region::offset(int dx, int dy)
{
    if (isNull() || (dx == 0 && dy == 0))
        return;
    if (m_handle.useCount() > 1) // copies share the handle: move a private one
        *this = Region(platform::combineRegions(handle(), nullptr, 2));
    platform::offsetRegion(handle(), dx, dy);
}

Rect Region::boundingRect() const
{
    return isNull() ? Rect() : platform::regionBox(handle());
}

Region Region::combine(const Region& other, int mode) const
{
    return Region(platform::combineRegions(handle(), other.handle(), mode));
}

Region Region::unite(const Region& o) const { return combine(o, 2); }
Region Region::intersect(const Region& o) const { return combine(o, 1); }
Region Region::subtract(const Region& o) const { return combine(o, 4); }
Region Region::eor(const Region& o) const { return combine(o, 3); }

// Rect's set operations and its XML form.
#include <vexapi/toolkit/geometry.h>

#include <algorithm>
#include <utility>

using namespace XMLUtils;

bool Rect::intersect(const Rect& r)
{
    Rect out(std::max(left, r.left), std::max(top, r.top), std::min(right, r.right),
             std::min(bottom, r.bottom));
    if (out.isEmpty()) {
        setRectEmpty();
        return false;
    }
    *this = out;
    return true;
}

void Rect::unite(const Rect& r)
{
    if (r.isEmpty())
        return;
    if (isEmpty()) {
        *this = r;
        return;
    }
    left = std::min(left, r.left);
    top = std::min(top, r.top);
    right = std::max(right, r.right);
    bottom = std::max(bottom, r.bottom);
}

bool Rect::contains(const Rect& r) const
{
    if (isEmpty())
        return false;
    if (r.isEmpty())
        return true;
    return r.left >= left && r.top >= top && r.right <= right && r.bottom <= bottom;
}

void Rect::normalize()
{
    if (left > right)
        std::swap(left, right);
    if (top > bottom)
        std::swap(top, bottom);
}

int Rect::serialize(XMLElementA& element, XMLEncoding) const
{
    IXMLSerializableA::setClassAttributes(element, "Rect", 1);
    element.addElement("Left", left);
    element.addElement("Right", right);
    element.addElement("Top", top);
    element.addElement("Bottom", bottom);
    return 0;
}

int Rect::deserialize(const XMLElementA& element, XMLEncoding)
{
    IXMLSerializableA::checkClassAttributes(element, "Rect");
    // Read all four first, so that a missing one leaves the rectangle as it was.
    int l = element.getInt("Left");
    int r = element.getInt("Right");
    int t = element.getInt("Top");
    int b = element.getInt("Bottom");
    set(l, t, r, b);
    return 0;
}

// Color: the system colour table and the XML form.
#include <vexapi/toolkit/color.h>

#include "platform_syscolor.h"

#include <string>

using namespace XMLUtils;

Color::~Color() = default;

VULong Color::getSysColor(SysColorType type)
{
    // The platform's system colour number of each type; -1 for the two fixed colours.
    static const int table[] = {-1, -1, -1, 15, 16, 20, 5, 18, 9, 13, 14, 4, 7, 15, 8};
    if (type == SysColorWhite)
        return 0xFFFFFF;
    if (type < SysColorButtonFace || type > SysColorWindowText)
        return 0;
    return VexAPI::platform::sysColor(table[type]) & 0xFFFFFF;
}

int Color::serialize(XMLElementA& element, XMLEncoding) const
{
    setClassAttributes(element, "Color", 1);
    element.addElement("Red", red());
    element.addElement("Green", green());
    element.addElement("Blue", blue());
    return 0;
}

static int readComponent(const XMLElementA& element, const char* name)
{
    int v = element.getInt(name);
    if (v < 0 || v > 255)
        throw XMLExceptionWithData(std::string("Colour component out of 0 to 255 in ") + name +
                                       ':',
                                   std::to_string(v));
    return v;
}

int Color::deserialize(const XMLElementA& element, XMLEncoding)
{
    checkClassAttributes(element, "Color");
    int r = readComponent(element, "Red");
    int g = readComponent(element, "Green");
    int b = readComponent(element, "Blue");
    *this = Color(r, g, b);
    return 0;
}

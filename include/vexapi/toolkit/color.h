// Color: a 32-bit RGB value, or a system colour taken at the moment of construction.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/orvcpp/xmlutils.h>

// The system colours a Color can stand for; 0 is a plain colour. Values outside the table
// give black.
enum SysColorType : int {
    SysColorNone = 0,
    SysColorWhite = 1,
    SysColorBlack = 2,
    SysColorButtonFace = 3,
    SysColorButtonShadow = 4,
    SysColorButtonHighlight = 5,
    SysColorWindow = 6,
    SysColorButtonText = 7,
    SysColorCaptionText = 8,
    SysColorHighlight = 9,
    SysColorHighlightText = 10,
    SysColorMenu = 11,
    SysColorMenuText = 12,
    SysColorFace = 13, // the button face again, under its second name
    SysColorWindowText = 14
};

// rgb holds red in the low byte, then green, then blue (the platform's colour layout); the
// high byte is zero. A Color made from a SysColorType holds the colour of that moment and
// remembers the type. XML form: class "Color", version 1, elements "Red", "Green", "Blue".
class VEXAPI_API Color : public XMLUtils::IXMLSerializableA {
public:
    Color() = default; // black
    Color(int red, int green, int blue)
        : m_rgb(VULong(red & 0xFF) | VULong(green & 0xFF) << 8 | VULong(blue & 0xFF) << 16) {}
    Color(SysColorType type) : m_rgb(getSysColor(type)), m_colorType(type) {}
    static Color fromRgb(VULong rgb) { Color c; c.m_rgb = rgb & 0xFFFFFF; return c; }
    Color(const Color&) = default;
    Color& operator=(const Color&) = default;
    ~Color() override;

    VULong rgb() const { return m_rgb; }
    int red() const { return int(m_rgb & 0xFF); }
    int green() const { return int((m_rgb >> 8) & 0xFF); }
    int blue() const { return int((m_rgb >> 16) & 0xFF); }
    SysColorType getColorType() const { return m_colorType; }

    // The colour of a SysColorType now, through the platform's system colours.
    static VULong getSysColor(SysColorType type);

    // Equal colours, whatever their origin.
    friend bool operator==(const Color& a, const Color& b) { return a.m_rgb == b.m_rgb; }
    friend bool operator!=(const Color& a, const Color& b) { return !(a == b); }

    int serialize(XMLUtils::XMLElementA& element, XMLUtils::XMLEncoding encoding) const override;
    // A component outside 0 to 255 is refused with an XMLExceptionWithData, as a missing one
    // is with XMLNamedValueNotFound; the colour then stays as it was.
    int deserialize(const XMLUtils::XMLElementA& element, XMLUtils::XMLEncoding encoding) override;

private:
    VULong m_rgb = 0;
    SysColorType m_colorType = SysColorNone;
};

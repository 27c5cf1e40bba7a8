// The display values a grid model keeps for its view: a colour, a font and a picture, held
// as plain values. The toolkit's value classes take their place when the toolkit lands;
// until then the model only stores and copies these.
#pragma once

#include <vexapi/core/acstring.h>
#include <vexapi/core/types.h>

#include <cstdint>

namespace VexAPI {
namespace gridstyle {

// The system colours a grid's defaults refer to; the view resolves them when it paints.
enum SysColor : std::uint32_t {
    SysWindow = 5,
    SysButtonText = 18,
    SysButtonFace = 15
};

// An RGB value, or a reference to a system colour (isSystem true, value = SysColor).
struct Color {
    std::uint32_t value = 0;
    bool isSystem = false;

    Color() = default;
    Color(std::uint32_t rgb) : value(rgb) {}
    static Color system(SysColor c) { Color r; r.value = c; r.isSystem = true; return r; }
    bool operator==(const Color& o) const { return value == o.value && isSystem == o.isSystem; }
    bool operator!=(const Color& o) const { return !(*this == o); }
};

// A font description: face, height in points, weight and style; an empty face means the
// view's default font.
struct Font {
    aCString face;
    int height = 0;
    int weight = 400;
    bool italic = false;
    bool underline = false;

    bool isDefault() const { return face.IsEmpty() && height == 0; }
    bool operator==(const Font& o) const
    {
        return face == o.face && height == o.height && weight == o.weight &&
               italic == o.italic && underline == o.underline;
    }
    bool operator!=(const Font& o) const { return !(*this == o); }
};

// A picture by its resource number (0: none); the view loads it.
struct Picture {
    VLong resource = 0;

    bool isNull() const { return resource == 0; }
    bool operator==(const Picture& o) const { return resource == o.resource; }
    bool operator!=(const Picture& o) const { return !(*this == o); }
};

} // namespace gridstyle
} // namespace VexAPI

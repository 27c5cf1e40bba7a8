// Brush: the fill of a Painter, a shared platform brush.
#pragma once

#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/sharedhandle.h>

class Bitmap;

// 0 is no brush at all; 1 to 6 are hatch patterns.
enum HatchStyle : int {
    HatchNone = 0,
    HatchBackDiagonal = 1, // lines from the bottom left up to the top right
    HatchForwardDiagonal = 2,
    HatchCross = 3,
    HatchDiagonalCross = 4,
    HatchHorizontal = 5,
    HatchVertical = 6
};

enum BrushKind : int { BrushSolid = 0, BrushHatched = 2, BrushPattern = 3 };

// A copy shares the platform brush (one increment); the last one deletes it. A null brush
// (the default, or HatchNone) has no handle: fills do nothing with it and outlines are not
// filled. A pattern brush keeps the Bitmap pointer only to report it: the platform brush
// has its own copy of the pattern, so the bitmap may go.
class VEXAPI_API Brush {
public:
    Brush() = default;
    Brush(const Color& color); // solid
    Brush(const Color& color, HatchStyle hatch);
    explicit Brush(const Bitmap* pattern);

    bool isNull() const { return m_handle.get() == nullptr; }
    BrushKind kind() const { return m_kind; }
    HatchStyle hatchStyle() const { return m_hatch; }
    const Color& color() const { return m_color; }
    const Bitmap* bitmap() const { return m_bitmap; }
    void* handle() const { return m_handle.get(); }
    int useCount() const { return m_handle.useCount(); }

private:
    VexAPI::detail::SharedHandle m_handle;
    BrushKind m_kind = BrushSolid;
    HatchStyle m_hatch = HatchNone;
    Color m_color;
    const Bitmap* m_bitmap = nullptr;
};

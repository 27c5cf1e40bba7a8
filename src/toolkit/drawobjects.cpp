// The shared handle blocks, Pen and Brush.
#include <vexapi/toolkit/bitmap.h>
#include <vexapi/toolkit/brush.h>
#include <vexapi/toolkit/pen.h>

#include "platform_paint.h"

namespace VexAPI {
namespace detail {

SharedHandleBlock* newSharedHandle(void* handle, bool owned)
{
    SharedHandleBlock* block = new SharedHandleBlock;
    block->handle = handle;
    block->owned = owned;
    return block;
}

void releaseSharedHandle(SharedHandleBlock* block)
{
    if (--block->refs > 0)
        return;
    if (block->owned)
        platform::deleteObject(block->handle);
    delete block;
}

} // namespace detail
} // namespace VexAPI

using VexAPI::detail::SharedHandle;
namespace platform = VexAPI::platform;

Pen::Pen(const Color& color, PenStyle style, int width)
    : m_color(color), m_style(style < PenSolid || style > PenInsideFrame ? PenSolid : style),
      m_width(width < 0 ? 0 : width)
{
    m_handle = SharedHandle(platform::createPen(m_style, m_width, m_color.rgb()), true);
}

Brush::Brush(const Color& color) : m_kind(BrushSolid), m_color(color)
{
    m_handle = SharedHandle(platform::createSolidBrush(color.rgb()), true);
}

Brush::Brush(const Color& color, HatchStyle hatch) : m_kind(BrushHatched), m_color(color)
{
    // The platform's hatch codes of styles 1 to 6.
    static const int codes[] = {0, 3, 2, 4, 5, 0, 1};
    if (hatch <= HatchNone || hatch > HatchVertical)
        return; // no brush at all
    m_hatch = hatch;
    m_handle = SharedHandle(platform::createHatchBrush(codes[hatch], color.rgb()), true);
}

Brush::Brush(const Bitmap* pattern) : m_kind(BrushPattern), m_bitmap(pattern)
{
    if (pattern && pattern->isValidBitmap())
        m_handle = SharedHandle(platform::createPatternBrush(pattern->getHandle()), true);
}

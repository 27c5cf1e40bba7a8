// Bitmap: creation, loading and saving, pixels, masks, and the bitmap as a paint device.
#include <vexapi/toolkit/bitmap.h>
#include <vexapi/toolkit/painter.h>
#include <vexapi/toolkit/picture.h>

#include "filebytes.h"
#include "imagecodec.h"
#include "platform_paint.h"

namespace platform = VexAPI::platform;
using VexAPI::detail::ImagePixels;
using VexAPI::detail::SharedHandle;

Bitmap::Bitmap(const Bitmap& other)
    : PaintDevice(), m_handle(other.m_handle), m_width(other.m_width),
      m_height(other.m_height), m_depth(other.m_depth), m_packed(other.m_packed)
{
    if (other.m_mask)
        m_mask = new Bitmap(*other.m_mask);
}

Bitmap& Bitmap::operator=(const Bitmap& other)
{
    if (this == &other)
        return *this;
    clear();
    m_handle = other.m_handle;
    m_width = other.m_width;
    m_height = other.m_height;
    m_depth = other.m_depth;
    m_packed = other.m_packed;
    if (other.m_mask)
        m_mask = new Bitmap(*other.m_mask);
    return *this;
}

Bitmap::~Bitmap()
{
    while (m_useCount > 0)
        end();
    delete m_mask;
}

void Bitmap::clear()
{
    while (m_useCount > 0)
        end();
    m_handle.reset();
    m_width = m_height = m_depth = 0;
    m_packed.clear();
    delete m_mask;
    m_mask = nullptr;
}

bool Bitmap::adopt(void* handle)
{
    int w = 0, h = 0, d = 0;
    if (!handle || !platform::bitmapInfo(handle, w, h, d) || w <= 0 || h <= 0) {
        if (handle)
            platform::deleteObject(handle);
        return false;
    }
    m_handle = SharedHandle(handle, true);
    m_width = w;
    m_height = h;
    m_depth = d;
    return true;
}

bool Bitmap::create(int width, int height, int depth)
{
    clear();
    if (width <= 0 || height <= 0)
        return false;
    return adopt(platform::createBitmap(width, height, depth));
}

bool Bitmap::create(int width, int height, PaintDevice* compatibleWith)
{
    clear();
    if (width <= 0 || height <= 0)
        return false;
    platform::Surface* surface = platform::screenSurface();
    bool opened = false;
    if (compatibleWith) {
        if (!compatibleWith->isActive()) {
            if (!compatibleWith->begin(nullptr))
                return false;
            opened = true;
        }
        surface = compatibleWith->surface();
    }
    bool ok = adopt(platform::createCompatibleBitmap(surface, width, height));
    if (opened)
        compatibleWith->end();
    return ok;
}

bool Bitmap::create(const WChar* path)
{
    std::vector<unsigned char> data;
    if (!VexAPI::detail::readFileBytes(path, data)) {
        clear();
        return false;
    }
    return construct(data.data(), data.size(), nullptr);
}

bool Bitmap::create(const void* data, std::size_t size) { return construct(data, size, nullptr); }

bool Bitmap::create(void* handle)
{
    clear();
    return adopt(handle);
}

bool Bitmap::construct(const void* data, std::size_t size, PaintDevice*)
{
    clear();
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    ImagePixels image;
    if (!VexAPI::detail::decodeBmp(bytes, size, image))
        return false;
    if (!adopt(platform::createBitmap(image.width, image.height, image.depth == 1 ? 1 : 32)))
        return false;
    platform::writeBitmapPixels(getHandle(), image.pixels);
    // The packed form: the block without its file header.
    if (size >= 14 && bytes[0] == 'B' && bytes[1] == 'M')
        m_packed.assign(bytes + 14, bytes + size);
    else
        m_packed.assign(bytes, bytes + size);
    return true;
}

std::size_t Bitmap::getSize() const
{
    if (!m_packed.empty())
        return m_packed.size() + 14;
    if (!isValidBitmap())
        return 0;
    int bits = m_depth == 1 ? 1 : 24;
    std::size_t stride = ((std::size_t(m_width) * bits + 31) / 32) * 4;
    return 14 + 40 + (bits == 1 ? 8 : 0) + stride * m_height;
}

bool Bitmap::Save(std::vector<unsigned char>& out) const
{
    ImagePixels image;
    if (!pixels(image.pixels))
        return false;
    image.width = m_width;
    image.height = m_height;
    image.depth = m_depth;
    VexAPI::detail::encodeBmp(image, out);
    return true;
}

bool Bitmap::Save(const WChar* path) const
{
    std::vector<unsigned char> data;
    return Save(data) && VexAPI::detail::writeFileBytes(path, data);
}

VULong Bitmap::pixel(int x, int y) const
{
    if (x < 0 || y < 0 || x >= m_width || y >= m_height)
        return 0;
    if (m_surface) // selected into its context: read through it
        return m_surface->getPixel(x, y);
    std::vector<VULong> all;
    if (!pixels(all))
        return 0;
    return all[std::size_t(y) * m_width + x];
}

bool Bitmap::pixels(std::vector<VULong>& out) const
{
    return isValidBitmap() && platform::readBitmapPixels(getHandle(), out);
}

bool Bitmap::setPixels(const std::vector<VULong>& in)
{
    if (!isValidBitmap() || in.size() != std::size_t(m_width) * m_height)
        return false;
    return platform::writeBitmapPixels(getHandle(), in);
}

void Bitmap::setMask(Bitmap* mask)
{
    if (mask == this || mask == m_mask)
        return;
    delete m_mask;
    m_mask = mask;
}

Bitmap* Bitmap::createMask(bool monochrome) const
{
    if (!isValidBitmap())
        return nullptr;
    return createMask(Color::fromRgb(pixel(0, m_height - 1)), monochrome);
}

Bitmap* Bitmap::createMask(const Color& color, bool monochrome) const
{
    // The mask is set (white) on every pixel but those of `color`, which stay clear (black):
    // drawBitmap keeps the destination where the mask is clear. Computed on the pixels, so
    // that the result does not depend on how a context turns colours into one bit.
    std::vector<VULong> source;
    if (!pixels(source))
        return nullptr;
    Bitmap* mask = new Bitmap;
    bool made = monochrome ? mask->create(m_width, m_height, static_cast<PaintDevice*>(nullptr))
                           : mask->create(m_width, m_height, 1);
    if (!made) {
        delete mask;
        return nullptr;
    }
    VULong transparent = color.rgb() & 0xFFFFFF;
    for (VULong& c : source)
        c = (c & 0xFFFFFF) == transparent ? 0 : 0xFFFFFF;
    mask->setPixels(source);
    return mask;
}

Bitmap* Bitmap::scale(int w, int h) const
{
    // Nearest pixel: a mask keeps its two colours and a picture its exact ones.
    std::vector<VULong> source;
    if (w <= 0 || h <= 0 || !pixels(source))
        return nullptr;
    std::vector<VULong> out(std::size_t(w) * h);
    for (int y = 0; y < h; ++y) {
        std::size_t sy = std::size_t(y) * m_height / h;
        for (int x = 0; x < w; ++x)
            out[std::size_t(y) * w + x] = source[sy * m_width + std::size_t(x) * m_width / w];
    }
    Bitmap* result = new Bitmap(w, h, m_depth == 1 ? 1 : 32);
    if (!result->setPixels(out)) {
        delete result;
        return nullptr;
    }
    if (m_mask)
        result->setMask(m_mask->scale(w, h));
    return result;
}

Picture Bitmap::createPicture() const
{
    if (!isValidBitmap())
        return Picture();
    Bitmap* copy = new Bitmap(*this);
    Bitmap* mask = copy->detachMask();
    return Picture(copy, mask);
}

bool Bitmap::begin(PaintDevice* compatibleWith)
{
    if (m_useCount > 0) {
        ++m_useCount;
        return true;
    }
    if (!isValidBitmap())
        return false;
    platform::Surface* compatible = compatibleWith ? compatibleWith->surface() : nullptr;
    m_surface = platform::openBitmapSurface(compatible, getHandle());
    if (!m_surface)
        return false;
    m_useCount = 1;
    takeClipBox();
    return true;
}

void Bitmap::end()
{
    if (m_useCount <= 0)
        return;
    if (--m_useCount > 0)
        return;
    platform::closeBitmapSurface(m_surface);
    m_surface = nullptr;
}

int Bitmap::checkInvariants() const
{
    if (int broken = PaintDevice::checkInvariants())
        return broken;
    if (isValidBitmap() != (m_width > 0 && m_height > 0))
        return 3;
    if (m_mask == this)
        return 4;
    return 0;
}

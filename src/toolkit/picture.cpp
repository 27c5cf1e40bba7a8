// Picture: the shared bitmap and mask pair, loading and saving.
#include <vexapi/toolkit/picture.h>

#include "filebytes.h"
#include "imagecodec.h"
#include "platform_paint.h"

using VexAPI::detail::ImagePixels;

Picture::Picture(Bitmap* bitmap, Bitmap* mask)
{
    if (!bitmap) {
        delete mask;
        return;
    }
    m_shared = new Shared;
    m_shared->bitmap = bitmap;
    m_shared->mask = mask;
}

Picture& Picture::operator=(const Picture& o)
{
    if (o.m_shared)
        ++o.m_shared->refs;
    clear();
    m_shared = o.m_shared;
    return *this;
}

void Picture::clear()
{
    freeSaved();
    Shared* s = m_shared;
    m_shared = nullptr;
    if (!s || --s->refs > 0)
        return;
    // The bitmap may carry the mask too: detach it so that each is deleted once.
    if (s->bitmap && s->bitmap->getMask() == s->mask)
        s->bitmap->detachMask();
    delete s->mask;
    delete s->bitmap;
    delete s;
}

bool Picture::create(const WChar* path)
{
    std::vector<unsigned char> data;
    if (!VexAPI::detail::readFileBytes(path, data)) {
        clear();
        return false;
    }
    return create(data.data(), data.size());
}

bool Picture::create(const void* data, std::size_t size)
{
    clear();
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    Bitmap* bitmap = new Bitmap;
    bool ok = false;
    if (VexAPI::detail::isPng(bytes, size) || VexAPI::detail::isJpeg(bytes, size)) {
        ImagePixels image;
        bool decoded = VexAPI::detail::isPng(bytes, size)
                           ? VexAPI::detail::decodePng(bytes, size, image)
                           : VexAPI::detail::decodeJpeg(bytes, size, image);
        ok = decoded && bitmap->create(image.width, image.height, 32) &&
             bitmap->setPixels(image.pixels);
    } else {
        ok = bitmap->create(data, size);
    }
    if (!ok) {
        delete bitmap;
        return false;
    }
    *this = Picture(bitmap, nullptr);
    return true;
}

bool Picture::createTransparent(const WChar* path)
{
    if (!create(path))
        return false;
    m_shared->mask = m_shared->bitmap->createMask(false);
    return true;
}

bool Picture::createTransparentFromBMP(const void* data, std::size_t size)
{
    if (!create(data, size))
        return false;
    m_shared->mask = m_shared->bitmap->createMask(false);
    return true;
}

bool Picture::createTransparentFromBMP(const void* data, std::size_t size,
                                       const Color& transparent)
{
    if (!create(data, size))
        return false;
    m_shared->mask = m_shared->bitmap->createMask(transparent, false);
    return true;
}

bool Picture::saveBMP(std::vector<unsigned char>& out) const
{
    return !empty() && m_shared->bitmap->Save(out);
}

bool Picture::savePNG(std::vector<unsigned char>& out) const
{
    if (empty())
        return false;
    ImagePixels image;
    image.width = width();
    image.height = height();
    return m_shared->bitmap->pixels(image.pixels) && VexAPI::detail::encodePng(image, out);
}

bool Picture::savePNG(const WChar* path) const
{
    std::vector<unsigned char> data;
    return savePNG(data) && VexAPI::detail::writeFileBytes(path, data);
}

bool Picture::saveJPEG(std::vector<unsigned char>& out, int quality) const
{
    if (empty())
        return false;
    ImagePixels image;
    image.width = width();
    image.height = height();
    return m_shared->bitmap->pixels(image.pixels) &&
           VexAPI::detail::encodeJpeg(image, quality, out);
}

bool Picture::saveJPEG(const WChar* path, int quality) const
{
    std::vector<unsigned char> data;
    return saveJPEG(data, quality) && VexAPI::detail::writeFileBytes(path, data);
}

void* Picture::createHICON() const
{
    if (empty())
        return nullptr;
    return VexAPI::platform::createIcon(m_shared->bitmap->getHandle(),
                                        m_shared->mask ? m_shared->mask->getHandle() : nullptr);
}

Picture Picture::scale(int w, int h) const
{
    if (empty())
        return Picture();
    Bitmap* bitmap = m_shared->bitmap->scale(w, h);
    if (!bitmap)
        return Picture();
    Bitmap* mask = m_shared->mask ? m_shared->mask->scale(w, h) : nullptr;
    return Picture(bitmap, mask);
}

const unsigned char* Picture::keepSaved(bool ok, int* size)
{
    if (!ok)
        m_saved.clear();
    if (size)
        *size = ok ? int(m_saved.size()) : 0;
    return ok && !m_saved.empty() ? m_saved.data() : nullptr;
}

const unsigned char* Picture::saveBMP(int* size)
{
    std::vector<unsigned char> out;
    bool ok = saveBMP(out);
    m_saved.swap(out);
    return keepSaved(ok, size);
}

const unsigned char* Picture::savePNG(int* size)
{
    std::vector<unsigned char> out;
    bool ok = savePNG(out);
    m_saved.swap(out);
    return keepSaved(ok, size);
}

const unsigned char* Picture::saveJPEG(int* size, int quality)
{
    std::vector<unsigned char> out;
    bool ok = saveJPEG(out, quality);
    m_saved.swap(out);
    return keepSaved(ok, size);
}

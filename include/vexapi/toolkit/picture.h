// Picture: a shared bitmap with an optional transparency mask.
#pragma once

#include <vexapi/toolkit/bitmap.h>

#include <cstddef>
#include <vector>

// A copy shares the bitmap, the mask and the count (one increment). The last release
// detaches the mask from the bitmap and deletes both.
class VEXAPI_API Picture {
public:
    Picture() = default;
    // Takes both bitmaps (either may be null; a null bitmap gives an empty picture).
    Picture(Bitmap* bitmap, Bitmap* mask);
    Picture(const Picture& o) : m_shared(o.m_shared) { if (m_shared) ++m_shared->refs; }
    Picture(Picture&& o) noexcept : m_shared(o.m_shared) { o.m_shared = nullptr; }
    Picture& operator=(const Picture& o);
    Picture& operator=(Picture&& o) noexcept
    {
        if (this != &o) {
            clear();
            m_shared = o.m_shared;
            o.m_shared = nullptr;
        }
        return *this;
    }
    ~Picture() { clear(); }

    // Bitmap files, PNG and JPEG files.
    bool create(const WChar* path);
    bool create(const void* data, std::size_t size);
    // The picture with the mask of the colour of its bottom left pixel.
    bool createTransparent(const WChar* path);
    bool createTransparentFromBMP(const void* data, std::size_t size);
    bool createTransparentFromBMP(const void* data, std::size_t size, const Color& transparent);

    bool saveBMP(std::vector<unsigned char>& out) const;
    bool savePNG(const WChar* path) const;
    bool savePNG(std::vector<unsigned char>& out) const;
    bool saveJPEG(std::vector<unsigned char>& out, int quality = 90) const;
    bool saveJPEG(const WChar* path, int quality = 90) const;
    // A platform icon (an HICON on Windows) of the bitmap and mask, owned by the caller;
    // null for an empty picture or where the platform has no icons.
    void* createHICON() const;
    // The file forms in a block this Picture object keeps until freeSaved, clear or the next
    // save of this kind; *size receives its length (0 and null on failure).
    const unsigned char* saveBMP(int* size);
    const unsigned char* savePNG(int* size);
    const unsigned char* saveJPEG(int* size, int quality = 90);
    void freeSaved() { std::vector<unsigned char>().swap(m_saved); }

    void clear();
    bool empty() const { return !m_shared || !m_shared->bitmap; }
    int width() const { return empty() ? 0 : m_shared->bitmap->getWidth(); }
    int height() const { return empty() ? 0 : m_shared->bitmap->getHeight(); }
    Bitmap* bitmap() const { return m_shared ? m_shared->bitmap : nullptr; }
    Bitmap* mask() const { return m_shared ? m_shared->mask : nullptr; }
    int useCount() const { return m_shared ? m_shared->refs : 0; }
    // A new picture of w by h.
    Picture scale(int w, int h) const;

private:
    struct Shared {
        Bitmap* bitmap = nullptr;
        Bitmap* mask = nullptr;
        int refs = 1;
    };
    const unsigned char* keepSaved(bool ok, int* size);

    Shared* m_shared = nullptr;
    std::vector<unsigned char> m_saved; // of this object, not shared
};

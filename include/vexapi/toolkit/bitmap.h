// Bitmap: a platform bitmap, and a device to draw on it.
#pragma once

#include <vexapi/core/types.h>
#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/paintdevice.h>

#include <cstddef>
#include <vector>

class Picture;

// The handle is shared and counted between copies of a Bitmap (a copy starts closed). The
// bitmap owns its mask: setMask takes the pointer, and deletes the former mask.
// Invariants (checkInvariants, beside the device's):
//  3. A handle is there exactly when width and height are above 0.
//  4. The mask, when set, is not the bitmap itself.
class VEXAPI_API Bitmap : public PaintDevice {
public:
    Bitmap() = default;
    Bitmap(int width, int height, int depth = 32) { create(width, height, depth); }
    Bitmap(const Bitmap& other);
    Bitmap& operator=(const Bitmap& other);
    ~Bitmap() override;

    // Each gives whether a bitmap was made; a failure leaves the bitmap empty.
    bool create(int width, int height, int depth = 32);
    bool create(int width, int height, PaintDevice* compatibleWith);
    bool create(const WChar* path);                 // a bitmap file
    bool create(const void* data, std::size_t size); // a bitmap file's bytes
    bool create(void* handle);                      // takes the platform bitmap
    // Reads a bitmap in a file's layout from memory (without the file header when it isn't
    // there), for `device`'s format.
    bool construct(const void* data, std::size_t size, PaintDevice* device = nullptr);
    void clear();

    bool isValidBitmap() const { return m_handle.get() != nullptr; }
    void* getHandle() const { return m_handle.get(); }
    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }
    int getColorDepth() const { return m_depth; }
    // The size of the bitmap file form: the packed form plus the 14 bytes of the file header.
    std::size_t getSize() const;
    // The bitmap file form (24 bits a pixel, or 1 for a monochrome bitmap).
    bool Save(std::vector<unsigned char>& out) const;
    bool Save(const WChar* path) const;

    // Pixels, red in the low byte, top row first (0 when out of range or not valid).
    VULong pixel(int x, int y) const;
    bool pixels(std::vector<VULong>& out) const;
    bool setPixels(const std::vector<VULong>& in);

    void setMask(Bitmap* mask);
    Bitmap* getMask() const { return m_mask; }
    Bitmap* detachMask() { Bitmap* m = m_mask; m_mask = nullptr; return m; }
    // A mask set where the bitmap has `color` (else the colour of its bottom left pixel):
    // monochrome false gives a 1-bit mask, true one in the screen's format. The caller owns it.
    Bitmap* createMask(bool monochrome) const;
    Bitmap* createMask(const Color& color, bool monochrome) const;
    // A new bitmap of w by h, stretched; the caller owns it.
    Bitmap* scale(int w, int h) const;
    // A Picture that owns a copy of this bitmap and of its mask.
    Picture createPicture() const;

    bool begin(PaintDevice* compatibleWith = nullptr) override;
    void end() override;

    int checkInvariants() const;

private:
    bool adopt(void* handle);

    VexAPI::detail::SharedHandle m_handle;
    int m_width = 0;
    int m_height = 0;
    int m_depth = 0;
    Bitmap* m_mask = nullptr;
    std::vector<unsigned char> m_packed; // the loaded form, when made from memory
};

// The image file forms a Bitmap reads and writes: bitmap files and PNG, to and from pixels
// in the toolkit's colour layout (red in the low byte), top row first.
#pragma once

#include <vexapi/core/types.h>

#include <cstddef>
#include <vector>

namespace VexAPI {
namespace detail {

// The largest image the decoders accept: a side of 32768 and 64M pixels in all, so that a
// header claiming more cannot make them allocate gigabytes.
const int MaxImageSide = 32768;
const long long MaxImagePixels = 1LL << 26;
inline bool acceptableSize(long long w, long long h)
{
    return w > 0 && h > 0 && w <= MaxImageSide && h <= MaxImageSide && w * h <= MaxImagePixels;
}

struct ImagePixels {
    int width = 0;
    int height = 0;
    int depth = 0; // of the file: 1, 4, 8, 24 or 32
    std::vector<VULong> pixels;
};

// A bitmap file, or its packed form without the 14-byte file header. Uncompressed 1, 4, 8,
// 24 and 32 bits a pixel; anything else, or a block too short for what its header says,
// gives false.
bool decodeBmp(const unsigned char* data, std::size_t size, ImagePixels& out);
// A bitmap file of 24 bits a pixel, or of 1 bit (black and white) for depth 1.
void encodeBmp(const ImagePixels& image, std::vector<unsigned char>& out);
bool isPng(const unsigned char* data, std::size_t size);
bool decodePng(const unsigned char* data, std::size_t size, ImagePixels& out);
bool encodePng(const ImagePixels& image, std::vector<unsigned char>& out);

} // namespace detail
} // namespace VexAPI

namespace VexAPI {
namespace detail {

bool isJpeg(const unsigned char* data, std::size_t size);
bool decodeJpeg(const unsigned char* data, std::size_t size, ImagePixels& out);
// quality 1 to 100 (clamped).
bool encodeJpeg(const ImagePixels& image, int quality, std::vector<unsigned char>& out);

} // namespace detail
} // namespace VexAPI

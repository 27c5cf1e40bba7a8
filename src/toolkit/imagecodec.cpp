// Bitmap files and PNG (over libpng) to and from pixel arrays.
#include "imagecodec.h"

#include <png.h>

#include <cstring>

namespace VexAPI {
namespace detail {

namespace {

unsigned get16(const unsigned char* p) { return unsigned(p[0]) | unsigned(p[1]) << 8; }
VULong get32(const unsigned char* p)
{
    return VULong(p[0]) | VULong(p[1]) << 8 | VULong(p[2]) << 16 | VULong(p[3]) << 24;
}
void put16(std::vector<unsigned char>& out, unsigned v)
{
    out.push_back(v & 0xFF);
    out.push_back((v >> 8) & 0xFF);
}
void put32(std::vector<unsigned char>& out, VULong v)
{
    for (int i = 0; i < 4; ++i)
        out.push_back((v >> (8 * i)) & 0xFF);
}
VULong rgbOf(unsigned char r, unsigned char g, unsigned char b)
{
    return VULong(r) | VULong(g) << 8 | VULong(b) << 16;
}

} // namespace

bool decodeBmp(const unsigned char* data, std::size_t size, ImagePixels& out)
{
    if (!data)
        return false;
    if (size >= 14 && data[0] == 'B' && data[1] == 'M') {
        data += 14;
        size -= 14;
    }
    if (size < 40)
        return false;
    VULong headerSize = get32(data);
    if (headerSize < 40 || headerSize > size)
        return false;
    std::int32_t width = std::int32_t(get32(data + 4));
    std::int32_t height = std::int32_t(get32(data + 8));
    unsigned bits = get16(data + 14);
    VULong compression = get32(data + 16);
    VULong colorsUsed = get32(data + 32);
    bool bottomUp = height > 0;
    if (height < 0)
        height = -height;
    if (!acceptableSize(width, height))
        return false;
    if (compression != 0 && !(compression == 3 && bits == 32))
        return false;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32)
        return false;
    std::size_t offset = headerSize;
    if (compression == 3 && headerSize == 40)
        offset += 12; // the three colour masks after the header
    std::vector<VULong> palette;
    if (bits <= 8) {
        std::size_t n = colorsUsed ? colorsUsed : (std::size_t(1) << bits);
        if (n > 256 || offset + 4 * n > size)
            return false;
        for (std::size_t i = 0; i < n; ++i) {
            const unsigned char* q = data + offset + 4 * i;
            palette.push_back(rgbOf(q[2], q[1], q[0]));
        }
        offset += 4 * n;
    }
    std::size_t stride = ((std::size_t(width) * bits + 31) / 32) * 4;
    if (offset + stride * std::size_t(height) > size)
        return false;
    out.width = width;
    out.height = height;
    out.depth = int(bits);
    out.pixels.assign(std::size_t(width) * height, 0);
    for (int y = 0; y < height; ++y) {
        const unsigned char* row = data + offset + stride * std::size_t(bottomUp ? height - 1 - y : y);
        VULong* dst = &out.pixels[std::size_t(y) * width];
        for (int x = 0; x < width; ++x) {
            VULong c = 0;
            if (bits == 24 || bits == 32) {
                const unsigned char* p = row + std::size_t(x) * (bits / 8);
                c = rgbOf(p[2], p[1], p[0]);
            } else {
                unsigned index = 0;
                if (bits == 8)
                    index = row[x];
                else if (bits == 4)
                    index = (row[x / 2] >> ((x & 1) ? 0 : 4)) & 0xF;
                else
                    index = (row[x / 8] >> (7 - (x & 7))) & 1;
                c = index < palette.size() ? palette[index] : 0;
            }
            dst[x] = c;
        }
    }
    return true;
}

void encodeBmp(const ImagePixels& image, std::vector<unsigned char>& out)
{
    int bits = image.depth == 1 ? 1 : 24;
    std::size_t stride = ((std::size_t(image.width) * bits + 31) / 32) * 4;
    std::size_t paletteSize = bits == 1 ? 8 : 0;
    std::size_t imageSize = stride * image.height;
    out.clear();
    out.reserve(54 + paletteSize + imageSize);
    out.push_back('B');
    out.push_back('M');
    put32(out, VULong(54 + paletteSize + imageSize));
    put32(out, 0);
    put32(out, VULong(54 + paletteSize));
    put32(out, 40);
    put32(out, VULong(image.width));
    put32(out, VULong(image.height));
    put16(out, 1);
    put16(out, unsigned(bits));
    put32(out, 0);
    put32(out, VULong(imageSize));
    put32(out, 2835); // 72 dots an inch
    put32(out, 2835);
    put32(out, 0);
    put32(out, 0);
    if (bits == 1) {
        put32(out, 0);
        put32(out, 0xFFFFFF);
    }
    std::size_t start = out.size();
    out.resize(start + imageSize, 0);
    for (int y = 0; y < image.height; ++y) {
        unsigned char* row = &out[start + stride * std::size_t(image.height - 1 - y)];
        const VULong* src = &image.pixels[std::size_t(y) * image.width];
        for (int x = 0; x < image.width; ++x) {
            VULong c = src[x];
            if (bits == 1) {
                if ((c & 0xFFFFFF) != 0)
                    row[x / 8] |= 0x80 >> (x & 7);
            } else {
                row[3 * x] = (c >> 16) & 0xFF;
                row[3 * x + 1] = (c >> 8) & 0xFF;
                row[3 * x + 2] = c & 0xFF;
            }
        }
    }
}

bool isPng(const unsigned char* data, std::size_t size)
{
    return data && size >= 8 && png_sig_cmp(data, 0, 8) == 0;
}

bool decodePng(const unsigned char* data, std::size_t size, ImagePixels& out)
{
    if (!isPng(data, size))
        return false;
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, data, size))
        return false;
    if (!acceptableSize(image.width, image.height)) {
        png_image_free(&image);
        return false;
    }
    image.format = PNG_FORMAT_RGBA;
    std::vector<unsigned char> buffer(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, buffer.data(), 0, nullptr)) {
        png_image_free(&image);
        return false;
    }
    out.width = int(image.width);
    out.height = int(image.height);
    out.depth = 32;
    out.pixels.resize(std::size_t(out.width) * out.height);
    for (std::size_t i = 0; i < out.pixels.size(); ++i)
        out.pixels[i] = rgbOf(buffer[4 * i], buffer[4 * i + 1], buffer[4 * i + 2]);
    return true;
}

bool encodePng(const ImagePixels& image, std::vector<unsigned char>& out)
{
    if (image.width <= 0 || image.height <= 0)
        return false;
    std::vector<unsigned char> rgb(std::size_t(image.width) * image.height * 3);
    for (std::size_t i = 0; i < image.pixels.size(); ++i) {
        rgb[3 * i] = image.pixels[i] & 0xFF;
        rgb[3 * i + 1] = (image.pixels[i] >> 8) & 0xFF;
        rgb[3 * i + 2] = (image.pixels[i] >> 16) & 0xFF;
    }
    png_image img;
    std::memset(&img, 0, sizeof img);
    img.version = PNG_IMAGE_VERSION;
    img.width = png_uint_32(image.width);
    img.height = png_uint_32(image.height);
    img.format = PNG_FORMAT_RGB;
    png_alloc_size_t length = 0;
    if (!png_image_write_get_memory_size(img, length, 0, rgb.data(), 0, nullptr))
        return false;
    out.resize(length);
    if (!png_image_write_to_memory(&img, out.data(), &length, 0, rgb.data(), 0, nullptr))
        return false;
    out.resize(length);
    return true;
}

} // namespace detail
} // namespace VexAPI

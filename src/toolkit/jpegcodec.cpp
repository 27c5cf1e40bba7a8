// JPEG (over libjpeg) to and from pixel arrays. libjpeg reports errors by calling a function
// that must not return: it jumps back here, so that a bad file is a false result.
#include "imagecodec.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace VexAPI {
namespace detail {

namespace {

struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf jump;
};

void onError(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}

void onMessage(j_common_ptr) {} // warnings are not printed

} // namespace

bool isJpeg(const unsigned char* data, std::size_t size)
{
    return data && size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

bool decodeJpeg(const unsigned char* data, std::size_t size, ImagePixels& out)
{
    if (!isJpeg(data, size))
        return false;
    jpeg_decompress_struct info;
    ErrorManager errors;
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = onError;
    errors.base.output_message = onMessage;
    std::vector<unsigned char> row;
    if (setjmp(errors.jump)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, const_cast<unsigned char*>(data), static_cast<unsigned long>(size));
    jpeg_read_header(&info, TRUE);
    if (!acceptableSize(info.image_width, info.image_height)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    info.out_color_space = JCS_RGB;
    jpeg_start_decompress(&info);
    out.width = int(info.output_width);
    out.height = int(info.output_height);
    out.depth = 24;
    out.pixels.assign(std::size_t(out.width) * out.height, 0);
    row.resize(std::size_t(out.width) * 3);
    while (info.output_scanline < info.output_height) {
        int y = int(info.output_scanline);
        JSAMPROW rows[1] = {row.data()};
        jpeg_read_scanlines(&info, rows, 1);
        for (int x = 0; x < out.width; ++x)
            out.pixels[std::size_t(y) * out.width + x] =
                VULong(row[3 * x]) | VULong(row[3 * x + 1]) << 8 | VULong(row[3 * x + 2]) << 16;
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return true;
}

bool encodeJpeg(const ImagePixels& image, int quality, std::vector<unsigned char>& out)
{
    if (image.width <= 0 || image.height <= 0)
        return false;
    jpeg_compress_struct info;
    ErrorManager errors;
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = onError;
    errors.base.output_message = onMessage;
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    std::vector<unsigned char> row(std::size_t(image.width) * 3);
    if (setjmp(errors.jump)) {
        jpeg_destroy_compress(&info);
        std::free(buffer);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &buffer, &length);
    info.image_width = JDIMENSION(image.width);
    info.image_height = JDIMENSION(image.height);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality < 1 ? 1 : quality > 100 ? 100 : quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        const VULong* src = &image.pixels[std::size_t(info.next_scanline) * image.width];
        for (int x = 0; x < image.width; ++x) {
            row[3 * x] = src[x] & 0xFF;
            row[3 * x + 1] = (src[x] >> 8) & 0xFF;
            row[3 * x + 2] = (src[x] >> 16) & 0xFF;
        }
        JSAMPROW rows[1] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    out.assign(buffer, buffer + length);
    jpeg_destroy_compress(&info);
    std::free(buffer);
    return true;
}

} // namespace detail
} // namespace VexAPI

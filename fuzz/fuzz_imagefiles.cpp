// Feeds arbitrary bytes to the picture loader (bitmap files, PNG, JPEG): nothing may crash,
// and a picture that loads saves as a bitmap file that loads back to the same pixels.
#include <vexapi/toolkit/picture.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Picture picture;
    if (!picture.create(data, size))
        return 0;
    if (picture.width() * picture.height() > 4096 * 4096)
        return 0;
    std::vector<VULong> pixels, again;
    if (!picture.bitmap()->pixels(pixels))
        std::abort();
    std::vector<unsigned char> bmp;
    if (!picture.saveBMP(bmp))
        std::abort();
    Picture back;
    if (!back.create(bmp.data(), bmp.size()) || !back.bitmap()->pixels(again) ||
        again != pixels)
        std::abort();
    return 0;
}

// The charset conversions' platform part on POSIX: single-byte code page tables from iconv,
// and the current locale's charset name.
#include <vexapi/core/platform_charset.h>

#include <iconv.h>
#include <langinfo.h>

namespace VexAPI {
namespace platform {

bool decodeTable(const CharsetInfo& charset, std::uint16_t table[256])
{
    iconv_t cd = iconv_open("UTF-16LE", charset.iconvName);
    if (cd == reinterpret_cast<iconv_t>(-1))
        return false;
    for (int b = 0; b < 256; ++b) {
        char in = static_cast<char>(b);
        char* inPtr = &in;
        size_t inLeft = 1;
        unsigned char out[8];
        char* outPtr = reinterpret_cast<char*>(out);
        size_t outLeft = sizeof(out);
        const size_t r = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
        // glibc's CP1255 and CP1258 hold a base letter back, waiting to compose it with a
        // following combining mark: flush it out, then reset the state for the next byte.
        if (r != static_cast<size_t>(-1))
            iconv(cd, nullptr, nullptr, &outPtr, &outLeft);
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        const size_t produced = sizeof(out) - outLeft;
        table[b] = (r == static_cast<size_t>(-1) || produced != 2)
                       ? kUnassigned
                       : static_cast<std::uint16_t>(out[0] | (out[1] << 8));
    }
    iconv_close(cd);
    return true;
}

StdCharset stdCharset()
{
    // The locale's codeset: "ANSI_X3.4-1968" until the program calls setlocale; the table
    // knows it as an alias of US-ASCII.
    return StdCharset{nl_langinfo(CODESET), 0};
}

} // namespace platform
} // namespace VexAPI

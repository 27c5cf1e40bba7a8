// The CP866 / KOI8-R / CP1251 conversion tables, derived at first use from the charset
// layer's code pages (iconv's tables on Linux, the system's on Windows), and the conversions.
#include <vexapi/core/codepages.h>

#include <vexapi/core/charset.h>

#include <mutex>

namespace {

// The upper half of each page as 16-bit characters; U+FFFD where the page assigns nothing
// (CP1251 0x98).
struct Pages {
    WChar oem[128], koi[128], ansi[128];
    // The one-step conversions, indexed by CodePageConversion.
    unsigned char table[4][128];
};

Pages g_pages;
std::once_flag g_pagesOnce;

void decodePage(const char* charset, WChar upper[128])
{
    for (int i = 0; i < 128; ++i) {
        const char byte = static_cast<char>(128 + i);
        WChar unit[2] = {0, 0};
        upper[i] = mbs2wcs(unit, &byte, charset, 2, 1) == 1 ? unit[0] : WChar(0xFFFD);
    }
}

// The byte of `to` that holds each character of `from`'s upper half, '?' where none does.
void derive(const WChar from[128], const char* to, unsigned char table[128])
{
    for (int i = 0; i < 128; ++i) {
        unsigned char byte = '?';
        char out[2];
        if (from[i] != 0xFFFD && wcs2mbs(out, &from[i], to, 2, 1) == 1)
            byte = static_cast<unsigned char>(out[0]);
        table[i] = byte;
    }
}

const Pages& pages()
{
    std::call_once(g_pagesOnce, [] {
        decodePage("CP866", g_pages.oem);
        decodePage("KOI8-R", g_pages.koi);
        decodePage("CP1251", g_pages.ansi);
        derive(g_pages.oem, "KOI8-R", g_pages.table[CpOemToKoi]);
        derive(g_pages.koi, "CP866", g_pages.table[CpKoiToOem]);
        derive(g_pages.oem, "CP1251", g_pages.table[CpOemToAnsi]);
        derive(g_pages.ansi, "CP866", g_pages.table[CpAnsiToOem]);
    });
    return g_pages;
}

inline unsigned char through(const unsigned char table[128], unsigned char b)
{
    return b < 128 ? b : table[b - 128];
}

} // namespace

int convertCodePage(CodePageConversion how, const char* src, char* dst, int limit)
{
    const int h = static_cast<int>(how);
    if (!src || !dst || limit < 0 || h < CpOemToKoi || h > CpKoiToAnsi)
        return 0;
    const Pages& p = pages();
    // A two-step conversion runs its first table, then its second, on each byte.
    const unsigned char* first;
    const unsigned char* second = nullptr;
    switch (how) {
    case CpAnsiToKoi:
        first = p.table[CpAnsiToOem];
        second = p.table[CpOemToKoi];
        break;
    case CpKoiToAnsi:
        first = p.table[CpKoiToOem];
        second = p.table[CpOemToAnsi];
        break;
    default:
        first = p.table[how];
        break;
    }
    int i = 0;
    for (; i < limit; ++i) {
        const unsigned char b = static_cast<unsigned char>(src[i]);
        if (b == 0)
            break;
        unsigned char c = through(first, b);
        if (second)
            c = through(second, c);
        dst[i] = static_cast<char>(c);
    }
    if (i < limit)
        dst[i] = 0;
    return i;
}

const unsigned char* codePageTable(CodePageConversion how)
{
    const int h = static_cast<int>(how);
    if (h < CpOemToKoi || h > CpAnsiToOem)
        return nullptr;
    return pages().table[how];
}

int OemToKoi(const char* src, char* dst, unsigned short limit)
{
    return convertCodePage(CpOemToKoi, src, dst, limit);
}

int KoiToOem(const char* src, char* dst, unsigned short limit)
{
    return convertCodePage(CpKoiToOem, src, dst, limit);
}

int OemToCharA(const char* src, char* dst, unsigned short limit)
{
    return convertCodePage(CpOemToAnsi, src, dst, limit);
}

int CharToOemA(const char* src, char* dst, unsigned short limit)
{
    return convertCodePage(CpAnsiToOem, src, dst, limit);
}

int AnsiToKoi(const char* src, char* dst, unsigned short limit)
{
    return convertCodePage(CpAnsiToKoi, src, dst, limit);
}

int KoiToAnsi(const char* src, char* dst, unsigned short limit)
{
    return convertCodePage(CpKoiToAnsi, src, dst, limit);
}

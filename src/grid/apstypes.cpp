// The type table of the grid: default sizes and formats, server type codes, hexadecimal
// dumps, and the date and decimal routines in the grid's default date format.
#include <vexapi/grid/apstypes.h>

#include <vexapi/core/wtext.h>
#include <vexapi/values/qvarn.h>

#include <cstring>

namespace VexAPI {

namespace {

const int kFormatChars = 64;

struct TypeRow {
    VLong size;
    WChar format[kFormatChars + 1];
};

// Written only by SetDefTypeFormat, at start (one thread).
TypeRow g_types[apsTypeEnd + 1] = {
    {0, WSTR("")},
    {2, WSTR("%c")},
    {2, WSTR("%d")},
    {4, WSTR("%d")},
    {4, WSTR("%.7f")},
    {8, WSTR("%.15g")},
    {2, WSTR("%s")},
    {16, WSTR("dd.mm.yyyy:hh:mi:ss.ff")},
    {1, WSTR("%u")},
    {0, WSTR("")},
    {16, WSTR("%n")},
    {VLong(sizeof(void*)), WSTR("%s")}, // a pointer's real size on the platform
    {4, WSTR("%d")},
    {8, WSTR("%I64i")},
    {1, WSTR("%d")},
    {0, WSTR("")},
};

const WChar kEmpty[] = {0};

} // namespace

bool IsTextType(int type) { return type == apsChar || type == apsWide || type == apsTextPtr; }

bool IsNumberType(int type)
{
    switch (type) {
    case apsShort: case apsLong: case apsFloat: case apsDouble: case apsByte:
    case apsDecimal: case apsBinary: case apsInt64: case apsBool:
        return true;
    default:
        return false;
    }
}

VLong GetDefTypeSize(int type, VLong size)
{
    if (size != 0)
        return size;
    return type >= 0 && type <= apsTypeEnd ? g_types[type].size : 0;
}

const WChar* GetDefTypeFormat(int type)
{
    return type >= 0 && type <= apsTypeEnd ? g_types[type].format : kEmpty;
}

bool SetDefTypeFormat(int type, const WChar* text)
{
    if (type < 0 || type > apsTypeEnd)
        return false;
    WChar* row = g_types[type].format;
    int n = 0;
    for (; text && text[n] && n < kFormatChars; ++n)
        row[n] = text[n];
    row[n] = 0;
    return true;
}

int OrvToApsType(int serverType)
{
    switch (serverType) {
    case 1: return apsChar;
    case 2: return apsLong;
    case 3: return apsFloat;
    case 4: return apsDate;
    case 5: return apsDecimal;
    case 6: return apsBinary;
    case 7: return apsBlob;
    case 8: return apsShort;
    case 9: return apsDouble;
    case 10: return apsInt64;
    case 11: case 16: case 17: case 18: return apsChar;
    case 12: return apsBinary;
    case 13: return apsBool;
    default: return apsNone;
    }
}

int ApsToOrvType(int type)
{
    switch (type) {
    case 1: return 1;
    case 2: return 8;
    case 3: return 2;
    case 4: return 3;
    case 5: return 9;
    case 7: return 4;
    case 9: return 7;
    case 10: return 5;
    case 12: return 6;
    case 13: return 10;
    case 14: return 13;
    default: return 0;
    }
}

int DumpToHexText(const void* data, WChar* text, VLong dataLength, VLong textLength)
{
    if (!data || !text || dataLength == 0 || textLength == 0 || (dataLength < 0 && textLength < 0))
        return 1;
    if (textLength < 0)
        textLength = dataLength * 2;
    if (dataLength < 0)
        dataLength = textLength / 2;
    std::memset(text, 0, std::size_t(textLength) * sizeof(WChar));
    static const char digits[] = "0123456789ABCDEF";
    const unsigned char* p = static_cast<const unsigned char*>(data);
    VLong t = 0;
    for (VLong i = 0; i < dataLength && t + 2 <= textLength; ++i) {
        text[t++] = WChar(digits[p[i] >> 4]);
        text[t++] = WChar(digits[p[i] & 15]);
    }
    return 0;
}

namespace {
int hexValue(WChar c)
{
    if (c >= 'a' && c <= 'z')
        c = WChar(c - 'a' + 'A');
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
} // namespace

int HexTextToDump(const WChar* text, void* data, VLong textLength, VLong dataLength)
{
    if (!text || !data || textLength == 0 || dataLength == 0 || (textLength < 0 && dataLength < 0))
        return 1;
    if (textLength < 0)
        textLength = dataLength * 2;
    if (dataLength < 0)
        dataLength = (textLength + 1) / 2;
    unsigned char* out = static_cast<unsigned char*>(data);
    std::memset(out, 0, std::size_t(dataLength));
    VLong t = 0;
    for (VLong i = 0; i < dataLength && t < textLength && text[t]; ++i) {
        int hi, lo;
        if (t + 1 < textLength && text[t + 1]) {
            hi = hexValue(text[t]);
            lo = hexValue(text[t + 1]);
            t += 2;
        } else { // a last lone digit: high digit "0"
            hi = 0;
            lo = hexValue(text[t]);
            t += 1;
        }
        if (hi < 0 || lo < 0)
            return 1;
        out[i] = static_cast<unsigned char>(hi * 16 + lo);
    }
    return 0;
}

int ApsTICKTOSTRF(const OrvCPP::OrvDate* date, const WChar* format, WChar* buffer, int size)
{
    if (!format || !*format)
        format = g_types[apsDate].format;
    return TICKTOSTRF(date, format, buffer, size);
}

int ApsSTRTOTICKF(const WChar* text, const WChar* format, OrvCPP::OrvDate* date)
{
    if (!format || !*format)
        format = g_types[apsDate].format;
    return STRTOTICKF(text, format, date);
}

int ApsDECTOSTR(const OrvCPP::OrvDec* value, WChar* buffer, int size, int radix, int mode)
{
    if (radix != 10 || mode != 0) {
        if (buffer && size > 0)
            buffer[0] = 0;
        return QV_EARG;
    }
    return DECTOSTR(value, buffer, size, -1);
}

} // namespace VexAPI

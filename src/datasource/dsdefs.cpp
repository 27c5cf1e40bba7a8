// Sizes of the value types and the growing conversion into a DynValueBase.
#include <vexapi/datasource/dsdefs.h>

namespace DataSourceAPI {

int sizeOf(Type type, int len)
{
    switch (type) {
    case tInt: return 4;
    case tSmall: return 2;
    case tReal: return 4;
    case tDouble: return 8;
    case tDec: return 16;
    case tDate: return 16;
    case tChar:
    case tText:
    case tByte:
    case tObject: return len;
    default: return 0;
    }
}

int slotSize(Type type, int len)
{
    switch (type) {
    case tBlob: return int(sizeof(DSBlob));
    case tObject: return int(sizeof(DSObject));
    case tChar:
    case tText:
    case tByte: return len < 0 ? 0 : len;
    case tNone: return len < 0 ? 0 : len;
    default: return sizeOf(type, len);
    }
}

namespace DataRepresentationWithNulls {

namespace {

// Room a string destination needs beyond the size convert reports: the hexadecimal form of
// bytes is reported without its terminator, and growing to the reported size alone would
// lose the last byte of the value.
int terminatorRoom(Type type)
{
    return type == tChar ? 1 : type == tText ? 2 : 0;
}

} // namespace

bool convert(DynValueBase& value, Type dst, const void* src, int srcLen, Type srcType,
             const WChar* encoding)
{
    VLong needed = 0;
    value.isNull = false;
    if (!DataSourceAPI::convert(value.data(), value.capacity(), dst, src, srcLen, srcType,
                                &needed, encoding))
        return false;
    value.realLen = needed;
    const int room = int(needed) + terminatorRoom(dst);
    if (room > value.capacity() && value.alloc(room)) {
        if (!DataSourceAPI::convert(value.data(), value.capacity(), dst, src, srcLen, srcType,
                                    &needed, encoding))
            return false;
        value.realLen = needed;
    }
    return true;
}

} // namespace DataRepresentationWithNulls
} // namespace DataSourceAPI

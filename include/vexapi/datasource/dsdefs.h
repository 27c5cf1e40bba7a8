// Shared definitions of the row sources: the value types and their sizes, the records the
// SQL layer fills, and the free functions every typed access goes through: convert,
// compare and addSQLValue.
#pragma once

#include <vexapi/datasource/dsvalue.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>

#include <ostream>

namespace DataSourceAPI {

// The value types. Code 0 is no type: the type of a missing value, accepted nowhere else.
enum Type {
    tNone = 0,
    tInt = 1,    // 32-bit signed (VLong)
    tSmall = 2,  // 16-bit signed
    tChar = 3,   // terminated 8-bit text in the process code page; len in bytes
    tText = 4,   // terminated 16-bit text; len in bytes
    tReal = 5,   // 32-bit float
    tDouble = 6, // 64-bit float
    tDec = 7,    // OrvDec, 16 bytes
    tDate = 8,   // OrvDate, 16 bytes
    tByte = 9,   // fixed binary of len bytes
    tBlob = 10,  // a DSBlob
    tObject = 11 // an application object with a lock count (DSObject)
};

// The width of a value: 4, 2, 4, 8, 16, 16 for the fixed types, `len` for tChar, tText,
// tByte and tObject, 0 for tBlob and for codes outside the enum.
VEXAPI_API int sizeOf(Type type, int len);

// The bytes a record reserves for a column of `type` declared with `len` (before rounding):
// the fixed sizes, the real sizes of DSBlob and DSObject, or the declared length.
VEXAPI_API int slotSize(Type type, int len);

// An application's class that makes the objects of a tObject column. The library stores one
// pointer per column and gives it back; it never calls it.
class DSFactory;

// A condition of a filter as the statement layer keeps it: the column's text, the
// parameter's name, whether it is a LIKE, and the database column it maps to (0 unknown).
struct VEXAPI_API WhereParam {
    WhereParam() : useLike(false), dbCol(0) {}
    WhereParam(const WCharString& col, const WCharString& param, bool like, int db = 0)
        : colText(col), paramName(param), useLike(like), dbCol(db)
    {
    }
    bool operator==(const WhereParam& o) const
    {
        return colText == o.colText && paramName == o.paramName && useLike == o.useLike;
    }
    bool operator!=(const WhereParam& o) const { return !(*this == o); }

    WCharString colText;
    WCharString paramName;
    bool useLike;
    int dbCol;
};

// Two strings: a sort column's text and a second text; the database column where known.
struct VEXAPI_API Pair {
    Pair() : dbCol(0) {}
    Pair(const WCharString& a, const WCharString& b, int db = 0) : first(a), second(b), dbCol(db) {}
    bool operator==(const Pair& o) const { return first == o.first && second == o.second; }
    bool operator!=(const Pair& o) const { return !(*this == o); }

    WCharString first;
    WCharString second;
    int dbCol;
};

// How addSQLValue frames a literal.
enum SQLValueType {
    sqlQuoted = 0, // 'value'
    sqlPlain = 1,  // value
    sqlDate = 2,   // 'value', as a date is written
    sqlHex = 3     // hex('value')
};

// The 16-bit stream SQL text is written to.
typedef std::basic_ostream<WChar> SQLStream;

// The conversion matrix: writes the value `src` (srcLen bytes of srcType) into `dst` (room
// for dstLen bytes) as dstType. False for a pair the matrix does not convert, for a value
// that does not fit the destination type (a text that is no number, a number out of range)
// and when srcLen < sizeOf(srcType, 0) or dstLen < sizeOf(dstType, 0).
//
// `resultLen`, when given, receives the size the whole value needs, also when a string
// destination was too small: then the text is cut, terminated, and the result is true, so
// a caller can grow its buffer and convert again. Texts are read to their terminator.
// `encoding` names the charset of a tBlob's bytes where a blob meets text; null means the
// process code page (getStdCharset()).
VEXAPI_API bool convert(void* dst, int dstLen, Type dstType, const void* src, int srcLen,
                        Type srcType, VLong* resultLen, const WChar* encoding);

// Three-way comparison of two values of one type: -1 when `a` is less, 0 when equal, 1 when
// greater (or unordered: a NaN). tChar and tText collate by the C library's LC_COLLATE locale
// (on Windows: the user's locale unless LC_COLLATE is "C"), with code point order between
// texts the locale finds equal, so 0 means identical texts. tByte compares the common bytes,
// then the longer value is the greater. Blobs, objects and unknown codes are always equal.
VEXAPI_API int compare(const void* a, int aLen, const void* b, int bLen, Type type);

// Writes the value as an SQL literal: "NULL" for a null; otherwise framed by `kind`, with
// numbers, decimals and dates through the stream's own formatting (its precision and flags),
// text with every "'" doubled, bytes as upper-case hex pairs. tChar and tBlob write nothing
// between the frame.
VEXAPI_API void addSQLValue(SQLStream& stream, SQLValueType kind, Type type, int len,
                            const void* value, bool isNull);

namespace DataRepresentationWithNulls {

// Converts into `value`, growing it once when the first pass reports a larger size.
// `value.realLen` receives the reported size; isNull is cleared. False if convert refuses.
VEXAPI_API bool convert(DynValueBase& value, Type dst, const void* src, int srcLen,
                        Type srcType, const WChar* encoding);

} // namespace DataRepresentationWithNulls
} // namespace DataSourceAPI

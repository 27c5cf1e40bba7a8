// The server's type codes, as they appear in column and parameter descriptions and in the
// fetch forms of `KortDesc` and `ValueInfo`, with the fixed sizes of the fetch forms.
#pragma once

#include <vexapi/core/types.h>

namespace OrvCPP {

// A server type code. The numbers are the server's own and are stored as plain integers in
// descriptions (`t_ParamDesc::type`), in `KortDesc` columns and in `ValueInfo`; the names
// exist so that code says which type it means.
enum ServerType : int {
    orvNone = 0,         // no type: an unknown or unbound column
    orvChar = 1,         // fixed-length 8-bit text; fetched as orvCString
    orvInteger = 2,      // signed 32-bit integer (VLong)
    orvFloat = 3,        // 32-bit float
    orvDate = 4,         // date and time, a 16-byte OrvDate
    orvDecimal = 5,      // decimal, a 16-byte OrvDec
    orvBinary = 6,       // fixed-length bytes
    orvBlob = 7,         // a long value; never travels with the row
    orvSmallInt = 8,     // 16-bit integer; also the form of a cursor handle
    orvDouble = 9,       // 64-bit float
    orvBigInt = 10,      // 64-bit integer on the server; fetched as orvInteger
    orvVarChar = 11,     // variable-length 8-bit text; fetched as orvCString
    orvVarBinary = 12,   // variable-length bytes; fetched as orvBinary
    orvBoolean = 13,     // one byte, 0 false; fetched as orvSmallInt
    orvCString = 15,     // fetch form only: 8-bit text with a terminating zero
    orvWideChar = 16,    // 16-bit text, length in bytes
    orvWideVarChar = 17, // variable-length 16-bit text; fetched as orvWideChar
    orvExtChar = 18      // text in the server's external file encoding
};

// The size in bytes of a value of a fixed-size fetch form, or 0 for a form whose size is the
// declared length (text, bytes, blobs and unknown codes).
inline int serverTypeFixedSize(int type)
{
    switch (type) {
    case orvInteger: return int(sizeof(VLong));
    case orvFloat: return int(sizeof(float));
    case orvDate: return 16;
    case orvDecimal: return 16;
    case orvSmallInt: return int(sizeof(unsigned short));
    case orvDouble: return int(sizeof(double));
    case orvBigInt: return 8;
    case orvBoolean: return 1;
    default: return 0;
    }
}

} // namespace OrvCPP

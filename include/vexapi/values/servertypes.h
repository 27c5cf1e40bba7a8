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

// How the client layer stores a bound decimal (orvDecimal) in SQLite. SQLite has no decimal
// type: a DECIMAL or NUMERIC column turns any text that reads as a number into a double,
// keeping about 15 digits. So the layer sends each valid decimal as
//  1. an INTEGER when it is a whole number that fits 64 bits;
//  2. else a REAL when the nearest double reads back as the same decimal (every value of up
//     to 15 significant digits, and some longer ones);
//  3. else its canonical text ("-12345678901234567890.123456789") followed by one NUL,
//     which SQLite's number test refuses, so the column keeps the text as it is.
// A read into a form without a precision of its own is rescaled to the column's declared
// scale (decimal(10,2) reads -12.5 back as -12.50); so every decimal of up to 33 digits
// written through the layer reads back exactly, at the column's scale.
// Costs: a bind converts each fraction to a double and back once. SQL sees kinds 1 and 2 as
// numbers that sort, compare and sum by value. Kind 3 sorts after every number and compares
// greater than any number on the bare column; sum(), avg() and arithmetic read it as a
// double, so "ORDER BY d + 0" and "WHERE d + 0 > x" order and compare it by value to a
// double's precision. Outside the layer such a text shows without its NUL, one byte longer
// than its length() says.

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

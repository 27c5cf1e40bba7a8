// The C-style decimal and date routines of the client layer: text to decimal and back, date
// to text by a format and back, copy, compare, status and double conversion, working on the
// 16-byte images of OrvDec and OrvDate that records hold.
#pragma once

#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/values/qvstatus.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Conventions of every routine below:
//  - Values are passed by pointer to their 16-byte image. OrvDec and OrvDate have alignment
//    1, so the pointer may address any offset of a row buffer.
//  - Texts come in both widths: 8-bit (ASCII digits and signs; other bytes are literals or
//    errors) and 16-bit (WChar). A `length` below 0 means "up to the terminator".
//  - Output buffers are given with their size in characters, terminator included. A text
//    that does not fit is not cut: the buffer receives "" and the result is QV_EBUFFER.
//  - The result is a QvResult code (qvstatus.h); 0 is success. On failure the output value is
//    not changed, so a caller may keep a previous value or store a status of its own
//    (SETDECSTATUS).
//  - Null value pointers give QV_EARG and write nothing.

// Text to decimal, exactly, by the grammar of OrvDec::fromText: blanks, a sign, digits, a
// point and an exponent ("-12.50", ".5", "1.5e3"). QV_ESYNTAX for a text that is no number
// ("", "1.2.3", "--1", "1e"), QV_ERANGE for a number that cannot be held exactly (more
// than 33 significant digits, 10^33 or more, digits below 10^-33).
VEXAPI_API int STRTODEC(const char* text, OrvCPP::OrvDec* result, int length = -1);
VEXAPI_API int STRTODEC(const WChar* text, OrvCPP::OrvDec* result, int length = -1);

// Decimal to text ("-12.50"; see OrvDec::toText). With `decimals` from 0 to 33 the value is
// first rounded (half away from zero) or padded to that many decimals; -1 keeps the value's
// own scale. QV_EINVALID for a value that holds no number, QV_ERANGE when padding makes it
// too long, QV_EARG for `decimals` outside -1..33. The longest text needs
// OrvDec::TextSize characters.
VEXAPI_API int DECTOSTR(const OrvCPP::OrvDec* value, char* buffer, int size, int decimals = -1);
VEXAPI_API int DECTOSTR(const OrvCPP::OrvDec* value, WChar* buffer, int size,
                        int decimals = -1);

// Date to text by `format`, in the format language of OrvDate (elements yyyy, yy, mm, dd, hh,
// mi, ss, ff; every other character is itself). A null format means the canonical form
// "yyyy-mm-dd hh:mi:ss.ff". QV_EINVALID for an invalid date, QV_EBUFFER when the text does
// not fit.
VEXAPI_API int TICKTOSTRF(const OrvCPP::OrvDate* date, const char* format, char* buffer,
                          int size);
VEXAPI_API int TICKTOSTRF(const OrvCPP::OrvDate* date, const WChar* format, WChar* buffer,
                          int size);

// Text to date by `format`, the reverse of TICKTOSTRF: TICKTOSTRF then STRTOTICKF with the
// same format gives the same date. QV_ESYNTAX when the text does not fit the format,
// QV_ERANGE for a field out of range (month 13, 2023-02-29, hour 24).
VEXAPI_API int STRTOTICKF(const char* text, const char* format, OrvCPP::OrvDate* result,
                          int length = -1);
VEXAPI_API int STRTOTICKF(const WChar* text, const WChar* format, OrvCPP::OrvDate* result,
                          int length = -1);

// Copies the decimal `from` into `to` (destination first, as memcpy). An image that breaks
// OrvDec's layout arrives as Invalid, so the copy is always a well-formed value.
VEXAPI_API int COPYDEC(OrvCPP::OrvDec* to, const OrvCPP::OrvDec* from);

// Three-way comparisons, -1, 0 or 1, as strcmp: the sign of a - b. Decimals compare by
// value (1.5 equals 1.50); values that hold no number sort first, dates likewise. A null
// pointer sorts before every value, and two null pointers are equal.
VEXAPI_API int CMPDATE(const OrvCPP::OrvDate* a, const OrvCPP::OrvDate* b);
VEXAPI_API int CMPDECIMAL(const OrvCPP::OrvDec* a, const OrvCPP::OrvDec* b);

// Sets the status of a decimal: 0 (OrvDec::Invalid) marks it as holding no number, which is
// what a caller stores after a failed STRTODEC; 2 (OrvDec::Overflow) as too large; 1
// (OrvDec::Valid) turns a non-valid value into 0 and leaves a valid one alone. QV_EARG for
// any other status.
VEXAPI_API int SETDECSTATUS(int status, OrvCPP::OrvDec* value);

// The nearest double; NaN for a value that holds no number or a null pointer.
VEXAPI_API double DecToDbl(const OrvCPP::OrvDec* value);

// Result codes shared by the decimal and date values of the client layer and by the C-style
// decimal and date routines (qvarn.h).
#pragma once

// Every parse, print and conversion answers one of these; 0 is success, so a caller can
// write `if (STRTODEC(...))` for "it failed".
enum QvResult {
    QV_OK = 0,
    QV_ESYNTAX = 1,  // the text is not a number, or does not fit the date format
    QV_ERANGE = 2,   // a number with too many digits or out of range; a date field out of range
    QV_EBUFFER = 3,  // the output buffer is too small; it holds "" (when it has any room)
    QV_EINVALID = 4, // the value holds no number or date (its status is not valid)
    QV_EARG = 5      // a null pointer, a negative size or an unknown status code
};

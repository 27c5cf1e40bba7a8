// The low-level calls of the client layer: the last error of a channel, and the options of
// a cursor's or statement's columns.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Column options, asked with a column number (from 1). Each answers a VLong.
enum OrvOption {
    // On a cursor: 1 when the current row's value in the column is null, else 0.
    ORVANE_OPT_NULL_TEST = 214,
    // On a cursor: non-zero for a column the server fills itself (the table's INTEGER
    // PRIMARY KEY, its rowid, or an AUTOINCREMENT column): key material never null.
    ORVANE_OPT_CURSOR_AUTOKEY = 215,
    // The same on a statement.
    ORVANE_OPT_STATEMENT_AUTOKEY = 407
};

// Both answer 0 and store the option's value in *value (a VLong; *size, when given, must be
// at least 4 and becomes 4), or an OrvApiError code: orvapiBadHandle for a handle that is no
// open cursor (statement), orvapiBadArgument for an unknown option, a column out of range or
// a null value, orvapiNoRow for option 214 without a current row. They never throw.
VEXAPI_API VLong ORVANE_GetCursorOption(unsigned short handle, VLong option, VLong column, void* value,
                                        VLong* size);
VEXAPI_API VLong ORVANE_GetStatementOption(unsigned short handle, VLong option, VLong column, void* value,
                                           VLong* size);

// The last failure: of the cursor `handle` (its last failed call, asynchronous ones
// included), or with handle 0 of the calling thread's last failed call. Answers its
// orvapiError (0 when there was none), stores the server's code in *orvaneError and the
// text into `text` of `size` bytes (each when not null). Never throws.
VEXAPI_API VLong ORVANE_Error(unsigned short handle, VLong* orvaneError, char* text, VLong size);

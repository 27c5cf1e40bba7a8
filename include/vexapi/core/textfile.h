// Text files: opening by a 16-bit name, line reads (8-bit, widened, UCS-2), UTF-8 and UCS-2
// writers and the UTF-8 line reader, and the byte-order mark test.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdio>

// Opens the file named `path` with fopen's `mode` ("rb", "a+t", ...). On Windows the name
// goes to _wfopen as it is; on Linux it is encoded as UTF-8, the file-name convention there,
// and a directory is refused as Windows refuses it. Null `path` or `mode` gives null.
VEXAPI_API FILE* wfopen(const WChar* path, const char* mode);

// Whether the file can be opened for reading.
VEXAPI_API bool fileExists(const WChar* path);

// ---- Line reads ----
//
// The line reads take one byte (one unit for UCS-2) at a time, so that a stream is never
// read past the line that they give. They read until end of file, the delimiter (a line
// feed unless told), or until the buffer holds `size` - 1 characters; the rest of a longer
// line stays for the next call. The delimiter is consumed and not kept, and the text is
// terminated. End of file and an empty line look alike in the result: the caller tests
// feof(stream).

// 8-bit lines; carriage returns are dropped. Gives 1 for a null stream, 2 for a null
// buffer or a size below 1, else 0.
VEXAPI_API int getline(FILE* stream, char* out, int size);
// As getline, each byte widened to one unit (its low half), as Latin-1.
VEXAPI_API int getlinew(FILE* stream, WChar* out, int size);
// As getline, up to the caller's delimiter, and carriage returns are kept.
VEXAPI_API int getlinex(FILE* stream, char* out, int size, char delimiter);

// A line of 2-byte units, read into `out` (a buffer of `max` units) until end of file,
// max - 1 units or the delimiter, and terminated. The file's units are little-endian unless
// `backward` says big-endian (see isBackward); the result is in host order either way.
// The delimiter test looks at a unit's two bytes in file order - the first equal to
// `delimiter`, the second 0 - before any swap: so in a big-endian file a line feed (00 0A)
// is not a delimiter and is read as text. This is the format's long-standing behaviour and
// is kept on purpose. A half unit at end of file is dropped. Gives the count of units, or
// -1 for a null stream or buffer or a max below 1.
VEXAPI_API int getlinexUCS2(FILE* stream, WChar* out, int max, char delimiter, bool backward);

// Reads two bytes: FF FE sets *backward to false and gives 0, FE FF sets it to true and
// gives 0. Anything else (other bytes, a shorter file, a null stream) gives 1 and leaves
// the flag. The stream is left behind the bytes read either way: a caller that gets 1
// rewinds before reading the text.
VEXAPI_API int isBackward(FILE* stream, bool* backward);

// ---- UTF-8 and UCS-2 text ----

// Writes `text` as UTF-8 and a line feed. Gives the bytes written, or -1 on a write error.
// A null stream or text is a programming error: it asserts, then gives -1.
VEXAPI_API int writeln(FILE* stream, const WChar* text);

// Writes `text` and a line feed as little-endian 2-byte units (no byte-order mark), the
// form getlinexUCS2 reads. Gives the units written, or -1 on a write error or null argument.
VEXAPI_API int writelnUCS2(FILE* stream, const WChar* text);

// Writes `text` as UTF-8 with no line end, through a buffer of `size` bytes (0: as large
// as the text needs); a smaller buffer cuts the text, never inside a character. Gives the
// bytes written, or -1 on a write error or a null stream.
VEXAPI_API int writeUTF8(FILE* stream, const WChar* text, int size = 0);

// Writes `length` bytes of platform 8-bit text (getStdCharset; -1: to the terminator) as
// UTF-8. With `trim`, trailing blanks (space, tab) are dropped, and an all-blank text writes
// nothing. Gives the bytes written, or -1 on a write error or a null stream.
VEXAPI_API int writeUTF8(FILE* stream, const char* text, int length, bool trim);

// Reads a UTF-8 line into `out`, a buffer of `size` units: carriage returns at its start
// and the one before its line feed are skipped, and the read stops at the line feed, at end
// of file, or before a character that would not fit. The text is terminated; the result is
// its length in units (0 for an empty line and at end of file: the caller tests the
// stream). Ill-formed UTF-8 becomes U+FFFD. A null stream or buffer asserts, then gives -1;
// a size below 1 gives -1.
VEXAPI_API int readln(FILE* stream, WChar* out, int size);

// The grid's column types, size kinds, move directions and status codes, with the free
// routines that measure, convert and print one cell value of a row image.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>

namespace VexAPI {

class aCColumn;

// Column types: one byte in a column, the index of the type table.
enum ApsType : unsigned char {
    apsNone = 0,
    apsChar = 1,     // 16-bit text; the column size counts characters
    apsShort = 2,    // signed 16-bit
    apsLong = 3,     // signed 32-bit
    apsFloat = 4,    // 32-bit float
    apsDouble = 5,   // 64-bit float
    apsWide = 6,     // 16-bit text; the column size counts bytes
    apsDate = 7,     // OrvDate, 16 bytes
    apsByte = 8,     // unsigned 8-bit
    apsBlob = 9,     // nothing in the row: the blob operations reach it
    apsDecimal = 10, // OrvDec, 16 bytes
    apsTextPtr = 11, // a pointer to 16-bit text the data set does not own
    apsBinary = 12,  // raw bytes, shown as hexadecimal
    apsInt64 = 13,   // signed 64-bit
    apsBool = 14,    // one byte: 0 false, else true
    apsTypeEnd = 15  // end of the table
};

// What GetColSize, GetDataSize and GetColOffset measure.
enum ApsSizeKind {
    szTextTiled = 1,    // text length in characters, with the tile
    szText = 2,         // text length in characters
    szDataTiled = 3,    // declared data bytes, with the tile: the nulled row image
    szData = 4,         // declared data bytes: the raw row image
    szRealData = 5,     // actual data bytes of the current row
    szRealDataTiled = 6 // actual data bytes of the current row, with the tile
};

// Move directions of MoveToRow and ToRow.
enum ApsDirection { dirNext = 1, dirPrev = 2, dirFirst = 3, dirLast = 4, dirAbsolute = 5 };

// The last error of a data set (GetError).
enum ApsError {
    apsErrNone = 0,
    apsErrNoRow = 3,     // end of rows, or no such row
    apsErrLocked = 4,    // a lock-like condition
    apsErrCritical = 5,
    apsErrDatabase = 6,  // another database error
    apsErrInvalidData = 7,
    apsErrInvalidText = 8
};

// The codes an aCDataFailure carries; a numbering of its own, apart from ApsError.
enum ApsFailure {
    apsFailRow = 1,         // row number outside the rows (thrown always)
    apsFailColumn = 2,      // column number outside the columns (thrown always)
    apsFailCell = 3,        // cell index outside rows x columns (thrown always)
    apsFailSlotWalk = 6,    // a slot walk met a column without a physical index (always)
    apsFailMove = 8,        // row movement past the ends (with the exception flag)
    apsFailInvalidData = 11,
    apsFailInvalidText = 12
};

// Tile bits: the byte after each slot of a nulled row image.
enum ApsTile : unsigned char { apsTileNull = 1, apsTileEmpty = 2 };

// The stamp strings, by bit.
enum ApsStamp {
    stampNullText = 1, stampNullDate = 2, stampNullNumber = 4,
    stampEmptyText = 8, stampEmptyDate = 16, stampEmptyNumber = 32
};

// Type classes used for stamps: text (1, 6, 11), date (7), number (2, 3, 4, 5, 8, 10, 12,
// 13, 14); anything else is none of them.
VEXAPI_API bool IsTextType(int type);
VEXAPI_API bool IsNumberType(int type);

// `size` when it is not 0, else the type's default size (0 for an unknown type). The text
// pointer's default is the size of a pointer on the platform.
VEXAPI_API VLong GetDefTypeSize(int type, VLong size = 0);
// The process-wide default format of a type; "" for an unknown type. The table is written
// at start (one thread).
VEXAPI_API const WChar* GetDefTypeFormat(int type);
// Stores at most 64 characters of `text` (null is "") as the type's default; false for an
// unknown type.
VEXAPI_API bool SetDefTypeFormat(int type, const WChar* text);

// Server type codes to column types and back; 0 where there is none.
VEXAPI_API int OrvToApsType(int serverType);
VEXAPI_API int ApsToOrvType(int type);

// Bytes to upper-case hexadecimal text and back; 0 on success, 1 on a bad argument (and for
// HexTextToDump a character that is no hex digit). A negative textLength is dataLength x 2,
// a negative dataLength textLength / 2. The output is zeroed first and never written past
// its length; the text is terminated only when room is left for it.
VEXAPI_API int DumpToHexText(const void* data, WChar* text, VLong dataLength, VLong textLength);
VEXAPI_API int HexTextToDump(const WChar* text, void* data, VLong textLength, VLong dataLength);

// The date routines with the grid's default format "dd.mm.yyyy:hh:mi:ss.ff" when `format`
// is null or empty; the result codes are those of TICKTOSTRF / STRTOTICKF (0 success).
VEXAPI_API int ApsTICKTOSTRF(const OrvCPP::OrvDate* date, const WChar* format, WChar* buffer,
                             int size);
VEXAPI_API int ApsSTRTOTICKF(const WChar* text, const WChar* format, OrvCPP::OrvDate* date);
// A decimal's text in its own scale. Only radix 10 is known; `mode` 0 is the one mode (the
// value's scale, no padding). QV_EARG for anything else.
VEXAPI_API int ApsDECTOSTR(const OrvCPP::OrvDec* value, WChar* buffer, int size,
                           int radix = 10, int mode = 0);

// The text of one slot of `column` (`data` points at the slot) into `buffer` of `size`
// characters, terminated. The column's format, or the type's default when it is empty,
// drives numbers; a format whose one conversion does not suit the type is replaced by the
// type's default, so that no format can read an argument that was not passed. Dates and
// decimals are trimmed of blanks. Returns the length written, or -1 on a bad argument.
VEXAPI_API int DataToText(const aCColumn* column, WChar* buffer, const void* data, int size);
// The value of `text` into the slot `data` of `column`. `size` is the slot's capacity in
// characters for the text types (apsChar copies at most `size` characters, apsWide and
// apsTextPtr clear `size` characters and copy `size` - 1), and is not used by the others.
// Returns 0 when the whole text was a value of the type, 1 when it was not (the slot then
// holds what the type's parse gives: 0, an invalid decimal, an untouched date), -1 for a bad
// argument.
VEXAPI_API int TextToData(const aCColumn* column, void* data, const WChar* text, int size);

// A calendar time of the C library (local time), for the grid's time stamps.
class VEXAPI_API aCTime {
public:
    // A day outside 1..31 becomes 1, a month outside 1..12 January; a year below 1900 is
    // taken as 1970 (the field's value, not an offset from 1900).
    aCTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
    explicit aCTime(long long value = 0) : m_time(value) {}
    long long GetTime() const { return m_time; }
    // strftime of the local time into a text of at most 127 characters; "" on failure.
    void Format(const WChar* format, WChar* out, int size) const;

private:
    long long m_time;
};

} // namespace VexAPI

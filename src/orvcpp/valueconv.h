// Values between SQLite and the client layer's fetch forms: the server type of a column from
// its declared type or its value, binding a ValueInfo as a statement parameter, and storing a
// SQLite value into a ValueInfo's buffer.
#pragma once

#include <vexapi/values/bindmap.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/values/servertypes.h>
#include <vexapi/orvcpp/paramdesc.h>

#include <vexapi/core/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

struct sqlite3_stmt;
struct sqlite3_value;

namespace OrvCPP {
namespace detail {

// Server types of SQLite columns. The declared type decides, by the first rule that matches
// its words (case-insensitive; "(n)" or "(p, s)" after it gives the length or precision):
//
//   declared type                         code  length (bytes)         precision, scale
//   ------------------------------------  ----  ---------------------  ----------------
//   BOOL, BOOLEAN                         13    1                      1, 0
//   BIGINT, INT8                          10    8                      19, 0
//   SMALLINT, TINYINT, INT2               8     2                      5, 0
//   other names with INT (INTEGER, INT)   2     4                      10, 0
//   NCHAR(n), NATIONAL CHAR(n)            16    2n (2 without n)       0, 0
//   NVARCHAR(n), NTEXT, NCLOB, NATIONAL   17    2n (510 without n)     0, 0
//     VARCHAR(n)
//   CHAR(n), CHARACTER(n)                 1     n (1 without n)        0, 0
//   VARCHAR(n), TEXT, CLOB, and other     11    n (255 without n)      0, 0
//     names with CHAR, CLOB or TEXT
//   BINARY(n)                             6     n                      0, 0
//   VARBINARY(n)                          12    n                      0, 0
//   BLOB, and no declared type            7     0                      0, 0
//   DECIMAL(p,s), NUMERIC(p,s), NUMBER,   5     16                     p, s (18, 0 unless
//     MONEY                                                            given)
//   DATE, DATETIME, TIMESTAMP, TIME       4     16                     0, 0
//   FLOAT4, SINGLE                        3     4                      7, 0
//   REAL, FLOAT, DOUBLE                   9     8                      15, 0
//   anything else                         11    255                    0, 0
//
// A result column without a declared type (an expression) takes the type of its value:
// integer 10, real 9, text 11 (255, or longer for a longer value), blob 7, null 11.
//
// 8-bit text is UTF-8 throughout, and a text length counts bytes. Dates are stored as the
// canonical text of OrvDate ("yyyy-mm-dd hh:mi:ss.ff"); decimals as servertypes.h says
// (decimalValue).
struct ColumnType {
    int type = 11;
    int length = 255;
    int precision = 0;
    int scale = 0;
    bool scaleDeclared = false; // a decimal declared with (p) or (p, s): reads take its scale
};

ColumnType typeFromDeclared(const char* declared);
// The scale that reads of a column take, or -1 for none (see storeValue).
inline int readScale(const ColumnType& t) { return t.type == orvDecimal && t.scaleDeclared ? t.scale : -1; }
// `sqliteType` is SQLITE_INTEGER ... SQLITE_NULL; `bytes` the text's size.
ColumnType typeFromValue(int sqliteType, int bytes);

// A value on its way to SQLite, owning its bytes.
struct SqlValue {
    enum Type { Null, Integer, Real, Text, Blob };
    Type type = Null;
    std::int64_t i = 0;
    double d = 0;
    std::string bytes; // Text (UTF-8) and Blob
};

// How a valid decimal goes to SQLite: INTEGER when it is a whole number of 64 bits, REAL
// when the nearest double reads back as the same value, else its text with a NUL behind it.
SqlValue decimalValue(const OrvDec& d);
// The value a ValueInfo holds, its buffers stepped by `step` bytes. `param` names the
// parameter in an error. OrvX for a type the layer can't send.
SqlValue valueFromInfo(const ValueInfo& info, std::ptrdiff_t step, short param);
// A copy of a SQLite value.
SqlValue valueFromSqlite(sqlite3_value* value);
// Binds `value` to parameter `index` of `stmt`; a SQLite result code.
int bindValue(sqlite3_stmt* stmt, int index, const SqlValue& value);

// Stores `value` into the buffer of `info` (stepped by `step` bytes) in the info's form:
// sets the null flag, the value, and the real length (the whole value's size in bytes,
// before any cut). Text is cut on a character boundary and terminated; bytes are cut to
// the buffer. A number that the form can't hold (an integer out of range, a text that is no
// number) gives OrvX orvapiConversion naming `column`; a date or decimal that can't be read
// becomes OrvDate's or OrvDec's invalid value instead, which the caller can see.
// A decimal is rescaled to the form's scale when the form has a precision, else to
// `declaredScale` when that is not negative (the column's declared scale).
void storeValue(sqlite3_value* value, const ValueInfo& info, std::ptrdiff_t step, int column,
                int declaredScale = -1);
void storeValue(const SqlValue& value, const ValueInfo& info, std::ptrdiff_t step, int column);

// A value of a row held in a cursor's row buffer: its SQLite type (SQLITE_INTEGER ..
// SQLITE_NULL) and the number, or the place of its bytes in the buffer's byte store (text
// is followed there by a 0 byte).
struct BufferedValue {
    int type = 5; // SQLITE_NULL
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::int64_t i = 0;
    double d = 0;
};
// Stores a buffered value, `bytes` being its buffer's byte store, exactly as the same value
// read from a statement would be stored.
void storeValue(const BufferedValue& value, const char* bytes, const ValueInfo& info, std::ptrdiff_t step,
                int column, int declaredScale = -1);

// Fills a t_ParamDesc: names padded as paramdesc.h says.
void fillDesc(t_ParamDesc* desc, const std::string& owner, const std::string& table,
              const std::string& column, const std::string& alias, const ColumnType& type);

} // namespace detail
} // namespace OrvCPP

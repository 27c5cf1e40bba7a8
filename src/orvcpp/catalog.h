// The server's catalog on SQLite: the views "$$$USR", "$$$SYSRL" and "$$$ATTRI" that the
// key catalog select reads under ORVANE_SYSTEM_USER, and the functions GetBits, GetLong and
// GetByte it applies to a column's attribute record.
#pragma once

struct sqlite3;

namespace OrvCPP {
namespace detail {

// The catalog as views of SQLite's own schema, made in the connection's temp schema when a
// statement first names them (dialect.h turns ORVANE_SYSTEM_USER.$$$X into temp."$$$X"):
//
//   "$$$USR"    one row per database of the connection (main, temp, attached ones)
//               $$$S31 owner id (the database's number), $$$S32 kind (0), $$$S34 name
//   "$$$SYSRL"  one row per table or view of main and temp
//               $$$S11 relation id, $$$S12 owner id, $$$S13 name, $$$S14 "table" or
//               "view", $$$S15 the database's name
//   "$$$ATTRI"  one row per column of those
//               $$$S21 relation id, $$$S22 column number (from 1), $$$S23 name,
//               $$$S24 the attribute record (below), $$$S25 declared type
//
// The attribute record is a 64-byte blob; its 32-bit fields are little-endian:
//   byte 8         1 when the column leads an index (or is the row key), else 0
//   bytes 18..21   access rights: bits 0-3 write level, bits 4-7 read level (15: all)
//   bytes 32..35   for the row key column (INTEGER PRIMARY KEY): the last key given (the
//                  AUTOINCREMENT sequence, or the largest key); else 0
//   bytes 60..63   bit 9: part of the primary key; bit 10: unique on its own
//
// Functions (NULL in, NULL out; an offset outside the record gives NULL):
//   GetLong(record, offset)        the signed 32-bit field at `offset`
//   GetByte(record, offset)        the byte at `offset`
//   GetBits(value, word, first, n) bits first .. first+n-1 of `value` after shifting it
//                                  right by 32 * word bits
void registerCatalogFunctions(sqlite3* db);

// Makes the catalog views if they are missing; a SQLite result code.
int ensureCatalogViews(sqlite3* db);

} // namespace detail
} // namespace OrvCPP

// t_ParamDesc: the description of one result column or parameter of a statement or cursor,
// as answerDesc and paramDesc fill it.
#pragma once

namespace OrvCPP {

// Names are UTF-8. The three names of origin are fixed fields of 66 bytes: the name, padded
// with blanks up to byte 65, and a terminating zero in byte 66, so that a caller may use
// them as C strings and trims the blanks. A longer name is cut at 65 bytes on a character
// boundary. Columns that are no plain column of a table (expressions, parameters) have a
// blank owner and table.
struct t_ParamDesc {
    enum { NameSize = 66 };

    char owner[NameSize];  // the schema: "main", "temp" or an attached database's name
    char table[NameSize];  // the table (or view) the column comes from
    char column[NameSize]; // the column of that table; for an expression, its result name
    unsigned short length; // the value's size in bytes (see the type table in valueconv.h)
    unsigned char type;    // the server type code (servertypes.h)
    unsigned char precision;
    unsigned char scale;
    // The result column's name as the statement gives it (its alias, or the column, or the
    // expression's text); for a parameter its name as written (":id", "?3"), "" for "?".
    char alias[130];
};

} // namespace OrvCPP

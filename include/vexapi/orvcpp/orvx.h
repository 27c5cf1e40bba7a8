// OrvX: the exception of every failing call of the client layer (connections, statements,
// cursors), with the server's and the layer's error codes, the statement and the position of
// a syntax error; and the layer's own error codes.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <exception>
#include <string>

namespace OrvCPP {

// The layer's own error codes, as `OrvX::orvapiError()` gives them and as a Handler is told
// them. 0 is success.
enum OrvApiError : short {
    orvapiOk = 0,
    orvapiServer = 1,           // the server failed the call; orvaneError() says how
    orvapiBadHandle = 2,        // the handle names no open channel of the expected kind
    orvapiNotOpen = 3,          // the object is closed, or its cursor has no result
    orvapiBadArgument = 4,      // a null pointer, a column or row out of range, a bad option
    orvapiNoRow = 5,            // a fetch beyond the result or without a current row
    orvapiConversion = 6,       // a value does not fit the requested form
    orvapiNotSupported = 7,     // a fetch direction or a statement form this layer lacks
    orvapiInterrupted = 8,      // the call was interrupted or cancelled by a close
    orvapiNoCursor = 9,         // "current of" names no positioned cursor
    orvapiNotUpdatable = 10,    // "current of" a cursor whose rows have no base table key
    orvapiNoProcedure = 11,     // a call of a procedure nobody registered
    orvapiHandlesExhausted = 12 // every one of the 65535 handles is in use
};

// Who reported the failure (`orvapiErrorType()`); 0 means no error at all, so a waiter tests
// `orvapiErrorType() != 0` to know whether to throw.
enum OrvErrorType : short {
    orvErrorNone = 0,
    orvErrorServer = 1, // SQLite: orvaneError() holds its extended result code
    orvErrorClient = 2  // the layer itself: orvapiError() says what
};

// The failure of a client-layer call.
//
// Fields: systemError (the operating system's error number behind a server I/O failure, else
// 0), orvaneError (the server's code: SQLite's extended result code, e.g. 19 for a CHECK,
// 2067 for a UNIQUE, 5 for a busy database), orvapiError and orvapiErrorType (the layer's
// code and who failed), the text (SQLite's message, or the layer's), the statement as the
// caller gave it, the syntax error's line and position in that statement, and the number of
// a bad parameter.
//
// Positions: syntaxErrorLine() counts lines from 1 and syntaxErrorPos() counts bytes within
// that line from 1; both are 0 when the server reported no position. They refer to the text
// the caller passed, even when the layer rewrote it before the server saw it.
//
// Invariants:
//  1. syntaxErrorLine() and syntaxErrorPos() are both 0 or both positive.
//  2. orvapiErrorType() is orvErrorNone only together with orvapiError() == orvapiOk.
class VEXAPI_API OrvX : public std::exception {
public:
    // An empty error: no failure.
    OrvX();
    OrvX(VLong systemError, short orvaneError, short orvapiError, short orvapiErrorType,
         const char* query, const char* text);
    OrvX(const OrvX& other);
    OrvX& operator=(const OrvX& other);
    ~OrvX() override;

    // A failure of the layer itself.
    static OrvX client(short orvapiError, const std::string& text, const char* query = nullptr);

    VLong systemError() const { return m_systemError; }
    short orvaneError() const { return m_orvaneError; }
    short orvapiError() const { return m_orvapiError; }
    short orvapiErrorType() const { return m_orvapiErrorType; }
    int syntaxErrorLine() const { return m_line; }
    int syntaxErrorPos() const { return m_pos; }
    short badParamNum() const { return m_badParam; }
    // The statement, or null when the call had none.
    const char* query() const { return m_hasQuery ? m_query.c_str() : nullptr; }

    // Copies the text into `buffer` of `size` bytes (cut on a character boundary, always
    // terminated) and returns `buffer`.
    char* errorText(char* buffer, int size) const;
    const char* text() const { return m_text.c_str(); }
    const char* what() const noexcept override;

    // The full report into `buffer` of `size` bytes, terminated, cut if it doesn't fit:
    //   <text>\n
    //   ErrType = <t> ApiErr = <a> OrvErr = <o> SysErr = <s>\n
    //   QUERY:\n<statement, with ">>>>" at the syntax error when its position is known>\n
    //   SYNTAX ERROR: LINE = <l>, POS = <p>\n      (with a known position)
    //   INVALID PARAMETER <n>\n                    (with a bad parameter)
    // Returns the length written.
    int getMessage(char* buffer, int size) const;
    std::string message() const;

    // Set by the layer where it knows them; a line or position below 1 clears both.
    void setSyntaxError(int line, int pos);
    void setBadParamNum(short n) { m_badParam = n; }
    void setQuery(const char* query);

private:
    std::string m_query;
    std::string m_text;
    VLong m_systemError;
    int m_line;
    int m_pos;
    short m_orvaneError;
    short m_orvapiError;
    short m_orvapiErrorType;
    short m_badParam;
    bool m_hasQuery;
};

} // namespace OrvCPP

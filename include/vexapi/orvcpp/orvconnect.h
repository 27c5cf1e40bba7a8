// OrvConnect: a connection of the client layer to its server, an embedded SQLite database
// named by a file path or ":memory:", reached through a 16-bit handle.
#pragma once

#include <vexapi/orvcpp/orvx.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

namespace OrvCPP {

// A connection. The node is the database: a file path (UTF-8) or ":memory:" (a private
// database that lives as long as the connection). The handle comes from the layer's
// process-wide table of channels, shared by connections, statements and cursors; 0 means
// closed. Client code passes handles around: `attach(handle, false)` binds another object
// to an open connection without taking over the duty to close it.
//
// Opening: OrvConnect(user, password, node, mode, readOnly, options)
//  - user and password are kept for the application; SQLite has no accounts.
//  - mode is the default processing mode of new cursors (`mode()`); the layer stores it and
//    gives the bits no meaning of its own.
//  - readOnly opens the database read-only: a write fails with OrvX.
//  - options: "key=value" pairs separated by ';', null or "" for the defaults:
//      create=0|1         make the file when it is missing (default 1; ignored read-only)
//      busy_timeout=<ms>  how long a call waits for another connection's lock before it
//                         fails with SQLite's "database is locked" (default 2000)
// A path that can't be opened, a file that is no database and an unknown option give OrvX.
//
// Transactions: the first statement that writes (DML or DDL) begins a transaction, which
// stays open until OrvCursor::commit or rollback. Reads need no transaction.
//
// Closing a connection closes every statement and cursor opened on it (their objects then
// read as closed) and ends an open transaction by rolling it back.
//
// Invariants:
//  1. operator unsigned short() is 0 or the handle of an open connection.
//  2. attach never closes anything (see OrvChannel).
//  3. The destructor closes the connection only when this object owns it.
class VEXAPI_API OrvConnect {
public:
    OrvConnect();
    OrvConnect(const char* user, const char* password, const char* node, VLong mode = 0,
               bool readOnly = false, const char* options = nullptr);
    virtual ~OrvConnect();
    OrvConnect(const OrvConnect&) = delete;
    OrvConnect& operator=(const OrvConnect&) = delete;

    // Opens a new connection as the constructor does. A connection this object owned is
    // closed once the new one is open; when opening fails, the object is as it was.
    void open(const char* user, const char* password, const char* node, VLong mode = 0,
              bool readOnly = false, const char* options = nullptr);

    // Binds to the open connection `handle` (0 detaches). OrvX for a handle that is not an
    // open connection; the object is unchanged then.
    void attach(unsigned short handle, bool owning);

    // Closes the connection if this object owns it, and detaches. Never throws.
    void close() noexcept;

    // The handle, 0 when closed (also after another object closed the connection).
    operator unsigned short() const;
    bool isOwning() const { return m_owning; }

    // The default processing mode of new cursors: with `initial` true the mode given when
    // the connection was opened, otherwise the current one (setMode). 0 when closed.
    VLong mode(bool initial = false) const;
    void setMode(VLong mode);

    // The node as opened, into `buffer` of `size` bytes; "" when closed.
    const char* node(char* buffer, int size) const;
    // The user name as given at opening; "" when closed.
    const char* user(char* buffer, int size) const;

    // Whether a transaction is open on the connection.
    bool inTransaction() const;

private:
    unsigned short m_handle;
    bool m_owning;
};

} // namespace OrvCPP

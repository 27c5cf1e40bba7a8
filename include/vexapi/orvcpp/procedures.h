// Procedures: SQLite has no stored procedures, so an application registers C++ functions
// under a name, and "call name(arguments)" run through a cursor calls them: they may run
// statements on the caller's connection, write output parameters and return a cursor.
#pragma once

#include <vexapi/values/bindmap.h>
#include <vexapi/orvcpp/orvconnect.h>

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace OrvCPP {

class OrvCursor;

namespace detail {
struct CallData;
struct SqlValue;
}

// What a procedure sees of its call. Arguments are numbered from 1, in the order of the
// call's text; each is the value of its expression ("call p(1 + 1, ?, 'x')"). Output goes
// to the buffers the caller bound to the call's parameters ("?" numbered from 1).
class VEXAPI_API ProcedureContext {
public:
    explicit ProcedureContext(detail::CallData* data);
    ProcedureContext(const ProcedureContext&) = delete;
    ProcedureContext& operator=(const ProcedureContext&) = delete;

    // The caller's connection: statements and cursors made on it run in the caller's call
    // (and transaction).
    const OrvConnect& connection() const;

    int argCount() const;
    bool isNull(int arg) const;
    std::int64_t intArg(int arg) const;     // 0 for null
    double doubleArg(int arg) const;        // 0 for null
    const char* textArg(int arg) const;     // UTF-8; "" for null
    // The bytes of a blob (or text) argument and their number.
    const void* blobArg(int arg, VLong* length) const;

    // Writes an output parameter into the caller's bound buffer of parameter `param`, in
    // the form the caller bound; nothing when the caller bound none. OrvX when the value
    // does not fit that form.
    void setOutput(short param, std::int64_t value);
    void setOutput(short param, double value);
    void setOutput(short param, const char* text);
    void setOutputNull(short param);

    // Hands `cursor` (open, on the caller's connection) to the caller as the call's
    // result: the caller's cursor then answers isProcCursor() true and gives its handle.
    // `cursor` is detached, not closed; the caller becomes responsible for closing it.
    void returnCursor(OrvCursor& cursor);
    // The call's row count (OrvCursor::rowCount), by default the rows the procedure's own
    // statements wrote.
    void setRowCount(VLong rows);

private:
    detail::CallData* m_data;
};

// A procedure. It fails by throwing OrvX (passed to the caller as it is) or another
// exception (passed as OrvX with its text).
typedef std::function<void(ProcedureContext& call)> Procedure;

// The process-wide table of procedures, by name without regard to ASCII case. Thread-safe;
// a call uses the procedure registered when its statement was prepared.
class VEXAPI_API Procedures {
public:
    // Registers `procedure` under `name`, replacing one of that name.
    static void add(const char* name, Procedure procedure);
    // Unregisters `name`; false if it was not registered.
    static bool remove(const char* name);
    static bool exists(const char* name);
};

namespace detail {

// One call's data, made by the cursor that runs the call.
struct CallData {
    const OrvConnect* connection = nullptr; // attached to the caller's connection, not owning
    std::vector<SqlValue>* args = nullptr;
    const BindMap* params = nullptr;
    unsigned short resultCursor = 0;
    VLong rowCount = -1;
};

// The procedure registered under `name`, or an empty function.
Procedure findProcedure(const std::string& name);

} // namespace detail

} // namespace OrvCPP

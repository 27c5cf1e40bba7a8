// The table of registered procedures and what a procedure sees of its call.
#include <vexapi/orvcpp/procedures.h>

#include "cursorstate.h"
#include <vexapi/orvcpp/orvcursor.h>
#include "sqltokens.h"
#include "valueconv.h"

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

namespace OrvCPP {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string, Procedure> procedures;
};

Registry& registry()
{
    static Registry* r = new Registry; // never destroyed: lookups may come at exit
    return *r;
}

std::string key(const char* name)
{
    std::string k = name ? name : "";
    for (char& c : k)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return k;
}

} // namespace

void Procedures::add(const char* name, Procedure procedure)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> g(r.mutex);
    r.procedures[key(name)] = std::move(procedure);
}

bool Procedures::remove(const char* name)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> g(r.mutex);
    return r.procedures.erase(key(name)) > 0;
}

bool Procedures::exists(const char* name)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> g(r.mutex);
    return r.procedures.count(key(name)) > 0;
}

namespace detail {

Procedure findProcedure(const std::string& name)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> g(r.mutex);
    auto it = r.procedures.find(key(name.c_str()));
    return it == r.procedures.end() ? Procedure() : it->second;
}

} // namespace detail

ProcedureContext::ProcedureContext(detail::CallData* data) : m_data(data) {}

const OrvConnect& ProcedureContext::connection() const
{
    return *m_data->connection;
}

int ProcedureContext::argCount() const
{
    return int(m_data->args->size());
}

namespace {

const detail::SqlValue& arg(const detail::CallData* data, int i)
{
    if (i < 1 || std::size_t(i) > data->args->size())
        throw OrvX::client(orvapiBadArgument, "the procedure has no argument " + std::to_string(i));
    return (*data->args)[std::size_t(i - 1)];
}

} // namespace

bool ProcedureContext::isNull(int i) const
{
    return arg(m_data, i).type == detail::SqlValue::Null;
}

std::int64_t ProcedureContext::intArg(int i) const
{
    const detail::SqlValue& v = arg(m_data, i);
    switch (v.type) {
    case detail::SqlValue::Integer:
        return v.i;
    case detail::SqlValue::Real:
        return std::int64_t(v.d);
    case detail::SqlValue::Text:
        return std::strtoll(v.bytes.c_str(), nullptr, 10);
    default:
        return 0;
    }
}

double ProcedureContext::doubleArg(int i) const
{
    const detail::SqlValue& v = arg(m_data, i);
    switch (v.type) {
    case detail::SqlValue::Integer:
        return double(v.i);
    case detail::SqlValue::Real:
        return v.d;
    case detail::SqlValue::Text:
        return std::strtod(v.bytes.c_str(), nullptr);
    default:
        return 0;
    }
}

const char* ProcedureContext::textArg(int i) const
{
    detail::SqlValue& v = const_cast<detail::SqlValue&>(arg(m_data, i));
    // Numbers read as their text, kept in the value so that the pointer lives on.
    if (v.type == detail::SqlValue::Integer) {
        v.bytes = std::to_string(v.i);
    } else if (v.type == detail::SqlValue::Real) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%.17g", v.d);
        v.bytes = buffer;
    }
    return v.type == detail::SqlValue::Null ? "" : v.bytes.c_str();
}

const void* ProcedureContext::blobArg(int i, VLong* length) const
{
    const detail::SqlValue& v = arg(m_data, i);
    if (length)
        *length = VLong(v.bytes.size());
    return v.bytes.data();
}

namespace {

void output(detail::CallData* data, short param, const detail::SqlValue& value)
{
    if (!data->params)
        return;
    if (const ValueInfo* info = data->params->find(param))
        detail::storeValue(value, *info, 0, param);
}

} // namespace

void ProcedureContext::setOutput(short param, std::int64_t value)
{
    detail::SqlValue v;
    v.type = detail::SqlValue::Integer;
    v.i = value;
    output(m_data, param, v);
}

void ProcedureContext::setOutput(short param, double value)
{
    detail::SqlValue v;
    v.type = detail::SqlValue::Real;
    v.d = value;
    output(m_data, param, v);
}

void ProcedureContext::setOutput(short param, const char* text)
{
    detail::SqlValue v;
    v.type = text ? detail::SqlValue::Text : detail::SqlValue::Null;
    v.bytes = text ? text : "";
    output(m_data, param, v);
}

void ProcedureContext::setOutputNull(short param)
{
    output(m_data, param, detail::SqlValue());
}

void ProcedureContext::returnCursor(OrvCursor& cursor)
{
    const unsigned short h = cursor;
    std::shared_ptr<detail::CursorState> state = detail::openCursor(h);
    if (state->connection->handle != static_cast<unsigned short>(*m_data->connection))
        throw OrvX::client(orvapiBadArgument, "a procedure can only return a cursor of its caller's connection");
    cursor.attach(0, false);
    m_data->resultCursor = h;
}

void ProcedureContext::setRowCount(VLong rows)
{
    m_data->rowCount = rows;
}

} // namespace OrvCPP

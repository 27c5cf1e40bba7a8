// OrvStatement: preparing a statement on a connection and describing it.
#include <vexapi/orvcpp/orvstatement.h>

#include "cursorstate.h"
#include <vexapi/orvcpp/faultinjection.h>
#include "sqltokens.h"
#include "statementstate.h"

#include <cstring>

namespace OrvCPP {

OrvStatement::OrvStatement() = default;

OrvStatement::OrvStatement(const OrvConnect& connection, const char* sql, bool peekTypes)
{
    create(connection, sql, peekTypes);
}

OrvStatement::~OrvStatement()
{
    closeChannel();
}

void OrvStatement::create(const OrvConnect& connection, const char* sql, bool peekTypes)
{
    try {
        OrvX fault;
        if (detail::injectFault(faultPrepare, fault))
            throw fault;
        if (!sql)
            throw OrvX::client(orvapiBadArgument, "no statement text");
        std::shared_ptr<detail::ConnectionState> c = detail::openConnection(connection);
        auto state = std::make_shared<detail::StatementState>();
        unsigned short h;
        {
            detail::ConnectionLock l(*c);
            state->prepare(c, sql, peekTypes);
            h = c->addChild(state);
        }
        closeChannel();
        setHandle(h, true);
    } catch (const OrvX& x) {
        detail::rememberError(x);
        throw;
    }
}

void OrvStatement::attach(unsigned short handle, bool owning)
{
    if (handle)
        detail::openStatement(handle);
    setHandle(handle, handle && owning);
}

void OrvStatement::close() noexcept
{
    closeChannel();
}

VLong OrvStatement::queryType() const
{
    return detail::openStatement(rawHandle())->queryType;
}

VLong OrvStatement::columnCount() const
{
    return VLong(detail::openStatement(rawHandle())->columns.size());
}

void OrvStatement::answerDesc(short col, t_ParamDesc* desc) const
{
    auto s = detail::openStatement(rawHandle());
    if (!desc || col < 1 || std::size_t(col) > s->columns.size())
        throw OrvX::client(orvapiBadArgument, "column " + std::to_string(col) + " does not exist");
    const detail::ColumnDesc& d = s->columns[std::size_t(col - 1)];
    detail::fillDesc(desc, d.owner, d.table, d.column, d.alias, d.type);
}

VLong OrvStatement::paramCount() const
{
    return detail::openStatement(rawHandle())->paramCount;
}

void OrvStatement::paramDesc(short n, t_ParamDesc* desc) const
{
    auto s = detail::openStatement(rawHandle());
    if (!desc || n < 1 || n > s->paramCount) {
        OrvX x = OrvX::client(orvapiBadArgument, "parameter " + std::to_string(n) + " does not exist");
        x.setBadParamNum(n);
        throw x;
    }
    const detail::ColumnDesc& d = s->params[std::size_t(n - 1)];
    detail::fillDesc(desc, d.owner, d.table, d.column, d.alias, d.type);
}

short OrvStatement::paramIndex(const char* name) const
{
    auto s = detail::openStatement(rawHandle());
    if (!name || !*name)
        return 0;
    const std::string wanted = name;
    const std::vector<std::string>& names = s->dialect.paramNames;
    for (std::size_t i = 1; i < names.size(); ++i) {
        const std::string& n = names[i];
        if (n.empty())
            continue;
        if (n == wanted || (n.size() > 1 && std::strchr(":@$", n[0]) && n.compare(1, std::string::npos, wanted) == 0))
            return short(i);
    }
    return 0;
}

const char* OrvStatement::sql(char* buffer, int size) const
{
    auto s = detail::openStatement(rawHandle());
    if (buffer && size > 0) {
        const std::size_t n = s->text.size() < std::size_t(size - 1) ? s->text.size() : std::size_t(size - 1);
        std::memcpy(buffer, s->text.data(), n);
        buffer[n] = 0;
    }
    return buffer;
}

} // namespace OrvCPP

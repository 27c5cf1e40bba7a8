// The low-level calls of the client layer.
#include <vexapi/orvcpp/orvapi.h>

#include "cursorstate.h"
#include <vexapi/orvcpp/orvx.h>

#include <sqlite3.h>

#include <cstring>

using namespace OrvCPP;

namespace {

VLong answer(void* value, VLong* size, VLong v)
{
    if (!value || (size && *size < VLong(sizeof(VLong))))
        return orvapiBadArgument;
    std::memcpy(value, &v, sizeof v);
    if (size)
        *size = VLong(sizeof(VLong));
    return orvapiOk;
}

} // namespace

VLong ORVANE_GetCursorOption(unsigned short handle, VLong option, VLong column, void* value, VLong* size)
{
    try {
        std::shared_ptr<detail::CursorState> s = detail::openCursor(handle);
        detail::ConnectionLock l(*s->connection);
        if (column < 1 || std::size_t(column) > s->columns.size())
            return orvapiBadArgument;
        switch (option) {
        case ORVANE_OPT_CURSOR_AUTOKEY:
            return answer(value, size, s->columns[std::size_t(column - 1)].autoKey ? 1 : 0);
        case ORVANE_OPT_NULL_TEST: {
            if (!s->result || s->result->currentRow() <= 0)
                return orvapiNoRow;
            VLong isNull = 0;
            // The fetched copy, as getData reads it; a value it leaves out, from the result.
            const detail::BufferedValue* v = s->rowFetched() ? s->rows.value(int(column - 1)) : nullptr;
            if (v)
                return answer(value, size, v->type == SQLITE_NULL ? 1 : 0);
            s->result->readCurrent([&](sqlite3_stmt* st, VLong) {
                isNull = sqlite3_column_type(st, int(column - 1)) == SQLITE_NULL ? 1 : 0;
            });
            return answer(value, size, isNull);
        }
        default:
            return orvapiBadArgument;
        }
    } catch (const OrvX& x) {
        return x.orvapiError() ? x.orvapiError() : VLong(orvapiServer);
    } catch (...) {
        return orvapiServer;
    }
}

VLong ORVANE_GetStatementOption(unsigned short handle, VLong option, VLong column, void* value, VLong* size)
{
    try {
        std::shared_ptr<detail::StatementState> s = detail::openStatement(handle);
        if (column < 1 || std::size_t(column) > s->columns.size())
            return orvapiBadArgument;
        if (option != ORVANE_OPT_STATEMENT_AUTOKEY)
            return orvapiBadArgument;
        return answer(value, size, s->columns[std::size_t(column - 1)].autoKey ? 1 : 0);
    } catch (const OrvX& x) {
        return x.orvapiError() ? x.orvapiError() : VLong(orvapiServer);
    } catch (...) {
        return orvapiServer;
    }
}

VLong ORVANE_Error(unsigned short handle, VLong* orvaneError, char* text, VLong size)
{
    OrvX x;
    bool found = false;
    if (handle) {
        std::shared_ptr<detail::ChannelState> c = detail::ChannelTable::instance().find(handle);
        if (c && c->kind == detail::ChannelState::Cursor)
            found = std::static_pointer_cast<detail::CursorState>(c)->error(x);
    } else {
        found = detail::lastThreadError(x);
    }
    if (orvaneError)
        *orvaneError = found ? x.orvaneError() : 0;
    if (text && size > 0)
        x.errorText(text, int(size));
    return found ? x.orvapiError() : VLong(orvapiOk);
}

// OrvConnect: opening, attaching and closing connections.
#include <vexapi/orvcpp/orvconnect.h>

#include "cursorstate.h"
#include <vexapi/orvcpp/faultinjection.h>
#include "session.h"

#include <sqlite3.h>

#include <cstring>

namespace OrvCPP {

namespace {

const char* copyOut(char* buffer, int size, const std::string& text)
{
    if (!buffer || size <= 0)
        return buffer;
    const std::size_t n = text.size() < std::size_t(size - 1) ? text.size() : std::size_t(size - 1);
    std::memcpy(buffer, text.data(), n);
    buffer[n] = 0;
    return buffer;
}

std::shared_ptr<detail::ConnectionState> liveConnection(unsigned short h)
{
    auto c = detail::ChannelTable::instance().find<detail::ConnectionState>(h, detail::ChannelState::Connection);
    return c && c->isOpen() ? c : nullptr;
}

} // namespace

OrvConnect::OrvConnect() : m_handle(0), m_owning(false) {}

OrvConnect::OrvConnect(const char* user, const char* password, const char* node, VLong mode, bool readOnly,
                       const char* options)
    : m_handle(0), m_owning(false)
{
    open(user, password, node, mode, readOnly, options);
}

OrvConnect::~OrvConnect()
{
    close();
}

void OrvConnect::open(const char* user, const char* password, const char* node, VLong mode, bool readOnly,
                      const char* options)
{
    (void)password; // SQLite has no accounts
    try {
        OrvX fault;
        if (detail::injectFault(faultConnect, fault))
            throw fault;
        auto state = std::make_shared<detail::ConnectionState>();
        state->open(user ? user : "", node ? node : "", mode, readOnly, options ? options : "");
        unsigned short h;
        try {
            h = detail::ChannelTable::instance().add(state);
        } catch (...) {
            state->close();
            throw;
        }
        close();
        m_handle = h;
        m_owning = true;
    } catch (const OrvX& x) {
        detail::rememberError(x);
        throw;
    }
}

void OrvConnect::attach(unsigned short handle, bool owning)
{
    if (handle)
        detail::openConnection(handle);
    m_handle = handle;
    m_owning = handle && owning;
}

void OrvConnect::close() noexcept
{
    if (m_handle && m_owning)
        detail::closeChannel(m_handle);
    m_handle = 0;
    m_owning = false;
}

OrvConnect::operator unsigned short() const
{
    return m_handle && liveConnection(m_handle) ? m_handle : 0;
}

VLong OrvConnect::mode(bool initial) const
{
    auto c = liveConnection(m_handle);
    return c ? (initial ? c->database().initialMode : c->database().mode) : 0;
}

void OrvConnect::setMode(VLong mode)
{
    detail::openConnection(m_handle)->database().mode = mode;
}

const char* OrvConnect::node(char* buffer, int size) const
{
    auto c = liveConnection(m_handle);
    return copyOut(buffer, size, c ? c->database().node : std::string());
}

const char* OrvConnect::user(char* buffer, int size) const
{
    auto c = liveConnection(m_handle);
    return copyOut(buffer, size, c ? c->database().user : std::string());
}

bool OrvConnect::inTransaction() const
{
    auto c = liveConnection(m_handle);
    return c && c->db() && !sqlite3_get_autocommit(c->db());
}

} // namespace OrvCPP

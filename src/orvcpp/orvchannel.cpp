// OrvChannel: the handle of a statement or cursor, and closing it.
#include <vexapi/orvcpp/orvchannel.h>

#include "cursorstate.h"

namespace OrvCPP {

OrvChannel::OrvChannel() : m_handle(0), m_owning(false) {}

OrvChannel::~OrvChannel() = default;

OrvChannel::operator unsigned short() const
{
    if (!m_handle)
        return 0;
    std::shared_ptr<detail::ChannelState> s = detail::ChannelTable::instance().find(m_handle);
    if (!s || s->kind == detail::ChannelState::Connection)
        return 0;
    return m_handle;
}

void OrvChannel::closeChannel() noexcept
{
    if (m_handle && m_owning)
        detail::closeChannel(m_handle);
    m_handle = 0;
    m_owning = false;
}

} // namespace OrvCPP

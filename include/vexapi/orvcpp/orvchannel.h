// OrvChannel: the common base of OrvStatement and OrvCursor, a 16-bit handle into the
// layer's process-wide table of open channels, with or without the duty to close it.
#pragma once

#include <vexapi/core/api.h>

namespace OrvCPP {

// Holds the handle of a statement or cursor that the layer keeps open in its process-wide
// table (shared with connections), and whether this object closes it.
//
// Invariants:
//  1. A handle of 0 means closed; every object starts closed unless its constructor opens.
//  2. operator unsigned short() gives 0 once the channel was closed, also when its connection
//     closed it: the handle number is not trusted after that.
//  3. A failing call (OrvX) leaves the handle as it was.
//  4. attach never closes anything: binding another handle, or 0, only changes what this
//     object refers to. So handing a handle on is `h = c; c.attach(0, false);` and the
//     receiver attaches with `owning` true.
// Objects are not copyable: two owners of one handle would close it twice.
class VEXAPI_API OrvChannel {
public:
    OrvChannel(const OrvChannel&) = delete;
    OrvChannel& operator=(const OrvChannel&) = delete;

    // The handle; 0 when closed (invariant 2).
    operator unsigned short() const;
    // Whether close() and the destructor close the channel.
    bool isOwning() const { return m_owning; }

protected:
    OrvChannel();
    virtual ~OrvChannel();

    // The raw handle, whether or not it is still open.
    unsigned short rawHandle() const { return m_handle; }
    void setHandle(unsigned short handle, bool owning)
    {
        m_handle = handle;
        m_owning = owning;
    }
    // Closes the channel if owned (errors swallowed), then forgets it.
    void closeChannel() noexcept;

private:
    unsigned short m_handle;
    bool m_owning;
};

} // namespace OrvCPP

// PaintDevice: something a Painter draws on (a bitmap, a window, a printer page).
#pragma once

#include <vexapi/toolkit/region.h>

namespace VexAPI {
namespace platform {
class Surface;
}
} // namespace VexAPI

enum DeviceInfo : int {
    DeviceDpiX = 0,
    DeviceDpiY = 1,
    DeviceColorDepth = 2,
    DeviceWidth = 3,
    DeviceHeight = 4
};

// begin and end nest with useCount: only the first begin opens the device's context and only
// the last end closes it. A failed begin gives false and leaves useCount as it was.
// Invariants (checkInvariants):
//  1. useCount >= 0.
//  2. The surface is set exactly when useCount > 0.
class VEXAPI_API PaintDevice {
public:
    PaintDevice() = default;
    PaintDevice(const PaintDevice&) = delete;
    PaintDevice& operator=(const PaintDevice&) = delete;
    virtual ~PaintDevice();

    // compatibleWith: the device whose format a memory context follows (null: the screen).
    virtual bool begin(PaintDevice* compatibleWith = nullptr) = 0;
    virtual bool isActive() const { return m_useCount > 0; }
    virtual void end() = 0;

    int useCount() const { return m_useCount; }
    Region& clip() { return m_clip; }
    const Region& clip() const { return m_clip; }
    VexAPI::platform::Surface* surface() const { return m_surface; }

    // One fact of the device, opened for the question when it isn't open; a null device asks
    // the screen. 0 when the device can't be opened.
    static int deviceInfo(DeviceInfo info, PaintDevice* device);

    int checkInvariants() const;

protected:
    // The clip becomes the surface's clip box.
    void takeClipBox();

    Region m_clip;
    int m_useCount = 0;
    VexAPI::platform::Surface* m_surface = nullptr;
};

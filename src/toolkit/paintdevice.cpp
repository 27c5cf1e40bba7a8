// PaintDevice: the nesting counter's checks, the clip box and deviceInfo.
#include <vexapi/toolkit/paintdevice.h>

#include "platform_paint.h"

namespace platform = VexAPI::platform;

platform::Surface::~Surface() = default;

PaintDevice::~PaintDevice() = default;

int PaintDevice::checkInvariants() const
{
    if (m_useCount < 0)
        return 1;
    if ((m_surface != nullptr) != (m_useCount > 0))
        return 2;
    return 0;
}

void PaintDevice::takeClipBox()
{
    Rect box = m_surface ? m_surface->clipBox() : Rect();
    m_clip = Region(box);
}

int PaintDevice::deviceInfo(DeviceInfo info, PaintDevice* device)
{
    // The platform's device capability indexes of each DeviceInfo.
    platform::Surface* surface = nullptr;
    bool opened = false;
    if (!device) {
        surface = platform::screenSurface();
    } else {
        if (!device->isActive()) {
            if (!device->begin(nullptr))
                return 0;
            opened = true;
        }
        surface = device->surface();
    }
    int value = 0;
    if (surface) {
        switch (info) {
        case DeviceDpiX: value = surface->deviceCaps(88); break;
        case DeviceDpiY: value = surface->deviceCaps(90); break;
        case DeviceColorDepth: value = surface->deviceCaps(12) * surface->deviceCaps(14); break;
        case DeviceWidth: value = surface->deviceCaps(8); break;
        case DeviceHeight: value = surface->deviceCaps(10); break;
        }
    }
    if (opened)
        device->end();
    return value;
}

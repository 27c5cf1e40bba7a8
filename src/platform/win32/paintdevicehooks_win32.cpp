// Installs the window devices into the window layer: WM_PAINT and repaint hand doPaint a
// WindowPaintDev on their context, already begun, so that painters nest on it; a scrolled
// container (a ScrollOrigin) gets a ContainerPaintDev, which works in content coordinates.
#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/windowdev.h>

namespace {

PaintDevice* openPaintDevice(WVisualObject* window, void* dc)
{
    if (!window || !dc)
        return nullptr;
    WindowPaintDev* device;
    if (const ScrollOrigin* origin = dynamic_cast<const ScrollOrigin*>(window))
        device = new ContainerPaintDev(window->hwnd(), origin, dc);
    else
        device = new WindowPaintDev(window->hwnd(), dc);
    if (!device->begin()) {
        delete device;
        return nullptr;
    }
    return device;
}

void closePaintDevice(PaintDevice* device)
{
    if (!device)
        return;
    device->end();
    delete device;
}

struct InstallHooks {
    InstallHooks() { WVisualObject::setPaintDeviceHooks(openPaintDevice, closePaintDevice); }
} installHooks;

} // namespace

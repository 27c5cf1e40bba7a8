// The window devices: a window's client area at any time (WindowClientDev), inside its
// paint cycle (WindowPaintDev), and both for a scrolled container, whose drawing code works
// in the coordinates of the whole scrolled area (ContainerClientDev, ContainerPaintDev).
#pragma once

#include <vexapi/toolkit/paintdevice.h>

// Holds the platform window (an HWND on Windows); the window must outlive an open device.
class VEXAPI_API WindowClientDev : public PaintDevice {
public:
    explicit WindowClientDev(void* windowHandle) : m_window(windowHandle) {}
    ~WindowClientDev() override;

    // The window's context; the clip is its clip box. False without a window or context.
    bool begin(PaintDevice* compatibleWith = nullptr) override;
    void end() override;
    void* windowHandle() const { return m_window; }

protected:
    // Opens and closes the platform context; the devices below change how.
    virtual VexAPI::platform::Surface* open();
    virtual void close(VexAPI::platform::Surface* surface);
    // After the first open: the container devices move the origin and the clip here.
    virtual void opened() {}

    void* m_window;
};

// Inside the paint cycle: the clip is the window's update region, and the cycle ends with
// the last end. Made on a paint context the window layer already opened (the HDC of its
// BeginPaint), begin draws on that context, with its clip box as the clip, and end leaves
// the context to the window layer.
class VEXAPI_API WindowPaintDev : public WindowClientDev {
public:
    explicit WindowPaintDev(void* windowHandle, void* paintContext = nullptr)
        : WindowClientDev(windowHandle), m_context(paintContext) {}
    ~WindowPaintDev() override;

protected:
    VexAPI::platform::Surface* open() override;
    void close(VexAPI::platform::Surface* surface) override;

    void* m_context;
};

// The scroll position of a container: what its content's (0, 0) is scrolled by.
class VEXAPI_API ScrollOrigin {
public:
    virtual ~ScrollOrigin();
    virtual Point scrollPosition() const = 0;
};

// Drawing at content coordinates lands where the container shows them: on opening (only at
// the first nesting level) the viewport origin moves by minus the scroll position and the
// clip by the scroll position.
class VEXAPI_API ContainerClientDev : public WindowClientDev {
public:
    ContainerClientDev(void* windowHandle, const ScrollOrigin* view)
        : WindowClientDev(windowHandle), m_view(view) {}
    ~ContainerClientDev() override;

protected:
    void opened() override;

    const ScrollOrigin* m_view;
};

class VEXAPI_API ContainerPaintDev : public WindowPaintDev {
public:
    ContainerPaintDev(void* windowHandle, const ScrollOrigin* view, void* paintContext = nullptr)
        : WindowPaintDev(windowHandle, paintContext), m_view(view) {}
    ~ContainerPaintDev() override;

protected:
    void opened() override;

    const ScrollOrigin* m_view;
};

// WVisualObject: a visual object bound to one native Win32 window, and the common window
// procedure that turns every native message into a handler call by send.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/platform/win32/moveobject.h>
#include <vexapi/toolkit/visualobject.h>

#include <cstdint>

class WContainer;

// The platform twin of VisualObject. Geometry, visibility and enabling are kept in the
// object; the window follows them, and a move proposed by the platform (a frame drag, a
// call of SetWindowPos by someone else) is offered to doMove first (WM_WINDOWPOSCHANGING).
//
// Life of the native window (create / destroy / create again):
//
//   state        event                       edge                          next state
//   -----------  --------------------------  ----------------------------  -----------
//   Stored       create()                    CreateWindowExW, subclass,    Live
//                                            VisualObject::create
//   Stored       create(), window refused    nothing (gives false)         Stored
//   Live         destroy() / parent's window DestroyWindow -> WM_DESTROY   Stored
//                destroyed                   -> onDestroy: unsubclass,
//                                            hwnd null, created false
//   Live         destructor                  unsubclass, DestroyWindow     (gone)
//   Stored       destructor                  nothing                       (gone)
//
// In Stored, move, setParent, show, enable and colours are only stored; create applies
// them. Every platform call is guarded by isWindow().
//
// Flags (the byte of `flags()`):
//   positionGuard  the library itself moves the window: WM_WINDOWPOSCHANGING goes to the
//                  default handling untouched;
//   scrollerGuard  scroll bars are being changed (scroll views swallow WM_SIZE);
//   captureGuard   a capture change of the library's own: WM_CAPTURECHANGED is swallowed;
//   keepRect       the object's rectangle overrides any proposed move.
//
// Invariants (checkInvariants, after VisualObject's 1 to 5):
//  20. With a window, the window's user data is this object and its procedure is the
//      common window procedure.
//  21. created holds exactly when the object has a window.
//  22. charSkip is not negative.
class VEXAPI_API WVisualObject : public virtual VisualObject, public virtual MoveObject {
public:
    enum Flag : unsigned char {
        positionGuard = 0x01,
        scrollerGuard = 0x02,
        captureGuard = 0x40,
        keepRect = 0x80
    };
    // The message a visual object's post travels as, and the one that ends a drag.
    enum { PostMessageId = 2025, EndDragMessageId = 2026 };

    WVisualObject();
    ~WVisualObject() override;

    // ---- VisualObject, bound to the window ----
    void setParent(Container* newParent) override;
    void zmove(VisualObject* above) override;
    bool create() override;
    void destroy() override;
    bool onDestroy() override;
    bool onMouseMove(int x, int y, VLong flags) override;
    bool onLButtonDown(int x, int y, VLong flags) override;
    bool onLButtonUp(int x, int y, VLong flags) override;
    bool onRButtonDown(int x, int y, VLong flags) override;
    bool onRButtonUp(int x, int y, VLong flags) override;
    bool onLButtonDblClk(int x, int y, VLong flags) override;
    bool onRButtonDblClk(int x, int y, VLong flags) override;
    bool onMButtonDown(int x, int y, VLong flags) override;
    bool onMButtonUp(int x, int y, VLong flags) override;
    bool onMButtonDblClk(int x, int y, VLong flags) override;
    bool doPaint(PaintDevice* device) override;
    bool onKeyDown(VirtualKey key) override;
    bool onKeyUp(VirtualKey key) override;
    bool onChar(WChar* text) override;
    void invalidate(const Rect& rect) override;
    void invalidate() override;
    void invalidate(int x, int y, int w, int h) override;
    void invalidate(const Region& region) override;
    // Stored, and given to the window (a copy: the window owns what it is given).
    void setRegion(const Region& region) override;
    void repaint() override;
    void move(int x, int y, int w, int h) override;
    void enable(bool enable) override;
    void show(bool show) override;
    bool getEnable() const override { return m_enabled; }
    bool getShow() const override { return m_shown; }
    void client2screen(Rect* rect) override;
    void client2screen(int* x, int* y) override;
    void screen2client(Rect* rect) override;
    void screen2client(int* x, int* y) override;
    // Nested captures unwind: release gives the mouse back to whoever held it before.
    void mouseCapture() override;
    void releaseMouseCapture() override;
    // Asks the focused object's onLosingFocus first; true there keeps the focus where it is
    // and gives false. Otherwise SetFocus, and gives whether that call named a previous
    // focus window: callers rely on false when no window of the thread had the focus.
    bool setFocus() override;
    bool setCursor(Cursor* cursor) override;
    Cursor* getCursor() const override { return m_cursor; }
    bool setToolTip(const WChar* text) override;
    bool getToolTip(WChar* buffer, int size) override;
    Rect getClientRect() override;
    bool setForegroundWindow() override;
    void setColor(const Color& color) override;
    Color getColor() const override { return m_color; }
    void setAutoFill(bool autoFill) override { m_autoFill = autoFill; }
    bool getAutoFill() const override { return m_autoFill; }
    void lockUpdate() override;
    void unlockUpdate() override;
    // Runs a drag inside the process until the button is released, Esc or the right button
    // ends it, or the capture is lost; gives whether the target accepted the drop.
    bool doDragDrop(const Object* info) override;
    // Sets the drag cursor: "no" when the drop is refused, else copy or move by the
    // TypicalDragInfo's flag; another payload class gives false.
    bool onDragging(const Object* info, bool canDrop) override;
    // Queues onPost(pointer) for this object; callable from any thread. Dropped without a
    // window.
    void post(void* pointer) override;

    // ---- the platform layer's own hooks ----
    virtual bool useAutoMove() { return true; }
    virtual bool onActivateApp(bool active, VULong threadId) { return false; }
    virtual VULong setupStyle(VULong style) { return style; }
    virtual VULong setupExStyle(VULong exStyle) { return exStyle; }
    // One native message; the result is the window procedure's.
    virtual std::intptr_t procMessage(unsigned message, std::uintptr_t wParam,
                                      std::intptr_t lParam);
    virtual bool onOwnerDraw(void* item, unsigned message, unsigned id) { return false; }

    // ---- plain members ----
    // The object of a window of this process that runs the common window procedure.
    static WVisualObject* getByHWND(void* window);
    bool isWindow() const;
    void* hwnd() const { return m_hwnd; }
    void setWindowStyle(VULong style);
    VULong getWindowStyle() const;
    void setWindowExStyle(VULong exStyle);
    VULong getWindowExStyle() const;
    // The parent's window, or null.
    void* getHWNDParent() const;
    // The rectangle the window is made with: the object's, moved by the parent's origin.
    Rect creationRect() const;
    std::intptr_t defWindowProc(unsigned message, std::uintptr_t wParam, std::intptr_t lParam);
    // Lets this object see `message` of every window first (procMessage; 0 stops it).
    void subscribeForWM(unsigned message);
    // Message 0 removes every subscription of this object.
    void unsubscribeForWM(unsigned message);
    bool checkAccelerator(VirtualKey key, WVisualObject* target);
    bool cascadeCheckAccelerators(VirtualKey key);
    bool checkTabbingKey(VirtualKey key);
    bool checkTabbingChar(WChar c);
    // Translates a point from this object's client coordinates into `to`'s.
    void client2client(WVisualObject* to, int* x, int* y);
    // The drop target under the mouse and the mouse in its client coordinates.
    static WVisualObject* getDDT(int* x, int* y);
    std::intptr_t procDragMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam);
    bool isDragging() const { return m_dragging; }
    // The object that places this one itself, ahead of the scaling rule (not owned; null
    // for none).
    void setPositioner(MoveObjectPositioner* positioner) { m_positioner = positioner; }
    MoveObjectPositioner* positioner() const { return m_positioner; }
    // Gives whether the positioner placed the object.
    bool updatePosition() { return m_positioner && m_positioner->placeObject(this); }
    // Slots following this object's own size and maximizing (MoveInit subscribes them):
    // with moving on, the children are placed anew.
    SlotResult onSizeAction(Object* sender);
    SlotResult onMaximizeAction(Object* sender, bool maximized);
    int checkInvariants() const;

    unsigned char flags() const { return m_flags; }
    void setFlag(Flag flag, bool on);
    int charSkip() const { return m_charSkip; }

    // How WM_PAINT and repaint open the window's paint device around doPaint. The painter
    // installs its window device here when the library loads; with none installed doPaint
    // receives null.
    typedef PaintDevice* (*OpenPaintDevice)(WVisualObject* window, void* hdc);
    typedef void (*ClosePaintDevice)(PaintDevice* device);
    static void setPaintDeviceHooks(OpenPaintDevice open, ClosePaintDevice close);
    static void paintDeviceHooks(OpenPaintDevice* open, ClosePaintDevice* close);

    // The common window procedure's entry, for the Win32 callback.
    static std::intptr_t dispatchMessage(void* window, unsigned message, std::uintptr_t wParam,
                                         std::intptr_t lParam);

protected:
    // Makes the native window of class `className` (a native control's class, say) and
    // binds it: the second half of create.
    bool _create(const WChar* className);
    void checkTooltipMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam);
    // The origin offset the parent applies to this object's coordinates.
    void parentOffset(int* dx, int* dy) const;
    // Gives the window a copy of the stored region (none for the null region).
    void applyRegion();

    Color m_color;
    bool m_autoFill = false;
    bool m_enabled = true;
    bool m_shown = true;

private:
    friend class WContainer;
    struct Guard;
    // Sends doPaint with the device the painter opens on `dc` (none without the painter's
    // hooks), `dc` kept as the paint context meanwhile.
    void paintOn(void* dc);

    WContainer* m_asContainer = nullptr; // this object's WContainer side, set by WContainer
    MoveObjectPositioner* m_positioner = nullptr;
    void* m_hwnd = nullptr;
    void* m_oldWindowProc = nullptr;
    void* m_moduleHandle = nullptr;
    void* m_paintDC = nullptr; // the device context of the WM_PAINT in progress
    const Object* m_dragObject = nullptr;
    void* m_lastWindowPos = nullptr;
    int m_charSkip = 0;
    bool m_dragging = false;
    bool m_hasToolTip = false;
    bool m_inPosChanging = false; // a proposed move is being offered to doMove
    unsigned char m_flags = 0;
};

// Registers the library's window classes and reads the mouse-wheel settings: the window
// layer's part of process entry, installed in EntryHooks::initWindowLayer. Running it twice
// does no harm.
VEXAPI_API void initWindowLayer();

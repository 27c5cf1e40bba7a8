// WVisualObject: the native window of a visual object, the common window procedure and
// the message table that routes every message to a handler by send.
#include <vexapi/app/application.h>
#include <vexapi/app/mainentry.h>
#include <vexapi/core/vexassert.h>
#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/cursor.h>
#include <vexapi/toolkit/draginfo.h>
#include <vexapi/toolkit/systemmetrics.h>

#include "wvisualobjectaccess.h"

#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

const WChar* const ControlClass = L"VEXAPICONTROL";

LRESULT CALLBACK commonWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return LRESULT(WVisualObject::dispatchMessage(window, message, wParam, lParam));
}

// The process-wide table of message subscriptions: short by design, scanned on every
// message.
std::vector<std::pair<unsigned, std::vector<WVisualObject*>>>& subscriptions()
{
    static std::vector<std::pair<unsigned, std::vector<WVisualObject*>>> table;
    return table;
}

// The holders of the mouse before each nested mouseCapture.
std::vector<HWND> s_captureStack;

// The drag in progress: target under the mouse, the one entered last, and the answers.
WVisualObject* s_dragTarget = nullptr;
WVisualObject* s_lastTarget = nullptr;
bool s_canEnter = false;
bool s_canDrop = false;

// The words of the last activation and focus messages.
WPARAM s_activateW = 0;
LPARAM s_activateL = 0;
WPARAM s_focusW = 0;
LPARAM s_focusL = 0;

WVisualObject::OpenPaintDevice s_openPaint = nullptr;
WVisualObject::ClosePaintDevice s_closePaint = nullptr;

HCURSOR s_dragCursors[2] = {nullptr, nullptr};

// The window that received the last message and its object: runs of messages to one window
// (mouse moves, paints) skip the user-data lookup. Cleared whenever a window is unhooked;
// per thread, as windows and their procedures are.
thread_local HWND s_lastWindow = nullptr;
thread_local WVisualObject* s_lastObject = nullptr;

void forgetWindow(HWND window)
{
    if (s_lastWindow == window) {
        s_lastWindow = nullptr;
        s_lastObject = nullptr;
    }
}

// Maps a point with ClientToScreen or ScreenToClient; left as it is without a window.
void mapPoint(HWND hwnd, BOOL(WINAPI* map)(HWND, LPPOINT), int* x, int* y)
{
    POINT p = {*x, *y};
    if (hwnd)
        map(hwnd, &p);
    *x = p.x;
    *y = p.y;
}

} // namespace

// Sets a flag for a scope and puts back what was there (the guards nest).
struct WVisualObject::Guard {
    Guard(WVisualObject* o, unsigned char flag) : object(o), flag(flag), was(o && (o->m_flags & flag))
    {
        if (object)
            object->m_flags |= flag;
    }
    ~Guard()
    {
        if (object && !was)
            object->m_flags &= static_cast<unsigned char>(~flag);
    }
    WVisualObject* object;
    unsigned char flag;
    bool was;
};

namespace VexAPI {
namespace platform {
namespace detail {

VisualObject* objectOfWindow(HWND window)
{
    return WVisualObject::getByHWND(window);
}

HINSTANCE libraryModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS
                           | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&libraryModule), &module);
    return module;
}

} // namespace detail
} // namespace platform
} // namespace VexAPI

using VexAPI::platform::detail::libraryModule;

// ---- life ----

WVisualObject::WVisualObject() = default;

WVisualObject::~WVisualObject()
{
    unsubscribeForWM(0);
    if (s_dragTarget == this)
        s_dragTarget = nullptr;
    if (s_lastTarget == this)
        s_lastTarget = nullptr;
    if (isWindow()) {
        HWND window = HWND(m_hwnd);
        // No message may reach this half-destroyed object: unhook first. The window itself
        // goes too, rather than stay behind as an orphan no object answers for; its child
        // windows' objects get their WM_DESTROY as usual.
        SetWindowLongPtrW(window, GWLP_WNDPROC, LONG_PTR(m_oldWindowProc));
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        forgetWindow(window);
        m_hwnd = nullptr;
        DestroyWindow(window);
    }
}

int WVisualObject::checkInvariants() const
{
    if (int broken = VisualObject::checkInvariants())
        return broken;
    if (isWindow()) {
        HWND window = HWND(m_hwnd);
        if (GetWindowLongPtrW(window, GWLP_USERDATA) != LONG_PTR(this)
            || WNDPROC(GetWindowLongPtrW(window, GWLP_WNDPROC)) != commonWindowProc)
            return 20;
    }
    if (m_created != isWindow())
        return 21;
    if (m_charSkip < 0)
        return 22;
    return 0;
}

bool WVisualObject::isWindow() const
{
    return m_hwnd && IsWindow(HWND(m_hwnd));
}

WVisualObject* WVisualObject::getByHWND(void* handle)
{
    HWND window = HWND(handle);
    if (!window || !IsWindow(window))
        return nullptr;
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process != GetCurrentProcessId())
        return nullptr;
    if (WNDPROC(GetWindowLongPtrW(window, GWLP_WNDPROC)) != commonWindowProc)
        return nullptr;
    return reinterpret_cast<WVisualObject*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

void* WVisualObject::getHWNDParent() const
{
    WVisualObject* p = dynamic_cast<WVisualObject*>(m_parent);
    return p && p->isWindow() ? p->m_hwnd : nullptr;
}

void WVisualObject::parentOffset(int* dx, int* dy) const
{
    *dx = 0;
    *dy = 0;
    if (WContainer* p = dynamic_cast<WContainer*>(m_parent))
        p->adjustPoint(dx, dy);
}

Rect WVisualObject::creationRect() const
{
    Rect r = getRect();
    int dx, dy;
    parentOffset(&dx, &dy);
    r.offset(dx, dy);
    return r;
}

bool WVisualObject::create()
{
    if (!isWindow()) {
        HINSTANCE module = libraryModule();
        WNDCLASSEXW known;
        known.cbSize = sizeof known;
        if (!GetClassInfoExW(module, ControlClass, &known)) {
            WNDCLASSEXW wc = {};
            wc.cbSize = sizeof wc;
            wc.style = CS_DBLCLKS;
            wc.lpfnWndProc = DefWindowProcW;
            wc.hInstance = module;
            wc.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)); // IDC_ARROW
            wc.hbrBackground = HBRUSH(COLOR_BTNFACE + 1);
            wc.lpszClassName = ControlClass;
            RegisterClassExW(&wc);
        }
    }
    return _create(ControlClass);
}

bool WVisualObject::_create(const WChar* className)
{
    if (!isWindow()) {
        HINSTANCE module = libraryModule();
        Rect r = creationRect();
        DWORD style = setupStyle(WS_CLIPSIBLINGS | WS_CLIPCHILDREN | (m_parent ? WS_CHILD : 0));
        // The stored state is applied now: shown and enabled start true.
        if (m_shown)
            style |= WS_VISIBLE;
        if (!m_enabled)
            style |= WS_DISABLED;
        HWND window = CreateWindowExW(setupExStyle(0), className, L"", style, r.left, r.top,
                                      r.width(), r.height(), HWND(getHWNDParent()), nullptr,
                                      module, nullptr);
        if (!window)
            return false; // the object stays a record of its state; isWindow() is false
        m_moduleHandle = module;
        // The user data first: from the moment the procedure is in place, messages come.
        SetWindowLongPtrW(window, GWLP_USERDATA, LONG_PTR(this));
        m_hwnd = window;
        m_oldWindowProc = reinterpret_cast<void*>(
            SetWindowLongPtrW(window, GWLP_WNDPROC, LONG_PTR(&commonWindowProc)));
        if (m_parent)
            zmove(m_parent->firstChild());
        if (!m_region.isNull())
            applyRegion();
    }
    return VisualObject::create();
}

void WVisualObject::destroy()
{
    if (isWindow())
        DestroyWindow(HWND(m_hwnd)); // WM_DESTROY runs onDestroy
    else if (m_created)
        VisualObject::destroy();
}

bool WVisualObject::onDestroy()
{
    if (m_hasToolTip)
        setToolTip(nullptr);
    if (isWindow()) {
        SetWindowLongPtrW(HWND(m_hwnd), GWLP_WNDPROC, LONG_PTR(m_oldWindowProc));
        SetWindowLongPtrW(HWND(m_hwnd), GWLP_USERDATA, 0);
    }
    forgetWindow(HWND(m_hwnd));
    m_hwnd = nullptr;
    return VisualObject::onDestroy();
}

// ---- place and geometry ----

void WVisualObject::setParent(Container* newParent)
{
    if (newParent == m_parent)
        return;
    VisualObject::setParent(newParent);
    if (m_parent != newParent)
        return; // refused
    if (isWindow()) {
        WContainer* wp = dynamic_cast<WContainer*>(newParent);
        if (!newParent || wp) {
            SetParent(HWND(m_hwnd), wp && wp->isWindow() ? HWND(wp->m_hwnd) : nullptr);
            Guard guard(this, positionGuard);
            SetWindowPos(HWND(m_hwnd), nullptr, 0, 0, 0, 0, 0x613);
        }
    }
}

void WVisualObject::zmove(VisualObject* above)
{
    if (!m_parent)
        return;
    VisualObject::zmove(above);
    if (!isWindow())
        return;
    HWND after = nullptr; // HWND_TOP
    for (VisualObject* s = prevSibling(); s; s = s->prevSibling()) {
        WVisualObject* w = dynamic_cast<WVisualObject*>(s);
        if (w && w->isWindow()) {
            after = HWND(w->m_hwnd);
            break;
        }
    }
    Guard guard(this, positionGuard);
    SetWindowPos(HWND(m_hwnd), after, 0, 0, 0, 0, 0x613);
}

void WVisualObject::move(int x, int y, int w, int h)
{
    if (x == m_left && y == m_top && w == m_width && h == m_height)
        return;
    VisualObject::move(x, y, w, h);
    // Inside WM_WINDOWPOSCHANGING the move in progress carries the new rectangle: the
    // window is not moved a second time from within it.
    if (!isWindow() || m_inPosChanging)
        return;
    Guard guard(this, positionGuard);
    int dx, dy;
    parentOffset(&dx, &dy);
    WContainer* p = dynamic_cast<WContainer*>(m_parent);
    if (p && p->m_deferMoves && p->m_batch) {
        HDWP batch = DeferWindowPos(HDWP(p->m_batch), HWND(m_hwnd), nullptr, m_left + dx,
                                    m_top + dy, m_width, m_height, 0x14);
        p->m_batch = batch;
        if (!batch) // the batch failed and is gone: the remaining moves go one by one
            p->m_deferMoves = false;
        return;
    }
    SetWindowPos(HWND(m_hwnd), nullptr, m_left + dx, m_top + dy, m_width, m_height, 0x414);
}

void WVisualObject::enable(bool on)
{
    m_enabled = on;
    if (isWindow())
        EnableWindow(HWND(m_hwnd), on);
}

void WVisualObject::show(bool on)
{
    m_shown = on;
    if (isWindow())
        ShowWindow(HWND(m_hwnd), on ? SW_SHOWNA : SW_HIDE);
}

void WVisualObject::setFlag(Flag flag, bool on)
{
    if (on)
        m_flags |= flag;
    else
        m_flags &= static_cast<unsigned char>(~flag);
}

void WVisualObject::setWindowStyle(VULong style)
{
    if (isWindow())
        SetWindowLongW(HWND(m_hwnd), GWL_STYLE, LONG(style));
}

VULong WVisualObject::getWindowStyle() const
{
    return isWindow() ? VULong(GetWindowLongW(HWND(m_hwnd), GWL_STYLE)) : 0;
}

void WVisualObject::setWindowExStyle(VULong exStyle)
{
    if (isWindow())
        SetWindowLongW(HWND(m_hwnd), GWL_EXSTYLE, LONG(exStyle));
}

VULong WVisualObject::getWindowExStyle() const
{
    return isWindow() ? VULong(GetWindowLongW(HWND(m_hwnd), GWL_EXSTYLE)) : 0;
}

// ---- drawing ----

void WVisualObject::invalidate(const Rect& rect)
{
    if (isWindow()) {
        RECT r = {rect.left, rect.top, rect.right, rect.bottom};
        InvalidateRect(HWND(m_hwnd), &r, TRUE);
    }
}

void WVisualObject::invalidate()
{
    if (isWindow())
        InvalidateRect(HWND(m_hwnd), nullptr, TRUE);
}

void WVisualObject::invalidate(int x, int y, int w, int h)
{
    invalidate(Rect(x, y, x + w, y + h));
}

void WVisualObject::invalidate(const Region& region)
{
    // InvalidateRgn takes a null handle for the whole window: a null region must not.
    if (isWindow() && !region.isNull())
        InvalidateRgn(HWND(m_hwnd), HRGN(region.handle()), TRUE);
}

void WVisualObject::setRegion(const Region& region)
{
    VisualObject::setRegion(region);
    applyRegion();
}

void WVisualObject::applyRegion()
{
    if (!isWindow())
        return;
    HRGN copy = nullptr;
    if (!m_region.isNull()) {
        copy = CreateRectRgn(0, 0, 0, 0);
        if (!copy || CombineRgn(copy, HRGN(m_region.handle()), nullptr, RGN_COPY) == ERROR) {
            if (copy)
                DeleteObject(copy);
            return;
        }
    }
    if (!SetWindowRgn(HWND(m_hwnd), copy, TRUE) && copy)
        DeleteObject(copy); // refused: the region is still ours
}

void WVisualObject::repaint()
{
    if (!m_created || !isWindow())
        return;
    HDC dc = GetDC(HWND(m_hwnd));
    paintOn(dc);
    ReleaseDC(HWND(m_hwnd), dc);
}

void WVisualObject::paintOn(void* dc)
{
    PaintDevice* device = s_openPaint ? s_openPaint(this, dc) : nullptr;
    m_paintDC = dc;
    send(this, &VisualObject::doPaint, device);
    m_paintDC = nullptr;
    if (device && s_closePaint)
        s_closePaint(device);
}

bool WVisualObject::doPaint(PaintDevice*)
{
    // A native control paints itself into the device context of the paint in progress.
    if (m_paintDC && m_oldWindowProc && WNDPROC(m_oldWindowProc) != DefWindowProcW)
        defWindowProc(WM_PAINT, std::uintptr_t(m_paintDC), 0);
    return false;
}

SlotResult WVisualObject::onSizeAction(Object*)
{
    if (moveEnabled())
        MoveDialogComponents(this);
    return SlotContinue;
}

SlotResult WVisualObject::onMaximizeAction(Object*, bool)
{
    if (moveEnabled())
        MoveDialogComponents(this);
    return SlotContinue;
}

void WVisualObject::setPaintDeviceHooks(OpenPaintDevice open, ClosePaintDevice close)
{
    s_openPaint = open;
    s_closePaint = close;
}

void WVisualObject::paintDeviceHooks(OpenPaintDevice* open, ClosePaintDevice* close)
{
    *open = s_openPaint;
    *close = s_closePaint;
}

void WVisualObject::setColor(const Color& color)
{
    m_color = color;
    invalidate();
}

void WVisualObject::lockUpdate()
{
    if (isWindow())
        LockWindowUpdate(HWND(m_hwnd));
}

void WVisualObject::unlockUpdate()
{
    LockWindowUpdate(nullptr);
}

// ---- coordinates ----

void WVisualObject::client2screen(int* x, int* y)
{
    mapPoint(isWindow() ? HWND(m_hwnd) : nullptr, ClientToScreen, x, y);
}

void WVisualObject::client2screen(Rect* r)
{
    client2screen(&r->left, &r->top);
    client2screen(&r->right, &r->bottom);
}

void WVisualObject::screen2client(int* x, int* y)
{
    mapPoint(isWindow() ? HWND(m_hwnd) : nullptr, ScreenToClient, x, y);
}

void WVisualObject::screen2client(Rect* r)
{
    screen2client(&r->left, &r->top);
    screen2client(&r->right, &r->bottom);
}

void WVisualObject::client2client(WVisualObject* to, int* x, int* y)
{
    client2screen(x, y);
    if (to)
        to->screen2client(x, y);
}

Rect WVisualObject::getClientRect()
{
    if (!isWindow())
        return Rect(0, 0, m_width, m_height);
    RECT r;
    GetClientRect(HWND(m_hwnd), &r);
    return Rect(r.left, r.top, r.right, r.bottom);
}

bool WVisualObject::setForegroundWindow()
{
    return isWindow() && SetForegroundWindow(HWND(m_hwnd));
}

// ---- focus, capture, cursor ----

bool WVisualObject::setFocus()
{
    if (!isWindow())
        return false;
    VisualObject* focused = getFocus();
    if (focused && focused != this && send(focused, &VisualObject::onLosingFocus))
        return false;
    return SetFocus(HWND(m_hwnd)) != nullptr;
}

void WVisualObject::mouseCapture()
{
    if (!isWindow())
        return;
    HWND holder = GetCapture();
    s_captureStack.push_back(holder);
    {
        Guard guard(getByHWND(holder), captureGuard);
        SetCapture(HWND(m_hwnd));
    }
    if (m_cursor && m_cursor->handle())
        SetCursor(HCURSOR(m_cursor->handle()));
}

void WVisualObject::releaseMouseCapture()
{
    Guard guard(this, captureGuard);
    if (s_captureStack.empty()) {
        ReleaseCapture();
        return;
    }
    HWND holder = s_captureStack.back();
    s_captureStack.pop_back();
    if (holder && IsWindow(holder))
        SetCapture(holder);
    else
        ReleaseCapture();
}

bool WVisualObject::setCursor(Cursor* cursor)
{
    m_cursor = cursor;
    if (cursor && isWindow() && GetCapture() == HWND(m_hwnd) && cursor->handle())
        SetCursor(HCURSOR(cursor->handle()));
    return true;
}

// Tool tips live on the tool-tip window of the parent container, one tool per child
// window. The record is the first version's (TTTOOLINFOW_V1_SIZE), which every version of
// the common controls accepts.
namespace {

TTTOOLINFOW toolInfo(HWND owner, HWND window, const WChar* text)
{
    TTTOOLINFOW ti = {};
    ti.cbSize = TTTOOLINFOW_V1_SIZE;
    ti.uFlags = TTF_IDISHWND;
    ti.hwnd = owner;
    ti.uId = UINT_PTR(window);
    ti.lpszText = const_cast<LPWSTR>(text);
    return ti;
}

} // namespace

bool WVisualObject::setToolTip(const WChar* text)
{
    WContainer* c = dynamic_cast<WContainer*>(m_parent);
    if (!c)
        return false;
    const bool remove = !text || !*text;
    HWND tip = nullptr;
    if (c->m_toolTip && IsWindow(HWND(c->m_toolTip)))
        tip = HWND(c->m_toolTip);
    if (remove) {
        if (m_hasToolTip && tip && isWindow()) {
            TTTOOLINFOW ti = toolInfo(HWND(c->hwnd()), HWND(m_hwnd), nullptr);
            SendMessageW(tip, TTM_DELTOOLW, 0, LPARAM(&ti));
        }
        m_hasToolTip = false;
        return true;
    }
    if (!isWindow())
        return false;
    tip = HWND(c->toolTipWindow());
    if (!tip)
        return false;
    TTTOOLINFOW ti = toolInfo(HWND(c->hwnd()), HWND(m_hwnd), text);
    // A tool of a tool-tip window that has since been made again is gone: delete, then add.
    SendMessageW(tip, TTM_DELTOOLW, 0, LPARAM(&ti));
    m_hasToolTip = SendMessageW(tip, TTM_ADDTOOLW, 0, LPARAM(&ti)) != 0;
    return m_hasToolTip;
}

bool WVisualObject::getToolTip(WChar* buffer, int size)
{
    if (!buffer || size <= 0)
        return false;
    buffer[0] = 0;
    WContainer* c = dynamic_cast<WContainer*>(m_parent);
    if (!m_hasToolTip || !c || !isWindow() || !c->m_toolTip || !IsWindow(HWND(c->m_toolTip)))
        return false;
    // Older common controls take no buffer size and write up to 80 units: read into a
    // buffer of our own, then copy what fits.
    WChar text[1024] = {};
    TTTOOLINFOW ti = toolInfo(HWND(c->hwnd()), HWND(m_hwnd), text);
    SendMessageW(HWND(c->m_toolTip), TTM_GETTEXTW, 1024, LPARAM(&ti));
    int i = 0;
    for (; i < size - 1 && text[i]; ++i)
        buffer[i] = text[i];
    buffer[i] = 0;
    return true;
}

// Mouse messages of a child with a tip go to the tip too, so that it can show and hide.
void WVisualObject::checkTooltipMessage(unsigned message, std::uintptr_t wParam,
                                        std::intptr_t lParam)
{
    if (!m_hasToolTip)
        return;
    if (message != WM_MOUSEMOVE && message != WM_LBUTTONDOWN && message != WM_LBUTTONUP
        && message != WM_RBUTTONDOWN && message != WM_RBUTTONUP)
        return;
    WContainer* c = dynamic_cast<WContainer*>(m_parent);
    if (!c || !c->m_toolTip || !IsWindow(HWND(c->m_toolTip)))
        return;
    MSG msg = {};
    msg.hwnd = HWND(m_hwnd);
    msg.message = message;
    msg.wParam = wParam;
    msg.lParam = lParam;
    msg.time = 1000;
    msg.pt.x = short(LOWORD(lParam));
    msg.pt.y = short(HIWORD(lParam));
    ClientToScreen(HWND(m_hwnd), &msg.pt);
    SendMessageW(HWND(c->m_toolTip), TTM_RELAYEVENT, 0, LPARAM(&msg));
}

// ---- messages ----

void WVisualObject::post(void* pointer)
{
    if (m_hwnd)
        PostMessageW(HWND(m_hwnd), PostMessageId, 0, LPARAM(pointer));
}

std::intptr_t WVisualObject::defWindowProc(unsigned message, std::uintptr_t wParam,
                                           std::intptr_t lParam)
{
    if (!m_hwnd)
        return 0;
    WNDPROC old = m_oldWindowProc ? WNDPROC(m_oldWindowProc) : DefWindowProcW;
    return CallWindowProcW(old, HWND(m_hwnd), message, wParam, lParam);
}

void WVisualObject::subscribeForWM(unsigned message)
{
    auto& table = subscriptions();
    for (auto& entry : table)
        if (entry.first == message) {
            if (std::find(entry.second.begin(), entry.second.end(), this) == entry.second.end())
                entry.second.push_back(this);
            return;
        }
    table.emplace_back(message, std::vector<WVisualObject*>{this});
}

void WVisualObject::unsubscribeForWM(unsigned message)
{
    auto& table = subscriptions();
    for (auto it = table.begin(); it != table.end();) {
        if (message == 0 || it->first == message) {
            auto& v = it->second;
            v.erase(std::remove(v.begin(), v.end(), this), v.end());
            if (v.empty()) {
                it = table.erase(it);
                continue;
            }
        }
        ++it;
    }
}

std::intptr_t WVisualObject::dispatchMessage(void* window, unsigned message,
                                             std::uintptr_t wParam, std::intptr_t lParam)
{
    auto& table = subscriptions();
    if (!table.empty()) {
        for (std::size_t i = 0; i < table.size(); ++i) {
            if (table[i].first != message)
                continue;
            // A copy: a subscriber may subscribe or unsubscribe while it runs.
            std::vector<WVisualObject*> subscribers = table[i].second;
            for (WVisualObject* s : subscribers)
                if (s->isCreated() && s->procMessage(message, wParam, lParam) == 0)
                    return 0;
            break;
        }
    }
    WVisualObject* object;
    if (HWND(window) == s_lastWindow) {
        object = s_lastObject;
    } else {
        object = reinterpret_cast<WVisualObject*>(GetWindowLongPtrW(HWND(window), GWLP_USERDATA));
        if (object) {
            s_lastWindow = HWND(window);
            s_lastObject = object;
        }
    }
    VEX_ASSERT(object && "vis");
    if (!object)
        return DefWindowProcW(HWND(window), message, wParam, lParam);
    if (object->m_dragging)
        return object->procDragMessage(message, wParam, lParam);
    return object->procMessage(message, wParam, lParam);
}

std::intptr_t WVisualObject::procMessage(unsigned message, std::uintptr_t wParam,
                                         std::intptr_t lParam)
{
    checkTooltipMessage(message, wParam, lParam);
    if (message >= WM_MOUSEMOVE && message <= WM_MBUTTONDBLCLK) {
        int x = short(LOWORD(lParam));
        int y = short(HIWORD(lParam));
        if (WContainer* c = m_asContainer) {
            int ox = 0, oy = 0;
            c->adjustPoint(&ox, &oy);
            x -= ox;
            y -= oy;
        }
        VLong flags = VLong(wParam);
        typedef bool (VisualObject::*MouseHandler)(int, int, VLong);
        static const MouseHandler handlers[] = {
            &VisualObject::onMouseMove,     &VisualObject::onLButtonDown,
            &VisualObject::onLButtonUp,     &VisualObject::onLButtonDblClk,
            &VisualObject::onRButtonDown,   &VisualObject::onRButtonUp,
            &VisualObject::onRButtonDblClk, &VisualObject::onMButtonDown,
            &VisualObject::onMButtonUp,     &VisualObject::onMButtonDblClk};
        if (message == WM_LBUTTONDOWN) {
            HWND self = HWND(m_hwnd);
            VisualObject* focused = getFocus();
            if (focused && focused != this && send(focused, &VisualObject::onLosingFocus))
                return 0; // the focused object refuses to let go: the click is swallowed
            if (!IsWindow(self))
                return 0;
        }
        send(this, handlers[message - WM_MOUSEMOVE], x, y, flags);
        return 0;
    }

    switch (message) {
    case WM_DESTROY:
        send(this, &VisualObject::onDestroy);
        return 0;
    case WM_SIZE:
        if (send(this, &VisualObject::onSize))
            return 0;
        break;
    case WM_ACTIVATE:
        s_activateW = wParam;
        s_activateL = lParam;
        return 0;
    case WM_SETFOCUS:
        s_focusW = wParam;
        s_focusL = lParam;
        send(this, &VisualObject::onSetFocus);
        return 0;
    case WM_KILLFOCUS:
        s_focusW = wParam;
        s_focusL = lParam;
        send(this, &VisualObject::onKillFocus);
        return 0;
    case WM_ENABLE:
        m_enabled = wParam != 0;
        send(this, &VisualObject::onEnable, m_enabled);
        break;
    case WM_PAINT: {
        PAINTSTRUCT ps;
        paintOn(BeginPaint(HWND(m_hwnd), &ps));
        if (m_hwnd)
            EndPaint(HWND(m_hwnd), &ps);
        return 0;
    }
    case WM_SHOWWINDOW:
        if (lParam == 0) {
            m_shown = wParam != 0;
            return 0;
        }
        break;
    case WM_ACTIVATEAPP:
        send(this, &WVisualObject::onActivateApp, wParam != 0, VULong(lParam));
        return 0;
    case WM_SETCURSOR:
        if (HWND(wParam) == HWND(m_hwnd) && m_cursor && LOWORD(lParam) == HTCLIENT
            && m_cursor->handle()) {
            SetCursor(HCURSOR(m_cursor->handle()));
            return 1;
        }
        break;
    case WM_WINDOWPOSCHANGING: {
        if (m_flags & positionGuard)
            break;
        WINDOWPOS* wp = reinterpret_cast<WINDOWPOS*>(lParam);
        int dx, dy;
        parentOffset(&dx, &dy);
        if (!(m_flags & keepRect)) {
            int x = (wp->flags & SWP_NOMOVE) ? m_left : wp->x - dx;
            int y = (wp->flags & SWP_NOMOVE) ? m_top : wp->y - dy;
            int w = (wp->flags & SWP_NOSIZE) ? m_width : wp->cx;
            int h = (wp->flags & SWP_NOSIZE) ? m_height : wp->cy;
            if ((wp->flags & (SWP_NOMOVE | SWP_NOSIZE)) != (SWP_NOMOVE | SWP_NOSIZE)) {
                // doMove moves the window itself (under positionGuard); what is proposed
                // here is then made to agree with the object's rectangle.
                m_inPosChanging = true;
                send(this, &VisualObject::doMove, x, y, w, h);
                m_inPosChanging = false;
            }
        }
        wp->x = m_left + dx;
        wp->y = m_top + dy;
        wp->cx = m_width;
        wp->cy = m_height;
        m_lastWindowPos = wp;
        break;
    }
    case WM_KEYDOWN:
        send(this, &VisualObject::onKeyDown, VirtualKey(unsigned(wParam), VULong(lParam), false));
        return 0;
    case WM_KEYUP:
        send(this, &VisualObject::onKeyUp, VirtualKey(unsigned(wParam), VULong(lParam), false));
        return 0;
    case WM_CHAR:
        if (m_charSkip == 0) {
            WChar text[2] = {WChar(wParam), 0};
            send(this, &VisualObject::onChar, static_cast<WChar*>(text));
        } else {
            --m_charSkip;
        }
        return 0;
    case WM_SYSKEYDOWN:
        send(this, &VisualObject::onKeyDown, VirtualKey(unsigned(wParam), VULong(lParam), true));
        return 0;
    case WM_CAPTURECHANGED:
        if (m_flags & captureGuard)
            return 0;
        break;
    case PostMessageId:
        send(static_cast<Object*>(this), &Object::onPost, reinterpret_cast<void*>(lParam));
        return 0;
    default:
        break;
    }
    return defWindowProc(message, wParam, lParam);
}

// ---- default handlers: the platform's own handling ----

bool WVisualObject::onMouseMove(int, int, VLong) { return true; }
bool WVisualObject::onLButtonDown(int, int, VLong) { return true; }
bool WVisualObject::onLButtonUp(int, int, VLong) { return true; }
bool WVisualObject::onRButtonDown(int, int, VLong) { return true; }
bool WVisualObject::onRButtonUp(int, int, VLong) { return true; }
bool WVisualObject::onLButtonDblClk(int, int, VLong) { return true; }
bool WVisualObject::onRButtonDblClk(int, int, VLong) { return true; }
bool WVisualObject::onMButtonDown(int, int, VLong) { return true; }
bool WVisualObject::onMButtonUp(int, int, VLong) { return true; }
bool WVisualObject::onMButtonDblClk(int, int, VLong) { return true; }

bool WVisualObject::onKeyDown(VirtualKey key)
{
    if (cascadeCheckAccelerators(key))
        return false;
    if (key.isSystem()) {
        defWindowProc(WM_SYSKEYDOWN, key.code(), std::intptr_t(key.lParam()));
        return false;
    }
    if (!checkTabbingKey(key))
        defWindowProc(WM_KEYDOWN, key.code(), std::intptr_t(key.lParam()));
    return false;
}

bool WVisualObject::onKeyUp(VirtualKey key)
{
    defWindowProc(WM_KEYUP, key.code(), std::intptr_t(key.lParam()));
    return false;
}

bool WVisualObject::onChar(WChar* text)
{
    if (text && !checkTabbingChar(text[0]))
        defWindowProc(WM_CHAR, std::uintptr_t(text[0]), 0);
    return false;
}

// Dialog navigation belongs to dialogs; without a dialog ancestor no key is taken.
bool WVisualObject::checkTabbingKey(VirtualKey)
{
    return false;
}

bool WVisualObject::checkTabbingChar(WChar)
{
    return false;
}

bool WVisualObject::checkAccelerator(VirtualKey key, WVisualObject* target)
{
    if (!isWindow() || !IsWindowEnabled(HWND(m_hwnd)))
        return false;
    int index = findAccel(key.getKeyboardKey(), VirtualKey::modifierBits());
    if (index < 0)
        return false;
    // A copy: the callback may change the table.
    accelEntry entry = *getAccel(index);
    if (target)
        ++target->m_charSkip;
    if (entry.callback && entry.object)
        (entry.object->*entry.callback)(this);
    return send(this, &VisualObject::onAccelPressed, index, entry.data);
}

bool WVisualObject::cascadeCheckAccelerators(VirtualKey key)
{
    for (WVisualObject* o = this; o; o = dynamic_cast<WVisualObject*>(o->m_parent))
        if (o->checkAccelerator(key, this))
            return true;
    m_charSkip = 0;
    return false;
}

// ---- dragging ----

WVisualObject* WVisualObject::getDDT(int* x, int* y)
{
    POINT p;
    GetCursorPos(&p);
    WVisualObject* target = getByHWND(WindowFromPoint(p));
    if (target)
        ScreenToClient(HWND(target->m_hwnd), &p);
    if (x)
        *x = p.x;
    if (y)
        *y = p.y;
    return target;
}

bool WVisualObject::doDragDrop(const Object* info)
{
    if (!isWindow())
        return false;
    int x, y;
    getCursorPos(&x, &y);
    screen2client(&x, &y);
    send(this, &VisualObject::onLButtonUp, x, y, VLong(0));

    s_dragTarget = s_lastTarget = nullptr;
    s_canEnter = s_canDrop = false;
    mouseCapture();
    m_dragging = true;
    m_dragObject = info;
    HWND self = HWND(m_hwnd);

    MSG msg;
    for (;;) {
        BOOL got = GetMessageW(&msg, nullptr, 0, 0);
        if (got <= 0) {
            // The loop must end: the quit request goes back for the outer loop.
            if (got == 0)
                PostQuitMessage(int(msg.wParam));
            break;
        }
        if (msg.message == EndDragMessageId && msg.hwnd == self) {
            m_dragging = false;
            m_dragObject = nullptr;
            releaseMouseCapture();
            return msg.lParam != 0;
        }
        const UINT m = msg.message;
        bool forDrag = (m >= WM_KEYDOWN && m <= WM_CHAR)
                       || (m >= WM_MOUSEMOVE && m <= WM_RBUTTONUP) || m == WM_MBUTTONDOWN
                       || m == WM_MBUTTONUP;
        if (forDrag)
            procDragMessage(m, msg.wParam, msg.lParam);
        else
            DispatchMessageW(&msg);
        if (!IsWindow(self) || GetCapture() != self)
            break;
    }
    // The capture went elsewhere (or the window died): the drag ends without a drop.
    m_dragging = false;
    m_dragObject = nullptr;
    if (!s_captureStack.empty())
        s_captureStack.pop_back();
    return false;
}

std::intptr_t WVisualObject::procDragMessage(unsigned message, std::uintptr_t wParam,
                                             std::intptr_t lParam)
{
    const Object* info = m_dragObject;
    int x = 0, y = 0;
    WVisualObject* target = getDDT(&x, &y);
    switch (message) {
    case WM_MOUSEMOVE:
        if (target != s_lastTarget) {
            s_canEnter = false;
            if (s_lastTarget)
                send(s_lastTarget, &VisualObject::onDragLeave, info);
            if (target)
                s_canEnter = send(target, &VisualObject::onDragEnter, info);
            s_lastTarget = target;
        }
        s_dragTarget = target;
        s_canDrop = false;
        if (target && s_canEnter)
            s_canDrop = send(target, &VisualObject::onDragOver, info, x, y);
        send(this, &VisualObject::onDragging, info, s_canDrop);
        return 0;
    case WM_KEYDOWN:
    case WM_KEYUP:
        if (message == WM_KEYDOWN && wParam == VK_ESCAPE) {
            if (s_lastTarget)
                send(s_lastTarget, &VisualObject::onDragLeave, info);
            PostMessageW(HWND(m_hwnd), EndDragMessageId, 0, 0);
            return 0;
        }
        if (s_lastTarget && s_canEnter)
            s_canDrop = send(s_lastTarget, &VisualObject::onDragOver, info, x, y);
        send(this, &VisualObject::onDragging, info, s_canDrop);
        return 0;
    case WM_LBUTTONUP: {
        bool result = false;
        if (target) {
            if (s_canDrop && target == s_lastTarget)
                result = send(target, &VisualObject::onDrop, info, x, y);
            else
                send(target, &VisualObject::onDragLeave, info);
        }
        PostMessageW(HWND(m_hwnd), EndDragMessageId, 0, result ? 1 : 0);
        return 0;
    }
    case WM_RBUTTONDOWN:
        if (s_lastTarget)
            send(s_lastTarget, &VisualObject::onDragLeave, info);
        PostMessageW(HWND(m_hwnd), EndDragMessageId, 0, 0);
        return 0;
    default:
        return procMessage(message, wParam, lParam);
    }
}

bool WVisualObject::onDragging(const Object* info, bool canDrop)
{
    const TypicalDragInfo* typical = dynamic_cast<const TypicalDragInfo*>(info);
    if (!canDrop) {
        SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32648))); // IDC_NO
        return true;
    }
    if (!typical)
        return false;
    int which = typical->copy ? 1 : 0;
    if (!s_dragCursors[which])
        s_dragCursors[which] = LoadCursorW(libraryModule(), MAKEINTRESOURCEW(102 + which));
    // Without the module's drag cursors the arrow stands in.
    SetCursor(s_dragCursors[which] ? s_dragCursors[which]
                                   : LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)));
    return true;
}

// ---- the window layer at process entry ----

void initWindowLayer()
{
    HINSTANCE module = libraryModule();
    WNDCLASSEXW known;
    known.cbSize = sizeof known;
    if (!GetClassInfoExW(module, L"VexAPI_SimpleWindow", &known)) {
        WNDCLASSEXW wc = {};
        wc.cbSize = sizeof wc;
        wc.style = CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS;
        wc.lpfnWndProc = DefWindowProcW;
        wc.hInstance = module;
        wc.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
        wc.hbrBackground = HBRUSH(COLOR_BTNFACE + 1);
        wc.lpszClassName = L"VexAPI_SimpleWindow";
        RegisterClassExW(&wc);
    }
    // The mouse wheel: lines a notch scrolls (SPI_GETWHEELSCROLLLINES, 104) and, from
    // Windows Vista on, characters (SPI_GETWHEELSCROLLCHARS, 108); 3 where unknown or 0.
    UINT lines = 0, chars = 0;
    SystemParametersInfoW(104, 0, &lines, 0);
    const OSVERSIONINFOW* version = Application::WinVersion();
    if (version && version->dwMajorVersion >= 6)
        SystemParametersInfoW(108, 0, &chars, 0);
    SystemMetrics::setScrollSettings(int(lines), int(chars));
}

namespace {
const bool s_entryHookInstalled = (EntryHooks::initWindowLayer = &initWindowLayer, true);
}

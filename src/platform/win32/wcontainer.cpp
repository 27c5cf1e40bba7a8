// WContainer: the native side of a container: commands and notifications of its child
// windows, background filling and batched child moves.
#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/platform/win32/wtypicalcontrol.h>

#include <windows.h>

WContainer::WContainer()
{
    // The mouse path asks for the container side on every message: a pointer kept here
    // spares it a cross cast through the virtual bases.
    m_asContainer = this;
    // A container's children move with it.
    setMoveType(1);
}

WContainer::~WContainer()
{
    if (m_batch) // a batch left open is applied rather than leaked
        EndDeferWindowPos(HDWP(m_batch));
}

bool WContainer::onSetFocus()
{
    return Container::onSetFocus();
}

void* WContainer::toolTipWindow()
{
    if (m_toolTip && IsWindow(HWND(m_toolTip)))
        return m_toolTip;
    m_toolTip = nullptr;
    if (!isWindow())
        return nullptr;
    // The tool-tip class belongs to the common controls, which register it when asked to.
    static HMODULE commonControls = [] {
        HMODULE module = LoadLibraryW(L"comctl32.dll");
        typedef void(WINAPI * Init)();
        if (module)
            if (Init init = reinterpret_cast<Init>(
                    reinterpret_cast<void*>(GetProcAddress(module, "InitCommonControls"))))
                init();
        return module;
    }();
    (void)commonControls;
    HWND tip = CreateWindowExW(0, L"tooltips_class32", nullptr, 1 /* TTS_ALWAYSTIP */,
                               CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT,
                               HWND(hwnd()), nullptr, nullptr, nullptr);
    if (!tip)
        return nullptr;
    SendMessageW(tip, 0x418 /* TTM_SETMAXTIPWIDTH */, 0, 1000);
    m_toolTip = tip;
    return tip;
}

bool WContainer::onCommand(unsigned short code, unsigned short id, void* hwnd)
{
    return getByHWND(hwnd) != nullptr;
}

int WContainer::checkInvariants() const
{
    if (int broken = Container::checkInvariants())
        return broken;
    return WVisualObject::checkInvariants();
}

void WContainer::beginMoveBatch()
{
    if (m_batch)
        return;
    m_batch = BeginDeferWindowPos(childCount() > 0 ? childCount() : 1);
    m_deferMoves = m_batch != nullptr;
}

void WContainer::endMoveBatch()
{
    m_deferMoves = false;
    if (m_batch) {
        EndDeferWindowPos(HDWP(m_batch));
        m_batch = nullptr;
    }
}

std::intptr_t WContainer::procMessage(unsigned message, std::uintptr_t wParam,
                                      std::intptr_t lParam)
{
    switch (message) {
    case WM_COMMAND:
        send(this, &WContainer::onCommand, static_cast<unsigned short>(HIWORD(wParam)),
             static_cast<unsigned short>(LOWORD(wParam)), reinterpret_cast<void*>(lParam));
        return 0;
    case WM_ERASEBKGND:
        if (getAutoFill()) {
            RECT r;
            GetClientRect(HWND(hwnd()), &r);
            HBRUSH brush = CreateSolidBrush(COLORREF(m_color.rgb()));
            FillRect(HDC(wParam), &r, brush);
            DeleteObject(brush);
            return 1;
        }
        break;
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORSTATIC:
        // A control of the library takes its own colours; others get the default.
        if (WTypicalControl* control = dynamic_cast<WTypicalControl*>(getByHWND(
                reinterpret_cast<void*>(lParam))))
            return std::intptr_t(control->colourBrush(reinterpret_cast<void*>(wParam)));
        break;
    case WM_DRAWITEM:
        send(this, &WContainer::onDrawItem, int(wParam), reinterpret_cast<void*>(lParam));
        return 1;
    case WM_NOTIFY:
        return send(this, &WContainer::onNotify, int(wParam), reinterpret_cast<tagNMHDR*>(lParam))
                   ? 1 : 0;
    default:
        break;
    }
    return WVisualObject::procMessage(message, wParam, lParam);
}

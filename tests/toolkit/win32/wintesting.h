// Helpers of the toolkit's Windows tests: recording visual objects on real windows, a
// message pump, and the keyboard's modifier state.
#pragma once

#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/platform/win32/wvisualobject.h>

#include "signalspy.h"

#include <windows.h>

#include <string>

namespace wintest {

// Runs every message queued for this thread, translating keys into characters as the
// main loop does.
inline void pump()
{
    MSG msg;
    for (int rounds = 0; rounds < 10000 && PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE); ++rounds) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

// Holds modifier keys down in the thread's keyboard state (what GetKeyState reads) for a
// scope: posted key messages do not change that state by themselves.
class Modifiers {
public:
    explicit Modifiers(bool ctrl, bool shift = false, bool alt = false)
    {
        GetKeyboardState(m_saved);
        BYTE state[256];
        GetKeyboardState(state);
        state[VK_CONTROL] = ctrl ? 0x80 : 0;
        state[VK_SHIFT] = shift ? 0x80 : 0;
        state[VK_MENU] = alt ? 0x80 : 0;
        SetKeyboardState(state);
    }
    ~Modifiers() { SetKeyboardState(m_saved); }

private:
    BYTE m_saved[256];
};

inline std::string xy(int x, int y)
{
    return "(" + std::to_string(x) + "," + std::to_string(y) + ")";
}

// A W object that writes each handler it runs, with its arguments, into a journal, then
// does what the base does. Answers of the focus and drag handlers are settable.
template <class Base>
class Recording : public Base {
public:
    Recording(std::string name, Journal* journal) : name(std::move(name)), journal(journal) {}

    void note(const std::string& what) { if (journal) journal->push_back(name + "." + what); }

    bool onMouseMove(int x, int y, VLong f) override { note("move" + xy(x, y)); return Base::onMouseMove(x, y, f); }
    bool onLButtonDown(int x, int y, VLong f) override { note("ldown" + xy(x, y)); return Base::onLButtonDown(x, y, f); }
    bool onLButtonUp(int x, int y, VLong f) override { note("lup" + xy(x, y)); return Base::onLButtonUp(x, y, f); }
    bool onLButtonDblClk(int x, int y, VLong f) override { note("ldbl" + xy(x, y)); return true; }
    bool onRButtonDown(int x, int y, VLong f) override { note("rdown" + xy(x, y)); return true; }
    bool onRButtonUp(int x, int y, VLong f) override { note("rup" + xy(x, y)); return true; }
    bool onMButtonDown(int x, int y, VLong f) override { note("mdown" + xy(x, y)); return true; }
    bool onKeyDown(VirtualKey k) override
    {
        note(std::string(k.isSystem() ? "syskey" : "key") + std::to_string(k.code()));
        return Base::onKeyDown(k);
    }
    bool onKeyUp(VirtualKey k) override { note("keyup" + std::to_string(k.code())); return Base::onKeyUp(k); }
    bool onChar(WChar* t) override { note("char" + std::to_string(int(t[0]))); return true; }
    bool onSetFocus() override { note("setfocus"); return Base::onSetFocus(); }
    bool onKillFocus() override { note("killfocus"); return Base::onKillFocus(); }
    bool onLosingFocus() override { note("losing"); return vetoFocusLoss; }
    bool onCreate() override { note("create"); return true; }
    bool onDestroy() override { note("destroy"); return Base::onDestroy(); }
    bool onMove() override { note("onmove"); return true; }
    bool doMove(int x, int y, int w, int h) override
    {
        note("domove" + xy(x, y) + xy(w, h));
        return refuseMoves ? false : Base::doMove(x, y, w, h);
    }
    bool onAccelPressed(int index, void* data) override { note("accel" + std::to_string(index)); return true; }
    bool onPost(void* p) override
    {
        note("post");
        posted = p;
        postThread = GetCurrentThreadId();
        if (postAction) postAction();
        return true;
    }
    bool onDragEnter(const Object*) override { note("dragenter"); return acceptEnter; }
    bool onDragOver(const Object*, int x, int y) override { note("dragover" + xy(x, y)); return acceptDrop; }
    bool onDragLeave(const Object*) override { note("dragleave"); return true; }
    bool onDrop(const Object*, int x, int y) override { note("drop" + xy(x, y)); return true; }
    bool onDragging(const Object* info, bool canDrop) override
    {
        note(std::string("dragging") + (canDrop ? "+" : "-"));
        return Base::onDragging(info, canDrop);
    }

    std::string name;
    Journal* journal;
    bool vetoFocusLoss = false;
    bool refuseMoves = false;
    bool acceptEnter = true;
    bool acceptDrop = true;
    void* posted = nullptr;
    DWORD postThread = 0;
    std::function<void()> postAction;
};

typedef Recording<WVisualObject> Probe;
typedef Recording<WContainer> Frame;

inline HWND hwndOf(const WVisualObject& o) { return HWND(o.hwnd()); }

// The rectangle of a window in its parent's client coordinates (screen for a top level).
inline Rect nativeRect(const WVisualObject& o)
{
    RECT r;
    GetWindowRect(hwndOf(o), &r);
    HWND parent = GetParent(hwndOf(o));
    if (parent && (GetWindowLongW(hwndOf(o), GWL_STYLE) & WS_CHILD))
        MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&r), 2);
    return Rect(r.left, r.top, r.right, r.bottom);
}

inline LPARAM at(int x, int y) { return MAKELPARAM(x, y); }

} // namespace wintest

// VirtualKey: the value a key handler receives, and the library's keyboard key numbers with
// the one table that maps the platform's key codes onto them.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// A key event: the platform's key code, the lParam word of its message, and whether it came
// as a system key (with Alt, WM_SYSKEYDOWN on Windows).
class VEXAPI_API VirtualKey {
public:
    // The library's keys. Accelerator tables and handlers speak these numbers, never the
    // platform's codes.
    enum KeyboardKey : int {
        KeyNone = 0,
        KeyEsc = 1, KeyTab, KeyBackspace, KeyReturn, KeyInsert, KeyDelete, KeyHome, KeyEnd,
        KeyLeft, KeyUp, KeyRight, KeyDown, KeyPageUp, KeyPageDown, KeyShift, KeyCtrl, KeyAlt,
        KeyF1 = 18, KeyF2, KeyF3, KeyF4, KeyF5, KeyF6, KeyF7, KeyF8, KeyF9, KeyF10, KeyF11,
        KeyF12,
        KeyBlank = 30,
        Key0 = 31, Key1, Key2, Key3, Key4, Key5, Key6, Key7, Key8, Key9,
        KeyMultiply = 41, KeyAdd, KeySeparator, KeySubtract, KeyDecimal, KeyDivide, KeyLWin,
        KeyRWin,
        KeyA = 49, KeyB, KeyC, KeyD, KeyE, KeyF, KeyG, KeyH, KeyI, KeyJ, KeyK, KeyL, KeyM,
        KeyN, KeyO, KeyP, KeyQ, KeyR, KeyS, KeyT, KeyU, KeyV, KeyW, KeyX, KeyY, KeyZ,
        KeyPause = 75, KeyCapsLock, KeyNumLock, KeyScrollLock, KeyPrintScreen,
        KeyApps = 80
    };

    // One row of the key table: library key, platform key code, Latin character (0: none).
    struct Row {
        KeyboardKey key;
        unsigned code;
        int latin;
    };
    enum { TableRows = 84 };

    explicit VirtualKey(unsigned code = 0, VULong lParam = 0, bool system = false)
        : m_code(code), m_lParam(lParam), m_system(system) {}

    unsigned code() const { return m_code; }
    VULong lParam() const { return m_lParam; }
    bool isSystem() const { return m_system; }

    // The library key of this event's code, by a linear search of the table; 0 when the
    // code is not in it.
    KeyboardKey getKeyboardKey() const { return getKeyboardKey(m_code); }
    static KeyboardKey getKeyboardKey(unsigned code);
    // The table row's Latin character of a library key, or 0. Several rows may share a key
    // (the main keyboard's + - . / and the keypad's); the first row gives the answer.
    static int VKey2LatinChar(KeyboardKey key);
    // The platform's key code of a library key (its first row), or 0.
    static unsigned platformCode(KeyboardKey key);
    static const Row* table();

    // The character the platform makes of this key code with no modifier, or 0.
    WChar getChar() const;
    bool isChar() const { return getChar() > 0; }

    // The state of the modifier keys at the moment of the call: not at the time of the
    // message, so a handler that runs late sees the keys as they are now.
    static bool isCtrlPressed();
    static bool isShiftPressed();
    static bool isAltPressed();
    // The three as accelerator modifier bits: bit 0 Ctrl, bit 1 Shift, bit 2 Alt.
    static int modifierBits();

private:
    unsigned m_code;
    VULong m_lParam;
    bool m_system;
};

// The key table and the modifier state of VirtualKey.
#include <vexapi/toolkit/virtualkey.h>

#include "platform_input.h"

namespace {

typedef VirtualKey K;

// 84 rows of (library key, platform key code, Latin character), searched linearly. The
// four last rows give the main keyboard's + - . / the keypad keys' library numbers.
const VirtualKey::Row s_keyTable[VirtualKey::TableRows] = {
    {K::KeyEsc, 27, 0}, {K::KeyTab, 9, 0}, {K::KeyBackspace, 8, 0}, {K::KeyReturn, 13, 0},
    {K::KeyInsert, 45, 0}, {K::KeyDelete, 46, 0}, {K::KeyHome, 36, 0}, {K::KeyEnd, 35, 0},
    {K::KeyLeft, 37, 0}, {K::KeyUp, 38, 0}, {K::KeyRight, 39, 0}, {K::KeyDown, 40, 0},
    {K::KeyPageUp, 33, 0}, {K::KeyPageDown, 34, 0}, {K::KeyShift, 16, 0}, {K::KeyCtrl, 17, 0},
    {K::KeyAlt, 18, 0},
    {K::KeyF1, 112, 0}, {K::KeyF2, 113, 0}, {K::KeyF3, 114, 0}, {K::KeyF4, 115, 0},
    {K::KeyF5, 116, 0}, {K::KeyF6, 117, 0}, {K::KeyF7, 118, 0}, {K::KeyF8, 119, 0},
    {K::KeyF9, 120, 0}, {K::KeyF10, 121, 0}, {K::KeyF11, 122, 0}, {K::KeyF12, 123, 0},
    {K::KeyBlank, 32, 32},
    {K::Key0, '0', '0'}, {K::Key1, '1', '1'}, {K::Key2, '2', '2'}, {K::Key3, '3', '3'},
    {K::Key4, '4', '4'}, {K::Key5, '5', '5'}, {K::Key6, '6', '6'}, {K::Key7, '7', '7'},
    {K::Key8, '8', '8'}, {K::Key9, '9', '9'},
    {K::KeyMultiply, 106, '*'}, {K::KeyAdd, 107, '+'}, {K::KeySeparator, 108, 0},
    {K::KeySubtract, 109, '-'}, {K::KeyDecimal, 110, '.'}, {K::KeyDivide, 111, '/'},
    {K::KeyLWin, 91, 0}, {K::KeyRWin, 92, 0},
    {K::KeyA, 'A', 'A'}, {K::KeyB, 'B', 'B'}, {K::KeyC, 'C', 'C'}, {K::KeyD, 'D', 'D'},
    {K::KeyE, 'E', 'E'}, {K::KeyF, 'F', 'F'}, {K::KeyG, 'G', 'G'}, {K::KeyH, 'H', 'H'},
    {K::KeyI, 'I', 'I'}, {K::KeyJ, 'J', 'J'}, {K::KeyK, 'K', 'K'}, {K::KeyL, 'L', 'L'},
    {K::KeyM, 'M', 'M'}, {K::KeyN, 'N', 'N'}, {K::KeyO, 'O', 'O'}, {K::KeyP, 'P', 'P'},
    {K::KeyQ, 'Q', 'Q'}, {K::KeyR, 'R', 'R'}, {K::KeyS, 'S', 'S'}, {K::KeyT, 'T', 'T'},
    {K::KeyU, 'U', 'U'}, {K::KeyV, 'V', 'V'}, {K::KeyW, 'W', 'W'}, {K::KeyX, 'X', 'X'},
    {K::KeyY, 'Y', 'Y'}, {K::KeyZ, 'Z', 'Z'},
    {K::KeyPause, 19, 0}, {K::KeyCapsLock, 20, 0}, {K::KeyNumLock, 144, 0},
    {K::KeyScrollLock, 145, 0}, {K::KeyPrintScreen, 44, 0}, {K::KeyApps, 93, 0},
    {K::KeyAdd, 187, '+'}, {K::KeySubtract, 189, '-'}, {K::KeyDecimal, 190, '.'},
    {K::KeyDivide, 191, '/'},
};

enum { CodeShift = 16, CodeCtrl = 17, CodeAlt = 18 };

} // namespace

VirtualKey::KeyboardKey VirtualKey::getKeyboardKey(unsigned code)
{
    for (const Row& row : s_keyTable)
        if (row.code == code)
            return row.key;
    return KeyNone;
}

int VirtualKey::VKey2LatinChar(KeyboardKey key)
{
    for (const Row& row : s_keyTable)
        if (row.key == key)
            return row.latin;
    return 0;
}

unsigned VirtualKey::platformCode(KeyboardKey key)
{
    for (const Row& row : s_keyTable)
        if (row.key == key)
            return row.code;
    return 0;
}

const VirtualKey::Row* VirtualKey::table()
{
    return s_keyTable;
}

WChar VirtualKey::getChar() const
{
    return VexAPI::platform::keyCodeToChar(m_code, VKey2LatinChar(getKeyboardKey()));
}

bool VirtualKey::isCtrlPressed()
{
    return VexAPI::platform::isKeyDown(CodeCtrl);
}

bool VirtualKey::isShiftPressed()
{
    return VexAPI::platform::isKeyDown(CodeShift);
}

bool VirtualKey::isAltPressed()
{
    return VexAPI::platform::isKeyDown(CodeAlt);
}

int VirtualKey::modifierBits()
{
    return (isCtrlPressed() ? 1 : 0) | (isShiftPressed() ? 2 : 0) | (isAltPressed() ? 4 : 0);
}

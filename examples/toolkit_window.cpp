// A window with a few child objects: click a box to pick it, drag it with the mouse or
// move it with the arrow keys, Ctrl+R resets the layout, Esc or closing the window quits.
// With "--auto" the program plays a short scene of input on its own and quits, so that it
// can run unattended (under Wine in the test scripts, say).
#include <vexapi/app/application.h>
#include <vexapi/platform/win32/wcontainer.h>
#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/cursor.h>

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

void say(const char* format, int a = 0, int b = 0, int c = 0)
{
    std::printf(format, a, b, c);
    std::printf("\n");
    std::fflush(stdout);
}

// A coloured box that can be picked with the mouse and moved by mouse or keys.
class Box : public WContainer {
public:
    Box(int number, const Color& color) : m_number(number)
    {
        setColor(color);
        setAutoFill(true);
        setCursor(&m_hand);
    }

    bool onLButtonDown(int x, int y, VLong) override
    {
        say("box %d: pressed at %d,%d", m_number, x, y);
        setFocus();
        m_grab = {x, y};
        m_held = true;
        mouseCapture();
        return true;
    }
    bool onMouseMove(int x, int y, VLong) override
    {
        if (m_held)
            move(left() + x - m_grab.x, top() + y - m_grab.y, width(), height());
        return true;
    }
    bool onLButtonUp(int, int, VLong) override
    {
        if (m_held) {
            m_held = false;
            releaseMouseCapture();
            say("box %d: dropped at %d,%d", m_number, left(), top());
        }
        return true;
    }
    bool onKeyDown(VirtualKey key) override
    {
        int dx = 0, dy = 0;
        switch (key.getKeyboardKey()) {
        case VirtualKey::KeyLeft: dx = -10; break;
        case VirtualKey::KeyRight: dx = 10; break;
        case VirtualKey::KeyUp: dy = -10; break;
        case VirtualKey::KeyDown: dy = 10; break;
        default: return WContainer::onKeyDown(key); // accelerators, Esc
        }
        move(left() + dx, top() + dy, width(), height());
        say("box %d: moved by key to %d,%d", m_number, left(), top());
        return true;
    }
    bool onSetFocus() override
    {
        say("box %d: has the focus", m_number);
        setColor(Color(m_number * 60 % 256, 200, 80));
        return WContainer::onSetFocus();
    }
    bool onKillFocus() override
    {
        setColor(m_restColor);
        return true;
    }
    void setRestColor(const Color& c) { m_restColor = c; }

private:
    int m_number;
    Point m_grab;
    bool m_held = false;
    Cursor m_hand{Cursor::Hand};
    Color m_restColor;
};

class MainWindow : public WContainer {
public:
    MainWindow()
    {
        move(100, 100, 480, 320);
        setColor(Color(250, 250, 245));
        setAutoFill(true);
        const Color colors[] = {Color(200, 40, 40), Color(40, 90, 200), Color(230, 170, 30)};
        for (int i = 0; i < 3; ++i) {
            m_boxes.emplace_back(new Box(i + 1, colors[i]));
            m_boxes.back()->setRestColor(colors[i]);
            m_boxes.back()->setParent(this);
        }
        layout();
        addAccel(VirtualKey::KeyR, accelEntry::Ctrl);
        addAccel(VirtualKey::KeyEsc, 0);
    }

    bool create() override
    {
        if (!WContainer::create())
            return false;
        SetWindowTextW(HWND(hwnd()), L"Vexapi toolkit window");
        for (auto& box : m_boxes)
            box->create();
        return true;
    }

    void layout()
    {
        for (int i = 0; i < int(m_boxes.size()); ++i)
            m_boxes[std::size_t(i)]->move(20 + i * 150, 40, 120, 90);
    }

    bool onAccelPressed(int index, void*) override
    {
        if (index == 0) {
            say("Ctrl+R: layout reset");
            layout();
        } else {
            say("Esc: quit");
            Application::quitApplication(0);
        }
        return true;
    }
    bool onDestroy() override
    {
        Application::quitApplication(0);
        return WContainer::onDestroy();
    }
    std::intptr_t procMessage(unsigned message, std::uintptr_t wParam,
                              std::intptr_t lParam) override
    {
        if (message == WM_TIMER && wParam == 1) {
            KillTimer(HWND(hwnd()), 1);
            playStep(3);
            return 0;
        }
        return WContainer::procMessage(message, wParam, lParam);
    }
    bool onPost(void* step) override
    {
        playStep(int(reinterpret_cast<std::intptr_t>(step)));
        return true;
    }

    // The unattended scene: each step queues some input and posts the next step behind it.
    void playStep(int step)
    {
        HWND box1 = HWND(m_boxes[0]->hwnd()), box2 = HWND(m_boxes[1]->hwnd());
        switch (step) {
        case 0:
            PostMessageW(box2, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, 10));
            PostMessageW(box2, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(40, 60));
            PostMessageW(box2, WM_LBUTTONUP, 0, MAKELPARAM(40, 60));
            break;
        case 1:
            PostMessageW(box1, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
            PostMessageW(box1, WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
            PostMessageW(box1, WM_KEYDOWN, VK_RIGHT, 0);
            PostMessageW(box1, WM_KEYDOWN, VK_DOWN, 0);
            break;
        case 2: {
            // Ctrl+R as the keyboard would give it.
            INPUT in[4] = {};
            const WORD keys[4] = {VK_CONTROL, 'R', 'R', VK_CONTROL};
            for (int i = 0; i < 4; ++i) {
                in[i].type = INPUT_KEYBOARD;
                in[i].ki.wVk = keys[i];
                in[i].ki.dwFlags = i >= 2 ? KEYEVENTF_KEYUP : 0;
            }
            SetForegroundWindow(HWND(hwnd()));
            SendInput(4, in, sizeof(INPUT));
            // Input is read after posted messages, timers only when nothing else waits:
            // the next step comes by a timer, behind the keys.
            SetTimer(HWND(hwnd()), 1, 50, nullptr);
            return;
        }
        default:
            PostMessageW(GetFocus() ? GetFocus() : box1, WM_KEYDOWN, VK_ESCAPE, 0);
            return;
        }
        post(reinterpret_cast<void*>(std::intptr_t(step + 1)));
    }

private:
    std::vector<std::unique_ptr<Box>> m_boxes;
};

class ToolkitWindowApp : public Application {
public:
    bool initApplication(int argc, WChar** argv) override
    {
        m_window.reset(new MainWindow);
        if (!m_window->create())
            return false;
        say("window open: click a box, drag it, arrows move it, Ctrl+R resets, Esc quits");
        for (int i = 1; i < argc; ++i)
            if (std::wcscmp(argv[i], L"--auto") == 0)
                m_window->post(reinterpret_cast<void*>(std::intptr_t(0)));
        return true;
    }
    void deInitApplication() override
    {
        m_window.reset();
        say("closed with code %d", getExitCode());
    }

private:
    std::unique_ptr<MainWindow> m_window;
};

ToolkitWindowApp s_app;

} // namespace

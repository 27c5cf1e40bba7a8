// Visual objects on real windows: life of the native window, geometry kept in the object,
// the message table, interception, focus, accelerators, dragging, posting, screenshots.
#include "wintesting.h"
#include "screenshot.h"

#include <vexapi/toolkit/cursor.h>
#include <vexapi/toolkit/draginfo.h>
#include <vexapi/toolkit/systemmetrics.h>
#include <vexapi/app/mainentry.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using namespace wintest;

namespace {

// A top-level frame with two children side by side, made and shown.
struct Scene : ::testing::Test {
    Journal journal;
    Frame frame{"frame", &journal};
    Probe a{"a", &journal};
    Probe b{"b", &journal};

    void SetUp() override
    {
        frame.move(60, 60, 320, 200);
        a.move(10, 10, 100, 60);
        b.move(150, 10, 100, 60);
        a.setParent(&frame);
        b.setParent(&frame);
        ASSERT_TRUE(frame.create());
        ASSERT_TRUE(a.create());
        ASSERT_TRUE(b.create());
        pump();
        // The focus starts on a, so that clicks on a ask nobody to let go of it.
        a.setFocus();
        pump();
        journal.clear();
    }
    void TearDown() override
    {
        SetFocus(nullptr);
        pump();
    }
};

// ---- life ----

TEST(WindowLife, CreateDestroyCreateAgain)
{
    Journal journal;
    Frame frame("frame", &journal);
    Probe child("child", &journal);
    frame.move(40, 40, 200, 150);
    child.move(5, 6, 50, 40);
    child.setParent(&frame);
    EXPECT_FALSE(child.isWindow());
    EXPECT_FALSE(child.create()); // no parent window yet: the native call refuses a child
    EXPECT_FALSE(child.isCreated());

    for (int round = 0; round < 2; ++round) {
        journal.clear();
        ASSERT_TRUE(frame.create());
        ASSERT_TRUE(child.create());
        EXPECT_TRUE(frame.isWindow());
        EXPECT_TRUE(child.isCreated());
        EXPECT_EQ(GetParent(hwndOf(child)), hwndOf(frame));
        EXPECT_EQ(WVisualObject::getByHWND(child.hwnd()), &child);
        EXPECT_EQ(child.checkInvariants(), 0);
        EXPECT_EQ(frame.checkInvariants(), 0);
        EXPECT_EQ(nativeRect(child), Rect(5, 6, 55, 46));
        EXPECT_EQ(nativeRect(frame), Rect(40, 40, 240, 190));
        HWND childWindow = hwndOf(child);

        frame.destroy(); // the child's window goes with its parent's
        EXPECT_FALSE(frame.isWindow());
        EXPECT_FALSE(child.isWindow());
        EXPECT_FALSE(IsWindow(childWindow));
        EXPECT_FALSE(child.isCreated());
        EXPECT_EQ(child.getParent(), &frame); // the objects keep their relation
        EXPECT_EQ(child.checkInvariants(), 0);
        EXPECT_EQ(frame.checkInvariants(), 0);
        // The new top-level window was activated and took the focus.
        EXPECT_EQ(journal, (Journal{"frame.create", "child.create", "frame.killfocus",
                                    "frame.destroy", "child.destroy"}));
    }
}

TEST(WindowLife, GetByHWNDRefusesForeignWindows)
{
    EXPECT_EQ(WVisualObject::getByHWND(nullptr), nullptr);
    EXPECT_EQ(WVisualObject::getByHWND(GetDesktopWindow()), nullptr);
    HWND plain = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(WVisualObject::getByHWND(plain), nullptr);
    DestroyWindow(plain);
    EXPECT_EQ(WVisualObject::getByHWND(plain), nullptr);
}

TEST(WindowLife, ParentDeathLeavesChildrenAliveAndParentless)
{
    Journal journal;
    Probe child("child", &journal);
    Probe sibling("sibling", &journal);
    {
        Frame frame("frame", &journal);
        frame.move(40, 40, 200, 150);
        child.setParent(&frame);
        sibling.setParent(&frame);
        frame.create();
        child.create();
        sibling.create();
        journal.clear();
    }
    EXPECT_EQ(child.getParent(), nullptr);
    EXPECT_EQ(sibling.getParent(), nullptr);
    EXPECT_FALSE(child.isWindow());
    EXPECT_FALSE(child.isCreated());
    // Both children saw their window end, in the platform's order (last created first).
    EXPECT_EQ(journal, (Journal{"sibling.destroy", "child.destroy"}));
    // The orphan lives on as a top-level window.
    child.move(10, 10, 200, 60);
    ASSERT_TRUE(child.create());
    EXPECT_EQ(GetParent(hwndOf(child)), nullptr);
    EXPECT_EQ(nativeRect(child), Rect(10, 10, 210, 70));
}

TEST(WindowLife, ChildDeathFirstLeavesTheParentWindowAlone)
{
    Journal journal;
    Frame frame("frame", &journal);
    frame.move(40, 40, 200, 150);
    frame.create();
    HWND childWindow;
    {
        Probe child("child", &journal);
        child.setParent(&frame);
        child.create();
        childWindow = hwndOf(child);
    }
    EXPECT_FALSE(IsWindow(childWindow)); // no orphan window is left behind
    EXPECT_TRUE(frame.isWindow());
    EXPECT_EQ(frame.childCount(), 0);
    EXPECT_EQ(frame.checkInvariants(), 0);
}

// ---- geometry ----

TEST_F(Scene, NativeWindowFollowsTheObject)
{
    a.move(20, 30, 40, 50);
    EXPECT_EQ(nativeRect(a), Rect(20, 30, 60, 80));
    EXPECT_EQ(a.getClientRect(), Rect(0, 0, 40, 50));
    // A move the library makes itself is not offered to doMove again.
    EXPECT_EQ(journal, Journal{});
}

TEST_F(Scene, AForeignMoveGoesThroughDoMove)
{
    SetWindowPos(hwndOf(a), nullptr, 30, 35, 70, 20, SWP_NOZORDER | SWP_NOACTIVATE);
    EXPECT_EQ(a.getRect(), Rect(30, 35, 100, 55));
    EXPECT_EQ(nativeRect(a), Rect(30, 35, 100, 55));
    EXPECT_EQ(journal, (Journal{"a.domove(30,35)(70,20)", "a.onmove"}));

    journal.clear();
    SetWindowPos(hwndOf(a), nullptr, 0, 0, 11, 12, SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOMOVE);
    EXPECT_EQ(journal, (Journal{"a.domove(30,35)(11,12)", "a.onmove"}));
    EXPECT_EQ(a.getRect(), Rect(30, 35, 41, 47));
}

TEST_F(Scene, ARefusedOrKeptRectangleStays)
{
    const Rect before = a.getRect();
    a.refuseMoves = true;
    SetWindowPos(hwndOf(a), nullptr, 0, 0, 5, 5, SWP_NOZORDER | SWP_NOACTIVATE);
    EXPECT_EQ(a.getRect(), before);
    EXPECT_EQ(nativeRect(a), before);
    EXPECT_EQ(journal, (Journal{"a.domove(0,0)(5,5)"}));

    journal.clear();
    a.refuseMoves = false;
    a.setFlag(WVisualObject::keepRect, true);
    MoveWindow(hwndOf(a), 1, 2, 3, 4, TRUE);
    EXPECT_EQ(nativeRect(a), before);
    EXPECT_EQ(journal, Journal{}); // keepRect asks nobody

    // The library's own moves still go through.
    a.move(12, 13, 14, 15);
    EXPECT_EQ(nativeRect(a), Rect(12, 13, 26, 28));
}

TEST_F(Scene, NativeZOrderFollowsTheChildList)
{
    // Created last, b went on top: first in the list and first in the platform's order.
    EXPECT_EQ(frame.firstChild(), &b);
    EXPECT_EQ(GetWindow(hwndOf(frame), GW_CHILD), hwndOf(b));
    a.zmove(&b);
    EXPECT_EQ(frame.firstChild(), &a);
    EXPECT_EQ(GetWindow(hwndOf(frame), GW_CHILD), hwndOf(a));
    EXPECT_EQ(GetWindow(hwndOf(a), GW_HWNDNEXT), hwndOf(b));
    a.zmove(nullptr);
    EXPECT_EQ(frame.lastChild(), &a);
    EXPECT_EQ(GetWindow(hwndOf(b), GW_HWNDNEXT), hwndOf(a));
}

TEST_F(Scene, SetParentMovesTheNativeWindow)
{
    Frame other("other", &journal);
    other.move(0, 0, 100, 100);
    other.setParent(&frame);
    ASSERT_TRUE(other.create());
    a.setParent(&other);
    EXPECT_EQ(GetParent(hwndOf(a)), hwndOf(other));
    EXPECT_EQ(other.childCount(), 1);
    EXPECT_EQ(frame.childCount(), 2);
}

// A container that batches its children's moves between lockMove and unlockMove.
struct Batching : Frame {
    using Frame::Frame;
    void lockMove() override { beginMoveBatch(); }
    void unlockMove() override { endMoveBatch(); }
};

TEST(WindowMoves, DeferredMovesApplyAtUnlock)
{
    Journal journal;
    Batching frame("frame", &journal);
    Probe a("a", &journal), b("b", &journal);
    frame.move(50, 50, 300, 200);
    a.setParent(&frame);
    b.setParent(&frame);
    frame.create();
    a.create();
    b.create();
    frame.lockMove();
    EXPECT_TRUE(frame.deferMoves());
    a.move(10, 20, 30, 40);
    b.move(100, 20, 30, 40);
    EXPECT_EQ(nativeRect(a), Rect(0, 0, 0, 0)); // not yet
    frame.unlockMove();
    EXPECT_FALSE(frame.deferMoves());
    EXPECT_EQ(nativeRect(a), Rect(10, 20, 40, 60));
    EXPECT_EQ(nativeRect(b), Rect(100, 20, 130, 60));
}

// ---- the message table ----

TEST_F(Scene, MouseMessagesReachTheirHandlersInOrder)
{
    const HWND w = hwndOf(a);
    PostMessageW(w, WM_MOUSEMOVE, 0, at(3, 4));
    PostMessageW(w, WM_LBUTTONDOWN, MK_LBUTTON, at(5, 6));
    PostMessageW(w, WM_LBUTTONUP, 0, at(5, 6));
    PostMessageW(w, WM_LBUTTONDBLCLK, 0, at(5, 6));
    PostMessageW(w, WM_RBUTTONDOWN, 0, at(7, 8));
    PostMessageW(w, WM_RBUTTONUP, 0, at(7, 8));
    PostMessageW(w, WM_MBUTTONDOWN, 0, at(1, 2));
    PostMessageW(hwndOf(b), WM_MOUSEMOVE, 0, MAKELPARAM(-2, -3)); // signed halves
    pump();
    EXPECT_EQ(journal, (Journal{"a.move(3,4)", "a.ldown(5,6)", "a.lup(5,6)", "a.ldbl(5,6)",
                                "a.rdown(7,8)", "a.rup(7,8)", "a.mdown(1,2)",
                                "b.move(-2,-3)"}));
}

TEST_F(Scene, RealInputReachesTheWindowUnderTheMouse)
{
    SetForegroundWindow(hwndOf(frame));
    POINT p = {20, 25};
    ClientToScreen(hwndOf(b), &p);
    SetCursorPos(p.x, p.y);
    pump();
    journal.clear();
    INPUT in[2] = {};
    for (INPUT& i : in)
        i.type = INPUT_MOUSE;
    in[0].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
    in[1].mi.dwFlags = MOUSEEVENTF_LEFTUP;
    ASSERT_EQ(SendInput(2, in, sizeof(INPUT)), 2u);
    pump();
    // Other mouse moves may come with it; the click itself is what counts.
    Journal clicks;
    for (const std::string& s : journal)
        if (s.find("move") == std::string::npos)
            clicks.push_back(s);
    EXPECT_EQ(clicks, (Journal{"a.losing", "b.ldown(20,25)", "b.lup(20,25)"}));
}

TEST_F(Scene, ASubscriberInterceptsAHandler)
{
    Journal spyLog;
    SignalSpy<int, int, VLong> stopper(static_cast<VisualObject*>(&a), &VisualObject::onLButtonDown,
                                       1000, &spyLog, "spy", SlotStopTrue);
    SignalSpy<int, int, VLong> watcher(static_cast<VisualObject*>(&a), &VisualObject::onMouseMove,
                                       1000, &spyLog, "watcher");
    PostMessageW(hwndOf(a), WM_LBUTTONDOWN, 0, at(9, 9));
    PostMessageW(hwndOf(a), WM_MOUSEMOVE, MK_SHIFT, at(4, 2));
    pump();
    EXPECT_EQ(spyLog, (Journal{"spy", "watcher"}));
    EXPECT_EQ(journal, (Journal{"a.move(4,2)"})); // the click never reached a
    ASSERT_EQ(watcher.count(), 1);
    EXPECT_EQ(watcher.calls[0], std::make_tuple(4, 2, VLong(MK_SHIFT)));
    EXPECT_EQ(watcher.senders[0], static_cast<Object*>(&a));
}

// An object that sees every WM_KEYDOWN first, and swallows it.
struct KeyWatcher : Probe {
    using Probe::Probe;
    std::intptr_t procMessage(unsigned m, std::uintptr_t w, std::intptr_t l) override
    {
        if (m == WM_KEYDOWN && !isDragging()) {
            note("sees" + std::to_string(unsigned(w)));
            return swallow ? 0 : 1;
        }
        return Probe::procMessage(m, w, l);
    }
    bool swallow = true;
};

TEST_F(Scene, MessageSubscriptionsSeeMessagesFirst)
{
    KeyWatcher watcher("w", &journal);
    watcher.setParent(&frame);
    watcher.create();
    watcher.subscribeForWM(WM_KEYDOWN);
    watcher.subscribeForWM(WM_KEYDOWN); // once only
    journal.clear();
    SendMessageW(hwndOf(a), WM_KEYDOWN, 'Q', 0);
    EXPECT_EQ(journal, (Journal{"w.sees81"}));
    journal.clear();
    watcher.swallow = false;
    SendMessageW(hwndOf(a), WM_KEYDOWN, 'Q', 0);
    EXPECT_EQ(journal, (Journal{"w.sees81", "a.key81"}));
    journal.clear();
    watcher.unsubscribeForWM(0);
    SendMessageW(hwndOf(a), WM_KEYDOWN, 'Q', 0);
    EXPECT_EQ(journal, (Journal{"a.key81"}));
}

TEST_F(Scene, KeysAndCharacters)
{
    PostMessageW(hwndOf(a), WM_KEYDOWN, VK_F5, 0x003F0001);
    PostMessageW(hwndOf(a), WM_CHAR, 'z', 0);
    PostMessageW(hwndOf(a), WM_KEYUP, VK_F5, 0);
    PostMessageW(hwndOf(a), WM_SYSKEYDOWN, 'X', 0x20000001);
    pump();
    EXPECT_EQ(journal, (Journal{"a.key116", "a.char122", "a.keyup116", "a.syskey88"}));
    SignalSpy<VirtualKey> keys(static_cast<VisualObject*>(&a), &VisualObject::onKeyDown);
    PostMessageW(hwndOf(a), WM_SYSKEYDOWN, 'X', 0x20000001);
    pump();
    ASSERT_EQ(keys.count(), 1);
    const VirtualKey& k = std::get<0>(keys.calls[0]);
    EXPECT_TRUE(k.isSystem());
    EXPECT_EQ(k.getKeyboardKey(), VirtualKey::KeyX);
    EXPECT_EQ(k.lParam(), 0x20000001u);
}

TEST_F(Scene, PostFromAnotherThreadRunsOnTheMainThread)
{
    int value = 0;
    std::thread worker([&] { a.post(&value); });
    worker.join();
    EXPECT_EQ(a.posted, nullptr);
    pump();
    EXPECT_EQ(a.posted, &value);
    EXPECT_EQ(a.postThread, GetCurrentThreadId());
    EXPECT_EQ(journal, (Journal{"a.post"}));
    // Without a window a post is dropped, not queued for later.
    Probe lone("lone", &journal);
    lone.post(&value);
    pump();
    EXPECT_EQ(lone.posted, nullptr);
}

TEST_F(Scene, CursorIsSetOverTheClientArea)
{
    Cursor cross(Cursor::Cross);
    EXPECT_TRUE(a.setCursor(&cross));
    EXPECT_EQ(a.getCursor(), &cross);
    ASSERT_NE(cross.handle(), nullptr);
    EXPECT_EQ(SendMessageW(hwndOf(a), WM_SETCURSOR, WPARAM(hwndOf(a)), MAKELPARAM(HTCLIENT, WM_MOUSEMOVE)), 1);
    EXPECT_EQ(GetCursor(), HCURSOR(cross.handle()));
    // Over the frame, or on a border, the default decides.
    EXPECT_NE(SendMessageW(hwndOf(a), WM_SETCURSOR, WPARAM(hwndOf(a)), MAKELPARAM(HTBORDER, WM_MOUSEMOVE)), 1);
}

TEST_F(Scene, CapturesNestAndUnwind)
{
    a.mouseCapture();
    EXPECT_EQ(GetCapture(), hwndOf(a));
    b.mouseCapture();
    EXPECT_EQ(GetCapture(), hwndOf(b));
    EXPECT_EQ(VisualObject::getMouseCapture(), &b);
    b.releaseMouseCapture();
    EXPECT_EQ(GetCapture(), hwndOf(a));
    a.releaseMouseCapture();
    EXPECT_EQ(GetCapture(), nullptr);
}

// ---- focus ----

TEST_F(Scene, FocusMovesAndMarksPretenders)
{
    a.setFocus();
    pump();
    EXPECT_EQ(VisualObject::getFocus(), &a);
    EXPECT_EQ(frame.getFocusPretender(), &a);
    EXPECT_EQ(frame.getChildFocus(), &frame);
    EXPECT_EQ(b.getChildFocus(), nullptr);
    journal.clear();
    EXPECT_TRUE(b.setFocus()); // a had the focus: SetFocus named it
    pump();
    EXPECT_EQ(journal, (Journal{"a.losing", "a.killfocus", "b.setfocus"}));
    EXPECT_EQ(frame.getFocusPretender(), &b);
}

TEST_F(Scene, AVetoingObjectKeepsTheFocus)
{
    a.setFocus();
    pump();
    a.vetoFocusLoss = true;
    journal.clear();
    EXPECT_FALSE(b.setFocus());
    EXPECT_EQ(GetFocus(), hwndOf(a));
    // A click on b does nothing at all.
    PostMessageW(hwndOf(b), WM_LBUTTONDOWN, MK_LBUTTON, at(3, 3));
    pump();
    EXPECT_EQ(journal, (Journal{"a.losing", "a.losing"}));
    EXPECT_EQ(GetFocus(), hwndOf(a));
    // Clicks on the focused object itself are not questioned.
    journal.clear();
    PostMessageW(hwndOf(a), WM_LBUTTONDOWN, MK_LBUTTON, at(3, 3));
    pump();
    EXPECT_EQ(journal, (Journal{"a.ldown(3,3)"}));
    a.vetoFocusLoss = false;
    EXPECT_TRUE(b.setFocus());
}

TEST_F(Scene, DestroyingTheFocusPretenderClearsIt)
{
    a.setFocus();
    pump();
    EXPECT_EQ(frame.getFocusPretender(), &a);
    a.destroy();
    EXPECT_EQ(frame.getFocusPretender(), nullptr);
}

// ---- accelerators ----

TEST_F(Scene, AcceleratorMatchesModifiersExactlyAndDropsTheCharacter)
{
    int tag = 0;
    frame.addAccel(VirtualKey::KeyS, accelEntry::Ctrl, &tag);
    SignalSpy<int, void*> pressed(static_cast<VisualObject*>(&frame), &VisualObject::onAccelPressed);
    a.setFocus();
    pump();
    journal.clear();

    struct Case {
        bool ctrl, shift, alt;
        bool fires;
    };
    const Case cases[] = {
        {true, false, false, true}, {true, true, false, false}, {false, false, false, false},
        {true, false, true, false},
    };
    for (const Case& c : cases) {
        journal.clear();
        int before = pressed.count();
        {
            Modifiers mods(c.ctrl, c.shift, c.alt);
            // The pump's TranslateMessage makes the key's character, as the main loop does.
            PostMessageW(hwndOf(a), WM_KEYDOWN, 'S', 0x001F0001);
            pump();
        }
        EXPECT_EQ(pressed.count() - before, c.fires ? 1 : 0) << c.ctrl << c.shift << c.alt;
        ASSERT_FALSE(journal.empty());
        EXPECT_EQ(journal[0], "a.key83");
        if (c.fires) {
            EXPECT_EQ(journal, (Journal{"a.key83", "frame.accel0"})); // no character
            EXPECT_EQ(std::get<1>(pressed.calls.back()), &tag);
        } else if (!c.alt) {
            EXPECT_EQ(journal.back(), "a.char" + std::to_string(c.ctrl ? 0x13 : 's'));
        }
        EXPECT_EQ(a.charSkip(), 0);
    }
    // Only one character is dropped: the next one arrives.
    {
        Modifiers mods(true);
        SendMessageW(hwndOf(a), WM_KEYDOWN, 'S', 0); // no translation: no character yet
    }
    EXPECT_EQ(a.charSkip(), 1);
    journal.clear();
    PostMessageW(hwndOf(a), WM_CHAR, 0x13, 0);
    PostMessageW(hwndOf(a), WM_CHAR, 'k', 0);
    pump();
    EXPECT_EQ(journal, (Journal{"a.char107"}));
}

// A target of accelerator callbacks.
struct Commands : Object {
    bool save(Object* from) { saved.push_back(from); return true; }
    std::vector<Object*> saved;
};

TEST_F(Scene, AcceleratorCallbackRunsBeforeOnAccelPressed_DisabledWindowsSkip)
{
    Commands commands;
    b.addAccel(VirtualKey::KeyF2, 0, nullptr, &commands,
               static_cast<accelEntry::Callback>(&Commands::save));
    frame.addAccel(VirtualKey::KeyF2, 0);
    Modifiers none(false);
    PostMessageW(hwndOf(b), WM_KEYDOWN, VK_F2, 0);
    pump();
    ASSERT_EQ(commands.saved.size(), 1u);
    EXPECT_EQ(commands.saved[0], static_cast<Object*>(&b));
    EXPECT_EQ(journal, (Journal{"b.key113", "b.accel0"})); // the nearest table wins
    journal.clear();
    b.enable(false); // a disabled window's table is not looked at; the parent's is
    SendMessageW(hwndOf(b), WM_KEYDOWN, VK_F2, 0);
    EXPECT_EQ(journal, (Journal{"b.key113", "frame.accel0"}));
    b.enable(true);
    journal.clear();
    b.enableAccel(0, false);
    frame.deactivateAllAccels();
    frame.clearAccelTable();
    SendMessageW(hwndOf(b), WM_KEYDOWN, VK_F2, 0);
    EXPECT_EQ(journal, (Journal{"b.key113"}));
}

// ---- dragging ----

struct DragScene : Scene {
    void pointAt(WVisualObject& o, int x, int y)
    {
        POINT p = {x, y};
        ClientToScreen(hwndOf(o), &p);
        SetCursorPos(p.x, p.y);
        pump(); // the platform's own mouse move over the target
        journal.clear();
    }
};

TEST_F(DragScene, DropOnATarget)
{
    TypicalDragInfo info(true);
    pointAt(b, 30, 20);
    PostMessageW(hwndOf(a), WM_MOUSEMOVE, MK_LBUTTON, 0);
    PostMessageW(hwndOf(a), WM_LBUTTONUP, 0, 0);
    EXPECT_TRUE(a.doDragDrop(&info));
    EXPECT_FALSE(a.isDragging());
    EXPECT_EQ(GetCapture(), nullptr);
    ASSERT_GE(journal.size(), 5u);
    EXPECT_EQ(journal[0].substr(0, 5), "a.lup"); // the source finishes its click first
    EXPECT_EQ(Journal(journal.begin() + 1, journal.end()),
              (Journal{"b.dragenter", "b.dragover(30,20)", "a.dragging+", "b.drop(30,20)"}));
}

TEST_F(DragScene, EscCancels)
{
    DragText info(WSTR("text"));
    pointAt(b, 5, 6);
    PostMessageW(hwndOf(a), WM_MOUSEMOVE, MK_LBUTTON, 0);
    PostMessageW(hwndOf(a), WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_FALSE(a.doDragDrop(&info));
    EXPECT_EQ(Journal(journal.begin() + 1, journal.end()),
              (Journal{"b.dragenter", "b.dragover(5,6)", "a.dragging+", "b.dragleave"}));
    EXPECT_EQ(GetCapture(), nullptr);
    // After the end, messages take their ordinary road again.
    journal.clear();
    PostMessageW(hwndOf(a), WM_LBUTTONUP, 0, at(1, 1));
    pump();
    EXPECT_EQ(journal, (Journal{"a.lup(1,1)"}));
}

TEST_F(DragScene, RefusalsAndTargetChanges)
{
    TypicalDragInfo info;
    b.acceptDrop = false;
    pointAt(b, 5, 6);
    PostMessageW(hwndOf(a), WM_MOUSEMOVE, MK_LBUTTON, 0);
    PostMessageW(hwndOf(a), WM_RBUTTONDOWN, 0, 0); // the right button cancels
    EXPECT_FALSE(a.doDragDrop(&info));
    EXPECT_EQ(Journal(journal.begin() + 1, journal.end()),
              (Journal{"b.dragenter", "b.dragover(5,6)", "a.dragging-", "b.dragleave"}));
}

TEST_F(DragScene, LosingTheCaptureEndsTheDrag)
{
    TypicalDragInfo info;
    pointAt(b, 5, 6);
    b.postAction = [this] { b.mouseCapture(); };
    b.post(nullptr);
    EXPECT_FALSE(a.doDragDrop(&info));
    EXPECT_FALSE(a.isDragging());
    EXPECT_EQ(GetCapture(), hwndOf(b));
    b.releaseMouseCapture();
}

// ---- pixels ----

TEST(WindowPixels, ChildrenFillTheirRectanglesAndTheScreenshotShowsThem)
{
    Journal journal;
    Frame frame("frame", &journal);
    Frame red("red", &journal), blue("blue", &journal);
    frame.move(80, 80, 240, 160);
    red.move(10, 10, 100, 60);
    blue.move(120, 50, 100, 90);
    frame.setColor(Color(255, 255, 255));
    red.setColor(Color(220, 30, 30));
    blue.setColor(Color(30, 60, 200));
    for (Frame* f : {&frame, &red, &blue})
        f->setAutoFill(true);
    red.setParent(&frame);
    blue.setParent(&frame);
    frame.create();
    red.create();
    blue.create();
    SetForegroundWindow(hwndOf(frame));
    UpdateWindow(hwndOf(frame));
    RedrawWindow(hwndOf(frame), nullptr, nullptr, RDW_ERASE | RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    pump();

    screens::Image image;
    ASSERT_TRUE(screens::grabWindow(frame.hwnd(), &image));
    std::string path = screens::savePng(image, "toolkit_window_children");
    EXPECT_FALSE(path.empty());
    const Rect client = frame.getClientRect();
    ASSERT_EQ(image.width, client.width());
    EXPECT_EQ(image.at(50, 40), 0xDC1E1Eu);  // inside red
    EXPECT_EQ(image.at(170, 100), 0x1E3CC8u); // inside blue
    EXPECT_EQ(image.at(5, client.height() - 3), 0xFFFFFFu); // the frame's own background

    // Moving a child moves its pixels.
    red.move(10, 90, 100, 60);
    RedrawWindow(hwndOf(frame), nullptr, nullptr, RDW_ERASE | RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    pump();
    ASSERT_TRUE(screens::grabWindow(frame.hwnd(), &image));
    screens::savePng(image, "toolkit_window_children_moved");
    EXPECT_EQ(image.at(50, 40), 0xFFFFFFu);
    EXPECT_EQ(image.at(50, 120), 0xDC1E1Eu);
}

} // namespace

namespace {

TEST(WindowLayer, TheEntryHookRegistersTheSimpleWindowClass)
{
    EXPECT_EQ(EntryHooks::initWindowLayer, &initWindowLayer);
    initWindowLayer();
    initWindowLayer(); // twice does no harm
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof wc;
    ASSERT_TRUE(GetClassInfoExW(GetModuleHandleW(L"vexapi.dll"), L"VexAPI_SimpleWindow", &wc));
    EXPECT_EQ(wc.style, UINT(CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS));
    EXPECT_GE(SystemMetrics::getScrollLines(), 1);
}

} // namespace

namespace {

int toolCount(WContainer& c)
{
    return int(SendMessageW(HWND(c.toolTipWindow()), 0x40D /* TTM_GETTOOLCOUNT */, 0, 0));
}

TEST_F(Scene, ToolTipsLiveOnTheParentContainer)
{
    WChar text[64];
    EXPECT_FALSE(a.getToolTip(text, 64));
    EXPECT_TRUE(a.setToolTip(L"first tip"));
    ASSERT_NE(frame.toolTipWindow(), nullptr);
    EXPECT_EQ(GetWindow(HWND(frame.toolTipWindow()), GW_OWNER), hwndOf(frame));
    EXPECT_TRUE(a.getToolTip(text, 64));
    EXPECT_STREQ(text, L"first tip");
    EXPECT_TRUE(a.getToolTip(text, 6)); // cut to the buffer
    EXPECT_STREQ(text, L"first");
    EXPECT_TRUE(b.setToolTip(L"b"));
    EXPECT_TRUE(a.setToolTip(L"second")); // replaced, not added
    EXPECT_EQ(toolCount(frame), 2);
    a.getToolTip(text, 64);
    EXPECT_STREQ(text, L"second");
    EXPECT_TRUE(a.setToolTip(L""));
    EXPECT_EQ(toolCount(frame), 1);
    EXPECT_FALSE(a.getToolTip(text, 64));
    // Mouse messages still reach the handlers with a tip in place.
    PostMessageW(hwndOf(b), WM_MOUSEMOVE, 0, at(2, 2));
    pump();
    EXPECT_EQ(journal, (Journal{"b.move(2,2)"}));
    // Without a container for a parent there is nowhere to keep a tip.
    EXPECT_FALSE(frame.setToolTip(L"frame"));
    b.destroy(); // its tool goes with it
    EXPECT_EQ(toolCount(frame), 0);
}

} // namespace

namespace {

TEST_F(Scene, CommandsAndNotificationsBecomeSignals)
{
    SignalSpy<unsigned short, unsigned short, void*> commands(
        static_cast<WContainer*>(&frame), &WContainer::onCommand);
    SignalSpy<int, tagNMHDR*> notes(static_cast<WContainer*>(&frame), &WContainer::onNotify);
    SendMessageW(hwndOf(frame), WM_COMMAND, MAKEWPARAM(17, 0x300), LPARAM(hwndOf(a)));
    NMHDR header = {hwndOf(b), 5, UINT(-2)};
    SendMessageW(hwndOf(frame), WM_NOTIFY, 5, LPARAM(&header));
    ASSERT_EQ(commands.count(), 1);
    EXPECT_EQ(commands.calls[0], std::make_tuple((unsigned short)0x300, (unsigned short)17,
                                                 static_cast<void*>(hwndOf(a))));
    ASSERT_EQ(notes.count(), 1);
    EXPECT_EQ(std::get<1>(notes.calls[0])->hwndFrom, hwndOf(b));
    // A command from a window that is no object of the library is not one of ours.
    EXPECT_FALSE(frame.onCommand(1, 2, GetDesktopWindow()));
    EXPECT_TRUE(frame.onCommand(1, 2, a.hwnd()));
}

TEST_F(Scene, LockedUpdatesStillKeepGeometry)
{
    frame.lockUpdate();
    a.move(1, 2, 30, 40);
    frame.unlockUpdate();
    EXPECT_EQ(nativeRect(a), Rect(1, 2, 31, 42));
    a.show(false);
    EXPECT_FALSE(IsWindowVisible(hwndOf(a)));
    EXPECT_FALSE(a.getShow());
    a.show(true);
    EXPECT_TRUE(IsWindowVisible(hwndOf(a)));
    SignalSpy<bool> enabled(static_cast<VisualObject*>(&a), &VisualObject::onEnable);
    a.doEnable(false);
    EXPECT_FALSE(IsWindowEnabled(hwndOf(a)));
    EXPECT_FALSE(a.getEnable());
    ASSERT_GE(enabled.count(), 1);
    EXPECT_EQ(std::get<0>(enabled.calls.back()), false);
}

} // namespace

namespace {

TEST_F(DragScene, TargetsThatRefuseAndTheVoid)
{
    TypicalDragInfo info;
    // The frame's client area, refusing to be entered: never asked for the drop.
    frame.acceptEnter = false;
    pointAt(frame, 140, 120);
    PostMessageW(hwndOf(a), WM_MOUSEMOVE, MK_LBUTTON, 0);
    PostMessageW(hwndOf(a), WM_LBUTTONUP, 0, 0);
    EXPECT_FALSE(a.doDragDrop(&info));
    EXPECT_EQ(Journal(journal.begin() + 1, journal.end()),
              (Journal{"frame.dragenter", "a.dragging-", "frame.dragleave"}));
    // Outside every window of the library: no target at all.
    journal.clear();
    SetCursorPos(1270, 1010);
    pump();
    journal.clear();
    PostMessageW(hwndOf(a), WM_MOUSEMOVE, MK_LBUTTON, 0);
    PostMessageW(hwndOf(a), WM_LBUTTONUP, 0, 0);
    EXPECT_FALSE(a.doDragDrop(&info));
    EXPECT_EQ(Journal(journal.begin() + 1, journal.end()), (Journal{"a.dragging-"}));
}

// A stand-in for the painter's window device: records that WM_PAINT opened and closed it.
struct FakeDevice {
    static int opened, closed;
    static void* lastDC;
    static PaintDevice* open(WVisualObject*, void* dc)
    {
        ++opened;
        lastDC = dc;
        return reinterpret_cast<PaintDevice*>(&opened);
    }
    static void close(PaintDevice*) { ++closed; }
};
int FakeDevice::opened = 0;
int FakeDevice::closed = 0;
void* FakeDevice::lastDC = nullptr;

TEST_F(Scene, PaintOpensTheWindowDeviceAroundDoPaint)
{
    // The painter's window device is installed when the library loads: set it aside.
    WVisualObject::OpenPaintDevice libraryOpen;
    WVisualObject::ClosePaintDevice libraryClose;
    WVisualObject::paintDeviceHooks(&libraryOpen, &libraryClose);
    EXPECT_NE(libraryOpen, nullptr);
    WVisualObject::setPaintDeviceHooks(nullptr, nullptr);
    SignalSpy<PaintDevice*> paints(static_cast<VisualObject*>(&a), &VisualObject::doPaint);
    UpdateWindow(hwndOf(a));
    paints.calls.clear();
    InvalidateRect(hwndOf(a), nullptr, TRUE);
    UpdateWindow(hwndOf(a));
    ASSERT_EQ(paints.count(), 1);
    EXPECT_EQ(std::get<0>(paints.calls[0]), nullptr); // no device installed

    WVisualObject::setPaintDeviceHooks(&FakeDevice::open, &FakeDevice::close);
    InvalidateRect(hwndOf(a), nullptr, TRUE);
    UpdateWindow(hwndOf(a));
    a.repaint();
    WVisualObject::setPaintDeviceHooks(libraryOpen, libraryClose);
    EXPECT_EQ(FakeDevice::opened, 2);
    EXPECT_EQ(FakeDevice::closed, 2);
    EXPECT_NE(FakeDevice::lastDC, nullptr);
    ASSERT_EQ(paints.count(), 3);
    EXPECT_EQ(std::get<0>(paints.calls[2]), reinterpret_cast<PaintDevice*>(&FakeDevice::opened));
    // Nothing paints without a window.
    a.destroy();
    a.repaint();
    EXPECT_EQ(paints.count(), 3);
}

} // namespace

// The portable rules of visual objects: parents and child lists, z-order, parent death,
// geometry, focus pretenders, accelerator tables and the key table.
#include "testvisual.h"

#include <vexapi/toolkit/draginfo.h>
#include <vexapi/toolkit/systemmetrics.h>
#include <vexapi/toolkit/virtualkey.h>

#include "signalspy.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <vector>

namespace {

std::vector<VisualObject*> children(Container& c)
{
    std::vector<VisualObject*> out;
    for (VisualObject* v = c.firstChild(); v; v = v->nextSibling())
        out.push_back(v);
    // The walk backwards must see the same list.
    std::vector<VisualObject*> back;
    for (VisualObject* v = c.lastChild(); v; v = v->prevSibling())
        back.insert(back.begin(), v);
    EXPECT_EQ(out, back);
    return out;
}

TEST(VisualParents, SetParentAppendsAndCountsOnce)
{
    TestContainer parent;
    TestVisual a, b;
    a.setParent(&parent);
    b.setParent(&parent);
    a.setParent(&parent); // the same parent again: nothing, and no second subscription
    EXPECT_EQ(parent.childCount(), 2);
    EXPECT_EQ(children(parent), (std::vector<VisualObject*>{&a, &b}));
    EXPECT_EQ(parent.recipientList().countOf(&a), 1);
    EXPECT_EQ(a.checkInvariants(), 0);
    EXPECT_EQ(parent.checkInvariants(), 0);
}

TEST(VisualParents, MovingToAnotherParentUnlinksAndUnsubscribes)
{
    TestContainer p1, p2;
    TestVisual a;
    a.setParent(&p1);
    ASSERT_TRUE(p1.setFocusPretender(&a));
    a.setParent(&p2);
    EXPECT_EQ(p1.childCount(), 0);
    EXPECT_EQ(p1.getFocusPretender(), nullptr);
    EXPECT_EQ(p1.recipientList().countOf(&a), 0);
    EXPECT_EQ(a.getParent(), &p2);
    a.setParent(nullptr);
    EXPECT_EQ(p2.childCount(), 0);
    EXPECT_EQ(a.checkInvariants(), 0);
    EXPECT_FALSE(p2.setFocusPretender(&a)); // not a child
}

TEST(VisualParents, ACycleIsRefused)
{
    TestContainer outer, inner;
    inner.setParent(&outer);
    outer.setParent(&inner);
    EXPECT_EQ(outer.getParent(), nullptr);
    outer.setParent(&outer);
    EXPECT_EQ(outer.getParent(), nullptr);
}

TEST(VisualParents, ParentDeathLeavesChildrenAliveWithoutParent)
{
    TestVisual a, b;
    SignalSpy<> dtorSpy(&a, &Object::onDtor);
    {
        TestContainer parent;
        a.setParent(&parent);
        b.setParent(&parent);
        parent.setFocusPretender(&b);
    }
    EXPECT_EQ(a.getParent(), nullptr);
    EXPECT_EQ(b.getParent(), nullptr);
    EXPECT_FALSE(a.isLinked());
    EXPECT_EQ(dtorSpy.count(), 0);
    EXPECT_EQ(a.checkInvariants(), 0);
    EXPECT_EQ(b.checkInvariants(), 0);
    // The orphan can be adopted again.
    TestContainer other;
    a.setParent(&other);
    EXPECT_EQ(other.childCount(), 1);
}

TEST(VisualParents, ChildDeathLeavesTheParentConsistent)
{
    TestContainer parent;
    TestVisual a;
    {
        TestVisual b;
        a.setParent(&parent);
        b.setParent(&parent);
        parent.setFocusPretender(&b);
    }
    EXPECT_EQ(parent.childCount(), 1);
    EXPECT_EQ(parent.getFocusPretender(), nullptr);
    EXPECT_EQ(children(parent), (std::vector<VisualObject*>{&a}));
    EXPECT_EQ(parent.checkInvariants(), 0);
}

// zmove: each row moves one child in front of another (or to the end) and gives the order.
TEST(VisualZOrder, ZmoveTable)
{
    struct Row {
        int who;
        int above; // -1: null (to the end)
        std::vector<int> order;
    };
    const Row rows[] = {
        {2, 0, {2, 0, 1, 3}}, {0, -1, {1, 2, 3, 0}}, {1, 1, {0, 1, 2, 3}},
        {3, 1, {0, 3, 1, 2}}, {0, 0, {0, 1, 2, 3}}, {1, 3, {0, 2, 1, 3}},
    };
    for (const Row& row : rows) {
        TestContainer parent;
        TestVisual v[4];
        for (TestVisual& x : v)
            x.setParent(&parent);
        v[row.who].zmove(row.above < 0 ? nullptr : &v[row.above]);
        std::vector<VisualObject*> expected;
        for (int i : row.order)
            expected.push_back(&v[i]);
        EXPECT_EQ(children(parent), expected) << "who " << row.who << " above " << row.above;
        EXPECT_EQ(parent.checkInvariants(), 0);
    }
}

TEST(VisualZOrder, ZmoveWithoutParentOrAcrossParentsDoesNothing)
{
    TestVisual lone, other;
    lone.zmove(&other);
    EXPECT_FALSE(lone.isLinked());
    TestContainer p1, p2;
    TestVisual a, b, c;
    a.setParent(&p1);
    b.setParent(&p1);
    c.setParent(&p2);
    b.zmove(&c);
    EXPECT_EQ(children(p1), (std::vector<VisualObject*>{&a, &b}));
}

TEST(VisualZOrder, ChildFromPointTakesTheTopmost)
{
    TestContainer parent;
    TestVisual low, high;
    low.setParent(&parent);
    high.setParent(&parent);
    low.move(0, 0, 50, 50);
    high.move(20, 20, 50, 50);
    EXPECT_EQ(parent.getChildFromPoint(30, 30), &low); // first in the list is on top
    high.zmove(&low);
    EXPECT_EQ(parent.getChildFromPoint(30, 30), &high);
    EXPECT_EQ(parent.getChildFromPoint(10, 10), &low);
    EXPECT_EQ(parent.getChildFromPoint(69, 69), &high);
    EXPECT_EQ(parent.getChildFromPoint(70, 70), nullptr);
}

// ---- geometry and life ----

TEST(VisualGeometry, DoMoveStoresThenSendsOnMove)
{
    TestVisual v;
    Journal journal;
    SignalSpy<int, int, int, int> moveSpy(&v, &VisualObject::doMove, 1000, &journal, "doMove");
    SignalSpy<> onMoveSpy(&v, &VisualObject::onMove, 1000, &journal, "onMove");
    Rect seen;
    onMoveSpy.action = [&] { seen = v.getRect(); };
    EXPECT_TRUE(send(&v, &VisualObject::doMove, 5, 6, 70, 80));
    EXPECT_EQ(journal, (Journal{"doMove", "onMove"}));
    EXPECT_EQ(seen, Rect(5, 6, 75, 86));
    v.move(1, 2, -3, -4);
    EXPECT_EQ(v.width(), 0);
    EXPECT_EQ(v.height(), 0);
}

TEST(VisualGeometry, AnInterceptedDoMoveKeepsTheRectangle)
{
    TestVisual v;
    v.move(1, 1, 10, 10);
    SignalSpy<int, int, int, int> veto(&v, &VisualObject::doMove, 1000, nullptr, "",
                                       SlotStopFalse);
    EXPECT_FALSE(send(&v, &VisualObject::doMove, 100, 100, 5, 5));
    EXPECT_EQ(v.getRect(), Rect(1, 1, 11, 11));
}

TEST(VisualLife, CreateSendsOnCreateAndActivatesAccels_DestroyClearsFocusPretender)
{
    struct Counting : TestVisual {
        bool activateAccel(int index) override { activated.push_back(index); return true; }
        std::vector<int> activated;
    };
    TestContainer parent;
    Counting v;
    v.setParent(&parent);
    v.addAccel(VirtualKey::KeyS, accelEntry::Ctrl);
    v.addAccel(VirtualKey::KeyF5, 0);
    SignalSpy<> created(&v, &VisualObject::onCreate);
    EXPECT_TRUE(v.create());
    EXPECT_TRUE(v.isCreated());
    EXPECT_EQ(created.count(), 1);
    EXPECT_EQ(v.activated, (std::vector<int>{0, 1}));
    v.addAccel(VirtualKey::KeyF6, 0); // added while created: activated at once
    EXPECT_EQ(v.activated, (std::vector<int>{0, 1, 2}));
    send(&v, &VisualObject::onSetFocus);
    EXPECT_EQ(parent.getFocusPretender(), &v);
    SignalSpy<> destroyed(&v, &VisualObject::onDestroy);
    v.destroy();
    EXPECT_EQ(destroyed.count(), 1);
    EXPECT_FALSE(v.isCreated());
    EXPECT_EQ(parent.getFocusPretender(), nullptr);
    EXPECT_TRUE(v.create()); // again
    EXPECT_TRUE(v.isCreated());
}

TEST(VisualFocus, SetFocusMarksEveryAncestorsPretender)
{
    TestContainer root, middle;
    TestVisual leaf, other;
    middle.setParent(&root);
    leaf.setParent(&middle);
    other.setParent(&middle);
    other.create();
    send(&leaf, &VisualObject::onSetFocus);
    EXPECT_EQ(middle.getFocusPretender(), &leaf);
    EXPECT_EQ(root.getFocusPretender(), &middle);
    // A container given the focus passes it on to its pretender.
    middle.setFocusPretender(&other);
    send(&middle, &VisualObject::onSetFocus);
    EXPECT_EQ(other.focusCalls, 1);
    EXPECT_EQ(leaf.focusCalls, 0);
}

// ---- accelerators ----

TEST(VisualAccels, TableEndsAtKeyZeroAndMatchesModifiersExactly)
{
    TestVisual v;
    int data = 7;
    const accelEntry table[] = {
        {VirtualKey::KeyS, accelEntry::Ctrl, &data, nullptr, nullptr, true},
        {VirtualKey::KeyS, accelEntry::Ctrl | accelEntry::Shift, nullptr, nullptr, nullptr, true},
        {VirtualKey::KeyF2, 0, nullptr, nullptr, nullptr, false},
        {VirtualKey::KeyNone, 0, nullptr, nullptr, nullptr, true},
        {VirtualKey::KeyX, 0, nullptr, nullptr, nullptr, true}, // after the end: ignored
    };
    v.setAccelTable(table);
    ASSERT_EQ(v.getAccelsCount(), 3);
    EXPECT_EQ(v.getAccel(0)->data, &data);
    EXPECT_EQ(v.getAccel(3), nullptr);
    EXPECT_EQ(v.getAccel(-1), nullptr);

    struct Case {
        VirtualKey::KeyboardKey key;
        int modifiers;
        int index;
    };
    const Case cases[] = {
        {VirtualKey::KeyS, accelEntry::Ctrl, 0},
        {VirtualKey::KeyS, accelEntry::Ctrl | accelEntry::Shift, 1},
        {VirtualKey::KeyS, 0, -1},
        {VirtualKey::KeyS, accelEntry::Ctrl | accelEntry::Alt, -1},
        {VirtualKey::KeyF2, 0, -1}, // disabled
        {VirtualKey::KeyX, 0, -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(v.findAccel(c.key, c.modifiers), c.index) << c.key << "/" << c.modifiers;

    EXPECT_TRUE(v.enableAccel(VirtualKey::KeyF2, 0, true));
    EXPECT_EQ(v.findAccel(VirtualKey::KeyF2, 0), 2);
    EXPECT_FALSE(v.enableAccel(VirtualKey::KeyF3, 0, true));
    EXPECT_TRUE(v.enableAccel(0, false));
    EXPECT_FALSE(v.enableAccel(9, false));
    EXPECT_EQ(v.findAccel(VirtualKey::KeyS, accelEntry::Ctrl), -1);

    EXPECT_TRUE(v.delAccel(0));
    EXPECT_FALSE(v.delAccel(5));
    EXPECT_EQ(v.getAccelsCount(), 2);
    EXPECT_EQ(v.findAccel(VirtualKey::KeyS, accelEntry::Ctrl | accelEntry::Shift), 0);
    EXPECT_EQ(v.addAccel(VirtualKey::KeyNone, 0), -1);
    EXPECT_EQ(v.addAccel(VirtualKey::KeyQ, accelEntry::Alt), 2);
    EXPECT_EQ(v.checkInvariants(), 0);
    v.setAccelTable(nullptr);
    EXPECT_EQ(v.getAccelsCount(), 0);
}

// ---- the key table ----

TEST(KeyTable, RowsAndLookups)
{
    const VirtualKey::Row* table = VirtualKey::table();
    EXPECT_EQ(table[0].key, VirtualKey::KeyEsc);
    EXPECT_EQ(table[0].code, 27u);
    EXPECT_EQ(table[VirtualKey::TableRows - 5].key, VirtualKey::KeyApps);
    // Every code appears once, so the search by code is unambiguous.
    std::set<unsigned> codes;
    for (int i = 0; i < VirtualKey::TableRows; ++i)
        EXPECT_TRUE(codes.insert(table[i].code).second) << table[i].code;

    struct Case {
        unsigned code;
        VirtualKey::KeyboardKey key;
        int latin;
    };
    const Case cases[] = {
        {27, VirtualKey::KeyEsc, 0},       {9, VirtualKey::KeyTab, 0},
        {13, VirtualKey::KeyReturn, 0},    {46, VirtualKey::KeyDelete, 0},
        {17, VirtualKey::KeyCtrl, 0},      {112, VirtualKey::KeyF1, 0},
        {123, VirtualKey::KeyF12, 0},      {32, VirtualKey::KeyBlank, 32},
        {'0', VirtualKey::Key0, '0'},      {'9', VirtualKey::Key9, '9'},
        {'A', VirtualKey::KeyA, 'A'},      {'Z', VirtualKey::KeyZ, 'Z'},
        {93, VirtualKey::KeyApps, 0},      {107, VirtualKey::KeyAdd, '+'},
        {187, VirtualKey::KeyAdd, '+'},    {0, VirtualKey::KeyNone, 0},
        {255, VirtualKey::KeyNone, 0},     {96, VirtualKey::KeyNone, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(VirtualKey::getKeyboardKey(c.code), c.key) << c.code;
        EXPECT_EQ(VirtualKey(c.code).getKeyboardKey(), c.key) << c.code;
        if (c.key != VirtualKey::KeyNone) {
            EXPECT_EQ(VirtualKey::VKey2LatinChar(c.key), c.latin) << c.code;
        }
    }
    EXPECT_EQ(int(VirtualKey::KeyZ), 74);
    EXPECT_EQ(int(VirtualKey::KeyApps), 80);
    EXPECT_EQ(VirtualKey::platformCode(VirtualKey::KeyAdd), 107u); // the first row wins
    EXPECT_EQ(VirtualKey::VKey2LatinChar(VirtualKey::KeyNone), 0);
    VirtualKey sys(18, 0x20380001, true);
    EXPECT_TRUE(sys.isSystem());
    EXPECT_EQ(sys.lParam(), 0x20380001u);
}

TEST(DragInfo, TextAndCopyFlag)
{
    DragText text(WSTR("abc"), true);
    EXPECT_TRUE(text.copy);
    EXPECT_EQ(text.text()[2], WChar('c'));
    text.setText(nullptr);
    EXPECT_EQ(text.text()[0], WChar(0));
    TypicalDragInfo* base = &text;
    EXPECT_NE(dynamic_cast<DragText*>(base), nullptr);
}

} // namespace

namespace {

TEST(SystemMetricsValues, ComposedSizesAndWheelDefaults)
{
    EXPECT_GT(SystemMetrics::getScreenWidth(), 0);
    EXPECT_GT(SystemMetrics::getCaptionHeight(), 0);
    EXPECT_EQ(SystemMetrics::getUpperOffset(),
              SystemMetrics::getCaptionHeight() + SystemMetrics::getFrameHeight());
    EXPECT_EQ(SystemMetrics::getTotalHeightOffset(),
              SystemMetrics::getCaptionHeight() + SystemMetrics::getDfltMenuHeight()
                  + 2 * SystemMetrics::getFrameHeight());
    const int lines = SystemMetrics::getScrollLines(), chars = SystemMetrics::getScrollChars();
    SystemMetrics::setScrollSettings(0, -1);
    EXPECT_EQ(SystemMetrics::getScrollLines(), 3);
    EXPECT_EQ(SystemMetrics::getScrollChars(), 3);
    // -1 lines is the system's "a page a notch" and is kept; characters have no such value.
    SystemMetrics::setScrollSettings(-1, -1);
    EXPECT_EQ(SystemMetrics::getScrollLines(), -1);
    EXPECT_EQ(SystemMetrics::getScrollChars(), 3);
    SystemMetrics::setScrollSettings(5, 2);
    EXPECT_EQ(SystemMetrics::getScrollLines(), 5);
    EXPECT_EQ(SystemMetrics::getScrollChars(), 2);
    SystemMetrics::setScrollSettings(lines, chars);
}

} // namespace

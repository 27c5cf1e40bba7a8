// Children resized with their parent: the scaling from stored rectangles, the kinds that
// keep their size or never move, positioners, and children that left.
#include <vexapi/platform/win32/wcontainer.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

struct Pinned : MoveObjectPositioner {
    bool placeObject(WVisualObject* object) override
    {
        ++calls;
        object->move(1, 2, 3, 4);
        return true;
    }
    int calls = 0;
};

struct Layout : ::testing::Test {
    WContainer dialog;
    WVisualObject stretch, right, fixed;
    WContainer inner;
    WVisualObject deep;

    void SetUp() override
    {
        dialog.move(0, 0, 400, 300);
        stretch.move(10, 20, 180, 50);  // margins: left 10, right 210, top 20, bottom 230
        right.move(300, 100, 80, 30);
        right.setMoveType(2);
        fixed.move(5, 250, 40, 40);
        fixed.setMoveType(3);
        inner.move(200, 150, 100, 100);
        deep.move(10, 10, 80, 80);
        for (VisualObject* v : {static_cast<VisualObject*>(&stretch), static_cast<VisualObject*>(&right),
                                static_cast<VisualObject*>(&fixed), static_cast<VisualObject*>(&inner)})
            v->setParent(&dialog);
        deep.setParent(&inner);
    }
};

TEST_F(Layout, ChildrenScaleFromTheStoredLayoutAndComeBackExactly)
{
    dialog.MoveInit(&dialog, false);
    ASSERT_TRUE(dialog.moveEnabled());
    // The list runs from the last child to the first.
    ASSERT_NE(dialog.childsList(), nullptr);
    EXPECT_EQ(dialog.childsList()->child, static_cast<WVisualObject*>(&inner));

    dialog.move(0, 0, 600, 450); // 1.5 times
    send(static_cast<VisualObject*>(&dialog), &VisualObject::onSize);
    EXPECT_EQ(stretch.getRect(), Rect(15, 30, 285, 105));
    // Kept at the right edge with its width; the top scales, the height stays.
    EXPECT_EQ(right.getRect(), Rect(500, 150, 580, 180));
    EXPECT_EQ(fixed.getRect(), Rect(5, 250, 45, 290));
    EXPECT_EQ(inner.getRect(), Rect(300, 225, 450, 375));
    EXPECT_EQ(deep.getRect(), Rect(15, 15, 135, 135)); // the inner container's own children

    dialog.move(0, 0, 333, 217); // odd sizes truncate...
    send(static_cast<VisualObject*>(&dialog), &VisualObject::onSize);
    dialog.move(0, 0, 400, 300); // ...and the initial size gives the initial layout back
    send(static_cast<VisualObject*>(&dialog), &VisualObject::onSize);
    EXPECT_EQ(stretch.getRect(), Rect(10, 20, 190, 70));
    EXPECT_EQ(right.getRect(), Rect(300, 100, 380, 130));
    EXPECT_EQ(inner.getRect(), Rect(200, 150, 300, 250));
    EXPECT_EQ(deep.getRect(), Rect(10, 10, 90, 90));
}

TEST_F(Layout, ProportionalParentsScaleEveryKindButTheFixed)
{
    dialog.MoveInit(&dialog, true);
    dialog.move(0, 0, 800, 600);
    send(static_cast<VisualObject*>(&dialog), &VisualObject::onSize);
    EXPECT_EQ(right.getRect(), Rect(600, 200, 760, 260));
    EXPECT_EQ(fixed.getRect(), Rect(5, 250, 45, 290));
}

TEST_F(Layout, PositionersWinAndLeftChildrenAreSkipped)
{
    Pinned pin;
    stretch.setPositioner(&pin);
    auto gone = std::make_unique<WVisualObject>();
    gone->move(1, 1, 10, 10);
    gone->setParent(&dialog);
    dialog.MoveInit(&dialog, false);
    gone.reset(); // the list still names it
    right.setParent(nullptr);
    dialog.move(0, 0, 800, 600);
    send(static_cast<VisualObject*>(&dialog), &VisualObject::onSize);
    EXPECT_EQ(pin.calls, 1);
    EXPECT_EQ(stretch.getRect(), Rect(1, 2, 4, 6));
    EXPECT_EQ(right.getRect(), Rect(300, 100, 380, 130)); // no longer a child: untouched
    // Turned off, a resize leaves the children alone.
    dialog.MoveDeInit(&dialog);
    EXPECT_FALSE(dialog.moveEnabled());
    dialog.move(0, 0, 400, 300);
    send(static_cast<VisualObject*>(&dialog), &VisualObject::onSize);
    EXPECT_EQ(inner.getRect(), Rect(400, 300, 600, 500));
}

} // namespace

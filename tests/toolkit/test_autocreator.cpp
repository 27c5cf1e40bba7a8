// Declarative children: members find their parent in declaration order, nested forms catch
// their own members, and autoCreate makes the tree last child first.
#include "testvisual.h"

#include <vexapi/toolkit/autocreator.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> created;

template <class Base>
struct Named : PlainVisual<Base> {
    explicit Named(const char* name) : name(name) {}
    bool create() override
    {
        created.push_back(name);
        return PlainVisual<Base>::create();
    }
    std::string name;
};

typedef Named<SmartChild> Leaf;

struct Panel : Named<AutoCreator> {
    Panel() : Named<AutoCreator>("panel") {}
    Leaf x{"x"};
    Leaf y{"y"};
    SmartDummyChild end;
};

struct Form : Named<AutoCreator> {
    Form() : Named<AutoCreator>("form") {}
    Leaf a{"a"};
    Panel panel;
    Leaf b{"b"};
    SmartDummyChild end;
};

TEST(DeclarativeChildren, MembersFindTheirParentsInDeclarationOrder)
{
    ASSERT_EQ(g_stack.get(), nullptr);
    Form form;
    EXPECT_EQ(g_stack.size(), 0); // every class popped itself
    EXPECT_EQ(form.getParent(), nullptr);
    EXPECT_EQ(form.childCount(), 3);
    EXPECT_EQ(form.firstChild(), static_cast<VisualObject*>(&form.a));
    EXPECT_EQ(form.a.nextSibling(), static_cast<VisualObject*>(&form.panel));
    EXPECT_EQ(form.lastChild(), static_cast<VisualObject*>(&form.b));
    EXPECT_EQ(form.panel.getParent(), static_cast<Container*>(&form));
    EXPECT_EQ(form.panel.childCount(), 2);
    EXPECT_EQ(form.panel.x.getParent(), static_cast<Container*>(&form.panel));
    EXPECT_EQ(form.checkInvariants(), 0);
    EXPECT_EQ(form.panel.checkInvariants(), 0);

    // Created from the last child to the first, each nested form before its own children.
    created.clear();
    EXPECT_TRUE(form.autoCreate());
    EXPECT_EQ(created, (std::vector<std::string>{"form", "b", "panel", "y", "x", "a"}));
    EXPECT_TRUE(form.panel.y.isCreated());
}

TEST(DeclarativeChildren, AFormThatDiesOnTheStackIsNoLongerHandedOut)
{
    {
        Named<AutoCreator> open("open"); // no SmartDummyChild: stays on the stack
        EXPECT_EQ(g_stack.get(), static_cast<Container*>(&open));
        Leaf caught("caught");
        EXPECT_EQ(caught.getParent(), static_cast<Container*>(&open));
    }
    EXPECT_EQ(g_stack.get(), nullptr);
    Leaf free("free");
    EXPECT_EQ(free.getParent(), nullptr);
    g_stack.pop(); // popping an empty stack changes nothing
    EXPECT_EQ(g_stack.size(), 0);
}

} // namespace

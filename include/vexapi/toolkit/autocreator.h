// Declarative children: widgets declared as members of a form class find their parent by
// themselves at construction (SmartChild, AutoCreator, GStack), and autoCreate makes the
// windows of the whole tree in declaration order.
#pragma once

#include <vexapi/toolkit/container.h>

#include <vector>

// A stack of the containers under construction; get() is the top, null when empty.
class VEXAPI_API GStack {
public:
    void push(Container* container);
    // An empty stack stays empty.
    void pop();
    Container* get() const { return m_items.empty() ? nullptr : m_items.back(); }
    int size() const { return int(m_items.size()); }
    // Takes every entry of this container off, wherever it stands: a container that dies
    // while still on the stack must not be handed to later children.
    void remove(Container* container);

private:
    std::vector<Container*> m_items;
};

// The process-wide stack the constructors below share (main thread only).
extern VEXAPI_API GStack g_stack;

// A visual object that, at construction, takes the container on top of g_stack as parent.
class VEXAPI_API SmartChild : public virtual VisualObject {
public:
    SmartChild();
    ~SmartChild() override;
};

// A container that catches the SmartChild members declared after it: its constructor pushes
// it on g_stack (after it found its own parent as a SmartChild), a SmartDummyChild member
// declared last pops it. Destruction takes it off the stack if it is still there.
class VEXAPI_API AutoCreator : public virtual Container, public virtual SmartChild {
public:
    AutoCreator();
    ~AutoCreator() override;

    // create(), then each child from the last to the first (the platform's z-order, so the
    // tab order comes out as declared): an AutoCreator by autoCreate, any other by create.
    // The children are copied first, so a create that changes the list does no harm.
    virtual bool autoCreate();
};

// Declared as the last member of an AutoCreator class: ends the catching of children.
class VEXAPI_API SmartDummyChild {
public:
    SmartDummyChild() { g_stack.pop(); }
};

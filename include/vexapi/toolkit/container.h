// Container: a visual object with children, in z-order, and the child that keeps the
// focus on its behalf.
#pragma once

#include <vexapi/toolkit/visualobject.h>

// The children are the nodes of `m_children`, first on top. A container does not own
// them: when it dies, each is unlinked and told through onParentDtor.
//
// Invariants (checkInvariants, after VisualObject's):
//  10. childCount equals the length of the child list.
//  11. Every child's parent is this container.
//  12. focusPretender is null or one of the children.
class VEXAPI_API Container : public virtual VisualObject {
public:
    Container();
    ~Container() override;

    // Passes the focus on to the focus pretender, when there is one.
    bool onSetFocus() override;

    // Hooks around a batch of child moves (scrolling, for one). A container that overrides
    // them may collect the moves so that the children repaint once.
    virtual void lockMove() {}
    virtual void unlockMove() {}
    // The child at this point of the client area, the topmost first; null when none.
    virtual VisualObject* getChildFromPoint(int x, int y);

    int childCount() const { return m_childCount; }
    VisualObject* firstChild();
    VisualObject* lastChild();
    VisualObject* getFocusPretender() const { return m_focusPretender; }
    // Refused (false) for an object that is not a child of this container.
    bool setFocusPretender(VisualObject* child);

    int checkInvariants() const;

private:
    friend class VisualObject;
    friend struct VexAPI::detail::VisualObjectAccess;

    int m_childCount = 0;
    List m_children;
    VisualObject* m_focusPretender = nullptr;
};

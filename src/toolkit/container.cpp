// Container: the child list in z-order and the focus pretender.
#include <vexapi/toolkit/container.h>

Container::Container() = default;

// The children stay alive: the list lets go of them here, and each learns of the end
// through onParentDtor when Object's destructor sends onDtor.
Container::~Container() = default;

bool Container::onSetFocus()
{
    VisualObject::onSetFocus();
    if (m_focusPretender && m_focusPretender->isCreated())
        m_focusPretender->setFocus();
    return true;
}

VisualObject* Container::getChildFromPoint(int x, int y)
{
    for (List::Iterator it = m_children.begin(); it != m_children.end(); ++it) {
        VisualObject* child = static_cast<VisualObject*>(it.node());
        if (child->getRect().contains(Point(x, y)))
            return child;
    }
    return nullptr;
}

VisualObject* Container::firstChild()
{
    return m_children.empty() ? nullptr : static_cast<VisualObject*>(m_children.begin().node());
}

VisualObject* Container::lastChild()
{
    return m_children.empty() ? nullptr : static_cast<VisualObject*>((--m_children.end()).node());
}

bool Container::setFocusPretender(VisualObject* child)
{
    if (child && child->getParent() != this)
        return false;
    m_focusPretender = child;
    return true;
}

int Container::checkInvariants() const
{
    if (int broken = VisualObject::checkInvariants())
        return broken;
    int length = 0;
    Container* self = const_cast<Container*>(this);
    for (List::Iterator it = self->m_children.begin(); it != self->m_children.end(); ++it) {
        ++length;
        if (static_cast<VisualObject*>(it.node())->getParent() != this)
            return 11;
    }
    if (length != m_childCount)
        return 10;
    if (m_focusPretender && m_focusPretender->getParent() != this)
        return 12;
    return 0;
}

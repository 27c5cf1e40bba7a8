// MoveObject: the stored layout and the scaling of children with their parent.
#include <vexapi/platform/win32/moveobject.h>
#include <vexapi/platform/win32/wvisualobject.h>
#include <vexapi/toolkit/container.h>

MoveObjectPositioner::~MoveObjectPositioner() = default;

MoveObject::MoveObject() = default;

MoveObject::~MoveObject() { clearChildsList(); }

static void freeList(ChildsListSt* node)
{
    while (node) {
        ChildsListSt* next = node->next;
        delete node;
        node = next;
    }
}

void MoveObject::clearChildsList()
{
    // The children's own lists are theirs: each frees its list in its own clear or
    // destructor. Here only this object's nodes go.
    freeList(m_childsList);
    m_childsList = nullptr;
    m_moveEnabled = false;
}

ChildsListSt* MoveObject::createChildsList(WVisualObject* object, bool proportional)
{
    if (!object || object->m_moveType != 1 || !object->useAutoMove())
        return nullptr;
    MoveObject& self = *object;
    freeList(self.m_childsList);
    self.m_childsList = nullptr;
    self.m_storedRect = object->getRect();
    Container* container = dynamic_cast<Container*>(object);
    if (!container)
        return nullptr;
    for (VisualObject* v = container->firstChild(); v; v = v->nextSibling()) {
        WVisualObject* child = dynamic_cast<WVisualObject*>(v);
        if (!child)
            continue;
        self.m_childsList = new ChildsListSt{child, self.m_childsList};
        child->m_storedRect = child->getRect();
        if (child->m_moveType == 1)
            child->createChildsList(child, proportional);
        child->m_proportional = proportional;
    }
    return self.m_childsList;
}

void MoveObject::MoveInit(WVisualObject* object, bool proportional)
{
    if (!object)
        return;
    object->createChildsList(object, proportional);
    MoveObject& self = *object;
    self.m_moveEnabled = true;
    self.m_proportional = proportional;
    subscribe(static_cast<VisualObject*>(object), &VisualObject::onSize, object,
              &WVisualObject::onSizeAction, 1000);
}

void MoveObject::MoveReInit(WVisualObject* object)
{
    if (!object)
        return;
    static_cast<MoveObject&>(*object).clearChildsList();
    MoveInit(object, false);
}

void MoveObject::MoveDeInit(WVisualObject* object)
{
    if (!object)
        return;
    unsubscribe(static_cast<VisualObject*>(object), &VisualObject::onSize, object,
                &WVisualObject::onSizeAction);
    static_cast<MoveObject&>(*object).clearChildsList();
}

namespace {

// One direction: the stored edge scaled to the new extent, truncated toward zero.
int scaled(int extent, int value, int storedExtent)
{
    return int(double(extent) * double(value) / double(storedExtent));
}

} // namespace

void MoveObject::MoveChild(WVisualObject* child, WVisualObject* parent)
{
    if (!child || !parent || child->updatePosition())
        return;
    const MoveObject& c = *child;
    const MoveObject& p = *parent;
    if (c.m_moveType == 3)
        return;
    const Rect P = parent->getRect(), Q = p.m_storedRect, S = c.m_storedRect;
    const int Wp = P.width(), Hp = P.height(), Wq = Q.width(), Hq = Q.height();
    const bool keep = c.m_moveType == 2 && !p.m_proportional;

    // A parent stored with no extent cannot be scaled from: that direction stays.
    if (Wq > 0) {
        const Rect C = child->getRect();
        const int newLeft = scaled(Wp, S.left, Wq);
        const int newRightMargin = scaled(Wp, Wq - S.right, Wq);
        if (keep)
            send(static_cast<VisualObject*>(child), &VisualObject::doMove, S.left + (Wp - Wq),
                 C.top, C.width(), C.height());
        else
            send(static_cast<VisualObject*>(child), &VisualObject::doMove, newLeft, C.top,
                 Wp - newRightMargin - newLeft, C.height());
    }
    if (Hq > 0) {
        const Rect C = child->getRect();
        const int newTop = scaled(Hp, S.top, Hq);
        const int newBottomMargin = scaled(Hp, Hq - S.bottom, Hq);
        // Vertically the kept object keeps its height at the scaled top, not its bottom
        // margin: unlike the horizontal rule.
        if (keep)
            send(static_cast<VisualObject*>(child), &VisualObject::doMove, C.left, newTop,
                 C.width(), C.height());
        else
            send(static_cast<VisualObject*>(child), &VisualObject::doMove, C.left, newTop,
                 C.width(), Hp - newBottomMargin - newTop);
    }
}

void MoveObject::MoveDialogComponents(WVisualObject* object)
{
    if (!object)
        return;
    Container* container = dynamic_cast<Container*>(object);
    if (!container)
        return;
    for (ChildsListSt* node = static_cast<MoveObject&>(*object).m_childsList; node;
         node = node->next) {
        // A child that left (or died) since the list was made is skipped: the node's
        // pointer is only trusted while the object is still among the children.
        bool present = false;
        for (VisualObject* v = container->firstChild(); v && !present; v = v->nextSibling())
            present = dynamic_cast<WVisualObject*>(v) == node->child;
        if (!present)
            continue;
        MoveChild(node->child, object);
        if (node->child->m_moveType == 1)
            MoveDialogComponents(node->child);
    }
}

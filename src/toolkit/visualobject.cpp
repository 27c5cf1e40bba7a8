// VisualObject: parents and siblings, geometry, focus bookkeeping and the accelerator table.
#include <vexapi/toolkit/container.h>
#include <vexapi/toolkit/visualobject.h>

#include "platform_input.h"

VisualObject::VisualObject() = default;

VisualObject::~VisualObject()
{
    if (m_parent)
        detachFromParent();
}

void VisualObject::detachFromParent()
{
    Container* old = m_parent;
    if (old->m_focusPretender == this)
        old->m_focusPretender = nullptr;
    if (isLinked()) {
        List::remove(List::Iterator(this));
        --old->m_childCount;
    }
    unsubscribe(static_cast<Object*>(old), &Object::onDtor, this, &VisualObject::onParentDtor);
    m_parent = nullptr;
}

void VisualObject::setParent(Container* newParent)
{
    if (newParent == m_parent)
        return;
    // A container cannot become its own descendant: the child lists would form a cycle.
    for (VisualObject* p = newParent; p; p = p->m_parent)
        if (p == this)
            return;
    if (m_parent)
        detachFromParent();
    m_parent = newParent;
    if (newParent) {
        newParent->m_children.pushBack(this);
        ++newParent->m_childCount;
        subscribe(static_cast<Object*>(newParent), &Object::onDtor, this,
                  &VisualObject::onParentDtor, 1000);
    }
}

SlotResult VisualObject::onParentDtor(Object*)
{
    // The dying container has already let go of its list (its own destructor ran first);
    // what is left is to forget it.
    if (isLinked())
        List::remove(List::Iterator(this));
    m_parent = nullptr;
    return SlotContinue;
}

void VisualObject::zmove(VisualObject* above)
{
    if (above == this || !m_parent)
        return;
    if (above && above->m_parent != m_parent)
        return;
    List::remove(List::Iterator(this));
    List::insert(this, above ? List::Iterator(above) : m_parent->m_children.end());
}

bool VisualObject::create()
{
    m_created = true;
    send(this, &VisualObject::onCreate);
    for (int i = 0; i < getAccelsCount(); ++i)
        activateAccel(i);
    return true;
}

void VisualObject::destroy()
{
    send(this, &VisualObject::onDestroy);
    m_created = false;
}

bool VisualObject::onDestroy()
{
    m_created = false;
    if (m_parent && m_parent->m_focusPretender == this)
        m_parent->m_focusPretender = nullptr;
    return true;
}

bool VisualObject::onSetFocus()
{
    for (VisualObject* child = this; child->m_parent; child = child->m_parent)
        child->m_parent->m_focusPretender = child;
    return true;
}

bool VisualObject::doMove(int x, int y, int w, int h)
{
    move(x, y, w, h);
    send(this, &VisualObject::onMove);
    return true;
}

bool VisualObject::doShow(bool on)
{
    show(on);
    send(this, &VisualObject::onShow, getShow());
    return true;
}

bool VisualObject::doEnable(bool on)
{
    enable(on);
    send(this, &VisualObject::onEnable, getEnable());
    return true;
}

void VisualObject::move(int x, int y, int w, int h)
{
    // A negative size has no window to match: it is kept as empty.
    m_left = x;
    m_top = y;
    m_width = w < 0 ? 0 : w;
    m_height = h < 0 ? 0 : h;
}

bool VisualObject::messageBeep(MsgBeep::Type type)
{
    return VexAPI::platform::messageBeep(int(type));
}

VisualObject* VisualObject::prevSibling() const
{
    if (!m_parent || prev == &m_parent->m_children.end().operator*())
        return nullptr;
    return static_cast<VisualObject*>(prev);
}

VisualObject* VisualObject::nextSibling() const
{
    if (!m_parent || next == &m_parent->m_children.end().operator*())
        return nullptr;
    return static_cast<VisualObject*>(next);
}

VisualObject* VisualObject::getChildFocus()
{
    for (VisualObject* o = getFocus(); o; o = o->m_parent)
        if (o == this)
            return this;
    return nullptr;
}

// ---- accelerators ----

void VisualObject::setAccelTable(const accelEntry* table)
{
    clearAccelTable();
    for (const accelEntry* e = table; e && e->key != VirtualKey::KeyNone; ++e)
        m_accels.push_back(*e);
    if (m_created)
        for (int i = 0; i < getAccelsCount(); ++i)
            activateAccel(i);
}

const accelEntry* VisualObject::getAccel(int index) const
{
    if (index < 0 || index >= getAccelsCount())
        return nullptr;
    return &m_accels[std::size_t(index)];
}

int VisualObject::addAccel(VirtualKey::KeyboardKey key, int modifiers, void* data,
                           Object* object, accelEntry::Callback callback, bool enabled)
{
    if (key == VirtualKey::KeyNone)
        return -1; // key 0 ends a table: such an entry could never be matched
    accelEntry e;
    e.key = key;
    e.modifiers = modifiers & 7;
    e.data = data;
    e.object = object;
    e.callback = callback;
    e.enabled = enabled;
    m_accels.push_back(e);
    int index = getAccelsCount() - 1;
    if (m_created)
        activateAccel(index);
    return index;
}

bool VisualObject::delAccel(int index)
{
    if (index < 0 || index >= getAccelsCount())
        return false;
    if (m_created)
        deactivateAccel(index);
    m_accels.erase(m_accels.begin() + index);
    return true;
}

void VisualObject::clearAccelTable()
{
    if (m_created && !m_accels.empty())
        deactivateAllAccels();
    m_accels.clear();
}

bool VisualObject::enableAccel(int index, bool enable)
{
    if (index < 0 || index >= getAccelsCount())
        return false;
    m_accels[std::size_t(index)].enabled = enable;
    return true;
}

bool VisualObject::enableAccel(VirtualKey::KeyboardKey key, int modifiers, bool enable)
{
    bool any = false;
    for (accelEntry& e : m_accels)
        if (e.key == key && e.modifiers == (modifiers & 7)) {
            e.enabled = enable;
            any = true;
        }
    return any;
}

int VisualObject::findAccel(VirtualKey::KeyboardKey key, int modifiers) const
{
    for (int i = 0; i < getAccelsCount(); ++i) {
        const accelEntry& e = m_accels[std::size_t(i)];
        if (e.enabled && e.key == key && (e.modifiers & 7) == (modifiers & 7))
            return i;
    }
    return -1;
}

// ---- statics over the platform ----

void VisualObject::getCursorPos(int* x, int* y)
{
    VexAPI::platform::cursorPos(x, y);
}

VisualObject* VisualObject::getFocus()
{
    return VexAPI::platform::focusedObject();
}

VisualObject* VisualObject::getMouseCapture()
{
    return VexAPI::platform::captureObject();
}

int VisualObject::checkInvariants() const
{
    if ((m_parent == nullptr) == isLinked())
        return 1;
    if (m_parent) {
        bool found = false;
        int length = 0;
        for (List::Iterator it = m_parent->m_children.begin(); it != m_parent->m_children.end(); ++it) {
            ++length;
            if (it.node() == this)
                found = true;
        }
        if (!found || length != m_parent->m_childCount)
            return 2;
        int subscriptions = const_cast<Container*>(m_parent)->recipientList().countOf(
            const_cast<VisualObject*>(this));
        if (subscriptions < 1)
            return 3;
    }
    if (m_width < 0 || m_height < 0)
        return 4;
    for (const accelEntry& e : m_accels)
        if (e.key == VirtualKey::KeyNone)
            return 5;
    return 0;
}

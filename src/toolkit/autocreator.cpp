// Declarative children: the construction stack and the creation walk.
#include <vexapi/toolkit/autocreator.h>

#include <algorithm>

GStack g_stack;

void GStack::push(Container* container) { m_items.push_back(container); }

void GStack::pop()
{
    if (!m_items.empty())
        m_items.pop_back();
}

void GStack::remove(Container* container)
{
    m_items.erase(std::remove(m_items.begin(), m_items.end(), container), m_items.end());
}

SmartChild::SmartChild()
{
    // The object is still being built: the portable setParent runs, which is all a
    // parent needs before creation.
    if (Container* parent = g_stack.get())
        VisualObject::setParent(parent);
}

SmartChild::~SmartChild() = default;

AutoCreator::AutoCreator() { g_stack.push(this); }

AutoCreator::~AutoCreator() { g_stack.remove(this); }

bool AutoCreator::autoCreate()
{
    create();
    std::vector<VisualObject*> children;
    for (VisualObject* child = lastChild(); child; child = child->prevSibling())
        children.push_back(child);
    for (VisualObject* child : children) {
        if (AutoCreator* nested = dynamic_cast<AutoCreator*>(child))
            nested->autoCreate();
        else
            child->create();
    }
    return true;
}

// Tree: linking and unlinking of nodes under their parents.
#include <vexapi/core/tree.h>

#include <vexapi/core/vexassert.h>

Tree::Iterator Tree::insert(Node* child, Iterator parentIt, Iterator before)
{
    VEX_ASSERT(child && !child->isLinked() && child->m_parent == nullptr);
    Node& p = node(parentIt);
    child->m_parent = &p;
    return List::insert(child, before);
}

Tree::Iterator Tree::remove(Iterator it)
{
    Node& n = node(it);
    n.m_parent = nullptr;
    return List::remove(it);
}

int Tree::depth(Iterator it)
{
    int d = 0;
    for (Node* p = node(it).m_parent; p; p = p->m_parent)
        ++d;
    return d;
}

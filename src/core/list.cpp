// List: linking and unlinking of intrusive nodes around the sentinel.
#include <vexapi/core/list.h>

#include <vexapi/core/vexassert.h>

std::size_t List::size() const
{
    std::size_t n = 0;
    for (const Node* p = m_head.next; p != &m_head; p = p->next)
        ++n;
    return n;
}

void List::clear()
{
    Node* p = m_head.next;
    while (p != &m_head) {
        Node* next = p->next;
        p->next = p->prev = p;
        p = next;
    }
    m_head.next = m_head.prev = &m_head;
}

List::Iterator List::insert(Node* node, Iterator before)
{
    VEX_ASSERT(node && !node->isLinked());
    Node* b = before.node();
    node->next = b;
    node->prev = b->prev;
    b->prev->next = node;
    b->prev = node;
    return Iterator(node);
}

List::Iterator List::remove(Iterator position)
{
    Node* n = position.node();
    VEX_ASSERT(n && n->isLinked());
    Node* next = n->next;
    n->prev->next = n->next;
    n->next->prev = n->prev;
    n->next = n->prev = n;
    return Iterator(next);
}

void List::move(Iterator first, Iterator last, Iterator before)
{
    if (first == last || before == last)
        return;
    Node* f = first.node();
    Node* l = last.node()->prev; // last node of the range
    Node* b = before.node();
    // Cut [f, l] out of its ring.
    f->prev->next = l->next;
    l->next->prev = f->prev;
    // Splice it in front of b.
    f->prev = b->prev;
    l->next = b;
    b->prev->next = f;
    b->prev = l;
}

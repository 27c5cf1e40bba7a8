// List: the library's doubly linked intrusive list with a sentinel, and ListOf<T>, the
// owning list built on it.
#pragma once

#include <vexapi/core/api.h>

#include <cstddef>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

// A circular doubly linked list of nodes around one sentinel, the list's `end()`.
//
// Invariants:
//  1. Every linked node satisfies `n->next->prev == n` and `n->prev->next == n`.
//  2. `end()` is a real position: stepping on from the last node reaches `end()`, stepping on
//     from `end()` reaches the first node; stepping back is the mirror image.
//  3. An unlinked node points at itself, so a node can tell whether it is on a list.
//  4. Insertion or removal of one node leaves every iterator to any other node valid.
//
// `List` never owns its nodes: it links and unlinks them. Ownership is the caller's, or that
// of `ListOf<T>`, which deletes what it holds.
class VEXAPI_API List {
public:
    class VEXAPI_API Node {
    public:
        Node() : next(this), prev(this) {}
        // A copied node starts unlinked: links belong to a position, not to a value.
        Node(const Node&) : next(this), prev(this) {}
        Node& operator=(const Node&) { return *this; }
        // A node destroyed while linked takes itself off its list, so no list is left with
        // a dangling link.
        ~Node()
        {
            if (next != this) {
                prev->next = next;
                next->prev = prev;
            }
        }

        bool isLinked() const { return next != this; }

        Node* next;
        Node* prev;
    };

    class Iterator {
    public:
        typedef std::bidirectional_iterator_tag iterator_category;
        typedef Node value_type;
        typedef std::ptrdiff_t difference_type;
        typedef Node* pointer;
        typedef Node& reference;

        Iterator() : m_node(nullptr) {}
        explicit Iterator(Node* node) : m_node(node) {}
        // An iterator made from the element itself.
        explicit Iterator(Node& node) : m_node(&node) {}

        Iterator& operator++() { m_node = m_node->next; return *this; }
        Iterator operator++(int) { Iterator old(*this); m_node = m_node->next; return old; }
        Iterator& operator--() { m_node = m_node->prev; return *this; }
        Iterator operator--(int) { Iterator old(*this); m_node = m_node->prev; return old; }

        Node& operator*() const { return *m_node; }
        Node* operator->() const { return m_node; }
        Node* node() const { return m_node; }

        bool operator==(const Iterator& other) const { return m_node == other.m_node; }
        bool operator!=(const Iterator& other) const { return m_node != other.m_node; }

    private:
        Node* m_node;
    };

    List() = default;
    // The sentinel's address is the list's identity, so a list cannot be copied.
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    // Unlinks the nodes that are left; deletes none of them.
    ~List() { clear(); }

    Iterator begin() { return Iterator(m_head.next); }
    Iterator end() { return Iterator(&m_head); }
    bool empty() const { return m_head.next == &m_head; }
    // Number of nodes, by a walk: lists here are short, and no count is kept.
    std::size_t size() const;

    // Unlinks every node; ownership stays with whoever had it.
    void clear();

    // Links `node` (which must be unlinked) before `before` and gives its iterator.
    static Iterator insert(Node* node, Iterator before);
    // Unlinks the node at `position` (never `end()`) and gives the iterator of its successor.
    static Iterator remove(Iterator position);
    // Moves the nodes [first, last) in front of `before`, which must lie outside that range.
    // The nodes may come from another list.
    static void move(Iterator first, Iterator last, Iterator before);

    // Appends at the end: the common case of `insert(node, end())`.
    Iterator pushBack(Node* node) { return insert(node, end()); }

private:
    Node m_head;
};

namespace VexAPI {
namespace detail {

// The node type that ListOf<T> allocates: T itself when T is already a list node, else a
// node that carries a T.
template <class T, bool Intrusive = std::is_base_of<List::Node, T>::value>
struct ListItem;

template <class T>
struct ListItem<T, true> {
    typedef T Node;
    static T& value(List::Node& n) { return static_cast<T&>(n); }
    template <class... A>
    static Node* make(A&&... args) { return new T(std::forward<A>(args)...); }
};

template <class T>
struct ListItem<T, false> {
    struct Node : List::Node {
        template <class... A>
        explicit Node(A&&... args) : value(std::forward<A>(args)...) {}
        T value;
    };
    static T& value(List::Node& n) { return static_cast<Node&>(n).value; }
    template <class... A>
    static Node* make(A&&... args) { return new Node(std::forward<A>(args)...); }
};

} // namespace detail
} // namespace VexAPI

// An owning list of T. When T derives from List::Node the element is the node itself (an
// iterator can be made from the element); otherwise each element sits in a node of its own.
// Elements are created by `insert`/`emplace`, and deleted by `remove` and `clear`.
template <class T>
class ListOf : public List {
    typedef VexAPI::detail::ListItem<T> Item;

public:
    typedef typename Item::Node NodeType;

    class Iterator {
    public:
        typedef std::bidirectional_iterator_tag iterator_category;
        typedef T value_type;
        typedef std::ptrdiff_t difference_type;
        typedef T* pointer;
        typedef T& reference;

        Iterator() = default;
        Iterator(List::Iterator it) : m_it(it) {}

        Iterator& operator++() { ++m_it; return *this; }
        Iterator operator++(int) { Iterator old(*this); ++m_it; return old; }
        Iterator& operator--() { --m_it; return *this; }
        Iterator operator--(int) { Iterator old(*this); --m_it; return old; }

        T& operator*() const { return Item::value(*m_it); }
        T* operator->() const { return &Item::value(*m_it); }

        bool operator==(const Iterator& o) const { return m_it == o.m_it; }
        bool operator!=(const Iterator& o) const { return m_it != o.m_it; }

        List::Iterator base() const { return m_it; }
        NodeType* node() const { return static_cast<NodeType*>(m_it.node()); }

    private:
        List::Iterator m_it;
    };

    ListOf() = default;
    ~ListOf() { clear(); }

    Iterator begin() { return Iterator(List::begin()); }
    Iterator end() { return Iterator(List::end()); }

    // Links an element made by the caller (with `new`); the list owns it from now on.
    Iterator insert(NodeType* node, Iterator before) { return List::insert(node, before.base()); }

    // Makes an element from `args` and links it before `before`.
    template <class... A>
    Iterator emplace(Iterator before, A&&... args)
    {
        return List::insert(Item::make(std::forward<A>(args)...), before.base());
    }
    template <class... A>
    Iterator emplaceBack(A&&... args) { return emplace(end(), std::forward<A>(args)...); }

    // Unlinks and deletes the element; gives the iterator of its successor.
    Iterator remove(Iterator position)
    {
        NodeType* n = position.node();
        Iterator next = List::remove(position.base());
        delete n;
        return next;
    }

    // Unlinks the element without deleting it: ownership passes to the caller.
    NodeType* release(Iterator position)
    {
        NodeType* n = position.node();
        List::remove(position.base());
        return n;
    }

    void clear()
    {
        while (!empty())
            remove(begin());
    }
};

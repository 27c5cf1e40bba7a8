// Tree: the library's intrusive tree of nodes, and TreeOf<T>, the owning tree built on it.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>

#include <type_traits>
#include <utility>

// An intrusive tree. Each node is a List node on its parent's list of children and holds the
// list of its own children, so siblings step like List nodes: the children of one parent
// form a ring whose sentinel is `endChild(parent)`.
//
// Invariants:
//  1. A linked node's `parent` is the node whose child list holds it; the tree's root (a
//     sentinel that holds the top level) has no parent and is never an element.
//  2. Removing a node unlinks it together with its whole subtree; the subtree stays attached
//     to the removed node.
//  3. Iterators to nodes other than the one inserted or removed stay valid.
class VEXAPI_API Tree {
public:
    class VEXAPI_API Node : public List::Node {
    public:
        Node() : m_parent(nullptr) {}
        Node(const Node&) : List::Node(), m_parent(nullptr) {}
        Node& operator=(const Node&) { return *this; }
        // Unlinks from its parent; children left in it are unlinked, not deleted.
        ~Node()
        {
            for (List::Iterator c = m_children.begin(); c != m_children.end(); ++c)
                static_cast<Node&>(*c).m_parent = nullptr;
        }

        Node* parentNode() const { return m_parent; }
        bool hasChildren() const { return !m_children.empty(); }

    private:
        friend class Tree;
        List m_children;
        Node* m_parent;
    };

    typedef List::Iterator Iterator;

    Tree() = default;
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    // The sentinel above the top level: insert under it to add top-level nodes.
    Iterator root() { return Iterator(m_root); }
    Iterator begin() { return firstChild(root()); }
    Iterator end() { return endChild(root()); }
    bool empty() const { return !m_root.hasChildren(); }

    static Node& node(Iterator it) { return static_cast<Node&>(*it); }

    static Iterator next(Iterator it) { return ++it; }
    static Iterator prev(Iterator it) { return --it; }
    // The parent of a linked node; for a top-level node, the tree's root.
    static Iterator parent(Iterator it) { return Iterator(node(it).m_parent); }
    static Iterator firstChild(Iterator parentIt) { return node(parentIt).m_children.begin(); }
    static Iterator endChild(Iterator parentIt) { return node(parentIt).m_children.end(); }

    // Links `child` (unlinked) under `parentIt`, in front of `before` (one of that parent's
    // children, or its `endChild`). Gives the child's iterator.
    static Iterator insert(Node* child, Iterator parentIt, Iterator before);
    // Unlinks the node with its subtree; gives the iterator of its next sibling.
    static Iterator remove(Iterator it);

    // Depth of a linked node: 1 for the top level.
    static int depth(Iterator it);

private:
    Node m_root;
};

namespace VexAPI {
namespace detail {

template <class T, bool Intrusive = std::is_base_of<Tree::Node, T>::value>
struct TreeItem;

template <class T>
struct TreeItem<T, true> {
    typedef T Node;
    static T& value(Tree::Node& n) { return static_cast<T&>(n); }
    template <class... A>
    static Node* make(A&&... args) { return new T(std::forward<A>(args)...); }
};

template <class T>
struct TreeItem<T, false> {
    struct Node : Tree::Node {
        template <class... A>
        explicit Node(A&&... args) : value(std::forward<A>(args)...) {}
        T value;
    };
    static T& value(Tree::Node& n) { return static_cast<Node&>(n).value; }
    template <class... A>
    static Node* make(A&&... args) { return new Node(std::forward<A>(args)...); }
};

} // namespace detail
} // namespace VexAPI

// An owning tree of T: removing a node deletes it with its subtree.
template <class T>
class TreeOf : public Tree {
    typedef VexAPI::detail::TreeItem<T> Item;

public:
    typedef typename Item::Node NodeType;

    ~TreeOf() { clear(); }

    static T& value(Iterator it) { return Item::value(Tree::node(it)); }

    template <class... A>
    Iterator emplace(Iterator parentIt, Iterator before, A&&... args)
    {
        return Tree::insert(Item::make(std::forward<A>(args)...), parentIt, before);
    }
    template <class... A>
    Iterator emplaceBack(Iterator parentIt, A&&... args)
    {
        return emplace(parentIt, endChild(parentIt), std::forward<A>(args)...);
    }

    // Unlinks the node and deletes it with its whole subtree; gives its next sibling.
    Iterator remove(Iterator it)
    {
        Iterator next = Tree::remove(it);
        destroy(static_cast<NodeType*>(&Tree::node(it)));
        return next;
    }

    void clear()
    {
        while (begin() != end())
            remove(begin());
    }

private:
    static void destroy(NodeType* n)
    {
        Iterator self(*n);
        while (firstChild(self) != endChild(self)) {
            Iterator c = firstChild(self);
            Tree::remove(c);
            destroy(static_cast<NodeType*>(&Tree::node(c)));
        }
        delete n;
    }
};

// List, ListOf, Tree, TreeOf and VectorOf: circular stepping, iterator stability, moves,
// subtree removal and growth.
#include <vexapi/core/list.h>
#include <vexapi/core/tree.h>
#include <vexapi/core/vectorof.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <map>
#include <random>
#include <vector>

namespace {

template <class T>
std::vector<T> valuesOf(ListOf<T>& list)
{
    std::vector<T> v;
    for (typename ListOf<T>::Iterator it = list.begin(); it != list.end(); ++it)
        v.push_back(*it);
    return v;
}

TEST(ListTest, EndIsARealPositionOnTheRing)
{
    ListOf<int> list;
    EXPECT_EQ(list.begin(), list.end());
    for (int i = 1; i <= 3; ++i)
        list.emplaceBack(i);

    ListOf<int>::Iterator it = list.end();
    ++it;
    EXPECT_EQ(*it, 1); // on from end reaches the first
    it = list.begin();
    --it;
    EXPECT_EQ(it, list.end()); // back from the first reaches end
    --it;
    EXPECT_EQ(*it, 3); // back from end reaches the last
    ++it;
    EXPECT_EQ(it, list.end());
    EXPECT_EQ(list.size(), 3u);
}

// Insert and remove at random places, holding an iterator to every element, against a
// std::list model: every held iterator must still reach its own element.
TEST(ListTest, IteratorsSurviveInsertionAndRemovalElsewhere)
{
    std::mt19937 rng(20261122);
    ListOf<int> list;
    std::list<int> model;
    std::map<int, ListOf<int>::Iterator> held;
    int next = 0;
    for (int step = 0; step < 2000; ++step) {
        const bool insert = held.empty() || rng() % 3 != 0;
        if (insert) {
            // before a random existing element, or at the end
            const int value = next++;
            if (held.empty() || rng() % 4 == 0) {
                held[value] = list.emplaceBack(value);
                model.push_back(value);
            } else {
                auto pick = held.begin();
                std::advance(pick, rng() % held.size());
                held[value] = list.emplace(pick->second, value);
                model.insert(std::find(model.begin(), model.end(), pick->first), value);
            }
        } else {
            auto pick = held.begin();
            std::advance(pick, rng() % held.size());
            list.remove(pick->second);
            model.remove(pick->first);
            held.erase(pick);
        }
        for (auto& h : held)
            ASSERT_EQ(*h.second, h.first);
    }
    EXPECT_EQ(valuesOf(list), std::vector<int>(model.begin(), model.end()));
}

TEST(ListTest, MoveSplicesARangeWithinAndAcrossLists)
{
    ListOf<int> a, b;
    for (int i = 1; i <= 5; ++i)
        a.emplaceBack(i);
    b.emplaceBack(10);

    ListOf<int>::Iterator two = std::next(a.begin());
    ListOf<int>::Iterator four = std::next(a.begin(), 3);
    List::move(two.base(), four.base(), b.end().base()); // [2,3] to the end of b
    EXPECT_EQ(valuesOf(a), (std::vector<int>{1, 4, 5}));
    EXPECT_EQ(valuesOf(b), (std::vector<int>{10, 2, 3}));
    EXPECT_EQ(*two, 2); // the moved element keeps its iterator

    List::move(std::next(a.begin(), 2).base(), a.end().base(), a.begin().base()); // 5 first
    EXPECT_EQ(valuesOf(a), (std::vector<int>{5, 1, 4}));
    List::move(a.begin().base(), a.begin().base(), a.end().base()); // empty range
    EXPECT_EQ(valuesOf(a), (std::vector<int>{5, 1, 4}));
}

struct Segment : List::Node {
    explicit Segment(int col) : col(col) { ++alive; }
    ~Segment() { --alive; }
    int col;
    static int alive;
};
int Segment::alive = 0;

TEST(ListTest, IntrusiveElementsAreTheirOwnNodes)
{
    {
        ListOf<Segment> list;
        Segment* s = new Segment(4);
        list.insert(s, list.end());
        list.emplace(list.begin(), 2);
        ListOf<Segment>::Iterator fromElement{List::Iterator(*s)}; // made from the element
        EXPECT_EQ(fromElement->col, 4);
        --fromElement;
        EXPECT_EQ(fromElement->col, 2);
        EXPECT_EQ(Segment::alive, 2);

        Segment* released = list.release(list.begin());
        EXPECT_FALSE(released->isLinked());
        delete released;
        EXPECT_EQ(Segment::alive, 1);
    }
    EXPECT_EQ(Segment::alive, 0); // clear deletes what the list owns
}

TEST(ListTest, NodeDestroyedWhileLinkedLeavesItsList)
{
    List list;
    List::Node a, c;
    {
        List::Node b;
        List::insert(&a, list.end());
        List::insert(&b, list.end());
        List::insert(&c, list.end());
    }
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(a.next, &c);
    EXPECT_EQ(c.prev, &a);
    list.clear();
    EXPECT_FALSE(a.isLinked());
    EXPECT_TRUE(list.empty());
}

struct Item {
    explicit Item(int id) : id(id) { ++alive; }
    ~Item() { --alive; }
    int id;
    static int alive;
};
int Item::alive = 0;

std::vector<int> childrenOf(TreeOf<Item>& tree, Tree::Iterator parent)
{
    std::vector<int> ids;
    for (Tree::Iterator c = Tree::firstChild(parent); c != Tree::endChild(parent); c = Tree::next(c))
        ids.push_back(TreeOf<Item>::value(c).id);
    return ids;
}

TEST(TreeTest, InsertUnderAParentBeforeAPosition)
{
    TreeOf<Item> tree;
    Tree::Iterator one = tree.emplaceBack(tree.root(), 1);
    Tree::Iterator three = tree.emplaceBack(tree.root(), 3);
    tree.emplace(tree.root(), three, 2);
    EXPECT_EQ(childrenOf(tree, tree.root()), (std::vector<int>{1, 2, 3}));

    Tree::Iterator a = tree.emplaceBack(one, 11);
    tree.emplace(one, Tree::firstChild(one), 10);
    Tree::Iterator deep = tree.emplaceBack(a, 111);
    EXPECT_EQ(childrenOf(tree, one), (std::vector<int>{10, 11}));
    EXPECT_EQ(Tree::parent(deep), a);
    EXPECT_EQ(Tree::parent(a), one);
    EXPECT_EQ(Tree::parent(one), tree.root());
    EXPECT_EQ(Tree::depth(deep), 3);
    EXPECT_EQ(Tree::prev(Tree::firstChild(one)), Tree::endChild(one)); // circular siblings
    EXPECT_EQ(Tree::next(Tree::endChild(one)), Tree::firstChild(one));
    EXPECT_EQ(Item::alive, 6);
}

TEST(TreeTest, RemoveTakesTheWholeSubtree)
{
    {
        TreeOf<Item> tree;
        Tree::Iterator one = tree.emplaceBack(tree.root(), 1);
        Tree::Iterator two = tree.emplaceBack(tree.root(), 2);
        Tree::Iterator child = tree.emplaceBack(one, 10);
        tree.emplaceBack(child, 100);
        tree.emplaceBack(child, 101);
        EXPECT_EQ(Item::alive, 5);

        EXPECT_EQ(tree.remove(one), two); // gives the next sibling
        EXPECT_EQ(Item::alive, 1);
        EXPECT_EQ(childrenOf(tree, tree.root()), std::vector<int>{2});

        // Plain Tree::remove unlinks without deleting; the subtree stays attached.
        Tree::Iterator kid = tree.emplaceBack(two, 20);
        Tree::remove(two);
        EXPECT_TRUE(tree.empty());
        EXPECT_EQ(Tree::parent(kid), two);
        Tree::insert(&Tree::node(two), tree.root(), tree.end());
        EXPECT_EQ(childrenOf(tree, two), std::vector<int>{20});
    }
    EXPECT_EQ(Item::alive, 0);
}

TEST(VectorOfTest, GrowsByItsStepAndKeepsOrder)
{
    VectorOf<int> v(50, 50);
    EXPECT_EQ(v.capacity(), 50);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(v.add(i), i);
    EXPECT_EQ(v.capacity(), 50);
    v.add(50);
    EXPECT_EQ(v.capacity(), 100);
    v.insert(0, -1);
    v.remove(10);
    EXPECT_EQ(v.size(), 51);
    EXPECT_EQ(v[0], -1);
    EXPECT_EQ(v[10], 10);
    EXPECT_EQ(v.find(50), 50);
    EXPECT_EQ(v.find(9), -1);
    v.clear();
    EXPECT_TRUE(v.empty());
}

} // namespace

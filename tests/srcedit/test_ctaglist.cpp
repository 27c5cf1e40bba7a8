// Tests of CTagList: linking, removal and its count, row shifts, lookups and the runs
// given to painting.
#include "lextesting.h"

#include <gtest/gtest.h>

#include <array>

namespace {

// A list of tags "row:col+len" of type 5.
void fill(CTagList& list, const std::vector<std::array<int, 3>>& tags)
{
    for (const auto& t : tags)
        list.AddTail(CTagNode(TT_WORD, t[0], t[1], t[2], TA_INSIDE));
}

std::string rowsCols(const CTagList& list)
{
    std::string s;
    for (const CTagNode* t = list.GetHead(); t; t = t->next)
        s += (s.empty() ? "" : " ") + std::to_string(t->row) + ":" + std::to_string(t->col);
    return s;
}

TEST(CTagList, InsertsCopiesAtBothEndsAndAroundATag)
{
    CTagList list;
    CTagNode* b = list.AddTail(CTagNode(TT_WORD, 1, 0, 1));
    list.AddHead(CTagNode(TT_WORD, 0, 0, 1));
    list.InsertAfter(b, CTagNode(TT_WORD, 1, 5, 1));
    list.InsertBefore(b, CTagNode(TT_WORD, 0, 9, 1));
    // A null tag means the head, for both.
    list.InsertAfter(nullptr, CTagNode(TT_WORD, 0, -2, 1));
    list.InsertBefore(nullptr, CTagNode(TT_WORD, 0, -3, 1));
    EXPECT_EQ("0:-3 0:-2 0:0 0:9 1:0 1:5", rowsCols(list));
    EXPECT_EQ(6, list.GetCount());
    EXPECT_EQ(0, list.checkInvariants());
    EXPECT_EQ(b->next, list.GetNext(b));
    EXPECT_EQ(nullptr, list.GetNext(nullptr));

    CTagNode* made = list.NewNode(list.GetTail(), nullptr);
    made->row = 2;
    EXPECT_EQ(made, list.GetTail());
    EXPECT_EQ(7, list.GetCount());
}

TEST(CTagList, RemoveTagHandsTheTagOverWithoutCountingIt)
{
    CTagList list;
    fill(list, {{0, 0, 1}, {0, 2, 1}, {1, 0, 1}});
    CTagNode* middle = list.GetHead()->next;
    EXPECT_EQ(list.GetTail(), list.RemoveTag(middle, true));
    EXPECT_EQ(3, list.GetCount()); // not decreased: the caller owns the tag
    EXPECT_EQ("0:0 1:0", rowsCols(list));
    EXPECT_EQ(0, list.checkInvariants());
    // Linked back, or given back.
    list.LinkAfter(list.GetHead(), middle);
    EXPECT_EQ("0:0 0:2 1:0", rowsCols(list));
    EXPECT_EQ(list.GetHead(), list.RemoveTag(middle, false));
    list.DeleteTag(middle);
    EXPECT_EQ(2, list.GetCount());
    EXPECT_EQ(0, list.checkInvariants());

    // Removing the only tag empties both ends.
    CTagList one;
    fill(one, {{3, 3, 3}});
    CTagNode* t = one.GetHead();
    EXPECT_EQ(nullptr, one.RemoveTag(t, true));
    EXPECT_EQ(nullptr, one.GetHead());
    EXPECT_EQ(nullptr, one.GetTail());
    one.DeleteTag(t);
    EXPECT_EQ(0, one.GetCount());
}

TEST(CTagList, RemovesAndShiftsRows)
{
    CTagList list;
    fill(list, {{0, 0, 1}, {1, 0, 1}, {1, 3, 1}, {2, 0, 1}, {3, 0, 1}, {5, 0, 1}});
    EXPECT_EQ(3, list.RemoveTags(nullptr, 1, 2));
    EXPECT_EQ("0:0 3:0 5:0", rowsCols(list));
    EXPECT_EQ(3, list.GetCount());
    EXPECT_EQ(0, list.RemoveTags(nullptr, 9, 4));
    EXPECT_EQ(0, list.RemoveTags(nullptr, 0, 0));
    list.MoveTagsDown(nullptr, 3, 2);
    EXPECT_EQ("0:0 5:0 7:0", rowsCols(list));
    list.MoveTagsUp(nullptr, 5, 4);
    EXPECT_EQ("0:0 1:0 3:0", rowsCols(list));
    EXPECT_EQ(0, list.checkInvariants());

    // RemoveAll gives everything back at once; the pool serves the next tags.
    list.RemoveAll();
    EXPECT_EQ(0, list.GetCount());
    EXPECT_EQ(nullptr, list.GetHead());
    fill(list, {{0, 1, 1}});
    EXPECT_EQ(1, list.GetCount());
    EXPECT_EQ(0, list.checkInvariants());
}

TEST(CTagList, FindsTagsByRowFromAnyPlace)
{
    CTagList list;
    for (int row = 0; row < 1000; row += 2)
        fill(list, {{row, 0, 2}, {row, 4, 3}});
    // Lookups in any order, so that the finger, the head and the tail each serve.
    int rows[] = {500, 502, 998, 0, 3, 999, 1000, 250};
    for (int r : rows) {
        CTagNode* first = list.FirstFrom(r);
        CTagNode* last = list.LastBefore(r);
        int want = r % 2 ? r + 1 : r;
        if (want >= 1000) {
            EXPECT_EQ(nullptr, first) << r;
        } else {
            ASSERT_NE(nullptr, first) << r;
            EXPECT_EQ(want, first->row);
            EXPECT_EQ(0, first->col);
        }
        if (r == 0) {
            EXPECT_EQ(nullptr, last);
        } else {
            ASSERT_NE(nullptr, last) << r;
            EXPECT_EQ(r % 2 ? r - 1 : r - 2, last->row);
            EXPECT_EQ(4, last->col);
        }
    }
    EXPECT_EQ(4, list.Find(nullptr, 10, 5)->col);
    EXPECT_EQ(nullptr, list.Find(nullptr, 10, 3));
    EXPECT_EQ(nullptr, list.Find(nullptr, 11, 0));
    EXPECT_EQ(0, list.checkInvariants());
}

TEST(CTagList, GetTagSubStrGivesTheRunOfOneColour)
{
    CTagList list;
    list.AddTail(CTagNode(TT_WORD, 0, 2, 3));
    list.AddTail(CTagNode(TT_COMMENT, 0, 5, 0, TA_OPENS)); // zero length: never a run
    list.AddTail(CTagNode(TT_COMMENT, 0, 8, 4));
    list.AddTail(CTagNode(TT_STRING1, 1, 0, 2));
    CTagNode* head = list.GetHead();
    struct Case {
        int row, col, limit;
        int run, type;
        bool found;
    } cases[] = {
        {0, 0, 80, 2, TT_TEXT, false},   // before the tag: up to its start
        {0, 3, 80, 2, TT_WORD, true},    // inside: what remains of it
        {0, 3, 1, 1, TT_WORD, true},     // capped by the limit
        {0, 6, 80, 2, TT_TEXT, false},   // between tags: up to the next one
        {0, 9, 80, 3, TT_COMMENT, true},
        {0, 20, 80, 80, TT_TEXT, false}, // behind the row's tags
        {1, 0, 80, 80, TT_TEXT, false},  // the tag given is of another row
    };
    for (const Case& c : cases) {
        int run = -1, type = TT_TEXT;
        CTagNode* t = list.GetTagSubStr(head, c.row, c.col, c.limit, run, type);
        EXPECT_EQ(c.run, run) << c.row << ":" << c.col;
        EXPECT_EQ(c.type, type) << c.row << ":" << c.col;
        EXPECT_EQ(c.found, t != nullptr) << c.row << ":" << c.col;
    }
    int run = 0, type = TT_TEXT;
    EXPECT_EQ(nullptr, list.GetTagSubStr(nullptr, 0, 0, 7, run, type));
    EXPECT_EQ(7, run);
}

TEST(CTagList, TagValuesCopyWithOrWithoutLinks)
{
    CTagNode a(TT_WORD, 1, 2, 3, TA_OPENS);
    a.trueAttr = TA_THROUGH;
    CTagNode b;
    b.next = &a;
    b = &a; // from a pointer: everything but the links
    EXPECT_EQ(3, b.len);
    EXPECT_EQ(TA_THROUGH, b.GetTrueAttr());
    EXPECT_EQ(&a, b.next);
    CTagNode c;
    c.next = &a;
    c = a; // from a reference: everything
    EXPECT_EQ(nullptr, c.next);
    EXPECT_EQ(TA_OPENS, c.GetAttr());
}

TEST(CTagList, DefaultColoursOfTheClasses)
{
    EXPECT_EQ(6, tagDefaultColor(TT_BACKGROUND).systemColor);
    EXPECT_EQ(14, tagDefaultColor(TT_TEXT).systemColor);
    TagColorDefault comment = tagDefaultColor(TT_COMMENT);
    EXPECT_EQ(-1, comment.systemColor);
    EXPECT_EQ(130, comment.green);
    TagColorDefault label = tagDefaultColor(TT_LABEL);
    EXPECT_EQ(167, label.red);
    EXPECT_EQ(77, label.blue);
    EXPECT_TRUE(tagDefaultColor(TT_OPERATOR).defined);
    EXPECT_FALSE(tagDefaultColor(TT_FIRST_FREE).defined);
    EXPECT_FALSE(tagDefaultColor(-1).defined);
}

TEST(CTagList, EditorTagsForRows)
{
    CSrcEditLex editor;
    load(editor, "select a;\n\nfrom b");
    CTagNode* first = nullptr;
    CTagNode* last = nullptr;
    EXPECT_EQ(3, editor.GetTagsForRows(first, last, 0, 2));
    EXPECT_EQ(0, first->row);
    EXPECT_EQ(2, last->row);
    EXPECT_EQ(2, editor.GetTagsForRows(first, last, 0));
    EXPECT_EQ(0, editor.GetTagsForRows(first, last, 1));
    EXPECT_EQ(nullptr, first);
    EXPECT_EQ(0, editor.GetTagsForRows(first, last, 2, 1));
}

} // namespace

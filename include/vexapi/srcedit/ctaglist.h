// CTagNode and CTagList: the coloured runs of the source editor's text, one list for the
// whole document, sorted by row and column.
#pragma once

#include <vexapi/core/api.h>

#include <memory>
#include <vector>

// The colour class of a run: a direct index into the editor's colour table of 12
// entries; 8 to 11 are free for derived editors.
enum TagType {
    TT_BACKGROUND = 0,
    TT_TEXT = 1,     // plain text: text that no tag covers
    TT_COMMENT = 2,
    TT_STRING1 = 3,  // string of the first kind
    TT_STRING2 = 4,  // string of the second kind
    TT_WORD = 5,     // word lexeme
    TT_LABEL = 6,    // label of a folded block
    TT_OPERATOR = 7,
    TT_FIRST_FREE = 8,
    TT_COUNT = 12
};

// The default colour of a tag class for the editor's colour table: a system colour (its
// index in `systemColor`) for the background and plain text, else red, green and blue.
// Classes 8 to 11, and any other, have none (`defined` false): they keep the default of
// the colour type.
struct TagColorDefault {
    bool defined;
    int systemColor; // -1 when the colour is given by red, green and blue
    int red, green, blue;
};
VEXAPI_API TagColorDefault tagDefaultColor(int type);

// How a run relates to its row's ends.
enum TagAttr {
    TA_INSIDE = 0,  // wholly inside this row
    TA_OPENS = 1,   // opens in this row and runs past its end
    TA_THROUGH = 2, // began on an earlier row and runs past this row's end
    TA_CLOSES = 4   // began on an earlier row and closes in this row
};

class CTagList;

// One coloured run of a row: `len` columns from `col` on row `row` (the visible row index
// in the document's top block), of colour class `type`. A run that carries a comment or a
// string over rows says so in `attr`; on a row with folds, where a run is cut at a label,
// `attr` describes the visible piece and `trueAttr` keeps what the run was before the cut.
//
// Tags live in a CTagList, which makes them: a tag is a value (it can stand on the stack
// and be copied into a list), but it is never made with new nor deleted on its own, since
// the list keeps the memory of its tags in one pool and frees it at once.
class VEXAPI_API CTagNode {
public:
    CTagNode(int type = TT_TEXT, int row = 0, int col = 0, int len = 0, int attr = TA_INSIDE);
    virtual ~CTagNode();
    CTagNode(const CTagNode&) = default;
    // Copies everything, the list links too.
    CTagNode& operator=(const CTagNode&) = default;
    // Copies everything but the list links; a null tag changes nothing.
    CTagNode& operator=(const CTagNode* other);

    int GetType() const { return type; }
    int GetAttr() const { return attr; }
    int GetTrueAttr() const { return trueAttr; }
    int GetRow() const { return row; }
    int GetCol() const { return col; }
    int GetLen() const { return len; }
    int GetEnd() const { return col + len; }

    int type;
    int row;
    int col;
    int len;
    int attr;
    int trueAttr; // `attr` as given at construction, kept when a fold cuts the run
    CTagNode* prev;
    CTagNode* next;

private:
    friend class CTagList;
    // Tags are made by their list, in its pool.
    static void* operator new(std::size_t size);
    static void operator delete(void* p);
};

// A doubly linked list of tags with `head`, `tail` and `count`, sorted by `row`, then
// `col`. The list makes its tags in a pool of its own: RemoveAll gives every tag back in
// one step, whatever their number, and making a tag costs no heap allocation once the pool
// has grown.
//
// `count` is the number of tags made by the list and not yet given back: RemoveTag unlinks
// a tag and hands it to the caller without decreasing it (the caller then gives the tag
// back with DeleteTag, or puts it back with LinkBefore/LinkAfter).
//
// Lookups by row start at a finger, the last tag that a lookup or a change stood on, when
// it is nearer than the head or the tail: the editor works on one place at a time.
//
// Invariants (checked by checkInvariants, which gives the number of the first broken):
//  1. head and tail are both null or both set; head->prev and tail->next are null, and
//     every linked tag satisfies t->next->prev == t.
//  2. Tags are sorted by row, then by col.
//  3. The linked tags are no more than `count`.
//  4. The finger is null or a linked tag.
class VEXAPI_API CTagList {
public:
    CTagList();
    ~CTagList();
    CTagList(const CTagList&) = delete;
    CTagList& operator=(const CTagList&) = delete;

    CTagNode* GetHead() const { return head; }
    CTagNode* GetTail() const { return tail; }
    int GetCount() const { return count; }
    // The tag after (before) `tag`; null at the end or for a null tag.
    CTagNode* GetNext(const CTagNode* tag) const { return tag ? tag->next : nullptr; }
    CTagNode* GetPrev(const CTagNode* tag) const { return tag ? tag->prev : nullptr; }
    // Raw setters of the ends, for code that relinks tags by hand.
    void SetHead(CTagNode* tag) { head = tag; }
    void SetTail(CTagNode* tag) { tail = tag; }

    // Makes a tag linked between `prev` and `next` (either may be null for an end; they
    // must be neighbours) and increases `count`.
    CTagNode* NewNode(CTagNode* prev, CTagNode* next);
    // Copies of `value` at the head, at the tail, before or after `tag`. A null `tag` means
    // the head: InsertBefore(null) and InsertAfter(null) both insert before the head.
    CTagNode* AddHead(const CTagNode& value);
    CTagNode* AddTail(const CTagNode& value);
    CTagNode* InsertBefore(CTagNode* tag, const CTagNode& value);
    CTagNode* InsertAfter(CTagNode* tag, const CTagNode& value);

    // Gives every tag back at once; `count` becomes 0.
    void RemoveAll();
    // Unlinks `tag` and answers the next tag (`forward`) or the previous one. The caller
    // owns the tag afterwards and `count` is not decreased: see DeleteTag.
    CTagNode* RemoveTag(CTagNode* tag, bool forward = true);
    // Gives a tag back to the pool, unlinking it first if it is linked; `count` falls by 1.
    void DeleteTag(CTagNode* tag);
    // Links a tag that RemoveTag handed out again, before (after) `tag`; null means the
    // head (the tail).
    void LinkBefore(CTagNode* tag, CTagNode* node);
    void LinkAfter(CTagNode* tag, CTagNode* node);
    // Deletes the tags with `row` in [firstRow, firstRow + n), walking from `from` (null:
    // from the start of the list), and stitches the links. Answers how many went.
    int RemoveTags(CTagNode* from, int firstRow, int n);
    // Adds `n` to the row of every tag at or below `row` (from `from` on, null: the whole
    // list); MoveTagsUp subtracts it.
    void MoveTagsDown(CTagNode* from, int row, int n);
    void MoveTagsUp(CTagNode* from, int row, int n);
    // The tag of `row` whose run holds `col` (a zero-length tag holds nothing), searching
    // from `from` (null: the row's first tag); null when there is none.
    CTagNode* Find(CTagNode* from, int row, int col);
    // For painting: how far one colour runs from `col` on `row`, at most `limit` columns,
    // in `run`, and the tag that gives it (its type in `type`). With a null tag or one of
    // another row, `run` is `limit` and the answer null. Before `tag` the run ends at its
    // start. Otherwise the tags from `tag` on are walked to the first tag of the row with a
    // length that holds `col` or starts behind it. `type` is left as it was when no tag
    // applies, so callers preset it to TT_TEXT.
    CTagNode* GetTagSubStr(CTagNode* tag, int row, int col, int limit, int& run, int& type);

    // The first tag of `row` or of a later row; null when there is none.
    CTagNode* FirstFrom(int row);
    // The last tag of a row before `row`; null when there is none.
    CTagNode* LastBefore(int row);

    int checkInvariants() const;

private:
    CTagNode* make(const CTagNode& value);
    void link(CTagNode* prev, CTagNode* node, CTagNode* next);
    void unlink(CTagNode* tag);
    void release(CTagNode* tag);
    // A linked tag near `row` to start a walk from: the finger, the head or the tail,
    // whichever is nearest in rows.
    CTagNode* nearest(int row) const;

    CTagNode* head;
    CTagNode* tail;
    int count;
    CTagNode* m_finger;
    CTagNode* m_free; // given-back tags, linked through `next`
    std::vector<std::unique_ptr<unsigned char[]>> m_chunks;
    int m_chunkUsed;  // tags made from the last chunk
};

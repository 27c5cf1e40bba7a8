// CTagNode and CTagList: the list of coloured runs and its pool of tags.
#include <vexapi/srcedit/ctaglist.h>

#include <cstdlib>
#include <new>

namespace {

const int kChunkTags = 4096;

int sign(int v) { return v < 0 ? -1 : v > 0 ? 1 : 0; }

} // namespace

TagColorDefault tagDefaultColor(int type)
{
    static const TagColorDefault table[] = {
        {true, 6, 0, 0, 0},         // background
        {true, 14, 0, 0, 0},        // plain text
        {true, -1, 0, 130, 0},      // comment
        {true, -1, 101, 110, 127},  // string of the first kind
        {true, -1, 255, 0, 0},      // string of the second kind
        {true, -1, 0, 0, 128},      // word lexeme
        {true, -1, 167, 157, 77},   // label of a folded block
        {true, -1, 150, 150, 0},    // operator
    };
    if (type < 0 || type >= int(sizeof table / sizeof *table))
        return {false, -1, 0, 0, 0};
    return table[type];
}

CTagNode::CTagNode(int type_, int row_, int col_, int len_, int attr_)
    : type(type_), row(row_), col(col_), len(len_), attr(attr_), trueAttr(attr_), prev(nullptr), next(nullptr)
{
}

CTagNode::~CTagNode() {}

CTagNode& CTagNode::operator=(const CTagNode* other)
{
    if (other && other != this) {
        type = other->type;
        row = other->row;
        col = other->col;
        len = other->len;
        attr = other->attr;
        trueAttr = other->trueAttr;
    }
    return *this;
}

// Never reached: tags are placed in their list's pool, and the pool frees the memory.
void* CTagNode::operator new(std::size_t size) { return ::operator new(size); }
void CTagNode::operator delete(void*) {}

CTagList::CTagList()
    : head(nullptr), tail(nullptr), count(0), m_finger(nullptr), m_free(nullptr), m_chunkUsed(kChunkTags)
{
}

// The tags hold nothing to release: the chunks go, and the tags in them with no call of
// their destructor, which is empty.
CTagList::~CTagList() {}

CTagNode* CTagList::make(const CTagNode& value)
{
    void* place;
    if (m_free) {
        place = m_free;
        m_free = m_free->next;
    } else {
        if (m_chunkUsed == kChunkTags) {
            m_chunks.emplace_back(new unsigned char[sizeof(CTagNode) * kChunkTags]);
            m_chunkUsed = 0;
        }
        place = m_chunks.back().get() + sizeof(CTagNode) * std::size_t(m_chunkUsed++);
    }
    CTagNode* tag = ::new (place) CTagNode(value);
    tag->prev = tag->next = nullptr;
    ++count;
    return tag;
}

void CTagList::release(CTagNode* tag)
{
    tag->prev = nullptr;
    tag->next = m_free;
    m_free = tag;
    --count;
}

void CTagList::link(CTagNode* prev, CTagNode* node, CTagNode* next)
{
    node->prev = prev;
    node->next = next;
    if (prev)
        prev->next = node;
    else
        head = node;
    if (next)
        next->prev = node;
    else
        tail = node;
}

void CTagList::unlink(CTagNode* tag)
{
    if (tag == m_finger)
        m_finger = tag->prev ? tag->prev : tag->next;
    if (tag->prev)
        tag->prev->next = tag->next;
    else if (head == tag)
        head = tag->next;
    if (tag->next)
        tag->next->prev = tag->prev;
    else if (tail == tag)
        tail = tag->prev;
    tag->prev = tag->next = nullptr;
}

CTagNode* CTagList::NewNode(CTagNode* prev, CTagNode* next)
{
    CTagNode* tag = make(CTagNode());
    link(prev, tag, next);
    return tag;
}

CTagNode* CTagList::AddHead(const CTagNode& value)
{
    CTagNode* tag = make(value);
    link(nullptr, tag, head);
    return tag;
}

CTagNode* CTagList::AddTail(const CTagNode& value)
{
    CTagNode* tag = make(value);
    link(tail, tag, nullptr);
    return tag;
}

CTagNode* CTagList::InsertBefore(CTagNode* tag, const CTagNode& value)
{
    if (!tag)
        return AddHead(value);
    CTagNode* node = make(value);
    link(tag->prev, node, tag);
    return node;
}

CTagNode* CTagList::InsertAfter(CTagNode* tag, const CTagNode& value)
{
    if (!tag)
        return AddHead(value);
    CTagNode* node = make(value);
    link(tag, node, tag->next);
    return node;
}

void CTagList::LinkBefore(CTagNode* tag, CTagNode* node)
{
    if (!node || node->prev || node->next || node == head)
        return;
    link(tag ? tag->prev : nullptr, node, tag ? tag : head);
}

void CTagList::LinkAfter(CTagNode* tag, CTagNode* node)
{
    if (!node || node->prev || node->next || node == head)
        return;
    link(tag ? tag : tail, node, tag ? tag->next : nullptr);
}

void CTagList::RemoveAll()
{
    // The whole chain joins the free list in one step.
    if (head) {
        tail->next = m_free;
        m_free = head;
    }
    head = tail = m_finger = nullptr;
    count = 0;
}

CTagNode* CTagList::RemoveTag(CTagNode* tag, bool forward)
{
    if (!tag)
        return nullptr;
    CTagNode* answer = forward ? tag->next : tag->prev;
    unlink(tag);
    return answer;
}

void CTagList::DeleteTag(CTagNode* tag)
{
    if (!tag)
        return;
    if (tag->prev || tag->next || head == tag)
        unlink(tag);
    release(tag);
}

int CTagList::RemoveTags(CTagNode* from, int firstRow, int n)
{
    if (n <= 0)
        return 0;
    CTagNode* t = from ? from : FirstFrom(firstRow);
    // A given start may lie before the rows: walk up to them.
    while (t && t->row < firstRow)
        t = t->next;
    int removed = 0;
    while (t && t->row < firstRow + n) {
        CTagNode* next = t->next;
        if (t->row >= firstRow) {
            unlink(t);
            release(t);
            ++removed;
        }
        t = next;
    }
    return removed;
}

void CTagList::MoveTagsDown(CTagNode* from, int row, int n)
{
    CTagNode* t = from ? from : FirstFrom(row);
    for (; t; t = t->next)
        if (t->row >= row)
            t->row += n;
}

void CTagList::MoveTagsUp(CTagNode* from, int row, int n)
{
    CTagNode* t = from ? from : FirstFrom(row);
    for (; t; t = t->next)
        if (t->row >= row)
            t->row -= n;
}

CTagNode* CTagList::Find(CTagNode* from, int row, int col)
{
    CTagNode* t = from ? from : FirstFrom(row);
    while (t && t->row < row)
        t = t->next;
    for (; t && t->row == row; t = t->next)
        if (t->col <= col && col < t->col + t->len)
            return m_finger = t;
    return nullptr;
}

CTagNode* CTagList::GetTagSubStr(CTagNode* tag, int row, int col, int limit, int& run, int& type)
{
    if (!tag || tag->row != row) {
        run = limit;
        return nullptr;
    }
    if (col < tag->col) {
        run = tag->col - col < limit ? tag->col - col : limit;
        return nullptr;
    }
    CTagNode* t = tag;
    for (; t && t->row == row; t = t->next) {
        if (t->len <= 0)
            continue;
        if (t->col <= col && col < t->col + t->len) {
            run = t->col + t->len - col;
            if (run > limit)
                run = limit;
            type = t->type;
            return t;
        }
        if (t->col > col) {
            run = t->col - col < limit ? t->col - col : limit;
            return nullptr;
        }
    }
    run = limit;
    return nullptr;
}

CTagNode* CTagList::nearest(int row) const
{
    CTagNode* best = head;
    if (!best)
        return nullptr;
    long distance = std::labs(long(row) - head->row);
    if (tail && std::labs(long(row) - tail->row) < distance) {
        best = tail;
        distance = std::labs(long(row) - tail->row);
    }
    if (m_finger && std::labs(long(row) - m_finger->row) < distance)
        best = m_finger;
    return best;
}

CTagNode* CTagList::FirstFrom(int row)
{
    CTagNode* t = nearest(row);
    if (!t)
        return nullptr;
    if (t->row >= row) {
        // Back to the first tag of a row at or past `row`.
        while (t->prev && t->prev->row >= row)
            t = t->prev;
    } else {
        while (t && t->row < row)
            t = t->next;
    }
    if (t)
        m_finger = t;
    return t;
}

CTagNode* CTagList::LastBefore(int row)
{
    CTagNode* t = nearest(row);
    if (!t)
        return nullptr;
    if (t->row < row) {
        while (t->next && t->next->row < row)
            t = t->next;
    } else {
        while (t && t->row >= row)
            t = t->prev;
    }
    if (t)
        m_finger = t;
    return t;
}

int CTagList::checkInvariants() const
{
    if ((head == nullptr) != (tail == nullptr))
        return 1;
    if (head && (head->prev || tail->next))
        return 1;
    int linked = 0;
    bool fingerSeen = m_finger == nullptr;
    for (const CTagNode* t = head; t; t = t->next) {
        ++linked;
        if (t == m_finger)
            fingerSeen = true;
        if (t->next) {
            if (t->next->prev != t)
                return 1;
            int order = sign(t->next->row - t->row);
            if (order < 0 || (order == 0 && t->next->col < t->col))
                return 2;
        } else if (t != tail) {
            return 1;
        }
    }
    if (linked > count)
        return 3;
    if (!fingerSeen)
        return 4;
    return 0;
}

// DataBuffer: carving rows out of runs for iterators, merging them back when the last
// iterator leaves, and the walks by entry (row numbers, records, renumbering).
#include <vexapi/sql/databuffer.h>

#include <vexapi/core/vexassert.h>

namespace DataSourceAPI {

// ---- Iterator ----

DataBuffer::Iterator::Iterator(Entry* e) : cur(e)
{
    if (cur)
        ++cur->refCount;
}

DataBuffer::Iterator::Iterator(const Iterator& o) : cur(o.cur)
{
    if (cur) {
        VEX_ASSERT(cur->refCount>0);
        ++cur->refCount;
    }
}

DataBuffer::Iterator& DataBuffer::Iterator::operator=(const Iterator& o)
{
    if (o.cur)
        ++o.cur->refCount;
    Entry* old = cur;
    cur = o.cur;
    release(old);
    return *this;
}

void DataBuffer::Iterator::release(Entry* e)
{
    if (!e)
        return;
    if (--e->refCount > 0)
        return;
    if (e->type == Entry::zombi)
        delete e;
    else if (e->type == Entry::normal)
        unmap(e);
}

DataBuffer::Iterator& DataBuffer::Iterator::operator++()
{
    VEX_ASSERT(cur->type != Entry::zombi);
    if (cur->type == Entry::zombi)
        return *this; // it has no neighbours any more
    Entry* n = cur->next;
    if (n->number > 1)
        n = map(n, 0);
    Entry* old = cur;
    cur = n;
    ++cur->refCount;
    release(old);
    return *this;
}

DataBuffer::Iterator& DataBuffer::Iterator::operator--()
{
    VEX_ASSERT(cur->type != Entry::zombi);
    if (cur->type == Entry::zombi)
        return *this;
    Entry* n = cur->prev;
    if (n->number > 1)
        n = map(n, n->number - 1);
    Entry* old = cur;
    cur = n;
    ++cur->refCount;
    release(old);
    return *this;
}

// ---- Entries ----

DataBuffer::DataBuffer() : m_rows(0)
{
    m_head.number = 0;
    m_head.dbRow = 0;
    m_head.record = nullptr;
    m_head.refCount = 0;
    m_head.type = Entry::head;
    m_head.prev = m_head.next = &m_head;
}

DataBuffer::~DataBuffer()
{
    reset(0);
}

DataBuffer::Entry* DataBuffer::newEntry(int number, int dbRow)
{
    return new Entry{number, dbRow, nullptr, 0, Entry::normal, nullptr, nullptr};
}

void DataBuffer::link(Entry* e, Entry* before)
{
    e->next = before;
    e->prev = before->prev;
    before->prev->next = e;
    before->prev = e;
}

void DataBuffer::unlink(Entry* e)
{
    e->prev->next = e->next;
    e->next->prev = e->prev;
    e->prev = e->next = nullptr;
}

void DataBuffer::split(Entry* p, int k)
{
    Entry* tail = newEntry(p->number - k, p->dbRow + k);
    tail->type = p->type;
    link(tail, p->next);
    p->number = k;
}

DataBuffer::Entry* DataBuffer::map(Entry* p, int i)
{
    if (p->number == 1)
        return p;
    VEX_ASSERT(!p->record && p->refCount == 0 && p->dbRow>0 && p->type==Entry::normal);
    if (i == 0) {
        Entry* e = newEntry(1, p->dbRow);
        link(e, p);
        ++p->dbRow;
        --p->number;
        return e;
    }
    if (i != p->number - 1)
        split(p, i + 1);
    --p->number;
    Entry* e = newEntry(1, p->dbRow + p->number);
    link(e, p->next);
    return e;
}

bool DataBuffer::isPlainRun(const Entry* p)
{
    return p->type == Entry::normal && !p->record && p->refCount == 0 && p->dbRow > 0;
}

void DataBuffer::paste(Entry* first, Entry* second)
{
    first->number += second->number;
    unlink(second);
    delete second;
}

void DataBuffer::unmap(Entry* p)
{
    if (!isPlainRun(p))
        return;
    Entry* n = p->next;
    if (isPlainRun(n) && n->dbRow - p->dbRow == p->number)
        paste(p, n);
    Entry* b = p->prev;
    if (isPlainRun(b) && p->dbRow - b->dbRow == b->number)
        paste(b, p);
}

// ---- The index ----

DataBuffer::Iterator DataBuffer::begin()
{
    Entry* p = m_head.next;
    if (p->number > 1)
        p = map(p, 0);
    return Iterator(p);
}

DataBuffer::Iterator DataBuffer::insertRow(const Iterator& it)
{
    VEX_ASSERT(it.cur->type != Entry::zombi);
    // A zombi has no place in the list: the row goes to the end instead.
    Entry* before = it.cur->type == Entry::zombi ? &m_head : it.cur;
    Entry* e = newEntry(1, 0);
    link(e, before);
    ++m_rows;
    return Iterator(e);
}

void DataBuffer::deleteRow(const Iterator& it)
{
    Entry* p = it.cur;
    const Entry* head = &m_head;
    VEX_ASSERT(it.cur->type != Entry::zombi && p != head);
    if (p->type != Entry::normal)
        return;
    m_rows -= p->number;
    Entry* before = p->prev;
    unlink(p);
    // The runs on either side may continue each other now.
    Entry* after = before->next;
    if (isPlainRun(before) && isPlainRun(after) && after->dbRow - before->dbRow == before->number)
        paste(before, after);
    if (p->refCount > 0)
        p->type = Entry::zombi;
    else
        delete p;
}

void DataBuffer::reset(int n)
{
    Entry* p = m_head.next;
    while (p != &m_head) {
        Entry* next = p->next;
        unlink(p);
        if (p->refCount > 0) {
            p->type = Entry::zombi;
            p->record = nullptr;
        } else {
            delete p;
        }
        p = next;
    }
    m_rows = 0;
    if (n > 0) {
        link(newEntry(n, 1), &m_head);
        m_rows = n;
    }
}

int DataBuffer::row(const Iterator& it) const
{
    if (!it.cur || it.cur->type != Entry::normal)
        return 0;
    int sum = 0;
    for (const Entry* p = m_head.next; p != &m_head; p = p->next) {
        sum += p->number;
        if (p == it.cur)
            return sum;
    }
    return 0;
}

DataBuffer::Iterator DataBuffer::getIterator(int row)
{
    if (row < 1 || row > m_rows)
        return end();
    int before = 0;
    for (Entry* p = m_head.next; p != &m_head; p = p->next) {
        if (row <= before + p->number)
            return Iterator(map(p, row - before - 1));
        before += p->number;
    }
    return end();
}

void DataBuffer::renumDBRows(int from, int count, int delta)
{
    const int to = from + count;
    Entry* touched = nullptr;
    for (Entry* p = m_head.next; p != &m_head; p = p->next) {
        if (p->dbRow == 0)
            continue;
        const int first = p->dbRow, last = p->dbRow + p->number; // [first, last)
        if (last <= from || first >= to)
            continue;
        if (first < from) { // runs only: a single row lies wholly inside or outside
            split(p, from - first);
            continue;       // the tail comes next
        }
        if (last > to)
            split(p, to - first);
        p->dbRow += delta;
        if (touched)
            unmap(touched);
        touched = p;
    }
    // Rows shifted onto their neighbours' numbers join them again.
    for (Entry* p = m_head.next; p != &m_head;) {
        Entry* next = p->next;
        if (isPlainRun(p) && isPlainRun(next) && next->dbRow - p->dbRow == p->number)
            paste(p, next);
        else
            p = next;
    }
}

void DataBuffer::nextRecord(Iterator& it)
{
    VEX_ASSERT(it.cur->type != Entry::zombi);
    if (it.cur->type == Entry::zombi)
        return;
    Entry* p = it.cur->next;
    while (p->type != Entry::head && !p->record)
        p = p->next;
    Iterator next(p);
    it = next;
}

int DataBuffer::entryCount() const
{
    int n = 0;
    for (const Entry* p = m_head.next; p != &m_head; p = p->next)
        ++n;
    return n;
}

int DataBuffer::checkInvariants() const
{
    long long sum = 0;
    for (const Entry* p = m_head.next;; p = p->next) {
        if (p->next->prev != p || p->prev->next != p)
            return 1;
        if (p == &m_head)
            break;
        if (p->type != Entry::normal || p->number < 1)
            return 1;
        sum += p->number;
        if (p->number > 1 && !isPlainRun(p))
            return 2;
        if (p->refCount > 0 && p->number != 1)
            return 3;
    }
    if (m_head.type != Entry::head || sum != m_rows)
        return 1;
    return 0;
}

} // namespace DataSourceAPI

// DataBuffer: the run-length row index of a query result. A run of untouched cursor rows
// is one entry; a row an iterator stands on, or that holds a record, is an entry of its own.
#pragma once

#include <vexapi/core/api.h>

namespace DataSourceAPI {

// The row index: a circular doubly linked list of entries with a sentinel head.
//
// Ownership: the buffer owns its entries. An entry unlinked by deleteRow while iterators
// still stand on it becomes a `zombi`, owned by those iterators: the last one frees it.
// The `record` pointer is the caller's; the buffer never frees it.
//
// Invariants (checkInvariants returns the number of the first broken one, or 0):
//  1. The links are consistent, the head is the only `head` entry, no `zombi` is linked,
//     and the entries' numbers add up to rowCount().
//  2. An entry with `number` above 1 is a run of cursor rows: no record, `dbRow` above 0,
//     `refCount` 0, type `normal`.
//  3. An entry an iterator stands on has `number` 1: iterators never stand inside a run.
class VEXAPI_API DataBuffer {
public:
    struct Entry {
        enum Type { normal = 0, zombi = 1, head = 2 };
        int number;   // rows in this run
        int dbRow;    // cursor row of the first row of the run; 0 for a row not in the cursor
        void* record; // the caller's record, or null
        int refCount; // iterators at this entry
        Type type;
        Entry* prev;
        Entry* next;
    };

    // A position counted in its entry's refCount. Comparison is by entry.
    class VEXAPI_API Iterator {
    public:
        Iterator() : cur(nullptr) {}
        Iterator(const Iterator& o);
        Iterator& operator=(const Iterator& o);
        ~Iterator() { release(cur); }

        // Step to the next (previous) row, carving it out of its run. Stepping from a
        // zombi entry is refused.
        Iterator& operator++();
        Iterator& operator--();
        bool operator==(const Iterator& o) const { return cur == o.cur; }
        bool operator!=(const Iterator& o) const { return cur != o.cur; }
        bool isNull() const { return cur == nullptr; }

    private:
        friend class DataBuffer;
        explicit Iterator(Entry* e);
        static void release(Entry* e);
        Entry* cur;
    };

    DataBuffer();
    ~DataBuffer();
    DataBuffer(const DataBuffer&) = delete;
    DataBuffer& operator=(const DataBuffer&) = delete;

    Iterator begin();
    Iterator end() { return Iterator(&m_head); }
    // A new row (number 1, dbRow 0) before `it`; returns it.
    Iterator insertRow(const Iterator& it);
    // Unlinks the row; while iterators hold it, it lives on as a zombi.
    void deleteRow(const Iterator& it);
    // Empties the index; for n above 0 the result is one run of n rows from cursor row 1.
    // Records still attached are the caller's to free first.
    void reset(int n);
    // 1-based row of `it`, 0 for end(). Linear in the entries before it.
    int row(const Iterator& it) const;
    // The row `row`, carved out of its run; end() outside 1..rowCount().
    Iterator getIterator(int row);
    // Adds `delta` to dbRow of every cursor row in [from, from + count).
    void renumDBRows(int from, int count, int delta);

    // Steps to the next entry with a record (or to the head) without touching runs.
    static void nextRecord(Iterator& it);
    static void setDBRow(const Iterator& it, int dbRow) { it.cur->dbRow = dbRow; }
    static int getDBRow(const Iterator& it) { return it.cur->dbRow; }
    static void setRecord(const Iterator& it, void* record) { it.cur->record = record; }
    static void* getRecord(const Iterator& it) { return it.cur ? it.cur->record : nullptr; }
    static const Entry* entry(const Iterator& it) { return it.cur; }
    // The sentinel, for walks over the entries that must not touch them.
    const Entry* headEntry() const { return &m_head; }

    int rowCount() const { return m_rows; }
    // Entries on the list, by a walk: for checks and measurements.
    int entryCount() const;
    int checkInvariants() const;

private:
    static Entry* newEntry(int number, int dbRow);
    static void link(Entry* e, Entry* before);
    static void unlink(Entry* e);
    // Carves row i (0-based) out of run p; returns the entry of number 1.
    static Entry* map(Entry* p, int i);
    static void split(Entry* p, int k);
    // Merges p back into the neighbouring runs it continues.
    static void unmap(Entry* p);
    static bool isPlainRun(const Entry* p);
    static void paste(Entry* first, Entry* second);

    Entry m_head;
    int m_rows;
    friend class Iterator;
};

} // namespace DataSourceAPI

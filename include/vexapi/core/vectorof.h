// VectorOf<T>: a growing array made with a starting size and a growth step.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include <vexapi/core/vexassert.h>

// A growing array of T. Capacity starts at `initialSize` and grows by `growStep` elements
// at a time, so its growth is predictable for the small tables the library keeps (50 and
// 50 is the usual pair). Indexes count from 0.
template <class T>
class VectorOf {
public:
    explicit VectorOf(int initialSize = 50, int growStep = 50)
        : m_growStep(growStep > 0 ? growStep : 1)
    {
        m_items.reserve(std::size_t(initialSize > 0 ? initialSize : 0));
    }

    int size() const { return int(m_items.size()); }
    int getCount() const { return size(); }
    bool empty() const { return m_items.empty(); }
    int capacity() const { return int(m_items.capacity()); }
    int growStep() const { return m_growStep; }

    T& operator[](int i) { VEX_ASSERT(i >= 0 && i < size()); return m_items[std::size_t(i)]; }
    const T& operator[](int i) const { VEX_ASSERT(i >= 0 && i < size()); return m_items[std::size_t(i)]; }

    // Appends and gives the new element's index.
    int add(const T& value) { grow(); m_items.push_back(value); return size() - 1; }
    int add(T&& value) { grow(); m_items.push_back(std::move(value)); return size() - 1; }

    // Inserts before index `i` (0..size()).
    void insert(int i, const T& value)
    {
        VEX_ASSERT(i >= 0 && i <= size());
        grow();
        m_items.insert(m_items.begin() + i, value);
    }

    void remove(int i)
    {
        VEX_ASSERT(i >= 0 && i < size());
        m_items.erase(m_items.begin() + i);
    }

    // Index of the first element equal to `value`, or -1.
    int find(const T& value) const
    {
        for (std::size_t i = 0; i < m_items.size(); ++i)
            if (m_items[i] == value)
                return int(i);
        return -1;
    }

    void clear() { m_items.clear(); }

    T* begin() { return m_items.data(); }
    T* end() { return m_items.data() + m_items.size(); }
    const T* begin() const { return m_items.data(); }
    const T* end() const { return m_items.data() + m_items.size(); }

private:
    void grow()
    {
        if (m_items.size() == m_items.capacity())
            m_items.reserve(m_items.capacity() + std::size_t(m_growStep));
    }

    std::vector<T> m_items;
    int m_growStep;
};

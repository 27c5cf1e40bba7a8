// RowNumberIterator: the position of a view whose rows are numbered (lookups, unions).
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/datasource/datasource.h>

namespace DataSourceAPI {

// A row number within the view and the row count when it was made; end() is 0. A step past
// the last row lands on end(), and one back from end() on the last row, so that a walk from
// begin() to end() ends (a bare row number would run on for ever).
class VEXAPI_API RowNumberIterator : public DataSource::IteratorInt {
public:
    RowNumberIterator(int row, int count) : m_row(row), m_count(count) {}
    DataSource::IteratorInt* clone() const override { return new RowNumberIterator(m_row, m_count); }
    bool operator==(const DataSource::IteratorInt& other) const override
    {
        return m_row == static_cast<const RowNumberIterator&>(other).m_row;
    }
    void operator++(int) override { m_row = m_row >= m_count || m_row < 0 ? 0 : m_row + 1; }
    void operator--(int) override
    {
        m_row = m_row <= 0 || m_row > m_count ? (m_row == 0 ? m_count : 0) : m_row - 1;
    }

    int m_row;
    int m_count;
};

} // namespace DataSourceAPI

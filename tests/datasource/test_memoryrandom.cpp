// A randomised run of a MemoryDataSource beside a plain vector model: inserts, deletes,
// moves of the current row, sorts and field writes, compared in full after every step.
#include "dstestutil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

using namespace dstest;

namespace {

typedef DataSource::Iterator Iterator;

const int kTextUnits = 12; // column "s" is 24 bytes: 11 characters and a terminator

// One row of the model. `calc` is what the calculated column must show: 3 * n.
struct Row {
    int id;
    bool nNull;
    VLong n;
    WString s;
    double d;
};

// The source under test: column 4 is calculated from column 1.
class Source : public MemoryDataSource {
public:
    Source()
    {
        addCol(ColInfo(WSTR("id"), tInt, 4));
        addCol(ColInfo(WSTR("n"), tInt, 4));
        addCol(ColInfo(WSTR("s"), tText, 2 * kTextUnits));
        addCol(ColInfo(WSTR("d"), tDouble, 8));
        addCol(ColInfo(WSTR("calc"), tInt, 4));
        setCalculated(5, true);
        initColumns();
    }
    bool calcField(Iterator it, int, void* buf, int, bool* isNull) const override
    {
        bool nNull = false;
        const VLong v = 3 * getFieldInt(it, 2, &nNull);
        *isNull = nNull;
        std::memcpy(buf, &v, 4);
        return true;
    }
};

const int kEnd = -1;

struct Model {
    std::vector<Row> rows;
    int cur = kEnd; // the id of the current row

    int index(int id) const
    {
        for (std::size_t i = 0; i < rows.size(); ++i)
            if (rows[i].id == id)
                return int(i);
        return -1;
    }
    int curRow() const { return cur == kEnd ? 0 : index(cur) + 1; }
};

int compareRows(const Row& a, const Row& b, int column)
{
    switch (column) {
    case 2:
        if (a.nNull || b.nNull)
            return a.nNull == b.nNull ? 0 : a.nNull ? -1 : 1;
        return a.n < b.n ? -1 : a.n > b.n ? 1 : 0;
    case 3: return a.s < b.s ? -1 : a.s > b.s ? 1 : 0;
    case 4: return a.d < b.d ? -1 : a.d > b.d ? 1 : 0;
    default: return a.id < b.id ? -1 : a.id > b.id ? 1 : 0;
    }
}

void check(const Source& ds, const Model& m, int step)
{
    SCOPED_TRACE("step " + std::to_string(step));
    EXPECT_EQ(ds.checkInvariants(), 0);
    ASSERT_EQ(ds.rowCount(), int(m.rows.size()));
    ASSERT_EQ(ds.getCurRow(), m.curRow());
    if (m.cur != kEnd) {
        ASSERT_EQ(ds.getFieldInt(ds.getCurIterator(), 1), m.cur);
    } else {
        ASSERT_TRUE(ds.getCurIterator() == ds.end());
    }
    int i = 0;
    const Iterator stop = ds.end();
    for (Iterator it = ds.begin(); it != stop; ++it, ++i) {
        ASSERT_LT(i, int(m.rows.size()));
        const Row& r = m.rows[std::size_t(i)];
        ASSERT_EQ(ds.iterator2row(it), i + 1);
        ASSERT_EQ(ds.getFieldInt(it, 1), r.id);
        bool isNull = false;
        const VLong n = ds.getFieldInt(it, 2, &isNull);
        ASSERT_EQ(isNull, r.nNull);
        if (!r.nNull) {
            ASSERT_EQ(n, r.n);
        }
        WChar s[kTextUnits];
        ds.getFieldText(it, 3, s, sizeof s);
        ASSERT_EQ(WString(s), r.s);
        ASSERT_EQ(ds.getFieldDouble(it, 4), r.d);
        const VLong calc = ds.getFieldInt(it, 5, &isNull);
        ASSERT_EQ(isNull, r.nNull);
        if (!r.nNull) {
            ASSERT_EQ(calc, 3 * r.n);
        }
    }
    ASSERT_EQ(i, int(m.rows.size()));
}

} // namespace

TEST(MemoryDataSourceRandom, AgreesWithAVectorModel)
{
    std::mt19937 rng(20240229);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    Source ds;
    Model m;
    int nextId = 1;

    for (int step = 0; step < 4000; ++step) {
        const int size = int(m.rows.size());
        const int op = pick(0, 99);
        if (op < 22) {
            // Insert before a random row, or at the end.
            const int at = pick(0, size);
            Iterator before = at == size ? ds.end() : ds.row2iterator(at + 1);
            Iterator it = ds.insertRow(before);
            Row r{nextId++, false, 0, WString(), 0.0};
            ds.setFieldInt(it, 1, r.id);
            m.rows.insert(m.rows.begin() + at, r);
        } else if (op < 36 && size > 0) {
            // Delete; the current row moves on, or back from the end.
            const int at = pick(0, size - 1);
            ds.deleteRow(ds.row2iterator(at + 1));
            const int id = m.rows[std::size_t(at)].id;
            if (m.cur == id)
                m.cur = at + 1 < size ? m.rows[std::size_t(at + 1)].id : kEnd;
            m.rows.erase(m.rows.begin() + at);
            if (m.cur == kEnd && !m.rows.empty())
                m.cur = m.rows.back().id;
        } else if (op < 46) {
            // setCurRow, in and out of range.
            const int n = pick(-1, size + 1);
            ds.setCurRow(n);
            if (n >= 1 && n <= size)
                m.cur = m.rows[std::size_t(n - 1)].id;
        } else if (op < 52) {
            const int n = pick(0, size + 1);
            ds.setCurIterator(ds.row2iterator(n));
            m.cur = n >= 1 && n <= size ? m.rows[std::size_t(n - 1)].id : kEnd;
        } else if (op < 62) {
            const int move = pick(0, 3);
            const int at = m.cur == kEnd ? size : m.index(m.cur);
            int target = -1;
            if (move == 0) {
                ds.toFirst();
                target = size > 0 ? 0 : -1;
            } else if (move == 1) {
                ds.toLast();
                target = size > 0 ? size - 1 : -1;
            } else if (move == 2) {
                ds.toNext();
                // From the end a step forward is the first row.
                const int next = at == size ? 0 : at + 1;
                target = next < size ? next : -1;
            } else {
                ds.toPrev();
                const int prev = at == 0 ? size : at - 1;
                target = prev < size ? prev : -1;
            }
            if (target >= 0)
                m.cur = m.rows[std::size_t(target)].id;
        } else if (op < 68) {
            const int column = pick(2, 4);
            const bool ascending = pick(0, 1) == 1;
            ds.sort(column, ascending);
            std::stable_sort(m.rows.begin(), m.rows.end(), [&](const Row& a, const Row& b) {
                const int r = compareRows(a, b, column);
                return ascending ? r < 0 : r > 0;
            });
        } else if (op < 70) {
            ds.retrieve();
            m.cur = m.rows.empty() ? kEnd : m.rows.front().id;
        } else if (size > 0) {
            // Write a field of a random row.
            const int at = pick(0, size - 1);
            Iterator it = ds.row2iterator(at + 1);
            Row& r = m.rows[std::size_t(at)];
            const int what = pick(0, 3);
            if (what == 0) {
                r.n = pick(-50, 50);
                r.nNull = pick(0, 4) == 0;
                ds.setFieldInt(it, 2, r.n, r.nNull);
                ds.invalidateField(it, 5);
            } else if (what == 1) {
                // A number written as text, through the conversion.
                r.n = pick(-1000, 1000);
                r.nNull = false;
                ASSERT_TRUE(ds.setFieldText(it, 2, W(std::to_string(r.n).c_str()).c_str()));
                ds.invalidateRow(it);
            } else if (what == 2) {
                std::string text(std::size_t(pick(0, 16)), 'a');
                for (char& c : text)
                    c = char('a' + pick(0, 5));
                ds.setFieldText(it, 3, W(text.c_str()).c_str());
                r.s = W(text.substr(0, kTextUnits - 1).c_str()); // cut to the column
            } else {
                r.d = pick(-100, 100) / 4.0;
                ds.setFieldDouble(it, 4, r.d);
            }
        }
        check(ds, m, step);
        if (HasFatalFailure())
            return;
    }
}

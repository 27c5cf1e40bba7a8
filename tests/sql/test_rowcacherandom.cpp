// The row cache against a plain model: thousands of random visits, changes, inserts,
// deletes, walks, commits, failed writes and rollbacks, checked after every step.
#include "stubreader.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace sqltest;

namespace {

struct ModelRow {
    int dbRow;
    int id;
    int org; // the original value; 0 for a row never written
    RowState state;
};

struct ModelDeleted {
    int dbRow;
    int org;
};

class RowCacheModel {
public:
    explicit RowCacheModel(int n)
    {
        ds.reset(n);
        for (int r = 1; r <= n; ++r)
            rows.push_back(ModelRow{r, r, r, Original});
    }

    // Journals the changes as a database source would; false when it stops after `failAfter`.
    bool write(int failAfter) { return writeChanges(ds, failAfter); }

    void commitModel()
    {
        for (ModelRow& m : rows) {
            if (m.state == Original)
                continue;
            m.state = Original;
            m.org = m.id;
            if (m.dbRow > 0)
                ds.db[m.dbRow] = m.id; // what the database holds now
        }
        deleted.clear();
    }

    void checkCounts(int step)
    {
        int ins = 0, upd = 0;
        std::vector<std::pair<int, int>> changed; // (state, id) in row order
        for (const ModelRow& m : rows) {
            ins += m.state == Inserted;
            upd += m.state == Modified;
            if (m.state != Original)
                changed.emplace_back(m.state, m.id);
        }
        ASSERT_EQ(ds.checkInvariants(), 0) << "step " << step;
        ASSERT_EQ(ds.rowCount(), int(rows.size())) << "step " << step;
        ASSERT_EQ(ds.insCount(), ins) << "step " << step;
        ASSERT_EQ(ds.updCount(), upd) << "step " << step;
        ASSERT_EQ(ds.delCount(), int(deleted.size())) << "step " << step;
        std::vector<std::pair<int, int>> found;
        LowMemoryDS::Iterator it = ds.end();
        for (ds.nextChangedRow(it); it != ds.end(); ds.nextChangedRow(it)) {
            ds.lock(it, StubDS::colId);
            found.emplace_back(ds.rowState(it), readInt(ds(it, StubDS::colId)));
            ds.unlock(it);
        }
        ASSERT_EQ(found, changed) << "step " << step;
    }

    void checkRow(const LowMemoryDS::Iterator& it, const ModelRow& m, int step)
    {
        ds.lock(it, StubDS::colId);
        ASSERT_EQ(readInt(ds(it, StubDS::colId)), m.id) << "step " << step;
        ASSERT_EQ(readInt(ds.orgField(it, 1)), m.org) << "step " << step;
        ASSERT_EQ(ds.getDBRow(it), m.dbRow) << "step " << step;
        ds.unlock(it);
        ASSERT_EQ(ds.rowState(it), m.state) << "step " << step;
    }

    void checkAll(int step)
    {
        LowMemoryDS::Iterator it = ds.begin();
        for (const ModelRow& m : rows) {
            ASSERT_TRUE(it != ds.end()) << "step " << step;
            checkRow(it, m, step);
            ++it;
        }
        ASSERT_TRUE(it == ds.end()) << "step " << step;
        for (int i = 1; i <= int(deleted.size()); ++i) {
            ASSERT_EQ(ds.deletedDBRow(i), deleted[std::size_t(i - 1)].dbRow) << "step " << step;
            ASSERT_EQ(readInt(ds.deletedOrgField(i, 1)), deleted[std::size_t(i - 1)].org)
                << "step " << step;
        }
    }

    StubDS ds;
    std::vector<ModelRow> rows;
    std::vector<ModelDeleted> deleted;
};

TEST(RowCacheRandomTest, AgreesWithAPlainModel)
{
    std::mt19937 rng(20240611);
    RowCacheModel model(600);
    auto pick = [&](int n) { return int(rng() % unsigned(n)); };
    int nextValue = 1000000;
    for (int step = 0; step < 6000; ++step) {
        const int op = pick(100);
        const int n = int(model.rows.size());
        StubDS& ds = model.ds;
        if (op < 35 && n > 0) { // visit
            const int r = pick(n);
            model.checkRow(ds.row2iterator(r + 1), model.rows[std::size_t(r)], step);
        } else if (op < 55 && n > 0) { // modify
            const int r = pick(n);
            ModelRow& m = model.rows[std::size_t(r)];
            ds.setId(ds.row2iterator(r + 1), ++nextValue);
            m.id = nextValue;
            if (m.state == Original)
                m.state = Modified;
        } else if (op < 65) { // insert
            const int r = pick(n + 1);
            LowMemoryDS::Iterator at = r < n ? ds.row2iterator(r + 1) : ds.end();
            ds.setId(ds.insertRow(at), ++nextValue);
            model.rows.insert(model.rows.begin() + r, ModelRow{0, nextValue, 0, Inserted});
        } else if (op < 75 && n > 0) { // delete
            const int r = pick(n);
            const ModelRow m = model.rows[std::size_t(r)];
            ds.deleteRow(ds.row2iterator(r + 1));
            if (m.state != Inserted)
                model.deleted.push_back(ModelDeleted{m.dbRow, m.org});
            model.rows.erase(model.rows.begin() + r);
        } else if (op < 88 && n > 0) { // walk forward or back
            const int r = pick(n);
            const int len = 1 + pick(60);
            LowMemoryDS::Iterator it = ds.row2iterator(r + 1);
            const bool back = pick(2) == 0;
            for (int i = r; i >= 0 && i < n && i != r + (back ? -len : len); back ? --i : ++i) {
                ASSERT_EQ(ds.iterator2row(it), i + 1);
                model.checkRow(it, model.rows[std::size_t(i)], step);
                if (back)
                    --it;
                else
                    ++it;
            }
        } else if (op < 93) { // commit
            ASSERT_TRUE(model.write(-1));
            ds.commitDS();
            model.commitModel();
        } else if (op < 97) { // a write that fails part way
            model.write(pick(4));
            ds.rollbackDS();
        } else { // a whole write, rolled back
            ASSERT_TRUE(model.write(-1));
            ds.rollbackDS();
        }
        model.checkCounts(step);
        if (HasFatalFailure())
            return;
        if (step % 200 == 0) {
            model.checkAll(step);
            if (HasFatalFailure())
                return;
        }
    }
    model.checkAll(-1);
}

} // namespace

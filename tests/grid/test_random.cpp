// A randomised run of moves, edits, inserts and deletes on a memory data set, with and
// without a row cache, checked against a plain vector after every step.
#include "gridtest.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

struct ModelRow {
    std::int32_t id;
    std::string note;
};

void* makeImage(aCMemoryDataSet& ds, const ModelRow& r)
{
    void* image = std::calloc(std::size_t(ds.GetDataSize(szDataTiled)), 1);
    unsigned char* p = static_cast<unsigned char*>(image);
    std::memcpy(p + ds.GetColOffset(1, szDataTiled), &r.id, 4);
    unsigned char* text = p + ds.GetColOffset(5, szDataTiled);
    for (std::size_t i = 0; i < r.note.size() && i < 40; ++i) {
        const WChar c = WChar(r.note[i]);
        std::memcpy(text + 2 * i, &c, 2);
    }
    return image;
}

void runModel(unsigned seed, bool nullFlags)
{
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    aCMemoryDataSet ds;
    ds.SetNullFlags(nullFlags);
    ds.SetExceptionFlag(false);
    addTypicalColumns(ds);
    std::vector<ModelRow> model;
    VLong cur = 1;
    int nextId = 1;

    for (int step = 0; step < 4000; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        const int n = int(model.size());
        const int op = pick(0, 99);
        if (op < 25) { // insert
            const int at = pick(0, n + 2);
            ModelRow r{nextId++, "n" + std::to_string(pick(0, 99999))};
            void* image = makeImage(ds, r);
            const int res = ds.AddRow(image, at);
            if (at > n + 1) {
                EXPECT_EQ(res, apsErrNoRow);
                std::free(image);
            } else {
                ASSERT_EQ(res, 0);
                model.insert(model.begin() + (at == 0 ? n : at - 1), r);
                if (n == 0)
                    cur = 1;
            }
        } else if (op < 40) { // delete
            if (n == 0)
                continue;
            const int at = pick(1, n);
            ASSERT_EQ(ds.DeleteRow(at), 0);
            model.erase(model.begin() + at - 1);
            cur = std::max<VLong>(1, std::min<VLong>(at, VLong(model.size())));
        } else if (op < 70) { // move
            const int dir = pick(1, 5);
            const int row = pick(-1, n + 2);
            const int res = ds.MoveToRow(dir, row);
            if (n == 0) {
                EXPECT_EQ(res, 0);
                continue;
            }
            VLong target = dir == dirNext ? cur + 1 : dir == dirPrev ? cur - 1
                         : dir == dirFirst ? 1 : dir == dirLast ? n : row;
            if (target < 1 || target > n) {
                EXPECT_EQ(res, apsErrNoRow);
                EXPECT_EQ(ds.GetError(), apsErrNoRow);
            } else {
                EXPECT_EQ(res, 0);
                cur = target;
            }
        } else if (op < 90) { // edit the current row
            if (n == 0)
                continue;
            ModelRow& r = model[std::size_t(cur - 1)];
            if (pick(0, 1)) {
                r.id = pick(-100000, 100000);
                ASSERT_EQ(ds.SetColDataFromText(1, W(std::to_string(r.id).c_str()).c_str()), 0);
            } else {
                r.note = std::string(std::size_t(pick(0, 45)), char('a' + pick(0, 25)));
                ASSERT_EQ(ds.SetColDataFromText(5, W(r.note.c_str()).c_str()), 0);
                if (r.note.size() > 40)
                    r.note.resize(40);
            }
        } else if (op < 95) { // a cache comes and goes
            ds.SetCash(pick(0, 7));
        } else if (op < 98 && n >= 2) {
            const int a = pick(1, n), b = pick(1, n);
            ASSERT_TRUE(ds.SwapRow(a, b));
            std::swap(model[std::size_t(a - 1)], model[std::size_t(b - 1)]);
        }
        ASSERT_EQ(ds.GetRowCount(), VLong(model.size()));
        ASSERT_EQ(ds.checkInvariants(), 0);
        if (!model.empty()) {
            ASSERT_EQ(ds.GetCurRow(), cur);
            ds.MoveToRow(dirAbsolute, cur);
            ASSERT_EQ(cellText(ds, 1), std::to_string(model[std::size_t(cur - 1)].id));
            ASSERT_EQ(cellText(ds, 5), model[std::size_t(cur - 1)].note);
        }
        if (step % 500 == 499) {
            for (std::size_t i = 0; i < model.size(); ++i) {
                ds.MoveToRow(dirAbsolute, VLong(i + 1));
                ASSERT_EQ(cellText(ds, 1), std::to_string(model[i].id));
                ASSERT_EQ(cellText(ds, 5), model[i].note);
            }
            if (!model.empty())
                ds.MoveToRow(dirAbsolute, cur);
        }
    }
}

} // namespace

TEST(GridRandom, MemoryDataSetAgainstAVector) { runModel(19, false); }
TEST(GridRandom, MemoryDataSetWithNullFlagsAgainstAVector) { runModel(2026, true); }

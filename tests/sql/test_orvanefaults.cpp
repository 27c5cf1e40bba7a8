// The write path under failure: the client layer's fault switch fails the Nth call of an
// update() that deletes, updates and inserts, for every N, by key and through the cursor.
// The database must hold all of the batch or none of it, the source every pending change,
// and a second update() after the fault must write it all.
#include "orvanesupport.h"

namespace orvanetest {
namespace {

using OrvCPP::FaultInjection;
using OrvCPP::OrvX;

const int tableRows = 400; // more than the row cache keeps, so rows are read again

// The edits of every run: three updates, four deletes (enough for the prepared delete),
// four inserts (enough for the prepared insert). Returns the table expected afterwards.
std::vector<Item> applyEdits(OrvaneDS& ds)
{
    std::map<int, Item> model;
    for (int i = 1; i <= tableRows; ++i)
        model[i] = Item(i, "item" + std::to_string(i), i * 10);
    for (int row : {3, 200, 399}) {
        LowMemoryDS::Iterator it = ds.row2iterator(row);
        setText(ds, it, 2, ("upd" + std::to_string(row)).c_str());
        setInt(ds, it, 3, row + 7);
        model[row] = Item(row, "upd" + std::to_string(row), row + 7);
    }
    for (int row : {390, 250, 120, 5}) {
        ds.deleteRow(ds.row2iterator(row));
        model.erase(row);
    }
    for (int k = 1; k <= 4; ++k) {
        LowMemoryDS::Iterator it = ds.insertRow(ds.end());
        setText(ds, it, 2, ("new" + std::to_string(k)).c_str());
        setInt(ds, it, 3, k);
        model[tableRows + k] = Item(tableRows + k, "new" + std::to_string(k), k);
    }
    std::vector<Item> out;
    for (auto& m : model)
        out.push_back(m.second);
    return out;
}

// What the source shows, every row read (most of them again from the cursor), against the
// expected table; inserted rows show no id (the server gave it).
void expectSourceShows(OrvaneDS& ds, const std::vector<Item>& expected)
{
    ASSERT_EQ(ds.rowCount(), int(expected.size()));
    std::map<int, Item> byId;
    std::multiset<std::pair<std::string, int>> inserted;
    for (const Item& i : expected) {
        if (std::get<0>(i) > tableRows)
            inserted.insert(std::make_pair(std::get<1>(i), std::get<2>(i)));
        else
            byId[std::get<0>(i)] = i;
    }
    // Backwards first, so that the rows met first are no longer in the row cache.
    for (int pass = 0; pass < 2; ++pass) {
        std::multiset<std::pair<std::string, int>> seenInserted;
        for (int k = 1; k <= ds.rowCount(); ++k) {
            const int row = pass == 0 ? ds.rowCount() + 1 - k : k;
            bool null = false;
            const int id = getInt(ds, row, 1, &null);
            const std::string name = getText(ds, row, 2);
            const int qty = getInt(ds, row, 3);
            if (null) {
                seenInserted.insert(std::make_pair(name, qty));
                continue;
            }
            auto found = byId.find(id);
            ASSERT_NE(found, byId.end()) << "row " << row << " shows id " << id;
            EXPECT_EQ(std::get<1>(found->second), name) << "row " << row;
            EXPECT_EQ(std::get<2>(found->second), qty) << "row " << row;
        }
        EXPECT_EQ(seenInserted, inserted);
    }
}

class OrvaneFaultMatrix : public ::testing::TestWithParam<OrvaneDS::UpdateMode> {};

void runMatrix(OrvaneDS::UpdateMode mode);

TEST_P(OrvaneFaultMatrix, EveryFailingCallLeavesAllOrNothingAndTheChangesPending)
{
    try {
        runMatrix(GetParam());
    } catch (const OrvaneDS::OrvaneDSError& e) {
        FAIL() << message(e);
    }
}

void runMatrix(OrvaneDS::UpdateMode mode)
{
    int failedRuns = 0;
    bool finished = false;
    for (int n = 1; n < 200 && !finished; ++n) {
        SCOPED_TRACE("failing call " + std::to_string(n));
        OrvConnect c(nullptr, nullptr, ":memory:");
        makeItems(c, tableRows);
        const std::vector<Item> before = tableItems(c);

        OrvaneDS ds;
        ds.create(c, W("select id, name, qty from items").c_str());
        ds.setUpdateMode(mode);
        if (mode == OrvaneDS::byKey)
            ds.setPrimaryKeysAsKey();
        ds.retrieve();
        const std::vector<Item> expected = applyEdits(ds);
        ASSERT_EQ(ds.insCount(), 4);
        ASSERT_EQ(ds.updCount(), 3);
        ASSERT_EQ(ds.delCount(), 4);

        FaultInjection::arm(n, OrvX::client(OrvCPP::orvapiServer, "injected failure"), OrvCPP::faultAll);
        bool failed = false;
        try {
            ds.update();
            ds.commitDB();
            ds.commitDS();
        } catch (const OrvaneDS::OrvaneDSError& e) {
            failed = true;
            EXPECT_EQ(e.code(), 0);
            EXPECT_EQ(message(e).substr(0, 16), "injected failure");
        }
        const VLong injected = FaultInjection::failures();
        FaultInjection::disarm();

        if (!failed) {
            // N is past the last call: the whole run went through.
            EXPECT_EQ(injected, 0);
            EXPECT_EQ(tableItems(c), expected);
            EXPECT_FALSE(ds.isModify());
            expectSourceShows(ds, expected);
            finished = true;
            break;
        }
        ++failedRuns;
        ds.rollbackDB();
        ds.rollbackDS();
        EXPECT_EQ(tableItems(c), before);
        EXPECT_EQ(ds.insCount(), 4);
        EXPECT_EQ(ds.updCount(), 3);
        EXPECT_EQ(ds.delCount(), 4);
        EXPECT_EQ(ds.checkInvariants(), 0);

        ds.update();
        ds.commitDB();
        ds.commitDS();
        EXPECT_EQ(tableItems(c), expected);
        EXPECT_FALSE(ds.isModify());
        expectSourceShows(ds, expected);
        if (::testing::Test::HasFailure())
            return;
    }
    EXPECT_TRUE(finished);
    // Every call of the write was failed once.
    EXPECT_GT(failedRuns, 10);
    std::printf("fault matrix (%s): %d failing calls, each recovered\n",
                mode == OrvaneDS::byKey ? "by key" : "current of", failedRuns);
}

INSTANTIATE_TEST_SUITE_P(Modes, OrvaneFaultMatrix, ::testing::Values(OrvaneDS::currentOf, OrvaneDS::byKey),
                         [](const ::testing::TestParamInfo<OrvaneDS::UpdateMode>& info) {
                             return std::string(info.param == OrvaneDS::byKey ? "ByKey" : "CurrentOf");
                         });

} // namespace
} // namespace orvanetest

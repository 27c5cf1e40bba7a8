// A randomised run (fixed seed) of edits and writes through the cursor-backed source against
// a model table: after every write the table and what the source shows must be the model.
#include "orvanesupport.h"

#include <random>

namespace orvanetest {
namespace {

// A model row: the name (unique, so it tells rows apart) and the quantity.
typedef std::pair<std::string, int> Row;

std::vector<Row> sourceRows(OrvaneDS& ds)
{
    std::vector<Row> out;
    for (int r = 1; r <= ds.rowCount(); ++r)
        out.emplace_back(getText(ds, r, 2), getInt(ds, r, 3));
    return out;
}

std::multiset<Row> tableRows(const OrvConnect& c)
{
    std::multiset<Row> out;
    for (const Item& i : tableItems(c))
        out.emplace(std::get<1>(i), std::get<2>(i));
    return out;
}

class OrvaneRandom : public ::testing::TestWithParam<OrvaneDS::UpdateMode> {};

TEST_P(OrvaneRandom, EditsAndWritesAgainstAModel)
{
    std::mt19937 random(20261124);
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 600);
    OrvaneDS ds;
    ds.create(c, W("select id, name, qty from items").c_str());
    ds.setUpdateMode(GetParam());
    ds.setPrimaryKeysAsKey();
    ds.retrieve();
    std::vector<Row> model;
    for (int i = 1; i <= 600; ++i)
        model.emplace_back("item" + std::to_string(i), i * 10);
    int fresh = 0;
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        bool inserted = false;
        const int edits = 1 + int(random() % 12);
        for (int e = 0; e < edits; ++e) {
            const int kind = int(random() % 3);
            const int row = 1 + int(random() % std::uint32_t(model.size()));
            if (kind == 0) {
                const std::string name = "edit" + std::to_string(++fresh);
                const int qty = int(random() % 1000);
                LowMemoryDS::Iterator it = ds.row2iterator(row);
                setText(ds, it, 2, name.c_str());
                setInt(ds, it, 3, qty);
                model[std::size_t(row - 1)] = Row(name, qty);
            } else if (kind == 1 && model.size() > 50) {
                ds.deleteRow(ds.row2iterator(row));
                model.erase(model.begin() + (row - 1));
            } else {
                const std::string name = "new" + std::to_string(++fresh);
                const int qty = int(random() % 1000);
                LowMemoryDS::Iterator it = ds.insertRow(ds.row2iterator(row));
                setText(ds, it, 2, name.c_str());
                setInt(ds, it, 3, qty);
                model.insert(model.begin() + (row - 1), Row(name, qty));
                inserted = true;
            }
        }
        ds.update();
        ds.commitDB();
        ds.commitDS();
        ASSERT_EQ(ds.checkInvariants(), 0);
        ASSERT_EQ(tableRows(c), std::multiset<Row>(model.begin(), model.end()));
        ASSERT_EQ(sourceRows(ds), model);
        if (inserted) {
            // Rows the server keyed are written only by a new run of the select; the
            // model takes the table's order then.
            ds.retrieve();
            model.clear();
            for (const Item& i : tableItems(c))
                model.emplace_back(std::get<1>(i), std::get<2>(i));
            ASSERT_EQ(sourceRows(ds), model);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, OrvaneRandom, ::testing::Values(OrvaneDS::currentOf, OrvaneDS::byKey),
                         [](const ::testing::TestParamInfo<OrvaneDS::UpdateMode>& info) {
                             return std::string(info.param == OrvaneDS::byKey ? "ByKey" : "CurrentOf");
                         });

} // namespace
} // namespace orvanetest

// Cursor-backed source: column description, key discovery, reading, the generated writes,
// the batch rule, procedures and the error texts.
#include "orvanesupport.h"

namespace orvanetest {
namespace {

TEST(OrvaneDSRead, ReadsTheRowsOfASelect)
{
    OrvConnect c(nullptr, nullptr, ":memory:");
    makeItems(c, 300);
    OrvaneDS ds;
    try {
        ds.create(c, W("select id, name, qty from items").c_str());
        ds.retrieve();
        ASSERT_EQ(ds.rowCount(), 300);
        EXPECT_EQ(getInt(ds, 1, 1), 1);
        EXPECT_EQ(getText(ds, 2, 2), "item2");
        EXPECT_EQ(getInt(ds, 300, 3), 3000);
    } catch (const OrvaneDS::OrvaneDSError& e) {
        FAIL() << message(e);
    }
}

} // namespace
} // namespace orvanetest

// Text conversion of every type both ways, formats, stamps, clipping and the text errors.
#include "gridtest.h"

#include <vexapi/values/qvarn.h>

#include <gtest/gtest.h>

namespace {

struct TextCase {
    int type;
    VLong size;
    const char* format; // null: the type's default
    const char* in;
    const char* out;    // the text read back
};

std::string roundTrip(const TextCase& c, int* status = nullptr)
{
    aCColumn col(W("c").c_str(), c.type, c.size, c.format ? W(c.format).c_str() : nullptr);
    unsigned char data[128] = {};
    const int s = TextToData(&col, data, W(c.in).c_str(), int(col.type == apsChar ? col.size + 1 : col.type == apsWide ? col.size : 42));
    if (status)
        *status = s;
    WChar text[400];
    DataToText(&col, text, data, 400);
    return U(text);
}

} // namespace

TEST(GridText, EveryTypeBothWays)
{
    const TextCase cases[] = {
        {apsChar, 10, nullptr, "hello", "hello"},
        {apsChar, 3, nullptr, "hello", "hel"},
        {apsWide, 20, nullptr, "wide text", "wide text"},
        {apsShort, 0, nullptr, "-1234", "-1234"},
        {apsLong, 0, nullptr, "2147483647", "2147483647"},
        {apsLong, 0, "%05d", "42", "00042"},
        {apsLong, 0, "%x", "255", "ff"},
        {apsFloat, 0, nullptr, "1.5", "1.5000000"},
        {apsDouble, 0, nullptr, "0.1", "0.1"},
        {apsDouble, 0, "%.2f", "3.14159", "3.14"},
        {apsDouble, 0, nullptr, "-1e300", "-1e+300"},
        {apsByte, 0, nullptr, "200", "200"},
        {apsInt64, 0, nullptr, "-9223372036854775807", "-9223372036854775807"},
        {apsBool, 0, nullptr, "TRUE", "TRUE"},
        {apsBool, 0, nullptr, "true", "TRUE"},
        {apsBool, 0, nullptr, "FALSE", "FALSE"},
        {apsDate, 0, nullptr, "29.02.2024:13:05:09.07", "29.02.2024:13:05:09.07"},
        {apsDate, 0, "yyyy-mm-dd", "2023-12-31", "2023-12-31"},
        {apsDate, 0, "dd/mm/yyyy hh:mi", "01/02/2024 10:30", "01/02/2024 10:30"},
        {apsDecimal, 0, nullptr, "-12.50", "-12.50"},
        {apsDecimal, 0, nullptr, "123456789012345678901234567890.123", "123456789012345678901234567890.123"},
        {apsBinary, 3, nullptr, "0aff10", "0AFF10"},
    };
    for (const TextCase& c : cases) {
        SCOPED_TRACE(std::string(c.in) + " type " + std::to_string(c.type));
        int status = -1;
        EXPECT_EQ(roundTrip(c, &status), c.out);
        EXPECT_EQ(status, 0);
    }
}

TEST(GridText, TextThatIsNoValueIsReported)
{
    const TextCase bad[] = {
        {apsLong, 0, nullptr, "12x", "12"},          // strtol's reading, but reported
        {apsLong, 0, nullptr, "99999999999", "2147483647"},
        {apsShort, 0, nullptr, "abc", "0"},
        {apsDouble, 0, nullptr, "1.5.2", "1.5"},
        {apsDecimal, 0, nullptr, "1,5", ""},          // an invalid decimal prints nothing
        {apsDate, 0, nullptr, "31.02.2024:00:00:00.00", "01.01.0001:00:00:00.00"},
        {apsBool, 0, nullptr, "yes", "FALSE"},
        {apsBinary, 2, nullptr, "zz", "0000"},
    };
    for (const TextCase& c : bad) {
        SCOPED_TRACE(c.in);
        int status = 0;
        EXPECT_EQ(roundTrip(c, &status), c.out);
        EXPECT_EQ(status, 1);
    }
}

TEST(GridText, FormatsThatDoNotSuitTheTypeFallBackToTheDefault)
{
    // "%s" would read a pointer that was never passed; "%d %d" two integers.
    const TextCase cases[] = {
        {apsLong, 0, "%s", "7", "7"},
        {apsLong, 0, "%d %d", "7", "7"},
        {apsDouble, 0, "%d", "2.5", "2.5"},
        {apsLong, 0, "%ld items", "7", "7 items"},
        {apsInt64, 0, "%lld", "-5", "-5"},
        {apsLong, 0, "%*d", "7", "7"},
        {apsLong, 0, "100%% %d", "7", "100% 7"},
    };
    for (const TextCase& c : cases) {
        SCOPED_TRACE(c.format);
        EXPECT_EQ(roundTrip(c), c.out);
    }
}

TEST(GridText, DateFormatIsShortenedToTheTextsHalf)
{
    aCColumn col(W("d").c_str(), apsDate, 0, W("dd/mm/yyyy:hh:mi").c_str());
    OrvCPP::OrvDate d;
    // The format has '/' and the text's ':' count differs: the date half is used.
    ASSERT_EQ(TextToData(&col, &d, W("05/06/2024").c_str(), 24), 0);
    EXPECT_EQ(d, OrvCPP::OrvDate(2024, 6, 5));
    ASSERT_EQ(TextToData(&col, &d, W("05/06/2024:07:08").c_str(), 24), 0);
    EXPECT_EQ(d, OrvCPP::OrvDate(2024, 6, 5, 7, 8));
    // No '/' in the format: a text without '/' is read from the first ':' on when the '/'
    // counts differ, which they do not here.
    aCColumn dflt(W("d").c_str(), apsDate);
    EXPECT_EQ(TextToData(&dflt, &d, W("05.06.2024").c_str(), 24), 1);
    aCColumn mixed(W("d").c_str(), apsDate, 0, W("dd.mm.yyyy:hh:mi").c_str());
    EXPECT_EQ(TextToData(&mixed, &d, W("1/2/3").c_str(), 24), 1);
}

TEST(GridText, TextPointerColumnsReadTheirTarget)
{
    aCColumn col(W("p").c_str(), apsTextPtr);
    WChar target[8] = {'a', 'b', 'c', 0};
    WChar* p = target;
    WChar out[16];
    DataToText(&col, out, &p, 16);
    EXPECT_EQ(U(out), "abc");
    EXPECT_EQ(TextToData(&col, &p, W("xyzzy").c_str(), 4), 0); // 3 characters fit
    EXPECT_EQ(U(target), "xyz");
    WChar* none = nullptr;
    EXPECT_EQ(TextToData(&col, &none, W("x").c_str(), 4), 1);
    DataToText(&col, out, &none, 16);
    EXPECT_EQ(U(out), "");
}

class GridTextDataSet : public ::testing::Test {
protected:
    void SetUp() override
    {
        addTypicalColumns(ds);
        ds.AddRow();
        ds.MoveToRow(dirFirst);
    }
    aCMemoryDataSet ds;
};

TEST_F(GridTextDataSet, CellsThroughText)
{
    const char* texts[] = {"17", "2.25", "01.03.2025:08:00:00.00", "99.95", "A note"};
    for (int c = 1; c <= 5; ++c)
        EXPECT_EQ(ds.SetColDataFromText(c, W(texts[c - 1]).c_str()), 0);
    for (int c = 1; c <= 5; ++c)
        EXPECT_EQ(cellText(ds, c), texts[c - 1]);
    std::int32_t id;
    ds.GetColData(1, &id);
    EXPECT_EQ(id, 17);
}

TEST_F(GridTextDataSet, SpaceClipModes)
{
    ds.SetColDataFromText(5, W("  pad  ").c_str());
    const char* expected[] = {"  pad  ", "pad", "pad  ", "  pad"};
    for (int mode = 0; mode < 4; ++mode) {
        ds.SetSpaceClipMode(mode);
        EXPECT_EQ(cellText(ds, 5), expected[mode]) << mode;
    }
}

TEST_F(GridTextDataSet, InvalidTextIsRefusedWithErrorEight)
{
    ds.SetColDataFromText(1, W("5").c_str());
    ds.SetExceptionFlag(false);
    EXPECT_EQ(ds.SetColDataFromText(1, W("five").c_str()), 1);
    EXPECT_EQ(ds.GetError(), apsErrInvalidText);
    EXPECT_EQ(cellText(ds, 1), "5"); // the old value stays
    ds.SetExceptionFlag(true);
    EXPECT_EQ(failureOf([&] { ds.SetColDataFromText(1, W("five").c_str()); }), apsFailInvalidText);
    ds.GetColumn(1)->textValidator = [](const aCColumn*, const WChar* t) { return t[0] != '9'; };
    EXPECT_EQ(failureOf([&] { ds.SetColDataFromText(1, W("9").c_str()); }), apsFailInvalidText);
    ds.SetExceptionFlag(false);
    EXPECT_EQ(ds.SetColDataFromText(1, nullptr), 0);
}

TEST_F(GridTextDataSet, InvalidDataIsRefusedWithErrorSeven)
{
    ds.GetColumn(1)->dataValidator = [](const aCColumn*, const void* d) {
        std::int32_t v;
        std::memcpy(&v, d, 4);
        return v >= 0;
    };
    std::int32_t v = -1;
    EXPECT_EQ(failureOf([&] { ds.SetColData(1, &v); }), apsFailInvalidData);
    ds.SetExceptionFlag(false);
    EXPECT_EQ(ds.SetColData(1, &v), 1);
    EXPECT_EQ(ds.GetError(), apsErrInvalidData);
    ds.SetValidate(false);
    EXPECT_EQ(ds.SetColData(1, &v), 0);
    EXPECT_EQ(cellText(ds, 1), "-1");
    ds.SetUpdatable(1, false);
    v = 3;
    EXPECT_EQ(ds.SetColData(1, &v), 1);
    EXPECT_EQ(cellText(ds, 1), "-1");
}

TEST_F(GridTextDataSet, StampsForNullAndEmpty)
{
    // Stamps need null flags and text stamps.
    EXPECT_FALSE(ds.IsTextNull(1, W("NULL").c_str()));
    ds.DeleteAllRow();
    ds.SetNullFlags(true);
    ds.SetTextStamps(true);
    ds.AddRow();
    ds.MoveToRow(dirFirst);
    EXPECT_EQ(ds.SetColDataFromText(1, W("NULL").c_str()), 0);
    EXPECT_TRUE(ds.IsNull(1));
    EXPECT_EQ(cellText(ds, 1), "NULL");
    EXPECT_EQ(ds.SetColDataFromText(3, W("").c_str()), 0); // "" is EMPTY for dates
    EXPECT_TRUE(ds.IsEmpty(3));
    EXPECT_EQ(cellText(ds, 3), "DEFAULT");
    EXPECT_EQ(ds.SetColDataFromText(5, W("").c_str()), 0); // but not for text
    EXPECT_FALSE(ds.IsEmpty(5));
    EXPECT_TRUE(ds.SetStampString(stampNullNumber | stampNullText, W("<none>").c_str()));
    EXPECT_EQ(cellText(ds, 1), "<none>");
    EXPECT_FALSE(ds.SetStampString(64, W("x").c_str()));
    EXPECT_FALSE(ds.SetStampString(1, W(std::string(51, 'x').c_str()).c_str()));
    WChar buf[60];
    EXPECT_TRUE(ds.GetStampString(stampNullText, buf, 60));
    EXPECT_EQ(U(buf), "<none>");
    EXPECT_FALSE(ds.GetStampString(3, buf, 60));
    EXPECT_EQ(U(buf), "");
    ds.SetColDataFromText(1, W("8").c_str());
    EXPECT_FALSE(ds.IsNull(1));
    EXPECT_EQ(ds.ToNull(1), 0);
    EXPECT_TRUE(ds.IsNull(1));
}

TEST_F(GridTextDataSet, NullFlagsOffMakeNullAndEmptyInert)
{
    std::int32_t v = 5;
    ds.SetColData(1, &v);
    EXPECT_EQ(ds.ToNull(1), 0);
    EXPECT_FALSE(ds.IsNull(1));
    EXPECT_EQ(cellText(ds, 1), "5"); // no tile byte was written over the value
    unsigned char slot[4] = {0xff, 0xff, 0xff, 0xff};
    EXPECT_FALSE(ds.IsDataNull(1, slot));
    ds.SetDataToNull(1, slot);
    EXPECT_EQ(slot[3], 0xff);
}

TEST_F(GridTextDataSet, WideColumnKeepsHalfItsBytesInCharacters)
{
    aCMemoryDataSet w;
    w.AddColDef(new aCColumn(W("w").c_str(), apsWide, 20));
    w.AddRow();
    w.MoveToRow(dirFirst);
    w.SetColDataFromText(1, W("abcdefghijklmnopqrstuvwxyz").c_str());
    EXPECT_EQ(cellText(w, 1), "abcdefghij");
}

TEST_F(GridTextDataSet, AllocDataSizes)
{
    aCMemoryDataSet a;
    a.AddColDef(new aCColumn(W("s").c_str(), apsLong));
    a.AddColDef(new aCColumn(W("b").c_str(), apsBinary, 50));
    a.AddColDef(new aCColumn(W("t").c_str(), apsChar, 10));
    VLong n = 0;
    std::free(a.AllocData(1, &n, szData));
    EXPECT_EQ(n, 51);
    std::free(a.AllocData(2, &n, szData));
    EXPECT_EQ(n, 50);
    std::free(a.AllocData(3, &n, szText));
    EXPECT_EQ(n, 102);
}

TEST_F(GridTextDataSet, BlobCellsShowTypeAndSize)
{
    aCMemoryDataSet b;
    b.AddColDef(new aCColumn(W("blob").c_str(), apsBlob));
    b.AddRow();
    b.MoveToRow(dirFirst);
    b.SetCurrentBlobSize(1, 1234);
    EXPECT_EQ(cellText(b, 1), "\xD0\xA2\xD0\xB8\xD0\xBF:0, \xD0\xA0\xD0\xB0\xD0\xB7\xD0\xBC\xD0\xB5\xD1\x80:1234");
    EXPECT_EQ(U(aCDataSet::GetCaption(3)), "\xD0\x94\xD0\xBE\xD0\xB1\xD0\xB0\xD0\xB2\xD0\xB8\xD1\x82\xD1\x8C");
}

TEST_F(GridTextDataSet, CellNumbers)
{
    int error = -1;
    EXPECT_EQ(ds.SetCellNumber(2, 1, 6.5), 0);
    EXPECT_DOUBLE_EQ(ds.GetCellNumber(2, 1, error), 6.5);
    EXPECT_EQ(error, 0);
    ds.SetCellNumber(1, 1, 41.9);
    EXPECT_DOUBLE_EQ(ds.GetCellNumber(1, 1, error), 41.0);
    EXPECT_DOUBLE_EQ(ds.GetCellNumber(4, 1, error), 0.0);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(ds.SetCellNumber(5, 1, 1.0), 1);
}

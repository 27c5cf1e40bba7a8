// The type table, server type codes, hexadecimal dumps, arrays and small records.
#include "gridtest.h"

#include <vexapi/grid/acarrays.h>
#include <vexapi/grid/accolumn.h>

#include <gtest/gtest.h>

TEST(GridTypes, DefaultSizesAndFormats)
{
    struct Row { int type; VLong size; const char* format; };
    const Row table[] = {
        {apsNone, 0, ""}, {apsChar, 2, "%c"}, {apsShort, 2, "%d"}, {apsLong, 4, "%d"},
        {apsFloat, 4, "%.7f"}, {apsDouble, 8, "%.15g"}, {apsWide, 2, "%s"},
        {apsDate, 16, "dd.mm.yyyy:hh:mi:ss.ff"}, {apsByte, 1, "%u"}, {apsBlob, 0, ""},
        {apsDecimal, 16, "%n"}, {apsTextPtr, VLong(sizeof(void*)), "%s"}, {apsBinary, 4, "%d"},
        {apsInt64, 8, "%I64i"}, {apsBool, 1, "%d"}, {apsTypeEnd, 0, ""},
    };
    for (const Row& r : table) {
        SCOPED_TRACE(r.type);
        EXPECT_EQ(GetDefTypeSize(r.type), r.size);
        EXPECT_EQ(GetDefTypeSize(r.type, 7), 7);
        EXPECT_EQ(U(GetDefTypeFormat(r.type)), r.format);
    }
    EXPECT_EQ(GetDefTypeSize(99), 0);
    EXPECT_EQ(U(GetDefTypeFormat(-1)), "");
}

TEST(GridTypes, SetDefTypeFormatKeepsSixtyFourCharacters)
{
    const WString old = GetDefTypeFormat(apsLong);
    const std::string longText(80, 'x');
    EXPECT_TRUE(SetDefTypeFormat(apsLong, W(longText.c_str()).c_str()));
    EXPECT_EQ(U(GetDefTypeFormat(apsLong)), std::string(64, 'x'));
    EXPECT_FALSE(SetDefTypeFormat(16, W("%d").c_str()));
    SetDefTypeFormat(apsLong, old.c_str());
    EXPECT_EQ(U(GetDefTypeFormat(apsLong)), "%d");
}

TEST(GridTypes, ServerTypeCodes)
{
    const int toAps[][2] = {{1, 1}, {2, 3}, {3, 4}, {4, 7}, {5, 10}, {6, 12}, {7, 9}, {8, 2},
                            {9, 5}, {10, 13}, {11, 1}, {16, 1}, {17, 1}, {18, 1}, {12, 12},
                            {13, 14}, {14, 0}, {0, 0}, {99, 0}};
    for (auto& p : toAps)
        EXPECT_EQ(OrvToApsType(p[0]), p[1]) << p[0];
    const int toOrv[][2] = {{1, 1}, {2, 8}, {3, 2}, {4, 3}, {5, 9}, {7, 4}, {9, 7}, {10, 5},
                            {12, 6}, {13, 10}, {14, 13}, {6, 0}, {8, 0}, {11, 0}, {0, 0}};
    for (auto& p : toOrv)
        EXPECT_EQ(ApsToOrvType(p[0]), p[1]) << p[0];
}

TEST(GridTypes, HexDumpBothWays)
{
    const unsigned char bytes[] = {0x00, 0x1f, 0xA0, 0xff};
    WChar text[9];
    ASSERT_EQ(DumpToHexText(bytes, text, 4, 9), 0);
    EXPECT_EQ(U(text), "001FA0FF");
    // The text length bounds the output: three characters take one byte.
    WChar shortText[4] = {'z', 'z', 'z', 'z'};
    ASSERT_EQ(DumpToHexText(bytes, shortText, 4, 3), 0);
    EXPECT_EQ(U(shortText), "00");

    unsigned char back[4];
    ASSERT_EQ(HexTextToDump(W("001fa0FF").c_str(), back, 8, 4), 0);
    EXPECT_EQ(std::memcmp(back, bytes, 4), 0);
    // A last lone digit is the low digit of a byte.
    ASSERT_EQ(HexTextToDump(W("ABC").c_str(), back, 3, 4), 0);
    EXPECT_EQ(back[0], 0xAB);
    EXPECT_EQ(back[1], 0x0C);
    EXPECT_EQ(back[2], 0);
    EXPECT_EQ(HexTextToDump(W("0G").c_str(), back, 2, 4), 1);
    EXPECT_EQ(DumpToHexText(nullptr, text, 4, 9), 1);
    EXPECT_EQ(DumpToHexText(bytes, text, 0, 9), 1);
    EXPECT_EQ(HexTextToDump(text, back, -1, -1), 1);
}

TEST(GridArrays, GrowthStepsAndBounds)
{
    aCPointerArray a;
    int x = 1, y = 2;
    EXPECT_EQ(a.Add(&x), 0);
    EXPECT_EQ(a.GetCapacity(), 4); // size / 8 clamped to 4..1024
    a.SetSize(100);
    EXPECT_EQ(a.GetCapacity(), 100);
    a.SetSize(101);
    EXPECT_EQ(a.GetCapacity(), 112); // 100 + 100 / 8
    EXPECT_EQ(a.GetAt(100), nullptr);
    EXPECT_EQ(a.GetAt(-1), nullptr);
    EXPECT_EQ(a.GetAt(500), nullptr);
    EXPECT_FALSE(a.SetAt(101, &y));
    EXPECT_TRUE(a.SetAtGrow(200, &y));
    EXPECT_EQ(a.GetSize(), 201);
    EXPECT_EQ(a.GetAt(200), &y);
    a.RemoveAt(1, 1000);
    EXPECT_EQ(a.GetSize(), 1);
    EXPECT_GE(a.GetCapacity(), 201); // RemoveAt never shrinks
    a.FreeExtra();
    EXPECT_EQ(a.GetCapacity(), 1);
    a.InsertAt(0, &y, 3);
    EXPECT_EQ(a.GetSize(), 4);
    EXPECT_EQ(a.GetAt(0), &y);
    EXPECT_EQ(a.GetAt(3), &x);
    EXPECT_FALSE(a.RemoveAt(4));
    a.SetSize(2, 10);
    a.SetSize(50);
    EXPECT_EQ(a.GetCapacity(), 50);
    a.SetSize(51);
    EXPECT_EQ(a.GetCapacity(), 60); // the stored grow-by
    EXPECT_EQ(a.checkInvariants(), 0);
    a.SetSize(0);
    EXPECT_EQ(a.GetCapacity(), 0);
}

TEST(GridArrays, DeleteAllElementsKeepsTheLeadingOnes)
{
    aCObjectArray a;
    for (int i = 0; i < 5; ++i)
        a.Add(new aCRow);
    DeleteAllElements(&a, 2);
    EXPECT_EQ(a.GetSize(), 2);
    DeleteAllElements(&a);
    EXPECT_EQ(a.GetSize(), 0);
}

TEST(GridRecords, ColumnConstructorAndValidation)
{
    aCColumn c(W("Total sum").c_str(), apsLong, 0, nullptr, 16, 0, frameCheck);
    EXPECT_EQ(c.size, 4);
    EXPECT_EQ(U(c.format), "%d");
    EXPECT_EQ(U(c.colName), "Total sum");
    EXPECT_EQ(c.state, 16u);
    EXPECT_EQ(c.frameKind, VULong(frameCheck));
    EXPECT_EQ(c.displaySize, -1);
    EXPECT_EQ(c.pictureMode, 32);
    EXPECT_TRUE(c.IsValid(nullptr));
    c.dataValidator = [](const aCColumn*, const void* d) { return *static_cast<const char*>(d) != 0; };
    const char zero = 0, one = 1;
    EXPECT_FALSE(c.IsValid(&zero));
    EXPECT_TRUE(c.IsValid(&one));
    c.validationOn = false;
    EXPECT_TRUE(c.IsValid(&zero));
    EXPECT_EQ(c.GetImageIndex(3.9), 3);
    c.imageIndexFn = [](const aCColumn*, double v) { return int(v * 2); };
    EXPECT_EQ(c.GetImageIndex(3.9), 7);
    aCCellInfo info(&c);
    EXPECT_EQ(info.textColor, c.cellText);
    EXPECT_EQ(aCCell(2, 3), aCCell(2, 3));
    EXPECT_NE(aCCell(2, 3), aCCell(3, 2));
}

TEST(GridRecords, SubstitutionStepsOneCharacter)
{
    // Entry i starts i characters into each table.
    const WString from = W("ab"), to = W("XY");
    aCSubstStrings table{from.c_str(), to.c_str()};
    aCColumn c;
    c.substTable = &table;
    c.substCount = 2;
    WChar out[10];
    EXPECT_TRUE(ProcSubstString(&c, W("b").c_str(), out, 10));
    EXPECT_EQ(U(out), "Y");
    EXPECT_TRUE(ProcSubstString(&c, W("ab").c_str(), out, 10));
    EXPECT_EQ(U(out), "XY");
    EXPECT_FALSE(ProcSubstString(&c, W("a").c_str(), out, 10));
}

TEST(GridRecords, TimeFixesFieldsOutOfRange)
{
    aCTime a(2024, 13, 40, 10, 0, 0);
    aCTime b(2024, 1, 1, 10, 0, 0);
    EXPECT_EQ(a.GetTime(), b.GetTime());
    WChar out[128];
    b.Format(W("%Y-%m-%d %H").c_str(), out, 128);
    EXPECT_EQ(U(out), "2024-01-01 10");
}

TEST(GridRecords, RowErrorMapSharesAndBounds)
{
    aCRowErrorMap map(10);
    EXPECT_EQ(aCRowErrorMap(5).GetCapacity(), 1000);
    for (VLong r = 1; r <= 10; ++r)
        map.SetRowError(r * 10, 6, 0, W("broken").c_str());
    EXPECT_EQ(map.GetRecordCount(), 1);
    EXPECT_EQ(map.GetRowError(50)->refCount, 10);
    map.SetRowError(1000, 5, 1, W("other").c_str()); // full: the far half goes
    EXPECT_EQ(map.GetCount(), 6);
    EXPECT_EQ(map.GetRowError(10), nullptr);
    EXPECT_NE(map.GetRowError(100), nullptr);
    EXPECT_EQ(map.GetRecordCount(), 2);
    map.SetRowError(1000, 0, 0, nullptr);
    EXPECT_EQ(map.GetRowError(1000), nullptr);
    EXPECT_EQ(map.GetRecordCount(), 1);
    EXPECT_EQ(map.checkInvariants(), 0);
}

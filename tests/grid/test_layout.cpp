// Slot sizes and offsets, SwapCol and the physical index, column changes of stored rows, and
// the sparse display records.
#include "gridtest.h"

#include <gtest/gtest.h>

TEST(GridLayout, SizesByKind)
{
    aCMemoryDataSet ds;
    ds.AddColDef(new aCColumn(W("c").c_str(), apsChar, 10));
    ds.AddColDef(new aCColumn(W("w").c_str(), apsWide, 4));
    ds.AddColDef(new aCColumn(W("d").c_str(), apsDouble));
    ds.AddColDef(new aCColumn(W("t").c_str(), apsDate));
    ds.AddColDef(new aCColumn(W("b").c_str(), apsBlob));
    ds.AddColDef(new aCColumn(W("x").c_str(), apsBinary, 6));
    ds.AddColDef(new aCColumn(W("l").c_str(), apsLong));
    const VLong text[] = {11, 4, 320, 24, 70, 13, 42};
    const VLong data[] = {20, 4, 8, 16, 0, 6, 4};
    for (VLong c = 1; c <= 7; ++c) {
        EXPECT_EQ(ds.GetColSize(c, szText), text[c - 1]) << c;
        EXPECT_EQ(ds.GetColSize(c, szData), data[c - 1]) << c;
        EXPECT_EQ(ds.GetColSize(c, szDataTiled), data[c - 1]) << c;
    }
    EXPECT_EQ(ds.GetDataSize(szData), 58);
    EXPECT_EQ(ds.GetColOffset(4, szData), 32);
    // With null flags: a tile after each slot, short text slots raised to hold the stamps.
    ds.SetNullFlags(true);
    EXPECT_EQ(ds.GetColSize(1, szDataTiled), 21);
    EXPECT_EQ(ds.GetColSize(2, szDataTiled), 9); // 4 raised to "DEFAULT" + 1, then the tile
    EXPECT_EQ(ds.GetColSize(2, szTextTiled), 9);
    EXPECT_EQ(ds.GetColSize(3, szDataTiled), 9);
    EXPECT_EQ(ds.GetColSize(3, szData), 8);
    EXPECT_EQ(ds.GetDataSize(szDataTiled), 21 + 9 + 9 + 17 + 1 + 7 + 5);
    EXPECT_EQ(ds.GetColOffset(4, szDataTiled), 39);
    EXPECT_EQ(ds.GetColOffset(4, szData), 32);
}

TEST(GridLayout, TextPointerRealSizeFollowsTheCurrentRow)
{
    aCMemoryDataSet ds;
    ds.AddColDef(new aCColumn(W("p").c_str(), apsTextPtr));
    ds.AddRow();
    ds.MoveToRow(dirFirst);
    EXPECT_EQ(ds.GetColSize(1, szData), VLong(sizeof(void*)));
    EXPECT_EQ(ds.GetColSize(1, szText), 1);
    WChar text[] = {'h', 'e', 'l', 'l', 'o', 0};
    WChar* p = text;
    ds.SetColData(1, &p);
    EXPECT_EQ(ds.GetColSize(1, szText), 6);
    EXPECT_EQ(ds.GetColSize(1, szRealData), 12);
    EXPECT_EQ(cellText(ds, 1), "hello");
    // Text goes into the target, no further than its present length.
    EXPECT_EQ(ds.SetColDataFromText(1, W("worldwide").c_str()), 0);
    EXPECT_EQ(std::string(U(text)), "world");
    unsigned char copy[64];
    std::memset(copy, 0xee, sizeof copy);
    ds.GetNulledColData(1, copy); // copies the slot, not the text's real size
    EXPECT_EQ(copy[sizeof(void*)], 0xee);
}

TEST(GridLayout, SwapColKeepsSlotsAndFollowsPhysicalIndex)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    ds.AddRow();
    ds.MoveToRow(dirFirst);
    ds.SetColDataFromText(1, W("7").c_str());
    ds.SetColDataFromText(5, W("text").c_str());
    const VLong off1 = ds.GetColOffset(1, szData), off5 = ds.GetColOffset(5, szData);
    EXPECT_FALSE(ds.IsColumnOrderPermuted());
    EXPECT_EQ(ds.GetNextColInRow(0), 1);
    ASSERT_TRUE(ds.SwapCol(1, 5));
    EXPECT_TRUE(ds.IsColumnOrderPermuted());
    EXPECT_EQ(U(ds.GetColName(1)), "note");
    // Column 1 is now the text, still in its old slot.
    EXPECT_EQ(ds.GetColOffset(1, szData), off5);
    EXPECT_EQ(ds.GetColOffset(5, szData), off1);
    EXPECT_EQ(ds.GetNextColInRow(0), 5);
    EXPECT_EQ(ds.GetNextColInRow(4), 1);
    EXPECT_EQ(ds.GetNextColInRow(5), 0);
    EXPECT_EQ(cellText(ds, 1), "text");
    EXPECT_EQ(cellText(ds, 5), "7");
    // A column added later takes the next physical index: its slot comes last.
    ds.AddColDef(new aCColumn(W("extra").c_str(), apsShort));
    EXPECT_EQ(ds.GetColumn(6)->physIndex, 6);
    EXPECT_EQ(ds.GetColOffset(6, szData), ds.GetDataSize(szData) - 2);
    EXPECT_FALSE(ds.SwapCol(0, 2));
    // A broken physical index stops the slot walk.
    ds.GetColumn(2)->physIndex = 0;
    EXPECT_EQ(failureOf([&] { ds.GetDataSize(szData); }), apsFailSlotWalk);
    ds.GetColumn(2)->physIndex = 2;
    EXPECT_EQ(ds.checkInvariants(), 0);
}

TEST(GridLayout, InsertAndDeleteColumnsRebuildRows)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    for (int r = 1; r <= 3; ++r) {
        ds.AddRow();
        ds.MoveToRow(dirLast);
        ds.SetColDataFromText(1, W(std::to_string(r).c_str()).c_str());
        ds.SetColDataFromText(5, W(("row " + std::to_string(r)).c_str()).c_str());
    }
    ds.AddCellDef(5, 2)->userItem = &ds;
    ASSERT_EQ(ds.InsertColumn(new aCColumn(W("flag").c_str(), apsBool), 2), 0);
    EXPECT_EQ(ds.GetColCount(), 6);
    EXPECT_EQ(ds.GetCellInfo(6, 2)->userItem, &ds); // the cell record moved with its column
    for (int r = 1; r <= 3; ++r) {
        ds.MoveToRow(dirAbsolute, r);
        EXPECT_EQ(cellText(ds, 1), std::to_string(r));
        EXPECT_EQ(cellText(ds, 2), "FALSE");
        EXPECT_EQ(cellText(ds, 6), "row " + std::to_string(r));
    }
    ASSERT_EQ(ds.DeleteColumn(1), 0);
    EXPECT_EQ(ds.GetColCount(), 5);
    EXPECT_EQ(ds.GetCellInfo(5, 2)->userItem, &ds);
    ds.MoveToRow(dirAbsolute, 3);
    EXPECT_EQ(cellText(ds, 5), "row 3");
    EXPECT_EQ(ds.checkInvariants(), 0);
    // Turning null flags on with rows stored keeps every image inside its buffer.
    ds.SetNullFlags(true);
    EXPECT_EQ(cellText(ds, 5), "row 3");
}

TEST(GridRecords, SparseRowAndCellRecords)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    for (int i = 0; i < 1000; ++i)
        ds.AddRow();
    EXPECT_EQ(ds.GetRowDefCount(), 0);
    EXPECT_EQ(ds.GetCellDefCount(), 0);
    // Rows without a record answer with the default record.
    EXPECT_EQ(ds.GetRowInfo(500), ds.GetRowInfo(0));
    EXPECT_EQ(ds.GetRowDisplaySize(500), -1);
    EXPECT_TRUE(ds.SetRowDisplaySize(500, 30));
    EXPECT_FALSE(ds.SetRowDisplaySize(501, -5)); // not above the minimum
    EXPECT_EQ(ds.GetRowDefCount(), 1);
    EXPECT_EQ(ds.GetRowDisplaySize(500), 30);
    EXPECT_EQ(ds.GetRowDisplaySize(499), -1);
    EXPECT_EQ(ds.GetCellInfo(3, 10), nullptr);
    aCCellInfo* ci = ds.AddCellDef(3, 10);
    EXPECT_EQ(ds.GetCellInfo(3, 10), ci);
    EXPECT_EQ(ds.GetCellIndex(3, 10), 9 * 5 + 2);
    EXPECT_EQ(ds.GetCellDefCount(), 1);
    ds.SetRowState(10, colReadOnly);
    ds.SetRowName(11, W("eleven").c_str());
    // Deleting a row takes its records with it and moves the later ones up.
    ds.DeleteRow(9);
    EXPECT_EQ(ds.GetCellInfo(3, 9), ci);
    EXPECT_EQ(ds.GetRowState(9), VULong(colReadOnly));
    EXPECT_EQ(U(ds.GetRowName(10)), "eleven");
    EXPECT_EQ(ds.GetRowDisplaySize(499), 30);
    ds.DeleteCellDef(3, 9);
    EXPECT_EQ(ds.GetCellDefCount(), 0);
    ds.SwapRow(1, 10);
    EXPECT_EQ(U(ds.GetRowName(1)), "eleven");
}

TEST(GridRecords, ColumnAttributesAndNames)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    EXPECT_EQ(ds.GetColNum(W("id").c_str()), 1);
    EXPECT_EQ(ds.GetColNum(W("price").c_str()), 4);
    EXPECT_EQ(ds.GetColNum(W("note").c_str()), 0); // the last column is never found
    ds.SetColName(2, W("Amount due now").c_str());
    EXPECT_EQ(ds.GetColNum(W("Amount due now").c_str(), true), 2);
    EXPECT_EQ(ds.GetColNum(W("amount").c_str()), 2);
    ds.SetNameLineBreak(2, true);
    EXPECT_EQ(U(ds.GetColName(2)), "Amount\ndue\nnow");
    ds.SetNameLineBreak(2, false);
    EXPECT_EQ(U(ds.GetColName(2)), "Amountduenow");
    ds.GetColumn(2)->minDisplaySize = 20;
    EXPECT_FALSE(ds.SetColDisplaySize(2, 20));
    EXPECT_TRUE(ds.SetColDisplaySize(2, 21));
    EXPECT_EQ(ds.GetColDisplaySize(2), 21);
    Font f;
    f.face = W("Serif").c_str();
    ds.SetHeaderFont(3, f);
    EXPECT_EQ(ds.GetHeaderFont(3), f);
    EXPECT_EQ(ds.GetCellTextFormat(3), 4u);
    ds.SetColState(3, colHidden);
    EXPECT_EQ(ds.GetColState(3), VULong(colHidden));
    ds.DeleteColDef(1);
    EXPECT_EQ(ds.GetColCount(), 4);
    EXPECT_EQ(ds.GetColumn(1)->physIndex, 1);
    ds.DeleteAllColumn();
    EXPECT_EQ(ds.GetColCount(), 0);
}

TEST(GridFind, TextValueAndQuickFind)
{
    aCMemoryDataSet ds;
    addTypicalColumns(ds);
    const char* notes[] = {"alpha", "beta", "gamma", "delta", "epsilon"};
    for (int r = 1; r <= 5; ++r) {
        ds.AddRow();
        ds.MoveToRow(dirLast);
        ds.SetColDataFromText(1, W(std::to_string(r * 10).c_str()).c_str());
        ds.SetColDataFromText(5, W(notes[r - 1]).c_str());
    }
    VLong pos = -1;
    EXPECT_EQ(ds.Find(5, W("lt").c_str(), 1, 1, true, 0, pos), 4);
    EXPECT_EQ(pos, 4); // end of the match
    // Forward, only offsets up to the pattern's length are tried.
    EXPECT_EQ(ds.Find(5, W("on").c_str(), 1, 1, true, 0, pos), 0);
    EXPECT_EQ(ds.Find(5, W("mm").c_str(), 5, 2, true, 100, pos), 3);
    EXPECT_EQ(pos, 2); // start of the match
    // Backward, the first character is not compared.
    EXPECT_EQ(ds.Find(5, W("Xeta").c_str(), 5, 2, true, 100, pos), 2);
    std::int32_t v = 30;
    EXPECT_EQ(ds.Find(1, &v, 1, 1, false, 0, pos), 3);
    v = 35;
    EXPECT_EQ(ds.Find(1, &v, 1, 1, false, 0, pos), 0);
    v = 40;
    EXPECT_EQ(ds.QuickFind(1, &v, 1), 4);
    for (std::int32_t x : {10, 20, 30, 50}) {
        EXPECT_NE(ds.QuickFind(1, &x, 1), 0) << x;
    }
    v = 5;
    EXPECT_EQ(ds.QuickFind(1, &v, 1), 0);
    v = 55;
    EXPECT_EQ(ds.QuickFind(1, &v, 1), 0);
    const VLong cols[] = {1, 5};
    const WString p1 = W("20"), p2 = W("gamma");
    const WChar* pats[] = {p1.c_str(), p2.c_str()};
    EXPECT_EQ(ds.GroupFind(2, cols, pats, 1, 1, 1), 2);
    EXPECT_EQ(ds.GroupFind(2, cols, pats, 1, 1, 0), 0);
}

TEST(GridFind, CompareAndConvert)
{
    aCMemoryDataSet ds;
    aCColumn date(W("d").c_str(), apsDate), dec(W("n").c_str(), apsDecimal), bin(W("b").c_str(), apsBinary);
    const OrvCPP::OrvDate a(2020, 1, 1), b(2021, 1, 1);
    EXPECT_EQ(ds.CompareData(&date, &a, &b, false), 1); // dates compare the other way round
    const OrvCPP::OrvDec x("1.5"), y("1.50");
    EXPECT_EQ(ds.CompareData(&dec, &x, &y, false), 0);
    EXPECT_EQ(ds.CompareData(&bin, &x, &a, false), 0);
    EXPECT_EQ(ds.CompareData(&dec, nullptr, &y, false), -2);
    const double d = 3.99;
    std::unique_ptr<unsigned char[]> l(static_cast<unsigned char*>(ds.ConvertData(&d, apsLong, apsDouble)));
    EXPECT_EQ(longAt(l.get(), 0), 3);
    const std::int64_t big = 0x100000005LL;
    std::unique_ptr<unsigned char[]> s(static_cast<unsigned char*>(ds.ConvertData(&big, apsShort, apsInt64)));
    EXPECT_EQ(s[0], 5);
    EXPECT_EQ(ds.ConvertData(&d, apsDate, apsDouble), nullptr);
    EXPECT_EQ(ds.ConvertData(&d, apsDouble, apsTextPtr), &d);
}

TEST(GridCopy, CopyToAnotherDataSet)
{
    aCMemoryDataSet src, dst, shifted;
    addTypicalColumns(src);
    for (int r = 1; r <= 4; ++r) {
        src.AddRow();
        src.MoveToRow(dirLast);
        src.SetColDataFromText(1, W(std::to_string(r).c_str()).c_str());
        src.SetColDataFromText(4, W("2.5").c_str());
    }
    ASSERT_EQ(src.CopyTo(&dst, true, 2, 3), 0);
    EXPECT_EQ(dst.GetColCount(), 5);
    EXPECT_EQ(dst.GetRowCount(), 2);
    dst.MoveToRow(dirFirst);
    EXPECT_EQ(cellText(dst, 1), "2");
    EXPECT_EQ(cellText(dst, 4), "2.5");
    EXPECT_EQ(src.CopyTo(&dst, false, 3, 2), -1);
    // Into a data set with virtual rows and a column shift.
    shifted.AddColDef(new aCColumn(W("pad").c_str(), apsShort));
    shifted.AddColDef(new aCColumn(W("id").c_str(), apsInt64));
    shifted.SetNoVirtualOnAdd(false);
    ASSERT_EQ(src.CopyTo(&shifted, false, 0, 0, 1), 0);
    EXPECT_EQ(shifted.GetRowCount(), 4);
    EXPECT_EQ(shifted.GetVirtualRow(), 0);
    shifted.MoveToRow(dirLast);
    EXPECT_EQ(cellText(shifted, 2), "4");
    ASSERT_EQ(src.CellTo(&dst, 1, 1, 1, 1, 1, 2, 1, 2), 0);
    dst.MoveToRow(dirAbsolute, 2);
    EXPECT_EQ(cellText(dst, 1), "1");
}

TEST(GridLayout, InitFromArrayCutsRowsFromOneBlock)
{
    aCMemoryDataSet ds;
    ds.AddColDef(new aCColumn(W("a").c_str(), apsLong));
    ds.AddColDef(new aCColumn(W("b").c_str(), apsShort));
    std::vector<unsigned char> block(6 * 4);
    for (int i = 0; i < 4; ++i) {
        const std::int32_t a = i * 11;
        std::memcpy(block.data() + i * 6, &a, 4);
    }
    ASSERT_EQ(ds.InitFromArray(block.data(), 4), 0);
    EXPECT_EQ(ds.GetRowCount(), 4);
    ds.MoveToRow(dirAbsolute, 3);
    EXPECT_EQ(cellText(ds, 1), "22");
    // Rows of the block and rows added later live side by side; deleting either is safe.
    ds.AddRow();
    ds.DeleteRow(2);
    ds.DeleteRow(4);
    ds.InsertColumn(new aCColumn(W("c").c_str(), apsDouble), 1);
    ds.MoveToRow(dirAbsolute, 2);
    EXPECT_EQ(cellText(ds, 2), "22");
    EXPECT_EQ(ds.checkInvariants(), 0);
    EXPECT_EQ(ds.InitFromArray(nullptr, 2), 1);
    ASSERT_EQ(ds.InitFromArray(nullptr, 0), 0);
    EXPECT_EQ(ds.GetRowCount(), 0);
}

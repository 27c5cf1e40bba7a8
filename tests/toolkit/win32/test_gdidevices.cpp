// Metafiles recorded and played on GDI, and print jobs on the default printer when the
// machine has one.
#include <vexapi/toolkit/painter.h>
#include <vexapi/toolkit/printerdev.h>

#include <gtest/gtest.h>

#include <windows.h>

#include <iostream>

TEST(GdiMetafile, RecordAndPlayBack)
{
    Metafile mf;
    {
        Painter p(&mf);
        ASSERT_TRUE(p.IsActive());
        p.fillRect(Rect(0, 0, 20, 10), Brush(Color(255, 0, 0)));
        p.fillRect(Rect(10, 0, 20, 10), Brush(Color(0, 0, 255)));
    }
    ASSERT_FALSE(mf.isEmpty());
    EXPECT_EQ(20, mf.width());
    EXPECT_EQ(10, mf.height());
    Bitmap b(40, 20);
    b.setPixels(std::vector<VULong>(800, 0xFFFFFF));
    {
        Painter p(&b);
        p.drawMetafile(Rect(0, 0, 40, 20), &mf); // played twice the size
        p.drawMetafile(Rect(0, 0, 40, 20), nullptr);
    }
    EXPECT_EQ(0x0000FFu, b.pixel(5, 5));
    EXPECT_EQ(0xFF0000u, b.pixel(35, 15));
    // A new recording replaces the former one.
    {
        Painter p(&mf);
        p.fillRect(Rect(0, 0, 4, 4), Brush(Color(0, 255, 0)));
    }
    EXPECT_EQ(4, mf.width());
}

TEST(GdiPrinter, JobOnTheDefaultPrinter)
{
    PrinterDev printer;
    if (!printer.showSetupDialog(nullptr, true)) {
        // No printer on this machine: begin refuses and leaves the device closed.
        std::cout << "[ INFO     ] no default printer: only the refusals are checked\n";
        EXPECT_FALSE(printer.begin());
        EXPECT_EQ(0, printer.useCount());
        EXPECT_FALSE(printer.newPage());
        EXPECT_EQ(0, printer.checkInvariants());
        return;
    }
    std::cout << "[ INFO     ] printing on the default printer\n";
    ASSERT_TRUE(printer.begin());
    EXPECT_EQ(0, printer.pageNumber());
    EXPECT_TRUE(printer.begin()); // nests
    EXPECT_EQ(2, printer.useCount());
    printer.end();
    EXPECT_TRUE(printer.newPage());
    {
        Painter p(&printer);
        p.drawText(100, 100, L"Page one");
    }
    EXPECT_TRUE(printer.newPage());
    EXPECT_EQ(2, printer.pageNumber());
    printer.end();
    EXPECT_EQ(0, printer.useCount());

    ASSERT_TRUE(printer.begin());
    EXPECT_TRUE(printer.newPage());
    EXPECT_TRUE(printer.abort());
    EXPECT_FALSE(printer.newPage());
    EXPECT_FALSE(printer.abort());
    printer.end(); // the aborted job is not touched
    EXPECT_EQ(0, printer.checkInvariants());
}

TEST(GdiPicture, IconOfAMaskedPicture)
{
    Bitmap* b = new Bitmap(16, 16);
    b->setPixels(std::vector<VULong>(256, 0x0000FF));
    Picture p(b, b->createMask(false));
    HICON icon = static_cast<HICON>(p.createHICON());
    ASSERT_NE(nullptr, icon);
    ICONINFO info{};
    ASSERT_TRUE(GetIconInfo(icon, &info));
    BITMAP bm{};
    GetObjectW(info.hbmColor, sizeof bm, &bm);
    EXPECT_EQ(16, bm.bmWidth);
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    DestroyIcon(icon);
    EXPECT_EQ(nullptr, Picture().createHICON());
}

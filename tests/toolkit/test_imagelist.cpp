// ImageList: pictures fitted to the list's size, indexes, sharing; Metafile and PrinterDev
// refuse cleanly where the platform gives no context.
#include <vexapi/toolkit/imagelist.h>
#include <vexapi/toolkit/painter.h>
#include <vexapi/toolkit/printerdev.h>

#include <gtest/gtest.h>

TEST(ImageList, AddFitsAndShares)
{
    ImageList list;
    Bitmap b(8, 8);
    b.setPixels(std::vector<VULong>(64, 0x0000FF));
    EXPECT_EQ(-1, list.addPicture(b.createPicture())); // not created
    ASSERT_TRUE(list.create(16, 16));
    EXPECT_FALSE(list.create(0, 4));
    EXPECT_EQ(0, list.addPicture(b.createPicture()));
    Picture same = list.createPicture(0);
    EXPECT_EQ(16, same.width());
    EXPECT_EQ(0x0000FFu, same.bitmap()->pixel(15, 15));
    EXPECT_EQ(2, same.useCount());
    Bitmap g(16, 16);
    g.setPixels(std::vector<VULong>(256, 0x00FF00));
    EXPECT_EQ(1, list.addPicture(g.createPicture()));
    EXPECT_TRUE(list.setPicture(0, g.createPicture()));
    EXPECT_EQ(0x0000FFu, same.bitmap()->pixel(0, 0)); // a picture taken before stays
    EXPECT_FALSE(list.setPicture(5, g.createPicture()));
    EXPECT_EQ(-1, list.addPicture(Picture()));
    EXPECT_TRUE(list.deletePicture(0));
    EXPECT_FALSE(list.deletePicture(1));
    EXPECT_EQ(1, list.getImagesCount());
    EXPECT_TRUE(list.createPicture(3).empty());
    list.destroy();
    EXPECT_EQ(0, list.getImagesCount());
    EXPECT_FALSE(list.isCreated());
}

TEST(Bitmaps, ScaleTakesTheNearestPixel)
{
    Bitmap b(2, 1);
    b.setPixels({0x0000FF, 0x00FF00});
    Bitmap* wide = b.scale(4, 2);
    ASSERT_NE(nullptr, wide);
    std::vector<VULong> px;
    wide->pixels(px);
    EXPECT_EQ((std::vector<VULong>{0xFF, 0xFF, 0xFF00, 0xFF00, 0xFF, 0xFF, 0xFF00, 0xFF00}), px);
    delete wide;
    EXPECT_EQ(nullptr, b.scale(0, 1));
}

TEST(PrinterDev, StatesWithoutAJob)
{
    PrinterDev printer;
    EXPECT_FALSE(printer.newPage());
    EXPECT_FALSE(printer.abort());
    printer.end(); // nothing open: nothing happens
    EXPECT_EQ(0, printer.useCount());
    EXPECT_EQ(0, printer.checkInvariants());
}

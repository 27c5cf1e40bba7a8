// The geometry and colour records, and the XML forms of Rect, Color and Font.
#include <vexapi/toolkit/color.h>
#include <vexapi/toolkit/geometry.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace XMLUtils;

namespace {

std::vector<std::string> childNames(XMLElementA& e)
{
    std::vector<std::string> names;
    for (XMLElementA& c : e.elements())
        names.push_back(c.name());
    return names;
}

} // namespace

TEST(Rect, SizesCornersAndSetters)
{
    Rect r(10, 20, 40, 60);
    EXPECT_EQ(30, r.width());
    EXPECT_EQ(40, r.height());
    EXPECT_EQ(Point(40, 20), r.topRight());
    EXPECT_EQ(Point(10, 60), r.bottomLeft());
    r.setWidth(5);
    r.setHeight(0);
    EXPECT_EQ(Rect(10, 20, 15, 20), r);
    EXPECT_TRUE(r.isEmpty());
    r.setBottomRight(Point(30, 30));
    EXPECT_EQ(Rect(10, 20, 30, 30), r);
    r.setRectEmpty();
    EXPECT_EQ(Rect(), r);
}

TEST(Rect, SetOperations)
{
    struct Case {
        Rect a, b, intersection, unionRect;
        bool meets;
    } cases[] = {
        {{0, 0, 10, 10}, {5, 5, 15, 15}, {5, 5, 10, 10}, {0, 0, 15, 15}, true},
        {{0, 0, 10, 10}, {10, 0, 20, 10}, {}, {0, 0, 20, 10}, false}, // edges only touch
        {{0, 0, 10, 10}, {2, 2, 4, 4}, {2, 2, 4, 4}, {0, 0, 10, 10}, true},
        {{0, 0, 10, 10}, {}, {}, {0, 0, 10, 10}, false},              // empty side ignored
        {{}, {3, 3, 5, 5}, {}, {3, 3, 5, 5}, false},
    };
    for (const Case& c : cases) {
        Rect i = c.a;
        EXPECT_EQ(c.meets, i.intersect(c.b));
        EXPECT_EQ(c.intersection, i);
        Rect u = c.a;
        u += c.b;
        EXPECT_EQ(c.unionRect, u);
    }
}

TEST(Rect, ContainsExcludesRightAndBottom)
{
    Rect r(0, 0, 10, 10);
    EXPECT_TRUE(r.contains(Point(0, 0)));
    EXPECT_TRUE(r.contains(Point(9, 9)));
    EXPECT_FALSE(r.contains(Point(10, 5)));
    EXPECT_FALSE(r.contains(Point(5, 10)));
    EXPECT_TRUE(r.contains(Rect(0, 0, 10, 10)));
    EXPECT_FALSE(r.contains(Rect(1, 1, 11, 5)));
    EXPECT_TRUE(r.contains(Rect()));
    EXPECT_FALSE(Rect().contains(Rect()));
}

TEST(Rect, OffsetInflateNormalize)
{
    Rect r(10, 10, 0, 0);
    EXPECT_TRUE(r.isEmpty());
    r.normalize();
    EXPECT_EQ(Rect(0, 0, 10, 10), r);
    r.offset(5, -5);
    EXPECT_EQ(Rect(5, -5, 15, 5), r);
    r.inflate(2, 1);
    EXPECT_EQ(Rect(3, -6, 17, 6), r);
    r.inflate(-10, 0);
    EXPECT_TRUE(r.isEmpty());
}

TEST(Rect, XmlRoundTripInElementOrder)
{
    Rect r(-3, 7, 120, 99);
    XMLElementA e("Box");
    EXPECT_EQ(0, r.serialize(e, XMLEncodingUTF8));
    EXPECT_STREQ("Rect", e.getAttribute("ClassName").value());
    EXPECT_STREQ("1", e.getAttribute("ClassVersion").value());
    EXPECT_EQ((std::vector<std::string>{"Left", "Right", "Top", "Bottom"}), childNames(e));
    Rect back;
    EXPECT_EQ(0, back.deserialize(e, XMLEncodingUTF8));
    EXPECT_EQ(r, back);
}

TEST(Rect, XmlReadIgnoresOrderAndKeepsValueOnFailure)
{
    XMLElementA e("Box");
    IXMLSerializableA::setClassAttributes(e, "Rect", 1);
    e.addElement("Bottom", 4);
    e.addElement("Top", 3);
    e.addElement("Right", 2);
    e.addElement("Left", 1);
    Rect r;
    r.deserialize(e, XMLEncodingUTF8);
    EXPECT_EQ(Rect(1, 3, 2, 4), r);

    XMLElementA missing("Box");
    IXMLSerializableA::setClassAttributes(missing, "Rect", 1);
    missing.addElement("Left", 9);
    EXPECT_THROW(r.deserialize(missing, XMLEncodingUTF8), XMLNamedValueNotFound);
    EXPECT_EQ(Rect(1, 3, 2, 4), r);

    XMLElementA wrong("Box");
    IXMLSerializableA::setClassAttributes(wrong, "Color", 1);
    EXPECT_THROW(r.deserialize(wrong, XMLEncodingUTF8), XMLExceptionWithData);
}

TEST(Color, ComponentsAndLayout)
{
    Color c(0x12, 0x34, 0x56);
    EXPECT_EQ(0x563412u, c.rgb());
    EXPECT_EQ(0x12, c.red());
    EXPECT_EQ(0x34, c.green());
    EXPECT_EQ(0x56, c.blue());
    EXPECT_EQ(0u, Color().rgb());
    EXPECT_EQ(SysColorNone, c.getColorType());
    EXPECT_EQ(0x563412u, Color::fromRgb(0xFF563412).rgb());
}

TEST(Color, SystemColours)
{
    EXPECT_EQ(0xFFFFFFu, Color::getSysColor(SysColorWhite));
    EXPECT_EQ(0u, Color::getSysColor(SysColorBlack));
    EXPECT_EQ(0u, Color::getSysColor(SysColorType(99)));
    EXPECT_EQ(0u, Color::getSysColor(SysColorType(-1)));
    // Button face under both of its names.
    EXPECT_EQ(Color::getSysColor(SysColorButtonFace), Color::getSysColor(SysColorFace));
    Color face(SysColorButtonShadow);
    EXPECT_EQ(SysColorButtonShadow, face.getColorType());
    EXPECT_EQ(Color::getSysColor(SysColorButtonShadow), face.rgb());
}

TEST(Color, XmlRoundTripAndRange)
{
    Color c(SysColorHighlight);
    XMLElementA e("C");
    c.serialize(e, XMLEncodingUTF8);
    EXPECT_EQ((std::vector<std::string>{"Red", "Green", "Blue"}), childNames(e));
    Color back(1, 2, 3);
    back.deserialize(e, XMLEncodingUTF8);
    EXPECT_EQ(c, back);
    EXPECT_EQ(SysColorNone, back.getColorType()); // rebuilt as a plain colour

    XMLElementA bad("C");
    IXMLSerializableA::setClassAttributes(bad, "Color", 1);
    bad.addElement("Red", 256);
    bad.addElement("Green", 0);
    bad.addElement("Blue", 0);
    EXPECT_THROW(back.deserialize(bad, XMLEncodingUTF8), XMLExceptionWithData);
    EXPECT_EQ(c, back);
}

// XMLUtils: files written and read back in each encoding, serialisable classes, values and
// their conversions, and the failures (missing values, malformed files, missing files,
// failed writes that must leave the old file alone).
#include <vexapi/orvcpp/xmlutils.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

using namespace XMLUtils;
namespace fs = std::filesystem;

namespace {


// A folder of its own per test, removed afterwards.
class XmlFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
        dir = fs::temp_directory_path() /
              ("vexapi-xml-" + std::string(info->name()) + "-" +
               std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
        fs::create_directories(dir);
    }
    void TearDown() override
    {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }

    WString path(const char* name) const { return (dir / name).string<WChar>(); }

    void writeBytes(const char* name, const std::string& bytes) const
    {
        std::ofstream out(dir / name, std::ios::binary);
        out << bytes;
    }
    std::string readBytes(const char* name) const
    {
        std::ifstream in(dir / name, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }

    fs::path dir;
};

WString W(const char16_t* s)
{
    WString out;
    for (; *s; ++s)
        out += WChar(*s);
    return out;
}

WString readBack(const XMLNameValueA& v)
{
    const int n = v.toRString(nullptr, 0, XMLEncodingUTF8);
    WString out(std::size_t(n) + 1, WChar(0));
    EXPECT_EQ(v.toRString(&out[0], n + 1, XMLEncodingUTF8), n);
    out.resize(std::size_t(n));
    // The WCharString form gives the same text.
    WCharString whole;
    EXPECT_EQ(v.toRString(whole, XMLEncodingUTF8), n);
    EXPECT_EQ(WString(whole.constData(), std::size_t(n)), out);
    return out;
}

// Texts that a file must carry unchanged: markup characters, line ends, blanks at the ends,
// blank-only text, control characters, other scripts and a character beyond the BMP.
const char16_t* const trickyTexts[] = {
    u"<&>\"' ]]> &amp;", u"line 1\r\nline 2\n\tend", u"  lead and trail  ", u" ",
    u"ctl\x01\x1f.", u"Привет, мир", u"smile \xD83D\xDE00 end", u""};

void buildTree(ListOf<XMLElementA>& list, XMLEncoding enc)
{
    XMLElementA& options = *list.emplaceBack("Options");
    IXMLSerializableA::setClassAttributes(options, "TypicalOptions", 1);
    options.addElement("Language", 1);
    options.addElement("Negative", -2147483647 - 1);
    XMLElementA& texts = options.addElement("Texts");
    for (const char16_t* t : trickyTexts) {
        XMLElementA& e = texts.addElement("Text", W(t).c_str(), enc);
        e.addAttribute("copy").makeValue(W(t).c_str(), enc);
    }
    XMLElementA& mixed = options.addElement("Mixed");
    mixed.makeValue(W(u"text beside children").c_str(), enc);
    mixed.addElement("Child", 1);
    XMLElementA& blank = options.addElement("BlankBeside");
    blank.setValue("  \t ");
    blank.addElement("Child").addElement("Grandchild", 2);
    options.addElement("Empty");
    XMLElementA& second = *list.emplaceBack("Second");
    second.addAttribute("ns:attr", "v");
}

// Compares two trees: names, attributes in order, values, children.
void expectSame(XMLElementA& a, XMLElementA& b, const std::string& where)
{
    const std::string here = where + "/" + a.name();
    EXPECT_STREQ(a.name(), b.name()) << here;
    EXPECT_EQ(readBack(a), readBack(b)) << here;
    EXPECT_EQ(a.attributes().size(), b.attributes().size()) << here;
    for (auto i = a.attributes().begin(), j = b.attributes().begin();
         i != a.attributes().end() && j != b.attributes().end(); ++i, ++j) {
        EXPECT_STREQ(i->name(), j->name()) << here;
        EXPECT_STREQ(i->value(), j->value()) << here << "@" << i->name();
    }
    ASSERT_EQ(a.elements().size(), b.elements().size()) << here;
    for (auto i = a.elements().begin(), j = b.elements().begin(); i != a.elements().end(); ++i, ++j)
        expectSame(*i, *j, here);
}

class XmlRoundTrip : public XmlFiles, public ::testing::WithParamInterface<XMLEncoding> {};

TEST_P(XmlRoundTrip, WrittenElementsReadBackUnchanged)
{
    const XMLEncoding enc = GetParam();
    ListOf<XMLElementA> written;
    buildTree(written, enc);
    {
        XMLFILEWriterA writer;
        writer.create(path("options.dat").c_str(), enc);
        EXPECT_EQ(writer.encoding(), enc);
        writer.write(written);
    }
    EXPECT_FALSE(fs::exists(dir / "options.dat.tmp"));

    XMLFILEReaderA reader;
    EXPECT_EQ(reader.encoding(), XMLEncodingUnknown);
    reader.create(path("options.dat").c_str());
    EXPECT_EQ(reader.encoding(), enc);
    ListOf<XMLElementA> read;
    reader.read(read);
    ASSERT_EQ(read.size(), 2u);
    for (auto i = written.begin(), j = read.begin(); i != written.end(); ++i, ++j)
        expectSame(*i, *j, "");

    XMLElementA& options = *read.begin();
    EXPECT_EQ(IXMLSerializableA::checkClassAttributes(options, "TypicalOptions"), 1);
    EXPECT_EQ(options.getInt("Language"), 1);
    EXPECT_EQ(options.getInt("Negative"), -2147483647 - 1);
    EXPECT_STREQ(options.getElement("BlankBeside").value(), "  \t ");
}

INSTANTIATE_TEST_SUITE_P(Encodings, XmlRoundTrip,
                         ::testing::Values(XMLEncodingUTF8, XMLEncodingUTF16, XMLEncodingLatin1));

TEST_F(XmlFiles, EncodingsShowInTheFileAndLatin1KeepsWhatItCan)
{
    struct Case {
        XMLEncoding enc;
        const char* declared;
    };
    const Case cases[] = {{XMLEncodingUTF8, "encoding=\"UTF-8\""},
                          {XMLEncodingLatin1, "encoding=\"ISO-8859-1\""}};
    for (const Case& c : cases) {
        XMLElementA e("Name");
        e.makeValue(W(u"Zoë Привет").c_str(), c.enc);
        List list;
        list.pushBack(&e);
        XMLFILEWriterA writer;
        writer.create(path("enc.xml").c_str(), c.enc);
        writer.write(list);
        const std::string bytes = readBytes("enc.xml");
        EXPECT_NE(bytes.find(c.declared), std::string::npos) << bytes;
        XMLFILEReaderA reader;
        reader.create(path("enc.xml").c_str());
        ListOf<XMLElementA> read;
        reader.read(read);
        ASSERT_EQ(read.size(), 1u);
        EXPECT_EQ(readBack(*read.begin()),
                  W(c.enc == XMLEncodingLatin1 ? u"Zoë ??????" : u"Zoë Привет"));
        if (c.enc == XMLEncodingLatin1) {
            EXPECT_NE(bytes.find("Zo\xEB ?"), std::string::npos); // one byte per character
        }
    }
    // UTF-16: a byte order mark and two bytes per character.
    XMLElementA e("N");
    List list;
    list.pushBack(&e);
    XMLFILEWriterA writer;
    writer.create(path("u16.xml").c_str(), XMLEncodingUTF16);
    writer.write(list);
    const std::string bytes = readBytes("u16.xml");
    ASSERT_GE(bytes.size(), 4u);
    EXPECT_EQ(bytes.substr(0, 4), std::string("\xFF\xFE<\0", 4));
}

// A class that writes itself as the library's value classes do.
class Geometry : public IXMLSerializableA {
public:
    int left = 0, top = 0, right = 0, bottom = 0;
    WString title;

    int serialize(XMLElementA& e, XMLEncoding enc) const override
    {
        setClassAttributes(e, "Geometry", 2);
        e.addElement("Left", left);
        e.addElement("Top", top);
        e.addElement("Right", right);
        e.addElement("Bottom", bottom);
        e.addElement("Title", title.c_str(), enc);
        return 0;
    }
    int deserialize(const XMLElementA& e, XMLEncoding enc) override
    {
        checkClassAttributes(e, "Geometry");
        // Reading takes the children by name: the order in the file doesn't matter.
        bottom = e.getInt("Bottom");
        right = e.getInt("Right");
        top = e.getInt("Top");
        left = e.getInt("Left");
        title = readBack(e.getElement("Title"));
        (void)enc;
        return 0;
    }
};

TEST_F(XmlFiles, SerializableClassRoundTrip)
{
    Geometry g;
    g.left = -5;
    g.top = 10;
    g.right = 640;
    g.bottom = 480;
    g.title = W(u"Главное окно");
    XMLElementA root("Options");
    EXPECT_EQ(g.serialize(root.addElement("MainFormRect"), XMLEncodingUTF8), 0);
    List list;
    list.pushBack(&root);
    XMLFILEWriterA writer;
    writer.create(path("g.xml").c_str(), XMLEncodingUTF8);
    writer.write(list);

    XMLFILEReaderA reader;
    reader.create(path("g.xml").c_str());
    ListOf<XMLElementA> read;
    reader.read(read);
    Geometry back;
    EXPECT_EQ(back.deserialize(read.begin()->getElement("MainFormRect"), reader.encoding()), 0);
    EXPECT_EQ(back.left, -5);
    EXPECT_EQ(back.top, 10);
    EXPECT_EQ(back.right, 640);
    EXPECT_EQ(back.bottom, 480);
    EXPECT_EQ(back.title, g.title);
}

TEST(XmlElements, MissingNamedValuesAndBadData)
{
    XMLElementA e("Font");
    e.addElement("Size", 12);
    e.addElement("Name").setValue("Tahoma");
    e.addAttribute("ClassName", "Font");

    try {
        e.getElement("Bold");
        FAIL() << "no exception";
    } catch (const XMLNamedValueNotFound& x) {
        EXPECT_STREQ(x.name(), "Bold");
        EXPECT_NE(std::string(x.message()).find("\"Bold\""), std::string::npos) << x.message();
        EXPECT_STREQ(x.unit(), "xmlutils");
        EXPECT_GT(x.line(), 0);
    }
    EXPECT_THROW(e.getAttribute("ClassVersion"), XMLNamedValueNotFound);
    EXPECT_THROW(e.getInt("Italic"), XMLNamedValueNotFound);
    EXPECT_EQ(e.findElement("Bold"), nullptr);
    EXPECT_EQ(e.findAttribute("Nope"), nullptr);
    EXPECT_EQ(e.getInt("Size"), 12);

    try {
        e.getInt("Name");
        FAIL() << "no exception";
    } catch (const XMLExceptionWithData& x) {
        EXPECT_STREQ(x.data(), "Tahoma");
        EXPECT_NE(std::string(x.message()).find("Tahoma"), std::string::npos);
    }

    // The header of another class, or without a version.
    EXPECT_THROW(IXMLSerializableA::checkClassAttributes(e, "Color"), XMLExceptionWithData);
    EXPECT_THROW(IXMLSerializableA::checkClassAttributes(e, "Font"), XMLNamedValueNotFound);
    e.addAttribute("ClassVersion", "one");
    EXPECT_THROW(IXMLSerializableA::checkClassAttributes(e, "Font"), XMLExceptionWithData);

    // The shell raises the exception itself, naming the place.
    XMLNamedValueNotFound shell("Options", "extapp", 113);
    EXPECT_STREQ(shell.unit(), "extapp");
    EXPECT_EQ(shell.line(), 113);
    const std::exception& base = shell;
    EXPECT_STREQ(base.what(), shell.message());
    EXPECT_NE(std::string(base.what()).find("extapp"), std::string::npos);
}

TEST(XmlElements, NamesAreCheckedAndAttributesStayUnique)
{
    XMLElementA e("Root");
    for (const char* bad : {"", "1abc", "has space", "a<b", "-x", ".x", "a\"b"}) {
        EXPECT_THROW(e.addElement(bad), XMLExceptionWithData) << bad;
        EXPECT_THROW(e.addAttribute(bad), XMLExceptionWithData) << bad;
    }
    EXPECT_THROW(e.addElement(nullptr), XMLExceptionWithData);
    EXPECT_TRUE(e.elements().empty());
    for (const char* good : {"a", "_a", "a-b.c", "ns:x", "\xD0\x98\xD0\xBC\xD1\x8F", "A1"})
        EXPECT_TRUE(isValidXMLName(good)) << good;

    XMLAttributeA& first = e.addAttribute("ClassVersion", 1);
    XMLAttributeA& again = e.addAttribute("ClassVersion", 2);
    EXPECT_EQ(&first, &again);
    EXPECT_EQ(e.attributes().size(), 1u);
    EXPECT_STREQ(e.getAttribute("ClassVersion").value(), "2");
}

TEST(XmlValues, ToIntAcceptsOnlyDecimalIntegers)
{
    struct Case {
        const char* text;
        bool ok;
        int value;
    };
    const Case cases[] = {{"42", true, 42},           {" -7 ", true, -7},
                          {"+3", true, 3},            {"\n12\r\n", true, 12},
                          {"2147483647", true, 2147483647},
                          {"-2147483648", true, -2147483647 - 1},
                          {"2147483648", false, 0},   {"-2147483649", false, 0},
                          {"99999999999999999999", false, 0},
                          {"0x10", false, 0},         {"", false, 0},
                          {"  ", false, 0},           {"12a", false, 0},
                          {"1 2", false, 0},          {"--1", false, 0},
                          {"+-1", false, 0},          {"1.5", false, 0}};
    for (const Case& c : cases) {
        XMLNameValueA v("N", c.text);
        int out = 12345;
        EXPECT_EQ(v.toInt(out), c.ok) << "\"" << c.text << "\"";
        EXPECT_EQ(out, c.ok ? c.value : 12345) << "\"" << c.text << "\"";
    }
}

TEST(XmlValues, ToRStringTruncatesWholeCharactersAndRepairsBadText)
{
    XMLNameValueA v;
    v.makeValue(W(u"ab\xD83D\xDE00" u"c").c_str(), XMLEncodingUTF8); // a, b, a pair, c
    EXPECT_EQ(v.toRString(nullptr, 0, XMLEncodingUTF8), 5);
    WChar buf[8];
    struct Case {
        int size;
        int stored;
    };
    // Room for 3 characters would split the pair: only "ab" is stored.
    const Case cases[] = {{1, 0}, {2, 1}, {3, 2}, {4, 2}, {5, 4}, {6, 5}, {8, 5}};
    for (const Case& c : cases) {
        for (WChar& w : buf)
            w = WChar('#');
        EXPECT_EQ(v.toRString(buf, c.size, XMLEncodingUTF8), 5);
        int stored = 0;
        while (buf[stored])
            ++stored;
        EXPECT_EQ(stored, c.stored) << "size " << c.size;
    }

    // Invalid UTF-8 (a stray continuation, a truncated sequence, an overlong form, an
    // encoded surrogate) reads as one U+FFFD per maximal ill-formed part: a truncated
    // sequence is one, an overlong or surrogate form one per byte.
    v.setValue("a\x80" "b\xE2\x82" "c\xC0\xAF" "d\xED\xA0\x80");
    const WString got = readBack(v);
    const WChar bad = WChar(0xFFFD);
    const WString expected = WString(1, 'a') + bad + WChar('b') + bad + WChar('c') + bad +
                             bad + WChar('d') + bad + bad + bad;
    EXPECT_EQ(got, expected);

    // An unpaired surrogate is made U+FFFD.
    const WChar lone[] = {'x', 0xD800, 'y', 0};
    v.makeValue(lone, XMLEncodingUTF8);
    EXPECT_STREQ(v.value(), "x\xEF\xBF\xBDy");
}

TEST_F(XmlFiles, MalformedFilesRaiseXmlExceptionWithPosition)
{
    struct Case {
        const char* content;
        const char* expected[2]; // parts the message must hold
    };
    const Case cases[] = {
        {"<a><b></a>", {"Start-end tags mismatch", "line 1, column 9"}},
        {"<?xml version=\"1.0\"?>\n<a>\n  <b>\n</a>\n", {"Start-end tags mismatch", "line 4, column 3"}},
        {"<a>unclosed", {"Start-end tags mismatch", "offset"}},
        {"<a x=1/>", {"Error parsing element attribute", "line 1"}},
        {"<a/>stray text", {"text outside of any element", "line 1, column 5"}},
        {"just text", {"text outside of any element", "line 1, column 1"}},
    };
    for (const Case& c : cases) {
        writeBytes("bad.xml", c.content);
        XMLFILEReaderA reader;
        try {
            reader.create(path("bad.xml").c_str());
            FAIL() << "no exception for " << c.content;
        } catch (const XMLException& x) {
            const std::string m = x.message();
            for (const char* part : c.expected)
                EXPECT_NE(m.find(part), std::string::npos) << m;
            EXPECT_NE(m.find("bad.xml"), std::string::npos) << m;
        }
        EXPECT_FALSE(reader.isCreated());
        ListOf<XMLElementA> list;
        EXPECT_THROW(reader.read(list), XMLException);
    }

    // Nesting beyond the limit is refused, at the limit accepted.
    for (int depth : {XMLMaxDepth, XMLMaxDepth + 1}) {
        std::string deep;
        for (int i = 0; i < depth; ++i)
            deep += "<e>";
        for (int i = 0; i < depth; ++i)
            deep += "</e>";
        writeBytes("deep.xml", deep);
        XMLFILEReaderA reader;
        if (depth > XMLMaxDepth) {
            EXPECT_THROW(reader.create(path("deep.xml").c_str()), XMLException);
        } else {
            reader.create(path("deep.xml").c_str());
            ListOf<XMLElementA> list;
            reader.read(list);
            EXPECT_EQ(list.size(), 1u);
        }
    }
}

TEST_F(XmlFiles, EmptyFilesAndCommentsReadAsNoElements)
{
    for (const char* content : {"", "  \n", "<?xml version=\"1.0\"?>\n<!-- nothing -->\n"}) {
        writeBytes("empty.xml", content);
        XMLFILEReaderA reader;
        reader.create(path("empty.xml").c_str());
        ListOf<XMLElementA> list;
        reader.read(list);
        EXPECT_TRUE(list.empty()) << "\"" << content << "\"";
    }
}

TEST_F(XmlFiles, MissingFileAndFolderGiveXmlException)
{
    XMLFILEReaderA reader;
    try {
        reader.create(path("nowhere.dat").c_str());
        FAIL() << "no exception";
    } catch (const XMLException& x) {
        EXPECT_NE(std::string(x.message()).find("not found"), std::string::npos) << x.message();
        EXPECT_NE(std::string(x.message()).find("nowhere.dat"), std::string::npos) << x.message();
    }
    EXPECT_THROW(reader.create(dir.string<WChar>().c_str()), XMLException); // a folder
    EXPECT_THROW(reader.create(nullptr), XMLException);
    // An LException at the shell's edge, with the text to show.
    try {
        reader.create(path("nowhere.dat").c_str());
    } catch (const LException& x) {
        EXPECT_NE(std::string(x.message()).find("nowhere.dat"), std::string::npos);
    }
}

TEST_F(XmlFiles, FailedWritesLeaveTheOldFileAlone)
{
    writeBytes("keep.xml", "<Old/>");
    // Dropping a created writer without writing.
    {
        XMLFILEWriterA writer;
        writer.create(path("keep.xml").c_str(), XMLEncodingUTF8);
        EXPECT_TRUE(fs::exists(dir / "keep.xml.tmp"));
    }
    EXPECT_EQ(readBytes("keep.xml"), "<Old/>");
    EXPECT_FALSE(fs::exists(dir / "keep.xml.tmp"));

    // A tree that can't be written: a name made invalid after construction.
    {
        XMLElementA e("Fine");
        e.addElement("Child").setName("not valid");
        List list;
        list.pushBack(&e);
        XMLFILEWriterA writer;
        writer.create(path("keep.xml").c_str(), XMLEncodingUTF8);
        EXPECT_THROW(writer.write(list), XMLExceptionWithData);
        EXPECT_THROW(writer.write(list), XMLException); // once per create
    }
    EXPECT_EQ(readBytes("keep.xml"), "<Old/>");
    EXPECT_FALSE(fs::exists(dir / "keep.xml.tmp"));

    // A folder that isn't there, and an encoding that doesn't exist.
    XMLFILEWriterA writer;
    EXPECT_THROW(writer.create((dir / "no" / "such" / "x.xml").string<WChar>().c_str(),
                               XMLEncodingUTF8),
                 XMLException);
    EXPECT_THROW(writer.create(path("x.xml").c_str(), XMLEncoding(7)), XMLException);
    EXPECT_THROW(writer.create(path("x.xml").c_str(), XMLEncodingUnknown), XMLException);
    List none;
    EXPECT_THROW(writer.write(none), XMLException);

    // And a successful write replaces the old file.
    XMLElementA e("New");
    List list;
    list.pushBack(&e);
    writer.create(path("keep.xml").c_str(), XMLEncodingUTF8);
    writer.write(list);
    XMLFILEReaderA reader;
    reader.create(path("keep.xml").c_str());
    ListOf<XMLElementA> read;
    reader.read(read);
    ASSERT_EQ(read.size(), 1u);
    EXPECT_STREQ(read.begin()->name(), "New");
}

} // namespace

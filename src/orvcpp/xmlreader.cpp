// XMLFILEReaderA: reads an XML file with pugixml and turns its top-level elements into
// XMLElementA trees.
#include <vexapi/orvcpp/xmlutils.h>
#include <vexapi/core/wstring.h>

#include <pugixml.hpp>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace XMLUtils {

namespace {

// pugixml's default minus line-end normalisation, so that a value's "\r\n" reads back as it
// was written; plus fragments (several top-level elements) and a blank-only value of an
// element without children. No DOCTYPE processing and no external entities, ever.
const unsigned int parseFlags =
    (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_fragment | pugi::parse_ws_pcdata_single;

XMLEncoding encodingOf(pugi::xml_encoding e)
{
    switch (e) {
    case pugi::encoding_utf8: return XMLEncodingUTF8;
    case pugi::encoding_utf16_le:
    case pugi::encoding_utf16_be:
    case pugi::encoding_utf16: return XMLEncodingUTF16;
    case pugi::encoding_latin1: return XMLEncodingLatin1;
    default: return XMLEncodingUnknown;
    }
}

std::string describe(const std::filesystem::path& p)
{
    try {
        return "\"" + p.u8string() + "\"";
    } catch (const std::exception&) {
        return "(a file name that can't be shown)";
    }
}

// Line and column (from 1) of a byte offset in text of one byte per character or UTF-8.
void lineAndColumn(const std::string& data, std::ptrdiff_t offset, long& line, long& column)
{
    line = 1;
    column = 1;
    if (offset > std::ptrdiff_t(data.size()))
        offset = std::ptrdiff_t(data.size());
    for (std::ptrdiff_t i = 0; i < offset; ++i) {
        if (data[std::size_t(i)] == '\n') {
            ++line;
            column = 1;
        } else if ((static_cast<unsigned char>(data[std::size_t(i)]) & 0xC0) != 0x80) {
            ++column;
        }
    }
}

std::string position(const std::string& data, pugi::xml_encoding encoding, std::ptrdiff_t offset)
{
    std::string text;
    if (encoding == pugi::encoding_utf8 || encoding == pugi::encoding_latin1) {
        long line, column;
        lineAndColumn(data, offset, line, column);
        text = " at line " + std::to_string(line) + ", column " + std::to_string(column);
    }
    return text + " (offset " + std::to_string(offset) + ")";
}

// The deepest nesting of elements under `node`, counted without recursion.
int depthOf(pugi::xml_node root)
{
    int deepest = 0;
    std::vector<std::pair<pugi::xml_node, int>> stack;
    for (pugi::xml_node n = root.first_child(); n; n = n.next_sibling())
        if (n.type() == pugi::node_element)
            stack.emplace_back(n, 1);
    while (!stack.empty()) {
        auto [node, depth] = stack.back();
        stack.pop_back();
        if (depth > deepest)
            deepest = depth;
        if (depth > XMLMaxDepth)
            break;
        for (pugi::xml_node n = node.first_child(); n; n = n.next_sibling())
            if (n.type() == pugi::node_element)
                stack.emplace_back(n, depth + 1);
    }
    return deepest;
}

// Fills `out` from `node`; the depth was checked, so the recursion is bounded.
void convert(pugi::xml_node node, XMLElementA& out)
{
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute())
        out.attributes().emplaceBack(a.name(), a.value());
    std::string value;
    for (pugi::xml_node n = node.first_child(); n; n = n.next_sibling()) {
        switch (n.type()) {
        case pugi::node_pcdata:
        case pugi::node_cdata: value += n.value(); break;
        case pugi::node_element: convert(n, *out.elements().emplaceBack(n.name())); break;
        default: break;
        }
    }
    out.setValue(value.c_str());
}

} // namespace

struct XMLFILEReaderA::Impl {
    pugi::xml_document document;
    XMLEncoding encoding = XMLEncodingUnknown;
};

XMLFILEReaderA::XMLFILEReaderA() : m_impl(nullptr) {}

XMLFILEReaderA::~XMLFILEReaderA() { close(); }

void XMLFILEReaderA::close()
{
    delete m_impl;
    m_impl = nullptr;
}

bool XMLFILEReaderA::isCreated() const { return m_impl != nullptr; }

XMLEncoding XMLFILEReaderA::encoding() const
{
    return m_impl ? m_impl->encoding : XMLEncodingUnknown;
}

void XMLFILEReaderA::create(const WChar* path)
{
    close();
    if (!path || !*path)
        throw XMLException("No file name given for reading XML");
    std::filesystem::path file;
    try {
        file = std::filesystem::path(WString(path));
    } catch (const std::exception&) {
        throw XMLException("Invalid file name for reading XML");
    }
    const std::string name = describe(file);

    std::error_code ec;
    std::filesystem::file_status st = std::filesystem::status(file, ec);
    if (!std::filesystem::exists(st))
        throw XMLException("File not found: " + name);
    if (std::filesystem::is_directory(st))
        throw XMLException("Not a file: " + name);

    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw XMLException("Can't open file " + name);
    std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad())
        throw XMLException("Can't read file " + name);

    Impl* impl = new Impl;
    try {
        pugi::xml_parse_result r =
            impl->document.load_buffer(data.data(), data.size(), parseFlags, pugi::encoding_auto);
        if (!r)
            throw XMLException(std::string("Malformed XML in ") + name + ": " + r.description() +
                               position(data, r.encoding, r.offset));
        for (pugi::xml_node n = impl->document.first_child(); n; n = n.next_sibling())
            if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata)
                throw XMLException("Malformed XML in " + name + ": text outside of any element" +
                                   position(data, r.encoding, n.offset_debug()));
        if (depthOf(impl->document) > XMLMaxDepth)
            throw XMLException("Malformed XML in " + name + ": elements nested deeper than " +
                               std::to_string(XMLMaxDepth));
        impl->encoding = encodingOf(r.encoding);
    } catch (...) {
        delete impl;
        throw;
    }
    m_impl = impl;
}

void XMLFILEReaderA::read(ListOf<XMLElementA>& elements)
{
    if (!m_impl)
        throw XMLException("XML reader: no file has been read");
    for (pugi::xml_node n = m_impl->document.first_child(); n; n = n.next_sibling())
        if (n.type() == pugi::node_element)
            convert(n, *elements.emplaceBack(n.name()));
}

} // namespace XMLUtils

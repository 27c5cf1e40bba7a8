// XMLFILEWriterA: turns XMLElementA trees into a pugixml document and replaces the file with
// it through a temporary file.
#include <vexapi/orvcpp/xmlutils.h>
#include <vexapi/core/wstring.h>

#include <pugixml.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace XMLUtils {

namespace {

struct EncodingForm {
    pugi::xml_encoding pugi;
    const char* declared;
    unsigned int flags;
};

bool formOf(XMLEncoding e, EncodingForm& form)
{
    switch (e) {
    case XMLEncodingUTF8: form = {pugi::encoding_utf8, "UTF-8", 0}; return true;
    // The byte order mark tells a reader the byte order before the declaration is read.
    case XMLEncodingUTF16: form = {pugi::encoding_utf16_le, "UTF-16", pugi::format_write_bom}; return true;
    case XMLEncodingLatin1: form = {pugi::encoding_latin1, "ISO-8859-1", 0}; return true;
    default: return false;
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

bool isBlank(const char* s)
{
    for (; *s; ++s)
        if (*s != ' ' && *s != '\t' && *s != '\n' && *s != '\r')
            return false;
    return true;
}

// Adds `e` under `parent`. Names are checked here too, since an element may have been named
// by its constructor or `setName`.
void convert(XMLElementA& e, pugi::xml_node parent, int depth)
{
    if (depth > XMLMaxDepth)
        throw XMLException("XML elements nested deeper than " + std::to_string(XMLMaxDepth));
    if (!isValidXMLName(e.name()))
        throw XMLExceptionWithData("Invalid XML element name", e.name());
    pugi::xml_node node = parent.append_child(e.name());
    for (XMLAttributeA& a : e.attributes()) {
        if (!isValidXMLName(a.name()))
            throw XMLExceptionWithData("Invalid XML attribute name", a.name());
        node.append_attribute(a.name()).set_value(a.value());
    }
    const bool hasChildren = !e.elements().empty();
    if (*e.value()) {
        // Beside children a blank-only text would be taken for indentation: a CDATA section
        // keeps it. Any other text is plain character data.
        pugi::xml_node_type kind =
            hasChildren && isBlank(e.value()) ? pugi::node_cdata : pugi::node_pcdata;
        node.append_child(kind).set_value(e.value());
    }
    for (XMLElementA& child : e.elements())
        convert(child, node, depth + 1);
}

} // namespace

struct XMLFILEWriterA::Impl {
    std::filesystem::path file;
    std::filesystem::path temporary;
    std::ofstream out;
    XMLEncoding encoding = XMLEncodingUnknown;

    // Closes and removes the temporary file; the target stays as it was.
    void discard()
    {
        if (out.is_open())
            out.close();
        std::error_code ec;
        std::filesystem::remove(temporary, ec);
    }
};

XMLFILEWriterA::XMLFILEWriterA() : m_impl(nullptr) {}

XMLFILEWriterA::~XMLFILEWriterA()
{
    if (m_impl)
        m_impl->discard();
    delete m_impl;
}

XMLEncoding XMLFILEWriterA::encoding() const
{
    return m_impl ? m_impl->encoding : XMLEncodingUnknown;
}

void XMLFILEWriterA::create(const WChar* path, XMLEncoding encoding)
{
    if (m_impl) {
        m_impl->discard();
        delete m_impl;
        m_impl = nullptr;
    }
    EncodingForm form;
    if (!formOf(encoding, form))
        throw XMLException("Unknown XML encoding " + std::to_string(int(encoding)));
    if (!path || !*path)
        throw XMLException("No file name given for writing XML");
    Impl* impl = new Impl;
    try {
        impl->file = std::filesystem::path(WString(path));
        impl->temporary = impl->file;
        impl->temporary += ".tmp";
    } catch (const std::exception&) {
        delete impl;
        throw XMLException("Invalid file name for writing XML");
    }
    impl->encoding = encoding;
    impl->out.open(impl->temporary, std::ios::binary | std::ios::trunc);
    if (!impl->out) {
        std::string name = describe(impl->temporary);
        delete impl;
        throw XMLException("Can't create file " + name);
    }
    m_impl = impl;
}

void XMLFILEWriterA::write(List& elements)
{
    if (!m_impl || !m_impl->out.is_open())
        throw XMLException("XML writer: no file has been created");
    Impl& impl = *m_impl;
    EncodingForm form = {pugi::encoding_utf8, "UTF-8", 0};
    formOf(impl.encoding, form);
    try {
        pugi::xml_document document;
        pugi::xml_node declaration = document.append_child(pugi::node_declaration);
        declaration.append_attribute("version").set_value("1.0");
        declaration.append_attribute("encoding").set_value(form.declared);
        for (List::Iterator it = elements.begin(); it != elements.end(); ++it)
            convert(static_cast<XMLElementA&>(*it), document, 1);

        document.save(impl.out, "  ", pugi::format_default | form.flags, form.pugi);
        impl.out.flush();
        const bool written = bool(impl.out);
        impl.out.close();
        if (!written || impl.out.fail())
            throw XMLException("Can't write file " + describe(impl.temporary));
        std::error_code ec;
        std::filesystem::rename(impl.temporary, impl.file, ec);
        if (ec)
            throw XMLException("Can't replace file " + describe(impl.file) + ": " + ec.message());
    } catch (...) {
        impl.discard();
        throw;
    }
}

} // namespace XMLUtils

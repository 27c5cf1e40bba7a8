// XMLUtils in memory: the exceptions, names and values with their conversions, elements and
// the class header of serialisable classes.
#include <vexapi/orvcpp/xmlutils.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/core/wstring.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace XMLUtils {

namespace {

// 16-bit text to the UTF-8 of a value. A Latin-1 file keeps only what Latin-1 can hold:
// the text goes through Latin-1 first, so other characters become '?'.
std::string fromWide(const WChar* s, XMLEncoding encoding)
{
    if (!s || !*s)
        return std::string();
    if (encoding == XMLEncodingLatin1) {
        std::string latin(std::size_t(wcs2mbs(nullptr, s, "ISO-8859-1", 0, 0)) + 1, '\0');
        wcs2mbs(&latin[0], s, "ISO-8859-1", int(latin.size()), 0);
        latin.pop_back();
        std::string out(std::size_t(mbs2mbs(nullptr, latin.c_str(), "ISO-8859-1", "UTF-8", 0, 0)) + 1, '\0');
        mbs2mbs(&out[0], latin.c_str(), "ISO-8859-1", "UTF-8", int(out.size()), 0);
        out.pop_back();
        return out;
    }
    return utf8FromWide(s);
}

std::string quoted(const std::string& message, const std::string& data)
{
    return message + " \"" + data + "\"";
}

const char* orEmpty(const char* s) { return s ? s : ""; }

} // namespace

// --- exceptions ----------------------------------------------------------------------------

XMLException::XMLException(const char* message) : LException(message) {}
XMLException::XMLException(const std::string& message) : LException(message) {}
XMLException::~XMLException() = default;

XMLExceptionWithData::XMLExceptionWithData(const std::string& message, const std::string& data)
    : XMLException(quoted(message, data)), m_data(data)
{
}
XMLExceptionWithData::~XMLExceptionWithData() = default;

namespace {
std::string notFoundMessage(const char* unit, int line)
{
    std::string m = "Named value not found";
    if (unit && *unit) {
        char where[32];
        std::snprintf(where, sizeof where, ", line %d)", line);
        m = m + " (" + unit + where;
    }
    m += ':';
    return m;
}
} // namespace

XMLNamedValueNotFound::XMLNamedValueNotFound(const char* name, const char* unit, int line)
    : XMLExceptionWithData(notFoundMessage(unit, line), orEmpty(name)), m_unit(orEmpty(unit)),
      m_line(line)
{
}
XMLNamedValueNotFound::~XMLNamedValueNotFound() = default;

// --- names and values ----------------------------------------------------------------------

bool isValidXMLName(const char* name)
{
    if (!name || !*name)
        return false;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(name); *p; ++p) {
        unsigned char c = *p;
        bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
                      c >= 0x80;
        bool other = (c >= '0' && c <= '9') || c == '.' || c == '-';
        if (!(letter || (other && p != reinterpret_cast<const unsigned char*>(name))))
            return false;
    }
    return true;
}

XMLNameValueA::XMLNameValueA(const char* name, const char* value)
    : m_name(orEmpty(name)), m_value(orEmpty(value))
{
}

XMLNameValueA::~XMLNameValueA() = default;

void XMLNameValueA::setName(const char* name) { m_name = orEmpty(name); }

bool XMLNameValueA::hasName(const char* name) const { return m_name == orEmpty(name); }

void XMLNameValueA::setValue(const char* value) { m_value = orEmpty(value); }

void XMLNameValueA::makeValue(int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%d", value);
    m_value = text;
}

void XMLNameValueA::makeValue(const WChar* text, XMLEncoding encoding)
{
    m_value = fromWide(text, encoding);
}

bool XMLNameValueA::toInt(int& out) const
{
    const char* p = m_value.c_str();
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
        ++p;
    const char* digits = (*p == '-' || *p == '+') ? p + 1 : p;
    if (*digits < '0' || *digits > '9')
        return false; // strtol would take "0x1f", " -+1" and other forms
    char* end = nullptr;
    errno = 0;
    long v = std::strtol(p, &end, 10);
    if (errno == ERANGE || v < INT_MIN || v > INT_MAX)
        return false;
    while (*end == ' ' || *end == '\t' || *end == '\n' || *end == '\r')
        ++end;
    if (*end)
        return false;
    out = int(v);
    return true;
}

int XMLNameValueA::toRString(WChar* buffer, int size, XMLEncoding) const
{
    // Values are kept in UTF-8 whatever the file's encoding. An embedded zero byte ends
    // the text, as it would any C string.
    const int length = mbs2wcs(nullptr, m_value.c_str(), "UTF-8", 0, 0);
    if (buffer && size > 0)
        mbs2wcs(buffer, m_value.c_str(), "UTF-8", size, 0);
    return length;
}

int XMLNameValueA::toRString(WCharString& out, XMLEncoding encoding) const
{
    WString text(std::size_t(toRString(nullptr, 0, encoding)) + 1, WChar(0));
    toRString(&text[0], int(text.size()), encoding);
    out = WCharString(text.c_str(), int(text.size()) - 1);
    return int(text.size()) - 1;
}

// --- attributes and elements ---------------------------------------------------------------

XMLAttributeA::XMLAttributeA(const char* name, const char* value) : XMLNameValueA(name, value) {}

XMLAttributeA::~XMLAttributeA() = default;

namespace {
void checkName(const char* name)
{
    if (!isValidXMLName(name))
        throw XMLExceptionWithData("Invalid XML name", orEmpty(name));
}
} // namespace

XMLElementA::XMLElementA(const char* name)
    : XMLNameValueA(name), m_attributes(new ListOf<XMLAttributeA>),
      m_elements(new ListOf<XMLElementA>)
{
}

XMLElementA::~XMLElementA()
{
    delete m_elements;
    delete m_attributes;
}

XMLElementA& XMLElementA::addElement(const char* name)
{
    checkName(name);
    return *m_elements->emplaceBack(name);
}

XMLElementA& XMLElementA::addElement(const char* name, int value)
{
    XMLElementA& e = addElement(name);
    e.makeValue(value);
    return e;
}

XMLElementA& XMLElementA::addElement(const char* name, const WChar* text, XMLEncoding encoding)
{
    XMLElementA& e = addElement(name);
    e.makeValue(text, encoding);
    return e;
}

XMLAttributeA& XMLElementA::addAttribute(const char* name)
{
    checkName(name);
    for (XMLAttributeA& a : *m_attributes)
        if (a.hasName(name))
            return a;
    return *m_attributes->emplaceBack(name);
}

XMLAttributeA& XMLElementA::addAttribute(const char* name, const char* value)
{
    XMLAttributeA& a = addAttribute(name);
    a.setValue(value);
    return a;
}

XMLAttributeA& XMLElementA::addAttribute(const char* name, int value)
{
    XMLAttributeA& a = addAttribute(name);
    a.makeValue(value);
    return a;
}

XMLElementA* XMLElementA::findElement(const char* name)
{
    for (XMLElementA& e : *m_elements)
        if (e.hasName(name))
            return &e;
    return nullptr;
}

const XMLElementA* XMLElementA::findElement(const char* name) const
{
    return const_cast<XMLElementA*>(this)->findElement(name);
}

XMLElementA& XMLElementA::getElement(const char* name)
{
    XMLElementA* e = findElement(name);
    if (!e)
        throw XMLNamedValueNotFound(name, "xmlutils", __LINE__);
    return *e;
}

const XMLElementA& XMLElementA::getElement(const char* name) const
{
    return const_cast<XMLElementA*>(this)->getElement(name);
}

const XMLAttributeA* XMLElementA::findAttribute(const char* name) const
{
    for (XMLAttributeA& a : *m_attributes)
        if (a.hasName(name))
            return &a;
    return nullptr;
}

const XMLAttributeA& XMLElementA::getAttribute(const char* name) const
{
    const XMLAttributeA* a = findAttribute(name);
    if (!a)
        throw XMLNamedValueNotFound(name, "xmlutils", __LINE__);
    return *a;
}

int XMLElementA::getInt(const char* name) const
{
    const XMLElementA& e = getElement(name);
    int v = 0;
    if (!e.toInt(v))
        throw XMLExceptionWithData(std::string("Not an integer in element ") + orEmpty(name) + ':',
                                   e.value());
    return v;
}

// --- serialisable classes ------------------------------------------------------------------

IXMLSerializableA::IXMLSerializableA() = default;

IXMLSerializableA::~IXMLSerializableA() = default;

void IXMLSerializableA::setClassAttributes(XMLElementA& element, const char* className,
                                           int version)
{
    element.addAttribute("ClassName", className);
    element.addAttribute("ClassVersion", version);
}

int IXMLSerializableA::checkClassAttributes(const XMLElementA& element, const char* className)
{
    const XMLAttributeA& name = element.getAttribute("ClassName");
    if (std::strcmp(name.value(), orEmpty(className)) != 0)
        throw XMLExceptionWithData(std::string("Expected class ") + orEmpty(className) +
                                       " in element " + element.name() + ", found",
                                   name.value());
    const XMLAttributeA& version = element.getAttribute("ClassVersion");
    int v = 0;
    if (!version.toInt(v))
        throw XMLExceptionWithData(std::string("Bad class version of ") + orEmpty(className) + ':',
                                   version.value());
    return v;
}

} // namespace XMLUtils

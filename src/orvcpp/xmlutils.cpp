// XMLUtils in memory: the exceptions, names and values with their conversions, elements and
// the class header of serialisable classes.
#include "xmlutils.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace XMLUtils {

namespace {

// Private UTF-8/UTF-16 conversions until the library's own take over.

void appendUtf8(std::string& out, unsigned long c)
{
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

// 16-bit text to UTF-8; `limit` is the highest code point kept, others become '?'.
std::string fromWide(const WChar* s, unsigned long limit)
{
    std::string out;
    if (!s)
        return out;
    for (; *s; ++s) {
        unsigned long c = *s;
        if (c >= 0xD800 && c <= 0xDBFF && s[1] >= 0xDC00 && s[1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<unsigned long>(s[1]) - 0xDC00);
            ++s;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = 0xFFFD;
        }
        appendUtf8(out, c <= limit ? c : '?');
    }
    return out;
}

// Decodes one UTF-8 sequence at `p` (before `end`), giving the code point and moving `p`;
// anything malformed (bad lead, missing continuation, overlong, surrogate, above U+10FFFF)
// gives U+FFFD for its first byte.
unsigned long decodeUtf8(const unsigned char*& p, const unsigned char* end)
{
    unsigned long c = *p;
    if (c < 0x80) {
        ++p;
        return c;
    }
    int extra = c >= 0xC2 && c <= 0xDF ? 1 : c >= 0xE0 && c <= 0xEF ? 2 : c >= 0xF0 && c <= 0xF4 ? 3 : 0;
    if (extra == 0 || end - p <= extra) {
        ++p;
        return 0xFFFD;
    }
    unsigned long v = c & (0x3Fu >> extra);
    for (int k = 1; k <= extra; ++k) {
        if ((p[k] & 0xC0) != 0x80) {
            ++p;
            return 0xFFFD;
        }
        v = (v << 6) | (p[k] & 0x3F);
    }
    static const unsigned long minimum[4] = {0, 0x80, 0x800, 0x10000};
    if (v < minimum[extra] || v > 0x10FFFF || (v >= 0xD800 && v <= 0xDFFF)) {
        ++p;
        return 0xFFFD;
    }
    p += extra + 1;
    return v;
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
    m_value = fromWide(text, encoding == XMLEncodingLatin1 ? 0xFFul : 0x10FFFFul);
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
    const unsigned char* p = reinterpret_cast<const unsigned char*>(m_value.data());
    const unsigned char* end = p + m_value.size();
    int length = 0; // characters of the whole value
    int stored = 0; // characters written to the buffer
    const int room = size > 0 ? size - 1 : 0;
    while (p < end) {
        unsigned long c = decodeUtf8(p, end);
        if (c >= 0x10000) {
            if (buffer && stored + 2 <= room && stored == length) {
                c -= 0x10000;
                buffer[stored++] = WChar(0xD800 + (c >> 10));
                buffer[stored++] = WChar(0xDC00 + (c & 0x3FF));
            }
            length += 2;
        } else {
            if (buffer && stored < room && stored == length)
                buffer[stored++] = WChar(c);
            ++length;
        }
    }
    if (buffer && size > 0)
        buffer[stored] = 0;
    return length;
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

// XMLUtils: the XML helpers of the client layer: elements with attributes and text values,
// the interface of classes that write themselves into elements, a file reader and a file
// writer (over pugixml), and the XML exceptions.
#pragma once

#include <vexapi/orvcpp/lexception.h>

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>
#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>

#include <string>

namespace XMLUtils {

// The character encoding of an XML file. Values in memory are always UTF-8; the encoding
// says what the file holds.
enum XMLEncoding : int {
    XMLEncodingUnknown = 0, // not read yet, or a form without a name here (UTF-32)
    XMLEncodingUTF8 = 1,    // the default, and the form of the options file
    XMLEncodingUTF16 = 2,   // UTF-16; written little-endian with a byte order mark
    XMLEncodingLatin1 = 3   // ISO-8859-1: characters beyond U+00FF are written as '?'
};

// The deepest nesting of elements that the reader accepts and the writer writes; deeper
// trees are refused with an XMLException rather than risking the stack.
const int XMLMaxDepth = 256;

// A failure to read, write or interpret an XML file.
class VEXAPI_API XMLException : public LException {
public:
    explicit XMLException(const char* message);
    explicit XMLException(const std::string& message);
    ~XMLException() override;
};

// A failure about one piece of data (a value that isn't a number, an unexpected class, a
// bad name): `data()` is that piece, and the message ends with it in quotes.
class VEXAPI_API XMLExceptionWithData : public XMLException {
public:
    XMLExceptionWithData(const std::string& message, const std::string& data);
    ~XMLExceptionWithData() override;

    const char* data() const noexcept { return m_data.c_str(); }

private:
    std::string m_data;
};

// A named element or attribute that isn't there. `name()` is the name looked for; `unit()`
// and `line()` say where the search was made ("extapp", 113), for the message and the log.
class VEXAPI_API XMLNamedValueNotFound : public XMLExceptionWithData {
public:
    XMLNamedValueNotFound(const char* name, const char* unit, int line);
    ~XMLNamedValueNotFound() override;

    const char* name() const noexcept { return data(); }
    const char* unit() const noexcept { return m_unit.c_str(); }
    int line() const noexcept { return m_line; }

private:
    std::string m_unit;
    int m_line;
};

// A name and a text value, the common part of attributes and elements. The value is UTF-8
// text; the `make`/`to` operations convert from and to numbers and 16-bit text.
class VEXAPI_API XMLNameValueA {
public:
    explicit XMLNameValueA(const char* name = nullptr, const char* value = nullptr);
    ~XMLNameValueA();

    const char* name() const { return m_name.c_str(); }
    void setName(const char* name);
    bool hasName(const char* name) const;

    const char* value() const { return m_value.c_str(); }
    // Sets the value as it stands (UTF-8).
    void setValue(const char* value);
    // The value as decimal text.
    void makeValue(int value);
    // The value from 16-bit text. With XMLEncodingLatin1 the characters Latin-1 can't hold
    // become '?', as they would in the file, so the value reads back as it was made. An
    // unpaired surrogate becomes U+FFFD.
    void makeValue(const WChar* text, XMLEncoding encoding);

    // The value as an int: optional blanks around an optional sign and decimal digits, in
    // the range of int. Gives false, and leaves `out` alone, for anything else.
    bool toInt(int& out) const;
    // The value as 16-bit text into `buffer` (`size` characters with the terminator),
    // truncated if it doesn't fit, never in the middle of a surrogate pair. Gives the
    // value's whole length in characters, so that a result >= size says it was cut.
    // Invalid UTF-8 becomes U+FFFD.
    int toRString(WChar* buffer, int size, XMLEncoding encoding) const;
    // The value as a WCharString; gives its length.
    int toRString(WCharString& out, XMLEncoding encoding) const;

private:
    std::string m_name;
    std::string m_value;
};

// An attribute of an element.
class VEXAPI_API XMLAttributeA : public List::Node, public XMLNameValueA {
public:
    explicit XMLAttributeA(const char* name = nullptr, const char* value = nullptr);
    ~XMLAttributeA();
    XMLAttributeA(const XMLAttributeA&) = delete;
    XMLAttributeA& operator=(const XMLAttributeA&) = delete;
};

// An element: a name, attributes, a text value and child elements, in order.
//
// An element owns its attributes and children: they are made by `addAttribute` and
// `addElement` (or by the reader) and deleted with it. An element is itself a list node, so
// top-level elements can be kept in a `List` for the writer, or in a `ListOf<XMLElementA>`
// that owns them.
//
// Invariants:
//  1. Attribute names of one element are unique: `addAttribute` of a present name gives the
//     present attribute.
//  2. Names given to `addElement` and `addAttribute` are valid XML names; an invalid one
//     raises XMLExceptionWithData, so no element that can't be written is ever built.
class VEXAPI_API XMLElementA : public List::Node, public XMLNameValueA {
public:
    explicit XMLElementA(const char* name = nullptr);
    ~XMLElementA();
    XMLElementA(const XMLElementA&) = delete;
    XMLElementA& operator=(const XMLElementA&) = delete;

    // Appends a child element and gives it.
    XMLElementA& addElement(const char* name);
    XMLElementA& addElement(const char* name, int value);
    XMLElementA& addElement(const char* name, const WChar* text, XMLEncoding encoding);

    // The attribute of that name, added (with an empty value) if missing.
    XMLAttributeA& addAttribute(const char* name);
    XMLAttributeA& addAttribute(const char* name, const char* value);
    XMLAttributeA& addAttribute(const char* name, int value);

    // The first child element of that name; XMLNamedValueNotFound if there is none.
    XMLElementA& getElement(const char* name);
    const XMLElementA& getElement(const char* name) const;
    // The same, null if there is none.
    XMLElementA* findElement(const char* name);
    const XMLElementA* findElement(const char* name) const;

    // The attribute of that name; XMLNamedValueNotFound if there is none.
    const XMLAttributeA& getAttribute(const char* name) const;
    const XMLAttributeA* findAttribute(const char* name) const;

    // The int value of the child `name`: XMLNamedValueNotFound without such a child,
    // XMLExceptionWithData if its value isn't an int.
    int getInt(const char* name) const;

    ListOf<XMLElementA>& elements() { return *m_elements; }
    ListOf<XMLAttributeA>& attributes() { return *m_attributes; }

private:
    // Held by pointer: a ListOf of the class itself can't be a member while the class is
    // still incomplete.
    ListOf<XMLAttributeA>* m_attributes;
    ListOf<XMLElementA>* m_elements;
};

// Whether `name` is a valid XML element or attribute name (ASCII letters, digits and
// ". - _ :", and any character from U+0080, not starting with a digit, '.' or '-').
VEXAPI_API bool isValidXMLName(const char* name);

// A class that writes itself into an element and reads itself back. `serialize` writes the
// class header (`setClassAttributes`) and then one child element per field; `deserialize`
// checks the header and takes the children by name, so their order doesn't matter. Both
// give 0 on success; failures raise XMLException and its kin.
class VEXAPI_API IXMLSerializableA {
public:
    IXMLSerializableA();
    virtual ~IXMLSerializableA();

    virtual int serialize(XMLElementA& element, XMLEncoding encoding) const = 0;
    virtual int deserialize(const XMLElementA& element, XMLEncoding encoding) = 0;

    // Writes the class header: the attributes "ClassName" and "ClassVersion".
    static void setClassAttributes(XMLElementA& element, const char* className, int version);
    // Checks that the element's header names `className` and gives its version; raises
    // XMLNamedValueNotFound without a header and XMLExceptionWithData for another class or
    // a version that isn't a number.
    static int checkClassAttributes(const XMLElementA& element, const char* className);

protected:
    IXMLSerializableA(const IXMLSerializableA&) = default;
    IXMLSerializableA& operator=(const IXMLSerializableA&) = default;
};

// Reads an XML file: `create` reads and parses it, `read` gives its top-level elements.
//
// The file may hold several top-level elements (the writer writes a list); text outside of
// any element is an error, and a file without elements reads as an empty list. A missing or
// unreadable file, malformed XML (with the parser's description, line, column and offset)
// and nesting beyond XMLMaxDepth raise XMLException. Nothing of the file is executed or
// fetched: no external entities.
class VEXAPI_API XMLFILEReaderA {
public:
    XMLFILEReaderA();
    ~XMLFILEReaderA();
    XMLFILEReaderA(const XMLFILEReaderA&) = delete;
    XMLFILEReaderA& operator=(const XMLFILEReaderA&) = delete;

    void create(const WChar* path);
    bool isCreated() const;
    // Appends new elements for the file's top-level elements to `elements`, which owns
    // them; raises XMLException if nothing was read by `create`.
    void read(ListOf<XMLElementA>& elements);
    // The encoding the file was read in; XMLEncodingUnknown before `create`.
    XMLEncoding encoding() const;
    void close();

private:
    struct Impl;
    Impl* m_impl;
};

// Writes an XML file: `create(path, encoding)` prepares it, `write(list)` writes the list's
// elements as the file's top-level elements.
//
// The file is replaced as a whole: `create` opens a temporary file beside it ("<path>.tmp"),
// `write` fills that and then renames it over the file, so a failure at any point leaves the
// old file as it was. Dropping the writer without `write` removes the temporary file.
// Failures raise XMLException.
class VEXAPI_API XMLFILEWriterA {
public:
    XMLFILEWriterA();
    ~XMLFILEWriterA();
    XMLFILEWriterA(const XMLFILEWriterA&) = delete;
    XMLFILEWriterA& operator=(const XMLFILEWriterA&) = delete;

    // `encoding` is one of UTF-8, UTF-16 and Latin-1.
    void create(const WChar* path, XMLEncoding encoding);
    // Every node of `elements` must be an XMLElementA. Once per `create`.
    void write(List& elements);
    XMLEncoding encoding() const;

private:
    struct Impl;
    Impl* m_impl;
};

} // namespace XMLUtils

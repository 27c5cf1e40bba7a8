// Font: a shared platform font, and the process-wide font substitution table.
#pragma once

#include <vexapi/core/types.h>
#include <vexapi/core/wcharstring.h>
#include <vexapi/orvcpp/xmlutils.h>
#include <vexapi/toolkit/sharedhandle.h>

class PaintDevice;

// A copy shares the platform font (one increment); the last one deletes it when owned. The
// default font is the platform's stock system font, not owned. The name, size and styles are read
// back from the platform font. XML form: class "Font", version 1, elements "Name", "Size",
// "Bold", "Italic", "Underline", "Strikeout"; a read font is rebuilt by the constructor,
// so that it goes through substitution.
//
// Substitution: setSubstitutionFile reads lines "from-name, from-size <-> to-name, to-size";
// a request for from-name (case ignored) becomes to-name at the requested size plus
// (to-size - from-size). The table is written at process entry, on the main thread only.
class VEXAPI_API Font : public XMLUtils::IXMLSerializableA {
public:
    Font();
    // size: a character height in device units.
    Font(const WChar* name, int size, bool bold = false, bool italic = false,
         bool underline = false, bool strikeout = false);
    // size: points on `device` (the screen for null).
    Font(PaintDevice* device, const WChar* name, int size, bool bold = false,
         bool italic = false, bool underline = false, bool strikeout = false);
    Font(const Font&) = default;
    Font& operator=(const Font&) = default;
    ~Font() override;

    // Copies the face name into out (at most max characters with the terminator); gives
    // its length.
    int name(WChar* out, int max) const;
    WCharString name() const;
    int size() const; // the character height in device units
    bool bold() const;
    bool italic() const;
    bool underline() const;
    bool strikeout() const;
    void* handle() const { return m_handle.get(); }
    bool owned() const { return m_handle.owned(); }
    int useCount() const { return m_handle.useCount(); }

    // Measured on the screen's context; a null text or null output is skipped.
    void getTextExtent(const WChar* text, int* width, int* height) const;

    // Gives false, keeping the former table, when the file can't be opened.
    static bool setSubstitutionFile(const WChar* path);
    static void clearSubstitutions();

    int serialize(XMLUtils::XMLElementA& element, XMLUtils::XMLEncoding encoding) const override;
    int deserialize(const XMLUtils::XMLElementA& element, XMLUtils::XMLEncoding encoding) override;

private:
    friend struct FontTestAccess;
    static bool substituteFont(const WChar* name, int size, WChar* out, int max, int* outSize);
    void build(const WChar* name, int size, bool bold, bool italic, bool underline,
               bool strikeout);

    VexAPI::detail::SharedHandle m_handle;
};

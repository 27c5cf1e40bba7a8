// Font: construction through the substitution table, the values read back from the
// platform font, and the XML form.
#include <vexapi/toolkit/font.h>
#include <vexapi/app/mainentry.h>
#include <vexapi/toolkit/paintdevice.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/textfile.h>
#include <vexapi/core/wtext.h>

#include "platform_paint.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

using namespace XMLUtils;
namespace platform = VexAPI::platform;
using VexAPI::detail::SharedHandle;

namespace {

struct Substitution {
    WString from;
    WString to;
    int sizeDelta = 0;
};

std::vector<Substitution>& substitutions()
{
    static std::vector<Substitution> table;
    return table;
}

const int MaxLine = 1024;
const int MaxSubstitutedName = 255;

// The process entry reads "fonts.sub" beside the executable through this hook.
void readSubstitutionFile(const WChar* path) { Font::setSubstitutionFile(path); }

struct InstallHook {
    InstallHook() { EntryHooks::setFontSubstitutionFile = readSubstitutionFile; }
} installHook;

} // namespace

Font::Font() : m_handle(platform::stockFont(), false) {}

Font::Font(const WChar* name, int size, bool bold, bool italic, bool underline, bool strikeout)
{
    build(name, size, bold, italic, underline, strikeout);
}

Font::Font(PaintDevice* device, const WChar* name, int size, bool bold, bool italic,
           bool underline, bool strikeout)
{
    int dpi = PaintDevice::deviceInfo(DeviceDpiY, device);
    if (dpi <= 0)
        dpi = 96;
    build(name, int(std::lround(double(size) * dpi / 72.0)), bold, italic, underline, strikeout);
}

Font::~Font() = default;

void Font::build(const WChar* name, int size, bool bold, bool italic, bool underline,
                 bool strikeout)
{
    WChar substituted[MaxSubstitutedName + 1];
    int substitutedSize = size;
    if (name && substituteFont(name, size, substituted, MaxSubstitutedName + 1,
                               &substitutedSize))
        name = substituted;
    platform::FontAttributes attrs;
    attrs.height = -substitutedSize;
    attrs.weight = bold ? 700 : 400;
    attrs.italic = italic;
    attrs.underline = underline;
    attrs.strikeout = strikeout;
    attrs.charset = 204;
    if (name)
        wstrlcpy(attrs.face, name, 32);
    void* handle = platform::createFont(attrs);
    if (handle)
        m_handle = SharedHandle(handle, true);
    else
        m_handle = SharedHandle(platform::stockFont(), false); // keep a usable font
}

static platform::FontAttributes attributesOf(void* handle)
{
    platform::FontAttributes attrs;
    platform::readFont(handle, attrs);
    return attrs;
}

int Font::name(WChar* out, int max) const
{
    if (!out || max <= 0)
        return 0;
    platform::FontAttributes attrs = attributesOf(handle());
    wstrlcpy(out, attrs.face, max);
    return wstrlen(out);
}

WCharString Font::name() const
{
    platform::FontAttributes attrs = attributesOf(handle());
    return WCharString(attrs.face);
}

int Font::size() const
{
    int h = attributesOf(handle()).height;
    return h < 0 ? -h : h;
}

bool Font::bold() const { return attributesOf(handle()).weight >= 700; }
bool Font::italic() const { return attributesOf(handle()).italic; }
bool Font::underline() const { return attributesOf(handle()).underline; }
bool Font::strikeout() const { return attributesOf(handle()).strikeout; }

void Font::getTextExtent(const WChar* text, int* width, int* height) const
{
    if (!text)
        return;
    Size s = platform::measureText(handle(), text, wstrlen(text));
    if (width)
        *width = s.width;
    if (height)
        *height = s.height;
}

bool Font::setSubstitutionFile(const WChar* path)
{
    FILE* f = path ? wfopen(path, "rt") : nullptr;
    if (!f)
        return false;
    std::vector<Substitution> table;
    char line[MaxLine + 1];
    char from[MaxLine + 1];
    char to[MaxLine + 1];
    while (std::fgets(line, sizeof line, f)) {
        if (!std::strchr(line, '\n') && !std::feof(f)) {
            // Longer than a line may be: skipped whole, not read on as another line.
            int c;
            while ((c = std::fgetc(f)) != EOF && c != '\n') {
            }
            continue;
        }
        int fromSize = 0, toSize = 0;
        if (std::sscanf(line, " %1024[^,], %d <-> %1024[^,], %d", from, &fromSize, to,
                        &toSize) != 4)
            continue; // not an entry: a comment
        Substitution s;
        s.from = wideFromUtf8(from);
        s.to = wideFromUtf8(to);
        if (s.from.size() > size_t(MaxSubstitutedName))
            s.from.resize(MaxSubstitutedName);
        if (s.to.size() > size_t(MaxSubstitutedName))
            s.to.resize(MaxSubstitutedName);
        s.sizeDelta = toSize - fromSize;
        table.push_back(std::move(s));
    }
    std::fclose(f);
    substitutions() = std::move(table);
    return true;
}

void Font::clearSubstitutions() { substitutions().clear(); }

bool Font::substituteFont(const WChar* name, int size, WChar* out, int max, int* outSize)
{
    if (!name)
        return false;
    for (const Substitution& s : substitutions()) {
        if (wstricmp(s.from.c_str(), name) != 0)
            continue;
        if (out && max > 0)
            wstrlcpy(out, s.to.c_str(), max);
        if (outSize)
            *outSize = size + s.sizeDelta;
        return true;
    }
    return false;
}

int Font::serialize(XMLElementA& element, XMLEncoding encoding) const
{
    setClassAttributes(element, "Font", 1);
    element.addElement("Name", name().constData(), encoding);
    element.addElement("Size", size());
    element.addElement("Bold", bold() ? 1 : 0);
    element.addElement("Italic", italic() ? 1 : 0);
    element.addElement("Underline", underline() ? 1 : 0);
    element.addElement("Strikeout", strikeout() ? 1 : 0);
    return 0;
}

int Font::deserialize(const XMLElementA& element, XMLEncoding encoding)
{
    checkClassAttributes(element, "Font");
    WChar face[1025];
    element.getElement("Name").toRString(face, 1025, encoding);
    int size = element.getInt("Size");
    bool bold = element.getInt("Bold") != 0;
    bool italic = element.getInt("Italic") != 0;
    bool underline = element.getInt("Underline") != 0;
    bool strikeout = element.getInt("Strikeout") != 0;
    *this = Font(face, size, bold, italic, underline, strikeout);
    return 0;
}

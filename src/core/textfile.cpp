// Text files: line reads, the byte-order mark test, and the UTF-8 and UCS-2 writers and
// reader, and opening a file by a 16-bit name.
#include <vexapi/core/textfile.h>

#include "platform_file.h"

#include <cerrno>

#include <vexapi/core/charset.h>
#include "platformtext.h"
#include <vexapi/core/servertext.h>
#include <vexapi/core/vexassert.h>
#include <vexapi/core/wtext.h>

#include <cstring>
#include <string>
#include <vector>

// writeln's and readln's argument checks report the unit and line numbers they have always
// reported ("routines", 748/749 and 764/765): applications' assertion handlers recognise
// them by these.
#define VEX_ASSERT_ROUTINES(expr, line) \
    ((expr) ? (void)0 : ::VexAPI::assertFailed(#expr, "routines", line))

namespace {

// The common loop of the 8-bit line reads; `delimiter` is a byte value.
template <class Ch>
int readLine(FILE* stream, Ch* out, int size, int delimiter, bool dropCR)
{
    if (!stream)
        return 1;
    if (!out || size < 1)
        return 2;
    int n = 0;
    while (n < size - 1) {
        unsigned char byte;
        if (std::fread(&byte, 1, 1, stream) != 1 || byte == delimiter)
            break;
        if (dropCR && byte == '\r')
            continue;
        out[n++] = static_cast<Ch>(byte);
    }
    out[n] = 0;
    return 0;
}

// The bytes of a UTF-8 sequence that begins with `lead` (1 for a byte that cannot lead).
int utf8Length(unsigned char lead)
{
    if (lead >= 0xF0)
        return 4;
    if (lead >= 0xE0)
        return 3;
    if (lead >= 0xC0)
        return 2;
    return 1;
}

int writeBytes(FILE* stream, const char* bytes, size_t n)
{
    if (n == 0)
        return 0;
    return std::fwrite(bytes, 1, n, stream) == n ? static_cast<int>(n) : -1;
}

// `text` as UTF-8 in a buffer of `size` bytes (0: as large as needed). Empty text is
// handled here: to the conversion a count of 0 means "to the terminator".
std::string toUtf8(const WChar* text, int size)
{
    const int length = wstrlen(text);
    if (length == 0)
        return std::string();
    if (size <= 0)
        size = wcs2mbs(nullptr, text, "UTF-8", 0, length) + 1;
    std::string out(static_cast<size_t>(size), '\0');
    const int n = wcs2mbs(&out[0], text, "UTF-8", size, length);
    out.resize(n > 0 ? static_cast<size_t>(n) : 0);
    return out;
}

} // namespace

FILE* wfopen(const WChar* path, const char* mode)
{
    if (!path || !mode) {
        errno = EINVAL;
        return nullptr;
    }
    if (!*path) {
        errno = ENOENT;
        return nullptr;
    }
    return VexAPI::platform::openFile(path, mode);
}

bool fileExists(const WChar* path)
{
    FILE* f = wfopen(path, "rb");
    if (!f)
        return false;
    std::fclose(f);
    return true;
}

int getline(FILE* stream, char* out, int size)
{
    return readLine(stream, out, size, '\n', true);
}

int getlinew(FILE* stream, WChar* out, int size)
{
    return readLine(stream, out, size, '\n', true);
}

int getlinex(FILE* stream, char* out, int size, char delimiter)
{
    return readLine(stream, out, size, static_cast<unsigned char>(delimiter), false);
}

int getlinexUCS2(FILE* stream, WChar* out, int max, char delimiter, bool backward)
{
    if (!stream || !out || max < 1)
        return -1;
    int n = 0;
    while (n < max - 1) {
        unsigned char unit[2];
        // A failed or half read at end of file adds no unit.
        if (std::fread(unit, 1, 2, stream) != 2)
            break;
        if (unit[0] == static_cast<unsigned char>(delimiter) && unit[1] == 0)
            break;
        out[n++] = WChar(unit[0] | (unit[1] << 8));
    }
    // The units were read as little-endian; a backward (big-endian) file's are swapped here,
    // so that the caller gets host-order text from files of either order.
    UnicodeToRCHAR(out, out, n, backward);
    out[n] = 0;
    return n;
}

int isBackward(FILE* stream, bool* backward)
{
    if (!stream)
        return 1;
    unsigned char mark[2];
    if (std::fread(mark, 1, 2, stream) != 2)
        return 1;
    if (mark[0] == 0xFF && mark[1] == 0xFE) {
        if (backward)
            *backward = false;
        return 0;
    }
    if (mark[0] == 0xFE && mark[1] == 0xFF) {
        if (backward)
            *backward = true;
        return 0;
    }
    return 1;
}

int writeln(FILE* stream, const WChar* text)
{
    VEX_ASSERT_ROUTINES(stream, 748);
    VEX_ASSERT_ROUTINES(text, 749);
    if (!stream || !text)
        return -1;
    const std::string bytes = toUtf8(text, 0);
    const int n = std::fprintf(stream, "%s\n", bytes.c_str());
    return n < 0 ? -1 : n;
}

int writelnUCS2(FILE* stream, const WChar* text)
{
    if (!stream || !text)
        return -1;
    const int length = wstrlen(text);
    std::vector<unsigned char> bytes(static_cast<size_t>(length + 1) * 2);
    for (int i = 0; i <= length; ++i) {
        const unsigned unit = i < length ? text[i] : '\n';
        bytes[2 * i] = static_cast<unsigned char>(unit & 0xFF);
        bytes[2 * i + 1] = static_cast<unsigned char>(unit >> 8);
    }
    if (std::fwrite(bytes.data(), 1, bytes.size(), stream) != bytes.size())
        return -1;
    return length + 1;
}

int writeUTF8(FILE* stream, const WChar* text, int size)
{
    if (!stream)
        return -1;
    const std::string bytes = toUtf8(text, size);
    return writeBytes(stream, bytes.data(), bytes.size());
}

int writeUTF8(FILE* stream, const char* text, int length, bool trim)
{
    if (!stream)
        return -1;
    if (!text)
        return 0;
    if (length < 0)
        length = static_cast<int>(std::strlen(text));
    if (trim)
        while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\t'))
            --length;
    if (length == 0)
        return 0;
    // Platform text to UTF-8: the source's charset comes first.
    const char* from = VexAPI::detail::platformCharset();
    const int need = mbs2mbs(nullptr, text, from, "UTF-8", 0, length);
    if (need <= 0)
        return 0;
    std::string bytes(static_cast<size_t>(need) + 1, '\0');
    const int n = mbs2mbs(&bytes[0], text, from, "UTF-8", need + 1, length);
    return writeBytes(stream, bytes.data(), n > 0 ? static_cast<size_t>(n) : 0);
}

int readln(FILE* stream, WChar* out, int size)
{
    VEX_ASSERT_ROUTINES(stream, 764);
    VEX_ASSERT_ROUTINES(out, 765);
    if (!stream || !out || size < 1)
        return -1;
    // Each byte gives at most one unit, so size - 1 bytes always fit the buffer.
    const int room = size - 1;
    std::string bytes;
    bool atLineFeed = false;
    while (static_cast<int>(bytes.size()) < room) {
        const int c = std::fgetc(stream);
        if (c == EOF)
            break;
        if (c == '\n') {
            atLineFeed = true;
            break;
        }
        if (c == '\r' && bytes.empty())
            continue;
        // A character whose sequence would not fit stays in the stream for the next read,
        // unless the buffer cannot hold even one.
        const int need = utf8Length(static_cast<unsigned char>(c));
        if (!bytes.empty() && static_cast<int>(bytes.size()) + need > room) {
            std::ungetc(c, stream);
            break;
        }
        bytes += static_cast<char>(c);
    }
    if (atLineFeed && !bytes.empty() && bytes.back() == '\r')
        bytes.pop_back();
    if (bytes.empty()) {
        out[0] = 0;
        return 0;
    }
    const int n = mbs2wcs(out, bytes.data(), "UTF-8", size, static_cast<int>(bytes.size()));
    out[n > 0 ? n : 0] = 0;
    return n > 0 ? n : 0;
}

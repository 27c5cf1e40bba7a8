// addSQLValue(): a value written as an SQL literal on a 16-bit stream.
#include <vexapi/datasource/dsdefs.h>

#include <vexapi/core/wtext.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/core/wstring.h>
#include "rawvalue.h"

#include <cstring>
#include <locale>
#include <sstream>
#include <string>

using OrvCPP::OrvDate;
using OrvCPP::OrvDec;

namespace DataSourceAPI {

namespace {

using detail::load;

void putAscii(SQLStream& os, const char* text, std::size_t len)
{
    WString w(len, WChar(0));
    for (std::size_t i = 0; i < len; ++i)
        w[i] = WChar(static_cast<unsigned char>(text[i]));
    os.write(w.data(), std::streamsize(w.size()));
}

void putAscii(SQLStream& os, const char* text)
{
    putAscii(os, text, std::strlen(text));
}

// Numbers are formatted by an 8-bit stream that takes the 16-bit stream's precision and
// flags: the 16-bit stream of the Linux build has no number facets of its own.
template <class T>
void putNumber(SQLStream& os, const T& value)
{
    std::ostringstream s;
    s.imbue(std::locale::classic());
    s.flags(os.flags());
    s.precision(os.precision());
    s << value;
    const std::string text = s.str();
    putAscii(os, text.data(), text.size());
}

} // namespace

void addSQLValue(SQLStream& os, SQLValueType kind, Type type, int len, const void* value,
                 bool isNull)
{
    if (isNull || !value) {
        putAscii(os, "NULL");
        return;
    }
    const char* open = "";
    const char* close = "";
    if (kind == sqlQuoted || kind == sqlDate) {
        open = close = "'";
    } else if (kind == sqlHex) {
        open = "hex('";
        close = "')";
    }
    putAscii(os, open);
    switch (type) {
    case tInt: putNumber(os, long(load<VLong>(value))); break;
    case tSmall: putNumber(os, load<short>(value)); break;
    case tReal: putNumber(os, load<float>(value)); break;
    case tDouble: putNumber(os, load<double>(value)); break;
    case tDec: {
        char buf[OrvDec::TextSize];
        if (load<OrvDec>(value).toText(buf, int(sizeof buf)) == 0)
            putAscii(os, buf);
        break;
    }
    case tDate: {
        char buf[OrvDate::TextSize];
        if (load<OrvDate>(value).toText(buf, int(sizeof buf)) == 0)
            putAscii(os, buf);
        break;
    }
    case tText: {
        const WChar* s = static_cast<const WChar*>(value);
        const int n = wstrlen(s);
        int from = 0;
        for (int i = 0; i < n; ++i) {
            if (s[i] == WChar('\'')) {
                os.write(s + from, i - from + 1);
                os.put(WChar('\''));
                from = i + 1;
            }
        }
        os.write(s + from, n - from);
        break;
    }
    case tByte: {
        static const char digits[] = "0123456789ABCDEF";
        const unsigned char* b = static_cast<const unsigned char*>(value);
        std::string hex;
        hex.reserve(std::size_t(len > 0 ? len : 0) * 2);
        for (int i = 0; i < len; ++i) {
            hex += digits[b[i] >> 4];
            hex += digits[b[i] & 15];
        }
        putAscii(os, hex.data(), hex.size());
        break;
    }
    default:
        // tChar and tBlob have no literal here.
        break;
    }
    putAscii(os, close);
}

} // namespace DataSourceAPI

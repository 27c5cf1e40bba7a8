// Feeds arbitrary formats and texts to the date parser in both widths and checks that what
// parses formats and parses back to the same date and text; also the canonical text, the
// streams and raw 16-byte images.
#include <vexapi/values/qvarn.h>
#include <vexapi/core/wstring.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using OrvCPP::OrvDate;

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

WString widen(const char* s, std::size_t n)
{
    WString w;
    for (std::size_t i = 0; i < n; ++i)
        w.push_back(WChar(static_cast<unsigned char>(s[i])));
    return w;
}

// A date read by `format` prints by it and reads back the same; so does the printed text.
void checkFormat(const OrvDate& date, const char* format)
{
    std::vector<char> t1(std::strlen(format) + 1), t2(t1.size());
    check(TICKTOSTRF(&date, format, t1.data(), int(t1.size())) == QV_OK);
    OrvDate back;
    check(STRTOTICKF(t1.data(), format, &back) == QV_OK);
    check(back == date);
    check(TICKTOSTRF(&back, format, t2.data(), int(t2.size())) == QV_OK);
    check(std::strcmp(t1.data(), t2.data()) == 0);
}

void checkCanonical(const OrvDate& date)
{
    char t[OrvDate::TextSize];
    check(date.toText(t, sizeof t) == QV_OK);
    OrvDate back;
    check(OrvDate::fromText(t, -1, back) == QV_OK && back == date);
    std::stringstream ss;
    ss << date;
    OrvDate streamed;
    ss >> streamed;
    check(!ss.fail() && streamed == date);
    int f[7];
    check(date.Decompos(&f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6]));
    check(OrvDate(f[0], f[1], f[2], f[3], f[4], f[5], f[6]) == date);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const char* in = reinterpret_cast<const char*>(data);

    // The canonical reader on the whole input.
    OrvDate c;
    int rc = OrvDate::fromText(in, int(size), c);
    check(rc == QV_OK || rc == QV_ESYNTAX || rc == QV_ERANGE);
    if (rc == QV_OK)
        checkCanonical(c);

    // "format\ntext": the format language both ways, in both widths.
    const void* nl = std::memchr(data, '\n', size);
    if (nl) {
        std::size_t n = std::size_t(static_cast<const std::uint8_t*>(nl) - data);
        std::string format(in, n);
        format = format.c_str(); // a format ends at its terminator
        const char* text = in + n + 1;
        int len = int(size - n - 1);
        OrvDate d;
        rc = STRTOTICKF(text, format.c_str(), &d, len);
        check(rc == QV_OK || rc == QV_ESYNTAX || rc == QV_ERANGE);
        WString wformat = widen(format.data(), format.size());
        WString wtext = widen(text, std::size_t(len));
        OrvDate w;
        check(STRTOTICKF(wtext.data(), wformat.c_str(), &w, len) == rc);
        if (rc == QV_OK) {
            check(w == d);
            checkFormat(d, format.c_str());
            checkCanonical(d);
        }
    }

    // Raw images read as well-formed dates.
    if (size >= 16) {
        OrvDate r;
        std::memcpy(&r, data, 16);
        if (r.isValid()) {
            checkCanonical(r);
        } else {
            char t[OrvDate::TextSize];
            check(r.toText(t, sizeof t) == QV_EINVALID);
            check(r == OrvDate::invalid());
        }
    }
    return 0;
}

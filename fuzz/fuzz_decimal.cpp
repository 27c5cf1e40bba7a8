// Feeds arbitrary text to the decimal parser in both widths and checks that what parses
// prints and parses back to the same value and text, through the routines and the streams;
// also drives arithmetic and the printers with raw 16-byte images.
#include <vexapi/values/qvarn.h>
#include <vexapi/core/wstring.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

using OrvCPP::OrvDec;

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

bool same(const OrvDec& a, const OrvDec& b) { return std::memcmp(&a, &b, 16) == 0; }

// A parsed value prints, and its text parses to the same bytes and prints the same.
void checkStable(const OrvDec& a)
{
    char t1[OrvDec::TextSize], t2[OrvDec::TextSize];
    check(DECTOSTR(&a, t1, sizeof t1) == QV_OK);
    OrvDec b;
    check(STRTODEC(t1, &b) == QV_OK);
    check(same(a, b));
    check(DECTOSTR(&b, t2, sizeof t2) == QV_OK);
    check(std::strcmp(t1, t2) == 0);

    std::stringstream ss;
    ss << a;
    OrvDec c;
    ss >> c;
    check(!ss.fail() && same(a, c));

    // Through double: the decimal made from the double holds it exactly unless digits below
    // 10^-33 had to be rounded off (which leaves scale 33).
    double d = DecToDbl(&a);
    OrvDec e(d);
    if (e.isValid() && e.scale() < OrvDec::MaxScale)
        check(DecToDbl(&e) == d);
}

// Whatever the operands, operations answer well-formed values, and the algebra that holds
// exactly does hold.
void checkArithmetic(const OrvDec& a, const OrvDec& b)
{
    OrvDec sum = a + b, diff = a - b, prod = a * b, quot = a / b;
    const OrvDec* results[] = {&sum, &diff, &prod, &quot};
    for (const OrvDec* r : results)
        if (r->isValid())
            checkStable(*r);
    check(OrvDec::compare(sum, b + a) == 0);
    check(OrvDec::compare(prod, b * a) == 0);
    check(OrvDec::compare(a, b) == -OrvDec::compare(b, a));
    check((a < b) + (a == b) + (b < a) == 1);
    check(-(-a) == a);
    if (a.isValid() && b.isValid() && sum.isValid() && a.scale() == b.scale() &&
        sum.scale() == a.scale())
        check(sum - b == a); // no rounding happened: exact
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    OrvDec a;
    int rc = STRTODEC(text, &a, int(size));
    check(rc == QV_OK || rc == QV_ESYNTAX || rc == QV_ERANGE);

    WString wide;
    for (std::size_t i = 0; i < size; ++i)
        wide.push_back(WChar(data[i]));
    OrvDec w;
    check(STRTODEC(wide.data(), &w, int(size)) == rc);
    if (rc == QV_OK) {
        check(same(a, w));
        checkStable(a);
    }

    // Two numbers: the input split at its first blank.
    const void* blank = std::memchr(data, ' ', size);
    if (blank) {
        std::size_t n = std::size_t(static_cast<const std::uint8_t*>(blank) - data);
        OrvDec x, y;
        if (STRTODEC(text, &x, int(n)) == QV_OK &&
            STRTODEC(text + n + 1, &y, int(size - n - 1)) == QV_OK)
            checkArithmetic(x, y);
    }

    // Raw images: anything in 16 bytes reads as a well-formed value.
    if (size >= 32) {
        OrvDec x, y;
        std::memcpy(&x, data, 16);
        std::memcpy(&y, data + 16, 16);
        // A raw image may be a non-canonical spelling (a negative zero): its copy is the
        // canonical one, equal in value, and that one is stable.
        OrvDec cx;
        check(COPYDEC(&cx, &x) == QV_OK);
        check(OrvDec::compare(x, cx) == 0);
        char b1[OrvDec::TextSize], b2[OrvDec::TextSize];
        int r1 = DECTOSTR(&x, b1, sizeof b1), r2 = DECTOSTR(&cx, b2, sizeof b2);
        check(r1 == r2 && std::strcmp(b1, b2) == 0);
        if (cx.isValid())
            checkStable(cx);
        (void)DecToDbl(&x);
        checkArithmetic(x, y);
    }
    return 0;
}

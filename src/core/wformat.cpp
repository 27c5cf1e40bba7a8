// printf-style formatting of 16-bit text. Text and padding are done here; the digits of a
// number come from the C library's narrow snprintf, so numbers look as printf makes them.
#include <vexapi/core/wformat.h>

#include "platformtext.h"
#include <vexapi/core/wtext.h>
#include <vexapi/core/wstring.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

const WChar kNull[] = {'(', 'n', 'u', 'l', 'l', ')', 0};

// The output: writes what fits into `dst` and counts every unit, so that a measuring call
// and a cut one give the same result.
struct Output {
    WChar* dst;
    long long size;
    long long count = 0;

    void put(WChar c)
    {
        if (dst && count < size - 1)
            dst[count] = c;
        ++count;
    }
    void put(const WChar* s, long long n)
    {
        for (long long i = 0; i < n; ++i)
            put(s[i]);
    }
    void pad(WChar c, long long n)
    {
        // A huge width is counted, not written unit by unit past the buffer.
        if (n <= 0)
            return;
        const long long room = dst ? size - 1 - count : 0;
        const long long written = room > 0 ? (n < room ? n : room) : 0;
        for (long long i = 0; i < written; ++i)
            dst[count + i] = c;
        count += n;
    }
    int finish()
    {
        if (dst && size > 0)
            dst[count < size - 1 ? count : size - 1] = 0;
        return count > INT_MAX ? INT_MAX : static_cast<int>(count);
    }
};

enum Length { LenNone, LenHH, LenH, LenL, LenLL, LenBigL, LenZ, LenJ, LenT };

struct Directive {
    bool left = false, plus = false, space = false, alt = false, zero = false;
    int width = 0;
    int precision = -1; // -1: none
    Length length = LenNone;
    WChar conv = 0;
};

// The narrow printf conversion for a number, without its width and the - and 0 flags:
// the width is applied by pad() below, so that no width asks the C library for a buffer.
std::string narrowDirective(const Directive& s, const char* length)
{
    std::string directive = "%";
    if (s.plus)
        directive += '+';
    if (s.space)
        directive += ' ';
    if (s.alt)
        directive += '#';
    if (s.precision >= 0)
        directive += "." + std::to_string(s.precision);
    directive += length;
    directive += static_cast<char>(s.conv);
    return directive;
}

// The C library's text for one number. The msvcrt flavour of snprintf gives -1 when the
// buffer is short rather than the size it needs, so the buffer grows until the text fits.
template <class T>
std::string formatNumber(const std::string& directive, T value)
{
    std::vector<char> buf(128);
    for (;;) {
        const int n = std::snprintf(buf.data(), buf.size(), directive.c_str(), value);
        if (n >= 0 && static_cast<size_t>(n) < buf.size())
            return std::string(buf.data(), static_cast<size_t>(n));
        const size_t want = n >= 0 ? static_cast<size_t>(n) + 1 : buf.size() * 2;
        if (want > (size_t(1) << 28))
            return std::string(); // past any text the formatter could hand out
        buf.resize(want);
    }
}

// Writes a formatted number with the width of `s`: zeros go after the sign and a 0x
// prefix, as printf puts them.
void putNumber(Output& out, const Directive& s, const std::string& text, bool zeroAllowed)
{
    const long long len = static_cast<long long>(text.size());
    const long long fill = s.width > len ? s.width - len : 0;
    size_t digitsAt = 0;
    if (!text.empty() && (text[0] == '-' || text[0] == '+' || text[0] == ' '))
        digitsAt = 1;
    if (text.size() >= digitsAt + 2 && text[digitsAt] == '0' &&
        (text[digitsAt + 1] == 'x' || text[digitsAt + 1] == 'X'))
        digitsAt += 2;
    if (s.left) {
        for (char c : text)
            out.put(WChar(static_cast<unsigned char>(c)));
        out.pad(' ', fill);
    } else if (s.zero && zeroAllowed) {
        for (size_t i = 0; i < digitsAt; ++i)
            out.put(WChar(static_cast<unsigned char>(text[i])));
        out.pad('0', fill);
        for (size_t i = digitsAt; i < text.size(); ++i)
            out.put(WChar(static_cast<unsigned char>(text[i])));
    } else {
        out.pad(' ', fill);
        for (char c : text)
            out.put(WChar(static_cast<unsigned char>(c)));
    }
}

void putText(Output& out, const Directive& s, const WChar* text)
{
    if (!text)
        text = kNull;
    long long n = 0;
    // With a precision the argument needs no terminator: read no further than it.
    while ((s.precision < 0 || n < s.precision) && text[n])
        ++n;
    if (s.precision >= 0 && n > 0 && n == s.precision && text[n - 1] >= 0xD800 &&
        text[n - 1] <= 0xDBFF && text[n] >= 0xDC00 && text[n] <= 0xDFFF)
        --n; // never half a surrogate pair
    const long long fill = s.width > n ? s.width - n : 0;
    if (!s.left)
        out.pad(' ', fill);
    out.put(text, n);
    if (s.left)
        out.pad(' ', fill);
}

// Reads a decimal number from the format, saturating instead of overflowing.
int readNumber(const WChar*& f)
{
    long long v = 0;
    while (*f >= '0' && *f <= '9') {
        v = v * 10 + (*f - '0');
        if (v > INT_MAX)
            v = INT_MAX;
        ++f;
    }
    return static_cast<int>(v);
}

void formatSigned(Output& out, Directive& s, va_list* ap)
{
    long long v;
    switch (s.length) {
    case LenHH: v = static_cast<signed char>(va_arg(*ap, int)); break;
    case LenH: v = static_cast<short>(va_arg(*ap, int)); break;
    case LenL: v = va_arg(*ap, long); break;
    case LenLL: v = va_arg(*ap, long long); break;
    case LenZ: v = static_cast<long long>(va_arg(*ap, ptrdiff_t)); break; // signed size_t
    case LenJ: v = static_cast<long long>(va_arg(*ap, intmax_t)); break;
    case LenT: v = static_cast<long long>(va_arg(*ap, ptrdiff_t)); break;
    default: v = va_arg(*ap, int); break;
    }
    s.conv = 'd';
    putNumber(out, s, formatNumber(narrowDirective(s, "ll"), v), s.precision < 0);
}

void formatUnsigned(Output& out, Directive& s, va_list* ap)
{
    unsigned long long v;
    switch (s.length) {
    case LenHH: v = static_cast<unsigned char>(va_arg(*ap, unsigned)); break;
    case LenH: v = static_cast<unsigned short>(va_arg(*ap, unsigned)); break;
    case LenL: v = va_arg(*ap, unsigned long); break;
    case LenLL: v = va_arg(*ap, unsigned long long); break;
    case LenZ: v = va_arg(*ap, size_t); break;
    case LenJ: v = static_cast<unsigned long long>(va_arg(*ap, uintmax_t)); break;
    case LenT: v = static_cast<unsigned long long>(va_arg(*ap, ptrdiff_t)); break;
    default: v = va_arg(*ap, unsigned); break;
    }
    putNumber(out, s, formatNumber(narrowDirective(s, "ll"), v), s.precision < 0);
}

void formatFloat(Output& out, Directive& s, va_list* ap)
{
    std::string text;
    if (s.length == LenBigL)
        text = formatNumber(narrowDirective(s, "L"), va_arg(*ap, long double));
    else
        text = formatNumber(narrowDirective(s, ""), va_arg(*ap, double));
    // Infinity and NaN are padded with blanks, as printf does.
    bool finite = true;
    for (char c : text)
        if (c == 'n' || c == 'N')
            finite = false;
    putNumber(out, s, text, finite);
}

} // namespace

int wvsnprintf(WChar* dst, int size, const WChar* format, va_list args)
{
    if (!format) {
        if (dst && size > 0)
            dst[0] = 0;
        return -1;
    }
    Output out{dst, size > 0 ? size : 0};
    va_list ap;
    va_copy(ap, args);
    const WChar* f = format;
    while (*f) {
        if (*f != '%') {
            out.put(*f++);
            continue;
        }
        const WChar* convStart = f++;
        if (*f == '%') {
            out.put('%');
            ++f;
            continue;
        }
        Directive s;
        for (;; ++f) {
            if (*f == '-')
                s.left = true;
            else if (*f == '+')
                s.plus = true;
            else if (*f == ' ')
                s.space = true;
            else if (*f == '#')
                s.alt = true;
            else if (*f == '0')
                s.zero = true;
            else
                break;
        }
        if (*f == '*') {
            ++f;
            const int w = va_arg(ap, int);
            if (w < 0) {
                s.left = true;
                s.width = w == INT_MIN ? INT_MAX : -w;
            } else {
                s.width = w;
            }
        } else {
            s.width = readNumber(f);
        }
        if (*f == '.') {
            ++f;
            if (*f == '*') {
                ++f;
                const int p = va_arg(ap, int);
                s.precision = p < 0 ? -1 : p;
            } else {
                s.precision = readNumber(f);
            }
        }
        switch (*f) {
        case 'h':
            ++f;
            s.length = LenH;
            if (*f == 'h') {
                ++f;
                s.length = LenHH;
            }
            break;
        case 'l':
            ++f;
            s.length = LenL;
            if (*f == 'l') {
                ++f;
                s.length = LenLL;
            }
            break;
        case 'L': ++f; s.length = LenBigL; break;
        case 'z': ++f; s.length = LenZ; break;
        case 'j': ++f; s.length = LenJ; break;
        case 't': ++f; s.length = LenT; break;
        case 'I':
            if (f[1] == '6' && f[2] == '4') {
                f += 3;
                s.length = LenLL;
            } else if (f[1] == '3' && f[2] == '2') {
                f += 3;
            } else {
                ++f; // %I alone: the width of size_t
                s.length = LenZ;
            }
            break;
        default: break;
        }
        s.conv = *f;
        if (s.conv == 0) {
            out.put(convStart, f - convStart); // a format that ends inside a conversion
            break;
        }
        ++f;
        switch (s.conv) {
        case 'd':
        case 'i':
            formatSigned(out, s, &ap);
            break;
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            formatUnsigned(out, s, &ap);
            break;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            formatFloat(out, s, &ap);
            break;
        case 'c':
        case 'C': {
            const int v = va_arg(ap, int);
            WChar unit[2] = {WChar(v), 0};
            if (s.conv == 'C' || s.length == LenH) {
                const char byte = static_cast<char>(v);
                const WString w = VexAPI::detail::widenPlatformText(&byte, 1);
                unit[0] = w.empty() ? WChar(0) : w[0];
            }
            Directive t = s;
            t.precision = -1;
            // A zero character is output like any other, which the text path would stop at.
            const long long fill = t.width > 1 ? t.width - 1 : 0;
            if (!t.left)
                out.pad(' ', fill);
            out.put(unit[0]);
            if (t.left)
                out.pad(' ', fill);
            break;
        }
        case 's':
        case 'S':
            if (s.conv == 'S' || s.length == LenH) {
                const char* narrowText = va_arg(ap, const char*);
                if (!narrowText) {
                    putText(out, s, nullptr);
                } else {
                    const WString w =
                        VexAPI::detail::widenPlatformText(narrowText, -1);
                    putText(out, s, w.c_str());
                }
            } else {
                putText(out, s, va_arg(ap, const WChar*));
            }
            break;
        case 'p': {
            Directive t = s;
            t.precision = -1;
            t.plus = t.space = t.alt = false;
            putNumber(out, t, formatNumber(std::string("%p"), va_arg(ap, void*)), false);
            break;
        }
        default:
            out.put(convStart, f - convStart);
            break;
        }
    }
    va_end(ap);
    return out.finish();
}

int wsnprintf(WChar* dst, int size, const WChar* format, ...)
{
    va_list ap;
    va_start(ap, format);
    const int n = wvsnprintf(dst, size, format, ap);
    va_end(ap);
    return n;
}

// Stream helpers shared by the text operators of OrvDec and OrvDate: writing a ready text and
// skipping blanks on streams of either character width.
#pragma once

#include <ios>
#include <istream>
#include <ostream>

namespace OrvCPP {
namespace detail {

// The 16-bit stream of the Linux build (char16_t) has no ctype facet, so these helpers never
// ask the stream to widen, skip blanks or pad: they work on the stream buffer, with the same
// code for both widths. Padding uses the stream's fill on 8-bit streams and a blank on
// 16-bit ones (whose fill would need the missing facet).
template <class C>
inline C fillOf(std::basic_ostream<C>&)
{
    return C(' ');
}

inline char fillOf(std::ostream& os) { return os.fill(); }

// Writes `len` ASCII characters of `text` as a formatted output operation: sentry, width
// and adjustment, then width(0). Sets badbit when the buffer refuses a character.
template <class C>
std::basic_ostream<C>& putText(std::basic_ostream<C>& os, const char* text, int len)
{
    typedef typename std::basic_ostream<C>::traits_type Traits;
    typename std::basic_ostream<C>::sentry ok(os);
    if (!ok)
        return os;
    std::streamsize pad = os.width() > len ? os.width() - len : 0;
    bool left = (os.flags() & std::ios_base::adjustfield) == std::ios_base::left;
    C fill = fillOf(os);
    std::basic_streambuf<C>* sb = os.rdbuf();
    bool good = true;
    for (std::streamsize i = 0; !left && i < pad && good; ++i)
        good = !Traits::eq_int_type(sb->sputc(fill), Traits::eof());
    for (int i = 0; i < len && good; ++i)
        good = !Traits::eq_int_type(sb->sputc(C(static_cast<unsigned char>(text[i]))),
                                    Traits::eof());
    for (std::streamsize i = 0; left && i < pad && good; ++i)
        good = !Traits::eq_int_type(sb->sputc(fill), Traits::eof());
    os.width(0);
    if (!good)
        os.setstate(std::ios_base::badbit);
    return os;
}

// A value that cannot be written: nothing is written and failbit is set, as for any failed
// output.
template <class C>
std::basic_ostream<C>& failOutput(std::basic_ostream<C>& os)
{
    os.width(0);
    os.setstate(std::ios_base::failbit);
    return os;
}

inline bool isStreamBlank(unsigned c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// After a sentry made with noskipws: skips blanks when the stream's skipws flag is set and
// answers the first character that is not one (or eof).
template <class C>
typename std::basic_istream<C>::int_type skipBlanks(std::basic_istream<C>& is)
{
    typedef typename std::basic_istream<C>::traits_type Traits;
    std::basic_streambuf<C>* sb = is.rdbuf();
    typename Traits::int_type c = sb->sgetc();
    if (is.flags() & std::ios_base::skipws)
        while (!Traits::eq_int_type(c, Traits::eof()) &&
               isStreamBlank(unsigned(Traits::to_char_type(c))))
            c = sb->snextc();
    return c;
}

} // namespace detail
} // namespace OrvCPP

// Runs the SQL text helpers on arbitrary 16-bit text: no crash, the keyword search stays in
// its text, and the spliced select keeps the input's text in order with the addition in it.
#include <vexapi/orvcpp/sqltext.h>
#include <vexapi/core/wstring.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {


WString ascii(const char* s)
{
    WString out;
    for (; *s; ++s)
        out += WChar(*s);
    return out;
}

bool isBlank(WChar c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

WString trimmed(const WString& s)
{
    std::size_t b = 0, e = s.size();
    while (b < e && isBlank(s[b]))
        ++b;
    while (e > b && isBlank(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

bool isSubsequence(const WString& part, const WString& whole)
{
    std::size_t j = 0;
    for (std::size_t i = 0; i < whole.size() && j < part.size(); ++i)
        if (whole[i] == part[j])
            ++j;
    return j == part.size();
}

void check(bool ok)
{
    if (!ok)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2 || size > 8192)
        return 0;
    // The bytes after the first are 16-bit characters. Those below 0x80 come from one byte, so
    // that SQL words and punctuation turn up often; a byte from 0x80 takes a second one.
    WString text;
    for (std::size_t i = 1; i < size; ++i) {
        WChar c = data[i];
        if (c >= 0x80 && i + 1 < size)
            c = WChar((c << 8) | data[++i]);
        // U+FFFF is the streams' end-of-file value (char_traits<char16_t>::eof(), and WEOF
        // where wchar_t has 16 bits): no basic_ostream<WChar> can carry it.
        text += c == 0 || c == 0xFFFF ? WChar(' ') : c;
    }
    const std::size_t split = text.empty() ? 0 : data[0] % (text.size() + 1);
    const WString select = text.substr(0, split);
    const WString addition = text.substr(split);

    static const char* const keywords[] = {"WHERE", "ORDER BY", "GROUP BY", "FROM", "'x'"};
    const WString keyword = ascii(keywords[data[0] % 5]);
    const WChar* found = FindSQLKeyword(select.c_str(), keyword.c_str());
    check(!found || (found >= select.c_str() && found < select.c_str() + select.size()));
    const WChar* own = FindSQLKeyword(select.c_str(), addition.c_str());
    check(!own || (own >= select.c_str() && own < select.c_str() + select.size()));

    const WString add = trimmed(addition);
    {
        std::basic_ostringstream<WChar> out;
        AppendWhere(out, select.c_str(), addition.c_str());
        const WString r = out.str();
        if (add.empty())
            check(r == select);
        else
            check(isSubsequence(select, r) && r.find(add) != WString::npos);
    }
    {
        std::basic_ostringstream<WChar> out;
        AppendOrderBy(out, select.c_str(), addition.c_str());
        const WString r = out.str();
        if (add.empty()) {
            check(r == select);
        } else {
            check(r.find(add) != WString::npos);
            // Only a replaced ORDER BY list may drop text of the select.
            check(isSubsequence(select, r) ||
                  FindSQLKeyword(select.c_str(), ascii("ORDER BY").c_str()) != nullptr);
        }
    }
    return 0;
}

// Runs the select analysis on arbitrary 16-bit text: no crash and no read past the text,
// a failure leaves an empty description with a reason and an offset inside the text, every
// name fits the token limit, and the alias accessor never writes past its buffer.
#include <vexapi/sql/sqlanalysis.h>
#include <vexapi/core/wstring.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace DataSourceAPI;

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

void checkPath(const SQLNamePath& path)
{
    for (int i = 0; i < path.size(); ++i)
        check(path[i].length() <= sqlMaxTokenLength);
}

void checkDesc(const SQLQueryDesc& d, int depth)
{
    check(depth < sqlMaxNesting);
    for (int i = 0; i < d.columns.size(); ++i) {
        const SQLQueryDesc::Column& c = d.columns[i];
        checkPath(c.path);
        checkPath(c.alias);
        check(c.simple ? !c.path.empty() : c.path.empty());
    }
    for (int i = 0; i < d.tables.size(); ++i) {
        const SQLQueryDesc::Table& t = d.tables[i];
        check(t.isSubquery == (t.subquery != nullptr));
        check(t.isSubquery ? t.path.empty() : !t.path.empty());
        checkPath(t.path);
        checkPath(t.alias);
        if (t.subquery)
            checkDesc(*t.subquery, depth + 1);
    }
}

const char* const kPrefixes[] = {"", "SELECT ", "SELECT a FROM t WHERE ", "SELECT a FROM "};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1 || size > 16384)
        return 0;
    // The text sits in a buffer of exactly its length and terminator, so that a read past
    // it is seen. A prefix picked by the first byte takes the parser deeper more often; the
    // bytes after it are characters, those below 0x80 from one byte, the rest from two.
    std::vector<WChar> text;
    for (const char* p = kPrefixes[data[0] % 4]; *p; ++p)
        text.push_back(WChar(*p));
    for (std::size_t i = 1; i < size; ++i) {
        WChar c = data[i];
        if (c >= 0x80 && i + 1 < size)
            c = WChar((c << 8) | data[++i]);
        if (c != 0)
            text.push_back(c);
    }
    text.push_back(0);

    SQLQueryDesc d;
    const bool ok = parseSelect(text.data(), d);
    if (ok) {
        check(d.failure() == sqlParseOk);
        checkDesc(d, 0);
        (void)d.selectsAll();
    } else {
        check(d.failure() != sqlParseOk);
        check(d.failureOffset() >= 0 && d.failureOffset() <= int(text.size()) - 1);
        check(d.columns.empty() && d.tables.empty());
    }

    // The accessor cuts to the buffer: the guard characters after it stay.
    const int len = int(data[0] % 8);
    std::vector<WChar> buf(std::size_t(len) + 4, WChar(0x5A5A));
    for (int i = -1; i <= d.columns.size(); ++i) {
        const bool got = columnAlias(d, i, buf.data(), len);
        check(!got || (len >= 1 && i >= 0 && i < d.columns.size()));
        for (std::size_t k = std::size_t(len); k < buf.size(); ++k)
            check(buf[k] == WChar(0x5A5A));
    }

    // A copy describes the same.
    SQLQueryDesc copy(d);
    check(copy.columns.size() == d.columns.size() && copy.tables.size() == d.tables.size());
    return 0;
}

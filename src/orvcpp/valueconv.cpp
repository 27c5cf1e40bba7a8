// Values between SQLite and the fetch forms of the client layer.
#include "valueconv.h"

#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/orvcpp/orvx.h>
#include <vexapi/values/servertypes.h>

#include <vexapi/core/charset.h>

#include <sqlite3.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

namespace OrvCPP {
namespace detail {

namespace {

std::string upper(const char* s)
{
    std::string out;
    for (; s && *s; ++s)
        out += char(std::toupper(static_cast<unsigned char>(*s)));
    return out;
}

bool hasWord(const std::string& decl, const char* word)
{
    // A whole word of the declared type: "CHAR" is in "NATIONAL CHAR(5)", not in "VARCHAR".
    const std::size_t n = std::strlen(word);
    for (std::size_t at = decl.find(word); at != std::string::npos; at = decl.find(word, at + 1)) {
        const bool startOk = at == 0 || !std::isalnum(static_cast<unsigned char>(decl[at - 1]));
        const bool endOk = at + n >= decl.size() || !std::isalnum(static_cast<unsigned char>(decl[at + n]));
        if (startOk && endOk)
            return true;
    }
    return false;
}

bool contains(const std::string& decl, const char* part) { return decl.find(part) != std::string::npos; }

// The numbers of "(n)" or "(p, s)"; -1 where missing.
void sizes(const std::string& decl, int& first, int& second)
{
    first = second = -1;
    std::size_t open = decl.find('(');
    if (open == std::string::npos)
        return;
    const char* p = decl.c_str() + open + 1;
    char* end = nullptr;
    long a = std::strtol(p, &end, 10);
    if (end == p)
        return;
    first = int(std::min(a, 1000000L));
    while (*end == ' ')
        ++end;
    if (*end == ',') {
        long b = std::strtol(end + 1, &end, 10);
        second = int(std::min(b, 1000000L));
    }
}

int capLength(long n) { return int(n > 65535 ? 65535 : (n < 0 ? 0 : n)); }

// The number of bytes of `s` (of `n`) that fit `room` without splitting a UTF-8 sequence.
std::size_t utf8Fit(const char* s, std::size_t n, std::size_t room)
{
    if (n <= room)
        return n;
    std::size_t k = room;
    while (k > 0 && (static_cast<unsigned char>(s[k]) & 0xC0) == 0x80)
        --k;
    return k;
}

OrvX conversionError(int column, const std::string& what)
{
    return OrvX::client(orvapiConversion, "column " + std::to_string(column) + ": " + what);
}

// Strict parse of a whole text as an integer (blanks around allowed).
bool parseInt(const char* text, std::int64_t& out)
{
    if (!text)
        return false;
    while (*text == ' ')
        ++text;
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(text, &end, 10);
    if (end == text || errno == ERANGE)
        return false;
    while (*end == ' ')
        ++end;
    if (*end)
        return false;
    out = v;
    return true;
}

bool parseReal(const char* text, double& out)
{
    if (!text)
        return false;
    while (*text == ' ')
        ++text;
    char* end = nullptr;
    double v = std::strtod(text, &end);
    if (end == text)
        return false;
    while (*end == ' ')
        ++end;
    if (*end)
        return false;
    out = v;
    return true;
}

// A sqlite3_value as storeValue reads it.
struct SqliteSource {
    sqlite3_value* v;
    int type() const { return sqlite3_value_type(v); }
    std::int64_t int64() const { return sqlite3_value_int64(v); }
    double real() const { return sqlite3_value_double(v); }
    const unsigned char* text() const { return sqlite3_value_text(v); }
    int bytes() const { return sqlite3_value_bytes(v); }
    const void* text16() const { return sqlite3_value_text16(v); }
    int bytes16() const { return sqlite3_value_bytes16(v); }
    const void* blob() const { return sqlite3_value_blob(v); }
};

// An integer out of any SQLite value; OrvX when it isn't one.
template <class Source>
std::int64_t integerOf(const Source& v, int column)
{
    switch (v.type()) {
    case SQLITE_INTEGER:
        return v.int64();
    case SQLITE_FLOAT: {
        double d = v.real();
        if (std::floor(d) == d && d >= -9.2233720368547758e18 && d < 9.2233720368547758e18)
            return std::int64_t(d);
        throw conversionError(column, "the value " + std::to_string(d) + " is not an integer");
    }
    case SQLITE_TEXT: {
        const char* t = reinterpret_cast<const char*>(v.text());
        std::int64_t i;
        if (parseInt(t, i))
            return i;
        double d;
        if (parseReal(t, d) && std::floor(d) == d && std::fabs(d) < 9.2e18)
            return std::int64_t(d);
        throw conversionError(column, std::string("the text '") + (t ? t : "") + "' is not an integer");
    }
    default:
        throw conversionError(column, "a blob is not an integer");
    }
}

template <class Source>
double realOf(const Source& v, int column)
{
    switch (v.type()) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        return v.real();
    case SQLITE_TEXT: {
        const char* t = reinterpret_cast<const char*>(v.text());
        double d;
        if (parseReal(t, d))
            return d;
        throw conversionError(column, std::string("the text '") + (t ? t : "") + "' is not a number");
    }
    default:
        throw conversionError(column, "a blob is not a number");
    }
}

template <class Source>
OrvDate dateOf(const Source& v)
{
    OrvDate d = OrvDate::invalid();
    switch (v.type()) {
    case SQLITE_TEXT: {
        // A copy to adjust, on the stack: dates are read in read loops, which allocate
        // nothing. A text too long for it is no date.
        const char* src = reinterpret_cast<const char*>(v.text());
        std::size_t n = std::size_t(v.bytes());
        char t[64];
        if (!src || n >= sizeof t)
            return d;
        std::memcpy(t, src, n);
        t[n] = 0;
        // ISO 8601 as SQLite's date functions may write it: a 'T' between date and time,
        // a 'Z' at the end.
        if (n > 10 && t[10] == 'T')
            t[10] = ' ';
        if (n > 0 && t[n - 1] == 'Z')
            t[--n] = 0;
        if (OrvDate::fromText(t, int(n), d) != 0)
            d = OrvDate::invalid();
        return d;
    }
    case SQLITE_INTEGER: // seconds since 1970-01-01
        return OrvDate::fromTicks((v.int64() + 62135596800LL) * 100);
    case SQLITE_FLOAT: { // a Julian day number, as SQLite's julianday() gives it
        double ticks = (v.real() - 1721425.5) * 8640000.0;
        return ticks >= 0 && ticks < 1e18 ? OrvDate::fromTicks(std::int64_t(std::llround(ticks))) : d;
    }
    default:
        return d;
    }
}

// The bytes of a SQLite text without the NUL that marks a decimal kept as text.
std::size_t textBytes(const char* t, int bytes)
{
    std::size_t n = std::size_t(bytes > 0 ? bytes : 0);
    return n > 0 && t[n - 1] == 0 ? n - 1 : n;
}

template <class Source>
OrvDec decimalOf(const Source& v)
{
    switch (v.type()) {
    case SQLITE_INTEGER:
        return OrvDec::fromInt64(v.int64());
    case SQLITE_FLOAT:
        return OrvDec(v.real());
    case SQLITE_TEXT: {
        OrvDec d;
        const char* t = reinterpret_cast<const char*>(v.text());
        if (OrvDec::fromText(t, int(textBytes(t, v.bytes())), d) != 0)
            return OrvDec::invalid();
        return d;
    }
    default:
        return OrvDec::invalid();
    }
}

template <class T>
void put(void* dst, T value)
{
    std::memcpy(dst, &value, sizeof value);
}

template <class T>
T* stepped(T* p, std::ptrdiff_t step)
{
    typedef typename std::conditional<std::is_const<T>::value, const char*, char*>::type Bytes;
    return p ? reinterpret_cast<T*>(reinterpret_cast<Bytes>(p) + step) : nullptr;
}

} // namespace

ColumnType typeFromDeclared(const char* declared)
{
    ColumnType t;
    const std::string d = upper(declared);
    int a, b;
    sizes(d, a, b);
    if (d.empty()) {
        t.type = orvBlob;
        t.length = 0;
    } else if (hasWord(d, "BOOL") || hasWord(d, "BOOLEAN")) {
        t.type = orvBoolean, t.length = 1, t.precision = 1;
    } else if (contains(d, "BIGINT") || contains(d, "INT8")) {
        t.type = orvBigInt, t.length = 8, t.precision = 19;
    } else if (contains(d, "SMALLINT") || contains(d, "TINYINT") || contains(d, "INT2")) {
        t.type = orvSmallInt, t.length = 2, t.precision = 5;
    } else if (contains(d, "INT")) {
        t.type = orvInteger, t.length = 4, t.precision = 10;
    } else if (contains(d, "NVARCHAR") || contains(d, "NTEXT") || contains(d, "NCLOB") ||
               (hasWord(d, "NATIONAL") && (contains(d, "VARCHAR") || contains(d, "VARYING"))) ||
               (hasWord(d, "NCHAR") && contains(d, "VARYING"))) {
        t.type = orvWideVarChar, t.length = capLength(2L * (a > 0 ? a : 255));
    } else if (hasWord(d, "NCHAR") || hasWord(d, "NATIONAL")) {
        t.type = orvWideChar, t.length = capLength(2L * (a > 0 ? a : 1));
    } else if ((hasWord(d, "CHAR") || hasWord(d, "CHARACTER")) && !contains(d, "VARYING")) {
        t.type = orvChar, t.length = capLength(a > 0 ? a : 1);
    } else if (contains(d, "CHAR") || contains(d, "CLOB") || contains(d, "TEXT")) {
        t.type = orvVarChar, t.length = capLength(a > 0 ? a : 255);
    } else if (hasWord(d, "VARBINARY")) {
        t.type = orvVarBinary, t.length = capLength(a > 0 ? a : 255);
    } else if (hasWord(d, "BINARY")) {
        t.type = orvBinary, t.length = capLength(a > 0 ? a : 1);
    } else if (contains(d, "BLOB")) {
        t.type = orvBlob, t.length = 0;
    } else if (contains(d, "DECIMAL") || contains(d, "NUMERIC") || contains(d, "NUMBER") || contains(d, "MONEY")) {
        t.type = orvDecimal, t.length = 16;
        t.precision = a > 0 ? std::min(a, int(OrvDec::MaxDigits)) : 18;
        t.scale = b > 0 ? std::min(b, t.precision) : 0;
        t.scaleDeclared = a > 0;
    } else if (contains(d, "DATE") || contains(d, "TIME")) {
        t.type = orvDate, t.length = 16;
    } else if (hasWord(d, "FLOAT4") || hasWord(d, "SINGLE")) {
        t.type = orvFloat, t.length = 4, t.precision = 7;
    } else if (contains(d, "REAL") || contains(d, "FLOA") || contains(d, "DOUB")) {
        t.type = orvDouble, t.length = 8, t.precision = 15;
    } else {
        t.type = orvVarChar, t.length = 255;
    }
    return t;
}

ColumnType typeFromValue(int sqliteType, int bytes)
{
    ColumnType t;
    switch (sqliteType) {
    case SQLITE_INTEGER:
        t.type = orvBigInt, t.length = 8, t.precision = 19;
        break;
    case SQLITE_FLOAT:
        t.type = orvDouble, t.length = 8, t.precision = 15;
        break;
    case SQLITE_BLOB:
        t.type = orvBlob, t.length = 0;
        break;
    case SQLITE_TEXT:
        t.type = orvVarChar, t.length = capLength(bytes > 255 ? bytes : 255);
        break;
    default:
        t.type = orvVarChar, t.length = 255;
        break;
    }
    return t;
}

SqlValue decimalValue(const OrvDec& d)
{
    SqlValue v;
    const OrvDec whole = d.rescale(0);
    if (whole == d && whole.coefficientHigh() == 0 &&
        whole.coefficientLow() <= std::uint64_t(std::numeric_limits<std::int64_t>::max())) {
        const auto c = std::int64_t(whole.coefficientLow());
        v.type = SqlValue::Integer, v.i = whole.isNegative() ? -c : c;
        return v;
    }
    const double x = double(d);
    if (OrvDec(x) == d) {
        v.type = SqlValue::Real, v.d = x;
        return v;
    }
    char text[OrvDec::TextSize];
    d.toText(text, sizeof text);
    // The NUL makes the text no number to SQLite's numeric affinity, which would otherwise
    // store it as the nearest double; SQLite's arithmetic still reads the number before it.
    v.type = SqlValue::Text;
    v.bytes.assign(text, std::strlen(text) + 1);
    return v;
}

SqlValue valueFromInfo(const ValueInfo& info, std::ptrdiff_t step, short param)
{
    SqlValue v;
    const char* flag = stepped(info.nullFlag(), step);
    if (flag && *flag)
        return v;
    const char* p = stepped(static_cast<const char*>(info.buffer()), step);
    const VLong* realLen = stepped(info.realLen(), step);
    const std::size_t len = std::size_t(info.len() > 0 ? info.len() : 0);
    auto fail = [&](const std::string& what) {
        OrvX x = OrvX::client(info.type() == orvNone ? orvapiBadArgument : orvapiConversion,
                              "parameter " + std::to_string(param) + ": " + what);
        x.setBadParamNum(param);
        return x;
    };
    if (!p && info.type() != orvNone)
        throw fail("no buffer");
    switch (info.type()) {
    case orvChar:
    case orvVarChar:
    case orvCString:
    case orvExtChar: {
        std::size_t n = 0;
        while (n < len && p[n])
            ++n;
        v.type = SqlValue::Text;
        v.bytes.assign(p, n);
        break;
    }
    case orvWideChar:
    case orvWideVarChar: {
        const WChar* w = reinterpret_cast<const WChar*>(p);
        int units = 0;
        while (std::size_t(units) < len / 2 && w[units])
            ++units;
        const int need = wcs2mbs(nullptr, w, "UTF-8", 0, units);
        std::string out(std::size_t(need > 0 ? need : 0) + 1, '\0');
        if (need > 0)
            wcs2mbs(&out[0], w, "UTF-8", need + 1, units);
        out.resize(std::size_t(need > 0 ? need : 0));
        v.type = SqlValue::Text;
        v.bytes = out;
        break;
    }
    case orvInteger: {
        VLong x;
        std::memcpy(&x, p, sizeof x);
        v.type = SqlValue::Integer, v.i = x;
        break;
    }
    case orvBigInt: {
        std::int64_t x;
        std::memcpy(&x, p, sizeof x);
        v.type = SqlValue::Integer, v.i = x;
        break;
    }
    case orvSmallInt: {
        short x;
        std::memcpy(&x, p, sizeof x);
        v.type = SqlValue::Integer, v.i = x;
        break;
    }
    case orvBoolean:
        v.type = SqlValue::Integer, v.i = *p ? 1 : 0;
        break;
    case orvFloat: {
        float x;
        std::memcpy(&x, p, sizeof x);
        v.type = SqlValue::Real, v.d = x;
        break;
    }
    case orvDouble: {
        double x;
        std::memcpy(&x, p, sizeof x);
        v.type = SqlValue::Real, v.d = x;
        break;
    }
    case orvDate: {
        OrvDate d;
        std::memcpy(&d, p, sizeof d);
        char text[OrvDate::TextSize];
        if (d.toText(text, sizeof text) != 0)
            throw fail("an invalid date");
        v.type = SqlValue::Text, v.bytes = text;
        break;
    }
    case orvDecimal: {
        OrvDec d;
        std::memcpy(&d, p, sizeof d);
        if (!d.isValid())
            throw fail("a decimal that holds no number");
        v = decimalValue(d);
        break;
    }
    case orvBinary:
    case orvVarBinary:
    case orvBlob: {
        std::size_t n = len;
        if (realLen && *realLen >= 0 && std::size_t(*realLen) < n)
            n = std::size_t(*realLen);
        v.type = SqlValue::Blob, v.bytes.assign(p, n);
        break;
    }
    default:
        throw fail("the type " + std::to_string(info.type()) + " can't be sent");
    }
    return v;
}

SqlValue valueFromSqlite(sqlite3_value* value)
{
    SqlValue v;
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        v.type = SqlValue::Integer, v.i = sqlite3_value_int64(value);
        break;
    case SQLITE_FLOAT:
        v.type = SqlValue::Real, v.d = sqlite3_value_double(value);
        break;
    case SQLITE_TEXT:
        v.type = SqlValue::Text;
        v.bytes.assign(reinterpret_cast<const char*>(sqlite3_value_text(value)), std::size_t(sqlite3_value_bytes(value)));
        break;
    case SQLITE_BLOB: {
        v.type = SqlValue::Blob;
        const int n = sqlite3_value_bytes(value);
        const void* b = sqlite3_value_blob(value);
        if (b && n > 0)
            v.bytes.assign(static_cast<const char*>(b), std::size_t(n));
        break;
    }
    default:
        break;
    }
    return v;
}

int bindValue(sqlite3_stmt* stmt, int index, const SqlValue& v)
{
    switch (v.type) {
    case SqlValue::Integer:
        return sqlite3_bind_int64(stmt, index, v.i);
    case SqlValue::Real:
        return sqlite3_bind_double(stmt, index, v.d);
    case SqlValue::Text:
        return sqlite3_bind_text(stmt, index, v.bytes.data(), int(v.bytes.size()), SQLITE_TRANSIENT);
    case SqlValue::Blob:
        return sqlite3_bind_blob(stmt, index, v.bytes.data(), int(v.bytes.size()), SQLITE_TRANSIENT);
    default:
        return sqlite3_bind_null(stmt, index);
    }
}

namespace {

template <class Source>
void storeFrom(const Source& v, const ValueInfo& info, std::ptrdiff_t step, int column,
               int declaredScale)
{
    if (info.type() == orvNone)
        return;
    char* flag = stepped(info.nullFlag(), step);
    char* p = stepped(static_cast<char*>(info.buffer()), step);
    VLong* realLen = stepped(info.realLen(), step);
    const std::size_t len = std::size_t(info.len() > 0 ? info.len() : 0);
    if (!p && len > 0)
        throw OrvX::client(orvapiBadArgument, "column " + std::to_string(column) + ": no buffer");
    if (v.type() == SQLITE_NULL) {
        if (flag)
            *flag = 1;
        if (p)
            std::memset(p, 0, len);
        if (realLen)
            *realLen = 0;
        return;
    }
    VLong real = 0;
    switch (info.type()) {
    case orvChar:
    case orvVarChar:
    case orvCString:
    case orvExtChar: {
        const char* t = reinterpret_cast<const char*>(v.text());
        const std::size_t n = textBytes(t, v.bytes());
        if (len > 0) {
            const std::size_t k = utf8Fit(t, n, len - 1);
            std::memcpy(p, t, k);
            p[k] = 0;
        }
        real = VLong(n);
        break;
    }
    case orvWideChar:
    case orvWideVarChar: {
        const WChar* w = static_cast<const WChar*>(v.text16());
        std::size_t units = std::size_t(v.bytes16()) / 2;
        if (units > 0 && w[units - 1] == 0)
            --units; // a decimal kept as text

        const std::size_t room = len / 2;
        if (room > 0) {
            std::size_t k = units < room - 1 ? units : room - 1;
            // Never split a surrogate pair.
            if (k < units && k > 0 && w[k - 1] >= 0xD800 && w[k - 1] < 0xDC00)
                --k;
            std::memcpy(p, w, k * 2);
            reinterpret_cast<WChar*>(p)[k] = 0;
        }
        real = VLong(units * 2);
        break;
    }
    case orvInteger: {
        std::int64_t i = integerOf(v, column);
        if (i < std::numeric_limits<VLong>::min() || i > std::numeric_limits<VLong>::max())
            throw conversionError(column, "the value " + std::to_string(i) + " does not fit 32 bits");
        put(p, VLong(i));
        real = 4;
        break;
    }
    case orvBigInt:
        put(p, integerOf(v, column));
        real = 8;
        break;
    case orvSmallInt: {
        std::int64_t i = integerOf(v, column);
        if (i < -32768 || i > 65535)
            throw conversionError(column, "the value " + std::to_string(i) + " does not fit 16 bits");
        put(p, static_cast<unsigned short>(i & 0xFFFF));
        real = 2;
        break;
    }
    case orvBoolean:
        *p = integerOf(v, column) != 0 ? 1 : 0;
        real = 1;
        break;
    case orvFloat: {
        double d = realOf(v, column);
        if (std::isfinite(d) && std::fabs(d) > double(std::numeric_limits<float>::max()))
            throw conversionError(column, "the value does not fit a float");
        put(p, float(d));
        real = 4;
        break;
    }
    case orvDouble:
        put(p, realOf(v, column));
        real = 8;
        break;
    case orvDate:
        put(p, dateOf(v));
        real = 16;
        break;
    case orvDecimal: {
        OrvDec d = decimalOf(v);
        // The fetch form's scale, else the column's: a double or an integer keeps none.
        if (info.precision() > 0 && d.isValid())
            d = d.rescale(info.scale());
        else if (declaredScale >= 0 && d.isValid())
            d = d.rescale(declaredScale);
        put(p, d);
        real = 16;
        break;
    }
    case orvBinary:
    case orvVarBinary:
    case orvBlob: {
        const void* b = v.type() == SQLITE_BLOB ? v.blob() : v.text();
        const std::size_t n = std::size_t(v.bytes());
        const std::size_t k = n < len ? n : len;
        if (k > 0)
            std::memcpy(p, b, k);
        real = VLong(n);
        break;
    }
    default:
        throw OrvX::client(orvapiNotSupported, "column " + std::to_string(column) + ": the form " +
                                                   std::to_string(info.type()) + " can't be fetched");
    }
    if (flag)
        *flag = 0;
    if (realLen)
        *realLen = real;
}

// A statement that turns a value into a sqlite3_value ("SELECT ?1" on a private
// in-memory database, the one portable way to make one), kept per thread.
struct ValueMaker {
    sqlite3* db = nullptr;
    sqlite3_stmt* st = nullptr;
    ValueMaker()
    {
        sqlite3_open(":memory:", &db);
        sqlite3_prepare_v2(db, "SELECT ?1", -1, &st, nullptr);
    }
    ~ValueMaker()
    {
        sqlite3_finalize(st);
        sqlite3_close(db);
    }
};

ValueMaker& threadMaker()
{
    thread_local ValueMaker maker;
    return maker;
}

// A value of a fetched row as storeValue reads it. The forms a value has as it stands
// (an integer as an integer, a text as UTF-8) come from the row buffer; any other form (a
// number as text, a text as UTF-16) is made by SQLite, so that a buffered value converts
// exactly as the same value read from a statement would.
class BufferedSource {
public:
    BufferedSource(const BufferedValue& v, const char* bytes) : m_v(v), m_bytes(bytes) {}
    ~BufferedSource()
    {
        if (m_made)
            sqlite3_reset(threadMaker().st);
    }
    BufferedSource(const BufferedSource&) = delete;
    BufferedSource& operator=(const BufferedSource&) = delete;

    int type() const { return m_v.type; }
    std::int64_t int64() const { return m_v.type == SQLITE_INTEGER ? m_v.i : sqlite3_value_int64(made()); }
    double real() const
    {
        return m_v.type == SQLITE_FLOAT ? m_v.d : m_v.type == SQLITE_INTEGER ? double(m_v.i) : sqlite3_value_double(made());
    }
    const unsigned char* text() const
    {
        return m_v.type == SQLITE_TEXT ? reinterpret_cast<const unsigned char*>(m_bytes + m_v.offset)
                                       : sqlite3_value_text(made());
    }
    int bytes() const
    {
        return m_v.type == SQLITE_TEXT || m_v.type == SQLITE_BLOB ? int(m_v.length) : sqlite3_value_bytes(made());
    }
    const void* text16() const { return sqlite3_value_text16(made()); }
    int bytes16() const { return sqlite3_value_bytes16(made()); }
    const void* blob() const { return m_v.type == SQLITE_BLOB ? m_bytes + m_v.offset : sqlite3_value_blob(made()); }

private:
    sqlite3_value* made() const
    {
        if (!m_made) {
            sqlite3_stmt* st = threadMaker().st;
            switch (m_v.type) {
            case SQLITE_INTEGER:
                sqlite3_bind_int64(st, 1, m_v.i);
                break;
            case SQLITE_FLOAT:
                sqlite3_bind_double(st, 1, m_v.d);
                break;
            case SQLITE_TEXT:
                sqlite3_bind_text(st, 1, m_bytes + m_v.offset, int(m_v.length), SQLITE_STATIC);
                break;
            case SQLITE_BLOB:
                sqlite3_bind_blob(st, 1, m_bytes + m_v.offset, int(m_v.length), SQLITE_STATIC);
                break;
            default:
                sqlite3_bind_null(st, 1);
            }
            sqlite3_step(st);
            m_made = sqlite3_column_value(st, 0);
        }
        return m_made;
    }

    const BufferedValue& m_v;
    const char* m_bytes;
    mutable sqlite3_value* m_made = nullptr;
};

} // namespace

void storeValue(sqlite3_value* v, const ValueInfo& info, std::ptrdiff_t step, int column,
                int declaredScale)
{
    storeFrom(SqliteSource{v}, info, step, column, declaredScale);
}

void storeValue(const BufferedValue& value, const char* bytes, const ValueInfo& info, std::ptrdiff_t step,
                int column, int declaredScale)
{
    storeFrom(BufferedSource(value, bytes), info, step, column, declaredScale);
}

void storeValue(const SqlValue& value, const ValueInfo& info, std::ptrdiff_t step, int column)
{
    // Through a SQLite value, so that both sources convert alike.
    ValueMaker& maker = threadMaker();
    struct Reset {
        sqlite3_stmt* st;
        ~Reset() { sqlite3_reset(st); }
    } reset{maker.st};
    bindValue(maker.st, 1, value);
    sqlite3_step(maker.st);
    storeValue(sqlite3_column_value(maker.st, 0), info, step, column);
}

void fillDesc(t_ParamDesc* desc, const std::string& owner, const std::string& table,
              const std::string& column, const std::string& alias, const ColumnType& type)
{
    auto pad = [](char* field, const std::string& name) {
        const std::size_t room = t_ParamDesc::NameSize - 1;
        const std::size_t n = utf8Fit(name.data(), name.size(), room);
        std::memcpy(field, name.data(), n);
        std::memset(field + n, ' ', room - n);
        field[room] = 0;
    };
    pad(desc->owner, owner);
    pad(desc->table, table);
    pad(desc->column, column);
    desc->length = static_cast<unsigned short>(type.length);
    desc->type = static_cast<unsigned char>(type.type);
    desc->precision = static_cast<unsigned char>(type.precision);
    desc->scale = static_cast<unsigned char>(type.scale);
    const std::size_t n = utf8Fit(alias.data(), alias.size(), sizeof desc->alias - 1);
    std::memcpy(desc->alias, alias.data(), n);
    desc->alias[n] = 0;
}

} // namespace detail
} // namespace OrvCPP

// OrvaneDataStore: the statement and its cursor, the description of columns, parameters and
// tables, the 8 KB read-ahead block, key discovery through the catalog, value conversion;
// the query mode and the OrvaneDataSource mixin.
#include <vexapi/sql/orvaneds.h>

#include "sqlwriter.h"

#include <vexapi/sql/sqlanalysis.h>

#include <vexapi/core/charset.h>
#include <vexapi/orvcpp/orvapi.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <map>

namespace DataSourceAPI {

using namespace OrvCPP;

namespace {

const int maxSelectLength = 10000;
const int blockBytes = 8192;

// A fixed name field of a description, without its padding blanks.
WString trimmedName(const char* field, int size)
{
    int end = 0;
    while (end < size && field[end])
        ++end;
    int begin = 0;
    while (begin < end && field[begin] == ' ')
        ++begin;
    while (end > begin && field[end - 1] == ' ')
        --end;
    return wideFromUtf8(std::string(field + begin, std::size_t(end - begin)).c_str());
}

bool sameNoCase(const WString& a, const WString& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        WChar x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z')
            x = WChar(x - 32);
        if (y >= 'a' && y <= 'z')
            y = WChar(y - 32);
        if (x != y)
            return false;
    }
    return true;
}

std::atomic<int> cursorNumber{0};

} // namespace

OrvaneQueryMode::~OrvaneQueryMode() = default;
void OrvaneQueryMode::reserved() {}

// ---- Types ----

Type OrvaneDataStore::orvane2dsType(int serverType, int serverLen, int* dsLen)
{
    int len = serverLen;
    Type t = tText;
    switch (serverType) {
    case orvChar:
    case orvVarChar: t = tText, len = serverLen * 2 + 2; break;
    case orvInteger:
    case orvBigInt: t = tInt, len = 4; break;
    case orvFloat: t = tReal, len = 4; break;
    case orvDate: t = tDate, len = 16; break;
    case orvDecimal: t = tDec, len = 16; break;
    case orvBinary:
    case orvVarBinary: t = tByte; break;
    case orvBlob: t = tBlob, len = 0; break;
    case orvSmallInt:
    case orvBoolean: t = tSmall, len = 2; break;
    case orvDouble: t = tDouble, len = 8; break;
    case orvWideChar:
    case orvWideVarChar: t = tText, len = (serverLen / 2) * 2 + 2; break;
    default: t = tText; break;
    }
    if (dsLen)
        *dsLen = len;
    return t;
}

void OrvaneDataStore::substType(int serverType, int serverLen, int* fetchType, int* fetchLen)
{
    int type = serverType, len = serverLen;
    switch (serverType) {
    case orvChar:
    case orvVarChar: type = orvCString, len = serverLen + 1; break;
    case orvInteger:
    case orvBigInt: type = orvInteger, len = 4; break;
    case orvFloat: len = 4; break;
    case orvDate:
    case orvDecimal: len = 16; break;
    case orvBinary:
    case orvVarBinary: type = orvBinary; break;
    case orvBlob: len = 0; break;
    case orvSmallInt:
    case orvBoolean: type = orvSmallInt, len = 2; break;
    case orvDouble: len = 8; break;
    // The wide form keeps room for its terminator, so that a value of the full declared
    // length is not cut.
    case orvWideChar:
    case orvWideVarChar: type = orvWideChar, len = (serverLen / 2) * 2 + 2; break;
    default: break;
    }
    *fetchType = type;
    *fetchLen = len;
}

// ---- Conversion ----

namespace {

// The source type a fetch form is read into.
Type dsTypeOfForm(int form)
{
    switch (form) {
    case orvInteger: return tInt;
    case orvFloat: return tReal;
    case orvDate: return tDate;
    case orvDecimal: return tDec;
    case orvBinary: return tByte;
    case orvBlob: return tBlob;
    case orvSmallInt: return tSmall;
    case orvDouble: return tDouble;
    default: return tText;
    }
}

void storeWide(const WString& w, const FieldRef& value, int len)
{
    const int room = len / 2;
    if (room <= 0)
        return;
    int k = int(w.size()) < room - 1 ? int(w.size()) : room - 1;
    if (k < int(w.size()) && k > 0 && w[std::size_t(k - 1)] >= 0xD800 && w[std::size_t(k - 1)] < 0xDC00)
        --k;
    WChar* d = static_cast<WChar*>(value.data());
    std::memcpy(d, w.data(), std::size_t(k) * sizeof(WChar));
    d[k] = 0;
}

// The text of a cell of `len` bytes in the text form: up to its first null.
WString cellText(const FieldRef& value, int len)
{
    const WChar* s = static_cast<const WChar*>(value.data());
    int n = 0;
    while (n < len / 2 && s[n])
        ++n;
    return WString(s, std::size_t(n));
}

// A value of type `type` (a date or a decimal): copied when the cell holds one, converted
// otherwise (left as constructed when that fails).
template <class T>
T cellAs(const FieldRef& value, int len, Type type)
{
    T out;
    if (value.type() == type)
        std::memcpy(&out, value.data(), sizeof out);
    else
        convert(&out, 16, type, value.data(), len, value.type(), nullptr, nullptr);
    return out;
}

// Appends the low `digits` hex digits of v, most significant first, in capitals.
void appendHex(std::string& out, unsigned v, int digits)
{
    static const char hex[] = "0123456789ABCDEF";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        out += hex[(v >> shift) & 15];
}

} // namespace

void OrvaneDataStore::convertFromOrvane(int fetchType, const void* data, int dataLen, const FieldRef& value,
                                        int len)
{
    if (!value.valid())
        return;
    value.setNull(false);
    const char* p = static_cast<const char*>(data);
    switch (fetchType) {
    case orvWideChar:
    case orvWideVarChar: {
        const WChar* w = reinterpret_cast<const WChar*>(p);
        int n = 0;
        while (n < dataLen / 2 && w[n])
            ++n;
        storeWide(WString(w, std::size_t(n)), value, len);
        return;
    }
    case orvCString:
    case orvChar:
    case orvVarChar:
    case orvExtChar: {
        int n = 0;
        while (n < dataLen && p[n])
            ++n;
        storeWide(wideFromUtf8(p, n), value, len);
        return;
    }
    case orvBinary:
    case orvVarBinary: {
        const int n = dataLen < len ? dataLen : len;
        std::memset(value.data(), 0, std::size_t(len));
        std::memcpy(value.data(), p, std::size_t(n > 0 ? n : 0));
        return;
    }
    default: break;
    }
    const Type from = dsTypeOfForm(fetchType);
    const int size = sizeOf(from, dataLen);
    if (from == value.type()) {
        std::memcpy(value.data(), p, std::size_t(size));
        return;
    }
    if (!convert(value.data(), len, value.type(), p, size, from, nullptr, nullptr))
        value.setNull(true);
}

bool OrvaneDataStore::convertToOrvane(const FieldRef& value, int len, int fetchType, void* buffer, int size,
                                      VLong* realLen)
{
    if (realLen)
        *realLen = 0;
    if (!value.valid() || value.isNull())
        return true;
    char* out = static_cast<char*>(buffer);
    // The value as text, when the form is text.
    auto asWide = [&](WString& w) {
        if (value.type() == tText) {
            w = cellText(value, len);
            return true;
        }
        std::vector<WChar> tmp(256);
        VLong need = 0;
        if (!convert(tmp.data(), int(tmp.size() * 2), tText, value.data(), len, value.type(), &need, nullptr))
            return false;
        if (need > VLong(tmp.size() * 2)) {
            tmp.resize(std::size_t(need / 2 + 1));
            if (!convert(tmp.data(), int(tmp.size() * 2), tText, value.data(), len, value.type(), &need, nullptr))
                return false;
        }
        w = tmp.data();
        return true;
    };
    switch (fetchType) {
    case orvCString:
    case orvChar:
    case orvVarChar:
    case orvExtChar: {
        WString w;
        if (!asWide(w) || size <= 0)
            return false;
        std::string u = utf8FromWide(w.c_str(), int(w.size()));
        std::size_t k = u.size() < std::size_t(size - 1) ? u.size() : std::size_t(size - 1);
        while (k > 0 && k < u.size() && (static_cast<unsigned char>(u[k]) & 0xC0) == 0x80)
            --k; // never split a character
        std::memcpy(out, u.data(), k);
        out[k] = 0;
        if (realLen)
            *realLen = VLong(k);
        return true;
    }
    case orvWideChar:
    case orvWideVarChar: {
        WString w;
        if (!asWide(w) || size < 2)
            return false;
        std::size_t k = w.size() < std::size_t(size / 2 - 1) ? w.size() : std::size_t(size / 2 - 1);
        std::memcpy(out, w.data(), k * 2);
        reinterpret_cast<WChar*>(out)[k] = 0;
        if (realLen)
            *realLen = VLong(k * 2);
        return true;
    }
    case orvBinary:
    case orvVarBinary:
    case orvBlob: {
        const void* src = value.type() == tBlob ? value.blob()->data() : value.data();
        VLong n = value.type() == tBlob ? value.blob()->size() : VLong(len);
        if (n > size)
            return false;
        if (n > 0)
            std::memcpy(out, src, std::size_t(n));
        if (realLen)
            *realLen = n;
        return true;
    }
    default: break;
    }
    const Type to = dsTypeOfForm(fetchType);
    const int need = sizeOf(to, 0);
    if (need > size)
        return false;
    if (!convert(out, size, to, value.data(), len, value.type(), nullptr, nullptr))
        return false;
    if (realLen)
        *realLen = need;
    return true;
}

void OrvaneDataStore::convertToOrvaneSQL(SQLStream& stream, int serverType, const FieldRef& value, int len)
{
    if (!value.valid() || value.isNull()) {
        sqlw::put(stream, "NULL");
        return;
    }
    char text[64];
    switch (serverType) {
    case orvInteger:
    case orvBigInt:
    case orvSmallInt:
    case orvFloat:
    case orvDouble: {
        double d = 0;
        long long i = 0;
        bool isInt = true;
        switch (value.type()) {
        case tInt: { VLong v; std::memcpy(&v, value.data(), 4); i = v; break; }
        case tSmall: { short v; std::memcpy(&v, value.data(), 2); i = v; break; }
        case tReal: { float v; std::memcpy(&v, value.data(), 4); d = v; isInt = false; break; }
        case tDouble: { std::memcpy(&d, value.data(), 8); isInt = false; break; }
        default: {
            if (!convert(&d, 8, tDouble, value.data(), len, value.type(), nullptr, nullptr)) {
                sqlw::put(stream, "NULL");
                return;
            }
            isInt = false;
        }
        }
        if (isInt)
            std::snprintf(text, sizeof text, "%lld", i);
        else
            std::snprintf(text, sizeof text, "%.17g", d);
        sqlw::put(stream, text);
        return;
    }
    case orvBoolean: {
        double d = 0;
        convert(&d, 8, tDouble, value.data(), len, value.type(), nullptr, nullptr);
        sqlw::put(stream, d != 0 ? "true" : "false");
        return;
    }
    case orvDate: {
        const OrvDate date = cellAs<OrvDate>(value, len, tDate);
        char t[OrvDate::TextSize];
        date.toText(t, sizeof t);
        sqlw::put(stream, "'");
        sqlw::put(stream, t);
        sqlw::put(stream, "'");
        return;
    }
    case orvDecimal: {
        const OrvDec dec = cellAs<OrvDec>(value, len, tDec);
        char t[OrvDec::TextSize];
        dec.toText(t, sizeof t);
        sqlw::put(stream, t);
        return;
    }
    case orvBinary:
    case orvVarBinary:
    case orvBlob: {
        const unsigned char* b = static_cast<const unsigned char*>(value.type() == tBlob ? value.blob()->data()
                                                                                           : value.data());
        const VLong n = value.type() == tBlob ? value.blob()->size() : VLong(len);
        std::string hex = "hex('";
        for (VLong k = 0; k < n; ++k)
            appendHex(hex, b[k], 2);
        hex += "')";
        sqlw::put(stream, hex.c_str());
        return;
    }
    case orvWideChar:
    case orvWideVarChar: {
        WString w;
        if (value.type() == tText)
            w = cellText(value, len);
        std::string hex = "hex('";
        for (WChar c : w)
            appendHex(hex, unsigned(c), 4);
        hex += "')";
        sqlw::put(stream, hex.c_str());
        return;
    }
    default: {
        // Text types: in quotes, quotes doubled.
        WString w;
        if (value.type() == tText)
            w = cellText(value, len); else {
            std::vector<WChar> tmp(512);
            convert(tmp.data(), int(tmp.size() * 2), tText, value.data(), len, value.type(), nullptr, nullptr);
            w = tmp.data();
        }
        sqlw::put(stream, "'");
        DupSymbol(stream, w.c_str(), WChar('\''));
        sqlw::put(stream, "'");
        return;
    }
    }
}

// ---- Life cycle ----

OrvaneDataStore::OrvaneDataStore()
{
    char name[32];
    std::snprintf(name, sizeof name, "VXDS%d", ++cursorNumber);
    m_cursorName = name;
}

OrvaneDataStore::~OrvaneDataStore()
{
    close();
}

void OrvaneDataStore::close() noexcept
{
    releaseCursors();
    m_writer.close();
    m_statement.close();
    if (m_korts) {
        m_kortDesc.deleteKortArray(m_korts);
        m_korts = nullptr;
    }
    m_kortDesc.clear();
    m_cols.clear();
    m_params.clear();
    m_tables.clear();
    m_blockRecords = 0;
    m_blockStart = m_blockCount = 0;
    m_created = false;
    m_parsed = false;
    m_firstExecuted = false;
    m_queryType = 0;
    m_connect.close();
}

void OrvaneDataStore::releaseCursors() noexcept
{
    m_cursor.close();
    m_savedCursor.close();
    m_procCursor = false;
    m_blockStart = m_blockCount = 0;
}

void OrvaneDataStore::clearCache()
{
    m_blockStart = 0;
    m_blockCount = 0;
}

OrvCursor::Handler* OrvaneDataStore::handler() const
{
    return m_queryMode ? m_queryMode->handler() : nullptr;
}

void OrvaneDataStore::wait()
{
    if (m_queryMode)
        m_queryMode->wait();
}

void OrvaneDataStore::terminate()
{
    if (!m_queryMode)
        return;
    m_queryMode->terminate();
    m_cursor.close();
}

bool OrvaneDataStore::analyseSelect(const WString& select)
{
    SQLQueryDesc desc;
    if (!parseSelect(select.c_str(), desc) || desc.selectsAll())
        return false;
    // "t.*" selects all as well.
    for (const SQLQueryDesc::Column& c : desc.columns)
        if (c.simple && !c.path.empty()) {
            const WCharString& last = c.path[c.path.size() - 1];
            if (last.length() == 1 && last[0] == '*')
                return false;
        }
    return true;
}

void OrvaneDataStore::create(unsigned short connection, const WChar* select)
{
    WString text = select ? WString(select) : WString();
    if (text.size() > std::size_t(maxSelectLength))
        text.resize(std::size_t(maxSelectLength));
    close();
    try {
        m_connect.attach(connection, false);
        m_sqlSelect = text;
        const std::string sql = utf8FromWide(text.c_str(), int(text.size()));
        m_statement.create(m_connect, sql.c_str());
        m_parsed = analyseSelect(text);
        m_queryType = m_statement.queryType();

        const VLong params = m_statement.paramCount();
        for (short n = 1; n <= params; ++n) {
            t_ParamDesc d;
            m_statement.paramDesc(n, &d);
            DBParamInfo p;
            p.name = trimmedName(d.alias, int(sizeof d.alias));
            if (p.name.empty()) {
                char num[16];
                std::snprintf(num, sizeof num, "?%d", int(n));
                p.name = wideFromUtf8(num);
            }
            p.type = d.type, p.length = d.length, p.precision = d.precision, p.scale = d.scale;
            substType(p.type, p.length, &p.fetchType, &p.fetchLen);
            p.dsType = orvane2dsType(p.type, p.length, &p.dsLen);
            m_params.push_back(p);
        }

        if (m_queryType == queryProcedure) {
            m_cursor.create(m_connect, m_connect.mode(), m_cursorName.c_str(), false);
            m_cursor.execute(m_statement, nullptr, handler());
            wait();
            attachProcCursor();
            m_firstExecuted = true;
        }

        const bool fromCursor = m_cursor != 0 && m_cursor.columnCount() > 0;
        if (fromCursor || m_queryType == querySelect) {
            const VLong cols = fromCursor ? m_cursor.columnCount() : m_statement.columnCount();
            std::map<WString, int> repeats;
            int sum = 0;
            for (short c = 1; c <= cols; ++c) {
                t_ParamDesc d;
                if (fromCursor)
                    m_cursor.answerDesc(c, &d);
                else
                    m_statement.answerDesc(c, &d);
                DBColInfo ci;
                ci.ownerName = trimmedName(d.owner, t_ParamDesc::NameSize);
                ci.tableName = trimmedName(d.table, t_ParamDesc::NameSize);
                ci.realColName = trimmedName(d.column, t_ParamDesc::NameSize);
                const WString alias = trimmedName(d.alias, int(sizeof d.alias));
                const WString serverOwner = ci.ownerName;
                if (m_ignoreOwner)
                    ci.ownerName.clear();
                ci.isRowid = sameNoCase(ci.realColName, u16("ROWID"));
                ci.type = d.type, ci.precision = d.precision, ci.scale = d.scale, ci.length = d.length;
                sum += d.length;

                const WChar dot = '.';
                ci.fullColName = serverOwner;
                if (!ci.fullColName.empty())
                    ci.fullColName += dot;
                ci.fullColName += ci.tableName;
                if (!ci.fullColName.empty())
                    ci.fullColName += dot;
                ci.fullColName += ci.realColName;
                if (m_parsed && !alias.empty() && alias != ci.realColName)
                    ci.name = alias;
                else if (ci.tableName.empty() || m_ignoreTable)
                    ci.name = ci.realColName.empty() ? alias : ci.realColName;
                else if (ci.ownerName.empty())
                    ci.name = ci.tableName + dot + ci.realColName;
                else
                    ci.name = ci.fullColName;
                bool unique = true;
                for (const DBColInfo& other : m_cols)
                    unique &= other.name != ci.name;
                if (!unique) {
                    char suffix[16];
                    std::snprintf(suffix, sizeof suffix, "(%d)", ++repeats[ci.name]);
                    ci.name += wideFromUtf8(suffix);
                }

                if (!ci.tableName.empty()) {
                    WString full = ci.ownerName.empty() ? ci.tableName : ci.ownerName + dot + ci.tableName;
                    int t = 0;
                    for (std::size_t i = 0; i < m_tables.size(); ++i)
                        if (m_tables[i].owner == ci.ownerName && m_tables[i].table == ci.tableName)
                            t = int(i) + 1;
                    if (!t) {
                        DBTableInfo ti;
                        ti.name = full, ti.owner = ci.ownerName, ti.table = ci.tableName;
                        m_tables.push_back(ti);
                        t = int(m_tables.size());
                    }
                    ci.tableIndex = t;
                    if (ci.isRowid)
                        m_tables[std::size_t(t - 1)].rowidCol = c;
                }
                VLong autoKey = 0;
                if (fromCursor)
                    ORVANE_GetCursorOption(m_cursor, ORVANE_OPT_CURSOR_AUTOKEY, c, &autoKey, nullptr);
                else
                    ORVANE_GetStatementOption(m_statement, ORVANE_OPT_STATEMENT_AUTOKEY, c, &autoKey, nullptr);
                ci.isAutoKey = autoKey != 0;
                substType(ci.type, ci.length, &ci.fetchType, &ci.fetchLen);
                ci.dsType = orvane2dsType(ci.type, ci.length, &ci.dsLen);
                m_kortDesc.add(ci.fetchType == orvChar ? orvCString : ci.fetchType, ci.fetchLen);
                m_cols.push_back(ci);
            }
            // As many rows as fit in 8 KB of column lengths; at least one, so that a row
            // wider than the block is still read.
            m_blockRecords = sum > 0 ? blockBytes / sum : 0;
            if (m_blockRecords < 1)
                m_blockRecords = 1;
            m_kortDesc.init();
            if (!m_cols.empty())
                m_korts = m_kortDesc.newKortArray(m_blockRecords);
        }
        m_created = true;
    } catch (...) {
        close();
        throw;
    }
}

void OrvaneDataStore::attachProcCursor()
{
    if (!m_cursor.isProcCursor())
        return;
    unsigned short handle = 0;
    char null = 0;
    m_cursor.getData(0, ValueInfo(&handle, &null));
    if (!handle || null)
        return;
    m_savedCursor.attach(m_cursor, true);
    m_cursor.attach(0, false);
    m_cursor.attach(handle, true);
    m_procCursor = true;
}

void OrvaneDataStore::execute(const BindMap* params)
{
    if (m_firstExecuted) {
        m_firstExecuted = false;
        return;
    }
    if (m_procCursor) {
        m_cursor.close();
        m_cursor.attach(m_savedCursor, true);
        m_savedCursor.attach(0, false);
        m_procCursor = false;
    }
    if (m_cursor == 0)
        m_cursor.create(m_connect, m_connect.mode(), m_cursorName.c_str(), false);
    clearCache();
    m_cursor.execute(m_statement, params, handler());
    wait();
    if (m_queryType == queryProcedure)
        attachProcCursor();
    clearCache();
}

int OrvaneDataStore::selectRowCount() const
{
    if (m_cursor == 0)
        return 0;
    const VLong n = m_cursor.selectRowCount();
    return n > 0 ? int(n) : 0;
}

// ---- Reading ----

const OrvValue& OrvaneDataStore::getColumnData(int row, int col, bool* isNull)
{
    if (col < 1 || col > int(m_cols.size()) || !m_korts)
        throw OrvX::client(orvapiBadArgument, "column " + std::to_string(col) + " out of range");
    if (!(m_blockCount > 0 && row >= m_blockStart && row < m_blockStart + m_blockCount)) {
        clearCache();
        // Each non-blob column into the first record; the cursor steps every buffer by
        // the record's size.
        BindMap map;
        Kort& first = m_kortDesc.arrayElem(m_korts, 0);
        for (int c = 0; c < int(m_cols.size()); ++c) {
            const DBColInfo& ci = m_cols[std::size_t(c)];
            if (ci.type == orvBlob)
                continue;
            OrvValue& v = first[c];
            map.bind(short(c + 1), ValueInfo(short(m_kortDesc.type(c)), v.data(), m_kortDesc.len(c), v.nullFlag,
                                             nullptr, short(ci.precision), short(ci.scale)));
        }
        VLong n = m_cursor.multiFetch(row, m_blockRecords, &map, m_kortDesc.sizeOf(), handler());
        wait();
        if (m_queryMode) {
            // An asynchronous read answers no count: the block holds what the result has.
            const VLong left = m_cursor.selectRowCount() - row + 1;
            n = left < m_blockRecords ? left : m_blockRecords;
        }
        if (n <= 0)
            throw OrvX::client(orvapiNoRow, "row " + std::to_string(row) + " is not in the result");
        m_blockStart = row;
        m_blockCount = int(n);
    }
    const OrvValue& v = m_kortDesc.arrayElem(m_korts, row - m_blockStart)[col - 1];
    if (isNull)
        *isNull = v.isNull();
    return v;
}

VLong OrvaneDataStore::getBlobSize(int row, int col, bool* isNull)
{
    m_cursor.fetch(fetchAbsolute, row, nullptr, handler());
    wait();
    // A fetch through another path drops the cursor's own read-ahead, not this block.
    const VLong n = m_cursor.getBlobLen(short(col));
    if (isNull) {
        VLong flag = 0;
        ORVANE_GetCursorOption(m_cursor, ORVANE_OPT_NULL_TEST, col, &flag, nullptr);
        *isNull = flag != 0;
    }
    return n;
}

void OrvaneDataStore::getBlob(int row, int col, void* buffer, int size, bool* isNull)
{
    char null = 0;
    VLong real = 0;
    BindMap map;
    map.bind(short(col), ValueInfo(orvBlob, buffer, size, &null, &real));
    m_cursor.fetch(fetchAbsolute, row, &map, handler());
    wait();
    if (isNull)
        *isNull = null != 0;
}

// ---- Lookups ----

int OrvaneDataStore::indexByDBColName(const WChar* name) const
{
    if (!name)
        return 0;
    for (std::size_t i = 0; i < m_cols.size(); ++i)
        if (sameNoCase(m_cols[i].name, name))
            return int(i) + 1;
    return 0;
}

int OrvaneDataStore::indexByDBParamName(const WChar* name) const
{
    if (!name)
        return 0;
    for (std::size_t i = 0; i < m_params.size(); ++i) {
        const WString& n = m_params[i].name;
        if (sameNoCase(n, name) || (n.size() > 1 && sameNoCase(n.substr(1), name)))
            return int(i) + 1;
    }
    return 0;
}

int OrvaneDataStore::indexByDBTableName(const WChar* name) const
{
    if (!name)
        return 0;
    for (std::size_t i = 0; i < m_tables.size(); ++i)
        if (sameNoCase(m_tables[i].name, name) || sameNoCase(m_tables[i].table, name))
            return int(i) + 1;
    return 0;
}

// ---- Keys ----

int OrvaneDataStore::priKeysCount(int table)
{
    if (table < 1 || table > int(m_tables.size()))
        return 0;
    loadPriKeys(table);
    return int(m_tables[std::size_t(table - 1)].priKeys.size());
}

int OrvaneDataStore::priKeyIndex(int table, int i)
{
    if (table < 1 || table > int(m_tables.size()))
        return 0;
    loadPriKeys(table);
    const std::vector<int>& keys = m_tables[std::size_t(table - 1)].priKeys;
    return i >= 1 && i <= int(keys.size()) ? keys[std::size_t(i - 1)] : 0;
}

void OrvaneDataStore::loadPriKeys(int table)
{
    DBTableInfo& t = m_tables[std::size_t(table - 1)];
    if (t.isLoaded)
        return;
    // The server names the owner and the table of the first column of the whole table.
    sqlw::Text probe;
    sqlw::put(probe, "select * from ");
    putFullName(probe, t.name.c_str(), u16("\"").c_str());
    sqlw::put(probe, ";");
    OrvStatement st(m_connect, probe.utf8().c_str(), false);
    t_ParamDesc d;
    st.answerDesc(1, &d);
    const std::string owner = utf8FromWide(trimmedName(d.owner, t_ParamDesc::NameSize).c_str());
    const std::string name = utf8FromWide(trimmedName(d.table, t_ParamDesc::NameSize).c_str());
    st.close();

    auto literal = [](const std::string& s) {
        std::string r;
        for (char c : s) {
            r += c;
            if (c == '\'')
                r += '\'';
        }
        return r;
    };
    std::string sql =
        "\t  Select  $$$S23 as COLUMN_NAME,       GetBits(GetLong($$$S24,60),0,9,1) as PRIMARY_KEY,       "
        "GetBits(GetLong($$$S24,18),0,4,4) as RAL,       GetBits(GetLong($$$S24,18),0,0,4) as WAL, \t  "
        "GetLong($$$S24,32)+1 as \"InitAutoinc\",       cast GetBits(GetLong($$$s24,60),0,10,1) as int as "
        "\"IsUnique\", \t  CAST GetByte($$$S24,8) AS int as \"Indexed\" \t  From ORVANE_SYSTEM_USER.$$$SYSRL, "
        "ORVANE_SYSTEM_USER.$$$ATTRI, ORVANE_SYSTEM_USER.$$$USR \t  Where $$$S12 = $$$S31 and $$$S11 = $$$S21 "
        "and $$$S32 = 0";
    sql += " and $$$S34='" + literal(owner) + "' and $$$S13='" + literal(name) + "';";

    OrvCursor cursor(m_connect, m_connect.mode());
    cursor.execute(sql.c_str());
    const VLong rows = cursor.selectRowCount();
    struct Record {
        char name[100];
        VLong flag;
    };
    static_assert(sizeof(Record) == 104, "the catalog record is 104 bytes");
    std::vector<Record> records(std::size_t(rows > 0 ? rows : 0));
    if (!records.empty()) {
        BindMap map;
        // The null flags step with the record as well: they live in a parallel array of
        // the record's size.
        std::vector<char> flagBlock(records.size() * sizeof(Record) + 2);
        map.bind(1, ValueInfo(orvCString, records[0].name, 100, &flagBlock[0]));
        map.bind(2, ValueInfo(orvInteger, &records[0].flag, 4, &flagBlock[1]));
        cursor.multiFetch(1, rows, &map, VLong(sizeof(Record)));
        for (std::size_t r = 0; r < records.size(); ++r) {
            if (flagBlock[r * sizeof(Record) + 1] || records[r].flag == 0)
                continue;
            const WString keyName = wideFromUtf8(records[r].name);
            int found = 0;
            for (std::size_t c = 0; c < m_cols.size() && !found; ++c)
                if (m_cols[c].tableIndex == table && sameNoCase(m_cols[c].realColName, keyName))
                    found = int(c) + 1;
            if (!found)
                break; // a key column the result lacks: keep what was found up to here
            t.priKeys.push_back(found);
        }
    }
    t.isLoaded = true;
}

int OrvaneDataStore::checkInvariants() const
{
    if (m_kortDesc.colCount() != int(m_cols.size()) || (!m_cols.empty() && m_created && !m_korts))
        return 1;
    if (m_blockCount < 0 || m_blockCount > m_blockRecords || (m_blockStart == 0) != (m_blockCount == 0))
        return 2;
    for (std::size_t i = 0; i < m_cols.size(); ++i) {
        if (m_cols[i].tableIndex < 0 || m_cols[i].tableIndex > int(m_tables.size()))
            return 3;
        for (std::size_t j = 0; j < i; ++j)
            if (m_cols[j].name == m_cols[i].name)
                return 3;
    }
    return 0;
}

// ---- The mixin ----

OrvaneDataSource::~OrvaneDataSource() = default;
OrvaneQueryMode* OrvaneDataSource::getQueryMode() const { return nullptr; }
void OrvaneDataSource::setQueryMode(OrvaneQueryMode*) {}
void OrvaneDataSource::terminate() {}

void OrvaneDataSource::getMessage(const OrvX& error, char* buffer, int size)
{
    if (!buffer || size <= 0)
        return;
    std::string out;
    std::vector<char> text(4097);
    error.errorText(text.data(), int(text.size()));
    out += text.data();
    out += '\n';
    char line[160];
    std::snprintf(line, sizeof line, "ErrType = %d ApiErr = %d OrvErr = %d SysErr = %ld\n",
                  int(error.orvapiErrorType()), int(error.orvapiError()), int(error.orvaneError()),
                  long(error.systemError()));
    out += line;
    const bool known = error.syntaxErrorLine() > 0 && error.syntaxErrorPos() > 0;
    if (const char* q = error.query()) {
        out += "QUERY:\n";
        const std::string query = q;
        if (known) {
            // The line by its line feeds, then the position within it (bytes, from 1).
            std::size_t at = 0;
            for (int l = 1; l < error.syntaxErrorLine() && at != std::string::npos; ++l) {
                at = query.find('\n', at);
                if (at != std::string::npos)
                    ++at;
            }
            if (at == std::string::npos)
                at = query.size();
            at += std::size_t(error.syntaxErrorPos() - 1);
            if (at > query.size())
                at = query.size();
            out += query.substr(0, at) + ">>>>" + query.substr(at);
        } else {
            out += query;
        }
        out += '\n';
    }
    if (known) {
        std::snprintf(line, sizeof line, "SYNTAX ERROR: LINE = %d, POS = %d\n", error.syntaxErrorLine(),
                      error.syntaxErrorPos());
        out += line;
    }
    if (error.badParamNum() != 0) {
        std::snprintf(line, sizeof line, "INVALID PARAMETER %d\n", int(error.badParamNum()));
        out += line;
    }
    std::size_t n = out.size() < std::size_t(size - 1) ? out.size() : std::size_t(size - 1);
    while (n > 0 && n < out.size() && (static_cast<unsigned char>(out[n]) & 0xC0) == 0x80)
        --n;
    std::memcpy(buffer, out.data(), n);
    buffer[n] = 0;
}

} // namespace DataSourceAPI

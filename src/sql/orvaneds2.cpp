// TypicalOrvaneDS1 (parameters bound for a run) and OrvaneDS: the row cache filled from the
// cursor, raw field access, key columns, and the generated writes with their journal.
#include <vexapi/sql/orvaneds.h>

#include "sqlwriter.h"

#include <vexapi/core/charset.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

namespace DataSourceAPI {

using namespace OrvCPP;

namespace {

const int paramRoom = 4096;
const int renumAll = 1000000000;

const WString& quote()
{
    static const WString q = u16("\"");
    return q;
}

// Parameter values of one statement run: a 4 KB block each, their null flags and lengths.
struct ParamBlocks {
    explicit ParamBlocks(int n)
        : data(std::size_t(n > 0 ? n : 0) * paramRoom), nulls(std::size_t(n > 0 ? n : 0)),
          lens(std::size_t(n > 0 ? n : 0))
    {
    }
    char* block(int i) { return &data[std::size_t(i) * paramRoom]; }
    std::vector<char> data;
    std::vector<char> nulls;
    std::vector<VLong> lens;
};

// Locks a row for the scope.
class RowLock {
public:
    RowLock(LowMemoryDS& ds, const LowMemoryDS::Iterator& it, int col) : m_ds(ds), m_it(it)
    {
        m_ds.lock(m_it, col);
    }
    ~RowLock() { m_ds.unlock(m_it); }
    RowLock(const RowLock&) = delete;
    RowLock& operator=(const RowLock&) = delete;

private:
    LowMemoryDS& m_ds;
    LowMemoryDS::Iterator m_it;
};

} // namespace

// ---- Parameters ----

void TypicalOrvaneDS1::execute()
{
    TypicalColsForDBDSWithParams& t = colTables();
    const int n = t.paramCount();
    ParamBlocks blocks(n);
    BindMap map;
    for (int p = 1; p <= n; ++p) {
        const TypicalColsForDBDS::Param* def = t.paramDef(p);
        if (!def || def->dbParam < 1 || def->dbParam > dbParamCount())
            continue;
        const DBParamInfo& dp = dbParam(def->dbParam);
        const FieldRef value = t.param(p);
        char* buf = blocks.block(p - 1);
        if (!value.valid() || value.isNull()) {
            blocks.nulls[std::size_t(p - 1)] = 1;
        } else if (def->type == tBlob) {
            const DSBlob* b = value.blob();
            map.bind(short(def->dbParam), ValueInfo(orvBlob, b->data(), b->size(), &blocks.nulls[std::size_t(p - 1)],
                                                    &blocks.lens[std::size_t(p - 1)]));
            blocks.lens[std::size_t(p - 1)] = b->size();
            continue;
        } else if (!convertToOrvane(value, def->len, dp.fetchType, buf, paramRoom, &blocks.lens[std::size_t(p - 1)])) {
            OrvX x = OrvX::client(orvapiConversion, "the value of parameter " + std::to_string(def->dbParam) +
                                                        " does not fit its type");
            x.setBadParamNum(short(def->dbParam));
            throw x;
        }
        map.bind(short(def->dbParam), ValueInfo(short(dp.fetchType), buf, paramRoom, &blocks.nulls[std::size_t(p - 1)],
                                                &blocks.lens[std::size_t(p - 1)], short(dp.precision),
                                                short(dp.scale)));
    }
    OrvaneDataStore::execute(&map);
    if (!isProcedure())
        return;
    // A procedure's output parameters come back in the same blocks.
    for (int p = 1; p <= n; ++p) {
        const TypicalColsForDBDS::Param* def = t.paramDef(p);
        if (!def || def->dbParam < 1 || def->dbParam > dbParamCount() || def->type == tBlob)
            continue;
        const FieldRef value = t.param(p);
        if (blocks.nulls[std::size_t(p - 1)])
            value.setNull(true);
        else
            convertFromOrvane(dbParam(def->dbParam).fetchType, blocks.block(p - 1), paramRoom, value, def->len);
    }
}

// ---- Errors ----

OrvaneDS::OrvaneDSError::~OrvaneDSError() = default;

WString OrvaneDS::OrvaneDSError::message() const
{
    switch (m_code) {
    case badMainTable: return u16("Incorrect main table");
    case missingKeys: return u16("Missing unique keys");
    case notInCursor: return u16("Row not found in cursor");
    case notInTable: return u16("Row not found in table");
    default: break;
    }
    std::vector<char> text(8192);
    OrvaneDataSource::getMessage(m_error, text.data(), int(text.size()));
    return wideFromUtf8(text.data());
}

void OrvaneDS::OrvaneDSError::getMessage(WChar* buffer, int size) const
{
    if (!buffer || size <= 0)
        return;
    const WString m = message();
    std::size_t n = std::min(m.size(), std::size_t(size - 1));
    if (n > 0 && n < m.size() && m[n - 1] >= 0xD800 && m[n - 1] < 0xDC00)
        --n;
    std::memcpy(buffer, m.data(), n * sizeof(WChar));
    buffer[n] = 0;
}

// ---- Life cycle ----

OrvaneDS::OrvaneDS() = default;

OrvaneDS::~OrvaneDS()
{
    reset(0);
}

void OrvaneDS::create(unsigned short connection, const WChar* select)
{
    try {
        OrvaneDataStore::create(connection, select);
    } catch (const OrvX& x) {
        reset(0);
        throw OrvaneDSError(x);
    }
    buildColumns();
}

void OrvaneDS::buildColumns()
{
    clearCols();
    clearOrgCols();
    clearParams();
    for (int c = 1; c <= dbColCount(); ++c) {
        const DBColInfo& d = dbCol(c);
        addCol(DataSource::ColInfo(d.name.c_str(), d.dsType, d.dsLen));
        setColDBLink(c, c, d.updateable());
    }
    for (int p = 1; p <= dbParamCount(); ++p) {
        const DBParamInfo& d = dbParam(p);
        addParam(DataSource::ColInfo(d.name.c_str(), d.dsType, d.dsLen));
        setParamDBLink(p, p);
    }
    initParams();
    initColumns();
}

void OrvaneDS::close() noexcept
{
    reset(0);
    OrvaneDataStore::close();
}

void OrvaneDS::retrieve()
{
    if (!isCreated())
        return;
    try {
        execute();
        reset(selectRowCount());
        m_deletesByKey = false;
        m_cursorStale = false;
    } catch (const OrvX& x) {
        throw OrvaneDSError(x);
    }
}

void OrvaneDS::retrieve0()
{
    releaseCursors();
    reset(0);
}

// ---- Reading ----

void OrvaneDS::refreshCursor()
{
    if (!m_cursorStale)
        return;
    execute();
    m_cursorStale = false;
}

void OrvaneDS::readRowFromDB(const Iterator& it)
{
    const int dbRow = getDBRow(it);
    try {
        refreshCursor();
        for (int c = 1; c <= colCount(); ++c) {
            const Col* col = this->col(c);
            if (col->dbCol < 1 || col->dbCol > dbColCount() || col->type == tBlob || col->calculated)
                continue;
            const DBColInfo& d = dbCol(col->dbCol);
            if (d.type == orvBlob)
                continue;
            bool null = false;
            const OrvValue& v = getColumnData(dbRow, col->dbCol, &null);
            const FieldRef f = (*this)(it, c);
            if (null)
                f.setNull(true);
            else
                convertFromOrvane(m_kortDesc.type(col->dbCol - 1), v.data(), m_kortDesc.len(col->dbCol - 1), f,
                                  col->len);
        }
        for (int c = 1; c <= orgColCount(); ++c) {
            const OrgCol* col = orgCol(c);
            if (col->dbCol < 1 || col->dbCol > dbColCount() || col->type == tBlob || dbCol(col->dbCol).type == orvBlob)
                continue;
            bool null = false;
            const OrvValue& v = getColumnData(dbRow, col->dbCol, &null);
            const FieldRef f = orgField(it, c);
            if (null)
                f.setNull(true);
            else
                convertFromOrvane(m_kortDesc.type(col->dbCol - 1), v.data(), m_kortDesc.len(col->dbCol - 1), f,
                                  col->len);
        }
    } catch (const OrvX& x) {
        throw OrvaneDSError(x);
    }
}

void OrvaneDS::readColumnFromDB(const Iterator& it, int c)
{
    const Col* col = this->col(c);
    if (!col || col->type != tBlob || col->dbCol < 1)
        return;
    const FieldRef f = (*this)(it, c);
    try {
        refreshCursor();
        bool null = false;
        const VLong size = getBlobSize(getDBRow(it), col->dbCol, &null);
        if (null) {
            f.blob()->clear();
            f.setNull(true);
            return;
        }
        f.blob()->alloc(size);
        if (size > 0)
            getBlob(getDBRow(it), col->dbCol, f.blob()->data(), int(size), &null);
        f.setNull(null);
    } catch (const OrvX& x) {
        f.blob()->clear();
        throw OrvaneDSError(x);
    }
}

// ---- Fields ----

void OrvaneDS::getFieldRaw(const Iterator& it, int c, void* buf, int bufLen, bool* isNull, VLong* realLen)
{
    const Col* col = this->col(c);
    if (!col)
        return;
    RowLock lock(*this, it, c);
    const FieldRef f = (*this)(it, c);
    if (isNull)
        *isNull = f.isNull();
    if (f.isNull()) {
        if (realLen)
            *realLen = 0;
        return;
    }
    if (col->type == tBlob) {
        const VLong n = f.blob()->size();
        if (buf && bufLen > 0 && n > 0)
            std::memcpy(buf, f.blob()->data(), std::size_t(std::min<VLong>(n, bufLen)));
        if (realLen)
            *realLen = n;
        return;
    }
    const int n = valueLength(f, col->len);
    if (buf && bufLen > 0)
        std::memcpy(buf, f.data(), std::size_t(std::min(n, bufLen)));
    if (realLen)
        *realLen = n;
}

void OrvaneDS::setFieldRaw(const Iterator& it, int c, const void* data, int len, bool isNull)
{
    const Col* col = this->col(c);
    if (!col)
        return;
    RowLock lock(*this, it, c);
    const FieldRef f = (*this)(it, c);
    if (isNull || !data) {
        if (col->type == tBlob)
            f.blob()->clear();
        f.setNull(true);
    } else if (col->type == tBlob) {
        f.blob()->alloc(len);
        if (len > 0)
            std::memcpy(f.blob()->data(), data, std::size_t(len));
        f.setNull(false);
    } else {
        if (!convert(f.data(), col->len, col->type, data, len, col->type, nullptr, nullptr))
            return;
        f.setNull(false);
    }
    setModify(it, c);
}

void OrvaneDS::setParamRaw(int p, const void* data, int len, bool isNull)
{
    const Param* def = paramDef(p);
    if (!def || def->type == tBlob)
        return;
    const FieldRef f = param(p);
    if (!f.valid())
        return;
    if (isNull || !data) {
        f.setNull(true);
        return;
    }
    if (convert(f.data(), def->len, def->type, data, len, def->type, nullptr, nullptr))
        f.setNull(false);
}

OrvaneDS::Iterator OrvaneDS::insertRow(const Iterator& before)
{
    Iterator it = LowMemoryDS::insertRow(before);
    RowLock lock(*this, it, 0);
    for (int c = 1; c <= colCount(); ++c)
        (*this)(it, c).setNull(true);
    return it;
}

// ---- Keys ----

WString OrvaneDS::getMainTable() const
{
    if (!m_mainTable.empty())
        return m_mainTable;
    for (int c = 1; c <= dbColCount(); ++c)
        if (dbCol(c).tableIndex > 0)
            return dbTable(dbCol(c).tableIndex).name;
    return WString();
}

int OrvaneDS::mainTableIndex() const
{
    const WString name = getMainTable();
    const int t = name.empty() ? 0 : indexByDBTableName(name.c_str());
    if (!t)
        throw OrvaneDSError(OrvaneDSError::badMainTable);
    return t;
}

std::vector<int> OrvaneDS::keyOrgCols(int table) const
{
    std::vector<int> keys;
    for (int c = 1; c <= orgColCount(); ++c) {
        const OrgCol* o = orgCol(c);
        if (o->isKey && o->dbCol >= 1 && o->dbCol <= dbColCount() && dbCol(o->dbCol).tableIndex == table)
            keys.push_back(c);
    }
    if (keys.empty())
        throw OrvaneDSError(OrvaneDSError::missingKeys);
    return keys;
}

void OrvaneDS::addKey(int db)
{
    if (db < 1 || db > dbColCount())
        return;
    const DBColInfo& d = dbCol(db);
    const int o = addOrgCol(DataSource::ColInfo(d.name.c_str(), d.dsType, d.dsLen));
    setOrgColDBLink(o, db);
    setOrgColAsKey(o, true);
}

void OrvaneDS::setPrimaryKeysAsKey()
{
    clearOrgCols();
    const WString name = getMainTable();
    const int t = name.empty() ? 0 : indexByDBTableName(name.c_str());
    if (t) {
        try {
            const int n = priKeysCount(t);
            for (int i = 1; i <= n; ++i)
                addKey(priKeyIndex(t, i));
        } catch (const OrvX& x) {
            initColumns();
            throw OrvaneDSError(x);
        }
    }
    initColumns();
}

void OrvaneDS::setRowidAsKey()
{
    clearOrgCols();
    const WString name = getMainTable();
    const int t = name.empty() ? 0 : indexByDBTableName(name.c_str());
    if (t && dbTable(t).rowidCol)
        addKey(dbTable(t).rowidCol);
    initColumns();
}

// ---- Generated writes ----

void OrvaneDS::runText(const WString& text)
{
    if (m_writer == 0)
        m_writer.create(m_connect, m_connect.mode(), (cursorName() + "W").c_str());
    const std::string sql = utf8FromWide(text.c_str(), int(text.size()));
    m_writer.execute(sql.c_str(), handler());
    wait();
}

void OrvaneDS::positionOn(int dbRow)
{
    if (dbRow <= 0)
        throw OrvaneDSError(OrvaneDSError::notInCursor);
    refreshCursor();
    m_cursor.fetch(fetchAbsolute, dbRow, nullptr, handler());
    wait();
}

namespace {

// Prepared statements of one update(), by text.
class Prepared {
public:
    explicit Prepared(const OrvConnect& connect) : m_connect(connect) {}
    OrvStatement& get(const std::string& sql)
    {
        std::unique_ptr<OrvStatement>& s = m_map[sql];
        if (!s)
            s.reset(new OrvStatement(m_connect, sql.c_str(), false));
        return *s;
    }

private:
    const OrvConnect& m_connect;
    std::map<std::string, std::unique_ptr<OrvStatement>> m_map;
};

// Binds `value` of a source column as parameter `n`, converted to the server form `form`.
void bindValue(BindMap& map, ParamBlocks& blocks, int slot, short n, const FieldRef& value, int len, int form,
               int precision, int scale)
{
    char* null = &blocks.nulls[std::size_t(slot)];
    VLong* real = &blocks.lens[std::size_t(slot)];
    if (!value.valid() || value.isNull()) {
        *null = 1;
        map.bind(n, ValueInfo(short(form == orvBlob ? orvBinary : form), blocks.block(slot), paramRoom, null, real));
        return;
    }
    *null = 0;
    if (value.type() == tBlob) {
        *real = value.blob()->size();
        map.bind(n, ValueInfo(orvBlob, value.blob()->data(), value.blob()->size(), null, real));
        return;
    }
    if (!OrvaneDataStore::convertToOrvane(value, len, form, blocks.block(slot), paramRoom, real)) {
        OrvX x = OrvX::client(orvapiConversion, "the value of parameter " + std::to_string(n) + " does not fit its column");
        x.setBadParamNum(n);
        throw x;
    }
    map.bind(n, ValueInfo(short(form), blocks.block(slot), paramRoom, null, real, short(precision), short(scale)));
}

} // namespace

void OrvaneDS::update()
{
    try {
        updateDeleted();
        updateUpdated();
        updateInserted();
    } catch (const OrvX& x) {
        throw OrvaneDSError(x);
    }
}

void OrvaneDS::updateDeleted()
{
    std::vector<int> todo;
    for (int i = 1; i <= delCount(); ++i)
        if (!journalIsDeletedInfo(i))
            todo.push_back(i);
    if (todo.empty())
        return;
    const int t = mainTableIndex();
    const bool byKeyMode = m_updateMode == byKey;
    const std::vector<int> keys = byKeyMode ? keyOrgCols(t) : std::vector<int>();
    const bool singleIntKey = byKeyMode && keys.size() == 1 && orgCol(keys[0])->type == tInt;
    const bool prepared = todo.size() > 3 && !singleIntKey;
    Prepared statements(m_connect);
    if (m_writer == 0)
        m_writer.create(m_connect, m_connect.mode(), (cursorName() + "W").c_str());

    sqlw::Text head;
    sqlw::put(head, "delete from ");
    putFullName(head, dbTable(t).name.c_str(), quote().c_str());
    sqlw::put(head, " where ");

    if (!byKeyMode) {
        // From the last cursor row to the first, so that each delete leaves the rows before
        // it where they are.
        std::sort(todo.begin(), todo.end(), [this](int a, int b) { return deletedDBRow(a) > deletedDBRow(b); });
        sqlw::Text text;
        text << head.str();
        sqlw::put(text, "current of ");
        putColName(text, wideFromUtf8(cursorName().c_str()).c_str(), quote().c_str());
        bool cleared = false;
        for (int i : todo) {
            const int dbRow = deletedDBRow(i);
            positionOn(dbRow);
            if (prepared) {
                m_writer.execute(statements.get(text.utf8()), nullptr, handler());
                wait();
            } else {
                runText(text.text());
            }
            if (!cleared) {
                clearCache();
                cleared = true;
            }
            renumDBRows(dbRow + 1, renumAll, -1);
            journalChangeDeletedInfo(i, true);
        }
        return;
    }

    for (int i : todo) {
        sqlw::Text text;
        text << head.str();
        ParamBlocks blocks(int(keys.size()));
        BindMap map;
        for (std::size_t k = 0; k < keys.size(); ++k) {
            const OrgCol* o = orgCol(keys[k]);
            const DBColInfo& d = dbCol(o->dbCol);
            const FieldRef f = deletedOrgField(i, keys[k]);
            if (!f.valid() || f.isNull())
                throw OrvaneDSError(OrvaneDSError::notInTable);
            if (k)
                sqlw::put(text, " and ");
            putColName(text, d.realColName.c_str(), quote().c_str());
            if (prepared) {
                sqlw::put(text, "=?");
                bindValue(map, blocks, int(k), short(k + 1), f, o->len, d.fetchType, d.precision, d.scale);
            } else {
                sqlw::put(text, "=");
                convertToOrvaneSQL(text, d.type, f, o->len);
            }
        }
        if (prepared) {
            m_writer.execute(statements.get(text.utf8()), &map, handler());
            wait();
        } else {
            runText(text.text());
        }
        journalChangeDeletedInfo(i, true);
        m_deletesByKey = true;
    }
}

void OrvaneDS::updateUpdated()
{
    if (updCount() == 0)
        return;
    const int t = mainTableIndex();
    const bool byKeyMode = m_updateMode == byKey;
    const std::vector<int> keys = byKeyMode ? keyOrgCols(t) : std::vector<int>();
    // The columns a write may set: plain ones first, blobs behind them.
    std::vector<int> work;
    for (int pass = 0; pass < 2; ++pass)
        for (int c = 1; c <= colCount(); ++c) {
            const Col* col = this->col(c);
            if (col->dbCol < 1 || col->dbCol > dbColCount() || !col->updateable || col->calculated ||
                dbCol(col->dbCol).tableIndex != t || (col->type == tBlob) != (pass == 1))
                continue;
            work.push_back(c);
        }
    if (work.empty())
        throw OrvaneDSError(OrvaneDSError::badMainTable);
    Prepared statements(m_connect);
    const WString cursor = wideFromUtf8(cursorName().c_str());
    if (m_writer == 0)
        m_writer.create(m_connect, m_connect.mode(), (cursorName() + "W").c_str());
    // The batch rule: from four rows on, the rows go through one prepared statement for
    // each set of changed columns instead of a text each.
    int pending = 0;
    {
        Iterator p = end();
        for (nextModifiedRow(p); p != end(); nextModifiedRow(p))
            pending += !journalIsInfo(p);
    }
    const bool batch = pending >= 4;
    std::map<std::vector<int>, OrvStatement*> bySet;
    ParamBlocks shared(batch ? int(work.size() + keys.size()) : 0);

    Iterator it = end();
    for (nextModifiedRow(it); it != end(); nextModifiedRow(it)) {
        if (journalIsInfo(it))
            continue;
        RowLock lock(*this, it, 0);
        bool plain = false, blob = false;
        for (int c : work)
            if (getModify(it, c))
                (this->col(c)->type == tBlob ? blob : plain) = true;
        const int dbRow = getDBRow(it);
        if (!byKeyMode && (plain || blob))
            positionOn(dbRow);

        // The key part of the statements.
        auto where = [&](sqlw::Text& text, bool params, BindMap* map, ParamBlocks* blocks, int first) {
            sqlw::put(text, " where ");
            if (!byKeyMode) {
                sqlw::put(text, "current of ");
                putColName(text, cursor.c_str(), quote().c_str());
                return;
            }
            for (std::size_t k = 0; k < keys.size(); ++k) {
                const OrgCol* o = orgCol(keys[k]);
                const DBColInfo& d = dbCol(o->dbCol);
                const FieldRef f = orgField(it, keys[k]);
                if (!f.valid() || f.isNull())
                    throw OrvaneDSError(OrvaneDSError::notInTable);
                if (k)
                    sqlw::put(text, " and ");
                putColName(text, d.realColName.c_str(), quote().c_str());
                if (params) {
                    sqlw::put(text, "=?");
                    bindValue(*map, *blocks, first + int(k), short(first + int(k) + 1), f, o->len, d.fetchType,
                              d.precision, d.scale);
                } else {
                    sqlw::put(text, "=");
                    convertToOrvaneSQL(text, d.type, f, o->len);
                }
            }
        };

        if (plain && batch) {
            std::vector<int> set;
            for (int c : work)
                if (this->col(c)->type != tBlob && getModify(it, c))
                    set.push_back(c);
            // One statement for each set of changed columns, made on its first row.
            OrvStatement*& statement = bySet[set];
            if (!statement) {
                sqlw::Text text;
                sqlw::put(text, "update ");
                putFullName(text, dbTable(t).name.c_str(), quote().c_str());
                sqlw::put(text, " set ");
                for (std::size_t i = 0; i < set.size(); ++i) {
                    if (i)
                        sqlw::put(text, ",");
                    putColName(text, dbCol(this->col(set[i])->dbCol).realColName.c_str(), quote().c_str());
                    sqlw::put(text, "=?");
                }
                ParamBlocks none(int(keys.size()));
                BindMap unused;
                where(text, true, &unused, &none, 0);
                statement = &statements.get(text.utf8());
            }
            BindMap map;
            for (std::size_t i = 0; i < set.size(); ++i) {
                const Col* col = this->col(set[i]);
                const DBColInfo& d = dbCol(col->dbCol);
                bindValue(map, shared, int(i), short(i + 1), (*this)(it, set[i]), col->len, d.fetchType, d.precision,
                          d.scale);
            }
            if (byKeyMode) {
                sqlw::Text ignored;
                where(ignored, true, &map, &shared, int(set.size()));
            }
            m_writer.execute(*statement, &map, handler());
            wait();
            if (byKeyMode && m_writer.rowCount() == 0)
                throw OrvaneDSError(OrvaneDSError::notInTable);
        } else if (plain) {
            sqlw::Text text;
            sqlw::put(text, "update ");
            putFullName(text, dbTable(t).name.c_str(), quote().c_str());
            sqlw::put(text, " set ");
            bool first = true;
            for (int c : work) {
                const Col* col = this->col(c);
                if (col->type == tBlob || !getModify(it, c))
                    continue;
                if (!first)
                    sqlw::put(text, ",");
                first = false;
                const DBColInfo& d = dbCol(col->dbCol);
                putColName(text, d.realColName.c_str(), quote().c_str());
                sqlw::put(text, "=");
                convertToOrvaneSQL(text, d.type, (*this)(it, c), col->len);
            }
            where(text, false, nullptr, nullptr, 0);
            runText(text.text());
            if (byKeyMode && m_writer.rowCount() == 0)
                throw OrvaneDSError(OrvaneDSError::notInTable);
        }
        if (blob) {
            std::vector<int> blobs;
            for (int c : work)
                if (this->col(c)->type == tBlob && getModify(it, c))
                    blobs.push_back(c);
            ParamBlocks blocks(int(blobs.size() + keys.size()));
            BindMap map;
            sqlw::Text text;
            sqlw::put(text, "update ");
            putFullName(text, dbTable(t).name.c_str(), quote().c_str());
            sqlw::put(text, " set ");
            for (std::size_t b = 0; b < blobs.size(); ++b) {
                const Col* col = this->col(blobs[b]);
                if (b)
                    sqlw::put(text, ",");
                putColName(text, dbCol(col->dbCol).realColName.c_str(), quote().c_str());
                sqlw::put(text, "=?");
                bindValue(map, blocks, int(b), short(b + 1), (*this)(it, blobs[b]), col->len, orvBlob, 0, 0);
            }
            where(text, true, &map, &blocks, int(blobs.size()));
            if (!byKeyMode)
                positionOn(dbRow);
            m_writer.execute(statements.get(text.utf8()), &map, handler());
            wait();
        }

        // The originals as they will be after the commit.
        journalChangeInfo(it, true);
        for (int c : work) {
            const Col* col = this->col(c);
            if (!getModify(it, c))
                continue;
            const int o = orgColIndexByDBCol(col->dbCol);
            const OrgCol* oc = orgCol(o);
            if (!oc || oc->type == tBlob || col->type == tBlob)
                continue;
            const FieldRef src = (*this)(it, c);
            const FieldRef dst = journalOrgField(it, o);
            if (src.isNull())
                dst.setNull(true);
            else if (convert(dst.data(), oc->len, oc->type, src.data(), valueLength(src, col->len), col->type, nullptr,
                             nullptr))
                dst.setNull(false);
        }
    }
}

void OrvaneDS::updateInserted()
{
    std::vector<Iterator> rows;
    {
        Iterator it = end();
        for (nextInsertedRow(it); it != end(); nextInsertedRow(it))
            if (!journalIsInfo(it))
                rows.push_back(it);
    }
    if (rows.empty())
        return;
    const int t = mainTableIndex();
    std::vector<int> cols;
    for (int c = 1; c <= colCount(); ++c) {
        const Col* col = this->col(c);
        if (col->dbCol >= 1 && col->dbCol <= dbColCount() && !col->calculated && !dbCol(col->dbCol).isRowid &&
            dbCol(col->dbCol).tableIndex == t)
            cols.push_back(c);
    }
    const bool batch = rows.size() >= 4;
    // In a batch every column that any row gives a value takes part.
    std::vector<int> batchCols;
    if (batch) {
        for (int c : cols) {
            bool any = false;
            for (const Iterator& it : rows) {
                RowLock lock(*this, it, c);
                any |= getModify(it, c) && !(*this)(it, c).isNull();
                if (any)
                    break;
            }
            if (any)
                batchCols.push_back(c);
        }
    }
    Prepared statements(m_connect);
    if (m_writer == 0)
        m_writer.create(m_connect, m_connect.mode(), (cursorName() + "W").c_str());

    for (const Iterator& it : rows) {
        RowLock lock(*this, it, 0);
        std::vector<int> use;
        bool hasBlob = false;
        if (batch) {
            use = batchCols;
        } else {
            for (int c : cols) {
                // A column takes part when the row was given a value in it.
                if (getModify(it, c) && !(*this)(it, c).isNull())
                    use.push_back(c);
            }
        }
        for (int c : use)
            hasBlob |= this->col(c)->type == tBlob && getModify(it, c) && !(*this)(it, c).isNull();
        const bool params = batch || hasBlob;

        sqlw::Text text;
        sqlw::put(text, "insert into ");
        putFullName(text, dbTable(t).name.c_str(), quote().c_str());
        if (use.empty()) {
            sqlw::put(text, " default values");
            runText(text.text());
        } else {
            sqlw::put(text, " (");
            for (std::size_t i = 0; i < use.size(); ++i) {
                if (i)
                    sqlw::put(text, ",");
                putColName(text, dbCol(this->col(use[i])->dbCol).realColName.c_str(), quote().c_str());
            }
            sqlw::put(text, ") values (");
            ParamBlocks blocks(int(use.size()));
            BindMap map;
            for (std::size_t i = 0; i < use.size(); ++i) {
                const Col* col = this->col(use[i]);
                const DBColInfo& d = dbCol(col->dbCol);
                if (i)
                    sqlw::put(text, ",");
                if (params) {
                    sqlw::put(text, "?");
                    // A column this row left alone goes as null.
                    const FieldRef v = getModify(it, use[i]) ? (*this)(it, use[i]) : FieldRef();
                    bindValue(map, blocks, int(i), short(i + 1), v, col->len,
                              col->type == tBlob ? int(orvBlob) : d.fetchType, d.precision, d.scale);
                } else {
                    convertToOrvaneSQL(text, d.type, (*this)(it, use[i]), col->len);
                }
            }
            sqlw::put(text, ")");
            if (params) {
                m_writer.execute(statements.get(text.utf8()), &map, handler());
                wait();
            } else {
                runText(text.text());
            }
        }
        // The row's originals become the values written.
        journalChangeInfo(it, true);
        for (int o = 1; o <= orgColCount(); ++o) {
            const OrgCol* oc = orgCol(o);
            int c = 0;
            for (int k = 1; k <= colCount() && !c; ++k)
                if (this->col(k)->dbCol == oc->dbCol)
                    c = k;
            if (!c || oc->type == tBlob || this->col(c)->type == tBlob)
                continue;
            const FieldRef src = (*this)(it, c);
            const FieldRef dst = journalOrgField(it, o);
            if (src.isNull())
                dst.setNull(true);
            else if (convert(dst.data(), oc->len, oc->type, src.data(), valueLength(src, this->col(c)->len),
                             this->col(c)->type, nullptr, nullptr))
                dst.setNull(false);
        }
    }
}

int OrvaneDS::checkInvariants() const
{
    if (int n = LowMemoryDS::checkInvariants())
        return n;
    if (int n = OrvaneDataStore::checkInvariants())
        return 10 + n;
    return 0;
}

// ---- Transactions ----

void OrvaneDS::commitDB()
{
    if (!isCreated() || m_cursor == 0)
        return;
    try {
        m_cursor.commit(handler());
        wait();
        if (m_deletesByKey) {
            // Rows deleted by key leave the result only when it runs again: the index
            // closes their gaps as a positioned delete does, and the cursor runs again.
            std::vector<int> rows;
            for (int i = 1; i <= delCount(); ++i)
                if (journalIsDeletedInfo(i) && deletedDBRow(i) > 0)
                    rows.push_back(deletedDBRow(i));
            std::sort(rows.rbegin(), rows.rend());
            clearCache();
            for (int r : rows)
                renumDBRows(r + 1, renumAll, -1);
            // Rows updated in the same batch keep their renumbered cursor rows.
            Iterator it = end();
            for (nextModifiedRow(it); it != end(); nextModifiedRow(it))
                if (journalIsInfo(it))
                    journalSetDbRow(it, getDBRow(it));
            m_deletesByKey = false;
            // The write is done: running the select again is the next read's business,
            // so that its failure can't pass for a failed write.
            m_cursorStale = true;
        }
    } catch (const OrvX& x) {
        throw OrvaneDSError(x);
    }
}

void OrvaneDS::restoreDeletedNumbering()
{
    if (m_updateMode == byKey)
        return;
    // Positioned deletes went from the last row to the first; putting their rows back
    // goes from the first to the last.
    std::vector<std::pair<int, int>> rows;
    for (int i = 1; i <= delCount(); ++i)
        if (journalIsDeletedInfo(i) && deletedDBRow(i) > 0)
            rows.push_back(std::make_pair(deletedDBRow(i), i));
    if (rows.empty())
        return;
    std::sort(rows.begin(), rows.end());
    clearCache();
    for (const auto& r : rows) {
        renumDBRows(r.first, renumAll, +1);
        journalChangeDeletedInfo(r.second, false);
    }
    m_cursorStale = true;
}

void OrvaneDS::rollbackDB()
{
    if (!isCreated() || m_cursor == 0)
        return;
    try {
        m_cursor.rollback(handler());
        wait();
        m_deletesByKey = false;
        // The rows the cursor gave up are in the table again: the select runs again before
        // the next read and numbers them as before.
        restoreDeletedNumbering();
    } catch (const OrvX& x) {
        throw OrvaneDSError(x);
    }
}

void OrvaneDS::commitDS()
{
    LowMemoryDS::commitDS();
    clearCache();
}

void OrvaneDS::rollbackDS()
{
    restoreDeletedNumbering();
    LowMemoryDS::rollbackDS();
    clearCache();
}

} // namespace DataSourceAPI

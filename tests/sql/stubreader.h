// StubDS: a LowMemoryDS whose rows come from their cursor row number (plus what a test has
// "written" to its database), counting every read, for the row cache tests.
#pragma once

#include <vexapi/sql/lowmemoryds.h>

#include <map>
#include <stdexcept>
#include <string>

namespace sqltest {

using namespace DataSourceAPI;

inline std::basic_string<WChar> W(const char* ascii)
{
    std::basic_string<WChar> s;
    for (; *ascii; ++ascii)
        s += WChar(*ascii);
    return s;
}

inline int readInt(const FieldRef& f)
{
    int v;
    std::memcpy(&v, f.data(), 4);
    return v;
}

inline void writeInt(const FieldRef& f, int v)
{
    std::memcpy(f.data(), &v, 4);
    f.setNull(false);
}

// Columns: 1 "id" tInt (the row's value), 2 "twice" tInt calculated, 3 "doc" tBlob.
// Original columns: 1 "id" tInt. A row reads id = its cursor row number, or the value a
// test stored in `db` for it; its blob is not null and holds "doc<id>" once read.
class StubDS : public LowMemoryDS {
public:
    enum { colId = 1, colTwice = 2, colDoc = 3 };

    StubDS()
    {
        addCol(DataSource::ColInfo(W("id").c_str(), tInt, 4));
        addCol(DataSource::ColInfo(W("twice").c_str(), tInt, 4));
        addCol(DataSource::ColInfo(W("doc").c_str(), tBlob, 0));
        setColCalc(colTwice, true);
        addOrgCol(DataSource::ColInfo(W("id").c_str(), tInt, 4));
        initColumns();
    }

    int rowReads = 0;
    int blobReads = 0;
    int calcs = 0;
    int failOnRow = 0; // a read of this cursor row throws
    std::map<int, int> db;

    int valueOf(int dbRow) const
    {
        auto found = db.find(dbRow);
        return found == db.end() ? dbRow : found->second;
    }

    // The id of the row at `it`, read under a lock as callers must.
    int id(const Iterator& it)
    {
        lock(it, colId);
        const int v = readInt((*this)(it, colId));
        unlock(it);
        return v;
    }
    void setId(const Iterator& it, int v)
    {
        lock(it, colId);
        writeInt((*this)(it, colId), v);
        setModify(it, colId);
        unlock(it);
    }

protected:
    void readRowFromDB(const Iterator& it) override
    {
        ++rowReads;
        const int dbRow = getDBRow(it);
        if (dbRow == failOnRow)
            throw std::runtime_error("read failed");
        writeInt((*this)(it, colId), valueOf(dbRow));
        writeInt(accessOrgField(it, 1), valueOf(dbRow));
        (*this)(it, colDoc).setNull(false);
    }
    void readColumnFromDB(const Iterator& it, int col) override
    {
        ++blobReads;
        const std::string text = "doc" + std::to_string(readInt((*this)(it, colId)));
        DSBlob* b = (*this)(it, col).blob();
        b->alloc(VLong(text.size()));
        std::memcpy(b->data(), text.data(), text.size());
    }
    void calcColumn(const Iterator& it, int col) override
    {
        ++calcs;
        writeInt((*this)(it, col), 2 * readInt((*this)(it, colId)));
    }
};

// The write a database source does: journal each changed row and deleted record with its
// new cursor row and originals, optionally failing after `failAfter` rows.
inline bool writeChanges(StubDS& ds, int failAfter)
{
    int written = 0;
    LowMemoryDS::Iterator it = ds.end();
    for (ds.nextChangedRow(it); it != ds.end(); ds.nextChangedRow(it)) {
        if (written++ == failAfter)
            return false;
        ds.lock(it, 0);
        ds.journalChangeInfo(it, true);
        ds.journalSetDbRow(it, ds.getDBRow(it));
        writeInt(ds.journalAccessOrgField(it, 1), readInt(ds(it, StubDS::colId)));
        ds.unlock(it);
    }
    for (int i = 1; i <= ds.delCount(); ++i) {
        if (written++ == failAfter)
            return false;
        ds.journalChangeDeletedInfo(i, true);
    }
    return true;
}

} // namespace sqltest

// Helpers of the cursor-backed source tests: a private database, a table of items with a
// model of it, reading and writing fields of an OrvaneDS, and the table as the database
// holds it.
#pragma once

#include <vexapi/orvcpp/faultinjection.h>
#include <vexapi/orvcpp/orvconnect.h>
#include <vexapi/orvcpp/orvcursor.h>
#include <vexapi/sql/orvaneds.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace orvanetest {

using namespace DataSourceAPI;
using OrvCPP::OrvConnect;
using OrvCPP::OrvCursor;

inline WString W(const char* ascii)
{
    WString s;
    for (; *ascii; ++ascii)
        s += WChar(static_cast<unsigned char>(*ascii));
    return s;
}

inline std::string narrow(const WString& w)
{
    std::string s;
    for (WChar c : w)
        s += c < 128 ? char(c) : '?';
    return s;
}

inline void run(const OrvConnect& c, const std::string& sql)
{
    OrvCursor cursor(c, 0, "run");
    cursor.execute(sql.c_str());
}

inline void commit(const OrvConnect& c)
{
    OrvCursor cursor(c, 0, "run");
    cursor.commit();
}

// One item: id, name, qty (a null qty is -1 here).
typedef std::tuple<int, std::string, int> Item;

// The items of the table, by id.
inline std::vector<Item> tableItems(const OrvConnect& c, const char* table = "items")
{
    std::vector<Item> out;
    OrvCursor cursor(c, 0, "probe");
    cursor.execute((std::string("select id, name, qty from ") + table + " order by id").c_str());
    for (VLong r = 1; r <= cursor.selectRowCount(); ++r) {
        cursor.fetch(OrvCPP::fetchAbsolute, r);
        VLong id = 0, qty = 0;
        char n1 = 0, n2 = 0, n3 = 0;
        char name[200];
        VLong len = 0;
        cursor.getData(1, OrvCPP::ValueInfo(&id, &n1));
        cursor.getData(2, OrvCPP::ValueInfo(name, VLong(sizeof name), &n2, &len));
        cursor.getData(3, OrvCPP::ValueInfo(&qty, &n3));
        out.emplace_back(int(id), n2 ? std::string("<null>") : std::string(name), n3 ? -1 : int(qty));
    }
    return out;
}

// Fills items(id integer primary key, name varchar(20), qty integer) with `rows` rows.
inline void makeItems(const OrvConnect& c, int rows, const char* table = "items")
{
    run(c, std::string("drop table if exists ") + table);
    run(c, std::string("create table ") + table + "(id integer primary key, name varchar(20), qty integer)");
    run(c, std::string("with recursive n(i) as (select 1 union all select i + 1 from n where i < ") +
               std::to_string(rows) + ") insert into " + table +
               " select i, 'item' || i, i * 10 from n");
    commit(c);
}

inline int getInt(OrvaneDS& ds, int row, int col, bool* isNull = nullptr)
{
    LowMemoryDS::Iterator it = ds.row2iterator(row);
    VLong v = 0, len = 0;
    bool null = false;
    ds.getFieldRaw(it, col, &v, 4, &null, &len);
    if (isNull)
        *isNull = null;
    return null ? -1 : int(v);
}

inline std::string getText(OrvaneDS& ds, int row, int col)
{
    LowMemoryDS::Iterator it = ds.row2iterator(row);
    std::vector<WChar> buf(512);
    VLong len = 0;
    bool null = false;
    ds.getFieldRaw(it, col, buf.data(), int(buf.size() * sizeof(WChar)) - 2, &null, &len);
    return null ? std::string("<null>") : narrow(buf.data());
}

inline void setInt(OrvaneDS& ds, const LowMemoryDS::Iterator& it, int col, int v)
{
    VLong x = v;
    ds.setFieldRaw(it, col, &x, 4, false);
}

inline void setText(OrvaneDS& ds, const LowMemoryDS::Iterator& it, int col, const char* text)
{
    const WString w = W(text);
    ds.setFieldRaw(it, col, w.c_str(), int((w.size() + 1) * sizeof(WChar)), false);
}

inline std::string message(const OrvaneDS::OrvaneDSError& e)
{
    std::vector<WChar> buf(4096);
    e.getMessage(buf.data(), int(buf.size()));
    return narrow(buf.data());
}

} // namespace orvanetest

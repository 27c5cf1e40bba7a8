// A query through the client layer on the sample database: a prepared statement with a
// parameter, its column descriptions and rows; then the million readings browsed by absolute
// position without fetching them all.
//   sample_query [DATABASE]     (default build/sample/sample.db; made when missing)
#include "sampledb.h"

#include <vexapi/values/bindmap.h>
#include <vexapi/orvcpp/orvcursor.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/orvcpp/orvstatement.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

using namespace OrvCPP;

namespace {

double msSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::string trimmed(const char* field)
{
    std::string s(field);
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
}

std::string text(OrvCursor& c, short col)
{
    char buffer[256];
    char isNull = 0;
    VLong len = 0;
    c.getData(col, ValueInfo(buffer, sizeof buffer, &isNull, &len));
    return isNull ? "NULL" : buffer;
}

void topCustomers(const OrvConnect& db, const char* country)
{
    OrvStatement s(db, "select c.name, c.city, count(o.id) as orders, sum(o.total) as revenue "
                       "from customers c join orders o on o.customer_id = c.id "
                       "where c.country = ? and o.status <> 'cancelled' "
                       "group by c.id order by revenue desc limit 5");
    std::printf("statement: kind %d, %d parameter(s), %d columns\n", int(s.queryType()), int(s.paramCount()),
                int(s.columnCount()));
    char value[3];
    std::snprintf(value, sizeof value, "%s", country);
    char isNull = 0;
    BindMap params;
    params.bind(1, ValueInfo(value, sizeof value, &isNull, nullptr));
    OrvCursor c(db, 0, "top");
    c.execute(s, &params);
    // The cursor describes expressions by their values, the statement only by declared types.
    for (short i = 1; i <= c.columnCount(); ++i) {
        t_ParamDesc d;
        c.answerDesc(i, &d);
        std::printf("  column %d: %-8s type %2d length %3d  from %s.%s.%s\n", i, d.alias, d.type, d.length,
                    trimmed(d.owner).c_str(), trimmed(d.table).c_str(), trimmed(d.column).c_str());
    }
    std::printf("best customers in %s (%d rows):\n", country, int(c.selectRowCount()));
    for (VLong r = 1; r <= c.selectRowCount(); ++r) {
        c.fetch(fetchAbsolute, r);
        OrvDec revenue;
        c.getData(4, ValueInfo(orvDecimal, &revenue, 16, &isNull, nullptr, 14, 2));
        char money[OrvDec::TextSize];
        revenue.toText(money, sizeof money);
        std::printf("  %-20s %-8s %3s orders %12s\n", text(c, 1).c_str(), text(c, 2).c_str(), text(c, 3).c_str(),
                    money);
    }
}

void browseReadings(const OrvConnect& db)
{
    OrvCursor c(db, 0, "readings");
    auto start = std::chrono::steady_clock::now();
    c.execute("select id, taken, temperature, pressure, humidity, flow from readings");
    const VLong rows = c.selectRowCount();
    std::printf("readings: %d rows, counted in %.1f ms without fetching\n", int(rows), msSince(start));
    for (VLong row : {VLong(1), rows / 2, rows - 1, rows, VLong(123457)}) {
        if (row < 1 || row > rows)
            continue;
        start = std::chrono::steady_clock::now();
        double temperature = 0, pressure = 0;
        char taken[32];
        char n[3] = {};
        BindMap map;
        map.bind(2, ValueInfo(taken, sizeof taken, &n[0], nullptr));
        map.bind(3, ValueInfo(orvDouble, &temperature, 8, &n[1]));
        map.bind(4, ValueInfo(orvDouble, &pressure, 8, &n[2]));
        c.fetch(fetchAbsolute, row, &map);
        std::printf("  row %7d  %s  %6.2f C  %7.2f hPa   (%.2f ms)\n", int(row), taken, temperature, pressure,
                    msSince(start));
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::string path = argc > 1 ? argv[1] : "build/sample/sample.db";
    try {
        if (sample::completeReadings(path) < 0) {
            std::printf("making the sample database %s ...\n", path.c_str());
            const std::filesystem::path parent = std::filesystem::path(path).parent_path();
            if (!parent.empty())
                std::filesystem::create_directories(parent);
            std::filesystem::remove(path);
            const auto start = std::chrono::steady_clock::now();
            OrvConnect db("demo", "", path.c_str());
            sample::create(db);
            std::printf("made in %.1f s\n", msSince(start) / 1000);
        }
        OrvConnect db("demo", "", path.c_str());
        topCustomers(db, "DE");
        browseReadings(db);
    } catch (const OrvX& x) {
        std::fprintf(stderr, "%s", x.message().c_str());
        return 1;
    }
    return 0;
}

// The sample database generator: keyed business tables filled through prepared statements,
// and the readings table filled by one statement inside the server.
#include "sampledb.h"

#include <vexapi/values/bindmap.h>
#include <vexapi/orvcpp/orvcursor.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/orvcpp/orvstatement.h>

#include <cstdint>
#include <cstdio>
#include <fstream>

using namespace OrvCPP;

namespace sample {

namespace {

// A small generator of its own, so the data is the same everywhere.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}
    std::uint32_t next()
    {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return std::uint32_t(m_state >> 33);
    }
    int below(int n) { return int(next() % std::uint32_t(n)); }

private:
    std::uint64_t m_state;
};

const char* const kFirst[] = {"Anna", "Boris", "Clara", "David", "Elena", "Farid", "Greta", "Hugo",
                              "Ines", "Jonas", "Kira", "Leon", "Mira", "Nikolai", "Olga", "Pavel"};
const char* const kLast[] = {"Novak", "Schmidt", "Rossi", "Dubois", "Kowalski", "Petrov", "Silva",
                             "Jensen", "Horvat", "Ivanova", "Lindqvist", "Moreau"};
const char* const kCities[][2] = {{"Berlin", "DE"}, {"Paris", "FR"}, {"Milan", "IT"}, {"Prague", "CZ"},
                                  {"Lisbon", "PT"}, {"Oslo", "NO"},  {"Zagreb", "HR"}, {"Kraków", "PL"}};
const char* const kProducts[] = {"Bearing 6204", "Seal kit", "Pressure sensor", "Flow meter", "Valve DN50",
                                 "Pump housing", "Cable 5 m", "Controller board", "Filter cartridge"};
const char* const kStatus[] = {"open", "shipped", "paid", "cancelled"};

template <std::size_t N>
void setText(char (&field)[N], const std::string& text)
{
    std::snprintf(field, N, "%s", text.c_str());
}

void run(OrvCursor& c, const char* sql) { c.execute(sql); }

} // namespace

void create(const OrvConnect& connection, const Sizes& sizes)
{
    OrvCursor c(connection, 0, "sample");
    run(c, "drop table if exists sample_info");
    run(c, "drop table if exists order_lines");
    run(c, "drop table if exists orders");
    run(c, "drop table if exists customers");
    run(c, "create table customers(id integer primary key autoincrement, name varchar(60) not null, "
           "city varchar(40), country char(2), email varchar(80) unique, created date, credit decimal(12,2))");
    run(c, "create table orders(id integer primary key, customer_id integer not null references customers(id), "
           "ordered date not null, status varchar(12), total decimal(14,2))");
    run(c, "create index orders_customer on orders(customer_id)");
    run(c, "create table order_lines(order_id integer not null references orders(id), line integer not null, "
           "product varchar(40), quantity integer, price decimal(10,2), primary key (order_id, line))");

    Random random(20240101);

    // Customers, through one prepared statement and a BindMap over a record.
    {
        OrvStatement insert(connection, "insert into customers(name, city, country, email, created, credit) "
                                        "values (?, ?, ?, ?, ?, ?)");
        struct {
            char name[61], city[41], country[3], email[81];
            OrvDate created;
            OrvDec credit;
            char nulls[6];
        } r = {};
        BindMap map;
        map.bind(1, ValueInfo(r.name, sizeof r.name, &r.nulls[0], nullptr));
        map.bind(2, ValueInfo(r.city, sizeof r.city, &r.nulls[1], nullptr));
        map.bind(3, ValueInfo(r.country, sizeof r.country, &r.nulls[2], nullptr));
        map.bind(4, ValueInfo(r.email, sizeof r.email, &r.nulls[3], nullptr));
        map.bind(5, ValueInfo(orvDate, &r.created, 16, &r.nulls[4]));
        map.bind(6, ValueInfo(orvDecimal, &r.credit, 16, &r.nulls[5]));
        for (int i = 1; i <= sizes.customers; ++i) {
            const char* first = kFirst[random.below(16)];
            const char* last = kLast[random.below(12)];
            const auto& city = kCities[random.below(8)];
            setText(r.name, std::string(first) + " " + last);
            setText(r.city, city[0]);
            setText(r.country, city[1]);
            setText(r.email, std::string(first) + "." + last + "." + std::to_string(i) + "@example.com");
            r.created = OrvDate(2019 + random.below(5), 1 + random.below(12), 1 + random.below(28));
            r.credit = OrvDec(VLong(random.below(5000000))) / OrvDec(VLong(100));
            r.nulls[1] = random.below(20) == 0; // a few customers without a city
            c.execute(insert, &map);
        }
    }

    // Orders and their lines; the order's total is the sum of its lines.
    {
        OrvStatement order(connection, "insert into orders(id, customer_id, ordered, status, total) "
                                       "values (?, ?, ?, ?, ?)");
        OrvStatement line(connection, "insert into order_lines(order_id, line, product, quantity, price) "
                                      "values (?, ?, ?, ?, ?)");
        VLong id = 0, customer = 0, lineNo = 0, quantity = 0;
        OrvDate ordered;
        OrvDec total, price;
        char status[13], product[41];
        char n[10] = {};
        BindMap om, lm;
        om.bind(1, ValueInfo(&id, &n[0]));
        om.bind(2, ValueInfo(&customer, &n[1]));
        om.bind(3, ValueInfo(orvDate, &ordered, 16, &n[2]));
        om.bind(4, ValueInfo(status, sizeof status, &n[3], nullptr));
        om.bind(5, ValueInfo(orvDecimal, &total, 16, &n[4]));
        lm.bind(1, ValueInfo(&id, &n[5]));
        lm.bind(2, ValueInfo(&lineNo, &n[6]));
        lm.bind(3, ValueInfo(product, sizeof product, &n[7], nullptr));
        lm.bind(4, ValueInfo(&quantity, &n[8]));
        lm.bind(5, ValueInfo(orvDecimal, &price, 16, &n[9]));
        for (id = 1; id <= sizes.orders; ++id) {
            customer = 1 + random.below(sizes.customers);
            ordered = OrvDate(2023 + random.below(2), 1 + random.below(12), 1 + random.below(28), 8 + random.below(10),
                              random.below(60), random.below(60));
            setText(status, kStatus[random.below(4)]);
            // The lines first, for the order's total; the order goes in before them.
            struct Line {
                int product, quantity;
                OrvDec price;
            } lines[6];
            const int count = 1 + random.below(6);
            total = OrvDec(VLong(0));
            for (int k = 0; k < count; ++k) {
                lines[k].product = random.below(9);
                lines[k].quantity = 1 + random.below(20);
                lines[k].price = OrvDec(VLong(100 + random.below(99900))) / OrvDec(VLong(100));
                total += lines[k].price * OrvDec(VLong(lines[k].quantity));
            }
            c.execute(order, &om);
            for (int k = 0; k < count; ++k) {
                lineNo = k + 1;
                setText(product, kProducts[lines[k].product]);
                quantity = lines[k].quantity;
                price = lines[k].price;
                c.execute(line, &lm);
            }
        }
    }
    c.commit();
    createReadings(connection, sizes.readings);

    run(c, "create table sample_info(name varchar(20) primary key, value integer)");
    char sql[200];
    std::snprintf(sql, sizeof sql,
                  "insert into sample_info values ('customers', %d), ('orders', %d), ('readings', %lld)",
                  sizes.customers, sizes.orders, sizes.readings);
    run(c, sql);
    c.commit();
}

void createReadings(const OrvConnect& connection, long long rows)
{
    OrvCursor c(connection, 0, "readings");
    run(c, "drop table if exists readings");
    run(c, "create table readings(id integer primary key, taken timestamp not null, sensor smallint, "
           "temperature double, pressure double, humidity double, flow double, status smallint)");
    // One statement inside the server: a row every 10 seconds from 2024-01-01 00:00:00 UTC
    // (1704067200), four series of periods from hours to days with a deterministic ripple.
    char sql[1024];
    std::snprintf(sql, sizeof sql,
                  "with recursive n(i) as (select 1 union all select i + 1 from n where i < %lld) "
                  "insert into readings select i, strftime('%%Y-%%m-%%d %%H:%%M:%%S.00', 1704067200 + 10 * (i - 1), "
                  "'unixepoch'), 1 + i %% 4, "
                  "round(20 + 8 * sin(i / 8640.0 * 6.283185) + ((i * 7919) %% 101) / 100.0, 3), "
                  "round(1013 + 6 * cos(i / 60480.0 * 6.283185) + ((i * 104729) %% 37) / 50.0, 2), "
                  "round(55 + 20 * sin(i / 2880.0 * 6.283185 + 1), 2), "
                  "round(abs(12 * sin(i / 360.0 * 6.283185)) + ((i * 31) %% 17) / 10.0, 3), "
                  "case when (i * 2654435761) %% 997 = 0 then 2 when (i * 40503) %% 211 = 0 then 1 else 0 end "
                  "from n",
                  rows);
    run(c, sql);
    c.commit();
}

long long completeReadings(const std::string& path)
{
    if (!std::ifstream(path))
        return -1;
    try {
        OrvConnect db("", "", path.c_str(), 0, true);
        OrvCursor c(db, 0, "check");
        c.execute("select value from sample_info where name = 'readings'");
        if (c.selectRowCount() != 1)
            return -1;
        std::int64_t readings = 0;
        char isNull = 0;
        c.fetch(fetchAbsolute, 1);
        c.getData(1, ValueInfo(orvBigInt, &readings, 8, &isNull));
        return isNull ? -1 : readings;
    } catch (const OrvX&) {
        return -1;
    }
}

} // namespace sample

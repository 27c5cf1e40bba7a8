// The embedded sample database of the demo, the examples and the benchmarks: customers,
// orders and order lines with their keys, and a table of sensor readings.
#pragma once

#include <vexapi/orvcpp/orvconnect.h>

#include <string>

namespace sample {

// How much to make. The defaults are the demo's database.
struct Sizes {
    int customers = 500;
    int orders = 4000;       // each with 1 to 6 lines
    long long readings = 1000000;
};

// The tables, all made through the client layer:
//   customers(id INTEGER PRIMARY KEY AUTOINCREMENT, name, city, country CHAR(2), email UNIQUE,
//             created DATE, credit DECIMAL(12,2))
//   orders(id INTEGER PRIMARY KEY, customer_id -> customers, ordered DATE, status, total DECIMAL)
//   order_lines(order_id -> orders, line, product, quantity, price DECIMAL, PRIMARY KEY
//               (order_id, line))
//   readings(id INTEGER PRIMARY KEY, taken TIMESTAMP, sensor SMALLINT, temperature,
//            pressure, humidity, flow DOUBLE, status SMALLINT): one reading every 10 seconds
//            from 2024-01-01, smooth series with a little noise, for the trend view and the
//            benchmarks
//   sample_info(name, value): what was made, written last, so a half-made file is told
// The content is the same on every run and every platform. Existing tables are replaced.
// Throws OrvX on failure.
void create(const OrvCPP::OrvConnect& connection, const Sizes& sizes = Sizes());

// Only the readings table, with `rows` rows (for the benchmarks).
void createReadings(const OrvCPP::OrvConnect& connection, long long rows);

// The number of readings of a complete sample database at `path`, or -1 when the file is
// missing or was not made completely.
long long completeReadings(const std::string& path);

} // namespace sample

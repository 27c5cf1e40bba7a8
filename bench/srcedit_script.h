// The SQL script the source editor's benchmarks run on: 100,000 rows of inserts, selects,
// updates, deletes, commits, comments and blank rows, the same on every run (fixed seed).
#pragma once

#include <vexapi/core/wstring.h>

#include <cstdio>
#include <random>
#include <string>

namespace srcedit_bench {

const int kScriptRows = 100000;

// Rows joined by "\r\n".
inline WString makeScript()
{
    std::mt19937 random(42u);
    auto num = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random); };
    std::string text;
    text.reserve(6500000);
    char line[256];
    for (int i = 0; i < kScriptRows; ++i) {
        switch (num(0, 9)) {
        case 0:
        case 1:
        case 2:
            std::snprintf(line, sizeof line,
                          "INSERT INTO orders (id, customer_id, amount, created) VALUES (%d, %d, %d.%02d, "
                          "'2024-%02d-%02d');",
                          i, num(1, 99999), num(1, 9999), num(0, 99), num(1, 12), num(1, 28));
            break;
        case 3:
        case 4:
            std::snprintf(line, sizeof line,
                          "SELECT o.id, c.name FROM orders o JOIN customers c ON c.id = o.customer_id "
                          "WHERE o.amount > %d;",
                          num(1, 5000));
            break;
        case 5:
            std::snprintf(line, sizeof line, "UPDATE orders SET amount = amount * 1.1 WHERE id = %d;", num(1, kScriptRows));
            break;
        case 6:
            std::snprintf(line, sizeof line, "  -- batch %d", i / 100);
            break;
        case 7:
            std::snprintf(line, sizeof line, "DELETE FROM audit WHERE created < '2023-%02d-01';", num(1, 12));
            break;
        case 8:
            std::snprintf(line, sizeof line, "COMMIT;");
            break;
        default:
            line[0] = 0;
        }
        if (i)
            text += "\r\n";
        text += line;
    }
    return WString(text.begin(), text.end());
}

} // namespace srcedit_bench

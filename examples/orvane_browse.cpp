// Browsing and editing the sample database through OrvaneStatement: the customers table read
// a screen at a time, a customer edited and one added and written back, a join of orders and
// order lines whose first screen comes before the whole join is read; then the edits undone
// so that the database stays as it was made.
//   orvane_browse [DATABASE]     (default build/sample/sample.db; made when missing)
#include "sampledb.h"

#include <vexapi/core/charset.h>
#include <vexapi/sql/orvanestatement.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

using namespace OrvCPP;
using namespace DataSourceAPI;

namespace {

WString W(const char* ascii)
{
    WString s;
    for (; *ascii; ++ascii)
        s += WChar(static_cast<unsigned char>(*ascii));
    return s;
}

// The terminal takes UTF-8.
std::string narrow(const WChar* w)
{
    return utf8FromWide(w);
}

// Prints a cell of 18 columns: UTF-8 text cut to 17 characters and padded by characters, not
// bytes.
void printCell(const std::string& text)
{
    std::string out;
    int chars = 0;
    for (char ch : text) {
        bool lead = (static_cast<unsigned char>(ch) & 0xC0) != 0x80;
        if (lead && chars == 17)
            break;
        chars += lead;
        out += ch;
    }
    std::printf("%s%*s", out.c_str(), 18 - chars, "");
}

double msSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::string field(OrvaneStatement& st, DataSource::Iterator it, int col)
{
    WChar buf[128];
    bool null = false;
    st.getFieldText(it, col, buf, sizeof buf, &null);
    return null ? "NULL" : narrow(buf);
}

void printRows(OrvaneStatement& st, int first, int count)
{
    for (int c = 1; c <= st.colCount(); ++c)
        printCell(narrow(st.colInfo(c).name()));
    std::printf("\n");
    for (int r = first; r < first + count && r <= st.rowCount(); ++r) {
        DataSource::Iterator it = st.row2iterator(r);
        for (int c = 1; c <= st.colCount(); ++c)
            printCell(field(st, it, c));
        std::printf("\n");
    }
}

void customers(unsigned short handle)
{
    OrvaneStatement st;
    st.setConnect(&handle);
    st.setIgnoreOwnerMode(true);
    st.setIgnoreTableMode(true);
    st.setSQLSelect(W("select id, name, city, credit from customers").c_str());
    st.create();
    st.setUpdateMode(OrvaneDS::byKey);
    st.setPrimaryKeysAsKey();
    st.retrieve();
    std::printf("customers: %d rows, main table %s, key by primary key\n", st.rowCount(),
                narrow(st.getMainTable()).c_str());
    printRows(st, 1, 4);

    // Edit row 3, add a customer, write both in one transaction.
    DataSource::Iterator third = st.row2iterator(3);
    const std::string oldCity = field(st, third, 3);
    st.setFieldText(third, 3, W("Edited City").c_str());
    DataSource::Iterator added = st.insertRow(st.end());
    st.setFieldText(added, 2, W("Demo Customer").c_str());
    st.setFieldText(added, 3, W("Nowhere").c_str());
    st.setFieldText(added, 4, W("12.50").c_str());
    std::printf("\nedited row 3 and added a row: %s pending\n", st.isModified() ? "changes" : "nothing");
    st.update();
    st.commitDB();
    st.commitDS();
    std::printf("written; the table now says:\n");
    st.retrieve();
    printRows(st, 3, 1);
    printRows(st, st.rowCount(), 1);

    // Undo: the city back, the new customer gone.
    st.setFieldText(st.row2iterator(3), 3, W(oldCity.c_str()).c_str());
    st.deleteRow(st.row2iterator(st.rowCount()));
    st.update();
    st.commitDB();
    st.commitDS();
    std::printf("undone: %d rows\n", st.rowCount());
}

void orderLines(unsigned short handle)
{
    const auto start = std::chrono::steady_clock::now();
    OrvaneStatement st;
    st.setConnect(&handle);
    st.setIgnoreOwnerMode(true);
    st.setIgnoreTableMode(true);
    st.setSQLSelect(W("select o.id, o.status, l.line, l.product, l.price from orders o "
                      "join order_lines l on l.order_id = o.id order by l.price desc")
                        .c_str());
    st.create();
    st.retrieve();
    printRows(st, 1, 5);
    std::printf("join of orders and lines: %d rows, first screen in %.1f ms\n", st.rowCount(), msSince(start));
    const auto last = std::chrono::steady_clock::now();
    printRows(st, st.rowCount(), 1);
    std::printf("the last row in %.1f ms\n", msSince(last));
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
            OrvConnect db("demo", "", path.c_str());
            sample::create(db);
        }
        OrvConnect db("demo", "", path.c_str());
        customers(db);
        std::printf("\n");
        orderLines(db);
    } catch (const OrvaneStatement::Error& e) {
        WChar buf[4096];
        static_cast<const DataSource::Error&>(e).getMessage(buf, 4096);
        std::fprintf(stderr, "%s\n", narrow(buf).c_str());
        return 1;
    } catch (const OrvX& x) {
        std::fprintf(stderr, "%s", x.message().c_str());
        return 1;
    }
    return 0;
}

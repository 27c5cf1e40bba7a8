// Helpers of the grid model's tests: text literals, a typical memory data set, and a data
// set whose rows are a function of their number.
#pragma once

#include <vexapi/grid/acblobdataset.h>
#include <vexapi/grid/acmemorydataset.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>

#include <cstdint>
#include <cstring>
#include <string>

using namespace VexAPI;

inline WString W(const char* s) { return wideFromUtf8(s); }
inline std::string U(const WChar* s) { return utf8FromWide(s); }

// Columns: 1 long, 2 double, 3 date, 4 decimal, 5 text of 40 characters.
inline void addTypicalColumns(aCDataSet& ds)
{
    ds.AddColDef(new aCColumn(W("id").c_str(), apsLong));
    ds.AddColDef(new aCColumn(W("amount").c_str(), apsDouble));
    ds.AddColDef(new aCColumn(W("when").c_str(), apsDate));
    ds.AddColDef(new aCColumn(W("price").c_str(), apsDecimal));
    ds.AddColDef(new aCColumn(W("note").c_str(), apsChar, 40));
}

inline std::string cellText(aCDataSet& ds, VLong col)
{
    WChar buf[400];
    ds.GetColDataAsText(col, buf, 400);
    return U(buf);
}

// Catches the pointer an operation throws and gives its code (0: nothing was thrown).
template <class F>
int failureOf(F f)
{
    try {
        f();
    } catch (aCDataFailure* e) {
        const int code = e->code;
        delete e;
        return code;
    }
    return 0;
}

// Rows computed from their number: column 1 (long) = row, column 2 (long) = row * 3. Rows
// listed in `bad` fail to read with error 6. Counts its reads.
class FunctionDataSet : public aCDataSet {
public:
    explicit FunctionDataSet(VLong rows) : m_rows(rows)
    {
        const WChar a[] = {'a', 0}, b[] = {'b', 0};
        AddColDef(new aCColumn(a, apsLong));
        AddColDef(new aCColumn(b, apsLong));
    }
    VLong GetRowCount() override { return m_rows; }
    int ToRow(int, VLong row, bool) override
    {
        ++reads;
        if (row < 1 || row > m_rows) {
            m_lastError = apsErrNoRow;
            return apsErrNoRow;
        }
        if (row == bad) {
            m_lastError = apsErrDatabase;
            return apsErrDatabase;
        }
        const std::int32_t v[2] = {std::int32_t(row), std::int32_t(row * 3)};
        std::memcpy(m_image, v, 8);
        return 0;
    }
    void* GetRowData() override { return m_image; }
    int SetRowData(const void*) override { return 0; }

    long reads = 0;
    VLong bad = -1;

private:
    VLong m_rows;
    unsigned char m_image[8] = {};
};

inline std::int32_t longAt(const void* image, int offset)
{
    std::int32_t v;
    std::memcpy(&v, static_cast<const unsigned char*>(image) + offset, 4);
    return v;
}

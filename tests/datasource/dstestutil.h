// Helpers shared by the row source tests: values written as short texts, 16-bit text from
// UTF-8, and a memory source with one column of every type.
#pragma once

#include "utf8text.h"

#include <vexapi/datasource/memorydatasource.h>
#include <vexapi/values/orvdate.h>
#include <vexapi/values/orvdec.h>
#include <vexapi/core/wstring.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace dstest {

using namespace DataSourceAPI;

using testtext::narrow;
using testtext::W;

// "0aff10" -> the three bytes.
inline std::vector<unsigned char> unhex(const std::string& hex)
{
    std::vector<unsigned char> out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

template <class T>
std::vector<unsigned char> bytesOf(const T& v)
{
    std::vector<unsigned char> out(sizeof(T));
    std::memcpy(out.data(), &v, sizeof(T));
    return out;
}

// The bytes of a value of `type` written as text: numbers in C syntax ("nan" too), a
// decimal or a date in its text form ("!" for a decimal that holds no number), texts as
// UTF-8 (with their terminator), bytes as hex pairs, a blob as its raw bytes.
inline std::vector<unsigned char> valueOf(Type type, const std::string& text)
{
    switch (type) {
    case tInt: return bytesOf(VLong(std::stoll(text)));
    case tSmall: return bytesOf(short(std::stoi(text)));
    case tReal: return bytesOf(std::stof(text));
    case tDouble: return bytesOf(std::stod(text));
    case tDec: return bytesOf(text == "!" ? OrvCPP::OrvDec::invalid() : OrvCPP::OrvDec(text.c_str()));
    case tDate: {
        OrvCPP::OrvDate d;
        OrvCPP::OrvDate::fromText(text.c_str(), -1, d);
        return bytesOf(d);
    }
    case tChar: {
        std::vector<unsigned char> v(text.begin(), text.end());
        v.push_back(0);
        return v;
    }
    case tText: {
        const WString w = W(text.c_str());
        std::vector<unsigned char> v((w.size() + 1) * 2, 0);
        std::memcpy(v.data(), w.data(), w.size() * 2);
        return v;
    }
    case tByte: return unhex(text);
    case tBlob: return std::vector<unsigned char>(text.begin(), text.end());
    default: return {};
    }
}

// A memory source of "id" (tInt), "name" (tText, 40 bytes) and "grp" (tInt).
class PeopleTable : public MemoryDataSource {
public:
    PeopleTable()
    {
        addCol(ColInfo(WSTR("id"), tInt, 4));
        addCol(ColInfo(WSTR("name"), tText, 40));
        addCol(ColInfo(WSTR("grp"), tInt, 4));
        initColumns();
    }
    // A null `name` writes a null. Before `before` (1-based), or at the end for 0.
    Iterator addRow(int id, const char* name, int grp, int before = 0)
    {
        Iterator it = insertRow(before > 0 ? row2iterator(before) : end());
        setFieldInt(it, 1, id);
        if (name) {
            const WString w = W(name);
            setField(it, 2, w.c_str(), int((w.size() + 1) * sizeof(WChar)), tText, false);
        } else {
            setNull(it, 2, true);
        }
        setFieldInt(it, 3, grp);
        return it;
    }
};

// The ints of column `col` of every row, walked from begin to end.
inline std::vector<int> column(const DataSource& ds, int col = 1)
{
    std::vector<int> out;
    const DataSource::Iterator last = ds.end();
    for (DataSource::Iterator it = ds.begin(); it != last; ++it)
        out.push_back(int(ds.getFieldInt(it, col)));
    return out;
}

inline std::string textAt(const DataSource& ds, DataSource::Iterator it, int col)
{
    WChar buf[64] = {0};
    ds.getFieldText(it, col, buf, int(sizeof buf));
    return narrow(buf);
}

inline const char* typeName(Type t)
{
    static const char* names[] = {"None", "Int", "Small", "Char", "Text", "Real",
                                  "Double", "Dec", "Date", "Byte", "Blob", "Object"};
    return t >= 0 && t <= tObject ? names[t] : "?";
}

} // namespace dstest

// TableDS: a record layout with column names, calculated flags and object factories,
// addressed by 1-based column numbers.
#pragma once

#include <vexapi/datasource/dskort.h>

#include <vexapi/core/api.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/wcharstring.h>

namespace DataSourceAPI {

// The column table of the sources that keep their rows as DSKort records. Its own
// operations count columns from 1 and hide DSKortDesc's 0-based ones of the same name.
//
// Invariants:
//  1. The names, calculated flags and factories run parallel to the declared columns.
//  2. A column out of range has a null name, type 0, len -1, is not calculated and has no
//     factory; setting anything on it changes nothing.
class VEXAPI_API TableDS : public DSKortDesc {
public:
    TableDS();

    // Inserts before column `pos` (clamped to 1..colCount() + 1) and gives the new number.
    // A new column is not calculated and has no factory.
    int insert(int pos, const WChar* name, Type type, int len);
    int add(const WChar* name, Type type, int len) { return insert(colCount() + 1, name, type, len); }
    void set(int pos, const WChar* name, Type type, int len);
    void remove(int pos);
    void clear();
    void init() { DSKortDesc::init(); }

    void setFactory(int col, DSFactory* factory);
    DSFactory* getFactory(int col) const;
    bool isCalculated(int col) const;
    void setCalculated(int col, bool calculated);

    const WChar* name(int col) const;
    Type type(int col) const { return DSKortDesc::type(col - 1); }
    int len(int col) const { return DSKortDesc::len(col - 1); }
    // By exact name; 0 if unknown.
    int indexByName(const WChar* name) const;

private:
    VectorOf<WCharString> m_names;
    VectorOf<char> m_calculated;
    VectorOf<DSFactory*> m_factories;
};

} // namespace DataSourceAPI

// TableDS: names, calculated flags and factories beside the declared columns.
#include <vexapi/datasource/tableds.h>

#include <vexapi/core/wtext.h>

namespace DataSourceAPI {

TableDS::TableDS() : m_names(50, 50), m_calculated(50, 50), m_factories(50, 50) {}

int TableDS::insert(int pos, const WChar* name, Type type, int len)
{
    if (pos < 1)
        pos = 1;
    if (pos > colCount() + 1)
        pos = colCount() + 1;
    DSKortDesc::insert(pos - 1, type, len);
    m_names.insert(pos - 1, WCharString(name));
    m_calculated.insert(pos - 1, 0);
    m_factories.insert(pos - 1, nullptr);
    return pos;
}

void TableDS::set(int pos, const WChar* name, Type type, int len)
{
    if (pos < 1 || pos > colCount())
        return;
    DSKortDesc::set(pos - 1, type, len);
    m_names[pos - 1] = WCharString(name);
}

void TableDS::remove(int pos)
{
    if (pos < 1 || pos > colCount())
        return;
    DSKortDesc::remove(pos - 1);
    m_names.remove(pos - 1);
    m_calculated.remove(pos - 1);
    m_factories.remove(pos - 1);
}

void TableDS::clear()
{
    DSKortDesc::clear();
    m_names.clear();
    m_calculated.clear();
    m_factories.clear();
}

void TableDS::setFactory(int col, DSFactory* factory)
{
    if (col >= 1 && col <= colCount())
        m_factories[col - 1] = factory;
}

DSFactory* TableDS::getFactory(int col) const
{
    return col >= 1 && col <= colCount() ? m_factories[col - 1] : nullptr;
}

bool TableDS::isCalculated(int col) const
{
    return col >= 1 && col <= colCount() && m_calculated[col - 1] != 0;
}

void TableDS::setCalculated(int col, bool calculated)
{
    if (col >= 1 && col <= colCount())
        m_calculated[col - 1] = calculated ? 1 : 0;
}

const WChar* TableDS::name(int col) const
{
    return col >= 1 && col <= colCount() ? m_names[col - 1].constData() : nullptr;
}

int TableDS::indexByName(const WChar* name) const
{
    for (int i = 0; i < colCount(); ++i)
        if (wstrcmp(m_names[i].constData(), name) == 0)
            return i + 1;
    return 0;
}

} // namespace DataSourceAPI

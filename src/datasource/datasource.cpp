// DataSource: the column and filter descriptions, the base behaviour of the virtual
// operations, navigation, and the blob encoding list.
#include <vexapi/datasource/datasource.h>

namespace DataSourceAPI {

// ---- ColInfo ----

DataSource::ColInfo::ColInfo() : m_hasName(false), m_type(tNone), m_len(-1) {}

DataSource::ColInfo::ColInfo(const WChar* name, Type type, int len)
    : m_name(name), m_hasName(name != nullptr), m_type(type), m_len(len)
{
}

// ---- FilterInfo ----

DataSource::FilterInfo::FilterInfo() : m_conds(50, 50), m_sort(50, 50), m_order(true) {}

void DataSource::FilterInfo::add(const WChar* col, const WChar* param, bool useLike)
{
    m_conds.add(Condition{WCharString(col), WCharString(param), useLike});
}

void DataSource::FilterInfo::addSort(const WChar* name)
{
    m_sort.add(WCharString(name));
}

const WChar* DataSource::FilterInfo::colName(int i) const
{
    return i >= 0 && i < m_conds.size() ? m_conds[i].col.constData() : nullptr;
}

const WChar* DataSource::FilterInfo::paramName(int i) const
{
    return i >= 0 && i < m_conds.size() ? m_conds[i].param.constData() : nullptr;
}

bool DataSource::FilterInfo::useLike(int i) const
{
    return i >= 0 && i < m_conds.size() && m_conds[i].useLike;
}

const WChar* DataSource::FilterInfo::sortName(int i) const
{
    return i >= 0 && i < m_sort.size() ? m_sort[i].constData() : nullptr;
}

// ---- Positions and errors ----

DataSource::IteratorInt::~IteratorInt() {}

DataSource::Error::~Error() {}

void DataSource::Error::getMessage(WChar* buffer, int size) const
{
    if (buffer && size > 0)
        buffer[0] = 0;
}

// ---- DataSource ----

DataSource::DataSource() : m_links(50, 50), m_blobEncodings(50, 50) {}

DataSource::DataSource(const DataSource& other)
    : Object(other), m_links(other.m_links), m_blobEncodings(other.m_blobEncodings)
{
}

DataSource& DataSource::operator=(const DataSource& other)
{
    if (this != &other) {
        m_links = other.m_links;
        m_blobEncodings = other.m_blobEncodings;
    }
    return *this;
}

DataSource::~DataSource() {}

void DataSource::removeAllCols()
{
    const int n = colCount();
    for (int i = 0; i < n; ++i)
        removeCol(1);
}

void DataSource::initColumns()
{
    const int n = colCount();
    while (m_blobEncodings.size() < n)
        m_blobEncodings.add(WCharString());
}

void DataSource::close() {}
void DataSource::realizeLinks() {}

DataSource* DataSource::getParentDS() const { return nullptr; }
DataSource::Iterator DataSource::getParentIterator() const { return end(); }
int DataSource::getParentCol() const { return 0; }
DataSource* DataSource::getCurInnerDS() { return this; }
void DataSource::setCurInnerDS(DataSource*) {}
void DataSource::setColFactory(int, DSFactory*) {}
DSFactory* DataSource::getColFactory(int) const { return nullptr; }
DataSource* DataSource::getInnerDS(Iterator, int, bool*, bool*) { return nullptr; }
void DataSource::lockInnerDS(Iterator, int) {}
void DataSource::unlockInnerDS(Iterator, int) {}
void DataSource::bindToParent(DataSource*, Iterator, int) {}
void DataSource::newObject(Iterator, int, void*&) const {}
void DataSource::deleteObject(Iterator, int, void*&) const {}
void DataSource::lockObject(Iterator, int, void*&) const {}
void DataSource::unlockObject(Iterator, int, void*&) const {}

bool DataSource::isCalculated(int) const { return false; }
void DataSource::setCalculated(int, bool) {}
bool DataSource::calcField(Iterator, int, void*, int, bool*) const { return false; }
void DataSource::invalidateField(Iterator, int) {}
void DataSource::invalidateRow(Iterator) {}
void DataSource::invalidateCol(int) {}
void DataSource::invalidate() {}

bool DataSource::getNull(Iterator it, int col) const
{
    bool isNull = false;
    realLen(it, col, &isNull);
    return isNull;
}

Type DataSource::colType(int col) const
{
    return colInfo(col).type();
}

// ---- Navigation ----

void DataSource::toFirst()
{
    Iterator first = begin();
    if (first != end())
        setCurIterator(first);
}

void DataSource::toLast()
{
    const Iterator stop = end();
    Iterator it = stop;
    --it;
    if (it != stop)
        setCurIterator(it);
}

void DataSource::toNext()
{
    Iterator it = getCurIterator();
    ++it;
    if (it != end())
        setCurIterator(it);
}

void DataSource::toPrev()
{
    Iterator it = getCurIterator();
    --it;
    if (it != end())
        setCurIterator(it);
}

// ---- Links and encodings ----

DataSourceLink* DataSource::link(int i) const
{
    return i >= 0 && i < m_links.size() ? m_links[i] : nullptr;
}

void DataSource::setBlobEncoding(int col, const WChar* name)
{
    if (col < 1)
        return;
    while (m_blobEncodings.size() < col)
        m_blobEncodings.add(WCharString());
    m_blobEncodings[col - 1] = WCharString(name);
}

const WChar* DataSource::getBlobEncoding(int col) const
{
    if (col < 1 || col > m_blobEncodings.size() || m_blobEncodings[col - 1].empty())
        return nullptr;
    return m_blobEncodings[col - 1].constData();
}

} // namespace DataSourceAPI

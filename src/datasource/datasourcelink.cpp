// DataSourceLink: the pairs of column names, the seven subscriptions that carry a master's
// events to its detail, and the watch on both sources' destruction.
#include <vexapi/datasource/datasourcelink.h>

#include <vexapi/core/wtext.h>

namespace DataSourceAPI {

DataSourceLink::DataSourceLink(DataSource* pri, DataSource* sec)
    : m_pri(pri), m_sec(sec), m_pairs(50, 50)
{
    if (m_sec) {
        subscribe(m_sec, &Object::onDtor, this, &DataSourceLink::onSecDtor);
        m_sec->m_links.add(this);
        disconnectDS(m_sec);
        connectDS(m_sec);
    }
    if (m_pri)
        subscribe(m_pri, &Object::onDtor, this, &DataSourceLink::onPriDtor);
}

DataSourceLink::DataSourceLink(const DataSourceLink& other)
    : DataSourceLink(other.m_pri, other.m_sec)
{
    m_pairs = other.m_pairs;
}

DataSourceLink& DataSourceLink::operator=(const DataSourceLink& other)
{
    if (this != &other) {
        reset(other.m_pri, other.m_sec);
        m_pairs = other.m_pairs;
    }
    return *this;
}

DataSourceLink::~DataSourceLink()
{
    // Leave both sources as if the link had never been: no subscriptions, not listed.
    unwatch();
    if (m_sec) {
        disconnectDS(m_sec);
        detach(m_sec);
    }
}

// The dying source is past its own destructors here: it is not touched. Its subscriptions
// go with it (the object model drops them on both sides), and its link array is gone.
SlotResult DataSourceLink::onPriDtor(Object*)
{
    m_pri = nullptr;
    m_pairs.clear();
    return SlotContinue;
}

SlotResult DataSourceLink::onSecDtor(Object*)
{
    m_sec = nullptr;
    m_pairs.clear();
    return SlotContinue;
}

void DataSourceLink::reset(DataSource* pri, DataSource* sec)
{
    unwatch();
    DataSource* oldSec = m_sec;
    if (oldSec) {
        disconnectDS(oldSec);
        detach(oldSec);
    }
    m_pri = pri;
    // The old secondary is connected to the new primary, also when it is being replaced:
    // applications depend on a replaced detail still following the master.
    if (oldSec)
        connectDS(oldSec);
    m_sec = sec;
    if (m_sec) {
        disconnectDS(m_sec);
        attach(m_sec);
        connectDS(m_sec);
    }
    watch(m_pri, m_sec);
}

int DataSourceLink::add(const WChar* priCol, const WChar* secCol)
{
    return m_pairs.add(ColPair{WCharString(priCol), WCharString(secCol)});
}

void DataSourceLink::set(int i, const WChar* priCol, const WChar* secCol)
{
    if (i >= 0 && i < m_pairs.size())
        m_pairs[i] = ColPair{WCharString(priCol), WCharString(secCol)};
}

void DataSourceLink::clear()
{
    m_pairs.clear();
}

const WChar* DataSourceLink::priColName(int i) const
{
    return i >= 0 && i < m_pairs.size() ? m_pairs[i].pri.constData() : nullptr;
}

const WChar* DataSourceLink::secColName(int i) const
{
    return i >= 0 && i < m_pairs.size() ? m_pairs[i].sec.constData() : nullptr;
}

int DataSourceLink::findByPriCol(const WChar* name) const
{
    for (int i = 0; i < m_pairs.size(); ++i)
        if (wstrcmp(m_pairs[i].pri.constData(), name) == 0)
            return i;
    return -1;
}

int DataSourceLink::findBySecCol(const WChar* name) const
{
    for (int i = 0; i < m_pairs.size(); ++i)
        if (wstrcmp(m_pairs[i].sec.constData(), name) == 0)
            return i;
    return -1;
}

void DataSourceLink::connectDS(DataSource* sec)
{
    if (!m_pri || !sec)
        return;
    subscribe(m_pri, &DataSource::onCurPosChanged, sec, &DataSource::onPriCurPosChanged);
    subscribe(m_pri, &DataSource::onInsert, sec, &DataSource::onPriInsert);
    subscribe(m_pri, &DataSource::onDelete, sec, &DataSource::onPriDelete);
    subscribe(m_pri, &DataSource::onFieldChanged, sec, &DataSource::onPriFieldChanged);
    subscribe(m_pri, &DataSource::onRowChanged, sec, &DataSource::onPriRowChanged);
    subscribe(m_pri, &DataSource::onChange, sec, &DataSource::onPriChange);
    subscribe(m_pri, &DataSource::onFullChange, sec, &DataSource::onPriChange);
}

void DataSourceLink::disconnectDS(DataSource* sec)
{
    if (!m_pri || !sec)
        return;
    unsubscribe(m_pri, &DataSource::onCurPosChanged, sec, &DataSource::onPriCurPosChanged);
    unsubscribe(m_pri, &DataSource::onInsert, sec, &DataSource::onPriInsert);
    unsubscribe(m_pri, &DataSource::onDelete, sec, &DataSource::onPriDelete);
    unsubscribe(m_pri, &DataSource::onFieldChanged, sec, &DataSource::onPriFieldChanged);
    unsubscribe(m_pri, &DataSource::onRowChanged, sec, &DataSource::onPriRowChanged);
    unsubscribe(m_pri, &DataSource::onChange, sec, &DataSource::onPriChange);
    unsubscribe(m_pri, &DataSource::onFullChange, sec, &DataSource::onPriChange);
}

void DataSourceLink::watch(DataSource* pri, DataSource* sec)
{
    if (pri)
        subscribe(pri, &Object::onDtor, this, &DataSourceLink::onPriDtor);
    if (sec)
        subscribe(sec, &Object::onDtor, this, &DataSourceLink::onSecDtor);
}

void DataSourceLink::unwatch()
{
    if (m_pri)
        unsubscribe(m_pri, &Object::onDtor, this, &DataSourceLink::onPriDtor);
    if (m_sec)
        unsubscribe(m_sec, &Object::onDtor, this, &DataSourceLink::onSecDtor);
}

void DataSourceLink::attach(DataSource* sec)
{
    sec->m_links.add(this);
}

void DataSourceLink::detach(DataSource* sec)
{
    const int i = sec->m_links.find(this);
    if (i >= 0)
        sec->m_links.remove(i);
}

int DataSourceLink::checkInvariants() const
{
    if (m_sec) {
        int listed = 0;
        for (int i = 0; i < m_sec->linkCount(); ++i)
            if (m_sec->link(i) == this)
                ++listed;
        if (listed != 1)
            return 1;
    }
    return 0;
}

} // namespace DataSourceAPI

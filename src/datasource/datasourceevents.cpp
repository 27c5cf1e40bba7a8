// DataSource's event frame: the own handling of its signals, the inner-source events that
// climb the parent chain, the slots a link subscribes to a master, and setLinkParams.
#include <vexapi/datasource/datasource.h>
#include <vexapi/datasource/datasourcelink.h>

namespace DataSourceAPI {

using namespace DataRepresentationWithNulls;

// ---- Own handling of the signals: nothing to do, and the sending goes on ----

bool DataSource::onError(const Error*) { return true; }
bool DataSource::onCurPosChanged(Iterator) { return true; }
bool DataSource::onCurDSChanged(Iterator) { return true; }
bool DataSource::onInsert(Iterator) { return true; }
bool DataSource::onDeleting(Iterator) { return true; }
bool DataSource::onDelete(int) { return true; }
bool DataSource::onFieldChanged(Iterator, int) { return true; }
bool DataSource::onRowChanged(Iterator) { return true; }
bool DataSource::onChange() { return true; }
bool DataSource::onFullChange() { return true; }

// ---- Inner events: sent on through the parent, with the original inner source ----

bool DataSource::onInnerError(DataSource* inner, const Error* error)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerError, inner, error) : true;
}

bool DataSource::onInnerCurPosChanged(DataSource* inner, Iterator it)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerCurPosChanged, inner, it) : true;
}

bool DataSource::onInnerInsert(DataSource* inner, Iterator it)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerInsert, inner, it) : true;
}

bool DataSource::onInnerDeleting(DataSource* inner, Iterator it)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerDeleting, inner, it) : true;
}

bool DataSource::onInnerDelete(DataSource* inner, int row)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerDelete, inner, row) : true;
}

bool DataSource::onInnerFieldChanged(DataSource* inner, Iterator it, int col)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerFieldChanged, inner, it, col) : true;
}

bool DataSource::onInnerRowChanged(DataSource* inner, Iterator it)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerRowChanged, inner, it) : true;
}

bool DataSource::onInnerChange(DataSource* inner)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerChange, inner) : true;
}

bool DataSource::onInnerStructChanged(DataSource* inner)
{
    DataSource* parent = getParentDS();
    return parent ? send(parent, &DataSource::onInnerStructChanged, inner) : true;
}

// ---- A master's events ----

SlotResult DataSource::onPriCurPosChanged(Object* sender, Iterator)
{
    return onPriChange(sender);
}

SlotResult DataSource::onPriInsert(Object* sender, Iterator)
{
    return onPriChange(sender);
}

SlotResult DataSource::onPriDelete(Object* sender, int)
{
    return onPriChange(sender);
}

SlotResult DataSource::onPriFieldChanged(Object* sender, Iterator, int)
{
    return onPriChange(sender);
}

SlotResult DataSource::onPriRowChanged(Object* sender, Iterator)
{
    return onPriChange(sender);
}

SlotResult DataSource::onPriChange(Object*)
{
    if (!isCreated())
        return SlotContinue;
    try {
        if (setLinkParams())
            retrieve();
    } catch (const Error& error) {
        send(this, &DataSource::onError, &error);
    }
    // Also after an error and when nothing was retrieved: this message carries the cascade
    // to this source's subscribers and to its own details.
    send(this, &DataSource::onChange);
    return SlotContinue;
}

bool DataSource::setLinkParams()
{
    bool result = false;
    try {
        for (int i = 0; i < m_links.size(); ++i) {
            DataSourceLink* link = m_links[i];
            DataSource* primary = link ? link->priDS() : nullptr;
            if (!primary)
                continue;
            const Iterator it = primary->getCurIterator();
            for (int j = 0; j < link->colCount(); ++j) {
                const int priCol = primary->indexByName(link->priColName(j));
                const int param = indexByParamName(link->secColName(j));
                if (param <= 0)
                    continue;
                bool changed = false;
                if (primary->isCreated() && it != primary->end() && priCol > 0) {
                    const Type priType = primary->colType(priCol);
                    ConvValue value;
                    DataRepresentationWithNulls::getField(primary, it, priCol, priType, value);
                    if (paramCount() < param)
                        continue;
                    const int len = int(value.realLen < value.capacity() ? value.realLen : value.capacity());
                    const void* data = value.isNull ? nullptr : value.data();
                    if (!setParam(param, data, len, priType, value.isNull, &changed))
                        setParam(param, nullptr, 0, tNone, true, &changed);
                } else {
                    // No master row: the parameter becomes null. A null of type 0 reports
                    // no change, so this alone triggers no retrieve; kept so.
                    setParam(param, nullptr, 0, tNone, true, &changed);
                }
                if (changed)
                    result = true;
            }
        }
    } catch (const Error& error) {
        send(this, &DataSource::onError, &error);
    }
    return result;
}

} // namespace DataSourceAPI

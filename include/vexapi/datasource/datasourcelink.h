// DataSourceLink: ties a secondary (detail) source to a primary (master) one by pairs of
// column names, so that the secondary's parameters follow the primary's current row.
#pragma once

#include <vexapi/datasource/datasource.h>

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>
#include <vexapi/core/vectorof.h>
#include <vexapi/core/wcharstring.h>

namespace DataSourceAPI {

// A master/detail link. It owns neither source: it watches both destructors and forgets a
// source that dies, together with all its column pairs, so a link that lost a partner
// does nothing. The secondary lists the link (DataSource::link) and, through the seven
// subscriptions made here, hears every change event of the primary in its onPri... slots.
//
// Pairs are indexed from 0; names compare exactly. A link can outlive both sources and be
// reset again; it is the application's, and a source only lists the links it is secondary of.
//
// Invariants (checkInvariants() gives the number of the first one broken):
//  1. While `sec` is set, the link stands exactly once in sec's link array.
//  2. While both are set, sec's slots are subscribed to pri's seven events (not checked
//     by checkInvariants: the object model has no query for it; tests send the events).
class VEXAPI_API DataSourceLink : public virtual Object {
public:
    DataSourceLink(DataSource* pri = nullptr, DataSource* sec = nullptr);
    // A copy links the same sources with the same pairs, and is a link of its own.
    DataSourceLink(const DataSourceLink& other);
    DataSourceLink& operator=(const DataSourceLink& other);
    virtual ~DataSourceLink();

    virtual SlotResult onPriDtor(Object* sender);
    virtual SlotResult onSecDtor(Object* sender);

    // Replaces both sources. When only `pri` changes, the secondary follows the new
    // primary; when `sec` is replaced, the old secondary keeps hearing the new primary
    // although the link no longer lists it (long-standing behaviour, kept as it is).
    void reset(DataSource* pri, DataSource* sec);

    int add(const WChar* priCol, const WChar* secCol);
    void set(int i, const WChar* priCol, const WChar* secCol);
    void clear();
    int colCount() const { return m_pairs.size(); }
    const WChar* priColName(int i) const;
    const WChar* secColName(int i) const;
    // 0-based; -1 if unknown.
    int findByPriCol(const WChar* name) const;
    int findBySecCol(const WChar* name) const;

    DataSource* priDS() const { return m_pri; }
    DataSource* secDS() const { return m_sec; }

    // 0 when every invariant holds, else the number of the first one broken.
    int checkInvariants() const;

private:
    struct ColPair {
        WCharString pri;
        WCharString sec;
    };

    void connectDS(DataSource* sec);
    void disconnectDS(DataSource* sec);
    void watch(DataSource* pri, DataSource* sec);
    void unwatch();
    void attach(DataSource* sec);
    void detach(DataSource* sec);

    DataSource* m_pri;
    DataSource* m_sec;
    VectorOf<ColPair> m_pairs;
};

} // namespace DataSourceAPI

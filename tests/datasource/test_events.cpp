// The event frame: silent primitives, delivery order through a source, inner events up a
// parent chain, the master/detail cascade of links, setLinkParams and the parameter write
// with change detection.
#include "dstestutil.h"

#include <signalspy.h>
#include <vexapi/core/wtext.h>
#include <vexapi/datasource/datasourcelink.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace dstest;

namespace {

typedef DataSource::Iterator Iterator;

// A memory source with parameters, a switch for isCreated, a retrieve that can fail, and a
// journal of its own event handling.
class ParamSource : public MemoryDataSource {
public:
    struct Param {
        WString name;
        Type type;
        int len;
        bool isNull;
        std::vector<unsigned char> value;
    };

    class Failure : public DataSource::Error {
    public:
        void getMessage(WChar* buffer, int size) const override { wstrlcpy(buffer, WSTR("failed"), size); }
    };

    explicit ParamSource(std::string name, Journal* journal = nullptr)
        : m_name(std::move(name)), m_journal(journal)
    {
    }

    void addParam(const char* name, Type type, int len)
    {
        params.push_back(Param{W(name), type, len, true, std::vector<unsigned char>(std::size_t(len ? len : 4))});
    }

    using MemoryDataSource::getParam;
    using MemoryDataSource::setParam;

    int paramCount() const override { return int(params.size()); }
    int indexByParamName(const WChar* name) const override
    {
        for (std::size_t i = 0; i < params.size(); ++i)
            if (wstrcmp(params[i].name.c_str(), name) == 0)
                return int(i) + 1;
        return 0;
    }
    ColInfo paramInfo(int p) const override
    {
        if (p < 1 || p > paramCount())
            return ColInfo(WSTR(""), tNone, 0);
        return ColInfo(params[std::size_t(p - 1)].name.c_str(), params[std::size_t(p - 1)].type,
                       params[std::size_t(p - 1)].len);
    }
    void getParam(int p, void* buf, int bufLen, bool* isNull, VLong* realLen) const override
    {
        const Param& q = params[std::size_t(p - 1)];
        if (isNull)
            *isNull = q.isNull;
        VLong len = VLong(q.value.size());
        if (q.type == tChar)
            len = VLong(std::strlen(reinterpret_cast<const char*>(q.value.data()))) + 1;
        if (realLen)
            *realLen = q.isNull ? 0 : len;
        if (!q.isNull)
            std::memcpy(buf, q.value.data(), std::size_t(std::min<VLong>(len, bufLen)));
    }
    void setParam(int p, const void* data, int len, bool isNull) override
    {
        ++rawWrites;
        Param& q = params[std::size_t(p - 1)];
        q.isNull = isNull;
        if (!isNull)
            convert(q.value.data(), int(q.value.size()), q.type, data, len, q.type, nullptr, nullptr);
    }
    bool paramIsNull(int p) const { return params[std::size_t(p - 1)].isNull; }
    VLong intParam(int p) const
    {
        VLong v;
        std::memcpy(&v, params[std::size_t(p - 1)].value.data(), 4);
        return v;
    }

    bool isCreated() override { return created; }
    void retrieve() override
    {
        ++retrieves;
        if (m_journal)
            m_journal->push_back(m_name + ".retrieve");
        if (failRetrieve)
            throw Failure();
        MemoryDataSource::retrieve();
    }
    bool onChange() override
    {
        if (m_journal)
            m_journal->push_back(m_name + ".onChange");
        return true;
    }
    bool onCurPosChanged(Iterator) override
    {
        if (m_journal)
            m_journal->push_back(m_name + ".onCurPosChanged");
        return ownResult;
    }

    std::vector<Param> params;
    bool created = true;
    bool failRetrieve = false;
    bool ownResult = true;
    int retrieves = 0;
    int rawWrites = 0;

private:
    std::string m_name;
    Journal* m_journal;
};

void intColumn(MemoryDataSource& ds, const char* name)
{
    ds.addCol(DataSource::ColInfo(W(name).c_str(), tInt, 4));
}

} // namespace

TEST(Events, PrimitivesSendNothing)
{
    ParamSource ds("ds");
    intColumn(ds, "n");
    ds.initColumns();
    SignalSpy<const DataSource::Error*> error(&ds, &DataSource::onError);
    SignalSpy<Iterator> pos(&ds, &DataSource::onCurPosChanged), curDS(&ds, &DataSource::onCurDSChanged),
        ins(&ds, &DataSource::onInsert), deleting(&ds, &DataSource::onDeleting),
        row(&ds, &DataSource::onRowChanged);
    SignalSpy<int> del(&ds, &DataSource::onDelete);
    SignalSpy<Iterator, int> field(&ds, &DataSource::onFieldChanged);
    SignalSpy<> change(&ds, &DataSource::onChange), full(&ds, &DataSource::onFullChange);

    Iterator it = ds.insertRow(ds.end());
    ds.insertRow(ds.end());
    ds.setFieldInt(it, 1, 5);
    ds.setCurIterator(it);
    ds.setCurRow(2);
    ds.toFirst();
    ds.retrieve();
    ds.sort(1);
    ds.deleteRow(it);
    ds.clear();
    int total = error.count() + pos.count() + curDS.count() + ins.count() + deleting.count() +
                row.count() + del.count() + field.count() + change.count() + full.count();
    EXPECT_EQ(total, 0);
}

TEST(Events, SubscribersInPriorityOrderThenTheSourceItself)
{
    Journal journal;
    ParamSource ds("ds", &journal);
    intColumn(ds, "n");
    ds.initColumns();
    Iterator it = ds.insertRow(ds.end());

    SignalSpy<Iterator> late(&ds, &DataSource::onCurPosChanged, 1000, &journal, "late");
    SignalSpy<Iterator> early(&ds, &DataSource::onCurPosChanged, 0, &journal, "early");
    SignalSpy<Iterator> later(&ds, &DataSource::onCurPosChanged, 1000, &journal, "later");
    EXPECT_TRUE(send(&ds, &DataSource::onCurPosChanged, it));
    EXPECT_EQ(journal, (Journal{"early", "late", "later", "ds.onCurPosChanged"}));
    ASSERT_EQ(late.count(), 1);
    EXPECT_TRUE(std::get<0>(late.calls[0]) == it);
    EXPECT_EQ(late.senders[0], static_cast<Object*>(&ds));

    // A subscriber's stop decides the result and keeps the rest from running.
    journal.clear();
    late.setResult(SlotStopFalse);
    EXPECT_FALSE(send(&ds, &DataSource::onCurPosChanged, it));
    EXPECT_EQ(journal, (Journal{"early", "late"}));
    journal.clear();
    late.setResult(SlotStopTrue);
    ds.ownResult = false;
    EXPECT_TRUE(send(&ds, &DataSource::onCurPosChanged, it));
    late.setResult(SlotContinue);
    EXPECT_FALSE(send(&ds, &DataSource::onCurPosChanged, it));
}

TEST(Events, InnerEventsClimbTheParentChainUnchanged)
{
    MemoryDataSource top, middle, inner;
    for (MemoryDataSource* ds : {&top, &middle, &inner}) {
        intColumn(*ds, "n");
        ds->initColumns();
        ds->insertRow(ds->end());
    }
    // No parent: nothing to pass on.
    EXPECT_TRUE(send(&inner, &DataSource::onInnerChange, static_cast<DataSource*>(&inner)));

    middle.bindToParent(&top, top.begin(), 1);
    inner.bindToParent(&middle, middle.begin(), 1);
    inner.bindToParent(&top, top.begin(), 1); // a second binding is ignored
    EXPECT_EQ(inner.getParentDS(), static_cast<DataSource*>(&middle));

    Journal journal;
    SignalSpy<DataSource*, Iterator, int> atMiddle(&middle, &DataSource::onInnerFieldChanged, 1000, &journal, "middle");
    SignalSpy<DataSource*, Iterator, int> atTop(&top, &DataSource::onInnerFieldChanged, 1000, &journal, "top");
    Iterator row = inner.begin();
    EXPECT_TRUE(send(&inner, &DataSource::onInnerFieldChanged, static_cast<DataSource*>(&inner), row, 1));
    EXPECT_EQ(journal, (Journal{"middle", "top"}));
    ASSERT_EQ(atTop.count(), 1);
    EXPECT_EQ(std::get<0>(atTop.calls[0]), static_cast<DataSource*>(&inner));
    EXPECT_TRUE(std::get<1>(atTop.calls[0]) == row);
    EXPECT_EQ(std::get<2>(atTop.calls[0]), 1);

    // A stop on the way ends the climb with its result.
    atMiddle.setResult(SlotStopFalse);
    EXPECT_FALSE(send(&inner, &DataSource::onInnerFieldChanged, static_cast<DataSource*>(&inner), row, 1));
    EXPECT_EQ(atTop.count(), 1);

    SignalSpy<DataSource*, const DataSource::Error*> errors(&top, &DataSource::onInnerError);
    ParamSource::Failure failure;
    EXPECT_TRUE(send(&inner, &DataSource::onInnerError, static_cast<DataSource*>(&inner),
                     static_cast<const DataSource::Error*>(&failure)));
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(std::get<1>(errors.calls[0]), &failure);
}

// ---- Parameters ----

TEST(SetParam, ChangeDetectionKeepsItsOrder)
{
    ParamSource ds("ds");
    ds.addParam("p", tInt, 4);
    bool changed = false;
    const VLong five = 5;

    // A null of the parameter's own type reports a change even on a null parameter.
    ASSERT_TRUE(ds.paramIsNull(1));
    EXPECT_TRUE(ds.setParam(1, nullptr, 0, tInt, true, &changed));
    EXPECT_TRUE(changed);
    EXPECT_TRUE(ds.paramIsNull(1));

    EXPECT_TRUE(ds.setParam(1, &five, 4, tInt, false, &changed));
    EXPECT_TRUE(changed);
    EXPECT_EQ(ds.intParam(1), 5);
    // The same value: no change, and nothing written.
    const int writes = ds.rawWrites;
    EXPECT_TRUE(ds.setParam(1, &five, 4, tInt, false, &changed));
    EXPECT_FALSE(changed);
    EXPECT_EQ(ds.rawWrites, writes);

    // Another type is converted; an equal value reports no change but is written.
    EXPECT_TRUE(ds.setParam(1, WSTR("5"), 4, tText, false, &changed));
    EXPECT_FALSE(changed);
    EXPECT_EQ(ds.rawWrites, writes + 1);
    EXPECT_TRUE(ds.setParam(1, WSTR("6"), 4, tText, false, &changed));
    EXPECT_TRUE(changed);
    EXPECT_EQ(ds.intParam(1), 6);
    // A text that is no number: false, no change, nothing written.
    EXPECT_FALSE(ds.setParam(1, WSTR("x"), 4, tText, false, &changed));
    EXPECT_FALSE(changed);
    EXPECT_EQ(ds.intParam(1), 6);

    // A null of type 0 nulls the parameter, yet answers false and reports no change.
    changed = true;
    EXPECT_FALSE(ds.setParam(1, nullptr, 0, tNone, true, &changed));
    EXPECT_FALSE(changed);
    EXPECT_TRUE(ds.paramIsNull(1));

    // Without `changed` the value is simply written.
    EXPECT_TRUE(ds.setParam(1, &five, 4, tInt, false, nullptr));
    EXPECT_EQ(ds.intParam(1), 5);
    VLong back = 0;
    bool isNull = true;
    EXPECT_TRUE(ds.getParam(1, &back, 4, tInt, &isNull, nullptr));
    EXPECT_FALSE(isNull);
    EXPECT_EQ(back, 5);
    WChar text[8];
    EXPECT_TRUE(ds.getParam(1, text, sizeof text, tText, &isNull, nullptr));
    EXPECT_EQ(narrow(text), "5");
}

// ---- Links ----

namespace {

// A master with rows 10, 20, 30 in column "id", and a detail whose parameter "pid" follows.
struct MasterDetail {
    Journal journal;
    ParamSource master{"master", &journal};
    ParamSource detail{"detail", &journal};
    std::unique_ptr<DataSourceLink> link;

    MasterDetail()
    {
        intColumn(master, "id");
        master.initColumns();
        for (int v : {10, 20, 30})
            master.setFieldInt(master.insertRow(master.end()), 1, v);
        intColumn(detail, "x");
        detail.initColumns();
        detail.addParam("pid", tInt, 4);
        link.reset(new DataSourceLink(&master, &detail));
        link->add(WSTR("id"), WSTR("pid"));
    }
};

} // namespace

TEST(Links, SetLinkParamsCopiesTheMasterRow)
{
    MasterDetail md;
    // A master on no row nulls the parameter without reporting a change.
    EXPECT_FALSE(md.detail.setLinkParams());
    EXPECT_TRUE(md.detail.paramIsNull(1));

    md.master.setCurRow(2);
    EXPECT_TRUE(md.detail.setLinkParams());
    EXPECT_EQ(md.detail.intParam(1), 20);
    EXPECT_FALSE(md.detail.setLinkParams());

    md.master.setCurIterator(md.master.end());
    EXPECT_FALSE(md.detail.setLinkParams());
    EXPECT_TRUE(md.detail.paramIsNull(1));

    // A null master value is a change to null.
    md.master.setCurRow(3);
    EXPECT_TRUE(md.detail.setLinkParams());
    md.master.setNull(md.master.getCurIterator(), 1, true);
    EXPECT_TRUE(md.detail.setLinkParams());
    EXPECT_TRUE(md.detail.paramIsNull(1));

    // Unknown names are passed over.
    md.link->add(WSTR("nope"), WSTR("pid"));
    md.link->add(WSTR("id"), WSTR("nope"));
    md.master.setCurRow(1);
    EXPECT_TRUE(md.detail.setLinkParams());
    EXPECT_EQ(md.detail.intParam(1), 10);
}

TEST(Links, TwoLinksAreWalkedInOrderOfCreation)
{
    MasterDetail md;
    ParamSource second("second");
    intColumn(second, "id");
    second.initColumns();
    second.setFieldInt(second.insertRow(second.end()), 1, 99);
    second.toFirst();
    DataSourceLink link2(&second, &md.detail);
    link2.add(WSTR("id"), WSTR("pid"));
    ASSERT_EQ(md.detail.linkCount(), 2);
    EXPECT_EQ(md.detail.link(0), md.link.get());
    EXPECT_EQ(md.detail.link(1), &link2);

    md.master.setCurRow(1);
    EXPECT_TRUE(md.detail.setLinkParams());
    EXPECT_EQ(md.detail.intParam(1), 99); // the later link wrote last
}

TEST(Links, AMasterEventCascadesDownTheChain)
{
    MasterDetail md;
    ParamSource grand("grand", &md.journal);
    intColumn(grand, "y");
    grand.initColumns();
    grand.addParam("x", tInt, 4);
    DataSourceLink link2(&md.detail, &grand);
    link2.add(WSTR("x"), WSTR("x"));
    md.detail.setFieldInt(md.detail.insertRow(md.detail.end()), 1, 7);

    SignalSpy<Iterator> masterSpy(&md.master, &DataSource::onCurPosChanged, 1000, &md.journal, "master.spy");
    SignalSpy<> detailSpy(&md.detail, &DataSource::onChange, 1000, &md.journal, "detail.spy");
    SignalSpy<> grandSpy(&grand, &DataSource::onChange, 1000, &md.journal, "grand.spy");

    md.master.setCurRow(1);
    send(&md.master, &DataSource::onCurPosChanged, md.master.getCurIterator());
    // The link subscribed first, so the detail hears first. Its parameter changed: it
    // retrieves (and goes to its first row), then its onChange reaches its own detail,
    // whose parameter changed too, and its own subscribers; the master's own handling ends.
    EXPECT_EQ(md.journal, (Journal{"detail.retrieve", "grand.retrieve", "grand.spy", "grand.onChange",
                                   "detail.spy", "detail.onChange", "master.spy",
                                   "master.onCurPosChanged"}));
    EXPECT_EQ(md.detail.intParam(1), 10);
    EXPECT_EQ(grand.intParam(1), 7);

    // The same row again: nothing to retrieve, but onChange still cascades.
    md.journal.clear();
    send(&md.master, &DataSource::onChange);
    EXPECT_EQ(md.journal, (Journal{"grand.spy", "grand.onChange", "detail.spy", "detail.onChange",
                                   "master.onChange"}));

    // onFullChange of the master reaches the detail like any other event.
    md.journal.clear();
    md.master.setCurRow(2);
    send(&md.master, &DataSource::onFullChange);
    EXPECT_EQ(md.detail.retrieves, 2);
    EXPECT_EQ(md.detail.intParam(1), 20);
}

TEST(Links, PriChangeOnASourceNotCreatedDoesNothing)
{
    MasterDetail md;
    md.detail.created = false;
    SignalSpy<> change(&md.detail, &DataSource::onChange);
    md.master.setCurRow(1);
    EXPECT_EQ(md.detail.onPriChange(&md.master), SlotContinue);
    EXPECT_EQ(change.count(), 0);
    EXPECT_TRUE(md.detail.paramIsNull(1));
    EXPECT_EQ(md.detail.retrieves, 0);
}

TEST(Links, AFailingRetrieveBecomesOnErrorAndOnChangeFollows)
{
    MasterDetail md;
    md.detail.failRetrieve = true;
    Journal order;
    SignalSpy<const DataSource::Error*> error(&md.detail, &DataSource::onError, 1000, &order, "error");
    SignalSpy<> change(&md.detail, &DataSource::onChange, 1000, &order, "change");
    // The error lives only during the delivery: read its message there.
    std::string message;
    error.action = [&] {
        WChar text[16];
        std::get<0>(error.calls.back())->getMessage(text, 16);
        message = narrow(text);
    };
    md.master.setCurRow(1);
    EXPECT_EQ(md.detail.onPriCurPosChanged(&md.master, md.master.getCurIterator()), SlotContinue);
    EXPECT_EQ(order, (Journal{"error", "change"}));
    EXPECT_EQ(message, "failed");

    // The base error's message is empty.
    DataSource::Error plain;
    WChar text[4] = {'x', 0};
    plain.getMessage(text, 4);
    EXPECT_EQ(text[0], 0);
}

TEST(Links, ALinkForgetsADeadPartner)
{
    auto master = std::make_unique<ParamSource>("master");
    ParamSource detail("detail");
    intColumn(*master, "id");
    master->initColumns();
    detail.addParam("pid", tInt, 4);
    DataSourceLink link(master.get(), &detail);
    link.add(WSTR("id"), WSTR("pid"));
    master->setFieldInt(master->insertRow(master->end()), 1, 4);
    master->toFirst();
    EXPECT_TRUE(detail.setLinkParams());

    master.reset();
    EXPECT_EQ(link.priDS(), nullptr);
    EXPECT_EQ(link.colCount(), 0);
    EXPECT_EQ(detail.intParam(1), 4); // the secondary keeps its last parameters
    EXPECT_FALSE(detail.setLinkParams());

    {
        ParamSource other("other");
        DataSourceLink second(&other, nullptr);
        second.reset(&other, &detail);
        EXPECT_EQ(detail.linkCount(), 2);
    }
    EXPECT_EQ(detail.linkCount(), 1);
    EXPECT_EQ(link.findBySecCol(WSTR("pid")), -1);
}

// ---- Overridden raw reads and null keys ----

namespace {

// A source whose raw read answers a value of its own for column 1 instead of the stored
// one (as a translating layer over a table would), and fills the buffer with `poison` when
// the field is null (a raw read of a null field leaves the buffer unspecified).
class RewritingSource : public ParamSource {
public:
    using ParamSource::ParamSource;
    using MemoryDataSource::getField;

    void getField(Iterator it, int col, void* buf, int bufLen, bool* isNull,
                  VLong* realLen) const override
    {
        bool null = false;
        VLong len = 0;
        MemoryDataSource::getField(it, col, buf, bufLen, &null, &len);
        const std::vector<unsigned char>& over = null ? poison : rewritten;
        if (col == 1 && !over.empty()) {
            std::memcpy(buf, over.data(), std::min(over.size(), std::size_t(bufLen)));
            if (!null)
                len = VLong(over.size());
        }
        if (isNull)
            *isNull = null;
        if (realLen)
            *realLen = len;
    }

    std::vector<unsigned char> rewritten;
    std::vector<unsigned char> poison;
};

struct RewriteCase {
    Type type;
    int len;
    const char* stored;
    const char* rewritten; // also the text getFieldText gives
};

const RewriteCase rewriteCases[] = {
    {tInt, 4, "7", "70"},
    {tSmall, 2, "3", "30"},
    {tDouble, 8, "1.5", "2.25"},
    {tDec, 16, "1.50", "9.75"},
    {tText, 32, "abc", "xyz"},
};

} // namespace

// Every read of a field, whatever type it asks for, sees what the raw read answers; so
// does a link that copies the field into its detail's parameter.
TEST(Overrides, EveryReadOfAFieldSeesTheOverriddenRawRead)
{
    for (const RewriteCase& c : rewriteCases) {
        SCOPED_TRACE(typeName(c.type));
        RewritingSource master("master");
        master.addCol(DataSource::ColInfo(WSTR("k"), c.type, c.len));
        master.initColumns();
        const std::vector<unsigned char> stored = valueOf(c.type, c.stored);
        const std::vector<unsigned char> rewritten = valueOf(c.type, c.rewritten);
        master.setField(master.insertRow(master.end()), 1, stored.data(), int(stored.size()),
                        c.type, false);
        master.rewritten = rewritten;
        master.toFirst();
        const Iterator it = master.getCurIterator();

        unsigned char own[64] = {};
        bool isNull = true;
        EXPECT_TRUE(master.getField(it, 1, own, sizeof own, c.type, &isNull, nullptr));
        EXPECT_FALSE(isNull);
        EXPECT_EQ(std::vector<unsigned char>(own, own + rewritten.size()), rewritten);
        WChar text[32];
        EXPECT_EQ(narrow(master.getFieldText(it, 1, text, sizeof text)), c.rewritten);
        if (c.type == tInt) {
            EXPECT_EQ(master.getFieldInt(it, 1), 70);
        }
        if (c.type == tDouble) {
            EXPECT_EQ(master.getFieldDouble(it, 1), 2.25);
        }

        ParamSource detail("detail");
        detail.addParam("p", c.type, c.len);
        DataSourceLink link(&master, &detail);
        link.add(WSTR("k"), WSTR("p"));
        EXPECT_TRUE(detail.setLinkParams());
        EXPECT_EQ(std::vector<unsigned char>(detail.params[0].value.begin(),
                                             detail.params[0].value.begin() + rewritten.size()),
                  rewritten);
    }
}

// A null written with a type other than the parameter's converts as a null, whatever
// `data` points at: the same answer as a null of the parameter's own type.
TEST(SetParam, ANullOfAnotherTypeConvertsAsANull)
{
    for (const char* poison : {"42", "x", ""}) {
        SCOPED_TRACE(poison);
        ParamSource ds("ds");
        ds.addParam("p", tInt, 4);
        const VLong five = 5;
        ASSERT_TRUE(ds.setParam(1, &five, 4, tInt, false, nullptr));
        const WString junk = W(poison);
        for (int round = 0; round < 2; ++round) {
            bool changed = false;
            EXPECT_TRUE(ds.setParam(1, junk.c_str(), int(junk.size() + 1) * 2, tText, true, &changed));
            EXPECT_TRUE(changed);
            EXPECT_TRUE(ds.paramIsNull(1));
        }
    }
}

// A null master key feeding a parameter of another type: the outcome may not depend on
// what the buffer held before the read.
TEST(Links, ANullMasterKeyIsCopiedAsANullWhateverTheBufferHeld)
{
    for (const char* poison : {"42", "x", ""}) {
        SCOPED_TRACE(poison);
        RewritingSource master("master");
        master.addCol(DataSource::ColInfo(WSTR("k"), tText, 32));
        master.initColumns();
        master.setFieldText(master.insertRow(master.end()), 1, W("1").c_str());
        master.poison = valueOf(tText, poison);
        ParamSource detail("detail");
        detail.addParam("pid", tInt, 4);
        DataSourceLink link(&master, &detail);
        link.add(WSTR("k"), WSTR("pid"));

        master.toFirst();
        EXPECT_TRUE(detail.setLinkParams());
        EXPECT_EQ(detail.intParam(1), 1);
        master.setNull(master.getCurIterator(), 1, true);
        EXPECT_TRUE(detail.setLinkParams()) << "a null key is a change to null";
        EXPECT_TRUE(detail.paramIsNull(1));
        EXPECT_TRUE(detail.setLinkParams()) << "as with a null key of the parameter's own type";
    }
}

// Signals and slots: delivery order, vetoes, the snapshot, the object lists and the
// destruction protocol.
#include <vexapi/core/object.h>

#include "signalspy.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace {

class Sender : public virtual Object {
public:
    explicit Sender(Journal* journal = nullptr) : journal(journal) {}

    virtual bool onValue(int v)
    {
        own.push_back(v);
        if (journal)
            journal->push_back("own");
        return ownResult;
    }
    virtual bool onOther(int v)
    {
        otherOwn.push_back(v);
        return true;
    }
    virtual bool onFour(int a, long b, bool c, void* d)
    {
        fourOwn = std::make_tuple(a, b, c, d);
        return true;
    }

    Journal* journal;
    std::vector<int> own;
    std::vector<int> otherOwn;
    std::tuple<int, long, bool, void*> fourOwn;
    bool ownResult = true;
};

typedef SignalSpy<int> IntSpy;

RecipientsList& recipientsOf(Sender& s, bool (Sender::*signal)(int))
{
    BasicList::Iterator it = s.signalList().find(PMF::make(signal));
    EXPECT_NE(it, s.signalList().end());
    return *it;
}

TEST(Signal, WithoutRecipientsRunsOnlyTheOwnMember)
{
    Sender s;
    EXPECT_TRUE(send(&s, &Sender::onValue, 7));
    s.ownResult = false;
    EXPECT_FALSE(send(&s, &Sender::onValue, 8));
    EXPECT_EQ(s.own, (std::vector<int>{7, 8}));
    EXPECT_TRUE(s.signalList().empty());
}

TEST(Signal, PriorityOrderThenFirstComeAmongEqualsThenOwnMember)
{
    Journal j;
    Sender s(&j);
    IntSpy a(&s, &Sender::onValue, 1000, &j, "a");
    IntSpy b(&s, &Sender::onValue, 0, &j, "b");
    IntSpy c(&s, &Sender::onValue, 1000, &j, "c");
    IntSpy d(&s, &Sender::onValue, 500, &j, "d");
    EXPECT_TRUE(send(&s, &Sender::onValue, 3));
    EXPECT_EQ(j, (Journal{"b", "d", "a", "c", "own"}));
    EXPECT_EQ(std::get<0>(a.calls.at(0)), 3);
    EXPECT_EQ(a.senders.at(0), static_cast<Object*>(&s));
}

struct VetoCase {
    SlotResult result;
    bool expected;
};

class SignalVeto : public ::testing::TestWithParam<VetoCase> {};

TEST_P(SignalVeto, StopsLaterRecipientsAndTheOwnMember)
{
    Journal j;
    Sender s(&j);
    s.ownResult = !GetParam().expected; // the own member would answer the other way
    IntSpy first(&s, &Sender::onValue, 1000, &j, "first");
    IntSpy veto(&s, &Sender::onValue, 1000, &j, "veto", GetParam().result);
    IntSpy later(&s, &Sender::onValue, 1000, &j, "later");
    EXPECT_EQ(send(&s, &Sender::onValue, 1), GetParam().expected);
    EXPECT_EQ(j, (Journal{"first", "veto"}));
    EXPECT_EQ(later.count(), 0);
    EXPECT_TRUE(s.own.empty());
}

INSTANTIATE_TEST_SUITE_P(Results, SignalVeto,
                         ::testing::Values(VetoCase{SlotStopTrue, true},
                                           VetoCase{SlotStopFalse, false}));

TEST(Signal, UnknownSlotResultCountsAsContinue)
{
    Journal j;
    Sender s(&j);
    IntSpy odd(&s, &Sender::onValue, 1000, &j, "odd", SlotResult(7));
    EXPECT_TRUE(send(&s, &Sender::onValue, 1));
    EXPECT_EQ(j, (Journal{"odd", "own"}));
}

TEST(Signal, LastRecipientGoneLeavesAnEmptyListAndRunsTheOwnMember)
{
    Sender s;
    {
        IntSpy spy(&s, &Sender::onValue);
        unsubscribe(&s, &Sender::onValue, &spy, &IntSpy::record);
        EXPECT_EQ(recipientsOf(s, &Sender::onValue).count, 0);
    }
    EXPECT_EQ(s.signalList().size(), 1u); // the emptied list stays
    EXPECT_TRUE(send(&s, &Sender::onValue, 4));
    EXPECT_EQ(s.own, std::vector<int>{4});
}

TEST(Subscription, DuplicateIsDroppedWithoutCounting)
{
    Sender s;
    IntSpy spy(&s, &Sender::onValue);
    subscribe(&s, &Sender::onValue, &spy, &IntSpy::record);
    subscribe(&s, &Sender::onValue, &spy, &IntSpy::record, 3); // other priority: still a dup
    EXPECT_EQ(recipientsOf(s, &Sender::onValue).count, 1);
    EXPECT_EQ(s.recipientList().countOf(&spy), 1);
    EXPECT_EQ(spy.senderList().countOf(&s), 1);
    send(&s, &Sender::onValue, 1);
    EXPECT_EQ(spy.count(), 1);
}

class TwoSlots : public virtual Object {
public:
    SlotResult onValue(Object*, int v) { values.push_back(v); return SlotContinue; }
    SlotResult onOther(Object*, int v) { others.push_back(v); return SlotContinue; }
    std::vector<int> values, others;
};

TEST(Subscription, ObjectListsCountEachSubscription)
{
    Sender s;
    auto r = std::make_unique<TwoSlots>();
    subscribe(&s, &Sender::onValue, r.get(), &TwoSlots::onValue);
    subscribe(&s, &Sender::onOther, r.get(), &TwoSlots::onOther);
    EXPECT_EQ(s.recipientList().countOf(r.get()), 2);
    EXPECT_EQ(r->senderList().countOf(&s), 2);

    unsubscribe(&s, &Sender::onOther, r.get(), &TwoSlots::onOther);
    EXPECT_EQ(s.recipientList().countOf(r.get()), 1);
    EXPECT_EQ(r->senderList().countOf(&s), 1);
    subscribe(&s, &Sender::onOther, r.get(), &TwoSlots::onOther);

    // The recipient's death removes both entries at once.
    r.reset();
    EXPECT_EQ(s.recipientList().find(nullptr), s.recipientList().end());
    EXPECT_TRUE(s.recipientList().empty());
    EXPECT_EQ(recipientsOf(s, &Sender::onValue).count, 0);
    EXPECT_EQ(recipientsOf(s, &Sender::onOther).count, 0);
    EXPECT_TRUE(send(&s, &Sender::onValue, 1));
    EXPECT_TRUE(send(&s, &Sender::onOther, 2));
}

TEST(Subscription, UnknownUnsubscribeChangesNothing)
{
    Sender s;
    TwoSlots r;
    unsubscribe(&s, &Sender::onValue, &r, &TwoSlots::onValue); // no list at all
    subscribe(&s, &Sender::onValue, &r, &TwoSlots::onValue);
    unsubscribe(&s, &Sender::onValue, &r, &TwoSlots::onOther); // other slot
    unsubscribe(&s, &Sender::onOther, &r, &TwoSlots::onValue); // other signal
    EXPECT_EQ(recipientsOf(s, &Sender::onValue).count, 1);
    EXPECT_EQ(s.recipientList().countOf(&r), 1);
}

TEST(ObjectListTest, DelOfAbsentObjectGivesEndAndChangesNothing)
{
    ObjectList list;
    Object a, b;
    list.add(&a);
    list.add(&a);
    EXPECT_EQ(list.del(&b), list.end());
    EXPECT_EQ(list.countOf(&a), 2);
    EXPECT_NE(list.del(&a), list.end());
    EXPECT_EQ(list.del(&a), list.end());
    EXPECT_TRUE(list.empty());
    list.add(&b);
    list.add(&b);
    list.delAll(&b);
    list.delAll(&a);
    EXPECT_TRUE(list.empty());
}

TEST(Snapshot, RecipientSubscribedDuringDeliveryWaitsForTheNextSend)
{
    Journal j;
    Sender s(&j);
    std::unique_ptr<IntSpy> late;
    IntSpy first(&s, &Sender::onValue, 1000, &j, "first");
    first.action = [&] {
        if (!late)
            late = std::make_unique<IntSpy>(&s, &Sender::onValue, 1000, &j, "late");
    };
    send(&s, &Sender::onValue, 1);
    EXPECT_EQ(j, (Journal{"first", "own"}));
    j.clear();
    send(&s, &Sender::onValue, 2);
    EXPECT_EQ(j, (Journal{"first", "late", "own"}));
}

TEST(Snapshot, RecipientUnsubscribedDuringDeliveryIsStillCalled)
{
    Journal j;
    Sender s(&j);
    IntSpy first(&s, &Sender::onValue, 1000, &j, "first");
    IntSpy second(&s, &Sender::onValue, 1000, &j, "second");
    first.action = [&] { unsubscribe(&s, &Sender::onValue, &second, &IntSpy::record); };
    send(&s, &Sender::onValue, 1);
    EXPECT_EQ(j, (Journal{"first", "second", "own"}));
    j.clear();
    send(&s, &Sender::onValue, 2);
    EXPECT_EQ(j, (Journal{"first", "own"}));
}

TEST(Snapshot, NestedSendsOfOneSignalHaveSnapshotsOfTheirOwn)
{
    Journal j;
    Sender s(&j);
    IntSpy outer(&s, &Sender::onValue, 1000, &j, "a");
    std::unique_ptr<IntSpy> added;
    outer.action = [&] {
        if (std::get<0>(outer.calls.back()) == 1) {
            added = std::make_unique<IntSpy>(&s, &Sender::onValue, 1000, &j, "b");
            send(&s, &Sender::onValue, 2); // sees the new subscriber
        }
    };
    send(&s, &Sender::onValue, 1);
    // outer(1) -> [inner: a(2), b(2), own(2)] -> own(1); the outer snapshot has no b.
    EXPECT_EQ(j, (Journal{"a", "a", "b", "own", "own"}));
    EXPECT_EQ(s.own, (std::vector<int>{2, 1}));
}

TEST(Signal, FourArgumentsReachSlotsAndOwnMember)
{
    Sender s;
    SignalSpy<int, long, bool, void*> spy(&s, &Sender::onFour);
    int x = 0;
    EXPECT_TRUE(send(&s, &Sender::onFour, 1, 2L, true, static_cast<void*>(&x)));
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.calls[0], std::make_tuple(1, 2L, true, static_cast<void*>(&x)));
    EXPECT_EQ(s.fourOwn, spy.calls[0]);
}

// A slot declared in a base that does not sit at offset 0 of the recipient.
struct Padding {
    virtual ~Padding() = default;
    long long pad[3] = {1, 2, 3};
};
class Listener : public virtual Object {
public:
    SlotResult heard(Object*, int v) { seen.push_back(v); return SlotContinue; }
    std::vector<int> seen;
};
class Composite : public Padding, public Listener {};

TEST(Signal, SlotOfABaseAtAnOffsetGetsItsOwnThis)
{
    Sender s;
    Composite c;
    subscribe(&s, &Sender::onValue, &c, &Listener::heard);
    send(&s, &Sender::onValue, 5);
    EXPECT_EQ(c.seen, std::vector<int>{5});
    EXPECT_EQ(s.recipientList().countOf(&c), 1); // counted by its Object base
}

TEST(Destruction, DyingSenderTellsOnDtorSubscribersAndLeavesNoTrace)
{
    auto s = std::make_unique<Sender>();
    SignalSpy<> dtorSpy(static_cast<Object*>(s.get()), &Object::onDtor);
    IntSpy valueSpy(s.get(), &Sender::onValue);
    EXPECT_EQ(valueSpy.senderList().countOf(s.get()), 1);
    Object* raw = s.get();
    s.reset();
    EXPECT_EQ(dtorSpy.count(), 1);
    EXPECT_EQ(dtorSpy.senders.at(0), raw);
    EXPECT_TRUE(dtorSpy.senderList().empty());
    EXPECT_TRUE(valueSpy.senderList().empty());
}

TEST(Destruction, DyingRecipientIsNoLongerCalled)
{
    Journal j;
    Sender s(&j);
    auto gone = std::make_unique<IntSpy>(&s, &Sender::onValue, 1000, &j, "gone");
    IntSpy stays(&s, &Sender::onValue, 1000, &j, "stays");
    gone.reset();
    send(&s, &Sender::onValue, 1);
    EXPECT_EQ(j, (Journal{"stays", "own"}));
    EXPECT_EQ(s.recipientList().size(), 1u);
}

TEST(Destruction, SenderDestroyedByItsRecipientDuringDelivery)
{
    Journal j;
    Sender* s = new Sender(&j);
    IntSpy killer(s, &Sender::onValue, 1000, &j, "killer");
    IntSpy after(s, &Sender::onValue, 1000, &j, "after");
    killer.action = [&] { delete s; };
    // The delivery goes on with the snapshot; the dead sender's own member cannot run.
    EXPECT_FALSE(send(s, &Sender::onValue, 1));
    EXPECT_EQ(j, (Journal{"killer", "after"}));
    EXPECT_TRUE(killer.senderList().empty());
    EXPECT_TRUE(after.senderList().empty());
}

TEST(Destruction, SenderDestroyedInsideANestedDelivery)
{
    Journal j;
    Sender* s = new Sender(&j);
    IntSpy spy(s, &Sender::onValue, 1000, &j, "spy");
    spy.action = [&] {
        if (std::get<0>(spy.calls.back()) == 1)
            send(s, &Sender::onValue, 2);
        else
            delete s;
    };
    EXPECT_FALSE(send(s, &Sender::onValue, 1));
    EXPECT_EQ(j, (Journal{"spy", "spy"}));
}

// A recipient with two slots on one signal; the first may destroy the object itself.
class Victim : public virtual Object {
public:
    explicit Victim(Journal* journal) : m_journal(journal) {}
    SlotResult hear(Object*, int)
    {
        Journal* journal = m_journal;
        journal->push_back("victim");
        if (selfDestroy)
            delete this; // nothing of this object is touched after this line
        return SlotContinue;
    }
    SlotResult hearAgain(Object*, int)
    {
        m_journal->push_back("victim again");
        return SlotContinue;
    }
    bool selfDestroy = false;

private:
    Journal* m_journal;
};

// A recipient destroyed while a delivery holds it in its snapshot: by an earlier slot, after
// an unsubscription in the same delivery, by itself between two of its slots, and inside
// a nested delivery of another sender. None may be called afterwards (ASan reports any
// call on the freed object).
TEST(Destruction, RecipientDestroyedDuringADeliveryIsNotCalledAfterwards)
{
    enum Case { ByEarlierSlot, AfterUnsubscribe, BySelf, InNestedDelivery };
    for (Case c : {ByEarlierSlot, AfterUnsubscribe, BySelf, InNestedDelivery}) {
        SCOPED_TRACE(int(c));
        Journal j;
        Sender s(&j);
        Sender other;
        IntSpy first(&s, &Sender::onValue, 1000, &j, "first");
        Victim* victim = new Victim(&j);
        subscribe(&s, &Sender::onValue, victim, &Victim::hear);
        IntSpy last(&s, &Sender::onValue, 1000, &j, "last");
        subscribe(&s, &Sender::onValue, victim, &Victim::hearAgain);
        IntSpy nested(&other, &Sender::onValue, 1000, &j, "nested");
        nested.action = [&] { delete victim; };
        switch (c) {
        case ByEarlierSlot:
            first.action = [&] { delete victim; };
            break;
        case AfterUnsubscribe:
            first.action = [&] {
                unsubscribe(&s, &Sender::onValue, victim, &Victim::hear);
                unsubscribe(&s, &Sender::onValue, victim, &Victim::hearAgain);
                delete victim;
            };
            break;
        case BySelf:
            victim->selfDestroy = true;
            break;
        case InNestedDelivery:
            first.action = [&] { send(&other, &Sender::onValue, 7); };
            break;
        }
        EXPECT_TRUE(send(&s, &Sender::onValue, 1));
        const Journal expected = c == BySelf ? Journal{"first", "victim", "last", "own"}
                               : c == InNestedDelivery ? Journal{"first", "nested", "last", "own"}
                                                       : Journal{"first", "last", "own"};
        EXPECT_EQ(j, expected);
        EXPECT_EQ(s.recipientList().size(), 2u); // first and last only
    }
}

class Thrower : public virtual Object {
public:
    SlotResult boom(Object*, int) { throw std::runtime_error("slot failed"); }
};

TEST(Signal, ExceptionFromASlotPassesThroughAndStopsTheDelivery)
{
    Journal j;
    Sender s(&j);
    // More recipients than fit the inline snapshot, so the block is on the heap and a leak
    // would show under the sanitizers.
    std::vector<std::unique_ptr<IntSpy>> before;
    for (int i = 0; i < 10; ++i)
        before.push_back(std::make_unique<IntSpy>(&s, &Sender::onValue, 10, &j, "before"));
    Thrower t;
    subscribe(&s, &Sender::onValue, &t, &Thrower::boom, 20);
    IntSpy later(&s, &Sender::onValue, 30, &j, "later");

    EXPECT_THROW(send(&s, &Sender::onValue, 1), std::runtime_error);
    EXPECT_EQ(j.size(), 10u);
    EXPECT_EQ(later.count(), 0);
    EXPECT_TRUE(s.own.empty());

    // The sender is intact: the next delivery works once the thrower leaves.
    unsubscribe(&s, &Sender::onValue, &t, &Thrower::boom);
    j.clear();
    EXPECT_TRUE(send(&s, &Sender::onValue, 2));
    EXPECT_EQ(j.size(), 12u);
    EXPECT_EQ(later.count(), 1);
}

TEST(ObjectTest, CopyHasNoSubscriptions)
{
    Sender s;
    IntSpy spy(&s, &Sender::onValue);
    Sender copy(s);
    EXPECT_TRUE(copy.signalList().empty());
    EXPECT_TRUE(copy.recipientList().empty());
    send(&copy, &Sender::onValue, 1);
    EXPECT_EQ(spy.count(), 0);
    copy = s;
    EXPECT_TRUE(copy.signalList().empty());
}

TEST(ObjectTest, PostIsDiscardedByPlainObjects)
{
    Object o;
    int payload = 0;
    o.post(&payload);
    EXPECT_TRUE(o.onPost(&payload));
    EXPECT_TRUE(o.onDtor());
}

} // namespace

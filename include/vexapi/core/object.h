// Object: the root of the library's communicating classes, with signals and slots.
//
// A recipient subscribes one of its member functions (a slot) to a member function of a
// sender (a signal). `send` offers each call of the signal to the subscribers in priority
// order, and then, unless a slot stopped it, runs the sender's own member function.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/list.h>
#include <vexapi/core/pmf.h>
#include <vexapi/core/types.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

class Object;
namespace VexAPI { namespace detail { class DeliveryGuard; struct DeliveryRecord; } }

// What a slot tells the delivery in progress. Any other value counts as SlotContinue (the
// fixed underlying type makes every int a valid value).
enum SlotResult : int {
    SlotContinue = 0,  // go on; after the last recipient the sender's own member runs
    SlotStopTrue = 1,  // stop at once; the signal call returns true
    SlotStopFalse = 2  // stop at once; the signal call returns false
};

// A plain function, one per slot signature, that rebuilds the slot's member pointer and
// calls it. Stored type-erased; `send` casts it back to the signature of its signal.
typedef void (*SlotCaller)();

// One subscription.
struct SubscribeInfo {
    void* recipient;         // the recipient as the slot's own class sees it
    Object* object;          // the recipient's Object base
    PMF slot;                // the slot's member pointer
    SlotCaller caller;       // calls `slot` on `recipient`
    unsigned short priority; // ascending: lower runs first
};

// The subscribers of one signal, sorted by ascending priority and by order of subscription
// among equals. `count` is kept by insert and remove.
class VEXAPI_API RecipientsList : public ListOf<SubscribeInfo> {
public:
    explicit RecipientsList(const PMF& signal) : signal(signal), count(0) {}

    // The entry with this recipient and an equal slot, or end().
    Iterator find(void* recipient, const PMF& slot);
    // The first entry whose priority is greater than `priority`, or end(): where a new
    // entry with that priority goes.
    Iterator find(unsigned short priority);
    // Inserts a new, uninitialised entry before `position`.
    Iterator insert(Iterator position);
    Iterator remove(Iterator position);

    PMF signal;
    VLong count;
};

// One RecipientsList for each signal that ever had a subscriber, in order of first
// subscription.
class VEXAPI_API BasicList : public ListOf<RecipientsList> {
public:
    Iterator find(const PMF& signal);
};

struct ObjectCounter {
    Object* object;
    int count;
};

// A multiset of objects, in order of first addition.
class VEXAPI_API ObjectList : public ListOf<ObjectCounter> {
public:
    Iterator find(Object* object);
    // Counts the object once more (a new entry with count 1 if absent).
    Iterator add(Object* object);
    // Counts it once less; at 0 removes the entry and gives end(). Absent: end(), no change.
    Iterator del(Object* object);
    // Removes the entry whatever its count. Absent: no change.
    void delAll(Object* object);
    // The object's count, 0 when absent.
    int countOf(Object* object);
};

// The root of every long-lived class that sends or receives signals.
//
// Invariants:
//  1. For every entry of a RecipientsList of sender S with object R, S's recipient list
//     counts R once and R's sender list counts S once.
//  2. After an Object's destructor, no sender holds an entry naming it and no recipient's
//     sender list names it.
//
// Destruction sends `onDtor` first, while every list still stands, so that subscribers can
// drop their pointers to the dying object. Copying gives an Object without subscriptions.
class VEXAPI_API Object {
public:
    Object();
    Object(const Object&);
    Object& operator=(const Object&);
    virtual ~Object();

    // The destructor signal: sent by ~Object before any link is cut.
    virtual bool onDtor();
    // A request to have onPost(pointer) called later from the message loop. Object itself
    // discards it; visual objects queue it.
    virtual void post(void* pointer);
    virtual bool onPost(void* pointer);

    // Removes every entry whose recipient object is `recipient` from all this object's
    // signals. The two object lists are left to the caller.
    void removeSubscriber(Object* recipient);

    BasicList& signalList() { return m_signals; }
    ObjectList& senderList() { return m_senders; }
    ObjectList& recipientList() { return m_recipients; }

    // A delivery in progress. The deliveries of a thread form a stack through `outer`
    // (sends nest). Invariants, kept by ~Object, which walks the stack:
    //  1. A delivery whose sender was destroyed by one of its recipients never touches the
    //     sender again (`senderAlive` false).
    //  2. A recipient destroyed during a delivery (by another slot, say) is never called by
    //     it afterwards: its records in the snapshot lose their recipient. This holds also
    //     for a recipient that was unsubscribed earlier in the same delivery.
    struct Delivery {
        Delivery* outer;
        Object* sender;
        bool senderAlive;
        VexAPI::detail::DeliveryRecord* records; // the delivery's snapshot
        int count;
    };

private:
    friend class VexAPI::detail::DeliveryGuard;

    BasicList m_signals;
    ObjectList m_senders;
    ObjectList m_recipients;
};

// The implementation of subscribe, unsubscribe and send.
namespace VexAPI {
namespace detail {

// Calls a slot of class R with the signal's arguments A...
template <class R, class SlotPtr, class... A>
SlotResult callSlot(void* recipient, Object* sender, const PMF* slot, A... args)
{
    SlotPtr m = slot->get<SlotPtr>();
    return (static_cast<R*>(recipient)->*m)(sender, args...);
}

template <class... A>
using CallerOf = SlotResult (*)(void*, Object*, const PMF*, A...);

VEXAPI_API void subscribeEntry(Object* sender, const PMF& signal, void* recipient,
                               Object* recipientObject, const PMF& slot, SlotCaller caller,
                               unsigned short priority);
VEXAPI_API void unsubscribeEntry(Object* sender, const PMF& signal, void* recipient,
                                 const PMF& slot);

// What a delivery needs of one subscription: who, which slot, and how to call it.
struct DeliveryRecord {
    void* recipient;        // null once the recipient object was destroyed mid-delivery
    Object* object;         // the recipient's Object base, to find its records
    SlotCaller caller;
    PMF slot;
};

// The records of one delivery, copied from the signal's list before any recipient runs: on
// the stack for the usual short lists, else in one heap block that an exception passing
// through frees. It is the whole of the delivery: the list is not looked at again.
class Snapshot {
public:
    explicit Snapshot(RecipientsList& list) : m_records(m_inline), m_size(0)
    {
        const int count = int(list.count);
        if (count > InlineCount) {
            m_heap.reset(new DeliveryRecord[std::size_t(count)]);
            m_records = m_heap.get();
        }
        for (RecipientsList::Iterator it = list.begin(); it != list.end() && m_size < count; ++it) {
            DeliveryRecord& r = m_records[m_size++];
            r.recipient = it->recipient;
            r.object = it->object;
            r.caller = it->caller;
            r.slot = it->slot;
        }
    }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    int size() const { return m_size; }
    const DeliveryRecord& operator[](int i) const { return m_records[i]; }
    DeliveryRecord* records() { return m_records; }

private:
    static const int InlineCount = 8;
    DeliveryRecord* m_records;
    int m_size;
    std::unique_ptr<DeliveryRecord[]> m_heap;
    DeliveryRecord m_inline[InlineCount];
};

// The RecipientsList of `signal`, or null. The same member pointer taken in the same
// module is recognised without a call; anything else goes through PMF equality.
inline RecipientsList* findSignal(BasicList& signals, const PMF& signal)
{
    for (BasicList::Iterator it = signals.begin(); it != signals.end(); ++it) {
        const PMF& p = it->signal;
        if (p.type == signal.type && std::memcmp(p.words, signal.words, sizeof p.words) == 0)
            return &*it;
    }
    BasicList::Iterator it = signals.find(signal);
    return it == signals.end() ? nullptr : &*it;
}

// The calling thread's stack of deliveries: a delivery enters it before its first slot runs
// and leaves it when the send returns or throws.
VEXAPI_API void enterDelivery(Object::Delivery* delivery);
VEXAPI_API void leaveDelivery(Object::Delivery* delivery);

// Keeps one send's delivery record on the thread's stack for the duration of the send.
class DeliveryGuard {
public:
    explicit DeliveryGuard(Object* sender)
    {
        m_record.sender = sender;
        m_record.senderAlive = true;
        m_record.records = nullptr;
        m_record.count = 0;
        enterDelivery(&m_record);
    }
    ~DeliveryGuard() { leaveDelivery(&m_record); }
    DeliveryGuard(const DeliveryGuard&) = delete;
    DeliveryGuard& operator=(const DeliveryGuard&) = delete;
    bool senderAlive() const { return m_record.senderAlive; }
    // Lets ~Object of a recipient find the snapshot's records.
    void watch(Snapshot& snapshot)
    {
        m_record.records = snapshot.records();
        m_record.count = snapshot.size();
    }

private:
    Object::Delivery m_record;
};

} // namespace detail
} // namespace VexAPI

// Subscribes `slot` of `recipient` to `signal` of `sender`. A second subscription of the
// same recipient and slot to the same signal is dropped.
template <class S, class C, class... A, class R, class RC, class... B>
void subscribe(S* sender, bool (C::*signal)(A...), R* recipient,
               SlotResult (RC::*slot)(Object*, B...), unsigned short priority = 1000)
{
    static_assert(sizeof...(A) == sizeof...(B), "a slot takes the signal's arguments");
    typedef SlotResult (RC::*SlotPtr)(Object*, B...);
    RC* self = recipient;
    VexAPI::detail::CallerOf<A...> caller = &VexAPI::detail::callSlot<RC, SlotPtr, A...>;
    VexAPI::detail::subscribeEntry(static_cast<Object*>(sender), PMF::make(signal),
                              static_cast<void*>(self),
                              recipient ? static_cast<Object*>(recipient) : nullptr,
                              PMF::make(slot), reinterpret_cast<SlotCaller>(caller), priority);
}

// Ends a subscription; an unknown pair changes nothing.
template <class S, class C, class... A, class R, class RC, class... B>
void unsubscribe(S* sender, bool (C::*signal)(A...), R* recipient,
                 SlotResult (RC::*slot)(Object*, B...))
{
    RC* self = recipient;
    VexAPI::detail::unsubscribeEntry(static_cast<Object*>(sender), PMF::make(signal),
                                static_cast<void*>(self), PMF::make(slot));
}

// Sends `signal` of `sender`: each subscriber in order, then the sender's own member
// function, unless a slot stops the delivery. The subscribers are those at the start of
// the call: the list is copied first and not looked at again.
//
// If a recipient destroys the sender, the delivery goes on with the remaining records,
// but the sender's own member function cannot run on the dead object: send then returns
// false. A recipient destroyed during the delivery is skipped from then on.
template <class S, class C, class... A, class... P>
bool send(S* sender, bool (C::*signal)(A...), P&&... args)
{
    Object* senderObject = static_cast<Object*>(sender);
    BasicList& signals = senderObject->signalList();
    if (signals.empty())
        return (sender->*signal)(args...);

    RecipientsList* list = VexAPI::detail::findSignal(signals, PMF::make(signal));
    if (!list)
        return (sender->*signal)(args...);

    VexAPI::detail::DeliveryGuard guard(senderObject);
    {
        VexAPI::detail::Snapshot snapshot(*list);
        guard.watch(snapshot);
        for (int i = 0; i < snapshot.size(); ++i) {
            const VexAPI::detail::DeliveryRecord& r = snapshot[i];
            if (!r.recipient)
                continue; // destroyed by an earlier slot of this delivery
            VexAPI::detail::CallerOf<A...> call = reinterpret_cast<VexAPI::detail::CallerOf<A...>>(r.caller);
            int result = call(r.recipient, senderObject, &r.slot, args...);
            if (result == SlotStopTrue)
                return true;
            if (result == SlotStopFalse)
                return false;
        }
    }
    if (!guard.senderAlive())
        return false;
    return (sender->*signal)(args...);
}

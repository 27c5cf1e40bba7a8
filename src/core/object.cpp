// Object: subscription bookkeeping, the destruction protocol and the delivery snapshot.
#include <vexapi/core/object.h>

#include <vexapi/core/vexassert.h>

#include <cstring>

// ---- RecipientsList ----

RecipientsList::Iterator RecipientsList::find(void* recipient, const PMF& slot)
{
    for (Iterator it = begin(); it != end(); ++it)
        if (it->recipient == recipient && it->slot == slot)
            return it;
    return end();
}

RecipientsList::Iterator RecipientsList::find(unsigned short priority)
{
    for (Iterator it = begin(); it != end(); ++it)
        if (it->priority > priority)
            return it;
    return end();
}

RecipientsList::Iterator RecipientsList::insert(Iterator position)
{
    ++count;
    return emplace(position);
}

RecipientsList::Iterator RecipientsList::remove(Iterator position)
{
    --count;
    return ListOf<SubscribeInfo>::remove(position);
}

// ---- BasicList ----

BasicList::Iterator BasicList::find(const PMF& signal)
{
    for (Iterator it = begin(); it != end(); ++it)
        if (it->signal == signal)
            return it;
    return end();
}

// ---- ObjectList ----

ObjectList::Iterator ObjectList::find(Object* object)
{
    for (Iterator it = begin(); it != end(); ++it)
        if (it->object == object)
            return it;
    return end();
}

ObjectList::Iterator ObjectList::add(Object* object)
{
    Iterator it = find(object);
    if (it != end()) {
        ++it->count;
        return it;
    }
    return emplaceBack(ObjectCounter{object, 1});
}

ObjectList::Iterator ObjectList::del(Object* object)
{
    Iterator it = find(object);
    if (it == end())
        return end();
    if (--it->count > 0)
        return it;
    remove(it);
    return end();
}

void ObjectList::delAll(Object* object)
{
    Iterator it = find(object);
    if (it != end())
        remove(it);
}

int ObjectList::countOf(Object* object)
{
    Iterator it = find(object);
    return it == end() ? 0 : it->count;
}

// ---- Object ----

namespace VexAPI {
namespace detail {
void forgetInDeliveries(Object* dying);
} // namespace detail
} // namespace VexAPI

Object::Object() {}

// A copy has no subscriptions: the links belong to the original.
Object::Object(const Object&) {}

Object& Object::operator=(const Object&)
{
    return *this;
}

Object::~Object()
{
    // 1. Tell the subscribers of onDtor while every list still stands. At this point the
    //    dynamic type is Object, so the virtual slot resolves to Object::onDtor.
    send(this, &Object::onDtor);

    // The deliveries in progress must not touch this object again, neither as their sender
    // nor as a recipient later in their snapshot.
    VexAPI::detail::forgetInDeliveries(this);

    // 2. Leave every sender we subscribed to.
    for (ObjectList::Iterator it = m_senders.begin(); it != m_senders.end(); ++it) {
        Object* sender = it->object;
        sender->removeSubscriber(this);
        sender->m_recipients.delAll(this);
    }
    // 3. Vanish from our recipients' lists of senders.
    for (ObjectList::Iterator it = m_recipients.begin(); it != m_recipients.end(); ++it)
        it->object->m_senders.delAll(this);
    // 4. The lists free their entries as members.
}

bool Object::onDtor()
{
    return true;
}

void Object::post(void*) {}

bool Object::onPost(void*)
{
    return true;
}

void Object::removeSubscriber(Object* recipient)
{
    for (BasicList::Iterator list = m_signals.begin(); list != m_signals.end(); ++list) {
        RecipientsList::Iterator it = list->begin();
        while (it != list->end()) {
            RecipientsList::Iterator next = it;
            ++next; // read the successor before the removal
            if (it->object == recipient)
                list->remove(it);
            it = next;
        }
    }
}

// ---- subscribe / unsubscribe / send ----

namespace VexAPI {
namespace detail {

namespace {
// The deliveries in progress on this thread, innermost first. Signals are delivered on the
// thread that sends them, so a thread-local stack sees every delivery that a destructor on
// this thread can disturb.
thread_local Object::Delivery* t_deliveries = nullptr;
} // namespace

void enterDelivery(Object::Delivery* delivery)
{
    delivery->outer = t_deliveries;
    t_deliveries = delivery;
}

void leaveDelivery(Object::Delivery* delivery)
{
    // Sends nest strictly (the guard lives on the stack), so this is the innermost.
    t_deliveries = delivery->outer;
}

void forgetInDeliveries(Object* dying)
{
    for (Object::Delivery* d = t_deliveries; d; d = d->outer) {
        if (d->sender == dying)
            d->senderAlive = false;
        for (int i = 0; i < d->count; ++i)
            if (d->records[i].object == dying)
                d->records[i].recipient = nullptr;
    }
}

void subscribeEntry(Object* sender, const PMF& signal, void* recipient, Object* recipientObject,
                    const PMF& slot, SlotCaller caller, unsigned short priority)
{
    BasicList& signals = sender->signalList();
    BasicList::Iterator list = signals.find(signal);
    if (list == signals.end())
        list = signals.emplaceBack(signal);

    if (list->find(recipient, slot) != list->end())
        return; // the same recipient and slot once more: dropped

    RecipientsList::Iterator entry = list->insert(list->find(priority));
    entry->recipient = recipient;
    entry->object = recipientObject;
    entry->slot = slot;
    entry->caller = caller;
    entry->priority = priority;

    if (recipientObject) {
        sender->recipientList().add(recipientObject);
        recipientObject->senderList().add(sender);
    }
}

void unsubscribeEntry(Object* sender, const PMF& signal, void* recipient, const PMF& slot)
{
    BasicList& signals = sender->signalList();
    BasicList::Iterator list = signals.find(signal);
    if (list == signals.end())
        return;
    RecipientsList::Iterator entry = list->find(recipient, slot);
    if (entry == list->end())
        return;
    if (Object* recipientObject = entry->object) {
        sender->recipientList().del(recipientObject);
        recipientObject->senderList().del(sender);
    }
    // An emptied RecipientsList stays for the rest of the sender's life.
    list->remove(entry);
}

} // namespace detail
} // namespace VexAPI

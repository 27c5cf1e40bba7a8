// SignalSpy: a recipient that records every delivery of one signal, for tests.
#pragma once

#include <vexapi/core/object.h>

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

// A shared journal of who ran, in order, across spies and senders.
typedef std::vector<std::string> Journal;

// Subscribes itself to `signal` of `sender` and records each call: the arguments, the
// sender as passed to the slot, and its name in an optional journal. Its slot answers
// `result`, and runs `action` (if set) before answering.
template <class... A>
class SignalSpy : public virtual Object {
public:
    template <class S, class C>
    SignalSpy(S* sender, bool (C::*signal)(A...), unsigned short priority = 1000,
              Journal* journal = nullptr, std::string name = std::string(),
              SlotResult result = SlotContinue)
        : m_journal(journal), m_name(std::move(name)), m_result(result)
    {
        subscribe(sender, signal, this, &SignalSpy::record, priority);
    }

    SlotResult record(Object* sender, A... args)
    {
        calls.emplace_back(args...);
        senders.push_back(sender);
        if (m_journal)
            m_journal->push_back(m_name);
        if (action)
            action();
        return m_result;
    }

    int count() const { return int(calls.size()); }
    void setResult(SlotResult r) { m_result = r; }

    std::vector<std::tuple<typename std::decay<A>::type...>> calls;
    std::vector<Object*> senders;
    std::function<void()> action;

private:
    Journal* m_journal;
    std::string m_name;
    SlotResult m_result;
};

// The fault switch of the client layer.
#include <vexapi/orvcpp/faultinjection.h>

#include <atomic>
#include <mutex>

namespace OrvCPP {

namespace {

// The switch's state. `armed` is also kept in `quickArmed`, read without the mutex, so that
// a call made while the switch is off (every call of a program in use) takes no
// process-wide lock: only arm and disarm change it, under the mutex.
struct Switch {
    std::mutex mutex;
    std::atomic<bool> quickArmed{false};
    bool armed = false;
    VLong n = 0;
    int sites = 0;
    bool repeat = false;
    OrvX error;
    VLong calls = 0;
    VLong failures = 0;
};

Switch& theSwitch()
{
    static Switch* s = new Switch; // never destroyed: calls may come from threads at exit
    return *s;
}

} // namespace

void FaultInjection::arm(VLong n, const OrvX& error, int sites, bool repeat)
{
    Switch& s = theSwitch();
    std::lock_guard<std::mutex> g(s.mutex);
    s.armed = true;
    s.quickArmed.store(true, std::memory_order_release);
    s.n = n;
    s.sites = sites;
    s.repeat = repeat;
    s.error = error;
    s.calls = 0;
    s.failures = 0;
}

void FaultInjection::disarm()
{
    Switch& s = theSwitch();
    std::lock_guard<std::mutex> g(s.mutex);
    s.armed = false;
    s.quickArmed.store(false, std::memory_order_release);
}

bool FaultInjection::isArmed()
{
    Switch& s = theSwitch();
    std::lock_guard<std::mutex> g(s.mutex);
    return s.armed;
}

VLong FaultInjection::calls()
{
    Switch& s = theSwitch();
    std::lock_guard<std::mutex> g(s.mutex);
    return s.calls;
}

VLong FaultInjection::failures()
{
    Switch& s = theSwitch();
    std::lock_guard<std::mutex> g(s.mutex);
    return s.failures;
}

namespace detail {

bool injectFault(int site, OrvX& error)
{
    Switch& s = theSwitch();
    if (!s.quickArmed.load(std::memory_order_acquire))
        return false;
    std::lock_guard<std::mutex> g(s.mutex);
    if (!s.armed || !(s.sites & site))
        return false;
    ++s.calls;
    if (s.calls == s.n || (s.repeat && s.calls > s.n)) {
        ++s.failures;
        error = s.error;
        return true;
    }
    return false;
}

} // namespace detail

} // namespace OrvCPP

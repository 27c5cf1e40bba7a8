// auto_caller: the serial counter and the call on scope exit.
#include <vexapi/core/autocaller.h>

#include <atomic>

namespace {
std::atomic<VLong> g_autoCallerSerial{0};
}

AutoCallable::~AutoCallable() = default;

auto_caller::auto_caller(AutoCallable* target)
    : m_target(target), m_serial(++g_autoCallerSerial)
{
}

auto_caller::~auto_caller()
{
    if (m_target)
        m_target->autoCall(m_serial);
}

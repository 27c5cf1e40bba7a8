// auto_caller: a scope guard that calls an AutoCallable with a process-wide serial number.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Something to be called when an auto_caller leaves its scope.
class VEXAPI_API AutoCallable {
public:
    virtual ~AutoCallable();
    virtual void autoCall(VLong serial) = 0;
};

// On construction takes the next serial (the first is 1); on destruction calls the target,
// when there is one, with that serial. Copies share the serial and each calls on its own end.
class VEXAPI_API auto_caller {
public:
    explicit auto_caller(AutoCallable* target);
    ~auto_caller();
    auto_caller(const auto_caller&) = default;
    auto_caller& operator=(const auto_caller&) = default;

    AutoCallable* target() const { return m_target; }
    VLong serial() const { return m_serial; }

private:
    AutoCallable* m_target;
    VLong m_serial;
};

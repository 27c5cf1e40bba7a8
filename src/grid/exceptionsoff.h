// ExceptionsOff: a data set's exception flag held off for a scope.
#pragma once

#include <vexapi/grid/acdataset.h>

namespace VexAPI {
namespace detail {

// Keeps the exception flag off for a span and restores it, also when leaving by a throw.
class ExceptionsOff {
public:
    explicit ExceptionsOff(aCDataSet* ds) : m_ds(ds), m_old(ds->GetExceptionFlag())
    {
        ds->SetExceptionFlag(false);
    }
    ~ExceptionsOff() { m_ds->SetExceptionFlag(m_old); }
    ExceptionsOff(const ExceptionsOff&) = delete;
    ExceptionsOff& operator=(const ExceptionsOff&) = delete;

private:
    aCDataSet* m_ds;
    bool m_old;
};

} // namespace detail
} // namespace VexAPI

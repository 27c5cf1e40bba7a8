// EnvironmentScope: environment variables set for one test and restored after it.
#include "testplatform.h"

EnvironmentScope::~EnvironmentScope()
{
    for (auto it = m_saved.rbegin(); it != m_saved.rend(); ++it)
        setEnvironment(it->name.c_str(), it->wasSet ? it->value.c_str() : nullptr, nullptr);
}

void EnvironmentScope::set(const char* name, const char* value)
{
    bool wasSet = false;
    std::string old = setEnvironment(name, value, &wasSet);
    m_saved.push_back(Saved{name, old, wasSet});
}

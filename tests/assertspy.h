// AssertSpy: records every failed VEX_ASSERT while it lives, for tests of the checks that
// report misuse and go on.
#pragma once

#include <vexapi/core/vexassert.h>

#include <string>
#include <vector>

// Installs itself as the assertion handler for its scope and restores the one before on
// destruction. The handler is a plain function, so the reports live in one journal that
// each new spy clears: spies do not nest.
class AssertSpy {
public:
    struct Report {
        std::string expression;
        std::string unit;
        int line;
    };

    AssertSpy() : m_previous(VexAPI::setAssertHandler(&record)) { journal().clear(); }
    ~AssertSpy() { VexAPI::setAssertHandler(m_previous); }
    AssertSpy(const AssertSpy&) = delete;
    AssertSpy& operator=(const AssertSpy&) = delete;

    int count() const { return int(journal().size()); }
    const std::vector<Report>& reports() const { return journal(); }
    const Report& operator[](int i) const { return journal()[std::size_t(i)]; }
    std::string lastExpression() const { return journal().empty() ? "" : journal().back().expression; }

private:
    static std::vector<Report>& journal()
    {
        static std::vector<Report> reports;
        return reports;
    }
    static void record(const char* expression, const char* unit, int line)
    {
        journal().push_back(Report{expression, unit, line});
    }

    VexAPI::AssertHandler m_previous;
};

// Classes whose member pointers the PMF tests take in two translation units.
#pragma once

#include <vexapi/core/pmf.h>

struct Shape {
    virtual ~Shape() = default;
    virtual bool onMove(int dx) { return dx > 0; }
    virtual bool onResize(int dx) { return dx < 0; } // same signature, other slot
    bool plainA(int) { return true; }
    bool plainB(int) { return false; }
};

// Member pointers of Shape taken in pmf_other_unit.cpp.
PMF otherUnitOnMove();
PMF otherUnitOnResize();
PMF otherUnitPlainA();

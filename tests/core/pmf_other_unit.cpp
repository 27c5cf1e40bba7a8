// The second translation unit of the PMF tests.
#include "pmf_shapes.h"

PMF otherUnitOnMove() { return PMF::make(&Shape::onMove); }
PMF otherUnitOnResize() { return PMF::make(&Shape::onResize); }
PMF otherUnitPlainA() { return PMF::make(&Shape::plainA); }

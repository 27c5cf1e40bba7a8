// TypicalControl: the interface's anchor.
#include <vexapi/toolkit/typicalcontrol.h>

TypicalControl::TypicalControl() = default;
TypicalControl::~TypicalControl() = default;

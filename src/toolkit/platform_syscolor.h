// The system colour seam: the desktop's colour of a numbered element.
#pragma once

#include <vexapi/core/types.h>

namespace VexAPI {
namespace platform {

// The colour of the platform's system colour `index` (its GetSysColor numbers), red in the
// low byte.
VULong sysColor(int index);

} // namespace platform
} // namespace VexAPI

// System colours through the desktop's settings.
#include <vexapi/toolkit/platform_syscolor.h>

#include <windows.h>

namespace VexAPI {
namespace platform {

VULong sysColor(int index) { return VULong(GetSysColor(index)) & 0xFFFFFF; }

} // namespace platform
} // namespace VexAPI

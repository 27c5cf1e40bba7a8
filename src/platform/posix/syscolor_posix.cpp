// System colours without a desktop: the classic scheme.
#include <vexapi/toolkit/platform_syscolor.h>

namespace VexAPI {
namespace platform {

VULong sysColor(int index)
{
    // The classic desktop scheme's colours, red in the low byte.
    switch (index) {
    case 4: return 0xC0C0C0;  // menu
    case 5: return 0xFFFFFF;  // window
    case 7: return 0x000000;  // menu text
    case 8: return 0x000000;  // window text
    case 9: return 0xFFFFFF;  // caption text
    case 13: return 0x800000; // highlight (navy)
    case 14: return 0xFFFFFF; // highlight text
    case 15: return 0xC0C0C0; // button face
    case 16: return 0x808080; // button shadow
    case 18: return 0x000000; // button text
    case 20: return 0xFFFFFF; // button highlight
    default: return 0;
    }
}

} // namespace platform
} // namespace VexAPI

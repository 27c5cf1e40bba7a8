// The metrics seam on Windows: GetSystemMetrics.
#include <vexapi/toolkit/platform_metrics.h>

#include <windows.h>

namespace VexAPI {
namespace platform {

int systemMetric(Metric metric)
{
    static const int codes[] = {SM_CXSCREEN, SM_CYSCREEN, SM_CYCAPTION, SM_CYMENU,
                                SM_CXFRAME, SM_CYFRAME, SM_CXEDGE, SM_CYEDGE, SM_CXICON,
                                SM_CYICON, SM_CYHSCROLL, SM_CXVSCROLL};
    if (int(metric) < 0 || int(metric) >= int(sizeof codes / sizeof codes[0]))
        return 0;
    return GetSystemMetrics(codes[metric]);
}

} // namespace platform
} // namespace VexAPI

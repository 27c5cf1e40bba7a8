// The metrics seam on Linux: no window system is attached, so the sizes are those of a
// common desktop (1280 x 1024, the sizes of the classic Windows theme), fixed so that
// layout code gives the same results on every machine.
#include <vexapi/toolkit/platform_metrics.h>

namespace VexAPI {
namespace platform {

int systemMetric(Metric metric)
{
    switch (metric) {
    case MetricScreenWidth: return 1280;
    case MetricScreenHeight: return 1024;
    case MetricCaption: return 19;
    case MetricMenu: return 19;
    case MetricFrameWidth: return 4;
    case MetricFrameHeight: return 4;
    case MetricEdgeWidth: return 2;
    case MetricEdgeHeight: return 2;
    case MetricIconWidth: return 32;
    case MetricIconHeight: return 32;
    case MetricHScrollHeight: return 16;
    case MetricVScrollWidth: return 16;
    }
    return 0;
}

} // namespace platform
} // namespace VexAPI

// The metrics seam: the platform's sizes of screen and window parts.
#pragma once

namespace VexAPI {
namespace platform {

enum Metric {
    MetricScreenWidth, MetricScreenHeight, MetricCaption, MetricMenu, MetricFrameWidth,
    MetricFrameHeight, MetricEdgeWidth, MetricEdgeHeight, MetricIconWidth, MetricIconHeight,
    MetricHScrollHeight, MetricVScrollWidth
};

int systemMetric(Metric metric);

} // namespace platform
} // namespace VexAPI

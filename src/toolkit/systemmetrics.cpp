// SystemMetrics over the metrics seam.
#include <vexapi/toolkit/systemmetrics.h>

#include "platform_metrics.h"

using namespace VexAPI::platform;

namespace {
int s_scrollLines = 3;
int s_scrollChars = 3;
} // namespace

int SystemMetrics::getScreenWidth() { return systemMetric(MetricScreenWidth); }
int SystemMetrics::getScreenHeight() { return systemMetric(MetricScreenHeight); }
int SystemMetrics::getCaptionHeight() { return systemMetric(MetricCaption); }
int SystemMetrics::getDfltMenuHeight() { return systemMetric(MetricMenu); }
int SystemMetrics::getTotalHeightOffset()
{
    return getCaptionHeight() + getDfltMenuHeight() + 2 * getFrameHeight();
}
int SystemMetrics::getUpperOffset() { return getCaptionHeight() + getFrameHeight(); }
int SystemMetrics::getFrameHeight() { return systemMetric(MetricFrameHeight); }
int SystemMetrics::getFrameWidth() { return systemMetric(MetricFrameWidth); }
int SystemMetrics::getEdgeWidth() { return systemMetric(MetricEdgeWidth); }
int SystemMetrics::getEdgeHeight() { return systemMetric(MetricEdgeHeight); }
int SystemMetrics::getDfltIconWidth() { return systemMetric(MetricIconWidth); }
int SystemMetrics::getDfltIconHeight() { return systemMetric(MetricIconHeight); }
int SystemMetrics::getScrollHeight() { return systemMetric(MetricHScrollHeight); }
int SystemMetrics::getScrollWidth() { return systemMetric(MetricVScrollWidth); }
int SystemMetrics::getScrollLines() { return s_scrollLines; }
int SystemMetrics::getScrollChars() { return s_scrollChars; }

void SystemMetrics::setScrollSettings(int lines, int chars)
{
    s_scrollLines = lines > 0 || lines == -1 ? lines : 3;
    s_scrollChars = chars > 0 ? chars : 3;
}

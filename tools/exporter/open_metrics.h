// SPDX-License-Identifier: Apache-2.0
//
// Counters and gauges in the text form of OpenMetrics 1.0, which prometheus-cpp doesn't write.
#ifndef TOOLS_EXPORTER_OPEN_METRICS_H
#define TOOLS_EXPORTER_OPEN_METRICS_H

#include <prometheus/serializer.h>

#include <string>
#include <string_view>
#include <vector>

namespace exporter {

inline constexpr const char *open_metrics_type =
    "application/openmetrics-text; version=1.0.0; charset=utf-8";

// Whether a client that sends this `Accept` header prefers OpenMetrics to other text (RFC 9110,
// section 12.5.1).
bool prefers_open_metrics(std::string_view accept);

class OpenMetricsSerializer : public prometheus::Serializer {
 public:
    using Serializer::Serialize;
    // Requires: the name of a counter ends with "_total".
    void Serialize(std::ostream &out,
                   const std::vector<prometheus::MetricFamily> &families) const override;
};

}  // namespace exporter

#endif

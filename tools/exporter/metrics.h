// SPDX-License-Identifier: Apache-2.0
//
// The figures of stores in the text forms of Prometheus and OpenMetrics.
#ifndef TOOLS_EXPORTER_METRICS_H
#define TOOLS_EXPORTER_METRICS_H

#include <prometheus/serializer.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "exporter/followed_store.h"

namespace exporter {

using Stores = std::vector<std::unique_ptr<FollowedStore>>;

// `most_series`: of a table of the schema in a store. Records beyond that are left out, and
// counted.
std::string metrics_text(const Stores &stores, uint64_t most_series, const std::string &version,
                         const prometheus::Serializer &form);

}  // namespace exporter

#endif

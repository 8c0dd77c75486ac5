// SPDX-License-Identifier: Apache-2.0
//
// The service: polls the servers and keeps their rows, until it is stopped.
#ifndef FEEDERS_RADIUS_SERVICE_H
#define FEEDERS_RADIUS_SERVICE_H

#include "settings.h"

namespace tarn_radius {

// Returns when SIGTERM or SIGINT has come, or after a failure, which is in the log then. Throws
// cli::UsageError before it begins.
ExitCode serve(const Settings &settings);

}  // namespace tarn_radius

#endif

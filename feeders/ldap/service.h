// SPDX-License-Identifier: Apache-2.0
//
// The service: keeps a server's records from its log and from its own counts, until it is stopped.
#ifndef FEEDERS_LDAP_SERVICE_H
#define FEEDERS_LDAP_SERVICE_H

#include "exit_code.h"
#include "settings.h"

namespace tarn_ldap {

// Returns when SIGTERM or SIGINT has come, or after a failure, which is in the log then.
ExitCode serve(const Settings &settings);

}  // namespace tarn_ldap

#endif

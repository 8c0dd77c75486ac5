// SPDX-License-Identifier: Apache-2.0
#include "exit_code.h"

#include "job.h"
#include "log_source.h"

namespace tarn_ldap {

ExitCode exit_code_of(const std::exception &failure) {
    if (dynamic_cast<const NotASlapdLog *>(&failure) != nullptr) return kNoSlapdLog;
    if (dynamic_cast<const tarn::error *>(&failure) != nullptr) return kStore;
    if (dynamic_cast<const BadPosition *>(&failure) != nullptr) return kStore;
    return kUnreadable;
}

}  // namespace tarn_ldap

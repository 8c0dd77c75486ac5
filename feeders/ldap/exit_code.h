// SPDX-License-Identifier: Apache-2.0
//
// What the program exits with.
#ifndef FEEDERS_LDAP_EXIT_CODE_H
#define FEEDERS_LDAP_EXIT_CODE_H

#include <exception>

namespace tarn_ldap {

enum ExitCode {
    kDone = 0,
    kMalformed = 1,
    kUsage = 2,
    kNoSlapdLog = 3,
    kUnreadable = 4,
    kStore = 5
};

// After a failure.
ExitCode exit_code_of(const std::exception &failure);

}  // namespace tarn_ldap

#endif

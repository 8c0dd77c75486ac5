// SPDX-License-Identifier: Apache-2.0
//
// How a command fails: its exit status and its message.
#ifndef TARNCTL_BASE_FAILURE_H
#define TARNCTL_BASE_FAILURE_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command.h"

namespace tarnctl {

// The exit statuses of tarnctl.
enum class Exit : int {
    done = 0,
    difference = 1,  // nothing found, or a difference
    usage = 2,       // wrong arguments
    data = 3,        // malformed data
    store = 4,       // a store or a file that can't be used
    busy = 5,        // another process has a transaction open
};

// Their meanings, as help and manual print them.
std::vector<cli::Status> exit_statuses();

// Ends a command: main prints the text and exits with the code.
class Failure : public std::runtime_error {
 public:
    Failure(Exit code, const std::string &text) : std::runtime_error(text), code_(code) {}
    Exit code() const { return code_; }

 private:
    Exit code_;
};

// "no table `tbl_ldap_con`; did you mean `tbl_ldap_conn`?", with the nearest of the names if one
// is near.
Failure no_such(Exit code, std::string_view kind, std::string_view name,
                const std::vector<std::string_view> &known);

// Throws Failure `store`, "<what>: <the system's text>", if `err`, an errno number, isn't 0.
void need(uint32_t err, std::string_view what);

}  // namespace tarnctl

#endif

// SPDX-License-Identifier: Apache-2.0
//
// Moments of a store's history, as a user writes them:
//
//   4711                          after the transaction of this number
//   2026-11-22T10:30:05.250+01:00 a time: without a zone the local one, also with a blank for the T
//   2026-11-22                    the beginning of a day
//   10:30                         of today
//   -2h                           ago; the units are s, min, h, d and w
#ifndef TARNCTL_BASE_MOMENT_H
#define TARNCTL_BASE_MOMENT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"

namespace tarnctl {

struct Moment {
    bool is_time = false;
    uint64_t value = 0;  // nanoseconds since 1970, or the number of a transaction
    std::string text;    // as the user wrote it
};

// None if the text is of another form. `present` is the time that it is now.
std::optional<Moment> parse_moment(const std::string &text, uint64_t present);

cli::Target moment_into(std::optional<Moment> &moment);
cli::Target moments_into(std::vector<Moment> &moments);
// --at: the store as it was.
cli::Option &add_at_option(cli::Command &command, std::optional<Moment> &at);

}  // namespace tarnctl

#endif

// SPDX-License-Identifier: Apache-2.0
//
// Where a service reads slapd's log. Each piece has the place in the log at which it ends, as a
// text with which the source is made again later.
#ifndef FEEDERS_LDAP_LOG_SOURCE_H
#define FEEDERS_LDAP_LOG_SOURCE_H

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "input.h"

namespace tarn_ldap {

// A place that the source didn't write.
class BadPosition : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// Where a source begins.
struct Begin {
    std::string position = {};  // where an earlier one ended; empty if there was none
    bool from_end = false;      // without a position: at the present end
};

using Warn = std::function<void(const std::string &)>;

class LogSource {
 public:
    LogSource() = default;
    LogSource(const LogSource &) = delete;
    LogSource &operator=(const LogSource &) = delete;
    virtual ~LogSource() = default;

    // Can be read when there may be more lines, until `acknowledge`.
    virtual int descriptor() const = 0;
    virtual void acknowledge() = 0;
    // The next whole lines; none if there are none now. Throws std::system_error.
    virtual std::optional<Piece> next() = 0;
};

}  // namespace tarn_ldap

#endif

// SPDX-License-Identifier: Apache-2.0
//
// The messages of a service, on standard error or in the system's log. Each is one line.
#ifndef FEEDERS_COMMON_LOG_H
#define FEEDERS_COMMON_LOG_H

#include <string>
#include <string_view>

namespace feeder {

// With the numbers of syslog(3).
enum class Level { error = 3, warning = 4, info = 6, debug = 7 };

enum class LogTarget { standard_error, system };

struct LogSettings {
    LogTarget target = LogTarget::standard_error;
    Level level = Level::info;  // the least important that are written
};

class Log {
 public:
    // `program` is its name in the messages.
    Log(std::string program, const LogSettings &settings);
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;
    ~Log();

    void write(Level level, std::string_view text) const;
    void error(std::string_view text) const { write(Level::error, text); }
    void warning(std::string_view text) const { write(Level::warning, text); }
    void info(std::string_view text) const { write(Level::info, text); }
    void debug(std::string_view text) const { write(Level::debug, text); }

 private:
    const std::string program_;
    const LogSettings settings_;
    const bool is_journal_;  // standard error is the journal, which reads levels as <N>
};

}  // namespace feeder

#endif

// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <utility>

#include "cli/utf8.h"

namespace feeder {
namespace {

// The service manager names the device and the inode of the journal's stream.
bool is_error_the_journal() {
    const char *stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    if (stream == nullptr || fstat(STDERR_FILENO, &status) != 0) return false;
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

}  // namespace

Log::Log(std::string program, const LogSettings &settings)
    : program_(std::move(program)), settings_(settings), is_journal_(is_error_the_journal()) {
    if (settings_.target == LogTarget::system) openlog(program_.c_str(), LOG_PID, LOG_DAEMON);
}

Log::~Log() {
    if (settings_.target == LogTarget::system) closelog();
}

void Log::write(Level level, std::string_view text) const {
    if (level > settings_.level) return;
    const std::string line = cli::one_line(text);
    if (settings_.target == LogTarget::system) syslog(int(level), "%s", line.c_str());
    else if (is_journal_) std::cerr << "<" + std::to_string(int(level)) + ">" + line + "\n";
    else std::cerr << program_ + ": " + line + "\n";
}

}  // namespace feeder

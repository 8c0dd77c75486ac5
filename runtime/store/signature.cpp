// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/signature.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "runtime/store/schema_note.h"

namespace tarnbase::runtime {

namespace {

std::uint64_t time_of(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(time.tv_nsec);
}

// The arguments with spaces between, without control characters.
std::string command_line() {
    std::ifstream file("/proc/self/cmdline");
    std::string text(std::istreambuf_iterator<char>(file), {});
    while (!text.empty() && text.back() == '\0') text.pop_back();
    std::ranges::replace(text, '\0', ' ');
    const auto is_control = [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; };
    std::ranges::replace_if(text, is_control, '?');
    return text.substr(0, most_command_bytes);
}

}  // namespace

void Signature::read_process() {
    command_ = command_line();
    pid_ = static_cast<std::uint32_t>(::getpid());
    uid_ = ::getuid();
}

void Signature::add_author(FrameBuilder &frame, std::uint64_t sequence) {
    if (!command_) read_process();
    next_session_ = session_ != 0 ? session_ : sequence;
    runtime::add_author(
        frame, {time_of(CLOCK_REALTIME), time_of(CLOCK_MONOTONIC), pid_, uid_, next_session_});
}

void Signature::complete(FrameBuilder &frame, const LogWriter &log, std::string_view label) {
    add_label(frame, label);
    has_session_note_ = segment_ != log.segment() || !log.has_space(frame.length());
    if (!has_session_note_) return;
    add_session(frame, next_session_, *command_);
    add_schemas(frame);
}

void Signature::published(const LogWriter &log) {
    session_ = next_session_;
    if (has_session_note_) segment_ = log.segment();
    has_session_note_ = false;
}

}  // namespace tarnbase::runtime

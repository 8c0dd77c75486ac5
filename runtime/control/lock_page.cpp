// SPDX-License-Identifier: Apache-2.0
#include "runtime/control/lock_page.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>

#include "runtime/control/lock_protocol.h"

namespace tarnbase::runtime {

namespace {

using HolderWords = std::array<std::uint64_t, sizeof(Holder) / 8>;

std::string read_text(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// 0 if /proc doesn't show it.
std::uint64_t start_time(const std::string &process) {
    const std::string stat = read_text("/proc/" + process + "/stat");
    // The command, field 2, is in parentheses and may contain any character.
    std::size_t end = stat.rfind(')');
    for (int field = 2; field < 22 && end != std::string::npos; ++field) {
        end = stat.find(' ', end + 1);
    }
    return end == std::string::npos ? 0 : std::strtoull(stat.c_str() + end, nullptr, 10);
}

std::uint64_t own_namespace() {
    struct stat status;
    return ::stat("/proc/self/ns/pid", &status) == 0 ? status.st_ino : 0;
}

std::string local_time(std::uint64_t nanoseconds) {
    const auto seconds = static_cast<std::time_t>(nanoseconds / 1'000'000'000);
    std::tm parts{};
    if (::localtime_r(&seconds, &parts) == nullptr) return "an unknown time";
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts)};
}

}  // namespace

Holder describe_this_process() {
    Holder holder{};
    holder.pid = static_cast<std::uint32_t>(::getpid());
    holder.start_time = start_time("self");
    holder.pid_namespace = own_namespace();
    const std::string command = read_text("/proc/self/comm");
    command.copy(holder.command, std::min(command.find('\n'), sizeof holder.command - 1));
    return holder;
}

void store_holder(LockPage &page, const Holder &self, std::uint32_t acquisition,
                  std::uint64_t since) {
    auto words = std::bit_cast<HolderWords>(self);
    words[0] = std::bit_cast<std::uint64_t>(std::array{self.pid, acquisition});
    words[offsetof(Holder, since) / 8] = since;
    // The first word is 0 until the others are complete.
    page.holder[0].store(0, std::memory_order_relaxed);
    for (std::size_t i = 1; i < words.size(); ++i) {
        page.holder[i].store(words[i], std::memory_order_release);
    }
    page.holder[0].store(words[0], std::memory_order_release);
}

bool load_holder(const LockPage &page, std::uint64_t word, Holder &holder) {
    HolderWords words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = page.holder[i].load(std::memory_order_acquire);
    }
    const std::uint64_t first = page.holder[0].load(std::memory_order_relaxed);
    holder = std::bit_cast<Holder>(words);
    holder.command[sizeof holder.command - 1] = '\0';
    return holder.pid != 0 && first == words[0] &&
           holder.acquisition == static_cast<std::uint32_t>(acquisitions(word));
}

bool may_be_alive(const Holder &holder) {
    if (holder.pid_namespace == 0 || holder.pid_namespace != own_namespace()) return true;
    const auto pid = static_cast<pid_t>(holder.pid);
    if (::kill(pid, 0) != 0 && errno == ESRCH) return false;
    const std::uint64_t started = start_time(std::to_string(pid));
    return started == 0 || started == holder.start_time;
}

std::string printable_command(const Holder &holder) {
    std::string text(holder.command, ::strnlen(holder.command, sizeof holder.command));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

std::string holder_text(const Holder &holder) {
    if (holder.pid == 0) return "held by a process of another pid namespace";
    std::string text = "held by " + std::to_string(holder.pid);
    if (holder.command[0] != '\0') text += " (" + printable_command(holder) + ")";
    if (holder.pid_namespace != 0 && holder.pid_namespace != own_namespace()) {
        text += " of another pid namespace";
    }
    if (holder.since != 0) text += " since " + local_time(holder.since);
    return text;
}

}  // namespace tarnbase::runtime

// SPDX-License-Identifier: Apache-2.0
#include "ports.h"

#include <net/if.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace tarn_dot1x {
namespace {

std::optional<uint32_t> number(std::string_view text) {
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace

PortIndexes parse_indexes(const std::vector<std::string> &arguments) {
    PortIndexes indexes;
    for (const std::string &argument : arguments) {
        const size_t sign = argument.find('=');
        const auto index =
            sign == std::string::npos ? std::nullopt : number(argument.substr(sign + 1));
        if (sign == 0 || !index)
            throw UsageError("--port " + argument + ": expected NAME=INDEX, such as p1=7");
        indexes[argument.substr(0, sign)] = *index;
    }
    return indexes;
}

std::optional<uint32_t> number_at_end(std::string_view name) {
    const size_t last = name.find_last_not_of("0123456789");
    return number(last == std::string_view::npos ? name : name.substr(last + 1));
}

Port recorded_port(const std::string &name, const PortIndexes &given) {
    if (const auto found = given.find(name); found != given.end()) return {name, found->second};
    const auto index = number_at_end(name);
    if (!index)
        throw PortError("port " + name + " has no number at the end of its name; give --port " +
                        name + "=INDEX");
    return {name, *index};
}

Port live_port(const std::string &name, const PortIndexes &given) {
    if (const auto found = given.find(name); found != given.end()) return {name, found->second};
    const uint32_t index = if_nametoindex(name.c_str());
    if (index == 0)
        throw PortError("port " + name + " is no interface here (" + std::strerror(errno) +
                        "); give --port " + name + "=INDEX");
    return {name, index};
}

}  // namespace tarn_dot1x

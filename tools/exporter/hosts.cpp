// SPDX-License-Identifier: Apache-2.0
#include "exporter/hosts.h"

#include <algorithm>
#include <utility>

namespace exporter {
namespace {

bool are_same(const std::string &a, const std::string &b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

// "[::1]:9595" as "::1".
std::string name_of(const std::string &host) {
    if (!host.starts_with('[')) return host.substr(0, host.find(':'));
    return host.substr(1, std::min(host.find(']'), host.size()) - 1);
}

}  // namespace

Hosts::Hosts(const ListenAddress &address, std::vector<std::string> names)
    : takes_all_(address.is_unix || !address.is_local()), names_(std::move(names)) {
    names_.insert(names_.end(), {"localhost", "127.0.0.1", "::1", address.host});
}

bool Hosts::include(const std::string &host) const {
    // Only programs leave the header out.
    if (takes_all_ || host.empty()) return true;
    const std::string name = name_of(host);
    return std::any_of(names_.begin(), names_.end(),
                       [&](const std::string &each) { return are_same(each, name); });
}

}  // namespace exporter

// SPDX-License-Identifier: Apache-2.0
#include "watch/author.h"

#include <fmt/core.h>
#include <pwd.h>

#include <cstdint>
#include <map>

#include "terminal/style.h"

namespace tarnctl {
namespace {

// Looked up once: it may cost a request over the network.
const std::string &user_name(uint32_t uid) {
    static std::map<uint32_t, std::string> known;
    const auto found = known.find(uid);
    if (found != known.end()) return found->second;
    const passwd *entry = getpwuid(uid);
    return known.emplace(uid, entry != nullptr ? entry->pw_name : std::to_string(uid))
        .first->second;
}

}  // namespace

std::string program_of(const kel_replica_transaction &transaction) {
    if (transaction.command == nullptr) return "";
    std::string_view word(transaction.command);
    word = word.substr(0, word.find(' '));
    return std::string(word.substr(word.rfind('/') + 1));
}

std::string user_of(const kel_replica_transaction &transaction) {
    return transaction.pid != 0 ? user_name(transaction.uid) : "";
}

std::string_view label_of(const kel_replica_transaction &transaction) {
    return transaction.label != nullptr ? transaction.label : "";
}

std::string author_text(const kel_replica_transaction &transaction, const Screen &screen) {
    if (transaction.pid == 0) return "";
    std::string text = fmt::format("  by {}[{}] {}", shown(program_of(transaction), screen),
                                   transaction.pid, shown(user_of(transaction), screen));
    const std::string_view label = label_of(transaction);
    if (!label.empty()) text += fmt::format(" ({})", shown(label, screen));
    return dim(text, screen);
}

void add_author(Json &line, const kel_replica_transaction &transaction) {
    line.set("transaction", transaction.sequence);
    if (transaction.pid == 0) return;
    line.set("pid", transaction.pid);
    line.set("uid", transaction.uid);
    line.set("user", user_of(transaction));
    line.set("command", transaction.command != nullptr ? transaction.command : "");
    if (transaction.label != nullptr) line.set("label", transaction.label);
}

}  // namespace tarnctl

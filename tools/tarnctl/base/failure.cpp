// SPDX-License-Identifier: Apache-2.0
#include "base/failure.h"

#include <fmt/core.h>

#include <cstring>

#include "cli/suggestion.h"

namespace tarnctl {

std::vector<cli::Status> exit_statuses() {
    return {{static_cast<int>(Exit::done), "done"},
            {static_cast<int>(Exit::difference), "nothing was found, or there is a difference"},
            {static_cast<int>(Exit::usage), "the arguments are wrong"},
            {static_cast<int>(Exit::data), "data is malformed"},
            {static_cast<int>(Exit::store), "a store or a file can't be used"},
            {static_cast<int>(Exit::busy),
             "another process has a transaction open in the store; try again"}};
}

Failure no_such(Exit code, std::string_view kind, std::string_view name,
                const std::vector<std::string_view> &known) {
    return Failure(code, cli::no_such_text(kind, name, known));
}

void need(uint32_t err, std::string_view what) {
    if (err != 0)
        throw Failure(Exit::store,
                      fmt::format("{}: {}", what, std::strerror(static_cast<int>(err))));
}

}  // namespace tarnctl

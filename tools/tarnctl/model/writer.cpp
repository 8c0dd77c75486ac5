// SPDX-License-Identifier: Apache-2.0
#include "model/writer.h"

#include <fmt/core.h>

namespace tarnctl {

std::optional<kel_store_writer> writer_of(const kel_store *store) {
    kel_store_writer writer{};
    if (kel_store_describe_writer(store, &writer) != 0) return std::nullopt;
    return writer;
}

std::string name_of(const kel_store_writer &writer) {
    if (writer.pid == 0) return "an unknown process";
    return *writer.command == '\0' ? std::to_string(writer.pid)
                                   : fmt::format("{} ({})", writer.pid, writer.command);
}

}  // namespace tarnctl

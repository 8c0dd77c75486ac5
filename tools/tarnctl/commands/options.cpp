// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "commands/command.h"

namespace tarnctl {

CLI::Option *add_store_option(CLI::App &command, std::string &path) {
    return command.add_option("-s,--store", path, "Store file")
        ->envname("TARNBASE_STORE")
        ->required()
        ->type_name("FILE");
}

CLI::Option *add_json_option(CLI::App &command, bool &json) {
    return command.add_flag("--json", json, "Print JSON");
}

CLI::Option *add_tenant_option(CLI::App &command, std::function<void(uint16_t)> take,
                               const std::string &meaning) {
    return command.add_option_function<uint16_t>("-t,--tenant", std::move(take), meaning)
        ->check(CLI::Range(0, 65535).description(""))
        ->type_name("NUMBER");
}

// Read as a number: a byte would be read as a character.
CLI::Option *add_source_option(CLI::App &command, std::function<void(uint8_t)> take,
                               const std::string &meaning) {
    return command
        .add_option_function<unsigned>(
            "--source",
            [take = std::move(take)](unsigned source) { take(static_cast<uint8_t>(source)); },
            meaning)
        ->check(CLI::Range(0, 255).description(""))
        ->type_name("NUMBER");
}

}  // namespace tarnctl

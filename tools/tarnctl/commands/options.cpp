// SPDX-License-Identifier: Apache-2.0
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

}  // namespace tarnctl
